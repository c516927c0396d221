// A product built against an installed KelCtrl: it proves that the installed headers, the shared
// library and the static pixel and file libraries are enough to build and run a host.
#include "common/CImageDataInfo.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageWnd.h"
#include "ui/CBaseWnd.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QRect>

#include <cstdio>
#include <string>

namespace {

// A 3-channel 8-bit image with a different level per channel.
bool MakeImage(CImageDataInfo& image, int w, int h) {
    if (!image.Create(w, h, 3, 1))
        return false;
    for (int y = 0; y < h; ++y) {
        unsigned char* row = image.RowPtr(y);
        for (int x = 0; x < w; ++x) {
            row[3 * x + 0] = 10;
            row[3 * x + 1] = 20;
            row[3 * x + 2] = 200;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);

    KELCTRL::CBaseWnd frame;
    if (!frame.Create(nullptr, QRect(0, 0, 320, 240), 1, 0)) {
        std::puts("CBaseWnd: create failed");
        return 1;
    }
    KELCTRL::CImageWnd canvas;
    if (!canvas.Create(&frame, QRect(0, 0, 320, 240), 2, 0)) {
        std::puts("CImageWnd: create failed");
        return 1;
    }

    CImageDataInfo image, small;
    if (!MakeImage(image, 64, 48) ||
        !ImageProcess::ResizeImage(image, small, 16, 12, ImageProcess::RESIZE_AUTO, nullptr)) {
        std::puts("ImageProcess: resize failed");
        return 1;
    }
    std::printf("resized %dx%d channels %d\n", small.width, small.height, small.channels);
    std::printf("canvas image %d\n", canvas.SetImage(small));
    std::printf("canvas size %dx%d\n", canvas.GetImageSize().width, canvas.GetImageSize().height);

    const std::string path =
        (QDir::tempPath() + QStringLiteral("/kelctrl_product_%1.png").arg(QCoreApplication::applicationPid()))
            .toStdString();
    ImageFile::SAVEFILE_OPTIONS options;
    options.format = ImageFile::CONTAINER_FORMAT_PNG;
    const int saved = ImageFile::SaveFile(small, ImageFile::FILEMETADATA(), options, path);
    ImageFile::FILEINFO info;
    CImageDataInfo back;
    const int loaded = saved == ImageFile::ERR_OK ? ImageFile::LoadFile(info, back, path) : saved;
    QFile::remove(QString::fromStdString(path));
    std::printf("file round trip %s %dx%d\n", ImageFile::ErrorDescription(loaded), back.width, back.height);
    if (loaded == ImageFile::ERR_OK) {
        const unsigned char* p = back.PixelPtr(5, 5);
        std::printf("pixel %d %d %d\n", p[0], p[1], p[2]);
    }
    canvas.Clear(0);
    return loaded == ImageFile::ERR_OK ? 0 : 1;
}
