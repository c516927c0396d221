// Guards against lenient identifier parsing, a wrong text form and an order that is not total.
#include "common/UniqueID.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

TEST(UniqueID, TextRoundTripAndFormat) {
    const uint8_t d4[8] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    UniqueID id(0x0A0B0C0D, 0x1234, 0xBEEF, d4);
    EXPECT_STREQ(id.Text(), "0A0B0C0D-1234-BEEF-0123-456789ABCDEF");
    UniqueID parsed("0a0b0c0d-1234-beef-0123-456789abcdef"); // lower case accepted
    EXPECT_TRUE(parsed == id);
    EXPECT_STREQ(parsed.Text(), id.Text());
    EXPECT_TRUE(UniqueID().IsNull());
    EXPECT_STREQ(UniqueID().Text(), "00000000-0000-0000-0000-000000000000");
}

TEST(UniqueID, StrictParsingYieldsNullOnAnyDefect) {
    const char* bad[] = {
        "0A0B0C0D-1234-BEEF-0123_456789ABCDEF",  // wrong separator
        "0A0B0C0D-1234-BEEF-0123-456789ABCDE",   // 35 characters
        "0A0B0C0D-1234-BEEF-0123-456789ABCDEF0", // 37 characters
        "0A0B0C0D-1234-BEEF-0123-456789ABCDEG",  // not hexadecimal
        "{A0B0C0D-1234-BEEF-0123-456789ABCDEF",  // braces are not part of the form
        "0A0B0C0D12345BEEF-0123-456789ABCDEF-",  // separators in the wrong places
        "",
    };
    for (const char* text : bad) {
        UniqueID id;
        EXPECT_FALSE(id.Parse(text)) << text;
        EXPECT_TRUE(id.IsNull()) << text;
        EXPECT_EQ(id.data1, 0u);
    }
    // A failed parse also clears a previous value.
    UniqueID id = UniqueID::Generate();
    EXPECT_FALSE(id.Parse("nonsense"));
    EXPECT_TRUE(id.IsNull());
}

TEST(UniqueID, OrderByLittleEndianWords) {
    const uint8_t zero[8] = {};
    const uint8_t one[8] = {1, 0, 0, 0, 0, 0, 0, 0};
    const uint8_t high[8] = {0, 0, 0, 0, 0, 0, 0, 1};
    UniqueID a(1, 0, 0, zero), b(0, 1, 0, zero), c(0, 0, 0, one), d(0, 0, 0, high);
    // data2 sits above data1 in the first little-endian word.
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    // The second word starts with data4[0] as its lowest byte.
    EXPECT_TRUE(c < d);
    EXPECT_TRUE(c < a);
    std::map<UniqueID, int> m{{d, 4}, {a, 1}, {c, 3}, {b, 2}};
    EXPECT_EQ(m.begin()->second, 3);
}

TEST(UniqueID, GenerateGivesDistinctVersion4Ids) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        UniqueID id = UniqueID::Generate();
        EXPECT_FALSE(id.IsNull());
        EXPECT_EQ(id.data3 >> 12, 4);
        EXPECT_TRUE(UniqueID(id.Text()) == id);
        seen.insert(id.ToString());
    }
    EXPECT_EQ(seen.size(), 1000u);
}
