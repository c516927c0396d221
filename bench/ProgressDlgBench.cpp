// One tick of the worker dialog's timer while a batch reports errors: 1,000 new error rows reach a list
// that already holds 10,000, beside a tick with nothing new in the same run. The baseline is a memcpy
// of the rows' text.
#include "BenchUtil.h"

#include "ui/CMultiTaskProgressDlg.h"

#include "bench/QtBenchApp.h"

#include <QApplication>
#include <QTimer>
#include <QTreeWidget>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using KELCTRL::CMultiTaskProgressDlg;

constexpr int kExistingRows = 10000;

// The dialog with its timer tick callable from the benchmark.
class TickDlg : public CMultiTaskProgressDlg {
public:
    TickDlg() : CMultiTaskProgressDlg(1, 1) {}
    void TickNow() { OnTimer(kTimerId); }
};

std::atomic<bool> g_release{false};

unsigned BlockedWorker(void*) {
    while (!g_release.load())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return 0;
}

QString ErrorText(int i) {
    return QStringLiteral("IMG_%1.jpg: the file could not be read (unexpected end of data)").arg(i);
}

// Fills the list with kExistingRows rows through the worker's path and one tick.
void Refill(TickDlg& dlg) {
    dlg.GetErrorList()->clear();
    for (int i = 0; i < kExistingRows; ++i)
        dlg.AddErrorItem(ErrorText(i));
    dlg.TickNow();
}

// Runs `body` inside the dialog's modal loop while a worker that never reports is running.
template <class Body> void WithRunningDialog(Body body) {
    kel_bench::QtApp();
    TickDlg dlg;
    g_release = false;
    QTimer::singleShot(0, &dlg, [&] {
        body(dlg);
        g_release = true;
        dlg.EndDialog(CMultiTaskProgressDlg::IDCANCEL);
    });
    dlg.DoModal(QStringLiteral("bench"), BlockedWorker, nullptr);
}

void BM_ProgressDlgTickErrorRows(benchmark::State& state) {
    const int newRows = static_cast<int>(state.range(0));
    size_t textBytes = 0;
    for (int i = 0; i < newRows; ++i)
        textBytes += size_t(ErrorText(kExistingRows + i).size()) * sizeof(QChar);
    int rows = 0;
    WithRunningDialog([&](TickDlg& dlg) {
        for (auto _ : state) {
            state.PauseTiming();
            Refill(dlg);
            for (int i = 0; i < newRows; ++i)
                dlg.AddErrorItem(ErrorText(kExistingRows + i));
            state.ResumeTiming();
            dlg.TickNow();
        }
        rows = dlg.GetErrorList()->topLevelItemCount();
    });
    state.counters["rows"] = rows;
    state.counters["memcpy_ms"] = kel_bench::MemcpySeconds(std::max<size_t>(textBytes, 1)) * 1e3;
}
BENCHMARK(BM_ProgressDlgTickErrorRows)->Arg(0)->Arg(1000)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace
