// platformlib.cpp - the operating system: paths, directories, process, console.
//
// The Windows half comes first, then the Linux half; each ends in list_entries(). What both
// share, built on those, stands at the end. No other file asks which system it is.
#include "platformlib.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

static std::atomic<bool> interrupted; // lock-free: may be set in a signal handler

#ifdef _WIN32

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#include <windows.h>

const char plat_separator = '\\';

void plat_startup(void)
{
    plat_console_utf8();
}

bool plat_executable_path(std::string *path)
{
    char buffer[MAX_PATH];
    const DWORD length = GetModuleFileNameA(nullptr, buffer, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        errno = ENAMETOOLONG;
        return false;
    }
    path->assign(buffer, length);
    return true;
}

unsigned long plat_process_id(void)
{
    return static_cast<unsigned long>(_getpid());
}

static int make_one_dir(const char *path)
{
    return _mkdir(path);
}

bool plat_change_dir(const char *path)
{
    return _chdir(path) == 0;
}

bool plat_current_dir(std::string *path)
{
    char *text = _getcwd(nullptr, 0);
    if (!text)
        return false;
    *path = text;
    std::free(text);
    return true;
}

static bool has_attributes(const char *path, DWORD mask, DWORD wanted)
{
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & mask) == wanted;
}

bool plat_is_dir(const char *path)
{
    return has_attributes(path, FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_DIRECTORY);
}

bool plat_is_regular_file(const char *path)
{
    return has_attributes(path, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT, 0);
}

bool plat_exists(const char *path)
{
    return has_attributes(path, 0, 0);
}

// The identity of a file or directory, whatever its name was typed like; a device has none.
static bool identify(const char *path, BY_HANDLE_FILE_INFORMATION *info)
{
    const DWORD share_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileA(path, 0, share_all, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool known =
        GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, info) != 0;
    CloseHandle(file);
    return known;
}

bool plat_is_file(const char *path)
{
    BY_HANDLE_FILE_INFORMATION info;
    return identify(path, &info) && !(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool plat_same_file(const char *a, const char *b)
{
    BY_HANDLE_FILE_INFORMATION x, y;
    return identify(a, &x) && identify(b, &y) && x.dwVolumeSerialNumber == y.dwVolumeSerialNumber &&
           x.nFileIndexHigh == y.nFileIndexHigh && x.nFileIndexLow == y.nFileIndexLow;
}

// CON, COM1 and the like open from any directory, as what they are.
static bool is_disk_file(FILE *file)
{
    const intptr_t handle = _get_osfhandle(_fileno(file));
    return GetFileType(reinterpret_cast<HANDLE>(handle)) == FILE_TYPE_DISK;
}

FILE *plat_open_file(const char *path)
{
    if (plat_is_dir(path)) {
        errno = EISDIR;
        return nullptr;
    }
    FILE *file = std::fopen(path, "rb");
    if (!file || is_disk_file(file))
        return file;
    std::fclose(file);
    errno = EINVAL;
    return nullptr;
}

FILE *plat_create_file(const char *path)
{
    const int fd = _open(path, _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
    FILE *file = fd < 0 ? nullptr : _fdopen(fd, "wb");
    if (fd >= 0 && !file)
        _close(fd);
    return file;
}

static int errno_of(DWORD error)
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
        return EACCES;
    case ERROR_DISK_FULL:
        return ENOSPC;
    case ERROR_FILENAME_EXCED_RANGE:
        return ENAMETOOLONG;
    default:
        return EIO;
    }
}

// Whoever has the file open for a moment, a virus scanner or another run, makes this fail.
bool plat_replace_file(const char *from, const char *to)
{
    for (int attempt = 0; attempt < 20; attempt++) {
        if (MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING))
            return true;
        if (GetLastError() != ERROR_SHARING_VIOLATION && GetLastError() != ERROR_ACCESS_DENIED)
            break;
        Sleep(10); // ms
    }
    errno = errno_of(GetLastError());
    return false;
}

bool plat_remove_file(const char *path)
{
    return _unlink(path) == 0;
}

static bool is_plain_option(const std::string &word)
{
    return word.starts_with('-') &&
           word.find_first_not_of("-abcdefghijklmnopqrstuvwxyz") == std::string::npos;
}

// start "gnuplot" /B gnuplot -persist "NAME": options stand as they are, all other words quoted.
bool plat_start_in_background(const char *program, const std::vector<std::string> &words)
{
    std::string command = std::string("start \"") + program + "\" /B " + program;
    for (const std::string &word : words) {
        if (word.find_first_of("\"%\r\n") != std::string::npos) {
            errno = EINVAL;
            return false;
        }
        command += is_plain_option(word) ? " " + word : " \"" + word + "\"";
    }
    std::fflush(nullptr);
    return std::system(command.c_str()) != -1;
}

