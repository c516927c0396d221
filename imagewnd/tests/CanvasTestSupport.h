#pragma once
// Recording tools, parent and panel, a canvas that opens its internals, a fake edit that can be held
// on a latch (so the test, not the scheduler, orders threaded work), and a 400 x 300 canvas fixture.
#include "common/event_signal.h"
#include "common/message_queue.h"
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageWnd.h"
#include "imagewnd/CKeyStateTracker.h"
#include "imagewnd/IImageWndTool.h"
#include "ui/CSubPanel.h"
#include "ui/tests/QtTestSupport.h"

#include <gtest/gtest.h>

#include <QFocusEvent>

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kel_canvas_test {

using namespace KELCTRL;
using Tool = IImageWndTool;
using Texts = std::vector<std::string>;
using kel_qt_test::PumpUntil;
using kel_testing::GetValue;
using kel_testing::MakeConstant;
using kel_testing::MakeGradient;
using kel_testing::SamePixels;
using kel_testing::SetValue;

// One line per event ("A.OnClick", "parent.NM 114"), shared by every recorder of a test.
struct EventLog {
    struct Entry {
        std::string text;
        unsigned flags = 0;
        QPoint point;
    };
    std::vector<Entry> entries;
    void Add(const std::string& text, unsigned flags = 0, QPoint p = QPoint()) {
        entries.push_back({text, flags, p});
    }
    void Clear() { entries.clear(); }
    // The texts whose event name (after the dot) is one of `events`; every text without `events`.
    Texts Only(const Texts& events = {}) const {
        Texts texts;
        for (const Entry& e : entries) {
            const std::string event = e.text.substr(e.text.find('.') + 1);
            if (events.empty() || std::find(events.begin(), events.end(), event) != events.end())
                texts.push_back(e.text);
        }
        return texts;
    }
    const Entry* Find(const std::string& text) const {
        for (const Entry& e : entries)
            if (e.text == text)
                return &e;
        return nullptr;
    }
    size_t Count(const std::string& text) const {
        return std::count_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.text == text; });
    }
};

// clang-format off
#define KEL_REC_INT(Name) int Name(unsigned f, QPoint p) override { return Rec(#Name, f, p); }
#define KEL_REC_VOID(Name) void Name(unsigned f, QPoint p) override { Rec(#Name, f, p); }
#define KEL_REC_KEY(Name) int Name(unsigned k, unsigned, unsigned f) override { return Rec(#Name, f, QPoint(int(k), 0)); }
#define KEL_REC_END(Name) void Name(unsigned f, QPoint p, int& r) override { r = releaseCaptureOnEnd, Rec(#Name, f, p); }
// clang-format on

