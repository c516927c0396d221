// Guards the basic controls: a click that does not reach the parent or carries the wrong id, a press
// released outside that still counts, keys or clicks that a disabled control obeys, a Tab order that
// is not the creation order, a focus, hover or disabled state that paints like the normal one, an
// image button that draws the wrong resolution, and a split line of the wrong thickness.
#include "CtrlTestSupport.h"
#include "ui/CDpiAwareImage.h"
#include "ui/CImagePushButton.h"
#include "ui/CImageResources.h"
#include "ui/CLabel.h"
#include "ui/CSplitLine.h"
#include "ui/CTextPushButton.h"
#include "ui/CUIColorSchema.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace KELCTRL;
using kel_ctrl_test::CountColor;
using kel_ctrl_test::RecorderWnd;
using kel_qt_test::Mouse;

namespace {

class Controls : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        SetDpiProvider([this](const QWidget*) { return std::pair<unsigned, unsigned>(dpi, dpi); });
        parent.Create(nullptr, QRect(0, 0, 400, 200), 1, 1);
    }
    void TearDown() override { SetDpiProvider(nullptr); }

    unsigned dpi = 96;
    RecorderWnd parent;
};

struct ClickCase {
    const char* name;
    std::function<std::unique_ptr<CCtrlWnd>()> make;
};

const std::vector<ClickCase>& ClickCases() {
    static const std::vector<ClickCase> cases = {
        {"label", [] { return std::make_unique<CLabel>(); }},
        {"text button", [] { return std::make_unique<CTextPushButton>(); }},
        {"image button", [] { return std::make_unique<CImagePushButton>(); }},
    };
    return cases;
}

} // namespace

TEST_F(Controls, ClickSendsTheParentCommandWithTheIdOnlyWhenReleasedInside) {
    unsigned id = 300;
    for (const ClickCase& c : ClickCases()) {
        SCOPED_TRACE(c.name);
        auto ctrl = c.make();
        ASSERT_EQ(ctrl->Create(&parent, QRect(10, 10, 80, 30), ++id, QString("Go")), 1);
        EXPECT_EQ(ctrl->GetText(), "Go");
        parent.log.clear();
        Mouse mouse(*ctrl);
        mouse.Press({40, 15});
        EXPECT_TRUE(parent.Of(WM_COMMAND).empty()) << "the press alone is no click";
        mouse.Release({40, 15});
        auto commands = parent.Of(WM_COMMAND);
        ASSERT_EQ(commands.size(), 1u);
        EXPECT_EQ(LowWord(commands[0].wParam), id);
        EXPECT_EQ(HighWord(commands[0].wParam), BN_CLICKED);
        EXPECT_EQ(commands[0].lParam, reinterpret_cast<intptr_t>(static_cast<CBaseWnd*>(ctrl.get())));

        parent.log.clear();
        mouse.Press({40, 15});
        mouse.Move({200, 15});
        mouse.Release({200, 15});
        EXPECT_TRUE(parent.Of(WM_COMMAND).empty()) << "released outside";
    }
}

TEST_F(Controls, DisabledControlsIgnoreClicksAndKeys) {
    unsigned id = 400;
    for (const ClickCase& c : ClickCases()) {
        SCOPED_TRACE(c.name);
        auto ctrl = c.make();
        ctrl->Create(&parent, QRect(10, 10, 80, 30), ++id, QString("Go"));
        ctrl->Enable(0);
        EXPECT_EQ(ctrl->IsEnabled(), 0);
        parent.log.clear();
        Mouse mouse(*ctrl);
        mouse.Press({40, 15});
        mouse.Release({40, 15});
        kel_ctrl_test::PressKey(*ctrl, Qt::Key_Space);
        kel_ctrl_test::PressKey(*ctrl, Qt::Key_Return);
        if (auto* push = dynamic_cast<CPushCtrl*>(ctrl.get())) {
            EXPECT_EQ(push->Press(), 0);
        }
        EXPECT_TRUE(parent.Of(WM_COMMAND).empty());
        ctrl->Enable(1);
        mouse.Press({40, 15});
        mouse.Release({40, 15});
        EXPECT_EQ(parent.Of(WM_COMMAND).size(), 1u) << "enabled again, it clicks";
    }
}

