#pragma once
// Large allocations (pixel arrays) that fail are offered to a hook first, with the size that was
// wanted, so that an application can free caches and let the allocation be tried again.
#include <cstddef>

namespace GS_MEMORY {

// Returns non-zero when it freed memory and the allocation should be retried.
using OUT_OF_MEMORY_HOOK = int (*)(size_t wanted);

void SetOutOfMemoryHook(OUT_OF_MEMORY_HOOK hook);
OUT_OF_MEMORY_HOOK GetOutOfMemoryHook();

// malloc(bytes) that, on failure, asks the hook and retries while it reports freed memory (a few
// times at most, so a hook that frees nothing cannot loop for ever). Null when the memory cannot be
// had, also when count * size overflows.
void* Allocate(size_t count, size_t size, size_t extra = 0);

} // namespace GS_MEMORY
