// fault_calls.cpp - a library to load before the program: of the calls it makes, the number-th of
// one kind fails, or the process is killed there.
//
//   ZAN_FAULT=KIND:NUMBER        that one call fails; 0: none
//   ZAN_FAULT=KIND:NUMBER:stay   that call and all later ones of its kind fail
//   ZAN_FAULT=KIND:NUMBER:kill   the process is killed at that call
//   ZAN_FAULT_COUNTS=FILE        where the number of calls of each kind goes at the end
//
// Counted from the start of main to the end of the process. The C library writes a stream's
// buffer by calls that nobody else sees, so every file that the program opens becomes a stream
// over functions of this library.
#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{

enum Kind {
    READ,       // a read below a stream
    WRITE,      // a write below a stream; half of it gets there
    SMALL,      // the same with streams that have no buffer
    FLUSH,      // fflush, but not of the console
    CLOSE,      // close of a written file
    RENAME,     // rename
    OPEN,       // fopen
    MAKE_DIR,   // mkdir
    UNLINK,     // unlink
    SPACE,      // a write, or making a file or directory: what a full disk refuses
    CALL,       // any of the above
    THREAD,     // pthread_create
    ALLOCATION, // malloc, calloc, realloc, every operator new
    KINDS
};

const char *const names[KINDS] = {"read",   "write",  "small",     "flush",  "close",
                                  "rename", "open",   "mkdir",     "unlink", "space",
                                  "call",   "thread", "allocation"};

enum Manner { ONCE, STAY, KILL };

bool counting; // main is running
// One operator new calls another one, and that malloc: one allocation.
__attribute__((tls_model("initial-exec"))) thread_local bool inside_new;
int chosen = KINDS;
Manner manner = ONCE;
long number;
std::atomic<long> counts[KINDS];

void read_settings(const char *text)
{
    const char *colon = std::strchr(text, ':');
    if (!colon)
        std::abort();
    const size_t length = static_cast<size_t>(colon - text);
    for (chosen = 0; chosen < KINDS; chosen++)
        if (std::strlen(names[chosen]) == length && !std::strncmp(names[chosen], text, length))
            break;
    char *end;
    number = std::strtol(colon + 1, &end, 10);
    manner = !std::strcmp(end, ":stay") ? STAY : !std::strcmp(end, ":kill") ? KILL : ONCE;
    if (chosen == KINDS || (*end != '\0' && manner == ONCE))
        std::abort(); // a misspelt test would pass
}

bool is_the_one(Kind kind)
{
    const long count = ++counts[kind];
    if (kind != chosen || number == 0)
        return false;
    if (count == number && manner == KILL)
        kill(getpid(), SIGKILL);
    return count == number || (manner == STAY && count > number);
}

// Counts a call; true with errno set when it is to fail.
bool fails(Kind kind, int error)
{
    if (!counting || (kind == ALLOCATION && inside_new))
        return false;
    const bool io = kind != ALLOCATION && kind != SPACE && is_the_one(CALL);
    if (!is_the_one(kind) && !io)
        return false;
    errno = error;
    return true;
}

bool disk_is_full(void)
{
    return fails(SPACE, ENOSPC);
}

