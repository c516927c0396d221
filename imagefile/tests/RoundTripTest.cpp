// Guards against codecs that change pixel values, channel order, depth, row order, alpha or profile
// on a save and load of the lossless formats, and against JPEG errors beyond the stated bound.
#include "FileTestUtil.h"

#include "common/testing/TestImages.h"
#include "imageprocess/ColorProfile.h"

#include <lcms2.h>
#include <tiffio.h>

#include <cstring>
#include <tuple>

using namespace ImageFile;
using namespace kel_testing;
using iftest::Options;
using iftest::TempDir;

namespace {

struct Case {
    const char* name;
    GUID format;
    int compression;
    bool lossless;
};

class LosslessRoundTrip : public ::testing::TestWithParam<std::tuple<int, int, int>> {};

const Case kLosslessCases[] = {
    {"png", CONTAINER_FORMAT_PNG, 0, false},
    {"tif_none", CONTAINER_FORMAT_TIFF, 0, false},
    {"tif_lzw", CONTAINER_FORMAT_TIFF, 1, false},
    {"tif_zip", CONTAINER_FORMAT_TIFF, 2, false},
};

} // namespace

TEST_P(LosslessRoundTrip, PixelsComeBackExactly) {
    const auto [caseIndex, channels, depth] = GetParam();
    const Case& c = kLosslessCases[caseIndex];
    TempDir dir;
    CImageDataInfo src;
    ASSERT_TRUE(MakeNoise(src, 67, 41, channels, depth, 1234));
    SAVEFILE_OPTIONS o = Options(c.format, depth == 2);
    o.compression = static_cast<unsigned>(c.compression);
    const auto path = dir / (std::string("img.") + c.name);
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, path), ERR_OK);
    FILEINFO info;
    CImageDataInfo back;
    ASSERT_EQ(LoadFile(info, back, path), ERR_OK);
    EXPECT_EQ(back.channels, channels);
    EXPECT_EQ(back.depth, depth);
    EXPECT_EQ(info.bitDepth, depth * 8);
    EXPECT_TRUE(SamePixels(src, back)) << c.name << " ch " << channels << " depth " << depth;
}

INSTANTIATE_TEST_SUITE_P(AllFormats, LosslessRoundTrip,
                         ::testing::Combine(::testing::Range(0, 4), ::testing::Values(1, 3, 4),
                                            ::testing::Values(1, 2)));

TEST(WebpRoundTrip, LosslessIsExactFor8BitColourAndAlpha) {
    TempDir dir;
    for (int channels : {3, 4}) {
        CImageDataInfo src;
        ASSERT_TRUE(MakeNoise(src, 50, 31, channels, 1, 77));
        // Fully transparent pixels keep their colour too.
        if (channels == 4)
            SetValue(src, 3, 3, 3, 0);
        SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_WEBP);
        o.lossless = true;
        const auto path = dir / "a.webp";
        ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, path), ERR_OK);
        FILEINFO info;
        CImageDataInfo back;
        ASSERT_EQ(LoadFile(info, back, path), ERR_OK);
        EXPECT_EQ(info.format, IMAGE_FORMAT_WEBP);
        EXPECT_TRUE(SamePixels(src, back)) << channels;
    }
}

TEST(WebpRoundTrip, GreyAnd16BitBecome8BitColourWithTheSameValues) {
    // WebP has neither grey nor 16 bit: grey is stored as equal colour channels, 16 bit reduced.
    TempDir dir;
    CImageDataInfo grey;
    ASSERT_TRUE(MakeGradient(grey, 40, 20, 1, 1));
    SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_WEBP);
    o.lossless = true;
    ASSERT_EQ(SaveFile(grey, FILEMETADATA(), o, dir / "g.webp"), ERR_OK);
    FILEINFO info;
    CImageDataInfo back;
    ASSERT_EQ(LoadFile(info, back, dir / "g.webp"), ERR_OK);
    ASSERT_EQ(back.channels, 3);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 40; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(GetValue(back, x, y, c), GetValue(grey, x, y, 0));
    CImageDataInfo deep;
    ASSERT_TRUE(MakeGradient(deep, 40, 20, 3, 2));
    ASSERT_EQ(SaveFile(deep, FILEMETADATA(), o, dir / "d.webp"), ERR_OK);
    ASSERT_EQ(LoadFile(info, back, dir / "d.webp"), ERR_OK);
    EXPECT_EQ(back.depth, 1);
    for (int c = 0; c < 3; ++c)
        EXPECT_EQ(GetValue(back, 17, 9, c), (GetValue(deep, 17, 9, c) * 255 + 32767) / 65535);
}

