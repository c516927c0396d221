// Guards against pixel loops starting while the upper halves of the vector registers are in use,
// which slows the library's SSE-encoded loops on AVX processors by half or more.
#include "common/testing/VectorRegisters.h"
#include "imageprocess/PixelAccess.h"

#include <gtest/gtest.h>

using namespace kel_testing;

TEST(VectorState, PixelLoopsStartWithTheUpperHalvesClear) {
    if (!CanReadVectorStateInUse())
        GTEST_SKIP() << "the processor does not report its register state";
    UseUpperVectorHalves();
    ASSERT_TRUE(UpperVectorHalvesInUse());
    ImageProcess::detail::ClearUpperVectorState();
    EXPECT_FALSE(UpperVectorHalvesInUse());

    // The row splitter clears them before each band, on the caller's thread too.
    bool dirtyInBody = true;
    UseUpperVectorHalves();
    ASSERT_TRUE(UpperVectorHalvesInUse());
    ImageProcess::detail::ParallelRows(1, 1, nullptr,
                                       [&](int, int) { dirtyInBody = UpperVectorHalvesInUse(); });
    EXPECT_FALSE(dirtyInBody);
}
