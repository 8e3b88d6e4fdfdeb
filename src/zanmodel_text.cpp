// zanmodel_text - the grammar that the three kinds of model file share.
//
// Lines of "key: value"; "#" starts a comment; scalar keys appear once. The files themselves are
// read by zanmodel_text_model.cpp, zanmodel_text_spin.cpp and zanmodel_text_sequence.cpp.
#include "zanmodel_internal.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

static const char *skip_spaces(const char *text)
{
    return text + std::strspn(text, zan_white_space);
}

// ---- lines ----

bool zan_open_text(ZANTextReader *in, const char *filename, char *errbuf, size_t errbufsz)
{
    // Binary: the same lines on every system; trimming takes the carriage returns.
    in->file = open_input(filename);
    in->filename = filename;
    in->line = 0;
    in->zero_byte = false;
    in->text[0] = '\0';
    in->errbuf = errbuf;
    in->errbufsz = errbufsz;
    return in->file != nullptr;
}

// The bytes up to the line's end or as many as fit; 0 at the end of the file.
static size_t read_piece(ZANTextReader *in)
{
    size_t length = 0;
    int c = 0;
    while (length + 1 < sizeof in->text && c != '\n' && (c = std::getc(in->file.get())) != EOF)
        in->text[length++] = static_cast<char>(c);
    in->text[length] = '\0';
    return length;
}

// The mark that some editors put before the first line of a text in UTF-8.
static void drop_byte_order_mark(char *text)
{
    if (std::strncmp(text, "\xEF\xBB\xBF", 3) == 0)
        std::memmove(text, text + 3, std::strlen(text + 3) + 1);
}

bool zan_read_line(ZANTextReader *in)
{
    const size_t length = read_piece(in);
    if (length == 0)
        return false;
    in->line++;
    in->zero_byte = std::memchr(in->text, '\0', length) != nullptr;
    if (in->zero_byte) // what follows it would be lost
        return false;
    if (in->line == 1)
        drop_byte_order_mark(in->text);
    trim_in_place(in->text);
    return true;
}

bool zan_remove_comment(ZANTextReader *in)
{
    in->text[std::strcspn(in->text, "#")] = '\0';
    trim_in_place(in->text);
    return in->text[0] != '\0';
}

bool zan_read_content_line(ZANTextReader *in)
{
    while (zan_read_line(in))
        if (zan_remove_comment(in))
            return true;
    return false;
}

ZANModelStatus zan_close_text(ZANTextReader *in)
{
    const bool read_error = std::ferror(in->file.get()) != 0;
    if (std::fclose(in->file.release()) != 0 || read_error) {
        set_error(in->errbuf, in->errbufsz, "failed while closing '%s'", in->filename);
        return ZAN_MODEL_ERR_IO;
    }
    if (in->zero_byte)
        return zan_line_error(in, "zero byte in a text file");
    return ZAN_MODEL_OK;
}

ZANModelStatus zan_line_error(const ZANTextReader *in, const char *fmt, ...)
{
    char message[2 * sizeof in->text];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(message, sizeof message, fmt, args);
    va_end(args);
    set_error(in->errbuf, in->errbufsz, "line %d: %s", in->line, message);
    return ZAN_MODEL_ERR_PARSE;
}

ZANModelStatus zan_bad_value(const ZANTextReader *in, const char *key)
{
    return zan_line_error(in, "bad %s", key);
}

// ---- keys ----

void trim_in_place(char *text)
{
    const char *start = skip_spaces(text);
    size_t length = std::strlen(start);
    while (length > 0 && std::strchr(zan_white_space, start[length - 1]))
        length--;
    std::memmove(text, start, length);
    text[length] = '\0';
}

bool starts_with_key(const char *line, const char *key, const char **value)
{
    const size_t length = std::strlen(key);
    if (std::strncmp(line, key, length) != 0)
        return false;
    const char *colon = skip_spaces(line + length);
    if (*colon != ':')
        return false;
    *value = skip_spaces(colon + 1);
    return true;
}

