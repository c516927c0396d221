#pragma once
// The process's one dictionary, how it is filled from its four layers of .lc files, and the text
// lookup every module uses. No Qt: windows convert the UTF-8 result at their edge.
#include "common/dictionary.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace localization {

// A layer that must exist had neither its own file nor its English fallback. Start-up cannot go on
// without the texts, so this ends it; what() names both files that were looked for.
class missing_dictionary : public std::runtime_error {
public:
    missing_dictionary(const std::filesystem::path& file, const std::filesystem::path& fallback);
    const std::filesystem::path& file() const { return m_file; }
    const std::filesystem::path& fallback() const { return m_fallback; }

private:
    std::filesystem::path m_file;
    std::filesystem::path m_fallback;
};

// One layer: the installed language's file, its English fallback, and whether start-up needs it.
struct dictionary_layer {
    const char* file;
    const char* fallback;
    bool required;
};
// In load order: common texts, the library's, the optional watermark layer, the product's own. Later
// layers overwrite earlier keys, so a product's text wins over the library's.
inline constexpr dictionary_layer kDictionaryLayers[4] = {
    {"com.lc", "en_com.lc", true},
    {"kelctrl.lc", "en_kelctrl.lc", true},
    {"wm.lc", "en_wm.lc", false},
    {"app.lc", "en.lc", true},
};

// The dictionary every lookup reads. Filled before any thread starts and only read afterwards.
dictionary& global_dictionary();

// Fills `target` from the layers in `folder`. The language is whichever files were installed there: a
// layer's own file when it loads, else its English file. A required layer with neither throws
// missing_dictionary and leaves `target` untouched. `enciphered` selects the enciphered file form,
// which this build does not have; such files are read in the plain form. Returns the number of files
// loaded.
int LoadAllDicts(dictionary& target, const std::filesystem::path& folder, int enciphered);
// The same for the global dictionary.
int LoadAllDicts(const std::filesystem::path& folder, int enciphered);

} // namespace localization

namespace KELCTRL {

// The text of `key` from the global dictionary, UTF-8; `key` itself when the dictionary has no entry,
// so a missing text shows its key; null for a null or empty key.
const char* GetDictItem(const char* key);
// Whether the global dictionary has an entry for `key` (IDS_LANGID is optional, for example).
bool HasDictItem(const char* key);

} // namespace KELCTRL