TEST(JpegRoundTrip, ErrorStaysWithinBound) {
    // Smooth content at quality 95 with 4:4:4: no channel may move by more than 6 levels; at 4:2:0
    // and quality 90 the colour of a smooth gradient stays within 12.
    TempDir dir;
    CImageDataInfo src;
    ASSERT_TRUE(MakeGradient(src, 128, 96, 3, 1));
    SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_JPEG);
    o.quality = 95;
    o.subsampling = 0;
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, dir / "a.jpg"), ERR_OK);
    FILEINFO info;
    CImageDataInfo back;
    ASSERT_EQ(LoadFile(info, back, dir / "a.jpg"), ERR_OK);
    EXPECT_EQ(info.format, IMAGE_FORMAT_JPEG);
    EXPECT_LE(MaxDifference(src, back), 6);
    o.quality = 90;
    o.subsampling = 2;
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, dir / "b.jpg"), ERR_OK);
    ASSERT_EQ(LoadFile(info, back, dir / "b.jpg"), ERR_OK);
    EXPECT_LE(MaxDifference(src, back), 12);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(MeanValue(back, c), MeanValue(src, c), 1.0);
}

TEST(JpegRoundTrip, GreyStaysGreyAnd16BitIsReduced) {
    TempDir dir;
    CImageDataInfo grey;
    ASSERT_TRUE(MakeGradient(grey, 64, 32, 1, 2));
    SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_JPEG);
    o.quality = 100;
    ASSERT_EQ(SaveFile(grey, FILEMETADATA(), o, dir / "g.jpg"), ERR_OK);
    FILEINFO info;
    CImageDataInfo back;
    ASSERT_EQ(LoadFile(info, back, dir / "g.jpg"), ERR_OK);
    EXPECT_EQ(back.channels, 1);
    EXPECT_EQ(back.depth, 1);
    EXPECT_NEAR(GetValue(back, 40, 20, 0), GetValue(grey, 40, 20, 0) / 257.0, 3.0);
}

TEST(BmpRoundTrip, ColourAndAlphaAreExact) {
    TempDir dir;
    for (int channels : {3, 4}) {
        CImageDataInfo src;
        ASSERT_TRUE(MakeNoise(src, 33, 17, channels, 1, 5));
        ASSERT_EQ(SaveFile(src, FILEMETADATA(), Options(CONTAINER_FORMAT_BMP), dir / "a.bmp"), ERR_OK);
        FILEINFO info;
        CImageDataInfo back;
        ASSERT_EQ(LoadFile(info, back, dir / "a.bmp"), ERR_OK);
        EXPECT_TRUE(SamePixels(src, back)) << channels;
    }
}

TEST(LoadOptions, RgbOrderAndAlphaSideImage) {
    TempDir dir;
    CImageDataInfo src;
    ASSERT_TRUE(MakeNoise(src, 20, 10, 4, 1, 9));
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), dir / "a.png"), ERR_OK);
    FILEINFO info;
    CImageDataInfo rgb, alpha;
    ASSERT_EQ(LoadFile(info, rgb, dir / "a.png", RGB_ORDER_RGB, &alpha), ERR_OK);
    ASSERT_EQ(rgb.channels, 3);
    ASSERT_EQ(alpha.channels, 1);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 20; ++x) {
            ASSERT_EQ(GetValue(rgb, x, y, 0), GetValue(src, x, y, 2));
            ASSERT_EQ(GetValue(rgb, x, y, 1), GetValue(src, x, y, 1));
            ASSERT_EQ(GetValue(rgb, x, y, 2), GetValue(src, x, y, 0));
            ASSERT_EQ(GetValue(alpha, x, y, 0), GetValue(src, x, y, 3));
        }
    }
    // A file without alpha releases the side image.
    CImageDataInfo opaque;
    ASSERT_TRUE(MakeNoise(opaque, 8, 8, 3, 1, 1));
    ASSERT_EQ(SaveFile(opaque, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), dir / "b.png"), ERR_OK);
    ASSERT_EQ(LoadFile(info, rgb, dir / "b.png", RGB_ORDER_BGR, &alpha), ERR_OK);
    EXPECT_FALSE(alpha.IsValid());
}

namespace {

// A tiled TIFF written with libtiff itself, R, G, B order, to prove that tiles are read.
void WriteTiledTiff(const std::filesystem::path& path, const CImageDataInfo& img, uint16_t compression) {
    TIFF* t = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(t, nullptr);
    const int ch = img.channels, d = img.depth;
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, img.width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, img.height);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, d * 8);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, ch);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, ch == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(t, TIFFTAG_TILEWIDTH, 16);
    TIFFSetField(t, TIFFTAG_TILELENGTH, 16);
    std::vector<unsigned char> tile(static_cast<size_t>(TIFFTileSize(t)));
    for (int ty = 0; ty < img.height; ty += 16) {
        for (int tx = 0; tx < img.width; tx += 16) {
            std::fill(tile.begin(), tile.end(), 0);
            for (int y = 0; y < 16 && ty + y < img.height; ++y) {
                for (int x = 0; x < 16 && tx + x < img.width; ++x) {
                    for (int c = 0; c < ch; ++c) {
                        const int fileChannel = ch == 1 ? 0 : 2 - c;
                        const uint32_t v = GetValue(img, tx + x, ty + y, c);
                        const size_t at = (static_cast<size_t>(y) * 16 + x) * ch + fileChannel;
                        if (d == 2) {
                            const uint16_t s = static_cast<uint16_t>(v);
                            std::memcpy(&tile[at * 2], &s, 2);
                        } else {
                            tile[at] = static_cast<unsigned char>(v);
                        }
                    }
                }
            }
            TIFFWriteTile(t, tile.data(), tx, ty, 0, 0);
        }
    }
    TIFFClose(t);
}

} // namespace

