#include "common/UniqueID.h"

#include <cstdio>
#include <cstring>
#include <random>

UniqueID::UniqueID(uint32_t d1, uint16_t d2, uint16_t d3, const uint8_t (&d4)[8])
    : data1(d1), data2(d2), data3(d3) {
    std::memcpy(data4, d4, 8);
    UpdateText();
}

namespace {
int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}
} // namespace

bool UniqueID::Parse(std::string_view text) {
    data1 = data2 = data3 = 0;
    std::memset(data4, 0, sizeof data4);
    uint8_t bytes[16] = {};
    bool ok = text.size() == 36;
    for (size_t i = 0, nibble = 0; ok && i < 36; ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            ok = text[i] == '-';
            continue;
        }
        const int d = HexDigit(text[i]);
        ok = d >= 0;
        if (ok) {
            bytes[nibble / 2] = static_cast<uint8_t>(bytes[nibble / 2] << 4 | d);
            ++nibble;
        }
    }
    if (ok) {
        // The text is big-endian per field: data1, data2, data3, then the eight bytes of data4.
        data1 = uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
        data2 = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
        data3 = static_cast<uint16_t>(bytes[6] << 8 | bytes[7]);
        std::memcpy(data4, bytes + 8, 8);
    }
    UpdateText();
    return ok;
}

void UniqueID::UpdateText() {
    std::snprintf(m_text, sizeof m_text, "%.8X-%.4X-%.4X-%.2X%.2X-%.2X%.2X%.2X%.2X%.2X%.2X", data1, data2,
                  data3, data4[0], data4[1], data4[2], data4[3], data4[4], data4[5], data4[6], data4[7]);
}

uint64_t UniqueID::Low() const {
    return uint64_t(data1) | uint64_t(data2) << 32 | uint64_t(data3) << 48;
}

uint64_t UniqueID::High() const {
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = v << 8 | data4[i];
    return v;
}

UniqueID UniqueID::Generate() {
    static thread_local std::mt19937_64 engine{std::random_device{}()};
    UniqueID id;
    do {
        const uint64_t a = engine(), b = engine();
        id.data1 = static_cast<uint32_t>(a);
        id.data2 = static_cast<uint16_t>(a >> 32);
        id.data3 = static_cast<uint16_t>(((a >> 48) & 0x0FFF) | 0x4000); // version 4
        for (int i = 0; i < 8; ++i)
            id.data4[i] = static_cast<uint8_t>(b >> (8 * i));
        id.data4[0] = static_cast<uint8_t>((id.data4[0] & 0x3F) | 0x80); // variant 1
    } while (id.IsNull());
    id.UpdateText();
    return id;
}
