// Guards painting and colour sampling: the image drawn off its geometry at fit, 1:1 and enlarged,
// pixels that drift while scrolling, the preview not shown during a build, the chequer, tools painted
// under the image or outside the image lock, the wrong curve, clipping marks and colour transform, a
// display buffer reallocated on every paint, and colours sampled at the wrong point, source or order.
#include "CanvasTestSupport.h"

#include <QPainter>

#include <cmath>

using namespace kel_canvas_test;
using kel_testing::MakeNoise;
using std::tuple;

namespace {

class Paint : public Canvas {
protected:
    // The number of drawn pixels that do not show the pixel of `source` that the 1:1 mapping from
    // `srcTopLeft` gives them.
    int OneToOneMismatches(const QImage& shot, const CImageDataInfo& source, QPoint srcTopLeft) const {
        const QRect drawn = DrawnArea();
        int bad = 0;
        for (int y = drawn.top(); y <= drawn.bottom(); ++y)
            for (int x = drawn.left(); x <= drawn.right(); ++x)
                bad += Opaque(shot.pixel(x, y)) !=
                       ImageRgb(source, srcTopLeft.x() + x - drawn.left(), srcTopLeft.y() + y - drawn.top());
        return bad;
    }
    // Paints the columns from `x` on of a 3-channel 8-bit image with `value` in `channel` (-1: all).
    static void FillFrom(CImageDataInfo& img, int x0, int channel, int value) {
        for (int y = 0; y < img.height; ++y)
            for (int x = x0; x < img.width; ++x)
                for (int c = 0; c < 3; ++c)
                    if (channel < 0 || c == channel)
                        SetValue(img, x, y, c, value);
    }
    QRgb Shown(int x, int y) {
        return Opaque(wnd.RenderClient().pixel(wnd.GetDrawPos().x + x, wnd.GetDrawPos().y + y));
    }
    int Sample(int x, int y, int radius, int useCurve = 0) {
        int count = -1;
        return wnd.GetColors(values, raws, count, wnd.GetDrawPos().x + x, wnd.GetDrawPos().y + y, radius,
                             useCurve)
                   ? count
                   : -1;
    }
    COLORVALS values[CImageWnd::MAX_GETCOLOR_SAMPLES], raws[CImageWnd::MAX_GETCOLOR_SAMPLES];
};

TEST_F(Paint, FitDrawsTheZoomedCopyOneToOneInsideTheBackground) {
    ASSERT_TRUE(kel_testing::MakeColorCube(image, 800, 600, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    ASSERT_TRUE(WaitForCache());
    const QImage shot = wnd.RenderClient();
    CImageDataInfo expected;
    ASSERT_TRUE(ImageProcess::ResizeImage(image, expected, wnd.GetZoomedSize().width,
                                          wnd.GetZoomedSize().height, ImageProcess::RESIZE_AUTO, nullptr));
    const QRect drawn = DrawnArea();
    EXPECT_EQ(tuple(wnd.GetLastDrawRect(), wnd.GetLastSrcRect()),
              tuple(drawn, QRect(QPoint(0, 0), drawn.size())));
    EXPECT_EQ(OneToOneMismatches(shot, expected, QPoint(0, 0)), 0);
    const QRgb bk = Opaque(wnd.GetBkColor().rgb());
    EXPECT_EQ(tuple(Opaque(shot.pixel(drawn.left() - 1, drawn.center().y())),
                    Opaque(shot.pixel(drawn.center().x(), drawn.bottom() + 1))),
              tuple(bk, bk));
}

TEST_F(Paint, OneToOneDrawsTheVisiblePartAndFollowsScrollingReusingItsBuffer) {
    ASSERT_TRUE(MakeNoise(image, 600, 500, 3, 1, 7));
    ASSERT_EQ(wnd.SetImage(image), 1);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    for (const QPoint pos : {QPoint(0, 0), QPoint(37, 21), QPoint(200, 200)}) {
        wnd.SetDispPos(pos.x(), pos.y());
        const QImage shot = wnd.RenderClient();
        const QRectF src = wnd.GetSrcRect();
        const QPoint topLeft(int(std::floor(src.x() + 0.5)), int(std::floor(src.y() + 0.5)));
        EXPECT_EQ(topLeft, pos);
        EXPECT_EQ(OneToOneMismatches(shot, image, topLeft), 0) << pos.x() << "," << pos.y();
    }
    const unsigned char* buffer = wnd.m_displayBuffer.data();
    const size_t size = wnd.m_displayBuffer.size();
    EXPECT_GE(size, size_t(400 * 300 * 4));
    Scale(ZOOM_SCALE_4_1); // a smaller view keeps the buffer
    wnd.RenderClient();
    EXPECT_EQ(tuple(wnd.m_displayBuffer.data(), wnd.m_displayBuffer.size()), tuple(buffer, size));
}

TEST_F(Paint, ThreeToOneMakesEachImagePixelAThreeByThreeBlockThatScrollsByOnePixel) {
    ASSERT_TRUE(MakeNoise(image, 300, 200, 3, 1, 11));
    ASSERT_EQ(wnd.SetImage(image), 1);
    Scale(ZOOM_SCALE_3_1);
    wnd.SetDispPos(300, 150);
    const QImage before = wnd.RenderClient();
    // Window pixel x shows image pixel floor((x - drawPos) / 3 + srcRect.x).
    auto check = [&](const QImage& shot) {
        int bad = 0;
        const QRectF src = wnd.GetSrcRect();
        const TPoint<int> d = wnd.GetDrawPos();
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x)
                bad += Opaque(shot.pixel(x, y)) !=
                       ImageRgb(image, int(std::floor((x - d.x) / 3.0 + src.x() + 1e-4)),
                                int(std::floor((y - d.y) / 3.0 + src.y() + 1e-4)));
        return bad;
    };
    EXPECT_EQ(check(before), 0);
    for (int step = 1; step <= 3; ++step) {
        ASSERT_EQ(wnd.SetDispPos(300 + step, 150 + step), 1);
        const QImage after = wnd.RenderClient();
        EXPECT_EQ(check(after), 0) << "step " << step;
        int moved = 0; // everything moved up and left by exactly the scrolled pixels
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
    ASSERT_TRUE(MakeConstant(image, 1600, 1200, 3, 1, 40));
    FillFrom(image, 800, -1, 220); // left half dark, right half light
    wnd.SetZoomContentFunc(HoldBuild);
    ASSERT_EQ(wnd.SetImage(image), 1);
    ASSERT_TRUE(PumpUntil([] { return g_inBuild.load(); }));
    // Painting must not wait for the cache thread, which holds the cache lock now.
    QImage shot = wnd.RenderClient();
    const QRect drawn = DrawnArea();
    EXPECT_EQ(wnd.GetLastDrawRect(), drawn);
    EXPECT_NEAR(wnd.GetLastSrcRect().width(), 1600 * wnd.GetPreviewScale(), 1.0) << "drawn from the preview";
    const auto halves = [&] {
        return tuple(qRed(shot.pixel(drawn.left() + 5, drawn.center().y())),
                     qRed(shot.pixel(drawn.right() - 5, drawn.center().y())));
    };
    EXPECT_EQ(halves(), tuple(40, 220));
    g_buildLatch.set();
    ASSERT_TRUE(WaitForCache());
    shot = wnd.RenderClient();
    EXPECT_EQ(wnd.GetLastSrcRect(), QRect(QPoint(0, 0), drawn.size())) << "drawn from the zoomed copy";
    EXPECT_EQ(halves(), tuple(40, 220));
    wnd.SetZoomContentFunc(nullptr);
}

TEST_F(Paint, ChequerShowsUnderTransparentPixelsOnly) {
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 100));
    ASSERT_TRUE(MakeConstant(mask, 200, 150, 1, 1, 0));
    for (int y = 0; y < 150; ++y)
        for (int x = 100; x < 200; ++x)
            SetValue(mask, x, y, 0, 255);
    ASSERT_EQ(wnd.SetImage(image, nullptr, nullptr, &mask), 1);
    // 8-pixel squares alternating light and lighter, anchored to the image.
    const QRgb white = qRgb(255, 255, 255), light = qRgb(0xCC, 0xCC, 0xCC);
    EXPECT_EQ(tuple(Shown(150, 70), Shown(0, 0), Shown(7, 7), Shown(8, 0), Shown(8, 8)),
              tuple(qRgb(100, 100, 100), white, white, light, white));
    wnd.SetTransBlockSize(0);
    EXPECT_EQ(wnd.GetTransBlockSize(), 1) << "at least 1";
    EXPECT_NE(Shown(0, 0), Shown(1, 0));
}

// A tool that paints a square and records whether the image lock was held meanwhile.
class SquareTool : public IImageWndTool {
public:
    SquareTool() { m_eventMask = EVENTMASK_PAINT; }
    void OnPaint(QPainter& painter, int, int) override {
        ++paints;
        lockFree = static_cast<TestWnd*>(m_imageWnd)->ImageLockFreeForOthers();
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
    EXPECT_EQ(tuple(tool.paints, tool.lockFree), tuple(1, false));
    EXPECT_EQ(tuple(Opaque(shot.pixel(25, 25)), Opaque(shot.pixel(40, 40))),
              tuple(qRgb(0, 255, 0), qRgb(30, 30, 30)));
    EXPECT_TRUE(wnd.ImageLockFreeForOthers()) << "released after painting";
    wnd.UnloadTool(&tool, 0);
}

TEST_F(Paint, CurveFollowsWhetherTheDataIsProcessedAndClippingMarksFollowTheBits) {
    std::vector<unsigned short> invert(65536), identity(65536);
    for (size_t i = 0; i < invert.size(); ++i) {
        invert[i] = static_cast<unsigned short>(65535 - i);
        identity[i] = static_cast<unsigned short>(i);
    }
    wnd.SetLinearImageParams(identity.data(), invert.data());
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 60));
    ASSERT_TRUE(MakeConstant(before, 200, 150, 3, 1, 10));
    ASSERT_EQ(wnd.SetImage(image), 1);
    EXPECT_EQ(Shown(5, 5), qRgb(195, 195, 195)) << "without a before-image: raw data, the source curve";
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    EXPECT_EQ(Shown(5, 5), qRgb(60, 60, 60)) << "with one the image is a result: the display curve";
    wnd.ShowBeforeImage(1);
    EXPECT_EQ(Shown(5, 5), qRgb(245, 245, 245)) << "the before view shows raw data";
    wnd.ShowBeforeImage(0);
    wnd.SetLinearImageParams(nullptr, nullptr);
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 0));
    FillFrom(image, 100, -1, 255);
    ASSERT_EQ(wnd.SetImage(image), 1);
    std::vector<tuple<QRgb, QRgb>> shown;
    for (unsigned bits : {0u, 3u, 2u}) {
        wnd.SetClippingWarning(bits);
        EXPECT_EQ(wnd.GetClippingWarning(), bits);
        shown.push_back(tuple(Shown(10, 10), Shown(150, 10)));
    }
    EXPECT_EQ(shown, (std::vector<tuple<QRgb, QRgb>>{{qRgb(0, 0, 0), qRgb(255, 255, 255)},
                                                     {qRgb(0, 0, 255), qRgb(255, 0, 0)},
                                                     {qRgb(0, 0, 0), qRgb(255, 0, 0)}}));
}

