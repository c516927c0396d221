// File library: JPEG and 16-bit TIFF decode, thumbnails by every path, JPEG save, and the same
// thumbnail by vipsthumbnail for comparison. Test files are generated once into a temporary folder.
#include "bench/BenchUtil.h"

#include "common/testing/TestImages.h"
#include "imagefile/Codecs.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ImageProcess.h"

#include <exiv2/exiv2.hpp>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
constexpr int kW = 6000, kH = 4000;

// A photo-like 24 MP picture: smooth gradients with fine noise, so that entropy coding has work.
void MakePhoto(CImageDataInfo& img, int depth) {
    kel_testing::MakeGradient(img, kW, kH, 3, depth);
    uint32_t seed = 12345;
    for (int y = 0; y < kH; ++y) {
        unsigned char* row = img.RowPtr(y);
        for (int i = 0; i < kW * 3; ++i) {
            seed = seed * 1664525u + 1013904223u;
            const int n = static_cast<int>(seed >> 28) - 8; // -8..7
            if (depth == 1) {
                row[i] = static_cast<unsigned char>(std::clamp(row[i] + n, 0, 255));
            } else {
                auto* p = reinterpret_cast<uint16_t*>(row) + i;
                *p = static_cast<uint16_t>(std::clamp(*p + n * 257, 0, 65535));
            }
        }
    }
}

struct Files {
    fs::path dir, jpeg, jpegThumb, tiff16;
    CImageDataInfo photo8;
    bool ok = false;
};

const Files& GetFiles() {
    static Files f = [] {
        Files r;
        r.dir = fs::temp_directory_path() / ("kel_imagefile_bench_" + std::to_string(::getpid()));
        fs::create_directories(r.dir);
        r.jpeg = r.dir / "photo.jpg";
        r.jpegThumb = r.dir / "photo_thumb.jpg";
        r.tiff16 = r.dir / "photo16.tif";
        MakePhoto(r.photo8, 1);
        ImageFile::SAVEFILE_OPTIONS o;
        o.quality = 90;
        bool ok = ImageFile::SaveFile(r.photo8, ImageFile::FILEMETADATA(), o, r.jpeg) == 0 &&
                  ImageFile::SaveFile(r.photo8, ImageFile::FILEMETADATA(), o, r.jpegThumb) == 0;
        // A 320 x 213 embedded thumbnail, as cameras write them.
        CImageDataInfo small;
        std::vector<unsigned char> thumb;
        ok = ok && ImageProcess::ResizeImage(r.photo8, small, 384, 256, ImageProcess::RESIZE_BOX, nullptr) &&
             ImageFile::EncodeImage(small, o, thumb) == 0;
        if (ok) {
            auto image = Exiv2::ImageFactory::open(r.jpegThumb.string());
            image->readMetadata();
            Exiv2::ExifThumb(image->exifData())
                .setJpegThumbnail(thumb.data(), static_cast<long>(thumb.size()));
            image->writeMetadata();
        }
        CImageDataInfo photo16;
        MakePhoto(photo16, 2);
        ImageFile::SAVEFILE_OPTIONS t;
        t.format = ImageFile::CONTAINER_FORMAT_TIFF;
        t.bit16 = true;
        t.compression = 0;
        ok = ok && ImageFile::SaveFile(photo16, ImageFile::FILEMETADATA(), t, r.tiff16) == 0;
        r.ok = ok;
        std::atexit([] {
            std::error_code ec;
            fs::remove_all(fs::temp_directory_path() / ("kel_imagefile_bench_" + std::to_string(::getpid())),
                           ec);
        });
        return r;
    }();
    return f;
}

std::vector<unsigned char> Slurp(const fs::path& p) {
    std::ifstream f(p, std::ios::binary);
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}

// Loads one of the files per iteration: whole when `thumbnail` is 0, else as a thumbnail of that size.
void RunLoad(benchmark::State& state, fs::path Files::*file, int thumbnail, size_t bytes) {
    const Files& f = GetFiles();
    if (!f.ok)
        return state.SkipWithError("test files could not be written");
    for (auto _ : state) {
        ImageFile::FILEINFO info;
        CImageDataInfo img;
        benchmark::DoNotOptimize(
            thumbnail ? ImageFile::LoadFileThumbnail(info, img, f.*file, ImageFile::RGB_ORDER_BGR, thumbnail)
                      : ImageFile::LoadFile(info, img, f.*file));
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, bytes);
}

