#pragma once
// The photo the editor opens when it is given none: a landscape with a sky gradient, a sun, textured
// hills and a simple portrait figure whose eyes are red, so that every tool has something to work on.
#include "common/CImageDataInfo.h"

#include <filesystem>

namespace kelphoto {

// Draws the scene into a 3-channel 8-bit image of the given size.
bool GenerateSamplePhoto(CImageDataInfo& image, int width, int height);
// Where the red eyes are, in fractions of the image (for the tests and the later retouch tools).
struct SAMPLE_LAYOUT {
    double leftEyeX = 0.655, rightEyeX = 0.705, eyeY = 0.40, eyeRadius = 0.008;
};
// The sample's path in the data folder; written once (atomically) when it is missing.
std::filesystem::path EnsureSamplePhoto(const std::filesystem::path& dataFolder);

} // namespace kelphoto
