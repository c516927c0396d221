// Library start and stop, and the processing margin the host may tune.
#include "imageprocess/ImageProcess.h"

namespace ImageProcess {

int PROCESS_EXTEND = DEFAULT_PROCESS_EXTEND;

void SetProcessExtend(int pixels) {
    PROCESS_EXTEND = pixels < 0 ? 0 : pixels;
}

int GetProcessExtend() {
    return PROCESS_EXTEND;
}

bool Initialize() {
    PROCESS_EXTEND = DEFAULT_PROCESS_EXTEND;
    return true;
}

void Uninitialize() {
    ColorProfile::ReleaseCache();
}

} // namespace ImageProcess
