// replay - feeds every file of a folder to the fuzz target that it is linked with: the seeds of
// the fuzzers as ordinary tests, with any compiler.
//
//   NAME_replay FOLDER
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static std::string contents_of(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Absolute, because a target works in a folder of its own.
static std::vector<fs::path> files_of(const char *folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, error))
        files.push_back(fs::absolute(entry.path()));
    return files;
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const std::vector<fs::path> files = files_of(argv[1]);
    for (const fs::path &file : files) {
        std::fprintf(stderr, "%s\n", file.c_str());
        const std::string bytes = contents_of(file);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
    std::fprintf(stderr, "%zu files\n", files.size());
    return files.empty() ? 1 : 0;
}
