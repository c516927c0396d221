// Kel Photo: the sample product of the library.
#include "demo/CKelPhotoApp.h"
#include "demo/SamplePhoto.h"
#include "imagefile/ImageFile.h"

#include <cstdio>
#include <cstring>

namespace {
// "--write-sample PATH WxH": writes the sample photo at that size as a JPEG and exits, so that
// benchmarks have a large realistic photo without shipping one.
int WriteSample(const char* path, const char* size) {
    int w = 0, h = 0;
    if (std::sscanf(size, "%dx%d", &w, &h) != 2 || w < 16 || h < 16 || w > 30000 || h > 30000) {
        std::fprintf(stderr, "kelphoto: bad size \"%s\" (WxH)\n", size);
        return 2;
    }
    CImageDataInfo image;
    if (!kelphoto::GenerateSamplePhoto(image, w, h))
        return 1;
    ImageFile::SAVEFILE_OPTIONS options;
    options.format = ImageFile::CONTAINER_FORMAT_JPEG;
    options.quality = 92;
    const int code = ImageFile::SaveFile(image, ImageFile::FILEMETADATA(), options, path);
    if (code != ImageFile::ERR_OK)
        std::fprintf(stderr, "kelphoto: cannot write \"%s\": %s\n", path, ImageFile::ErrorDescription(code));
    return code == ImageFile::ERR_OK ? 0 : 1;
}
} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--write-sample") == 0)
        return WriteSample(argv[2], argv[3]);
    kelphoto::CKelPhotoApp app;
    return app.Run(argc, argv);
}
