#include "demo/CAdjustPanel.h"

#include "app/DictText.h"
#include "ui/CUISizeInfo.h"
#include "ui/CtrlDefs.h"
#include "ui/LabelSliderEdit.h"

#include <QEvent>

namespace kelphoto {

using namespace KELCTRL;

CAdjustPanel::CAdjustPanel() {
    SetTextButtons({IDC_RESET});
}

CAdjustPanel::~CAdjustPanel() = default;

void CAdjustPanel::OnInitWnd() {
    unsigned id = IDC_EXPOSURE;
    CreateLabelSliderEdit(m_exposureLabel, m_exposure, m_exposureEdit, GetDictText("IDS_KELPHOTO_EXPOSURE"),
                          this, id);
    SetSliderEditInfo(m_exposure, m_exposureEdit, -3.0, 3.0, 0.1, 2); // EV; the wheel moves a tenth
    CreateLabelSliderEdit(m_contrastLabel, m_contrast, m_contrastEdit, GetDictText("IDS_KELPHOTO_CONTRAST"),
                          this, id);
    SetSliderEditInfo(m_contrast, m_contrastEdit, -100, 100, 5, 0);
    m_brush.Create(this, QRect(-100, 0, 10, 10), IDC_BRUSH, GetDictText("IDS_KELPHOTO_BRUSH"));
    // A drag is a live preview of the visible part; its end is seen on the sliders themselves.
    m_exposure.installEventFilter(this);
    m_contrast.installEventFilter(this);
}

int CAdjustPanel::GetHeight(const CUISizeInfo* s) {
    if (!s)
        return CSubPanel::GetHeight(s);
    const int row = s->rowHeight + s->ctrlGap;
    return s->panelMargin + 3 * row + s->ctrlGap + s->buttonHeight + s->panelMargin;
}

void CAdjustPanel::AdjustCtrls(int width, int height) {
    CSubPanel::AdjustCtrls(width, height);
    const CUISizeInfo* s = GetUISizeInfo();
    if (!s || !m_brush.IsWindow())
        return;
    int y = s->panelMargin;
    y = PlaceLabelSliderEdit(m_exposureLabel, m_exposure, m_exposureEdit, y, width) + s->ctrlGap;
    y = PlaceLabelSliderEdit(m_contrastLabel, m_contrast, m_contrastEdit, y, width) + s->ctrlGap;
    m_brush.MoveWindow(s->panelMargin, y, width - 2 * s->panelMargin, s->rowHeight);
    y += s->rowHeight + 2 * s->ctrlGap;
    PlaceTextButtonsRB(y, width - s->panelMargin, 0);
}

void CAdjustPanel::SetAdjustment(const ADJUSTMENT& a) {
    // Connected controls keep each other in step; neither tells the parent of a programmatic change.
    m_exposure.SetValue(a.exposure);
    m_contrast.SetValue(a.contrast);
}

ADJUSTMENT CAdjustPanel::GetAdjustment() const {
    ADJUSTMENT a;
    a.exposure = m_exposure.GetValueD();
    a.contrast = m_contrast.GetValue();
    return a;
}

void CAdjustPanel::SetBrushChecked(bool on) {
    if (m_brush.GetCheck() != (on ? 1 : 0))
        m_brush.SetCheck(on ? 1 : 0);
}

void CAdjustPanel::Report() {
    if (m_callbacks.changed)
        m_callbacks.changed(GetAdjustment());
}

intptr_t CAdjustPanel::WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (msg == WM_HSCROLL) {
        const auto* slider = reinterpret_cast<const CBaseWnd*>(lParam);
        const bool tracking = (slider == &m_exposure && m_exposure.IsTracking()) ||
                              (slider == &m_contrast && m_contrast.IsTracking());
        if (tracking && !m_dragging) {
            m_dragging = true;
            if (m_callbacks.dragStarted)
                m_callbacks.dragStarted();
        }
        Report();
        return 0;
    }
    if (msg == WM_COMMAND && LowWord(wParam) == IDC_BRUSH && HighWord(wParam) == BN_CLICKED) {
        if (m_callbacks.brushToggled)
            m_callbacks.brushToggled(m_brush.GetCheck() != 0);
        return 0;
    }
    return CSubPanel::WindowProc(msg, wParam, lParam);
}

intptr_t CAdjustPanel::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    if (header && header->code == CValueEdit::NOTIFY_EDIT_CHANGE &&
        (ctrlId == IDC_EXPOSURE + 1 || ctrlId == IDC_CONTRAST + 1)) {
        Report();
        return 0;
    }
    return CSubPanel::OnNotify(ctrlId, header);
}

bool CAdjustPanel::eventFilter(QObject* watched, QEvent* event) {
    const bool ended = event->type() == QEvent::MouseButtonRelease || event->type() == QEvent::FocusOut;
    if (ended && m_dragging && (watched == &m_exposure || watched == &m_contrast)) {
        m_dragging = false;
        if (m_callbacks.dragEnded)
            m_callbacks.dragEnded();
    }
    return CSubPanel::eventFilter(watched, event);
}

void CAdjustPanel::OnReset() {
    SetAdjustment(ADJUSTMENT());
    Report();
}

} // namespace kelphoto
