#include "ui/CProgressWnd.h"

#include "ui/CUIColorSchema.h"

#include <QPainter>
#include <QPainterPath>
#include <QRegion>

#include <algorithm>
#include <cmath>
#include <mutex>

namespace KELCTRL {

namespace {

// Unscaled sizes: the smallest side, the window's corners, the bar's inset and its corners.
constexpr int kMinSide = 10;
constexpr int kWndCorner = 5;
constexpr int kBarInset = 6;
constexpr int kBarCorner = 4;
constexpr unsigned kOpacity = 70;

struct SharedProgress {
    int done = 0;
    int total = 1;
    int step = 1;
    int steps = 1;
    QString text;
    int ended = 0;
};

std::mutex& SharedLock() {
    static std::mutex lock;
    return lock;
}

SharedProgress& Shared() {
    static SharedProgress state;
    return state;
}

} // namespace

CProgressWnd::CProgressWnd(QWidget* owner) : CBaseWnd(nullptr) {
    // A top-level tool window above its owner, without a frame, so that the rounded mask is all it shows.
    setParent(owner, Qt::Tool | Qt::FramelessWindowHint);
    setObjectName(QStringLiteral("ProgressWnd"));
}

CProgressWnd::~CProgressWnd() = default;

void CProgressWnd::InitProgressInfo(int steps) {
    std::lock_guard<std::mutex> guard(SharedLock());
    SharedProgress& s = Shared();
    s.done = 0;
    s.total = 1;
    s.step = 1;
    s.steps = std::max(steps, 1);
    s.text.clear();
    s.ended = 0;
}

int CProgressWnd::IsProgressEnded() {
    std::lock_guard<std::mutex> guard(SharedLock());
    return Shared().ended;
}

void CProgressWnd::EndProgress() {
    std::lock_guard<std::mutex> guard(SharedLock());
    Shared().ended = 1;
}

void CProgressWnd::UpdateProgressStep(int step) {
    std::lock_guard<std::mutex> guard(SharedLock());
    Shared().step = step;
    Shared().done = 0;
}

void CProgressWnd::UpdateStepProgress(int done, int total) {
    std::lock_guard<std::mutex> guard(SharedLock());
    Shared().done = done;
    Shared().total = total;
}

int CProgressWnd::NextProgressStep() {
    std::lock_guard<std::mutex> guard(SharedLock());
    Shared().done = 0;
    return ++Shared().step;
}

void CProgressWnd::SetProgressText(const QString& text) {
    std::lock_guard<std::mutex> guard(SharedLock());
    Shared().text = text;
}

QString CProgressWnd::GetProgressText() {
    std::lock_guard<std::mutex> guard(SharedLock());
    return Shared().text;
}

int CProgressWnd::Show(const QRect& rect) {
    if (IsWindow())
        return 0;
    QRect place = rect;
    const auto dpi = MonitorDpi(parentWidget() ? parentWidget() : this);
    place.setWidth(std::max(place.width(), CUISizeInfo::Scale(kMinSide, dpi.first)));
    place.setHeight(std::max(place.height(), CUISizeInfo::Scale(kMinSide, dpi.second)));
    return Create(parentWidget(), place, 0, 1);
}

void CProgressWnd::OnInitWnd() {
    SetBkColor(CUIColorSchema::FromColorRef(UIColors().bkDefault));
    ApplyRoundedMask(GetClientWidth(), GetClientHeight());
    SetOpacity(kOpacity);
    Update();
    SetTimer(kTimerId, kTimerMs);
}

void CProgressWnd::OnSize(unsigned type, int cx, int cy) {
    CBaseWnd::OnSize(type, cx, cy);
    if (IsWindow())
        ApplyRoundedMask(cx, cy);
}

void CProgressWnd::ApplyRoundedMask(int width, int height) {
    if (width <= 0 || height <= 0)
        return;
    const int corner = ScaleByDpi(kWndCorner);
    QPainterPath path;
    path.addRoundedRect(QRectF(0, 0, width, height), corner, corner);
    setMask(QRegion(path.toFillPolygon().toPolygon()));
}

void CProgressWnd::OnTimer(uintptr_t id) {
    if (id != kTimerId)
        return;
    if (IsProgressEnded()) {
        KillTimer(kTimerId);
        if (QWidget* owner = parentWidget())
            owner->setEnabled(true);
        DestroyWindow();
        return;
    }
    Update();
}

void CProgressWnd::Update() {
    Progress p;
    QString text;
    {
        std::lock_guard<std::mutex> guard(SharedLock());
        const SharedProgress& s = Shared();
        p = Progress{s.done, s.total, s.step, s.steps};
        text = s.text;
    }
    p.steps = std::max(p.steps, 1);
    p.step = std::max(p.step, 1);
    p.total = std::max(p.total, 1);
    p.done = std::clamp(p.done, 0, p.total);
    if (p.step > p.steps) {
        p.step = p.steps;
        p.done = p.total;
    }
    m_painted = p;
    m_paintedText = text;
    if (isVisible())
        Redraw();
}

int CProgressWnd::BarWidth(int clientWidth) const {
    const int inner = std::max(0, clientWidth - 2 * ScaleByDpi(kBarInset));
    const Progress& p = m_painted;
    const double fraction = (p.step + static_cast<double>(p.done) / p.total - 1.0) / p.steps;
    return static_cast<int>(std::floor(inner * fraction + 0.5));
}

QString CProgressWnd::StepText(const Progress& progress) {
    if (progress.steps <= 1)
        return QString();
    return QStringLiteral("%1/%2").arg(progress.step).arg(progress.steps);
}

void CProgressWnd::OnPaint(QPainter& painter, int width, int height) {
    const int inset = ScaleByDpi(kBarInset);
    if (height <= 2 * inset)
        return;
    const int barWidth = BarWidth(width);
    if (barWidth > 0) {
        const int corner = ScaleByDpi(kBarCorner);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(CUIColorSchema::FromColorRef(UIColors().bkLight));
        painter.drawRoundedRect(QRectF(inset, inset, barWidth, height - 2 * inset), corner, corner);
    }
    // The text on the left and the step on the right, over the bar, inside the same inset.
    const QString step = StepText(m_painted);
    if (m_paintedText.isEmpty() && step.isEmpty())
        return;
    if (const QFont* font = GetFontPtr())
        painter.setFont(*font);
    painter.setPen(CUIColorSchema::FromColorRef(UIColors().textHighlight));
    const QRect inner(2 * inset, inset, std::max(0, width - 4 * inset), height - 2 * inset);
    int stepWidth = 0;
    if (!step.isEmpty()) {
        stepWidth = painter.fontMetrics().horizontalAdvance(step);
        painter.drawText(inner, Qt::AlignRight | Qt::AlignVCenter, step);
    }
    QRect textRect = inner;
    textRect.setRight(inner.right() - (stepWidth > 0 ? stepWidth + inset : 0));
    const QString elided = painter.fontMetrics().elidedText(m_paintedText, Qt::ElideRight, textRect.width());
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter, elided);
}

} // namespace KELCTRL