TEST_F(Controls, TabFollowsCreationOrderAndSpaceOrEnterPress) {
    // Placed right to left, so that an order by position would differ from the creation order.
    CTextPushButton a, b;
    CImagePushButton c;
    CLabel label;
    CSplitLine line;
    a.Create(&parent, QRect(300, 10, 60, 30), 11, QString("A"));
    label.Create(&parent, QRect(250, 10, 40, 30), 12, QString("not a stop"));
    b.Create(&parent, QRect(150, 10, 60, 30), 13, QString("B"));
    line.Create(&parent, QRect(0, 50, 400, 2), 14, QString());
    c.Create(&parent, QRect(10, 10, 60, 30), 15, QString("C"));
    ASSERT_TRUE(kel_ctrl_test::Activate(parent));
    a.setFocus();
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return a.hasFocus(); }, 2000));
    std::vector<QWidget*> order{QApplication::focusWidget()};
    for (int i = 0; i < 3; ++i) {
        kel_ctrl_test::PressKey(*QApplication::focusWidget(), Qt::Key_Tab);
        order.push_back(QApplication::focusWidget());
    }
    EXPECT_EQ(order, (std::vector<QWidget*>{&a, &b, &c, &a}));

    for (int key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        parent.log.clear();
        kel_ctrl_test::PressKey(*QApplication::focusWidget(), key);
        auto commands = parent.Of(WM_COMMAND);
        ASSERT_EQ(commands.size(), 1u) << "key " << key;
        EXPECT_EQ(LowWord(commands[0].wParam), 11u);
    }
    // A held key presses once.
    parent.log.clear();
    kel_qt_test::SendKey(a, QEvent::KeyPress, Qt::Key_Space);
    kel_qt_test::SendKey(a, QEvent::KeyPress, Qt::Key_Space, {}, true);
    kel_qt_test::SendKey(a, QEvent::KeyRelease, Qt::Key_Space);
    EXPECT_EQ(parent.Of(WM_COMMAND).size(), 1u);
}

TEST_F(Controls, FocusHoverAndDisabledStatesPaintDifferently) {
    CTextPushButton button;
    CTextPushButton other;
    button.Create(&parent, QRect(10, 10, 80, 30), 21, QString("Apply"));
    other.Create(&parent, QRect(100, 10, 80, 30), 22, QString("Other"));
    ASSERT_TRUE(kel_ctrl_test::Activate(parent));
    other.setFocus();
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return other.hasFocus(); }, 2000));
    const QImage normal = button.RenderClient();
    const QRgb white = CUIColorSchema::FromColorRef(UIColors().textHighlight).rgb();
    const QRgb grey = CUIColorSchema::FromColorRef(UIColors().textNormal).rgb();
    EXPECT_GT(CountColor(normal, grey), 0) << "the caption is drawn in the normal text colour";
    const QRect markRow(2, 2, 76, 1);
    EXPECT_EQ(CountColor(normal, white, markRow), 0);

    button.setFocus();
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return button.hasFocus(); }, 2000));
    const QImage focused = button.RenderClient();
    EXPECT_GT(CountColor(focused, white, markRow), 10) << "the focus mark runs along the top";

    other.setFocus();
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return other.hasFocus(); }, 2000));
    Mouse(button).Move({40, 15});
    ASSERT_EQ(button.IsMouseHover(), 1);
    const QImage hovered = button.RenderClient();
    EXPECT_NE(hovered.pixel(5, 5), normal.pixel(5, 5)) << "the face lights up";
    EXPECT_GT(CountColor(hovered, white), 0) << "and the caption turns white";

    button.Enable(0);
    const QImage disabled = button.RenderClient();
    EXPECT_EQ(CountColor(disabled, grey), 0);
    EXPECT_EQ(CountColor(disabled, white), 0);
    EXPECT_NE(disabled, normal);
}

TEST_F(Controls, PushedButtonLooksPressedUntilReleased) {
    CTextPushButton button;
    button.Create(&parent, QRect(10, 10, 80, 30), 23, QString("Hold"));
    const QImage before = button.RenderClient();
    Mouse mouse(button);
    mouse.Press({40, 15});
    EXPECT_EQ(button.IsPushed(), 1);
    const QColor pressed = CUIColorSchema::FromArgb(UIColors().btnFacePressed);
    EXPECT_EQ(QColor(button.RenderClient().pixel(5, 5)), pressed);
    mouse.Move({300, 15});
    EXPECT_EQ(button.IsPushed(), 0) << "dragged off, it pops up";
    mouse.Release({300, 15});
    EXPECT_NE(QColor(button.RenderClient().pixel(5, 5)), pressed);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&button, &leave);
    EXPECT_EQ(button.RenderClient().pixel(5, 5), before.pixel(5, 5));
}

