// Guards the library's start and stop: the processing margin default and its setter.
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

TEST(Library, ProcessExtendDefaultsToSixteenAndIsSettable) {
    ASSERT_TRUE(ImageProcess::Initialize());
    EXPECT_EQ(ImageProcess::PROCESS_EXTEND, 16);
    ImageProcess::SetProcessExtend(40);
    EXPECT_EQ(ImageProcess::GetProcessExtend(), 40);
    ImageProcess::SetProcessExtend(-3);
    EXPECT_EQ(ImageProcess::PROCESS_EXTEND, 0);
    ImageProcess::Uninitialize();
    ASSERT_TRUE(ImageProcess::Initialize());
    EXPECT_EQ(ImageProcess::PROCESS_EXTEND, 16);
    // Transforms are made again after the cache was freed.
    const auto& s = ImageProcess::ColorProfile::GetSRGBProfile();
    EXPECT_NE(ImageProcess::ColorProfile::GetTransform(s, s, ImageProcess::ColorProfile::FORMAT_BGR_8,
                                                       ImageProcess::ColorProfile::FORMAT_BGR_8),
              nullptr);
}
