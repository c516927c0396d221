// Guards against metadata lost on save, kept when removal was asked, edits that touch pixel data,
// wrong capture-time fallbacks, and modification records that do not survive their XML form.
#include "FileTestUtil.h"

#include "common/testing/TestImages.h"

#include <exiv2/exiv2.hpp>
#include <tinyxml.h>

#include <sys/stat.h>

using namespace ImageFile;
using namespace kel_testing;
using iftest::Options;
using iftest::TempDir;

namespace {

struct Tags {
    std::string artist, copyright, make, gpsLat, city, headline, dateOriginal, title, keywords;
    int orientation = 0;
    bool thumbnail = false;
};

Tags ReadTags(const std::filesystem::path& path) {
    auto image = Exiv2::ImageFactory::open(path.string());
    image->readMetadata();
    const auto& exif = image->exifData();
    const auto& iptc = image->iptcData();
    const auto& xmp = image->xmpData();
    auto e = [&](const char* k) {
        auto it = exif.findKey(Exiv2::ExifKey(k));
        return it == exif.end() ? std::string() : it->toString();
    };
    auto i = [&](const char* k) {
        auto it = iptc.findKey(Exiv2::IptcKey(k));
        return it == iptc.end() ? std::string() : it->toString();
    };
    auto x = [&](const char* k) {
        auto it = xmp.findKey(Exiv2::XmpKey(k));
        return it == xmp.end() ? std::string() : it->toString();
    };
    Tags t;
    t.artist = e("Exif.Image.Artist");
    t.copyright = e("Exif.Image.Copyright");
    t.make = e("Exif.Image.Make");
    t.gpsLat = e("Exif.GPSInfo.GPSLatitudeRef");
    t.city = i("Iptc.Application2.City");
    t.headline = x("Xmp.photoshop.Headline");
    t.dateOriginal = e("Exif.Photo.DateTimeOriginal");
    t.title = x("Xmp.dc.title");
    t.keywords = x("Xmp.dc.subject");
    const std::string o = e("Exif.Image.Orientation");
    t.orientation = o.empty() ? 0 : std::stoi(o);
    Exiv2::ExifThumbC thumb(exif);
    t.thumbnail = thumb.copy().size_ > 0;
    return t;
}

// A JPEG with tags of every category, orientation 1 and an EXIF thumbnail.
void WriteSourceJpeg(const std::filesystem::path& path) {
    CImageDataInfo img;
    MakeGradient(img, 64, 48, 3, 1);
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_JPEG), path), ERR_OK);
    CImageDataInfo thumb;
    MakeConstant(thumb, 16, 12, 3, 1, 100);
    std::vector<unsigned char> thumbJpeg;
    ASSERT_EQ(EncodeImage(thumb, Options(CONTAINER_FORMAT_JPEG), thumbJpeg), ERR_OK);
    auto image = Exiv2::ImageFactory::open(path.string());
    image->readMetadata();
    auto& exif = image->exifData();
    exif["Exif.Image.Artist"] = std::string("Ann Artist");
    exif["Exif.Image.Copyright"] = std::string("(c) Ann");
    exif["Exif.Image.Make"] = std::string("CameraMaker");
    exif["Exif.Image.Model"] = std::string("Model 1");
    exif["Exif.Photo.FNumber"] = Exiv2::URational(28, 10);
    exif["Exif.Photo.DateTimeOriginal"] = std::string("2021:06:15 10:20:30");
    exif["Exif.GPSInfo.GPSLatitudeRef"] = std::string("N");
    exif["Exif.GPSInfo.GPSLatitude"] = std::string("48/1 51/1 0/1");
    image->iptcData()["Iptc.Application2.City"] = std::string("Paris");
    image->xmpData()["Xmp.photoshop.Headline"] = std::string("Headline text");
    Exiv2::ExifThumb(exif).setJpegThumbnail(thumbJpeg.data(), static_cast<long>(thumbJpeg.size()));
    image->writeMetadata();
}

} // namespace

