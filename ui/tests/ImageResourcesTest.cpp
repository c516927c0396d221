// Guards against wrong interface images: the wrong resolution for a screen, a name that misses its file
// because of case or prefix, a missing image looked for again and again, and maps that outlive release.
#include "ui/CImageResources.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace KELCTRL;

namespace {

QImage Solid(int w, int h, QRgb color) {
    QImage image(w, h, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

} // namespace

TEST(DpiAwareImage, ChoosesTheNeighbourByTheLargerRule) {
    CDpiAwareImage set;
    EXPECT_EQ(set.GetRes(96, 1), nullptr);
    set.AddRes(96, Solid(10, 10, 0xFF000096));
    set.AddRes(144, Solid(15, 15, 0xFF000144));
    set.AddRes(192, Solid(20, 20, 0xFF000192));
    set.AddRes(120, QImage()); // a null image is not an entry
    EXPECT_EQ(set.GetResCount(), 3);
    EXPECT_EQ(set.GetRes(72, 1)->width(), 10);  // below the first: the first
    EXPECT_EQ(set.GetRes(96, 0)->width(), 10);  // exact
    EXPECT_EQ(set.GetRes(120, 1)->width(), 15); // between 96 and 144: larger
    EXPECT_EQ(set.GetRes(120, 0)->width(), 10); // between: smaller
    EXPECT_EQ(set.GetRes(144, 0)->width(), 15); // exact key is the lower neighbour
    EXPECT_EQ(set.GetRes(288, 0)->width(), 20); // above the last: the last
    EXPECT_EQ(set.GetImage(168)->width(), 20);
    EXPECT_EQ(set.GetScaledSize(96), QSize(10, 10));
    EXPECT_EQ(set.GetScaledSize(144), QSize(15, 15));
    EXPECT_EQ(set.GetScaledSize(120), QSize(12, 12)); // 12.5 truncated
}

TEST(DpiAwareImage, ImagesOnlyBelow96AreNotOffered) {
    CDpiAwareImage low;
    low.AddRes(72, Solid(8, 8, 0xFFFFFFFF));
    EXPECT_NE(low.GetRes(96, 1), nullptr);
    EXPECT_EQ(low.GetImage(96), nullptr);
    EXPECT_TRUE(low.GetScaledSize(96).isEmpty());
    low.Clear();
    EXPECT_EQ(low.GetResCount(), 0);
}

class ImageResources : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        QDir(dir.path()).mkpath("skin");
        QDir(dir.path()).mkpath("icon");
        skin = dir.path() + "/skin";
        icon = dir.path() + "/icon";
    }
    void Save(const QString& folder, const QString& name, const QImage& image) {
        ASSERT_TRUE(image.save(folder + "/" + name, "PNG"));
    }
    QTemporaryDir dir;
    QString skin, icon;
};

TEST_F(ImageResources, LoadsEveryDpiOfANameFromFilesAndKeepsTheSet) {
    Save(skin, "skin_browser_back[96].png", Solid(16, 16, 0xFFFF0000));
    Save(skin, "skin_browser_back[144].png", Solid(24, 24, 0xFF00FF00));
    Save(skin, "skin_browser_back[288].png", Solid(48, 48, 0xFF0000FF));
    Save(skin, "skin_browser_back[100].png", Solid(99, 99, 0xFF000000)); // not a supported dpi
    CImageResources res;
    res.LoadResource(skin, icon);
    CDpiAwareImage* image = res.GetSkinImage("Browser_Back"); // looked up in lower case
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->GetResCount(), 3);
    EXPECT_EQ(image->GetImage(96)->pixel(0, 0), 0xFFFF0000u);
    EXPECT_EQ(image->GetImage(120)->width(), 24);
    EXPECT_EQ(image->GetImage(192)->width(), 48);
    // The same object every time; the map is keyed by the prefixed lower-case name.
    EXPECT_EQ(res.GetSkinImage("browser_back"), image);
    EXPECT_EQ(res.SkinImages().count("skin_browser_back"), 1u);
    // The published map answers code without the application object.
    EXPECT_EQ(GetDpiAwareSkinImage("BROWSER_BACK"), image);
}

