#pragma once
// A drop-down list: the selected item's text with an arrow. A click, Space, Enter or F4 opens the
// list; Up and Down (and the wheel) step through the items. Whenever the user changes the selection
// the parent hears WM_COMMAND with CBN_SELCHANGE; SetCurSel changes it silently. The text given at
// creation shows while nothing is selected.
#include "ui/CCtrlWnd.h"

#include <QStringList>

class QMenu;

namespace KELCTRL {

class CComboBox : public CCtrlWnd {
public:
    explicit CComboBox(QWidget* parent = nullptr);
    ~CComboBox() override;

    // Returns the new item's index.
    int AddString(const QString& text);
    void ResetContent();
    int GetCount() const { return int(m_items.size()); }
    // -1 selects nothing; an index outside the list is refused (returns -1, selection kept).
    int SetCurSel(int index);
    int GetCurSel() const { return m_curSel; }
    // The item's text, empty outside the list.
    QString GetLBText(int index) const;

    // Opens the list under the control. The list is kept until the control goes.
    void ShowDropDown();
    // The open or last opened list; null before the first opening.
    QMenu* GetDropDown() const { return m_dropDown; }

protected:
    void OnPaint(QPainter& painter, int width, int height) override;
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnKeyDown(unsigned key, unsigned repeat, unsigned flags) override;
    int OnMouseWheel(unsigned flags, short delta, const QPoint& point) override;

private:
    // The user's choice: selects and tells the parent when it changed.
    void SelectByUser(int index);

    QStringList m_items;
    int m_curSel = -1;
    QMenu* m_dropDown = nullptr;
};

} // namespace KELCTRL
