// EXIF, IPTC and XMP through Exiv2 on files in memory. Exiv2 throws: every entry point here catches.
#include "imagefile/Metadata.h"

#include "imagefile/ErrorCodes.h"

#include <exiv2/exiv2.hpp>
#include <turbojpeg.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <mutex>

namespace ImageFile::detail {

namespace {

std::mutex g_xmpMutex;

void XmpLock(void*, bool lock) {
    if (lock)
        g_xmpMutex.lock();
    else
        g_xmpMutex.unlock();
}

auto OpenImage(const unsigned char* data, size_t size) {
    InitMetadataLibrary();
    auto image =
        Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(data), static_cast<long>(size));
    if (image.get())
        image->readMetadata();
    return image;
}

Bytes ReadBack(Exiv2::Image& image) {
    Exiv2::BasicIo& io = image.io();
    Bytes out;
    if (io.open() != 0)
        return out;
    io.seek(0, Exiv2::BasicIo::beg);
    const long size = io.size();
    out.resize(static_cast<size_t>(size));
    if (size > 0 && io.read(reinterpret_cast<Exiv2::byte*>(out.data()), size) != size)
        out.clear();
    io.close();
    return out;
}

std::string ExifText(const Exiv2::ExifData& exif, const char* key) {
    const auto it = exif.findKey(Exiv2::ExifKey(key));
    if (it == exif.end())
        return {};
    std::string s = it->toString();
    while (!s.empty() && (s.back() == '\0' || s.back() == ' '))
        s.pop_back();
    return s;
}

bool StartsWith(const std::string& s, const char* prefix) {
    return s.rfind(prefix, 0) == 0;
}

bool OneOf(const std::string& s, std::initializer_list<const char*> list) {
    for (const char* k : list)
        if (s == k)
            return true;
    return false;
}

// Which categories a key belongs to (bits of METADATA_CATEGORY).
unsigned CategoryOf(const std::string& key, const std::string& group) {
    unsigned c = 0;
    if (StartsWith(key, "Exif.")) {
        if (group == "GPSInfo")
            c |= METADATA_CATEGORY_LOCATION;
        if (Exiv2::ExifTags::isMakerGroup(group) || StartsWith(key, "Exif.MakerNote."))
            c |= METADATA_CATEGORY_CAMERA;
        if (OneOf(key, {"Exif.Image.Make", "Exif.Image.Model", "Exif.Image.Software", "Exif.Photo.MakerNote",
                        "Exif.Image.CameraSerialNumber", "Exif.Image.LensInfo"}))
            c |= METADATA_CATEGORY_CAMERA;
        if (group == "Photo" &&
            !OneOf(key, {"Exif.Photo.DateTimeOriginal", "Exif.Photo.DateTimeDigitized",
                         "Exif.Photo.SubSecTime", "Exif.Photo.SubSecTimeOriginal",
                         "Exif.Photo.SubSecTimeDigitized", "Exif.Photo.UserComment", "Exif.Photo.ColorSpace",
                         "Exif.Photo.PixelXDimension", "Exif.Photo.PixelYDimension", "Exif.Photo.ExifVersion",
                         "Exif.Photo.FlashpixVersion", "Exif.Photo.ComponentsConfiguration",
                         "Exif.Photo.ImageUniqueID", "Exif.Photo.InteroperabilityTag"}) &&
            key.find("OffsetTime") == std::string::npos)
            c |= METADATA_CATEGORY_CAMERA;
        if (OneOf(key, {"Exif.Image.Copyright", "Exif.Image.Artist", "Exif.Image.XPAuthor"}))
            c |= METADATA_CATEGORY_COPYRIGHT;
    } else if (StartsWith(key, "Iptc.")) {
        if (OneOf(key,
                  {"Iptc.Application2.Copyright", "Iptc.Application2.Byline", "Iptc.Application2.BylineTitle",
                   "Iptc.Application2.Credit", "Iptc.Application2.Source", "Iptc.Application2.Contact"}))
            c |= METADATA_CATEGORY_COPYRIGHT;
        if (OneOf(key, {"Iptc.Application2.City", "Iptc.Application2.SubLocation",
                        "Iptc.Application2.ProvinceState", "Iptc.Application2.CountryName",
                        "Iptc.Application2.CountryCode", "Iptc.Application2.LocationName",
                        "Iptc.Application2.LocationCode"}))
            c |= METADATA_CATEGORY_LOCATION;
    } else if (StartsWith(key, "Xmp.")) {
        if (StartsWith(key, "Xmp.aux.") || StartsWith(key, "Xmp.exifEX.") ||
            OneOf(key, {"Xmp.tiff.Make", "Xmp.tiff.Model"}) ||
            (StartsWith(key, "Xmp.exif.") && !StartsWith(key, "Xmp.exif.GPS") &&
             !StartsWith(key, "Xmp.exif.DateTime")))
            c |= METADATA_CATEGORY_CAMERA;
        if (StartsWith(key, "Xmp.exif.GPS") || StartsWith(key, "Xmp.iptcExt.Location") ||
            OneOf(key, {"Xmp.photoshop.City", "Xmp.photoshop.State", "Xmp.photoshop.Country",
                        "Xmp.iptc.Location", "Xmp.iptc.CountryCode"}))
            c |= METADATA_CATEGORY_LOCATION;
        if (StartsWith(key, "Xmp.dc.rights") || StartsWith(key, "Xmp.dc.creator") ||
            StartsWith(key, "Xmp.xmpRights.") || StartsWith(key, "Xmp.plus.") ||
            StartsWith(key, "Xmp.iptc.CreatorContactInfo") ||
            OneOf(key, {"Xmp.photoshop.Credit", "Xmp.photoshop.Source", "Xmp.photoshop.AuthorsPosition"}))
            c |= METADATA_CATEGORY_COPYRIGHT;
    }
    return c;
}

template <typename Data> void RemoveMatching(Data& data, unsigned categories) {
    for (auto it = data.begin(); it != data.end();) {
        if (CategoryOf(it->key(), it->groupName()) & categories)
            it = data.erase(it);
        else
            ++it;
    }
}

// Descriptive tags of the first directory; the rest of it describes the pixels and stays.
bool IsDescriptiveIfd0Tag(uint16_t tag) {
    switch (tag) {
    case 0x010E: // ImageDescription
    case 0x010F: // Make
    case 0x0110: // Model
    case 0x0131: // Software
    case 0x0132: // DateTime
    case 0x013B: // Artist
    case 0x013C: // HostComputer
    case 0x8298: // Copyright
    case 0x8825: // GPS directory
    case 0x8769: // EXIF directory
    case 0x83BB: // IPTC
    case 0x02BC: // XMP
        return true;
    default:
        return tag >= 0x9C9B && tag <= 0x9C9F; // XP texts
    }
}

// Everything goes except what says how to show the pixels.
void RemoveAll(Exiv2::ExifData& exif, Exiv2::IptcData& iptc, Exiv2::XmpData& xmp) {
    for (auto it = exif.begin(); it != exif.end();) {
        if (it->groupName() == "Image" && !IsDescriptiveIfd0Tag(it->tag()))
            ++it;
        else
            it = exif.erase(it);
    }
    iptc.clear();
    xmp.clear();
}

void RemoveCategories(Exiv2::Image& image, unsigned categories) {
    if (categories == METADATA_CATEGORY_NONE)
        return;
    if (categories == METADATA_CATEGORY_ALL) {
        RemoveAll(image.exifData(), image.iptcData(), image.xmpData());
        return;
    }
    RemoveMatching(image.exifData(), categories);
    RemoveMatching(image.iptcData(), categories);
    RemoveMatching(image.xmpData(), categories);
}

void SetDimensions(Exiv2::ExifData& exif, int width, int height) {
    exif["Exif.Photo.PixelXDimension"] = static_cast<uint32_t>(width);
    exif["Exif.Photo.PixelYDimension"] = static_cast<uint32_t>(height);
}

void EraseKey(Exiv2::ExifData& d, const char* key) {
    auto it = d.findKey(Exiv2::ExifKey(key));
    if (it != d.end())
        d.erase(it);
}
void EraseKey(Exiv2::IptcData& d, const char* key) {
    for (auto it = d.begin(); it != d.end();) {
        if (it->key() == key)
            it = d.erase(it);
        else
            ++it;
    }
}
void EraseKey(Exiv2::XmpData& d, const char* key) {
    auto it = d.findKey(Exiv2::XmpKey(key));
    if (it != d.end())
        d.erase(it);
}

// Where each text position of MetadataModifications lives: EXIF, IPTC and XMP keys (null for none).
struct FieldKeys {
    const char* exif;
    const char* iptc;
    const char* xmp;
};
const FieldKeys kFieldKeys[METADATA_ITEM_COUNT] = {
    {nullptr, nullptr, nullptr}, // capture time: handled apart
    {"Exif.Image.Artist", "Iptc.Application2.Byline", "Xmp.dc.creator"},
    {"Exif.Image.Copyright", "Iptc.Application2.Copyright", "Xmp.dc.rights"},
    {nullptr, "Iptc.Application2.ObjectName", "Xmp.dc.title"},
    {nullptr, "Iptc.Application2.Headline", "Xmp.photoshop.Headline"},
    {"Exif.Image.ImageDescription", "Iptc.Application2.Caption", "Xmp.dc.description"},
    {nullptr, "Iptc.Application2.CountryName", "Xmp.photoshop.Country"},
    {nullptr, "Iptc.Application2.ProvinceState", "Xmp.photoshop.State"},
    {nullptr, "Iptc.Application2.City", "Xmp.photoshop.City"},
    {nullptr, "Iptc.Application2.SubLocation", "Xmp.iptc.Location"},
    {nullptr, "Iptc.Application2.Keywords", "Xmp.dc.subject"},
    {"Exif.Photo.UserComment", nullptr, nullptr},
};

bool IsAscii(const std::string& s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

void ApplyText(Exiv2::Image& image, int position, const TextModify& mod) {
    const FieldKeys& k = kFieldKeys[position];
    Exiv2::ExifData& exif = image.exifData();
    Exiv2::IptcData& iptc = image.iptcData();
    Exiv2::XmpData& xmp = image.xmpData();
    if (k.exif)
        EraseKey(exif, k.exif);
    if (k.iptc)
        EraseKey(iptc, k.iptc);
    if (k.xmp)
        EraseKey(xmp, k.xmp);
    if (mod.IsDelete())
        return;
    const std::string& value = mod.GetValue();
    if (k.exif) {
        if (position == METADATA_ITEM_COMMENT)
            exif[k.exif] = std::string(IsAscii(value) ? "charset=Ascii " : "charset=Unicode ") + value;
        else
            exif[k.exif] = value;
    }
    if (mod.IsKeywordList()) {
        const std::vector<std::string> words = mod.GetKeywords();
        auto bag = Exiv2::Value::create(Exiv2::xmpBag);
        for (const std::string& w : words) {
            Exiv2::StringValue v(w);
            iptc.add(Exiv2::IptcKey(k.iptc), &v);
            bag->read(w);
        }
        xmp.add(Exiv2::XmpKey(k.xmp), bag.get());
    } else {
        if (k.iptc)
            iptc[k.iptc] = value;
        if (k.xmp)
            xmp[k.xmp] = value;
    }
    if (k.iptc)
        iptc["Iptc.Envelope.CharacterSet"] = std::string("\x1b%G");
}

std::string FormatExifTime(const METADATA_CAPTIME& t) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04d:%02d:%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return buf;
}

int ApplyCapTime(Exiv2::Image& image, const FILEINFO& info, const CapTimeModify& mod) {
    Exiv2::ExifData& exif = image.exifData();
    Exiv2::XmpData& xmp = image.xmpData();
    if (mod.IsDelete()) {
        EraseKey(exif, "Exif.Photo.DateTimeOriginal");
        EraseKey(exif, "Exif.Photo.DateTimeDigitized");
        EraseKey(exif, "Exif.Photo.OffsetTimeOriginal");
        EraseKey(xmp, "Xmp.photoshop.DateCreated");
        EraseKey(xmp, "Xmp.exif.DateTimeOriginal");
        return ERR_OK;
    }
    METADATA_CAPTIME t;
    if (!ParseExifDateTime(ExifText(exif, "Exif.Photo.DateTimeOriginal"), t) &&
        !ParseExifDateTime(ExifText(exif, "Exif.Photo.DateTimeDigitized"), t) &&
        !ParseExifDateTime(info.dateTimeOriginal, t)) {
        std::tm tm{};
        const std::time_t mt = info.modifyTime;
        if (!localtime_r(&mt, &tm) ||
            !MakeCapTime(t, tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec))
            MakeCapTime(t, 2000, 1, 1, 0, 0, 0);
    }
    if (!mod.Apply(t))
        return ERR_INVALID_ARGUMENT;
    const std::string text = FormatExifTime(t);
    exif["Exif.Photo.DateTimeOriginal"] = text;
    exif["Exif.Photo.DateTimeDigitized"] = text;
    std::string iso = text;
    iso[4] = iso[7] = '-';
    iso[10] = 'T';
    if (mod.m_mask & CapTimeModify::MASK_TIMEZONE) {
        exif["Exif.Photo.OffsetTimeOriginal"] = mod.TimeZoneText();
        iso += mod.TimeZoneText();
    }
    xmp["Xmp.photoshop.DateCreated"] = iso;
    return ERR_OK;
}

int JpegSize(const Bytes& jpeg, int& w, int& h) {
    tjhandle t = tjInitDecompress();
    if (!t)
        return 0;
    int ss = 0, cs = 0;
    const int ok =
        tjDecompressHeader3(t, jpeg.data(), static_cast<unsigned long>(jpeg.size()), &w, &h, &ss, &cs) == 0;
    tjDestroy(t);
    return ok ? 1 : 0;
}

template <typename F> int Guarded(F&& f) {
    try {
        return static_cast<int>(f());
    } catch (const std::bad_alloc&) {
        return ERR_OUT_OF_MEMORY;
    } catch (...) {
        return ERR_METADATA;
    }
}

} // namespace

void InitMetadataLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize(XmpLock, nullptr);
    });
}

bool ParseExifDateTime(const std::string& text, METADATA_CAPTIME& t) {
    if (text.size() < 19)
        return false;
    int v[6];
    const size_t at[6] = {0, 5, 8, 11, 14, 17};
    const size_t len[6] = {4, 2, 2, 2, 2, 2};
    for (int i = 0; i < 6; ++i) {
        const char* b = text.data() + at[i];
        const auto r = std::from_chars(b, b + len[i], v[i]);
        if (r.ec != std::errc() || r.ptr != b + len[i])
            return false;
    }
    return MakeCapTime(t, v[0], v[1], v[2], v[3], v[4], v[5]) != 0;
}

int ReadMetadataInfo(const unsigned char* data, size_t size, FILEINFO& info) {
    return Guarded([&]() -> int {
        auto image = OpenImage(data, size);
        if (!image.get())
            return ERR_METADATA;
        const Exiv2::ExifData& exif = image->exifData();
        const auto o = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        if (o != exif.end() && o->count() > 0) {
            const long v = o->toLong();
            if (v >= 1 && v <= 8)
                info.orientation = static_cast<int>(v);
        }
        info.dateTimeOriginal = ExifText(exif, "Exif.Photo.DateTimeOriginal");
        info.dateTimeDigitized = ExifText(exif, "Exif.Photo.DateTimeDigitized");
        info.cameraMake = ExifText(exif, "Exif.Image.Make");
        info.cameraModel = ExifText(exif, "Exif.Image.Model");
        if (info.resolution <= 0) {
            const auto xr = exif.findKey(Exiv2::ExifKey("Exif.Image.XResolution"));
            const auto ru = exif.findKey(Exiv2::ExifKey("Exif.Image.ResolutionUnit"));
            if (xr != exif.end() && xr->count() > 0) {
                const long unit = ru != exif.end() && ru->count() > 0 ? ru->toLong() : 2;
                if (unit == 2 || unit == 3)
                    SetResolution(info, xr->toFloat(), unit == 3 ? UNIT_CENTIMETER : UNIT_INCH);
            }
        }
        Exiv2::ExifThumbC thumb(exif);
        const Exiv2::DataBuf buf = thumb.copy();
        info.hasExifThumbnail = 0;
        if (buf.size_ > 0 && std::strcmp(thumb.mimeType(), "image/jpeg") == 0) {
            Bytes jpeg(buf.pData_, buf.pData_ + buf.size_);
            int w = 0, h = 0;
            if (JpegSize(jpeg, w, h)) {
                info.hasExifThumbnail = 1;
                info.exifThumbnailWidth = w;
                info.exifThumbnailHeight = h;
            }
        }
        if (info.storedWidth == 0 && image->pixelWidth() > 0) {
            info.storedWidth = image->pixelWidth();
            info.storedHeight = image->pixelHeight();
        }
        return ERR_OK;
    });
}

