// memory.cpp - running out of memory, by replacing the allocation that may fail.
#include "memory.h"

#include <new>

static int until_failure;

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
