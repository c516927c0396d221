// Guards the camera raw path: colours landing in the wrong channel, white balance not applied or
// applied twice, a raw record left empty, previews not found, and damaged or oversized raw files
// crashing or allocating instead of failing with a code.
#include "DngWriter.h"
#include "FileTestUtil.h"

#include "common/testing/TestImages.h"
#include "imageprocess/RawConvert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace ImageFile;
using namespace iftest;

namespace {

// R, G, B of a 16-bit pixel in the library's B, G, R layout.
std::array<double, 3> Rgb16(const CImageDataInfo& img, int x, int y) {
    const auto* p = reinterpret_cast<const uint16_t*>(img.PixelPtr(x, y));
    return {static_cast<double>(p[2]), static_cast<double>(p[1]), static_cast<double>(p[0])};
}

// Centre of band b.
int BandCentre(const DngScene& s, int b) {
    return (2 * b + 1) * s.width / (2 * static_cast<int>(s.bands.size()));
}

// The index order of a colour's channels, strongest first.
std::array<int, 3> Ranking(const std::array<double, 3>& v) {
    std::array<int, 3> idx{0, 1, 2};
    std::sort(idx.begin(), idx.end(), [&](int a, int b) { return v[a] > v[b]; });
    return idx;
}

std::array<double, 3> ToDouble(const std::array<float, 3>& v) {
    return {v[0], v[1], v[2]};
}

fs::path WriteScene(const TempDir& dir, const DngScene& s, const char* name = "shot.dng") {
    const fs::path p = dir / name;
    EXPECT_TRUE(WriteDng(p, s));
    return p;
}

// Position of the first IFD entry with `tag` in a little-endian TIFF, 0 when absent.
size_t FindIfd0Entry(const std::vector<unsigned char>& f, uint16_t tag) {
    uint32_t ifd = 0;
    std::memcpy(&ifd, &f[4], 4);
    uint16_t count = 0;
    std::memcpy(&count, &f[ifd], 2);
    for (uint32_t i = 0; i < count; ++i) {
        const size_t e = ifd + 2 + 12 * i;
        uint16_t t = 0;
        std::memcpy(&t, &f[e], 2);
        if (t == tag)
            return e;
    }
    return 0;
}

} // namespace

TEST(CameraRaw, DevelopedImageKeepsEachBandInItsChannelAndIsWhiteBalanced) {
    TempDir dir;
    const DngScene s;
    const fs::path path = WriteScene(dir, s);
    FILEINFO info;
    CImageDataInfo image;
    ASSERT_EQ(LoadFile(info, image, path), ERR_OK);
    EXPECT_EQ(info.isCameraRaw, 1);
    EXPECT_EQ(info.format, IMAGE_FORMAT_CAMERA_RAW);
    EXPECT_EQ(info.rawConversion.valid, 0); // the side data is LoadFileX's
    ASSERT_EQ(image.width, s.width);
    ASSERT_EQ(image.height, s.height);
    EXPECT_EQ(image.channels, 3);
    EXPECT_EQ(image.depth, 2);
    EXPECT_EQ(info.width, s.width);
    EXPECT_EQ(info.height, s.height);
    for (int b = 0; b < 3; ++b) {
        const auto px = Rgb16(image, BandCentre(s, b), s.height / 2);
        EXPECT_EQ(Ranking(px), Ranking(ToDouble(s.bands[b]))) << "band " << b;
    }
    // The grey band was recorded tinted (neutral 0.5, 1, 0.8); the camera balance makes it grey again.
    const auto grey = Rgb16(image, BandCentre(s, 3), s.height / 2);
    EXPECT_GT(grey[1], 20000.0);
    EXPECT_NEAR(grey[0] / grey[1], 1.0, 0.03);
    EXPECT_NEAR(grey[2] / grey[1], 1.0, 0.03);

    CImageDataInfo rgb;
    ASSERT_EQ(LoadFile(info, rgb, path, RGB_ORDER_RGB), ERR_OK);
    const auto* p = reinterpret_cast<const uint16_t*>(rgb.PixelPtr(BandCentre(s, 0), s.height / 2));
    const auto* q = reinterpret_cast<const uint16_t*>(image.PixelPtr(BandCentre(s, 0), s.height / 2));
    EXPECT_EQ(p[0], q[2]);
    EXPECT_EQ(p[2], q[0]);
}