TEST_F(Paint, ColourTransformLightensLinearDataAndClears) {
    Show(200, 150);
    const QRgb plain = Shown(60, 40);
    EXPECT_EQ(plain, ImageRgb(image, 60, 40));
    wnd.SetColorProfile(&ImageProcess::ColorProfile::GetLinearWorkingProfile());
    ASSERT_TRUE(wnd.GetColorTransform() && wnd.GetSRGBTransform());
    const QRgb transformed = Shown(60, 40);
    EXPECT_TRUE(qRed(transformed) > qRed(plain) && qGreen(transformed) > qGreen(plain));
    wnd.SetColorProfile(nullptr);
    EXPECT_EQ(tuple(wnd.GetColorTransform(), wnd.GetSRGBTransform(), Shown(60, 40)),
              tuple(nullptr, nullptr, plain));
}

TEST_F(Paint, SixteenBitAndGreyImagesShowTheirHighBytes) {
    Show(200, 150, 4, 2);
    const QImage shot = wnd.RenderClient();
    const TPoint<int> d = wnd.GetDrawPos();
    for (const QPoint p : {QPoint(0, 0), QPoint(199, 149), QPoint(77, 33)}) {
        const QRgb c = shot.pixel(d.x + p.x(), d.y + p.y());
        EXPECT_NEAR(qRed(c), GetValue(image, p.x(), p.y(), 2) / 257.0, 1.0);
        EXPECT_NEAR(qBlue(c), GetValue(image, p.x(), p.y(), 0) / 257.0, 1.0);
    }
    Show(200, 150, 1, 1);
    EXPECT_EQ(Shown(120, 10), ImageRgb(image, 120, 10));
}

