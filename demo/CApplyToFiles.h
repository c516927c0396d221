#pragma once
// Applies one exposure and contrast adjustment to a list of photo files under the worker dialog. Each
// result is written next to its source as "<name>_adjusted.<ext>" (or "_adjusted_2" … when that name
// is taken), through the file library's atomic save: the sources are only read, and a file that fails
// leaves nothing behind and becomes an error row, which keeps the dialog open for the user to read.
#include "demo/CPhotoAdjustment.h"
#include "imagefile/ImageFileTypes.h"

#include <QString>
#include <QStringList>

class QWidget;

namespace kelphoto {

class CApplyToFiles {
public:
    explicit CApplyToFiles(const ADJUSTMENT& adjustment);

    struct RESULT {
        QStringList written; // the new files
        QStringList errors;  // "<file>: <why>", one per failed source
        int dialogResult = 0;
    };
    // Runs the list under a modal CMultiTaskProgressDlg; a retry runs the failed files again.
    RESULT Run(QWidget* parent, const QStringList& files);

    // One file, on any thread. Returns an empty text on success (with the new path in *written), else
    // why it failed.
    QString ApplyToFile(const QString& source, QString* written = nullptr) const;

    // The first free "<name>_adjusted[_n].<ext>" beside `source`.
    static QString OutputPath(const QString& source);
    // Save options for a file name's extension: PNG, TIFF, WebP, BMP, else JPEG.
    static ImageFile::SAVEFILE_OPTIONS OptionsForPath(const QString& path);

private:
    static unsigned Worker(void* param);

    CPhotoAdjustment m_adjustment;
};

} // namespace kelphoto
