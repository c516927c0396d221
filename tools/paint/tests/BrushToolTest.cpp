// Guards the brush tool on a real canvas: strokes from press to pixels, clicks, strokes leaving the
// window, unloading mid-stroke, the wheel, the key poll, the cursor and the order of notifications.
#include "BrushToolTestSupport.h"
#include "common/event_signal.h"

using namespace brush_tool_testing;

namespace {

constexpr unsigned kLoaded = IImageWndTool::NOTIFY_LOADED;
constexpr unsigned kUnloaded = IImageWndTool::NOTIFY_UNLOADED;
constexpr unsigned kChanged = CBrushTool::NOTIFY_BRUSHCHANGED;
constexpr unsigned kStarted = CBrushTool::NOTIFY_STARTPAINTING;
constexpr unsigned kEnded = CBrushTool::NOTIFY_ENDPAINTING;

using Codes = std::vector<unsigned>;

} // namespace

class BrushTool : public BrushToolFixture {};

TEST_F(BrushTool, StrokeFedFromAThreadPaintsTheExpectedMaskAndShowsIt) {
    const double outer = LoadHardBrush(4.0); // spacing at most 1: a dab on every step
    ASSERT_GE(outer, 1.0);
    const TPoint<int> start = brush_scenarios::kStrokeStart;
    const std::vector<TPoint<int>>& fed = brush_scenarios::kStrokeFed;
    mouse.Press(Client(start));
    ASSERT_EQ(tool.IsPainting(), 1);
    FeedFromThread(fed);
    mouse.Release(Client(fed.back()));
    EXPECT_EQ(tool.IsPainting(), 0);
    EXPECT_EQ(tool.IsPainted(), 1);
    const auto path = Path(start, fed);
    ExpectUnionOfDiscs(path, outer);
    // The host's edit shows the mask in the window's image, and nowhere else.
    for (const auto& p : path)
        ASSERT_EQ(kel_testing::GetValue(image, p.x, p.y, 1), 255) << p.x << "," << p.y;
    EXPECT_EQ(kel_testing::GetValue(image, 10, 120, 1), 100);
    EXPECT_EQ(kel_testing::GetValue(before, 40, 33, 1), 100); // the before-image is never touched
}

TEST_F(BrushTool, ClickWithoutMovementMakesExactlyOneDab) {
    const double outer = LoadHardBrush(6.0);
    mouse.Press(Client({60, 40}));
    mouse.Release(Client({60, 40}));
    EXPECT_EQ(tool.GetDabCount(), 1u);
    ExpectUnionOfDiscs({{60, 40}}, outer);
}

TEST_F(BrushTool, StrokeLeavingTheWindowKeepsPaintingClippedToTheImage) {
    LoadHardBrush(3.0);
    // The image lies in the middle of the 400 x 300 window; x = 600 is beyond the window's right edge.
    ASSERT_GT(Client({600, 20}).x(), wnd.width());
    mouse.Press(Client(brush_scenarios::kLeavingStart));
    // Real moves, as the platform delivers them while the button is held: outside, down, back in.
    for (const TPoint<int> p : brush_scenarios::kLeavingFed)
        mouse.Move(Client(p));
    mouse.Release(Client(brush_scenarios::kLeavingFed.back()));
    const CSelectedRegion* mask = tool.GetCanvas(0, -1);
    ASSERT_NE(mask, nullptr);
    brush_scenarios::ExpectLeavingStrokeClipped(*mask);
}

TEST_F(BrushTool, UnloadingDuringAStrokeEndsTheStrokeFirst) {
    LoadHardBrush(4.0);
    mouse.Press(Client({30, 30}));
    ASSERT_EQ(tool.IsPainting(), 1);
    FeedFromThread({{31, 30}, {50, 30}});
    wnd.UnloadTool(&tool, 1);
    EXPECT_EQ(tool.IsPainting(), 0);
    EXPECT_FALSE(tool.GetMouseTracker().IsTracking());
    const Codes codes = panel.Codes();
    ASSERT_GE(codes.size(), 3u);
    EXPECT_EQ((Codes(codes.end() - 3, codes.end())), (Codes{kStarted, kEnded, kUnloaded}));
    // Every point fed before the unload was painted; the canvas went back to its start afterwards.
    EXPECT_GE(tool.GetDabCount(), 20u);
    EXPECT_EQ(tool.GetCanvas(0, -1), nullptr);
    mouse.Release(Client({50, 30}));
    // Loaded again, the threads run again and strokes paint.
    wnd.LoadTool(&tool);
    ASSERT_EQ(tool.WaitMasksBuilt(10000), 1);
    mouse.Press(Client({80, 80}));
    mouse.Release(Client({80, 80}));
    ASSERT_NE(tool.GetCanvas(0, -1), nullptr);
    EXPECT_EQ(tool.GetCanvas(0, -1)->Row(80)[80], 0xFFFF);
}