TEST_F(ImageResources, MissingImageIsKeptEmptyAndTypesDoNotMix) {
    Save(skin, "skin_tool[96].png", Solid(4, 4, 0xFF123456));
    CImageResources res;
    res.LoadResource(skin, icon);
    CDpiAwareImage* missing = res.GetIconImage("tool"); // only a skin image exists
    ASSERT_NE(missing, nullptr);
    EXPECT_EQ(missing->GetResCount(), 0);
    EXPECT_EQ(missing->GetImage(96), nullptr);
    // Added later, it is not looked for again: the empty set stays.
    Save(icon, "icon_tool[96].png", Solid(4, 4, 0xFF654321));
    EXPECT_EQ(res.GetIconImage("tool"), missing);
    EXPECT_EQ(missing->GetResCount(), 0);
    EXPECT_EQ(res.GetImageRes(RES_TYPE_SKIN, "tool")->GetResCount(), 1);
    EXPECT_EQ(res.GetSkinImage(QString()), nullptr);
}

TEST_F(ImageResources, ReleaseEmptiesTheMapsAndWithdrawsThem) {
    Save(icon, "icon_star[96].png", Solid(4, 4, 0xFFFFFF00));
    CImageResources res;
    res.LoadResource(skin, icon);
    ASSERT_EQ(GetDpiAwareIconImage("star")->GetResCount(), 1);
    res.ReleaseResource();
    EXPECT_TRUE(res.IconImages().empty());
    EXPECT_EQ(GetDpiAwareIconImage("star"), nullptr);
    EXPECT_EQ(GetDpiAwareSkinImage("anything"), nullptr);
    // Loading again publishes again.
    res.LoadResource(skin, icon);
    EXPECT_EQ(GetDpiAwareIconImage("star")->GetResCount(), 1);
}

TEST_F(ImageResources, UnreadableImageFileCountsAsMissing) {
    QFile bad(skin + "/skin_broken[96].png");
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("not a PNG");
    bad.close();
    CImageResources res;
    res.LoadResource(skin, icon);
    EXPECT_EQ(res.GetSkinImage("broken")->GetResCount(), 0);
}

TEST_F(ImageResources, ResourceAsPixelRecordAndAsFile) {
    QImage image = Solid(3, 2, 0xFF102030);
    image.setPixel(2, 1, 0x80405060);
    Save(skin, "skin_probe[96].png", image);
    const IMAGE_RES_SOURCE source{QString(), skin, "skin_"};
    CImageDataInfo record;
    ASSERT_EQ(LoadImageFromResource(record, source, "skin_probe[96]"), 1);
    EXPECT_EQ(record.width, 3);
    EXPECT_EQ(record.channels, 4);
    const unsigned char* first = record.RowPtr(0);
    EXPECT_EQ(first[0], 0x30); // blue first
    EXPECT_EQ(first[2], 0x10);
    EXPECT_EQ(first[3], 0xFF);
    EXPECT_EQ(record.RowPtr(1)[2 * 4 + 3], 0x80); // alpha kept, rows top-down
    CImageDataInfo untouched;
    EXPECT_EQ(LoadImageFromResource(untouched, source, "skin_absent[96]"), 0);
    EXPECT_EQ(untouched.width, 0);

    const QString copy = dir.path() + "/copy.png";
    ASSERT_EQ(ResDataToFile(source, "skin_probe[96].png", copy), 1);
    QFile a(skin + "/skin_probe[96].png"), b(copy);
    ASSERT_TRUE(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
    EXPECT_EQ(a.readAll(), b.readAll());
    EXPECT_EQ(ResDataToFile(source, "absent.png", dir.path() + "/none.png"), 0);
    EXPECT_FALSE(QFileInfo::exists(dir.path() + "/none.png"));
}
