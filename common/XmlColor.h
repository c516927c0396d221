#pragma once
// Colours in XML files: an element with decimal attributes "a" (optional), "r", "g", "b".
#include "common/ValueTypes.h"

class TiXmlElement;

namespace KELCTRL {

// A new element called `name`; the caller owns it. "a" is written first, and only with withAlpha.
TiXmlElement* ColorToXml(const ARGB32& color, const char* name, int withAlpha);
// Null element: returns 0 and leaves `out` alone. Otherwise `out` starts as opaque black and each of
// "a", "r", "g", "b" that is present overwrites its byte. `defaultColor` is accepted and, on purpose,
// plays no part: files written without a colour's attribute have always read as opaque black.
int ColorFromXml(ARGB32& out, ARGB32 defaultColor, const TiXmlElement* element);

} // namespace KELCTRL
