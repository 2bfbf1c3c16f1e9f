// Memory that changes errno even when there is some, as the C library's may: in the first allocation
// of a thread it looks for files of the system, which a bare chroot lacks.
#include <cerrno>
#include <cstdlib>
#include <new>

// All forms that meet the same delete: a sanitizer has its own of each that is not replaced.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    void *memory = std::malloc(size);
    if (memory != nullptr)
        errno = ENOTTY;
    return memory;
}

void *operator new(std::size_t size)
{
    void *memory = operator new(size, std::nothrow);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}
