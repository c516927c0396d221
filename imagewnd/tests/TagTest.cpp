// Guards the tags: layout off the DPI rule, tags not drawn, active tags drawn with the pointer
// outside, clicks on a clickable tag reaching the tools, unclickable tags swallowing presses, a tag
// press that swallows a later release, and the hand cursor missing over a clickable tag.
#include "PaintTestSupport.h"

#include "ui/CUISizeInfo.h"

using namespace kel_paint_test;
using kel_canvas_test::Texts;
using kel_testing::MakeConstant;

namespace {

constexpr uint32_t kPressMask =
    IImageWndTool::EVENTMASK_LBUTTON | IImageWndTool::EVENTMASK_CLICK | IImageWndTool::EVENTMASK_DRAG;

class Tags : public kel_canvas_test::CanvasFixture {
protected:
    void SetUp() override {
        CanvasFixture::SetUp();
        // A constant image under the tags, so that their pixels are easy to tell apart.
        ASSERT_TRUE(MakeConstant(grey, 380, 280, 3, 1, 200));
        ASSERT_EQ(wnd.SetImage(grey), 1);
    }
    // The pointer comes in and goes out as Qt reports it.
    void Enter(QPoint p) { mouse.Move(p); }
    void Leave() {
        QEvent e(QEvent::Leave);
        QApplication::sendEvent(&wnd, &e);
    }
    // A pixel darkened by the half-transparent label background.
    static bool Darkened(QRgb c) { return qRed(c) < 150 && qRed(c) > 50; }

    CImageDataInfo grey;
};

TEST_F(Tags, LayoutFollowsTheDpiRuleAtEveryDpi) {
    for (const unsigned dpi : {96u, 120u, 144u}) {
        SetDpiProvider([dpi](const QWidget*) { return std::make_pair(dpi, dpi); });
        CImageWnd canvas;
        canvas.Create(&parent, QRect(0, 0, 400, 300), 1002);
        ASSERT_EQ(canvas.GetDpi(), static_cast<int>(dpi));
        QImage pic(30, 12, QImage::Format_RGB32);
        pic.fill(Qt::red);
        canvas.AddTag(CImageWnd::TAG_SIDE_LEFT, "One", nullptr, 0, 1);
        canvas.AddTag(CImageWnd::TAG_SIDE_LEFT, "", &pic, 0, 2);
        canvas.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Two", nullptr, 0, 3);
        canvas.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Three", nullptr, 0, 4);
        // value * dpi / 96, truncated.
        const int margin = 10 * static_cast<int>(dpi) / 96;
        const int height = 20 * static_cast<int>(dpi) / 96;
        const int gap = 4 * static_cast<int>(dpi) / 96;
        const QFontMetrics metrics(canvas.GetFontPtr() ? *canvas.GetFontPtr() : canvas.font());
        const TAGINFO* one = canvas.GetTag(CImageWnd::TAG_SIDE_LEFT, 0);
        const TAGINFO* picture = canvas.GetTag(CImageWnd::TAG_SIDE_LEFT, 1);
        EXPECT_EQ(one->drawRect, QRect(margin, margin, metrics.horizontalAdvance("One") + 2 * margin, height))
            << dpi;
        EXPECT_EQ(picture->drawRect, QRect(one->drawRect.right() + 1 + gap, margin, 30, height)) << dpi;
        const TAGINFO* two = canvas.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0);
        const TAGINFO* three = canvas.GetTag(CImageWnd::TAG_SIDE_RIGHT, 1);
        EXPECT_EQ(two->drawRect.right() + 1, 400 - margin) << dpi;
        EXPECT_EQ(three->drawRect.right() + 1 + gap, two->drawRect.left()) << dpi;
        EXPECT_EQ(three->drawRect.width(), metrics.horizontalAdvance("Three") + 2 * margin);
        EXPECT_EQ(two->hitRect, two->drawRect);
        EXPECT_EQ(two->enabled, 1);
        // A resize lays the right list out again.
        canvas.MoveWindow(0, 0, 500, 300);
        EXPECT_EQ(canvas.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->drawRect.right() + 1, 500 - margin) << dpi;
    }
    SetDpiProvider(nullptr);
}

TEST_F(Tags, TagsAppearAndGoWithShowTagsAndClearTags) {
    wnd.AddTag(CImageWnd::TAG_SIDE_LEFT, "Label", nullptr, 0, 5);
    QImage pic(16, 16, QImage::Format_RGB32);
    pic.fill(QColor(0, 0, 255));
    wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, "", &pic, 0, CImageWnd::TAG_NOT_CLICKABLE);
    const QRect label = wnd.GetTag(CImageWnd::TAG_SIDE_LEFT, 0)->drawRect;
    const QRect picture = wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->drawRect;
    ASSERT_FALSE(label.intersects(picture));

    QImage shot = wnd.RenderClient();
    // Corner of the label: the background at half opacity over the image's 200.
    EXPECT_TRUE(Darkened(shot.pixel(label.topLeft() + QPoint(1, 1))))
        << std::hex << shot.pixel(label.topLeft());
    EXPECT_EQ(Opaque(shot.pixel(picture.center())), qRgb(0, 0, 255));
    // Some text pixels are lighter than the background.
    int lighter = 0;
    for (int y = label.top(); y <= label.bottom(); ++y)
        for (int x = label.left(); x <= label.right(); ++x)
            lighter += qRed(shot.pixel(x, y)) > 110;
    EXPECT_GT(lighter, 0);

    wnd.ShowTags(0);
    EXPECT_EQ(wnd.AreTagsVisible(), 0);
    shot = wnd.RenderClient();
    EXPECT_EQ(qRed(shot.pixel(label.topLeft() + QPoint(1, 1))), 200);
    EXPECT_EQ(qRed(shot.pixel(picture.center())), 200);
    wnd.ShowTags(1);
    wnd.ClearTags();
    EXPECT_EQ(wnd.GetTagCount(0) + wnd.GetTagCount(1), 0u);
    shot = wnd.RenderClient();
    EXPECT_EQ(qRed(shot.pixel(label.topLeft() + QPoint(1, 1))), 200);
}

