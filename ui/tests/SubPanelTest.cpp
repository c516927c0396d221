// Guards the panel base: close and cancel must reach the parent with the panel's id and pointer, a
// cancel must flag the bound tool first, the text buttons must sit in order at the right edge and
// reach the panel when clicked, and the help button must sit in the corner it was given.
#include "QtTestSupport.h"
#include "ui/CDpiAwareImage.h"
#include "ui/CImagePushButton.h"
#include "ui/CPushCtrl.h"
#include "ui/CSplitLine.h"
#include "ui/CSubPanel.h"
#include "ui/CUISizeInfo.h"

#include <gtest/gtest.h>

#include <vector>

using namespace KELCTRL;

namespace {

class Host : public CBaseWnd {
public:
    struct Request {
        uintptr_t id;
        intptr_t panel;
        bool cancelledFirst;
    };
    std::vector<Request> requests;
    const bool* cancelled = nullptr;

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t w, intptr_t l) override {
        if (msg == CSubPanel::WM_SUBPANEL_CLOSE) {
            requests.push_back({w, l, cancelled && *cancelled});
            return 1;
        }
        return CBaseWnd::WindowProc(msg, w, l);
    }
};

} // namespace

TEST(SubPanel, CloseAndCancelAskTheParentWithIdAndPanel) {
    kel_qt_test::App();
    Host host;
    host.Create(nullptr, QRect(0, 0, 300, 300), 1, 0);
    CSubPanel panel;
    panel.Create(&host, QRect(0, 0, 200, 100), CSubPanel::IDC_BASE + 3, 0);
    EXPECT_EQ(panel.GetHeight(nullptr), 100);

    panel.AskParentClose();
    ASSERT_EQ(host.requests.size(), 1u);
    EXPECT_EQ(host.requests[0].id, CSubPanel::IDC_BASE + 3);
    EXPECT_EQ(host.requests[0].panel, reinterpret_cast<intptr_t>(&panel));

    bool cancelled = false;
    host.cancelled = &cancelled;
    int owner = 0;
    panel.SetCancelHook(&owner, [&] { cancelled = true; });
    panel.Cancel();
    ASSERT_EQ(host.requests.size(), 2u);
    EXPECT_TRUE(host.requests[1].cancelledFirst) << "the tool must be flagged before the parent acts";

    int stranger = 0;
    cancelled = false;
    panel.ClearCancelHook(&stranger);
    panel.Cancel();
    EXPECT_TRUE(cancelled) << "only the owner removes its hook";
    cancelled = false;
    panel.ClearCancelHook(&owner);
    panel.Cancel();
    EXPECT_FALSE(cancelled);
    EXPECT_EQ(host.requests.size(), 4u);
}

namespace {

class ButtonPanel : public CSubPanel {
public:
    explicit ButtonPanel(std::vector<unsigned> ids) { SetTextButtons(std::move(ids)); }
    int resets = 0;
    int applies = 0;

protected:
    void OnReset() override { ++resets; }
    void OnApply() override { ++applies; }
};

CPushCtrl* Button(CSubPanel& panel, unsigned id) {
    return dynamic_cast<CPushCtrl*>(panel.GetButton(id));
}

} // namespace

