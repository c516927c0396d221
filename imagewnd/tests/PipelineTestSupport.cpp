// Support of the pipeline and cache tests: the fake processing function and the processing parent.
#include "PipelineTestSupport.h"

namespace kel_pipeline_test {

FakeProcess& Fake() {
    static FakeProcess fake;
    return fake;
}

void WaitForQueuedMessage(GS_THREAD::message_queue& queue, unsigned first, unsigned last) {
    GS_THREAD::message msg;
    while (!queue.wait(msg, -1, first, last)) {
    }
    queue.post(msg);
}

void Inverted(const CImageDataInfo& source, CImageDataInfo& out) {
    out = source;
    const uint32_t max = kel_testing::MaxValue(source.depth);
    for (int y = 0; y < source.height; ++y)
        for (int x = 0; x < source.width; ++x)
            for (int c = 0; c < source.channels; ++c)
                kel_testing::SetValue(out, x, y, c, max - kel_testing::GetValue(source, x, y, c));
}

void FakeProcessFunc(const CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src, double zoom, int x,
                     int y, const CImageDataInfo* fullSource) {
    FakeProcess& fake = Fake();
    const int call = fake.calls.fetch_add(1) + 1;
    {
        ProcessCall record;
        record.thread = std::this_thread::get_id();
        record.wnd = wnd;
        record.dst = &dst;
        record.src = &src;
        record.fullSource = fullSource;
        record.zoom = zoom;
        record.x = x;
        record.y = y;
        record.width = dst.width;
        record.height = dst.height;
        std::lock_guard<std::mutex> guard(fake.lock);
        fake.log.push_back(record);
    }
    if (call == 1) {
        fake.entered.set();
        if (fake.hold.load() == FakeProcess::HOLD_FIRST_UNTIL_RELEASE)
            fake.release.wait(-1);
        else if (fake.hold.load() == FakeProcess::HOLD_FIRST_UNTIL_QUIT)
            WaitForQueuedMessage(*fake.queue.load(), CImageWnd::WM_QUIT, CImageWnd::WM_QUIT);
    }
    CImageDataInfo result;
    Inverted(dst, result);
    dst = result;
}

intptr_t ProcessingParent::OnNotify(uintptr_t, NMHDR* header) {
    if (header->code != NM_IMGWND_PROCESSIMAGE)
        return 0;
    auto* request = reinterpret_cast<NMIMGWND_PROCESSIMAGE*>(header);
    ++notifications;
    last = *request;
    thread = std::this_thread::get_id();
    CImageDataInfo result;
    Inverted(*request->dst, result);
    *request->dst = result;
    return 1;
}

} // namespace kel_pipeline_test