TEST_F(Controls, ImageButtonDrawsTheImageOfItsDpiCentredAndFadedWhenDisabled) {
    CDpiAwareImage set;
    QImage small(8, 8, QImage::Format_ARGB32);
    small.fill(qRgb(200, 30, 40));
    QImage large(16, 16, QImage::Format_ARGB32);
    large.fill(qRgb(30, 180, 60));
    set.AddRes(96, small);
    set.AddRes(192, large);
    DPI_IMAGE_MAP map;
    map["skin_tool_ok"] = &set; // the maps are keyed by prefix and name
    const IMAGE_RES_SOURCE source{":/none", "/nonexistent", "skin_"};
    SetSkinImages(&map, source);

    struct Case {
        unsigned dpi;
        QRgb color;
        int side;
    };
    for (const Case& c : {Case{96, qRgb(200, 30, 40), 8}, Case{192, qRgb(30, 180, 60), 16}}) {
        SCOPED_TRACE(c.dpi);
        dpi = c.dpi;
        CImagePushButton button;
        button.Create(&parent, QRect(0, 60, 40, 40), 31, QString("OK"));
        EXPECT_EQ(button.SetImage(QString("missing")), 0);
        EXPECT_EQ(button.GetImage(), nullptr);
        ASSERT_EQ(button.SetImage(QString("tool_ok")), 1);
        EXPECT_EQ(button.GetTooltipText(), "OK");
        const QImage shown = button.RenderClient();
        const int left = (40 - c.side) / 2;
        EXPECT_EQ(CountColor(shown, c.color), c.side * c.side);
        EXPECT_EQ(CountColor(shown, c.color, QRect(left, left, c.side, c.side)), c.side * c.side);
        button.Enable(0);
        EXPECT_EQ(CountColor(button.RenderClient(), c.color), 0) << "a disabled image is faded";
    }
    SetSkinImages(nullptr, source);
    // The failed lookup left an empty set of its own in the map.
    for (auto& [name, image] : map)
        if (image != &set)
            delete image;
}

TEST_F(Controls, SplitLineIsAsThickAsItsDpiSaysAndBreaksForItsText) {
    for (unsigned d : {96u, 120u, 144u, 192u}) {
        SCOPED_TRACE(d);
        dpi = d;
        CSplitLine line;
        line.Create(&parent, QRect(0, 100, 200, 20), 41, QString());
        const int thickness = FindUISizeInfo(d, d).splitLineHeight;
        const QImage image = line.RenderClient();
        const QRgb bk = line.GetBkColor().rgb();
        int rows = 0;
        for (int y = 0; y < image.height(); ++y)
            rows += image.pixel(100, y) != bk ? 1 : 0;
        EXPECT_EQ(rows, thickness);
        EXPECT_EQ(line.IsVertical(), 0);

        line.SetText("Group");
        const QImage titled = line.RenderClient();
        const QRgb dark = CUIColorSchema::FromArgb(UIColors().lineCtrlBorder).rgb();
        const int top = (20 - thickness) / 2;
        EXPECT_EQ(CountColor(titled, dark, QRect(95, top, 10, 1)), 0) << "the line stops for the text";
        EXPECT_EQ(CountColor(titled, dark, QRect(0, top, 5, 1)), 5) << "and goes on at the ends";
        EXPECT_GT(CountColor(titled, CUIColorSchema::FromColorRef(UIColors().textNormal).rgb()), 0);
    }
    dpi = 96;
    CSplitLine vertical;
    vertical.Create(&parent, QRect(0, 0, 10, 80), 42, QString());
    const QImage image = vertical.RenderClient();
    int columns = 0;
    for (int x = 0; x < image.width(); ++x)
        columns += image.pixel(x, 40) != vertical.GetBkColor().rgb() ? 1 : 0;
    EXPECT_EQ(vertical.IsVertical(), 1);
    EXPECT_EQ(columns, 2);
}

TEST_F(Controls, ConnectedLabelLightsUpWithTheControlUnderThePointer) {
    CLabel label;
    CTextPushButton button;
    label.Create(&parent, QRect(10, 10, 80, 20), 51, QString("Amount"));
    button.Create(&parent, QRect(100, 10, 80, 20), 52, QString("Go"));
    button.Connect(&label, 1);
    const QImage dim = label.RenderClient();
    Mouse(button).Move({10, 10});
    EXPECT_EQ(label.IsHighlighted(), 1);
    const QRgb white = CUIColorSchema::FromColorRef(UIColors().textHighlight).rgb();
    EXPECT_EQ(CountColor(dim, white), 0);
    EXPECT_GT(CountColor(label.RenderClient(), white), 0);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&button, &leave);
    EXPECT_EQ(label.IsHighlighted(), 0);
    EXPECT_EQ(label.RenderClient(), dim);

    // A label that goes away leaves no dangling brother behind.
    {
        CLabel temporary;
        temporary.Connect(&button, 1);
        EXPECT_EQ(button.Brothers().size(), 2u);
    }
    EXPECT_EQ(button.Brothers().size(), 1u);
    Mouse(button).Move({12, 10});
    EXPECT_EQ(label.IsHighlighted(), 1);
}
