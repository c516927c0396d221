// Guards painting: the image drawn off its geometry at fit, 1:1 and enlarged, pixels that drift while
// scrolling, the preview not shown during a build, the chequer missing under transparency, tools
// painted under the image or outside the image lock, wrong curve choice, and a display buffer that
// is reallocated on every paint.
#include "PaintTestSupport.h"

#include "imageprocess/ImageProcess.h"

#include <QPainter>

using namespace kel_paint_test;
using kel_testing::GetValue;
using kel_testing::MakeColorCube;
using kel_testing::MakeConstant;
using kel_testing::MakeGradient;
using kel_testing::MakeNoise;
using kel_testing::SetValue;

namespace {

class Paint : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        kel_pipeline_test::Fake().Reset();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
    }

    // Every window pixel of the drawn area shows the pixel of `source` that the 1:1 mapping from
    // `srcTopLeft` gives it; returns the number of mismatches.
    static int CountOneToOneMismatches(const QImage& shot, const QRect& drawn, const CImageDataInfo& source,
                                       QPoint srcTopLeft) {
        int bad = 0;
        for (int y = drawn.top(); y <= drawn.bottom(); ++y)
            for (int x = drawn.left(); x <= drawn.right(); ++x)
                bad += Opaque(shot.pixel(x, y)) !=
                       ImageRgb(source, srcTopLeft.x() + x - drawn.left(), srcTopLeft.y() + y - drawn.top());
        return bad;
    }

    QRect DrawnArea() const {
        return QRect(wnd.GetDrawPos().x, wnd.GetDrawPos().y, wnd.GetDrawSize().width,
                     wnd.GetDrawSize().height);
    }

    CImageDataInfo image, mask;
    kel_canvas_test::EventLog log;
    kel_canvas_test::RecordingParent parent{log};
    PaintWnd wnd;
};

TEST_F(Paint, FitDrawsTheZoomedCopyOneToOneAtTheDrawPosition) {
    ASSERT_TRUE(MakeColorCube(image, 800, 600, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    ASSERT_TRUE(wnd.IsZoomedOut());
    ASSERT_TRUE(WaitForCache(wnd));
    const QImage shot = wnd.RenderClient();

    CImageDataInfo expected;
    ASSERT_TRUE(ImageProcess::ResizeImage(image, expected, wnd.GetZoomedSize().width,
                                          wnd.GetZoomedSize().height, ImageProcess::RESIZE_AUTO, nullptr));
    const QRect drawn = DrawnArea();
    EXPECT_EQ(wnd.GetLastDrawRect(), drawn);
    EXPECT_EQ(wnd.GetLastSrcRect(), QRect(QPoint(0, 0), drawn.size()));
    EXPECT_EQ(CountOneToOneMismatches(shot, drawn, expected, QPoint(0, 0)), 0);
    // The margin around the image keeps the background.
    const QRgb bk = Opaque(wnd.GetBkColor().rgb());
    EXPECT_EQ(Opaque(shot.pixel(drawn.left() - 1, drawn.center().y())), bk);
    EXPECT_EQ(Opaque(shot.pixel(drawn.center().x(), drawn.bottom() + 1)), bk);
}

TEST_F(Paint, OneToOneDrawsTheVisibleImagePartAndFollowsScrolling) {
    ASSERT_TRUE(MakeNoise(image, 600, 500, 3, 1, 7));
    ASSERT_EQ(wnd.SetImage(image), 1);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    ASSERT_FALSE(wnd.IsZoomedOut());
    for (const QPoint pos : {QPoint(0, 0), QPoint(37, 21), QPoint(200, 200)}) {
        wnd.SetDispPos(pos.x(), pos.y());
        const QImage shot = wnd.RenderClient();
        const QRectF src = wnd.GetSrcRect();
        const QPoint topLeft(static_cast<int>(std::floor(src.x() + 0.5)),
                             static_cast<int>(std::floor(src.y() + 0.5)));
        EXPECT_EQ(topLeft, pos);
        EXPECT_EQ(CountOneToOneMismatches(shot, DrawnArea(), image, topLeft), 0) << pos.x() << "," << pos.y();
    }
}

TEST_F(Paint, ThreeToOneMakesEachImagePixelAThreeByThreeBlockThatScrollsByOnePixel) {
    ASSERT_TRUE(MakeNoise(image, 300, 200, 3, 1, 11));
    ASSERT_EQ(wnd.SetImage(image), 1);
    const ZOOM_SCALE scale = ZOOM_SCALE_3_1;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &scale, nullptr);
    ASSERT_DOUBLE_EQ(wnd.GetZoomValue(), 3.0);
    wnd.SetDispPos(300, 150);
    const QImage before = wnd.RenderClient();
    // Window pixel x shows image pixel floor((x - drawPos) / 3 + srcRect.x).
    auto check = [&](const QImage& shot) {
        int bad = 0;
        const QRectF src = wnd.GetSrcRect();
        const TPoint<int> drawPos = wnd.GetDrawPos();
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x) {
                const int ix = static_cast<int>(std::floor((x - drawPos.x) / 3.0 + src.x() + 1e-4));
                const int iy = static_cast<int>(std::floor((y - drawPos.y) / 3.0 + src.y() + 1e-4));
                bad += Opaque(shot.pixel(x, y)) != ImageRgb(image, ix, iy);
            }
        return bad;
    };
    EXPECT_EQ(check(before), 0);
    for (int step = 1; step <= 3; ++step) {
        ASSERT_EQ(wnd.SetDispPos(300 + step, 150 + step), 1);
        const QImage after = wnd.RenderClient();
        EXPECT_EQ(check(after), 0) << "step " << step;
        // Everything moved up and left by exactly the scrolled pixels.
        int moved = 0;
        for (int y = 0; y + step < after.height(); y += 7)
            for (int x = 0; x + step < after.width(); ++x)
                moved += after.pixel(x, y) != before.pixel(x + step, y + step);
        EXPECT_EQ(moved, 0) << "step " << step;
    }
}

