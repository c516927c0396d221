// Guards the general worker's batch rotation: files turned the wrong way or not at all, failures that
// go uncounted or stop the batch, progress steps out of order, a cancel that is ignored, and a caller
// that waits forever for a thread that does not run.
#include "common/testing/TempFolder.h"
#include "common/testing/TestImages.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageProcessThread.h"

#include <gtest/gtest.h>

#include <mutex>
#include <vector>

using kel_testing::SamePixels;
using KELCTRL::CImageProcessThread;

namespace {

// Steps reported by the worker, with a cancel at a chosen step.
struct ProgressLog {
    std::mutex lock;
    std::vector<std::pair<int, int>> steps;
    CImageProcessThread* cancelThread = nullptr;
    int cancelAtStep = -1;
};

void RecordProgress(void* context, int step, int total) {
    auto* log = static_cast<ProgressLog*>(context);
    std::lock_guard<std::mutex> guard(log->lock);
    log->steps.emplace_back(step, total);
    if (step == log->cancelAtStep && log->cancelThread)
        log->cancelThread->CancelTask();
}

class BatchRotate : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 3; ++i) {
            CImageDataInfo image;
            ASSERT_TRUE(kel_testing::MakeGradient(image, 40 + i, 24, 3, 1));
            names.append(QString("photo %1.png").arg(i));
            ImageFile::FILEMETADATA metadata;
            ImageFile::SAVEFILE_OPTIONS options;
            options.format = ImageFile::CONTAINER_FORMAT_PNG;
            ASSERT_EQ(ImageFile::SaveFile(image, metadata, options, folder.path() / names[i].toStdString()),
                      0);
            originals.push_back(image);
        }
        thread.SetProgressFunc(RecordProgress, &progress);
        ASSERT_EQ(thread.Start(), 1);
    }
    void TearDown() override { thread.Exit(); }
    int Rotate(const QStringList& list, int clockwise) {
        return thread.BatchRotate90(QString::fromStdString(folder.path().string()), list, clockwise, failed);
    }
    // Whether file `i` on disk is its original turned `turns` quarter turns (clockwise when positive).
    bool Turned(int i, int turns) {
        CImageDataInfo image, expected = originals[i];
        ImageFile::FILEINFO info;
        EXPECT_EQ(ImageFile::LoadFile(info, image, folder.path() / names[i].toStdString()), 0);
        EXPECT_TRUE(turns == 0 || ImageProcess::RotateImage90(originals[i], expected, turns > 0, nullptr));
        return SamePixels(image, expected);
    }
    kel_testing::TempFolder folder{"imagewnd_rotate"};
    QStringList names, failed;
    std::vector<CImageDataInfo> originals;
    ProgressLog progress;
    CImageProcessThread thread;
};

TEST_F(BatchRotate, TurnsEveryFileEitherWayAndListsTheFailures) {
    QStringList list = names;
    list.insert(1, "missing.png");
    EXPECT_EQ(Rotate(list, 1), 1);
    EXPECT_EQ(failed, QStringList({"missing.png"}));
    EXPECT_TRUE(Turned(0, 1) && Turned(1, 1) && Turned(2, 1));
    // One step per file, in order, each with the total.
    EXPECT_EQ(progress.steps, (std::vector<std::pair<int, int>>{{0, 4}, {1, 4}, {2, 4}, {3, 4}}));
    EXPECT_EQ(Rotate(names, 0), 0);
    EXPECT_TRUE(failed.isEmpty());
    EXPECT_TRUE(Turned(0, 0) && Turned(1, 0) && Turned(2, 0)) << "counter-clockwise turned them back";
}

TEST_F(BatchRotate, CancelStopsBeforeTheNextFileAndTheNextBatchStartsAfresh) {
    progress.cancelThread = &thread;
    progress.cancelAtStep = 0;
    EXPECT_EQ(Rotate(names, 1), 0);
    EXPECT_TRUE(Turned(0, 1)) << "the file under way is finished";
    EXPECT_TRUE(Turned(1, 0) && Turned(2, 0));
    progress.cancelAtStep = -1;
    EXPECT_EQ(Rotate({names[2]}, 1), 0);
    EXPECT_TRUE(Turned(2, 1));
}

TEST_F(BatchRotate, EmptyListAndStoppedThreadReturnAtOnce) {
    failed = {"stale"};
    EXPECT_EQ(Rotate({}, 1), 0);
    EXPECT_TRUE(failed.isEmpty());
    thread.Exit();
    EXPECT_EQ(Rotate(names, 1), -1);
    EXPECT_TRUE(Turned(0, 0));
    ASSERT_EQ(thread.Start(), 1); // it can start again
    EXPECT_EQ(Rotate({names[0]}, 1), 0);
}

} // namespace
