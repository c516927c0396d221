// Guards against wrong DPI scaling (rounding, sign, axes) and theme
// files that change colours they do not name or lose any of the 26 on a round trip.
#include "ui/CUIColorSchema.h"
#include "ui/CUISizeInfo.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QRect>
#include <QTemporaryDir>

using namespace KELCTRL;

TEST(CUISizeInfo, ScalingRuleTruncatesAndKeepsSign) {
    EXPECT_EQ(CUISizeInfo::Scale(7, 96), 7);
    EXPECT_EQ(CUISizeInfo::Scale(7, 120), 8);   // 8.75 truncated
    EXPECT_EQ(CUISizeInfo::Scale(-7, 120), -8); // toward zero, not floor
    EXPECT_EQ(CUISizeInfo::Scale(35, 144), 52); // 52.5
    EXPECT_EQ(CUISizeInfo::Scale(35, 192), 70);
    EXPECT_EQ(CUISizeInfo::Unscale(52, 144), 34);
    EXPECT_EQ(CUISizeInfo::Unscale(-52, 144), -34);
    EXPECT_EQ(CUISizeInfo::Unscale(5, 0), 5); // no division by zero
}

TEST(CUISizeInfo, RecordsPerDpiPair) {
    const CUISizeInfo& r96 = FindUISizeInfo(96, 96);
    EXPECT_EQ(&r96, &FindUISizeInfo(96, 96)); // cached
    // At 96 dpi every field is its base value but the row and combo heights, which are measured.
    const int base[15] = {2, 4, 12, 16, 4, 6, 50, 30, BaseLabelWidth(), 35, 30, 8, 20, 80, 2};
    for (int i = 0; i < 15; ++i)
        if (i != 3 && i != 12) {
            EXPECT_EQ(r96.Field(i), base[i]) << "field " << i;
        }
    EXPECT_GE(r96.rowHeight, 16);

    const CUISizeInfo& r120 = FindUISizeInfo(120, 120);
    EXPECT_EQ(r120.scrollBarWidth, 15);
    EXPECT_EQ(r120.valueEditWidth, 43);
    EXPECT_EQ(r120.buttonHeight, 37);
    EXPECT_EQ(r120.FontPointsToPixels(9), 15);
    const CUISizeInfo& r144 = FindUISizeInfo(144, 144);
    EXPECT_EQ(r144.textButtonWidth, 120);
    EXPECT_EQ(r144.SliderLeft(), r144.ctrlGap * 2 + r144.labelWidth + r144.panelMargin);
    EXPECT_EQ(r144.SliderRight(300), 300 - r144.valueEditWidth - r144.panelMargin - r144.ctrlGap);
    EXPECT_GT(r144.fonts[6].weight(), r144.fonts[5].weight());
    EXPECT_GT(r144.rowTextLineHeight, r144.rowTextHeight);

    // One axis at 96, the other scaled: the axes stay apart.
    const CUISizeInfo& mixed = FindUISizeInfo(96, 192);
    EXPECT_EQ(mixed.borderMedium, 4);
    EXPECT_EQ(mixed.buttonHeight, 60);
    QRect r(10, 10, 11, 11); // left 10, right 20
    mixed.ScaledRect(r);
    EXPECT_EQ(r.left(), 10);
    EXPECT_EQ(r.top(), 20);
    EXPECT_EQ(r.right(), 20);
    EXPECT_EQ(r.bottom(), 40);
}

