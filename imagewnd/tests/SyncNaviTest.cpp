// Guards synchronised partner windows (they follow each other, without echo, and let go of each
// other) and the navigator registry (order of registration, binding to one window, the lock state).
#include "CanvasTestSupport.h"
#include "imagewnd/INavigatorCtrl.h"

using namespace kel_canvas_test;
using Tool = IImageWndTool;

namespace {

class RecordingNavi : public INavigatorCtrl {
public:
    RecordingNavi(std::string tag, EventLog& log, CImageWnd* wnd) : m_tag(std::move(tag)), m_log(log) {
        SetNaviImageWnd(wnd);
    }
    void OnImageChange(int newImage, int cleared) override {
        m_log.Add(m_tag + ".OnImageChange " + std::to_string(newImage) + std::to_string(cleared));
    }
    void OnDispAreaChange(const QRectF& src, int w, int h, ZOOM_TYPE type, ZOOM_SCALE scale) override {
        lastSrc = src;
        m_log.Add(m_tag + ".OnDispAreaChange " + std::to_string(w) + "x" + std::to_string(h) + " " +
                  std::to_string(type) + "/" + std::to_string(scale));
    }
    void OnLockView(int locked) override { m_log.Add(m_tag + ".OnLockView " + std::to_string(locked)); }
    void OnShowBefore(int on) override { m_log.Add(m_tag + ".OnShowBefore " + std::to_string(on)); }
    QRectF lastSrc;

private:
    std::string m_tag;
    EventLog& m_log;
};

class SyncedPair : public CanvasFixture {
protected:
    void SetUp() override {
        CanvasFixture::SetUp();
        ASSERT_TRUE(kel_testing::MakeGradient(large, 3000, 2000, 1, 1));
        ASSERT_TRUE(kel_testing::MakeConstant(largeBefore, 3000, 2000, 1, 1, 3));
        partner.Create(&parent, QRect(0, 0, 400, 300), 1002);
        ASSERT_EQ(wnd.SetImage(large), 1);
        ASSERT_EQ(partner.SetImage(largeBefore), 1);
        wnd.SetSyncWnd(&partner, 1);
        wnd.LoadTool(&AddTool("A", Tool::EVENTMASK_DISPPOSCHANGED | Tool::EVENTMASK_ZOOMCHANGED));
        partner.LoadTool(&AddTool("B", Tool::EVENTMASK_DISPPOSCHANGED | Tool::EVENTMASK_ZOOMCHANGED));
        log.Clear();
    }
    void TearDown() override {
        partner.UnloadAllTools();
        // The images go before the windows: let go of them first, ending any zoomed-copy build.
        partner.Clear(0);
        wnd.Clear(0);
        CanvasFixture::TearDown();
    }
    CImageDataInfo large, largeBefore;
    CImageWnd partner;
};

} // namespace

TEST_F(SyncedPair, PartnersArePairedBothWays) {
    EXPECT_EQ(wnd.GetSyncWnd(), &partner);
    EXPECT_EQ(partner.GetSyncWnd(), &wnd);
}

TEST_F(SyncedPair, ZoomAndScrollDriveThePartnerWithoutEcho) {
    const ZOOM_SCALE scale = ZOOM_SCALE_1_2;
    const QPoint anchor(120, 90);
    wnd.SetZoom(ZOOM_TYPE_SCALE, &scale, &anchor);
    EXPECT_EQ(partner.GetZoomType(), ZOOM_TYPE_SCALE);
    EXPECT_EQ(partner.GetZoomScale(), ZOOM_SCALE_1_2);
    EXPECT_EQ(partner.GetDispPos(), wnd.GetDispPos());
    EXPECT_EQ(log.Count("A.OnZoomChanged"), 1u);
    EXPECT_EQ(log.Count("B.OnZoomChanged"), 1u);

    log.Clear();
    EXPECT_EQ(wnd.SetDispPos(300, 200), 1);
    EXPECT_EQ(partner.GetDispPos(), TPoint<int>(300, 200));
    EXPECT_EQ(log.Count("A.OnDispPosChanged"), 1u) << "the partner must not drive its driver back";
    EXPECT_GE(log.Count("B.OnDispPosChanged"), 1u);
    EXPECT_EQ(wnd.IsSynchronizing(), 0);
    EXPECT_EQ(partner.IsSynchronizing(), 0);

    // The other way round.
    log.Clear();
    EXPECT_EQ(partner.SetDispPos(120, 80), 1);
    EXPECT_EQ(wnd.GetDispPos(), TPoint<int>(120, 80));
    EXPECT_EQ(log.Count("B.OnDispPosChanged"), 1u);
    partner.Zoom(1, nullptr);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM);
    EXPECT_EQ(wnd.GetDispPos(), partner.GetDispPos());
}

