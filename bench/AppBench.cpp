// Start-up costs of the application shell: reading every dictionary layer, text lookups, and reading a
// typical settings.xml. Figures are compared with a memcpy of the same bytes.
#include "bench/BenchUtil.h"
#include "common/AppSettingsXml.h"
#include "common/CXmlSettingsFile.h"
#include "common/Dictionaries.h"

#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace {

fs::path DictFolder() {
    return fs::path(__FILE__).parent_path().parent_path() / "resources" / "dict";
}

size_t DictBytes() {
    size_t bytes = 0;
    for (const auto& layer : localization::kDictionaryLayers)
        if (fs::exists(DictFolder() / layer.fallback))
            bytes += size_t(fs::file_size(DictFolder() / layer.fallback));
    return bytes;
}

void BM_LoadAllDicts(benchmark::State& state) {
    const size_t bytes = DictBytes();
    localization::dictionary d;
    for (auto _ : state) {
        localization::LoadAllDicts(d, DictFolder(), 0);
        benchmark::DoNotOptimize(d.size());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
    state.counters["entries"] = double(d.size());
    state.counters["memcpy_ms"] = kel_bench::MemcpySeconds(bytes) * 1e3;
}
BENCHMARK(BM_LoadAllDicts)->Unit(benchmark::kMicrosecond);

void BM_GetDictItem(benchmark::State& state) {
    localization::dictionary d;
    localization::LoadAllDicts(d, DictFolder(), 0);
    std::vector<std::string> keys;
    for (const auto& [key, value] : d.items())
        keys.push_back(key);
    keys.push_back("IDS_NOT_A_KEY");
    for (auto _ : state)
        for (const std::string& key : keys)
            benchmark::DoNotOptimize(d.get_item(key.c_str()));
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(keys.size()));
}
BENCHMARK(BM_GetDictItem);

void BM_ReadSettingsDocument(benchmark::State& state) {
    KELCTRL::APP_SETTINGS s;
    s.startTimes = 42;
    s.disabledPush = "spring";
    s.mainWndRect = IntRect{100, 100, 1200, 800};
    KELCTRL::CXmlSettingsFile out;
    KELCTRL::WriteAppSettings(out.CreateRoot("settings"), s, "Sample", "1.0", 1);
    const std::string text = out.Print();
    const std::vector<KELCTRL::SCREEN_AREA> screens{{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}}};
    for (auto _ : state) {
        KELCTRL::CXmlSettingsFile file;
        file.Parse(text, "settings");
        KELCTRL::APP_SETTINGS r;
        KELCTRL::ReadAppSettings(file.Root(), r, 1, screens);
        benchmark::DoNotOptimize(r.startTimes);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
    state.counters["memcpy_ms"] = kel_bench::MemcpySeconds(text.size()) * 1e3;
}
BENCHMARK(BM_ReadSettingsDocument)->Unit(benchmark::kMicrosecond);

} // namespace
