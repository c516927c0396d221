#pragma once
// The base application's persistent state in settings.xml, and the info file for outside tools.
// Root "settings"; each value a child element, in this order: "product", "version", "start_times",
// "app_key" (non-freeware) or "disabled_push" (freeware), "product_shared", "product_share_last_show",
// "mainwnd_rect" (attributes "x", "y", "width", "height", "maximized"), "recent_files" (up to 20
// "file" children, newest first). A product adds its own children through the read and save hooks.
#include "common/ValueTypes.h"
#include "common/WindowPlacement.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

class TiXmlElement;

namespace KELCTRL {

inline constexpr int kMaxStartTimes = 0x7FFFFFFF;
// Stored window coordinates beyond this are nonsense from a damaged file.
inline constexpr int kMaxWindowCoordinate = 1000000;
inline constexpr size_t kMaxRecentFiles = 20;

struct APP_SETTINGS {
    int startTimes = 0;
    std::string appKey;       // licence key text, kept for the licence side only
    std::string disabledPush; // name of the last push page the user turned off
    int productShared = 0;
    int productShareLastShow = 0;
    IntRect mainWndRect; // the restored (not maximized) window rectangle
    int maximized = 1;
    std::vector<std::string> recentFiles; // newest first, no duplicates
};

// Reads the values present under root into s; absent or unreadable values leave s's values alone.
// Counters below 0 read as 0. "maximized" 0 clears the flag. A rectangle with positive size is fitted
// to the nearest of `screens` (FitWindowRect) and used only when it lands on one.
void ReadAppSettings(const TiXmlElement* root, APP_SETTINGS& s, int isFreeware,
                     const std::vector<SCREEN_AREA>& screens);
// Appends the values to root in file order. "disabled_push" only when not empty, "mainwnd_rect" only
// for a non-empty rectangle.
void WriteAppSettings(TiXmlElement* root, const APP_SETTINGS& s, const std::string& product,
                      const std::string& version, int isFreeware);

using SettingsHook = std::function<int(TiXmlElement*)>;

struct SETTINGS_READ_RESULT {
    int fileRead = 0;  // 1 when a settings root was found
    std::string error; // why not, for the log
};

// The whole start-up read: every value back to its default (the window rectangle from the primary screen, the
// first of `screens`, and maximized), the file in either form, the values, the start counter raised by one in
// every case, and then `readHook` with the root, or with null when no file could be read.
SETTINGS_READ_RESULT ReadSettingFile(const std::filesystem::path& path, APP_SETTINGS& s, int isFreeware,
                                     int productForm, const std::vector<SCREEN_AREA>& screens,
                                     const SettingsHook& readHook);
// Builds the document in file order, lets `saveHook` add the product's values, and writes it
// atomically. Returns 1 on success; 0 leaves the old file untouched (error in *error).
int SaveSettingFile(const std::filesystem::path& path, const APP_SETTINGS& s, const std::string& product,
                    const std::string& version, int isFreeware, int productForm, const SettingsHook& saveHook,
                    std::string* error = nullptr);

// Writes appinfo.xml: root "appinfo" with the attributes "version" and "license". Atomic.
int UpdateAppInfoFile(const std::filesystem::path& path, const std::string& version,
                      const std::string& license, std::string* error = nullptr);

} // namespace KELCTRL
