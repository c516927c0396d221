#pragma once
// localization::dictionary: every user-visible text of the process, looked up by key. Filled from
// plain ".lc" files: UTF-16 little-endian text, one "key@value" per line. Values are stored as UTF-8.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace localization {

class dictionary {
public:
    using item_map = std::map<std::string, std::string, std::less<>>;

    virtual ~dictionary() = default;

    // Merges the lines of a plain .lc image into the map. The first two bytes (the byte-order mark) are
    // skipped unchecked; lines end in CR, LF or any run of both; a line splits at its first '@'; a line
    // without '@' is a key with an empty value; a later line of a key overwrites it. Backslash-r and
    // backslash-n in values become CR and LF here, once, so that lookups never write. Returns the number
    // of lines taken.
    size_t load_plain(const void* data, size_t bytes);
    // Reads a regular file whole and merges it. A missing, unreadable, empty or oversized file returns
    // false and leaves the map as it was.
    bool load_file(const std::filesystem::path& path);

    // The value of `key`, or null when there is no entry.
    const std::string* find(std::string_view key) const;
    // The value's text; `key` itself when missing, so a missing text shows its key; null for a null or
    // empty key. The pointer stays valid until the dictionary is changed.
    const char* get_item(const char* key) const;

    size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    void clear() { m_items.clear(); }
    const item_map& items() const { return m_items; }
    // Takes every entry of `other`, overwriting equal keys.
    void merge(const dictionary& other);
    void swap(dictionary& other) noexcept { m_items.swap(other.m_items); }

    // Files above this size are refused: no dictionary comes near it.
    static constexpr std::uintmax_t kMaxFileBytes = 64u << 20;

private:
    item_map m_items;
};

// UTF-16 little-endian code units (no byte-order mark) to UTF-8. Surrogate pairs combine; a lone
// surrogate becomes U+FFFD; an odd trailing byte is dropped.
std::string utf16le_to_utf8(const unsigned char* data, size_t bytes);
// UTF-8 to UTF-16 little-endian bytes, without a byte-order mark. Invalid sequences become U+FFFD.
std::string utf8_to_utf16le(std::string_view text);
// Every backslash-r becomes CR, then every backslash-n becomes LF.
void unescape_value(std::string& value);

} // namespace localization
