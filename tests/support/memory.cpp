// memory.cpp - running out of memory, by replacing the allocation that may fail.
#include "memory.h"

#include <cstdlib>
#include <new>

static int until_failure, until_throw;

void fail_array_allocation(int number)
{
    until_failure = number;
}

void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    if (until_failure > 0 && --until_failure == 0)
        return nullptr;
    return operator new[](size);
}

int throw_at_allocation(int number)
{
    const int left = until_throw;
    until_throw = number;
    return left;
}

void *operator new(std::size_t size)
{
    void *memory = until_throw > 0 && --until_throw == 0 ? nullptr : std::malloc(size ? size : 1);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

// As the library's own, which a sanitizer would replace by one that the deletes below do not fit.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    try {
        return operator new(size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}
