#include "common/CSelectedRegion.h"

#include <algorithm>

CSelectedRegion::CSelectedRegion(const CSelectedRegion& o) {
    *this = o;
}

CSelectedRegion& CSelectedRegion::operator=(const CSelectedRegion& o) {
    if (this == &o)
        return *this;
    x = o.x;
    y = o.y;
    width = o.width;
    height = o.height;
    if (!data.copy_from(o.data))
        Release();
    return *this;
}

bool CSelectedRegion::IsUsable() const {
    if (width < 1 || height < 1)
        return false;
    return data.empty() || data.byte_size() == static_cast<size_t>(width) * static_cast<size_t>(height) * 2;
}

int CSelectedRegion::Create(int w, int h) {
    if (w < 1 || h < 1)
        return 0;
    if (!data.resize(static_cast<size_t>(w) * static_cast<size_t>(h) * 2)) {
        width = height = 0;
        return 0;
    }
    width = w;
    height = h;
    return 1;
}

int CSelectedRegion::Create(int w, int h, uint16_t value) {
    if (!Create(w, h))
        return 0;
    std::fill_n(Values(), static_cast<size_t>(w) * h, value);
    return 1;
}

void CSelectedRegion::Release() {
    width = height = 0;
    data.release();
}
