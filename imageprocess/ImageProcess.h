#pragma once
// The pixel library: copies, curves, resize, rotate, flips, masks, display conversion and histograms.
//
// Conventions of every function here:
// - Images are CImageDataInfo records: channels B, G, R (, A) or grey, 1 or 2 bytes per channel
//   (16-bit values use 0..65535); 3-channel 8-bit images are bottom-up, all others top-down.
//   Coordinates are always logical (row 0 is the top row) whatever the storage order.
// - Functions return true on success. Bad input (invalid record, mismatched channels or depth,
//   empty size, a rectangle that misses the image) returns false and writes nothing.
// - The progress callback, when not null, is called as progress(done, total) on the caller's thread.
// - Large jobs split their rows over threads; no function keeps state between calls.
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"
#include "common/ValueTypes.h"
#include "imageprocess/ColorProfile.h"

#include <cstdint>

namespace ImageProcess {

using PROGRESS_CALLBACK = void (*)(int done, int total);

// Pixels around a visible area that processing must cover so that neighbourhood filters see real
// data. The host may change it before it starts processing.
extern int PROCESS_EXTEND;
constexpr int DEFAULT_PROCESS_EXTEND = 16;
void SetProcessExtend(int pixels);
int GetProcessExtend();

// Library start and stop. Initialize resets PROCESS_EXTEND to its default; Uninitialize frees the
// cached colour transforms. Both may be called more than once.
bool Initialize();
void Uninitialize();

enum RESIZE_ALGORITHM {
    RESIZE_NEAREST = 0,
    RESIZE_BILINEAR = 1,
    RESIZE_BOX = 2,      // area average; masks
    RESIZE_BICUBIC = 3,  // Catmull-Rom (a = -0.5), widened when shrinking
    RESIZE_LANCZOS2 = 4, // widened when shrinking
    RESIZE_AUTO = 5,     // area average when shrinking, bicubic when enlarging (per axis)
    RESIZE_LANCZOS3 = 6, // final output
};

// Resizes src into dst, which is (re)created at width x height with the channels and depth of src.
// dst may be the same record as src.
bool ResizeImage(const CImageDataInfo& src, CImageDataInfo& dst, int width, int height,
                 RESIZE_ALGORITHM algorithm, PROGRESS_CALLBACK progress);

// Filter kernels, exposed so that their values can be checked: weight at distance t (in source pixels
// at scale 1). Zero outside the support.
double BicubicWeight(double t);
double LanczosWeight(double t, int lobes);

// Copies the width x height rectangle at (srcX, srcY) of src to (dstX, dstY) of dst, clipped to both
// images. Channels and depth must match. False when nothing of the rectangle lies in both images.
bool CopyImage(const CImageDataInfo& src, CImageDataInfo& dst, int dstX, int dstY, int srcX, int srcY,
               int width, int height, PROGRESS_CALLBACK progress);

// The same copy through a 16-bit weight: dst = (src * m + dst * (65535 - m)) / 65535. The mask lies at
// its own (x, y) in destination coordinates when maskAtDestination is true, in source coordinates
// otherwise; pixels outside the mask are left alone. A null or unusable mask refuses the copy.
bool CopyImage(const CImageDataInfo& src, CImageDataInfo& dst, int dstX, int dstY, int srcX, int srcY,
               int width, int height, const CSelectedRegion* mask, bool maskAtDestination,
               PROGRESS_CALLBACK progress);

// Fills dst (its size stands) from the part of src at (x, y) through a 16-bit curve of 65,536 entries.
// 8-bit data reads curve[v * 257] and stores (out + 128) / 257. Alpha is copied, not curved. dst must
// lie wholly inside src and match its channels and depth; curve may not be null.
bool ApplyCurveToImage(CImageDataInfo& dst, const CImageDataInfo& src, const unsigned short* curve, int x,
                       int y, PROGRESS_CALLBACK progress);

// Rotations into dst (created at the rotated size) and flips in place. dst may not be src.
bool RotateImage90(const CImageDataInfo& src, CImageDataInfo& dst, bool clockwise,
                   PROGRESS_CALLBACK progress);
bool RotateImage180(const CImageDataInfo& src, CImageDataInfo& dst, PROGRESS_CALLBACK progress);
// vertical true mirrors top to bottom, false left to right.
bool FlipImage(CImageDataInfo& image, bool vertical, PROGRESS_CALLBACK progress);

// Scales a mask by zoom: the result lies at floor(x * zoom + 0.5), floor(y * zoom + 0.5) with size
// floor(side * zoom + 0.5), at least 1. dst may be region.
bool ResizeRegion(const CSelectedRegion& region, CSelectedRegion& dst, double zoom,
                  RESIZE_ALGORITHM algorithm, PROGRESS_CALLBACK progress);
// Copies the values of src into dst where the two positioned regions overlap; the rest of dst stays.
// False when they do not overlap.
bool CopyRegion(CSelectedRegion& dst, const CSelectedRegion& src);
// Mirrors the first width x height values of the region in place, top to bottom when vertical, else
// left to right. The region's position does not change.
bool FlipRegion(CSelectedRegion& region, bool vertical, int width, int height, PROGRESS_CALLBACK progress);

// ---- Row-wise processing -------------------------------------------------------------------------

// What a row callback is given: one source row of `width` pixels and the matching destination row.
struct PROCESS_ROW {
    const unsigned char* src = nullptr;
    unsigned char* dst = nullptr;
    int width = 0;
    int srcChannels = 0;
    int srcDepth = 0;
    int dstChannels = 0;
    int dstDepth = 0;
    int x = 0; // position of the row's first pixel in the source image
    int y = 0;
    const void* params = nullptr;
};
using PROCESS_ROW_FUNC = void (*)(const PROCESS_ROW& row);

// A destination buffer described by its first logical row and a signed step between rows.
struct ROW_BUFFER {
    unsigned char* data = nullptr;
    int stride = 0; // negative for a bottom-up buffer whose data points at the top row
    int channels = 0;
    int depth = 0;
};

// Runs func for every row of the rectangle srcRect of src, writing row i of the destination. The
// rectangle must lie inside the image. Rows are split over threads when the work is large, so func
// must be safe to call concurrently on different rows.
bool ProcessImage2(PROCESS_ROW_FUNC func, const CImageDataInfo& src, const IntRect& srcRect,
                   const ROW_BUFFER& dst, const void* params, PROGRESS_CALLBACK progress);

// Clipping marks of the display conversion.
constexpr unsigned CLIPPING_SHADOW = 1;    // a channel at 0 is drawn in blue
constexpr unsigned CLIPPING_HIGHLIGHT = 2; // a channel at the maximum is drawn in red (wins over shadow)

// The parameter record of DisplayRowFunc.
struct DISPLAY_PARAMS {
    const ColorProfile::TRANSFORM* transform = nullptr; // optional colour transform for display
    unsigned clipping = 0;                              // CLIPPING_* bits
    const unsigned short* curve = nullptr;              // optional 16-bit curve, 65,536 entries
};

// Row converter for display: 1/3/4 channels, 8/16 bit in, 32-bit B, G, R, 255 out. Applies the curve,
// then the transform, then marks clipped pixels, judged on the values after the curve.
void DisplayRowFunc(const PROCESS_ROW& row);

// ProcessImage2 with DisplayRowFunc into a 4-channel 8-bit buffer.
bool ConvertImageForDisplay(const CImageDataInfo& src, const IntRect& srcRect, unsigned char* display,
                            int displayStride, const DISPLAY_PARAMS& params);

// Draws a chequer of blockSize squares into the display buffer (width x height, `channels` of `depth`
// bytes) wherever the mask is open (mask value below its maximum), blended by how open it is. The
// display shows the image part whose top-left pixel is (x, y); the mask is 1 channel, 8 bit, covering
// the whole image with maskStride bytes a row (negative when bottom-up, data then at the top row) and
// maskHeight rows. The chequer is anchored to image coordinates so that it scrolls with the image.
bool PaintOnTransparencyBlocks(int blockSize, int width, int height, int channels, int depth,
                               unsigned char* display, int stride, const unsigned char* mask, int maskStride,
                               int maskHeight, int x, int y);

// ---- Histogram ---------------------------------------------------------------------------------

struct HISTOGRAM {
    uint32_t red[256];
    uint32_t redPeak;
    uint32_t green[256];
    uint32_t greenPeak;
    uint32_t blue[256];
    uint32_t bluePeak;
    uint32_t total; // pixels counted; 0 means no data
};

// Fills the histogram from the rectangle of the image (the whole image when rect is null). 16-bit
// values fall in bin v >> 8. Grey images fill all three channels alike; alpha is ignored. luminance,
// when not null, receives 256 bins of (2126 R + 7152 G + 722 B) / 10000.
bool CalcHistogram(const CImageDataInfo& image, HISTOGRAM& histogram, const IntRect* rect = nullptr,
                   uint32_t* luminance = nullptr);

} // namespace ImageProcess
#include "imageprocess/Blemish.h"
#include "imageprocess/ColorRegion.h"
#include "imageprocess/CubicSpline.h"
#include "imageprocess/Gradient.h"
#include "imageprocess/Heal.h"
#include "imageprocess/LensCorrect.h"
#include "imageprocess/Liquify.h"
#include "imageprocess/Polygon.h"
#include "imageprocess/RawConvert.h"
#include "imageprocess/Redeye.h"
#include "imageprocess/RotateAngle.h"