TEST(CUISizeInfo, LabelWidthTextAndLowDpiMonitor) {
    EXPECT_EQ(ApplyLabelWidthText("abc"), 70);
    EXPECT_EQ(ApplyLabelWidthText("0"), 70);
    EXPECT_EQ(ApplyLabelWidthText("150"), 100);
    EXPECT_EQ(FindUISizeInfo(96, 96).labelWidth, 100);
    EXPECT_EQ(ApplyLabelWidthText("70"), 70);
    EXPECT_EQ(FindUISizeInfo(96, 96).labelWidth, 70);

    SetDpiProvider([](const QWidget*) { return std::make_pair(72u, 144u); });
    EXPECT_EQ(MonitorDpi(nullptr), std::make_pair(96u, 96u)); // below 96 on one axis: 96 on both
    SetDpiProvider([](const QWidget*) { return std::make_pair(120u, 144u); });
    EXPECT_EQ(MonitorDpi(nullptr), std::make_pair(120u, 144u));
    SetDpiProvider(nullptr);
}

class ColorSchema : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }
    QString Write(const char* name, const QByteArray& text) {
        const QString path = dir.filePath(name);
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(text);
        return path;
    }
    QTemporaryDir dir;
};

TEST_F(ColorSchema, PartialFileChangesOnlyWhatItNames) {
    CUIColorSchema c;
    const CUIColorSchema defaults;
    c.FromXmlFile(
        Write("t.xml", "<ui_color_schema><color_text><link>1,2,3</link></color_text></ui_color_schema>"));
    EXPECT_EQ(c.textLink, CUIColorSchema::Rgb(1, 2, 3));
    for (int i = 0; i < CUIColorSchema::kColorCount; ++i)
        if (i != 23) {
            EXPECT_EQ(c.At(i), defaults.At(i)) << i;
        }

    CUIColorSchema untouched;
    untouched.FromXmlFile(dir.filePath("missing.xml"));
    untouched.FromXmlFile(Write("bad.xml", "<not xml"));
    untouched.FromXmlFile(Write("other.xml", "<other_root/>"));
    for (int i = 0; i < CUIColorSchema::kColorCount; ++i)
        EXPECT_EQ(untouched.At(i), defaults.At(i));
}

TEST_F(ColorSchema, MalformedLeafKeepsTheNumbersBeforeIt) {
    CUIColorSchema c;
    c.FromXmlFile(Write("m.xml",
                        "<ui_color_schema><color_bk><default>10,20,30</default>"
                        "<panel>99,x</panel></color_bk>"
                        "<color_line><main_frame>300,1,2,3</main_frame></color_line></ui_color_schema>"));
    EXPECT_EQ(c.bkDefault, CUIColorSchema::Rgb(10, 20, 30));
    EXPECT_EQ(c.bkPanel, CUIColorSchema::Rgb(99, 20, 30));                 // 20 and 30 carried over
    EXPECT_EQ(c.lineMainFrame, CUIColorSchema::Argb(300 & 0xFF, 1, 2, 3)); // low 8 bits only
    EXPECT_EQ(CUIColorSchema::FromArgb(c.lineMainFrame).alpha(), 44);
}

TEST_F(ColorSchema, WriteAndReadBackKeepsAll26) {
    CUIColorSchema c;
    const QString path = dir.filePath("out.xml");
    ASSERT_NE(c.ToXmlFile(path), 0);
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray text = f.readAll();
    EXPECT_TRUE(text.contains("<link>255,255,0</link>"));
    EXPECT_TRUE(text.contains("<main_frame>255,50,50,50</main_frame>"));
    for (int i = 0; i < CUIColorSchema::kColorCount; ++i)
        c.At(i) = 0x00010203u * static_cast<uint32_t>(i + 1) & 0x00FFFFFF;
    c.bkLight = 0x00ABCDEF; // a colour without an element keeps its value on reading
    CUIColorSchema written = c;
    ASSERT_NE(written.ToXmlFile(path), 0);
    CUIColorSchema read = c;
    read.FromXmlFile(path);
    for (int i = 0; i < CUIColorSchema::kColorCount; ++i)
        EXPECT_EQ(read.At(i), written.At(i)) << i;
    // An unwritable target fails and writes nothing.
    EXPECT_EQ(c.ToXmlFile(dir.filePath("no/such/dir/x.xml")), 0);
}
