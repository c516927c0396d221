#include "common/dictionary.h"

#include <cstdint>
#include <fstream>
#include <system_error>

namespace localization {
namespace {

void AppendUtf8(std::string& out, uint32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

void AppendUtf16(std::string& out, uint32_t unit) {
    out.push_back(static_cast<char>(unit & 0xFF));
    out.push_back(static_cast<char>(unit >> 8));
}

void ReplaceAll(std::string& s, std::string_view from, char to) {
    size_t pos = 0;
    while ((pos = s.find(from, pos)) != std::string::npos) {
        s.replace(pos, from.size(), 1, to);
        ++pos;
    }
}

// Decodes one UTF-8 sequence at s[i]; advances i. Returns U+FFFD for anything malformed.
uint32_t NextCodePoint(std::string_view s, size_t& i) {
    const auto c = static_cast<unsigned char>(s[i++]);
    if (c < 0x80)
        return c;
    int extra = 0;
    uint32_t cp = 0;
    uint32_t min = 0;
    if ((c & 0xE0) == 0xC0) {
        extra = 1, cp = c & 0x1F, min = 0x80;
    } else if ((c & 0xF0) == 0xE0) {
        extra = 2, cp = c & 0x0F, min = 0x800;
    } else if ((c & 0xF8) == 0xF0) {
        extra = 3, cp = c & 0x07, min = 0x10000;
    } else {
        return 0xFFFD;
    }
    for (int k = 0; k < extra; ++k) {
        if (i >= s.size() || (static_cast<unsigned char>(s[i]) & 0xC0) != 0x80)
            return 0xFFFD;
        cp = (cp << 6) | (static_cast<unsigned char>(s[i++]) & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0xFFFD;
    return cp;
}

} // namespace

std::string utf16le_to_utf8(const unsigned char* data, size_t bytes) {
    std::string out;
    out.reserve(bytes);
    const size_t units = bytes / 2;
    for (size_t i = 0; i < units; ++i) {
        const uint32_t u = data[2 * i] | (uint32_t(data[2 * i + 1]) << 8);
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units) {
            const uint32_t lo = data[2 * i + 2] | (uint32_t(data[2 * i + 3]) << 8);
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00));
                ++i;
                continue;
            }
        }
        AppendUtf8(out, (u >= 0xD800 && u <= 0xDFFF) ? 0xFFFD : u);
    }
    return out;
}

std::string utf8_to_utf16le(std::string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    for (size_t i = 0; i < text.size();) {
        const uint32_t cp = NextCodePoint(text, i);
        if (cp >= 0x10000) {
            AppendUtf16(out, 0xD800 + ((cp - 0x10000) >> 10));
            AppendUtf16(out, 0xDC00 + ((cp - 0x10000) & 0x3FF));
        } else {
            AppendUtf16(out, cp);
        }
    }
    return out;
}

void unescape_value(std::string& value) {
    ReplaceAll(value, "\\r", '\r');
    ReplaceAll(value, "\\n", '\n');
}

size_t dictionary::load_plain(const void* data, size_t bytes) {
    if (data == nullptr || bytes <= 2)
        return 0;
    // Markup is all ASCII, so splitting the UTF-8 form at CR, LF and '@' is the same as splitting the
    // UTF-16 form.
    const std::string text = utf16le_to_utf8(static_cast<const unsigned char*>(data) + 2, bytes - 2);
    size_t taken = 0;
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t end = text.find_first_of("\r\n", pos);
        const size_t lineEnd = end == std::string::npos ? text.size() : end;
        if (lineEnd > pos) {
            const std::string_view line(text.data() + pos, lineEnd - pos);
            const size_t at = line.find('@');
            std::string value;
            if (at != std::string_view::npos) {
                value.assign(line.substr(at + 1));
                unescape_value(value);
            }
            m_items.insert_or_assign(std::string(line.substr(0, at)), std::move(value));
            ++taken;
        }
        pos = text.find_first_not_of("\r\n", lineEnd);
        if (pos == std::string::npos)
            break;
    }
    return taken;
}

bool dictionary::load_file(const std::filesystem::path& path) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        return false;
    const std::uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec || size == 0 || size > kMaxFileBytes)
        return false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::string bytes(static_cast<size_t>(size), '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    // A file that shrank while being read is taken as far as it was read.
    bytes.resize(static_cast<size_t>(in.gcount()));
    if (bytes.empty())
        return false;
    load_plain(bytes.data(), bytes.size());
    return true;
}

const std::string* dictionary::find(std::string_view key) const {
    const auto it = m_items.find(key);
    return it == m_items.end() ? nullptr : &it->second;
}

const char* dictionary::get_item(const char* key) const {
    if (key == nullptr || *key == '\0')
        return nullptr;
    const std::string* value = find(key);
    return value ? value->c_str() : key;
}

void dictionary::merge(const dictionary& other) {
    for (const auto& [key, value] : other.m_items)
        m_items.insert_or_assign(key, value);
}

} // namespace localization
