// tempdir - see the header. Names carry the process id, so tests may run side by side.
#include "tempdir.h"

#include "platformlib.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

TempDir::TempDir()
{
    static int serial = 0;
    fs::path candidate;
    do {
        candidate = fs::temp_directory_path() / ("zan-test-" + std::to_string(plat_process_id()) +
                                                 "-" + std::to_string(++serial));
    } while (!fs::create_directory(candidate));
    path = fs::canonical(candidate).string();
}

TempDir::~TempDir()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

std::string TempDir::file(const std::string &name) const
{
    return (fs::path(path) / fs::path(name)).make_preferred().string();
}

std::string TempDir::write(const std::string &name, const std::string &text) const
{
    const fs::path target = file(name);
    fs::create_directories(target.parent_path());
    std::ofstream(target, std::ios::binary) << text;
    return target.string();
}

std::string TempDir::read(const std::string &name) const
{
    std::ifstream in(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool TempDir::exists(const std::string &name) const
{
    return fs::exists(file(name));
}

void TempDir::make_dir(const std::string &name) const
{
    fs::create_directories(file(name));
}

std::string absolute_path(const std::string &path)
{
    const bool rooted = path.starts_with('/') && !path.starts_with("//");
    return rooted && plat_separator == '\\' ? "C:" + path : path;
}

WorkDir::WorkDir() : previous(fs::current_path().string())
{
    fs::current_path(path);
}

WorkDir::~WorkDir()
{
    fs::current_path(previous);
}
