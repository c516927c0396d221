#pragma once
// The accelerator table of the application and the names of keys for menus. Entries use the
// virtual-key codes of ui/WinDefs.h and the classic accelerator flags.
#include <QString>

#include <cstdint>
#include <vector>

namespace KELCTRL {

constexpr unsigned short FVIRTKEY = 0x01;
constexpr unsigned short FSHIFT = 0x04;
constexpr unsigned short FCONTROL = 0x08;
constexpr unsigned short FALT = 0x10;

struct ACCEL {
    unsigned short flags = FVIRTKEY;
    unsigned short key = 0;
    unsigned short command = 0;
};

class CHotKeyTable {
public:
    // Appends an entry; the virtual-key flag is always added.
    void Add(unsigned short flags, unsigned short key, unsigned short command);
    void Clear() {
        m_entries.clear();
        m_built = false;
    }
    // Freezes the entries as the table used for lookups. False when there are none.
    bool Build();
    bool IsBuilt() const { return m_built; }
    // The command of a key with its modifier flags (FSHIFT, FCONTROL, FALT), or 0.
    unsigned short Find(unsigned short key, unsigned short modifierFlags) const;
    const std::vector<ACCEL>& Entries() const { return m_entries; }

private:
    std::vector<ACCEL> m_entries;
    bool m_built = false;
};

// "A", "F5", "Left", "Num +" ... for a virtual-key code; empty for unknown codes.
QString GetNameOfKeyboardKey(unsigned key);
// "Ctrl+Shift+S" for an entry's flags and key.
QString HotKey2String(unsigned short flags, unsigned short key);
// A menu text with its hot key after a tab: "Save\tCtrl+S".
QString CreateMenuString(const QString& text, const QString& hotKey);
// The menu text of a command with the first hot key of the table that runs it, or the text alone.
QString CreateMenuStringWithHotKey(const QString& text, unsigned short command, const CHotKeyTable& table);

} // namespace KELCTRL
