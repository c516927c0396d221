#pragma once
// A sub-panel whose value edits adjust the image live. Each edit row calls these hooks: once to set
// the row up, when a drag or edit starts and ends, and for every value on the way.
#include "ui/CSubPanel.h"

namespace KELCTRL {

class CValueEdit;

class CAdjustSubPanel : public CSubPanel {
public:
    explicit CAdjustSubPanel(QWidget* parent = nullptr);

    using CSubPanel::SetupCtrls;
    // Prepares one edit row of the panel.
    virtual void SetupCtrls(CValueEdit* edit);
    // A live adjustment by this edit begins; the base remembers the edit.
    virtual void StartAdjusting(CValueEdit* edit);
    // The adjustment by this edit is over; the base forgets it.
    virtual void EndAdjusting(CValueEdit* edit);
    // The edit's value changed during or outside an adjustment.
    virtual void Adjust(CValueEdit* edit);
    // The edit that is adjusting now, or null.
    CValueEdit* GetAdjustingEdit() const { return m_adjusting; }

private:
    CValueEdit* m_adjusting = nullptr;
};

} // namespace KELCTRL
