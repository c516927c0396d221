// Painting of CImageWnd: the choice of source for the view (zoomed cache, image at 1:1, enlarged image,
// preview), the conversion of the visible part into the reused 32-bit display buffer, the chequer
// under transparent pixels, the tools on top, and the colour transforms with colour sampling.
#include "common/CFunctionTimeCost.h"
#include "common/life_lock.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageWnd.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace KELCTRL {

namespace {

int RoundToInt(double v) {
    return static_cast<int>(std::floor(v + 0.5));
}

// The part of `rect` inside an image of `size`.
QRect ClipToImage(const QRect& rect, const CImageDataInfo& image) {
    return rect.intersected(QRect(0, 0, image.width, image.height));
}

} // namespace

// --- OnPaint --------------------------------------------------------------------------------

void CImageWnd::OnPaint(QPainter& painter, int width, int height) {
    CBaseWnd::OnPaint(painter, width, height);
    if (!m_image)
        return;
    {
        // The documented order, cache lock then image lock, also here: the UI thread holds the
        // cache lock through adjusting mode and takes the image lock inside it. The cache lock is
        // needed only when the zoomed copy is drawn; no build runs then, so it is free at once.
        std::unique_lock<recursive_lock> cacheGuard(m_cacheLock, std::defer_lock);
        if (m_zoomedOut && IsZoomedCacheReady())
            cacheGuard.lock();
        life_lock guard(m_imageLock);
        DrawImage(painter, width, height, 0);
        painter.save();
        WalkAll(IImageWndTool::EVENTMASK_PAINT,
                [&](IImageWndTool* t) { t->OnPaint(painter, width, height); });
        painter.restore();
    }
    if (m_drawSukashiFunc && !m_showingBefore) {
        painter.save();
        m_drawSukashiFunc(painter, this);
        painter.restore();
    }
    if (m_tagsVisible)
        PaintTags(painter);
}

// --- DrawImage ------------------------------------------------------------------------------

void CImageWnd::DrawImage(QPainter& painter, int, int, int nearest) {
    const bool showingBefore = m_showingBefore.load() && m_beforeImage;
    // The caller holds the cache lock when the zoomed copy is ready: the cache thread rewrites
    // these buffers under it. A copy that waits for its processing pass shows only its before view.
    const bool useCache =
        m_zoomedOut && IsZoomedCacheReady() && (showingBefore || !m_cacheAwaitingProcess.load());

    const CImageDataInfo* source = m_image;
    const CImageDataInfo* mask = m_transMask;
    if (showingBefore)
        source = m_dispBeforeImage ? m_dispBeforeImage : m_beforeImage;

    QRect src;
    QRect dst;
    const double zoom = m_zoomValue;
    if (m_zoomedOut && useCache && m_cacheImage.IsValid()) {
        source = &m_cacheImage;
        if (showingBefore)
            source = m_cacheDispBefore.IsValid() ? &m_cacheDispBefore : &m_cacheBefore;
        mask = m_cacheMask.IsValid() ? &m_cacheMask : nullptr;
        src = QRect(m_cachePos.x, m_cachePos.y, m_drawSize.width, m_drawSize.height);
        dst = QRect(m_drawPos.x, m_drawPos.y, m_drawSize.width, m_drawSize.height);
    } else if (!m_zoomedOut && zoom == 1.0) {
        src = QRect(RoundToInt(m_srcRect.x), RoundToInt(m_srcRect.y), RoundToInt(m_srcRect.width),
                    RoundToInt(m_srcRect.height));
        dst = QRect(m_drawPos.x, m_drawPos.y, src.width(), src.height());
    } else if (!m_zoomedOut) {
        // Whole source pixels, the first one shifted left and up by the part of it scrolled away, so
        // that every image pixel keeps the same window pixels while scrolling.
        const int left = static_cast<int>(std::floor(m_srcRect.x));
        const int top = static_cast<int>(std::floor(m_srcRect.y));
        const int right = static_cast<int>(std::ceil(static_cast<double>(m_srcRect.x) + m_srcRect.width));
        const int bottom = static_cast<int>(std::ceil(static_cast<double>(m_srcRect.y) + m_srcRect.height));
        src = QRect(left, top, right - left, bottom - top);
        const int x = m_drawPos.x - RoundToInt((m_srcRect.x - left) * zoom);
        const int y = m_drawPos.y - RoundToInt((m_srcRect.y - top) * zoom);
        dst = QRect(x, y, RoundToInt(src.width() * zoom), RoundToInt(src.height() * zoom));
    } else {
        // The zoomed copy is not there yet: the preview, stretched into the draw area.
        const CImageDataInfo* preview = &m_preview;
        if (showingBefore && m_previewBefore.IsValid())
            preview = &m_previewBefore;
        const double scale = preview->IsValid() ? m_previewScale : 1.0;
        if (preview->IsValid()) {
            source = preview;
            mask = m_previewMask.IsValid() ? &m_previewMask : nullptr;
        }
        const int left = static_cast<int>(std::floor(m_srcRect.x * scale));
        const int top = static_cast<int>(std::floor(m_srcRect.y * scale));
        const int w = std::clamp(RoundToInt(m_srcRect.width * scale), 1, std::max(1, source->width - left));
        const int h = std::clamp(RoundToInt(m_srcRect.height * scale), 1, std::max(1, source->height - top));
        src = QRect(left, top, w, h);
        dst = QRect(m_drawPos.x, m_drawPos.y, m_drawSize.width, m_drawSize.height);
    }
    if (!source || !source->IsValid())
        return;
    const QRect clipped = ClipToImage(src, *source);
    if (clipped.isEmpty() || dst.isEmpty())
        return;
    if (clipped != src) {
        // Keep the scale of the case above for what is left.
        const double sx = static_cast<double>(dst.width()) / src.width();
        const double sy = static_cast<double>(dst.height()) / src.height();
        dst = QRect(dst.x() + RoundToInt((clipped.x() - src.x()) * sx),
                    dst.y() + RoundToInt((clipped.y() - src.y()) * sy), RoundToInt(clipped.width() * sx),
                    RoundToInt(clipped.height() * sy));
        src = clipped;
    }

    const int stride = TransImageForDisplay(src, *source, m_displayTransform, m_clippingWarning);
    if (stride <= 0)
        return;
    if (mask && mask->IsValid() && mask->Size() == source->Size()) {
        const int block = std::max(1, ScaleByDpi(m_transBlockSize));
        ImageProcess::PaintOnTransparencyBlocks(block, src.width(), src.height(), 4, 1,
                                                m_displayBuffer.data(), stride, mask->RowPtr(0),
                                                mask->RowStep(), mask->height, src.x(), src.y());
    }

    const QImage bitmap(m_displayBuffer.data(), src.width(), src.height(), stride, QImage::Format_RGB32);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    if (nearest)
        painter.setRenderHint(QPainter::Antialiasing, false);
    if (dst.size() == src.size())
        painter.drawImage(dst.topLeft(), bitmap);
    else
        painter.drawImage(dst, bitmap);
    painter.restore();

    m_lastDrawRect = dst;
    m_lastSrcRect = src;
}

