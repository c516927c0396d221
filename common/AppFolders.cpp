#include "common/AppFolders.h"

#include <mutex>

namespace KELCTRL {
namespace {

std::mutex& FolderLock() {
    static std::mutex lock;
    return lock;
}
std::filesystem::path& TempFolder() {
    static std::filesystem::path folder;
    return folder;
}

} // namespace

void SetTempFolder(const std::filesystem::path& folder) {
    std::lock_guard<std::mutex> guard(FolderLock());
    TempFolder() = folder;
}

std::filesystem::path GetTempFolder() {
    std::lock_guard<std::mutex> guard(FolderLock());
    return TempFolder();
}

} // namespace KELCTRL
