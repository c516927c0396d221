// Guards colour sampling: points outside the drawn area accepted, the radius not clamped, transparent
// pixels counted, samples read at the wrong image point or channel order, the wrong curve or source,
// and the sRGB transform applied to raw values or not at all.
#include "PaintTestSupport.h"

using namespace kel_paint_test;
using kel_testing::GetValue;
using kel_testing::MakeConstant;
using kel_testing::MakeNoise;
using kel_testing::SetValue;

namespace {

class GetColors : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
    }
    int Sample(int x, int y, int radius, int useCurve = 0) {
        int count = -1;
        const int ok = wnd.GetColors(values, raws, count, x, y, radius, useCurve);
        return ok ? count : -1;
    }

    COLORVALS values[CImageWnd::MAX_GETCOLOR_SAMPLES];
    COLORVALS raws[CImageWnd::MAX_GETCOLOR_SAMPLES];
    CImageDataInfo image, mask;
    kel_canvas_test::EventLog log;
    kel_canvas_test::RecordingParent parent{log};
    PaintWnd wnd;
};

TEST_F(GetColors, FailsWithoutImageAndOutsideTheDrawnArea) {
    EXPECT_EQ(Sample(200, 150, 0), -1) << "no image";
    ASSERT_TRUE(MakeNoise(image, 200, 150, 3, 1, 5));
    ASSERT_EQ(wnd.SetImage(image), 1);
    const TPoint<int> d = wnd.GetDrawPos();
    EXPECT_EQ(Sample(d.x - 1, d.y + 10, 2), -1);
    EXPECT_EQ(Sample(d.x + 10, d.y + 150, 2), -1);
    EXPECT_EQ(Sample(d.x + 199, d.y + 149, 0), 1);
    COLORVALS value, raw;
    EXPECT_EQ(wnd.GetColor(value, raw, 3, 3, 1), 0);
}

TEST_F(GetColors, RadiusIsClampedToFiveAndSamplesAreInRgbOrder) {
    ASSERT_TRUE(MakeNoise(image, 200, 150, 3, 1, 5));
    ASSERT_EQ(wnd.SetImage(image), 1);
    const TPoint<int> d = wnd.GetDrawPos();
    EXPECT_EQ(Sample(d.x + 100, d.y + 70, 9), 121) << "radius 9 acts as 5";
    EXPECT_EQ(Sample(d.x + 100, d.y + 70, 5), 121);
    EXPECT_EQ(Sample(d.x + 100, d.y + 70, -3), 1);
    EXPECT_EQ(Sample(d.x + 100, d.y + 70, 1), 9);
    // The first sample is the top-left pixel of the square, R, G, B.
    EXPECT_EQ(raws[0].v[0], GetValue(image, 99, 69, 2));
    EXPECT_EQ(raws[0].v[1], GetValue(image, 99, 69, 1));
    EXPECT_EQ(raws[0].v[2], GetValue(image, 99, 69, 0));
    EXPECT_EQ(raws[8].v[0], GetValue(image, 101, 71, 2));
    EXPECT_EQ(values[8].v[2], GetValue(image, 101, 71, 0)) << "no curve, no transform";
    // Clipped at the image's corner.
    EXPECT_EQ(Sample(d.x, d.y, 9), 36);
    COLORVALS value, raw;
    ASSERT_EQ(wnd.GetColor(value, raw, d.x + 100, d.y + 70, 0), 1);
    EXPECT_EQ(raw.v[1], GetValue(image, 100, 70, 1));
}

TEST_F(GetColors, TransparentPixelsAreSkipped) {
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 50));
    ASSERT_TRUE(MakeConstant(mask, 200, 150, 1, 1, 255));
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 100; ++x)
            SetValue(mask, x, y, 0, 0);
    SetValue(mask, 98, 70, 0, 1); // nearly but not fully transparent: counted
    ASSERT_EQ(wnd.SetImage(image, nullptr, nullptr, &mask), 1);
    const TPoint<int> d = wnd.GetDrawPos();
    // Columns 95..105 around x = 100: 95..99 transparent except one pixel.
    EXPECT_EQ(Sample(d.x + 100, d.y + 70, 5), 6 * 11 + 1);
}

TEST_F(GetColors, CurveAndSourceFollowUseCurveAndTheSrgbTransformOnlyTouchesValues) {
    std::vector<unsigned short> invert(65536), half(65536);
    for (size_t i = 0; i < invert.size(); ++i) {
        invert[i] = static_cast<unsigned short>(65535 - i);
        half[i] = static_cast<unsigned short>(i / 2);
    }
    CImageDataInfo before;
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 200));
    ASSERT_TRUE(MakeConstant(before, 200, 150, 3, 1, 40));
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    wnd.SetLinearImageParams(half.data(), invert.data());
    const TPoint<int> p(wnd.GetDrawPos().x + 50, wnd.GetDrawPos().y + 50);
    ASSERT_EQ(Sample(p.x, p.y, 0, 0), 1);
    EXPECT_EQ(raws[0].v[0], 200);
    EXPECT_EQ(values[0].v[0], 100) << "display curve on the image";
    ASSERT_EQ(Sample(p.x, p.y, 0, 1), 1);
    EXPECT_EQ(raws[0].v[0], 40) << "the before-image";
    EXPECT_EQ(values[0].v[0], 215) << "source curve on it";

    wnd.SetLinearImageParams(nullptr, nullptr);
    wnd.SetColorProfile(&ImageProcess::ColorProfile::GetLinearWorkingProfile());
    ASSERT_EQ(Sample(p.x, p.y, 0, 0), 1);
    EXPECT_EQ(raws[0].v[0], 200);
    EXPECT_GT(values[0].v[0], 200) << "linear data is lighter in sRGB";
    EXPECT_LE(values[0].v[0], 255);
    wnd.SetColorProfile(nullptr);
}

TEST_F(GetColors, ZoomedOutSamplesTheZoomedCopyAtTheDrawnPoint) {
    ASSERT_TRUE(MakeConstant(image, 800, 600, 3, 1, 20));
    for (int y = 0; y < 600; ++y)
        for (int x = 400; x < 800; ++x)
            SetValue(image, x, y, 2, 230);
    ASSERT_EQ(wnd.SetImage(image), 1);
    ASSERT_TRUE(WaitForCache(wnd));
    const TPoint<int> d = wnd.GetDrawPos();
    const TSize<int> s = wnd.GetDrawSize();
    ASSERT_EQ(Sample(d.x + 2, d.y + s.height / 2, 0), 1);
    EXPECT_EQ(raws[0].v[0], 20);
    ASSERT_EQ(Sample(d.x + s.width - 3, d.y + s.height / 2, 2), 25);
    EXPECT_EQ(raws[24].v[0], 230);
    EXPECT_EQ(Sample(d.x + s.width, d.y + 5, 0), -1) << "just right of the drawn area";
}

} // namespace
