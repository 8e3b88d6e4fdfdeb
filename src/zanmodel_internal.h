// zanmodel_internal.h - what the rooms of zanmodel share and nobody else sees: error texts,
// the paths of stored names, the grammar of the text files.
#ifndef ZAN_ZANMODEL_INTERNAL_H
#define ZAN_ZANMODEL_INTERNAL_H

#include "binaryfilehandling.h"
#include "zanmodel.h"

#include <cstddef>
#include <cstring>
#include <string>

#if defined(__MINGW32__) && !defined(__clang__)
#define ZAN_PRINTF_FORMAT(text, first) __attribute__((format(gnu_printf, text, first)))
#else
#define ZAN_PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))
#endif

enum { SAVE_PATH_LEN = 1024 }; // longest path that the writer makes
enum { ZAN_MODEL_SPIN_CAP = 8, ZAN_MODEL_SUBGROUP_CAP = 32 };

// ---- records (zanmodel.cpp) ----

// Writes one message, cut to errbufsz; nothing for a null or empty buffer.
void set_error(char *errbuf, size_t errbufsz, const char *fmt, ...) ZAN_PRINTF_FORMAT(3, 4);

// What a sequence must satisfy to run, beyond being a well-formed record. Complete in itself.
ZANModelStatus zan_validate_runnable_sequence(const ZANPulseSequenceDef *seq, char *errbuf,
                                              size_t errbufsz);

// src, cut to its field.
template <size_t N> void zan_copy_text(char (&field)[N], const char *src)
{
    size_t length = 0;
    while (length < N - 1 && src[length] != '\0')
        length++;
    std::memmove(field, src, length);
    field[length] = '\0';
}

// ---- paths (zanmodel_paths.cpp) ----
// A path that a record stores must fit its field (255 characters), else it counts as not formed.

bool zan_is_absolute_path(const char *path);
bool zan_has_path_separator(const char *path);  // "\\", "/" or ":"
std::string zan_directory_of(const char *path); // with its last separator; "" without one
std::string zan_base_name_without_extension(const char *path);
// The directory in which dir lies, with its last separator; "" is the working directory. False
// for a root and for no directory.
bool zan_parent_dir_copy(const std::string &dir, std::string *parent);

// The path under which a file opens for reading: as it stands, else in another letter case, else
// with slashes for backslashes (models made on Windows). False when none does.
bool zan_find_readable_file(const std::string &path, std::string *found);

// runtime/results beside the executable, both made if missing.
bool zan_run_results_dir(std::string *dir);

bool zan_resolve_model_relative_path(const char *model_filename, const char *value,
                                     std::string *resolved);
bool zan_resolve_result_path(const char *value, std::string *resolved);

// True only with a file that opens: beside the sequence file, and for a bare name also in its
// waveforms directory and in the default RF output directory.
bool zan_resolve_sector_pulse_path(const char *sequence_filename, const char *stored,
                                   std::string *resolved);
// Why the above returned false.
void zan_set_sector_pulse_resolution_error(int line, int sector, const char *stored,
                                           const char *sequence_filename, char *errbuf,
                                           size_t errbufsz);

// Slashes for backslashes.
std::string zan_normalize_saved_path(const std::string &path);
// What follows prefix and its slashes when path begins with it as a directory, letter case, "."
// and ".." aside. The tail is in lower case, and so is every path that the writer shortens.
bool zan_tail_after_prefix(const std::string &path, const std::string &prefix, std::string *tail);
bool zan_is_storable(const std::string &text); // comes back from a file as it is
// A stored name as the writer puts it into a file, seen from the directory of model_filename:
// 1, or 0 for a name that is empty, does not fit or is not storable. A waveform is stored as it
// stands when its name in lower case could lead to another file beside it.
int zan_make_portable_sector_pulse_path(const char *model_filename, const char *pulse_filename,
                                        char *out, size_t outsz);
int zan_make_portable_result_path(const char *model_filename, const char *result_filename,
                                  char *out, size_t outsz);

// ---- saving (zanmodel_save.cpp) ----
void zan_print_couplings(FILE *out, const ZANSpinSystemDef *spin); // those that are not 0

// ---- grammar of the text files (zanmodel_text.cpp) ----

constexpr char zan_white_space[] = " \t\r\n\v\f";

// A model file being read; closed with the record.
struct ZANTextReader {
    FilePtr file;
    const char *filename;
    int line;        // number of the line at hand, from 1
    bool zero_byte;  // the line at hand holds one: the reading ended there
    char text[2048]; // the line at hand, trimmed; a longer one comes in pieces
    char *errbuf;
    size_t errbufsz;
};

bool zan_open_text(ZANTextReader *in, const char *filename, char *errbuf, size_t errbufsz);
bool zan_read_line(ZANTextReader *in);            // false at the end of the file or a zero byte
bool zan_remove_comment(ZANTextReader *in);       // false when nothing is left
bool zan_read_content_line(ZANTextReader *in);    // the next line that holds more than a comment
ZANModelStatus zan_close_text(ZANTextReader *in); // also tells what ended the reading early

// "line N: " and the message; returns ZAN_MODEL_ERR_PARSE.
ZANModelStatus zan_line_error(const ZANTextReader *in, const char *fmt, ...)
    ZAN_PRINTF_FORMAT(2, 3);
ZANModelStatus zan_bad_value(const ZANTextReader *in, const char *key); // "bad KEY"

void trim_in_place(char *text);
// line is "key : value"; *value is left at the value.
bool starts_with_key(const char *line, const char *key, const char **value);
// Index of the line's key in keys, -1 for none of them.
int zan_find_key(const char *line, const char *const *keys, int count, const char **value);
bool zan_is_spin_system_metadata_key(const char *line);

// The number at *cursor, which moves behind it; refused when it overflows.
bool zan_scan_number(const char **cursor, int *value);
bool zan_scan_number(const char **cursor, double *value);
// The whole text is one number; *value is left alone when it is not.
bool parse_int_strict(const char *text, int *value);
bool parse_double_strict(const char *text, double *value);
// Exactly count numbers, of which the first 8 are stored from list[1].
bool parse_int_list(const char *text, int count, int (&list)[9]);
bool parse_double_list(const char *text, int count, double (&list)[9]);
ZANModelStatus zan_set_list_length_error(const ZANTextReader *in, const char *key, const char *text,
                                         int expected);

ZANModelStatus zan_reject_duplicate_scalar_key(const ZANTextReader *in, const char *key,
                                               bool *seen);
ZANModelStatus zan_read_format_version(const ZANTextReader *in, const char *value);

#endif
