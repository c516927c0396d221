#include "common/Dictionaries.h"

#include "common/DebugTrace.h"

namespace localization {

missing_dictionary::missing_dictionary(const std::filesystem::path& file,
                                       const std::filesystem::path& fallback)
    : std::runtime_error("Dictionary missing: neither \"" + file.string() + "\" nor \"" + fallback.string() +
                         "\" could be read"),
      m_file(file), m_fallback(fallback) {}

dictionary& global_dictionary() {
    static dictionary instance;
    return instance;
}

int LoadAllDicts(dictionary& target, const std::filesystem::path& folder, int enciphered) {
    if (enciphered)
        DebugTrace("[LoadAllDicts] Enciphered dictionaries are read in the plain form\n");
    // Build aside and swap at the end, so a missing layer leaves the old texts whole.
    dictionary loaded;
    int files = 0;
    for (const dictionary_layer& layer : kDictionaryLayers) {
        const std::filesystem::path own = folder / layer.file;
        const std::filesystem::path english = folder / layer.fallback;
        if (loaded.load_file(own) || loaded.load_file(english)) {
            ++files;
            continue;
        }
        if (layer.required)
            throw missing_dictionary(own, english);
    }
    target.swap(loaded);
    return files;
}

int LoadAllDicts(const std::filesystem::path& folder, int enciphered) {
    return LoadAllDicts(global_dictionary(), folder, enciphered);
}

} // namespace localization

namespace KELCTRL {

const char* GetDictItem(const char* key) {
    return localization::global_dictionary().get_item(key);
}

bool HasDictItem(const char* key) {
    return key != nullptr && localization::global_dictionary().find(key) != nullptr;
}

} // namespace KELCTRL
