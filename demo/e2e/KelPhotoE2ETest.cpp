// Guards against an editor that starts but shows nothing, shows the photo off-centre, or ignores real
// X input: the wheel with Ctrl must zoom, a drag must pan, a key must move the view, and a brush
// stroke must show on the photo; the side panel must show on hover, dock on a click and drive the
// photo through its slider and value edit; a broken file must be refused with a message box.
//
// The test photo encodes its own coordinates: red grows with x, green with y, blue is constant. So a
// screenshot tells which image point lies under any screen point, and zoom and panning can be read
// off the colours.
#include <gtest/gtest.h>

#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRect>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <chrono>
#include <cmath>
#include <optional>

namespace {

constexpr int kImageW = 1200, kImageH = 900, kBlue = 200;

bool IsImagePixel(QRgb p) {
    return std::abs(qBlue(p) - kBlue) <= 4 &&
           !(std::abs(qRed(p) - qGreen(p)) <= 2 && std::abs(qRed(p) - qBlue(p)) <= 2);
}

QString RunTool(const QString& program, const QStringList& args, const QProcessEnvironment& env,
                int timeoutMs = 20000, int* exitCode = nullptr) {
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(program, args);
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
    }
    if (exitCode)
        *exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    return QString::fromLocal8Bit(p.readAllStandardOutput()).trimmed();
}

class KelPhotoE2E : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_dir = new QTemporaryDir;
        ASSERT_TRUE(s_dir->isValid());
        for (const char* tool : {"Xvfb", "xdotool", "import"})
            ASSERT_FALSE(QStandardPaths::findExecutable(tool).isEmpty()) << tool << " is not installed";
        // The test photo.
        QImage photo(kImageW, kImageH, QImage::Format_RGB32);
        for (int y = 0; y < kImageH; ++y)
            for (int x = 0; x < kImageW; ++x)
                photo.setPixel(x, y, qRgb(x * 255 / (kImageW - 1), y * 255 / (kImageH - 1), kBlue));
        s_photo = s_dir->filePath("coords.png");
        ASSERT_TRUE(photo.save(s_photo, "PNG"));
        // A private X server on a free display.
        for (int n = 91; n < 140 && !s_xvfb; ++n) {
            if (QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(n)))
                continue;
            auto* x = new QProcess;
            x->start("Xvfb",
                     {QStringLiteral(":%1").arg(n), "-screen", "0", "1280x800x24", "-nolisten", "tcp"});
            // Alive after a while means it took the display; a taken display makes it exit at once.
            if (x->waitForStarted(5000) && !x->waitForFinished(1500)) {
                s_xvfb = x;
                s_display = QStringLiteral(":%1").arg(n);
            } else {
                x->kill();
                x->waitForFinished(2000);
                delete x;
            }
        }
        ASSERT_NE(s_xvfb, nullptr) << "no X server could be started";
        s_env = QProcessEnvironment::systemEnvironment();
        s_env.insert("DISPLAY", s_display);
        s_env.remove("QT_QPA_PLATFORM");
        s_env.insert("XDG_DATA_HOME", s_dir->filePath("data"));
        s_layout = s_dir->filePath("layout.txt");
        s_env.insert("KELPHOTO_LAYOUT_FILE", s_layout);
        // The editor.
        s_app = new QProcess;
        s_app->setProcessEnvironment(s_env);
        s_app->start(qEnvironmentVariable("KELPHOTO"), {s_photo});
        ASSERT_TRUE(s_app->waitForStarted(10000));
        const QString id =
            RunTool("xdotool", {"search", "--sync", "--onlyvisible", "--name", "Kel Photo"}, s_env);
        ASSERT_FALSE(id.isEmpty()) << "the editor's window did not appear";
        s_window = id.split('\n').first();
    }

    static void TearDownTestSuite() {
        if (s_app) {
            s_app->terminate();
            if (!s_app->waitForFinished(5000))
                s_app->kill();
            s_app->waitForFinished(2000);
        }
        if (s_xvfb) {
            s_xvfb->terminate();
            s_xvfb->waitForFinished(5000);
        }
        delete s_app;
        delete s_xvfb;
        delete s_dir;
        s_app = s_xvfb = nullptr;
    }

    // The window's rectangle on the screen.
    static QRect WindowRect() {
        const QString out = RunTool("xdotool", {"getwindowgeometry", "--shell", s_window}, s_env);
        auto value = [&](const char* key) {
            QRegularExpression re(QStringLiteral("%1=(\\d+)").arg(key));
            return re.match(out).captured(1).toInt();
        };
        return QRect(value("X"), value("Y"), value("WIDTH"), value("HEIGHT"));
    }

    static QImage Screenshot() {
        const QString path = s_dir->filePath("shot.png");
        QFile::remove(path);
        RunTool("import", {"-display", s_display, "-window", "root", "png:" + path}, s_env);
        return QImage(path).convertToFormat(QImage::Format_RGB32);
    }

    // What the editor last reported of its layout: rectangles in window coordinates, and texts.
    static QString LayoutValue(const QString& name) {
        QFile f(s_layout);
        if (!f.open(QIODevice::ReadOnly))
            return QString();
        for (const QString& line : QString::fromUtf8(f.readAll()).split('\n'))
            if (line.startsWith(name + ' '))
                return line.mid(name.size() + 1);
        return QString();
    }
    static QRect LayoutRect(const QString& name) {
        const QStringList v = LayoutValue(name).split(' ');
        if (v.size() != 4)
            return QRect();
        return QRect(v[0].toInt(), v[1].toInt(), v[2].toInt(), v[3].toInt())
            .translated(WindowRect().topLeft());
    }
    // Waits (bounded) until the reported layout satisfies a condition.
    template <class Pred> static bool WaitFor(Pred pred) {
        for (int i = 0; i < 40; ++i) {
            if (pred())
                return true;
            QThread::msleep(150);
        }
        return pred();
    }

    // The canvas in screen coordinates, as the editor laid it out.
    static QRect CanvasRect() { return LayoutRect("canvas"); }

    static QRect ImageBox(const QImage& shot, const QRect& area) {
        int l = INT32_MAX, t = INT32_MAX, r = -1, b = -1;
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                if (IsImagePixel(shot.pixel(x, y))) {
                    l = std::min(l, x);
                    t = std::min(t, y);
                    r = std::max(r, x);
                    b = std::max(b, y);
                }
        return r < 0 ? QRect() : QRect(QPoint(l, t), QPoint(r, b));
    }

    // Waits (bounded) until the canvas shows the photo and two shots in a row agree.
    static QImage SettledShot() {
        QImage last;
        for (int i = 0; i < 60; ++i) {
            QThread::msleep(250);
            QImage shot = Screenshot();
            const QPoint c = CanvasRect().center();
            if (!shot.isNull() && IsImagePixel(shot.pixel(c)) && shot == last)
                return shot;
            last = shot;
        }
        return last;
    }

    // Image x under a screen point, from the red channel; and the red change per screen pixel.
    static double ImageXAt(const QImage& shot, QPoint p) {
        return qRed(shot.pixel(p)) * (kImageW - 1) / 255.0;
    }
    static double RedSlope(const QImage& shot, QPoint c) {
        return (qRed(shot.pixel(c + QPoint(100, 0))) - qRed(shot.pixel(c - QPoint(100, 0)))) / 200.0;
    }
    static void X(const QStringList& args) { RunTool("xdotool", args, s_env); }

    static inline QTemporaryDir* s_dir = nullptr;
    static inline QProcess* s_xvfb = nullptr;
    static inline QProcess* s_app = nullptr;
    static inline QString s_display, s_photo, s_window, s_layout;
    static inline QProcessEnvironment s_env;
};

