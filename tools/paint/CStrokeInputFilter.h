#pragma once
// Feeds the mouse tracker while a stroke runs: every pointer move and the left button release seen
// anywhere in the application, in global (screen) coordinates, so the stroke goes on outside the
// window. Qt's compression of move events is off for the length of the stroke.
#include <QObject>

namespace GS_INPUT {
class MouseTracker;
}

namespace KELCTRL {
namespace IMGWND_TOOL {

class CStrokeInputFilter : public QObject {
public:
    explicit CStrokeInputFilter(GS_INPUT::MouseTracker& tracker);
    ~CStrokeInputFilter() override;

    // Interface thread only. Begin installs the filter on the application; End removes it and puts
    // the compression setting back as it was.
    void Begin();
    void End();
    bool IsActive() const { return m_active; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    GS_INPUT::MouseTracker& m_tracker;
    bool m_active = false;
    bool m_compressionWas = false;
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