TEST(CameraRaw, LoadFileXGivesLinearCameraDataAndTheRecordToDevelopIt) {
    TempDir dir;
    const DngScene s;
    const fs::path path = WriteScene(dir, s);
    FILEINFO info;
    CImageDataInfo image;
    ASSERT_EQ(LoadFileX(info, image, path), ERR_OK);
    ASSERT_EQ(image.width, s.width);
    ASSERT_EQ(image.height, s.height);
    ASSERT_EQ(image.channels, 3);
    ASSERT_EQ(image.depth, 2);
    const ImageProcess::RAW_CONVERSION& raw = info.rawConversion;
    ASSERT_EQ(raw.valid, 1);
    EXPECT_EQ(raw.redFirst, 0);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(raw.cameraMultipliers[c], s.asShotNeutral[1] / s.asShotNeutral[c], 0.01) << c;
    EXPECT_EQ(raw.blackLevel, static_cast<int>(s.black));
    EXPECT_EQ(raw.whiteLevel, static_cast<int>(s.white));
    EXPECT_NEAR(raw.baselineExposure, s.baselineExposure, 1e-3);
    // A camera that sees as sRGB: its matrix is close to the identity.
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(raw.cameraToSRGB[i][j], i == j ? 1.0 : 0.0, 0.02) << i << "," << j;

    // Undeveloped: the grey band is still tinted as the sensor recorded it, linear in the scene.
    const auto grey = Rgb16(image, BandCentre(s, 3), s.height / 2);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(grey[c] / 65535.0, s.bands[3][c] * s.asShotNeutral[c], 0.01) << c;

    double exposure = -1;
    ASSERT_TRUE(ImageProcess::ConvertCameraRawToWorkingProfile16Bit(
        image, raw, ImageProcess::RAW_CLIP_HIGHLIGHTS, exposure));
    EXPECT_NEAR(exposure, s.baselineExposure, 1e-3);
    // Developed into the (sRGB-primaried, linear) working space: every band shows its scene colour.
    for (int b = 0; b < 4; ++b) {
        const auto px = Rgb16(image, BandCentre(s, b), s.height / 2);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(px[c] / 65535.0, s.bands[b][c], 0.03) << "band " << b << " channel " << c;
    }
}

TEST(CameraRaw, LoadFileXHonoursChannelOrderAndOrientation) {
    TempDir dir;
    DngScene s;
    s.orientation = 6; // shown turned 90 degrees clockwise
    const fs::path path = WriteScene(dir, s);
    FILEINFO info;
    CImageDataInfo image;
    ASSERT_EQ(LoadFileX(info, image, path, RGB_ORDER_RGB), ERR_OK);
    EXPECT_EQ(info.orientation, 6);
    ASSERT_EQ(image.width, s.height);
    ASSERT_EQ(image.height, s.width);
    EXPECT_EQ(info.width, s.height);
    EXPECT_EQ(info.height, s.width);
    EXPECT_EQ(info.rawConversion.redFirst, 1);
    double exposure = 0;
    ASSERT_TRUE(ImageProcess::ConvertCameraRawToWorkingProfile16Bit(
        image, info.rawConversion, ImageProcess::RAW_CLIP_HIGHLIGHTS, exposure));
    // The stored left column is now the top row; memory is R, G, B.
    for (int b = 0; b < 3; ++b) {
        const auto* p = reinterpret_cast<const uint16_t*>(image.PixelPtr(s.height / 2, BandCentre(s, b)));
        const std::array<double, 3> px{double(p[0]), double(p[1]), double(p[2])};
        EXPECT_EQ(Ranking(px), Ranking(ToDouble(s.bands[b]))) << "band " << b;
    }
}

TEST(CameraRaw, ThumbnailIsTheEmbeddedPreview) {
    TempDir dir;
    const DngScene s;
    const fs::path path = WriteScene(dir, s);
    FILEINFO info;
    CImageDataInfo thumb;
    ASSERT_EQ(LoadFileThumbnail(info, thumb, path, RGB_ORDER_BGR, 256), ERR_OK);
    EXPECT_EQ(info.isCameraRaw, 1);
    ASSERT_EQ(thumb.width, s.previewWidth);
    ASSERT_EQ(thumb.height, s.previewHeight);
    ASSERT_EQ(thumb.channels, 3);
    ASSERT_EQ(thumb.depth, 1);
    const unsigned char* l = thumb.PixelPtr(4, s.previewHeight / 2);
    const unsigned char* r = thumb.PixelPtr(s.previewWidth - 4, s.previewHeight / 2);
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(l[c], s.previewLeft[2 - c]) << c;
        EXPECT_EQ(r[c], s.previewRight[2 - c]) << c;
    }
    CImageDataInfo small;
    ASSERT_EQ(LoadFileThumbnail(info, small, path, RGB_ORDER_BGR, 32), ERR_OK);
    EXPECT_EQ(small.width, 32);
    EXPECT_EQ(small.height, 16);
}

