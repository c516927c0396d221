// Guards against images that load turned or mirrored for any EXIF orientation, and against lossless
// transforms that lose DCT data, forget the orientation, or turn the wrong way.
#include "FileTestUtil.h"

#include "common/testing/TestImages.h"
#include "imagefile/Codecs.h"
#include "imagefile/PixelConvert.h"

#include <exiv2/exiv2.hpp>

#include <cstring>
#include <utility>

using namespace ImageFile;
using namespace kel_testing;
using iftest::Options;
using iftest::TempDir;

namespace {

void SetExifOrientation(const std::filesystem::path& path, int orientation) {
    auto image = Exiv2::ImageFactory::open(path.string());
    image->readMetadata();
    image->exifData()["Exif.Image.Orientation"] = static_cast<uint16_t>(orientation);
    image->writeMetadata();
}

int ReadExifOrientation(const std::filesystem::path& path) {
    auto image = Exiv2::ImageFactory::open(path.string());
    image->readMetadata();
    const auto it = image->exifData().findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
    return it == image->exifData().end() ? 0 : static_cast<int>(it->toLong());
}

// The mode that undoes `mode`.
int Inverse(int mode) {
    for (int m = 0; m < 8; ++m)
        if (detail::ComposeModes(mode, m) == 0)
            return m;
    return -1;
}

// The entropy-coded DCT data: from the start-of-scan marker of the main image to the end, found by walking
// the segments (an embedded thumbnail has its own scan inside a segment).
std::vector<unsigned char> ScanData(const std::vector<unsigned char>& jpeg) {
    size_t i = 2;
    while (i + 4 <= jpeg.size() && jpeg[i] == 0xFF) {
        if (jpeg[i + 1] == 0xDA)
            return std::vector<unsigned char>(jpeg.begin() + static_cast<long>(i), jpeg.end());
        i += 2 + ((static_cast<size_t>(jpeg[i + 2]) << 8) | jpeg[i + 3]);
    }
    return {};
}

} // namespace

TEST(PixelModes, CompositionMatchesApplyingTwice) {
    CImageDataInfo src;
    ASSERT_TRUE(MakeNoise(src, 7, 5, 3, 1, 2));
    for (int a = 0; a < 8; ++a) {
        for (int b = 0; b < 8; ++b) {
            CImageDataInfo once, twice, direct;
            ASSERT_EQ(detail::TransformByMode(src, once, a), ERR_OK);
            ASSERT_EQ(detail::TransformByMode(once, twice, b), ERR_OK);
            ASSERT_EQ(detail::TransformByMode(src, direct, detail::ComposeModes(a, b)), ERR_OK);
            ASSERT_TRUE(SamePixels(twice, direct)) << a << " then " << b;
        }
    }
    // Four quarter turns are the identity; a clockwise turn moves the bottom-left corner to the top-left.
    CImageDataInfo turned;
    ASSERT_EQ(detail::TransformByMode(src, turned, 3), ERR_OK);
    EXPECT_EQ(turned.width, 5);
    EXPECT_EQ(GetValue(turned, 0, 0, 1), GetValue(src, 0, 4, 1));
    EXPECT_EQ(detail::ComposeModes(detail::ComposeModes(3, 3), detail::ComposeModes(3, 3)), 0);
}

TEST(Orientation, EveryExifOrientationLoadsUpright) {
    TempDir dir;
    CImageDataInfo upright;
    ASSERT_TRUE(MakeNoise(upright, 24, 16, 3, 1, 11));
    for (int o = 1; o <= 8; ++o) {
        // Store the picture as a camera would for orientation o.
        CImageDataInfo stored;
        ASSERT_EQ(detail::TransformByMode(upright, stored, Inverse(detail::ModeForOrientation(o))), ERR_OK);
        const auto png = dir / "o.png";
        ASSERT_EQ(SaveFile(stored, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), png), ERR_OK);
        SetExifOrientation(png, o);
        FILEINFO info;
        ASSERT_EQ(GetImageFileInfo(info, png), ERR_OK);
        EXPECT_EQ(info.orientation, o);
        EXPECT_EQ(info.width, 24) << o;
        EXPECT_EQ(info.height, 16) << o;
        CImageDataInfo back;
        ASSERT_EQ(LoadFile(info, back, png), ERR_OK);
        EXPECT_TRUE(SamePixels(upright, back)) << "png orientation " << o;

        // The same through JPEG, within its error.
        CImageDataInfo smooth, storedSmooth;
        ASSERT_TRUE(MakeGradient(smooth, 64, 48, 3, 1));
        ASSERT_EQ(detail::TransformByMode(smooth, storedSmooth, Inverse(detail::ModeForOrientation(o))),
                  ERR_OK);
        SAVEFILE_OPTIONS jo = Options(CONTAINER_FORMAT_JPEG);
        jo.quality = 98;
        jo.subsampling = 0;
        const auto jpg = dir / "o.jpg";
        ASSERT_EQ(SaveFile(storedSmooth, FILEMETADATA(), jo, jpg), ERR_OK);
        SetExifOrientation(jpg, o);
        ASSERT_EQ(LoadFile(info, back, jpg), ERR_OK);
        EXPECT_LE(MaxDifference(smooth, back), 6) << "jpeg orientation " << o;
    }
}

