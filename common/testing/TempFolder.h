#pragma once
// A private temporary folder for a test, removed with everything in it (read-only entries too).
#include <filesystem>
#include <string>
#include <vector>

namespace kel_testing {

class TempFolder {
public:
    // `prefix` names the folder in the system's temporary folder; path() is empty when it could not
    // be made.
    explicit TempFolder(const std::string& prefix = "kel_test");
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }
    // Names of every entry, to prove that no temporary was left behind.
    std::vector<std::string> Entries() const;

private:
    std::filesystem::path m_path;
};

} // namespace kel_testing
