#include "tools/paint/CBrush.h"

#include <stdexcept>
#include <string>

namespace KELCTRL {
namespace IMGWND_TOOL {

namespace {

bool InRange(int32_t v, int32_t lo, int32_t hi) {
    return v >= lo && v <= hi;
}

void Require(int32_t v, int32_t lo, int32_t hi, const char* name) {
    if (!InRange(v, lo, hi))
        throw std::out_of_range(std::string("CBrush: ") + name + " " + std::to_string(v) + " outside " +
                                std::to_string(lo) + ".." + std::to_string(hi));
}

} // namespace

CBrush::CBrush(int32_t sizeValue, int32_t featherValue, int32_t opacityValue, int32_t flowValue)
    : size(sizeValue), feather(featherValue), flow(flowValue), opacity(opacityValue) {
    Require(size, BRUSHSIZE_MIN, BRUSHSIZE_MAX, "size");
    Require(feather, FEATHER_MIN, FEATHER_MAX, "feather");
    Require(opacity, OPACITY_MIN, OPACITY_MAX, "opacity");
    Require(flow, FLOW_MIN, FLOW_MAX, "flow");
}

int CBrush::IsValid() const {
    return InRange(size, BRUSHSIZE_MIN, BRUSHSIZE_MAX) && InRange(feather, FEATHER_MIN, FEATHER_MAX) &&
                   InRange(flow, FLOW_MIN, FLOW_MAX) && InRange(opacity, OPACITY_MIN, OPACITY_MAX) &&
                   InRange(autoMask, 0, 1) && InRange(mode, MODE_PAINT, MODE_ERASE)
               ? 1
               : 0;
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
