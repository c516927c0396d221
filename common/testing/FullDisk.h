#pragma once
// A disk that fills up, for tests of writers that must fail cleanly: either the process file-size
// limit (writes past a size fail with EFBIG, always available) or a small tmpfs mounted on a folder
// (writes fail with ENOSPC, as on a real full disk; needs the right to mount).
#include <cstdint>
#include <filesystem>

namespace kel_testing {

class FullDisk {
public:
    // Until the object is destroyed, no file of this process grows past `bytes`; SIGXFSZ is ignored
    // so that the failure reaches the writer as an error instead of ending the process.
    static FullDisk FileSizeLimit(std::uint64_t bytes) { return FullDisk(bytes); }
    // A tmpfs of `bytes` mounted on `folder` (created when missing) until the object is destroyed.
    static FullDisk Tmpfs(const std::filesystem::path& folder, std::uint64_t bytes) {
        return FullDisk(folder, bytes);
    }
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

    // False when the limit could not be set or the tmpfs not mounted (the test should skip or fail).
    bool Active() const { return m_active; }

private:
    explicit FullDisk(std::uint64_t limit);
    FullDisk(const std::filesystem::path& folder, std::uint64_t bytes);

    bool m_active = false;
    bool m_limit = false;
    std::uint64_t m_oldLimit = 0;
    void (*m_oldHandler)(int) = nullptr;
    std::filesystem::path m_mountPoint;
};

// Runs `f` with writes limited to `bytes` per file and returns its result.
template <typename F> auto WithFileSizeLimit(std::uint64_t bytes, F&& f) {
    const FullDisk limit = FullDisk::FileSizeLimit(bytes);
    return f();
}

} // namespace kel_testing
