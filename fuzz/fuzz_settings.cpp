// settings.xml: any bytes must read without a crash or an out-of-range value, and what was read must
// survive being written and read again.
#include "common/AppSettingsXml.h"
#include "common/CXmlSettingsFile.h"
#include "common/SaveOptionsXml.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace KELCTRL;

namespace {

const std::vector<SCREEN_AREA> kScreens = {
    {{0, 0, 1920, 1080}, {0, 0, 1920, 1040}},
    {{1920, -200, 1200, 1920}, {1920, -200, 1200, 1880}},
};

bool InsideSomeWorkArea(const IntRect& r) {
    for (const SCREEN_AREA& s : kScreens)
        if (r.Intersected(s.workArea) == r)
            return true;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CXmlSettingsFile file;
    if (!file.Parse(text, "settings"))
        return 0;
    for (int freeware : {0, 1}) {
        APP_SETTINGS s;
        s.mainWndRect = DefaultWindowRect(kScreens[0].geometry);
        const IntRect defaultRect = s.mainWndRect;
        ReadAppSettings(file.Root(), s, freeware, kScreens);
        if (s.startTimes < 0 || s.productShareLastShow < 0 || (s.maximized != 0 && s.maximized != 1))
            std::abort();
        if (s.mainWndRect != defaultRect && !InsideSomeWorkArea(s.mainWndRect))
            std::abort();
        SAVEOPTIONS_SETTINGS options;
        SaveOptionsFromXml(options, file.Root());
        if (options.quality > 100 || options.compression > 2)
            std::abort();

        CXmlSettingsFile out;
        WriteAppSettings(out.CreateRoot("settings"), s, "product", "1.0", freeware);
        CXmlSettingsFile back;
        if (!back.Parse(out.Print(), "settings"))
            std::abort();
        APP_SETTINGS r;
        ReadAppSettings(back.Root(), r, freeware, kScreens);
        if (r.startTimes != s.startTimes || r.productShared != s.productShared ||
            r.productShareLastShow != s.productShareLastShow || r.mainWndRect != s.mainWndRect ||
            (!s.mainWndRect.IsEmpty() && r.maximized != s.maximized))
            std::abort();
    }
    return 0;
}
