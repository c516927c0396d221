#pragma once
// A parent window that records what its controls send it, and helpers to look at rendered controls.
#include "QtTestSupport.h"
#include "ui/CBaseWnd.h"
#include "ui/CtrlDefs.h"

#include <QImage>

#include <cstdint>
#include <vector>

namespace kel_ctrl_test {

struct Message {
    unsigned msg = 0;
    uintptr_t wParam = 0;
    intptr_t lParam = 0;
    unsigned notifyCode = 0; // WM_NOTIFY only
};

class RecorderWnd : public KELCTRL::CBaseWnd {
public:
    std::vector<Message> log;
    // Messages of one number, in order.
    std::vector<Message> Of(unsigned msg) const {
        std::vector<Message> out;
        for (const Message& m : log)
            if (m.msg == msg)
                out.push_back(m);
        return out;
    }

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override {
        Message m{msg, wParam, lParam, 0};
        if (msg == KELCTRL::WM_NOTIFY)
            m.notifyCode = reinterpret_cast<const KELCTRL::NMHDR*>(lParam)->code;
        if (msg == KELCTRL::WM_COMMAND || msg == KELCTRL::WM_HSCROLL || msg == KELCTRL::WM_NOTIFY)
            log.push_back(m);
        return KELCTRL::CBaseWnd::WindowProc(msg, wParam, lParam);
    }
};

// Pixels of the image with exactly this colour.
inline int CountColor(const QImage& image, QRgb color, QRect area = QRect()) {
    if (area.isNull())
        area = image.rect();
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if ((image.pixel(x, y) & 0xFFFFFF) == (color & 0xFFFFFF))
                ++n;
    return n;
}

// Makes the window the active one so that its controls can take the keyboard focus.
inline bool Activate(QWidget& window) {
    window.show();
    window.activateWindow();
    QApplication::setActiveWindow(&window);
    return kel_qt_test::PumpUntil([&] { return window.isActiveWindow(); }, 2000);
}

inline void PressKey(QWidget& target, int key) {
    kel_qt_test::SendKey(target, QEvent::KeyPress, key);
    kel_qt_test::SendKey(target, QEvent::KeyRelease, key);
}

} // namespace kel_ctrl_test
