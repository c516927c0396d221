#pragma once
// Resampling weights of the pixel library: for every output index, the first source index, the tap
// count and the normalised weights along one axis.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <vector>

namespace ImageProcess::detail {

struct Contributions {
    std::vector<int> start;
    std::vector<int> count;
    std::vector<float> weights; // maxCount per output index
    int maxCount = 0;

    const float* Weights(int i) const { return weights.data() + static_cast<size_t>(i) * maxCount; }
};

// Fills c for resampling srcLen source pixels to dstLen. False for sizes below 1 or an unknown
// algorithm (nearest has no weights).
bool MakeContributions(int srcLen, int dstLen, RESIZE_ALGORITHM algorithm, Contributions& c);

// The source index nearest to the centre of output index i.
inline int NearestIndex(int i, int srcLen, int dstLen) {
    const long long s = (2LL * i + 1) * srcLen / (2LL * dstLen);
    return s < srcLen ? static_cast<int>(s) : srcLen - 1;
}

// The resampler on raw planes, shared with the mask functions.
bool ResizePlaneForRegion(const Plane& src, const Plane& dst, RESIZE_ALGORITHM algorithm,
                          void (*progress)(int, int));

} // namespace ImageProcess::detail
