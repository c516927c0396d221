#include "ui/CScrollAccordionPanelHost.h"

#include "ui/CAccordionPanelHost.h"
#include "ui/CAccordionTitlePanel.h"

namespace KELCTRL {

CScrollAccordionPanelHost::CScrollAccordionPanelHost(QWidget* parent) : CScrollWnd(parent) {}

CScrollAccordionPanelHost::~CScrollAccordionPanelHost() {
    SetContent(nullptr);
    m_accordion.reset();
}

void CScrollAccordionPanelHost::OnInitWnd() {
    CScrollWnd::OnInitWnd();
    m_accordion = std::make_unique<CAccordionPanelHost>();
    m_accordion->Create(this, QRect(0, 0, 0, 0), 1000, 1);
    SetContent(m_accordion.get());
}

int CScrollAccordionPanelHost::AddPanel(CSubPanel* panel, const QString& title, int expand,
                                        CAccordionTitlePanel* titlePanel) {
    return m_accordion ? m_accordion->AddPanel(panel, title, expand, titlePanel) : -1;
}

void CScrollAccordionPanelHost::ScrollToPanel(int position, int expand) {
    if (!m_accordion)
        return;
    CAccordionTitlePanel* entry = m_accordion->GetPanelByPos(position);
    if (expand)
        entry->Expand();
    const QRect g = entry->geometry();
    // The bottom is brought in only when it fits with the top; otherwise the top wins.
    const int bottom = g.height() <= GetPage() ? g.bottom() + 1 : g.top() + 1;
    ShowInView(g.top(), bottom);
}

} // namespace KELCTRL
