#include "common/XmlValues.h"

#include <charconv>
#include <cstring>
#include <tinyxml.h>

namespace KELCTRL {
namespace {

std::string_view Trimmed(const char* text) {
    std::string_view s(text);
    const size_t first = s.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return {};
    const size_t last = s.find_last_not_of(" \t\r\n");
    return s.substr(first, last - first + 1);
}

bool EqualsNoCase(std::string_view a, const char* b) {
    if (a.size() != std::strlen(b))
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const char x = (a[i] >= 'A' && a[i] <= 'Z') ? char(a[i] - 'A' + 'a') : a[i];
        if (x != b[i])
            return false;
    }
    return true;
}

} // namespace

const char* XmlChildText(const TiXmlElement* parent, const char* name) {
    if (parent == nullptr)
        return nullptr;
    const TiXmlElement* child = parent->FirstChildElement(name);
    if (child == nullptr)
        return nullptr;
    const char* text = child->GetText();
    return text ? text : "";
}

bool ParseXmlInt(const char* text, int64_t& value) {
    if (text == nullptr)
        return false;
    std::string_view s = Trimmed(text);
    if (!s.empty() && s.front() == '+')
        s.remove_prefix(1);
    if (s.empty())
        return false;
    int64_t v = 0;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (ec != std::errc() || end != s.data() + s.size())
        return false;
    value = v;
    return true;
}

bool ParseXmlBool(const char* text, bool& value) {
    if (text == nullptr)
        return false;
    const std::string_view s = Trimmed(text);
    if (EqualsNoCase(s, "true")) {
        value = true;
        return true;
    }
    if (EqualsNoCase(s, "false")) {
        value = false;
        return true;
    }
    int64_t v = 0;
    if (!ParseXmlInt(text, v))
        return false;
    value = v != 0;
    return true;
}

std::string XmlIntText(int64_t value) {
    char buf[24];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
    (void)ec;
    return std::string(buf, end);
}

void AddXmlChildText(TiXmlElement* parent, const char* name, std::string_view text) {
    TiXmlElement child(name);
    child.InsertEndChild(TiXmlText(std::string(text)));
    parent->InsertEndChild(child);
}

void AddXmlChildInt(TiXmlElement* parent, const char* name, int64_t value) {
    AddXmlChildText(parent, name, XmlIntText(value));
}

bool XmlIntAttribute(const TiXmlElement* element, const char* name, int64_t& value) {
    return element != nullptr && ParseXmlInt(element->Attribute(name), value);
}

void SetXmlIntAttribute(TiXmlElement* element, const char* name, int64_t value) {
    element->SetAttribute(name, XmlIntText(value).c_str());
}

} // namespace KELCTRL
