#pragma once
// A 128-bit identifier, the key of every preset. Its text form is cached; the all-zero value is null.
#include <cstdint>
#include <string>
#include <string_view>

class UniqueID {
public:
    uint32_t data1 = 0;
    uint16_t data2 = 0;
    uint16_t data3 = 0;
    uint8_t data4[8] = {};

    UniqueID() { UpdateText(); }
    UniqueID(uint32_t d1, uint16_t d2, uint16_t d3, const uint8_t (&d4)[8]);
    // Parses the 36-character text form; anything else gives the null id.
    explicit UniqueID(std::string_view text) { Parse(text); }

    // 36 characters, hexadecimal digits of either case, '-' at 8, 13, 18 and 23. Returns false and
    // leaves every part zero for any other input.
    bool Parse(std::string_view text);
    // "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" in upper case.
    const char* Text() const { return m_text; }
    std::string ToString() const { return m_text; }
    bool IsNull() const { return Low() == 0 && High() == 0; }
    // A fresh random (version 4) identifier.
    static UniqueID Generate();

    // The two little-endian 64-bit words of the 16 bytes, in memory order: the order of the type.
    uint64_t Low() const;
    uint64_t High() const;
    bool operator==(const UniqueID& o) const { return Low() == o.Low() && High() == o.High(); }
    bool operator<(const UniqueID& o) const { return Low() != o.Low() ? Low() < o.Low() : High() < o.High(); }

private:
    void UpdateText();
    char m_text[37] = {};
};
