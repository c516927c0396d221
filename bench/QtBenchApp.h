#pragma once
// The benchmark program's QApplication, made on first use on the offscreen platform (unless another
// was chosen), for the benchmarks that need windows.
#include <QApplication>

namespace kel_bench {

inline QApplication& QtApp() {
    if (auto* app = qobject_cast<QApplication*>(QCoreApplication::instance()))
        return *app;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "kel_bench";
    static char* argv[] = {name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

} // namespace kel_bench
