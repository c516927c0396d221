#include "ui/LabelSliderEdit.h"

#include "ui/CLabel.h"
#include "ui/CSlider.h"
#include "ui/CUISizeInfo.h"
#include "ui/CValueEdit.h"

#include <QRect>

#include <algorithm>

namespace KELCTRL {

int CreateLabelSliderEdit(CLabel& label, CSlider& slider, CValueEdit& edit, const QString& text,
                          CBaseWnd* parent, unsigned& id) {
    if (!parent)
        return 0;
    const CUISizeInfo* si = parent->GetUISizeInfo();
    const int rowHeight = si ? si->rowHeight : CSlider::HEIGHT;
    const int labelWidth = si ? si->labelWidth : 70;
    const int editWidth = si ? si->valueEditWidth : 35;
    int ok = label.Create(parent, QRect(-100, 0, labelWidth, rowHeight), 0, text);
    ok &= slider.Create(parent, QRect(-100, 0, 100, rowHeight), id, QString());
    ok &= edit.Create(parent, QRect(-100, 0, editWidth, rowHeight), id + 1, QString());
    id += 2;
    slider.ConnectLabelEdit(&label, &edit);
    return ok;
}

int PlaceLabelSliderEdit(CLabel& label, CSlider& slider, CValueEdit& edit, int top, int width) {
    const CUISizeInfo* si = slider.GetUISizeInfo();
    if (!si)
        return top;
    const int rowHeight = si->rowHeight;
    label.MoveWindow(si->panelMargin, top, si->labelWidth, rowHeight);
    const int sliderLeft = si->SliderLeft();
    slider.MoveWindow(sliderLeft, top, std::max(0, si->SliderRight(width) - sliderLeft), rowHeight);
    edit.MoveWindow(width - si->panelMargin - si->valueEditWidth, top, si->valueEditWidth, rowHeight);
    return top + rowHeight;
}

void SetSliderEditInfo(CSlider& slider, CValueEdit& edit, int minValue, int maxValue, unsigned step,
                       unsigned decimals) {
    slider.SetInfo(minValue, maxValue, step, decimals);
    edit.SetInfo(minValue, maxValue, step, decimals);
}

void SetSliderEditInfo(CSlider& slider, CValueEdit& edit, float minValue, float maxValue, float step,
                       unsigned decimals) {
    slider.SetInfo(minValue, maxValue, step, decimals);
    edit.SetInfo(minValue, maxValue, step, decimals);
}

void SetSliderEditInfo(CSlider& slider, CValueEdit& edit, double minValue, double maxValue, double step,
                       unsigned decimals) {
    slider.SetInfo(minValue, maxValue, step, decimals);
    edit.SetInfo(minValue, maxValue, step, decimals);
}

} // namespace KELCTRL
