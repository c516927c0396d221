#include "demo/CKelPhotoMainWnd.h"

#include "app/DictText.h"
#include "demo/CApplyToFiles.h"
#include "demo/CKelPhotoApp.h"
#include "demo/CPhotoRotation.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ImageProcess.h"
#include "ui/CUIColorSchema.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeData>
#include <QPixmap>
#include <QShowEvent>
#include <QTimer>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace kelphoto {

using namespace KELCTRL;

namespace {
// Milliseconds since the kernel started this process (its start time in /proc, against the boot clock).
long long MsSinceProcessStart() {
    std::ifstream stat("/proc/self/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), {});
    const size_t close = text.rfind(')');
    if (close == std::string::npos)
        return -1;
    std::istringstream fields(text.substr(close + 2));
    std::string field;
    unsigned long long startTicks = 0;
    for (int i = 3; i <= 22 && fields >> field; ++i)
        if (i == 22)
            startTicks = std::stoull(field);
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const double nowMs = now.tv_sec * 1000.0 + now.tv_nsec / 1e6;
    return static_cast<long long>(nowMs - startTicks * 1000.0 / sysconf(_SC_CLK_TCK));
}
} // namespace

CKelPhotoMainWnd::CKelPhotoMainWnd(CKelPhotoApp& app) : m_app(app) {
    setAcceptDrops(true);
    setWindowTitle(m_app.GetAppNameEdition());
}

CKelPhotoMainWnd::~CKelPhotoMainWnd() {
    m_canvas.removeEventFilter(this);
    m_adjustment.SetLocalMask(nullptr, nullptr, 0.0);
    m_canvas.UnloadAllTools();
}

int CKelPhotoMainWnd::Create(QWidget* parent, const QRect& rect, unsigned id, int visible) {
    if (!CPanelHost::Create(parent, rect, id, visible))
        return 0;
    CreatePanels();
    return 1;
}

void CKelPhotoMainWnd::OnInitWnd() {
    m_canvas.Create(this, QRect(0, 0, 10, 10), kCanvasId);
    m_canvas.SetProcessImageFunc(&CKelPhotoMainWnd::ProcessImage);
    m_canvas.installEventFilter(this);
    m_canvas.LoadTool(&m_navigator);
    AddCenterWnd(&m_canvas, QStringLiteral("Canvas"));
}

void CKelPhotoMainWnd::CreatePanels() {
    Lock(1); // one layout at the end
    m_sidePanel.SetFixedSize(kSidePanelWidth);
    SetPanel(DOCK_RIGHT, &m_sidePanel, CDockableBar::BAR_DOCKED);
    m_sidePanel.AddChild(&m_sidePage);
    m_accordion.Create(&m_sidePage, QRect(0, 0, m_sidePage.GetClientWidth(), 10), 100);
    m_sidePage.SetParts(nullptr, 0, &m_accordion, nullptr, 0);
    m_adjustPanel.SetCallbacks({
        [this](const ADJUSTMENT& a) { ApplyAdjustment(a); },
        [this] { OnAdjustDragStarted(); },
        [this] { OnAdjustDragEnded(); },
        [this](bool on) {
            if (on != m_brushLoaded)
                SetBrushMode(on, false);
        },
    });
    m_accordion.AddPanel(&m_adjustPanel, GetDictText("IDS_KELPHOTO_ADJUST"), 1);

    m_infoPanel.SetFixedSize(kInfoPanelHeight);
    SetPanel(DOCK_BOTTOM, &m_infoPanel, CDockableBar::BAR_DOCKED);
    m_infoPanel.AddChild(&m_infoPage);
    m_infoLabel.Create(&m_infoPage, QRect(0, 0, 10, 10), 0, QString());
    m_infoPage.SetParts(nullptr, 0, &m_infoLabel, nullptr, 0);
    Lock(0);
    UpdateZoomLabel();
    WriteLayoutReport();
}

void CKelPhotoMainWnd::showEvent(QShowEvent* event) {
    CPanelHost::showEvent(event);
    // Keys belong to the photo until a control is used; left alone, activation would give them to
    // the first edit of the side panel.
    m_canvas.setFocus();
}

void CKelPhotoMainWnd::AdjustCtrls(int width, int height) {
    CPanelHost::AdjustCtrls(width, height);
    WriteLayoutReport();
}

void CKelPhotoMainWnd::OnPanelChanged() {
    CPanelHost::OnPanelChanged();
    WriteLayoutReport();
}

void CKelPhotoMainWnd::WriteLayoutReport() const {
    static const QByteArray path = qgetenv("KELPHOTO_LAYOUT_FILE");
    if (path.isEmpty() || !m_adjustPanel.IsWindow())
        return;
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    auto line = [&](const char* name, const QWidget* w) {
        const QPoint p = w->mapTo(this, QPoint(0, 0));
        file.write(QStringLiteral("%1 %2 %3 %4 %5\n")
                       .arg(QLatin1String(name))
                       .arg(p.x())
                       .arg(p.y())
                       .arg(w->width())
                       .arg(w->height())
                       .toUtf8());
    };
    line("canvas", &m_canvas);
    line("rightbar", GetBar(DOCK_RIGHT));
    line("exposure", &m_adjustPanel.ExposureSlider());
    line("exposureedit", &m_adjustPanel.ExposureEdit());
    file.write("exposuretext " + m_adjustPanel.ExposureEdit().GetText().toUtf8() + "\n");
}

// ------------------------------------------------------------------ the processing function

void CKelPhotoMainWnd::ProcessImage(const CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src,
                                    double zoom, int x, int y, const CImageDataInfo*) {
    // Runs on the adjust thread as well: it reads only the adjustment, which has its own lock.
    auto* self = wnd ? dynamic_cast<CKelPhotoMainWnd*>(wnd->parentWidget()) : nullptr;
    if (self)
        self->m_adjustment.Process(dst, src, x, y, zoom);
}

void CKelPhotoMainWnd::OnAdjustDragStarted() {
    if (!m_canvas.HasImage())
        return;
    m_sliderHeld = true;
    m_canvas.EnterAdjustingMode();
}

void CKelPhotoMainWnd::OnAdjustDragEnded() {
    if (!m_sliderHeld)
        return;
    m_sliderHeld = false;
    m_canvas.ExitAdjustingMode();
}

void CKelPhotoMainWnd::ApplyAdjustment(const ADJUSTMENT& adjustment) {
    if (m_adjustment.Get() == adjustment)
        return;
    m_adjustment.Set(adjustment);
    WriteLayoutReport();
    if (!m_canvas.HasImage())
        return;
    if (m_canvas.IsAdjustingMode())
        m_canvas.AdjustImage(1); // the visible part, on the adjust thread, coalesced
    else
        m_canvas.UpdateImage(m_image, &m_before, nullptr, 1); // no live session: process the view now
}

void CKelPhotoMainWnd::SetBrushMode(bool on, bool erase) {
    if (on && !m_canvas.HasImage())
        return;
    IMGWND_TOOL::CBrush brush = m_brush.GetBrush();
    brush.mode = erase ? IMGWND_TOOL::CBrush::MODE_ERASE : IMGWND_TOOL::CBrush::MODE_PAINT;
    m_brush.SetBrush(brush);
    if (on && !m_brushLoaded) {
        m_canvas.LoadTool(&m_brush); // a blank mask of the image's size on first load
        m_brushLoaded = true;
        m_adjustment.SetLocalMask(m_brush.GetCanvas(0, -1), m_brush.GetCanvas(1, -1), kBrushExposure);
    } else if (!on && m_brushLoaded) {
        m_canvas.UnloadTool(&m_brush, 1);
        m_brushLoaded = false;
    }
    m_adjustPanel.SetBrushChecked(m_brushLoaded);
}

// ------------------------------------------------------------------ files

int CKelPhotoMainWnd::OpenFile(const QString& path, bool report, QString* error) {
    ImageFile::FILEINFO info;
    CImageDataInfo loaded;
    const int code = ImageFile::LoadFile(info, loaded, path.toStdString());
    if (code != ImageFile::ERR_OK) {
        const QString reason = QString::fromUtf8(ImageFile::ErrorDescription(code));
        if (error)
            *error = reason;
        if (report)
            m_app.ShowMessage(
                FormatDictText("IDS_KELPHOTO_OPEN_FAILED", {QFileInfo(path).fileName(), reason}),
                MB_ICONERROR);
        return 0; // the current image stays
    }
    SetBrushMode(false, false);
    m_adjustment.SetLocalMask(nullptr, nullptr, 0.0);
    m_canvas.Clear(0);
    m_before = std::move(loaded);
    m_image = m_before;
    m_info = info;
    m_path = path;
    m_canvasPaints = 0;
    if (!m_canvas.SetImage(m_image, &m_before)) {
        if (error)
            *error = QStringLiteral("the canvas refused the image");
        return 0;
    }
    m_canvas.UpdateImage(m_image, &m_before, nullptr, 1);
    m_app.SetLastFolder(QFileInfo(path).absolutePath());
    m_app.RecentFiles().removeAll(path);
    m_app.RecentFiles().prepend(path);
    while (m_app.RecentFiles().size() > KELCTRL::CPhotoEditorApp::kRecentFileCount)
        m_app.RecentFiles().removeLast();
    setWindowTitle(QStringLiteral("%1 - %2").arg(QFileInfo(path).fileName(), m_app.GetAppNameEdition()));
    m_fileText = QStringLiteral("%1 x %2").arg(m_before.width).arg(m_before.height);
    UpdateZoomLabel();
    return 1;
}

int CKelPhotoMainWnd::SaveTo(const QString& path, bool replaceOriginal, QString* error) {
    if (m_before.data.empty()) {
        if (error)
            *error = QStringLiteral("no image");
        return 0;
    }
    if (!replaceOriginal && QFileInfo(path).absoluteFilePath() == QFileInfo(m_path).absoluteFilePath()) {
        if (error)
            *error = QStringLiteral("the original is not replaced without asking");
        return 0;
    }
    CImageDataInfo result;
    if (!m_adjustment.Process(result, m_before, 0, 0)) {
        if (error)
            *error = QStringLiteral("processing failed");
        return 0;
    }
    ImageFile::SAVEFILE_OPTIONS options = CApplyToFiles::OptionsForPath(path);
    options.bit16 = result.depth == 2;
    const int code = ImageFile::SaveFile(result, ImageFile::FILEMETADATA(), options, path.toStdString(),
                                         m_path.toStdString());
    if (code != ImageFile::ERR_OK) {
        if (error)
            *error = QString::fromUtf8(ImageFile::ErrorDescription(code));
        return 0;
    }
    return 1;
}

QString CKelPhotoMainWnd::DefaultSaveName() const {
    const QFileInfo fi(m_path);
    const QString ext = fi.suffix().isEmpty() ? QStringLiteral("jpg") : fi.suffix();
    return fi.absolutePath() + QLatin1Char('/') + fi.completeBaseName() + QStringLiteral("_edited.") + ext;
}

void CKelPhotoMainWnd::ShowOpenDialog() {
    const QString filter = GetDictText("IDS_KELPHOTO_IMAGE_FILES") +
                           QStringLiteral(" (*.jpg *.jpeg *.png *.tif *.tiff *.bmp *.webp)");
    const QString path =
        QFileDialog::getOpenFileName(this, GetDictText("IDS_KELPHOTO_OPEN"), m_app.LastFolder(), filter);
    if (!path.isEmpty())
        OpenFile(path, true);
}

void CKelPhotoMainWnd::ShowSaveDialog() {
    if (m_path.isEmpty())
        return;
    const QString path =
        QFileDialog::getSaveFileName(this, GetDictText("IDS_KELPHOTO_SAVE"), DefaultSaveName(), QString(),
                                     nullptr, QFileDialog::DontConfirmOverwrite);
    if (path.isEmpty())
        return;
    bool replace = false;
    if (QFileInfo(path).absoluteFilePath() == QFileInfo(m_path).absoluteFilePath()) {
        replace =
            m_app.ShowMessage(FormatDictText("IDS_KELPHOTO_REPLACE_ORIGINAL", {QFileInfo(path).fileName()}),
                              MB_YESNO | MB_ICONQUESTION) == IDYES;
        if (!replace)
            return;
    }
    QString error;
    if (!SaveTo(path, replace, &error))
        m_app.ShowMessage(FormatDictText("IDS_KELPHOTO_SAVE_FAILED", {QFileInfo(path).fileName(), error}),
                          MB_ICONERROR);
    else {
        m_fileText = FormatDictText("IDS_KELPHOTO_SAVED", {QFileInfo(path).fileName()});
        UpdateZoomLabel();
    }
}

void CKelPhotoMainWnd::OnCommand(unsigned short id) {
    switch (id) {
    case CMD_OPEN:
        ShowOpenDialog();
        break;
    case CMD_SAVE:
        ShowSaveDialog();
        break;
    case CMD_BRUSH:
        SetBrushMode(!m_brushLoaded, false);
        break;
    case CMD_ROTATE_LEFT:
    case CMD_ROTATE_RIGHT:
        RotateCurrentFile(id == CMD_ROTATE_RIGHT);
        break;
    case CMD_APPLY_TO_FILES:
        ApplyToFiles();
        break;
    case CMD_TOGGLE_PANELS:
        ToggleSidePanels();
        break;
    case CMD_ERASE: {
        // E switches between painting and erasing, entering the brush mode when needed.
        const bool erasing = m_brushLoaded && m_brush.GetBrush().mode == IMGWND_TOOL::CBrush::MODE_ERASE;
        SetBrushMode(true, !erasing);
        break;
    }
    default:
        break;
    }
}

void CKelPhotoMainWnd::RotateCurrentFile(bool clockwise) {
    if (m_path.isEmpty())
        return;
    QString error;
    const int turned =
        CPhotoRotation(m_app.Worker(), m_app.DontAskRotate()).Rotate(m_path, clockwise, &error);
    if (turned > 0)
        OpenFile(m_path, true);
    else if (turned < 0)
        m_app.ShowMessage(error, MB_ICONERROR);
}

void CKelPhotoMainWnd::ApplyToFiles() {
    QStringList files;
    if (m_fileChooser) {
        files = m_fileChooser();
    } else {
        const QString filter = GetDictText("IDS_KELPHOTO_IMAGE_FILES") +
                               QStringLiteral(" (*.jpg *.jpeg *.png *.tif *.tiff *.bmp *.webp)");
        files = QFileDialog::getOpenFileNames(this, GetDictText("IDS_KELPHOTO_APPLY_CHOOSE"),
                                              m_app.LastFolder(), filter);
    }
    if (!files.isEmpty())
        CApplyToFiles(m_adjustment.Get()).Run(this, files);
}

void CKelPhotoMainWnd::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void CKelPhotoMainWnd::dropEvent(QDropEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (!urls.isEmpty() && urls.first().isLocalFile()) {
        OpenFile(urls.first().toLocalFile(), true);
        event->acceptProposedAction();
    }
}

void CKelPhotoMainWnd::closeEvent(QCloseEvent* event) {
    QApplication::quit();
    event->accept();
}

// ------------------------------------------------------------------ zoom read-out, screenshot

QString CKelPhotoMainWnd::ZoomText() const {
    if (!m_canvas.HasImage())
        return QString();
    return QStringLiteral("%1  %2%")
        .arg(CImageWnd::ZoomScaleString(m_canvas.GetZoomType(), m_canvas.GetZoomScale()))
        .arg(std::lround(m_canvas.GetZoomValue() * 100));
}

void CKelPhotoMainWnd::UpdateZoomLabel() {
    if (m_infoLabel.IsWindow())
        m_infoLabel.SetText(m_fileText.isEmpty() ? ZoomText()
                                                 : ZoomText() + QStringLiteral("    ") + m_fileText);
}

intptr_t CKelPhotoMainWnd::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    if (ctrlId == kCanvasId && header && header->code == NM_IMGWND_ZOOMCHANGED)
        UpdateZoomLabel();
    return CPanelHost::OnNotify(ctrlId, header);
}

