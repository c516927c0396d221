#pragma once
// Translation of Qt input into the flags, key codes and wheel deltas that handlers receive, done in
// one place so that every window and tool sees the same values.
#include <Qt>

class QWheelEvent;

namespace KELCTRL {

// MK_* flags from the buttons held and the modifiers.
unsigned MouseKeyFlags(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers);
// The virtual-key code of a Qt key, or 0 for a key without one. Shifted symbols map to the key that
// carries them on a US layout ('!' is the 1 key), keypad keys to the numeric-pad codes.
unsigned VirtualKeyFromQt(int qtKey, Qt::KeyboardModifiers modifiers);
// Whether the key goes to the system-key handlers: Alt itself, anything with Alt held, and F10.
bool IsSystemKey(unsigned vk, Qt::KeyboardModifiers modifiers);
// The KF_* flags of a key message.
unsigned KeyMessageFlags(bool down, bool autoRepeat, bool altDown);
// The vertical wheel movement, 120 per notch, clamped to a short.
short WheelDelta(const QWheelEvent& event);

} // namespace KELCTRL
