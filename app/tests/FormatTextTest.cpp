// Guards against dictionary texts losing words or placeholders when their arguments are filled in.
#include "app/DictText.h"

#include <gtest/gtest.h>

using KELCTRL::FormatText;

TEST(FormatText, FillsPrintfStylePlaceholdersInOrder) {
    EXPECT_EQ(FormatText("%s is already running.", {"Kel Photo"}), "Kel Photo is already running.");
    EXPECT_EQ(FormatText("Cannot open \"%s\":\n%s", {"a.jpg", "corrupt"}), "Cannot open \"a.jpg\":\ncorrupt");
    EXPECT_EQ(FormatText("%d of %d files, %ls", {"3", "7", "done"}), "3 of 7 files, done");
    EXPECT_EQ(FormatText("100%% sure, %5.2f", {"1.50"}), "100% sure, 1.50");
    // Missing arguments leave the placeholder; a lone percent at the end stays.
    EXPECT_EQ(FormatText("%s and %s", {"one"}), "one and %s");
    EXPECT_EQ(FormatText("50%", {}), "50%");
    EXPECT_EQ(FormatText("%q stays", {"x"}), "%q stays");
}
