// Guards against a sample product that loses the current photo on a bad file, overwrites the original
// without asking, saves something other than what the adjustment shows, bends tones the wrong way,
// or whose side panel does not drive the adjustment and the brush or lets the canvas overlap it.
#include "common/testing/TestImages.h"
#include "demo/CKelPhotoApp.h"
#include "demo/CKelPhotoMainWnd.h"
#include "demo/CPhotoAdjustment.h"
#include "demo/SamplePhoto.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ImageProcess.h"
#include "ui/CValueEditCtrl.h"
#include "ui/CtrlDefs.h"
#include "ui/tests/QtTestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <cmath>
#include <memory>

using namespace kelphoto;

TEST(PhotoAdjustment, CurveIsIdentityMonotonicAndBrightensByExposure) {
    const auto identity = CPhotoAdjustment::BuildCurve(ADJUSTMENT());
    for (int v : {0, 1, 257, 32768, 65534, 65535})
        EXPECT_NEAR(identity[v], v, 1) << v;
    for (const ADJUSTMENT a : {ADJUSTMENT{1.0, 0}, ADJUSTMENT{-2.0, 50}, ADJUSTMENT{0.5, -80}}) {
        const auto c = CPhotoAdjustment::BuildCurve(a);
        if (a.contrast >= 0) {
            EXPECT_EQ(c[0], 0); // less contrast lifts black towards grey; more keeps it
        }
        for (int i = 1; i < 65536; ++i)
            ASSERT_GE(c[i], c[i - 1]) << "not monotonic at " << i;
    }
    // +1 EV doubles linear light: mid-grey 0.2140 linear (0.5 encoded) becomes 0.428 linear.
    const auto plusOne = CPhotoAdjustment::BuildCurve({1.0, 0});
    EXPECT_NEAR(plusOne[32768] / 65535.0, 1.055 * std::pow(0.4280, 1 / 2.4) - 0.055, 0.002);
    // Contrast darkens the shadows and lightens the highlights.
    const auto contrast = CPhotoAdjustment::BuildCurve({0.0, 100});
    EXPECT_LT(contrast[16384], identity[16384]);
    EXPECT_GT(contrast[49152], identity[49152]);
}

TEST(PhotoAdjustment, ProcessesTheRectangleAtItsPlaceInTheSource) {
    // The window hands over a working rectangle and the whole source: the rectangle's pixels must
    // come from (x, y) of the source, and dst must keep its size.
    CImageDataInfo src;
    ASSERT_TRUE(kel_testing::MakeGradient(src, 200, 100, 3, 1));
    CImageDataInfo dst;
    ASSERT_TRUE(dst.Create(50, 20, 3, 1));
    CPhotoAdjustment identity;
    ASSERT_TRUE(identity.Process(dst, src, 120, 70));
    EXPECT_EQ(dst.width, 50);
    EXPECT_EQ(dst.height, 20);
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(kel_testing::GetValue(dst, 0, 0, c), kel_testing::GetValue(src, 120, 70, c));
        EXPECT_EQ(kel_testing::GetValue(dst, 49, 19, c), kel_testing::GetValue(src, 169, 89, c));
    }
    EXPECT_FALSE(identity.Process(dst, src, 160, 70)); // would reach past the source
    CImageDataInfo whole;
    ASSERT_TRUE(identity.Process(whole, src, 0, 0)); // an empty dst takes everything
    EXPECT_EQ(kel_testing::MaxDifference(whole, src), 0);
}

