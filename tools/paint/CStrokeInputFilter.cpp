#include "tools/paint/CStrokeInputFilter.h"

#include "common/MouseTracker.h"

#include <QCoreApplication>
#include <QMouseEvent>

namespace KELCTRL {
namespace IMGWND_TOOL {

CStrokeInputFilter::CStrokeInputFilter(GS_INPUT::MouseTracker& tracker) : m_tracker(tracker) {}

CStrokeInputFilter::~CStrokeInputFilter() {
    End();
}

void CStrokeInputFilter::Begin() {
    QCoreApplication* app = QCoreApplication::instance();
    if (m_active || !app)
        return;
    m_compressionWas = QCoreApplication::testAttribute(Qt::AA_CompressHighFrequencyEvents);
    QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
    app->installEventFilter(this);
    m_active = true;
}

void CStrokeInputFilter::End() {
    if (!m_active)
        return;
    if (QCoreApplication* app = QCoreApplication::instance())
        app->removeEventFilter(this);
    QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, m_compressionWas);
    m_active = false;
}

bool CStrokeInputFilter::eventFilter(QObject* watched, QEvent* event) {
    // A move that propagates to parent widgets is seen more than once; the tracker drops repeats.
    switch (event->type()) {
    case QEvent::MouseMove: {
        const QPoint p = static_cast<QMouseEvent*>(event)->globalPosition().toPoint();
        m_tracker.FeedMove(p.x(), p.y());
        break;
    }
    case QEvent::MouseButtonRelease:
        if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton)
            m_tracker.FeedRelease();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
