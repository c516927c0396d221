#pragma once
// Brush pixel work: the round brush mask, painting a mask into a canvas mask, the colour range
// that limits painting to colours like those under the stroke, and the 4-connected line that turns
// pointer samples into single-pixel steps. No state is kept between calls.
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"
#include "common/ValueTypes.h"

#include <cstdint>
#include <vector>

namespace ImageProcess {

enum BRUSH_MODE { BRUSH_MODE_PAINT = 0, BRUSH_MODE_ERASE = 1 };

// Builds a round mask of side 2R+1 at (-R, -R), R = ceil(outer), and returns R (0 on bad input:
// outer not positive or not finite, inner outside [0, outer], flow outside 1..100, no memory).
// Strength is (flow / 100)^3 of full scale; the core is flat, the soft zone of width 2(outer-inner)
// centred on inner falls off quadratically to 0 at outer. One quadrant is computed, three mirrored.
// The region's buffer is reused when the size is unchanged.
int CreateBrushRegion(CSelectedRegion& region, double inner, double outer, int flow);

// The luma and the two colour differences of a 16-bit B, G, R triple, in the fixed-point form that
// the colour range compares (Y in 0..65535, Cb and Cr in about -32768..32767).
struct BRUSH_YCC {
    int32_t y;
    int32_t cb;
    int32_t cr;
};
BRUSH_YCC BrushYCbCr(uint32_t r, uint32_t g, uint32_t b);

// Reads the pixel at (x, y) of an 8- or 16-bit image (1, 3 or 4 channels; 8-bit values widened as
// v * 257) through the optional 16-bit lookup table (65,536 entries), as Y, Cb, Cr. False when the
// point lies outside the image.
bool ReadBrushYCbCr(const CImageDataInfo& image, int x, int y, const unsigned short* lut, BRUSH_YCC& out);

// The range of colours met since the last dab, kept as Y, Cb, Cr in i[0..2] of two INT4.
void ResetBrushColorRange(INT4& colorMin, INT4& colorMax);
void WidenBrushColorRange(INT4& colorMin, INT4& colorMax, const BRUSH_YCC& value);

// Paints the brush mask, at its own (x, y), into the canvas, at its own (x, y), clipped to both and
// to the image rectangle (0, 0, image width, image height) when an image is given. Repeated dabs
// converge on opacity (1..100); MODE_ERASE converges on 0, and without a colour range it ignores
// opacity. With both colour-range pointers set, only pixels whose colour (read from the image through
// the lookup table) lies near the range are painted, with a weight falling off linearly at its edge.
// Returns false when nothing was painted because an input is unusable or the clip is empty.
bool PaintRegion(CSelectedRegion& canvas, const CSelectedRegion& brush, BRUSH_MODE mode, int opacity,
                 const CImageDataInfo* image, const unsigned short* lut, const INT4* colorMin,
                 const INT4* colorMax);

// Appends the 4-connected pixel path from a to b to out, both ends included (a single point when they
// are equal). The path never strays more than one pixel from the ideal line.
void AppendBrushLine(TPoint<int> a, TPoint<int> b, std::vector<TPoint<int>>& out);

} // namespace ImageProcess