bool ReadExifThumbnail(const unsigned char* data, size_t size, Bytes& jpeg) {
    const int rc = Guarded([&]() -> int {
        auto image = OpenImage(data, size);
        if (!image.get())
            return ERR_METADATA;
        Exiv2::ExifThumbC thumb(image->exifData());
        const Exiv2::DataBuf buf = thumb.copy();
        if (buf.size_ <= 0 || std::strcmp(thumb.mimeType(), "image/jpeg") != 0)
            return ERR_METADATA;
        jpeg.assign(buf.pData_, buf.pData_ + buf.size_);
        return ERR_OK;
    });
    return rc == ERR_OK;
}

bool ReadLargestPreview(const unsigned char* data, size_t size, Bytes& jpeg) {
    const int rc = Guarded([&]() -> int {
        auto image = OpenImage(data, size);
        if (!image.get())
            return ERR_METADATA;
        Exiv2::PreviewManager manager(*image);
        const Exiv2::PreviewPropertiesList list = manager.getPreviewProperties();
        const Exiv2::PreviewProperties* best = nullptr;
        for (const auto& p : list)
            if (p.mimeType_ == "image/jpeg" && (!best || p.width_ * p.height_ > best->width_ * best->height_))
                best = &p;
        if (!best)
            return ERR_METADATA;
        const Exiv2::PreviewImage preview = manager.getPreviewImage(*best);
        jpeg.assign(preview.pData(), preview.pData() + preview.size());
        return jpeg.empty() ? static_cast<int>(ERR_METADATA) : static_cast<int>(ERR_OK);
    });
    return rc == ERR_OK;
}

