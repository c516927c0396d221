#pragma once
// The key state of the application: which virtual keys are down, as last seen by an application-wide
// event filter. X11 auto-repeat sends a release before every repeated press; those releases are
// ignored, so a held key stays down. Leaving the application forgets every key, since releases
// that happen elsewhere are never seen.
#include <QObject>

#include <array>
#include <atomic>

namespace KELCTRL {

class CKeyStateTracker : public QObject {
public:
    // Installs the filter on the application once; later calls do nothing. Needs a QCoreApplication.
    static void Install();
    // 0x8000 while the key is down, else 0 (the high bit of the classic key state).
    static int GetKeyState(unsigned vk);
    // Whether any of the letter keys A to Z is down: the tools' hot keys.
    static int IsAnyLetterKeyDown();
    // Forgets every key.
    static void Reset();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    CKeyStateTracker() = default;
    static void SetDown(unsigned vk, bool down);
    static std::array<std::atomic<bool>, 256> s_down;
};

} // namespace KELCTRL
