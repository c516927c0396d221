#pragma once
// Developing camera raw pixels into the working colour space, and bringing ordinary images into the
// same linear 16-bit form, so that one editing path serves both.
#include "common/CImageDataInfo.h"
#include "imageprocess/ColorProfile.h"

namespace ImageProcess {

// What a raw decode knows beside its pixels. The pixels it describes are linear camera RGB, 16 bit,
// black subtracted and scaled so that 65535 is the sensor's white, with no white balance applied.
struct RAW_CONVERSION {
    int valid = 0;
    int redFirst = 0; // the pixels are R, G, B instead of the library's B, G, R
    // As-shot white balance, R, G, B, green 1; and the camera's daylight balance.
    float cameraMultipliers[3] = {1.0f, 1.0f, 1.0f};
    float daylightMultipliers[3] = {1.0f, 1.0f, 1.0f};
    // White-balanced camera R, G, B to linear sRGB: row i gives output channel i (R, G, B).
    float cameraToSRGB[3][3] = {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    // Sensor values, for information: the pixels are already scaled by them.
    int blackLevel = 0;
    int whiteLevel = 0;
    // Exposure in EV that the camera maker suggests adding to the data.
    double baselineExposure = 0.0;
};

enum RAW_CLIP_MODE : int {
    // Scaled down by the strongest white balance multiplier so that no channel clips; the exposure
    // given back includes the difference.
    RAW_CLIP_KEEP_HIGHLIGHTS = 0,
    // Each channel clipped at the sensor's white after white balance: blown areas come out white
    // rather than tinted.
    RAW_CLIP_HIGHLIGHTS = 1,
};

// Turns the raw decode's pixels in place into linear 16-bit RGB of the working profile's primaries
// (ColorProfile::GetLinearWorkingProfile), channel order kept. `exposure` receives the EV the caller
// should add to show the picture as the camera intended. False, with the image untouched, for an
// invalid record, image or clip mode.
bool ConvertCameraRawToWorkingProfile16Bit(CImageDataInfo& image, const RAW_CONVERSION& raw, int clipMode,
                                           double& exposure, void (*progress)(int, int) = nullptr);

// Converts an ordinary image (1, 3 or 4 channels, 8 or 16 bit; alpha dropped) in `profile` (sRGB when
// invalid) in place to 3-channel 16-bit B, G, R of the linear working profile: the form a raw file
// takes after ConvertCameraRawToWorkingProfile16Bit. False, with the image untouched, on failure.
bool ConvertImageToFakeRaw(CImageDataInfo& image, const ColorProfile::Profile& profile,
                           void (*progress)(int, int) = nullptr);

} // namespace ImageProcess
