#pragma once
// The rules of the numeric controls, shared by the slider and the value edit: values are integers
// scaled by 10^decimals (at most two decimals), and text is read and written exactly, digit by
// digit, with the point as the decimal mark whatever the locale.
#include <QString>

namespace KELCTRL::ScaledValue {

constexpr int kMaxDecimals = 2;

int ClampDecimals(unsigned decimals);
// 10 to the power of decimals.
double ScaleOf(int decimals);
// floor(v x scale + 0.5), saturated to the int range; NaN gives 0.
int Round(double v, double scale);
// The upper end of a range at least one unit wide: max(min + 1, max), without overflow.
int RangeMax(int minValue, int maxValue);
// A range given in real units, scaled: decimals clamped, each bound rounded, and a step that rounds
// to nothing made one unit.
struct SCALED_RANGE {
    int minValue;
    int maxValue;
    unsigned step;
    unsigned decimals;
};
SCALED_RANGE ScaleRange(double minValue, double maxValue, double step, unsigned decimals);
// One wheel or arrow step of s from v that stops at 0 on its way through it.
int StepThroughZero(int v, int s);
// Reads a typed value: digits with at most one point, a sign allowed only in front, nothing else,
// and at least one digit. The scaled value is rounded half up (floor(x x scale + 0.5)), exactly,
// and saturated to the int range. Returns 1 and sets `value` on success, 0 leaves it.
int Parse(const QString& text, int decimals, int& value);
// The text of a scaled value with exactly `decimals` decimals; `plusSign` puts "+" before a
// positive value.
QString Format(int value, int decimals, bool plusSign);

} // namespace KELCTRL::ScaledValue