// A tool that records every event it hears and answers what the test tells it to.
class RecordingTool : public IImageWndTool {
public:
    RecordingTool(std::string tag, const std::string& name, uint32_t mask, EventLog& log)
        : m_tag(std::move(tag)), m_log(log) {
        m_toolName = name;
        m_eventMask = mask;
    }
    std::map<std::string, int> answers; // by event name; 0 unless set
    // Runs after an event is recorded, e.g. to unload or load tools from inside a handler.
    std::function<void(RecordingTool&, const std::string& event)> action;
    int releaseCaptureOnEnd = 1; // what OnEndDrag and OnEndRDrag answer
    short lastDelta = 0;
    void SetExclusive(int v) { m_exclusive = v; }
    void SetAutoMove(int v) { m_autoMove = v; }
    void SetLockViewOnLoad(int v) { m_lockViewOnLoad = v; }
    const std::string& Tag() const { return m_tag; }
    using IImageWndTool::SendNotify;
    void OnLoad(CBaseWnd* wnd) override { IImageWndTool::OnLoad(wnd), Rec("OnLoad"); }
    void OnUnload() override { Rec("OnUnload"), IImageWndTool::OnUnload(); }
    void OnSetImage() override { Rec("OnSetImage"); }
    void OnUpdateImage() override { Rec("OnUpdateImage"); }
    void OnClearImage() override { Rec("OnClearImage"); }
    void OnPaint(QPainter&, int, int) override { Rec("OnPaint"); }
    void OnCaptureChanged(CBaseWnd*) override { Rec("OnCaptureChanged"); }
    void OnZoomChanged() override { Rec("OnZoomChanged"); }
    void OnDispPosChanged() override { Rec("OnDispPosChanged"); }
    void OnMouseLeave() override { Rec("OnMouseLeave"); }
    void OnWndResize(int cx, int cy) override { Rec("OnWndResize", 0, QPoint(cx, cy)); }
    int OnTimer(uintptr_t id) override { return Rec("OnTimer", unsigned(id)); }
    int OnMouseWheel(unsigned f, short d, QPoint p) override {
        return lastDelta = d, Rec("OnMouseWheel", f, p);
    }
    int OnSetCursor(QPoint p) override {
        const int answer = Rec("OnSetCursor", 0, p);
        if (answer && m_imageWnd)
            static_cast<CImageWnd*>(m_imageWnd)->m_cursor = QCursor(Qt::CrossCursor);
        return answer;
    }
    // clang-format off
    KEL_REC_INT(OnLButtonDown) KEL_REC_INT(OnLButtonUp) KEL_REC_INT(OnClick) KEL_REC_INT(OnDblClk)
    KEL_REC_INT(OnRButtonDown) KEL_REC_INT(OnRButtonUp) KEL_REC_INT(OnRClick)
    KEL_REC_INT(OnStartDrag) KEL_REC_INT(OnStartRDrag) KEL_REC_END(OnEndDrag) KEL_REC_END(OnEndRDrag)
    KEL_REC_VOID(OnMouseMove) KEL_REC_VOID(OnMouseEnter) KEL_REC_VOID(OnDragging) KEL_REC_VOID(OnRDragging)
    KEL_REC_KEY(OnKeyDown) KEL_REC_KEY(OnKeyUp) KEL_REC_KEY(OnSysKeyDown) KEL_REC_KEY(OnSysKeyUp)
        // clang-format on
        private : int Rec(const std::string& event, unsigned flags = 0, QPoint p = QPoint()) {
        m_log.Add(m_tag + "." + event, flags, p);
        if (action)
            action(*this, event);
        const auto it = answers.find(event);
        return it == answers.end() ? 0 : it->second;
    }
    std::string m_tag;
    EventLog& m_log;
};

// A tool panel that records WM_IWT_NOTIFY and answers with `answer`.
class RecordingPanel : public CSubPanel {
public:
    RecordingPanel(std::string tag, EventLog& log) : m_tag(std::move(tag)), m_log(log) {}
    intptr_t answer = 1;

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t w, intptr_t l) override {
        if (msg != WM_IWT_NOTIFY)
            return CSubPanel::WindowProc(msg, w, l);
        const auto* tool = reinterpret_cast<RecordingTool*>(l);
        m_log.Add(m_tag + ".notify " + std::to_string(w) + (tool ? " " + tool->Tag() : std::string()));
        return answer;
    }

private:
    std::string m_tag;
    EventLog& m_log;
};

// An image whose every value is the maximum minus the value of `source`.
inline void Inverted(const CImageDataInfo& source, CImageDataInfo& out) {
    out = source;
    const uint32_t max = kel_testing::MaxValue(source.depth);
    for (int y = 0; y < source.height; ++y)
        for (int x = 0; x < source.width; ++x)
            for (int c = 0; c < source.channels; ++c)
                SetValue(out, x, y, c, max - GetValue(source, x, y, c));
}
inline bool IsInvertedOf(const CImageDataInfo& image, const CImageDataInfo& source) {
    CImageDataInfo expected;
    Inverted(source, expected);
    return SamePixels(image, expected);
}

