// Guards the look of every focusable control: a focus mark that does not show (or shows without the
// focus), and a disabled control that paints exactly like an enabled one.
#include "CtrlTestSupport.h"
#include "ui/CCheckBox.h"
#include "ui/CComboBox.h"
#include "ui/CImagePushButton.h"
#include "ui/CRadioButton.h"
#include "ui/CSlider.h"
#include "ui/CTextPushButton.h"
#include "ui/CUIColorSchema.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

using namespace KELCTRL;

namespace {

struct FocusCase {
    const char* name;
    std::function<std::unique_ptr<CCtrlWnd>()> make;
};

} // namespace

TEST(CtrlPaintState, FocusMarkShowsOnlyWithTheFocusAndDisabledLooksDifferent) {
    kel_qt_test::App();
    kel_ctrl_test::RecorderWnd parent;
    parent.Create(nullptr, QRect(0, 0, 300, 100), 1, 1);
    CTextPushButton elsewhere;
    elsewhere.Create(&parent, QRect(200, 60, 60, 30), 2, QString("Other"));
    ASSERT_TRUE(kel_ctrl_test::Activate(parent));
    const std::vector<FocusCase> cases = {
        {"text button", [] { return std::make_unique<CTextPushButton>(); }},
        {"image button", [] { return std::make_unique<CImagePushButton>(); }},
        {"check box", [] { return std::make_unique<CCheckBox>(); }},
        {"radio button", [] { return std::make_unique<CRadioButton>(); }},
        {"combo box", [] { return std::make_unique<CComboBox>(); }},
        {"slider", [] { return std::make_unique<CSlider>(); }},
    };
    const QRgb white = CUIColorSchema::FromColorRef(UIColors().textHighlight).rgb();
    for (const FocusCase& c : cases) {
        SCOPED_TRACE(c.name);
        auto ctrl = c.make();
        ctrl->Create(&parent, QRect(10, 10, 120, 30), 3, QString("Text"));
        EXPECT_EQ(ctrl->focusPolicy(), Qt::StrongFocus) << "Tab reaches it";
        elsewhere.setFocus();
        ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return elsewhere.hasFocus(); }, 2000));
        const QImage plain = ctrl->RenderClient();
        EXPECT_EQ(kel_ctrl_test::CountColor(plain, white), 0) << "nothing is lit without focus or pointer";
        ctrl->setFocus();
        ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return ctrl->hasFocus(); }, 2000));
        const QImage focused = ctrl->RenderClient();
        EXPECT_GT(kel_ctrl_test::CountColor(focused, white), 10) << "the dotted focus mark";
        elsewhere.setFocus();
        ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return elsewhere.hasFocus(); }, 2000));
        ctrl->Enable(0);
        EXPECT_NE(ctrl->RenderClient(), plain);
        ctrl->Enable(1);
        EXPECT_EQ(ctrl->RenderClient(), plain);
    }
}