bool CKelPhotoMainWnd::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &m_canvas && event->type() == QEvent::Paint && m_canvas.HasImage())
        ++m_canvasPaints;
    if (watched == &m_canvas && (event->type() == QEvent::Resize || event->type() == QEvent::Move))
        WriteLayoutReport();
    return CPanelHost::eventFilter(watched, event);
}

void CKelPhotoMainWnd::ScheduleScreenshot(const QString& path, int delayMs, bool reportStartup) {
    m_screenshotPath = path;
    m_screenshotDelayMs = delayMs;
    m_reportStartup = reportStartup;
    SetTimer(TIMER_SCREENSHOT, 50);
}

void CKelPhotoMainWnd::OnTimer(uintptr_t id) {
    if (id != TIMER_SCREENSHOT)
        return CPanelHost::OnTimer(id);
    // The first processed paint: the image is set, processing has finished and the canvas has
    // painted since.
    const bool processed =
        !m_canvas.IsAdjustingMode() && (!m_canvas.IsZoomedOut() || m_canvas.IsZoomedCacheReady());
    const bool ready = !m_canvas.HasImage() || (processed && m_canvasPaints > 0);
    if (!ready)
        return;
    KillTimer(TIMER_SCREENSHOT);
    if (m_reportStartup)
        std::printf("kelphoto: first processed image painted %lld ms after the process started\n",
                    MsSinceProcessStart());
    std::fflush(stdout);
    QTimer::singleShot(m_screenshotDelayMs, this, [this] { TakeScreenshot(); });
}

void CKelPhotoMainWnd::TakeScreenshot() {
    bool ok = true;
    if (!m_screenshotPath.isEmpty())
        ok = grab().save(m_screenshotPath, "PNG");
    m_app.SetExitCode(ok ? 0 : 1);
    QApplication::quit();
}

} // namespace kelphoto
