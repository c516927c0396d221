// A slider drag step in a label-slider-edit row: the move changes the value, the edit follows
// through the connection, and the three controls repaint at once. Beside it, an empty call measured
// in the same run, and a memcpy of the row's pixels.
#include "BenchUtil.h"

#include "ui/CBaseWnd.h"
#include "ui/CLabel.h"
#include "ui/CSlider.h"
#include "ui/CValueEdit.h"
#include "ui/CValueEditCtrl.h"
#include "ui/LabelSliderEdit.h"

#include "bench/QtBenchApp.h"

#include <QApplication>
#include <QMouseEvent>

namespace {

using namespace KELCTRL;

constexpr int kPanelWidth = 320;

class PanelWnd : public CBaseWnd {};

void SendMouse(QWidget& target, QEvent::Type type, QPoint p, Qt::MouseButtons held) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, QPointF(p), QPointF(target.mapToGlobal(p)), button, held, Qt::NoModifier);
    QApplication::sendEvent(&target, &e);
}

void BM_SliderRowMoveAndRepaint(benchmark::State& state) {
    kel_bench::QtApp();
    PanelWnd panel;
    panel.Create(nullptr, QRect(0, 0, kPanelWidth, 40), 1, 1);
    CLabel label;
    CSlider slider;
    CValueEdit edit;
    unsigned id = 100;
    CreateLabelSliderEdit(label, slider, edit, QStringLiteral("Exposure"), &panel, id);
    PlaceLabelSliderEdit(label, slider, edit, 4, kPanelWidth);
    SetSliderEditInfo(slider, edit, -100, 100, 1, 0);
    QCoreApplication::processEvents();
    const QPoint grab = slider.GetThumbRect().center();
    SendMouse(slider, QEvent::MouseButtonPress, grab, Qt::LeftButton);
    int x = grab.x();
    int dir = 1;
    long changes = 0;
    for (auto _ : state) {
        x += dir * 3;
        if (x >= slider.width() - 5 || x <= 5)
            dir = -dir;
        const int before = slider.GetValue();
        SendMouse(slider, QEvent::MouseMove, QPoint(x, grab.y()), Qt::LeftButton);
        changes += slider.GetValue() != before ? 1 : 0;
        label.repaint();
        slider.repaint();
        edit.repaint();
    }
    SendMouse(slider, QEvent::MouseButtonRelease, QPoint(x, grab.y()), Qt::NoButton);
    // Every step must really change the value, or the figure would time a repaint of nothing new.
    state.counters["changed_share"] = double(changes) / double(std::max<int64_t>(1, state.iterations()));
    const long pixels = long(label.width() + slider.width() + edit.width()) * slider.height();
    kel_bench::ReportThroughput(state, pixels, size_t(pixels) * 4);
}
BENCHMARK(BM_SliderRowMoveAndRepaint)->Unit(benchmark::kMicrosecond);

__attribute__((noinline)) void EmptyCall(int* p) {
    benchmark::DoNotOptimize(p);
}

void BM_SliderRowEmptyCall(benchmark::State& state) {
    int v = 0;
    for (auto _ : state)
        EmptyCall(&v);
}
BENCHMARK(BM_SliderRowEmptyCall)->Unit(benchmark::kMicrosecond);

} // namespace
