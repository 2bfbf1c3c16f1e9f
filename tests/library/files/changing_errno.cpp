// Memory that changes errno even when there is some, as the C library's may: in the first allocation
// of a thread it looks for files of the system, which a bare chroot lacks.
#include <cerrno>
#include <cstdlib>
#include <new>

void *operator new(std::size_t size)
{
    void *memory = std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    errno = ENOTTY;
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
