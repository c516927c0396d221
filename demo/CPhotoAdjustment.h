#pragma once
// The sample product's one live adjustment: exposure in EV and contrast in percent, turned into a
// 16-bit tone curve that the pixel library applies. Optionally a second exposure under a painted
// mask (the brush mode's local adjustment).
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"

#include <mutex>
#include <vector>

namespace kelphoto {

struct ADJUSTMENT {
    double exposure = 0.0; // EV, -3 … +3
    int contrast = 0;      // -100 … +100
    bool operator==(const ADJUSTMENT&) const = default;
    bool IsIdentity() const { return exposure == 0.0 && contrast == 0; }
};

class CPhotoAdjustment {
public:
    CPhotoAdjustment();

    // Settable from the interface thread while the adjust thread processes.
    void Set(const ADJUSTMENT& adjustment);
    ADJUSTMENT Get() const;
    // The mask of the local adjustment (image size, or empty for none) and its exposure.
    void SetLocalMask(const CSelectedRegion* mask, double exposure);

    // dst = the adjustment applied to src; (x, y) is where src lies in the full image, for the mask.
    // Returns false for bad records. Runs on any thread.
    bool Process(CImageDataInfo& dst, const CImageDataInfo& src, int x, int y) const;

    // The 65,536-entry curve of an adjustment: exposure scales linear light, contrast bends around
    // mid-grey with a smooth S (negative contrast flattens towards grey); the result is monotonic.
    static std::vector<unsigned short> BuildCurve(const ADJUSTMENT& adjustment);

private:
    mutable std::mutex m_lock;
    ADJUSTMENT m_adjustment;
    std::vector<unsigned short> m_curve;
    const CSelectedRegion* m_mask = nullptr;
    std::vector<unsigned short> m_localCurve;
};

} // namespace kelphoto
