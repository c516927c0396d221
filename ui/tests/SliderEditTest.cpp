// Guards the slider and value edit: a range, step or default that breaks its rules, a bad text that
// changes a value, a typed value rounded or read wrongly, a wheel step that jumps over 0, a thumb that
// moves when clicked in its centre or leaves the channel at some dpi, a click or double click that
// sends the wrong sequence, arrows that move more than a unit, an end of editing that is not
// reported once, and a row whose controls fall out of step.
#include "CtrlTestSupport.h"
#include "ui/CLabel.h"
#include "ui/CSlider.h"
#include "ui/CUIColorSchema.h"
#include "ui/CValueEdit.h"
#include "ui/CValueEditCtrl.h"
#include "ui/LabelSliderEdit.h"
#include "ui/ScaledValue.h"

#include <gtest/gtest.h>

#include <QKeyEvent>

#include <climits>
#include <string>
#include <tuple>
#include <vector>

using namespace KELCTRL;
using kel_ctrl_test::Message;
using kel_ctrl_test::RecorderWnd;
using kel_qt_test::Mouse;

namespace {

class SliderEdit : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        SetDpiProvider([this](const QWidget*) { return std::pair<unsigned, unsigned>(dpi, dpi); });
        parent.Create(nullptr, QRect(0, 0, 600, 200), 1, 1);
    }
    void TearDown() override { SetDpiProvider(nullptr); }

    std::vector<unsigned> ScrollCodes() const {
        std::vector<unsigned> codes;
        for (const Message& m : parent.Of(WM_HSCROLL))
            codes.push_back(LowWord(m.wParam));
        return codes;
    }
    std::vector<int> ScrollValues() const {
        std::vector<int> values;
        for (const Message& m : parent.Of(WM_HSCROLL))
            values.push_back(static_cast<int16_t>(HighWord(m.wParam)));
        return values;
    }
    std::vector<unsigned> NotifyCodes() const {
        std::vector<unsigned> codes;
        for (const Message& m : parent.Of(WM_NOTIFY))
            codes.push_back(m.notifyCode);
        return codes;
    }
    // Replaces the field's text by typing it, key by key.
    static void Type(CValueEdit& edit, const QString& text) {
        edit.GetEditCtrl()->clear();
        for (QChar ch : text) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
            QApplication::sendEvent(edit.GetEditCtrl(), &press);
        }
    }
    // Replaces it in one change, as a paste does.
    static void Paste(CValueEdit& edit, const QString& text) {
        edit.GetEditCtrl()->clear();
        edit.GetEditCtrl()->insert(text);
    }

    unsigned dpi = 96;
    RecorderWnd parent;
};

struct InfoCase {
    const char* what;
    int min, max;
    unsigned step, decimals;
    int expectMax, expectStep, expectDecimals, expectDef;
};

} // namespace

