#include "common/testing/TempFolder.h"

#include <unistd.h>

namespace kel_testing {

namespace fs = std::filesystem;

TempFolder::TempFolder(const std::string& prefix) {
    std::string pattern = (fs::temp_directory_path() / (prefix + "_XXXXXX")).string();
    if (::mkdtemp(pattern.data()))
        m_path = pattern;
}

TempFolder::~TempFolder() {
    if (m_path.empty())
        return;
    std::error_code ec;
    fs::permissions(m_path, fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(m_path, ec);
}

std::vector<std::string> TempFolder::Entries() const {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(m_path, ec))
        names.push_back(e.path().filename().string());
    return names;
}

} // namespace kel_testing
