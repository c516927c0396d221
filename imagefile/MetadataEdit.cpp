// Metadata edits of existing files, their XML form and the history of values used.
#include "common/CAtomicFileWriter.h"
#include "imagefile/FileBytes.h"
#include "imagefile/ImageFile.h"
#include "imagefile/Metadata.h"

#include <tinyxml.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <mutex>

namespace ImageFile {

using detail::Bytes;

namespace {

constexpr size_t kHistoryLength = 20;

struct History {
    std::mutex lock;
    std::array<std::vector<std::string>, METADATA_ITEM_COUNT> values;
};

History& GetHistory() {
    static History h;
    return h;
}

void Report(ProgressFunc callback, int done, int total) {
    if (callback)
        callback(done, total);
}

// The written copy must read back as the same kind of image with metadata that parses.
int VerifyCopy(const std::filesystem::path& temp, const FILEINFO& original) {
    Bytes copy;
    if (const int rc = detail::ReadFileBytes(temp, copy); rc != ERR_OK)
        return rc;
    FILEINFO check;
    check.path = original.path;
    if (GetImageInfoFromMemory(check, copy.data(), copy.size()) != ERR_OK)
        return ERR_METADATA;
    if (check.format != original.format || check.storedWidth != original.storedWidth ||
        check.storedHeight != original.storedHeight)
        return ERR_METADATA;
    if (detail::ReadMetadataInfo(copy.data(), copy.size(), check) != ERR_OK)
        return ERR_METADATA;
    return ERR_OK;
}

} // namespace

int ModifyFileMetadata(const FILEINFO& infoIn, const MetadataModifications& mods, unsigned removedCategories,
                       bool refreshDerived, ProgressFunc callback) {
    const std::filesystem::path& path = infoIn.path;
    Report(callback, 0, 3);
    Bytes file;
    if (const int rc = detail::ReadFileBytes(path, file); rc != ERR_OK)
        return rc;
    FILEINFO info;
    info.path = path;
    info.modifyTime = infoIn.modifyTime;
    if (const int rc = GetImageInfoFromMemory(info, file.data(), file.size()); rc != ERR_OK)
        return rc;
    if (info.format == IMAGE_FORMAT_BMP)
        return ERR_UNSUPPORTED_FORMAT;
    if (!mods.IsAnyActive() && removedCategories == METADATA_CATEGORY_NONE && !refreshDerived)
        return ERR_OK;
    if (const int rc = detail::ApplyModifications(file, info, mods, removedCategories, refreshDerived);
        rc != ERR_OK)
        return rc;
    Report(callback, 1, 3);
    KELCTRL::CAtomicFileWriter writer(path);
    if (!writer.Open(file.size()) || !writer.Write(file.data(), file.size()))
        return ErrorFromWriterErrno(writer.Error());
    Report(callback, 2, 3);
    // Flushed but not yet in place: check the copy on disk before it replaces the file.
    int rc = VerifyCopy(writer.TempPath(), info);
    if (rc != ERR_OK) {
        writer.Abort();
        return rc;
    }
    rc = writer.Commit() ? ERR_OK : ErrorFromWriterErrno(writer.Error());
    Report(callback, 3, 3);
    return rc;
}

int MetadataModsToXml(const MetadataModifications& mods, TiXmlElement* element) {
    if (!element)
        return 0;
    for (int i = 0; i < METADATA_ITEM_COUNT; ++i) {
        if (!mods[i].IsActive())
            continue;
        TiXmlElement item("item");
        item.SetAttribute("index", i);
        mods[i].ToXml(&item);
        element->InsertEndChild(item);
    }
    return 1;
}

int MetadataModsFromXml(MetadataModifications& mods, const TiXmlElement* element) {
    mods.Reset();
    if (!element)
        return 0;
    for (const TiXmlElement* e = element->FirstChildElement("item"); e; e = e->NextSiblingElement("item")) {
        int index = -1;
        if (e->QueryIntAttribute("index", &index) != TIXML_SUCCESS || index < 0 ||
            index >= METADATA_ITEM_COUNT)
            continue;
        mods[index].FromXml(e);
    }
    return 1;
}

void AddMetadataModsToHistory(const MetadataModifications& mods, bool moveToFront) {
    History& h = GetHistory();
    std::lock_guard<std::mutex> lock(h.lock);
    for (int i = 1; i < METADATA_ITEM_COUNT; ++i) {
        const TextModify* t = mods.Text(i);
        if (!t || !t->IsActive() || t->IsDelete() || t->GetValue().empty())
            continue;
        std::vector<std::string>& list = h.values[i];
        const auto it = std::find(list.begin(), list.end(), t->GetValue());
        if (it != list.end()) {
            if (!moveToFront)
                continue;
            list.erase(it);
        }
        list.insert(list.begin(), t->GetValue());
        if (list.size() > kHistoryLength)
            list.resize(kHistoryLength);
    }
}

std::vector<std::string> GetMetadataHistory(int position) {
    if (position < 0 || position >= METADATA_ITEM_COUNT)
        return {};
    History& h = GetHistory();
    std::lock_guard<std::mutex> lock(h.lock);
    return h.values[position];
}

void ClearMetadataHistory() {
    History& h = GetHistory();
    std::lock_guard<std::mutex> lock(h.lock);
    for (auto& v : h.values)
        v.clear();
}

} // namespace ImageFile
