// fuzz_input - what the fuzz targets share: a folder of their own, the runtime state put back,
// and a way to say what must hold.
//
// A target is one file with LLVMFuzzerTestOneInput. tools/fuzz.sh lets it be fed for as long as
// wanted; replay.cpp feeds it the files of tests/fuzz/corpus, as an ordinary test.
#ifndef ZAN_FUZZ_INPUT_H
#define ZAN_FUZZ_INPUT_H

#include "zanmodel.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Ends the process with a message when condition does not hold.
#define FUZZ_REQUIRE(condition) fuzz_require((condition), #condition, __FILE__, __LINE__)
void fuzz_require(bool condition, const char *text, const char *file, int line);

// The first call makes a fresh working directory, removed at the end, and gives its absolute
// path; from then on standard input is empty and standard output goes nowhere.
const std::string &fuzz_folder(void);

// A file below the folder; directories are made when missing.
void fuzz_write(const std::string &name, std::string_view bytes);

// rt becomes what it was at the first call. Its matrices stay: they are built from the rest.
void fuzz_restore_runtime(void);

// No path in text leads out of the folder, seen from three directories below it.
bool fuzz_paths_stay_inside(std::string_view text);

// text with the absolute path of directory, which lies below the folder, for every "@/".
std::string fuzz_with_absolute_paths(std::string_view text, const std::string &directory);

// The input as numbers and text, from the front; 0 or "" when it is used up.
struct FuzzInput {
    std::string_view rest;

    FuzzInput(const uint8_t *data, size_t size) : rest(reinterpret_cast<const char *>(data), size)
    {
    }
    int byte();
    int byte_below(int limit) { return byte() % limit; }
    std::string_view part(std::string_view separator); // up to separator, which goes with it
};

// bytes again and again up to length, if there are any.
std::string fuzz_repeated(std::string_view bytes, size_t length);

// An error text as the model's functions take it, full of what is no terminator.
struct FuzzMessage {
    char text[512];

    FuzzMessage();
    bool is_terminated() const;
    bool is_given() const; // terminated and not empty
};

template <size_t N> bool fuzz_is_terminated(const char (&field)[N])
{
    return std::string_view(field, N).find('\0') != std::string_view::npos;
}

// loaded is what a file gives back in which saved was written with 15 digits.
bool fuzz_same_number(double saved, double loaded);
// Rounding to 15 digits does not carry the number out of range.
bool fuzz_is_writable(double value);
bool fuzz_is_writable(const ZANSpinSystemDef &spin);
bool fuzz_is_writable(const ZANPulseSequenceDef &seq);
bool fuzz_same_spins(const ZANSpinSystemDef &saved, const ZANSpinSystemDef &loaded);
bool fuzz_same_sequence(const ZANPulseSequenceDef &saved, const ZANPulseSequenceDef &loaded);

// Every field of an accepted record is in range and every text ends.
bool fuzz_is_sound(const ZANSpinSystemDef &spin);
bool fuzz_is_sound(const ZANPulseSequenceDef &seq);

#endif
