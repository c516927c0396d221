// Guards the product's file commands: a turn that asks again although the user ticked "don't ask"
// (or forgets it after a restart), a turn that leaves the shown photo stale, and an "apply to files"
// run that stops at a broken file, touches a source, leaves a half-written file, or hides the error.
#include "common/testing/TestImages.h"
#include "demo/CApplyToFiles.h"
#include "demo/CKelPhotoApp.h"
#include "demo/CKelPhotoMainWnd.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ImageProcess.h"
#include "ui/CMessageBox.h"
#include "ui/CMultiTaskProgressDlg.h"
#include "ui/tests/QtTestSupport.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <memory>

using namespace kelphoto;

namespace {

QByteArray ReadBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool SavePng(const CImageDataInfo& image, const QString& path) {
    ImageFile::SAVEFILE_OPTIONS o;
    o.format = ImageFile::CONTAINER_FORMAT_PNG;
    return ImageFile::SaveFile(image, ImageFile::FILEMETADATA(), o, path.toStdString()) == 0;
}

// Answers every CMessageBox that opens while it is armed: ticks "don't ask" when told, then Yes.
class BoxAnswerer : public QObject {
public:
    explicit BoxAnswerer(bool tickDontAsk) : m_tick(tickDontAsk) {
        m_poll.setInterval(5);
        QObject::connect(&m_poll, &QTimer::timeout, this, [this] {
            auto* box = dynamic_cast<KELCTRL::CMessageBox*>(QApplication::activeModalWidget());
            if (!box || box == m_last)
                return;
            m_last = box;
            ++asked;
            if (m_tick && box->GetDontAskBox()->isVisible())
                box->GetDontAskBox()->setChecked(true);
            box->GetButton(KELCTRL::CMessageBox::ID_YES)->click();
        });
        m_poll.start();
    }
    int asked = 0;

private:
    bool m_tick;
    QTimer m_poll;
    KELCTRL::CMessageBox* m_last = nullptr;
};

// A product with its folders in a temporary place, its worker running and its window made.
struct Product {
    explicit Product(const QString& home) {
        KELCTRL::CWorkingFolders::ENVIRONMENT env;
        env.executablePath = home + "/bin/kelphoto";
        env.workingFolderOverride = qEnvironmentVariable("KEL_TEST_SOURCE_DIR") + "/resources";
        env.dataHome = home;
        env.picturesFolder = home;
        env.desktopFolder = home;
        app.SetFolderEnvironment(env);
        static_cast<KELCTRL::CPhotoEditorApp&>(app).InitWorkingFolders(); // reads settings.xml
        app.Worker().Start();
        wnd = std::make_unique<CKelPhotoMainWnd>(app);
        wnd->Create(nullptr, QRect(0, 0, 640, 480), 0, 0);
        app.SetMainWnd(wnd.get());
    }
    ~Product() {
        app.SetMainWnd(nullptr);
        wnd.reset();
        app.Worker().Exit();
    }
    CKelPhotoApp app;
    std::unique_ptr<CKelPhotoMainWnd> wnd;
};

class KelPhotoFiles : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(kel_testing::MakeGradient(image, 60, 40, 3, 1));
        photo = dir.filePath("photo.png");
        ASSERT_TRUE(SavePng(image, photo));
    }
    QTemporaryDir dir;
    CImageDataInfo image;
    QString photo;
};

TEST_F(KelPhotoFiles, RotateAsksUntilDontAskIsTickedAndRemembersItAfterARestart) {
    CImageDataInfo turnedRight, turnedBack;
    ASSERT_TRUE(ImageProcess::RotateImage90(image, turnedRight, true, nullptr));
    {
        Product p(dir.path());
        ASSERT_EQ(p.wnd->OpenFile(photo, false), 1);
        BoxAnswerer yes(/*tickDontAsk=*/false);
        p.wnd->OnCommand(CMD_ROTATE_RIGHT);
        EXPECT_EQ(yes.asked, 1);
        // The file on disk and the photo on show are both turned.
        ImageFile::FILEINFO info;
        CImageDataInfo onDisk;
        ASSERT_EQ(ImageFile::LoadFile(info, onDisk, photo.toStdString()), 0);
        EXPECT_TRUE(kel_testing::SamePixels(onDisk, turnedRight));
        ASSERT_NE(p.wnd->Canvas().GetImage(), nullptr);
        EXPECT_EQ(p.wnd->Canvas().GetImage()->width, 40) << "the turned file was opened again";
        EXPECT_EQ(p.app.DontAskRotate(), 0) << "a plain yes is not remembered";
    }
    {
        Product p(dir.path());
        ASSERT_EQ(p.wnd->OpenFile(photo, false), 1);
        BoxAnswerer yesAndDontAsk(/*tickDontAsk=*/true);
        p.wnd->OnCommand(CMD_ROTATE_LEFT);
        EXPECT_EQ(yesAndDontAsk.asked, 1);
        EXPECT_EQ(p.app.DontAskRotate(), 1);
        ASSERT_EQ(p.app.SaveSettingFile(), 1);
    }
    {
        Product p(dir.path()); // a new start reads the choice back
        EXPECT_EQ(p.app.DontAskRotate(), 1);
        ASSERT_EQ(p.wnd->OpenFile(photo, false), 1);
        BoxAnswerer watcher(/*tickDontAsk=*/false);
        p.wnd->OnCommand(CMD_ROTATE_RIGHT);
        EXPECT_EQ(watcher.asked, 0) << "asked although told not to";
        ImageFile::FILEINFO info;
        CImageDataInfo onDisk;
        ASSERT_EQ(ImageFile::LoadFile(info, onDisk, photo.toStdString()), 0);
        EXPECT_TRUE(kel_testing::SamePixels(onDisk, turnedRight)) << "right, left, right is one right turn";
    }
}

