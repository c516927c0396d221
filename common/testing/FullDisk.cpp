#include "common/testing/FullDisk.h"

#include <csignal>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>

namespace kel_testing {

FullDisk::FullDisk(std::uint64_t limit) : m_limit(true) {
    rlimit current{};
    if (::getrlimit(RLIMIT_FSIZE, &current) != 0)
        return;
    m_oldLimit = current.rlim_cur;
    m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = current;
    small.rlim_cur = static_cast<rlim_t>(limit);
    m_active = ::setrlimit(RLIMIT_FSIZE, &small) == 0;
}

FullDisk::FullDisk(const std::filesystem::path& folder, std::uint64_t bytes) {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    const std::string options = "size=" + std::to_string(bytes);
    if (::mount("tmpfs", folder.c_str(), "tmpfs", 0, options.c_str()) == 0) {
        m_active = true;
        m_mountPoint = folder;
    }
}

FullDisk::~FullDisk() {
    if (m_limit) {
        rlimit current{};
        if (::getrlimit(RLIMIT_FSIZE, &current) == 0) {
            current.rlim_cur = static_cast<rlim_t>(m_oldLimit);
            ::setrlimit(RLIMIT_FSIZE, &current);
        }
        std::signal(SIGXFSZ, m_oldHandler);
    }
    if (!m_mountPoint.empty())
        ::umount2(m_mountPoint.c_str(), MNT_DETACH);
}

} // namespace kel_testing
