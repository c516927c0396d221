#pragma once
// Sizes and fonts of the interface for one (dpi x, dpi y) pair. Every control is measured in the units
// of a 96 dpi screen and scaled at use: v x dpi / 96, truncated toward zero, and no arithmetic at all at
// 96 dpi. Records are cached per dpi pair and never rebuilt, since the fonts and the combo probe cost.
#include <QFont>
#include <QString>

#include <functional>
#include <utility>

class QRect;
class QWidget;

namespace KELCTRL {

// Index of one of the nine fonts of a CUISizeInfo: 14, 13, 12, 9, 8, 9, 9 bold, 13 and 8 points.
enum FONT_STYLE {
    FONT_STYLE_TITLE = 0,
    FONT_STYLE_LARGE = 1,
    FONT_STYLE_MEDIUM = 2,
    FONT_STYLE_NORMAL = 3,
    FONT_STYLE_SMALL = 4,
    FONT_STYLE_ROW = 5,
    FONT_STYLE_BOLD = 6,
    FONT_STYLE_HEADING = 7,
    FONT_STYLE_TINY = 8,
    FONT_STYLE_COUNT = 9
};

class CUISizeInfo {
public:
    // The fifteen sizes, called field 0 to field 14 everywhere; their order is fixed.
    int borderSmall = 2;
    int borderMedium = 4;
    int scrollBarWidth = 12;
    int rowHeight = 16;
    int ctrlGap = 4;
    int panelMargin = 6;
    int labelButtonWidth = 50;
    int buttonHeight = 30;
    int labelWidth = 70;
    int valueEditWidth = 35;
    int valueEditHeight = 30;
    int dialogMargin = 8;
    int comboHeight = 20;
    int textButtonWidth = 80;
    int splitLineHeight = 2;

    QString fontFile;
    QString fontFaceName;
    QFont fonts[9];
    int rowTextHeight = 0;
    int rowTextLineHeight = 0;
    int initialised = 0;

    static constexpr int kFieldCount = 15;
    // Field i by its fixed number.
    int Field(int index) const;

    // Scales the fields and builds the fonts; no effect after the first call.
    void Init(unsigned dpiX, unsigned dpiY);
    void ClearFonts();
    unsigned DpiX() const { return m_dpiX; }
    unsigned DpiY() const { return m_dpiY; }

    int ScaledSizeX(int v) const { return Scale(v, m_dpiX); }
    int ScaledSizeY(int v) const { return Scale(v, m_dpiY); }
    int UnscaledSizeX(int v) const { return Unscale(v, m_dpiX); }
    int UnscaledSizeY(int v) const { return Unscale(v, m_dpiY); }
    void ScaledRect(QRect& rect) const;
    int FontPointsToPixels(int points) const;
    int SliderLeft() const { return ctrlGap * 2 + labelWidth + panelMargin; }
    int SliderRight(int width) const { return width - valueEditWidth - panelMargin - ctrlGap; }

    // The scaling rule on its own: v at 96; v x dpi / 96 truncated, with the sign kept apart.
    static int Scale(int v, unsigned dpi);
    static int Unscale(int v, unsigned dpi);

    // Points and weight of font i.
    static constexpr int kFontPoints[9] = {14, 13, 12, 9, 8, 9, 9, 13, 8};
    static constexpr int kFontWeights[9] = {400, 400, 400, 400, 400, 400, 700, 400, 400};

private:
    unsigned m_dpiX = 96;
    unsigned m_dpiY = 96;
};

// The shared record of a dpi pair, made and initialised on first use. UI thread only.
CUISizeInfo& FindUISizeInfo(unsigned dpiX, unsigned dpiY);

// The base label width (field 8 at 96 dpi), 70 until the dictionary's IDS_LABEL_WIDTH says otherwise.
int BaseLabelWidth();
// Applies the IDS_LABEL_WIDTH text: a number above 0 becomes the base, at most 100; anything else
// leaves it. The 96 dpi record takes the new base too. Returns the base in force.
int ApplyLabelWidthText(const QString& text);

// Where windows learn their monitor's dpi. The default asks the screen the widget (or its parent)
// lies on for its logical dpi; tests install their own to run at 96, 120, 144 or 192.
using DpiProvider = std::function<std::pair<unsigned, unsigned>(const QWidget*)>;
void SetDpiProvider(DpiProvider provider);
// The dpi pair of a widget's monitor, with values below 96 replaced by 96 on both axes.
std::pair<unsigned, unsigned> MonitorDpi(const QWidget* widget);

} // namespace KELCTRL
