// vectors.h - vectors of WIDTH doubles. Only for the files that define WIDTH and are
// compiled for one instruction set: nothing here may be shared between them by the linker.

#ifndef ZAN_VECTORS_H
#define ZAN_VECTORS_H

typedef double lanes_t __attribute__((vector_size(WIDTH * sizeof(double))));

namespace
{

lanes_t load(const double *from)
{
    lanes_t v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

void store(double *to, lanes_t v)
{
    __builtin_memcpy(to, &v, sizeof v);
}

} // namespace

#endif