template <class Function> Function next(Function, const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// ------------------------------------------------------------------ streams

struct Stream {
    bool used;
    int fd; // -1: not open yet
};

Stream streams[64];

Stream *unused_stream(void)
{
    for (Stream &stream : streams)
        if (!stream.used) {
            stream = {true, -1};
            return &stream;
        }
    std::abort();
}

int descriptor(void *cookie)
{
    return static_cast<Stream *>(cookie)->fd;
}

ssize_t read_part(void *cookie, char *buffer, size_t size)
{
    if (fails(READ, EIO))
        return -1;
    return read(descriptor(cookie), buffer, size);
}

ssize_t write_part(void *cookie, const char *buffer, size_t size)
{
    const bool full = disk_is_full();
    if (fails(chosen == SMALL ? SMALL : WRITE, ENOSPC) || full) {
        const int error = errno;
        const ssize_t done = write(descriptor(cookie), buffer, size / 2);
        errno = error;
        return done < 0 ? 0 : done;
    }
    const ssize_t done = write(descriptor(cookie), buffer, size);
    return done < 0 ? 0 : done;
}

int seek_part(void *cookie, off64_t *offset, int whence)
{
    const off64_t place = lseek64(descriptor(cookie), *offset, whence);
    if (place < 0)
        return -1;
    *offset = place;
    return 0;
}

int close_stream(void *cookie)
{
    Stream *stream = static_cast<Stream *>(cookie);
    stream->used = false;
    return stream->fd < 0 ? 0 : close(stream->fd);
}

int close_written(void *cookie)
{
    const bool failed = descriptor(cookie) >= 0 && fails(CLOSE, EIO);
    const int result = close_stream(cookie);
    if (!failed)
        return result;
    errno = EIO;
    return -1;
}

// The memory first, as the C library does: without it no file is made or emptied.
FILE *open_stream(const char *path, const char *mode)
{
    const bool writes = mode[0] == 'w';
    const cookie_io_functions_t functions = {writes ? nullptr : read_part,
                                             writes ? write_part : nullptr, seek_part,
                                             writes ? close_written : close_stream};
    Stream *stream = unused_stream();
    FILE *file = fopencookie(stream, mode, functions);
    if (!file) {
        stream->used = false;
        return nullptr;
    }
    const int if_there = std::strchr(mode, 'x') ? O_EXCL : O_TRUNC;
    stream->fd = open(path, writes ? O_WRONLY | O_CREAT | if_there : O_RDONLY, 0666);
    if (stream->fd < 0) {
        const int error = errno;
        fclose(file);
        errno = error;
        return nullptr;
    }
    if (writes && chosen == SMALL)
        setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

bool is_new(const char *path)
{
    struct stat info;
    return stat(path, &info) != 0;
}

// ------------------------------------------------------------------ beginning and end

int (*real_main)(int, char **, char **);

int counted_main(int argc, char **argv, char **environment)
{
    counting = true;
    return real_main(argc, argv, environment);
}

struct Report {
    Report()
    {
        const char *settings = std::getenv("ZAN_FAULT");
        if (settings)
            read_settings(settings);
    }
    ~Report()
    {
        counting = false;
        const char *path = std::getenv("ZAN_FAULT_COUNTS");
        if (!path || !real_main)
            return;
        const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
        for (int kind = 0; kind < KINDS; kind++)
            dprintf(fd, "%s %ld\n", names[kind], counts[kind].load());
        close(fd);
    }
} report;

} // namespace

extern "C" int __libc_start_main(int (*start)(int, char **, char **), int argc, char **argv,
                                 void (*init)(void), void (*finish)(void), void (*loader)(void),
                                 void *stack_end)
{
    real_main = start;
    return next(&__libc_start_main, "__libc_start_main")(counted_main, argc, argv, init, finish,
                                                         loader, stack_end);
}

// ------------------------------------------------------------------ files

extern "C" FILE *fopen(const char *path, const char *mode)
{
    if (fails(OPEN, EMFILE) || (mode[0] == 'w' && is_new(path) && disk_is_full()))
        return nullptr;
    if (counting && !std::strchr(mode, '+') && mode[0] != 'a')
        return open_stream(path, mode);
    return next(&fopen, "fopen")(path, mode);
}

extern "C" int fflush(FILE *stream)
{
    if (stream && stream != stdout && stream != stderr && fails(FLUSH, ENOSPC))
        return EOF;
    return next(&fflush, "fflush")(stream);
}

extern "C" int rename(const char *from, const char *to) noexcept
{
    return fails(RENAME, EIO) ? -1 : next(&rename, "rename")(from, to);
}

extern "C" int mkdir(const char *path, mode_t mode) noexcept
{
    if (fails(MAKE_DIR, EACCES) || (is_new(path) && disk_is_full()))
        return -1;
    return next(&mkdir, "mkdir")(path, mode);
}

extern "C" int unlink(const char *path) noexcept
{
    return fails(UNLINK, EIO) ? -1 : next(&unlink, "unlink")(path);
}

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                              void *(*start)(void *), void *argument) noexcept
{
    if (counting && is_the_one(THREAD))
        return EAGAIN;
    return next(&pthread_create, "pthread_create")(thread, attributes, start, argument);
}

// ------------------------------------------------------------------ memory

namespace
{

typedef void *(*NewFunction)(size_t);
typedef void *(*AlignedNewFunction)(size_t, std::align_val_t);

// Null when it is to fail.
void *new_memory(const char *name, size_t size)
{
    if (fails(ALLOCATION, ENOMEM))
        return nullptr;
    inside_new = true;
    void *memory = reinterpret_cast<NewFunction>(dlsym(RTLD_NEXT, name))(size);
    inside_new = false;
    return memory;
}

void *new_aligned_memory(const char *name, size_t size, std::align_val_t alignment)
{
    if (fails(ALLOCATION, ENOMEM))
        return nullptr;
    inside_new = true;
    void *memory = reinterpret_cast<AlignedNewFunction>(dlsym(RTLD_NEXT, name))(size, alignment);
    inside_new = false;
    return memory;
}

void *or_throw(void *memory)
{
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

} // namespace

void *operator new(size_t size)
{
    return or_throw(new_memory("_Znwm", size));
}

void *operator new[](size_t size)
{
    return or_throw(new_memory("_Znam", size));
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    return new_memory("_Znwm", size);
}

void *operator new[](size_t size, const std::nothrow_t &) noexcept
{
    return new_memory("_Znam", size);
}

void *operator new(size_t size, std::align_val_t alignment)
{
    return or_throw(new_aligned_memory("_ZnwmSt11align_val_t", size, alignment));
}

void *operator new[](size_t size, std::align_val_t alignment)
{
    return or_throw(new_aligned_memory("_ZnamSt11align_val_t", size, alignment));
}

void *operator new(size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept
{
    return new_aligned_memory("_ZnwmSt11align_val_t", size, alignment);
}

void *operator new[](size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept
{
    return new_aligned_memory("_ZnamSt11align_val_t", size, alignment);
}

#ifndef ZAN_FAULT_OWN_MALLOC

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *memory, size_t size);

extern "C" void *malloc(size_t size)
{
    return fails(ALLOCATION, ENOMEM) ? nullptr : __libc_malloc(size);
}

extern "C" void *calloc(size_t count, size_t size)
{
    return fails(ALLOCATION, ENOMEM) ? nullptr : __libc_calloc(count, size);
}

extern "C" void *realloc(void *memory, size_t size)
{
    return fails(ALLOCATION, ENOMEM) ? nullptr : __libc_realloc(memory, size);
}

#endif
