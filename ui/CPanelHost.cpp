#include "ui/CPanelHost.h"

#include "common/DebugTrace.h"

#include <algorithm>
#include <chrono>

namespace KELCTRL {

CPanelHost::CPanelHost(QWidget* parent) : CBaseWnd(parent) {}

CPanelHost::~CPanelHost() = default;

int CPanelHost::Create(QWidget* parent, const QRect& rect, unsigned id, int visible) {
    if (IsWindow())
        return 0;
    setObjectName(QStringLiteral("PanelHost"));
    // Bars first, so that the first sizing already lays them out.
    m_locked = true;
    const int ok = CBaseWnd::Create(parent, QRect(rect.topLeft(), QSize(0, 0)), id, 0);
    CreateBars();
    m_locked = false;
    MoveWindow(rect, 0);
    Reposition();
    if (visible)
        show();
    return ok;
}

void CPanelHost::CreateBars() {
    for (int side = 0; side < DOCK_TYPE_COUNT; ++side)
        MakeBar(static_cast<DOCK_TYPE>(side));
}

void CPanelHost::MakeBar(DOCK_TYPE dockType) {
    if (m_bars[dockType])
        return;
    m_bars[dockType] = std::make_unique<CDockableBar>();
    m_bars[dockType]->CreateForSide(this, dockType);
}

int CPanelHost::GetBarThickness() const {
    const CUISizeInfo* info = GetUISizeInfo();
    return info ? info->ScaledSizeX(BAR_SIZE) : BAR_SIZE;
}

void CPanelHost::Lock(int locked) {
    m_locked = locked != 0;
    if (!m_locked)
        Reposition();
}

void CPanelHost::Place(CBaseWnd* wnd, const QRect& rect) {
    if (wnd->geometry() == rect && wnd->GetClientWidth() == rect.width() &&
        wnd->GetClientHeight() == rect.height())
        return;
    wnd->MoveWindow(rect, 0);
    wnd->Redraw(nullptr, 1);
}

void CPanelHost::Reposition() {
    if (!IsWindow() || m_repositioning || m_locked)
        return;
    for (const auto& bar : m_bars)
        if (!bar)
            return;
    m_repositioning = true;
    const int w = GetClientWidth();
    const int h = GetClientHeight();
    const int t = GetBarThickness();
    auto docked = [this](DOCK_TYPE side) {
        return m_bars[side]->GetPanel() && m_bars[side]->GetBarState() == CDockableBar::BAR_DOCKED;
    };
    CDockablePanel* top = GetPanel(DOCK_TOP);
    CDockablePanel* bottom = GetPanel(DOCK_BOTTOM);
    CDockablePanel* left = GetPanel(DOCK_LEFT);
    CDockablePanel* right = GetPanel(DOCK_RIGHT);

    Place(m_bars[DOCK_TOP].get(), QRect(0, 0, w, t));
    Place(m_bars[DOCK_BOTTOM].get(), QRect(0, h - t, w, t));

    int spanTop = t;
    int spanBottom = h - t;
    if (docked(DOCK_TOP))
        spanTop += top->GetThickness();
    if (docked(DOCK_BOTTOM))
        spanBottom -= bottom->GetThickness();
    const int spanHeight = std::max(0, spanBottom - spanTop);
    Place(m_bars[DOCK_LEFT].get(), QRect(0, spanTop, t, spanHeight));
    Place(m_bars[DOCK_RIGHT].get(), QRect(w - t, spanTop, t, spanHeight));

    int cLeft = t;
    int cTop = t;
    int cRight = w - t;
    int cBottom = h - t;
    if (top) {
        top->stackUnder(m_bars[DOCK_TOP].get());
        Place(top, QRect(0, t, w, top->GetThickness()));
        if (docked(DOCK_TOP))
            cTop += top->GetThickness();
    }
    if (bottom) {
        bottom->stackUnder(m_bars[DOCK_BOTTOM].get());
        Place(bottom, QRect(0, h - t - bottom->GetThickness(), w, bottom->GetThickness()));
        if (docked(DOCK_BOTTOM))
            cBottom -= bottom->GetThickness();
    }
    if (left) {
        left->stackUnder(m_bars[DOCK_LEFT].get());
        Place(left, QRect(t, spanTop, left->GetThickness(), spanHeight));
        if (docked(DOCK_LEFT))
            cLeft += left->GetThickness();
    }
    if (right) {
        right->stackUnder(m_bars[DOCK_RIGHT].get());
        Place(right, QRect(w - t - right->GetThickness(), spanTop, right->GetThickness(), spanHeight));
        if (docked(DOCK_RIGHT))
            cRight -= right->GetThickness();
    }
    if (m_current) {
        m_current->lower();
        Place(m_current, QRect(cLeft, cTop, std::max(0, cRight - cLeft), std::max(0, cBottom - cTop)));
    }
    m_repositioning = false;
}

void CPanelHost::SetPanel(DOCK_TYPE dockType, CDockablePanel* panel, int state) {
    CDockableBar* bar = m_bars[dockType].get();
    if (!bar)
        return;
    CDockablePanel* old = bar->GetPanel();
    if (old && old != panel) {
        bar->HidePanel();
        old->hide();
    }
    if (!panel) {
        bar->SetPanel(nullptr);
        Reposition();
        return;
    }
    const bool wasLocked = m_locked;
    m_locked = true;
    if (!panel->IsWindow())
        panel->CreateForSide(this, dockType);
    else if (panel->parentWidget() != this)
        panel->setParent(this);
    panel->SetDockType(dockType);
    const int thickness = panel->GetFixedSize(GetUISizeInfo());
    if (panel->IsVertical())
        panel->MoveWindow(0, 0, thickness, panel->GetClientHeight(), 0);
    else
        panel->MoveWindow(0, 0, panel->GetClientWidth(), thickness, 0);
    bar->SetPanel(panel);
    if (state == CDockableBar::BAR_DOCKED)
        bar->DockPanel();
    else if (state == CDockableBar::BAR_SHOWN)
        bar->ShowPanel();
    else
        bar->HidePanel();
    m_locked = wasLocked;
    Reposition();
}

CDockablePanel* CPanelHost::GetPanel(DOCK_TYPE dockType) const {
    return m_bars[dockType] ? m_bars[dockType]->GetPanel() : nullptr;
}

void CPanelHost::AddCenterWnd(CBaseWnd* wnd, const QString& name) {
    if (!wnd)
        return;
    for (auto& c : m_centers)
        if (c.name == name) {
            c.wnd = wnd;
            return;
        }
    if (wnd->parentWidget() != this)
        wnd->setParent(this);
    m_centers.push_back({name, wnd});
    if (!m_current)
        ShowCenterWnd(name);
    else
        wnd->hide();
}

int CPanelHost::ShowCenterWnd(const QString& name) {
    auto it =
        std::find_if(m_centers.begin(), m_centers.end(), [&](const CenterWnd& c) { return c.name == name; });
    if (it == m_centers.end())
        return 0;
    if (m_current && m_current != it->wnd)
        m_current->hide();
    m_current = it->wnd;
    Reposition();
    m_current->show();
    return 1;
}

void CPanelHost::RedrawCenterWnd() {
    if (m_current)
        m_current->Redraw(nullptr, 1);
}

void CPanelHost::SetStates(const std::vector<DOCK_TYPE>& sides, int state) {
    const bool wasLocked = m_locked;
    m_locked = true;
    for (DOCK_TYPE side : sides) {
        CDockableBar* bar = m_bars[side].get();
        if (!bar || !bar->GetPanel())
            continue;
        if (state == CDockableBar::BAR_DOCKED)
            bar->DockPanel();
        else
            bar->HidePanel();
    }
    m_locked = wasLocked;
    Reposition();
    RedrawCenterWnd();
}

int CPanelHost::AnyDocked(const std::vector<DOCK_TYPE>& sides) const {
    for (DOCK_TYPE side : sides)
        if (m_bars[side] && m_bars[side]->GetPanel() &&
            m_bars[side]->GetBarState() == CDockableBar::BAR_DOCKED)
            return 1;
    return 0;
}

static const std::vector<DOCK_TYPE> kAllSides = {DOCK_TOP, DOCK_BOTTOM, DOCK_LEFT, DOCK_RIGHT};
static const std::vector<DOCK_TYPE> kSideSides = {DOCK_LEFT, DOCK_RIGHT};

void CPanelHost::DockAllPanels() {
    SetStates(kAllSides, CDockableBar::BAR_DOCKED);
}

void CPanelHost::HideAllPanels() {
    SetStates(kAllSides, CDockableBar::BAR_HIDDEN);
}

void CPanelHost::DockSidePanels() {
    SetStates(kSideSides, CDockableBar::BAR_DOCKED);
}

void CPanelHost::HideSidePanels() {
    SetStates(kSideSides, CDockableBar::BAR_HIDDEN);
}

void CPanelHost::ToggleAllPanels() {
    SetStates(kAllSides, AnyDocked(kAllSides) ? CDockableBar::BAR_HIDDEN : CDockableBar::BAR_DOCKED);
}

void CPanelHost::ToggleSidePanels() {
    SetStates(kSideSides, AnyDocked(kSideSides) ? CDockableBar::BAR_HIDDEN : CDockableBar::BAR_DOCKED);
}

void CPanelHost::OnPanelChanged() {
    Reposition();
}

void CPanelHost::AdjustCtrls(int, int) {
    Reposition();
}

intptr_t CPanelHost::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    if (header && (header->code == CDockableBar::NM_PANEL_CHANGED ||
                   header->code == CDockablePanel::NM_PANEL_RESIZED)) {
        OnPanelChanged();
        return 1;
    }
    return CBaseWnd::OnNotify(ctrlId, header);
}

intptr_t CPanelHost::OnDPIChanged(uintptr_t wParam, const QRect* rect) {
    const auto start = std::chrono::steady_clock::now();
    const CUISizeInfo* oldInfo = GetUISizeInfo();
    // The base hands the new record to every child and sizes the host; the panels' thicknesses
    // are still those of the old dpi then, so layout waits until they are carried over.
    const bool wasLocked = m_locked;
    m_locked = true;
    const intptr_t result = CBaseWnd::OnDPIChanged(wParam, rect);
    for (int side = 0; side < DOCK_TYPE_COUNT; ++side)
        if (CDockablePanel* panel = GetPanel(static_cast<DOCK_TYPE>(side)))
            panel->AdjustDPI(oldInfo);
    m_locked = wasLocked;
    Reposition();
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
            .count();
    if (ms >= 11)
        DebugTrace("[%s] Time Cost: %d\n", "KELCTRL::CPanelHost::OnDPIChanged", static_cast<int>(ms));
    return result;
}

} // namespace KELCTRL