TEST(CameraRaw, WithoutPreviewTheThumbnailIsDevelopedFromTheSensorData) {
    TempDir dir;
    DngScene s;
    s.previewWidth = 0;
    const fs::path path = WriteScene(dir, s);
    FILEINFO info;
    CImageDataInfo thumb;
    ASSERT_EQ(LoadFileThumbnail(info, thumb, path, RGB_ORDER_BGR, 32), ERR_OK);
    ASSERT_EQ(thumb.width, 32);
    ASSERT_EQ(thumb.height, 16);
    ASSERT_EQ(thumb.depth, 1);
    // The red band's pixels keep red strongest (B, G, R in memory).
    const unsigned char* p = thumb.PixelPtr(32 / 8, 8);
    EXPECT_GT(p[2], p[1]);
    EXPECT_GT(p[1], p[0]);
}

TEST(CameraRaw, TruncatedFileFailsWithACode) {
    TempDir dir;
    const DngScene s;
    const std::vector<unsigned char> whole = ReadAll(WriteScene(dir, s));
    for (size_t keep : {whole.size() / 2, whole.size() / 8, size_t{64}}) {
        const std::vector<unsigned char> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(keep));
        WriteAll(dir / "cut.dng", cut);
        FILEINFO info;
        CImageDataInfo image;
        const int rc = LoadFile(info, image, dir / "cut.dng");
        // Cut inside the sensor data: damaged; cut before it: not a raw file LibRaw can open.
        EXPECT_TRUE(rc == ERR_CORRUPT_DATA || rc == ERR_CAMERA_RAW) << keep << " gave " << rc;
        EXPECT_NE(LoadFileX(info, image, dir / "cut.dng"), ERR_OK) << keep;
        EXPECT_EQ(info.rawConversion.valid, 0) << keep;
        CImageDataInfo thumb;
        LoadFileThumbnail(info, thumb, dir / "cut.dng", RGB_ORDER_BGR, 64); // a preview may survive
    }
}

TEST(CameraRaw, HugeSizeInTheHeaderIsRefusedBeforeDecoding) {
    TempDir dir;
    DngScene s;
    s.previewWidth = 0;
    std::vector<unsigned char> f = ReadAll(WriteScene(dir, s));
    ASSERT_EQ(f[0], 'I');
    const size_t widthEntry = FindIfd0Entry(f, 256);
    ASSERT_NE(widthEntry, 0u);
    uint16_t type = 0;
    std::memcpy(&type, &f[widthEntry + 2], 2);
    const uint32_t huge = 40000;
    if (type == 3) {
        const uint16_t v = static_cast<uint16_t>(huge);
        std::memcpy(&f[widthEntry + 8], &v, 2);
    } else {
        std::memcpy(&f[widthEntry + 8], &huge, 4);
    }
    WriteAll(dir / "huge.dng", f);
    FILEINFO info;
    CImageDataInfo image;
    EXPECT_EQ(LoadFile(info, image, dir / "huge.dng"), ERR_TOO_LARGE);
    EXPECT_EQ(LoadFileX(info, image, dir / "huge.dng"), ERR_TOO_LARGE);
    EXPECT_EQ(GetImageFileInfo(info, dir / "huge.dng"), ERR_TOO_LARGE);
    EXPECT_EQ(image.data.data(), nullptr);
}

TEST(CameraRaw, DngIsKnownByContentWhateverItsName) {
    TempDir dir;
    const DngScene s;
    const std::vector<unsigned char> dng = ReadAll(WriteScene(dir, s));
    WriteAll(dir / "renamed.tif", dng);
    FILEINFO info;
    CImageDataInfo byName, fromMemory;
    ASSERT_EQ(LoadFile(info, byName, dir / "renamed.tif"), ERR_OK);
    EXPECT_EQ(info.isCameraRaw, 1);
    FILEINFO memInfo;
    ASSERT_EQ(LoadFromMemory(memInfo, fromMemory, dng.data(), dng.size()), ERR_OK);
    EXPECT_EQ(memInfo.isCameraRaw, 1);
    ASSERT_EQ(fromMemory.width, s.width);
    EXPECT_TRUE(kel_testing::SamePixels(byName, fromMemory));
}

TEST(CameraRaw, ExtensionsCoverTheCommonRawFormats) {
    for (const char* ext :
         {"dng", "CR2", ".cr3", "crw", "nef", "nrw", "arw", "srf", "sr2", "orf", "rw2", "raf",
          "pef", "srw", "x3f",  "3fr", "erf", "kdc", "dcr", "mrw", "mos", "raw", "rwl", "iiq"})
        EXPECT_TRUE(IsCameraRawExtension(ext)) << ext;
    for (const char* ext : {"tif", "jpg", "png", "", "."})
        EXPECT_FALSE(IsCameraRawExtension(ext)) << ext;
}