TEST(SaveMetadata, CarriedFromSourceWithoutThumbnailAndUpright) {
    TempDir dir;
    WriteSourceJpeg(dir / "src.jpg");
    CImageDataInfo img;
    ASSERT_TRUE(MakeGradient(img, 32, 24, 3, 1));
    for (const char* name : {"out.jpg", "out.tif", "out.png", "out.webp"}) {
        GUID f = CONTAINER_FORMAT_JPEG;
        if (std::string(name).ends_with("tif"))
            f = CONTAINER_FORMAT_TIFF;
        else if (std::string(name).ends_with("png"))
            f = CONTAINER_FORMAT_PNG;
        else if (std::string(name).ends_with("webp"))
            f = CONTAINER_FORMAT_WEBP;
        ASSERT_EQ(SaveFile(img, FILEMETADATA(), Options(f), dir / name, dir / "src.jpg"), ERR_OK) << name;
        const Tags t = ReadTags(dir / name);
        EXPECT_EQ(t.artist, "Ann Artist") << name;
        EXPECT_EQ(t.make, "CameraMaker") << name;
        EXPECT_EQ(t.gpsLat, "N") << name;
        if (f != CONTAINER_FORMAT_WEBP) { // WebP has no IPTC block
            EXPECT_EQ(t.city, "Paris") << name;
        }
        EXPECT_EQ(t.headline, "Headline text") << name;
        EXPECT_EQ(t.orientation, 1) << name;
        EXPECT_FALSE(t.thumbnail) << name;
        // The pixels are the saved ones.
        FILEINFO info;
        CImageDataInfo back;
        ASSERT_EQ(LoadFile(info, back, dir / name), ERR_OK);
        EXPECT_EQ(back.width, 32);
        EXPECT_EQ(info.dateTimeOriginal, "2021:06:15 10:20:30") << name;
    }
}

TEST(SaveMetadata, CategoriesAndAllAreRemovedWhenAsked) {
    TempDir dir;
    WriteSourceJpeg(dir / "src.jpg");
    CImageDataInfo img;
    ASSERT_TRUE(MakeGradient(img, 32, 24, 3, 1));
    SAVEFILE_OPTIONS o = Options(CONTAINER_FORMAT_JPEG);
    o.removedCategories = METADATA_CATEGORY_CAMERA | METADATA_CATEGORY_LOCATION;
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), o, dir / "a.jpg", dir / "src.jpg"), ERR_OK);
    Tags t = ReadTags(dir / "a.jpg");
    EXPECT_EQ(t.make, "");
    EXPECT_EQ(t.gpsLat, "");
    EXPECT_EQ(t.city, "");
    EXPECT_EQ(t.artist, "Ann Artist");
    EXPECT_EQ(t.copyright, "(c) Ann");
    EXPECT_EQ(t.dateOriginal, "2021:06:15 10:20:30");
    o.removedCategories = METADATA_CATEGORY_COPYRIGHT;
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), o, dir / "b.jpg", dir / "src.jpg"), ERR_OK);
    t = ReadTags(dir / "b.jpg");
    EXPECT_EQ(t.artist, "");
    EXPECT_EQ(t.copyright, "");
    EXPECT_EQ(t.make, "CameraMaker");
    o.removedCategories = METADATA_CATEGORY_NONE;
    o.removeAllMetadata = true;
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), o, dir / "c.jpg", dir / "src.jpg"), ERR_OK);
    t = ReadTags(dir / "c.jpg");
    EXPECT_EQ(t.artist, "");
    EXPECT_EQ(t.make, "");
    EXPECT_EQ(t.city, "");
    EXPECT_EQ(t.headline, "");
    EXPECT_EQ(t.dateOriginal, "");
}

