#pragma once
// A canvas that opens its pipeline and cache to tests, and a fake processing function that counts its
// calls, records what it was given, inverts the pixels and can be held on a latch, so that the order
// of threaded work is decided by the test and not by the scheduler.
#include "CanvasTestSupport.h"

#include "common/event_signal.h"
#include "common/message_queue.h"
#include "common/testing/TestImages.h"
#include "imagewnd/CImageWnd.h"

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace kel_pipeline_test {

using namespace KELCTRL;

class TestWnd : public CImageWnd {
public:
    using CImageWnd::CImageWnd;
    // The threads must end before this class's part of the object goes.
    ~TestWnd() override { DestroyWindow(); }

    using CImageWnd::CreatePreview;
    using CImageWnd::OnTimer;
    using CImageWnd::ProcessImage;
    using CImageWnd::ProcessPreview;
    using CImageWnd::StopCacheThread;
    using CImageWnd::WaitForZoomedCache;

    const CImageDataInfo& Preview() const { return m_preview; }
    const CImageDataInfo& PreviewBefore() const { return m_previewBefore; }
    const CImageDataInfo& PreviewMask() const { return m_previewMask; }
    const CImageDataInfo& CacheImage() const { return m_cacheImage; }
    const CImageDataInfo& CacheBefore() const { return m_cacheBefore; }
    const CImageDataInfo& CacheDispBefore() const { return m_cacheDispBefore; }
    const CImageDataInfo& CacheMask() const { return m_cacheMask; }
    const CImageDataInfo& AdjustBuffer() const { return m_adjustBuffer; }
    unsigned BuildCount() const { return m_cacheBuildCount.load(); }
    bool CacheEventSet() { return m_cacheReady.is_set(); }
    bool CacheThreadRuns() const { return m_cacheThread != nullptr; }
    GS_THREAD::message_queue& CacheQueue() { return m_cacheQueue; }
    GS_THREAD::message_queue& AdjustQueue() { return m_adjustQueue; }
    recursive_lock& CacheLock() { return m_cacheLock; }
    // Asks for a cache of an impossible size: its buffers cannot be allocated.
    void RequestImpossibleCache() {
        m_zoomedSize = TSize<int>(1000000000, 1);
        UpdateZoomedCache();
    }
};

// What one call of the fake processing function saw.
struct ProcessCall {
    std::thread::id thread;
    const CImageWnd* wnd = nullptr;
    const CImageDataInfo* dst = nullptr;
    const CImageDataInfo* src = nullptr;
    const CImageDataInfo* fullSource = nullptr;
    double zoom = 0;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// The state of the fake processing function; one per test, reset in SetUp.
struct FakeProcess {
    enum Hold {
        HOLD_NONE,
        HOLD_FIRST_UNTIL_RELEASE, // the first call waits for `release`
        HOLD_FIRST_UNTIL_QUIT,    // the first call waits until a quit reaches `queue`, and leaves it there
    };
    std::atomic<int> calls{0};
    std::atomic<Hold> hold{HOLD_NONE};
    event_signal entered{true, false};
    event_signal release{true, false};
    std::atomic<GS_THREAD::message_queue*> queue{nullptr};
    std::mutex lock;
    std::vector<ProcessCall> log;

    void Reset() {
        calls.store(0);
        hold.store(HOLD_NONE);
        entered.reset();
        release.reset();
        queue.store(nullptr);
        std::lock_guard<std::mutex> guard(lock);
        log.clear();
    }
    std::vector<ProcessCall> Log() {
        std::lock_guard<std::mutex> guard(lock);
        return log;
    }
};

FakeProcess& Fake();

// Waits, on the calling worker thread, until a message of [first, last] (0, 0: any) reaches `queue`,
// and puts it back at the end. The order stays as it was when no other message can follow it.
void WaitForQueuedMessage(GS_THREAD::message_queue& queue, unsigned first = 0, unsigned last = 0);

// The fake edit: inverts every value of dst, which the window filled from src.
void FakeProcessFunc(const CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src, double zoom, int x,
                     int y, const CImageDataInfo* fullSource);

// An image whose every value is the maximum minus the value of `source`.
void Inverted(const CImageDataInfo& source, CImageDataInfo& out);

// A parent that answers NM_IMGWND_PROCESSIMAGE with the fake edit, recording the payload.
class ProcessingParent : public CBaseWnd {
public:
    int notifications = 0;
    NMIMGWND_PROCESSIMAGE last;
    std::thread::id thread;

protected:
    intptr_t OnNotify(uintptr_t, NMHDR* header) override;
};

} // namespace kel_pipeline_test
