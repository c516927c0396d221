#include "ui/InputMapping.h"

#include "ui/WinDefs.h"

#include <QWheelEvent>

#include <algorithm>

namespace KELCTRL {

unsigned MouseKeyFlags(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {
    unsigned flags = 0;
    if (buttons & Qt::LeftButton)
        flags |= MK_LBUTTON;
    if (buttons & Qt::RightButton)
        flags |= MK_RBUTTON;
    if (buttons & Qt::MiddleButton)
        flags |= MK_MBUTTON;
    if (buttons & Qt::XButton1)
        flags |= MK_XBUTTON1;
    if (buttons & Qt::XButton2)
        flags |= MK_XBUTTON2;
    if (modifiers & Qt::ShiftModifier)
        flags |= MK_SHIFT;
    if (modifiers & Qt::ControlModifier)
        flags |= MK_CONTROL;
    return flags;
}

namespace {

unsigned KeypadKey(int qtKey) {
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
        return VK_NUMPAD0 + static_cast<unsigned>(qtKey - Qt::Key_0);
    switch (qtKey) {
    case Qt::Key_Asterisk:
        return VK_MULTIPLY;
    case Qt::Key_Plus:
        return VK_ADD;
    case Qt::Key_Minus:
        return VK_SUBTRACT;
    case Qt::Key_Period:
    case Qt::Key_Comma:
        return VK_DECIMAL;
    case Qt::Key_Slash:
        return VK_DIVIDE;
    default:
        return 0;
    }
}

// Symbols typed with Shift on a US layout, mapped to the key that carries them.
unsigned ShiftedSymbolKey(int qtKey) {
    switch (qtKey) {
    case Qt::Key_Exclam:
        return '1';
    case Qt::Key_At:
        return '2';
    case Qt::Key_NumberSign:
        return '3';
    case Qt::Key_Dollar:
        return '4';
    case Qt::Key_Percent:
        return '5';
    case Qt::Key_AsciiCircum:
        return '6';
    case Qt::Key_Ampersand:
        return '7';
    case Qt::Key_Asterisk:
        return '8';
    case Qt::Key_ParenLeft:
        return '9';
    case Qt::Key_ParenRight:
        return '0';
    case Qt::Key_Colon:
        return VK_OEM_1;
    case Qt::Key_Plus:
        return VK_OEM_PLUS;
    case Qt::Key_Less:
        return VK_OEM_COMMA;
    case Qt::Key_Underscore:
        return VK_OEM_MINUS;
    case Qt::Key_Greater:
        return VK_OEM_PERIOD;
    case Qt::Key_Question:
        return VK_OEM_2;
    case Qt::Key_AsciiTilde:
        return VK_OEM_3;
    case Qt::Key_BraceLeft:
        return VK_OEM_4;
    case Qt::Key_Bar:
        return VK_OEM_5;
    case Qt::Key_BraceRight:
        return VK_OEM_6;
    case Qt::Key_QuoteDbl:
        return VK_OEM_7;
    default:
        return 0;
    }
}

unsigned PlainKey(int qtKey) {
    if (qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z)
        return 'A' + static_cast<unsigned>(qtKey - Qt::Key_A);
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
        return '0' + static_cast<unsigned>(qtKey - Qt::Key_0);
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F24)
        return VK_F1 + static_cast<unsigned>(qtKey - Qt::Key_F1);
    switch (qtKey) {
    case Qt::Key_Backspace:
        return VK_BACK;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return VK_TAB;
    case Qt::Key_Clear:
        return VK_CLEAR;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return VK_RETURN;
    case Qt::Key_Shift:
        return VK_SHIFT;
    case Qt::Key_Control:
        return VK_CONTROL;
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
        return VK_MENU;
    case Qt::Key_Pause:
        return VK_PAUSE;
    case Qt::Key_CapsLock:
        return VK_CAPITAL;
    case Qt::Key_Escape:
        return VK_ESCAPE;
    case Qt::Key_Space:
        return VK_SPACE;
    case Qt::Key_PageUp:
        return VK_PRIOR;
    case Qt::Key_PageDown:
        return VK_NEXT;
    case Qt::Key_End:
        return VK_END;
    case Qt::Key_Home:
        return VK_HOME;
    case Qt::Key_Left:
        return VK_LEFT;
    case Qt::Key_Up:
        return VK_UP;
    case Qt::Key_Right:
        return VK_RIGHT;
    case Qt::Key_Down:
        return VK_DOWN;
    case Qt::Key_Print:
        return VK_SNAPSHOT;
    case Qt::Key_Insert:
        return VK_INSERT;
    case Qt::Key_Delete:
        return VK_DELETE;
    case Qt::Key_Help:
        return VK_HELP;
    case Qt::Key_Meta:
        return VK_LWIN;
    case Qt::Key_Menu:
        return VK_APPS;
    case Qt::Key_NumLock:
        return VK_NUMLOCK;
    case Qt::Key_ScrollLock:
        return VK_SCROLL;
    case Qt::Key_Semicolon:
        return VK_OEM_1;
    case Qt::Key_Equal:
        return VK_OEM_PLUS;
    case Qt::Key_Comma:
        return VK_OEM_COMMA;
    case Qt::Key_Minus:
        return VK_OEM_MINUS;
    case Qt::Key_Period:
        return VK_OEM_PERIOD;
    case Qt::Key_Slash:
        return VK_OEM_2;
    case Qt::Key_QuoteLeft:
        return VK_OEM_3;
    case Qt::Key_BracketLeft:
        return VK_OEM_4;
    case Qt::Key_Backslash:
        return VK_OEM_5;
    case Qt::Key_BracketRight:
        return VK_OEM_6;
    case Qt::Key_Apostrophe:
        return VK_OEM_7;
    default:
        return ShiftedSymbolKey(qtKey);
    }
}

} // namespace

unsigned VirtualKeyFromQt(int qtKey, Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::KeypadModifier) {
        if (const unsigned vk = KeypadKey(qtKey))
            return vk;
    }
    return PlainKey(qtKey);
}

bool IsSystemKey(unsigned vk, Qt::KeyboardModifiers modifiers) {
    return vk == VK_MENU || vk == VK_F10 || (modifiers & Qt::AltModifier);
}

unsigned KeyMessageFlags(bool down, bool autoRepeat, bool altDown) {
    unsigned flags = 0;
    if (altDown)
        flags |= KF_ALTDOWN;
    if (!down)
        flags |= KF_UP | KF_REPEAT; // a released key was down before
    else if (autoRepeat)
        flags |= KF_REPEAT;
    return flags;
}

short WheelDelta(const QWheelEvent& event) {
    // Qt reports eighths of a degree; one 15-degree notch is 120, the classic wheel unit.
    const int delta = event.angleDelta().y();
    return static_cast<short>(std::clamp(delta, -32768, 32767));
}

} // namespace KELCTRL
