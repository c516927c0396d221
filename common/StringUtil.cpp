#include "common/StringUtil.h"

#include <charconv>
#include <cstdint>

namespace KELCTRL {

std::string Float2String(double value, int decimals) {
    // to_chars ignores the C locale, which the toolkit may have changed.
    const int precision = decimals < 0 ? 6 : decimals;
    char buffer[400];
    auto res = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, precision);
    if (res.ec != std::errc())
        return std::string();
    std::string s(buffer, res.ptr);
    if (decimals > 0 && s.find('.') != std::string::npos) {
        while (!s.empty() && s.back() == '0')
            s.pop_back();
        if (!s.empty() && s.back() == '.')
            s.pop_back();
    }
    if (s == "-0")
        s = "0";
    return s;
}

namespace {
bool IsAsciiAlnum(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Decodes one UTF-8 code point at i; malformed bytes come through as themselves.
char32_t NextCodePoint(std::string_view s, size_t& i) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    int extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
    if (extra && i + extra >= s.size())
        extra = 0; // truncated sequence at the end
    char32_t cp = extra == 0 ? c : (c & (0x3F >> extra));
    for (int k = 1; k <= extra; ++k) {
        const unsigned char cc = static_cast<unsigned char>(s[i + k]);
        if ((cc & 0xC0) != 0x80) {
            ++i;
            return c;
        }
        cp = cp << 6 | (cc & 0x3F);
    }
    i += 1 + extra;
    return cp;
}

char32_t FoldCase(char32_t c) {
    if (c >= 'A' && c <= 'Z')
        return c + 32;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) // Latin-1 capitals
        return c + 32;
    return c;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
} // namespace

void RemoveNonNumberLetter(std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        const size_t start = i;
        const char32_t cp = NextCodePoint(text, i);
        if (cp < 0x80 ? IsAsciiAlnum(static_cast<unsigned char>(cp)) : true)
            out.append(text, start, i - start);
    }
    text.swap(out);
}

std::vector<std::string> SplitString(std::string_view text, std::string_view separator) {
    std::vector<std::string> items;
    if (separator.empty()) {
        if (!text.empty())
            items.emplace_back(text);
        return items;
    }
    size_t start = 0;
    while (start <= text.size()) {
        const size_t pos = text.find(separator, start);
        const size_t end = pos == std::string_view::npos ? text.size() : pos;
        if (end > start)
            items.emplace_back(text.substr(start, end - start));
        if (pos == std::string_view::npos)
            break;
        start = pos + separator.size();
    }
    return items;
}

int NaturalCompare(std::string_view a, std::string_view b) {
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (IsDigit(a[i]) && IsDigit(b[j])) {
            // Compare digit runs by value: skip leading zeros, then the longer run is larger.
            size_t ia = i, jb = j;
            while (ia < a.size() && a[ia] == '0')
                ++ia;
            while (jb < b.size() && b[jb] == '0')
                ++jb;
            size_t ea = ia, eb = jb;
            while (ea < a.size() && IsDigit(a[ea]))
                ++ea;
            while (eb < b.size() && IsDigit(b[eb]))
                ++eb;
            if (ea - ia != eb - jb)
                return ea - ia < eb - jb ? -1 : 1;
            const int c = a.substr(ia, ea - ia).compare(b.substr(jb, eb - jb));
            if (c != 0)
                return c < 0 ? -1 : 1;
            i = ea;
            j = eb;
            continue;
        }
        const char32_t ca = FoldCase(NextCodePoint(a, i));
        const char32_t cb = FoldCase(NextCodePoint(b, j));
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (i < a.size())
        return 1;
    if (j < b.size())
        return -1;
    return 0;
}

} // namespace KELCTRL
