// Guards the check box, radio button, combo box and progress bar: a press that does not toggle or
// check, a radio group that lets two be checked (or reaches into another group or parent), a silent
// setter that notifies, a combo that misses or invents a selection change, and a progress bar that
// fills the wrong share or leaves its range.
#include "CtrlTestSupport.h"
#include "ui/CCheckBox.h"
#include "ui/CComboBox.h"
#include "ui/CProgressBar.h"
#include "ui/CRadioButton.h"
#include "ui/CUIColorSchema.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>

#include <memory>
#include <vector>

using namespace KELCTRL;
using kel_ctrl_test::CountColor;
using kel_ctrl_test::RecorderWnd;
using kel_qt_test::Mouse;

namespace {

class Selection : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        parent.Create(nullptr, QRect(0, 0, 400, 300), 1, 1);
    }
    void Click(QWidget& w) {
        Mouse mouse(w);
        mouse.Press({5, 5});
        mouse.Release({5, 5});
    }
    RecorderWnd parent;
};

} // namespace

TEST_F(Selection, CheckBoxTogglesOnEveryPressAndSetCheckIsSilent) {
    CCheckBox box;
    box.Create(&parent, QRect(10, 10, 120, 20), 61, QString("Sharpen"));
    const QImage unchecked = box.RenderClient();
    box.SetCheck(1);
    EXPECT_EQ(box.GetCheck(), 1);
    EXPECT_TRUE(parent.Of(WM_COMMAND).empty()) << "setting the state is not a click";
    const QImage checked = box.RenderClient();
    const QRgb mark = CUIColorSchema::FromColorRef(UIColors().textNormal).rgb();
    const QRect boxArea(0, 0, 14, 20);
    EXPECT_EQ(CountColor(unchecked, mark, boxArea), 0);
    EXPECT_GT(CountColor(checked, mark, boxArea), 4) << "the tick shows in the box";

    // Mouse, Space, Enter: each press toggles and then tells the parent, which sees the new state.
    std::vector<int> statesSeen;
    for (int i = 0; i < 3; ++i) {
        parent.log.clear();
        if (i == 0)
            Click(box);
        else
            kel_ctrl_test::PressKey(box, i == 1 ? Qt::Key_Space : Qt::Key_Return);
        ASSERT_EQ(parent.Of(WM_COMMAND).size(), 1u);
        EXPECT_EQ(LowWord(parent.Of(WM_COMMAND)[0].wParam), 61u);
        statesSeen.push_back(box.GetCheck());
    }
    EXPECT_EQ(statesSeen, (std::vector<int>{0, 1, 0}));
    box.Enable(0);
    Click(box);
    kel_ctrl_test::PressKey(box, Qt::Key_Space);
    EXPECT_EQ(box.GetCheck(), 0);
}

TEST_F(Selection, RadioButtonsUncheckOnlyTheirOwnGroupUnderTheirOwnParent) {
    RecorderWnd otherParent;
    otherParent.Create(&parent, QRect(0, 200, 200, 50), 2, 1);
    std::vector<std::unique_ptr<CRadioButton>> radios;
    // 0..2 group 0, 3..4 group 1, 5 group 0 under another parent.
    const int groups[] = {0, 0, 0, 1, 1, 0};
    for (int i = 0; i < 6; ++i) {
        radios.push_back(std::make_unique<CRadioButton>());
        radios[i]->SetGroup(groups[i]);
        QWidget* owner = i == 5 ? static_cast<QWidget*>(&otherParent) : static_cast<QWidget*>(&parent);
        radios[i]->Create(owner, QRect(10, 10 + 22 * (i % 5), 120, 20), 70 + i, QString("Option"));
    }
    auto states = [&] {
        std::vector<int> s;
        for (auto& r : radios)
            s.push_back(r->GetCheck());
        return s;
    };
    radios[0]->SetCheck(1);
    radios[3]->SetCheck(1);
    radios[5]->SetCheck(1);
    EXPECT_EQ(states(), (std::vector<int>{1, 0, 0, 1, 0, 1}));

    struct Step {
        int pressed;
        std::vector<int> after;
    };
    const std::vector<Step> steps = {
        {1, {0, 1, 0, 1, 0, 1}},
        {2, {0, 0, 1, 1, 0, 1}},
        {4, {0, 0, 1, 0, 1, 1}},
        {2, {0, 0, 1, 0, 1, 1}}, // pressing the checked one keeps it checked
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.pressed);
        parent.log.clear();
        Click(*radios[s.pressed]);
        EXPECT_EQ(states(), s.after);
        ASSERT_EQ(parent.Of(WM_COMMAND).size(), 1u);
        EXPECT_EQ(LowWord(parent.Of(WM_COMMAND)[0].wParam), 70u + s.pressed);
    }
    radios[0]->SetCheck(1);
    EXPECT_EQ(states(), (std::vector<int>{1, 0, 0, 0, 1, 1})) << "the setter keeps the group exclusive too";
    // A check box beside them is no member of any group.
    CCheckBox box;
    box.Create(&parent, QRect(200, 10, 120, 20), 79, QString("Apart"));
    box.SetCheck(1);
    Click(*radios[1]);
    EXPECT_EQ(box.GetCheck(), 1);
    EXPECT_EQ(states(), (std::vector<int>{0, 1, 0, 0, 1, 1}));
    const QImage on = radios[1]->RenderClient();
    EXPECT_NE(on, radios[0]->RenderClient());
}

