#include "ui/CScrollWnd_HintWnd.h"

#include "ui/CUIColorSchema.h"

#include <QLinearGradient>
#include <QPainter>

namespace KELCTRL {

CScrollWnd_HintWnd::CScrollWnd_HintWnd(int atTop, QWidget* parent) : CBaseWnd(parent), m_top(atTop != 0) {
    SetTransparent(1);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

int CScrollWnd_HintWnd::GetHintHeight() const {
    const int base = m_top ? TOP_HEIGHT : BOTTOM_HEIGHT;
    const CUISizeInfo* info = GetUISizeInfo();
    return info ? info->ScaledSizeY(base) : base;
}

void CScrollWnd_HintWnd::OnPaint(QPainter& painter, int width, int height) {
    const QColor dark = CUIColorSchema::FromArgb(UIColors().maskShadowPro);
    QColor clear = dark;
    clear.setAlpha(0);
    QLinearGradient gradient(0, 0, 0, height);
    gradient.setColorAt(0, m_top ? dark : clear);
    gradient.setColorAt(1, m_top ? clear : dark);
    painter.fillRect(QRect(0, 0, width, height), gradient);
}

} // namespace KELCTRL
