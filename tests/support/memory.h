// memory - running out of it where a test wants it.
#ifndef ZAN_TEST_MEMORY_H
#define ZAN_TEST_MEMORY_H

// Of the allocations new (std::nothrow) T[n] from now on, the number-th (from 1) gives a null
// pointer, all others succeed. 0: none fails.
void fail_array_allocation(int number);

// Of the allocations new T and new T[n] from now on, the number-th (from 1) throws, all others
// succeed. 0: none throws. Returns how many were still to come before the one chosen last.
int throw_at_allocation(int number);

#endif