TEST(PhotoAdjustment, LocalMaskBrightensOnlyUnderTheMask) {
    CImageDataInfo src;
    ASSERT_TRUE(kel_testing::MakeConstant(src, 80, 40, 3, 1, 100));
    CSelectedRegion mask;
    ASSERT_TRUE(mask.Create(80, 40, 0));
    for (int y = 0; y < 40; ++y)
        for (int x = 40; x < 80; ++x)
            mask.Row(y)[x] = 0xFFFF; // the right half of the image
    CPhotoAdjustment adjustment;
    adjustment.SetLocalMask(&mask, nullptr, 1.0);
    CImageDataInfo dst;
    ASSERT_TRUE(dst.Create(40, 20, 3, 1));
    // dst covers columns 30..69 of the image: its columns from 10 on are masked.
    ASSERT_TRUE(adjustment.Process(dst, src, 30, 10));
    EXPECT_EQ(kel_testing::GetValue(dst, 5, 5, 1), 100u);
    EXPECT_GT(kel_testing::GetValue(dst, 15, 5, 1), 130u);
    EXPECT_EQ(kel_testing::GetValue(dst, 9, 5, 0), 100u);
    EXPECT_GT(kel_testing::GetValue(dst, 10, 5, 0), 130u);
    // Zoomed out, the view's own mask applies: without one nothing is brightened.
    CImageDataInfo zoomed;
    ASSERT_TRUE(zoomed.Create(40, 20, 3, 1));
    ASSERT_TRUE(adjustment.Process(zoomed, src, 30, 10, 0.5));
    EXPECT_EQ(kel_testing::GetValue(zoomed, 15, 5, 1), 100u);
}

TEST(SamplePhoto, HasSkyHillsAndRedEyes) {
    CImageDataInfo photo;
    ASSERT_TRUE(GenerateSamplePhoto(photo, 600, 400));
    const SAMPLE_LAYOUT layout;
    // Pixel of a scene coordinate (u scaled by the aspect as the generator does).
    auto at = [&](double u, double v, int c) {
        // The generator uses u = x / height * 1.5 * height / width, i.e. u = 1.5 x / width.
        const int x = static_cast<int>(u / 1.5 * photo.width);
        const int y = static_cast<int>(v * photo.height);
        return kel_testing::GetValue(photo, std::min(x, photo.width - 1), std::min(y, photo.height - 1), c);
    };
    EXPECT_GT(at(0.1, 0.05, 0), at(0.1, 0.05, 2));   // blue sky at the top (channel 0 is blue)
    EXPECT_GT(at(0.05, 0.95, 1), at(0.05, 0.95, 0)); // green grass at the bottom
    for (double ex : {layout.leftEyeX, layout.rightEyeX}) {
        const uint32_t r = at(ex, layout.eyeY, 2), g = at(ex, layout.eyeY, 1);
        EXPECT_GT(r, 150u);
        EXPECT_LT(g, 80u) << "the eyes are red";
    }
}

class MainWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        wnd = std::make_unique<CKelPhotoMainWnd>(app);
        ASSERT_EQ(wnd->Create(nullptr, QRect(0, 0, 640, 480), 0, 0), 1);
        ASSERT_TRUE(kel_testing::MakeGradient(image, 320, 200, 3, 1));
        photo = dir.filePath("photo.png");
        ImageFile::SAVEFILE_OPTIONS o;
        o.format = ImageFile::CONTAINER_FORMAT_PNG;
        ASSERT_EQ(ImageFile::SaveFile(image, ImageFile::FILEMETADATA(), o, photo.toStdString()), 0);
    }
    CKelPhotoApp app;
    QTemporaryDir dir;
    std::unique_ptr<CKelPhotoMainWnd> wnd;
    CImageDataInfo image;
    QString photo;
};

TEST_F(MainWindowTest, BadFilesLeaveTheCurrentPhoto) {
    ASSERT_EQ(wnd->OpenFile(photo, false), 1);
    EXPECT_TRUE(wnd->Canvas().HasImage());
    QFile bad(dir.filePath("bad.jpg"));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("\xFF\xD8\xFF\xE0 not really a jpeg");
    bad.close();
    QString error;
    EXPECT_EQ(wnd->OpenFile(bad.fileName(), false, &error), 0);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(wnd->CurrentPath(), photo);
    EXPECT_TRUE(wnd->Canvas().HasImage());
    EXPECT_EQ(wnd->OpenFile(dir.filePath("missing.png"), false), 0);
    EXPECT_EQ(wnd->OpenFile(dir.path(), false), 0); // a folder
    EXPECT_EQ(wnd->CurrentPath(), photo);
}