TEST_F(BrushTool, WheelChangesSizeAndWithShiftTheFeather) {
    wnd.LoadTool(&tool);
    tool.SetBrush(CBrush(50, 50, 100, 100));
    panel.Clear();
    EXPECT_TRUE(mouse.Wheel(Client({50, 50}), 120));
    EXPECT_EQ(tool.GetBrush().size, 52);
    EXPECT_EQ(tool.OnMouseWheel(0, -120, QPoint()), 1);
    EXPECT_EQ(tool.OnMouseWheel(0, -1, QPoint()), 1);
    EXPECT_EQ(tool.GetBrush().size, 48);
    EXPECT_EQ(tool.OnMouseWheel(MK_SHIFT, 120, QPoint()), 1);
    EXPECT_EQ(tool.GetBrush().feather, 52);
    EXPECT_EQ(tool.GetBrush().size, 48);
    EXPECT_EQ(tool.OnMouseWheel(MK_SHIFT | MK_CONTROL, -120, QPoint()), 1); // Shift decides
    EXPECT_EQ(tool.GetBrush().feather, 50);
    EXPECT_EQ(tool.OnMouseWheel(MK_CONTROL, 120, QPoint()), 0); // any other key: not the brush's
    EXPECT_EQ(tool.GetBrush().size, 48);
    EXPECT_EQ(panel.Codes(), (Codes{kChanged, kChanged, kChanged, kChanged, kChanged}));
    // A held button is a stroke under way: the wheel leaves the brush alone.
    const CBrush held = tool.GetBrush();
    EXPECT_EQ(tool.OnMouseWheel(MK_LBUTTON, 120, QPoint()), 0);
    EXPECT_EQ(tool.OnMouseWheel(MK_RBUTTON | MK_SHIFT, 120, QPoint()), 0);
    EXPECT_TRUE(tool.GetBrush() == held);
    // Clamped at the ends of the ranges.
    tool.SetBrush(CBrush(99, 1, 100, 100));
    tool.OnMouseWheel(0, 120, QPoint());
    tool.OnMouseWheel(0, 120, QPoint());
    tool.OnMouseWheel(MK_SHIFT, -120, QPoint());
    EXPECT_EQ(tool.GetBrush().size, 100);
    EXPECT_EQ(tool.GetBrush().feather, 0);
    tool.SetBrush(CBrush(2, 99, 100, 100));
    tool.OnMouseWheel(0, -120, QPoint());
    tool.OnMouseWheel(MK_SHIFT, 120, QPoint());
    EXPECT_EQ(tool.GetBrush().size, 1);
    EXPECT_EQ(tool.GetBrush().feather, 100);
    // The radii follow the scale: feather widens only the outer radius.
    const BRUSH_RADII r = CalcBrushRadii(1, 100, 1.0, CBrushTool::GetMaxRadius());
    EXPECT_DOUBLE_EQ(tool.GetImageInner(), r.imageInner);
    EXPECT_DOUBLE_EQ(tool.GetImageOuter(), r.imageOuter);
}

TEST_F(BrushTool, NotificationsArriveInOrder) {
    wnd.LoadTool(&tool);
    mouse.Press(Client({40, 40}));
    mouse.Release(Client({41, 40}));
    tool.OnMouseWheel(0, 120, QPoint());
    wnd.UnloadTool(&tool, 1);
    EXPECT_EQ(panel.Codes(), (Codes{kLoaded, kStarted, kEnded, kChanged, kUnloaded}));
}