// Called in a thread of its own.
static BOOL WINAPI note_interrupt(DWORD event)
{
    if (event != CTRL_C_EVENT)
        return FALSE;
    interrupted = true;
    return TRUE;
}

void plat_catch_interrupt(void)
{
    interrupted = false;
    SetConsoleCtrlHandler(note_interrupt, TRUE);
}

void plat_release_interrupt(void)
{
    SetConsoleCtrlHandler(note_interrupt, FALSE);
    interrupted = false;
}

bool plat_console_is_input(void)
{
    return _isatty(_fileno(stdin)) != 0;
}

void plat_console_clear(void)
{
    std::fflush(stdout);
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!console || console == INVALID_HANDLE_VALUE || !GetConsoleScreenBufferInfo(console, &info))
        return;
    const COORD home = {0, 0};
    const DWORD cells = static_cast<DWORD>(info.dwSize.X) * static_cast<DWORD>(info.dwSize.Y);
    DWORD written = 0;
    FillConsoleOutputCharacterA(console, ' ', cells, home, &written);
    FillConsoleOutputAttribute(console, info.wAttributes, cells, home, &written);
    SetConsoleCursorPosition(console, home);
}

void plat_console_utf8(void)
{
    SetConsoleCP(CP_UTF8);
    SetConsoleOutputCP(CP_UTF8);
}

static std::vector<std::string> list_entries(const std::string &dir)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA((dir + "\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do {
        names.emplace_back(entry.cFileName);
    } while (FindNextFileA(search, &entry));
    FindClose(search);
    return names;
}

#else // Linux

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

const char plat_separator = '/';

