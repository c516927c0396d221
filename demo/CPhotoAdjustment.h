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
    // The masks of the local adjustment and its exposure: `mask` at image size, `zoomedMask` at the
    // size of the zoomed view (either may be null or empty for none). Both lie at (0, 0) over what
    // they cover and are only read: the brush paints them while processing runs on other threads.
    void SetLocalMask(const CSelectedRegion* mask, const CSelectedRegion* zoomedMask, double exposure);

    // Fills dst with the adjusted part of src that starts at (x, y): src is the whole image (or the
    // whole zoomed view when zoom < 1, which also picks the mask) and dst keeps its size. An empty dst
    // is made the size of src, for processing everything. Returns false for bad records, and for a
    // dst that does not lie inside src. Runs on any thread.
    bool Process(CImageDataInfo& dst, const CImageDataInfo& src, int x, int y, double zoom = 1.0) const;

    // The 65,536-entry curve of an adjustment: exposure scales linear light, contrast bends around
    // mid-grey with a smooth S (negative contrast flattens towards grey); the result is monotonic.
    static std::vector<unsigned short> BuildCurve(const ADJUSTMENT& adjustment);

private:
    mutable std::mutex m_lock;
    ADJUSTMENT m_adjustment;
    std::vector<unsigned short> m_curve;
    const CSelectedRegion* m_mask = nullptr;
    const CSelectedRegion* m_zoomedMask = nullptr;
    std::vector<unsigned short> m_localCurve;
};

} // namespace kelphoto
