#pragma once
// A radio button. Radio buttons with the same parent and the same group number form a group in
// which at most one is checked: checking one unchecks the others. A press checks it and then tells
// the parent (WM_COMMAND, BN_CLICKED).
#include "ui/CCheckBox.h"

namespace KELCTRL {

class CRadioButton : public CCheckBox {
public:
    explicit CRadioButton(QWidget* parent = nullptr);

    // Group 0 unless set.
    void SetGroup(int group) { m_group = group; }
    int GetGroup() const { return m_group; }
    // Checking unchecks the rest of the group.
    void SetCheck(int check) override;

protected:
    void OnPressed() override;
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    int m_group = 0;
};

} // namespace KELCTRL