TEST(TiffLayouts, TilesWithLzwAndDeflateAt8And16Bit) {
    TempDir dir;
    for (uint16_t comp : {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
        for (int depth : {1, 2}) {
            for (int channels : {1, 3}) {
                CImageDataInfo src;
                ASSERT_TRUE(MakeNoise(src, 37, 29, channels, depth, 3));
                const auto path = dir / "tiled.tif";
                WriteTiledTiff(path, src, comp);
                FILEINFO info;
                CImageDataInfo back;
                ASSERT_EQ(LoadFile(info, back, path), ERR_OK);
                EXPECT_TRUE(SamePixels(src, back)) << comp << " " << depth << " " << channels;
            }
        }
    }
}

namespace {

std::vector<unsigned char> MakeTestProfile() {
    // A wide-gamut matrix/shaper profile, unlike sRGB, so that its survival is visible.
    cmsCIExyY white{0.3127, 0.3290, 1.0};
    cmsCIExyYTRIPLE primaries{{0.68, 0.32, 1.0}, {0.265, 0.69, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* curves[3] = {gamma, gamma, gamma};
    cmsHPROFILE h = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(gamma);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(h, nullptr, &size);
    std::vector<unsigned char> bytes(size);
    cmsSaveProfileToMem(h, bytes.data(), &size);
    cmsCloseProfile(h);
    return bytes;
}

} // namespace

TEST(IccProfile, SurvivesSaveAndLoadInEveryFormatThatCarriesOne) {
    TempDir dir;
    const std::vector<unsigned char> icc = MakeTestProfile();
    const ImageProcess::ColorProfile::Profile profile(icc.data(), icc.size(), "test");
    ASSERT_TRUE(profile.IsValid());
    CImageDataInfo src;
    ASSERT_TRUE(MakeGradient(src, 30, 20, 3, 1));
    const std::pair<GUID, const char*> formats[] = {{CONTAINER_FORMAT_JPEG, "a.jpg"},
                                                    {CONTAINER_FORMAT_PNG, "a.png"},
                                                    {CONTAINER_FORMAT_TIFF, "a.tif"},
                                                    {CONTAINER_FORMAT_WEBP, "a.webp"}};
    for (const auto& [format, name] : formats) {
        SAVEFILE_OPTIONS o = Options(format);
        o.profile = &profile;
        ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, dir / name), ERR_OK) << name;
        FILEINFO info;
        ASSERT_EQ(GetImageFileInfo(info, dir / name), ERR_OK) << name;
        EXPECT_EQ(info.iccProfile, profile.Data()) << name;
        CImageDataInfo back;
        ASSERT_EQ(LoadFile(info, back, dir / name), ERR_OK) << name;
        EXPECT_EQ(info.iccProfile, profile.Data()) << name;
    }
    // Without a profile in the options the pixels are declared sRGB; with embedding off, nothing.
    SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_PNG);
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, dir / "s.png"), ERR_OK);
    FILEINFO info;
    ASSERT_EQ(GetImageFileInfo(info, dir / "s.png"), ERR_OK);
    EXPECT_EQ(info.iccProfile, ImageProcess::ColorProfile::GetSRGBProfile().Data());
    o.embedProfile = false;
    ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, dir / "n.png"), ERR_OK);
    ASSERT_EQ(GetImageFileInfo(info, dir / "n.png"), ERR_OK);
    EXPECT_TRUE(info.iccProfile.empty());
}

TEST(Resolution, IsWrittenAndReadInEveryFormat) {
    TempDir dir;
    CImageDataInfo src;
    ASSERT_TRUE(MakeGradient(src, 16, 16, 3, 1));
    const std::pair<GUID, const char*> formats[] = {{CONTAINER_FORMAT_JPEG, "a.jpg"},
                                                    {CONTAINER_FORMAT_PNG, "a.png"},
                                                    {CONTAINER_FORMAT_TIFF, "a.tif"},
                                                    {CONTAINER_FORMAT_BMP, "a.bmp"}};
    for (const auto& [format, name] : formats) {
        SAVEFILE_OPTIONS o = Options(format);
        o.resolution = 300;
        ASSERT_EQ(SaveFile(src, FILEMETADATA(), o, dir / name), ERR_OK);
        FILEINFO info;
        ASSERT_EQ(GetImageFileInfo(info, dir / name), ERR_OK);
        EXPECT_NEAR(info.resolution, 300.0, 0.2) << name;
        EXPECT_EQ(info.resolutionUnit, UNIT_INCH) << name;
    }
}
