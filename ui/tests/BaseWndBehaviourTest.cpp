// Guards the shared behaviour of windows: hover that survives the pointer going into a child, moves
// over a child that reach the parent, tooltips from the wrong source, dropped files lost, fading that
// never ends or never hides, and input that PreTranslateMessage consumed but the window still got.
#include "QtTestSupport.h"
#include "ui/CBaseWnd.h"

#include <gtest/gtest.h>

#include <QMimeData>
#include <QToolTip>
#include <QUrl>

#include <set>
#include <string>
#include <vector>

using namespace KELCTRL;
using kel_qt_test::Mouse;
using kel_qt_test::PumpUntil;

namespace {

class HoverWnd : public CBaseWnd {
public:
    std::vector<std::string> log;
    QStringList dropped;
    bool eatKeys = false;
    QString childTip;

protected:
    void OnMouseEnter(unsigned, const QPoint&) override { log.push_back("enter"); }
    void OnMouseLeave() override { log.push_back("leave"); }
    void OnMouseMove(unsigned f, const QPoint& p) override {
        CBaseWnd::OnMouseMove(f, p);
        log.push_back("move");
    }
    void OnKeyDown(unsigned, unsigned, unsigned) override { log.push_back("key"); }
    int PreTranslateMessage(QEvent* e) override { return eatKeys && e->type() == QEvent::KeyPress ? 1 : 0; }
    QString GetCtrlTooltip(unsigned id) override { return id == 7 ? childTip : QString(); }
    void OnDropObjects(const QStringList& paths) override { dropped = paths; }
};

class BaseWndBehaviour : public ::testing::Test {
protected:
    void SetUp() override { kel_qt_test::App(); }
};

void SendEnter(QWidget& target) {
    QEnterEvent enter(QPointF(1, 1), QPointF(1, 1), QPointF(target.mapToGlobal(QPoint(1, 1))));
    QApplication::sendEvent(&target, &enter);
}

} // namespace

TEST_F(BaseWndBehaviour, HoverClearsWhenThePointerGoesIntoAChild) {
    HoverWnd parent;
    parent.Create(nullptr, QRect(0, 0, 200, 200), 1, 1);
    QWidget plainChild(&parent);
    plainChild.setGeometry(100, 100, 50, 50);
    plainChild.show();
    Mouse mouse(parent);
    mouse.Move(QPoint(10, 10));
    mouse.Move(QPoint(20, 10));
    EXPECT_EQ(parent.IsMouseHover(), 1);
    EXPECT_EQ(parent.log, (std::vector<std::string>{"enter", "move", "move"}));

    parent.log.clear();
    SendEnter(plainChild);
    EXPECT_EQ(parent.IsMouseHover(), 0);
    EXPECT_EQ(parent.log, (std::vector<std::string>{"leave"}));

    // A move the child lets pass arrives at the parent over the child: it is not the parent's.
    parent.log.clear();
    mouse.Move(QPoint(120, 120));
    EXPECT_EQ(parent.IsMouseHover(), 0);
    EXPECT_TRUE(parent.log.empty());
    // Back over the parent's own area, the first move is an enter again.
    mouse.Move(QPoint(10, 120));
    EXPECT_EQ(parent.log, (std::vector<std::string>{"enter", "move"}));

    // A window of the library as the child clears the hover the same way.
    HoverWnd childWnd;
    childWnd.Create(&parent, QRect(0, 150, 40, 40), 2, 1);
    SendEnter(childWnd);
    EXPECT_EQ(parent.IsMouseHover(), 0);
}

TEST_F(BaseWndBehaviour, PointerHeldDownStillReachesTheWindowOverAChild) {
    HoverWnd parent;
    parent.Create(nullptr, QRect(0, 0, 100, 100), 1, 1);
    QWidget child(&parent);
    child.setGeometry(50, 50, 50, 50);
    child.show();
    Mouse mouse(parent);
    mouse.Press(QPoint(10, 10));
    parent.log.clear();
    mouse.Move(QPoint(60, 60)); // dragging: Qt's grab sends the moves to the pressed window
    mouse.Release(QPoint(60, 60));
    EXPECT_FALSE(parent.log.empty());
}

TEST_F(BaseWndBehaviour, TooltipOwnTextElseTheParentsAnswerForTheId) {
    HoverWnd parent;
    parent.Create(nullptr, QRect(0, 0, 200, 100), 1, 1);
    parent.childTip = "from the parent";
    HoverWnd child;
    child.Create(&parent, QRect(10, 10, 50, 50), 7, 1);
    HoverWnd other;
    other.Create(&parent, QRect(80, 10, 50, 50), 8, 1);
    EXPECT_EQ(child.GetTooltipText(), "from the parent");
    EXPECT_EQ(other.GetTooltipText(), "") << "the parent has nothing for id 8";
    child.SetTooltipText("own");
    EXPECT_EQ(child.GetTooltipText(), "own");

    QHelpEvent help(QEvent::ToolTip, QPoint(5, 5), child.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&child, &help);
    EXPECT_TRUE(help.isAccepted());
    EXPECT_EQ(QToolTip::text(), "own");
    QToolTip::hideText();
}

