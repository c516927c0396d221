#include "common/MouseTracker.h"

#include <chrono>
#include <memory>

namespace GS_INPUT {

namespace {

// One fed event: the stroke it belongs to, the point and when it was fed.
struct FED_EVENT {
    uint32_t generation;
    int x;
    int y;
    int64_t tick;
};

} // namespace

MouseTracker::MouseTracker() {
    m_points.reserve(kGrowStep);
}

MouseTracker::~MouseTracker() {
    Quit();
}

int64_t MouseTracker::NowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool MouseTracker::Run() {
    if (is_running())
        return true;
    return start(nullptr, 0);
}

void MouseTracker::Quit() {
    if (IsTracking())
        Release(Generation());
    stop();
}

uint32_t MouseTracker::Generation() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_generation;
}

void MouseTracker::Start(int x, int y, int recordTime) {
    {
        std::lock_guard<std::mutex> guard(m_lock);
        ++m_generation;
        m_count = 0;
        m_updated = 0;
        m_lastPoint = TPoint<int>::Invalid();
        m_recordTime = recordTime;
    }
    AddPoint(Generation(), x, y, NowMs());
    m_stopSignal.reset();
    m_startSignal.set();
}

void MouseTracker::Post(unsigned id, int x, int y) {
    auto event = std::make_shared<FED_EVENT>(FED_EVENT{Generation(), x, y, NowMs()});
    m_input.post(id, 0, 0, std::move(event));
}

void MouseTracker::FeedMove(int x, int y) {
    Post(MSG_MOVE, x, y);
}

void MouseTracker::FeedRelease() {
    Post(MSG_RELEASE, 0, 0);
}

void MouseTracker::StopTracking() {
    if (!IsTracking())
        return;
    const uint32_t generation = Generation();
    if (!is_running()) {
        Release(generation);
        return;
    }
    Post(MSG_RELEASE, 0, 0);
    // The thread handles the release after every move fed before it; it cannot be stuck, but it may
    // end, so the wait checks that it still runs.
    while (m_stopSignal.wait(kStopPollMs) != 0) {
        if (!is_running() || Generation() != generation) {
            Release(generation);
            break;
        }
    }
}

void MouseTracker::AddPoint(uint32_t generation, int x, int y, int64_t tick) {
    std::lock_guard<std::mutex> guard(m_lock);
    if (generation != m_generation)
        return;
    const TPoint<int> p(x, y);
    if (p == m_lastPoint)
        return;
    if (m_count == m_points.size()) {
        if (m_points.capacity() == m_points.size())
            m_points.reserve(m_points.size() + kGrowStep);
        m_points.push_back(p);
    } else {
        m_points[m_count] = p;
    }
    if (m_recordTime) {
        m_timeDeltas.resize(m_count + 1);
        if (m_count > 0)
            m_timeDeltas[m_count - 1] = static_cast<uint32_t>(tick - m_lastTick);
        m_timeDeltas[m_count] = 0;
    }
    ++m_count;
    m_lastPoint = p;
    m_lastTick = tick;
    m_updated = 1;
}

void MouseTracker::Release(uint32_t generation) {
    {
        std::lock_guard<std::mutex> guard(m_lock);
        if (generation != m_generation)
            return;
    }
    m_startSignal.reset();
    m_stopSignal.set();
}

size_t MouseTracker::TakePoints(std::vector<TPoint<int>>& out, std::vector<uint32_t>* deltas) {
    std::lock_guard<std::mutex> guard(m_lock);
    if (!m_updated || m_count == 0)
        return 0;
    const auto n = static_cast<std::ptrdiff_t>(m_count);
    out.insert(out.end(), m_points.begin(), m_points.begin() + n);
    if (deltas && m_recordTime && m_timeDeltas.size() >= m_count)
        deltas->insert(deltas->end(), m_timeDeltas.begin(), m_timeDeltas.begin() + n);
    m_count = 0;
    m_updated = 0;
    return static_cast<size_t>(n);
}

int MouseTracker::main(void*) {
    while (!stop_requested()) {
        GS_THREAD::message msg;
        if (!m_input.wait(msg, kStopPollMs))
            continue;
        const auto* event = static_cast<const FED_EVENT*>(msg.payload.get());
        if (!event)
            continue;
        if (msg.id == MSG_MOVE) {
            if (m_startSignal.is_set() && !m_stopSignal.is_set())
                AddPoint(event->generation, event->x, event->y, event->tick);
        } else if (msg.id == MSG_RELEASE) {
            Release(event->generation);
        }
    }
    return 0;
}

} // namespace GS_INPUT
