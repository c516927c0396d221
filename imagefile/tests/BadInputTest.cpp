// Guards against crashes, wrong error codes, partial or temporary files and damaged targets when the
// input is bad (truncated, corrupt, empty, mislabelled, huge) or the output cannot be written.
#include "FileTestUtil.h"

#include "common/testing/FullDisk.h"
#include "common/testing/TestImages.h"

#include <cstring>
#include <sys/mount.h>
#include <unistd.h>

using namespace ImageFile;
using namespace kel_testing;
using iftest::Options;
using iftest::ReadAll;
using iftest::TempDir;
using iftest::WriteAll;

namespace {

std::vector<unsigned char> Encoded(const GUID& format, bool lossless = false) {
    CImageDataInfo img;
    MakeNoise(img, 96, 64, 3, 1, 42);
    SAVEFILE_OPTIONS o = Options(format);
    o.lossless = lossless;
    std::vector<unsigned char> out;
    EXPECT_EQ(EncodeImage(img, o, out), ERR_OK);
    return out;
}

int LoadCode(const std::filesystem::path& p) {
    FILEINFO info;
    CImageDataInfo img;
    return LoadFile(info, img, p);
}

uint32_t Crc32(const unsigned char* p, size_t n) {
    uint32_t c = 0xFFFFFFFFu;
    for (size_t i = 0; i < n; ++i) {
        c ^= p[i];
        for (int k = 0; k < 8; ++k)
            c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1u)));
    }
    return ~c;
}

void Be32(std::vector<unsigned char>& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i)
        b[at + i] = static_cast<unsigned char>(v >> (24 - 8 * i));
}

} // namespace

TEST(BadInput, TruncatedFilesOfEveryFormatAreCorrupt) {
    TempDir dir;
    const std::pair<GUID, const char*> formats[] = {{CONTAINER_FORMAT_JPEG, "t.jpg"},
                                                    {CONTAINER_FORMAT_PNG, "t.png"},
                                                    {CONTAINER_FORMAT_TIFF, "t.tif"},
                                                    {CONTAINER_FORMAT_WEBP, "t.webp"},
                                                    {CONTAINER_FORMAT_BMP, "t.bmp"}};
    for (const auto& [format, name] : formats) {
        std::vector<unsigned char> bytes = Encoded(format, true);
        bytes.resize(bytes.size() / 2);
        WriteAll(dir / name, bytes);
        EXPECT_EQ(LoadCode(dir / name), ERR_CORRUPT_DATA) << name;
        CImageDataInfo thumb;
        FILEINFO info;
        EXPECT_NE(LoadFileThumbnail(info, thumb, dir / name, RGB_ORDER_BGR, 32, true), ERR_OK) << name;
        EXPECT_NE(LosslessTransform(dir / name, 3), ERR_OK) << name;
        EXPECT_EQ(ReadAll(dir / name), bytes) << name; // a failed transform leaves the file alone
    }
}

TEST(BadInput, CorruptFilesOfEveryFormatAreCorrupt) {
    TempDir dir;
    // JPEG: a frame of height zero.
    std::vector<unsigned char> jpg = Encoded(CONTAINER_FORMAT_JPEG);
    for (size_t i = 2; i + 9 < jpg.size(); ++i) {
        if (jpg[i] == 0xFF && jpg[i + 1] == 0xC0) {
            jpg[i + 5] = jpg[i + 6] = 0;
            break;
        }
    }
    WriteAll(dir / "c.jpg", jpg);
    EXPECT_EQ(LoadCode(dir / "c.jpg"), ERR_CORRUPT_DATA);
    // JPEG: entropy data cut short by an end-of-image marker in the middle of the scan.
    std::vector<unsigned char> cut = Encoded(CONTAINER_FORMAT_JPEG);
    cut[cut.size() / 2] = 0xFF;
    cut[cut.size() / 2 + 1] = 0xD9;
    WriteAll(dir / "d.jpg", cut);
    EXPECT_EQ(LoadCode(dir / "d.jpg"), ERR_CORRUPT_DATA);
    // PNG: a changed byte in the compressed data fails its checksum.
    std::vector<unsigned char> png = Encoded(CONTAINER_FORMAT_PNG);
    png[png.size() / 2] ^= 0x5A;
    WriteAll(dir / "c.png", png);
    EXPECT_EQ(LoadCode(dir / "c.png"), ERR_CORRUPT_DATA);
    // TIFF: the first directory lies outside the file.
    std::vector<unsigned char> tif = Encoded(CONTAINER_FORMAT_TIFF);
    tif[4] = tif[5] = tif[6] = 0xFF;
    tif[7] = 0x7F;
    WriteAll(dir / "c.tif", tif);
    EXPECT_EQ(LoadCode(dir / "c.tif"), ERR_CORRUPT_DATA);
    FILEINFO info;
    EXPECT_EQ(GetImageFileInfo(info, dir / "c.tif"), ERR_CORRUPT_DATA);
    // WebP: a damaged lossless stream signature.
    std::vector<unsigned char> webp = Encoded(CONTAINER_FORMAT_WEBP, true);
    const std::string bytes(webp.begin(), webp.end());
    const size_t vp8l = bytes.find("VP8L");
    ASSERT_NE(vp8l, std::string::npos);
    webp[vp8l + 8] ^= 0xFF;
    WriteAll(dir / "c.webp", webp);
    EXPECT_EQ(LoadCode(dir / "c.webp"), ERR_CORRUPT_DATA);
    // Not an image at all.
    WriteAll(dir / "text.png", std::vector<unsigned char>{'h', 'e', 'l', 'l', 'o'});
    EXPECT_EQ(LoadCode(dir / "text.png"), ERR_UNSUPPORTED_FORMAT);
}

