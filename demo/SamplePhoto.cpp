#include "demo/SamplePhoto.h"

#include "imagefile/ImageFile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kelphoto {

namespace {

struct Rgb {
    double r, g, b;
};

Rgb Mix(const Rgb& a, const Rgb& b, double t) {
    t = std::clamp(t, 0.0, 1.0);
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

// Smooth value noise for the texture of the hills.
double Hash(int x, int y) {
    uint32_t h = static_cast<uint32_t>(x) * 374761393u + static_cast<uint32_t>(y) * 668265263u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return ((h ^ (h >> 16)) & 0xFFFF) / 65535.0;
}
double Noise(double x, double y) {
    const int ix = static_cast<int>(std::floor(x)), iy = static_cast<int>(std::floor(y));
    const double fx = x - ix, fy = y - iy;
    const double sx = fx * fx * (3 - 2 * fx), sy = fy * fy * (3 - 2 * fy);
    const double a = Hash(ix, iy), b = Hash(ix + 1, iy), c = Hash(ix, iy + 1), d = Hash(ix + 1, iy + 1);
    return a + (b - a) * sx + (c - a) * sy + (a - b - c + d) * sx * sy;
}
double Fractal(double x, double y) {
    return 0.5 * Noise(x, y) + 0.25 * Noise(2 * x, 2 * y) + 0.125 * Noise(4 * x, 4 * y) +
           0.125 * Noise(8 * x, 8 * y);
}
// Anti-aliased coverage of a disc or ellipse at a pixel, over about one pixel.
double Cover(double d, double pixel) {
    return std::clamp(0.5 - d / pixel, 0.0, 1.0);
}

Rgb Scene(double u, double v, double px, const SAMPLE_LAYOUT& eyes) {
    // Sky: deep blue at the top to a warm haze at the horizon, with the sun's glow.
    Rgb c = Mix({0.16, 0.32, 0.62}, {0.93, 0.78, 0.62}, std::pow(v / 0.62, 1.6));
    const double sunD = std::hypot(u - 0.30, v - 0.20);
    c = Mix(c, {1.0, 0.93, 0.72}, 0.35 * std::exp(-sunD * 9));
    c = Mix(c, {1.0, 0.97, 0.86}, Cover((sunD - 0.06) * 1.5, px));
    // Two ranges of hills with grass texture.
    const double far = 0.55 + 0.05 * std::sin(u * 7.0 + 1.0) + 0.03 * std::sin(u * 17.0);
    if (v > far)
        c = Mix(c, Mix({0.33, 0.47, 0.42}, {0.25, 0.38, 0.30}, Fractal(u * 40, v * 40)), Cover(far - v, px));
    const double near = 0.68 + 0.06 * std::sin(u * 4.0 + 2.5) + 0.02 * std::sin(u * 23.0);
    if (v > near - px) {
        const double t = Fractal(u * 120, v * 160);
        const Rgb grass = Mix({0.22, 0.45, 0.14}, {0.47, 0.62, 0.20}, t);
        c = Mix(c, Mix(grass, {0.18, 0.30, 0.10}, (v - near) * 2.5), Cover(near - v, px));
    }
    // The figure: body, neck, head, hair, and two red eyes.
    const double bodyD = std::hypot((u - 0.68) / 0.11, (v - 0.78) / 0.20) - 1.0;
    c = Mix(c, {0.20, 0.24, 0.46}, Cover(bodyD * 0.11, px));
    const double headD = std::hypot((u - 0.68) / 0.062, (v - 0.41) / 0.105) - 1.0;
    c = Mix(c, {0.87, 0.68, 0.56}, Cover(headD * 0.062, px));
    const double hairD = std::hypot((u - 0.68) / 0.068, (v - 0.36) / 0.075) - 1.0;
    if (v < 0.36)
        c = Mix(c, {0.26, 0.16, 0.09}, Cover(hairD * 0.068, px));
    for (double ex : {eyes.leftEyeX, eyes.rightEyeX}) {
        const double white = std::hypot((u - ex) / 1.0, (v - eyes.eyeY) * 1.5) - eyes.eyeRadius * 1.8;
        c = Mix(c, {0.95, 0.95, 0.93}, Cover(white, px));
        const double pupil = std::hypot(u - ex, (v - eyes.eyeY) * 1.5) - eyes.eyeRadius;
        c = Mix(c, {0.86, 0.08, 0.07}, Cover(pupil, px)); // the flash's red eye
    }
    const double mouth = std::hypot((u - 0.68) / 0.022, (v - 0.465) / 0.006) - 1.0;
    c = Mix(c, {0.62, 0.27, 0.27}, Cover(mouth * 0.006, px));
    return c;
}

} // namespace

bool GenerateSamplePhoto(CImageDataInfo& image, int width, int height) {
    if (width < 16 || height < 16 || !image.Create(width, height, 3, 1))
        return false;
    const SAMPLE_LAYOUT eyes;
    const double px = 1.0 / height;
    for (int y = 0; y < height; ++y) {
        unsigned char* row = image.RowPtr(y);
        const double v = (y + 0.5) / height;
        for (int x = 0; x < width; ++x) {
            // u is scaled by the aspect so that round things stay round.
            const double u = (x + 0.5) / height * (3.0 / 2.0) * height / width;
            const Rgb c = Scene(u, v, px * 1.5, eyes);
            // A touch of grain, as a camera would leave.
            const double grain = (Hash(x, y) - 0.5) * 0.02;
            row[3 * x + 0] = static_cast<unsigned char>(std::lround(std::clamp(c.b + grain, 0.0, 1.0) * 255));
            row[3 * x + 1] = static_cast<unsigned char>(std::lround(std::clamp(c.g + grain, 0.0, 1.0) * 255));
            row[3 * x + 2] = static_cast<unsigned char>(std::lround(std::clamp(c.r + grain, 0.0, 1.0) * 255));
        }
    }
    return true;
}

std::filesystem::path EnsureSamplePhoto(const std::filesystem::path& dataFolder) {
    const std::filesystem::path path = dataFolder / "sample.jpg";
    std::error_code ec;
    if (std::filesystem::exists(path, ec))
        return path;
    CImageDataInfo image;
    if (!GenerateSamplePhoto(image, 3000, 2000))
        return {};
    ImageFile::SAVEFILE_OPTIONS options;
    options.format = ImageFile::CONTAINER_FORMAT_JPEG;
    options.quality = 92;
    if (ImageFile::SaveFile(image, ImageFile::FILEMETADATA(), options, path) != ImageFile::ERR_OK)
        return {};
    return path;
}

} // namespace kelphoto