// A parent that records the canvas's notifications and answers NM_IMGWND_PROCESSIMAGE by inverting.
class RecordingParent : public CBaseWnd {
public:
    explicit RecordingParent(EventLog& log) : m_log(log) {}
    int processed = 0;
    NMIMGWND_PROCESSIMAGE last;
    std::thread::id thread;

protected:
    intptr_t OnNotify(uintptr_t, NMHDR* header) override {
        QPoint point;
        if (header->code == NM_IMGWND_CLICK || header->code == NM_IMGWND_RCLICK ||
            header->code == NM_IMGWND_MOUSEMOVE)
            point = reinterpret_cast<NMIMGWND_POINT*>(header)->point;
        m_log.Add("parent.NM " + std::to_string(header->code), 0, point);
        if (header->code != NM_IMGWND_PROCESSIMAGE)
            return 0;
        last = *reinterpret_cast<NMIMGWND_PROCESSIMAGE*>(header);
        ++processed;
        thread = std::this_thread::get_id();
        CImageDataInfo result;
        Inverted(*last.dst, result);
        *last.dst = result;
        return 1;
    }

private:
    EventLog& m_log;
};

// A canvas that opens its pipeline, cache and painting state to tests.
class TestWnd : public CImageWnd {
public:
    // The threads must end before this class's part of the object goes.
    ~TestWnd() override { DestroyWindow(); }
    using CImageWnd::m_adjustQueue, CImageWnd::m_cacheBefore, CImageWnd::m_cacheBuildCount,
        CImageWnd::m_cacheDispBefore, CImageWnd::m_cacheImage, CImageWnd::m_cacheLock, CImageWnd::m_cacheMask,
        CImageWnd::m_cacheQueue, CImageWnd::m_cacheReady, CImageWnd::m_cacheThread,
        CImageWnd::m_displayBuffer, CImageWnd::m_preview, CImageWnd::m_previewBefore,
        CImageWnd::m_previewMask;
    using CImageWnd::OnTimer;
    using CImageWnd::ProcessImage;
    using CImageWnd::ProcessPreview;
    using CImageWnd::StopCacheThread;
    using CImageWnd::WaitForZoomedCache;
    unsigned BuildCount() const { return m_cacheBuildCount.load(); }
    // Asks for a cache of an impossible size: its buffers cannot be allocated.
    void RequestImpossibleCache() {
        m_zoomedSize = TSize<int>(1000000000, 1);
        UpdateZoomedCache();
    }
    // Whether another thread could take the image lock right now.
    bool ImageLockFreeForOthers() {
        bool free = false;
        std::thread([&] {
            if ((free = m_imageLock.try_lock()))
                m_imageLock.unlock();
        }).join();
        return free;
    }
};

// Waits, on the calling worker thread, until a message of [first, last] (0, 0: any) reaches `queue`,
// and puts it back at the end.
inline void WaitForQueuedMessage(GS_THREAD::message_queue& queue, unsigned first = 0, unsigned last = 0) {
    GS_THREAD::message msg;
    while (!queue.wait(msg, -1, first, last)) {
    }
    queue.post(msg);
}

// What one call of the fake edit saw.
struct ProcessCall {
    std::thread::id thread;
    const void *wnd, *dst, *src, *fullSource;
    double zoom;
    int x, y, width, height;
};