TEST_F(MainWindowTest, SaveWritesTheAdjustedPhotoAndNeverTheOriginalWithoutAsking) {
    ASSERT_EQ(wnd->OpenFile(photo, false), 1);
    const QByteArray original = [&] {
        QFile f(photo);
        EXPECT_TRUE(f.open(QIODevice::ReadOnly));
        return f.readAll();
    }();
    wnd->ApplyAdjustment({1.0, 0});
    QString error;
    EXPECT_EQ(wnd->SaveTo(photo, false, &error), 0);
    QFile same(photo);
    ASSERT_TRUE(same.open(QIODevice::ReadOnly));
    EXPECT_EQ(same.readAll(), original);

    const QString out = dir.filePath("photo_edited.png");
    ASSERT_EQ(wnd->SaveTo(out, false, &error), 1) << error.toStdString();
    ImageFile::FILEINFO info;
    CImageDataInfo saved;
    ASSERT_EQ(ImageFile::LoadFile(info, saved, out.toStdString()), 0);
    CImageDataInfo expected;
    ASSERT_TRUE(wnd->Adjustment().Process(expected, image, 0, 0));
    EXPECT_EQ(kel_testing::MaxDifference(saved, expected), 0);
    EXPECT_GT(kel_testing::MeanValue(saved, 1), kel_testing::MeanValue(image, 1) + 20);

    // An unwritable target fails and leaves nothing behind.
    EXPECT_EQ(wnd->SaveTo(dir.filePath("no/such/dir/x.jpg"), false, &error), 0);
    EXPECT_FALSE(error.isEmpty());
}

TEST_F(MainWindowTest, BrushStrokeBrightensThePhotoUnderItOnly) {
    ASSERT_EQ(wnd->OpenFile(photo, false), 1);
    wnd->show();
    KELCTRL::CImageWnd& canvas = wnd->Canvas();
    canvas.SetZoom(KELCTRL::ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    wnd->SetBrushMode(true, false);
    ASSERT_TRUE(wnd->IsBrushMode());
    ASSERT_EQ(wnd->Brush().WaitMasksBuilt(5000), 1);
    // A horizontal stroke across the middle of the photo, with real mouse events.
    TPoint<double> a, b;
    canvas.PointImage2Wnd(60, 100, a);
    canvas.PointImage2Wnd(260, 100, b);
    kel_qt_test::Mouse m(canvas);
    m.Press(QPoint(int(a.x), int(a.y)));
    for (int i = 1; i <= 10; ++i)
        m.Move(QPoint(int(a.x + (b.x - a.x) * i / 10), int(a.y)));
    m.Release(QPoint(int(b.x), int(b.y)));
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd->Brush().IsPainted() != 0; }));
    // The shown photo is brighter on the stroke and unchanged far from it.
    const CImageDataInfo* shown = canvas.GetImage();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] {
        return kel_testing::GetValue(*shown, 160, 100, 1) > kel_testing::GetValue(image, 160, 100, 1) + 20;
    }));
    EXPECT_EQ(kel_testing::GetValue(*shown, 160, 10, 1), kel_testing::GetValue(image, 160, 10, 1));
    // E erases the mask again under a second stroke.
    wnd->OnCommand(CMD_ERASE);
    EXPECT_EQ(wnd->Brush().GetBrush().mode, KELCTRL::IMGWND_TOOL::CBrush::MODE_ERASE);
    wnd->SetBrushMode(false, false);
    EXPECT_FALSE(wnd->IsBrushMode());
}

