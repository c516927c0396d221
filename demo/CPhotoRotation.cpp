#include "demo/CPhotoRotation.h"

#include "app/DictText.h"
#include "imagewnd/CImageProcessThread.h"
#include "ui/CMessageBox.h"

#include <QFileInfo>

namespace kelphoto {

using KELCTRL::CMessageBox;

CPhotoRotation::CPhotoRotation(KELCTRL::CImageProcessThread& worker, int& dontAsk)
    : m_worker(worker), m_dontAsk(dontAsk) {}

bool CPhotoRotation::Ask(const QString& path) {
    if (m_dontAsk)
        return true;
    int dontAsk = 0;
    const int answer =
        CMessageBox::Show(KELCTRL::FormatDictText("IDS_KELPHOTO_ROTATE_ASK", {QFileInfo(path).fileName()}),
                          CMessageBox::MB_YESNO | CMessageBox::MB_ICONQUESTION, &dontAsk);
    if (answer != CMessageBox::ID_YES)
        return false;
    // Only a yes is remembered: "don't ask" after a no would turn files silently next time.
    if (dontAsk)
        m_dontAsk = 1;
    return true;
}

int CPhotoRotation::Rotate(const QString& path, bool clockwise, QString* error) {
    const QFileInfo file(path);
    if (!file.isFile()) {
        if (error)
            *error = KELCTRL::FormatDictText("IDS_KELPHOTO_ROTATE_FAILED", {file.fileName()});
        return -1;
    }
    if (!Ask(path))
        return 0;
    QStringList failed;
    const int result =
        m_worker.BatchRotate90(file.absolutePath(), {file.fileName()}, clockwise ? 1 : 0, failed);
    if (result != 0) {
        if (error)
            *error = KELCTRL::FormatDictText("IDS_KELPHOTO_ROTATE_FAILED", {file.fileName()});
        return -1;
    }
    return 1;
}

} // namespace kelphoto
