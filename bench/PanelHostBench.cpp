// Layout of a full editor frame: a panel host whose four side panels each hold a scrolling accordion
// of 30 sub-panels. One iteration is a Reposition followed by a dpi change (96 <-> 144) that carries
// every window to the new sizes, beside an empty call measured in the same run. Target: under 11 ms.
#include "BenchUtil.h"

#include "ui/CAccordionPanelHost.h"
#include "ui/CDockablePanel.h"
#include "ui/CDockablePanelChild.h"
#include "ui/CPanelHost.h"
#include "ui/CScrollAccordionPanelHost.h"
#include "ui/CSubPanel.h"
#include "ui/CUISizeInfo.h"
#include "ui/WinDefs.h"

#include "bench/QtBenchApp.h"

#include <QApplication>

#include <memory>
#include <vector>

namespace {

using namespace KELCTRL;

constexpr int kPanelsPerAccordion = 30;

class RowsPanel : public CSubPanel {
public:
    int GetHeight(const CUISizeInfo* info) override { return info ? info->ScaledSizeY(90) : 90; }
};

// A side panel page that is one scrolling accordion filling the page.
class AccordionPage : public CDockablePanelChild {
public:
    CScrollAccordionPanelHost scroller;
    std::vector<std::unique_ptr<RowsPanel>> panels;
    ~AccordionPage() override { panels.clear(); }
    void Fill() {
        scroller.Create(this, QRect(0, 0, GetClientWidth(), GetClientHeight()), 1, 1);
        for (int i = 0; i < kPanelsPerAccordion; ++i) {
            panels.push_back(std::make_unique<RowsPanel>());
            scroller.AddPanel(panels.back().get(), QStringLiteral("Panel %1").arg(i), i % 3 == 0);
        }
    }
    using CDockablePanelChild::AdjustCtrls;
    void AdjustCtrls(int width, int height) override {
        if (scroller.IsWindow())
            scroller.MoveWindow(0, 0, width, height, 1);
    }
};

struct FrameUnderTest {
    unsigned dpi = 96;
    CPanelHost host;
    CBaseWnd centre;
    std::unique_ptr<CDockablePanel> sides[DOCK_TYPE_COUNT];
    std::unique_ptr<AccordionPage> pages[DOCK_TYPE_COUNT];

    FrameUnderTest() {
        SetDpiProvider([this](const QWidget*) { return std::make_pair(dpi, dpi); });
        host.Create(nullptr, QRect(0, 0, 1600, 1000), 1, 1);
        centre.Create(&host, QRect(0, 0, 10, 10), 2, 1);
        host.AddCenterWnd(&centre, QStringLiteral("canvas"));
        for (int side = 0; side < DOCK_TYPE_COUNT; ++side) {
            sides[side] = std::make_unique<CDockablePanel>();
            sides[side]->SetFixedSize(side < 2 ? 160 : 260);
            host.SetPanel(static_cast<DOCK_TYPE>(side), sides[side].get(), CDockableBar::BAR_DOCKED);
            pages[side] = std::make_unique<AccordionPage>();
            sides[side]->AddChild(pages[side].get());
            pages[side]->FillParent();
            pages[side]->Fill();
        }
        host.Reposition();
    }
    ~FrameUnderTest() {
        for (int side = 0; side < DOCK_TYPE_COUNT; ++side) {
            pages[side].reset();
            sides[side].reset();
        }
        SetDpiProvider(nullptr);
    }
    void SwitchDpi() {
        dpi = dpi == 96 ? 144 : 96;
        const QRect same = host.geometry();
        host.SendMessage(WM_DPICHANGED, MakeDpiWParam(dpi, dpi), reinterpret_cast<intptr_t>(&same));
    }
};

void BM_PanelHostRepositionAndDpiChange(benchmark::State& state) {
    kel_bench::QtApp();
    FrameUnderTest frame;
    QCoreApplication::processEvents();
    for (auto _ : state) {
        frame.host.Reposition();
        frame.SwitchDpi();
        // The accordions' sub-panels re-measure by posted messages; they are part of the cost.
        QCoreApplication::processEvents();
    }
    state.counters["windows"] = static_cast<double>(frame.host.findChildren<QWidget*>().size());
}
BENCHMARK(BM_PanelHostRepositionAndDpiChange)->Unit(benchmark::kMillisecond);

__attribute__((noinline)) void EmptyCall(FrameUnderTest* frame) {
    benchmark::DoNotOptimize(frame);
}

// The same loop with the layout replaced by an empty call: what the harness itself costs.
void BM_PanelHostEmptyCall(benchmark::State& state) {
    kel_bench::QtApp();
    FrameUnderTest frame;
    QCoreApplication::processEvents();
    for (auto _ : state) {
        EmptyCall(&frame);
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_PanelHostEmptyCall)->Unit(benchmark::kMillisecond);

} // namespace
