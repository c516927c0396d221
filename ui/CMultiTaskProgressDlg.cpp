#include "ui/CMultiTaskProgressDlg.h"

#include "common/Dictionaries.h"

#include <QApplication>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QTreeWidget>

#include <algorithm>
#include <vector>

namespace KELCTRL {

namespace {

QString DictText(const char* key) {
    const char* text = GetDictItem(key);
    return text ? QString::fromUtf8(text) : QString();
}

// Unscaled sizes of the layout.
constexpr int kDialogWidth = 420;
constexpr int kBarHeight = 16;
constexpr int kListHeight = 120;

} // namespace

CMultiTaskProgressDlg::CMultiTaskProgressDlg(int showSteps, int showErrors, QWidget* parent)
    : CBaseDialog(parent), m_showSteps(showSteps), m_showErrors(showErrors) {}

CMultiTaskProgressDlg::~CMultiTaskProgressDlg() {
    // Only reached with a live worker when the dialog was ended from outside: ask it to stop, then wait.
    if (m_thread.IsStarted()) {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_state.quit = 1;
        }
        m_thread.Join();
    }
}

intptr_t CMultiTaskProgressDlg::DoModal(const QString& title, CDialogWorker::WorkerFunction worker,
                                        void* param) {
    m_title = title;
    m_worker = worker;
    m_param = param;
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_state.quit = 0;
    }
    const intptr_t result = CBaseDialog::DoModal();
    // A dialog ended by someone else's EndDialog must still not outlive its worker.
    if (m_thread.IsStarted()) {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_state.quit = 1;
        }
        m_thread.Join();
    }
    return result;
}

void CMultiTaskProgressDlg::UpdateTaskProgress(int index, int count, int steps, const QString& text) {
    std::lock_guard<std::mutex> guard(m_lock);
    m_state.taskCount = std::max(count, 1);
    m_state.taskIndex = std::clamp(index, 1, m_state.taskCount);
    m_state.stepCount = std::max(steps, 1);
    m_state.stepIndex = 0;
    m_state.stepDone = 0;
    m_state.stepTotal = 1;
    m_state.text = text;
}

void CMultiTaskProgressDlg::NextStep() {
    std::lock_guard<std::mutex> guard(m_lock);
    m_state.stepDone = 0;
    m_state.stepTotal = 1;
    m_state.stepIndex = std::min(m_state.stepIndex + 1, m_state.stepCount);
}

void CMultiTaskProgressDlg::SetStepLocked(int done, int total) {
    m_state.stepTotal = std::max(total, 1);
    m_state.stepDone = std::clamp(done, 0, m_state.stepTotal);
}

void CMultiTaskProgressDlg::UpdateSetpProgress(int done, int total) {
    std::lock_guard<std::mutex> guard(m_lock);
    SetStepLocked(done, total);
}

void CMultiTaskProgressDlg::UpdateSingleTaskProgress(int done, int total, const QString& text) {
    std::lock_guard<std::mutex> guard(m_lock);
    m_state.taskIndex = 1;
    m_state.taskCount = 1;
    m_state.stepCount = 1;
    m_state.stepIndex = 0;
    SetStepLocked(done, total);
    m_state.text = text;
}

void CMultiTaskProgressDlg::AddErrorItem(const QString& error) {
    std::lock_guard<std::mutex> guard(m_lock);
    m_pendingErrors.append(error);
}

int CMultiTaskProgressDlg::IsQuit() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_state.quit;
}

CMultiTaskProgressDlg::State CMultiTaskProgressDlg::GetState() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_state;
}

void CMultiTaskProgressDlg::CreateCtrls() {
    m_textLabel = new QLabel(this);
    m_countLabel = new QLabel(this);
    m_textLabel->setTextFormat(Qt::PlainText);
    m_countLabel->setTextFormat(Qt::PlainText);
    if (m_showSteps) {
        m_stepsBar = new QProgressBar(this);
        m_stepsBar->setTextVisible(false);
    }
    m_mainBar = new QProgressBar(this);
    m_mainBar->setTextVisible(false);
    if (m_showErrors) {
        m_errorList = new QTreeWidget(this);
        m_errorList->setColumnCount(1);
        m_errorList->setHeaderHidden(true);
        m_errorList->setRootIsDecorated(false);
        m_errorList->setSelectionBehavior(QAbstractItemView::SelectRows);
        m_retryButton = new QPushButton(DictText("IDS_RETRY"), this);
        m_retryButton->setAutoDefault(false);
        connect(m_retryButton, &QPushButton::clicked, this, [this] { OnRetry(); });
    }
    m_stopButton = new QPushButton(this);
    m_stopButton->setAutoDefault(false);
    connect(m_stopButton, &QPushButton::clicked, this, [this] { OnCancel(); });
}

