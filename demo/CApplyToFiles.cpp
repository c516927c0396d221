#include "demo/CApplyToFiles.h"

#include "app/DictText.h"
#include "imagefile/ImageFile.h"
#include "ui/CMultiTaskProgressDlg.h"

#include <QFileInfo>

namespace kelphoto {

using KELCTRL::CMultiTaskProgressDlg;

namespace {

// What the worker shares with the dialog's run.
struct RUN {
    const CApplyToFiles* self = nullptr;
    CMultiTaskProgressDlg* dlg = nullptr;
    QStringList files;
    QStringList written;
    QStringList failed;
    QStringList errors;
};

} // namespace

CApplyToFiles::CApplyToFiles(const ADJUSTMENT& adjustment) {
    m_adjustment.Set(adjustment);
}

ImageFile::SAVEFILE_OPTIONS CApplyToFiles::OptionsForPath(const QString& path) {
    ImageFile::SAVEFILE_OPTIONS options;
    const QString ext = QFileInfo(path).suffix().toLower();
    if (ext == QLatin1String("png"))
        options.format = ImageFile::CONTAINER_FORMAT_PNG;
    else if (ext == QLatin1String("tif") || ext == QLatin1String("tiff"))
        options.format = ImageFile::CONTAINER_FORMAT_TIFF;
    else if (ext == QLatin1String("webp"))
        options.format = ImageFile::CONTAINER_FORMAT_WEBP;
    else if (ext == QLatin1String("bmp"))
        options.format = ImageFile::CONTAINER_FORMAT_BMP;
    else
        options.format = ImageFile::CONTAINER_FORMAT_JPEG;
    return options;
}

QString CApplyToFiles::OutputPath(const QString& source) {
    const QFileInfo fi(source);
    const QString stem =
        fi.absolutePath() + QLatin1Char('/') + fi.completeBaseName() + QStringLiteral("_adjusted");
    const QString ext = fi.suffix().isEmpty() ? QString() : QLatin1Char('.') + fi.suffix();
    QString path = stem + ext;
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = stem + QStringLiteral("_%1").arg(n) + ext;
    return path;
}

QString CApplyToFiles::ApplyToFile(const QString& source, QString* written) const {
    ImageFile::FILEINFO info;
    CImageDataInfo image;
    int code = ImageFile::LoadFile(info, image, source.toStdString());
    if (code != ImageFile::ERR_OK)
        return QString::fromUtf8(ImageFile::ErrorDescription(code));
    CImageDataInfo result;
    if (!m_adjustment.Process(result, image, 0, 0))
        return QStringLiteral("processing failed");
    const QString target = OutputPath(source);
    ImageFile::SAVEFILE_OPTIONS options = OptionsForPath(target);
    options.bit16 = result.depth == 2;
    code = ImageFile::SaveFile(result, ImageFile::FILEMETADATA(), options, target.toStdString(),
                               source.toStdString());
    if (code != ImageFile::ERR_OK)
        return QString::fromUtf8(ImageFile::ErrorDescription(code));
    if (written)
        *written = target;
    return QString();
}

unsigned CApplyToFiles::Worker(void* param) {
    auto* run = static_cast<RUN*>(param);
    const int count = static_cast<int>(run->files.size());
    for (int i = 0; i < count; ++i) {
        if (run->dlg->IsQuit())
            break; // the files not reached stay as they are
        const QString& source = run->files[i];
        run->dlg->UpdateTaskProgress(i + 1, count, 1, QFileInfo(source).fileName());
        QString written;
        const QString error = run->self->ApplyToFile(source, &written);
        if (error.isEmpty()) {
            run->written << written;
        } else {
            const QString row = QStringLiteral("%1: %2").arg(QFileInfo(source).fileName(), error);
            run->failed << source;
            run->errors << row;
            run->dlg->AddErrorItem(row);
        }
        run->dlg->NextStep();
    }
    return 0;
}

CApplyToFiles::RESULT CApplyToFiles::Run(QWidget* parent, const QStringList& files) {
    RESULT result;
    CMultiTaskProgressDlg dlg(1, 1, parent);
    RUN run;
    run.self = this;
    run.dlg = &dlg;
    run.files = files;
    for (;;) {
        run.written.clear();
        run.failed.clear();
        run.errors.clear();
        result.dialogResult =
            static_cast<int>(dlg.DoModal(KELCTRL::GetDictText("IDS_KELPHOTO_APPLY_TITLE"), &Worker, &run));
        result.written << run.written;
        if (result.dialogResult != CMultiTaskProgressDlg::IDRETRY || run.failed.isEmpty())
            break;
        run.files = run.failed;
    }
    result.errors = run.errors;
    return result;
}

} // namespace kelphoto
