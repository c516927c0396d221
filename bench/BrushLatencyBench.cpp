// Brush latency on a real canvas: from a point entering the tracker to the end of the window paint
// that shows it painted. Points are fed at 1,000 per second from a thread of their own along a
// line, one screen pixel apart, on a 24 MP image at fit in a 1920 x 1080 window and at 1:1. The host
// edit is a cheap exposure lift under the mask, so the figures are the brush's own.
#include "BenchUtil.h"
#include "common/testing/TestImages.h"
#include "imagewnd/CImageWnd.h"
#include "tools/paint/CBrushTool.h"

#include "bench/QtBenchApp.h"

#include <QApplication>
#include <QMouseEvent>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

namespace {

using namespace KELCTRL;
using namespace KELCTRL::IMGWND_TOOL;
using Clock = std::chrono::steady_clock;

std::atomic<CBrushTool*> g_tool{nullptr};

// Doubles the exposure where the mask is painted, weighted by the mask.
void LiftUnderMask(const CImageWnd*, CImageDataInfo& dst, const CImageDataInfo&, double zoom, int x, int y,
                   const CImageDataInfo*) {
    CBrushTool* tool = g_tool.load();
    const CSelectedRegion* mask = tool ? tool->GetCanvas(zoom < 1.0 ? 1 : 0, -1) : nullptr;
    if (!mask)
        return;
    for (int j = 0; j < dst.height; ++j) {
        const int my = y + j;
        if (my < 0 || my >= mask->height)
            continue;
        unsigned char* row = dst.RowPtr(j);
        const uint16_t* m = mask->Row(my);
        for (int i = 0; i < dst.width; ++i) {
            const int mx = x + i;
            if (mx < 0 || mx >= mask->width || m[mx] == 0)
                continue;
            for (int c = 0; c < 3; ++c) {
                const unsigned v = row[i * 3 + c];
                const unsigned lifted = std::min(255u, v * 2);
                row[i * 3 + c] = static_cast<unsigned char>(v + (lifted - v) * m[mx] / 65535u);
            }
        }
    }
}

// Records, at the end of every paint, which fed points are now shown painted.
class LatencyWnd : public CImageWnd {
public:
    std::vector<QPoint> imagePoints;      // image pixel of each fed point
    std::vector<Clock::time_point> fedAt; // filled by the feeder
    std::atomic<size_t> fedCount{0};
    std::vector<double> latencies; // ms, in point order
    ~LatencyWnd() override { DestroyWindow(); }

protected:
    void OnPaint(QPainter& painter, int width, int height) override {
        CImageWnd::OnPaint(painter, width, height);
        CBrushTool* tool = g_tool.load();
        const CSelectedRegion* mask = tool ? tool->GetCanvas(0, -1) : nullptr;
        if (!mask)
            return;
        const auto now = Clock::now();
        const size_t fed = fedCount.load();
        while (latencies.size() < fed) {
            const QPoint p = imagePoints[latencies.size()];
            if (mask->Row(p.y())[p.x()] == 0)
                break;
            latencies.push_back(
                std::chrono::duration<double, std::milli>(now - fedAt[latencies.size()]).count());
        }
    }
};

void SendMouse(QWidget& wnd, QEvent::Type type, QPoint p) {
    // Presses far apart in time, so that no stroke's press counts as the second click of a double click.
    static quint64 timestamp = 100000;
    timestamp += 5000;
    QMouseEvent e(type, QPointF(p), QPointF(wnd.mapToGlobal(p)), Qt::LeftButton,
                  type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    e.setTimestamp(timestamp);
    QApplication::sendEvent(&wnd, &e);
}

double Percentile(std::vector<double> v, double q) {
    if (v.empty())
        return -1.0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(q * (v.size() - 1) + 0.5))];
}