// --- colour sampling ------------------------------------------------------------------------

TEST_F(Paint, SamplesAreClampedToTheRadiusOfFiveAndTheDrawnAreaInRgbOrder) {
    EXPECT_EQ(Sample(200, 150, 0), -1) << "no image";
    ASSERT_TRUE(MakeNoise(image, 200, 150, 3, 1, 5));
    ASSERT_EQ(wnd.SetImage(image), 1);
    EXPECT_EQ(tuple(Sample(-1, 10, 2), Sample(10, 150, 2), Sample(199, 149, 0)), tuple(-1, -1, 1));
    COLORVALS value, raw;
    EXPECT_EQ(wnd.GetColor(value, raw, 3, 3, 1), 0);
    EXPECT_EQ(tuple(Sample(100, 70, 5), Sample(100, 70, -3), Sample(0, 0, 9), Sample(100, 70, 9)),
              tuple(121, 1, 36, 121))
        << "radius 9 acts as 5; clipped at the image's corner";
    EXPECT_EQ(Sample(100, 70, 1), 9);
    // The first sample is the top-left pixel of the square, R, G, B.
    EXPECT_EQ(tuple(raws[0].v[0], raws[0].v[1], raws[0].v[2], raws[8].v[0], values[8].v[2]),
              tuple(GetValue(image, 99, 69, 2), GetValue(image, 99, 69, 1), GetValue(image, 99, 69, 0),
                    GetValue(image, 101, 71, 2), GetValue(image, 101, 71, 0)));
    ASSERT_EQ(wnd.GetColor(value, raw, wnd.GetDrawPos().x + 100, wnd.GetDrawPos().y + 70, 0), 1);
    EXPECT_EQ(raw.v[1], GetValue(image, 100, 70, 1));
    ASSERT_TRUE(MakeConstant(mask, 200, 150, 1, 1, 255));
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 100; ++x)
            SetValue(mask, x, y, 0, 0);
    SetValue(mask, 98, 70, 0, 1); // nearly but not fully transparent: counted
    ASSERT_EQ(wnd.SetImage(image, nullptr, nullptr, &mask), 1);
    EXPECT_EQ(Sample(100, 70, 5), 6 * 11 + 1) << "transparent pixels are skipped";
}