TEST(ScaledValueRules, TextIsReadExactlyAndBadTextIsRefused) {
    struct Case {
        const char* text;
        int decimals;
        int ok;
        int value;
    };
    const std::vector<Case> cases = {
        {"+5", 0, 1, 5},
        {"5", 0, 1, 5},
        {"-5", 0, 1, -5},
        {"007", 0, 1, 7},
        {"12.345", 2, 1, 1235},
        {"12.344", 2, 1, 1234},
        {"-12.345", 2, 1, -1234},
        {"-12.346", 2, 1, -1235},
        {"0.5", 0, 1, 1},
        {"-0.5", 0, 1, 0},
        {"5.", 1, 1, 50},
        {".5", 1, 1, 5},
        {"1.25", 1, 1, 13},
        {"1.2", 2, 1, 120},
        {"99999999999", 0, 1, INT_MAX},
        {"-99999999999", 2, 1, INT_MIN},
        {"1.2.3", 2, 0, 0},
        {"", 0, 0, 0},
        {"-", 0, 0, 0},
        {"+", 0, 0, 0},
        {".", 1, 0, 0},
        {"5-", 0, 0, 0},
        {"--5", 0, 0, 0},
        {"1e3", 0, 0, 0},
        {" 5", 0, 0, 0},
        {"5 ", 0, 0, 0},
        {"1,5", 1, 0, 0},
        {"+-1", 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        int value = 4242;
        EXPECT_EQ(ScaledValue::Parse(QString(c.text), c.decimals, value), c.ok);
        EXPECT_EQ(value, c.ok ? c.value : 4242) << "a refused text leaves the value";
    }
}

TEST(ScaledValueRules, FormatWritesWhatParseReadsBack) {
    struct Case {
        int value, decimals;
        bool plus;
        const char* text;
    };
    const std::vector<Case> cases = {
        {5, 0, true, "+5"},   {5, 0, false, "5"},        {0, 0, true, "0"},
        {-5, 0, true, "-5"},  {1235, 2, false, "12.35"}, {-5, 2, true, "-0.05"},
        {7, 1, true, "+0.7"}, {100, 2, true, "+1.00"},   {INT_MIN, 0, true, "-2147483648"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const QString text = ScaledValue::Format(c.value, c.decimals, c.plus);
        EXPECT_EQ(text, c.text);
        int back = 0;
        ASSERT_EQ(ScaledValue::Parse(text, c.decimals, back), 1);
        EXPECT_EQ(back, c.value);
    }
}

TEST_F(SliderEdit, SetInfoKeepsEveryRuleOnBothControls) {
    const std::vector<InfoCase> cases = {
        {"empty range", 1, 1, 1, 0, 2, 1, 0, 1},
        {"reversed range", 10, 3, 1, 0, 11, 1, 0, 10},
        {"positive range", 1, 100, 1, 0, 100, 1, 0, 1},
        {"signed range", -45, 45, 1, 0, 45, 1, 0, 0},
        {"negative range", -50, -10, 1, 0, -10, 1, 0, -50},
        {"range ending at 0", -50, 0, 1, 0, 0, 1, 0, 0},
        {"step above range", 0, 10, 25, 0, 10, 10, 0, 0},
        {"step 0", 0, 10, 0, 0, 10, 1, 0, 0},
        {"too many decimals", 0, 1000, 5, 4, 1000, 5, 2, 0},
    };
    for (const InfoCase& c : cases) {
        SCOPED_TRACE(c.what);
        CSlider slider;
        CValueEdit edit;
        slider.Create(&parent, QRect(0, 0, 200, 16), 10, QString());
        edit.Create(&parent, QRect(210, 0, 40, 16), 11, QString());
        SetSliderEditInfo(slider, edit, c.min, c.max, c.step, c.decimals);
        for (auto [min, max, step, dec] :
             {std::tuple{slider.GetMin(), slider.GetMax(), slider.GetStep(), slider.GetDecimals()},
              std::tuple{edit.GetMin(), edit.GetMax(), edit.GetStep(), edit.GetDecimals()}}) {
            EXPECT_EQ(min, c.min);
            EXPECT_EQ(max, c.expectMax);
            EXPECT_EQ(step, c.expectStep);
            EXPECT_EQ(dec, c.expectDecimals);
        }
        EXPECT_EQ(slider.GetDefValue(), c.expectDef);
        EXPECT_GE(slider.GetValue(), slider.GetMin());
        EXPECT_LE(slider.GetValue(), slider.GetMax());
        EXPECT_GE(edit.GetValue(), edit.GetMin());
        EXPECT_LE(edit.GetValue(), edit.GetMax());
    }
}

TEST_F(SliderEdit, FloatAndDoubleSetInfoRoundAndNeverLeaveAZeroStep) {
    struct Case {
        double min, max, step;
        unsigned decimals;
        int expectMin, expectMax, expectStep;
    };
    const std::vector<Case> cases = {
        {0.0, 1.0, 0.001, 2, 0, 100, 1},  // the step rounds to 0
        {-1.5, 1.5, 0.25, 1, -15, 15, 3}, // floor(2.5 + 0.5)
        {0.0, 5.0, 0.004, 2, 0, 500, 1},
        {0.125, 0.125, 0.5, 2, 13, 14, 1}, // empty range widened, step cut to the range
        {-2.0, 2.0, 0.1, 0, -2, 2, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.min << ".." << c.max << " step " << c.step);
        for (int form = 0; form < 2; ++form) {
            CSlider slider;
            CValueEdit edit;
            slider.Create(&parent, QRect(0, 0, 200, 16), 10, QString());
            edit.Create(&parent, QRect(210, 0, 40, 16), 11, QString());
            if (form == 0)
                SetSliderEditInfo(slider, edit, c.min, c.max, c.step, c.decimals);
            else
                SetSliderEditInfo(slider, edit, float(c.min), float(c.max), float(c.step), c.decimals);
            EXPECT_EQ(slider.GetMin(), c.expectMin);
            EXPECT_EQ(slider.GetMax(), c.expectMax);
            EXPECT_EQ(slider.GetStep(), c.expectStep);
            EXPECT_EQ(edit.GetMin(), c.expectMin);
            EXPECT_EQ(edit.GetMax(), c.expectMax);
            EXPECT_EQ(edit.GetStep(), c.expectStep);
            EXPECT_GE(slider.GetStep(), 1);
        }
    }
    CSlider slider;
    slider.SetInfo(-10.0, 10.0, 0.5, 2);
    slider.SetValue(1.234);
    EXPECT_EQ(slider.GetValue(), 123);
    EXPECT_DOUBLE_EQ(slider.GetValueD(), 1.23);
    slider.SetDefValue(2.5f);
    EXPECT_EQ(slider.GetDefValue(), 250);
    slider.SetValue(99.0);
    EXPECT_EQ(slider.GetValue(), 1000) << "clamped to the range";
}

TEST_F(SliderEdit, WheelStepsStopAtZeroOnTheirWayThrough) {
    struct Case {
        int value, step, notches, expect;
    };
    const std::vector<Case> cases = {
        {-2, 5, 1, 0}, {0, 5, 1, 5},   {3, 5, -1, 0},   {-2, 5, -1, -7},
        {2, 5, 1, 7},  {0, 5, -1, -5}, {98, 5, 1, 100}, {-99, 5, -1, -100},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.value << " by " << c.notches * c.step);
        CSlider slider;
        slider.Create(&parent, QRect(0, 0, 200, 16), 10, QString());
        slider.SetInfo(-100, 100, unsigned(c.step), 0);
        slider.SetValue(c.value);
        parent.log.clear();
        EXPECT_TRUE(Mouse(slider).Wheel({50, 8}, 120 * c.notches));
        EXPECT_EQ(slider.GetValue(), c.expect);
        EXPECT_EQ(ScrollCodes(), (std::vector<unsigned>{SB_THUMBTRACK}));
        EXPECT_EQ(slider.GetValue(), c.expect);

        // The edit's wheel (with the focus) goes by the step with the same rule.
        CValueEdit edit;
        edit.Create(&parent, QRect(300, 0, 40, 20), 11, QString());
        edit.SetInfo(-100, 100, unsigned(c.step), 0);
        edit.SetValue(c.value);
        ASSERT_TRUE(kel_ctrl_test::Activate(parent));
        edit.GetEditCtrl()->setFocus();
        ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return edit.GetEditCtrl()->hasFocus(); }, 2000));
        parent.log.clear();
        Mouse(*edit.GetEditCtrl()).Wheel({5, 5}, 120 * c.notches);
        EXPECT_EQ(edit.GetValue(), c.expect);
        EXPECT_EQ(NotifyCodes(), (std::vector<unsigned>{CValueEdit::NOTIFY_EDIT_CHANGE}));
    }
}

