#pragma once
// The interface's 26 colours. Controls read the global record at paint time, so a theme change needs
// only a redraw. Two encodings: COLORREF (red in the low byte, then green, blue; top byte 0) and ARGB
// (alpha in the top byte, then red, green, blue).
#include <QColor>
#include <QString>

#include <cstdint>

namespace KELCTRL {

class CUIColorSchema {
public:
    static constexpr uint32_t Rgb(int r, int g, int b) {
        return static_cast<uint32_t>(r & 0xFF) | static_cast<uint32_t>(g & 0xFF) << 8 |
               static_cast<uint32_t>(b & 0xFF) << 16;
    }
    static constexpr uint32_t Argb(int a, int r, int g, int b) {
        return static_cast<uint32_t>(b & 0xFF) | static_cast<uint32_t>(g & 0xFF) << 8 |
               static_cast<uint32_t>(r & 0xFF) << 16 | static_cast<uint32_t>(a & 0xFF) << 24;
    }
    static QColor FromColorRef(uint32_t c) { return QColor(c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF); }
    static QColor FromArgb(uint32_t c) {
        return QColor((c >> 16) & 0xFF, (c >> 8) & 0xFF, c & 0xFF, c >> 24);
    }

    uint32_t bkDefault = Rgb(20, 20, 20);
    uint32_t bkPanel = Rgb(40, 40, 40);
    uint32_t bkSubPanel = Rgb(60, 60, 60);
    uint32_t bkRaisedPanel = Rgb(60, 60, 60);
    uint32_t bkWorkArea = Rgb(127, 127, 127);
    uint32_t bkLight = Rgb(180, 180, 180);
    uint32_t lineMainFrame = Argb(255, 50, 50, 50);
    uint32_t lineCtrlBorder = Argb(255, 20, 20, 20);
    uint32_t lineCtrlBorderHighlight = Argb(20, 255, 255, 255);
    uint32_t lineCtrlBorderHighlightSoft = Argb(10, 255, 255, 255);
    uint32_t lineCtrlBorderShadow = Argb(50, 0, 0, 0);
    uint32_t lineCtrlBorderShadowPro = Argb(100, 0, 0, 0);
    uint32_t lineCtrlBorderShadowSoft = Argb(20, 0, 0, 0);
    uint32_t maskHighlight = Argb(20, 255, 255, 255);
    uint32_t maskHighlightPro = Argb(36, 255, 255, 255);
    uint32_t maskShadow = Argb(36, 0, 0, 0);
    uint32_t maskShadowPro = Argb(128, 0, 0, 0);
    uint32_t btnFaceHighlight = Rgb(70, 70, 70);
    uint32_t btnFaceShadow = Rgb(60, 60, 60);
    uint32_t btnFacePressed = Argb(255, 205, 205, 205);
    uint32_t textNormal = Rgb(160, 160, 160);
    uint32_t textHighlight = Rgb(255, 255, 255);
    uint32_t textDisabled = Rgb(40, 40, 40);
    uint32_t textLink = Rgb(255, 255, 0);
    uint32_t textOnLight = Rgb(230, 230, 230);
    uint32_t textOnLightDark = Rgb(20, 20, 20);

    static constexpr int kColorCount = 26;
    // Field i in record order, for code that walks them all.
    uint32_t& At(int index) { return (&bkDefault)[index]; }
    uint32_t At(int index) const { return (&bkDefault)[index]; }

    // Overlays the colours a theme file names; a missing file, root, group or leaf changes nothing.
    void FromXmlFile(const QString& path);
    // Writes the whole theme atomically; non-zero on success.
    int ToXmlFile(const QString& path) const;
};

// The global record every control reads.
CUIColorSchema& UIColors();

} // namespace KELCTRL