TEST(BadInput, EmptyMissingDirectoryAndMislabelledFiles) {
    TempDir dir;
    WriteAll(dir / "zero.jpg", {});
    EXPECT_EQ(LoadCode(dir / "zero.jpg"), ERR_EMPTY_FILE);
    FILEINFO info;
    EXPECT_EQ(GetImageFileInfo(info, dir / "zero.jpg"), ERR_EMPTY_FILE);
    EXPECT_EQ(LoadCode(dir / "missing.jpg"), ERR_FILE_NOT_FOUND);
    EXPECT_EQ(GetImageFileInfo(info, dir / "missing.jpg"), ERR_FILE_NOT_FOUND);
    EXPECT_EQ(LoadCode(dir.path()), ERR_NOT_A_FILE);
    EXPECT_EQ(LosslessTransform(dir.path(), 3), ERR_NOT_A_FILE);
    EXPECT_EQ(LoadCode(""), ERR_INVALID_ARGUMENT);
    // A name that lies about the content: the content decides.
    CImageDataInfo img, back;
    ASSERT_TRUE(MakeNoise(img, 20, 10, 3, 1, 1));
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), dir / "png.jpg"), ERR_OK);
    ASSERT_EQ(LoadFile(info, back, dir / "png.jpg"), ERR_OK);
    EXPECT_EQ(info.format, IMAGE_FORMAT_PNG);
    EXPECT_TRUE(SamePixels(img, back));
}

TEST(BadInput, HugeHeadersAreRefusedBeforeAllocation) {
    TempDir dir;
    // PNG of 100,000 x 100,000 pixels: a valid header with no data behind it.
    std::vector<unsigned char> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n', 0, 0, 0,
                                      13,   'I', 'H', 'D', 'R',  0,    0,    0,    0, 0, 0,
                                      0,    0,   8,   2,   0,    0,    0,    0,    0, 0, 0};
    Be32(png, 16, 100000);
    Be32(png, 20, 100000);
    Be32(png, 29, Crc32(&png[12], 17));
    WriteAll(dir / "huge.png", png);
    EXPECT_EQ(LoadCode(dir / "huge.png"), ERR_TOO_LARGE);
    FILEINFO info;
    EXPECT_EQ(GetImageFileInfo(info, dir / "huge.png"), ERR_TOO_LARGE);
    // Bitmap header of the same size.
    std::vector<unsigned char> bmp(54, 0);
    bmp[0] = 'B';
    bmp[1] = 'M';
    bmp[10] = 54;
    bmp[14] = 40;
    const uint32_t side = 100000;
    std::memcpy(&bmp[18], &side, 4);
    std::memcpy(&bmp[22], &side, 4);
    bmp[26] = 1;
    bmp[28] = 24;
    WriteAll(dir / "huge.bmp", bmp);
    EXPECT_EQ(LoadCode(dir / "huge.bmp"), ERR_TOO_LARGE);
    // JPEG frames stop at 65,535 a side: 65,000 x 65,000 is above the pixel limit.
    std::vector<unsigned char> jpg = Encoded(CONTAINER_FORMAT_JPEG);
    for (size_t i = 2; i + 9 < jpg.size(); ++i) {
        if (jpg[i] == 0xFF && jpg[i + 1] == 0xC0) {
            jpg[i + 5] = jpg[i + 7] = 65000 >> 8;
            jpg[i + 6] = jpg[i + 8] = 65000 & 0xFF;
            break;
        }
    }
    WriteAll(dir / "huge.jpg", jpg);
    EXPECT_EQ(LoadCode(dir / "huge.jpg"), ERR_TOO_LARGE);
    CImageDataInfo thumb;
    EXPECT_EQ(LoadFileThumbnail(info, thumb, dir / "huge.jpg", RGB_ORDER_BGR, 256), ERR_TOO_LARGE);
}

