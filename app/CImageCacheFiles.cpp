#include "app/CImageCacheFiles.h"

#include "common/CFunctionTimeCost.h"
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"
#include "common/FileUtil.h"
#include "common/LargeDataFile.h"

#include <cinttypes>
#include <cstdio>
#include <limits>

namespace KELCTRL {

namespace fs = std::filesystem;

namespace {
// Cache files keep 32-bit sizes: larger buffers stay in memory.
bool FitsCacheFile(uint64_t bytes) {
    return bytes > 0 && bytes <= std::numeric_limits<uint32_t>::max();
}
} // namespace

fs::path CImageCacheFiles::GetCacheFilePath(uint64_t id) const {
    char name[32];
    std::snprintf(name, sizeof name, "%" PRIX64 ".dat", id);
    return m_folder / name;
}

void CImageCacheFiles::DeleteCacheFile(uint64_t id) const {
    if (id == 0)
        return;
    std::error_code ec;
    fs::remove(GetCacheFilePath(id), ec);
}

uint64_t CImageCacheFiles::GetCacheFileSize(uint64_t id) const {
    if (id == 0)
        return 0;
    std::error_code ec;
    const uintmax_t size = fs::file_size(GetCacheFilePath(id), ec);
    return ec ? 0 : static_cast<uint64_t>(size);
}

int CImageCacheFiles::CacheImageToFile(CImageDataInfo* image) const {
    CFunctionTimeCost timer("KELCTRL::CPhotoEditorApp::CacheImageToFile");
    if (!image || !image->IsValid(true))
        return 0;
    const uint64_t bytes = static_cast<uint64_t>(image->stride) * static_cast<uint64_t>(image->height);
    if (!FitsCacheFile(bytes))
        return 0;
    if (!WriteLargeDataToFile(image->data.data(), static_cast<uint32_t>(bytes),
                              GetCacheFilePath(IdOf(image))))
        return 0;
    image->data.release();
    return 1;
}

int CImageCacheFiles::RestoreImageFromCacheFile(CImageDataInfo* image) const {
    CFunctionTimeCost timer("KELCTRL::CPhotoEditorApp::RestoreImageFromCacheFile");
    if (!image || !image->data.empty() || !image->IsValid(false))
        return 0;
    const uint64_t bytes = static_cast<uint64_t>(image->stride) * static_cast<uint64_t>(image->height);
    if (!FitsCacheFile(bytes))
        return 0;
    sse_array<unsigned char> fresh;
    if (!fresh.resize(static_cast<size_t>(bytes)))
        return 0;
    const fs::path path = GetCacheFilePath(IdOf(image));
    if (!ReadLargeDataFromFile(fresh.data(), static_cast<uint32_t>(bytes), path))
        return 0;
    image->data.swap(fresh);
    std::error_code ec;
    fs::remove(path, ec);
    return 1;
}

int CImageCacheFiles::CacheRegionToFile(CSelectedRegion* region) const {
    CFunctionTimeCost timer("KELCTRL::CPhotoEditorApp::CacheRegionToFile");
    if (!region || region->width < 1 || region->height < 1)
        return 0;
    const uint64_t bytes = static_cast<uint64_t>(region->width) * static_cast<uint64_t>(region->height) * 2;
    if (region->data.byte_size() != 0 && region->data.byte_size() != bytes)
        return 0;
    // An empty region writes nothing and fails: there is nothing to restore later.
    if (region->data.empty() || !FitsCacheFile(bytes))
        return 0;
    if (!WriteLargeDataToFile(region->data.data(), static_cast<uint32_t>(bytes),
                              GetCacheFilePath(IdOf(region))))
        return 0;
    region->data.release();
    return 1;
}

int CImageCacheFiles::RestoreRegionFromCacheFile(CSelectedRegion* region) const {
    CFunctionTimeCost timer("KELCTRL::CPhotoEditorApp::RestoreRegionFromCacheFile");
    if (!region || !region->data.empty() || region->width < 1 || region->height < 1)
        return 0;
    const uint64_t bytes = static_cast<uint64_t>(region->width) * static_cast<uint64_t>(region->height) * 2;
    if (!FitsCacheFile(bytes))
        return 0;
    sse_array<unsigned char> fresh;
    if (!fresh.resize(static_cast<size_t>(bytes)))
        return 0;
    const fs::path path = GetCacheFilePath(IdOf(region));
    if (!ReadLargeDataFromFile(fresh.data(), static_cast<uint32_t>(bytes), path))
        return 0;
    region->data.swap(fresh);
    std::error_code ec;
    fs::remove(path, ec);
    return 1;
}

int ClearFolder(const fs::path& folder) {
    std::error_code ec;
    if (fs::exists(folder, ec))
        fs::remove_all(folder, ec);
    return CreateDirectoryTree(folder);
}

} // namespace KELCTRL
