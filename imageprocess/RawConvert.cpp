#include "imageprocess/RawConvert.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace ImageProcess {

namespace {

using Matrix = double[3][3];

// Linear sRGB to the linear working profile, found by sending the three primaries through an
// unbounded floating-point transform: between two linear matrix profiles the transform is the matrix.
bool SRGBToLinearWorking(Matrix& m) {
    const ColorProfile::Profile& working = ColorProfile::GetLinearWorkingProfile();
    if (!working.IsValid() || working.IsGray())
        return false;
    const cmsCIExyY d65{0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* linear = cmsBuildGamma(nullptr, 1.0);
    if (!linear)
        return false;
    cmsToneCurve* curves[3] = {linear, linear, linear};
    cmsHPROFILE from = cmsCreateRGBProfile(&d65, &primaries, curves);
    cmsFreeToneCurve(linear);
    cmsHPROFILE to =
        cmsOpenProfileFromMem(working.Data().data(), static_cast<cmsUInt32Number>(working.Data().size()));
    cmsHTRANSFORM t = nullptr;
    if (from && to)
        t = cmsCreateTransform(from, TYPE_RGB_DBL, to, TYPE_RGB_DBL, INTENT_RELATIVE_COLORIMETRIC,
                               cmsFLAGS_NOCACHE);
    if (from)
        cmsCloseProfile(from);
    if (to)
        cmsCloseProfile(to);
    if (!t)
        return false;
    const double unit[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double out[3][3];
    cmsDoTransform(t, unit, out, 3);
    cmsDeleteTransform(t);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m[i][j] = out[j][i]; // primary j gives column j
    for (const auto& row : m)
        for (double v : row)
            if (!std::isfinite(v))
                return false;
    return true;
}

void Multiply(const Matrix& a, const Matrix& b, Matrix& r) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
}

inline uint16_t To16(double v) {
    return static_cast<uint16_t>(std::clamp(v, 0.0, 65535.0) + 0.5);
}

bool ValidRecord(const RAW_CONVERSION& raw) {
    if (!raw.valid)
        return false;
    for (float m : raw.cameraMultipliers)
        if (!(m > 0.0f) || !std::isfinite(m))
            return false;
    for (const auto& row : raw.cameraToSRGB)
        for (float v : row)
            if (!std::isfinite(v))
                return false;
    return std::isfinite(raw.baselineExposure);
}

void Report(void (*progress)(int, int), int done, int total) {
    if (progress)
        progress(done, total);
}

double SrgbDecode(double v) {
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

// sRGB colour images, by far the most common input, skip the general transform: a table undoes the
// tone curve and one matrix changes the primaries.
bool SrgbToFakeRaw(const CImageDataInfo& image, CImageDataInfo& out, void (*progress)(int, int)) {
    Matrix m;
    if (!SRGBToLinearWorking(m))
        return false;
    const int levels = image.depth == 1 ? 256 : 65536;
    std::vector<float> lut(static_cast<size_t>(levels));
    for (int i = 0; i < levels; ++i)
        lut[static_cast<size_t>(i)] =
            static_cast<float>(SrgbDecode(static_cast<double>(i) / (levels - 1)) * 65535.0);
    const int ch = image.channels;
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* s8 = image.RowPtr(y);
        const auto* s16 = reinterpret_cast<const uint16_t*>(s8);
        auto* d = reinterpret_cast<uint16_t*>(out.RowPtr(y));
        for (int x = 0; x < image.width; ++x, d += 3) {
            const size_t i = static_cast<size_t>(x) * ch;
            const double b = lut[image.depth == 1 ? s8[i] : s16[i]];
            const double g = lut[image.depth == 1 ? s8[i + 1] : s16[i + 1]];
            const double r = lut[image.depth == 1 ? s8[i + 2] : s16[i + 2]];
            d[2] = To16(m[0][0] * r + m[0][1] * g + m[0][2] * b);
            d[1] = To16(m[1][0] * r + m[1][1] * g + m[1][2] * b);
            d[0] = To16(m[2][0] * r + m[2][1] * g + m[2][2] * b);
        }
        if ((y & 63) == 63)
            Report(progress, y + 1, image.height);
    }
    Report(progress, image.height, image.height);
    return true;
}

} // namespace

bool ConvertCameraRawToWorkingProfile16Bit(CImageDataInfo& image, const RAW_CONVERSION& raw, int clipMode,
                                           double& exposure, void (*progress)(int, int)) {
    if (!ValidRecord(raw) || (clipMode != RAW_CLIP_KEEP_HIGHLIGHTS && clipMode != RAW_CLIP_HIGHLIGHTS))
        return false;
    if (!image.IsValid() || image.channels != 3 || image.depth != 2)
        return false;
    Matrix toWorking;
    if (!SRGBToLinearWorking(toWorking))
        return false;
    Matrix camera;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            camera[i][j] = raw.cameraToSRGB[i][j];
    Matrix m;
    Multiply(toWorking, camera, m);

    const float strongest = *std::max_element(raw.cameraMultipliers, raw.cameraMultipliers + 3);
    const bool clip = clipMode == RAW_CLIP_HIGHLIGHTS;
    // Keeping highlights means dividing by the strongest multiplier; the exposure makes up for it.
    const double scale = clip ? 1.0 : 1.0 / strongest;
    double mul[3];
    for (int c = 0; c < 3; ++c)
        mul[c] = raw.cameraMultipliers[c] * scale;
    // Memory positions of R, G, B.
    const int ri = raw.redFirst ? 0 : 2, bi = raw.redFirst ? 2 : 0;

    for (int y = 0; y < image.height; ++y) {
        auto* p = reinterpret_cast<uint16_t*>(image.RowPtr(y));
        for (int x = 0; x < image.width; ++x, p += 3) {
            double rgb[3] = {p[ri] * mul[0], p[1] * mul[1], p[bi] * mul[2]};
            if (clip)
                for (double& v : rgb)
                    v = std::min(v, 65535.0);
            const double r = m[0][0] * rgb[0] + m[0][1] * rgb[1] + m[0][2] * rgb[2];
            const double g = m[1][0] * rgb[0] + m[1][1] * rgb[1] + m[1][2] * rgb[2];
            const double b = m[2][0] * rgb[0] + m[2][1] * rgb[1] + m[2][2] * rgb[2];
            p[ri] = To16(r);
            p[1] = To16(g);
            p[bi] = To16(b);
        }
        if ((y & 63) == 63)
            Report(progress, y + 1, image.height);
    }
    Report(progress, image.height, image.height);
    exposure = raw.baselineExposure + (clip ? 0.0 : std::log2(static_cast<double>(strongest)));
    return true;
}

bool ConvertImageToFakeRaw(CImageDataInfo& image, const ColorProfile::Profile& profile,
                           void (*progress)(int, int)) {
    if (!image.IsValid() || (image.depth != 1 && image.depth != 2) ||
        (image.channels != 1 && image.channels != 3 && image.channels != 4))
        return false;
    const ColorProfile::Profile& from = profile.IsValid() ? profile : ColorProfile::GetSRGBProfile();
    const ColorProfile::Profile& to = ColorProfile::GetLinearWorkingProfile();
    CImageDataInfo out;
    out.alignment = image.alignment;
    if (!out.Create(image.width, image.height, 3, 2))
        return false;
    const bool srgb = from == ColorProfile::GetSRGBProfile() && image.channels != 1;
    if (srgb ? !SrgbToFakeRaw(image, out, progress)
             : !ColorProfile::TransformImage(out, image, ColorProfile::INTENT_RELATIVE, 0, from, to, nullptr,
                                             progress))
        return false;
    // The record copies on assignment; the buffer is handed over instead.
    image.data = std::move(out.data);
    image.width = out.width;
    image.height = out.height;
    image.channels = out.channels;
    image.depth = out.depth;
    image.stride = out.stride;
    image.alignment = out.alignment;
    return true;
}

} // namespace ImageProcess
