// Start and stop of the file library.
#include "imagefile/ImageFile.h"
#include "imagefile/Metadata.h"

#include <mutex>

namespace ImageFile {

namespace {

struct LibraryState {
    std::mutex lock;
    bool initialized = false;
    std::string appName;
    std::filesystem::path tempFolder;
};

LibraryState& State() {
    static LibraryState s;
    return s;
}

} // namespace

int Initialize(const char* appNameEdition, const std::filesystem::path& tempFolder) {
    detail::InitMetadataLibrary();
    LibraryState& s = State();
    std::lock_guard<std::mutex> guard(s.lock);
    const std::string name = appNameEdition ? appNameEdition : "";
    if (s.initialized && (s.appName != name || s.tempFolder != tempFolder))
        return 0;
    s.initialized = true;
    s.appName = name;
    s.tempFolder = tempFolder;
    return 1;
}

void Uninitialize() {
    LibraryState& s = State();
    std::lock_guard<std::mutex> guard(s.lock);
    s.initialized = false;
    s.appName.clear();
    s.tempFolder.clear();
}

int IsInitialized() {
    LibraryState& s = State();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.initialized ? 1 : 0;
}

} // namespace ImageFile