namespace {

// Hears the key poll, as tools built on the brush do.
class PollingBrushTool : public CBrushTool {
public:
    PollingBrushTool() { m_eventMask |= EVENTMASK_TIMER; }
};

} // namespace

TEST_F(BrushTool, KeyPollTurnsShiftIntoAutoMask) {
    PollingBrushTool polling;
    polling.SetNotifyWnd(&panel);
    wnd.LoadTool(&polling);
    EXPECT_TRUE(wnd.IsTimerRunning(CBrushTool::TIMER_KEYSTATE));
    EXPECT_EQ(polling.OnTimer(CBrushTool::TIMER_KEYSTATE + 1), 0);
    panel.Clear();
    kel_qt_test::SendKey(wnd, QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_EQ(polling.OnTimer(CBrushTool::TIMER_KEYSTATE), 1);
    EXPECT_EQ(polling.IsForceAutoMask(), 1);
    EXPECT_EQ(polling.IsAutoMask(), 1);
    EXPECT_EQ(polling.OnTimer(CBrushTool::TIMER_KEYSTATE), 1); // no change, no notification
    kel_qt_test::SendKey(wnd, QEvent::KeyRelease, Qt::Key_Shift);
    polling.OnTimer(CBrushTool::TIMER_KEYSTATE);
    EXPECT_EQ(polling.IsForceAutoMask(), 0);
    EXPECT_EQ(panel.Codes(), (Codes{kChanged, kChanged}));
    wnd.UnloadTool(&polling, 1);
    EXPECT_FALSE(wnd.IsTimerRunning(CBrushTool::TIMER_KEYSTATE));
}

TEST_F(BrushTool, CursorIsACentredRingUpTo128PixelsThenDrawnByTheCanvas) {
    wnd.LoadTool(&tool);
    tool.SetBrush(CBrush(10, 100, 100, 100));
    const QCursor* cursor = tool.GetCursor();
    ASSERT_NE(cursor, nullptr);
    const int side = static_cast<int>(std::ceil(tool.GetDisplayOuter())) * 2 + 9;
    ASSERT_LE(side, CBrushTool::CURSOR_MAX_SIDE);
    EXPECT_EQ(tool.IsRingOnCanvas(), 0);
    EXPECT_EQ(cursor->pixmap().width(), side);
    EXPECT_EQ(cursor->hotSpot(), QPoint(side / 2, side / 2));
    // The plus of painting is at the hot spot; the corner stays transparent.
    const QImage bitmap = cursor->pixmap().toImage();
    EXPECT_GT(qAlpha(bitmap.pixel(side / 2, side / 2)), 0);
    EXPECT_EQ(qAlpha(bitmap.pixel(0, 0)), 0);

    tool.SetBrush(CBrush(100, 100, 100, 100));
    ASSERT_GT(std::ceil(tool.GetDisplayOuter()) * 2 + 9, CBrushTool::CURSOR_MAX_SIDE);
    EXPECT_EQ(tool.IsRingOnCanvas(), 1);
    ASSERT_NE(tool.GetCursor(), nullptr);
    EXPECT_EQ(tool.GetCursor()->shape(), Qt::CrossCursor);
    // Over the window the canvas draws the ring: white on the hard radius.
    const QPoint at(200, 150);
    const QImage plain = wnd.RenderClient();
    mouse.Move(at);
    const QImage ringed = wnd.RenderClient();
    const int rx = at.x() + static_cast<int>(std::lround(tool.GetDisplayInner()));
    ASSERT_LT(rx, ringed.width());
    EXPECT_NE(plain.pixel(rx, at.y()), ringed.pixel(rx, at.y()));
    EXPECT_GT(qGray(ringed.pixel(rx, at.y())), 200);
    tool.OnMouseLeave();
    EXPECT_EQ(wnd.RenderClient().pixel(rx, at.y()), plain.pixel(rx, at.y()));
}

TEST_F(BrushTool, CanvasOperations) {
    wnd.LoadTool(&tool);
    EXPECT_EQ(tool.IsPainted(), 0);
    CSelectedRegion start;
    ASSERT_TRUE(start.Create(kW, kH, 0));
    start.Row(10)[10] = 0xFFFF;
    tool.SetCanvas(&start, 1);
    EXPECT_EQ(tool.GetSrcCanvas(-1), &start);
    EXPECT_EQ(tool.GetCanvas(0, -1)->Row(10)[10], 0xFFFF);
    EXPECT_EQ(kel_testing::GetValue(image, 10, 10, 0), 255); // refreshed through the host's edit
    // A region of another size: the overlap is copied into a blank canvas of the image's size.
    CSelectedRegion part;
    ASSERT_TRUE(part.Create(20, 20, 0x4000));
    part.x = 190;
    part.y = 140;
    tool.SetCanvas(&part, 0);
    const CSelectedRegion* canvas = tool.GetCanvas(0, -1);
    ASSERT_EQ(canvas->width, kW);
    EXPECT_EQ(canvas->Row(145)[195], 0x4000);
    EXPECT_EQ(canvas->Row(10)[10], 0);
    // Unusable: blank, no source.
    CSelectedRegion broken;
    broken.width = 5;
    tool.SetCanvas(&broken, 0);
    EXPECT_EQ(tool.GetSrcCanvas(-1), nullptr);
    EXPECT_EQ(tool.GetCanvas(0, -1)->Row(145)[195], 0);
    // Modify keeps the former source and marks the canvas painted.
    tool.SetCanvas(&start, 0);
    tool.ModifyCanvas(&part, 0);
    EXPECT_EQ(tool.GetSrcCanvas(-1), &start);
    EXPECT_EQ(tool.IsPainted(), 1);
    // Swap hands the buffers over without copying.
    CSelectedRegion other;
    ASSERT_TRUE(other.Create(kW, kH, 0x1111));
    const unsigned char* otherBuffer = other.data.data();
    tool.SwapCanvas(&other, 0);
    EXPECT_EQ(tool.GetCanvas(0, -1)->data.data(), otherBuffer);
    EXPECT_EQ(tool.GetCanvas(0, -1)->Row(0)[0], 0x1111);
    EXPECT_EQ(other.Row(145)[195], 0x4000);
    // Reset goes back to the source.
    tool.Reset();
    EXPECT_EQ(tool.IsPainted(), 0);
    EXPECT_EQ(tool.GetCanvas(0, -1)->Row(10)[10], 0xFFFF);
    EXPECT_EQ(tool.GetCanvas(0, -1)->Row(0)[0], 0);
    EXPECT_EQ(tool.GetCanvas(1, -1), nullptr); // no display mask at 1:1
    EXPECT_EQ(tool.GetCanvas(0, 5), nullptr);
    // The tool keeps a pointer to the caller's starting mask; these masks end with this scope, so
    // the tool must not hold one when it is unloaded after the test.
    tool.SetCanvas(nullptr, 0);
}

TEST_F(BrushTool, ZoomedOutStrokePaintsBothMasksAtTheirScales) {
    CImageDataInfo big, bigBefore;
    ASSERT_TRUE(kel_testing::MakeConstant(big, 800, 600, 3, 1, 100));
    ASSERT_TRUE(kel_testing::MakeConstant(bigBefore, 800, 600, 3, 1, 100));
    ASSERT_EQ(wnd.SetImage(big, &bigBefore), 1);
    wnd.SetZoom(ZOOM_TYPE_FIT, nullptr, nullptr);
    ASSERT_EQ(wnd.IsZoomedOut(), 1);
    const double zoom = wnd.GetZoomValue();
    wnd.LoadTool(&tool);
    tool.SetBrush(CBrush(10, 0, 100, 100));
    ASSERT_EQ(tool.WaitMasksBuilt(10000), 1);
    ASSERT_NE(tool.GetCanvas(1, -1), nullptr);
    EXPECT_EQ(tool.GetCanvas(1, -1)->width, wnd.GetZoomedSize().width);
    // The brush keeps its size on screen: the image radius is the display radius over the zoom.
    EXPECT_DOUBLE_EQ(tool.GetImageOuter(), tool.GetDisplayOuter() / zoom);

    const QPoint click = Client({400, 300});
    mouse.Press(click);
    mouse.Release(click);
    EXPECT_EQ(tool.GetDabCount(), 1u);
    TPoint<double> at;
    wnd.PointWnd2Image(click.x(), click.y(), at);
    const TPoint<int> p(static_cast<int>(std::floor(at.x)), static_cast<int>(std::floor(at.y)));
    const TPoint<int> zp(static_cast<int>(std::floor(p.x * zoom + 0.5)),
                         static_cast<int>(std::floor(p.y * zoom + 0.5)));
    const CSelectedRegion* mask = tool.GetCanvas(0, -1);
    const CSelectedRegion* shown = tool.GetCanvas(1, -1);
    ASSERT_NE(mask, nullptr);
    ASSERT_NE(shown, nullptr);
    const int imageR = static_cast<int>(std::floor(tool.GetImageOuter()));
    const int displayR = static_cast<int>(std::floor(tool.GetDisplayOuter()));
    EXPECT_EQ(mask->Row(p.y)[p.x + imageR], 0xFFFF);
    EXPECT_EQ(mask->Row(p.y)[p.x + imageR + 2], 0);
    EXPECT_EQ(shown->Row(zp.y)[zp.x + displayR], 0xFFFF);
    EXPECT_EQ(shown->Row(zp.y)[zp.x + displayR + 2], 0);
    wnd.UnloadTool(&tool, 1);
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
}

namespace {

// A tool's own process callback: 255 where the mask (at (0, 0) over the image) is painted. It
// records whether it ran off the interface thread, and signals every call.
struct CallbackRecord {
    std::atomic<int> calls{0};
    std::atomic<int> offUiThread{0};
    std::atomic<int> badPlacement{0};
    event_signal called{false};
    std::thread::id uiThread;
};
CallbackRecord* g_record = nullptr;

void MarkUnderMask(const CBrushTool*, CImageDataInfo& out, const CImageDataInfo& in, CSelectedRegion* mask,
                   int x, int y) {
    if (mask->x != 0 || mask->y != 0)
        g_record->badPlacement.fetch_add(1);
    for (int j = 0; j < out.height; ++j)
        for (int i = 0; i < out.width; ++i) {
            const int mx = i + x, my = j + y;
            const bool painted =
                mx >= 0 && my >= 0 && mx < mask->width && my < mask->height && mask->Row(my)[mx] >= 0x8000;
            for (int c = 0; c < out.channels; ++c)
                kel_testing::SetValue(out, i, j, c,
                                      painted ? 255 : kel_testing::GetValue(in, i + x, j + y, c));
        }
    if (std::this_thread::get_id() != g_record->uiThread)
        g_record->offUiThread.fetch_add(1);
    g_record->calls.fetch_add(1);
    g_record->called.set();
}

} // namespace

TEST_F(BrushTool, OwnCallbackRefreshesDuringTheStrokeAndAfterProcessing) {
    CallbackRecord record;
    record.uiThread = std::this_thread::get_id();
    g_record = &record;
    wnd.SetProcessImageFunc(nullptr); // the host's edit would only be overwritten
    LoadHardBrush(4.0);
    tool.SetProcessCallback(&MarkUnderMask);
    // Unpainted and without a starting mask, processing leaves the callback out.
    record.calls.store(0);
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(0);
    wnd.ExitAdjustingMode();
    EXPECT_EQ(record.calls.load(), 0);

    mouse.Press(Client({50, 50}));
    record.called.reset();
    FeedFromThread({{60, 50}, {60, 70}});
    // The painting thread refreshes the dirty rectangle through the callback before the release.
    ASSERT_EQ(record.called.wait(10000), 0);
    EXPECT_GE(record.offUiThread.load(), 1);
    mouse.Release(Client({60, 70}));
    const int duringStroke = record.calls.load();
    // After the stroke the window processes its image again and the tool applies the callback there,
    // on the interface thread this time.
    EXPECT_GT(duringStroke, 0);
    EXPECT_EQ(record.badPlacement.load(), 0);
    for (const auto& p : Path({50, 50}, {{60, 50}, {60, 70}}))
        ASSERT_EQ(kel_testing::GetValue(image, p.x, p.y, 2), 255) << p.x << "," << p.y;
    EXPECT_EQ(kel_testing::GetValue(image, 150, 120, 2), 100);
    // With post-processing off, a new pass shows the image without the mask.
    tool.EnablePostProcess(0);
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(0);
    wnd.ExitAdjustingMode();
    EXPECT_EQ(kel_testing::GetValue(image, 55, 50, 2), 100);
    g_record = nullptr;
}
