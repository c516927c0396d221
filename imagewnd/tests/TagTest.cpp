// Guards the tags: layout off the DPI rule, tags drawn when hidden or cleared, active tags drawn with
// the pointer outside, tag presses reaching the tools, a stale tag press swallowing a later release,
// double clicks not hit-tested on tags, and the hand cursor over a clickable tag.
#include "CanvasTestSupport.h"

#include "ui/CUISizeInfo.h"

using namespace kel_canvas_test;

namespace {

class Tags : public Canvas {
protected:
    void SetUp() override {
        Canvas::SetUp();
        // A constant image under the tags, so that their pixels are easy to tell apart.
        ASSERT_TRUE(MakeConstant(image, 380, 280, 3, 1, 200));
        ASSERT_EQ(wnd.SetImage(image), 1);
        tool = &LoadNew("A", Tool::EVENTMASK_LBUTTON | Tool::EVENTMASK_CLICK | Tool::EVENTMASK_DRAG |
                                 Tool::EVENTMASK_DBLCLICK);
        mouse.Move(off); // the pointer is in: active tags show
    }
    QPoint AddClickable(const char* text = "Menu") {
        wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, text, nullptr, 1, 42);
        return wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->hitRect.center();
    }
    // The red shown at `p`: 200 is the bare image, the half-transparent label background darkens it.
    int Red(QPoint p) { return qRed(wnd.RenderClient().pixel(p)); }
    Texts ToolPresses() const {
        return log.Only({"OnLButtonDown", "OnClick", "OnDblClk", "OnLButtonUp", "OnStartDrag"});
    }
    const QPoint off{200, 200};
    RecordingTool* tool = nullptr;
};

TEST_F(Tags, LayoutFollowsTheDpiRuleAtEveryDpi) {
    for (const unsigned dpi : {96u, 120u, 144u}) {
        SetDpiProvider([dpi](const QWidget*) { return std::make_pair(dpi, dpi); });
        CImageWnd canvas;
        canvas.Create(&parent, QRect(0, 0, 400, 300), 1002);
        ASSERT_EQ(canvas.GetDpi(), static_cast<int>(dpi));
        QImage pic(30, 12, QImage::Format_RGB32);
        canvas.AddTag(CImageWnd::TAG_SIDE_LEFT, "One", nullptr, 0, 1);
        canvas.AddTag(CImageWnd::TAG_SIDE_LEFT, "", &pic, 0, 2);
        canvas.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Two", nullptr, 0, 3);
        canvas.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Three", nullptr, 0, 4);
        const int margin = 10 * int(dpi) / 96, height = 20 * int(dpi) / 96, gap = 4 * int(dpi) / 96;
        const QFontMetrics metrics(canvas.GetFontPtr() ? *canvas.GetFontPtr() : canvas.font());
        const QRect one = canvas.GetTag(CImageWnd::TAG_SIDE_LEFT, 0)->drawRect;
        const TAGINFO* two = canvas.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0);
        const QRect three = canvas.GetTag(CImageWnd::TAG_SIDE_RIGHT, 1)->drawRect;
        EXPECT_EQ(one, QRect(margin, margin, metrics.horizontalAdvance("One") + 2 * margin, height)) << dpi;
        EXPECT_EQ(canvas.GetTag(CImageWnd::TAG_SIDE_LEFT, 1)->drawRect,
                  QRect(one.right() + 1 + gap, margin, 30, height));
        EXPECT_EQ(two->drawRect.right() + 1, 400 - margin);
        EXPECT_EQ(three.right() + 1 + gap, two->drawRect.left());
        EXPECT_EQ(three.width(), metrics.horizontalAdvance("Three") + 2 * margin);
        EXPECT_EQ(two->hitRect, two->drawRect);
        canvas.MoveWindow(0, 0, 500, 300);
        EXPECT_EQ(canvas.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->drawRect.right() + 1, 500 - margin)
            << "resized";
    }
    SetDpiProvider(nullptr);
}

