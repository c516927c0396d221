#pragma once
// Generated test images for every module's tests: no binary files in the repository.
// Every generator creates 1/3/4-channel, 8/16-bit images through CImageDataInfo::Create, so the
// bottom-up rule applies to 3-channel 8-bit results.
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"

#include <array>
#include <cstdint>

namespace kel_testing {

// Full-scale value of a depth: 255 or 65535.
inline uint32_t MaxValue(int depth) {
    return depth == 2 ? 65535u : 255u;
}
// Reads and writes one channel value in logical (top-down) coordinates.
uint32_t GetValue(const CImageDataInfo& img, int x, int y, int channel);
void SetValue(CImageDataInfo& img, int x, int y, int channel, uint32_t value);

// Every channel the same value.
bool MakeConstant(CImageDataInfo& img, int w, int h, int channels, int depth, uint32_t value);
// Each channel constant at its own value (values[c] for channel c), so a swap of channels shows.
bool MakeChannelConstants(CImageDataInfo& img, int w, int h, int channels, int depth,
                          const std::array<uint32_t, 4>& values);
// Horizontal ramp in channel 0 (blue / grey), vertical in channel 1, diagonal in channel 2,
// alpha a vertical ramp from opaque to half.
bool MakeGradient(CImageDataInfo& img, int w, int h, int channels, int depth);
// Colour cube: x walks red, y walks green, blue steps in tiles; a sampling of the whole gamut.
bool MakeColorCube(CImageDataInfo& img, int w, int h, int channels, int depth);
// Deterministic noise over the full range.
bool MakeNoise(CImageDataInfo& img, int w, int h, int channels, int depth, uint32_t seed);
// A bright disc of the given radius on a dark background, anti-aliased over one pixel.
bool MakeDisc(CImageDataInfo& img, int w, int h, int channels, int depth, double cx, double cy,
              double radius);
// A mask with a linear ramp from 0 on the left to 0xFFFF on the right.
bool MakeRampRegion(CSelectedRegion& region, int w, int h);

// True when both images have the same size, format and logical pixel values.
bool SamePixels(const CImageDataInfo& a, const CImageDataInfo& b);
// The largest absolute difference of any channel value; -1 when sizes or formats differ.
long MaxDifference(const CImageDataInfo& a, const CImageDataInfo& b);
// Mean of one channel.
double MeanValue(const CImageDataInfo& img, int channel);

} // namespace kel_testing
