#pragma once
// A brush tool on a real canvas: a 400 x 300 window at 1:1 showing a 200 x 150 image with a
// before-image, a host process function that shows the mask (255 where painted), and a panel that
// records the tool's notifications.
#include "BrushScenarios.h"
#include "common/testing/TestImages.h"
#include "imageprocess/BrushPaint.h"
#include "imagewnd/CImageWnd.h"
#include "imagewnd/CKeyStateTracker.h"
#include "tools/paint/BrushSizeScale.h"
#include "tools/paint/CBrushTool.h"
#include "ui/CSubPanel.h"
#include "ui/tests/QtTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <mutex>
#include <thread>
#include <vector>

namespace brush_tool_testing {

using namespace KELCTRL;
using namespace KELCTRL::IMGWND_TOOL;

class NotifyPanel : public CSubPanel {
public:
    std::vector<unsigned> Codes() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_codes;
    }
    void Clear() {
        std::lock_guard<std::mutex> guard(m_lock);
        m_codes.clear();
    }

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t w, intptr_t l) override {
        if (msg == WM_IWT_NOTIFY) {
            std::lock_guard<std::mutex> guard(m_lock);
            m_codes.push_back(static_cast<unsigned>(w));
            return 1;
        }
        return CSubPanel::WindowProc(msg, w, l);
    }

private:
    std::mutex m_lock;
    std::vector<unsigned> m_codes;
};

// The host edit of these tests: 255 where the tool's mask is at least half painted, else the source.
inline std::atomic<CBrushTool*>& ShownTool() {
    static std::atomic<CBrushTool*> tool{nullptr};
    return tool;
}

inline void ShowMaskProcess(const CImageWnd*, CImageDataInfo& dst, const CImageDataInfo& src, double, int x,
                            int y, const CImageDataInfo*) {
    CBrushTool* tool = ShownTool().load();
    const CSelectedRegion* mask = tool ? tool->GetCanvas(0, -1) : nullptr;
    for (int j = 0; j < dst.height; ++j)
        for (int i = 0; i < dst.width; ++i) {
            const int mx = x + i, my = y + j;
            const bool painted = mask && mx >= 0 && my >= 0 && mx < mask->width && my < mask->height &&
                                 mask->Row(my)[mx] >= 0x8000;
            for (int c = 0; c < dst.channels; ++c)
                kel_testing::SetValue(dst, i, j, c, painted ? 255 : kel_testing::GetValue(src, mx, my, c));
        }
}

class BrushToolFixture : public ::testing::Test {
protected:
    static constexpr int kW = brush_scenarios::kW, kH = brush_scenarios::kH;

    void SetUp() override {
        kel_qt_test::App();
        CKeyStateTracker::Install();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        panel.Create(&parent, QRect(420, 0, 100, 100), 1002);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
        ASSERT_TRUE(kel_testing::MakeConstant(image, kW, kH, 3, 1, 100));
        ASSERT_TRUE(kel_testing::MakeConstant(before, kW, kH, 3, 1, 100));
        ASSERT_EQ(wnd.SetImage(image, &before), 1);
        wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
        wnd.SetProcessImageFunc(&ShowMaskProcess);
        ShownTool().store(&tool);
        tool.SetNotifyWnd(&panel);
    }
    void TearDown() override {
        wnd.UnloadAllTools();
        ShownTool().store(nullptr);
        CBaseWnd::ReleaseCapture();
        CKeyStateTracker::Reset();
    }

    // Loads the tool with a hard brush (feather 0) of the largest size whose outer radius is at most
    // maxOuter image pixels at 1:1, and waits for its masks. Returns that radius.
    double LoadHardBrush(double maxOuter) {
        int size = CBrush::BRUSHSIZE_MIN;
        while (size < CBrush::BRUSHSIZE_MAX &&
               CalcBrushRadii(size + 1, 0, 1.0, CBrushTool::GetMaxRadius()).imageOuter <= maxOuter)
            ++size;
        wnd.LoadTool(&tool);
        tool.SetBrush(CBrush(size, 0, 100, 100));
        EXPECT_EQ(tool.WaitMasksBuilt(10000), 1);
        return tool.GetImageOuter();
    }
    QPoint Client(TPoint<int> p) {
        TPoint<double> w;
        wnd.PointImage2Wnd(p.x, p.y, w);
        return QPoint(static_cast<int>(std::floor(w.x)), static_cast<int>(std::floor(w.y)));
    }
    QPoint Global(TPoint<int> p) { return wnd.mapToGlobal(Client(p)); }
    // Feeds image points as screen points into the tracker from a thread of the test's own.
    void FeedFromThread(const std::vector<TPoint<int>>& points) {
        std::vector<QPoint> globals;
        for (const auto& p : points)
            globals.push_back(Global(p));
        GS_INPUT::MouseTracker& tracker = tool.GetMouseTracker();
        std::thread feeder([&] {
            for (const QPoint& g : globals)
                tracker.FeedMove(g.x(), g.y());
        });
        feeder.join();
    }
    static std::vector<TPoint<int>> Path(TPoint<int> from, const std::vector<TPoint<int>>& to) {
        return brush_scenarios::Path(from, to);
    }
    // The canvas holds 0xFFFF exactly within `outer` of some path pixel, and 0 elsewhere.
    void ExpectUnionOfDiscs(const std::vector<TPoint<int>>& path, double outer) {
        const CSelectedRegion* mask = tool.GetCanvas(0, -1);
        ASSERT_NE(mask, nullptr);
        brush_scenarios::ExpectUnionOfDiscs(*mask, path, outer);
    }

    CBaseWnd parent;
    NotifyPanel panel;
    CImageDataInfo image;
    CImageDataInfo before;
    CImageWnd wnd;
    CBrushTool tool;
    kel_qt_test::Mouse mouse{wnd};
};

} // namespace brush_tool_testing
