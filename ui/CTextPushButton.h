#pragma once
// A push button with a centred caption (Reset, Apply, Cancel of the panels).
#include "ui/CPushCtrl.h"

namespace KELCTRL {

class CTextPushButton : public CPushCtrl {
public:
    explicit CTextPushButton(QWidget* parent = nullptr);

protected:
    void OnPaint(QPainter& painter, int width, int height) override;
};

} // namespace KELCTRL
