// Guards the message box: a wrong answer for Enter, Escape or close in any button set, an Escape that
// ends a box without a cancel button, a check box not written back (or written only when the box
// ends), a button that Tab cannot reach or Space cannot press, and the wrong buttons or captions.
#include "QtTestSupport.h"
#include "ui/CMessageBox.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <set>
#include <vector>

using namespace KELCTRL;

namespace {

// Runs `action` once the box's modal loop is going, then makes sure the box ends (with -1) if the
// action did not end it, so that a wrong answer fails instead of hanging.
int RunBox(CMessageBox& box, unsigned flags, const std::function<void(CMessageBox&)>& action,
           bool* stillOpen = nullptr) {
    QTimer::singleShot(0, &box, [&box, action, stillOpen] {
        action(box);
        QApplication::processEvents();
        if (stillOpen)
            *stillOpen = box.isVisible();
        if (box.isVisible())
            box.EndDialog(-1);
    });
    return static_cast<int>(box.DoModal(flags));
}

void PressKey(QWidget& target, int key) {
    kel_qt_test::SendKey(target, QEvent::KeyPress, key);
    kel_qt_test::SendKey(target, QEvent::KeyRelease, key);
}

struct BoxCase {
    unsigned flags;
    std::vector<int> buttons;
    int enter;
    int escape; // -1: Escape ends nothing
    int close;  // -1: close ends nothing
};

class MessageBox : public ::testing::Test {
protected:
    void SetUp() override { kel_qt_test::App(); }
};

} // namespace

TEST_F(MessageBox, EveryButtonSetAnswersEnterEscapeAndCloseAndWritesTheCheckBox) {
    const std::vector<BoxCase> cases = {
        {CMessageBox::MB_OK, {1}, 1, -1, 1},
        {CMessageBox::MB_OKCANCEL, {1, 2}, 1, 2, 2},
        {CMessageBox::MB_ABORTRETRYIGNORE, {3, 4, 5}, 4, -1, 5},
        {CMessageBox::MB_YESNOCANCEL, {6, 7, 2}, 6, 2, 2},
        {CMessageBox::MB_YESNO, {6, 7}, 6, -1, 7},
        {CMessageBox::MB_RETRYCANCEL, {4, 2}, 4, 2, 2},
        {CMessageBox::MB_CANCELTRYCONTINUE, {2, 10, 11}, 10, 2, 2},
        {7, {}, 1, -1, -1},
        {15, {}, 1, -1, -1},
    };
    for (const BoxCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "flags " << c.flags);
        EXPECT_EQ(CMessageBox::ButtonsForFlags(c.flags | CMessageBox::MB_ICONQUESTION), c.buttons)
            << "the icon bits do not change the buttons";
        CMessageBox box;
        box.SetText("Question?", "Title");
        int dontAsk = 0;
        box.ShowDontAskAgain(&dontAsk);

        std::vector<int> shown;
        bool stillOpen = false;
        const int enter = RunBox(box, c.flags, [&](CMessageBox& b) {
            for (int id = 1; id <= CMessageBox::kButtonCount; ++id)
                if (b.GetButton(id)->isVisible())
                    shown.push_back(id);
            // As the row reads, left to right.
            std::sort(shown.begin(), shown.end(),
                      [&b](int l, int r) { return b.GetButton(l)->x() < b.GetButton(r)->x(); });
            b.GetDontAskBox()->setChecked(true);
            PressKey(b, Qt::Key_Return);
        });
        EXPECT_EQ(shown, c.buttons) << "the visible buttons, in order";
        EXPECT_EQ(enter, c.enter);
        EXPECT_EQ(dontAsk, 1);

        // Escape writes the check box even when it ends nothing.
        const int escape = RunBox(
            box, c.flags,
            [](CMessageBox& b) {
                EXPECT_TRUE(b.GetDontAskBox()->isChecked()) << "starts checked from *dontAsk == 1";
                b.GetDontAskBox()->setChecked(false);
                PressKey(b, Qt::Key_Escape);
            },
            &stillOpen);
        EXPECT_EQ(escape, c.escape);
        EXPECT_EQ(stillOpen, c.escape == -1);
        EXPECT_EQ(dontAsk, 0);

        dontAsk = 1;
        const int close = RunBox(
            box, c.flags,
            [](CMessageBox& b) {
                b.GetDontAskBox()->setChecked(false);
                b.close();
            },
            &stillOpen);
        EXPECT_EQ(close, c.close);
        EXPECT_EQ(stillOpen, c.close == -1);
        EXPECT_EQ(dontAsk, 0) << "closing writes the check box";
    }
}