TEST(SaveMetadata, BlocksReadEarlierAreWritten) {
    TempDir dir;
    WriteSourceJpeg(dir / "src.jpg");
    FILEMETADATA blocks;
    ASSERT_EQ(ReadFileMetadata(dir / "src.jpg", blocks), ERR_OK);
    EXPECT_FALSE(blocks.exif.empty());
    EXPECT_FALSE(blocks.iptc.empty());
    EXPECT_FALSE(blocks.xmp.empty());
    CImageDataInfo img;
    ASSERT_TRUE(MakeGradient(img, 32, 24, 1, 2));
    ASSERT_EQ(SaveFile(img, blocks, Options(CONTAINER_FORMAT_TIFF, true), dir / "a.tif"), ERR_OK);
    const Tags t = ReadTags(dir / "a.tif");
    EXPECT_EQ(t.artist, "Ann Artist");
    EXPECT_EQ(t.city, "Paris");
    FILEINFO info;
    CImageDataInfo back;
    ASSERT_EQ(LoadFile(info, back, dir / "a.tif"), ERR_OK);
    EXPECT_TRUE(SamePixels(img, back));
}

namespace {

std::vector<unsigned char> Pixels(const std::filesystem::path& p) {
    FILEINFO info;
    CImageDataInfo img;
    EXPECT_EQ(LoadFile(info, img, p), ERR_OK);
    std::vector<unsigned char> out;
    for (int y = 0; y < img.height; ++y) {
        const unsigned char* r = img.RowPtr(y);
        out.insert(out.end(), r, r + img.width * img.PixelBytes());
    }
    return out;
}

// From the start-of-scan marker of the main image to the end, found by walking the segments (an
// embedded thumbnail has its own scan inside a segment).
std::vector<unsigned char> ScanData(const std::vector<unsigned char>& jpeg) {
    size_t i = 2;
    while (i + 4 <= jpeg.size() && jpeg[i] == 0xFF) {
        if (jpeg[i + 1] == 0xDA)
            return std::vector<unsigned char>(jpeg.begin() + static_cast<long>(i), jpeg.end());
        i += 2 + ((static_cast<size_t>(jpeg[i + 2]) << 8) | jpeg[i + 3]);
    }
    return {};
}

MetadataModifications SampleMods() {
    MetadataModifications mods;
    mods.Text(METADATA_ITEM_CREATOR)->SetValue("  New Creator \n");
    mods.Text(METADATA_ITEM_TITLE)->SetValue("A title");
    mods.Text(METADATA_ITEM_KEYWORDS)->SetValue("sea; sky,sea ;  ; sun");
    mods.Text(METADATA_ITEM_CITY)->SetDelete();
    CapTimeModify& t = mods.CapTime();
    t.m_mask = CapTimeModify::MASK_TIME;
    t.m_isShift = true;
    t.m_shiftSign = -1;
    t.m_shiftHours = 11;
    return mods;
}

} // namespace

TEST(ModifyFileMetadata, ChangesTagsAndLeavesPixelBytesIdentical) {
    TempDir dir;
    WriteSourceJpeg(dir / "a.jpg");
    CImageDataInfo img;
    ASSERT_TRUE(MakeNoise(img, 40, 30, 3, 2, 5));
    SAVEFILE_OPTIONS to = Options(CONTAINER_FORMAT_TIFF, true);
    to.compression = 1;
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), to, dir / "b.tif", dir / "a.jpg"), ERR_OK);
    for (const char* name : {"a.jpg", "b.tif"}) {
        const auto path = dir / name;
        const auto scanBefore = ScanData(iftest::ReadAll(path));
        const auto pixelsBefore = Pixels(path);
        FILEINFO info;
        ASSERT_EQ(GetImageFileInfo(info, path), ERR_OK);
        ASSERT_EQ(ModifyFileMetadata(info, SampleMods(), METADATA_CATEGORY_NONE, false), ERR_OK) << name;
        EXPECT_EQ(Pixels(path), pixelsBefore) << name;
        if (std::string(name) == "a.jpg") {
            EXPECT_EQ(ScanData(iftest::ReadAll(path)), scanBefore);
        }
        const Tags t = ReadTags(path);
        EXPECT_EQ(t.artist, "New Creator") << name;
        EXPECT_EQ(t.title, "lang=\"x-default\" A title") << name;
        EXPECT_EQ(t.keywords, "sea, sky, sun") << name;
        EXPECT_EQ(t.city, "") << name;
        EXPECT_EQ(t.dateOriginal, "2021:06:14 23:20:30") << name; // shifted back 11 hours
        EXPECT_EQ(t.make, "CameraMaker") << name;
        EXPECT_EQ(dir.Entries().size(), 2u);
    }
}