// --- TransImageForDisplay -------------------------------------------------------------------

int CImageWnd::TransImageForDisplay(const QRect& src, const CImageDataInfo& image, const TRANSFORM* transform,
                                    unsigned clipping) {
    CFunctionTimeCost cost("KELCTRL::CImageWnd::TransImageForDisplay");
    if (src.isEmpty() || !image.IsValid())
        return 0;
    const int stride = src.width() * 4;
    const size_t bytes = static_cast<size_t>(stride) * src.height();
    // Grows only: a fresh buffer costs a page fault per 4 KiB on its first paint.
    if (m_displayBuffer.size() < bytes && !m_displayBuffer.resize(bytes)) {
        m_displayWidth = m_displayHeight = m_displayStride = 0;
        return 0;
    }
    m_displayWidth = src.width();
    m_displayHeight = src.height();
    m_displayStride = stride;

    const LINEAR_IMAGE_PARAMS linear = GetLinearImageParams();
    ImageProcess::DISPLAY_PARAMS params;
    params.transform = transform;
    params.clipping = clipping;
    // Unprocessed data (the before view, or an image without a before-image) reads through the
    // source curve; processed results through the display curve.
    const bool raw = !m_beforeImage || m_showingBefore.load();
    params.curve = raw ? linear.sourceCurve : linear.displayCurve;

    ImageProcess::ROW_BUFFER dst;
    dst.data = m_displayBuffer.data();
    dst.stride = stride;
    dst.channels = 4;
    dst.depth = 1;
    const IntRect rect{src.x(), src.y(), src.width(), src.height()};
    if (!ImageProcess::ProcessImage2(ImageProcess::DisplayRowFunc, image, rect, dst, &params, nullptr))
        return 0;
    return stride;
}

// --- settings -------------------------------------------------------------------------------

void CImageWnd::SetClippingWarning(unsigned bits) {
    bits &= ImageProcess::CLIPPING_SHADOW | ImageProcess::CLIPPING_HIGHLIGHT;
    if (bits == m_clippingWarning)
        return;
    m_clippingWarning = bits;
    if (m_image)
        RepaintNow();
}

void CImageWnd::SetColorProfile(const ImageProcess::ColorProfile::Profile* profile) {
    using ImageProcess::ColorProfile;
    const TRANSFORM* display = nullptr;
    m_srgbTransform = nullptr;
    if (profile && profile->IsValid()) {
        display = ColorProfile::GetTransform(*profile, ColorProfile::GetMonitorProfile(nullptr),
                                             ColorProfile::FORMAT_BGRA_8, ColorProfile::FORMAT_BGRA_8);
        m_srgbTransform =
            ColorProfile::GetTransform(*profile, ColorProfile::GetSRGBProfile(), ColorProfile::FORMAT_RGB_DBL,
                                       ColorProfile::FORMAT_RGB_DBL);
    }
    SetColorTransform(display);
}

void CImageWnd::SetColorTransform(const TRANSFORM* transform) {
    m_displayTransform = transform;
    if (m_image)
        RepaintNow();
}

