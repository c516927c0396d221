#pragma once
// Text helpers of the shared basics. Text here is UTF-8; numbers always use the point as decimal mark.
#include <string>
#include <string_view>
#include <vector>

namespace KELCTRL {

// Negative decimals: six decimals ("%f"); 0: none; positive: that many, then trailing zeros are
// stripped back to the decimal point, and a point left last goes too ("1.50" -> "1.5", "2.00" -> "2").
std::string Float2String(double value, int decimals);
// Removes every character that is not an ASCII digit or letter; other UTF-8 letters are kept whole.
void RemoveNonNumberLetter(std::string& text);
// Splits at a separator, dropping empty items.
std::vector<std::string> SplitString(std::string_view text, std::string_view separator);
// Order of names in lists: runs of digits compare as numbers, the rest without regard to case.
// Returns <0, 0 or >0. Callers break ties with an item id so that every order is total.
int NaturalCompare(std::string_view a, std::string_view b);

} // namespace KELCTRL
