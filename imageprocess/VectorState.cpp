// Clearing the upper halves of the vector registers before the pixel loops. The loops are built for
// any x86-64, so in the old SSE encoding; on processors with AVX such code can run at half speed or
// worse while another part of the process has left those upper halves in use, and a new thread
// starts with the state of the thread that made it. One instruction per band of rows avoids that.
#include "imageprocess/PixelAccess.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>

namespace ImageProcess::detail {
namespace {

__attribute__((target("avx"))) void ZeroUpper() {
    _mm256_zeroupper();
}

bool HasAvx() {
    static const bool has = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx") != 0;
    }();
    return has;
}

} // namespace

void ClearUpperVectorState() {
    if (HasAvx())
        ZeroUpper();
}

} // namespace ImageProcess::detail
#else
namespace ImageProcess::detail {
void ClearUpperVectorState() {}
} // namespace ImageProcess::detail
#endif
