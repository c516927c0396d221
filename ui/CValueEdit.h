#pragma once
// A small edit field for a scaled integer value (value x 10^decimals, at most two decimals), kept in
// step with a slider. Typing a text that reads as a number changes the value at once; any other text
// changes nothing and is replaced by the value when the field loses the focus. The parent hears
// WM_NOTIFY with NOTIFY_EDIT_CHANGE when typing, Up and Down or the wheel change the value, and
// NOTIFY_END_EDIT when the editing ends (Enter, Escape or the focus leaving).
#include "ui/CCtrlWnd.h"

namespace KELCTRL {

class CValueEditCtrl;

class CValueEdit : public CCtrlWnd {
public:
    static constexpr unsigned NOTIFY_EDIT_CHANGE = 112;
    static constexpr unsigned NOTIFY_END_EDIT = 113;
    static constexpr int HEIGHT = 16;

    explicit CValueEdit(QWidget* parent = nullptr);
    ~CValueEdit() override;

    // As the slider's: the range at least one unit wide, the step between 1 and the range, at most
    // two decimals; the value kept inside.
    void SetInfo(int minValue, int maxValue, unsigned step, unsigned decimals);
    void SetInfo(float minValue, float maxValue, float step, unsigned decimals);
    void SetInfo(double minValue, double maxValue, double step, unsigned decimals);
    // Clamped; shows the value and tells the connected controls, not the parent.
    void SetValue(int value);
    void SetValue(float value);
    void SetValue(double value);
    int GetValue() const { return m_value; }
    float GetValueF() const { return static_cast<float>(m_value / m_scale); }
    double GetValueD() const { return m_value / m_scale; }
    int GetMin() const { return m_minValue; }
    int GetMax() const { return m_maxValue; }
    int GetStep() const { return m_step; }
    int GetDecimals() const { return m_decimals; }

    CValueEditCtrl* GetEditCtrl() const { return m_edit; }
    // The text in the field as it stands.
    QString GetText() const override;
    // Ignored: the text always comes from the value or from typing.
    void SetText(const QString& text) override;

    int OnBrotherNotify(IConnectedCtrl* from, unsigned code, void* data) override;
    void SetHighlight(int highlight) override;

    // Called by the edit inside.
    void OnEnChange();
    void OnEnKillFocus();
    // direction +1 or -1; by the step when useStep is set, else by one unit.
    void OnEditCtrlScroll(int direction, int useStep);
    void OnEndEdit();
    void OnEditHover(int hover);

protected:
    void OnInitWnd() override;
    void AdjustCtrls(int width, int height) override;
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    // Writes the value's text into the field, selected, and tells the connected controls.
    void OutputValue();
    // Reads the field; 0 (value unchanged) when the text is not a number.
    int CalcInput();
    void ApplyColors();
    void Notify(unsigned code);

    CValueEditCtrl* m_edit = nullptr;
    int m_minValue = -100;
    int m_maxValue = 100;
    int m_step = 1;
    int m_decimals = 0;
    int m_value = 0;
    double m_scale = 1.0;
    bool m_internalChange = false;
    // Set while Enter or Escape ends the editing, so that the focus leaving does not end it twice.
    bool m_endingEdit = false;
    QString m_lastText = QStringLiteral("0");
};

} // namespace KELCTRL