// Built from the meaning of each EXIF value, not from the library's own table: orientation 6 stores
// a picture that must be turned 90 degrees clockwise to stand upright, 8 one turned counter-clockwise.
TEST(Orientation, StoredPixelsMapToTheUprightPictureByTheExifMeaning) {
    TempDir dir;
    CImageDataInfo stored;
    ASSERT_TRUE(MakeNoise(stored, 9, 5, 3, 1, 31)); // neither square nor symmetric
    const int ws = stored.width, hs = stored.height;
    // Where upright pixel (x, y) is found in the stored image.
    auto source = [&](int o, int x, int y) -> std::pair<int, int> {
        switch (o) {
        case 2:
            return {ws - 1 - x, y};
        case 3:
            return {ws - 1 - x, hs - 1 - y};
        case 4:
            return {x, hs - 1 - y};
        case 5:
            return {y, x};
        case 6:
            return {y, hs - 1 - x};
        case 7:
            return {ws - 1 - y, hs - 1 - x};
        case 8:
            return {ws - 1 - y, x};
        default:
            return {x, y};
        }
    };
    const auto png = dir / "stored.png";
    ASSERT_EQ(SaveFile(stored, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), png), ERR_OK);
    for (int o = 1; o <= 8; ++o) {
        SetExifOrientation(png, o);
        FILEINFO info;
        CImageDataInfo back;
        ASSERT_EQ(LoadFile(info, back, png), ERR_OK);
        const bool turned = o >= 5;
        ASSERT_EQ(back.width, turned ? hs : ws) << o;
        ASSERT_EQ(back.height, turned ? ws : hs) << o;
        long wrong = 0;
        for (int y = 0; y < back.height; ++y)
            for (int x = 0; x < back.width; ++x) {
                const auto [sx, sy] = source(o, x, y);
                for (int c = 0; c < 3; ++c)
                    wrong += GetValue(back, x, y, c) != GetValue(stored, sx, sy, c);
            }
        EXPECT_EQ(wrong, 0) << "orientation " << o;
    }
    // The top-left of an orientation-6 picture is the stored bottom-left; of an orientation-8 one,
    // the stored top-right.
    FILEINFO info;
    CImageDataInfo back;
    SetExifOrientation(png, 6);
    ASSERT_EQ(LoadFile(info, back, png), ERR_OK);
    EXPECT_EQ(GetValue(back, 0, 0, 2), GetValue(stored, 0, hs - 1, 2));
    SetExifOrientation(png, 8);
    ASSERT_EQ(LoadFile(info, back, png), ERR_OK);
    EXPECT_EQ(GetValue(back, 0, 0, 2), GetValue(stored, ws - 1, 0, 2));
}

TEST(LosslessTransform, FourJpegRotationsGiveTheOriginalScanBytes) {
    TempDir dir;
    CImageDataInfo src;
    ASSERT_TRUE(MakeNoise(src, 64, 48, 3, 1, 21)); // a multiple of the 16 x 16 MCU
    const auto path = dir / "r.jpg";
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), Options(CONTAINER_FORMAT_JPEG), path), ERR_OK);
    SetExifOrientation(path, 1);
    const std::vector<unsigned char> before = ScanData(iftest::ReadAll(path));
    ASSERT_FALSE(before.empty());
    FILEINFO info;
    CImageDataInfo original, turned;
    ASSERT_EQ(LoadFile(info, original, path), ERR_OK);
    int calls = 0;
    static int* s_calls;
    s_calls = &calls;
    ASSERT_EQ(LosslessTransform(path, 3, [](int, int) { ++*s_calls; }), ERR_OK);
    EXPECT_GT(calls, 0);
    ASSERT_EQ(LoadFile(info, turned, path), ERR_OK);
    EXPECT_EQ(info.width, 48);
    EXPECT_EQ(info.height, 64);
    EXPECT_NE(ScanData(iftest::ReadAll(path)), before);
    // The decoded turn matches the turned decode up to the rounding of the inverse DCT and of chroma
    // upsampling, which run in another order on turned blocks; a re-compression of noise would differ
    // by tens of levels.
    CImageDataInfo expected;
    ASSERT_EQ(detail::TransformByMode(original, expected, 3), ERR_OK);
    EXPECT_LE(MaxDifference(expected, turned), 3);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(LosslessTransform(path, 3), ERR_OK);
    EXPECT_EQ(ScanData(iftest::ReadAll(path)), before);
    EXPECT_EQ(ReadExifOrientation(path), 1);
    EXPECT_EQ(dir.Entries().size(), 1u);
}