TEST_F(SliderEdit, ThumbCentreClickKeepsTheValueAndTheThumbStaysInTheChannelAtEveryDpi) {
    const QRgb thumbColor = CUIColorSchema::FromArgb(UIColors().btnFacePressed).rgb();
    for (unsigned d : {96u, 120u, 144u, 192u}) {
        dpi = d;
        const CUISizeInfo& si = FindUISizeInfo(d, d);
        struct Range {
            int min, max;
        };
        for (Range r : {Range{-100, 100}, Range{0, 1000}, Range{0, 3}}) {
            SCOPED_TRACE(testing::Message() << d << " dpi, " << r.min << ".." << r.max);
            CSlider slider;
            slider.Create(&parent, QRect(0, 0, si.ScaledSizeX(200), si.rowHeight), 10, QString());
            slider.SetInfo(r.min, r.max, 1, 0);
            const QRgb bk = slider.GetBkColor().rgb();
            Mouse mouse(slider); // one pointer, so that no two clicks make a double click

            // The channel's ends, with the thumb in the middle where it hides neither.
            slider.SetValue((r.min + r.max) / 2);
            const QImage middle = slider.RenderClient();
            const int row = middle.height() / 2;
            int channelLeft = -1, channelRight = -1;
            for (int x = 0; x < middle.width(); ++x)
                if (middle.pixel(x, row) != bk) {
                    channelLeft = channelLeft < 0 ? x : channelLeft;
                    channelRight = x;
                }
            ASSERT_GE(channelLeft, 0);

            for (int value : {r.min, r.min + 1, (r.min + r.max) / 3, r.max - 1, r.max}) {
                SCOPED_TRACE(value);
                slider.SetValue(value);
                const QImage image = slider.RenderClient();
                QRect thumb;
                for (int y = 0; y < image.height(); ++y)
                    for (int x = 0; x < image.width(); ++x)
                        if (image.pixel(x, y) == thumbColor)
                            thumb |= QRect(x, y, 1, 1);
                ASSERT_FALSE(thumb.isEmpty());
                const int centreX = (thumb.left() + thumb.right()) / 2;
                EXPECT_GE(centreX, channelLeft);
                EXPECT_LE(centreX, channelRight);
                EXPECT_GE(slider.GetThumbRect().left(), 0);
                EXPECT_LE(slider.GetThumbRect().right(), image.width() - 1);
                EXPECT_LE(std::abs((thumb.top() + thumb.bottom()) - (image.height() - 1)), 1)
                    << "the thumb is centred on the channel";

                parent.log.clear();
                const QPoint centre = slider.GetThumbRect().center();
                mouse.Press(centre);
                mouse.Move(centre);
                mouse.Release(centre);
                EXPECT_EQ(slider.GetValue(), value);
                EXPECT_EQ(ScrollCodes(), (std::vector<unsigned>{SB_THUMBTRACK}));
                EXPECT_EQ(ScrollValues(), (std::vector<int>{value}));
                EXPECT_EQ(slider.IsTracking(), 0);
                // The pointer leaves, so that the next picture shows the thumb unlit.
                QEvent leave(QEvent::Leave);
                QApplication::sendEvent(&slider, &leave);
            }
        }
    }
}

