// Guards the translation of Qt input: wrong MK flags or VK codes, a lost wheel unit, an auto-repeat
// release taken for a real one, a double click that also arrives as a press, and a capture that is
// lost without its window hearing of it.
#include "QtTestSupport.h"
#include "ui/CBaseWnd.h"
#include "ui/InputMapping.h"

#include <gtest/gtest.h>

#include <QFocusEvent>

#include <string>
#include <vector>

using namespace KELCTRL;
using kel_qt_test::Mouse;
using kel_qt_test::SendKey;

namespace {

struct Input {
    std::string what;
    unsigned a = 0; // flags or key
    unsigned b = 0; // key flags
    QPoint point;
    int delta = 0;
};

Input Make(const char* what, unsigned a = 0, unsigned b = 0) {
    Input input;
    input.what = what;
    input.a = a;
    input.b = b;
    return input;
}

class InputWnd : public CBaseWnd {
public:
    std::vector<Input> log;
    std::vector<CBaseWnd*> captureChanges;
    int wheelAnswer = 1;

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const Input& i : log)
            names.push_back(i.what);
        return names;
    }

protected:
    void OnLButtonDown(unsigned f, const QPoint& p) override { log.push_back({"LDown", f, 0, p}); }
    void OnLButtonUp(unsigned f, const QPoint& p) override { log.push_back({"LUp", f, 0, p}); }
    void OnLButtonDblClk(unsigned f, const QPoint& p) override { log.push_back({"LDbl", f, 0, p}); }
    void OnRButtonDown(unsigned f, const QPoint& p) override { log.push_back({"RDown", f, 0, p}); }
    void OnRButtonUp(unsigned f, const QPoint& p) override { log.push_back({"RUp", f, 0, p}); }
    void OnRButtonDblClk(unsigned f, const QPoint& p) override { log.push_back({"RDbl", f, 0, p}); }
    void OnMouseMove(unsigned f, const QPoint& p) override {
        CBaseWnd::OnMouseMove(f, p);
        log.push_back({"Move", f, 0, p});
    }
    void OnMouseEnter(unsigned f, const QPoint& p) override { log.push_back({"Enter", f, 0, p}); }
    void OnMouseLeave() override { log.push_back(Make("Leave")); }
    int OnMouseWheel(unsigned f, short d, const QPoint& p) override {
        log.push_back({"Wheel", f, 0, p, d});
        return wheelAnswer;
    }
    void OnKeyDown(unsigned k, unsigned, unsigned f) override { log.push_back(Make("KeyDown", k, f)); }
    void OnKeyUp(unsigned k, unsigned, unsigned f) override { log.push_back(Make("KeyUp", k, f)); }
    void OnSysKeyDown(unsigned k, unsigned, unsigned f) override { log.push_back(Make("SysKeyDown", k, f)); }
    void OnSysKeyUp(unsigned k, unsigned, unsigned f) override { log.push_back(Make("SysKeyUp", k, f)); }
    void OnCaptureChanged(CBaseWnd* newOwner) override {
        captureChanges.push_back(newOwner);
        CBaseWnd::OnCaptureChanged(newOwner);
    }
};

class BaseWndInput : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        wnd.Create(nullptr, QRect(0, 0, 200, 100), 1);
        other.Create(nullptr, QRect(300, 0, 200, 100), 2);
    }
    void TearDown() override { CBaseWnd::ReleaseCapture(); }
    InputWnd wnd;
    InputWnd other;
    Mouse mouse{wnd};
};

using Names = std::vector<std::string>;

} // namespace

TEST_F(BaseWndInput, MouseFlagsCarryButtonsHeldAndModifiers) {
    mouse.Press(QPoint(5, 6), Qt::LeftButton, Qt::ShiftModifier | Qt::ControlModifier);
    mouse.Press(QPoint(5, 6), Qt::RightButton, Qt::ShiftModifier);
    mouse.Release(QPoint(5, 6), Qt::LeftButton);
    ASSERT_EQ(wnd.log.size(), 3u);
    EXPECT_EQ(wnd.log[0].a, MK_LBUTTON | MK_SHIFT | MK_CONTROL);
    EXPECT_EQ(wnd.log[0].point, QPoint(5, 6));
    EXPECT_EQ(wnd.log[1].a, MK_LBUTTON | MK_RBUTTON | MK_SHIFT);
    EXPECT_EQ(wnd.log[2].what, "LUp");
    EXPECT_EQ(wnd.log[2].a, MK_RBUTTON) << "the released button is no longer held";
    EXPECT_EQ(MouseKeyFlags(Qt::MiddleButton | Qt::XButton2, {}), MK_MBUTTON | MK_XBUTTON2);
}

