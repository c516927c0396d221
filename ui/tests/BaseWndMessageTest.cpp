// Guards the message layer: sent messages must return the handler's answer, posted ones must arrive
// in order on the UI thread and vanish with their window, timers must fire under their chosen ids,
// and layout must not wait for Qt's deferred resize of hidden windows.
#include "QtTestSupport.h"
#include "ui/CBaseWnd.h"

#include <gtest/gtest.h>

#include <QThread>

#include <atomic>
#include <thread>
#include <vector>

using namespace KELCTRL;
using kel_qt_test::PumpUntil;

namespace {

class MessageWnd : public CBaseWnd {
public:
    struct Received {
        unsigned msg;
        uintptr_t wParam;
        intptr_t lParam;
        bool onUiThread;
    };
    std::vector<Received> received;
    std::vector<uintptr_t> timers;
    std::vector<QSize> adjusted;
    int redraws = 0;
    int initCount = 0;
    uintptr_t killInTimer = 0;

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override {
        if (msg >= WM_USER + 100) {
            received.push_back({msg, wParam, lParam, QThread::currentThread() == qApp->thread()});
            return static_cast<intptr_t>(wParam) * 2;
        }
        return CBaseWnd::WindowProc(msg, wParam, lParam);
    }
    intptr_t OnRedraw(uintptr_t w, intptr_t l) override {
        ++redraws;
        return CBaseWnd::OnRedraw(w, l);
    }
    void OnTimer(uintptr_t id) override {
        timers.push_back(id);
        if (id == killInTimer)
            KillTimer(id);
    }
    void AdjustCtrls(int w, int h) override { adjusted.push_back(QSize(w, h)); }
    void OnInitWnd() override { ++initCount; }
};

class BaseWndMessages : public ::testing::Test {
protected:
    void SetUp() override { kel_qt_test::App(); }
};

} // namespace

TEST_F(BaseWndMessages, SendReturnsTheHandlersAnswerAndZeroWhenUnhandledOrGone) {
    MessageWnd wnd;
    EXPECT_EQ(wnd.SendMessage(WM_USER + 100, 21, 0), 0) << "a window not created takes no messages";
    ASSERT_EQ(wnd.Create(nullptr, QRect(0, 0, 50, 40), 7, 0), 1);
    EXPECT_EQ(wnd.initCount, 1);
    EXPECT_EQ(wnd.Create(nullptr, QRect(0, 0, 50, 40), 7, 0), 0) << "a second Create is refused";
    EXPECT_EQ(wnd.SendMessage(WM_USER + 100, 21, 5), 42);
    EXPECT_EQ(wnd.SendMessage(WM_USER + 5, 21, 5), 0) << "unhandled";
    ASSERT_EQ(wnd.received.size(), 1u);
    EXPECT_EQ(wnd.received[0].lParam, 5);
    wnd.DestroyWindow();
    EXPECT_EQ(wnd.IsWindow(), 0);
    EXPECT_EQ(wnd.SendMessage(WM_USER + 100, 21, 5), 0);
}

TEST_F(BaseWndMessages, PostedMessagesArriveInOrderOnTheUiThreadAndNotBefore) {
    MessageWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 40), 1, 0);
    for (uintptr_t i = 0; i < 5; ++i)
        EXPECT_EQ(wnd.PostMessage(WM_USER + 100, i, 0), 1);
    EXPECT_TRUE(wnd.received.empty()) << "posting is not sending";
    ASSERT_TRUE(PumpUntil([&] { return wnd.received.size() == 5; }));
    for (uintptr_t i = 0; i < 5; ++i)
        EXPECT_EQ(wnd.received[i].wParam, i);
}

TEST_F(BaseWndMessages, WorkersPostToTheUiThread) {
    MessageWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 40), 1, 0);
    std::thread worker([&] {
        for (uintptr_t i = 0; i < 100; ++i)
            CBaseWnd::PostMessage(&wnd, WM_USER + 101, i, 0);
    });
    worker.join();
    ASSERT_TRUE(PumpUntil([&] { return wnd.received.size() == 100; }));
    for (uintptr_t i = 0; i < 100; ++i) {
        EXPECT_EQ(wnd.received[i].wParam, i);
        EXPECT_TRUE(wnd.received[i].onUiThread);
    }
}

