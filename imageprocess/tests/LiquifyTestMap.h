#pragma once
// A distortion map with its own storage, padded as the liquify tool pads it, for the liquify tests.
#include "imageprocess/ImageProcess.h"

#include <algorithm>
#include <vector>

namespace kel_testing {

struct OwnedMap {
    std::vector<float> map;
    std::vector<unsigned char> touched;
    ImageProcess::LIQUIFY_MAP view;

    OwnedMap(int imageW, int imageH) {
        view.width = ImageProcess::LiquifyMapSide(imageW), view.height = ImageProcess::LiquifyMapSide(imageH);
        map.resize(2 * static_cast<size_t>(view.width) * view.height);
        touched.resize(static_cast<size_t>(view.width) * view.height);
        view.map = map.data(), view.touched = touched.data();
        ImageProcess::ResetDistortionMap(view);
    }
    float* At(int x, int y) { return &map[2 * (static_cast<size_t>(y) * view.width + x)]; }
    void TouchAll() { std::fill(touched.begin(), touched.end(), 0xFF); }
};

} // namespace kel_testing
