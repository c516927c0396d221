#include "imagefile/MetadataModifications.h"

namespace ImageFile {

MetadataModifications::MetadataModifications() {
    m_items[0] = std::make_unique<CapTimeModify>();
    for (int i = 1; i < METADATA_ITEM_COUNT; ++i)
        m_items[i] = std::make_unique<TextModify>(i == METADATA_ITEM_KEYWORDS);
}

MetadataModifications::MetadataModifications(const MetadataModifications& other) {
    for (int i = 0; i < METADATA_ITEM_COUNT; ++i)
        m_items[i] = other.m_items[i]->Clone();
}

MetadataModifications& MetadataModifications::operator=(const MetadataModifications& other) {
    if (this != &other) {
        for (int i = 0; i < METADATA_ITEM_COUNT; ++i)
            m_items[i]->CopyFrom(*other.m_items[i]);
    }
    return *this;
}

TextModify* MetadataModifications::Text(int index) {
    if (index < 1 || index >= METADATA_ITEM_COUNT)
        return nullptr;
    return static_cast<TextModify*>(m_items[index].get());
}

const TextModify* MetadataModifications::Text(int index) const {
    if (index < 1 || index >= METADATA_ITEM_COUNT)
        return nullptr;
    return static_cast<const TextModify*>(m_items[index].get());
}

int MetadataModifications::IsAnyActive() const {
    for (const auto& item : m_items)
        if (item->IsActive())
            return 1;
    return 0;
}

void MetadataModifications::Reset() {
    for (auto& item : m_items)
        item->Reset();
}

} // namespace ImageFile