TEST_F(BaseWndMessages, MessagesToAGoneWindowAreDropped) {
    auto* wnd = new MessageWnd;
    wnd->Create(nullptr, QRect(0, 0, 50, 40), 1, 0);
    wnd->PostMessage(WM_USER + 100, 1, 0);
    // A worker may still hold the address of a window that is gone.
    volatile uintptr_t address = reinterpret_cast<uintptr_t>(wnd);
    delete wnd; // the queued message must not reach freed memory
    QApplication::processEvents();
    EXPECT_EQ(CBaseWnd::PostMessage(reinterpret_cast<CBaseWnd*>(address), WM_USER + 100, 1, 0), 0);

    MessageWnd destroyed;
    destroyed.Create(nullptr, QRect(0, 0, 50, 40), 1, 0);
    destroyed.PostMessage(WM_USER + 100, 1, 0);
    destroyed.DestroyWindow();
    QApplication::processEvents();
    EXPECT_TRUE(destroyed.received.empty()) << "delivered after DestroyWindow";
    EXPECT_EQ(destroyed.PostMessage(WM_USER + 100, 1, 0), 0);
}

TEST_F(BaseWndMessages, RedrawRequestReachesOnRedraw) {
    MessageWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 40), 1, 1);
    wnd.PostMessage(WM_BASEWND_REDRAW);
    ASSERT_TRUE(PumpUntil([&] { return wnd.redraws == 1; }));
}

TEST_F(BaseWndMessages, TimersFireUnderTheirChosenIdsUntilKilled) {
    MessageWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 40), 1, 0);
    wnd.killInTimer = 1234;
    EXPECT_EQ(wnd.SetTimer(1234, 1), 1234u);
    EXPECT_EQ(wnd.IsTimerRunning(1234), 1);
    ASSERT_TRUE(PumpUntil([&] { return !wnd.timers.empty(); }));
    EXPECT_EQ(wnd.timers[0], 1234u);
    EXPECT_EQ(wnd.IsTimerRunning(1234), 0) << "killed inside its own OnTimer";
    const size_t fired = wnd.timers.size();
    QApplication::processEvents();
    EXPECT_EQ(wnd.timers.size(), fired);
    EXPECT_EQ(wnd.KillTimer(1234), 0) << "already gone";

    // A repeating timer keeps firing under the same id.
    wnd.timers.clear();
    wnd.SetTimer(77, 1);
    ASSERT_TRUE(PumpUntil([&] { return wnd.timers.size() >= 3; }));
    for (uintptr_t id : wnd.timers)
        EXPECT_EQ(id, 77u);
    EXPECT_EQ(wnd.KillTimer(77), 1);
}

TEST_F(BaseWndMessages, TimersStartOnlyOnTheUiThread) {
    MessageWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 40), 1, 0);
    uintptr_t result = 99;
    std::thread worker([&] { result = wnd.SetTimer(5, 1); });
    worker.join();
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(wnd.IsTimerRunning(5), 0);
}

TEST_F(BaseWndMessages, MoveWindowLaysOutAtOnceEvenWhileHidden) {
    MessageWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 40), 1, 0);
    ASSERT_FALSE(wnd.isVisible());
    wnd.adjusted.clear();
    wnd.MoveWindow(10, 10, 120, 80);
    ASSERT_EQ(wnd.adjusted.size(), 1u);
    EXPECT_EQ(wnd.adjusted[0], QSize(120, 80));
    EXPECT_EQ(wnd.GetClientWidth(), 120);
    wnd.MoveWindow(20, 20, 120, 80);
    EXPECT_EQ(wnd.adjusted.size(), 1u) << "a move without a size change lays out nothing";
    wnd.show();
    QApplication::processEvents();
    EXPECT_EQ(wnd.adjusted.size(), 1u) << "Qt's late resize event repeats no layout";
}

TEST_F(BaseWndMessages, DpiScalingTruncates) {
    MessageWnd wnd;
    CBaseWnd::SetDpiFunction([](const QWidget*) { return 144; });
    EXPECT_EQ(wnd.GetDpi(), 144);
    EXPECT_EQ(wnd.ScaleByDpi(11), 16); // 16.5 truncated
    CBaseWnd::SetDpiFunction([](const QWidget*) { return 96; });
    EXPECT_EQ(wnd.ScaleByDpi(11), 11);
    CBaseWnd::SetDpiFunction(nullptr);
}
