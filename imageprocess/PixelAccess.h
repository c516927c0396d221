#pragma once
// Internal helpers of the pixel library: row addressing independent of the storage order, input
// checks, and the row splitter that spreads large jobs over threads.
#include "common/AltSignalStack.h"
#include "common/CImageDataInfo.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace ImageProcess::detail {

// Rows of an image in logical order: row(y) = base + y * step, step negative for bottom-up storage.
struct Plane {
    unsigned char* base = nullptr;
    ptrdiff_t step = 0;
    int width = 0;
    int height = 0;
    int channels = 0;
    int depth = 0;

    unsigned char* Row(int y) const { return base + static_cast<ptrdiff_t>(y) * step; }
    int PixelBytes() const { return channels * depth; }
};

// A record the library accepts: valid with its buffer and 1 or 2 bytes per channel.
inline bool IsUsable(const CImageDataInfo& img) {
    return img.IsValid(true) && (img.depth == 1 || img.depth == 2);
}

inline Plane PlaneOf(const CImageDataInfo& img) {
    Plane p;
    p.base = const_cast<unsigned char*>(img.PixelPtr(0, 0));
    p.step = img.RowStep();
    p.width = img.width;
    p.height = img.height;
    p.channels = img.channels;
    p.depth = img.depth;
    return p;
}

// Moves the buffer and format of `from` into `to`; `from` is left empty.
inline void TakeOver(CImageDataInfo& to, CImageDataInfo& from) {
    to.width = from.width;
    to.height = from.height;
    to.channels = from.channels;
    to.depth = from.depth;
    to.stride = from.stride;
    to.alignment = from.alignment;
    to.data.swap(from.data);
    from.Release();
}

// Threads worth using for `work` samples: one below about a megapixel of work.
inline int ThreadCountFor(long long work) {
    if (work < (1LL << 20))
        return 1;
    const unsigned hw = std::thread::hardware_concurrency();
    const int n = hw == 0 ? 2 : static_cast<int>(std::min(hw, 8u));
    return static_cast<int>(std::max<long long>(1, std::min<long long>(n, work / (1LL << 19))));
}

// See VectorState.cpp: keeps the SSE-encoded pixel loops at full speed on AVX processors.
void ClearUpperVectorState();

// Calls body(begin, end) over [0, count) in bands, on several threads when `work` is large. progress,
// if given, is called on the caller's thread only, with the rows finished so far, and at the end with
// (count, count).
template <typename Body>
void ParallelRows(int count, long long work, void (*progress)(int, int), Body&& body) {
    if (count <= 0)
        return;
    const int threads = std::min(ThreadCountFor(work), count);
    constexpr int kChunk = 32;
    std::atomic<int> done{0};
    auto runBand = [&](int begin, int end, bool report) {
        for (int y = begin; y < end; y += kChunk) {
            const int e = std::min(end, y + kChunk);
            ClearUpperVectorState();
            body(y, e);
            const int total = done.fetch_add(e - y) + (e - y);
            if (report && progress)
                progress(total, count);
        }
    };
    if (threads <= 1) {
        runBand(0, count, true);
        return;
    }
    std::vector<std::thread> pool;
    pool.reserve(threads - 1);
    const int band = (count + threads - 1) / threads;
    for (int t = 1; t < threads; ++t) {
        const int b = t * band, e = std::min(count, b + band);
        if (b < e)
            pool.emplace_back([&, b, e] {
                GS_THREAD::EnsureAltSignalStack();
                runBand(b, e, false);
            });
    }
    runBand(0, std::min(count, band), true);
    for (auto& th : pool)
        th.join();
    if (progress)
        progress(count, count);
}

} // namespace ImageProcess::detail