TEST(LosslessTransform, ResetsOrientationAndTurnsThePictureAsShown) {
    TempDir dir;
    CImageDataInfo upright;
    ASSERT_TRUE(MakeNoise(upright, 48, 32, 3, 1, 8));
    CImageDataInfo stored;
    ASSERT_EQ(detail::TransformByMode(upright, stored, Inverse(detail::ModeForOrientation(6))), ERR_OK);
    const auto path = dir / "six.jpg";
    ASSERT_EQ(SaveFile(stored, FILEMETADATA(), Options(CONTAINER_FORMAT_JPEG), path), ERR_OK);
    SetExifOrientation(path, 6);
    FILEINFO info;
    CImageDataInfo shown, after, expected;
    ASSERT_EQ(LoadFile(info, shown, path), ERR_OK);
    ASSERT_EQ(LosslessTransform(path, 2), ERR_OK); // a quarter turn counter-clockwise of what is shown
    EXPECT_EQ(ReadExifOrientation(path), 1);
    ASSERT_EQ(LoadFile(info, after, path), ERR_OK);
    ASSERT_EQ(detail::TransformByMode(shown, expected, 2), ERR_OK);
    EXPECT_LE(MaxDifference(expected, after), 3);
}

TEST(LosslessTransform, PartialMcuIsRefusedUnlessTrimmed) {
    TempDir dir;
    CImageDataInfo src;
    ASSERT_TRUE(MakeNoise(src, 70, 50, 3, 1, 4));
    const auto path = dir / "odd.jpg";
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), Options(CONTAINER_FORMAT_JPEG), path), ERR_OK);
    const auto bytes = iftest::ReadAll(path);
    EXPECT_EQ(LosslessTransform(path, 3), ERR_NOT_MCU_ALIGNED);
    EXPECT_EQ(iftest::ReadAll(path), bytes);
    EXPECT_EQ(LosslessTransform(path, 6), ERR_OK); // a transpose never needs trimming
    ASSERT_EQ(LosslessTransform(path, 6), ERR_OK);
    ASSERT_EQ(LosslessTransform(path, 3, nullptr, true), ERR_OK);
    FILEINFO info;
    ASSERT_EQ(GetImageFileInfo(info, path), ERR_OK);
    EXPECT_EQ(info.width, 48); // 50 trimmed to whole 16-pixel blocks, then turned
    EXPECT_EQ(info.height, 70);
}

TEST(LosslessTransform, LosslessFormatsAreReencodedExactly) {
    TempDir dir;
    const std::pair<GUID, const char*> formats[] = {{CONTAINER_FORMAT_PNG, "a.png"},
                                                    {CONTAINER_FORMAT_TIFF, "a.tif"},
                                                    {CONTAINER_FORMAT_WEBP, "a.webp"},
                                                    {CONTAINER_FORMAT_BMP, "a.bmp"}};
    for (const auto& [format, name] : formats) {
        const bool deep = format == CONTAINER_FORMAT_PNG || format == CONTAINER_FORMAT_TIFF;
        CImageDataInfo src;
        ASSERT_TRUE(MakeNoise(src, 31, 19, 4, deep ? 2 : 1, 6));
        SAVEFILE_OPTIONS o = Options(format, deep);
        o.lossless = true;
        const auto path = dir / name;
        ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, path), ERR_OK);
        for (int mode = 1; mode < 8; ++mode) {
            FILEINFO info;
            CImageDataInfo before, after, expected;
            ASSERT_EQ(LoadFile(info, before, path), ERR_OK);
            ASSERT_EQ(LosslessTransform(path, mode), ERR_OK) << name << mode;
            ASSERT_EQ(LoadFile(info, after, path), ERR_OK);
            ASSERT_EQ(detail::TransformByMode(before, expected, mode), ERR_OK);
            ASSERT_TRUE(SamePixels(expected, after)) << name << " mode " << mode;
        }
    }
    // Lossy WebP cannot be turned without loss.
    CImageDataInfo src;
    ASSERT_TRUE(MakeNoise(src, 16, 16, 3, 1, 6));
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), Options(CONTAINER_FORMAT_WEBP), dir / "lossy.webp"), ERR_OK);
    EXPECT_EQ(LosslessTransform(dir / "lossy.webp", 3), ERR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(LosslessTransform(dir / "a.png", 8), ERR_INVALID_ARGUMENT);
}
