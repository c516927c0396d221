#include "common/AppSettingsXml.h"

#include "common/CXmlSettingsFile.h"
#include "common/XmlValues.h"

#include <algorithm>
#include <tinyxml.h>

namespace KELCTRL {
namespace {

void ReadCounter(const TiXmlElement* root, const char* name, int& value) {
    int64_t v = 0;
    if (ParseXmlInt(XmlChildText(root, name), v))
        value = int(std::clamp<int64_t>(v, 0, kMaxStartTimes));
}

void ReadText(const TiXmlElement* root, const char* name, std::string& value) {
    if (const char* text = XmlChildText(root, name))
        value = text;
}

void ReadWindowRect(const TiXmlElement* root, APP_SETTINGS& s, const std::vector<SCREEN_AREA>& screens) {
    const TiXmlElement* e = root->FirstChildElement("mainwnd_rect");
    if (e == nullptr)
        return;
    int64_t maximized = 0;
    if (XmlIntAttribute(e, "maximized", maximized) && maximized == 0)
        s.maximized = 0;
    int64_t w = 0, h = 0, x = 0, y = 0;
    if (!XmlIntAttribute(e, "width", w) || !XmlIntAttribute(e, "height", h) || w <= 0 || h <= 0)
        return;
    XmlIntAttribute(e, "x", x);
    XmlIntAttribute(e, "y", y);
    const int64_t limit = kMaxWindowCoordinate;
    IntRect rect{int(std::clamp(x, -limit, limit)), int(std::clamp(y, -limit, limit)),
                 int(std::min(w, limit)), int(std::min(h, limit))};
    if (FitWindowRect(rect, screens))
        s.mainWndRect = rect;
}

void ReadRecentFiles(const TiXmlElement* root, std::vector<std::string>& files) {
    const TiXmlElement* list = root->FirstChildElement("recent_files");
    if (list == nullptr)
        return;
    files.clear();
    for (const TiXmlElement* e = list->FirstChildElement("file"); e && files.size() < kMaxRecentFiles;
         e = e->NextSiblingElement("file")) {
        const char* text = e->GetText();
        if (text && *text && std::find(files.begin(), files.end(), text) == files.end())
            files.emplace_back(text);
    }
}

} // namespace

void ReadAppSettings(const TiXmlElement* root, APP_SETTINGS& s, int isFreeware,
                     const std::vector<SCREEN_AREA>& screens) {
    if (root == nullptr)
        return;
    ReadCounter(root, "start_times", s.startTimes);
    if (isFreeware)
        ReadText(root, "disabled_push", s.disabledPush);
    else
        ReadText(root, "app_key", s.appKey);
    bool shared = false;
    if (ParseXmlBool(XmlChildText(root, "product_shared"), shared))
        s.productShared = shared ? 1 : 0;
    ReadCounter(root, "product_share_last_show", s.productShareLastShow);
    ReadWindowRect(root, s, screens);
    ReadRecentFiles(root, s.recentFiles);
}

void WriteAppSettings(TiXmlElement* root, const APP_SETTINGS& s, const std::string& product,
                      const std::string& version, int isFreeware) {
    AddXmlChildText(root, "product", product);
    AddXmlChildText(root, "version", version);
    AddXmlChildInt(root, "start_times", std::max(0, s.startTimes));
    if (!isFreeware)
        AddXmlChildText(root, "app_key", s.appKey);
    else if (!s.disabledPush.empty())
        AddXmlChildText(root, "disabled_push", s.disabledPush);
    AddXmlChildInt(root, "product_shared", s.productShared ? 1 : 0);
    AddXmlChildInt(root, "product_share_last_show", std::max(0, s.productShareLastShow));
    if (!s.mainWndRect.IsEmpty()) {
        TiXmlElement rect("mainwnd_rect");
        SetXmlIntAttribute(&rect, "x", s.mainWndRect.x);
        SetXmlIntAttribute(&rect, "y", s.mainWndRect.y);
        SetXmlIntAttribute(&rect, "width", s.mainWndRect.width);
        SetXmlIntAttribute(&rect, "height", s.mainWndRect.height);
        SetXmlIntAttribute(&rect, "maximized", s.maximized ? 1 : 0);
        root->InsertEndChild(rect);
    }
    TiXmlElement recent("recent_files");
    for (size_t i = 0; i < s.recentFiles.size() && i < kMaxRecentFiles; ++i)
        AddXmlChildText(&recent, "file", s.recentFiles[i]);
    root->InsertEndChild(recent);
}

SETTINGS_READ_RESULT ReadSettingFile(const std::filesystem::path& path, APP_SETTINGS& s, int isFreeware,
                                     int productForm, const std::vector<SCREEN_AREA>& screens,
                                     const SettingsHook& readHook) {
    SETTINGS_READ_RESULT result;
    s = APP_SETTINGS{};
    if (!screens.empty())
        s.mainWndRect = DefaultWindowRect(screens.front().geometry);

    CXmlSettingsFile file;
    TiXmlElement* root = nullptr;
    if (file.LoadEitherForm(path, "settings", productForm)) {
        root = file.Root();
        result.fileRead = 1;
        ReadAppSettings(root, s, isFreeware, screens);
    } else {
        result.error = file.LastError();
    }
    s.startTimes = s.startTimes < kMaxStartTimes ? s.startTimes + 1 : kMaxStartTimes;
    if (readHook)
        readHook(root);
    return result;
}

int SaveSettingFile(const std::filesystem::path& path, const APP_SETTINGS& s, const std::string& product,
                    const std::string& version, int isFreeware, int productForm, const SettingsHook& saveHook,
                    std::string* error) {
    CXmlSettingsFile file;
    TiXmlElement* root = file.CreateRoot("settings");
    WriteAppSettings(root, s, product, version, isFreeware);
    if (saveHook)
        saveHook(root);
    const int ok = file.Save(path, productForm);
    if (!ok && error)
        *error = file.LastError();
    return ok;
}

int UpdateAppInfoFile(const std::filesystem::path& path, const std::string& version,
                      const std::string& license, std::string* error) {
    CXmlSettingsFile file;
    TiXmlElement* root = file.CreateRoot("appinfo");
    root->SetAttribute("version", version.c_str());
    root->SetAttribute("license", license.c_str());
    const int ok = file.Save(path, SETTINGS_FORM_PLAIN);
    if (!ok && error)
        *error = file.LastError();
    return ok;
}

} // namespace KELCTRL