TEST_F(Paint, SampleCurveAndSourceFollowUseCurveAndTheSrgbTransformOnlyTouchesValues) {
    std::vector<unsigned short> invert(65536), half(65536);
    for (size_t i = 0; i < invert.size(); ++i) {
        invert[i] = static_cast<unsigned short>(65535 - i);
        half[i] = static_cast<unsigned short>(i / 2);
    }
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 200));
    ASSERT_TRUE(MakeConstant(before, 200, 150, 3, 1, 40));
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    wnd.SetLinearImageParams(half.data(), invert.data());
    ASSERT_EQ(Sample(50, 50, 0, 0), 1);
    EXPECT_EQ(tuple(raws[0].v[0], values[0].v[0]), tuple(200, 100)) << "the display curve on the image";
    ASSERT_EQ(Sample(50, 50, 0, 1), 1);
    EXPECT_EQ(tuple(raws[0].v[0], values[0].v[0]), tuple(40, 215)) << "the source curve on the before-image";
    wnd.SetLinearImageParams(nullptr, nullptr);
    wnd.SetColorProfile(&ImageProcess::ColorProfile::GetLinearWorkingProfile());
    ASSERT_EQ(Sample(50, 50, 0, 0), 1);
    EXPECT_EQ(raws[0].v[0], 200);
    EXPECT_TRUE(values[0].v[0] > 200 && values[0].v[0] <= 255) << "linear data is lighter in sRGB";
    wnd.SetColorProfile(nullptr);
}

TEST_F(Paint, ZoomedOutSamplesTheZoomedCopyAtTheDrawnPoint) {
    ASSERT_TRUE(MakeConstant(image, 800, 600, 3, 1, 20));
    FillFrom(image, 400, 2, 230);
    ASSERT_EQ(wnd.SetImage(image), 1);
    ASSERT_TRUE(WaitForCache());
    const TSize<int> s = wnd.GetDrawSize();
    ASSERT_EQ(Sample(2, s.height / 2, 0), 1);
    EXPECT_EQ(raws[0].v[0], 20);
    ASSERT_EQ(Sample(s.width - 3, s.height / 2, 2), 25);
    EXPECT_EQ(raws[24].v[0], 230);
    EXPECT_EQ(Sample(s.width, 5, 0), -1) << "just right of the drawn area";
}

} // namespace
