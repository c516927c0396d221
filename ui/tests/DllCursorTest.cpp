// Guards against a tool left without a cursor: a missing skin image must give the standard shape, and
// a skin image must become a bitmap cursor with its hot spot in the centre.
#include "ui/DllCursor.h"
#include "ui/CImageResources.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace KELCTRL;

TEST(DllCursor, UsesTheSkinImageOrAStandardShape) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QDir(dir.path()).mkpath("skin");
    QDir(dir.path()).mkpath("icon");
    const QString skin = dir.path() + "/skin";
    CImageResources res;
    res.LoadResource(skin, dir.path() + "/icon");
    EXPECT_EQ(LoadDllCursor(CURSOR_NEW_RECT, 96).shape(), Qt::CrossCursor);
    EXPECT_EQ(LoadDllCursor(CURSOR_MOVE, 96).shape(), Qt::SizeAllCursor);
    QImage image(32, 32, QImage::Format_ARGB32);
    image.fill(0xFF000000);
    ASSERT_TRUE(image.save(skin + "/skin_cursor_1102[96].png", "PNG"));
    const QCursor drawn = LoadDllCursor(CURSOR_GRABBING, 96);
    EXPECT_EQ(drawn.shape(), Qt::BitmapCursor);
    EXPECT_EQ(drawn.hotSpot(), QPoint(16, 16));
}
