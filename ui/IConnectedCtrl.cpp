#include "ui/IConnectedCtrl.h"

#include <algorithm>

namespace KELCTRL {

IConnectedCtrl::~IConnectedCtrl() {
    for (IConnectedCtrl* b : m_brothers)
        RemoveFrom(b->m_notifiers, this);
    for (IConnectedCtrl* n : m_notifiers)
        RemoveFrom(n->m_brothers, this);
}

int IConnectedCtrl::OnBrotherNotify(IConnectedCtrl*, unsigned, void*) {
    return 0;
}

void IConnectedCtrl::SetHighlight(int highlight) {
    m_highlight = highlight != 0;
}

void IConnectedCtrl::AddTo(std::vector<IConnectedCtrl*>& list, IConnectedCtrl* ctrl) {
    if (std::find(list.begin(), list.end(), ctrl) == list.end())
        list.push_back(ctrl);
}

void IConnectedCtrl::RemoveFrom(std::vector<IConnectedCtrl*>& list, IConnectedCtrl* ctrl) {
    list.erase(std::remove(list.begin(), list.end(), ctrl), list.end());
}

void IConnectedCtrl::Connect(IConnectedCtrl* other, int both) {
    if (!other || other == this)
        return;
    AddTo(m_brothers, other);
    AddTo(other->m_notifiers, this);
    if (both)
        other->Connect(this, 0);
}

void IConnectedCtrl::Disconnect(IConnectedCtrl* other) {
    if (!other)
        return;
    RemoveFrom(m_brothers, other);
    RemoveFrom(m_notifiers, other);
    RemoveFrom(other->m_brothers, this);
    RemoveFrom(other->m_notifiers, this);
}

void IConnectedCtrl::NotifyBrothers(unsigned code, void* data) {
    // A brother may disconnect while it is told; walk a copy.
    const std::vector<IConnectedCtrl*> brothers = m_brothers;
    for (IConnectedCtrl* b : brothers)
        b->OnBrotherNotify(this, code, data);
}

void IConnectedCtrl::HighlightBrothers(int highlight) {
    SetHighlight(highlight);
    const std::vector<IConnectedCtrl*> brothers = m_brothers;
    for (IConnectedCtrl* b : brothers)
        b->SetHighlight(highlight);
}

} // namespace KELCTRL
