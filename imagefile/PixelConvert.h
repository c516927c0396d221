#pragma once
// Internal: the few pixel rearrangements that reading and writing files needs (orientation, channel
// order, alpha split, 16 to 8 bit). Kept here so that the codecs do not depend on the pixel library.
#include "common/CImageDataInfo.h"

namespace ImageFile::detail {

// Start of logical row y, without the validity checks of CImageDataInfo::RowPtr.
inline unsigned char* Row(CImageDataInfo& img, int y) {
    return img.data.data() + static_cast<ptrdiff_t>(img.IsBottomUp() ? img.height - 1 - y : y) * img.stride;
}
inline const unsigned char* Row(const CImageDataInfo& img, int y) {
    return img.data.data() + static_cast<ptrdiff_t>(img.IsBottomUp() ? img.height - 1 - y : y) * img.stride;
}

// Transform `src` into `dst` by a LosslessTransform mode (0..7). Returns 0 or an error code.
int TransformByMode(const CImageDataInfo& src, CImageDataInfo& dst, int mode);
// The mode that makes an image stored with EXIF orientation `orientation` upright.
int ModeForOrientation(int orientation);
// Applies `orientation` in place (through a copy when the size turns).
int ApplyOrientation(CImageDataInfo& image, int orientation);
// Swaps the first and third channel (BGR <-> RGB).
void SwapRedBlue(CImageDataInfo& image);
// Moves the alpha channel of a 4-channel image into `alpha` (1 channel) and leaves 3 channels.
int SplitAlpha(CImageDataInfo& image, CImageDataInfo& alpha);
// A 16-bit image reduced to 8 bit, v * 255 / 65535 rounded; other depths copied.
int To8Bit(const CImageDataInfo& src, CImageDataInfo& dst);
// Changes the channel count: 1 -> 3 (grey repeated), 4 -> 3 (alpha dropped), 3 -> 1 (mean).
int ToChannels(const CImageDataInfo& src, CImageDataInfo& dst, int channels);

} // namespace ImageFile::detail

namespace ImageFile::detail {
// The single mode equal to applying `first` and then `second`.
int ComposeModes(int first, int second);
// True when the mode exchanges width and height.
inline bool ModeSwapsSize(int mode) {
    return mode == 2 || mode == 3 || mode == 6 || mode == 7;
}
} // namespace ImageFile::detail