TEST(ModifyFileMetadata, RemovesCategoriesAndRefusesWhatItCannotEdit) {
    TempDir dir;
    WriteSourceJpeg(dir / "a.jpg");
    FILEINFO info;
    ASSERT_EQ(GetImageFileInfo(info, dir / "a.jpg"), ERR_OK);
    ASSERT_EQ(ModifyFileMetadata(info, MetadataModifications(), METADATA_CATEGORY_LOCATION, true), ERR_OK);
    Tags t = ReadTags(dir / "a.jpg");
    EXPECT_EQ(t.gpsLat, "");
    EXPECT_EQ(t.city, "");
    EXPECT_EQ(t.artist, "Ann Artist");
    EXPECT_FALSE(t.thumbnail); // refreshDerived drops the thumbnail
    ASSERT_EQ(ModifyFileMetadata(info, MetadataModifications(), METADATA_CATEGORY_ALL, false), ERR_OK);
    t = ReadTags(dir / "a.jpg");
    EXPECT_EQ(t.artist, "");
    EXPECT_EQ(t.make, "");
    CImageDataInfo img;
    ASSERT_TRUE(MakeGradient(img, 8, 8, 3, 1));
    ASSERT_EQ(SaveFile(img, FILEMETADATA(), Options(CONTAINER_FORMAT_BMP), dir / "c.bmp"), ERR_OK);
    FILEINFO bmp;
    bmp.path = dir / "c.bmp";
    EXPECT_EQ(ModifyFileMetadata(bmp, SampleMods(), 0, false), ERR_UNSUPPORTED_FORMAT);
    FILEINFO missing;
    missing.path = dir / "none.jpg";
    EXPECT_EQ(ModifyFileMetadata(missing, SampleMods(), 0, false), ERR_FILE_NOT_FOUND);
}

TEST(CaptureTime, OriginalThenDigitizedThenModificationTime) {
    FILEINFO info;
    METADATA_CAPTIME t;
    info.dateTimeOriginal = "2020:02:29 23:59:58";
    info.dateTimeDigitized = "2019:01:01 00:00:00";
    info.modifyTime = 1000000000;
    ASSERT_EQ(GetCapTimeFromFileInfo(info, t), 1);
    EXPECT_EQ(t.year, 2020);
    EXPECT_EQ(t.month, 2);
    EXPECT_EQ(t.day, 29);
    EXPECT_EQ(t.dayOfWeek, 6); // a Saturday
    EXPECT_EQ(t.second, 58);
    info.dateTimeOriginal = "    :  :     :  :  "; // blank, as some cameras write it
    ASSERT_EQ(GetCapTimeFromFileInfo(info, t), 1);
    EXPECT_EQ(t.year, 2019);
    info.dateTimeDigitized = "2019:13:01 00:00:00"; // impossible month
    ASSERT_EQ(GetCapTimeFromFileInfo(info, t), 1);
    std::tm tm{};
    const std::time_t mt = info.modifyTime;
    localtime_r(&mt, &tm);
    EXPECT_EQ(t.year, tm.tm_year + 1900);
    EXPECT_EQ(t.minute, tm.tm_min);
    info.modifyTime = 0;
    EXPECT_EQ(GetCapTimeFromFileInfo(info, t), 0);
}