void CImageWnd::SetTransBlockSize(int size) {
    m_transBlockSize = std::max(1, size);
    if (m_image && m_transMask)
        RepaintNow();
}

void CImageWnd::Refresh() {
    RepaintNow();
    FlushSyncPartner();
}

void CImageWnd::ProcessImageNow() {
    if (m_adjusting) {
        AdjustImage(1);
        return;
    }
    ProcessImage();
}

// --- colour sampling ------------------------------------------------------------------------

namespace {

// One value of a pixel, channel c in B, G, R order (grey for 1 channel).
double ChannelValue(const unsigned char* p, int channels, int depth, int c) {
    const int i = channels == 1 ? 0 : c;
    if (depth == 2)
        return reinterpret_cast<const uint16_t*>(p)[i];
    return p[i];
}

double ThroughCurve(double v, int depth, const unsigned short* curve) {
    if (!curve)
        return v;
    if (depth == 2)
        return curve[static_cast<int>(v)];
    return (curve[static_cast<int>(v) * 257] + 128) / 257;
}

} // namespace

int CImageWnd::GetColors(COLORVALS* values, COLORVALS* rawValues, int& count, int x, int y, int radius,
                         int useCurve) {
    count = 0;
    if (!m_image || !m_image->IsValid() || !values || !rawValues)
        return 0;
    const QRect drawn(m_drawPos.x, m_drawPos.y, m_drawSize.width, m_drawSize.height);
    if (!drawn.contains(x, y))
        return 0;
    const int r = std::clamp(radius, 0, MAX_GETCOLOR_RADIUS);
    const LINEAR_IMAGE_PARAMS linear = GetLinearImageParams();
    const unsigned short* curve = useCurve ? linear.sourceCurve : linear.displayCurve;

    std::unique_lock<recursive_lock> cacheGuard;
    const CImageDataInfo* image = nullptr;
    const CImageDataInfo* mask = nullptr;
    int cx = 0;
    int cy = 0;
    if (m_zoomedOut && IsZoomedCacheReady()) {
        cacheGuard = std::unique_lock<recursive_lock>(m_cacheLock);
        image = useCurve && m_cacheBefore.IsValid() ? &m_cacheBefore : &m_cacheImage;
        mask = m_cacheMask.IsValid() ? &m_cacheMask : nullptr;
        cx = x - m_drawPos.x + m_cachePos.x;
        cy = y - m_drawPos.y + m_cachePos.y;
    } else {
        image = useCurve && m_beforeImage ? m_beforeImage : m_image;
        mask = m_transMask;
        TPoint<double> p;
        PointWnd2Image(static_cast<double>(x), static_cast<double>(y), p);
        cx = static_cast<int>(std::floor(p.x));
        cy = static_cast<int>(std::floor(p.y));
    }
    // In adjusting mode the adjust thread writes the zoomed copy under the image lock alone; the
    // cache lock comes first, as everywhere.
    std::unique_lock<recursive_lock> imageGuard(m_imageLock);
    if (!image || !image->IsValid())
        return 0;
    if (mask && !(mask->Size() == image->Size()))
        mask = nullptr;

    const int x0 = std::max(0, cx - r);
    const int x1 = std::min(image->width - 1, cx + r);
    const int y0 = std::max(0, cy - r);
    const int y1 = std::min(image->height - 1, cy + r);
    const int channels = image->channels;
    const int depth = image->depth;
    for (int py = y0; py <= y1; ++py) {
        for (int px = x0; px <= x1; ++px) {
            if (mask && *mask->PixelPtr(px, py) == 0)
                continue;
            const unsigned char* p = image->PixelPtr(px, py);
            COLORVALS& raw = rawValues[count];
            COLORVALS& value = values[count];
            // COLORVALS run R, G, B; pixels are stored B, G, R.
            for (int c = 0; c < 3; ++c) {
                raw.v[2 - c] = ChannelValue(p, channels, depth, c);
                value.v[2 - c] = ThroughCurve(raw.v[2 - c], depth, curve);
            }
            ++count;
        }
    }
    imageGuard.unlock();
    if (cacheGuard.owns_lock())
        cacheGuard.unlock();
    if (count > 0 && m_srgbTransform) {
        const double fullScale = depth == 2 ? 65535.0 : 255.0;
        COLORVALS converted[MAX_GETCOLOR_SAMPLES];
        if (ImageProcess::ColorProfile::DoTransform(m_srgbTransform, values, converted, count, fullScale))
            std::copy(converted, converted + count, values);
    }
    return 1;
}

int CImageWnd::GetColor(COLORVALS& value, COLORVALS& rawValue, int x, int y, int radius) {
    COLORVALS values[MAX_GETCOLOR_SAMPLES];
    COLORVALS raws[MAX_GETCOLOR_SAMPLES];
    int count = 0;
    if (!GetColors(values, raws, count, x, y, radius, 0) || count == 0)
        return 0;
    value = values[0];
    rawValue = raws[0];
    return 1;
}

} // namespace KELCTRL