TEST(SubPanel, TextButtonsLineUpAtTheRightAndReachThePanel) {
    kel_qt_test::App();
    for (unsigned dpi : {96u, 144u}) {
        SCOPED_TRACE(dpi);
        SetDpiProvider([dpi](const QWidget*) { return std::make_pair(dpi, dpi); });
        Host host;
        host.Create(nullptr, QRect(0, 0, 600, 400), 1, 1);
        ButtonPanel panel({CSubPanel::IDC_RESET, CSubPanel::IDC_APPLY, CSubPanel::IDC_CANCEL});
        panel.Create(&host, QRect(0, 0, 500, 200), CSubPanel::IDC_BASE + 1, 1);
        const CUISizeInfo& info = *panel.GetUISizeInfo();
        const int left = panel.PlaceTextButtonsRB(120, 490, CSubPanel::PLACE_LINE_ABOVE);
        int x = left;
        for (unsigned id : panel.GetTextButtons()) {
            CPushCtrl* b = Button(panel, id);
            ASSERT_NE(b, nullptr);
            EXPECT_FALSE(b->isHidden()) << id;
            EXPECT_EQ(b->geometry(), QRect(x, 120, info.textButtonWidth, info.buttonHeight)) << id;
            x += info.textButtonWidth + info.ctrlGap;
        }
        EXPECT_EQ(x - info.ctrlGap, 490) << "the row ends at the right edge given";
        // The controls carry no Qt meta-object of their own, so they are told apart by their C++ type.
        std::vector<const CSplitLine*> lines;
        for (const QWidget* w : panel.findChildren<QWidget*>())
            if (auto* line = dynamic_cast<const CSplitLine*>(w))
                lines.push_back(line);
        int shownLines = 0;
        for (const CSplitLine* line : lines)
            if (!line->isHidden()) {
                ++shownLines;
                EXPECT_LT(line->geometry().bottom(), 120);
            }
        EXPECT_EQ(shownLines, 1);

        // A list without Apply hides it again.
        panel.SetTextButtons({CSubPanel::IDC_CLOSE});
        panel.PlaceTextButtonsRB(120, 490, 0);
        EXPECT_TRUE(Button(panel, CSubPanel::IDC_APPLY)->isHidden());
        EXPECT_EQ(Button(panel, CSubPanel::IDC_CLOSE)->geometry().right(), 489);
        for (const CSplitLine* line : lines)
            EXPECT_TRUE(line->isHidden());

        // Each click does its own thing.
        bool cancelled = false;
        int owner = 0;
        panel.SetCancelHook(&owner, [&] { cancelled = true; });
        Button(panel, CSubPanel::IDC_RESET)->Press();
        Button(panel, CSubPanel::IDC_APPLY)->Press();
        Button(panel, CSubPanel::IDC_APPLY)->Press();
        EXPECT_EQ(panel.resets, 1);
        EXPECT_EQ(panel.applies, 2);
        EXPECT_TRUE(host.requests.empty());
        Button(panel, CSubPanel::IDC_CLOSE)->Press();
        ASSERT_EQ(host.requests.size(), 1u);
        EXPECT_FALSE(cancelled) << "close is not cancel";
        Button(panel, CSubPanel::IDC_CANCEL)->Press();
        ASSERT_EQ(host.requests.size(), 2u);
        EXPECT_TRUE(cancelled);
        EXPECT_EQ(host.requests[1].panel, reinterpret_cast<intptr_t>(&panel));
        EXPECT_EQ(panel.GetButton(1999), nullptr);
    }
    SetDpiProvider(nullptr);
}

TEST(SubPanel, HelpButtonSitsInItsCornerAndCallsBack) {
    kel_qt_test::App();
    for (unsigned dpi : {96u, 144u}) {
        SCOPED_TRACE(dpi);
        SetDpiProvider([dpi](const QWidget*) { return std::make_pair(dpi, dpi); });
        CSubPanel panel;
        panel.Create(nullptr, QRect(0, 0, 300, 150), CSubPanel::IDC_BASE, 1);
        const CUISizeInfo& info = *panel.GetUISizeInfo();
        int calls = 0;
        const int s = info.rowHeight, m = info.panelMargin;
        const QRect expected[] = {QRect(), QRect(m, m, s, s), QRect(300 - m - s, m, s, s),
                                  QRect(m, 150 - m - s, s, s), QRect(300 - m - s, 150 - m - s, s, s)};
        for (int pos = 1; pos <= 4; ++pos) {
            panel.SetupHelp(static_cast<HELP_POSITION>(pos), [&] { ++calls; });
            CPushCtrl* help = Button(panel, CSubPanel::IDC_HELP);
            ASSERT_NE(help, nullptr);
            EXPECT_EQ(help->geometry(), expected[pos]) << pos;
            EXPECT_FALSE(help->isHidden());
            help->Press();
            EXPECT_EQ(calls, pos);
        }
        // It follows the panel's size.
        panel.MoveWindow(0, 0, 400, 250);
        EXPECT_EQ(panel.GetButton(CSubPanel::IDC_HELP)->geometry(), QRect(400 - m - s, 250 - m - s, s, s));
        auto* image = dynamic_cast<CImagePushButton*>(panel.GetButton(CSubPanel::IDC_HELP));
        ASSERT_NE(image->GetImage(), nullptr) << "the library carries its own help image";
        EXPECT_GE(image->GetImage()->GetResCount(), 1);
        panel.SetupHelp(HELP_POSITION_NONE, nullptr);
        EXPECT_TRUE(panel.GetButton(CSubPanel::IDC_HELP)->isHidden());
    }
    SetDpiProvider(nullptr);
}
