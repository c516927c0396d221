#pragma once
// The toolkit's message box: a text with an icon, a row of answer buttons chosen by the classic
// message-box flags, and an optional "don't ask me again" check box whose state is written back to
// the caller's int on every way out, even one that does not end the box.
//
// Enter gives the box's own default answer (see OnOK) whichever button has the focus; Tab moves
// between the buttons and Space presses the one with the focus.
#include "ui/CBaseDialog.h"

#include <QIcon>
#include <QString>

#include <array>
#include <vector>

class QCheckBox;
class QLabel;
class QPushButton;

namespace KELCTRL {

class CMessageBox : public CBaseDialog {
public:
    // Result codes, one button each.
    enum : int {
        ID_OK = 1,
        ID_CANCEL = 2,
        ID_ABORT = 3,
        ID_RETRY = 4,
        ID_IGNORE = 5,
        ID_YES = 6,
        ID_NO = 7,
        ID_CLOSE = 8,
        ID_HELP = 9,
        ID_TRYAGAIN = 10,
        ID_CONTINUE = 11,
    };
    static constexpr int kButtonCount = 11;

    // Button sets (low four bits of the flags) and icons (bits 4 to 7).
    enum : unsigned {
        MB_OK = 0,
        MB_OKCANCEL = 1,
        MB_ABORTRETRYIGNORE = 2,
        MB_YESNOCANCEL = 3,
        MB_YESNO = 4,
        MB_RETRYCANCEL = 5,
        MB_CANCELTRYCONTINUE = 6,
        MB_ICONERROR = 0x10,
        MB_ICONQUESTION = 0x20,
        MB_ICONWARNING = 0x30,
        MB_ICONINFORMATION = 0x40,
    };

    explicit CMessageBox(QWidget* parent = nullptr);
    ~CMessageBox() override;

    // A box on the stack with this text, the check box when dontAsk is given, run with the flags.
    static int Show(const QString& text, unsigned flags, int* dontAsk = nullptr);

    // Runs the box with the buttons and icon of `flags`; returns the code it ended with.
    intptr_t DoModal(unsigned flags);
    using CBaseDialog::DoModal;
    // An empty title shows the application's name.
    void SetText(const QString& text, const QString& title = QString());
    // Replaces the caption of the button with this code; other codes are ignored.
    void SetButtonText(unsigned id, const QString& text);
    // Shows the check box, checked when *dontAsk is 1; null hides it. The pointer is kept.
    void ShowDontAskAgain(int* dontAsk);

    // The codes the flags show, in order; empty for an unknown set.
    static std::vector<int> ButtonsForFlags(unsigned flags);
    // The icon the flags show.
    static QIcon IconForFlags(unsigned flags);

    // The button of a code (null for another code) and the check box, for layout and tests.
    QPushButton* GetButton(int id) const;
    QCheckBox* GetDontAskBox() const { return m_dontAskBox; }
    QLabel* GetTextLabel() const { return m_textLabel; }

protected:
    int OnInitDialog() override;
    void OnOK() override;
    void OnCancel() override;
    void OnClose() override;
    void AdjustCtrls(int width, int height) override;
    void keyPressEvent(QKeyEvent* e) override;
    // Sounds the alert that goes with the icon bits of the flags. There is no system sound here, so
    // the base does nothing; a product may play one.
    virtual void PlayAlertSound(unsigned iconFlags);

private:
    int IsShown(int id) const;
    void WriteDontAsk();
    void OnButton(int id);
    QSize MeasureButton(const QPushButton* button) const;
    void PlaceDialog();

    std::array<QPushButton*, kButtonCount> m_buttons{};
    std::vector<int> m_codes;
    unsigned m_flags = 0;
    QString m_text;
    QString m_title;
    int* m_dontAsk = nullptr;
    QLabel* m_iconLabel = nullptr;
    QLabel* m_textLabel = nullptr;
    QCheckBox* m_dontAskBox = nullptr;
};

} // namespace KELCTRL
