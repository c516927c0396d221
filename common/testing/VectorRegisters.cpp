#include "common/testing/VectorRegisters.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <cpuid.h>

// In assembly: a compiler ends any function that touches ymm registers with vzeroupper.
extern "C" void KelTestingUseUpperVectorHalves();
asm(".text\n"
    ".globl KelTestingUseUpperVectorHalves\n"
    ".type KelTestingUseUpperVectorHalves, @function\n"
    "KelTestingUseUpperVectorHalves:\n"
    "    vcmptrueps %ymm15, %ymm15, %ymm15\n"
    "    ret\n"
    ".size KelTestingUseUpperVectorHalves, .-KelTestingUseUpperVectorHalves\n");

namespace kel_testing {

bool CanReadVectorStateInUse() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__builtin_cpu_supports("avx") || !__get_cpuid_count(0xD, 1, &a, &b, &c, &d))
        return false;
    return (a & (1u << 2)) != 0;
}

bool UpperVectorHalvesInUse() {
    if (!CanReadVectorStateInUse())
        return false;
    unsigned lo = 0, hi = 0;
    asm volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(1));
    return (lo & (1u << 2)) != 0; // the AVX component
}

void UseUpperVectorHalves() {
    if (__builtin_cpu_supports("avx"))
        KelTestingUseUpperVectorHalves();
}

} // namespace kel_testing
#else
namespace kel_testing {
bool CanReadVectorStateInUse() {
    return false;
}
bool UpperVectorHalvesInUse() {
    return false;
}
void UseUpperVectorHalves() {}
} // namespace kel_testing
#endif