TEST_F(BaseWndInput, SecondPressOfADoubleClickArrivesOnlyAsADoubleClick) {
    const QPoint p(20, 20);
    mouse.Press(p);
    mouse.Release(p);
    mouse.Press(p + QPoint(1, 1), Qt::LeftButton, {}, true); // within the interval and distance
    mouse.QtDoubleClick(p + QPoint(1, 1));                   // Qt's own event after that press
    mouse.Release(p);
    EXPECT_EQ(wnd.Names(), (Names{"LDown", "LUp", "LDbl", "LUp"}));

    // A third quick press starts a new pair.
    mouse.Press(p, Qt::LeftButton, {}, true);
    mouse.Release(p);
    EXPECT_EQ(wnd.log[4].what, "LDown");
}

TEST_F(BaseWndInput, DoubleClickDeliveredByQtWithoutThePressStillCountsOnce) {
    const QPoint p(20, 20);
    mouse.Press(p, Qt::RightButton);
    mouse.Release(p, Qt::RightButton);
    mouse.QtDoubleClick(p, Qt::RightButton);
    mouse.Release(p, Qt::RightButton);
    EXPECT_EQ(wnd.Names(), (Names{"RDown", "RUp", "RDbl", "RUp"}));
}

TEST_F(BaseWndInput, SlowOrDistantOrOtherButtonPressesAreNotDoubleClicks) {
    const QPoint p(20, 20);
    mouse.Press(p);
    mouse.Release(p);
    mouse.Press(p); // 5 s later
    mouse.Release(p);
    mouse.Press(p + QPoint(40, 0), Qt::LeftButton, {}, true); // quick but far
    mouse.Release(p);
    mouse.Press(p + QPoint(40, 0), Qt::RightButton, {}, true); // quick, near, other button
    mouse.Release(p, Qt::RightButton);
    EXPECT_EQ(wnd.Names(), (Names{"LDown", "LUp", "LDown", "LUp", "LDown", "LUp", "RDown", "RUp"}));
}

TEST_F(BaseWndInput, WheelCountsOneHundredTwentyPerNotchAndUnhandledGoesOn) {
    EXPECT_TRUE(mouse.Wheel(QPoint(3, 4), 120));
    EXPECT_TRUE(mouse.Wheel(QPoint(3, 4), -240, Qt::ControlModifier));
    ASSERT_EQ(wnd.log.size(), 2u);
    EXPECT_EQ(wnd.log[0].delta, 120);
    EXPECT_EQ(wnd.log[0].point, QPoint(3, 4));
    EXPECT_EQ(wnd.log[1].delta, -240);
    EXPECT_EQ(wnd.log[1].a, MK_CONTROL);
    wnd.wheelAnswer = 0;
    EXPECT_FALSE(mouse.Wheel(QPoint(3, 4), 120)) << "an unhandled wheel must be left to the parent";
}

TEST_F(BaseWndInput, FirstMoveIsTheEnterAndLeavingIsReported) {
    mouse.Move(QPoint(1, 1));
    mouse.Move(QPoint(2, 1));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&wnd, &leave);
    mouse.Move(QPoint(3, 1));
    EXPECT_EQ(wnd.Names(), (Names{"Enter", "Move", "Move", "Leave", "Enter", "Move"}));
    EXPECT_EQ(wnd.IsMouseHover(), 1);
}

TEST_F(BaseWndInput, KeysBecomeVirtualKeysAndRepeatReleasesAreIgnored) {
    SendKey(wnd, QEvent::KeyPress, Qt::Key_A);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_A, {}, true); // X11 auto-repeat release
    SendKey(wnd, QEvent::KeyPress, Qt::Key_A, {}, true);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_A);
    ASSERT_EQ(wnd.Names(), (Names{"KeyDown", "KeyDown", "KeyUp"}));
    EXPECT_EQ(wnd.log[0].a, unsigned('A'));
    EXPECT_EQ(wnd.log[0].b & KF_REPEAT, 0u);
    EXPECT_EQ(wnd.log[1].b & KF_REPEAT, KF_REPEAT) << "auto-repeat press";
    EXPECT_EQ(wnd.log[2].b & KF_UP, KF_UP);
}

