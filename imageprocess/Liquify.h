#pragma once
// The kernels of liquify: brush weight maps, the update of a distortion map by one track point, and the
// rebuild of pixels from the map. The caller keeps the track, the dirty rectangle, the grid step and
// the timing; everything that touches a map entry or a pixel is here.
//
// A distortion map holds, for every pixel, the absolute source position (x, y) as two floats from which
// that pixel takes its colour; the identity map holds (x, y) itself. Its size is the image size padded
// by LiquifyMapSide so that grid points of any step up to 20 fall on its last row and column. Beside it
// lies a byte per entry, `touched`, 0xFF where the entry changed since the last rebuild.
#include "common/CImageDataInfo.h"
#include "common/ValueTypes.h"

namespace ImageProcess {

enum LIQUIFY_MODE {
    LIQUIFY_FORWARD_WARP = 0,
    LIQUIFY_PUSH_LEFT = 1,
    LIQUIFY_BLOAT = 2,
    LIQUIFY_PUCKER = 3,
    LIQUIFY_TWIRL = 4,
    LIQUIFY_RECONSTRUCT = 5,
};

constexpr int LIQUIFY_MAX_GRID = 20;

// The brush of one stroke. halfSide is the radius in image pixels (the map is 2 * halfSide + 1 on a
// side); imageRadius the unrounded radius; density 0..100, pressure 1..100, rate 0..100; reverse
// turns a twirl the other way (0 turns it anticlockwise on screen) and pushes to the other side.
struct LIQUIFY_BRUSH {
    LIQUIFY_MODE mode = LIQUIFY_FORWARD_WARP;
    int halfSide = 1;
    double imageRadius = 1.0;
    int density = 50;
    int pressure = 50;
    int rate = 50;
    int reverse = 0;
};

// The map and its touched marks, owned by the caller: width * height entries each.
struct LIQUIFY_MAP {
    float* map = nullptr;             // 2 * width * height floats, x then y, row by row
    unsigned char* touched = nullptr; // width * height bytes
    int width = 0;
    int height = 0;
};

// The padded map side for an image side: 20k + 1 (a multiple of 20 gains 21).
int LiquifyMapSide(int imageSide);

// Fills the map with the identity and clears every touched mark.
bool ResetDistortionMap(LIQUIFY_MAP& map);

// Fills brushMap, (2 * halfSide + 1)^2 float pairs row by row from offset (-halfSide, -halfSide), with
// the mode's entries: for forward warp, push left and reconstruct the same weight in both components
// (a fraction of the stroke vector, or of the way back to the identity); for bloat and pucker a
// sample offset towards (bloat) or away from (pucker) the centre, so that content swells or shrinks;
// for twirl the offset to the point turned about the centre. Entries on and outside the circle of
// radius halfSide are (0, 0). False for a brush out of range.
bool CreateLiquifyBrushMap(const LIQUIFY_BRUSH& brush, float* brushMap);

// One track point of a stroke.
struct LIQUIFY_POINT {
    int x = 0, y = 0;         // the point, in image pixels
    int prevX = 0, prevY = 0; // the previous point of the stroke (used by forward warp and push left)
};

// Applies one point: inside the brush window around the point (clipped to the map) every entry under
// a nonzero brush entry is marked touched, and those on the grid of step gridSize (1..20) are
// rewritten from the map as it was before this point. workMap is scratch of at least as many float
// pairs as the brush map. window receives the clipped window (empty when the brush misses the map, in
// which case nothing is written); the caller grows its dirty rectangle by it. False for bad input.
bool UpdateDistortionMap(LIQUIFY_MAP& map, const LIQUIFY_BRUSH& brush, const float* brushMap,
                         const LIQUIFY_POINT& point, int gridSize, float* workMap, IntRect& window);

// Rebuilds the touched pixels of dst inside dirty (map coordinates) from src, the undistorted image,
// by 16.16 fixed-point bilinear sampling at the map's positions, mirrored at the image border. With
// gridSize > 1 the touched entries between grid points are first filled in from the grid. Then the
// touched marks inside dirty are cleared. dst and src have the same size and format; the map covers
// at least the image. Pixels outside dirty, or not touched, are left alone. False for bad input (then
// nothing is written); true also when dirty misses the image.
bool ApplyDistortionMap(CImageDataInfo& dst, const CImageDataInfo& src, LIQUIFY_MAP& map,
                        const IntRect& dirty, int gridSize, void (*progress)(int, int));

// Refreshes a zoomed copy of image after a rebuild of imageRect: the cache pixels from
// floor(left * zoom), floor(top * zoom) to floor((right - 1) * zoom) + 1, floor((bottom - 1) * zoom) + 1,
// clipped to the cache, are resampled from image at (u / zoom, v / zoom) as above. cacheRect receives
// that rectangle. cache and image have the same format.
bool ResampleZoomedCache(CImageDataInfo& cache, const CImageDataInfo& image, const IntRect& imageRect,
                         double zoom, IntRect& cacheRect, void (*progress)(int, int));

} // namespace ImageProcess
