#pragma once
// Recording tools, a recording parent and panel, and a canvas fixture holding a real image, for
// tests that drive the image window with Qt events.
#include "common/testing/TestImages.h"
#include "imagewnd/CImageWnd.h"
#include "imagewnd/CKeyStateTracker.h"
#include "imagewnd/IImageWndTool.h"
#include "ui/CSubPanel.h"
#include "ui/tests/QtTestSupport.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kel_canvas_test {

using namespace KELCTRL;

// One line per event, shared by every recorder of a test, so that order across tools is visible.
struct EventLog {
    struct Entry {
        std::string text; // "A.OnClick", "parent.NM 114"
        unsigned flags = 0;
        QPoint point;
    };
    std::vector<Entry> entries;

    void Add(const std::string& text, unsigned flags = 0, QPoint point = QPoint()) {
        entries.push_back({text, flags, point});
    }
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Entry& e : entries)
            texts.push_back(e.text);
        return texts;
    }
    // Texts whose event name (after the dot) is one of `events`.
    std::vector<std::string> Only(const std::vector<std::string>& events) const {
        std::vector<std::string> texts;
        for (const Entry& e : entries) {
            const std::string event = e.text.substr(e.text.find('.') + 1);
            for (const std::string& wanted : events)
                if (event == wanted)
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
        size_t n = 0;
        for (const Entry& e : entries)
            n += e.text == text;
        return n;
    }
    void Clear() { entries.clear(); }
};

// A tool that records every event it hears and answers what the test tells it to.
class RecordingTool : public IImageWndTool {
public:
    RecordingTool(std::string tag, const char* name, uint32_t mask, EventLog& log)
        : m_tag(std::move(tag)), m_log(log) {
        m_toolName = name;
        m_eventMask = mask;
    }

    // Answer of an int handler, by event name; 0 unless set.
    std::map<std::string, int> answers;
    // Runs after an event is recorded, e.g. to unload the tool from inside its handler.
    std::function<void(RecordingTool&, const std::string& event)> action;
    // What OnEndDrag and OnEndRDrag leave in releaseCapture.
    int releaseCaptureOnEnd = 1;
    // Cursor written into the window by an accepting OnSetCursor.
    Qt::CursorShape cursorShape = Qt::CrossCursor;

    void SetMask(uint32_t mask) { m_eventMask = mask; }
    void SetExclusive(int v) { m_exclusive = v; }
    void SetAutoMove(int v) { m_autoMove = v; }
    void SetLockViewOnLoad(int v) { m_lockViewOnLoad = v; }
    const std::string& Tag() const { return m_tag; }
    using IImageWndTool::SendNotify;

    void OnLoad(CBaseWnd* wnd) override {
        IImageWndTool::OnLoad(wnd);
        Rec("OnLoad");
    }
    void OnUnload() override {
        Rec("OnUnload");
        IImageWndTool::OnUnload();
    }
    void OnSetImage() override { Rec("OnSetImage"); }
    void OnUpdateImage() override { Rec("OnUpdateImage"); }
    void OnClearImage() override { Rec("OnClearImage"); }
    void OnPaint(QPainter&, int, int) override { Rec("OnPaint"); }
    void OnCaptureChanged(CBaseWnd*) override { Rec("OnCaptureChanged"); }
    void OnZoomChanged() override { Rec("OnZoomChanged"); }
    void OnDispPosChanged() override { Rec("OnDispPosChanged"); }
    void OnWndResize(int cx, int cy) override { Rec("OnWndResize", 0, QPoint(cx, cy)); }
    int OnSetCursor(QPoint p) override {
        const int answer = Answer("OnSetCursor");
        if (answer && m_imageWnd)
            static_cast<CImageWnd*>(m_imageWnd)->m_cursor = QCursor(cursorShape);
        return Rec("OnSetCursor", 0, p), answer;
    }
    int OnLButtonDown(unsigned f, QPoint p) override {
        return Rec("OnLButtonDown", f, p), Answer("OnLButtonDown");
    }
    int OnLButtonUp(unsigned f, QPoint p) override { return Rec("OnLButtonUp", f, p), Answer("OnLButtonUp"); }
    int OnClick(unsigned f, QPoint p) override { return Rec("OnClick", f, p), Answer("OnClick"); }
    int OnDblClk(unsigned f, QPoint p) override { return Rec("OnDblClk", f, p), Answer("OnDblClk"); }
    int OnRButtonDown(unsigned f, QPoint p) override {
        return Rec("OnRButtonDown", f, p), Answer("OnRButtonDown");
    }
    int OnRButtonUp(unsigned f, QPoint p) override { return Rec("OnRButtonUp", f, p), Answer("OnRButtonUp"); }
    int OnRClick(unsigned f, QPoint p) override { return Rec("OnRClick", f, p), Answer("OnRClick"); }
    int OnMouseWheel(unsigned f, short d, QPoint p) override {
        m_lastDelta = d;
        return Rec("OnMouseWheel", f, p), Answer("OnMouseWheel");
    }
    void OnMouseMove(unsigned f, QPoint p) override { Rec("OnMouseMove", f, p); }
    void OnMouseEnter(unsigned f, QPoint p) override { Rec("OnMouseEnter", f, p); }
    void OnMouseLeave() override { Rec("OnMouseLeave"); }
    int OnStartDrag(unsigned f, QPoint p) override { return Rec("OnStartDrag", f, p), Answer("OnStartDrag"); }
    void OnEndDrag(unsigned f, QPoint p, int& release) override {
        release = releaseCaptureOnEnd;
        Rec("OnEndDrag", f, p);
    }
    void OnDragging(unsigned f, QPoint p) override { Rec("OnDragging", f, p); }
    int OnStartRDrag(unsigned f, QPoint p) override {
        return Rec("OnStartRDrag", f, p), Answer("OnStartRDrag");
    }
    void OnEndRDrag(unsigned f, QPoint p, int& release) override {
        release = releaseCaptureOnEnd;
        Rec("OnEndRDrag", f, p);
    }
    void OnRDragging(unsigned f, QPoint p) override { Rec("OnRDragging", f, p); }
    int OnKeyDown(unsigned k, unsigned, unsigned f) override {
        return Rec("OnKeyDown", f, QPoint(int(k), 0)), Answer("OnKeyDown");
    }
    int OnKeyUp(unsigned k, unsigned, unsigned f) override {
        return Rec("OnKeyUp", f, QPoint(int(k), 0)), Answer("OnKeyUp");
    }
    int OnSysKeyDown(unsigned k, unsigned, unsigned f) override {
        return Rec("OnSysKeyDown", f, QPoint(int(k), 0)), Answer("OnSysKeyDown");
    }
    int OnSysKeyUp(unsigned k, unsigned, unsigned f) override {
        return Rec("OnSysKeyUp", f, QPoint(int(k), 0)), Answer("OnSysKeyUp");
    }
    int OnTimer(uintptr_t id) override { return Rec("OnTimer", unsigned(id)), Answer("OnTimer"); }

