// Not a test: profiles the colour tests use.
#include "imageprocess/tests/TestProfiles.h"

#include <lcms2.h>

bool WriteWideGamutProfile(const std::string& path) {
    const cmsCIExyY white = {0.3457, 0.3585, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.7347, 0.2653, 1.0}, {0.1596, 0.8404, 1.0}, {0.0366, 0.0001, 1.0}};
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 1.8);
    if (!gamma)
        return false;
    cmsToneCurve* curves[3] = {gamma, gamma, gamma};
    cmsHPROFILE h = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(gamma);
    if (!h)
        return false;
    cmsMLU* name = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(name, "en", "US", "Wide gamut test");
    cmsWriteTag(h, cmsSigProfileDescriptionTag, name);
    cmsMLUfree(name);
    const bool saved = cmsSaveProfileToFile(h, path.c_str()) != 0;
    cmsCloseProfile(h);
    return saved;
}