TEST_F(Tags, TagsShowUntilHiddenOrClearedAndActiveOnesOnlyWithThePointerInside) {
    wnd.AddTag(CImageWnd::TAG_SIDE_LEFT, "Label", nullptr, 0, 5);
    QImage pic(16, 16, QImage::Format_RGB32);
    pic.fill(QColor(0, 0, 255));
    wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, "", &pic, 0, CImageWnd::TAG_NOT_CLICKABLE);
    const QRect label = wnd.GetTag(CImageWnd::TAG_SIDE_LEFT, 0)->drawRect;
    const QPoint corner = label.topLeft() + QPoint(1, 1);
    const QPoint picture = wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->drawRect.center();
    QImage shot = wnd.RenderClient();
    EXPECT_TRUE(qRed(shot.pixel(corner)) > 50 && qRed(shot.pixel(corner)) < 150);
    EXPECT_EQ(Opaque(shot.pixel(picture)), qRgb(0, 0, 255));
    int lighter = 0; // text pixels
    for (int y = label.top(); y <= label.bottom(); ++y)
        for (int x = label.left(); x <= label.right(); ++x)
            lighter += qRed(shot.pixel(x, y)) > 110;
    EXPECT_GT(lighter, 0);
    wnd.ShowTags(0);
    EXPECT_EQ(Red(corner) + Red(picture), 400);
    wnd.ShowTags(1);
    wnd.ClearTags();
    EXPECT_EQ(wnd.GetTagCount(0) + wnd.GetTagCount(1), 0u);
    EXPECT_EQ(Red(corner), 200);
    wnd.AddTag(CImageWnd::TAG_SIDE_LEFT, "Compare", nullptr, 1, 9);
    EXPECT_LT(Red(corner), 150);
    Leave();
    EXPECT_EQ(Red(corner), 200) << "pointer outside: active tags are not drawn";
}

TEST_F(Tags, ClickableTagTakesThePressAndTheHandCursorFromTheTools) {
    const QPoint tag = AddClickable();
    mouse.Move(tag);
    EXPECT_EQ(wnd.cursor().shape(), Qt::PointingHandCursor);
    log.Clear();
    mouse.Press(tag);
    mouse.Release(tag);
    EXPECT_EQ(ToolPresses(), Texts{});
    EXPECT_EQ(log.Only({"NM 119", "NM 114"}), (Texts{"parent.NM 119"}));
    mouse.Move(off);
    EXPECT_NE(wnd.cursor().shape(), Qt::PointingHandCursor);
    log.Clear();
    mouse.Press(off);
    mouse.Release(off);
    EXPECT_EQ(ToolPresses(), (Texts{"A.OnLButtonDown", "A.OnClick", "A.OnLButtonUp"}));
    // Unclickable tags, and tags that are not active, pass the press on.
    wnd.ClearTags();
    wnd.AddTag(CImageWnd::TAG_SIDE_LEFT, "Info", nullptr, 1, CImageWnd::TAG_NOT_CLICKABLE);
    wnd.AddTag(CImageWnd::TAG_SIDE_RIGHT, "Fixed", nullptr, 0, 77);
    for (const QPoint p : {wnd.GetTag(CImageWnd::TAG_SIDE_LEFT, 0)->hitRect.center(),
                           wnd.GetTag(CImageWnd::TAG_SIDE_RIGHT, 0)->hitRect.center()}) {
        mouse.Move(p);
        EXPECT_NE(wnd.cursor().shape(), Qt::PointingHandCursor);
        log.Clear();
        mouse.Press(p);
        mouse.Release(p);
        EXPECT_EQ(log.Only({"OnLButtonDown", "NM 119"}), (Texts{"A.OnLButtonDown"}));
    }
}

TEST_F(Tags, StaleTagPressIsClearedByTheNextPressOrACaptureLoss) {
    const QPoint tag = AddClickable();
    mouse.Press(tag); // its release went to a menu the parent opened
    log.Clear();
    mouse.Press(off);
    mouse.Release(off);
    mouse.Move(off + QPoint(20, 20));
    EXPECT_EQ(ToolPresses(), (Texts{"A.OnLButtonDown", "A.OnClick", "A.OnLButtonUp"}));
    mouse.Press(tag);
    FocusOut();
    log.Clear();
    mouse.Release(off + QPoint(1, 0));
    EXPECT_EQ(ToolPresses(), (Texts{"A.OnLButtonUp"})) << "a release after the loss is no longer the tag's";
}

TEST_F(Tags, DoubleClickOnATagIsTheTagsToo) {
    const QPoint tag = AddClickable();
    log.Clear();
    mouse.Press(tag);
    mouse.Release(tag);
    mouse.Press(tag, Qt::LeftButton, {}, true);
    mouse.QtDoubleClick(tag);
    mouse.Release(tag);
    EXPECT_EQ(ToolPresses(), Texts{});
    EXPECT_EQ(log.Count("parent.NM 119"), 2u);
}

} // namespace
