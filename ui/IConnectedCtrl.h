#pragma once
// A mixin that keeps a row of controls (a label, a slider, a value edit) in step: each tells its
// brothers when its value changes, and they light up together when the pointer is over any of them.
#include <vector>

namespace KELCTRL {

class IConnectedCtrl {
public:
    // The sender's value changed; data points to the new integer value.
    static constexpr unsigned NOTIFY_VALUE_CHANGED = 100;

    IConnectedCtrl() = default;
    // Leaves every brother's list, so that no one notifies a control that is gone.
    virtual ~IConnectedCtrl();
    IConnectedCtrl(const IConnectedCtrl&) = delete;
    IConnectedCtrl& operator=(const IConnectedCtrl&) = delete;

    // A brother's notice; the return value is the receiver's answer, 0 by default.
    virtual int OnBrotherNotify(IConnectedCtrl* from, unsigned code, void* data);
    // Turns the highlight of this control on or off.
    virtual void SetHighlight(int highlight);
    int IsHighlighted() const { return m_highlight ? 1 : 0; }

    // This control will notify `other`; with `both` set, `other` notifies this one too. Connecting
    // twice or to itself does nothing.
    void Connect(IConnectedCtrl* other, int both);
    // Removes the connection in both directions.
    void Disconnect(IConnectedCtrl* other);
    void NotifyBrothers(unsigned code, void* data);
    // Sets the highlight of this control and of every brother.
    void HighlightBrothers(int highlight);
    const std::vector<IConnectedCtrl*>& Brothers() const { return m_brothers; }

private:
    void AddTo(std::vector<IConnectedCtrl*>& list, IConnectedCtrl* ctrl);
    static void RemoveFrom(std::vector<IConnectedCtrl*>& list, IConnectedCtrl* ctrl);

    bool m_highlight = false;
    std::vector<IConnectedCtrl*> m_brothers;  // told by this control
    std::vector<IConnectedCtrl*> m_notifiers; // controls that tell this one
};

} // namespace KELCTRL
