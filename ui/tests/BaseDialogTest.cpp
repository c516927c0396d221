// Guards the dialog base: an owner left enabled while a modal dialog runs or left disabled after it,
// a dialog disabled along with its owner, wrong results for Enter, Escape and close, a second DoModal
// that does not build the dialog anew, and a last position restored off the screen or at the wrong dpi.
#include "QtTestSupport.h"
#include "ui/CBaseDialog.h"
#include "ui/CBaseWnd.h"
#include "ui/CUIColorSchema.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QTimer>

#include <functional>
#include <vector>

using namespace KELCTRL;

namespace {

class TestDialog : public CBaseDialog {
public:
    using CBaseDialog::CBaseDialog;
    // Runs once the modal loop is going.
    std::function<void(TestDialog&)> whileRunning;
    int inits = 0;
    int destroys = 0;
    int childCreated = 0;
    bool ignoreClose = false;
    std::vector<QSize> layouts;
    std::vector<uintptr_t> timers;
    CBaseWnd child;

protected:
    int OnInitDialog() override {
        ++inits;
        childCreated = child.Create(this, QRect(0, 0, 20, 20), 1000, 1);
        if (whileRunning)
            QTimer::singleShot(0, this, [this] { whileRunning(*this); });
        return 1;
    }
    void OnDestroy() override { ++destroys; }
    void OnClose() override {
        if (!ignoreClose)
            CBaseDialog::OnClose();
    }
    void AdjustCtrls(int w, int h) override { layouts.push_back(QSize(w, h)); }
    void OnTimer(uintptr_t id) override {
        timers.push_back(id);
        KillTimer(id);
    }
    void OnPaint(QPainter& painter, int, int) override { painter.fillRect(2, 2, 3, 3, Qt::red); }
};

class BaseDialog : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        SetDpiProvider([this](const QWidget*) { return dpi; });
        owner.Create(nullptr, QRect(0, 0, 300, 200), 1, 1);
        inner.Create(&owner, QRect(10, 10, 100, 100), 2, 1);
    }
    void TearDown() override { SetDpiProvider(nullptr); }
    std::pair<unsigned, unsigned> dpi{96, 96};
    CBaseWnd owner;
    CBaseWnd inner;
};

} // namespace

TEST_F(BaseDialog, ModalDialogDisablesTheTopLevelOwnerWhileItRuns) {
    TestDialog dlg(&inner); // the owner is the window the parent lies in
    bool ownerEnabled = true, dialogEnabled = false;
    QWidget* modalOwner = nullptr;
    dlg.whileRunning = [&](TestDialog& d) {
        ownerEnabled = owner.isEnabled();
        dialogEnabled = d.isEnabled();
        modalOwner = d.GetModalOwner();
        d.EndDialog(42);
    };
    EXPECT_EQ(dlg.DoModal(), 42);
    EXPECT_FALSE(ownerEnabled);
    EXPECT_TRUE(dialogEnabled) << "Qt's disabled owner must not disable the dialog";
    EXPECT_EQ(modalOwner, &owner);
    EXPECT_TRUE(owner.isEnabled()) << "enabled again before DoModal returns";
    EXPECT_TRUE(inner.isEnabled());
    EXPECT_EQ(dlg.GetModalOwner(), nullptr);
    EXPECT_FALSE(dlg.isVisible());
}

TEST_F(BaseDialog, AnOwnerDisabledBeforeStaysDisabled) {
    owner.setEnabled(false);
    TestDialog dlg(&owner);
    bool dialogEnabled = false;
    dlg.whileRunning = [&](TestDialog& d) {
        dialogEnabled = d.isEnabled();
        d.EndDialog(CBaseDialog::IDOK);
    };
    EXPECT_EQ(dlg.DoModal(), CBaseDialog::IDOK);
    EXPECT_TRUE(dialogEnabled);
    EXPECT_FALSE(owner.isEnabled());
    owner.setEnabled(true);
}

TEST_F(BaseDialog, EnterEscapeAndCloseEndWithTheirResults) {
    TestDialog dlg(&owner);
    dlg.whileRunning = [](TestDialog& d) { kel_qt_test::SendKey(d, QEvent::KeyPress, Qt::Key_Escape); };
    EXPECT_EQ(dlg.DoModal(), CBaseDialog::IDCANCEL);
    dlg.whileRunning = [](TestDialog& d) { kel_qt_test::SendKey(d, QEvent::KeyPress, Qt::Key_Return); };
    EXPECT_EQ(dlg.DoModal(), CBaseDialog::IDOK);
    dlg.whileRunning = [](TestDialog& d) { d.close(); };
    EXPECT_EQ(dlg.DoModal(), CBaseDialog::IDCANCEL) << "the base close is a cancel";

    bool stayed = false;
    dlg.ignoreClose = true;
    dlg.whileRunning = [&](TestDialog& d) {
        d.close();
        stayed = d.isVisible();
        d.EndDialog(9);
    };
    EXPECT_EQ(dlg.DoModal(), 9);
    EXPECT_TRUE(stayed) << "a close that OnClose declines leaves the dialog up";
}

