// Plain .lc dictionary files: any bytes must load without a crash, and what loads must obey the
// format's rules (no line ends in keys, escapes replaced, lookups answering for every stored key).
#include "common/dictionary.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    localization::dictionary d;
    const size_t lines = d.load_plain(data, size);
    if (d.size() > lines)
        std::abort();
    for (const auto& [key, value] : d.items()) {
        if (key.find_first_of("\r\n") != std::string::npos)
            std::abort();
        if (value.find("\\r") != std::string::npos || value.find("\\n") != std::string::npos)
            std::abort();
        if (key.find('@') != std::string::npos)
            std::abort();
        // Narrow callers see a text up to its first NUL, as a C string.
        const char* item = d.get_item(key.c_str());
        if (!key.empty() && key.find('\0') == std::string::npos &&
            (item == nullptr || std::string_view(item) != std::string_view(value.c_str())))
            std::abort();
    }
    // Loading the same bytes again changes nothing: later lines overwrite, they never append.
    localization::dictionary again = d;
    again.load_plain(data, size);
    if (again.items() != d.items())
        std::abort();
    // The UTF-8 form converts back to UTF-16 and again to the same text.
    if (size > 2) {
        const std::string text = localization::utf16le_to_utf8(data + 2, size - 2);
        const std::string wide = localization::utf8_to_utf16le(text);
        const auto* w = reinterpret_cast<const unsigned char*>(wide.data());
        if (localization::utf16le_to_utf8(w, wide.size()) != text)
            std::abort();
    }
    return 0;
}
