#pragma once
// Values kept as child elements of a settings root: <start_times>12</start_times>. Numbers are read
// and written with from_chars / to_chars, so the process locale never changes a file.
#include <cstdint>
#include <string>
#include <string_view>

class TiXmlElement;

namespace KELCTRL {

// The text of the first child element called `name`; null when there is no such child. A child
// without text gives "".
const char* XmlChildText(const TiXmlElement* parent, const char* name);
// A whole decimal integer, optional sign, surrounding blanks allowed. False for anything else.
bool ParseXmlInt(const char* text, int64_t& value);
// "1"/"0" and "true"/"false" in any case; integers other than 0 read as true.
bool ParseXmlBool(const char* text, bool& value);
std::string XmlIntText(int64_t value);

// Appends <name>text</name> to parent.
void AddXmlChildText(TiXmlElement* parent, const char* name, std::string_view text);
void AddXmlChildInt(TiXmlElement* parent, const char* name, int64_t value);
// Reads an attribute as a whole decimal integer.
bool XmlIntAttribute(const TiXmlElement* element, const char* name, int64_t& value);
void SetXmlIntAttribute(TiXmlElement* element, const char* name, int64_t value);

} // namespace KELCTRL
