// Guards against wrong row padding, a lost bottom-up rule and arrays that keep or lose content wrongly.
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"
#include "common/fast_array.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(CImageDataInfo, CreatePadsRowsForVectorLoads) {
    CImageDataInfo grey16;
    ASSERT_EQ(grey16.Create(10, 3, 1, 2), 1);
    // 2 bytes a pixel is neither 1, 3 nor 4: 14 bytes of guard, then rounded to the alignment of 4.
    EXPECT_EQ(grey16.stride, 20 + 16);
    EXPECT_TRUE(grey16.IsValid(true));

    CImageDataInfo rgb8;
    ASSERT_EQ(rgb8.Create(5, 2, 3, 1), 1);
    EXPECT_EQ(rgb8.stride, 16); // 15 bytes, no guard, rounded to 4

    CImageDataInfo rgba16;
    ASSERT_EQ(rgba16.Create(3, 1, 4, 2), 1);
    EXPECT_EQ(rgba16.stride, 3 * 8 + 8);
}

TEST(CImageDataInfo, CreateRefusesBadSizesAndKeepsMatchingBuffer) {
    CImageDataInfo img;
    EXPECT_EQ(img.Create(0, 5, 3, 1), 0);
    EXPECT_EQ(img.Create(5, -1, 3, 1), 0);
    EXPECT_EQ(img.Create(5, 5, 2, 1), 0);
    EXPECT_EQ(img.Create(5, 5, 3, 0), 0);
    ASSERT_EQ(img.Create(8, 8, 4, 1), 1);
    img.data[0] = 77;
    const unsigned char* before = img.data.data();
    ASSERT_EQ(img.Create(8, 8, 4, 1), 1);
    EXPECT_EQ(img.data.data(), before);
    EXPECT_EQ(img.data[0], 77);
}

TEST(CImageDataInfo, BottomUpRowZeroIsTheLastStoredRow) {
    CImageDataInfo rgb8;
    ASSERT_EQ(rgb8.Create(4, 3, 3, 1), 1);
    EXPECT_EQ(rgb8.PixelPtr(0, 0), rgb8.data.data() + 2 * rgb8.stride);
    EXPECT_EQ(rgb8.PixelPtr(1, 2), rgb8.data.data() + 3);
    EXPECT_EQ(rgb8.RowStep(), -rgb8.stride);

    CImageDataInfo rgba8;
    ASSERT_EQ(rgba8.Create(4, 3, 4, 1), 1);
    EXPECT_EQ(rgba8.PixelPtr(0, 0), rgba8.data.data());
    EXPECT_EQ(rgba8.PixelPtr(4, 0), nullptr);
    EXPECT_EQ(rgba8.PixelPtr(0, -1), nullptr);
}

TEST(CImageDataInfo, IsValidChecksEveryField) {
    CImageDataInfo img;
    EXPECT_FALSE(img.IsValid(false));
    ASSERT_EQ(img.Create(4, 4, 1, 1), 1);
    EXPECT_TRUE(img.IsValid(true));
    img.stride = 3; // less than a row
    EXPECT_FALSE(img.IsValid(false));
    img.stride = 6; // not a multiple of the alignment
    EXPECT_FALSE(img.IsValid(false));
    img.stride = 8;
    EXPECT_TRUE(img.IsValid(false));
    EXPECT_FALSE(img.IsValid(true)); // buffer is 4 * 4 bytes, not 8 * 4
    img.alignment = 0;
    EXPECT_TRUE(img.IsValid(false)); // no division by a zero alignment
}

TEST(CImageDataInfo, AssignmentCopiesBytesAndReleaseClears) {
    CImageDataInfo a;
    ASSERT_EQ(a.Create(7, 5, 3, 2), 1);
    for (size_t i = 0; i < a.data.byte_size(); ++i)
        a.data[i] = static_cast<unsigned char>(i * 7);
    CImageDataInfo b;
    b = a;
    ASSERT_EQ(b.data.byte_size(), a.data.byte_size());
    EXPECT_EQ(std::memcmp(a.data.data(), b.data.data(), a.data.byte_size()), 0);
    EXPECT_NE(a.data.data(), b.data.data());
    b.Release();
    EXPECT_EQ(b.width, 0);
    EXPECT_TRUE(b.data.empty());
}

TEST(sse_array, ResizeKeepsContentOnlyAtTheSameSize) {
    sse_array<unsigned char> arr;
    ASSERT_TRUE(arr.resize(100));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(arr.data()) % 16, 0u);
    EXPECT_EQ(arr.capacity(), 132u);
    std::memset(arr.data(), 0xAB, 100);
    ASSERT_TRUE(arr.resize(100));
    EXPECT_EQ(arr[99], 0xAB);
    ASSERT_TRUE(arr.resize(0));
    EXPECT_TRUE(arr.empty());
    EXPECT_EQ(arr.data(), nullptr);

    sse_array<unsigned char> copy;
    ASSERT_TRUE(copy.resize(7));
    ASSERT_TRUE(arr.resize(5));
    std::memcpy(arr.data(), "abcde", 5);
    ASSERT_TRUE(copy.copy_from(arr));
    EXPECT_EQ(copy.byte_size(), 5u);
    EXPECT_NE(copy.data(), arr.data());
    EXPECT_EQ(std::memcmp(copy.data(), "abcde", 5), 0);
    sse_array<unsigned char> none;
    ASSERT_TRUE(copy.copy_from(none));
    EXPECT_TRUE(copy.empty());

    sse_array<TINT4> ints;
    ASSERT_TRUE(ints.resize(3));
    EXPECT_EQ(ints.byte_size(), 48u);
    EXPECT_EQ(ints.size(), 3u);
}

TEST(fast_array, ResizeToOtherSizeReplacesStorage) {
    fast_array<double> arr;
    ASSERT_TRUE(arr.resize(4));
    arr[3] = 2.5;
    ASSERT_TRUE(arr.resize(4));
    EXPECT_EQ(arr[3], 2.5);
    ASSERT_TRUE(arr.resize(5));
    EXPECT_EQ(arr.size(), 5u);
}

TEST(CSelectedRegion, UsableOnlyWithMatchingData) {
    CSelectedRegion r;
    EXPECT_FALSE(r.IsUsable());
    r.width = 3;
    r.height = 2;
    EXPECT_TRUE(r.IsUsable()); // empty data is allowed
    ASSERT_TRUE(r.data.resize(11));
    EXPECT_FALSE(r.IsUsable());
    ASSERT_EQ(r.Create(3, 2, 0xFFFF), 1);
    EXPECT_TRUE(r.IsUsable());
    EXPECT_EQ(r.Row(1)[2], 0xFFFF);
}