// Arg: 0 fit, 1 one to one.
void BM_BrushLatency(benchmark::State& state) {
    kel_bench::QtApp();
    const bool oneToOne = state.range(0) != 0;
    constexpr int kPoints = 600;
    CImageDataInfo image, before;
    kel_testing::MakeGradient(before, 6000, 4000, 3, 1);
    image = before;
    CBaseWnd parent;
    parent.Create(nullptr, QRect(0, 0, 1920, 1080), 0);
    LatencyWnd wnd;
    wnd.Create(&parent, QRect(0, 0, 1920, 1080), 1001);
    wnd.SetImage(image, &before);
    wnd.SetZoom(oneToOne ? ZOOM_TYPE_NOZOOM : ZOOM_TYPE_FIT, nullptr, nullptr);
    wnd.SetProcessImageFunc(&LiftUnderMask);
    CBrushTool tool;
    g_tool.store(&tool);
    wnd.LoadTool(&tool);
    tool.SetBrush(CBrush(30, 50, 100, 100));
    tool.WaitMasksBuilt(-1);
    // The first stroke would otherwise wait for the zoomed copy of the image.
    const auto cacheDeadline = Clock::now() + std::chrono::seconds(30);
    while (!oneToOne && !wnd.IsZoomedCacheReady() && Clock::now() < cacheDeadline)
        QApplication::processEvents(QEventLoop::AllEvents, 10);

    std::vector<double> all;
    size_t shown = 0, fed = 0;
    for (auto _ : state) {
        tool.Reset();
        const QPoint start(400, 540);
        wnd.imagePoints.clear();
        std::vector<QPoint> globals;
        for (int i = 1; i <= kPoints; ++i) {
            const QPoint client(start.x() + i, start.y() + (i / 100) * 2);
            TPoint<double> at;
            wnd.PointWnd2Image(client.x(), client.y(), at);
            wnd.imagePoints.emplace_back(static_cast<int>(std::floor(at.x)),
                                         static_cast<int>(std::floor(at.y)));
            globals.push_back(wnd.mapToGlobal(client));
        }
        wnd.fedAt.assign(kPoints, Clock::time_point());
        wnd.fedCount.store(0);
        wnd.latencies.clear();
        SendMouse(wnd, QEvent::MouseButtonPress, start);
        GS_INPUT::MouseTracker& tracker = tool.GetMouseTracker();
        std::thread feeder([&] {
            auto next = Clock::now();
            for (int i = 0; i < kPoints; ++i) {
                std::this_thread::sleep_until(next);
                wnd.fedAt[static_cast<size_t>(i)] = Clock::now();
                tracker.FeedMove(globals[static_cast<size_t>(i)].x(), globals[static_cast<size_t>(i)].y());
                wnd.fedCount.store(static_cast<size_t>(i) + 1);
                next += std::chrono::microseconds(1000);
            }
        });
        const auto deadline = Clock::now() + std::chrono::seconds(20);
        while (wnd.latencies.size() < kPoints && Clock::now() < deadline)
            QApplication::processEvents(QEventLoop::AllEvents, 5);
        feeder.join();
        SendMouse(wnd, QEvent::MouseButtonRelease, start);
        all.insert(all.end(), wnd.latencies.begin(), wnd.latencies.end());
        shown += wnd.latencies.size();
        fed += kPoints;
    }
    wnd.UnloadTool(&tool, 0);
    g_tool.store(nullptr);
    // The share of fed points seen painted; below 1 the figures are incomplete.
    state.counters["shown"] = fed ? static_cast<double>(shown) / static_cast<double>(fed) : 0.0;
    state.counters["median_ms"] = Percentile(all, 0.5);
    state.counters["p95_ms"] = Percentile(all, 0.95);
    state.counters["memcpy_ms"] = kel_bench::MemcpySeconds(static_cast<size_t>(kel_bench::k24MP) * 3) * 1e3;
}
BENCHMARK(BM_BrushLatency)
    ->Arg(0)
    ->Arg(1)
    ->ArgNames({"one_to_one"})
    ->Iterations(3)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