int zan_find_key(const char *line, const char *const *keys, int count, const char **value)
{
    for (int k = 0; k < count; k++)
        if (starts_with_key(line, keys[k], value))
            return k;
    return -1;
}

bool zan_is_spin_system_metadata_key(const char *line)
{
    static const char *const keys[] = {"orvane_reference", "orvane_subgroup", "resonance_group"};
    const char *value = nullptr;
    return zan_find_key(line, keys, 3, &value) >= 0;
}

ZANModelStatus zan_reject_duplicate_scalar_key(const ZANTextReader *in, const char *key, bool *seen)
{
    if (*seen)
        return zan_line_error(in, "duplicate key '%s'", key);
    *seen = true;
    return ZAN_MODEL_OK;
}

ZANModelStatus zan_read_format_version(const ZANTextReader *in, const char *value)
{
    int version = 0;
    if (!parse_int_strict(value, &version) || version != ZAN_MODEL_FORMAT_VERSION)
        return zan_line_error(in, "unsupported format_version");
    return ZAN_MODEL_OK;
}

// ---- numbers ----

bool zan_scan_number(const char **cursor, int *value)
{
    char *end = nullptr;
    errno = 0;
    const long parsed = std::strtol(*cursor, &end, 10);
    if (end == *cursor || errno == ERANGE || parsed < INT_MIN || parsed > INT_MAX)
        return false;
    *cursor = end;
    *value = static_cast<int>(parsed);
    return true;
}

// A number too small to be told from 0 is taken as it comes; one too large is refused.
bool zan_scan_number(const char **cursor, double *value)
{
    char *end = nullptr;
    errno = 0;
    const double parsed = std::strtod(*cursor, &end);
    if (end == *cursor || (errno == ERANGE && std::fabs(parsed) == HUGE_VAL))
        return false;
    *cursor = end;
    *value = parsed;
    return true;
}

template <typename Number> static bool parse_strict(const char *text, Number *value)
{
    Number parsed = 0;
    if (!zan_scan_number(&text, &parsed) || *skip_spaces(text) != '\0')
        return false;
    *value = parsed;
    return true;
}

template <typename Number> static bool parse_list(const char *text, int count, Number (&list)[9])
{
    for (int k = 1; k <= count; k++) {
        Number value = 0;
        if (!zan_scan_number(&text, &value) || !std::strchr(zan_white_space, *text))
            return false; // the terminating zero counts as found
        if (k <= ZAN_MODEL_SPIN_CAP)
            list[k] = value;
    }
    return *skip_spaces(text) == '\0';
}

bool parse_int_strict(const char *text, int *value)
{
    return parse_strict(text, value);
}

bool parse_double_strict(const char *text, double *value)
{
    return parse_strict(text, value);
}

bool parse_int_list(const char *text, int count, int (&list)[9])
{
    return parse_list(text, count, list);
}

bool parse_double_list(const char *text, int count, double (&list)[9])
{
    return parse_list(text, count, list);
}

static int count_words(const char *text)
{
    const char *const blanks = " \t\r\n";
    int count = 0;
    for (text += std::strspn(text, blanks); *text != '\0'; text += std::strspn(text, blanks)) {
        text += std::strcspn(text, blanks);
        count++;
    }
    return count;
}

ZANModelStatus zan_set_list_length_error(const ZANTextReader *in, const char *key, const char *text,
                                         int expected)
{
    const int got = count_words(text);
    if (got < expected) {
        return zan_line_error(in, "key '%s' has too few values (expected %d, got %d)", key,
                              expected, got);
    }
    if (got > expected) {
        return zan_line_error(in, "key '%s' has too many values (expected %d, got %d)", key,
                              expected, got);
    }
    return zan_line_error(in, "key '%s' contains malformed numeric data", key);
}
