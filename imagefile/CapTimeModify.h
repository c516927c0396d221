#pragma once
// The capture-time entry of MetadataModifications: a new date, a new time or a shift, a time zone.
#include "imagefile/ImageFileTypes.h"
#include "imagefile/MetadataModItem.h"

#include <string>

namespace ImageFile {

class CapTimeModify : public MetadataModItem {
public:
    enum MASK : unsigned {
        MASK_DATE = 1,
        MASK_TIME = 2, // a time or, with m_isShift, a shift
        MASK_TIMEZONE = 4,
    };

    int IsActive() const override { return (m_delete || (m_mask & 7) != 0) ? 1 : 0; }
    int IsDelete() const override { return m_delete ? 1 : 0; }
    void Reset() override { *this = CapTimeModify(); }
    std::unique_ptr<MetadataModItem> Clone() const override;
    int CopyFrom(const MetadataModItem& other) override;
    void ToXml(TiXmlElement* element) const override;
    void FromXml(const TiXmlElement* element) override;

    void SetDelete() {
        *this = CapTimeModify();
        m_delete = true;
    }

    // Applies date, time or shift to `t`; returns 0 when the result is not a valid date.
    int Apply(METADATA_CAPTIME& t) const;
    // The time zone as "+HH:MM" / "-HH:MM", or empty.
    std::string TimeZoneText() const;

    unsigned m_mask = 0;
    bool m_isShift = false;
    bool m_delete = false;
    int m_year = 2000, m_month = 1, m_day = 1;
    int m_hour = 0, m_minute = 0, m_second = 0;
    int m_shiftSign = 1; // +1 later, -1 earlier
    int m_shiftHours = 0, m_shiftMinutes = 0;
    int m_zoneMinutes = 0; // offset from UTC
};

// Fills the calendar fields and the sort value from a date; returns 0 for an impossible date.
int MakeCapTime(METADATA_CAPTIME& t, int year, int month, int day, int hour, int minute, int second);

} // namespace ImageFile