TEST_F(KelPhotoE2E, PhotoIsVisibleCentredAndReactsToWheelDragAndKeys) {
    // The side panel starts docked; F6 gives its room to the canvas for the scenarios below.
    const int dockedWidth = CanvasRect().width();
    // Without a window manager a window is activated by a click only: on the read-out under the
    // photo, where a click does nothing else.
    const QPoint start(CanvasRect().left() + 4, CanvasRect().bottom() + 8);
    X({"mousemove", QString::number(start.x()), QString::number(start.y()), "click", "1"});
    X({"key", "F6"});
    ASSERT_TRUE(WaitFor([&] { return CanvasRect().width() > dockedWidth; })) << "F6 did not hide the panel";

    // 1. At fit the whole photo is visible, with its aspect, centred in the canvas.
    QImage shot = SettledShot();
    ASSERT_FALSE(shot.isNull());
    const QRect canvas = CanvasRect();
    const QRect box = ImageBox(shot, canvas);
    ASSERT_TRUE(box.isValid()) << "no photo on the screen";
    EXPECT_NEAR(box.center().x(), canvas.center().x(), 3);
    EXPECT_NEAR(box.center().y(), canvas.center().y(), 3);
    EXPECT_NEAR(double(box.width()) / box.height(), double(kImageW) / kImageH, 0.02);
    EXPECT_LE(box.width(), canvas.width());
    EXPECT_LE(box.height(), canvas.height());
    // The photo's corners are its corners: red near 0 on the left edge, near 255 on the right.
    EXPECT_LT(qRed(shot.pixel(box.left() + 1, box.center().y())), 8);
    EXPECT_GT(qRed(shot.pixel(box.right() - 1, box.center().y())), 247);
    const QPoint c = canvas.center();
    const double fitSlope = RedSlope(shot, c);
    ASSERT_GT(fitSlope, 0.0);

    // 2. Ctrl + wheel up over the canvas zooms in: the colours change more slowly across the screen.
    // Two notches: fit, then fill (which may still fill one axis exactly), then one to one, where the
    // view scrolls both ways.
    X({"mousemove", QString::number(c.x()), QString::number(c.y())});
    X({"keydown", "ctrl", "click", "--repeat", "2", "--delay", "150", "4", "keyup", "ctrl"});
    shot = SettledShot();
    const double zoomedSlope = RedSlope(shot, c);
    EXPECT_LT(zoomedSlope, fitSlope * 0.9) << "the wheel did not zoom in";
    EXPECT_GT(ImageBox(shot, canvas).width(), box.width());

    // 3. A drag pans: the image point under the centre moves by the drag over the zoom.
    const double xBefore = ImageXAt(shot, c);
    X({"mousemove", QString::number(c.x()), QString::number(c.y())});
    X({"mousedown", "1"});
    for (int step = 1; step <= 6; ++step)
        X({"mousemove", QString::number(c.x() - 20 * step), QString::number(c.y())});
    X({"mouseup", "1"});
    shot = SettledShot();
    const double xAfterDrag = ImageXAt(shot, c);
    // 120 screen pixels to the left: the image moved left, so the centre shows a point further right.
    const double zoom = (255.0 / (kImageW - 1)) / zoomedSlope;
    EXPECT_NEAR(xAfterDrag - xBefore, 120.0 / zoom, 6.0) << "the drag did not pan the view";

    // 4. Keys: each press of the right arrow moves the view by 20 screen pixels.
    X({"key", "--delay", "100", "Right", "Right", "Right", "Right", "Right"});
    shot = SettledShot();
    EXPECT_NEAR(ImageXAt(shot, c) - xAfterDrag, 100.0 / zoom, 6.0) << "the arrow keys did not move the view";

    // 5. B and a stroke: the brush brightens the photo by one stop under its mask, so the constant
    // blue of the photo rises on the stroke and stays elsewhere.
    const int strokeY = c.y() + 60;
    X({"key", "b"});
    X({"mousemove", QString::number(c.x() - 150), QString::number(strokeY)});
    X({"mousedown", "1"});
    for (int step = 1; step <= 15; ++step)
        X({"mousemove", QString::number(c.x() - 150 + 20 * step), QString::number(strokeY)});
    X({"mouseup", "1"});
    shot = SettledShot();
    EXPECT_GT(qBlue(shot.pixel(c.x(), strokeY)), kBlue + 30) << "the stroke is not visible";
    EXPECT_NEAR(qBlue(shot.pixel(c.x(), c.y() - 80)), kBlue, 4)
        << "the brush changed the photo off the stroke";
}

