#pragma once
// The parameters of a round brush: six 32-bit integers, compared as a whole.
#include <cstdint>

namespace KELCTRL {
namespace IMGWND_TOOL {

class CBrush {
public:
    enum MODE : int32_t { MODE_PAINT = 0, MODE_ERASE = 1 };

    static constexpr int32_t BRUSHSIZE_MIN = 1;
    static constexpr int32_t BRUSHSIZE_MAX = 100;
    static constexpr int32_t FEATHER_MIN = 0;
    static constexpr int32_t FEATHER_MAX = 100;
    static constexpr int32_t FLOW_MIN = 1;
    static constexpr int32_t FLOW_MAX = 100;
    static constexpr int32_t OPACITY_MIN = 1;
    static constexpr int32_t OPACITY_MAX = 100;

    int32_t size = 20;     // position on the non-linear size scale
    int32_t feather = 100; // soft edge, percent of the hard radius
    int32_t flow = 100;    // strength of one dab
    int32_t opacity = 100; // the value repeated dabs converge on
    int32_t autoMask = 0;  // paint only on colours like those under the stroke
    int32_t mode = MODE_PAINT;

    CBrush() = default;
    // Throws std::out_of_range when a value lies outside its range; autoMask and mode become 0.
    CBrush(int32_t size, int32_t feather, int32_t opacity, int32_t flow);

    int IsValid() const;
    bool operator==(const CBrush&) const = default;
};

static_assert(sizeof(CBrush) == 6 * sizeof(int32_t));

} // namespace IMGWND_TOOL
} // namespace KELCTRL
