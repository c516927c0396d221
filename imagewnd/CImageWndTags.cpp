// Tags of CImageWnd: small labels or pictures along the top edge, one list aligned left and one
// aligned right. Active tags show only while the pointer is inside and report clicks to the parent.
#include "imagewnd/CImageWnd.h"

#include <QFontMetrics>
#include <QPainter>

namespace KELCTRL {

namespace {

std::vector<TAGINFO>& ListOf(std::vector<TAGINFO> (&tags)[2], int side) {
    return tags[side ? 1 : 0];
}

} // namespace

void CImageWnd::AddTag(int side, const QString& text, const QImage* image, int active, unsigned id) {
    TAGINFO tag;
    tag.id = id;
    tag.text = text;
    if (image)
        tag.image = *image;
    tag.side = side;
    tag.active = active;
    tag.enabled = 1;
    ListOf(m_tags, side).push_back(tag);
    CalcTagRects();
    if (m_image)
        RepaintNow();
}

void CImageWnd::ShowTags(int show) {
    const bool value = show != 0;
    if (value == m_tagsVisible)
        return;
    m_tagsVisible = value;
    Invalidate();
}

void CImageWnd::ClearTags() {
    m_tags[0].clear();
    m_tags[1].clear();
    Invalidate();
}

const TAGINFO* CImageWnd::GetTag(int side, size_t index) const {
    const std::vector<TAGINFO>& list = m_tags[side ? 1 : 0];
    return index < list.size() ? &list[index] : nullptr;
}

void CImageWnd::CalcTagRects() {
    const int margin = ScaleByDpi(TAG_MARGIN);
    const int height = ScaleByDpi(TAG_HEIGHT);
    const int gap = ScaleByDpi(TAG_GAP);
    const QFont* font = GetFontPtr();
    const QFontMetrics metrics(font ? *font : this->font());
    auto widthOf = [&](const TAGINFO& tag) {
        return tag.image.isNull() ? metrics.horizontalAdvance(tag.text) + 2 * margin : tag.image.width();
    };
    int x = margin;
    for (TAGINFO& tag : m_tags[1]) {
        const int w = widthOf(tag);
        tag.drawRect = QRect(x, margin, w, height);
        tag.hitRect = tag.drawRect;
        x += w + gap;
    }
    x = GetClientWidth() - margin;
    for (TAGINFO& tag : m_tags[0]) {
        const int w = widthOf(tag);
        x -= w;
        tag.drawRect = QRect(x, margin, w, height);
        tag.hitRect = tag.drawRect;
        x -= gap;
    }
}

bool CImageWnd::TagShows(const TAGINFO& tag) const {
    return tag.enabled && (!tag.active || IsMouseHover());
}

bool CImageWnd::HasActiveTags() const {
    for (const std::vector<TAGINFO>& list : m_tags)
        for (const TAGINFO& tag : list)
            if (tag.active && tag.enabled)
                return true;
    return false;
}

const TAGINFO* CImageWnd::HitTestTag(const QPoint& point) const {
    if (!m_tagsVisible || !m_image)
        return nullptr;
    for (const std::vector<TAGINFO>& list : {std::cref(m_tags[1]), std::cref(m_tags[0])}) {
        for (const TAGINFO& tag : list) {
            // Only an active tag with an id takes clicks; the rest let the press through to the tools.
            if (tag.active && tag.id != TAG_NOT_CLICKABLE && TagShows(tag) && tag.hitRect.contains(point))
                return &tag;
        }
    }
    return nullptr;
}

void CImageWnd::PaintTags(QPainter& painter) {
    const QFont* font = GetFontPtr();
    painter.save();
    if (font)
        painter.setFont(*font);
    for (const std::vector<TAGINFO>& list : {std::cref(m_tags[1]), std::cref(m_tags[0])}) {
        for (const TAGINFO& tag : list) {
            if (!TagShows(tag))
                continue;
            if (!tag.image.isNull()) {
                painter.drawImage(tag.drawRect, tag.image);
                continue;
            }
            painter.fillRect(tag.drawRect, QColor::fromRgba(TAG_BK_COLOR));
            const int flags = Qt::AlignCenter | Qt::TextSingleLine;
            painter.setPen(QColor(0, 0, 0));
            painter.drawText(tag.drawRect.translated(1, 1), flags, tag.text);
            painter.setPen(QColor::fromRgba(TAG_TEXT_COLOR));
            painter.drawText(tag.drawRect, flags, tag.text);
        }
    }
    painter.restore();
}

} // namespace KELCTRL