TEST_F(SliderEdit, ClickOffTheThumbSendsTheOldValueThenTheNewAndDraggingFollows) {
    CSlider slider;
    slider.Create(&parent, QRect(0, 0, 213, 16), 10, QString());
    slider.SetInfo(-100, 100, 1, 0);
    Mouse mouse(slider);
    mouse.Press({200, 8});
    const int jumped = slider.GetValue();
    EXPECT_EQ(jumped, slider.PixelToValue(200));
    EXPECT_GT(jumped, 80);
    EXPECT_EQ(ScrollCodes(), (std::vector<unsigned>{SB_THUMBTRACK, SB_THUMBTRACK}));
    EXPECT_EQ(ScrollValues(), (std::vector<int>{0, jumped}));
    EXPECT_EQ(slider.IsTracking(), 1);
    parent.log.clear();
    mouse.Move({100, 8});
    EXPECT_LT(slider.GetValue(), jumped);
    EXPECT_EQ(ScrollValues(), (std::vector<int>{slider.GetValue()}));
    mouse.Release({100, 8});
    EXPECT_EQ(slider.IsTracking(), 0);
    parent.log.clear();
    mouse.Move({20, 8});
    EXPECT_TRUE(parent.Of(WM_HSCROLL).empty()) << "no drag after the release";

    // Values beyond 16 bits: the message carries only the low word, GetValue the whole.
    slider.SetInfo(0, 100000, 1, 0);
    slider.SetValue(70000);
    parent.log.clear();
    kel_ctrl_test::PressKey(slider, Qt::Key_Right);
    ASSERT_EQ(parent.Of(WM_HSCROLL).size(), 1u);
    EXPECT_EQ(HighWord(parent.Of(WM_HSCROLL)[0].wParam), 70001u & 0xFFFF);
    EXPECT_EQ(slider.GetValue(), 70001);
}

TEST_F(SliderEdit, DoubleClickSendsFiveFiveEightAndRestoresTheDefault) {
    CSlider slider;
    slider.Create(&parent, QRect(0, 0, 213, 16), 10, QString());
    slider.SetInfo(-45, 45, 1, 0);
    slider.SetValue(30);
    Mouse mouse(slider);
    const QPoint centre = slider.GetThumbRect().center();
    mouse.Press(centre);
    mouse.Release(centre);
    parent.log.clear();
    mouse.Press(centre, Qt::LeftButton, {}, true);
    mouse.QtDoubleClick(centre);
    mouse.Release(centre);
    EXPECT_EQ(ScrollCodes(), (std::vector<unsigned>{SB_THUMBTRACK, SB_THUMBTRACK, SB_ENDSCROLL}));
    EXPECT_EQ(ScrollValues(), (std::vector<int>{30, 0, 0}));
    EXPECT_EQ(slider.GetValue(), 0);

    slider.SetInfo(10, 90, 1, 0); // default: the low end
    slider.SetValue(50);
    parent.log.clear();
    mouse.Press(slider.GetThumbRect().center(), Qt::LeftButton, {}, true);
    EXPECT_EQ(slider.GetValue(), 50) << "the press after a double click starts a new pair";
    mouse.Press(slider.GetThumbRect().center(), Qt::LeftButton, {}, true);
    EXPECT_EQ(slider.GetValue(), 10);
}

