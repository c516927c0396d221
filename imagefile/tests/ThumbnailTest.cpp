// Guards against thumbnails that ignore a usable embedded thumbnail, use one that is too small or
// padded, come out of the DCT-scaled path at the wrong size or brightness, or stay unturned.
#include "FileTestUtil.h"

#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"

#include <exiv2/exiv2.hpp>

#include <algorithm>

using namespace ImageFile;
using namespace kel_testing;
using iftest::Options;
using iftest::TempDir;

namespace {

// A 3:2 JPEG picture with an embedded thumbnail of a constant grey, so that its use shows.
void WriteWithThumbnail(const std::filesystem::path& path, int thumbW, int thumbH, uint32_t thumbGrey,
                        int orientation = 1) {
    CImageDataInfo img;
    MakeGradient(img, 1200, 800, 3, 1);
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_JPEG), path), ERR_OK);
    CImageDataInfo thumb;
    MakeConstant(thumb, thumbW, thumbH, 3, 1, thumbGrey);
    std::vector<unsigned char> jpeg;
    ASSERT_EQ(EncodeImage(thumb, Options(CONTAINER_FORMAT_JPEG), jpeg), ERR_OK);
    auto image = Exiv2::ImageFactory::open(path.string());
    image->readMetadata();
    image->exifData()["Exif.Image.Orientation"] = static_cast<uint16_t>(orientation);
    Exiv2::ExifThumb(image->exifData()).setJpegThumbnail(jpeg.data(), static_cast<long>(jpeg.size()));
    image->writeMetadata();
}

} // namespace

TEST(Thumbnail, EmbeddedThumbnailIsUsedWhenLargeEnough) {
    TempDir dir;
    WriteWithThumbnail(dir / "t.jpg", 300, 200, 200);
    FILEINFO info;
    ASSERT_EQ(GetImageFileInfo(info, dir / "t.jpg"), ERR_OK);
    EXPECT_EQ(info.hasExifThumbnail, 1);
    EXPECT_EQ(info.exifThumbnailWidth, 300);
    CImageDataInfo thumb;
    ASSERT_EQ(LoadFileThumbnail(info, thumb, dir / "t.jpg", RGB_ORDER_BGR, 256), ERR_OK);
    EXPECT_EQ(thumb.width, 256);
    EXPECT_EQ(thumb.height, 171);
    EXPECT_NEAR(MeanValue(thumb, 1), 200.0, 2.0);
    // Asked for more than it holds, or in high-quality mode, the picture itself is decoded.
    CImageDataInfo full, big;
    ASSERT_EQ(LoadFile(info, full, dir / "t.jpg"), ERR_OK);
    ASSERT_EQ(LoadFileThumbnail(info, big, dir / "t.jpg", RGB_ORDER_BGR, 400), ERR_OK);
    EXPECT_EQ(big.width, 400);
    EXPECT_NEAR(MeanValue(big, 1), MeanValue(full, 1), 2.0);
    ASSERT_EQ(LoadFileThumbnail(info, big, dir / "t.jpg", RGB_ORDER_BGR, 256, true), ERR_OK);
    EXPECT_NEAR(MeanValue(big, 1), MeanValue(full, 1), 2.0);
}

TEST(Thumbnail, PaddedEmbeddedThumbnailIsNotUsed) {
    TempDir dir;
    WriteWithThumbnail(dir / "t.jpg", 400, 300, 200); // 4:3 thumbnail of a 3:2 picture
    FILEINFO info;
    CImageDataInfo thumb, full;
    ASSERT_EQ(LoadFileThumbnail(info, thumb, dir / "t.jpg", RGB_ORDER_BGR, 256), ERR_OK);
    ASSERT_EQ(LoadFile(info, full, dir / "t.jpg"), ERR_OK);
    EXPECT_NEAR(MeanValue(thumb, 1), MeanValue(full, 1), 2.0);
}

TEST(Thumbnail, DctScaledPathMatchesAFullDecodeReduced) {
    TempDir dir;
    CImageDataInfo img;
    ASSERT_TRUE(MakeGradient(img, 2048, 1536, 3, 1));
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_JPEG), dir / "big.jpg"), ERR_OK);
    FILEINFO info;
    CImageDataInfo thumb, full, reference;
    ASSERT_EQ(LoadFileThumbnail(info, thumb, dir / "big.jpg", RGB_ORDER_BGR, 256), ERR_OK);
    EXPECT_EQ(thumb.width, 256);
    EXPECT_EQ(thumb.height, 192);
    EXPECT_EQ(thumb.depth, 1);
    ASSERT_EQ(LoadFile(info, full, dir / "big.jpg"), ERR_OK);
    ASSERT_TRUE(ImageProcess::ResizeImage(full, reference, 256, 192, ImageProcess::RESIZE_BOX, nullptr));
    EXPECT_LE(MaxDifference(thumb, reference), 8);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(MeanValue(thumb, c), MeanValue(reference, c), 1.0);
    // RGB order applies to thumbnails too.
    CImageDataInfo rgb;
    ASSERT_EQ(LoadFileThumbnail(info, rgb, dir / "big.jpg", RGB_ORDER_RGB, 256), ERR_OK);
    EXPECT_EQ(GetValue(rgb, 100, 50, 0), GetValue(thumb, 100, 50, 2));
}

TEST(Thumbnail, OtherFormatsAreReducedTo8BitAndTurned) {
    TempDir dir;
    CImageDataInfo img;
    ASSERT_TRUE(MakeGradient(img, 600, 300, 4, 2));
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG, true), dir / "a.png"), ERR_OK);
    auto image = Exiv2::ImageFactory::open((dir / "a.png").string());
    image->readMetadata();
    image->exifData()["Exif.Image.Orientation"] = static_cast<uint16_t>(6);
    image->writeMetadata();
    FILEINFO info;
    CImageDataInfo thumb;
    ASSERT_EQ(LoadFileThumbnail(info, thumb, dir / "a.png", RGB_ORDER_BGR, 100), ERR_OK);
    EXPECT_EQ(thumb.width, 50); // turned upright: portrait
    EXPECT_EQ(thumb.height, 100);
    EXPECT_EQ(thumb.depth, 1);
    EXPECT_EQ(thumb.channels, 3);
    // A small image is not enlarged.
    CImageDataInfo small;
    ASSERT_TRUE(MakeGradient(small, 40, 30, 1, 1));
    ASSERT_EQ(SaveFile(small, FILEMETADATA(), Options(CONTAINER_FORMAT_TIFF), dir / "s.tif"), ERR_OK);
    ASSERT_EQ(LoadFileThumbnail(info, thumb, dir / "s.tif", RGB_ORDER_BGR, 100), ERR_OK);
    EXPECT_EQ(thumb.width, 40);
    EXPECT_TRUE(SamePixels(small, thumb));
    EXPECT_EQ(LoadFileThumbnail(info, thumb, dir / "s.tif", RGB_ORDER_BGR, 0), ERR_INVALID_ARGUMENT);
}
