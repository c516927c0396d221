#include "ui/CSubPanel.h"

#include "ui/CAccordionTitlePanel.h"
#include "ui/CImagePushButton.h"
#include "ui/CImageResources.h"
#include "ui/CSplitLine.h"
#include "ui/CTextPushButton.h"
#include "ui/CtrlDefs.h"

#include "common/Dictionaries.h"

#include <QThread>

#include <algorithm>

namespace KELCTRL {

namespace {

constexpr const char* kButtonKeys[4] = {"IDS_RESET", "IDS_APPLY", "IDS_CANCEL", "IDS_CLOSE"};

QString DictText(const char* key) {
    const char* text = GetDictItem(key);
    return text ? QString::fromUtf8(text) : QString::fromLatin1(key);
}

// The help image: the application's skin when it has one, else the image built into the library.
const CDpiAwareImage* HelpImage() {
    static const QString name = QStringLiteral("subpanel_help");
    if (const CDpiAwareImage* skin = GetDpiAwareSkinImage(name); skin && skin->GetResCount() > 0)
        return skin;
    // The map holds raw pointers: the holder deletes the images when the library unloads.
    struct BuiltInImages {
        DPI_IMAGE_MAP map;
        ~BuiltInImages() {
            for (auto& entry : map)
                delete entry.second;
        }
    };
    static BuiltInImages builtIn;
    static const IMAGE_RES_SOURCE source{QStringLiteral(":/skin"), QString(), QStringLiteral("skin_")};
    return GetDpiAwareImage(builtIn.map, source, name);
}

} // namespace

CSubPanel::CSubPanel(QWidget* parent) : CBaseWnd(parent) {}

CSubPanel::~CSubPanel() = default;

CBaseWnd* CSubPanel::GetButton(unsigned id) {
    if (!IsWindow())
        return nullptr;
    if (id >= IDC_RESET && id <= IDC_CLOSE) {
        auto& button = m_textButtons[id - IDC_RESET];
        if (!button) {
            button = std::make_unique<CTextPushButton>();
            button->Create(this, QRect(0, 0, 0, 0), id, DictText(kButtonKeys[id - IDC_RESET]), 0);
        }
        return button.get();
    }
    if (id == IDC_HELP) {
        if (!m_help) {
            m_help = std::make_unique<CImagePushButton>();
            m_help->Create(this, QRect(0, 0, 0, 0), IDC_HELP, DictText("IDS_HELP"), 0);
            m_help->SetImage(HelpImage());
        }
        return m_help.get();
    }
    return nullptr;
}

CSplitLine* CSubPanel::SplitLine(int index) {
    auto& line = m_splitLines[index];
    if (!line) {
        line = std::make_unique<CSplitLine>();
        line->Create(this, QRect(0, 0, 0, 0), 0, QString(), 0);
    }
    return line.get();
}

int CSubPanel::PlaceTextButtonsRB(int top, int right, int flag) {
    const CUISizeInfo* info = GetUISizeInfo();
    if (!IsWindow() || !info)
        return right;
    const int width = info->textButtonWidth;
    const int height = info->buttonHeight;
    const int gap = info->ctrlGap;
    for (unsigned id = IDC_RESET; id <= IDC_CLOSE; ++id)
        if (std::find(textButtons.begin(), textButtons.end(), id) == textButtons.end() &&
            m_textButtons[id - IDC_RESET])
            m_textButtons[id - IDC_RESET]->hide();
    int x = right;
    for (auto it = textButtons.rbegin(); it != textButtons.rend(); ++it) {
        CBaseWnd* button = GetButton(*it);
        if (!button || *it == IDC_HELP)
            continue;
        x -= width;
        button->MoveWindow(x, top, width, height, 1);
        button->show();
        x -= gap;
    }
    const int left = textButtons.empty() ? right : x + gap;
    const int margin = info->panelMargin;
    const int lineHeight = info->splitLineHeight;
    const int lineWidth = std::max(0, GetClientWidth() - 2 * margin);
    if (flag & PLACE_LINE_ABOVE) {
        SplitLine(0)->MoveWindow(margin, top - gap - lineHeight, lineWidth, lineHeight, 1);
        SplitLine(0)->show();
    } else if (m_splitLines[0]) {
        m_splitLines[0]->hide();
    }
    if (flag & PLACE_LINE_BELOW) {
        SplitLine(1)->MoveWindow(margin, top + height + gap, lineWidth, lineHeight, 1);
        SplitLine(1)->show();
    } else if (m_splitLines[1]) {
        m_splitLines[1]->hide();
    }
    return left;
}

void CSubPanel::SetupHelp(HELP_POSITION position, std::function<void()> callback) {
    helpPosition = position;
    helpCallback = std::move(callback);
    AdjustCtrls();
}

void CSubPanel::AdjustCtrls(int width, int height) {
    if (helpPosition == HELP_POSITION_NONE) {
        if (m_help)
            m_help->hide();
        return;
    }
    CBaseWnd* help = GetButton(IDC_HELP);
    const CUISizeInfo* info = GetUISizeInfo();
    if (!help || !info)
        return;
    const int side = info->rowHeight;
    const int margin = info->panelMargin;
    const bool right = helpPosition == HELP_POSITION_TOP_RIGHT || helpPosition == HELP_POSITION_BOTTOM_RIGHT;
    const bool bottom =
        helpPosition == HELP_POSITION_BOTTOM_LEFT || helpPosition == HELP_POSITION_BOTTOM_RIGHT;
    help->MoveWindow(right ? width - margin - side : margin, bottom ? height - margin - side : margin, side,
                     side, 1);
    help->show();
}

void CSubPanel::OnTextButton(unsigned id) {
    switch (id) {
    case IDC_RESET:
        OnReset();
        break;
    case IDC_APPLY:
        OnApply();
        break;
    case IDC_CANCEL:
        Cancel();
        break;
    case IDC_CLOSE:
        AskParentClose();
        break;
    case IDC_HELP:
        if (helpCallback)
            helpCallback();
        break;
    default:
        break;
    }
}

int CSubPanel::GetHeight(const CUISizeInfo*) {
    return 100;
}

void CSubPanel::Cancel() {
    if (m_cancelHook)
        m_cancelHook();
    AskParentClose();
}

void CSubPanel::AskParentClose() {
    if (CBaseWnd* parent = GetParentWnd())
        parent->SendMessage(WM_SUBPANEL_CLOSE, GetDlgCtrlID(), reinterpret_cast<intptr_t>(this));
}

void CSubPanel::Update() {
    if (QThread::currentThread() != thread()) {
        PostMessage(WM_SUBPANEL_UPDATE);
        return;
    }
    CSubPanel* outermost = this;
    for (QWidget* w = parentWidget(); w; w = w->parentWidget())
        if (auto* panel = dynamic_cast<CSubPanel*>(w))
            outermost = panel;
    if (outermost != this) {
        outermost->Update();
        return;
    }
    const int height = GetHeight(GetUISizeInfo());
    if (height == GetClientHeight()) {
        Redraw(nullptr, 1);
        return;
    }
    const QRect g = geometry();
    MoveWindow(g.x(), g.y(), g.width(), height, 1);
    NMHDR header;
    NotifyParent(NM_HEIGHT_CHANGED, header);
}

namespace {

CAccordionTitlePanel* TitlePanelOf(const QWidget* panel) {
    for (QWidget* w = panel->parentWidget(); w; w = w->parentWidget())
        if (auto* title = dynamic_cast<CAccordionTitlePanel*>(w))
            return title;
    return nullptr;
}

} // namespace

QString CSubPanel::GetAccordionTitlePanelTitle() const {
    const CAccordionTitlePanel* title = TitlePanelOf(this);
    return title ? title->GetTitle() : QString();
}

intptr_t CSubPanel::SendMessageToAccordionTitlePanel(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    CAccordionTitlePanel* title = TitlePanelOf(this);
    return title ? title->SendMessage(msg, wParam, lParam) : 0;
}

intptr_t CSubPanel::WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (msg == WM_SUBPANEL_UPDATE) {
        Update();
        return 1;
    }
    if (msg == WM_COMMAND && HighWord(wParam) == BN_CLICKED && LowWord(wParam) >= IDC_RESET &&
        LowWord(wParam) <= IDC_HELP) {
        OnTextButton(LowWord(wParam));
        return 1;
    }
    return CBaseWnd::WindowProc(msg, wParam, lParam);
}

void CSubPanel::SetCancelHook(const void* owner, std::function<void()> hook) {
    m_cancelOwner = owner;
    m_cancelHook = std::move(hook);
}

void CSubPanel::ClearCancelHook(const void* owner) {
    if (owner != m_cancelOwner)
        return;
    m_cancelOwner = nullptr;
    m_cancelHook = nullptr;
}

} // namespace KELCTRL