int CMultiTaskProgressDlg::OnInitDialog() {
    setWindowTitle(m_title);
    {
        std::lock_guard<std::mutex> guard(m_lock);
        const int quit = m_state.quit;
        m_state = State();
        m_state.quit = quit;
        m_pendingErrors.clear();
    }
    SetTaskbarProgress(0, 1);
    if (!m_mainBar)
        CreateCtrls();
    m_textLabel->clear();
    m_countLabel->clear();
    if (m_errorList)
        m_errorList->clear();
    if (m_retryButton)
        m_retryButton->hide();
    m_stopButton->setText(DictText("IDS_STOP"));
    m_stopButton->setEnabled(true);

    const CUISizeInfo* info = GetUISizeInfo();
    const auto scaledY = [info](int v) { return info ? info->ScaledSizeY(v) : v; };
    const int margin = info ? info->dialogMargin * 2 : 16;
    const int gap = info ? info->ctrlGap * 2 : 8;
    const int labelHeight = m_textLabel->fontMetrics().height();
    int height = margin + labelHeight + gap + scaledY(kBarHeight) + gap;
    if (m_showSteps)
        height += labelHeight + gap + scaledY(kBarHeight) + gap;
    if (m_showErrors)
        height += scaledY(kListHeight) + gap;
    height += (info ? info->buttonHeight : 30) + margin;
    const int width = info ? info->ScaledSizeX(kDialogWidth) : kDialogWidth;
    MoveToOwnerCentre(width, height);
    AdjustCtrls();

    m_thread.Start(m_worker, m_param);
    SetTimer(kTimerId, kTimerMs);
    return 1;
}

void CMultiTaskProgressDlg::AdjustCtrls(int width, int height) {
    if (!m_mainBar)
        return;
    const CUISizeInfo* info = GetUISizeInfo();
    const auto scaledY = [info](int v) { return info ? info->ScaledSizeY(v) : v; };
    const int margin = info ? info->dialogMargin * 2 : 16;
    const int gap = info ? info->ctrlGap * 2 : 8;
    const int inner = std::max(0, width - 2 * margin);
    const int labelHeight = m_textLabel->fontMetrics().height();
    const int barHeight = scaledY(kBarHeight);
    int y = margin;
    if (m_showSteps) {
        m_textLabel->setGeometry(margin, y, inner, labelHeight);
        y += labelHeight + gap;
        m_stepsBar->setGeometry(margin, y, inner, barHeight);
        y += barHeight + gap;
        m_countLabel->setGeometry(margin, y, inner, labelHeight);
    } else {
        // The count sits at the right, as wide as its text; the task's text takes what is left.
        const int countWidth =
            std::min(inner, m_countLabel->fontMetrics().horizontalAdvance(m_countLabel->text()));
        m_countLabel->setGeometry(margin + inner - countWidth, y, countWidth, labelHeight);
        m_textLabel->setGeometry(margin, y, std::max(0, inner - countWidth - gap), labelHeight);
    }
    y += labelHeight + gap;
    m_mainBar->setGeometry(margin, y, inner, barHeight);
    const int buttonHeight = info ? info->buttonHeight : 30;
    const int buttonWidth = info ? info->textButtonWidth : 80;
    const int buttonTop = height - margin - buttonHeight;
    if (m_errorList) {
        y += barHeight + gap;
        m_errorList->setGeometry(margin, y, inner, std::max(0, buttonTop - gap - y));
    }
    m_stopButton->setGeometry(width - margin - buttonWidth, buttonTop, buttonWidth, buttonHeight);
    if (m_retryButton)
        m_retryButton->setGeometry(width - margin - 2 * buttonWidth - gap, buttonTop, buttonWidth,
                                   buttonHeight);
}

void CMultiTaskProgressDlg::OnTimer(uintptr_t id) {
    if (id == kTimerId)
        Tick();
}

