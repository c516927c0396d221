#pragma once
// An accordion inside a scroll window: the accordion grows with its entries and the frame scrolls it.
#include "ui/CScrollWnd.h"

#include <memory>

namespace KELCTRL {

class CAccordionPanelHost;
class CAccordionTitlePanel;
class CSubPanel;

class CScrollAccordionPanelHost : public CScrollWnd {
public:
    explicit CScrollAccordionPanelHost(QWidget* parent = nullptr);
    ~CScrollAccordionPanelHost() override;

    CAccordionPanelHost* GetAccordion() const { return m_accordion.get(); }
    // As CAccordionPanelHost::AddPanel.
    int AddPanel(CSubPanel* panel, const QString& title, int expand,
                 CAccordionTitlePanel* titlePanel = nullptr);
    // Scrolls the least that shows the whole entry at `position` (its top first when it is taller
    // than the frame); with `expand` set the entry opens first.
    void ScrollToPanel(int position, int expand);

protected:
    void OnInitWnd() override;

private:
    std::unique_ptr<CAccordionPanelHost> m_accordion;
};

} // namespace KELCTRL