// Holds the cache thread inside its build until released.
event_signal g_buildLatch{true, false};
std::atomic<bool> g_inBuild{false};
void HoldBuild(CImageWnd*, double) {
    g_inBuild.store(true);
    g_buildLatch.wait(-1);
}

TEST_F(Paint, PreviewShowsWhileTheCacheBuildsAndTheCacheAfter) {
    g_buildLatch.reset();
    g_inBuild.store(false);
    // Left half dark, right half light: both the preview and the copy show that.
    ASSERT_TRUE(MakeConstant(image, 1600, 1200, 3, 1, 40));
    for (int y = 0; y < 1200; ++y)
        for (int x = 800; x < 1600; ++x)
            for (int c = 0; c < 3; ++c)
                SetValue(image, x, y, c, 220);
    wnd.SetZoomContentFunc(HoldBuild);
    ASSERT_EQ(wnd.SetImage(image), 1);
    ASSERT_TRUE(kel_qt_test::PumpUntil([] { return g_inBuild.load(); }));
    ASSERT_FALSE(wnd.IsZoomedCacheReady());
    // Painting must not wait for the cache thread, which holds the cache lock now.
    QImage shot = wnd.RenderClient();
    const QRect drawn = DrawnArea();
    EXPECT_EQ(wnd.GetLastDrawRect(), drawn);
    const double ps = wnd.GetPreviewScale();
    ASSERT_LT(ps, 1.0);
    EXPECT_NEAR(wnd.GetLastSrcRect().width(), 1600 * ps, 1.0) << "drawn from the preview";
    EXPECT_EQ(qRed(shot.pixel(drawn.left() + 5, drawn.center().y())), 40);
    EXPECT_EQ(qRed(shot.pixel(drawn.right() - 5, drawn.center().y())), 220);

    g_buildLatch.set();
    ASSERT_TRUE(WaitForCache(wnd));
    shot = wnd.RenderClient();
    EXPECT_EQ(wnd.GetLastSrcRect(), QRect(QPoint(0, 0), drawn.size())) << "drawn from the zoomed copy";
    EXPECT_EQ(qRed(shot.pixel(drawn.left() + 5, drawn.center().y())), 40);
    EXPECT_EQ(qRed(shot.pixel(drawn.right() - 5, drawn.center().y())), 220);
    wnd.SetZoomContentFunc(nullptr);
}

