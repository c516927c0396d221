#pragma once
// The application's temporary folder, published once the working folders are set up, so that code
// without the application object (tools writing stroke files, the file library) can reach it.
#include <filesystem>

namespace KELCTRL {

void SetTempFolder(const std::filesystem::path& folder);
// Empty until SetTempFolder ran.
std::filesystem::path GetTempFolder();

} // namespace KELCTRL
