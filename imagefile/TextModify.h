#pragma once
// A text field of MetadataModifications (creator, title, keywords ...).
#include "imagefile/MetadataModItem.h"

#include <string>
#include <vector>

namespace ImageFile {

class TextModify : public MetadataModItem {
public:
    // A keyword list normalises to unique, trimmed entries joined by "; ".
    explicit TextModify(bool keywordList = false) : m_keywords(keywordList) {}

    int IsActive() const override { return m_active ? 1 : 0; }
    int IsDelete() const override { return m_active && m_delete ? 1 : 0; }
    void Reset() override;
    std::unique_ptr<MetadataModItem> Clone() const override;
    int CopyFrom(const MetadataModItem& other) override;
    void ToXml(TiXmlElement* element) const override;
    void FromXml(const TiXmlElement* element) override;

    // Makes the entry active with this value (normalised). An empty normalised value means deletion.
    void SetValue(const std::string& value);
    void SetDelete();
    void SetActive(bool active) { m_active = active; }
    // The normalised value.
    const std::string& GetValue() const { return m_value; }
    bool IsKeywordList() const { return m_keywords; }
    // The keywords of a keyword list, in order.
    std::vector<std::string> GetKeywords() const;

    static std::string Normalize(const std::string& text, bool keywordList);

private:
    bool m_keywords = false;
    bool m_active = false;
    bool m_delete = false;
    std::string m_value;
};

} // namespace ImageFile
