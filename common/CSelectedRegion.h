#pragma once
// A selection or mask record: 16 bits per pixel (0 unpainted, 0xFFFF fully painted), rows of exactly
// width values, placed at (x, y) in image pixels.
#include "common/ValueTypes.h"
#include "common/sse_array.h"

#include <cstdint>

class CSelectedRegion {
public:
    enum GRADIENT_MODE { GRADIENT_LINEAR = 0, GRADIENT_RADIAL = 1 };

    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    sse_array<unsigned char> data;

    CSelectedRegion() = default;
    CSelectedRegion(const CSelectedRegion& o);
    CSelectedRegion& operator=(const CSelectedRegion& o);
    virtual ~CSelectedRegion() = default;

    // Width and height at least 1, data empty or exactly width * height * 2 bytes.
    bool IsUsable() const;
    // Sets the size and allocates the mask (content undefined). Keeps the buffer when the size matches.
    int Create(int w, int h);
    // Create and fill with one value.
    int Create(int w, int h, uint16_t value);
    void Release();
    uint16_t* Values() { return reinterpret_cast<uint16_t*>(data.data()); }
    const uint16_t* Values() const { return reinterpret_cast<const uint16_t*>(data.data()); }
    uint16_t* Row(int row) { return Values() + static_cast<size_t>(row) * width; }
    const uint16_t* Row(int row) const { return Values() + static_cast<size_t>(row) * width; }
    IntRect Rect() const { return IntRect{x, y, width, height}; }
};
