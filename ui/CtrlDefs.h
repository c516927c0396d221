#pragma once
// Messages and notification codes by which the owner-drawn controls talk to their parent.
#include <cstdint>

namespace KELCTRL {

// A control was used: wParam low word the control id, high word the notification code; lParam the
// control (CBaseWnd*).
constexpr unsigned WM_COMMAND = 0x0111;
// A horizontal slider moved: wParam low word the request code, high word the low 16 bits of the
// value (receivers call GetValue() for the whole value); lParam the slider (CBaseWnd*).
constexpr unsigned WM_HSCROLL = 0x0114;

// WM_COMMAND codes.
constexpr unsigned BN_CLICKED = 0;    // button, check box, radio button, label
constexpr unsigned CBN_SELCHANGE = 1; // combo box: the selected item changed

// WM_HSCROLL request codes.
constexpr unsigned SB_THUMBTRACK = 5;
constexpr unsigned SB_ENDSCROLL = 8;

constexpr uintptr_t MakeCommandWParam(unsigned id, unsigned code) {
    return static_cast<uintptr_t>((id & 0xFFFF) | (code & 0xFFFF) << 16);
}
constexpr unsigned LowWord(uintptr_t v) {
    return static_cast<unsigned>(v & 0xFFFF);
}
constexpr unsigned HighWord(uintptr_t v) {
    return static_cast<unsigned>((v >> 16) & 0xFFFF);
}

} // namespace KELCTRL
