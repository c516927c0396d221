#include "app/HotKeys.h"

#include "ui/WinDefs.h"

namespace KELCTRL {

void CHotKeyTable::Add(unsigned short flags, unsigned short key, unsigned short command) {
    m_entries.push_back(ACCEL{static_cast<unsigned short>(flags | FVIRTKEY), key, command});
    m_built = false;
}

bool CHotKeyTable::Build() {
    m_built = !m_entries.empty();
    return m_built;
}

unsigned short CHotKeyTable::Find(unsigned short key, unsigned short modifierFlags) const {
    if (!m_built)
        return 0;
    const unsigned short mods = modifierFlags & (FSHIFT | FCONTROL | FALT);
    for (const ACCEL& a : m_entries)
        if (a.key == key && (a.flags & (FSHIFT | FCONTROL | FALT)) == mods)
            return a.command;
    return 0;
}

QString GetNameOfKeyboardKey(unsigned key) {
    if ((key >= '0' && key <= '9') || (key >= 'A' && key <= 'Z'))
        return QString(QChar(key));
    if (key >= 0x70 && key <= 0x87) // F1 ... F24
        return QStringLiteral("F%1").arg(key - 0x70 + 1);
    if (key >= VK_NUMPAD0 && key <= VK_NUMPAD0 + 9)
        return QStringLiteral("Num %1").arg(key - VK_NUMPAD0);
    switch (key) {
    case VK_BACK:
        return QStringLiteral("Backspace");
    case VK_TAB:
        return QStringLiteral("Tab");
    case VK_RETURN:
        return QStringLiteral("Enter");
    case VK_ESCAPE:
        return QStringLiteral("Esc");
    case VK_SPACE:
        return QStringLiteral("Space");
    case VK_PRIOR:
        return QStringLiteral("Page Up");
    case VK_NEXT:
        return QStringLiteral("Page Down");
    case VK_END:
        return QStringLiteral("End");
    case VK_HOME:
        return QStringLiteral("Home");
    case VK_LEFT:
        return QStringLiteral("Left");
    case VK_UP:
        return QStringLiteral("Up");
    case VK_RIGHT:
        return QStringLiteral("Right");
    case VK_DOWN:
        return QStringLiteral("Down");
    case VK_INSERT:
        return QStringLiteral("Ins");
    case VK_DELETE:
        return QStringLiteral("Del");
    case VK_MULTIPLY:
        return QStringLiteral("Num *");
    case VK_ADD:
        return QStringLiteral("Num +");
    case VK_SUBTRACT:
        return QStringLiteral("Num -");
    case VK_DECIMAL:
        return QStringLiteral("Num .");
    case VK_DIVIDE:
        return QStringLiteral("Num /");
    case 0xBB:
        return QStringLiteral("=");
    case 0xBC:
        return QStringLiteral(",");
    case 0xBD:
        return QStringLiteral("-");
    case 0xBE:
        return QStringLiteral(".");
    case 0xBF:
        return QStringLiteral("/");
    case 0xDB:
        return QStringLiteral("[");
    case 0xDD:
        return QStringLiteral("]");
    default:
        return QString();
    }
}

QString HotKey2String(unsigned short flags, unsigned short key) {
    QString s;
    if (flags & FCONTROL)
        s += QStringLiteral("Ctrl+");
    if (flags & FSHIFT)
        s += QStringLiteral("Shift+");
    if (flags & FALT)
        s += QStringLiteral("Alt+");
    return s + GetNameOfKeyboardKey(key);
}

QString CreateMenuString(const QString& text, const QString& hotKey) {
    return hotKey.isEmpty() ? text : text + QLatin1Char('\t') + hotKey;
}

QString CreateMenuStringWithHotKey(const QString& text, unsigned short command, const CHotKeyTable& table) {
    for (const ACCEL& a : table.Entries())
        if (a.command == command)
            return CreateMenuString(text, HotKey2String(a.flags, a.key));
    return text;
}

} // namespace KELCTRL
