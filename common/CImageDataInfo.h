#pragma once
// The image buffer record shared with the pixel and file libraries.
//
// Channels are B, G, R (, A) in memory; 1 channel is grey; depth is bytes per channel (1 or 2).
// A 3-channel 1-byte image is stored bottom-up, as a device-independent bitmap: row y lies at
// (height - 1 - y) * stride. Every other image is top-down.
#include "common/ValueTypes.h"
#include "common/sse_array.h"

class CImageDataInfo {
public:
    int width = 0;
    int height = 0;
    int channels = 0;
    int depth = 0;
    int stride = 0;
    int alignment = 4;
    sse_array<unsigned char> data;

    CImageDataInfo() = default;
    CImageDataInfo(const CImageDataInfo& o);
    CImageDataInfo& operator=(const CImageDataInfo& o);
    virtual ~CImageDataInfo() = default;

    // Sizes, channels, depth and stride consistent; with checkSize, the buffer holds stride*height.
    bool IsValid(bool checkSize = true) const;
    // Allocates a fresh buffer (content lost) unless the size, channels and depth already match.
    int Create(const TSize<int>& size, int channels, int depth);
    int Create(int w, int h, int ch, int dep) { return Create(TSize<int>(w, h), ch, dep); }
    void Release();

    bool IsBottomUp() const { return channels == 3 && depth == 1; }
    int PixelBytes() const { return channels * depth; }
    // Row y in logical (top-down) order, honouring the bottom-up rule; null out of range.
    unsigned char* RowPtr(int y);
    const unsigned char* RowPtr(int y) const;
    // Byte step from logical row y to y + 1: negative for bottom-up images.
    int RowStep() const { return IsBottomUp() ? -stride : stride; }
    unsigned char* PixelPtr(int x, int y);
    const unsigned char* PixelPtr(int x, int y) const;
    TSize<int> Size() const { return TSize<int>(width, height); }
    bool SameFormat(const CImageDataInfo& o) const { return channels == o.channels && depth == o.depth; }
};