TEST_F(SliderEdit, ArrowsMoveOneUnitOnBothControls) {
    CSlider slider;
    CValueEdit edit;
    slider.Create(&parent, QRect(0, 0, 200, 16), 10, QString());
    edit.Create(&parent, QRect(210, 0, 50, 20), 11, QString());
    SetSliderEditInfo(slider, edit, 0.0, 10.0, 0.5, 2);
    slider.SetValue(500);
    edit.SetValue(500);
    struct Step {
        int key, expect;
    };
    const std::vector<Step> steps = {
        {Qt::Key_Right, 501}, {Qt::Key_Up, 502}, {Qt::Key_Left, 501}, {Qt::Key_Down, 500}};
    for (const Step& s : steps) {
        parent.log.clear();
        kel_ctrl_test::PressKey(slider, s.key);
        EXPECT_EQ(slider.GetValue(), s.expect);
        EXPECT_EQ(parent.Of(WM_HSCROLL).size(), 1u);
    }
    parent.log.clear();
    kel_ctrl_test::PressKey(*edit.GetEditCtrl(), Qt::Key_Up);
    EXPECT_EQ(edit.GetValue(), 501);
    EXPECT_EQ(edit.GetText(), "5.01");
    kel_ctrl_test::PressKey(*edit.GetEditCtrl(), Qt::Key_Down);
    kel_ctrl_test::PressKey(*edit.GetEditCtrl(), Qt::Key_Down);
    EXPECT_EQ(edit.GetValue(), 499);
    EXPECT_EQ(NotifyCodes(), (std::vector<unsigned>(3, CValueEdit::NOTIFY_EDIT_CHANGE)));
    slider.Enable(0);
    kel_ctrl_test::PressKey(slider, Qt::Key_Right);
    EXPECT_EQ(slider.GetValue(), 500);
}

TEST_F(SliderEdit, TypedTextChangesTheValueOnlyWhenItReadsAsANumber) {
    CValueEdit edit;
    edit.Create(&parent, QRect(0, 0, 60, 20), 11, QString());
    struct Case {
        int min, max;
        unsigned decimals;
        const char* typed;
        bool paste;
        int expectValue;
        bool notice;
        const char* shownAfter;
    };
    const std::vector<Case> cases = {
        {0, 100, 0, "+5", false, 5, true, "5"},
        {-45, 45, 0, "+5", false, 5, true, "+5"},
        {-4500, 4500, 2, "12.345", false, 1235, true, "+12.35"},
        {-4500, 4500, 2, "12.345", true, 1235, true, "+12.35"},
        // Typed key by key, "1.2" was a good value on the way; pasted whole, nothing changes.
        {-4500, 4500, 2, "1.2.3", false, 120, true, "+1.20"},
        {-4500, 4500, 2, "1.2.3", true, 777, false, "+7.77"},
        {-4500, 4500, 2, "abc", false, 777, false, "+7.77"},
        {-4500, 4500, 2, "5x", true, 777, false, "+7.77"},
        {-4500, 4500, 2, "", false, 777, false, "+7.77"},
        {-45, 45, 0, "-99", false, -45, true, "-45"},
        {0, 100, 1, "3.25", false, 33, true, "3.3"},
    };
    ASSERT_TRUE(kel_ctrl_test::Activate(parent));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.typed);
        edit.SetInfo(c.min, c.max, 1, c.decimals);
        edit.SetValue(c.decimals == 2 ? 777 : 0);
        edit.GetEditCtrl()->setFocus();
        ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return edit.GetEditCtrl()->hasFocus(); }, 2000));
        parent.log.clear();
        if (c.paste)
            Paste(edit, c.typed);
        else
            Type(edit, c.typed);
        EXPECT_EQ(edit.GetValue(), c.expectValue) << "live while typing";
        const auto codes = NotifyCodes();
        EXPECT_EQ(!codes.empty(), c.notice);
        for (unsigned code : codes)
            EXPECT_EQ(code, CValueEdit::NOTIFY_EDIT_CHANGE);
        EXPECT_EQ(edit.GetText(), QString(c.typed)) << "the field keeps what was typed until it is left";
        parent.log.clear();
        parent.setFocus(); // leaving the field
        edit.GetEditCtrl()->clearFocus();
        EXPECT_EQ(edit.GetText(), QString(c.shownAfter));
        EXPECT_EQ(NotifyCodes(), (std::vector<unsigned>{CValueEdit::NOTIFY_END_EDIT}));
    }
}