TEST_F(Tags, ActiveTagShowsOnlyWithThePointerInside) {
    wnd.AddTag(CImageWnd::TAG_SIDE_LEFT, "Compare", nullptr, 1, 9);
    const QRect rect = wnd.GetTag(CImageWnd::TAG_SIDE_LEFT, 0)->drawRect;
    const QPoint corner = rect.topLeft() + QPoint(1, 1);
    Leave();
    EXPECT_EQ(qRed(wnd.RenderClient().pixel(corner)), 200) << "pointer outside: not drawn";
    Enter(QPoint(200, 200));
    ASSERT_EQ(wnd.IsMouseHover(), 1);
    EXPECT_TRUE(Darkened(wnd.RenderClient().pixel(corner)));
    Leave();
    EXPECT_EQ(qRed(wnd.RenderClient().pixel(corner)), 200);
}

TEST_F(Tags, ClickOnAClickableTagReachesTheParentAndNotTheTools) {
    LoadNew("A", kPressMask);
    wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Original", nullptr, 1, 42);
    const QPoint p = wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->hitRect.center();
    Enter(QPoint(200, 200));
    mouse.Move(p);
    EXPECT_EQ(wnd.cursor().shape(), Qt::PointingHandCursor);
    log.Clear();
    mouse.Press(p);
    mouse.Release(p);
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnLButtonUp", "OnClick"}), Texts{});
    EXPECT_EQ(log.Count("parent.NM 119"), 1u);
    EXPECT_EQ(log.Count("parent.NM 114"), 0u) << "no plain click either";

    // Off the tag the tools hear the press again, and the cursor is theirs.
    const QPoint off(200, 200);
    mouse.Move(off);
    EXPECT_NE(wnd.cursor().shape(), Qt::PointingHandCursor);
    log.Clear();
    mouse.Press(off);
    mouse.Release(off);
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "OnLButtonUp"}),
              (Texts{"A.OnLButtonDown", "A.OnClick", "A.OnLButtonUp"}));
    EXPECT_EQ(log.Count("parent.NM 119"), 0u);
}

TEST_F(Tags, TagPressWhoseReleaseNeverCameSwallowsNoLaterRelease) {
    LoadNew("A", kPressMask);
    wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Menu", nullptr, 1, 42);
    const QPoint tag = wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->hitRect.center();
    Enter(QPoint(200, 200));
    const QPoint off(200, 200);
    log.Clear();
    mouse.Press(tag); // its release went to a menu the parent opened
    EXPECT_EQ(log.Count("parent.NM 119"), 1u);
    log.Clear();
    mouse.Press(off);
    mouse.Release(off);
    mouse.Move(QPoint(220, 220));
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "OnLButtonUp", "OnStartDrag"}),
              (Texts{"A.OnLButtonDown", "A.OnClick", "A.OnLButtonUp"}));
}

TEST_F(Tags, DoubleClickOnATagIsTheTagsToo) {
    LoadNew("A", kPressMask | IImageWndTool::EVENTMASK_DBLCLICK);
    wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Menu", nullptr, 1, 42);
    const QPoint tag = wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->hitRect.center();
    Enter(QPoint(200, 200));
    log.Clear();
    mouse.Press(tag);
    mouse.Release(tag);
    mouse.Press(tag, Qt::LeftButton, {}, true);
    mouse.QtDoubleClick(tag);
    mouse.Release(tag);
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "OnDblClk", "OnLButtonUp"}), Texts{});
    EXPECT_EQ(log.Count("parent.NM 119"), 2u);
}

TEST_F(Tags, UnclickableTagsPassThePressOnToTheTools) {
    LoadNew("A", kPressMask);
    wnd.AddTag(CImageWnd::TAG_SIDE_LEFT, "Info", nullptr, 1, CImageWnd::TAG_NOT_CLICKABLE);
    wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Fixed", nullptr, 0, 77);
    Enter(QPoint(200, 200));
    for (const QPoint p : {wnd.GetTag(CImageWnd::TAG_SIDE_LEFT, 0)->hitRect.center(),
                           wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->hitRect.center()}) {
        mouse.Move(p);
        EXPECT_NE(wnd.cursor().shape(), Qt::PointingHandCursor);
        log.Clear();
        mouse.Press(p);
        mouse.Release(p);
        EXPECT_EQ(log.Count("A.OnLButtonDown"), 1u);
        EXPECT_EQ(log.Count("parent.NM 119"), 0u);
    }
}

} // namespace
