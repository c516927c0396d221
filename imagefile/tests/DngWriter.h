#pragma once
// A minimal camera raw file for the tests: a DNG written with libtiff, a 16-bit RGGB Bayer mosaic of
// vertical colour bands plus an 8-bit RGB preview, so that decoding can be checked against known
// scene colours.
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace iftest {

struct DngScene {
    int width = 128; // even: whole 2 x 2 mosaic cells
    int height = 64;
    // Scene colours after white balance, linear R, G, B in 0..1, one per vertical band of equal width.
    std::vector<std::array<float, 3>> bands{
        {0.80f, 0.15f, 0.05f}, {0.10f, 0.70f, 0.20f}, {0.05f, 0.20f, 0.60f}, {0.40f, 0.40f, 0.40f}};
    // What the camera recorded as neutral (R, G, B): the white balance multipliers are its inverse.
    std::array<float, 3> asShotNeutral{0.5f, 1.0f, 0.8f};
    float black = 512.0f;
    uint32_t white = 16383;
    double baselineExposure = 0.5;
    int previewWidth = 64; // 0: no preview
    int previewHeight = 32;
    // The preview's left and right halves, R, G, B.
    std::array<uint8_t, 3> previewLeft{200, 100, 50};
    std::array<uint8_t, 3> previewRight{30, 160, 220};
    uint16_t orientation = 1;
};

// The band a column belongs to.
inline int BandOf(const DngScene& s, int x) {
    return std::min(static_cast<int>(s.bands.size()) - 1, x * static_cast<int>(s.bands.size()) / s.width);
}

// Writes the scene as a DNG; false when libtiff refuses.
inline bool WriteDng(const std::filesystem::path& path, const DngScene& s) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif)
        return false;
    const uint8_t version[4] = {1, 4, 0, 0};
    const uint16_t dim[2] = {2, 2};
    const uint8_t cfa[4] = {0, 1, 1, 2}; // R G / G B
    // XYZ (D65) to linear sRGB: a camera that sees as sRGB does.
    const float colorMatrix[9] = {3.2406f, -1.5372f, -0.4986f, -0.9689f, 1.8758f,
                                  0.0415f, 0.0557f,  -0.2040f, 1.0570f};
    const float neutral[3] = {s.asShotNeutral[0], s.asShotNeutral[1], s.asShotNeutral[2]};
    const float black[1] = {s.black};
    const uint32_t white[1] = {s.white};
    bool ok = TIFFSetField(tif, TIFFTAG_SUBFILETYPE, 0) && TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, s.width) &&
              TIFFSetField(tif, TIFFTAG_IMAGELENGTH, s.height) &&
              TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16) && TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1) &&
              TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, 32803) && // colour filter array
              TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
              TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
              TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, s.height) &&
              TIFFSetField(tif, TIFFTAG_ORIENTATION, s.orientation) &&
              TIFFSetField(tif, TIFFTAG_MAKE, "Testmaker") && TIFFSetField(tif, TIFFTAG_MODEL, "Bayer 1") &&
              TIFFSetField(tif, TIFFTAG_DNGVERSION, version) &&
              TIFFSetField(tif, TIFFTAG_UNIQUECAMERAMODEL, "Testmaker Bayer 1") &&
              TIFFSetField(tif, TIFFTAG_CFAREPEATPATTERNDIM, dim) &&
              TIFFSetField(tif, TIFFTAG_CFAPATTERN, 4, cfa) &&
              TIFFSetField(tif, TIFFTAG_COLORMATRIX1, 9, colorMatrix) &&
              TIFFSetField(tif, TIFFTAG_CALIBRATIONILLUMINANT1, 21) && // D65
              TIFFSetField(tif, TIFFTAG_ASSHOTNEUTRAL, 3, neutral) &&
              TIFFSetField(tif, TIFFTAG_BLACKLEVEL, 1, black) &&
              TIFFSetField(tif, TIFFTAG_WHITELEVEL, 1, white) &&
              TIFFSetField(tif, TIFFTAG_BASELINEEXPOSURE, s.baselineExposure);
    std::vector<uint16_t> mosaic(static_cast<size_t>(s.width) * s.height);
    for (int y = 0; y < s.height; ++y) {
        for (int x = 0; x < s.width; ++x) {
            const int c = cfa[(y & 1) * 2 + (x & 1)];
            // What the sensor saw before white balance: the scene divided by the multipliers.
            const float v = s.bands[BandOf(s, x)][c] * s.asShotNeutral[c];
            mosaic[static_cast<size_t>(y) * s.width + x] =
                static_cast<uint16_t>(s.black + v * (static_cast<float>(s.white) - s.black) + 0.5f);
        }
    }
    ok = ok && TIFFWriteEncodedStrip(tif, 0, mosaic.data(), static_cast<tmsize_t>(mosaic.size() * 2)) >= 0 &&
         TIFFWriteDirectory(tif);
    if (ok && s.previewWidth > 0) {
        std::vector<uint8_t> rgb(static_cast<size_t>(s.previewWidth) * s.previewHeight * 3);
        for (int y = 0; y < s.previewHeight; ++y)
            for (int x = 0; x < s.previewWidth; ++x) {
                const auto& c = x < s.previewWidth / 2 ? s.previewLeft : s.previewRight;
                std::copy(c.begin(), c.end(),
                          rgb.begin() + (static_cast<size_t>(y) * s.previewWidth + x) * 3);
            }
        ok = TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE) &&
             TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, s.previewWidth) &&
             TIFFSetField(tif, TIFFTAG_IMAGELENGTH, s.previewHeight) &&
             TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8) && TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3) &&
             TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) &&
             TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
             TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
             TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, s.previewHeight) &&
             TIFFWriteEncodedStrip(tif, 0, rgb.data(), static_cast<tmsize_t>(rgb.size())) >= 0 &&
             TIFFWriteDirectory(tif);
    }
    TIFFClose(tif);
    return ok;
}

} // namespace iftest
