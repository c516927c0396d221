// Guards the preview: a wrong size or scale, a preview that is not reduced by area averaging, a
// before-image preview that skips the source curve, and processing of the preview off the UI thread.
#include "PipelineTestSupport.h"

#include "imageprocess/ImageProcess.h"

using namespace kel_pipeline_test;
using kel_testing::GetValue;
using kel_testing::MakeConstant;
using kel_testing::MakeGradient;
using kel_testing::SamePixels;

namespace {

class Preview : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        Fake().Reset();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
    }
    CImageDataInfo image, before, mask;
    ProcessingParent parent;
    TestWnd wnd;
};

TEST_F(Preview, OnePixelImageHasScaleOne) {
    ASSERT_TRUE(MakeConstant(image, 1, 1, 3, 1, 40));
    ASSERT_EQ(wnd.SetImage(image), 1);
    EXPECT_DOUBLE_EQ(wnd.GetPreviewScale(), 1.0);
    EXPECT_TRUE(SamePixels(wnd.Preview(), image));
}

TEST_F(Preview, LongerSideIsHalvedAndCappedAt512) {
    ASSERT_TRUE(MakeGradient(image, 300, 200, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    EXPECT_DOUBLE_EQ(wnd.GetPreviewScale(), 0.5);
    EXPECT_EQ(wnd.Preview().Size(), TSize<int>(150, 100));

    // The window may be building its zoomed copy from an image on show: each size gets its own.
    CImageDataInfo tall, tiny;
    ASSERT_TRUE(MakeGradient(tall, 2000, 3000, 1, 2));
    ASSERT_EQ(wnd.SetImage(tall), 1);
    EXPECT_DOUBLE_EQ(wnd.GetPreviewScale(), 512.0 / 3000.0);
    EXPECT_EQ(wnd.Preview().Size(), TSize<int>(341, 512));
    EXPECT_EQ(wnd.Preview().depth, 2);
    // Area averaging keeps the mean.
    EXPECT_NEAR(kel_testing::MeanValue(wnd.Preview(), 0), kel_testing::MeanValue(tall, 0), 65535 * 0.002);

    ASSERT_TRUE(MakeGradient(tiny, 2, 1, 4, 1));
    ASSERT_EQ(wnd.SetImage(tiny), 1);
    EXPECT_DOUBLE_EQ(wnd.GetPreviewScale(), 0.5);
    EXPECT_EQ(wnd.Preview().Size(), TSize<int>(1, 1)) << "each side at least 1";
}

TEST_F(Preview, BeforeImagePreviewGoesThroughTheSourceCurve) {
    std::vector<unsigned short> curve(65536);
    for (size_t i = 0; i < curve.size(); ++i)
        curve[i] = static_cast<unsigned short>(65535 - i);
    wnd.SetLinearImageParams(nullptr, curve.data());
    ASSERT_TRUE(MakeGradient(before, 400, 300, 3, 1));
    ASSERT_TRUE(MakeConstant(image, 400, 300, 3, 1, 0));
    ASSERT_TRUE(MakeConstant(mask, 400, 300, 1, 1, 128));
    ASSERT_EQ(wnd.SetImage(image, &before, nullptr, &mask), 1);
    ASSERT_EQ(wnd.PreviewBefore().Size(), TSize<int>(200, 150));
    ASSERT_EQ(wnd.Preview().Size(), TSize<int>(200, 150));
    for (int x : {0, 77, 199})
        EXPECT_EQ(GetValue(wnd.Preview(), x, 40, 2), 255u - GetValue(wnd.PreviewBefore(), x, 40, 2));
    EXPECT_EQ(wnd.PreviewMask().Size(), TSize<int>(200, 150));
    EXPECT_EQ(GetValue(wnd.PreviewMask(), 50, 50, 0), 128u);
}

TEST_F(Preview, ProcessPreviewRunsTheFunctionOnThisThread) {
    ASSERT_TRUE(MakeGradient(before, 400, 300, 3, 1));
    ASSERT_TRUE(MakeGradient(image, 400, 300, 3, 1));
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    wnd.ProcessPreview();
    EXPECT_EQ(Fake().calls.load(), 0) << "no function, no preview processing";
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessPreview();
    ASSERT_EQ(Fake().calls.load(), 1);
    const ProcessCall call = Fake().Log()[0];
    EXPECT_EQ(call.thread, std::this_thread::get_id());
    EXPECT_EQ(call.dst, &wnd.Preview());
    EXPECT_EQ(call.src, &wnd.PreviewBefore());
    EXPECT_EQ(call.fullSource, nullptr);
    EXPECT_DOUBLE_EQ(call.zoom, 0.5);
    EXPECT_EQ(wnd.IsProcessingPreview(), 0);
    CImageDataInfo expected;
    Inverted(wnd.PreviewBefore(), expected);
    EXPECT_TRUE(SamePixels(wnd.Preview(), expected));
    // Twice gives the same result: each run starts again from the before-image.
    wnd.ProcessPreview();
    EXPECT_TRUE(SamePixels(wnd.Preview(), expected));
}

TEST_F(Preview, WithoutBeforeImageThereIsNothingToProcess) {
    ASSERT_TRUE(MakeGradient(image, 400, 300, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessPreview();
    EXPECT_EQ(Fake().calls.load(), 0);
    EXPECT_FALSE(wnd.PreviewBefore().IsValid());
    wnd.Clear(0);
    EXPECT_FALSE(wnd.Preview().IsValid());
    EXPECT_DOUBLE_EQ(wnd.GetPreviewScale(), 1.0);
}

} // namespace