void BM_JpegFullDecode(benchmark::State& state) {
    RunLoad(state, &Files::jpeg, 0, kel_bench::k24MP * 3);
}
BENCHMARK(BM_JpegFullDecode)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Tiff16FullDecode(benchmark::State& state) {
    RunLoad(state, &Files::tiff16, 0, kel_bench::k24MP * 6);
}
BENCHMARK(BM_Tiff16FullDecode)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Thumbnail256FromExif(benchmark::State& state) {
    RunLoad(state, &Files::jpegThumb, 256, 256 * 171 * 3);
}
BENCHMARK(BM_Thumbnail256FromExif)->Unit(benchmark::kMillisecond)->UseRealTime();

double OurThumbnailSeconds(const fs::path& path) {
    double best = 1e9;
    for (int i = 0; i < 3; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        ImageFile::FILEINFO info;
        CImageDataInfo img;
        ImageFile::LoadFileThumbnail(info, img, path, ImageFile::RGB_ORDER_BGR, 256);
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    return best;
}

void BM_Thumbnail256DctScaled(benchmark::State& state) {
    RunLoad(state, &Files::jpeg, 256, kel_bench::k24MP * 3);
}
BENCHMARK(BM_Thumbnail256DctScaled)->Unit(benchmark::kMillisecond)->UseRealTime();

// Decode at 1/denom and reduce to 256: the measurement behind the choice of scale.
void BM_Thumbnail256ByScale(benchmark::State& state) {
    const Files& f = GetFiles();
    if (!f.ok)
        return state.SkipWithError("test files could not be written");
    const std::vector<unsigned char> bytes = Slurp(f.jpeg);
    const int denom = static_cast<int>(state.range(0));
    for (auto _ : state) {
        CImageDataInfo img, small;
        ImageFile::detail::JpegDecode(bytes.data(), bytes.size(), img, denom);
        ImageProcess::ResizeImage(img, small, 256, 171, ImageProcess::RESIZE_AUTO, nullptr);
        benchmark::DoNotOptimize(small.data.data());
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, kel_bench::k24MP * 3);
}
BENCHMARK(BM_Thumbnail256ByScale)
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_JpegSaveQ90(benchmark::State& state) {
    const Files& f = GetFiles();
    if (!f.ok)
        return state.SkipWithError("test files could not be written");
    ImageFile::SAVEFILE_OPTIONS o;
    o.quality = 90;
    for (auto _ : state) {
        std::vector<unsigned char> out;
        benchmark::DoNotOptimize(ImageFile::EncodeImage(f.photo8, o, out));
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, kel_bench::k24MP * 3);
}
BENCHMARK(BM_JpegSaveQ90)->Unit(benchmark::kMillisecond)->UseRealTime();

std::string FindTool(const char* name) {
    const char* path = std::getenv("PATH");
    std::string all = path ? path : "/usr/bin:/bin";
    size_t start = 0;
    while (start <= all.size()) {
        const size_t end = all.find(':', start) == std::string::npos ? all.size() : all.find(':', start);
        const fs::path candidate = fs::path(all.substr(start, end - start)) / name;
        if (::access(candidate.c_str(), X_OK) == 0)
            return candidate.string();
        start = end + 1;
    }
    return {};
}

// The same 256-pixel thumbnail made by the external tool (process start included, as a user sees it).
void BM_VipsThumbnail256(benchmark::State& state) {
    const Files& f = GetFiles();
    const std::string tool = FindTool("vipsthumbnail");
    if (tool.empty())
        return state.SkipWithError("vipsthumbnail not installed: comparison skipped");
    if (!f.ok)
        return state.SkipWithError("test files could not be written");
    const std::string out = (f.dir / "vips_%s.jpg").string();
    const std::string cmd =
        "'" + tool + "' '" + f.jpeg.string() + "' -s 256 -o '" + out + "' >/dev/null 2>&1";
    double total = 0;
    int64_t runs = 0;
    for (auto _ : state) {
        const auto t0 = std::chrono::steady_clock::now();
        const int rc = std::system(cmd.c_str());
        total += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        ++runs;
        if (rc != 0) {
            state.SkipWithError("vipsthumbnail failed");
            break;
        }
    }
    if (runs > 0)
        state.counters["vips_over_ours"] = (total / runs) / OurThumbnailSeconds(f.jpeg);
}
BENCHMARK(BM_VipsThumbnail256)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

} // namespace
