#pragma once
// Message numbers, mouse-key flags and virtual-key codes: the currency in which windows, panels and
// tools talk to each other, whatever the platform delivers underneath.
#include <cstdint>

namespace KELCTRL {

class CBaseWnd;

// Flags passed to every mouse handler: buttons held and modifier keys.
constexpr unsigned MK_LBUTTON = 0x0001;
constexpr unsigned MK_RBUTTON = 0x0002;
constexpr unsigned MK_SHIFT = 0x0004;
constexpr unsigned MK_CONTROL = 0x0008;
constexpr unsigned MK_MBUTTON = 0x0010;
constexpr unsigned MK_XBUTTON1 = 0x0020;
constexpr unsigned MK_XBUTTON2 = 0x0040;

// Flags passed to key handlers (the high word of a key message's long parameter).
constexpr unsigned KF_EXTENDED = 0x0100;
constexpr unsigned KF_ALTDOWN = 0x2000;
constexpr unsigned KF_REPEAT = 0x4000; // the key was already down: an auto-repeat
constexpr unsigned KF_UP = 0x8000;

// One notch of a mouse wheel.
constexpr int WHEEL_DELTA = 120;

// Message numbers understood by the window base.
constexpr unsigned WM_SETREDRAW = 0x000B;
constexpr unsigned WM_SETCURSOR = 0x0020;
constexpr unsigned WM_NOTIFY = 0x004E;
constexpr unsigned WM_KEYDOWN = 0x0100;
constexpr unsigned WM_KEYUP = 0x0101;
constexpr unsigned WM_TIMER = 0x0113;
constexpr unsigned WM_MOUSEMOVE = 0x0200;
constexpr unsigned WM_CAPTURECHANGED = 0x0215;
// The monitor dpi of a window changed: wParam the new dpi (low word x, high word y), lParam a
// const QRect* with the suggested window rectangle, in the parent's coordinates for a child.
constexpr unsigned WM_DPICHANGED = 0x02E0;
constexpr unsigned WM_USER = 0x0400;
// A worker thread's request to repaint a window (handled by OnRedraw).
constexpr unsigned WM_BASEWND_REDRAW = 0x0403;

// Packs a dpi pair the way WM_DPICHANGED carries it.
constexpr uintptr_t MakeDpiWParam(unsigned dpiX, unsigned dpiY) {
    return static_cast<uintptr_t>((dpiX & 0xFFFF) | (dpiY & 0xFFFF) << 16);
}

// Hit-test code of the client area, passed to OnSetCursor.
constexpr unsigned HTCLIENT = 1;

// Virtual-key codes.
constexpr unsigned VK_LBUTTON = 0x01;
constexpr unsigned VK_RBUTTON = 0x02;
constexpr unsigned VK_MBUTTON = 0x04;
constexpr unsigned VK_BACK = 0x08;
constexpr unsigned VK_TAB = 0x09;
constexpr unsigned VK_CLEAR = 0x0C;
constexpr unsigned VK_RETURN = 0x0D;
constexpr unsigned VK_SHIFT = 0x10;
constexpr unsigned VK_CONTROL = 0x11;
constexpr unsigned VK_MENU = 0x12; // Alt
constexpr unsigned VK_PAUSE = 0x13;
constexpr unsigned VK_CAPITAL = 0x14;
constexpr unsigned VK_ESCAPE = 0x1B;
constexpr unsigned VK_SPACE = 0x20;
constexpr unsigned VK_PRIOR = 0x21;
constexpr unsigned VK_NEXT = 0x22;
constexpr unsigned VK_END = 0x23;
constexpr unsigned VK_HOME = 0x24;
constexpr unsigned VK_LEFT = 0x25;
constexpr unsigned VK_UP = 0x26;
constexpr unsigned VK_RIGHT = 0x27;
constexpr unsigned VK_DOWN = 0x28;
constexpr unsigned VK_SNAPSHOT = 0x2C;
constexpr unsigned VK_INSERT = 0x2D;
constexpr unsigned VK_DELETE = 0x2E;
constexpr unsigned VK_HELP = 0x2F;
// '0'..'9' are 0x30..0x39 and 'A'..'Z' are 0x41..0x5A.
constexpr unsigned VK_LWIN = 0x5B;
constexpr unsigned VK_APPS = 0x5D;
constexpr unsigned VK_NUMPAD0 = 0x60;
constexpr unsigned VK_MULTIPLY = 0x6A;
constexpr unsigned VK_ADD = 0x6B;
constexpr unsigned VK_SEPARATOR = 0x6C;
constexpr unsigned VK_SUBTRACT = 0x6D;
constexpr unsigned VK_DECIMAL = 0x6E;
constexpr unsigned VK_DIVIDE = 0x6F;
constexpr unsigned VK_F1 = 0x70;
constexpr unsigned VK_F10 = 0x79;
constexpr unsigned VK_F24 = 0x87;
constexpr unsigned VK_NUMLOCK = 0x90;
constexpr unsigned VK_SCROLL = 0x91;
constexpr unsigned VK_OEM_1 = 0xBA;      // ';'
constexpr unsigned VK_OEM_PLUS = 0xBB;   // '='
constexpr unsigned VK_OEM_COMMA = 0xBC;  // ','
constexpr unsigned VK_OEM_MINUS = 0xBD;  // '-'
constexpr unsigned VK_OEM_PERIOD = 0xBE; // '.'
constexpr unsigned VK_OEM_2 = 0xBF;      // '/'
constexpr unsigned VK_OEM_3 = 0xC0;      // '`'
constexpr unsigned VK_OEM_4 = 0xDB;      // '['
constexpr unsigned VK_OEM_5 = 0xDC;      // '\'
constexpr unsigned VK_OEM_6 = 0xDD;      // ']'
constexpr unsigned VK_OEM_7 = 0xDE;      // '\''

// Header of every notification a window sends to its parent with WM_NOTIFY; the payload follows it.
struct NMHDR {
    CBaseWnd* hwndFrom = nullptr;
    uintptr_t idFrom = 0;
    unsigned code = 0;
};

} // namespace KELCTRL
