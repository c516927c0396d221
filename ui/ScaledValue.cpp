#include "ui/ScaledValue.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>

namespace KELCTRL::ScaledValue {

int ClampDecimals(unsigned decimals) {
    return static_cast<int>(std::min<unsigned>(decimals, kMaxDecimals));
}

double ScaleOf(int decimals) {
    double scale = 1.0;
    for (int i = 0; i < decimals; ++i)
        scale *= 10.0;
    return scale;
}

int Round(double v, double scale) {
    const double r = std::floor(v * scale + 0.5);
    if (std::isnan(r))
        return 0;
    if (r <= double(INT_MIN))
        return INT_MIN;
    if (r >= double(INT_MAX))
        return INT_MAX;
    return static_cast<int>(r);
}

SCALED_RANGE ScaleRange(double minValue, double maxValue, double step, unsigned decimals) {
    const int d = ClampDecimals(decimals);
    const double scale = ScaleOf(d);
    return {Round(minValue, scale), Round(maxValue, scale),
            static_cast<unsigned>(std::max(1, Round(step, scale))), static_cast<unsigned>(d)};
}

int RangeMax(int minValue, int maxValue) {
    if (minValue == INT_MAX)
        return INT_MAX;
    return std::max(minValue + 1, maxValue);
}

int StepThroughZero(int v, int s) {
    const int64_t next = int64_t(v) + s;
    if (int64_t(v) * next < 0)
        return 0;
    return static_cast<int>(std::clamp<int64_t>(next, INT_MIN, INT_MAX));
}

int Parse(const QString& text, int decimals, int& value) {
    decimals = std::clamp(decimals, 0, kMaxDecimals);
    int i = 0;
    bool negative = false;
    if (!text.isEmpty() && (text[0] == u'+' || text[0] == u'-')) {
        negative = text[0] == u'-';
        i = 1;
    }
    // Magnitude scaled by 10^decimals, the first dropped digit and whether any later one is non-zero.
    int64_t magnitude = 0;
    int fractionDigits = 0;
    int firstDropped = -1;
    bool restNonZero = false;
    bool point = false;
    bool anyDigit = false;
    constexpr int64_t kCap = int64_t(1) << 40; // far outside int after scaling
    for (; i < text.size(); ++i) {
        const QChar ch = text[i];
        if (ch == u'.') {
            if (point)
                return 0;
            point = true;
            continue;
        }
        if (ch < u'0' || ch > u'9')
            return 0;
        anyDigit = true;
        const int digit = ch.unicode() - u'0';
        if (!point || fractionDigits < decimals) {
            magnitude = std::min(kCap, magnitude * 10 + digit);
            if (point)
                ++fractionDigits;
        } else if (firstDropped < 0) {
            firstDropped = digit;
        } else if (digit != 0) {
            restNonZero = true;
        }
    }
    if (!anyDigit)
        return 0;
    for (; fractionDigits < decimals; ++fractionDigits)
        magnitude = std::min(kCap, magnitude * 10);
    // floor(x + 0.5): a half goes up, toward plus infinity, for either sign.
    const bool aboveHalf = firstDropped > 5 || (firstDropped == 5 && restNonZero);
    const bool exactHalf = firstDropped == 5 && !restNonZero;
    int64_t result = 0;
    if (!negative)
        result = magnitude + (aboveHalf || exactHalf ? 1 : 0);
    else
        result = -(magnitude + (aboveHalf ? 1 : 0));
    value = static_cast<int>(std::clamp<int64_t>(result, INT_MIN, INT_MAX));
    return 1;
}

QString Format(int value, int decimals, bool plusSign) {
    decimals = std::clamp(decimals, 0, kMaxDecimals);
    const int64_t v = value;
    const int64_t magnitude = v < 0 ? -v : v;
    int64_t divisor = 1;
    for (int k = 0; k < decimals; ++k)
        divisor *= 10;
    QString text = QString::number(magnitude / divisor);
    if (decimals > 0)
        text += u'.' + QString::number(magnitude % divisor).rightJustified(decimals, u'0');
    if (v < 0)
        text.prepend(u'-');
    else if (v > 0 && plusSign)
        text.prepend(u'+');
    return text;
}

} // namespace KELCTRL::ScaledValue