TEST_F(BaseDialog, EveryDoModalBuildsTheDialogAnew) {
    TestDialog dlg(&owner);
    dlg.whileRunning = [](TestDialog& d) { d.EndDialog(1); };
    dlg.DoModal();
    EXPECT_EQ(dlg.inits, 1);
    EXPECT_EQ(dlg.destroys, 1);
    EXPECT_EQ(dlg.IsWindow(), 0);
    EXPECT_EQ(dlg.child.IsWindow(), 0) << "its windows end with it";
    dlg.DoModal();
    EXPECT_EQ(dlg.inits, 2);
    EXPECT_EQ(dlg.childCreated, 1) << "the member window is created again";
}

TEST_F(BaseDialog, ModelessDialogLaysOutPaintsAndRunsTimers) {
    TestDialog dlg(&owner);
    ASSERT_EQ(dlg.Create(&owner, QRect(0, 0, 120, 80), 0), 1);
    EXPECT_EQ(dlg.Create(&owner, QRect(0, 0, 120, 80), 0), 0);
    EXPECT_TRUE(dlg.isWindow());
    ASSERT_FALSE(dlg.layouts.empty());
    EXPECT_EQ(dlg.layouts.back(), QSize(120, 80));
    dlg.MoveWindow(0, 0, 150, 90);
    EXPECT_EQ(dlg.layouts.back(), QSize(150, 90)) << "at once, even while hidden";

    const QImage image = dlg.RenderClient();
    ASSERT_EQ(image.size(), QSize(150, 90));
    EXPECT_EQ(image.pixel(0, 0), CUIColorSchema::FromColorRef(UIColors().bkPanel).rgb());
    EXPECT_EQ(image.pixel(3, 3), qRgb(255, 0, 0));

    EXPECT_EQ(dlg.SetTimer(100, 1), 100u);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return !dlg.timers.empty(); }));
    EXPECT_EQ(dlg.timers[0], 100u);
    EXPECT_EQ(dlg.IsTimerRunning(100), 0);

    QLabel* label = new QLabel(&dlg);
    dlg.AddToolTipForCtrl(label, "tip");
    EXPECT_EQ(label->toolTip(), "tip");
    dlg.AddToolTipForCtrl(&dlg.child, "child tip");
    EXPECT_EQ(dlg.child.GetTooltipText(), "child tip");
}

TEST_F(BaseDialog, DpiChangeRescalesTheDialogAndItsWindows) {
    TestDialog dlg(&owner);
    dlg.Create(&owner, QRect(0, 0, 200, 100), 0);
    EXPECT_EQ(dlg.GetUISizeInfo(), &FindUISizeInfo(96, 96));
    dpi = {144, 144};
    QEvent moved(QEvent::ScreenChangeInternal);
    QApplication::sendEvent(&dlg, &moved);
    EXPECT_EQ(dlg.GetUISizeInfo(), &FindUISizeInfo(144, 144));
    EXPECT_EQ(dlg.geometry().size(), QSize(300, 150));
    EXPECT_EQ(dlg.layouts.back(), QSize(300, 150));
    EXPECT_EQ(dlg.child.GetDpi(), 144);
    EXPECT_EQ(dlg.IsDpiChanging(), 0);
    const QRect same = dlg.geometry();
    EXPECT_EQ(dlg.SendMessage(WM_DPICHANGED, MakeDpiWParam(144, 144), reinterpret_cast<intptr_t>(&same)), 1);
}

TEST_F(BaseDialog, LastPositionIsRememberedUnscaledAndRestoredInsideTheWorkArea) {
    dpi = {120, 120};
    TestDialog dlg(&owner);
    dlg.Create(&owner, QRect(30, 40, 300, 150), 0);
    EXPECT_EQ(dlg.GetPopupInfo().width, 0) << "a hidden dialog records nothing";
    dlg.show();
    dlg.MoveWindow(30, 40, 300, 150);
    dlg.MoveWindow(35, 45, 300, 150);
    POPUP_WND_INFO info = dlg.GetPopupInfo();
    EXPECT_EQ(info.x, dlg.geometry().x());
    EXPECT_EQ(info.y, dlg.geometry().y());
    EXPECT_EQ(info.width, 240) << "kept at 96 dpi";
    EXPECT_EQ(info.height, 120);
    dlg.hide();

    QScreen* screen = owner.screen();
    ASSERT_NE(screen, nullptr);
    const QRect work = screen->availableGeometry();
    // Saved near the right edge, restored at 144 dpi: 1.5 times the size, pushed back inside.
    dpi = {144, 144};
    info = POPUP_WND_INFO{work.right() - 50, work.top() + 10, 200, 100, 0};
    dlg.SetPopupInfo(info);
    dlg.RestoreLastWindowState();
    EXPECT_EQ(dlg.geometry(), QRect(work.left() + work.width() - 300, work.top() + 10, 300, 150));

    // Larger than the work area: cut to it.
    dlg.SetPopupInfo(POPUP_WND_INFO{work.left() - 100, work.top(), 100000, 100, 0});
    dlg.RestoreLastWindowState();
    EXPECT_EQ(dlg.geometry().width(), work.width());
    EXPECT_EQ(dlg.geometry().x(), work.left());

    // Nothing saved: the current rectangle stands.
    dlg.SetPopupInfo(POPUP_WND_INFO{});
    const QRect before = dlg.geometry();
    dlg.RestoreLastWindowState();
    EXPECT_EQ(dlg.geometry(), before);
}