int ReadMetadataBlocks(const unsigned char* data, size_t size, FILEMETADATA& metadata) {
    return Guarded([&]() -> int {
        auto image = OpenImage(data, size);
        if (!image.get())
            return ERR_METADATA;
        metadata = FILEMETADATA();
        if (!image->exifData().empty()) {
            Exiv2::Blob blob;
            Exiv2::ExifParser::encode(blob, Exiv2::littleEndian, image->exifData());
            metadata.exif.assign(blob.begin(), blob.end());
        }
        if (!image->iptcData().empty()) {
            const Exiv2::DataBuf buf = Exiv2::IptcParser::encode(image->iptcData());
            metadata.iptc.assign(buf.pData_, buf.pData_ + buf.size_);
        }
        if (!image->xmpData().empty())
            Exiv2::XmpParser::encode(metadata.xmp, image->xmpData());
        return ERR_OK;
    });
}

int WriteSavedMetadata(Bytes& encoded, const MetadataSource& source, unsigned removedCategories, int width,
                       int height) {
    return Guarded([&]() -> int {
        auto image = OpenImage(encoded.data(), encoded.size());
        if (!image.get())
            return ERR_METADATA;
        Exiv2::ExifData exif;
        Exiv2::IptcData iptc;
        Exiv2::XmpData xmp;
        if (source.blocks && !source.blocks->IsEmpty()) {
            const FILEMETADATA& b = *source.blocks;
            if (!b.exif.empty())
                Exiv2::ExifParser::decode(exif, b.exif.data(), static_cast<uint32_t>(b.exif.size()));
            if (!b.iptc.empty())
                Exiv2::IptcParser::decode(iptc, b.iptc.data(), static_cast<uint32_t>(b.iptc.size()));
            if (!b.xmp.empty())
                Exiv2::XmpParser::decode(xmp, b.xmp);
        } else if (source.sourceFile && !source.sourceFile->empty()) {
            auto src = OpenImage(source.sourceFile->data(), source.sourceFile->size());
            if (src.get()) {
                exif = src->exifData();
                iptc = src->iptcData();
                xmp = src->xmpData();
            }
        }
        // The new file keeps its own description of the pixels (a TIFF's first directory); from the
        // source come only the descriptive tags and the sub-directories, without the old thumbnail.
        Exiv2::ExifData& target = image->exifData();
        for (const Exiv2::Exifdatum& d : exif) {
            if (d.groupName() == "Thumbnail" || (d.groupName() == "Image" && !IsDescriptiveIfd0Tag(d.tag())))
                continue;
            if (d.tag() == 0x8769 || d.tag() == 0x8825 || d.tag() == 0x83BB || d.tag() == 0x02BC)
                continue; // directory pointers are rebuilt by the writer
            auto it = target.findKey(Exiv2::ExifKey(d.key()));
            if (it != target.end())
                it->setValue(&d.value());
            else
                target.add(d);
        }
        Exiv2::ExifThumb(target).erase();
        image->setIptcData(iptc);
        image->setXmpData(xmp);
        RemoveCategories(*image, removedCategories);
        if (exif.empty() && iptc.empty() && xmp.empty())
            return ERR_OK;
        image->exifData()["Exif.Image.Orientation"] = static_cast<uint16_t>(1);
        SetDimensions(image->exifData(), width, height);
        EraseKey(image->xmpData(), "Xmp.tiff.Orientation");
        image->writeMetadata();
        Bytes out = ReadBack(*image);
        if (out.empty())
            return ERR_METADATA;
        encoded.swap(out);
        return ERR_OK;
    });
}

