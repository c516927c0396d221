#pragma once
// Turns a photo file by 90 degrees without loss through the application's general worker, which
// waits under the progress window. The user is asked first unless they ticked "don't ask again" on an
// earlier yes; that choice lives in the product's settings.
#include <QString>

namespace KELCTRL {
class CImageProcessThread;
}

namespace kelphoto {

class CPhotoRotation {
public:
    // `dontAsk` is the stored choice, 1 to skip the question; it is updated when the user answers yes.
    CPhotoRotation(KELCTRL::CImageProcessThread& worker, int& dontAsk);

    // Asks, then turns `path` clockwise or counter-clockwise. Returns 1 when the file was turned, 0
    // when the user said no, -1 on failure with the reason in *error.
    int Rotate(const QString& path, bool clockwise, QString* error = nullptr);

private:
    bool Ask(const QString& path);

    KELCTRL::CImageProcessThread& m_worker;
    int& m_dontAsk;
};

} // namespace kelphoto
