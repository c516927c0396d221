#include "imagewnd/INavigatorCtrl.h"

#include <algorithm>

namespace KELCTRL {

namespace {
std::vector<INavigatorCtrl*>& Registry() {
    static std::vector<INavigatorCtrl*> registry;
    return registry;
}
} // namespace

INavigatorCtrl::INavigatorCtrl() {
    Registry().push_back(this);
}

INavigatorCtrl::~INavigatorCtrl() {
    auto& registry = Registry();
    registry.erase(std::remove(registry.begin(), registry.end(), this), registry.end());
}

const std::vector<INavigatorCtrl*>& INavigatorCtrl::Registered() {
    return Registry();
}

bool INavigatorCtrl::IsRegistered(const INavigatorCtrl* ctrl) {
    const auto& registry = Registry();
    return std::find(registry.begin(), registry.end(), ctrl) != registry.end();
}

} // namespace KELCTRL
