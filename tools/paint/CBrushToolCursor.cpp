// CBrushTool: the ring cursor. Up to 128 pixels it is a cursor bitmap with its hot spot at the centre;
// beyond that the canvas draws the ring over a small cross cursor, since large cursors are refused or
// clipped by many platforms.
#include "common/CFunctionTimeCost.h"
#include "imagewnd/CImageWnd.h"
#include "tools/paint/CBrushTool.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>

#include <algorithm>
#include <cmath>

namespace KELCTRL {
namespace IMGWND_TOOL {

namespace {

QPen RingPen(QRgb colour, double width, Qt::PenStyle style = Qt::SolidLine) {
    QPen pen{QColor::fromRgba(colour)};
    pen.setWidthF(width);
    pen.setStyle(style);
    pen.setCapStyle(Qt::RoundCap);
    return pen;
}

} // namespace

void CBrushTool::DrawRing(QPainter& painter, double cx, double cy) {
    const QPen grey = RingPen(0xFF7F7F7F, 3.0);
    const QPen white = RingPen(0xFFFFFFFF, 1.0);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setBrush(Qt::NoBrush);
    if (m_displayInner >= 7.0) {
        for (const QPen* pen : {&grey, &white}) {
            painter.setPen(*pen);
            painter.drawEllipse(QPointF(cx, cy), m_displayInner, m_displayInner);
        }
        if (m_displayInner + 2.0 < m_displayOuter) {
            painter.setPen(RingPen(0xFF7F7F7F, 1.5));
            painter.drawEllipse(QPointF(cx, cy), m_displayOuter, m_displayOuter);
            painter.setPen(RingPen(0xFFFFFFFF, 1.5, Qt::DashLine));
            painter.drawEllipse(QPointF(cx, cy), m_displayOuter, m_displayOuter);
        }
    }
    // The sign is drawn about (centre, centre); the painter is moved so that this is the ring's centre.
    painter.save();
    painter.translate(cx, cy);
    DrawCursorSign(painter, grey, white, static_cast<int>(std::floor(m_displayInner + 0.5)), 0.0);
    painter.restore();
}

void CBrushTool::UpdateCursor() {
    CFunctionTimeCost timeCost("KELCTRL::IMGWND_TOOL::CBrushTool::UpdateCursor");
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage()) {
        m_hasCursor = 0;
        m_ringOnCanvas = 0;
        return;
    }
    const int side = static_cast<int>(std::ceil(m_displayOuter)) * 2 + 9;
    if (side > CURSOR_MAX_SIDE) {
        m_ringOnCanvas = 1;
        m_cursor = QCursor(Qt::CrossCursor);
        m_hasCursor = 1;
        return;
    }
    m_ringOnCanvas = 0;
    // Premultiplied: painted in place and made a pixmap without a conversion pass. Fully transparent
    // pixels carry no colour in this form.
    QImage bitmap(side, side, QImage::Format_ARGB32_Premultiplied);
    bitmap.fill(Qt::transparent);
    const int c = side / 2;
    {
        QPainter painter(&bitmap);
        // Pixel c's centre lies at c + 0.5 in painter coordinates.
        DrawRing(painter, c + 0.5, c + 0.5);
    }
    m_cursor = QCursor(QPixmap::fromImage(bitmap), c, c);
    m_hasCursor = 1;
}

void CBrushTool::DrawCursorSign(QPainter& painter, const QPen& greyPen, const QPen& whitePen, int radius,
                                double centre) {
    const double cx = centre;
    const double cy = centre;
    const double h = std::clamp(radius - 2, 3, 7);
    for (const QPen* pen : {&greyPen, &whitePen}) {
        painter.setPen(*pen);
        painter.drawLine(QPointF(cx - h, cy), QPointF(cx + h, cy));
        if (m_brush->mode == CBrush::MODE_PAINT)
            painter.drawLine(QPointF(cx, cy - h), QPointF(cx, cy + h));
    }
}

void CBrushTool::InstallCursor() {
    CImageWnd* wnd = Wnd();
    if (wnd && wnd->FindTool(this) >= 0)
        wnd->UpdateCursor();
}

int CBrushTool::OnSetCursor(QPoint point) {
    if (QGuiApplication::mouseButtons() & Qt::RightButton)
        return 0;
    CImageWnd* wnd = Wnd();
    if (!wnd)
        return 0;
    if (!m_hasCursor)
        UpdateCursor();
    if (!m_hasCursor)
        return 0;
    wnd->m_cursor = m_cursor;
    if (m_ringOnCanvas) {
        m_ringPos = point;
        m_ringVisible = 1;
    }
    return 1;
}

// --- the ring drawn by the canvas -----------------------------------------------------------------

void CBrushTool::OnMouseMove(unsigned, QPoint point) {
    if (!m_ringOnCanvas)
        return;
    CImageWnd* wnd = Wnd();
    if (!wnd)
        return;
    const int r = static_cast<int>(std::ceil(m_displayOuter)) + 4;
    const QRect before(m_ringPos.x() - r, m_ringPos.y() - r, 2 * r + 1, 2 * r + 1);
    const QRect after(point.x() - r, point.y() - r, 2 * r + 1, 2 * r + 1);
    m_ringPos = point;
    m_ringVisible = 1;
    wnd->update(before);
    wnd->update(after);
}

void CBrushTool::OnMouseEnter(unsigned flags, QPoint point) {
    OnMouseMove(flags, point);
}

void CBrushTool::OnMouseLeave() {
    if (!m_ringVisible)
        return;
    m_ringVisible = 0;
    if (CImageWnd* wnd = Wnd())
        wnd->update();
}

void CBrushTool::OnPaint(QPainter& painter, int, int) {
    if (!m_ringOnCanvas || !m_ringVisible)
        return;
    painter.save();
    DrawRing(painter, m_ringPos.x() + 0.5, m_ringPos.y() + 0.5);
    painter.restore();
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
