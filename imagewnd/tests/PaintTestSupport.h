#pragma once
// A canvas that opens its painting state to tests, and helpers that read rendered pixels against the
// image pixels they should show.
#include "PipelineTestSupport.h"

#include "common/testing/TestImages.h"
#include "imagewnd/CImageWnd.h"

#include <QImage>

#include <atomic>
#include <thread>

namespace kel_paint_test {

using namespace KELCTRL;

class PaintWnd : public kel_pipeline_test::TestWnd {
public:
    using TestWnd::TestWnd;
    const unsigned char* DisplayBuffer() const { return m_displayBuffer.data(); }
    size_t DisplayBufferSize() const { return m_displayBuffer.size(); }
    // Whether another thread could take the image lock right now.
    bool ImageLockFreeForOthers() {
        bool free = false;
        std::thread([&] {
            free = m_imageLock.try_lock();
            if (free)
                m_imageLock.unlock();
        }).join();
        return free;
    }
};

// The colour an 8-bit image pixel should show on screen without curve or transform.
inline QRgb ImageRgb(const CImageDataInfo& image, int x, int y) {
    using kel_testing::GetValue;
    if (image.channels == 1) {
        const int v = static_cast<int>(GetValue(image, x, y, 0));
        return qRgb(v, v, v);
    }
    return qRgb(static_cast<int>(GetValue(image, x, y, 2)), static_cast<int>(GetValue(image, x, y, 1)),
                static_cast<int>(GetValue(image, x, y, 0)));
}

inline QRgb Opaque(QRgb c) {
    return c | 0xFF000000u;
}

inline bool WaitForCache(CImageWnd& wnd) {
    return kel_qt_test::PumpUntil([&] { return wnd.IsZoomedCacheReady() != 0; });
}

} // namespace kel_paint_test
