#pragma once
// Geometry and colour value types shared by every module and by the two pixel and file libraries.
#include <cstdint>
#include <limits>

template <typename T> struct TPoint {
    T x{};
    T y{};
    constexpr TPoint() = default;
    constexpr TPoint(T px, T py) : x(px), y(py) {}
    // The marker for "no point": both coordinates at the lowest value (0x80000000 for int).
    static constexpr TPoint Invalid() {
        return TPoint(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::lowest());
    }
    constexpr bool IsValid() const { return !(*this == Invalid()); }
    constexpr bool operator==(const TPoint&) const = default;
    constexpr TPoint operator+(const TPoint& o) const { return TPoint(x + o.x, y + o.y); }
    constexpr TPoint operator-(const TPoint& o) const { return TPoint(x - o.x, y - o.y); }
};

template <typename T> struct TSize {
    T width{};
    T height{};
    constexpr TSize() = default;
    constexpr TSize(T w, T h) : width(w), height(h) {}
    constexpr bool operator==(const TSize&) const = default;
    constexpr bool IsEmpty() const { return width <= 0 || height <= 0; }
};

// Integer rectangle as the pixel library's callbacks receive it: origin and size.
struct IntRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    constexpr bool operator==(const IntRect&) const = default;
    constexpr int Right() const { return x + width; }
    constexpr int Bottom() const { return y + height; }
    constexpr bool IsEmpty() const { return width <= 0 || height <= 0; }
    constexpr bool Contains(int px, int py) const {
        return px >= x && py >= y && px < Right() && py < Bottom();
    }
    // The overlap of two rectangles; empty (all zero) when they do not meet.
    constexpr IntRect Intersected(const IntRect& o) const {
        const int l = x > o.x ? x : o.x;
        const int t = y > o.y ? y : o.y;
        const int r = Right() < o.Right() ? Right() : o.Right();
        const int b = Bottom() < o.Bottom() ? Bottom() : o.Bottom();
        if (r <= l || b <= t)
            return IntRect{};
        return IntRect{l, t, r - l, b - t};
    }
};

// Four bytes in memory order blue, green, red, alpha.
union ARGB32 {
    struct {
        uint8_t b, g, r, a;
    } c;
    uint32_t value;
    constexpr ARGB32() : value(0) {}
    constexpr explicit ARGB32(uint32_t v) : value(v) {}
    constexpr ARGB32(uint8_t alpha, uint8_t red, uint8_t green, uint8_t blue) : c{blue, green, red, alpha} {}
    constexpr bool operator==(const ARGB32& o) const { return value == o.value; }
};
static_assert(sizeof(ARGB32) == 4);

// The values of one sampled colour.
struct COLORVALS {
    double v[3] = {0, 0, 0};
};

// Four ints that the pixel paths load as one vector.
union TINT4 {
    int32_t i[4];
    uint32_t u[4];
};
using INT4 = TINT4;
