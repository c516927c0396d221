#include "ui/CSingleTaskProgressDlg.h"

#include <QGuiApplication>
#include <QLabel>
#include <QProgressBar>
#include <QScreen>

#include <algorithm>

namespace KELCTRL {

namespace {

// Unscaled sizes: the width without a parent, and the bar's height.
constexpr int kDefaultWidth = 400;
constexpr int kBarHeight = 16;

} // namespace

CSingleTaskProgressDlg::CSingleTaskProgressDlg(QWidget* parent) : CBaseDialog(parent) {}

CSingleTaskProgressDlg::~CSingleTaskProgressDlg() = default; // the thread member waits for its worker

intptr_t CSingleTaskProgressDlg::DoModal(CDialogWorker::WorkerFunction worker, void* param) {
    m_worker = worker;
    m_param = param;
    const intptr_t result = CBaseDialog::DoModal();
    // This task has no stop: a dialog ended from outside waits here for the worker to finish.
    m_thread.Join();
    return result;
}

void CSingleTaskProgressDlg::UpdateProgress(int done, int total, const QString& text) {
    std::lock_guard<std::mutex> guard(m_lock);
    m_total = std::max(total, 1);
    m_done = std::clamp(done, 0, m_total);
    m_text = text;
}

int CSingleTaskProgressDlg::OnInitDialog() {
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_done = 0;
        m_total = 1;
        m_text.clear();
    }
    if (!m_bar) {
        m_textLabel = new QLabel(this);
        m_textLabel->setTextFormat(Qt::PlainText);
        m_countLabel = new QLabel(this);
        m_countLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        m_bar = new QProgressBar(this);
        m_bar->setTextVisible(false);
    }
    m_textLabel->clear();
    m_countLabel->clear();
    m_bar->setRange(0, 1);
    m_bar->setValue(0);

    const CUISizeInfo* info = GetUISizeInfo();
    const int margin = info ? info->dialogMargin * 2 : 16;
    const int gap = info ? info->ctrlGap * 2 : 8;
    const QWidget* reference = parentWidget() ? parentWidget()->window() : nullptr;
    const int width =
        reference ? reference->width() * 4 / 5 : (info ? info->ScaledSizeX(kDefaultWidth) : kDefaultWidth);
    const int height = margin * 2 + m_textLabel->fontMetrics().height() + gap +
                       (info ? info->ScaledSizeY(kBarHeight) : kBarHeight);
    MoveToOwnerCentre(width, height);
    AdjustCtrls();

    m_thread.Start(m_worker, m_param);
    SetTimer(kTimerId, kTimerMs);
    return 1;
}

void CSingleTaskProgressDlg::AdjustCtrls(int width, int) {
    if (!m_bar)
        return;
    const CUISizeInfo* info = GetUISizeInfo();
    const int margin = info ? info->dialogMargin * 2 : 16;
    const int gap = info ? info->ctrlGap * 2 : 8;
    const int inner = std::max(0, width - 2 * margin);
    const int labelHeight = m_textLabel->fontMetrics().height();
    const int countWidth =
        std::min(inner, m_countLabel->fontMetrics().horizontalAdvance(m_countLabel->text()));
    m_countLabel->setGeometry(margin + inner - countWidth, margin, countWidth, labelHeight);
    m_textLabel->setGeometry(margin, margin, std::max(0, inner - countWidth - gap), labelHeight);
    m_bar->setGeometry(margin, margin + labelHeight + gap, inner,
                       info ? info->ScaledSizeY(kBarHeight) : kBarHeight);
}

void CSingleTaskProgressDlg::OnTimer(uintptr_t id) {
    if (id != kTimerId)
        return;
    int done = 0, total = 1;
    QString text;
    {
        std::lock_guard<std::mutex> guard(m_lock);
        done = m_done;
        total = m_total;
        text = m_text;
    }
    m_textLabel->setText(text);
    m_countLabel->setText(QStringLiteral("%1/%2").arg(done).arg(total));
    AdjustCtrls();
    m_bar->setRange(0, total);
    m_bar->setValue(done);
    if (!m_thread.IsStarted() || m_thread.HasEnded()) {
        m_thread.Join();
        KillTimer(kTimerId);
        EndDialog(IDOK);
    }
}

} // namespace KELCTRL
