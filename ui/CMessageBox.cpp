#include "ui/CMessageBox.h"

#include "common/Dictionaries.h"

#include <QApplication>
#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>

#include <algorithm>

namespace KELCTRL {

namespace {

// Caption keys at the index of the code less one.
constexpr const char* kCaptionKeys[CMessageBox::kButtonCount] = {
    "IDS_OK", "IDS_CANCEL", "IDS_ABORT", "IDS_RETRY",    "IDS_IGNORE",   "IDS_YES",
    "IDS_NO", "IDS_CLOSE",  "IDS_HELP",  "IDS_TRYAGAIN", "IDS_CONTINUE",
};

QString DictText(const char* key) {
    const char* text = GetDictItem(key);
    return text ? QString::fromUtf8(text) : QString();
}

// Width of the text before it wraps, and the icon's side, in unscaled pixels.
constexpr int kTextWidth = 360;
constexpr int kIconSize = 32;

} // namespace

CMessageBox::CMessageBox(QWidget* parent) : CBaseDialog(parent) {
    m_iconLabel = new QLabel(this);
    m_textLabel = new QLabel(this);
    m_textLabel->setWordWrap(true);
    m_textLabel->setTextFormat(Qt::PlainText);
    m_textLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_textLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    for (int i = 0; i < kButtonCount; ++i) {
        auto* button = new QPushButton(DictText(kCaptionKeys[i]), this);
        // Enter is the box's answer, not the focused button's (see the header).
        button->setAutoDefault(false);
        button->hide();
        const int id = i + 1;
        connect(button, &QPushButton::clicked, this, [this, id] { OnButton(id); });
        m_buttons[i] = button;
    }
    m_dontAskBox = new QCheckBox(DictText("IDS_MSG_DONT_ASK_AGAIN"), this);
    m_dontAskBox->hide();
}

CMessageBox::~CMessageBox() = default;

int CMessageBox::Show(const QString& text, unsigned flags, int* dontAsk) {
    CMessageBox box;
    box.SetText(text);
    box.ShowDontAskAgain(dontAsk);
    return static_cast<int>(box.DoModal(flags));
}

intptr_t CMessageBox::DoModal(unsigned flags) {
    m_flags = flags;
    m_codes = ButtonsForFlags(flags);
    return CBaseDialog::DoModal();
}

void CMessageBox::SetText(const QString& text, const QString& title) {
    m_text = text;
    m_title = title;
}

void CMessageBox::SetButtonText(unsigned id, const QString& text) {
    if (id >= 1 && id <= static_cast<unsigned>(kButtonCount))
        m_buttons[id - 1]->setText(text);
}

void CMessageBox::ShowDontAskAgain(int* dontAsk) {
    m_dontAsk = dontAsk;
}

std::vector<int> CMessageBox::ButtonsForFlags(unsigned flags) {
    switch (flags & 0x0F) {
    case MB_OK:
        return {ID_OK};
    case MB_OKCANCEL:
        return {ID_OK, ID_CANCEL};
    case MB_ABORTRETRYIGNORE:
        return {ID_ABORT, ID_RETRY, ID_IGNORE};
    case MB_YESNOCANCEL:
        return {ID_YES, ID_NO, ID_CANCEL};
    case MB_YESNO:
        return {ID_YES, ID_NO};
    case MB_RETRYCANCEL:
        return {ID_RETRY, ID_CANCEL};
    case MB_CANCELTRYCONTINUE:
        return {ID_CANCEL, ID_TRYAGAIN, ID_CONTINUE};
    default:
        return {};
    }
}

QIcon CMessageBox::IconForFlags(unsigned flags) {
    QStyle::StandardPixmap pixmap = QStyle::SP_MessageBoxInformation;
    switch (flags & 0xF0) {
    case MB_ICONERROR:
        pixmap = QStyle::SP_MessageBoxCritical;
        break;
    case MB_ICONQUESTION:
        pixmap = QStyle::SP_MessageBoxQuestion;
        break;
    case MB_ICONWARNING:
        pixmap = QStyle::SP_MessageBoxWarning;
        break;
    default:
        break;
    }
    return QApplication::style()->standardIcon(pixmap);
}

QPushButton* CMessageBox::GetButton(int id) const {
    return id >= 1 && id <= kButtonCount ? m_buttons[id - 1] : nullptr;
}

int CMessageBox::IsShown(int id) const {
    return std::find(m_codes.begin(), m_codes.end(), id) != m_codes.end() ? 1 : 0;
}

int CMessageBox::OnInitDialog() {
    setWindowTitle(m_title.isEmpty() ? QApplication::applicationDisplayName() : m_title);
    m_textLabel->setText(m_text);
    const CUISizeInfo* info = GetUISizeInfo();
    const int iconSide = info ? info->ScaledSizeX(kIconSize) : kIconSize;
    m_iconLabel->setPixmap(IconForFlags(m_flags).pixmap(iconSide, iconSide));
    for (int i = 0; i < kButtonCount; ++i)
        m_buttons[i]->setVisible(IsShown(i + 1) != 0);
    // The focus order follows the row, left to right.
    for (size_t i = 1; i < m_codes.size(); ++i)
        setTabOrder(GetButton(m_codes[i - 1]), GetButton(m_codes[i]));
    m_dontAskBox->setVisible(m_dontAsk != nullptr);
    m_dontAskBox->setChecked(m_dontAsk && *m_dontAsk == 1);
    PlaceDialog();
    if (!m_codes.empty())
        GetButton(m_codes.front())->setFocus();
    PlayAlertSound(m_flags & 0xF0);
    return 1;
}

void CMessageBox::PlayAlertSound(unsigned) {}

QSize CMessageBox::MeasureButton(const QPushButton* button) const {
    const CUISizeInfo* info = GetUISizeInfo();
    const int minWidth = info ? info->textButtonWidth : 80;
    const int height = info ? info->buttonHeight : 30;
    const int padding = info ? info->ctrlGap * 4 : 16;
    const int textWidth = button->fontMetrics().horizontalAdvance(button->text()) + padding;
    return QSize(std::max(minWidth, textWidth), height);
}

// Sizes the box to its text and buttons and centres it on its owner, else on the screen.
void CMessageBox::PlaceDialog() {
    const CUISizeInfo* info = GetUISizeInfo();
    const int margin = info ? info->dialogMargin * 2 : 16;
    const int gap = info ? info->ctrlGap * 2 : 8;
    const int iconSide = info ? info->ScaledSizeX(kIconSize) : kIconSize;
    const int maxText = info ? info->ScaledSizeX(kTextWidth) : kTextWidth;

    int buttonsWidth = 0;
    for (int code : m_codes)
        buttonsWidth += MeasureButton(GetButton(code)).width() + gap;
    buttonsWidth = std::max(0, buttonsWidth - gap);
    const QRect textRect =
        m_textLabel->fontMetrics().boundingRect(QRect(0, 0, maxText, 100000), Qt::TextWordWrap, m_text);
    const int textWidth = std::max(textRect.width(), m_dontAsk ? m_dontAskBox->sizeHint().width() : 0);
    const int width = std::max(margin * 2 + iconSide + gap + textWidth, margin * 2 + buttonsWidth);
    const int buttonHeight = info ? info->buttonHeight : 30;
    int height = margin + std::max(iconSide, textRect.height()) + gap;
    if (m_dontAsk)
        height += m_dontAskBox->sizeHint().height() + gap;
    height += buttonHeight + margin;

    MoveToOwnerCentre(width, height);
}

void CMessageBox::AdjustCtrls(int width, int height) {
    const CUISizeInfo* info = GetUISizeInfo();
    const int margin = info ? info->dialogMargin * 2 : 16;
    const int gap = info ? info->ctrlGap * 2 : 8;
    const int iconSide = info ? info->ScaledSizeX(kIconSize) : kIconSize;
    const int buttonHeight = info ? info->buttonHeight : 30;

    const int buttonTop = height - margin - buttonHeight;
    int right = width - margin;
    for (auto it = m_codes.rbegin(); it != m_codes.rend(); ++it) {
        QPushButton* button = GetButton(*it);
        const QSize size = MeasureButton(button);
        right -= size.width();
        button->setGeometry(right, buttonTop, size.width(), size.height());
        right -= gap;
    }
    int textBottom = buttonTop - gap;
    if (m_dontAsk) {
        const int boxHeight = m_dontAskBox->sizeHint().height();
        textBottom -= boxHeight + gap;
        m_dontAskBox->setGeometry(margin + iconSide + gap, textBottom + gap,
                                  width - 2 * margin - iconSide - gap, boxHeight);
    }
    m_iconLabel->setGeometry(margin, margin, iconSide, iconSide);
    const int textLeft = margin + iconSide + gap;
    m_textLabel->setGeometry(textLeft, margin, std::max(0, width - margin - textLeft),
                             std::max(0, textBottom - margin));
}

void CMessageBox::WriteDontAsk() {
    if (m_dontAsk)
        *m_dontAsk = m_dontAskBox->isChecked() ? 1 : 0;
}

void CMessageBox::OnButton(int id) {
    WriteDontAsk();
    EndDialog(id);
}

void CMessageBox::OnOK() {
    WriteDontAsk();
    if (IsShown(ID_RETRY))
        EndDialog(ID_RETRY);
    else if (IsShown(ID_YES))
        EndDialog(ID_YES);
    else if (IsShown(ID_TRYAGAIN))
        EndDialog(ID_TRYAGAIN);
    else
        EndDialog(ID_OK);
}

void CMessageBox::OnCancel() {
    WriteDontAsk();
    // Without a cancel button Escape must not answer for the user.
    if (IsShown(ID_CANCEL))
        EndDialog(ID_CANCEL);
}

void CMessageBox::OnClose() {
    WriteDontAsk();
    // Closing is the gentlest answer the box offers; with none of these it stays.
    for (int id : {ID_CANCEL, ID_NO, ID_IGNORE, ID_OK}) {
        if (IsShown(id)) {
            EndDialog(id);
            return;
        }
    }
}

void CMessageBox::keyPressEvent(QKeyEvent* e) {
    const Qt::KeyboardModifiers mods = e->modifiers() & ~Qt::KeypadModifier;
    if (mods == Qt::NoModifier && (e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter)) {
        OnOK();
        e->accept();
        return;
    }
    CBaseDialog::keyPressEvent(e);
}

} // namespace KELCTRL