TEST_F(Selection, ComboBoxTellsTheParentOfEveryUserChangeAndOnlyOfThose) {
    CComboBox combo;
    combo.Create(&parent, QRect(10, 10, 150, 22), 81, QString("Choose"));
    const QImage empty = combo.RenderClient();
    EXPECT_EQ(combo.AddString("Small"), 0);
    EXPECT_EQ(combo.AddString("Medium"), 1);
    EXPECT_EQ(combo.AddString("Large"), 2);
    EXPECT_EQ(combo.GetCurSel(), -1);
    EXPECT_EQ(combo.SetCurSel(1), 1);
    EXPECT_EQ(combo.SetCurSel(3), -1);
    EXPECT_EQ(combo.SetCurSel(-2), -1);
    EXPECT_EQ(combo.GetCurSel(), 1);
    EXPECT_EQ(combo.GetLBText(2), "Large");
    EXPECT_EQ(combo.GetLBText(3), "");
    EXPECT_TRUE(parent.Of(WM_COMMAND).empty());
    EXPECT_NE(combo.RenderClient(), empty) << "the selected item replaces the prompt";

    struct Step {
        int key; // 0: wheel down, 1: wheel up
        int selection;
        bool notice;
    };
    const std::vector<Step> steps = {
        {Qt::Key_Down, 2, true}, {Qt::Key_Down, 2, false},
        {Qt::Key_Up, 1, true},   {1, 0, true},
        {1, 0, false},           {0, 1, true},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.key);
        parent.log.clear();
        if (s.key == 0 || s.key == 1)
            Mouse(combo).Wheel({5, 5}, s.key == 1 ? 120 : -120);
        else
            kel_ctrl_test::PressKey(combo, s.key);
        EXPECT_EQ(combo.GetCurSel(), s.selection);
        const auto commands = parent.Of(WM_COMMAND);
        ASSERT_EQ(commands.size(), s.notice ? 1u : 0u);
        if (s.notice) {
            EXPECT_EQ(LowWord(commands[0].wParam), 81u);
            EXPECT_EQ(HighWord(commands[0].wParam), CBN_SELCHANGE);
        }
    }

    // A click opens the list; choosing an item selects it and tells the parent.
    parent.log.clear();
    Mouse(combo).Press({5, 5});
    QMenu* list = combo.GetDropDown();
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->isVisible());
    ASSERT_EQ(list->actions().size(), 3);
    EXPECT_TRUE(list->actions()[1]->isChecked());
    list->actions()[2]->trigger();
    list->close();
    EXPECT_EQ(combo.GetCurSel(), 2);
    ASSERT_EQ(parent.Of(WM_COMMAND).size(), 1u);
    EXPECT_EQ(HighWord(parent.Of(WM_COMMAND)[0].wParam), CBN_SELCHANGE);

    combo.Enable(0);
    parent.log.clear();
    kel_ctrl_test::PressKey(combo, Qt::Key_Up);
    Mouse(combo).Wheel({5, 5}, 120);
    EXPECT_EQ(combo.GetCurSel(), 2);
    EXPECT_TRUE(parent.Of(WM_COMMAND).empty());
    combo.ResetContent();
    EXPECT_EQ(combo.GetCount(), 0);
    EXPECT_EQ(combo.GetCurSel(), -1);
}

TEST_F(Selection, ProgressBarFillsTheDoneShareAndStaysInItsRange) {
    CProgressBar bar;
    bar.Create(&parent, QRect(10, 10, 200, 12), 91, QString());
    const QRgb fill = CUIColorSchema::FromColorRef(UIColors().textNormal).rgb();
    struct Case {
        int min, max, pos;
        int expectPos, expectFilled;
    };
    const std::vector<Case> cases = {
        {0, 100, 50, 50, 100}, {0, 200, 50, 50, 50}, {-50, 50, 0, 0, 100}, {0, 100, 500, 100, 200},
        {0, 100, -5, 0, 0},    {10, 10, 10, 10, 0},  {0, 3, 1, 1, 66},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.min << ".." << c.max << " at " << c.pos);
        bar.SetRange(c.min, c.max);
        EXPECT_GT(bar.GetMax(), bar.GetMin());
        bar.SetPos(c.pos);
        EXPECT_EQ(bar.GetPos(), c.expectPos);
        const QImage image = bar.RenderClient();
        EXPECT_EQ(CountColor(image, fill, QRect(0, 5, 200, 1)), c.expectFilled);
    }
    EXPECT_TRUE(parent.Of(WM_COMMAND).empty());
}
