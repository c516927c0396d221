#pragma once
// Moves large pixel buffers out of memory into raw files of the cache folder and back; the undo paths
// of the tools use it. A buffer's file is named after the address of the record that owns it, so two
// records never collide, and the record keeps its sizes while its array is empty: an array of 0 bytes
// marks a record whose pixels lie in the file.
#include <cstdint>
#include <filesystem>

class CImageDataInfo;
class CSelectedRegion;

namespace KELCTRL {

class CImageCacheFiles {
public:
    CImageCacheFiles() = default;
    explicit CImageCacheFiles(std::filesystem::path folder) : m_folder(std::move(folder)) {}
    virtual ~CImageCacheFiles() = default;

    void SetFolder(const std::filesystem::path& folder) { m_folder = folder; }
    const std::filesystem::path& Folder() const { return m_folder; }

    // The cache folder plus the id in upper-case hexadecimal and ".dat".
    std::filesystem::path GetCacheFilePath(uint64_t id) const;
    // Id 0 does nothing.
    void DeleteCacheFile(uint64_t id) const;
    // Byte size; 0 for id 0 or a missing file.
    uint64_t GetCacheFileSize(uint64_t id) const;

    // Writes the pixel bytes (row padding included) and frees the array. 1 on success; on failure
    // the caller keeps its buffer.
    int CacheImageToFile(CImageDataInfo* image) const;
    // Refuses a record that still holds data. On success the file is deleted; on failure it stays.
    int RestoreImageFromCacheFile(CImageDataInfo* image) const;
    int CacheRegionToFile(CSelectedRegion* region) const;
    int RestoreRegionFromCacheFile(CSelectedRegion* region) const;

    static uint64_t IdOf(const void* record) {
        return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(record));
    }

private:
    std::filesystem::path m_folder;
};

// Deletes everything in a folder when it exists, then creates it again. 1 when the folder exists after.
int ClearFolder(const std::filesystem::path& folder);

} // namespace KELCTRL