TEST_F(BaseWndBehaviour, DroppedLocalFilesReachOnDropObjects) {
    HoverWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 100, 100), 1, 0);
    EXPECT_FALSE(wnd.acceptDrops());
    wnd.DragAcceptFiles(1);
    EXPECT_TRUE(wnd.acceptDrops());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile("/tmp/a.jpg"), QUrl("https://example.com/b.jpg"),
                  QUrl::fromLocalFile("/tmp/c d.png")});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&wnd, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&wnd, &drop);
    EXPECT_EQ(wnd.dropped, (QStringList{"/tmp/a.jpg", "/tmp/c d.png"})) << "only local files";

    wnd.dropped.clear();
    QMimeData remote;
    remote.setUrls({QUrl("https://example.com/b.jpg")});
    QDragEnterEvent remoteEnter(QPoint(5, 5), Qt::CopyAction, &remote, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&wnd, &remoteEnter);
    EXPECT_FALSE(remoteEnter.isAccepted()) << "nothing a window can open";
    QDropEvent remoteDrop(QPointF(5, 5), Qt::CopyAction, &remote, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&wnd, &remoteDrop);
    EXPECT_TRUE(wnd.dropped.isEmpty());
}

TEST_F(BaseWndBehaviour, FadeOutStepsDownAndHidesFadeInShowsAndStepsUp) {
    HoverWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 50), 1, 1);
    EXPECT_EQ(wnd.GetOpacity(), 255u);
    wnd.FadeOut(3 * CBaseWnd::TIMER_FADING_INTERVAL);
    EXPECT_EQ(wnd.IsFading(), 1);
    EXPECT_TRUE(wnd.isVisible()) << "not hidden before the end";
    std::set<unsigned> seen;
    ASSERT_TRUE(PumpUntil([&] {
        seen.insert(wnd.GetOpacity());
        return !wnd.isVisible();
    }));
    EXPECT_EQ(wnd.GetOpacity(), 0u);
    EXPECT_EQ(wnd.IsFading(), 0);
    seen.erase(0);
    seen.erase(255);
    EXPECT_GE(seen.size(), 2u) << "in steps, not at once";

    wnd.FadeIn(2 * CBaseWnd::TIMER_FADING_INTERVAL);
    EXPECT_TRUE(wnd.isVisible());
    EXPECT_LT(wnd.GetOpacity(), 255u);
    ASSERT_TRUE(PumpUntil([&] { return wnd.IsFading() == 0; }));
    EXPECT_EQ(wnd.GetOpacity(), 255u);
    EXPECT_DOUBLE_EQ(wnd.windowOpacity(), 1.0);

    wnd.FadeOut(0);
    EXPECT_FALSE(wnd.isVisible()) << "no time: at once";
    wnd.SetOpacity(1000);
    EXPECT_EQ(wnd.GetOpacity(), 255u);
}

TEST_F(BaseWndBehaviour, PreTranslateMessageConsumesInputAndFocusSettings) {
    HoverWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 50), 1, 0);
    kel_qt_test::SendKey(wnd, QEvent::KeyPress, Qt::Key_A);
    EXPECT_EQ(wnd.log, (std::vector<std::string>{"key"}));
    wnd.eatKeys = true;
    kel_qt_test::SendKey(wnd, QEvent::KeyPress, Qt::Key_A);
    EXPECT_EQ(wnd.log.size(), 1u);

    EXPECT_EQ(wnd.CanGetFocus(1), 0);
    EXPECT_EQ(wnd.focusPolicy(), Qt::StrongFocus);
    EXPECT_EQ(wnd.CanGetFocus(0), 1);
    EXPECT_EQ(wnd.focusPolicy(), Qt::NoFocus);
    EXPECT_EQ(wnd.IsInited(), 1);
    wnd.DestroyWindow();
    EXPECT_EQ(wnd.IsInited(), 0);
}

TEST_F(BaseWndBehaviour, ResetFocusGoesUpToTheFirstWindowThatTakesIt) {
    HoverWnd top;
    top.Create(nullptr, QRect(0, 0, 100, 100), 1, 1);
    HoverWnd middle;
    middle.Create(&top, QRect(0, 0, 50, 50), 2, 1);
    HoverWnd leaf;
    leaf.Create(&middle, QRect(0, 0, 20, 20), 3, 1);
    top.CanGetFocus(1);
    leaf.ResetFocus();
    EXPECT_EQ(top.focusWidget(), &top) << "neither the leaf nor the middle takes focus";
    middle.CanGetFocus(1);
    leaf.ResetFocus();
    EXPECT_EQ(top.focusWidget(), &middle);
}
