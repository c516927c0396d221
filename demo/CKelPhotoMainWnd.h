#pragma once
// The sample product's main window: a panel host with the canvas in the centre, the "Adjust" panel
// docked on the right and the zoom read-out docked at the bottom; open by dialog or drop, save to a
// new name.
#include "common/CImageDataInfo.h"
#include "demo/CAdjustPanel.h"
#include "demo/CPhotoAdjustment.h"
#include "imagefile/ImageFileTypes.h"
#include "imagewnd/CImageWnd.h"
#include "tools/geometry/CNavigator.h"
#include "tools/paint/CBrushTool.h"
#include "ui/CAccordionPanelHost.h"
#include "ui/CDockablePanel.h"
#include "ui/CDockablePanelChild_3Part.h"
#include "ui/CLabel.h"
#include "ui/CPanelHost.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace kelphoto {

class CKelPhotoApp;

class CKelPhotoMainWnd : public KELCTRL::CPanelHost {
public:
    explicit CKelPhotoMainWnd(CKelPhotoApp& app);
    ~CKelPhotoMainWnd() override;

    // Creates the host, then the panels, which need its bars.
    int Create(QWidget* parent, const QRect& rect, unsigned id, int visible = 1) override;

    // Opens a photo. A file that cannot be read leaves the current image; with `report` the user is
    // told why. Returns 1 on success.
    int OpenFile(const QString& path, bool report, QString* error = nullptr);
    // Writes the adjusted photo at full size. Refuses the original's own path unless `replaceOriginal`.
    int SaveTo(const QString& path, bool replaceOriginal, QString* error = nullptr);
    void OnCommand(unsigned short id);
    // Once the first processed image has been painted: optionally prints the time since the process
    // started, writes the window to a PNG when a path is given, then quits.
    void ScheduleScreenshot(const QString& path, int delayMs, bool reportStartup = false);

    KELCTRL::CImageWnd& Canvas() { return m_canvas; }
    const QString& CurrentPath() const { return m_path; }
    CPhotoAdjustment& Adjustment() { return m_adjustment; }
    // Applies an adjustment as the sliders do (live on the visible part, then the whole image).
    void ApplyAdjustment(const ADJUSTMENT& adjustment);
    // Turns the open file by 90 degrees (after asking, under the progress wait) and opens it again.
    void RotateCurrentFile(bool clockwise);
    // Applies the current adjustment to files the user chooses, writing each beside its source.
    void ApplyToFiles();
    // Replaces the file dialog of ApplyToFiles (tests).
    void SetFileChooser(std::function<QStringList()> chooser) { m_fileChooser = std::move(chooser); }
    // The zoom read-out's text.
    QString ZoomText() const;
    // The brush mode: paints a mask under which the photo is one stop brighter. `erase` paints the
    // mask away. Off returns to panning; the painted mask stays in effect.
    void SetBrushMode(bool on, bool erase);
    bool IsBrushMode() const { return m_brushLoaded; }
    KELCTRL::IMGWND_TOOL::CBrushTool& Brush() { return m_brush; }
    static constexpr double kBrushExposure = 1.0;

    // Painted frames of the canvas since the last image was set.
    int CanvasPaintCount() const { return m_canvasPaints; }

    CAdjustPanel& AdjustPanel() { return m_adjustPanel; }
    // The read-out at the bottom: zoom, then the image size or the last save.
    QString InfoText() const { return m_infoLabel.GetText(); }

    // With KELPHOTO_LAYOUT_FILE set, every layout writes the rectangles of the canvas, the right bar
    // and the exposure row there (window coordinates), so that a driver of real input can find them.
    void WriteLayoutReport() const;
    using KELCTRL::CPanelHost::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;
    void OnPanelChanged() override;

    // Unscaled thickness of the side panel and of the read-out.
    static constexpr int kSidePanelWidth = 300;
    static constexpr int kInfoPanelHeight = 24;

protected:
    void OnInitWnd() override;
    intptr_t OnNotify(uintptr_t ctrlId, KELCTRL::NMHDR* header) override;
    void OnTimer(uintptr_t id) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    static void ProcessImage(const KELCTRL::CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src,
                             double zoom, int x, int y, const CImageDataInfo* fullSource);
    void CreatePanels();
    void OnAdjustDragStarted();
    void OnAdjustDragEnded();
    void UpdateZoomLabel();
    void ShowOpenDialog();
    void ShowSaveDialog();
    void TakeScreenshot();
    QString DefaultSaveName() const;

    CKelPhotoApp& m_app;
    KELCTRL::CImageWnd m_canvas;
    KELCTRL::IMGWND_TOOL::CNavigator m_navigator;
    KELCTRL::IMGWND_TOOL::CBrushTool m_brush;
    bool m_brushLoaded = false;
    CPhotoAdjustment m_adjustment;

    CImageDataInfo m_before; // the photo as loaded
    CImageDataInfo m_image;  // what the canvas shows: the adjusted photo
    ImageFile::FILEINFO m_info;
    QString m_path;

    KELCTRL::CDockablePanel m_sidePanel;
    KELCTRL::CDockablePanelChild_3Part m_sidePage;
    KELCTRL::CAccordionPanelHost m_accordion;
    CAdjustPanel m_adjustPanel;
    KELCTRL::CDockablePanel m_infoPanel;
    KELCTRL::CDockablePanelChild_3Part m_infoPage;
    KELCTRL::CLabel m_infoLabel;
    QString m_fileText;
    bool m_sliderHeld = false;

    std::function<QStringList()> m_fileChooser;
    QString m_screenshotPath;
    int m_screenshotDelayMs = 0;
    bool m_reportStartup = false;
    int m_canvasPaints = 0;

    static constexpr uintptr_t TIMER_SCREENSHOT = 301;
    static constexpr unsigned kCanvasId = 100;
};

} // namespace kelphoto
