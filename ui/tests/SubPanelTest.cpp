// Guards the panel base: close and cancel must reach the parent with the panel's id and pointer, and
// a cancel must flag the bound tool first.
#include "QtTestSupport.h"
#include "ui/CSubPanel.h"

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