TEST_F(MessageBox, TabReachesEveryButtonAndSpacePressesIt) {
    for (unsigned flags : {0u, 1u, 2u, 3u, 4u, 5u, 6u}) {
        const std::vector<int> codes = CMessageBox::ButtonsForFlags(flags);
        for (int target : codes) {
            SCOPED_TRACE(testing::Message() << "flags " << flags << " button " << target);
            CMessageBox box;
            box.SetText("Pick one");
            std::set<int> reached;
            const int result = RunBox(box, flags, [&](CMessageBox& b) {
                b.activateWindow();
                kel_qt_test::PumpUntil([&] { return QApplication::focusWidget() != nullptr; }, 1000);
                // Enough tabs to go round the whole row, stopping on the wanted button.
                for (size_t i = 0; i <= codes.size() + 1; ++i) {
                    QWidget* focus = QApplication::focusWidget();
                    ASSERT_NE(focus, nullptr);
                    for (int id : codes)
                        if (focus == b.GetButton(id))
                            reached.insert(id);
                    if (focus == b.GetButton(target)) {
                        PressKey(*focus, Qt::Key_Space);
                        return;
                    }
                    PressKey(*focus, Qt::Key_Tab);
                }
            });
            EXPECT_EQ(result, target);
            EXPECT_TRUE(reached.count(target));
        }
    }
}

TEST_F(MessageBox, ButtonClickWritesTheCheckBoxAndCaptionsCanChange) {
    CMessageBox box;
    int dontAsk = 5; // anything but 1 starts unchecked
    box.ShowDontAskAgain(&dontAsk);
    box.SetButtonText(CMessageBox::ID_NO, "Keep it");
    box.SetButtonText(0, "ignored");
    box.SetButtonText(12, "ignored");
    QString caption;
    bool startedChecked = true;
    const int result = RunBox(box, CMessageBox::MB_YESNO | CMessageBox::MB_ICONWARNING, [&](CMessageBox& b) {
        caption = b.GetButton(CMessageBox::ID_NO)->text();
        startedChecked = b.GetDontAskBox()->isChecked();
        b.GetDontAskBox()->setChecked(true);
        b.GetButton(CMessageBox::ID_NO)->click();
    });
    EXPECT_EQ(result, CMessageBox::ID_NO);
    EXPECT_EQ(caption, "Keep it");
    EXPECT_FALSE(startedChecked);
    EXPECT_EQ(dontAsk, 1);
}

TEST_F(MessageBox, WithoutAPointerThereIsNoCheckBoxAndShowRunsABox) {
    bool boxVisible = true;
    QString text;
    QTimer::singleShot(0, [&] {
        auto* box = dynamic_cast<CMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        boxVisible = box->GetDontAskBox()->isVisible();
        text = box->GetTextLabel()->text();
        PressKey(*box, Qt::Key_Escape);
    });
    EXPECT_EQ(CMessageBox::Show("Save changes?", CMessageBox::MB_YESNOCANCEL, nullptr),
              CMessageBox::ID_CANCEL);
    EXPECT_FALSE(boxVisible);
    EXPECT_EQ(text, "Save changes?");
}

TEST_F(MessageBox, EachIconSetHasAStandardIcon) {
    for (unsigned icon : {0x00u, 0x10u, 0x20u, 0x30u, 0x40u, 0x50u, 0xF0u})
        EXPECT_FALSE(CMessageBox::IconForFlags(icon).isNull()) << icon;
    const auto image = [](unsigned flags) {
        return CMessageBox::IconForFlags(flags).pixmap(32, 32).toImage();
    };
    EXPECT_EQ(image(0x50), image(0x40)) << "unknown icon bits fall back to the information icon";
    EXPECT_NE(image(0x10), image(0x40)) << "an error is not shown as information";
}
