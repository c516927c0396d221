// The window base's paint path in a 1920 x 1080 window: one full repaint through the paint event
// (background, OnPaint blitting a client-sized image, border) and the same into an off-screen image.
#include "BenchUtil.h"

#include "ui/CBaseWnd.h"

#include "bench/QtBenchApp.h"

#include <QApplication>
#include <QPainter>

namespace {

using KELCTRL::CBaseWnd;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

// Paints what a canvas paints at most: one client-sized image.
class BlitWnd : public CBaseWnd {
public:
    BlitWnd() : m_content(kWidth, kHeight, QImage::Format_RGB32) { m_content.fill(qRgb(90, 120, 150)); }
    ~BlitWnd() override { DestroyWindow(); }
    void Repaint() { repaint(); }

protected:
    void OnPaint(QPainter& painter, int, int) override { painter.drawImage(0, 0, m_content); }

private:
    QImage m_content;
};

void BM_BaseWndFullRepaint(benchmark::State& state) {
    kel_bench::QtApp();
    BlitWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, kWidth, kHeight), 1, 1);
    wnd.SetBorder(1);
    QCoreApplication::processEvents();
    for (auto _ : state)
        wnd.Repaint();
    kel_bench::ReportThroughput(state, long(kWidth) * kHeight, size_t(kWidth) * kHeight * 4);
}
BENCHMARK(BM_BaseWndFullRepaint)->Unit(benchmark::kMillisecond);

void BM_BaseWndRenderClient(benchmark::State& state) {
    kel_bench::QtApp();
    BlitWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, kWidth, kHeight), 1, 0);
    for (auto _ : state) {
        QImage image = wnd.RenderClient();
        benchmark::DoNotOptimize(image.constBits());
    }
    kel_bench::ReportThroughput(state, long(kWidth) * kHeight, size_t(kWidth) * kHeight * 4);
}
BENCHMARK(BM_BaseWndRenderClient)->Unit(benchmark::kMillisecond);

} // namespace