TEST_F(Paint, ChequerShowsUnderTransparentPixelsOnly) {
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 100));
    ASSERT_TRUE(MakeConstant(mask, 200, 150, 1, 1, 255));
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 100; ++x)
            SetValue(mask, x, y, 0, 0);
    ASSERT_EQ(wnd.SetImage(image, nullptr, nullptr, &mask), 1);
    ASSERT_DOUBLE_EQ(wnd.GetZoomValue(), 1.0);
    const QImage shot = wnd.RenderClient();
    const TPoint<int> d = wnd.GetDrawPos();
    // Opaque half: the image.
    EXPECT_EQ(Opaque(shot.pixel(d.x + 150, d.y + 70)), qRgb(100, 100, 100));
    // Transparent half: 8-pixel squares alternating light and lighter, anchored to the image.
    EXPECT_EQ(Opaque(shot.pixel(d.x + 0, d.y + 0)), qRgb(255, 255, 255));
    EXPECT_EQ(Opaque(shot.pixel(d.x + 7, d.y + 7)), qRgb(255, 255, 255));
    EXPECT_EQ(Opaque(shot.pixel(d.x + 8, d.y + 0)), qRgb(0xCC, 0xCC, 0xCC));
    EXPECT_EQ(Opaque(shot.pixel(d.x + 8, d.y + 8)), qRgb(255, 255, 255));
    wnd.SetTransBlockSize(0);
    EXPECT_EQ(wnd.GetTransBlockSize(), 1) << "at least 1";
    const QImage fine = wnd.RenderClient();
    EXPECT_NE(fine.pixel(d.x + 0, d.y + 0), fine.pixel(d.x + 1, d.y + 0));
}

// A tool that paints a square and records what it saw of the window meanwhile.
class SquareTool : public IImageWndTool {
public:
    SquareTool() {
        m_toolName = "square";
        m_eventMask = EVENTMASK_PAINT;
    }
    void OnPaint(QPainter& painter, int, int) override {
        ++paints;
        lockFree = static_cast<PaintWnd*>(m_imageWnd)->ImageLockFreeForOthers();
        painter.fillRect(QRect(20, 20, 10, 10), QColor(0, 255, 0));
    }
    int paints = 0;
    bool lockFree = true;
};

TEST_F(Paint, ToolsPaintOverTheImageUnderTheImageLock) {
    ASSERT_TRUE(MakeConstant(image, 380, 280, 3, 1, 30));
    ASSERT_EQ(wnd.SetImage(image), 1);
    SquareTool tool;
    wnd.LoadTool(&tool);
    tool.paints = 0;
    const QImage shot = wnd.RenderClient();
    EXPECT_EQ(tool.paints, 1);
    EXPECT_FALSE(tool.lockFree) << "tools paint while the image lock is held";
    EXPECT_EQ(Opaque(shot.pixel(25, 25)), qRgb(0, 255, 0));
    EXPECT_EQ(Opaque(shot.pixel(40, 40)), qRgb(30, 30, 30));
    EXPECT_TRUE(wnd.ImageLockFreeForOthers()) << "released after painting";
    wnd.UnloadTool(&tool, 0);
}

TEST_F(Paint, CurveChoiceFollowsWhetherTheDataIsProcessed) {
    std::vector<unsigned short> invert(65536), identity(65536);
    for (size_t i = 0; i < invert.size(); ++i) {
        invert[i] = static_cast<unsigned short>(65535 - i);
        identity[i] = static_cast<unsigned short>(i);
    }
    wnd.SetLinearImageParams(identity.data(), invert.data());
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 60));
    ASSERT_EQ(wnd.SetImage(image), 1);
    const TPoint<int> d = wnd.GetDrawPos();
    // Without a before-image the shown data is unprocessed: the source curve applies.
    EXPECT_EQ(Opaque(wnd.RenderClient().pixel(d.x + 5, d.y + 5)), qRgb(195, 195, 195));

    CImageDataInfo before;
    ASSERT_TRUE(MakeConstant(before, 200, 150, 3, 1, 10));
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    // With one the image is a result: the display curve applies.
    EXPECT_EQ(Opaque(wnd.RenderClient().pixel(d.x + 5, d.y + 5)), qRgb(60, 60, 60));
    // The before view shows raw data again.
    wnd.ShowBeforeImage(1);
    EXPECT_EQ(Opaque(wnd.RenderClient().pixel(d.x + 5, d.y + 5)), qRgb(245, 245, 245));
    wnd.SetLinearImageParams(nullptr, nullptr);
}

TEST_F(Paint, ClippingMarksFollowTheBits) {
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 0));
    for (int y = 0; y < 150; ++y)
        for (int x = 100; x < 200; ++x)
            for (int c = 0; c < 3; ++c)
                SetValue(image, x, y, c, 255);
    ASSERT_EQ(wnd.SetImage(image), 1);
    const TPoint<int> d = wnd.GetDrawPos();
    const QPoint dark(d.x + 10, d.y + 10), light(d.x + 150, d.y + 10);
    QImage shot = wnd.RenderClient();
    EXPECT_EQ(Opaque(shot.pixel(dark)), qRgb(0, 0, 0));
    EXPECT_EQ(Opaque(shot.pixel(light)), qRgb(255, 255, 255));
    wnd.SetClippingWarning(3);
    EXPECT_EQ(wnd.GetClippingWarning(), 3u);
    shot = wnd.RenderClient();
    EXPECT_EQ(Opaque(shot.pixel(dark)), qRgb(0, 0, 255));
    EXPECT_EQ(Opaque(shot.pixel(light)), qRgb(255, 0, 0));
    wnd.SetClippingWarning(2);
    shot = wnd.RenderClient();
    EXPECT_EQ(Opaque(shot.pixel(dark)), qRgb(0, 0, 0));
    EXPECT_EQ(Opaque(shot.pixel(light)), qRgb(255, 0, 0));
}

TEST_F(Paint, ColourTransformChangesTheShownPixelsAndClears) {
    using ImageProcess::ColorProfile;
    ASSERT_TRUE(MakeGradient(image, 200, 150, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    const TPoint<int> d = wnd.GetDrawPos();
    const QPoint p(d.x + 60, d.y + 40);
    const QRgb plain = Opaque(wnd.RenderClient().pixel(p));
    EXPECT_EQ(plain, ImageRgb(image, 60, 40));

    // Linear data shown on an sRGB-like screen comes out lighter.
    wnd.SetColorProfile(&ColorProfile::GetLinearWorkingProfile());
    ASSERT_NE(wnd.GetColorTransform(), nullptr);
    ASSERT_NE(wnd.GetSRGBTransform(), nullptr);
    const QRgb transformed = Opaque(wnd.RenderClient().pixel(p));
    EXPECT_GT(qRed(transformed), qRed(plain));
    EXPECT_GT(qGreen(transformed), qGreen(plain));

    wnd.SetColorProfile(nullptr);
    EXPECT_EQ(wnd.GetColorTransform(), nullptr);
    EXPECT_EQ(wnd.GetSRGBTransform(), nullptr);
    EXPECT_EQ(Opaque(wnd.RenderClient().pixel(p)), plain);
}

TEST_F(Paint, DisplayBufferIsReusedAndOnlyGrows) {
    ASSERT_TRUE(MakeNoise(image, 600, 500, 3, 1, 3));
    ASSERT_EQ(wnd.SetImage(image), 1);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    wnd.RenderClient();
    const unsigned char* buffer = wnd.DisplayBuffer();
    const size_t size = wnd.DisplayBufferSize();
    EXPECT_GE(size, static_cast<size_t>(400 * 300 * 4));
    // A smaller view keeps the buffer.
    const ZOOM_SCALE scale = ZOOM_SCALE_4_1;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &scale, nullptr);
    wnd.RenderClient();
    EXPECT_EQ(wnd.DisplayBuffer(), buffer);
    EXPECT_EQ(wnd.DisplayBufferSize(), size);
}

TEST_F(Paint, SixteenBitAndGreyImagesShowTheirHighBytes) {
    ASSERT_TRUE(MakeGradient(image, 200, 150, 4, 2));
    ASSERT_EQ(wnd.SetImage(image), 1);
    const TPoint<int> d = wnd.GetDrawPos();
    QImage shot = wnd.RenderClient();
    for (const QPoint p : {QPoint(0, 0), QPoint(199, 149), QPoint(77, 33)}) {
        const QRgb c = shot.pixel(d.x + p.x(), d.y + p.y());
        EXPECT_NEAR(qRed(c), GetValue(image, p.x(), p.y(), 2) / 257.0, 1.0);
        EXPECT_NEAR(qBlue(c), GetValue(image, p.x(), p.y(), 0) / 257.0, 1.0);
    }
    CImageDataInfo grey;
    ASSERT_TRUE(MakeGradient(grey, 200, 150, 1, 1));
    ASSERT_EQ(wnd.SetImage(grey), 1);
    shot = wnd.RenderClient();
    EXPECT_EQ(Opaque(shot.pixel(d.x + 120, d.y + 10)), ImageRgb(grey, 120, 10));
}

} // namespace