// The fake edit's state: it inverts dst, counts and records its calls, and can hold its first call.
struct FakeProcess {
    enum Hold { HOLD_NONE, HOLD_FIRST_UNTIL_RELEASE, HOLD_FIRST_UNTIL_QUIT };
    std::atomic<int> calls{0};
    std::atomic<Hold> hold{HOLD_NONE};
    event_signal entered{true, false};
    event_signal release{true, false};
    std::atomic<GS_THREAD::message_queue*> queue{nullptr}; // where HOLD_FIRST_UNTIL_QUIT waits
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

inline FakeProcess& Fake() {
    static FakeProcess fake;
    return fake;
}

inline void FakeProcessFunc(const CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src, double zoom,
                            int x, int y, const CImageDataInfo* fullSource) {
    FakeProcess& fake = Fake();
    const int call = fake.calls.fetch_add(1) + 1;
    {
        std::lock_guard<std::mutex> guard(fake.lock);
        fake.log.push_back(
            {std::this_thread::get_id(), wnd, &dst, &src, fullSource, zoom, x, y, dst.width, dst.height});
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

// The colour an 8-bit image pixel shows on screen without curve or transform.
inline QRgb ImageRgb(const CImageDataInfo& image, int x, int y) {
    const int c = image.channels == 1 ? 0 : 2;
    return qRgb(int(GetValue(image, x, y, c)), int(GetValue(image, x, y, c ? 1 : 0)),
                int(GetValue(image, x, y, 0)));
}
inline QRgb Opaque(QRgb c) {
    return c | 0xFF000000u;
}

// A 400 x 300 canvas in a recording parent; the test chooses the images.
class Canvas : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        Fake().Reset();
        ImageProcess::SetProcessExtend(ImageProcess::DEFAULT_PROCESS_EXTEND);
        CKeyStateTracker::Reset();
        parent.Create(nullptr, QRect(0, 0, 1200, 1200), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
    }
    void TearDown() override {
        CBaseWnd::ReleaseCapture();
        CBaseWnd::SetDpiFunction(nullptr);
        // A key pressed by a test and never released would hold processing back in the next one.
        CKeyStateTracker::Reset();
    }
    // Shows a gradient `image`, with a gradient `before` of the same form when asked.
    void Show(int w, int h, int channels = 3, int depth = 1, bool withBefore = false) {
        wnd.Clear(0); // a zoomed copy may be building from the image about to be rewritten
        ASSERT_TRUE(MakeGradient(image, w, h, channels, depth));
        ASSERT_TRUE(!withBefore || MakeGradient(before, w, h, channels, depth));
        ASSERT_EQ(wnd.SetImage(image, withBefore ? &before : nullptr), 1);
    }
    // The same with a before-image, at 1:1.
    void ShowWithBefore(int w, int h, int channels = 3, int depth = 1) {
        Show(w, h, channels, depth, true);
        wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    }
    void Scale(ZOOM_SCALE s, const QPoint* anchor = nullptr) { wnd.SetZoom(ZOOM_TYPE_SCALE, &s, anchor); }
    RecordingTool& AddTool(const std::string& tag, uint32_t mask, const char* name = nullptr) {
        return *tools.emplace_back(
            std::make_unique<RecordingTool>(tag, name ? name : "tool_" + tag, mask, log));
    }
    RecordingTool& LoadNew(const std::string& tag, uint32_t mask) {
        RecordingTool& tool = AddTool(tag, mask);
        wnd.LoadTool(&tool);
        return tool;
    }
    QRect DrawnArea() const {
        return QRect(wnd.GetDrawPos().x, wnd.GetDrawPos().y, wnd.GetDrawSize().width,
                     wnd.GetDrawSize().height);
    }
    bool WaitForCache() {
        return PumpUntil([&] { return wnd.IsZoomedCacheReady() != 0; });
    }
    void Leave() {
        QEvent e(QEvent::Leave);
        QApplication::sendEvent(&wnd, &e);
    }
    void FocusOut() {
        QFocusEvent e(QEvent::FocusOut, Qt::OtherFocusReason);
        QApplication::sendEvent(&wnd, &e);
    }
    EventLog log;
    // Tools and images outlive the canvas, as a panel's tool and a host's images outlive their loading.
    std::deque<std::unique_ptr<RecordingTool>> tools;
    CImageDataInfo image, before, dispBefore, mask;
    RecordingParent parent{log};
    TestWnd wnd;
    kel_qt_test::Mouse mouse{wnd};
};

} // namespace kel_canvas_test
