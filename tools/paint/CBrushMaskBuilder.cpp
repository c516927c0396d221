#include "tools/paint/CBrushMaskBuilder.h"

#include "common/AltSignalStack.h"
#include "imageprocess/BrushPaint.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace KELCTRL {
namespace IMGWND_TOOL {

CBrushMaskBuilder::~CBrushMaskBuilder() {
    Quit();
}

bool CBrushMaskBuilder::Run() {
    if (m_thread.joinable())
        return true;
    m_stopMasks.reset();
    m_stopped.reset();
    try {
        m_thread = std::thread(&CBrushMaskBuilder::Main, this);
    } catch (...) {
        return false;
    }
    return true;
}

void CBrushMaskBuilder::Quit() {
    if (!m_thread.joinable())
        return;
    m_stopMasks.set();
    m_wantedChanged.set();
    m_thread.join();
}

int CBrushMaskBuilder::IsRunning() const {
    return m_thread.joinable() && !m_stopped.is_set() ? 1 : 0;
}

void CBrushMaskBuilder::SetWanted(const BRUSH_MASK_PARAMS& image, const BRUSH_MASK_PARAMS& display) {
    {
        std::lock_guard<std::mutex> guard(m_maskParamLock);
        if (image == m_wantedImage && display == m_wantedDisplay)
            return;
        m_wantedImage = image;
        m_wantedDisplay = display;
        m_built.reset();
    }
    m_wantedChanged.set();
}

int CBrushMaskBuilder::WaitBuilt(int timeoutMs) {
    // The built signal is set by the thread only when what it installed is still what is wanted.
    if (timeoutMs >= 0)
        return m_built.wait(timeoutMs) == 0 ? 1 : 0;
    while (m_built.wait(kPollMs) != 0) {
        if (!IsRunning())
            return 0;
    }
    return 1;
}

void CBrushMaskBuilder::Build(const BRUSH_MASK_PARAMS& image, const BRUSH_MASK_PARAMS& display) {
    // A failed build (no image yet, so no radius) leaves an empty mask: strokes then paint nothing.
    if (!ImageProcess::CreateBrushRegion(m_brushRegion, image.inner, image.outer, image.flow))
        m_brushRegion.Release();
    if (display == image) {
        m_zoomedBrushRegion = m_brushRegion;
    } else if (!ImageProcess::CreateBrushRegion(m_zoomedBrushRegion, display.inner, display.outer,
                                                display.flow)) {
        m_zoomedBrushRegion.Release();
    }
    m_builtImage = image;
    m_builtDisplay = display;
}

void CBrushMaskBuilder::Main() {
    GS_THREAD::EnsureAltSignalStack();
    // Mask rebuilds run below the painting thread's priority; without privileges nothing changes.
    setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), 5);
    bool held = false;
    while (!m_stopMasks.is_set()) {
        BRUSH_MASK_PARAMS image, display;
        {
            std::lock_guard<std::mutex> guard(m_maskParamLock);
            image = m_wantedImage;
            display = m_wantedDisplay;
        }
        if (image == m_builtImage && display == m_builtDisplay) {
            if (held) {
                m_strokeLock.unlock();
                held = false;
            }
            {
                std::lock_guard<std::mutex> guard(m_maskParamLock);
                if (m_wantedImage == m_builtImage && m_wantedDisplay == m_builtDisplay)
                    m_built.set();
            }
            m_wantedChanged.wait(kPollMs);
            continue;
        }
        if (!held) {
            m_strokeLock.lock();
            held = true;
        }
        Build(image, display);
        // Keep the lock and look again: a slider burst is served by one hold.
    }
    if (held)
        m_strokeLock.unlock();
    m_stopped.set();
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