TEST(BadInput, CameraRawIsRecognisedAndRefused) {
    TempDir dir;
    const std::vector<unsigned char> tif = Encoded(CONTAINER_FORMAT_TIFF);
    WriteAll(dir / "shot.dng", tif);
    FILEINFO info;
    ASSERT_EQ(GetImageFileInfo(info, dir / "shot.dng"), ERR_OK);
    EXPECT_EQ(info.isCameraRaw, 1);
    EXPECT_EQ(LoadCode(dir / "shot.dng"), ERR_CAMERA_RAW);
    EXPECT_EQ(LosslessTransform(dir / "shot.dng", 3), ERR_CAMERA_RAW);
    EXPECT_TRUE(IsCameraRawExtension("NEF"));
    EXPECT_FALSE(IsCameraRawExtension(".jpg"));
    std::vector<std::string> exts;
    EXPECT_EQ(GetImageFileFormatExtensions(exts, FILE_TYPE_JPEG | FILE_TYPE_TIFF), 6);
}

namespace {

// Saves over an existing target that must survive a failed write, with nothing else left behind.
void ExpectFailedSaveLeavesTarget(const TempDir& dir, const std::filesystem::path& target, int expected) {
    const std::vector<unsigned char> before = ReadAll(target);
    const size_t entries = dir.Entries().size();
    CImageDataInfo big;
    ASSERT_TRUE(MakeNoise(big, 512, 512, 3, 2, 3));
    SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_TIFF, true);
    o.compression = 0;
    EXPECT_EQ(SaveFile(big, FILEMETADATA(), o, target), expected);
    EXPECT_EQ(ReadAll(target), before);
    EXPECT_EQ(dir.Entries().size(), entries);
}

} // namespace

TEST(BadOutput, FileSizeLimitActsAsFullDisk) {
    // The process file size limit makes writes fail with EFBIG, as a full disk does with ENOSPC;
    // SIGXFSZ is ignored so that the failure reaches the writer as an error.
    TempDir dir;
    const auto target = dir / "keep.tif";
    WriteAll(target, std::vector<unsigned char>(1000, 7));
    const auto full = kel_testing::FullDisk::FileSizeLimit(64 * 1024);
    ASSERT_TRUE(full.Active());
    ExpectFailedSaveLeavesTarget(dir, target, ERR_DISK_FULL);
}

TEST(BadOutput, FullTmpfsIsDiskFull) {
    TempDir dir;
    const auto mnt = dir / "small";
    const auto full = kel_testing::FullDisk::Tmpfs(mnt, 256 * 1024);
    if (!full.Active())
        GTEST_SKIP() << "mounting a tmpfs is not permitted here; FileSizeLimitActsAsFullDisk covers the path";
    {
        TempDir inner; // keep names apart from the mount
        const auto target = mnt / "keep.tif";
        WriteAll(target, std::vector<unsigned char>(1000, 7));
        const std::vector<unsigned char> before = ReadAll(target);
        CImageDataInfo big;
        ASSERT_TRUE(MakeNoise(big, 512, 512, 3, 2, 3));
        SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_TIFF, true);
        o.compression = 0;
        EXPECT_EQ(SaveFile(big, FILEMETADATA(), o, target), ERR_DISK_FULL);
        EXPECT_EQ(ReadAll(target), before);
        size_t count = 0;
        for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(mnt))
            ++count;
        EXPECT_EQ(count, 1u);
    }
}

TEST(BadOutput, UnwritableFolderIsPermissionDenied) {
    TempDir dir;
    const auto folder = dir / "locked";
    std::filesystem::create_directory(folder);
    const auto target = folder / "keep.tif";
    WriteAll(target, std::vector<unsigned char>(100, 1));
    bool mounted = false;
    if (::geteuid() == 0) {
        // Permission bits do not stop root: a read-only bind of the folder does.
        if (::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) != 0)
            GTEST_SKIP() << "running as root without the right to mount";
        mounted = true;
        if (::mount(nullptr, folder.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
            ::umount(folder.c_str());
            GTEST_SKIP() << "read-only remount not permitted";
        }
    } else {
        std::filesystem::permissions(folder,
                                     std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    }
    const std::vector<unsigned char> before = ReadAll(target);
    CImageDataInfo img;
    ASSERT_TRUE(MakeNoise(img, 16, 16, 3, 1, 3));
    EXPECT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), target), ERR_PERMISSION_DENIED);
    EXPECT_EQ(ReadAll(target), before);
    size_t count = 0;
    for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(folder))
        ++count;
    EXPECT_EQ(count, 1u);
    if (mounted)
        ::umount(folder.c_str());
}

TEST(BadOutput, InvalidRequestsAreRefused) {
    TempDir dir;
    CImageDataInfo empty, img;
    EXPECT_EQ(SaveFile(empty, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), dir / "a.png"),
              ERR_INVALID_ARGUMENT);
    ASSERT_TRUE(MakeNoise(img, 8, 8, 3, 1, 3));
    EXPECT_EQ(SaveFile(img, FILEMETADATA(), Options(GUID{1, 2, 3, {}}), dir / "a.xyz"),
              ERR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), dir / "no" / "a.png"),
              ERR_WRITE_FAILED);
    EXPECT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_PNG), dir.path()), ERR_NOT_A_FILE);
    EXPECT_TRUE(dir.Entries().empty());
    for (int code = 0; code <= ERR_NOT_INITIALIZED; ++code)
        EXPECT_STRNE(ErrorDescription(code), "Unknown error") << code;
}
