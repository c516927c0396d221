#include "imagewnd/CKeyStateTracker.h"

#include "ui/InputMapping.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPointer>

namespace KELCTRL {

std::array<std::atomic<bool>, 256> CKeyStateTracker::s_down{};

namespace {
QPointer<CKeyStateTracker> g_tracker;
} // namespace

void CKeyStateTracker::Install() {
    QCoreApplication* app = QCoreApplication::instance();
    if (!app || g_tracker)
        return;
    // Parented to the application, so a later application gets a tracker of its own.
    auto* tracker = new CKeyStateTracker();
    tracker->setParent(app);
    app->installEventFilter(tracker);
    g_tracker = tracker;
}

int CKeyStateTracker::GetKeyState(unsigned vk) {
    return vk < s_down.size() && s_down[vk].load() ? 0x8000 : 0;
}

int CKeyStateTracker::IsAnyLetterKeyDown() {
    for (unsigned vk = 'A'; vk <= 'Z'; ++vk)
        if (s_down[vk].load())
            return 1;
    return 0;
}

void CKeyStateTracker::Reset() {
    for (auto& key : s_down)
        key.store(false);
}

void CKeyStateTracker::SetDown(unsigned vk, bool down) {
    if (vk < s_down.size())
        s_down[vk].store(down);
}

bool CKeyStateTracker::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        auto* key = static_cast<QKeyEvent*>(event);
        const bool down = event->type() == QEvent::KeyPress;
        if (!down && key->isAutoRepeat())
            break;
        SetDown(VirtualKeyFromQt(key->key(), key->modifiers()), down);
        break;
    }
    case QEvent::ApplicationDeactivate:
        Reset();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace KELCTRL
