#pragma once
// The numeric control row of the panels: a label, a slider and a value edit, created together,
// connected so that they keep one value and light up together, and placed across a panel's width.
#include <QString>

namespace KELCTRL {

class CBaseWnd;
class CLabel;
class CSlider;
class CValueEdit;

// Creates the three as children of parent, off-view at x = -100 until placed, in a row of the
// parent's row height: the slider gets id, the edit id + 1, and id advances by two (the label has
// no id of its own). Returns 1 when all three were created.
int CreateLabelSliderEdit(CLabel& label, CSlider& slider, CValueEdit& edit, const QString& text,
                          CBaseWnd* parent, unsigned& id);
// Places the row at top across width: the label at the panel margin, the slider from
// CUISizeInfo::SliderLeft() to SliderRight(width), the edit against the right margin. Returns the y
// under the row.
int PlaceLabelSliderEdit(CLabel& label, CSlider& slider, CValueEdit& edit, int top, int width);
// The same range on both controls.
void SetSliderEditInfo(CSlider& slider, CValueEdit& edit, int minValue, int maxValue, unsigned step,
                       unsigned decimals);
void SetSliderEditInfo(CSlider& slider, CValueEdit& edit, float minValue, float maxValue, float step,
                       unsigned decimals);
void SetSliderEditInfo(CSlider& slider, CValueEdit& edit, double minValue, double maxValue, double step,
                       unsigned decimals);

} // namespace KELCTRL