void CMultiTaskProgressDlg::Tick() {
    // The end is read before the copy: a worker seen ended has nothing left that the copy could miss.
    const bool ended = !m_thread.IsStarted() || m_thread.HasEnded();
    State state;
    QStringList errors;
    {
        // Only copies under the lock: the worker is never held up by the controls.
        std::lock_guard<std::mutex> guard(m_lock);
        state = m_state;
        errors.swap(m_pendingErrors);
    }
    const int overallTotal = state.stepCount * 1000;
    const int overall =
        std::min(state.stepIndex * 1000 +
                     static_cast<int>(static_cast<long long>(state.stepDone) * 1000 / state.stepTotal),
                 overallTotal);
    if (m_showSteps) {
        m_countLabel->setText(QStringLiteral("%1: %2/%3")
                                  .arg(DictText("IDS_PROGRESS"))
                                  .arg(state.taskIndex)
                                  .arg(state.taskCount));
        m_textLabel->setText(state.text);
        m_stepsBar->setRange(0, overallTotal);
        m_stepsBar->setValue(overall);
        m_mainBar->setRange(0, state.taskCount);
        m_mainBar->setValue(state.taskIndex);
    } else {
        m_countLabel->setText(QStringLiteral("(%1/%2)").arg(state.stepDone).arg(state.stepTotal));
        m_textLabel->setText(state.text);
        AdjustCtrls();
        m_mainBar->setRange(0, overallTotal);
        m_mainBar->setValue(overall);
    }
    bool hasErrors = false;
    if (m_errorList) {
        AppendErrorRows(errors);
        hasErrors = m_errorList->topLevelItemCount() > 0;
    }
    if (m_showSteps)
        SetTaskbarProgress(state.taskIndex, state.taskCount);
    else
        SetTaskbarProgress(overall, overallTotal);

    if (ended)
        WorkerEnded(hasErrors);
}

void CMultiTaskProgressDlg::AppendErrorRows(const QStringList& errors) {
    if (errors.isEmpty())
        return;
    // A batch can report thousands of rows in one tick: they go in as one insertion, and the column
    // grows to fit the new rows only, so a tick costs what it adds, not what the list already holds.
    QList<QTreeWidgetItem*> items;
    items.reserve(errors.size());
    for (const QString& error : errors)
        items.append(new QTreeWidgetItem(QStringList{error}));
    m_errorList->addTopLevelItems(items);
    const int width = WidestRow(errors);
    if (width > m_errorList->columnWidth(0))
        m_errorList->setColumnWidth(0, width);
}

int CMultiTaskProgressDlg::WidestRow(const QStringList& rows) const {
    // Measuring text costs microseconds a row, so only the longest rows by characters are measured;
    // among rows of a batch that is where the widest one lies.
    constexpr qsizetype kMeasured = 64;
    std::vector<const QString*> longest;
    longest.reserve(rows.size());
    for (const QString& row : rows)
        longest.push_back(&row);
    if (static_cast<qsizetype>(longest.size()) > kMeasured) {
        std::nth_element(longest.begin(), longest.begin() + kMeasured, longest.end(),
                         [](const QString* a, const QString* b) { return a->size() > b->size(); });
        longest.resize(kMeasured);
    }
    const QFontMetrics metrics(m_errorList->font());
    int widest = 0;
    for (const QString* row : longest)
        widest = std::max(widest, metrics.horizontalAdvance(*row));
    // The item delegate's margins around the text.
    const int margin =
        m_errorList->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, m_errorList) + 1;
    return widest + 2 * margin;
}

void CMultiTaskProgressDlg::WorkerEnded(bool hasErrors) {
    m_thread.Join(); // returns at once: the worker function has already returned
    KillTimer(kTimerId);
    m_stopButton->setText(DictText("IDS_CLOSE"));
    m_stopButton->setEnabled(true);
    if (hasErrors && m_retryButton)
        m_retryButton->show();
    // Only a dialog that shows both steps and errors holds its errors up for reading.
    if (!(m_showSteps && m_showErrors && hasErrors))
        EndDialog(IDOK);
}

void CMultiTaskProgressDlg::OnCancel() {
    if (!m_thread.IsStarted() || m_thread.HasEnded()) {
        // An ended worker is joined at once (it has returned), so the dialog never outlives a thread.
        m_thread.Join();
        KillTimer(kTimerId);
        EndDialog(IDCANCEL);
        return;
    }
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_state.quit = 1;
    }
    m_stopButton->setEnabled(false);
}

void CMultiTaskProgressDlg::OnRetry() {
    EndDialog(IDRETRY);
}

void CMultiTaskProgressDlg::OnDestroy() {
    HideTaskbarProgress();
}

void CMultiTaskProgressDlg::SetTaskbarProgress(int, int) {}

void CMultiTaskProgressDlg::HideTaskbarProgress() {}

} // namespace KELCTRL