// Standard streams that nobody opened lead nowhere: the next file that is opened would get their
// number, and what is printed would go into it.
static void open_missing_streams(void)
{
    for (int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", O_RDWR) != fd)
            std::abort();
}

// A full disk and a reader that has gone away are errors of a write, not the end of a run.
void plat_startup(void)
{
    open_missing_streams();
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // in order with what goes to the error stream
}

bool plat_executable_path(std::string *path)
{
    std::vector<char> buffer(256);
    for (;;) {
        const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
        if (length < 0)
            return false;
        if (static_cast<size_t>(length) < buffer.size()) {
            path->assign(buffer.data(), static_cast<size_t>(length));
            return true;
        }
        buffer.resize(2 * buffer.size());
    }
}

unsigned long plat_process_id(void)
{
    return static_cast<unsigned long>(getpid());
}

static int make_one_dir(const char *path)
{
    return mkdir(path, 0777);
}

bool plat_change_dir(const char *path)
{
    return chdir(path) == 0;
}

bool plat_current_dir(std::string *path)
{
    char *text = getcwd(nullptr, 0);
    if (!text)
        return false;
    *path = text;
    std::free(text);
    return true;
}

bool plat_is_dir(const char *path)
{
    struct stat info;
    return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

bool plat_is_file(const char *path)
{
    struct stat info;
    return stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

// Opening a FIFO would wait already. What is not there is left to fopen, which tells why.
FILE *plat_open_file(const char *path)
{
    struct stat info;
    if (stat(path, &info) != 0 || S_ISREG(info.st_mode))
        return std::fopen(path, "rb");
    errno = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    return nullptr;
}

FILE *plat_create_file(const char *path)
{
    return std::fopen(path, "wbx");
}

bool plat_is_regular_file(const char *path)
{
    struct stat info;
    return lstat(path, &info) == 0 && S_ISREG(info.st_mode);
}

bool plat_exists(const char *path)
{
    struct stat info;
    return lstat(path, &info) == 0; // a link that leads nowhere exists too
}

bool plat_same_file(const char *a, const char *b)
{
    struct stat x, y;
    return stat(a, &x) == 0 && stat(b, &y) == 0 && x.st_dev == y.st_dev && x.st_ino == y.st_ino;
}

bool plat_replace_file(const char *from, const char *to)
{
    return std::rename(from, to) == 0;
}

bool plat_remove_file(const char *path)
{
    return unlink(path) == 0;
}

// Of the program's own streams the child gets none: it must neither read the answers that are
// meant for us nor keep a front end waiting for the end of our output.
static int use_null_streams(posix_spawn_file_actions_t *actions)
{
    int error = posix_spawn_file_actions_addopen(actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (int fd : {STDOUT_FILENO, STDERR_FILENO})
        if (error == 0)
            error = posix_spawn_file_actions_addopen(actions, fd, "/dev/null", O_WRONLY, 0);
    return error;
}

static int spawn_in_own_session(char **argv)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    static pid_t pid; // the one started last; what has ended by now is taken leave of
    if (pid > 0)
        waitpid(pid, nullptr, WNOHANG);
    int error = use_null_streams(&actions);
    sigset_t ignored_by_us;
    sigemptyset(&ignored_by_us);
    sigaddset(&ignored_by_us, SIGXFSZ);
    sigaddset(&ignored_by_us, SIGPIPE);
    if (error == 0)
        error = posix_spawnattr_setsigdefault(&attributes, &ignored_by_us);
    if (error == 0)
        error = posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF);
    if (error == 0)
        error = posix_spawnp(&pid, argv[0], &actions, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

bool plat_start_in_background(const char *program, const std::vector<std::string> &words)
{
    std::vector<char *> argv = {const_cast<char *>(program)};
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    errno = spawn_in_own_session(argv.data());
    return errno == 0;
}

static struct sigaction before_catching;

static void note_interrupt(int)
{
    interrupted = true;
}

void plat_catch_interrupt(void)
{
    struct sigaction catching = {};
    catching.sa_handler = note_interrupt;
    catching.sa_flags = SA_RESTART;
    interrupted = false;
    sigaction(SIGINT, &catching, &before_catching);
}

void plat_release_interrupt(void)
{
    sigaction(SIGINT, &before_catching, nullptr);
    interrupted = false;
}

bool plat_console_is_input(void)
{
    return isatty(STDIN_FILENO) != 0;
}

void plat_console_clear(void)
{
    if (!isatty(STDOUT_FILENO))
        return;
    std::fputs("\033[H\033[2J", stdout);
    std::fflush(stdout);
}

void plat_console_utf8(void) {}

static std::vector<std::string> list_entries(const std::string &dir)
{
    std::vector<std::string> names;
    DIR *stream = opendir(dir.c_str());
    if (!stream)
        return names;
    while (const dirent *entry = readdir(stream))
        names.emplace_back(entry->d_name);
    closedir(stream);
    return names;
}

#endif

// ---------------------------------------------------------------------------- both systems

bool plat_interrupted(void)
{
    return interrupted;
}

bool plat_make_dir(const char *path)
{
    if (make_one_dir(path) == 0)
        return true;
    const int error = errno;
    if (plat_is_dir(path))
        return true; // whatever the system says first of a directory that is there
    errno = error;
    return false;
}

// Names compare as a Windows directory lists them: in upper case, ASCII letters only.
static std::string folded(const std::string &text)
{
    std::string upper = text;
    for (char &c : upper) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

static bool comes_before(const std::string &a, const std::string &b)
{
    const std::string upper_a = folded(a), upper_b = folded(b);
    return upper_a != upper_b ? upper_a < upper_b : a < b;
}

static std::vector<std::string> sorted_entries(const std::string &dir)
{
    std::vector<std::string> names = list_entries(dir);
    std::sort(names.begin(), names.end(), comes_before);
    return names;
}

std::vector<std::string> plat_list_entries(const char *dir, const char *suffix)
{
    const std::string ending = folded(suffix);
    std::vector<std::string> names = sorted_entries(dir);
    std::erase_if(names, [&](const std::string &name) { return !folded(name).ends_with(ending); });
    return names;
}

std::vector<std::string> plat_list_files(const char *dir, const char *suffix)
{
    std::vector<std::string> names = plat_list_entries(dir, suffix);
    std::erase_if(names, [&](const std::string &name) {
        return !plat_is_file((std::string(dir) + plat_separator + name).c_str());
    });
    return names;
}

// The entry of dir that equals leaf but for letter case.
static bool find_entry(const std::string &dir, const std::string &leaf, std::string *name)
{
    const std::string wanted = folded(leaf);
    for (const std::string &entry : sorted_entries(dir)) {
        if (folded(entry) == wanted) {
            *name = entry;
            return true;
        }
    }
    return false;
}

// A path that does not exist is its parent, found in the same way, and an entry of it.
bool plat_find_ignoring_case(const char *path, std::string *found)
{
    const std::string text = path;
    if (plat_exists(path)) {
        *found = text;
        return true;
    }
    const char *const separators = plat_separator == '/' ? "/" : "/\\";
    const size_t cut = text.find_last_of(separators);
    std::string name;
    if (cut == std::string::npos) {
        if (!find_entry(".", text, &name))
            return false;
        *found = name;
        return true;
    }
    const size_t parent_end = text.find_last_not_of(separators, cut);
    const std::string parent = text.substr(0, parent_end == std::string::npos ? 1 : parent_end + 1);
    std::string dir;
    if (cut + 1 == text.size() || !plat_find_ignoring_case(parent.c_str(), &dir) ||
        !find_entry(dir, text.substr(cut + 1), &name))
        return false;
    if (dir.find_last_of(separators) != dir.size() - 1)
        dir += plat_separator;
    *found = dir + name;
    return true;
}