    short m_lastDelta = 0;

private:
    int Answer(const std::string& event) const {
        const auto it = answers.find(event);
        return it == answers.end() ? 0 : it->second;
    }
    void Rec(const std::string& event, unsigned flags = 0, QPoint p = QPoint()) {
        m_log.Add(m_tag + "." + event, flags, p);
        if (action)
            action(*this, event);
    }
    std::string m_tag;
    EventLog& m_log;
};

// A parent that records the canvas's notifications.
class RecordingParent : public CBaseWnd {
public:
    explicit RecordingParent(EventLog& log) : m_log(log) {}

protected:
    intptr_t OnNotify(uintptr_t, NMHDR* header) override {
        QPoint point;
        if (header->code == NM_IMGWND_CLICK || header->code == NM_IMGWND_RCLICK ||
            header->code == NM_IMGWND_MOUSEMOVE)
            point = reinterpret_cast<NMIMGWND_POINT*>(header)->point;
        m_log.Add("parent.NM " + std::to_string(header->code), 0, point);
        return 0;
    }

private:
    EventLog& m_log;
};

// A tool panel that records WM_IWT_NOTIFY and answers with `answer`.
class RecordingPanel : public CSubPanel {
public:
    RecordingPanel(std::string tag, EventLog& log) : m_tag(std::move(tag)), m_log(log) {}
    intptr_t answer = 1;

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t w, intptr_t l) override {
        if (msg == WM_IWT_NOTIFY) {
            auto* tool = reinterpret_cast<RecordingTool*>(l);
            m_log.Add(m_tag + ".notify " + std::to_string(w) + (tool ? " " + tool->Tag() : std::string()));
            return answer;
        }
        return CSubPanel::WindowProc(msg, w, l);
    }

private:
    std::string m_tag;
    EventLog& m_log;
};

// A canvas of 400 x 300 in a recording parent, showing a generated image.
class CanvasFixture : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
        ASSERT_TRUE(kel_testing::MakeGradient(image, 200, 150, 1, 1));
        ASSERT_EQ(wnd.SetImage(image), 1);
    }
    void TearDown() override {
        CBaseWnd::ReleaseCapture();
        // A key pressed by a test and never released would hold processing back in the next one.
        CKeyStateTracker::Reset();
    }

    RecordingTool& AddTool(const std::string& tag, uint32_t mask, const char* name = nullptr) {
        tools.push_back(
            std::make_unique<RecordingTool>(tag, name ? name : ("tool_" + tag).c_str(), mask, log));
        return *tools.back();
    }
    RecordingTool& LoadNew(const std::string& tag, uint32_t mask) {
        RecordingTool& tool = AddTool(tag, mask);
        wnd.LoadTool(&tool);
        return tool;
    }

    EventLog log;
    // Tools outlive the canvas, as a panel's tool outlives its loading.
    std::deque<std::unique_ptr<RecordingTool>> tools;
    CImageDataInfo image;
    RecordingParent parent{log};
    CImageWnd wnd;
    kel_qt_test::Mouse mouse{wnd};
};

using Texts = std::vector<std::string>;

} // namespace kel_canvas_test