TEST_F(KelPhotoFiles, ApplyToFilesAdjustsTheGoodFilesAndListsTheBrokenOne) {
    CImageDataInfo second;
    ASSERT_TRUE(kel_testing::MakeGradient(second, 30, 50, 3, 1));
    const QString secondPath = dir.filePath("second.png");
    ASSERT_TRUE(SavePng(second, secondPath));
    const QString broken = dir.filePath("broken.png");
    {
        QFile f(broken);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("\x89PNG\r\n\x1a\n then nothing useful");
    }
    const QByteArray brokenBytes = ReadBytes(broken);
    const QByteArray photoBytes = ReadBytes(photo);

    Product p(dir.path());
    p.wnd->Adjustment().Set({1.0, 0});
    p.wnd->SetFileChooser([&] { return QStringList{photo, broken, secondPath}; });
    int rowsShown = -1;
    QString row;
    bool heldOpen = false;
    QTimer::singleShot(0, [&] {
        kel_qt_test::PumpUntil([] {
            return dynamic_cast<KELCTRL::CMultiTaskProgressDlg*>(QApplication::activeModalWidget()) !=
                   nullptr;
        });
        auto* dlg = dynamic_cast<KELCTRL::CMultiTaskProgressDlg*>(QApplication::activeModalWidget());
        if (!dlg)
            return;
        heldOpen = kel_qt_test::PumpUntil([&] { return dlg->GetRetryButton()->isVisible(); });
        rowsShown = dlg->GetErrorList()->topLevelItemCount();
        if (rowsShown > 0)
            row = dlg->GetErrorList()->topLevelItem(0)->text(0);
        dlg->GetStopButton()->click(); // Close
    });
    p.wnd->OnCommand(CMD_APPLY_TO_FILES);

    EXPECT_TRUE(heldOpen) << "the dialog stays open on its error";
    EXPECT_EQ(rowsShown, 1);
    EXPECT_TRUE(row.startsWith("broken.png: ")) << row.toStdString();
    // The sources are untouched, the broken one included, and nothing was written for it.
    EXPECT_EQ(ReadBytes(photo), photoBytes);
    EXPECT_EQ(ReadBytes(broken), brokenBytes);
    EXPECT_FALSE(QFile::exists(dir.filePath("broken_adjusted.png")));
    // The good ones are adjusted beside their sources, as the adjustment makes them.
    for (const auto& [source, path] : {std::pair{&image, dir.filePath("photo_adjusted.png")},
                                       std::pair{&second, dir.filePath("second_adjusted.png")}}) {
        ImageFile::FILEINFO info;
        CImageDataInfo saved, expected;
        ASSERT_EQ(ImageFile::LoadFile(info, saved, path.toStdString()), 0) << path.toStdString();
        ASSERT_TRUE(p.wnd->Adjustment().Process(expected, *source, 0, 0));
        EXPECT_EQ(kel_testing::MaxDifference(saved, expected), 0);
        EXPECT_GT(kel_testing::MeanValue(saved, 1), kel_testing::MeanValue(*source, 1) + 20);
    }
    // No temporaries are left in the folder: only the three sources, the two results and the data.
    QStringList names = QDir(dir.path()).entryList(QDir::Files);
    names.sort();
    EXPECT_EQ(names, (QStringList{"broken.png", "photo.png", "photo_adjusted.png", "second.png",
                                  "second_adjusted.png"}));
}

TEST(ApplyToFilesNames, ResultsNeverReplaceAnExistingFile) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString src = dir.filePath("a.b.jpg");
    EXPECT_EQ(CApplyToFiles::OutputPath(src), dir.filePath("a.b_adjusted.jpg"));
    QFile(dir.filePath("a.b_adjusted.jpg")).open(QIODevice::WriteOnly);
    EXPECT_EQ(CApplyToFiles::OutputPath(src), dir.filePath("a.b_adjusted_2.jpg"));
}

} // namespace
