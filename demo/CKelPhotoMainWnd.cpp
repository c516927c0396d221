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
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QPixmap>
#include <QSlider>
#include <QTimer>
#include <QToolButton>

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

void CKelPhotoMainWnd::OnInitWnd() {
    m_canvas.Create(this, QRect(0, 0, 10, 10), kCanvasId);
    m_canvas.SetProcessImageFunc(&CKelPhotoMainWnd::ProcessImage);
    m_canvas.installEventFilter(this);
    m_canvas.LoadTool(&m_navigator);
    CreateStrip();
    AdjustCtrls(width(), height()); // the window was sized before its children existed
}

void CKelPhotoMainWnd::CreateStrip() {
    m_strip = new QWidget(this);
    m_strip->setAutoFillBackground(true);
    QPalette pal = m_strip->palette();
    pal.setColor(QPalette::Window, CUIColorSchema::FromColorRef(UIColors().bkPanel));
    pal.setColor(QPalette::WindowText, CUIColorSchema::FromColorRef(UIColors().textNormal));
    m_strip->setPalette(pal);
    auto* layout = new QHBoxLayout(m_strip);
    layout->setContentsMargins(8, 2, 8, 2);
    layout->setSpacing(8);
    m_zoomLabel = new QLabel(m_strip);
    m_zoomLabel->setMinimumWidth(90);
    layout->addWidget(m_zoomLabel);
    auto addSlider = [&](const char* key, int min, int max) {
        layout->addWidget(new QLabel(GetDictText(key), m_strip));
        auto* s = new QSlider(Qt::Horizontal, m_strip);
        s->setRange(min, max);
        s->setValue(0);
        s->setMinimumWidth(60); // narrow windows shrink the sliders rather than crowd the strip
        s->setMaximumWidth(180);
        s->setFocusPolicy(Qt::NoFocus); // keys belong to the canvas
        QObject::connect(s, &QSlider::sliderPressed, this, [this] { OnSliderPressed(); });
        QObject::connect(s, &QSlider::valueChanged, this, [this] { OnSliderMoved(); });
        QObject::connect(s, &QSlider::sliderReleased, this, [this] { OnSliderReleased(); });
        layout->addWidget(s, 1);
        return s;
    };
    m_exposure = addSlider("IDS_KELPHOTO_EXPOSURE", -300, 300); // EV x 100
    m_contrast = addSlider("IDS_KELPHOTO_CONTRAST", -100, 100);
    m_brushButton = new QToolButton(m_strip);
    m_brushButton->setText(GetDictText("IDS_KELPHOTO_BRUSH"));
    m_brushButton->setCheckable(true);
    m_brushButton->setFocusPolicy(Qt::NoFocus);
    QObject::connect(m_brushButton, &QToolButton::toggled, this, [this](bool on) {
        if (on != m_brushLoaded)
            SetBrushMode(on, false);
    });
    layout->addWidget(m_brushButton);
    layout->addStretch(1);
    m_fileLabel = new QLabel(m_strip);
    layout->addWidget(m_fileLabel);
    UpdateZoomLabel();
}

void CKelPhotoMainWnd::AdjustCtrls(int width, int height) {
    const int strip = std::min(kStripHeight, height);
    m_canvas.MoveWindow(QRect(0, 0, width, std::max(1, height - strip)));
    if (m_strip)
        m_strip->setGeometry(0, height - strip, width, strip);
}

// ------------------------------------------------------------------ the processing function

void CKelPhotoMainWnd::ProcessImage(const CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src,
                                    double zoom, int x, int y, const CImageDataInfo*) {
    // Runs on the adjust thread as well: it reads only the adjustment, which has its own lock.
    auto* self = wnd ? dynamic_cast<CKelPhotoMainWnd*>(wnd->parentWidget()) : nullptr;
    if (self)
        self->m_adjustment.Process(dst, src, x, y, zoom);
}

void CKelPhotoMainWnd::OnSliderPressed() {
    if (!m_canvas.HasImage())
        return;
    m_sliderHeld = true;
    m_canvas.EnterAdjustingMode();
}

void CKelPhotoMainWnd::OnSliderMoved() {
    ADJUSTMENT a;
    a.exposure = m_exposure->value() / 100.0;
    a.contrast = m_contrast->value();
    ApplyAdjustment(a);
}

void CKelPhotoMainWnd::OnSliderReleased() {
    if (!m_sliderHeld)
        return;
    m_sliderHeld = false;
    m_canvas.ExitAdjustingMode();
}

void CKelPhotoMainWnd::ApplyAdjustment(const ADJUSTMENT& adjustment) {
    if (m_adjustment.Get() == adjustment)
        return;
    m_adjustment.Set(adjustment);
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
    if (m_brushButton && m_brushButton->isChecked() != m_brushLoaded)
        m_brushButton->setChecked(m_brushLoaded);
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
    if (m_fileLabel)
        m_fileLabel->setText(QStringLiteral("%1 x %2").arg(m_before.width).arg(m_before.height));
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
    else if (m_fileLabel)
        m_fileLabel->setText(FormatDictText("IDS_KELPHOTO_SAVED", {QFileInfo(path).fileName()}));
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
    if (m_zoomLabel)
        m_zoomLabel->setText(ZoomText());
}

intptr_t CKelPhotoMainWnd::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    if (ctrlId == kCanvasId && header && header->code == NM_IMGWND_ZOOMCHANGED)
        UpdateZoomLabel();
    return CBaseWnd::OnNotify(ctrlId, header);
}

bool CKelPhotoMainWnd::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &m_canvas && event->type() == QEvent::Paint && m_canvas.HasImage())
        ++m_canvasPaints;
    return CBaseWnd::eventFilter(watched, event);
}

void CKelPhotoMainWnd::ScheduleScreenshot(const QString& path, int delayMs, bool reportStartup) {
    m_screenshotPath = path;
    m_screenshotDelayMs = delayMs;
    m_reportStartup = reportStartup;
    SetTimer(TIMER_SCREENSHOT, 50);
}

void CKelPhotoMainWnd::OnTimer(uintptr_t id) {
    if (id != TIMER_SCREENSHOT)
        return CBaseWnd::OnTimer(id);
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