TEST_F(SyncedPair, ReleasedPartnersNoLongerFollow) {
    wnd.SetSyncWnd(nullptr, 1);
    EXPECT_EQ(partner.GetSyncWnd(), nullptr);
    const ZOOM_SCALE scale = ZOOM_SCALE_2_1;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &scale, nullptr);
    EXPECT_EQ(partner.GetZoomType(), ZOOM_TYPE_FIT);

    wnd.SetSyncWnd(&partner, 0);
    EXPECT_EQ(partner.GetSyncWnd(), nullptr) << "one-way pairing";
    {
        CImageWnd shortLived;
        shortLived.Create(&parent, QRect(0, 0, 100, 100), 1003);
        shortLived.SetSyncWnd(&wnd, 1);
        EXPECT_EQ(wnd.GetSyncWnd(), &shortLived);
    }
    EXPECT_EQ(wnd.GetSyncWnd(), nullptr) << "a destroyed partner is forgotten";
}

TEST_F(CanvasFixture, NavigatorControlsHearTheirWindowInRegistrationOrder) {
    CImageWnd elsewhere;
    elsewhere.Create(&parent, QRect(0, 0, 100, 100), 1009);
    auto first = std::make_unique<RecordingNavi>("n1", log, &wnd);
    RecordingNavi second("n2", log, &wnd);
    RecordingNavi foreign("n3", log, &elsewhere);
    log.Clear();

    wnd.LockView(1);
    EXPECT_EQ(log.Texts(), (Texts{"n1.OnLockView 1", "n2.OnLockView 1"}));
    wnd.LockView(1);
    EXPECT_EQ(log.Texts().size(), 2u) << "no real change, no notification";

    first.reset();
    RecordingNavi third("n4", log, &wnd);
    log.Clear();
    wnd.LockView(0);
    EXPECT_EQ(log.Texts(), (Texts{"n2.OnLockView 0", "n4.OnLockView 0"}));

    log.Clear();
    wnd.EnableNaviCtrlNotification(0);
    wnd.LockView(1);
    EXPECT_TRUE(log.Texts().empty());
    EXPECT_EQ(wnd.IsViewLocked(), 1);
    wnd.EnableNaviCtrlNotification(1);

    CImageDataInfo next;
    kel_testing::MakeGradient(next, 800, 600, 1, 1);
    wnd.SetImage(next);
    EXPECT_EQ(log.Find("n2.OnImageChange 10") != nullptr, true);
    EXPECT_EQ(log.Find("n2.OnDispAreaChange 800x600 0/7") != nullptr, true);
    // The whole image at fit, less what rounding the drawn width to window pixels costs.
    EXPECT_NEAR(second.lastSrc.width(), 800.0, 1.0 / wnd.GetZoomValue());
    log.Clear();
    wnd.Clear(1);
    EXPECT_EQ(log.Texts(), (Texts{"n2.OnImageChange 01", "n4.OnImageChange 01"}));
}

TEST_F(CanvasFixture, AGoneWindowDetachesItsNavigatorControls) {
    auto other = std::make_unique<CImageWnd>();
    other->Create(&parent, QRect(0, 0, 100, 100), 1009);
    RecordingNavi navi("n", log, other.get());
    other.reset();
    EXPECT_EQ(navi.GetNaviImageWnd(), nullptr);
}
