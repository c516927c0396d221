#pragma once
// The application-wide filter in front of every window: wheel events go to the window under the
// pointer, hot keys run their commands (never inside edit controls, never with a disabled main window
// or a mouse button held), and the main window's restored placement is tracked for settings.xml.
#include <QObject>

class QKeyEvent;
class QWheelEvent;
class QWidget;

namespace KELCTRL {

class CPhotoEditorApp;

class CAppEventFilter : public QObject {
public:
    explicit CAppEventFilter(CPhotoEditorApp& app);
    bool eventFilter(QObject* watched, QEvent* event) override;

    // Whether a widget takes text, so that keys belong to it and not to the accelerators.
    static bool IsEditControl(const QWidget* widget);

private:
    bool OnKeyPress(QObject* watched, QKeyEvent* event);
    bool OnWheel(QObject* watched, QWheelEvent* event);

    CPhotoEditorApp& m_app;
    bool m_redirecting = false;
};

} // namespace KELCTRL