TEST_F(BaseWndInput, AltAndF10AreSystemKeys) {
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Alt);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_X, Qt::AltModifier);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_X, Qt::AltModifier);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_Alt, Qt::AltModifier);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_F10);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_F9);
    ASSERT_EQ(wnd.Names(),
              (Names{"SysKeyDown", "SysKeyDown", "SysKeyUp", "SysKeyUp", "SysKeyDown", "KeyDown"}));
    EXPECT_EQ(wnd.log[0].a, VK_MENU);
    EXPECT_EQ(wnd.log[0].b & KF_ALTDOWN, KF_ALTDOWN);
    EXPECT_EQ(wnd.log[1].a, unsigned('X'));
    EXPECT_EQ(wnd.log[4].a, VK_F10);
    EXPECT_EQ(wnd.log[5].a, VK_F1 + 8);
}

TEST(InputMapping, VirtualKeyTable) {
    struct Case {
        int qt;
        Qt::KeyboardModifiers mods;
        unsigned vk;
    } cases[] = {
        {Qt::Key_Z, {}, 'Z'},
        {Qt::Key_7, {}, '7'},
        {Qt::Key_7, Qt::KeypadModifier, VK_NUMPAD0 + 7},
        {Qt::Key_Plus, Qt::KeypadModifier, VK_ADD},
        {Qt::Key_Exclam, Qt::ShiftModifier, '1'},
        {Qt::Key_ParenRight, Qt::ShiftModifier, '0'},
        {Qt::Key_Space, {}, VK_SPACE},
        {Qt::Key_Escape, {}, VK_ESCAPE},
        {Qt::Key_Return, {}, VK_RETURN},
        {Qt::Key_Enter, Qt::KeypadModifier, VK_RETURN},
        {Qt::Key_Shift, {}, VK_SHIFT},
        {Qt::Key_Control, {}, VK_CONTROL},
        {Qt::Key_Left, {}, VK_LEFT},
        {Qt::Key_Delete, {}, VK_DELETE},
        {Qt::Key_F24, {}, VK_F24},
        {Qt::Key_BracketLeft, {}, VK_OEM_4},
        {Qt::Key_BraceLeft, Qt::ShiftModifier, VK_OEM_4},
        {Qt::Key_Minus, {}, VK_OEM_MINUS},
        {Qt::Key_Equal, {}, VK_OEM_PLUS},
        {Qt::Key_unknown, {}, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(VirtualKeyFromQt(c.qt, c.mods), c.vk) << "Qt key 0x" << std::hex << c.qt;
}

TEST_F(BaseWndInput, CaptureMovesAndTheLoserHearsTheNewOwner) {
    EXPECT_EQ(wnd.SetCapture(), nullptr);
    EXPECT_EQ(CBaseWnd::GetCapture(), &wnd);
    EXPECT_TRUE(wnd.captureChanges.empty()) << "taking the capture is not losing it";
    EXPECT_EQ(other.SetCapture(), &wnd);
    ASSERT_EQ(wnd.captureChanges.size(), 1u);
    EXPECT_EQ(wnd.captureChanges[0], &other);
    CBaseWnd::ReleaseCapture();
    ASSERT_EQ(other.captureChanges.size(), 1u);
    EXPECT_EQ(other.captureChanges[0], nullptr);
    EXPECT_EQ(CBaseWnd::GetCapture(), nullptr);
}

TEST_F(BaseWndInput, FocusLossAndDeactivationReleaseTheCapture) {
    wnd.SetCapture();
    QFocusEvent focusOut(QEvent::FocusOut, Qt::OtherFocusReason);
    QApplication::sendEvent(&wnd, &focusOut);
    ASSERT_EQ(wnd.captureChanges.size(), 1u);
    EXPECT_EQ(CBaseWnd::GetCapture(), nullptr);

    other.SetCapture();
    ASSERT_FALSE(other.isActiveWindow());
    QEvent activation(QEvent::ActivationChange);
    QApplication::sendEvent(&other, &activation);
    ASSERT_EQ(other.captureChanges.size(), 1u);
    EXPECT_EQ(other.captureChanges[0], nullptr);
    EXPECT_EQ(CBaseWnd::GetCapture(), nullptr);
}

TEST_F(BaseWndInput, ADestroyedWindowGivesUpTheCapture) {
    {
        InputWnd shortLived;
        shortLived.Create(nullptr, QRect(0, 0, 20, 20), 3, 0);
        shortLived.SetCapture();
    }
    EXPECT_EQ(CBaseWnd::GetCapture(), nullptr);
}
