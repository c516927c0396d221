#include "imagewnd/ZoomMath.h"

#include <algorithm>
#include <cmath>

namespace KELCTRL::ZoomMath {

namespace {

constexpr double kFactors[ZOOM_SCALE_COUNT] = {
    1.0 / 16, 1.0 / 10, 1.0 / 8, 1.0 / 6, 1.0 / 4, 1.0 / 3, 1.0 / 2, 2.0, 3.0, 4.0, 6.0, 8.0, 10.0};
constexpr const char* kTexts[ZOOM_SCALE_COUNT] = {"1:16", "1:10", "1:8", "1:6", "1:4", "1:3", "1:2",
                                                  "2:1",  "3:1",  "4:1", "6:1", "8:1", "10:1"};

constexpr ZoomTarget Scale(int scale) {
    return ZoomTarget{true, ZOOM_TYPE_SCALE, static_cast<ZOOM_SCALE>(scale)};
}
constexpr ZoomTarget OneToOne() {
    return ZoomTarget{true, ZOOM_TYPE_NOZOOM, ZOOM_SCALE_2_1};
}
constexpr ZoomTarget OfType(ZOOM_TYPE type) {
    return ZoomTarget{true, type, ZOOM_SCALE_2_1};
}

// The ladder from small to large: the thirteen scales with one to one between 1:2 and 2:1.
struct Rung {
    double factor;
    ZoomTarget target;
};
constexpr Rung kLadder[] = {
    {1.0 / 16, Scale(0)}, {1.0 / 10, Scale(1)}, {1.0 / 8, Scale(2)}, {1.0 / 6, Scale(3)}, {1.0 / 4, Scale(4)},
    {1.0 / 3, Scale(5)},  {1.0 / 2, Scale(6)},  {1.0, OneToOne()},   {2.0, Scale(7)},     {3.0, Scale(8)},
    {4.0, Scale(9)},      {6.0, Scale(10)},     {8.0, Scale(11)},    {10.0, Scale(12)},
};
constexpr int kRungs = static_cast<int>(sizeof(kLadder) / sizeof(kLadder[0]));

// Level of a side for DisplayRectZoom: rung index in kLadder.
int SideLevel(int side, int client) {
    int level = 1; // 1:10 when nothing fits
    for (int i = 0; i < kRungs; ++i) {
        if (std::ceil(side * kLadder[i].factor) <= client)
            level = i;
    }
    return level;
}

} // namespace

double ScaleFactor(int scale) {
    return scale >= 0 && scale < ZOOM_SCALE_COUNT ? kFactors[scale] : 10.0;
}

const char* ScaleText(int scale) {
    return scale >= 0 && scale < ZOOM_SCALE_COUNT ? kTexts[scale] : "10:1";
}

int DpiMargin(int dpi) {
    return dpi == 96 ? 10 : dpi * 10 / 96;
}

double FitFactor(int clientWidth, int clientHeight, int imageWidth, int imageHeight, int margin) {
    if (imageWidth <= 0 || imageHeight <= 0)
        return 1.0;
    const int w = std::max(1, clientWidth - 2 * margin);
    const int h = std::max(1, clientHeight - 2 * margin);
    const double factor = std::min(static_cast<double>(w) / imageWidth, static_cast<double>(h) / imageHeight);
    return factor >= 1.0 ? 1.0 : factor;
}

double FillFactor(int clientWidth, int clientHeight, int imageWidth, int imageHeight) {
    if (imageWidth <= 0 || imageHeight <= 0)
        return 1.0;
    const int w = std::max(1, clientWidth);
    const int h = std::max(1, clientHeight);
    const double factor = std::max(static_cast<double>(w) / imageWidth, static_cast<double>(h) / imageHeight);
    return factor >= 1.0 ? 1.0 : factor;
}

ZoomTarget ZoomOutStep(ZOOM_TYPE type, double value, double fit, double fill) {
    if (type == ZOOM_TYPE_FILL && fit < fill)
        return OfType(ZOOM_TYPE_FIT);
    for (int i = kRungs - 1; i >= 0; --i) {
        if (kLadder[i].factor >= 10.0)
            continue; // nothing steps down to the largest scale
        if (value > kLadder[i].factor)
            return kLadder[i].target;
    }
    // At or below the smallest scale only the window's own factors remain.
    if (value > fill)
        return OfType(ZOOM_TYPE_FILL);
    if (value > fit)
        return OfType(ZOOM_TYPE_FIT);
    return ZoomTarget{};
}

ZoomTarget ZoomInStep(ZOOM_TYPE type, ZOOM_SCALE scale, double value, double fit, double fill) {
    if (type == ZOOM_TYPE_SCALE && scale == ZOOM_SCALE_10_1)
        return ZoomTarget{};
    if (type == ZOOM_TYPE_FIT && fit < fill)
        return OfType(ZOOM_TYPE_FILL);
    for (const Rung& rung : kLadder) {
        if (value < rung.factor)
            return rung.target;
    }
    return ZoomTarget{};
}

ZoomTarget DisplayRectZoom(int rectWidth, int rectHeight, int clientWidth, int clientHeight) {
    const int level = std::min(SideLevel(rectWidth, clientWidth), SideLevel(rectHeight, clientHeight));
    return kLadder[level].target;
}

} // namespace KELCTRL::ZoomMath
