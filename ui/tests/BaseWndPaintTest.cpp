// Guards the paint path of the window base: a wrong or missing background, OnPaint state leaking into
// the border, a transparent window that paints its background anyway, the off-screen rendering and
// the screen disagreeing, and font changes that repaint too often or not at all.
#include "QtTestSupport.h"
#include "ui/CBaseWnd.h"
#include "ui/CUIColorSchema.h"

#include <gtest/gtest.h>

#include <QPainter>

using namespace KELCTRL;

namespace {

constexpr QRgb kRed = 0xFFFF0000;

class PaintWnd : public CBaseWnd {
public:
    int paints = 0;
    QSize paintedSize;
    QFont paintedFont;
    bool fillAll = false;
    // Leaves a transform, pen and brush behind, as a careless subclass does.
    bool messUpState = false;

protected:
    void OnPaint(QPainter& painter, int width, int height) override {
        ++paints;
        paintedSize = QSize(width, height);
        paintedFont = painter.font();
        if (fillAll)
            painter.fillRect(0, 0, width, height, QColor(kRed));
        else
            painter.fillRect(10, 10, 5, 5, QColor(kRed));
        if (messUpState) {
            painter.translate(7, 7);
            painter.setPen(QPen(Qt::green, 5));
            painter.setBrush(Qt::blue);
        }
    }
};

class BaseWndPaint : public ::testing::Test {
protected:
    void SetUp() override { kel_qt_test::App(); }
};

QRgb Opaque(QRgb c) {
    return c | 0xFF000000u;
}

} // namespace

TEST_F(BaseWndPaint, BackgroundComesFromTheSchemaAndOnPaintDrawsOverIt) {
    PaintWnd wnd;
    ASSERT_EQ(wnd.Create(nullptr, QRect(0, 0, 40, 30), 1, 0), 1);
    const QColor panel = CUIColorSchema::FromColorRef(UIColors().bkPanel);
    EXPECT_EQ(wnd.GetBkColor(), panel);
    const QImage image = wnd.RenderClient();
    ASSERT_EQ(image.size(), QSize(40, 30));
    EXPECT_EQ(wnd.paintedSize, QSize(40, 30));
    EXPECT_EQ(image.pixel(0, 0), Opaque(panel.rgb()));
    EXPECT_EQ(image.pixel(39, 29), Opaque(panel.rgb()));
    EXPECT_EQ(image.pixel(12, 12), kRed);
    EXPECT_EQ(image.pixel(15, 15), Opaque(panel.rgb())) << "OnPaint's rectangle ends at 14";

    const QColor old = wnd.SetBkColor(QColor(1, 2, 3));
    EXPECT_EQ(old, panel);
    EXPECT_EQ(wnd.GetBkBrush().color(), QColor(1, 2, 3)) << "the brush follows the colour";
    EXPECT_EQ(wnd.RenderClient().pixel(0, 0), qRgb(1, 2, 3));
}

TEST_F(BaseWndPaint, BorderIsDrawnInTheBackgroundColourWhateverOnPaintLeftBehind) {
    PaintWnd wnd;
    wnd.fillAll = true;
    wnd.messUpState = true;
    wnd.Create(nullptr, QRect(0, 0, 20, 10), 1, 0);
    wnd.SetBkColor(QColor(9, 8, 7));
    QImage image = wnd.RenderClient();
    EXPECT_EQ(image.pixel(0, 0), kRed) << "no border yet";
    wnd.SetBorder(1);
    image = wnd.RenderClient();
    const QRgb bk = qRgb(9, 8, 7);
    for (int x = 0; x < 20; ++x) {
        EXPECT_EQ(image.pixel(x, 0), bk) << x;
        EXPECT_EQ(image.pixel(x, 9), bk) << x;
    }
    for (int y = 0; y < 10; ++y) {
        EXPECT_EQ(image.pixel(0, y), bk) << y;
        EXPECT_EQ(image.pixel(19, y), bk) << y;
    }
    EXPECT_EQ(image.pixel(1, 1), kRed) << "the border is one pixel wide";
    EXPECT_EQ(image.pixel(18, 8), kRed);
}

TEST_F(BaseWndPaint, TransparentWindowLeavesUnpaintedPixelsClear) {
    PaintWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 30, 30), 1, 0);
    wnd.SetTransparent(1);
    EXPECT_FALSE(wnd.testAttribute(Qt::WA_OpaquePaintEvent));
    const QImage image = wnd.RenderClient();
    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
    EXPECT_EQ(image.pixel(11, 11), kRed);
    wnd.SetTransparent(0);
    EXPECT_EQ(qAlpha(wnd.RenderClient().pixel(0, 0)), 255);
}

TEST_F(BaseWndPaint, TheScreenGetsWhatRenderClientPaints) {
    PaintWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 50, 40), 1, 1);
    wnd.SetBorder(1);
    const QImage screen = wnd.grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QImage rendered = wnd.RenderClient();
    ASSERT_EQ(screen.size(), rendered.size());
    for (int y = 0; y < screen.height(); ++y)
        for (int x = 0; x < screen.width(); ++x)
            ASSERT_EQ(screen.pixel(x, y), rendered.pixel(x, y)) << x << "," << y;
}

TEST_F(BaseWndPaint, FontStyleSelectsTheRecordFontAndOnlyAChangeRepaints) {
    PaintWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, 60, 40), 1, 1);
    ASSERT_NE(wnd.GetUISizeInfo(), nullptr);
    EXPECT_EQ(wnd.GetFont(), FONT_STYLE_NORMAL) << "the third style is the default";
    ASSERT_NE(wnd.GetFontPtr(), nullptr);
    EXPECT_EQ(*wnd.GetFontPtr(), wnd.GetUISizeInfo()->fonts[FONT_STYLE_NORMAL]);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd.paints > 0; }));
    for (int i = 0; i < 5; ++i)
        QApplication::processEvents();
    const int settled = wnd.paints;

    EXPECT_EQ(wnd.SetFont(FONT_STYLE_NORMAL), FONT_STYLE_NORMAL);
    QApplication::processEvents();
    EXPECT_EQ(wnd.paints, settled) << "the current style repaints nothing";

    EXPECT_EQ(wnd.SetFont(FONT_STYLE_BOLD), FONT_STYLE_NORMAL);
    EXPECT_EQ(wnd.paints, settled + 1) << "a new style is painted at once";
    EXPECT_TRUE(wnd.paintedFont.bold());
    EXPECT_EQ(wnd.paintedFont.pixelSize(), wnd.GetUISizeInfo()->fonts[FONT_STYLE_BOLD].pixelSize());
    EXPECT_EQ(wnd.font(), wnd.GetUISizeInfo()->fonts[FONT_STYLE_BOLD]);

    wnd.hide();
    wnd.SetFont(FONT_STYLE_TITLE);
    EXPECT_EQ(wnd.paints, settled + 1) << "a hidden window is not painted";
    EXPECT_EQ(wnd.GetFont(), FONT_STYLE_TITLE);
}
