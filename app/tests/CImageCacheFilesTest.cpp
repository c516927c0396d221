// Guards against lost pixels when buffers move to cache files and back: double caching, truncated
// files, wrong sizes and a full disk must all fail without losing the caller's data.
#include "app/CImageCacheFiles.h"

#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"
#include "common/testing/FullDisk.h"
#include "common/testing/TestImages.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

using namespace KELCTRL;
namespace fs = std::filesystem;

class CacheFiles : public ::testing::Test {
protected:
    void SetUp() override {
        folder = fs::temp_directory_path() / ("kel_cache_" + std::to_string(::getpid()));
        ASSERT_EQ(ClearFolder(folder), 1);
        cache.SetFolder(folder);
    }
    void TearDown() override { fs::remove_all(folder); }
    fs::path folder;
    CImageCacheFiles cache;
};

TEST_F(CacheFiles, ImageRoundTripKeepsEveryByteAndTheRecord) {
    CImageDataInfo img, original;
    ASSERT_TRUE(kel_testing::MakeNoise(img, 33, 17, 3, 2, 5));
    original = img;
    const uint64_t id = CImageCacheFiles::IdOf(&img);
    ASSERT_EQ(cache.CacheImageToFile(&img), 1);
    EXPECT_TRUE(img.data.empty());
    EXPECT_EQ(img.width, 33); // the record still describes the image
    EXPECT_EQ(cache.GetCacheFileSize(id), static_cast<uint64_t>(img.stride) * img.height);
    // Caching twice without restore fails: the record no longer holds data.
    EXPECT_EQ(cache.CacheImageToFile(&img), 0);
    ASSERT_EQ(cache.RestoreImageFromCacheFile(&img), 1);
    EXPECT_TRUE(kel_testing::SamePixels(img, original));
    EXPECT_EQ(cache.GetCacheFileSize(id), 0u);           // restored: file gone
    EXPECT_EQ(cache.RestoreImageFromCacheFile(&img), 0); // holds data again
}

TEST_F(CacheFiles, TruncatedFileFailsAndStays) {
    CImageDataInfo img;
    ASSERT_TRUE(kel_testing::MakeGradient(img, 20, 20, 4, 1));
    ASSERT_EQ(cache.CacheImageToFile(&img), 1);
    const fs::path path = cache.GetCacheFilePath(CImageCacheFiles::IdOf(&img));
    fs::resize_file(path, fs::file_size(path) - 1);
    EXPECT_EQ(cache.RestoreImageFromCacheFile(&img), 0);
    EXPECT_TRUE(fs::exists(path));
    EXPECT_TRUE(img.data.empty());
}

TEST_F(CacheFiles, RegionRulesAndIdZero) {
    CSelectedRegion region;
    ASSERT_TRUE(kel_testing::MakeRampRegion(region, 40, 3));
    CSelectedRegion copy = region;
    ASSERT_EQ(cache.CacheRegionToFile(&region), 1);
    EXPECT_TRUE(region.data.empty());
    ASSERT_EQ(cache.RestoreRegionFromCacheFile(&region), 1);
    EXPECT_EQ(std::memcmp(region.Values(), copy.Values(), 40 * 3 * 2), 0);

    CSelectedRegion empty;
    empty.width = 4;
    empty.height = 4;
    EXPECT_EQ(cache.CacheRegionToFile(&empty), 0); // nothing to write
    EXPECT_EQ(cache.CacheRegionToFile(nullptr), 0);
    EXPECT_EQ(cache.GetCacheFileSize(0), 0u);
    cache.DeleteCacheFile(0); // does nothing, does not throw
    EXPECT_EQ(cache.GetCacheFilePath(0xABCDEFull).filename(), "ABCDEF.dat");
}

TEST_F(CacheFiles, FullDiskFailsCleanlyAndKeepsTheBuffer) {
    CImageDataInfo img;
    ASSERT_TRUE(kel_testing::MakeNoise(img, 512, 512, 4, 1, 9)); // 1 MiB
    int result = -1;
    {
        const auto full = kel_testing::FullDisk::FileSizeLimit(4096);
        ASSERT_TRUE(full.Active());
        result = cache.CacheImageToFile(&img);
    }
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(img.data.empty());
    EXPECT_EQ(cache.GetCacheFileSize(CImageCacheFiles::IdOf(&img)), 0u);
}

TEST_F(CacheFiles, ClearFolderEmptiesAndRecreates) {
    fs::create_directories(folder / "sub");
    std::ofstream(folder / "sub" / "f") << "x";
    ASSERT_EQ(ClearFolder(folder), 1);
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_TRUE(fs::is_empty(folder));
}
