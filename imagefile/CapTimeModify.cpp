#include "imagefile/CapTimeModify.h"

#include <tinyxml.h>

#include <cstdio>

namespace ImageFile {

namespace {

// Days since 1970-01-01 of a proleptic Gregorian date.
long long DaysFromCivil(long long y, int m, int d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yoe = y - era * 400;
    const long long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void CivilFromDays(long long z, int& y, int& m, int& d) {
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const long long doe = z - era * 146097;
    const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long long mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

int DaysInMonth(int y, int m) {
    static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (m == 2 && ((y % 4 == 0 && y % 100 != 0) || y % 400 == 0))
        return 29;
    return kDays[m - 1];
}

int Attr(const TiXmlElement* e, const char* name, int fallback) {
    int v = fallback;
    e->QueryIntAttribute(name, &v);
    return v;
}

} // namespace

int MakeCapTime(METADATA_CAPTIME& t, int year, int month, int day, int hour, int minute, int second) {
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) ||
        hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 60)
        return 0;
    if (second == 60)
        second = 59; // a leap second sorts with the second before it
    const long long days = DaysFromCivil(year, month, day);
    t.year = year;
    t.month = month;
    t.day = day;
    t.hour = hour;
    t.minute = minute;
    t.second = second;
    t.dayOfWeek = static_cast<int>(((days % 7) + 11) % 7); // 1970-01-01 was a Thursday
    const long long since1 = days - DaysFromCivil(1, 1, 1);
    t.value =
        static_cast<uint64_t>(since1) * 86400ull + static_cast<uint64_t>(hour * 3600 + minute * 60 + second);
    return 1;
}

std::unique_ptr<MetadataModItem> CapTimeModify::Clone() const {
    return std::make_unique<CapTimeModify>(*this);
}

int CapTimeModify::CopyFrom(const MetadataModItem& other) {
    const auto* c = dynamic_cast<const CapTimeModify*>(&other);
    if (!c)
        return 0;
    *this = *c;
    return 1;
}

int CapTimeModify::Apply(METADATA_CAPTIME& t) const {
    int y = t.year, mo = t.month, d = t.day, h = t.hour, mi = t.minute, s = t.second;
    if (m_mask & MASK_DATE) {
        y = m_year;
        mo = m_month;
        d = m_day;
    }
    if ((m_mask & MASK_TIME) && !m_isShift) {
        h = m_hour;
        mi = m_minute;
        s = m_second;
    }
    METADATA_CAPTIME r;
    if (!MakeCapTime(r, y, mo, d, h, mi, s))
        return 0;
    if ((m_mask & MASK_TIME) && m_isShift) {
        const long long shift =
            (m_shiftSign < 0 ? -1LL : 1LL) * (m_shiftHours * 3600LL + m_shiftMinutes * 60LL);
        const long long total = static_cast<long long>(r.value) + shift;
        if (total < 0)
            return 0;
        const long long days = total / 86400 + DaysFromCivil(1, 1, 1);
        const long long secs = total % 86400;
        CivilFromDays(days, y, mo, d);
        if (!MakeCapTime(r, y, mo, d, static_cast<int>(secs / 3600), static_cast<int>(secs / 60 % 60),
                         static_cast<int>(secs % 60)))
            return 0;
    }
    t = r;
    return 1;
}

std::string CapTimeModify::TimeZoneText() const {
    if (!(m_mask & MASK_TIMEZONE))
        return {};
    const int a = m_zoneMinutes < 0 ? -m_zoneMinutes : m_zoneMinutes;
    char buf[16];
    std::snprintf(buf, sizeof buf, "%c%02d:%02d", m_zoneMinutes < 0 ? '-' : '+', (a / 60) % 100, a % 60);
    return buf;
}

void CapTimeModify::ToXml(TiXmlElement* e) const {
    if (!e)
        return;
    e->SetAttribute("mask", static_cast<int>(m_mask));
    e->SetAttribute("shift", m_isShift ? 1 : 0);
    e->SetAttribute("delete", m_delete ? 1 : 0);
    e->SetAttribute("year", m_year);
    e->SetAttribute("month", m_month);
    e->SetAttribute("day", m_day);
    e->SetAttribute("hour", m_hour);
    e->SetAttribute("minute", m_minute);
    e->SetAttribute("second", m_second);
    e->SetAttribute("shiftSign", m_shiftSign);
    e->SetAttribute("shiftHours", m_shiftHours);
    e->SetAttribute("shiftMinutes", m_shiftMinutes);
    e->SetAttribute("zoneMinutes", m_zoneMinutes);
}

void CapTimeModify::FromXml(const TiXmlElement* e) {
    Reset();
    if (!e)
        return;
    CapTimeModify c;
    c.m_mask = static_cast<unsigned>(Attr(e, "mask", 0)) & 7u;
    c.m_isShift = Attr(e, "shift", 0) != 0;
    c.m_delete = Attr(e, "delete", 0) != 0;
    c.m_year = Attr(e, "year", 2000);
    c.m_month = Attr(e, "month", 1);
    c.m_day = Attr(e, "day", 1);
    c.m_hour = Attr(e, "hour", 0);
    c.m_minute = Attr(e, "minute", 0);
    c.m_second = Attr(e, "second", 0);
    c.m_shiftSign = Attr(e, "shiftSign", 1) < 0 ? -1 : 1;
    c.m_shiftHours = Attr(e, "shiftHours", 0);
    c.m_shiftMinutes = Attr(e, "shiftMinutes", 0);
    c.m_zoneMinutes = Attr(e, "zoneMinutes", 0);
    // Values out of range make the entry inactive rather than write an impossible time.
    METADATA_CAPTIME probe;
    const bool dateOk = !(c.m_mask & MASK_DATE) || MakeCapTime(probe, c.m_year, c.m_month, c.m_day, 0, 0, 0);
    const bool timeOk = !(c.m_mask & MASK_TIME) ||
                        (c.m_isShift ? (c.m_shiftHours >= 0 && c.m_shiftHours < 100000 &&
                                        c.m_shiftMinutes >= 0 && c.m_shiftMinutes < 60)
                                     : MakeCapTime(probe, 2000, 1, 1, c.m_hour, c.m_minute, c.m_second) != 0);
    const bool zoneOk =
        !(c.m_mask & MASK_TIMEZONE) || (c.m_zoneMinutes >= -14 * 60 && c.m_zoneMinutes <= 14 * 60);
    if (dateOk && timeOk && zoneOk)
        *this = c;
}

} // namespace ImageFile
