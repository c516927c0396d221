#pragma once
// A modeless, translucent progress bar for the application's own long steps. Its state is
// process-wide so that a worker reports through the static functions without knowing the window;
// the window copies it on a 100 ms timer, paints the bar with the text and the step over it, and
// closes itself once EndProgress has been called. Only one such progress runs at a time.
#include "ui/CBaseWnd.h"

#include <QRect>
#include <QString>

namespace KELCTRL {

class CProgressWnd : public CBaseWnd {
public:
    static constexpr uintptr_t kTimerId = 100;
    static constexpr unsigned kTimerMs = 100;

    // The values the window paints, limited: steps, step and total at least 1, done inside 0..total,
    // and a step past the last shown as the last one full.
    struct Progress {
        int done = 0;
        int total = 1;
        int step = 1;
        int steps = 1;
    };

    // The owner is the window disabled while the progress runs; it is enabled again at the end.
    explicit CProgressWnd(QWidget* owner = nullptr);
    ~CProgressWnd() override;

    // From any thread.
    static void InitProgressInfo(int steps);
    static int IsProgressEnded();
    static void EndProgress();
    static void UpdateProgressStep(int step);
    static void UpdateStepProgress(int done, int total);
    static int NextProgressStep();
    static void SetProgressText(const QString& text);
    static QString GetProgressText();

    // Creates and shows the window at `rect` in screen coordinates, grown to at least 10 units each
    // way; the rectangle is copied, not changed. Returns 0 when the window already exists.
    int Show(const QRect& rect);

    // What the last tick copied.
    Progress GetPaintedProgress() const { return m_painted; }
    QString GetPaintedText() const { return m_paintedText; }
    // The step read-out painted beside the text: "step/steps", empty for a one-step progress.
    static QString StepText(const Progress& progress);
    // The painted bar's width in pixels for a client of this width.
    int BarWidth(int clientWidth) const;

protected:
    void OnInitWnd() override;
    void OnTimer(uintptr_t id) override;
    void OnPaint(QPainter& painter, int width, int height) override;
    void OnSize(unsigned type, int cx, int cy) override;

private:
    void Update();
    void ApplyRoundedMask(int width, int height);

    Progress m_painted;
    QString m_paintedText;
};

} // namespace KELCTRL
