#pragma once
// One entry of MetadataModifications: whether it changes its field, and whether the change deletes it.
#include <memory>

class TiXmlElement;

namespace ImageFile {

class MetadataModItem {
public:
    virtual ~MetadataModItem() = default;

    virtual int IsActive() const = 0;
    // Active and meaning "remove the field".
    virtual int IsDelete() const = 0;
    virtual void Reset() = 0;
    virtual std::unique_ptr<MetadataModItem> Clone() const = 0;
    // Copies an entry of the same kind; returns 0 for an entry of another kind.
    virtual int CopyFrom(const MetadataModItem& other) = 0;
    virtual void ToXml(TiXmlElement* element) const = 0;
    // Reads what ToXml wrote; missing or malformed attributes leave the entry inactive.
    virtual void FromXml(const TiXmlElement* element) = 0;
};

} // namespace ImageFile
