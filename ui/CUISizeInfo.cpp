#include "ui/CUISizeInfo.h"

#include <QApplication>
#include <QComboBox>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QRect>
#include <QScreen>
#include <QWidget>

#include <map>
#include <memory>

namespace KELCTRL {

namespace {

int g_baseLabelWidth = 70;
DpiProvider g_dpiProvider;

std::map<unsigned, std::unique_ptr<CUISizeInfo>>& Records() {
    static std::map<unsigned, std::unique_ptr<CUISizeInfo>> records;
    return records;
}

QString DefaultFace() {
    // A fixed face name may be missing on a Linux desktop; the system's general font always exists
    // and matches the rest of the desktop.
    return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
}

} // namespace

int CUISizeInfo::Scale(int v, unsigned dpi) {
    if (dpi == 96)
        return v;
    const long long d = dpi;
    return v < 0 ? static_cast<int>(-((-static_cast<long long>(v)) * d / 96)) : static_cast<int>(v * d / 96);
}

int CUISizeInfo::Unscale(int v, unsigned dpi) {
    if (dpi == 96 || dpi == 0)
        return v; // a zero dpi is a caller's error; do not divide by it
    const long long d = dpi;
    return v < 0 ? static_cast<int>(-((-static_cast<long long>(v)) * 96 / d))
                 : static_cast<int>(v * 96LL / d);
}

int CUISizeInfo::Field(int index) const {
    const int fields[kFieldCount] = {borderSmall, borderMedium,    scrollBarWidth,   rowHeight,
                                     ctrlGap,     panelMargin,     labelButtonWidth, buttonHeight,
                                     labelWidth,  valueEditWidth,  valueEditHeight,  dialogMargin,
                                     comboHeight, textButtonWidth, splitLineHeight};
    return index >= 0 && index < kFieldCount ? fields[index] : 0;
}

void CUISizeInfo::ScaledRect(QRect& rect) const {
    rect.setCoords(ScaledSizeX(rect.left()), ScaledSizeY(rect.top()), ScaledSizeX(rect.right()),
                   ScaledSizeY(rect.bottom()));
}

int CUISizeInfo::FontPointsToPixels(int points) const {
    const long long d = m_dpiY;
    return points < 0 ? static_cast<int>(-((-static_cast<long long>(points)) * d / 72))
                      : static_cast<int>(points * d / 72);
}

void CUISizeInfo::ClearFonts() {
    for (QFont& f : fonts)
        f = QFont();
}

void CUISizeInfo::Init(unsigned dpiX, unsigned dpiY) {
    if (initialised)
        return;
    m_dpiX = dpiX;
    m_dpiY = dpiY;
    initialised = 1;

    borderSmall = ScaledSizeX(2);
    borderMedium = ScaledSizeX(4);
    scrollBarWidth = ScaledSizeX(12);
    rowHeight = ScaledSizeY(16);
    ctrlGap = ScaledSizeX(4);
    panelMargin = ScaledSizeX(6);
    labelButtonWidth = ScaledSizeX(50);
    buttonHeight = ScaledSizeY(30);
    labelWidth = ScaledSizeX(g_baseLabelWidth);
    valueEditWidth = ScaledSizeX(35);
    valueEditHeight = ScaledSizeY(30);
    dialogMargin = ScaledSizeX(8);
    comboHeight = ScaledSizeY(20);
    textButtonWidth = ScaledSizeX(80);
    splitLineHeight = ScaledSizeY(2);

    ClearFonts();
    if (fontFaceName.isEmpty())
        fontFaceName = DefaultFace();
    for (int i = 0; i < 9; ++i) {
        QFont f(fontFaceName);
        f.setPixelSize(FontPointsToPixels(kFontPoints[i]));
        f.setWeight(kFontWeights[i] >= 700 ? QFont::Bold : QFont::Normal);
        fonts[i] = f;
    }
    rowHeight = std::max(QFontMetrics(fonts[3]).height() + ScaledSizeY(2), ScaledSizeY(16));
    rowTextHeight = QFontMetrics(fonts[5]).height();
    rowTextLineHeight = rowTextHeight + ctrlGap;

    // What the toolkit gives a real combo box at font 5 is the combo height, whatever the theme.
    if (qobject_cast<QApplication*>(QCoreApplication::instance())) {
        QComboBox probe;
        probe.addItem(QStringLiteral("Item"));
        probe.setFont(fonts[5]);
        comboHeight = probe.sizeHint().height();
    }
}

CUISizeInfo& FindUISizeInfo(unsigned dpiX, unsigned dpiY) {
    const unsigned key = (dpiY << 16) | (dpiX & 0xFFFF);
    auto& records = Records();
    auto it = records.find(key);
    if (it == records.end()) {
        auto record = std::make_unique<CUISizeInfo>();
        record->Init(dpiX, dpiY);
        it = records.emplace(key, std::move(record)).first;
    }
    return *it->second;
}

int BaseLabelWidth() {
    return g_baseLabelWidth;
}

int ApplyLabelWidthText(const QString& text) {
    bool ok = false;
    const int v = text.trimmed().toInt(&ok);
    if (ok && v > 0) {
        g_baseLabelWidth = std::min(v, 100);
        // The 96 dpi record does no arithmetic, so it takes the base as it is.
        auto& records = Records();
        auto it = records.find((96u << 16) | 96u);
        if (it != records.end())
            it->second->labelWidth = g_baseLabelWidth;
    }
    return g_baseLabelWidth;
}

void SetDpiProvider(DpiProvider provider) {
    g_dpiProvider = std::move(provider);
}

std::pair<unsigned, unsigned> MonitorDpi(const QWidget* widget) {
    std::pair<unsigned, unsigned> dpi{96, 96};
    if (g_dpiProvider) {
        dpi = g_dpiProvider(widget);
    } else {
        const QWidget* w = widget && widget->parentWidget() ? widget->parentWidget() : widget;
        QScreen* screen = w ? w->screen() : QGuiApplication::primaryScreen();
        if (screen)
            dpi = {static_cast<unsigned>(screen->logicalDotsPerInchX() + 0.5),
                   static_cast<unsigned>(screen->logicalDotsPerInchY() + 0.5)};
    }
    if (dpi.first < 96 || dpi.second < 96)
        dpi = {96, 96};
    return dpi;
}

} // namespace KELCTRL
