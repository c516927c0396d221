// Kel Photo: the sample product of the library.
#include "demo/CKelPhotoApp.h"

int main(int argc, char** argv) {
    kelphoto::CKelPhotoApp app;
    return app.Run(argc, argv);
}
