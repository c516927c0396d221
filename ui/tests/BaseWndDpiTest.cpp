// Guards the dpi of windows: a window that takes the wrong monitor record, a screen signal that does
// not reach the layout, children left at the old dpi or told twice, a dpi change that is not flagged
// while it runs, and size limits that overflow when scaled.
#include "QtTestSupport.h"
#include "ui/CBaseWnd.h"
#include "ui/CUISizeInfo.h"

#include <gtest/gtest.h>

#include <QScreen>

#include <vector>

using namespace KELCTRL;

namespace {

class DpiWnd : public CBaseWnd {
public:
    struct Layout {
        QSize size;
        unsigned dpi;
        bool changing;
    };
    std::vector<Layout> layouts;
    int dpiMessages = 0;
    intptr_t lastAnswer = -1;

protected:
    void AdjustCtrls(int w, int h) override {
        layouts.push_back(
            {QSize(w, h), GetUISizeInfo() ? GetUISizeInfo()->DpiX() : 0u, IsDpiChanging() != 0});
    }
    intptr_t OnDPIChanged(uintptr_t wParam, const QRect* rect) override {
        ++dpiMessages;
        lastAnswer = CBaseWnd::OnDPIChanged(wParam, rect);
        return lastAnswer;
    }
};

class BaseWndDpi : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        dpi = {96, 96};
        SetDpiProvider([this](const QWidget*) { return dpi; });
    }
    void TearDown() override { SetDpiProvider(nullptr); }
    // What the platform does when the screen's logical dpi changes.
    static void ScreenDpiSignal() {
        QScreen* screen = QGuiApplication::primaryScreen();
        ASSERT_NE(screen, nullptr);
        emit screen->logicalDotsPerInchChanged(screen->logicalDotsPerInch());
    }
    std::pair<unsigned, unsigned> dpi;
};

} // namespace

TEST_F(BaseWndDpi, CreateTakesTheRecordOfTheMonitorAtEveryDpi) {
    for (unsigned d : {96u, 120u, 144u, 192u}) {
        dpi = {d, d};
        DpiWnd wnd;
        wnd.Create(nullptr, QRect(0, 0, 100, 50), 1, 0);
        ASSERT_NE(wnd.GetUISizeInfo(), nullptr);
        EXPECT_EQ(wnd.GetUISizeInfo(), &FindUISizeInfo(d, d));
        EXPECT_EQ(wnd.GetDpi(), static_cast<int>(d));
        // value x dpi / 96, truncated: 11 -> 11, 13, 16, 22.
        EXPECT_EQ(wnd.ScaleByDpi(11), static_cast<int>(11 * d / 96)) << d;
        EXPECT_EQ(wnd.GetUISizeInfo()->buttonHeight, static_cast<int>(30 * d / 96)) << d;
    }
    dpi = {80, 144}; // one axis below 96: both become 96
    DpiWnd low;
    low.Create(nullptr, QRect(0, 0, 10, 10), 1, 0);
    EXPECT_EQ(low.GetUISizeInfo(), &FindUISizeInfo(96, 96));
}

TEST_F(BaseWndDpi, ScreenDpiSignalRescalesTheWindowAndItsChildrenOnce) {
    DpiWnd top;
    top.Create(nullptr, QRect(10, 20, 200, 100), 1, 1);
    DpiWnd child;
    child.Create(&top, QRect(5, 5, 40, 30), 2, 1);
    QWidget plain(&child); // a Qt widget between two windows of the library
    DpiWnd grandChild;
    grandChild.Create(&plain, QRect(0, 0, 10, 10), 3, 1);
    top.layouts.clear();
    child.layouts.clear();

    ScreenDpiSignal();
    EXPECT_EQ(top.dpiMessages, 0) << "the dpi did not change";

    dpi = {144, 144};
    ScreenDpiSignal();
    EXPECT_EQ(top.dpiMessages, 1);
    EXPECT_EQ(top.lastAnswer, 0);
    EXPECT_EQ(top.GetUISizeInfo(), &FindUISizeInfo(144, 144));
    EXPECT_EQ(top.geometry(), QRect(10, 20, 300, 150)) << "the suggested rectangle keeps the top-left";
    ASSERT_EQ(top.layouts.size(), 1u);
    EXPECT_EQ(top.layouts[0].size, QSize(300, 150));
    EXPECT_EQ(top.layouts[0].dpi, 144u);
    EXPECT_TRUE(top.layouts[0].changing) << "laid out while the change runs";
    EXPECT_EQ(top.IsDpiChanging(), 0);

    EXPECT_EQ(child.dpiMessages, 1) << "a child hears it from its parent only";
    EXPECT_EQ(child.GetUISizeInfo(), &FindUISizeInfo(144, 144));
    ASSERT_FALSE(child.layouts.empty());
    EXPECT_EQ(child.layouts[0].size, QSize(40, 30)) << "a child keeps its rectangle and is laid out anyway";
    EXPECT_EQ(child.layouts[0].dpi, 144u);
    EXPECT_EQ(grandChild.dpiMessages, 1) << "reached through a plain Qt widget";
    EXPECT_EQ(grandChild.GetDpi(), 144);
    EXPECT_EQ(top.GetFontPtr()->pixelSize(), FindUISizeInfo(144, 144).fonts[FONT_STYLE_NORMAL].pixelSize());
}

