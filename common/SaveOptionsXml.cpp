#include "common/SaveOptionsXml.h"

#include "common/XmlValues.h"

#include <strings.h>
#include <tinyxml.h>

namespace KELCTRL {
namespace {

const char* const kCompressionWords[] = {"none", "lzw", "zip"};

struct FormatWord {
    const UniqueID& (*id)();
    const char* word;
};
const FormatWord kFormatWords[] = {
    {FileFormatJpeg, "jpeg"}, {FileFormatTiff, "tiff"}, {FileFormatPng, "png"}, {FileFormatBmp, "bmp"}};

} // namespace

const UniqueID& FileFormatBmp() {
    static const UniqueID id("0af1d87e-fcfe-4188-bdeb-a7906471cbe3");
    return id;
}
const UniqueID& FileFormatPng() {
    static const UniqueID id("1b7cfaf4-713f-473c-bbcd-6137425faeaf");
    return id;
}
const UniqueID& FileFormatJpeg() {
    static const UniqueID id("19e4a5aa-5662-4fc5-a0c0-1758028e1057");
    return id;
}
const UniqueID& FileFormatTiff() {
    static const UniqueID id("163bcc30-e2e9-4f0b-961d-a3e9fdb788a3");
    return id;
}

const char* FileFormatWord(const UniqueID& format) {
    for (const FormatWord& f : kFormatWords)
        if (f.id() == format)
            return f.word;
    return "jpeg";
}

bool FileFormatFromWord(const char* word, UniqueID& format) {
    if (word == nullptr)
        return false;
    for (const FormatWord& f : kFormatWords) {
        if (strcasecmp(word, f.word) == 0) {
            format = f.id();
            return true;
        }
    }
    return false;
}

void SaveOptionsToXml(TiXmlElement* parent, const SAVEOPTIONS_SETTINGS& o) {
    AddXmlChildText(parent, "save_format", FileFormatWord(o.format));
    AddXmlChildInt(parent, "save_quality", o.quality);
    AddXmlChildText(parent, "save_compression", kCompressionWords[o.compression <= 2 ? o.compression : 2]);
    AddXmlChildText(parent, "save_color_space", o.colorSpace);
    AddXmlChildInt(parent, "save_bit_depth", o.is16Bit ? 16 : 8);
    AddXmlChildText(parent, "save_filename_prefix", o.filenamePrefix);
    AddXmlChildText(parent, "save_filename_suffix", o.filenameSuffix);
    AddXmlChildInt(parent, "save_remove_metadata", o.removeMetadata);
    AddXmlChildInt(parent, "save_remove_all_metadata", o.removeAllMetadata ? 1 : 0);
}

int SaveOptionsFromXml(SAVEOPTIONS_SETTINGS& o, const TiXmlElement* e) {
    if (e == nullptr)
        return 0;
    FileFormatFromWord(XmlChildText(e, "save_format"), o.format);
    int64_t v = 0;
    if (ParseXmlInt(XmlChildText(e, "save_quality"), v) && v >= 0 && v <= 100)
        o.quality = unsigned(v);
    if (const char* word = XmlChildText(e, "save_compression")) {
        for (unsigned i = 0; i < 3; ++i)
            if (strcasecmp(word, kCompressionWords[i]) == 0)
                o.compression = i;
    }
    if (const char* text = XmlChildText(e, "save_color_space"))
        o.colorSpace = text;
    if (ParseXmlInt(XmlChildText(e, "save_bit_depth"), v) && (v == 8 || v == 16))
        o.is16Bit = v == 16 ? 1 : 0;
    if (const char* text = XmlChildText(e, "save_filename_prefix"))
        o.filenamePrefix = text;
    if (const char* text = XmlChildText(e, "save_filename_suffix"))
        o.filenameSuffix = text;
    if (ParseXmlInt(XmlChildText(e, "save_remove_metadata"), v) && v >= 0 && v <= 0xFFFFFFFFll)
        o.removeMetadata = unsigned(v);
    bool all = false;
    if (ParseXmlBool(XmlChildText(e, "save_remove_all_metadata"), all))
        o.removeAllMetadata = all ? 1 : 0;
    return 1;
}

} // namespace KELCTRL
