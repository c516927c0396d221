#include "common/CImageDataInfo.h"

CImageDataInfo::CImageDataInfo(const CImageDataInfo& o) {
    *this = o;
}

CImageDataInfo& CImageDataInfo::operator=(const CImageDataInfo& o) {
    if (this == &o)
        return *this;
    width = o.width;
    height = o.height;
    channels = o.channels;
    depth = o.depth;
    stride = o.stride;
    alignment = o.alignment;
    if (!data.copy_from(o.data))
        Release();
    return *this;
}

bool CImageDataInfo::IsValid(bool checkSize) const {
    if (width < 1 || height < 1 || channels < 1 || depth < 1 || stride < 1 || alignment < 0)
        return false;
    if (channels != 1 && channels != 3 && channels != 4)
        return false;
    if (static_cast<long long>(stride) < static_cast<long long>(depth) * channels * width)
        return false;
    if (alignment > 0 && stride % alignment != 0)
        return false;
    if (checkSize && data.byte_size() != static_cast<size_t>(stride) * static_cast<size_t>(height))
        return false;
    return true;
}

int CImageDataInfo::Create(const TSize<int>& size, int ch, int dep) {
    if (size.width <= 0 || size.height <= 0 || (ch != 1 && ch != 3 && ch != 4) || dep < 1)
        return 0;
    if (size.width == width && size.height == height && ch == channels && dep == depth && IsValid(true))
        return 1;
    const int pixelBytes = ch * dep;
    long long rowBytes = static_cast<long long>(size.width) * pixelBytes;
    // Room for a 16-byte vector load of the last pixel when pixels are not 1, 3 or 4 bytes wide.
    if (pixelBytes != 1 && pixelBytes != 3 && pixelBytes != 4)
        rowBytes += 16 - pixelBytes;
    const int align = alignment < 0 ? 0 : alignment;
    if (align > 1)
        rowBytes = (rowBytes + align - 1) / align * align;
    if (rowBytes > 0x7fffffffLL)
        return 0;
    sse_array<unsigned char> fresh;
    if (!fresh.resize(static_cast<size_t>(rowBytes) * static_cast<size_t>(size.height)))
        return 0;
    data.swap(fresh);
    width = size.width;
    height = size.height;
    channels = ch;
    depth = dep;
    stride = static_cast<int>(rowBytes);
    if (alignment < 0)
        alignment = 0;
    return 1;
}

void CImageDataInfo::Release() {
    width = height = channels = depth = stride = 0;
    data.release();
}

unsigned char* CImageDataInfo::RowPtr(int y) {
    return const_cast<unsigned char*>(static_cast<const CImageDataInfo*>(this)->RowPtr(y));
}

const unsigned char* CImageDataInfo::RowPtr(int y) const {
    if (y < 0 || y >= height || !IsValid(true))
        return nullptr;
    const int stored = IsBottomUp() ? height - 1 - y : y;
    return data.data() + static_cast<size_t>(stored) * static_cast<size_t>(stride);
}

unsigned char* CImageDataInfo::PixelPtr(int x, int y) {
    return const_cast<unsigned char*>(static_cast<const CImageDataInfo*>(this)->PixelPtr(x, y));
}

const unsigned char* CImageDataInfo::PixelPtr(int x, int y) const {
    if (x < 0 || x >= width)
        return nullptr;
    const unsigned char* row = RowPtr(y);
    return row ? row + static_cast<size_t>(x) * PixelBytes() : nullptr;
}
