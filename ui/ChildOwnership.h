#pragma once
// Containers in this folder hold windows that their callers own. Qt deletes a widget's children with
// it, so a container gives such windows back (hidden, without a parent) before it goes; a window the
// caller already deleted is no longer among the children and is never touched.
#include <QObject>
#include <QWidget>

#include <algorithm>

namespace KELCTRL {

template <class Container> void DetachCallerOwned(QWidget* container, const Container& owned) {
    const QObjectList children = container->children();
    for (QObject* child : children) {
        if (!child->isWidgetType())
            continue;
        auto* w = static_cast<QWidget*>(child);
        if (std::find(owned.begin(), owned.end(), w) == owned.end())
            continue;
        w->hide();
        w->setParent(nullptr);
    }
}

} // namespace KELCTRL
