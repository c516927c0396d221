#include "common/MemoryHook.h"

#include <atomic>
#include <cstdlib>
#include <limits>

namespace GS_MEMORY {

namespace {
std::atomic<OUT_OF_MEMORY_HOOK> g_hook{nullptr};
constexpr int kMaxRetries = 8;
} // namespace

void SetOutOfMemoryHook(OUT_OF_MEMORY_HOOK hook) {
    g_hook.store(hook);
}

OUT_OF_MEMORY_HOOK GetOutOfMemoryHook() {
    return g_hook.load();
}

void* Allocate(size_t count, size_t size, size_t extra) {
    if (size != 0 && count > (std::numeric_limits<size_t>::max() - extra) / size)
        return nullptr;
    const size_t bytes = count * size + extra;
    for (int attempt = 0;; ++attempt) {
        if (void* p = std::malloc(bytes))
            return p;
        const OUT_OF_MEMORY_HOOK hook = g_hook.load();
        if (!hook || attempt >= kMaxRetries || !hook(bytes))
            return nullptr;
    }
}

} // namespace GS_MEMORY
