#pragma once
// What a metadata edit changes: 12 entries kept by position.
#include "imagefile/CapTimeModify.h"
#include "imagefile/TextModify.h"

#include <array>
#include <memory>

namespace ImageFile {

enum METADATA_ITEM : int {
    METADATA_ITEM_CAPTURE_TIME = 0,
    METADATA_ITEM_CREATOR = 1,
    METADATA_ITEM_COPYRIGHT = 2,
    METADATA_ITEM_TITLE = 3,
    METADATA_ITEM_HEADLINE = 4,
    METADATA_ITEM_DESC = 5,
    METADATA_ITEM_COUNTRY = 6,
    METADATA_ITEM_STATE = 7,
    METADATA_ITEM_CITY = 8,
    METADATA_ITEM_SUBLOCATION = 9,
    METADATA_ITEM_KEYWORDS = 10,
    METADATA_ITEM_COMMENT = 11,
    METADATA_ITEM_COUNT = 12,
};

class MetadataModifications {
public:
    MetadataModifications();
    MetadataModifications(const MetadataModifications& other);
    MetadataModifications& operator=(const MetadataModifications& other);

    static constexpr int Count() { return METADATA_ITEM_COUNT; }
    MetadataModItem& operator[](int index) { return *m_items[index]; }
    const MetadataModItem& operator[](int index) const { return *m_items[index]; }
    CapTimeModify& CapTime() { return static_cast<CapTimeModify&>(*m_items[0]); }
    const CapTimeModify& CapTime() const { return static_cast<const CapTimeModify&>(*m_items[0]); }
    // The text entry at positions 1..11; null for 0 or out of range.
    TextModify* Text(int index);
    const TextModify* Text(int index) const;

    int IsAnyActive() const;
    void Reset();

private:
    std::array<std::unique_ptr<MetadataModItem>, METADATA_ITEM_COUNT> m_items;
};

} // namespace ImageFile