TEST_F(SliderEdit, EnterAndEscapeEndTheEditingOnceAndDropTheFocus) {
    CValueEdit edit;
    edit.Create(&parent, QRect(0, 0, 60, 20), 11, QString());
    edit.SetInfo(0, 100, 1, 0);
    ASSERT_TRUE(kel_ctrl_test::Activate(parent));
    for (int key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
        SCOPED_TRACE(key);
        edit.GetEditCtrl()->setFocus();
        ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return edit.GetEditCtrl()->hasFocus(); }, 2000));
        Type(edit, "4x");
        parent.log.clear();
        kel_ctrl_test::PressKey(*edit.GetEditCtrl(), key);
        EXPECT_FALSE(edit.GetEditCtrl()->hasFocus());
        EXPECT_EQ(NotifyCodes(), (std::vector<unsigned>{CValueEdit::NOTIFY_END_EDIT}));
        EXPECT_EQ(edit.GetText(), "4") << "the last good value is shown again";
        EXPECT_EQ(edit.GetValue(), 4);
    }
}

TEST_F(SliderEdit, RowIsCreatedConnectedAndPlacedAcrossThePanel) {
    CLabel label;
    CSlider slider;
    CValueEdit edit;
    unsigned id = 1200;
    ASSERT_EQ(CreateLabelSliderEdit(label, slider, edit, "Amount", &parent, id), 1);
    EXPECT_EQ(id, 1202u);
    EXPECT_EQ(slider.GetDlgCtrlID(), 1200u);
    EXPECT_EQ(edit.GetDlgCtrlID(), 1201u);
    EXPECT_EQ(label.GetText(), "Amount");
    EXPECT_EQ(slider.x(), -100);
    EXPECT_EQ(edit.x(), -100);

    const CUISizeInfo& si = *parent.GetUISizeInfo();
    const int next = PlaceLabelSliderEdit(label, slider, edit, 40, 500);
    EXPECT_EQ(next, 40 + si.rowHeight);
    EXPECT_EQ(label.geometry(), QRect(si.panelMargin, 40, si.labelWidth, si.rowHeight));
    EXPECT_EQ(slider.x(), si.SliderLeft());
    EXPECT_EQ(slider.x() + slider.width(), si.SliderRight(500));
    EXPECT_EQ(edit.x() + edit.width(), 500 - si.panelMargin);
    EXPECT_LT(label.geometry().right(), slider.x());
    EXPECT_LT(slider.geometry().right(), edit.x());

    SetSliderEditInfo(slider, edit, -45, 45, 1, 0);
    parent.log.clear();
    kel_ctrl_test::PressKey(slider, Qt::Key_Right);
    EXPECT_EQ(edit.GetValue(), 1);
    EXPECT_EQ(edit.GetText(), "+1");
    Type(edit, "-20");
    EXPECT_EQ(slider.GetValue(), -20);

    // The pointer over any one lights up all three.
    Mouse(slider).Move({10, 5});
    EXPECT_EQ(label.IsHighlighted(), 1);
    EXPECT_EQ(edit.IsHighlighted(), 1);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&slider, &leave);
    EXPECT_EQ(label.IsHighlighted(), 0);
    EXPECT_EQ(edit.IsHighlighted(), 0);
    QEnterEvent enter(QPointF(3, 3), QPointF(3, 3), QPointF(3, 3));
    QApplication::sendEvent(edit.GetEditCtrl(), &enter);
    EXPECT_EQ(label.IsHighlighted(), 1);
    EXPECT_EQ(slider.IsHighlighted(), 1);
    const QRgb white = CUIColorSchema::FromColorRef(UIColors().textHighlight).rgb();
    EXPECT_GT(kel_ctrl_test::CountColor(slider.RenderClient(), white), 0) << "a lit slider paints in white";
}