TEST(CaptureTime, SortValueOrdersTimesAndShiftsCrossDays) {
    METADATA_CAPTIME a, b;
    ASSERT_EQ(MakeCapTime(a, 1999, 12, 31, 23, 59, 59), 1);
    ASSERT_EQ(MakeCapTime(b, 2000, 1, 1, 0, 0, 0), 1);
    EXPECT_EQ(b.value - a.value, 1u);
    EXPECT_EQ(MakeCapTime(a, 2021, 2, 29, 0, 0, 0), 0);
    CapTimeModify m;
    m.m_mask = CapTimeModify::MASK_TIME;
    m.m_isShift = true;
    m.m_shiftHours = 1;
    ASSERT_EQ(m.Apply(b), 1);
    EXPECT_EQ(b.hour, 1);
    m.m_shiftSign = -1;
    m.m_shiftHours = 2;
    ASSERT_EQ(m.Apply(b), 1);
    EXPECT_EQ(b.year, 1999);
    EXPECT_EQ(b.day, 31);
    EXPECT_EQ(b.hour, 23);
}

TEST(MetadataModifications, XmlRoundTripAndMalformedInput) {
    MetadataModifications mods = SampleMods();
    mods.CapTime().m_mask |= CapTimeModify::MASK_TIMEZONE;
    mods.CapTime().m_zoneMinutes = -330;
    TiXmlElement root("metaModsPreset");
    ASSERT_EQ(MetadataModsToXml(mods, &root), 1);
    TiXmlDocument doc;
    doc.InsertEndChild(root);
    TiXmlPrinter printer;
    doc.Accept(&printer);
    TiXmlDocument parsed;
    parsed.Parse(printer.CStr());
    MetadataModifications back;
    ASSERT_EQ(MetadataModsFromXml(back, parsed.RootElement()), 1);
    for (int i = 0; i < METADATA_ITEM_COUNT; ++i) {
        EXPECT_EQ(back[i].IsActive(), mods[i].IsActive()) << i;
        EXPECT_EQ(back[i].IsDelete(), mods[i].IsDelete()) << i;
        if (back.Text(i)) {
            EXPECT_EQ(back.Text(i)->GetValue(), mods.Text(i)->GetValue()) << i;
        }
    }
    EXPECT_EQ(back.Text(METADATA_ITEM_KEYWORDS)->GetValue(), "sea; sky; sun");
    EXPECT_EQ(back.CapTime().TimeZoneText(), "-05:30");
    EXPECT_EQ(back.CapTime().m_shiftHours, 11);
    // Indices out of range, impossible times and missing attributes leave entries inactive.
    TiXmlDocument bad;
    bad.Parse("<m><item index=\"40\" active=\"1\" value=\"x\"/><item index=\"0\" mask=\"1\" month=\"13\"/>"
              "<item index=\"3\"/><item active=\"1\"/></m>");
    ASSERT_EQ(MetadataModsFromXml(back, bad.RootElement()), 1);
    EXPECT_EQ(back.IsAnyActive(), 0);
    EXPECT_EQ(MetadataModsFromXml(back, nullptr), 0);
}

TEST(MetadataModifications, CopyHistoryAndNormalisation) {
    MetadataModifications a = SampleMods();
    MetadataModifications b(a);
    b.Text(METADATA_ITEM_CREATOR)->SetValue("other");
    EXPECT_EQ(a.Text(METADATA_ITEM_CREATOR)->GetValue(), "New Creator");
    a = b;
    EXPECT_EQ(a.Text(METADATA_ITEM_CREATOR)->GetValue(), "other");
    TextModify blank;
    blank.SetValue(" \t\n");
    EXPECT_EQ(blank.IsDelete(), 1);
    EXPECT_EQ(a[0].CopyFrom(*a.Text(1)), 0); // entries of another kind are not copied
    ClearMetadataHistory();
    AddMetadataModsToHistory(SampleMods(), false);
    AddMetadataModsToHistory(b, false);
    AddMetadataModsToHistory(SampleMods(), false);
    auto creators = GetMetadataHistory(METADATA_ITEM_CREATOR);
    ASSERT_EQ(creators.size(), 2u);
    EXPECT_EQ(creators[0], "other");
    AddMetadataModsToHistory(SampleMods(), true);
    creators = GetMetadataHistory(METADATA_ITEM_CREATOR);
    EXPECT_EQ(creators[0], "New Creator");
    EXPECT_TRUE(GetMetadataHistory(METADATA_ITEM_CITY).empty()); // deletions are not values
}
