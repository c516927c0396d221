#pragma once
// A view without a window for stroke tests: fixed geometry, an image, and a record of refreshes.
#include "tools/paint/IBrushStrokeHost.h"

#include <mutex>
#include <vector>

namespace brush_testing {

using namespace KELCTRL::IMGWND_TOOL;

class FakeHost : public IBrushStrokeHost {
public:
    VIEW_GEOMETRY geometry;
    CImageDataInfo image;
    CImageDataInfo cache;
    const unsigned short* lut = nullptr;

    VIEW_GEOMETRY GetViewGeometry() override { return geometry; }
    const CImageDataInfo* GetSourceImage() override { return &image; }
    const CImageDataInfo* GetZoomedCache() override { return geometry.zoomedCache ? &cache : nullptr; }
    const unsigned short* GetLookupTable() override { return lut; }
    int WaitZoomedCacheReady(basic_signal&) override { return 1; }
    void RefreshRect(const IntRect& rect, int zoomed, const CSelectedRegion&) override {
        std::lock_guard<std::mutex> guard(m_lock);
        m_refreshes.push_back({rect, zoomed});
    }

    struct REFRESH {
        IntRect rect;
        int zoomed;
    };
    std::vector<REFRESH> Refreshes() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_refreshes;
    }

private:
    std::mutex m_lock;
    std::vector<REFRESH> m_refreshes;
};

} // namespace brush_testing