TEST_F(KelPhotoE2E, SidePanelDocksAndItsControlsDriveThePhoto) {
    // Leave the brush mode of the first scenario: clicks below must not paint.
    X({"key", "b"});
    // The first scenario hid the side panels; F6 docks them again and the canvas gives up the room.
    const QRect hidden = CanvasRect();
    ASSERT_TRUE(hidden.isValid()) << "the editor reported no layout";
    X({"key", "F6"});
    ASSERT_TRUE(WaitFor([&] { return CanvasRect().width() < hidden.width(); }))
        << "F6 did not dock the panel";
    const QRect docked = CanvasRect();
    const QRect bar = LayoutRect("rightbar");
    ASSERT_TRUE(bar.isValid());
    // A point inside the docked panel, left of the right bar.
    const QPoint inPanel(bar.left() - 40, bar.center().y());
    EXPECT_FALSE(IsImagePixel(SettledShot().pixel(inPanel))) << "the docked panel does not show";

    // F6 hides the side panels again: the canvas takes their room and the photo shows where the
    // panel was.
    X({"key", "F6"});
    ASSERT_TRUE(WaitFor([&] { return CanvasRect() == hidden; })) << "F6 did not hide the panel";
    EXPECT_EQ(CanvasRect().right(), bar.left() - 1);
    EXPECT_TRUE(IsImagePixel(SettledShot().pixel(inPanel)));

    // Hovering the bar shows the panel over the photo without taking room; a click docks it.
    X({"mousemove", QString::number(bar.center().x()), QString::number(bar.center().y())});
    QThread::msleep(400);
    EXPECT_FALSE(IsImagePixel(SettledShot().pixel(inPanel))) << "hovering the bar did not show the panel";
    EXPECT_GT(CanvasRect().width(), docked.width()) << "a shown panel took room from the canvas";
    const QImage floating = SettledShot();
    X({"click", "1"});
    ASSERT_TRUE(WaitFor([&] { return CanvasRect() == docked; }))
        << "a click on the bar did not dock the panel";
    const QImage dockedShot = SettledShot();
    const QPoint probe(docked.center().x(), docked.center().y() - 80);
    EXPECT_NE(floating.pixel(probe), dockedShot.pixel(probe)) << "docking did not move the photo";

    // Dragging the exposure thumb to the right brightens the photo and writes the value in the edit.
    const int blueBefore = qBlue(dockedShot.pixel(probe));
    const QRect slider = LayoutRect("exposure");
    ASSERT_TRUE(slider.isValid());
    const QPoint thumb = slider.center(); // value 0 sits in the middle of -3 … +3
    X({"mousemove", QString::number(thumb.x()), QString::number(thumb.y())});
    X({"mousedown", "1"});
    for (int step = 1; step <= 5; ++step)
        X({"mousemove", QString::number(thumb.x() + 8 * step), QString::number(thumb.y())});
    X({"mouseup", "1"});
    QImage shot = SettledShot();
    EXPECT_GT(qBlue(shot.pixel(probe)), blueBefore + 10) << "the exposure drag did not brighten the photo";
    EXPECT_TRUE(WaitFor([] { return LayoutValue("exposuretext").startsWith('+'); }))
        << "the edit shows " << LayoutValue("exposuretext").toStdString();

    // Typing -1.5 and Enter in the edit darkens it.
    const QRect edit = LayoutRect("exposureedit");
    ASSERT_TRUE(edit.isValid());
    X({"mousemove", QString::number(edit.center().x()), QString::number(edit.center().y())});
    X({"click", "--repeat", "3", "--delay", "80", "1"}); // select the whole text
    X({"key", "ctrl+a"});
    X({"type", "--delay", "60", "--", "-1.5"});
    X({"key", "Return"});
    EXPECT_TRUE(WaitFor([] { return LayoutValue("exposuretext").toDouble() == -1.5; }))
        << "the edit shows " << LayoutValue("exposuretext").toStdString();
    shot = SettledShot();
    EXPECT_LT(qBlue(shot.pixel(probe)), blueBefore - 20) << "typing -1.5 did not darken the photo";

    // A double click on the slider restores the default, and with it the pixels.
    const QPoint thumbNow(slider.left() + slider.width() / 4, slider.center().y()); // near -1.5
    X({"mousemove", QString::number(thumbNow.x()), QString::number(thumbNow.y())});
    X({"click", "--repeat", "2", "--delay", "60", "1"});
    EXPECT_TRUE(WaitFor([] { return LayoutValue("exposuretext") == QLatin1String("0.00"); }))
        << "the edit shows " << LayoutValue("exposuretext").toStdString();
    shot = SettledShot();
    EXPECT_NEAR(qBlue(shot.pixel(probe)), blueBefore, 4) << "the double click did not restore the photo";
}

TEST_F(KelPhotoE2E, ABrokenFileGivesAMessageBoxThatEnterClosesAndKeepsThePhoto) {
    const QString broken = s_dir->filePath("broken.jpg");
    {
        QFile f(broken);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("\xFF\xD8\xFF\xE0 this is not a photo");
    }
    const QImage before = SettledShot();
    const QPoint probe(CanvasRect().center().x(), CanvasRect().center().y() - 80);
    // A second start hands the file to the running editor, which reports it.
    QProcess second;
    second.setProcessEnvironment(s_env);
    second.start(qEnvironmentVariable("KELPHOTO"), {broken});
    ASSERT_TRUE(second.waitForFinished(15000));
    auto windows = [] {
        return RunTool("xdotool", {"search", "--onlyvisible", "--name", "Kel Photo"}, s_env)
            .split('\n', Qt::SkipEmptyParts)
            .size();
    };
    ASSERT_TRUE(WaitFor([&] { return windows() >= 2; })) << "no message box appeared";
    X({"key", "Return"});
    EXPECT_TRUE(WaitFor([&] { return windows() == 1; })) << "Enter did not close the message box";
    EXPECT_EQ(SettledShot().pixel(probe), before.pixel(probe)) << "the photo was not kept";
}

} // namespace
