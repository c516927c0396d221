#include "imagefile/TextModify.h"

#include <tinyxml.h>

#include <algorithm>

namespace ImageFile {

namespace {

std::string Trim(const std::string& s) {
    const char* ws = " \n\r\t";
    const size_t b = s.find_first_not_of(ws);
    if (b == std::string::npos)
        return {};
    const size_t e = s.find_last_not_of(ws);
    return s.substr(b, e - b + 1);
}

} // namespace

void TextModify::Reset() {
    m_active = false;
    m_delete = false;
    m_value.clear();
}

std::unique_ptr<MetadataModItem> TextModify::Clone() const {
    return std::make_unique<TextModify>(*this);
}

int TextModify::CopyFrom(const MetadataModItem& other) {
    const auto* t = dynamic_cast<const TextModify*>(&other);
    if (!t)
        return 0;
    *this = *t;
    return 1;
}

std::string TextModify::Normalize(const std::string& text, bool keywordList) {
    if (!keywordList)
        return Trim(text);
    std::vector<std::string> words;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find_first_of(";,", start);
        if (end == std::string::npos)
            end = text.size();
        std::string w = Trim(text.substr(start, end - start));
        if (!w.empty() && std::find(words.begin(), words.end(), w) == words.end())
            words.push_back(std::move(w));
        start = end + 1;
    }
    std::string out;
    for (const std::string& w : words) {
        if (!out.empty())
            out += "; ";
        out += w;
    }
    return out;
}

void TextModify::SetValue(const std::string& value) {
    m_active = true;
    m_value = Normalize(value, m_keywords);
    m_delete = m_value.empty();
}

void TextModify::SetDelete() {
    m_active = true;
    m_delete = true;
    m_value.clear();
}

std::vector<std::string> TextModify::GetKeywords() const {
    std::vector<std::string> words;
    const std::string norm = Normalize(m_value, true);
    size_t start = 0;
    while (start < norm.size()) {
        size_t end = norm.find("; ", start);
        if (end == std::string::npos)
            end = norm.size();
        words.push_back(norm.substr(start, end - start));
        start = end + 2;
    }
    return words;
}

void TextModify::ToXml(TiXmlElement* element) const {
    if (!element)
        return;
    element->SetAttribute("active", m_active ? 1 : 0);
    element->SetAttribute("delete", m_delete ? 1 : 0);
    element->SetAttribute("value", m_value.c_str());
}

void TextModify::FromXml(const TiXmlElement* element) {
    Reset();
    if (!element)
        return;
    int active = 0, del = 0;
    if (element->QueryIntAttribute("active", &active) != TIXML_SUCCESS || !active)
        return;
    element->QueryIntAttribute("delete", &del);
    const char* value = element->Attribute("value");
    if (del)
        SetDelete();
    else
        SetValue(value ? value : "");
}

} // namespace ImageFile