int ResetOrientation(Bytes& file, const Bytes& thumbnail, bool swapped) {
    return Guarded([&]() -> int {
        auto image = OpenImage(file.data(), file.size());
        if (!image.get())
            return ERR_METADATA;
        Exiv2::ExifData& exif = image->exifData();
        Exiv2::XmpData& xmp = image->xmpData();
        if (exif.empty() && xmp.empty())
            return ERR_OK;
        if (exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation")) != exif.end())
            exif["Exif.Image.Orientation"] = static_cast<uint16_t>(1);
        if (xmp.findKey(Exiv2::XmpKey("Xmp.tiff.Orientation")) != xmp.end())
            xmp["Xmp.tiff.Orientation"] = std::string("1");
        if (swapped) {
            const auto x = exif.findKey(Exiv2::ExifKey("Exif.Photo.PixelXDimension"));
            const auto y = exif.findKey(Exiv2::ExifKey("Exif.Photo.PixelYDimension"));
            if (x != exif.end() && y != exif.end()) {
                const uint32_t w = static_cast<uint32_t>(x->toLong());
                const uint32_t h = static_cast<uint32_t>(y->toLong());
                SetDimensions(exif, static_cast<int>(h), static_cast<int>(w));
            }
        }
        Exiv2::ExifThumb thumb(exif);
        if (thumbnail.empty())
            thumb.erase();
        else
            thumb.setJpegThumbnail(thumbnail.data(), static_cast<long>(thumbnail.size()));
        image->writeMetadata();
        Bytes out = ReadBack(*image);
        if (out.empty())
            return ERR_METADATA;
        file.swap(out);
        return ERR_OK;
    });
}

int ApplyModifications(Bytes& file, const FILEINFO& info, const MetadataModifications& mods,
                       unsigned removedCategories, bool refreshDerived) {
    return Guarded([&]() -> int {
        auto image = OpenImage(file.data(), file.size());
        if (!image.get())
            return ERR_METADATA;
        RemoveCategories(*image, removedCategories);
        if (mods.CapTime().IsActive()) {
            if (const int rc = ApplyCapTime(*image, info, mods.CapTime()); rc != ERR_OK)
                return rc;
        }
        for (int i = 1; i < METADATA_ITEM_COUNT; ++i) {
            const TextModify* t = mods.Text(i);
            if (t && t->IsActive())
                ApplyText(*image, i, *t);
        }
        if (refreshDerived) {
            Exiv2::ExifThumb(image->exifData()).erase();
            if (!image->exifData().empty())
                SetDimensions(image->exifData(), info.storedWidth, info.storedHeight);
        }
        image->writeMetadata();
        Bytes out = ReadBack(*image);
        if (out.empty())
            return ERR_METADATA;
        file.swap(out);
        return ERR_OK;
    });
}

} // namespace ImageFile::detail
