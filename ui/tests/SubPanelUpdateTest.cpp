// Guards CSubPanel::Update: called from a worker it must reach the panel only by the posted message
// 1039 and do its work on the UI thread; on the UI thread the outermost sub-panel takes the height it
// asks for and tells its parent.
#include "QtTestSupport.h"
#include "ui/CSubPanel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace KELCTRL;

namespace {

class Measured : public CSubPanel {
public:
    explicit Measured(int h) : want(h) {}
    std::atomic<int> want;
    std::atomic<int> measures{0};
    std::atomic<bool> measuredOffUiThread{false};
    std::vector<unsigned> updateMessages; // UI thread only

    int GetHeight(const CUISizeInfo*) override {
        ++measures;
        if (std::this_thread::get_id() != uiThread)
            measuredOffUiThread = true;
        return want;
    }
    std::thread::id uiThread = std::this_thread::get_id();

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t w, intptr_t l) override {
        if (msg == WM_SUBPANEL_UPDATE)
            updateMessages.push_back(msg);
        return CSubPanel::WindowProc(msg, w, l);
    }
};

class Parent : public CBaseWnd {
public:
    std::vector<unsigned> codes;

protected:
    intptr_t OnNotify(uintptr_t, NMHDR* header) override {
        codes.push_back(header->code);
        return 1;
    }
};

} // namespace

TEST(SubPanelUpdate, FromAWorkerItArrivesByMessageOnTheUiThread) {
    kel_qt_test::App();
    Parent parent;
    parent.Create(nullptr, QRect(0, 0, 300, 300), 1, 1);
    Measured panel(10);
    panel.Create(&parent, QRect(0, 0, 200, 10), CSubPanel::IDC_BASE, 1);
    panel.want = 77;
    std::thread worker([&] { panel.Update(); });
    worker.join();
    EXPECT_EQ(panel.GetClientHeight(), 10) << "nothing happens before the UI thread runs the message";
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return panel.GetClientHeight() == 77; }));
    EXPECT_FALSE(panel.measuredOffUiThread);
    ASSERT_EQ(panel.updateMessages.size(), 1u);
    EXPECT_EQ(panel.updateMessages[0], 1039u);
    EXPECT_EQ(panel.geometry(), QRect(0, 0, 200, 77)) << "left, top and width stay";
    ASSERT_EQ(parent.codes.size(), 1u);
    EXPECT_EQ(parent.codes[0], CSubPanel::NM_HEIGHT_CHANGED);

    // Many workers at once: every request is served on the UI thread.
    panel.want = 120;
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i)
        workers.emplace_back([&] {
            for (int k = 0; k < 25; ++k)
                panel.Update();
        });
    for (auto& w : workers)
        w.join();
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return panel.updateMessages.size() == 101u; }));
    EXPECT_EQ(panel.GetClientHeight(), 120);
    EXPECT_FALSE(panel.measuredOffUiThread);
}

TEST(SubPanelUpdate, TheOutermostSubPanelResizesOrRedraws) {
    kel_qt_test::App();
    Parent parent;
    parent.Create(nullptr, QRect(0, 0, 300, 300), 1, 1);
    Measured outer(50);
    outer.Create(&parent, QRect(5, 6, 200, 20), CSubPanel::IDC_BASE, 1);
    Measured inner(30);
    inner.Create(&outer, QRect(0, 0, 100, 8), CSubPanel::IDC_BASE, 1);

    inner.Update();
    EXPECT_EQ(outer.geometry(), QRect(5, 6, 200, 50));
    EXPECT_EQ(inner.GetClientHeight(), 8) << "a part of a larger panel is measured by the whole";
    EXPECT_EQ(parent.codes.size(), 1u);

    // Already at its height: nothing moves and the parent hears nothing.
    const int measures = outer.measures;
    outer.Update();
    EXPECT_EQ(outer.measures, measures + 1);
    EXPECT_EQ(outer.geometry(), QRect(5, 6, 200, 50));
    EXPECT_EQ(parent.codes.size(), 1u);
}
