#pragma once
// The "Adjust" entry of kelphoto's side panel: exposure and contrast rows (label, slider, value
// edit), the brush switch, and Reset. It only reports what the user does; the main window applies it.
#include "demo/CPhotoAdjustment.h"
#include "ui/CCheckBox.h"
#include "ui/CLabel.h"
#include "ui/CSlider.h"
#include "ui/CSubPanel.h"
#include "ui/CValueEdit.h"

#include <functional>

namespace kelphoto {

class CAdjustPanel : public KELCTRL::CSubPanel {
public:
    struct Callbacks {
        // A value changed while the user drags, types or scrolls.
        std::function<void(const ADJUSTMENT&)> changed;
        // A slider drag starts and ends: the canvas previews the visible part in between.
        std::function<void()> dragStarted;
        std::function<void()> dragEnded;
        std::function<void(bool)> brushToggled;
    };

    static constexpr unsigned IDC_EXPOSURE = IDC_BASE;     // its edit is IDC_BASE + 1
    static constexpr unsigned IDC_CONTRAST = IDC_BASE + 2; // its edit is IDC_BASE + 3
    static constexpr unsigned IDC_BRUSH = IDC_BASE + 4;

    CAdjustPanel();
    ~CAdjustPanel() override;

    void SetCallbacks(Callbacks callbacks) { m_callbacks = std::move(callbacks); }
    // Shows an adjustment without reporting it back.
    void SetAdjustment(const ADJUSTMENT& adjustment);
    ADJUSTMENT GetAdjustment() const;
    void SetBrushChecked(bool on);

    KELCTRL::CSlider& ExposureSlider() { return m_exposure; }
    KELCTRL::CValueEdit& ExposureEdit() { return m_exposureEdit; }
    KELCTRL::CSlider& ContrastSlider() { return m_contrast; }
    KELCTRL::CValueEdit& ContrastEdit() { return m_contrastEdit; }
    KELCTRL::CCheckBox& BrushBox() { return m_brush; }
    const KELCTRL::CSlider& ExposureSlider() const { return m_exposure; }
    const KELCTRL::CValueEdit& ExposureEdit() const { return m_exposureEdit; }

    int GetHeight(const KELCTRL::CUISizeInfo* sizeInfo) override;

protected:
    void OnInitWnd() override;
    using KELCTRL::CSubPanel::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;
    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override;
    intptr_t OnNotify(uintptr_t ctrlId, KELCTRL::NMHDR* header) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void OnReset() override;

private:
    void Report();

    KELCTRL::CLabel m_exposureLabel;
    KELCTRL::CSlider m_exposure;
    KELCTRL::CValueEdit m_exposureEdit;
    KELCTRL::CLabel m_contrastLabel;
    KELCTRL::CSlider m_contrast;
    KELCTRL::CValueEdit m_contrastEdit;
    KELCTRL::CCheckBox m_brush;
    Callbacks m_callbacks;
    bool m_dragging = false;
};

} // namespace kelphoto
