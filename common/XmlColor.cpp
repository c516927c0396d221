#include "common/XmlColor.h"

#include <tinyxml.h>

namespace KELCTRL {

TiXmlElement* ColorToXml(const ARGB32& color, const char* name, int withAlpha) {
    auto* e = new TiXmlElement(name ? name : "color");
    if (withAlpha)
        e->SetAttribute("a", color.c.a);
    e->SetAttribute("r", color.c.r);
    e->SetAttribute("g", color.c.g);
    e->SetAttribute("b", color.c.b);
    return e;
}

int ColorFromXml(ARGB32& out, ARGB32 /*defaultColor*/, const TiXmlElement* element) {
    if (!element)
        return 0;
    ARGB32 c(0xFF000000u);
    int v = 0;
    if (element->QueryIntAttribute("a", &v) == TIXML_SUCCESS)
        c.c.a = static_cast<uint8_t>(v);
    if (element->QueryIntAttribute("r", &v) == TIXML_SUCCESS)
        c.c.r = static_cast<uint8_t>(v);
    if (element->QueryIntAttribute("g", &v) == TIXML_SUCCESS)
        c.c.g = static_cast<uint8_t>(v);
    if (element->QueryIntAttribute("b", &v) == TIXML_SUCCESS)
        c.c.b = static_cast<uint8_t>(v);
    out = c;
    return 1;
}

} // namespace KELCTRL