TEST_F(BaseWndDpi, MovingToAnotherScreenRunsTheSamePath) {
    DpiWnd top;
    top.Create(nullptr, QRect(0, 0, 96, 48), 1, 0);
    dpi = {120, 192};
    QEvent moved(QEvent::ScreenChangeInternal);
    QApplication::sendEvent(&top, &moved);
    EXPECT_EQ(top.dpiMessages, 1);
    EXPECT_EQ(top.GetUISizeInfo(), &FindUISizeInfo(120, 192));
    EXPECT_EQ(top.geometry().size(), QSize(120, 96)) << "each axis by its own dpi";
    dpi = {96, 96};
    QApplication::sendEvent(&top, &moved);
    EXPECT_EQ(top.geometry().size(), QSize(96, 48)) << "and back";
}

TEST_F(BaseWndDpi, DpiMessageWithTheSameDpiOrTheSameRectangle) {
    DpiWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 80, 60), 1, 0);
    wnd.layouts.clear();
    EXPECT_EQ(wnd.SendMessage(WM_DPICHANGED, MakeDpiWParam(96, 96), 0), 1) << "same record";
    EXPECT_TRUE(wnd.layouts.empty());

    const QRect same = wnd.geometry();
    EXPECT_EQ(wnd.SendMessage(WM_DPICHANGED, MakeDpiWParam(192, 192), reinterpret_cast<intptr_t>(&same)), 0);
    ASSERT_EQ(wnd.layouts.size(), 1u) << "an unchanged rectangle is laid out by the handler itself";
    EXPECT_EQ(wnd.layouts[0].size, QSize(80, 60));
    EXPECT_EQ(wnd.layouts[0].dpi, 192u);
    EXPECT_EQ(wnd.GetDpi(), 192);
}

TEST_F(BaseWndDpi, ChildWindowsDoNotFollowTheScreenThemselves) {
    DpiWnd top;
    top.Create(nullptr, QRect(0, 0, 50, 50), 1, 0);
    DpiWnd child;
    child.Create(&top, QRect(0, 0, 10, 10), 2, 0);
    dpi = {144, 144};
    EXPECT_EQ(child.UpdateDpiFromMonitor(), 0);
    QEvent moved(QEvent::ScreenChangeInternal);
    QApplication::sendEvent(&child, &moved);
    EXPECT_EQ(child.dpiMessages, 0);
    EXPECT_EQ(child.GetDpi(), 96);
    EXPECT_EQ(top.UpdateDpiFromMonitor(), 1);
    EXPECT_EQ(child.GetDpi(), 144);
}

TEST_F(BaseWndDpi, FirstSizingOfATopLevelWindowAsksTheMonitor) {
    DpiWnd wnd;
    wnd.Create(nullptr, QRect(), 1, 0);
    EXPECT_EQ(wnd.GetDpi(), 96);
    dpi = {120, 120};
    wnd.MoveWindow(0, 0, 100, 100);
    EXPECT_EQ(wnd.GetDpi(), 120);
    EXPECT_EQ(wnd.dpiMessages, 0) << "no change path: the window had no size yet";
    dpi = {144, 144};
    wnd.MoveWindow(0, 0, 120, 100);
    EXPECT_EQ(wnd.GetDpi(), 120) << "only the first sizing asks";
}

TEST_F(BaseWndDpi, SizeLimitsScaleButNoLimitStaysUnscaled) {
    DpiWnd raw;
    raw.SetMinSize(QSize(100, 50));
    QSize minSize, maxSize;
    raw.OnGetMinMaxInfo(minSize, maxSize);
    EXPECT_EQ(minSize, QSize(100, 50)) << "without a record the raw values serve";
    EXPECT_EQ(maxSize, QSize(CBaseWnd::kNoSizeLimit, CBaseWnd::kNoSizeLimit));

    dpi = {144, 144};
    DpiWnd wnd;
    EXPECT_EQ(wnd.GetMinSize(), QSize(1, 1));
    EXPECT_EQ(wnd.GetMaxSize(), QSize(CBaseWnd::kNoSizeLimit, CBaseWnd::kNoSizeLimit));
    wnd.Create(nullptr, QRect(0, 0, 400, 400), 1, 0);
    wnd.SetMinSize(QSize(100, 50));
    wnd.SetMaxSize(QSize(CBaseWnd::kNoSizeLimit, 400));
    wnd.OnGetMinMaxInfo(minSize, maxSize);
    EXPECT_EQ(minSize, QSize(150, 75));
    EXPECT_EQ(maxSize, QSize(CBaseWnd::kNoSizeLimit, 600));
    EXPECT_EQ(wnd.minimumSize(), QSize(150, 75));
    EXPECT_EQ(wnd.maximumSize(), QSize(QWIDGETSIZE_MAX, 600)) << "no limit after scaling";
    wnd.SetMaxTrackSize(QSize(500, CBaseWnd::kNoSizeLimit));
    EXPECT_EQ(wnd.maximumSize(), QSize(750, 600)) << "the smaller of the two maxima";

    DpiWnd child;
    child.SetMinSize(QSize(100, 100));
    child.Create(&wnd, QRect(0, 0, 20, 20), 2, 0);
    EXPECT_EQ(child.geometry().size(), QSize(20, 20)) << "a child is placed by its parent";
}

TEST_F(BaseWndDpi, DpiFunctionOfExistingCallersFeedsTheProvider) {
    CBaseWnd::SetDpiFunction([](const QWidget*) { return 192; });
    EXPECT_EQ(MonitorDpi(nullptr), (std::pair<unsigned, unsigned>(192, 192)));
    DpiWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 10, 10), 1, 0);
    EXPECT_EQ(wnd.GetDpi(), 192);
    CBaseWnd::SetDpiFunction(nullptr);
    EXPECT_EQ(wnd.GetDpi(), 192) << "a created window keeps its record until a dpi change";
}