TEST_F(MainWindowTest, TheAdjustPanelDrivesThePhotoAndF6GivesItsRoomToTheCanvas) {
    ASSERT_EQ(wnd->OpenFile(photo, false), 1);
    wnd->show();
    CAdjustPanel& panel = wnd->AdjustPanel();
    const QRect docked = wnd->Canvas().geometry();
    const QRect side = wnd->GetPanel(KELCTRL::DOCK_RIGHT)->geometry();
    EXPECT_FALSE(docked.intersects(side)) << "the canvas lies under the docked panel";
    EXPECT_EQ(docked.right() + 1, side.left());

    // Typing a value in the exposure edit adjusts the photo; the slider follows.
    KELCTRL::CValueEditCtrl* edit = panel.ExposureEdit().GetEditCtrl();
    ASSERT_NE(edit, nullptr);
    edit->setText(QStringLiteral("-1.5"));
    EXPECT_DOUBLE_EQ(wnd->Adjustment().Get().exposure, -1.5);
    EXPECT_EQ(panel.ExposureSlider().GetValue(), -150);
    edit->setText(QStringLiteral("1.2.3")); // not a number: nothing changes
    EXPECT_DOUBLE_EQ(wnd->Adjustment().Get().exposure, -1.5);

    // A double click on the contrast slider after a wheel step restores its default.
    kel_qt_test::Mouse m(panel.ContrastSlider());
    const QPoint thumb = panel.ContrastSlider().GetThumbRect().center();
    m.Wheel(thumb, 120);
    EXPECT_EQ(wnd->Adjustment().Get().contrast, 5);
    m.Press(thumb);
    m.Release(thumb);
    m.Press(thumb, Qt::LeftButton, {}, true);
    m.QtDoubleClick(thumb);
    m.Release(thumb);
    EXPECT_EQ(wnd->Adjustment().Get().contrast, 0);

    // Reset returns every value; the brush box switches the brush mode and follows it.
    panel.SendMessage(KELCTRL::WM_COMMAND, KELCTRL::MakeCommandWParam(KELCTRL::CSubPanel::IDC_RESET, 0), 0);
    EXPECT_TRUE(wnd->Adjustment().Get().IsIdentity());
    EXPECT_EQ(panel.ExposureEdit().GetValue(), 0);
    panel.SendMessage(KELCTRL::WM_COMMAND, KELCTRL::MakeCommandWParam(CAdjustPanel::IDC_BRUSH, 0), 0);
    EXPECT_EQ(wnd->IsBrushMode(), panel.BrushBox().GetCheck() != 0);
    wnd->OnCommand(CMD_BRUSH);
    EXPECT_EQ(panel.BrushBox().GetCheck() != 0, wnd->IsBrushMode());

    // F6 hides the side panel and the canvas takes its room; a click on the bar docks it again, and
    // the window lays out on the bar's notice.
    wnd->OnCommand(CMD_TOGGLE_PANELS);
    EXPECT_GT(wnd->Canvas().width(), docked.width());
    kel_qt_test::Mouse bar(*wnd->GetBar(KELCTRL::DOCK_RIGHT));
    bar.Press(QPoint(4, 4));
    bar.Release(QPoint(4, 4));
    EXPECT_EQ(wnd->Canvas().geometry(), docked);
}

TEST(KelPhotoOptions, ScreenshotDelayAndFile) {
    const auto o =
        CKelPhotoApp::ParseOptions({"--screenshot", "/tmp/s.png", "--delay", "250", "/p/a.jpg", "b.jpg"});
    EXPECT_EQ(o.screenshotPath, "/tmp/s.png");
    EXPECT_EQ(o.screenshotDelayMs, 250);
    EXPECT_EQ(o.openPath, "/p/a.jpg");
    EXPECT_EQ(CKelPhotoApp::ParseOptions({"--delay", "-5"}).screenshotDelayMs, 0);
    EXPECT_TRUE(CKelPhotoApp::ParseOptions({"--screenshot"}).screenshotPath.isEmpty());
}
