// Guards the general worker's batch rotation: files turned the wrong way or not at all, failures that
// go uncounted or stop the batch, progress steps out of order, a cancel that is ignored, and a caller
// that waits forever for a thread that does not run.
#include "common/testing/TempFolder.h"
#include "common/testing/TestImages.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageProcessThread.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <mutex>
#include <unistd.h>
#include <vector>

using kel_testing::MakeGradient;
using kel_testing::SamePixels;
using kel_testing::TempFolder;
using KELCTRL::CImageProcessThread;

namespace {

namespace fs = std::filesystem;

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
        ASSERT_FALSE(folder.path().empty());
        for (int i = 0; i < 3; ++i) {
            CImageDataInfo image;
            ASSERT_TRUE(MakeGradient(image, 40 + i, 24, 3, 1));
            const QString name = QString("photo %1.png").arg(i);
            ImageFile::FILEMETADATA metadata;
            ImageFile::SAVEFILE_OPTIONS options;
            options.format = ImageFile::CONTAINER_FORMAT_PNG;
            ASSERT_EQ(ImageFile::SaveFile(image, metadata, options, folder.path() / name.toStdString()), 0);
            names.append(name);
            originals.push_back(image);
        }
        thread.SetProgressFunc(RecordProgress, &progress);
        ASSERT_EQ(thread.Start(), 1);
    }
    void TearDown() override { thread.Exit(); }

    // The file as it is on disk now.
    CImageDataInfo Load(int i) {
        CImageDataInfo image;
        ImageFile::FILEINFO info;
        EXPECT_EQ(ImageFile::LoadFile(info, image, folder.path() / names[i].toStdString()), 0);
        return image;
    }
    CImageDataInfo Turned(int i, bool clockwise) {
        CImageDataInfo turned;
        EXPECT_TRUE(ImageProcess::RotateImage90(originals[i], turned, clockwise, nullptr));
        return turned;
    }

    TempFolder folder{"imagewnd_rotate"};
    QStringList names;
    std::vector<CImageDataInfo> originals;
    ProgressLog progress;
    CImageProcessThread thread;
};

TEST_F(BatchRotate, TurnsEveryFileClockwiseAndListsTheFailures) {
    QStringList list = names;
    list.insert(1, "missing.png");
    QStringList failed;
    EXPECT_EQ(thread.BatchRotate90(QString::fromStdString(folder.path().string()), list, 1, failed), 1);
    EXPECT_EQ(failed, QStringList({"missing.png"}));
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(SamePixels(Load(i), Turned(i, true))) << "file " << i;
    // One step per file, in order, each with the total.
    const std::vector<std::pair<int, int>> expected = {{0, 4}, {1, 4}, {2, 4}, {3, 4}};
    EXPECT_EQ(progress.steps, expected);
}

TEST_F(BatchRotate, ZeroDirectionTurnsCounterClockwise) {
    QStringList failed;
    EXPECT_EQ(thread.BatchRotate90(QString::fromStdString(folder.path().string()), names, 0, failed), 0);
    EXPECT_TRUE(failed.isEmpty());
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(SamePixels(Load(i), Turned(i, false))) << "file " << i;
}

TEST_F(BatchRotate, CancelStopsBeforeTheNextFile) {
    progress.cancelThread = &thread;
    progress.cancelAtStep = 0;
    QStringList failed;
    EXPECT_EQ(thread.BatchRotate90(QString::fromStdString(folder.path().string()), names, 1, failed), 0);
    EXPECT_TRUE(SamePixels(Load(0), Turned(0, true))) << "the file under way is finished";
    EXPECT_TRUE(SamePixels(Load(1), originals[1]));
    EXPECT_TRUE(SamePixels(Load(2), originals[2]));
    // A new batch starts without the old cancel.
    progress.cancelAtStep = -1;
    EXPECT_EQ(thread.BatchRotate90(QString::fromStdString(folder.path().string()), {names[2]}, 1, failed), 0);
    EXPECT_TRUE(SamePixels(Load(2), Turned(2, true)));
}

TEST_F(BatchRotate, EmptyListAndStoppedThreadReturnAtOnce) {
    QStringList failed = {"stale"};
    EXPECT_EQ(thread.BatchRotate90(QString::fromStdString(folder.path().string()), {}, 1, failed), 0);
    EXPECT_TRUE(failed.isEmpty());
    thread.Exit();
    EXPECT_EQ(thread.BatchRotate90(QString::fromStdString(folder.path().string()), names, 1, failed), -1);
    EXPECT_TRUE(SamePixels(Load(0), originals[0]));
    // It can start again.
    ASSERT_EQ(thread.Start(), 1);
    EXPECT_EQ(thread.BatchRotate90(QString::fromStdString(folder.path().string()), {names[0]}, 1, failed), 0);
}

} // namespace
