#include "tests/faults/shims/memory_shim.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <limits>

// the C library's own, under the names that stay when a program brings an allocator
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

constexpr long kPlenty = std::numeric_limits<long>::max();

std::atomic<long> left{kPlenty};
std::atomic<Shortage> kind{Shortage::Lasting};
std::atomic<bool> failed{false};

bool isExhausted(std::size_t size)
{
    if (left == kPlenty || (kind == Shortage::OfLargeBlocks && size < kLargeBlock))
        return false;
    const long before = left.fetch_sub(1);
    if (before > 1 || (before < 1 && kind == Shortage::Momentary))
        return false;
    failed = true;
    errno = ENOMEM;
    return true;
}

} // namespace

void exhaustMemoryFrom(long nth, Shortage shortage)
{
    kind = shortage;
    failed = false;
    left = nth;
}

bool restoreMemory()
{
    left = kPlenty;
    return failed;
}

#define KORV_HOOK extern "C" __attribute__((visibility("default")))

KORV_HOOK void *malloc(std::size_t size)
{
    return isExhausted(size) ? nullptr : __libc_malloc(size);
}

KORV_HOOK void *calloc(std::size_t count, std::size_t size)
{
    return isExhausted(count * size) ? nullptr : __libc_calloc(count, size);
}

KORV_HOOK void *realloc(void *memory, std::size_t size)
{
    return isExhausted(size) ? nullptr : __libc_realloc(memory, size);
}

KORV_HOOK void *memalign(std::size_t alignment, std::size_t size)
{
    return isExhausted(size) ? nullptr : __libc_memalign(alignment, size);
}

KORV_HOOK void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

KORV_HOOK int posix_memalign(void **memory, std::size_t alignment, std::size_t size)
{
    const int before = errno;
    *memory = memalign(alignment, size);
    errno = before; // it answers instead
    return *memory != nullptr ? 0 : ENOMEM;
}
