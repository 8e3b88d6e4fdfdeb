// zanmodel_text_sequence - the sequence file: its family and its sectors. Waveform files are
// looked for at once (zanmodel_paths.cpp), so that a run never starts without them.
#include "zanmodel_internal.h"

#include <algorithm>

namespace
{

enum SequenceKey {
    KEY_FORMAT_VERSION,
    KEY_SEQUENCE_TYPE,
    KEY_NUMBER_OF_SECTORS,
    REQUIRED_KEYS,
    KEY_SEQUENCE_NAME = REQUIRED_KEYS,
    KEY_MODEL_NAME,
    SCALAR_KEYS
};

} // namespace

static const char *const scalar_keys[SCALAR_KEYS] = {
    "format_version", "sequence_type", "number_of_sectors", "sequence_name", "model_name"};

namespace
{

enum SectorKey {
    KEY_TYPE,
    KEY_TIMEPOINTS,
    KEY_EVOLPOINTS,
    KEY_DURATION,
    KEY_PULSEFILE,
    KEY_STATOFF,
    REQUIRED_SECTOR_KEYS,
    KEY_REMARK = REQUIRED_SECTOR_KEYS,
    SECTOR_KEYS
};

} // namespace

static const char *const sector_keys[SECTOR_KEYS] = {
    "sector_type",      "sector_timepoints", "sector_evolpoints", "sector_duration_s",
    "sector_pulsefile", "sector_statoff_hz", "sector_remark"};

// One more than a sequence can have: a file that declares so many is told which sector it lacks.
enum { DECLARED_SECTOR_CAP = 21 };

namespace
{

struct SequenceText {
    ZANTextReader in;
    bool seen[SCALAR_KEYS];
    bool given[DECLARED_SECTOR_CAP + 1][SECTOR_KEYS];
    ZANPulseSequenceDef *seq;
};

} // namespace

// ---- scalars ----

static ZANModelStatus read_number_of_sectors(SequenceText *sequence, const char *value)
{
    const ZANTextReader *in = &sequence->in;
    int *count = &sequence->seq->sector_count;
    if (!sequence->seen[KEY_SEQUENCE_TYPE])
        return zan_line_error(in, "key 'sequence_type' must appear before 'number_of_sectors'");
    if (!parse_int_strict(value, count))
        return zan_bad_value(in, "number_of_sectors");
    if (*count < 0 || *count > DECLARED_SECTOR_CAP)
        return zan_line_error(in, "number_of_sectors out of range");
    return ZAN_MODEL_OK;
}

static ZANModelStatus read_scalar(SequenceText *sequence, int key, const char *value)
{
    const ZANTextReader *in = &sequence->in;
    const ZANModelStatus status =
        zan_reject_duplicate_scalar_key(in, scalar_keys[key], &sequence->seen[key]);
    if (status != ZAN_MODEL_OK)
        return status;
    switch (key) {
    case KEY_FORMAT_VERSION:
        return zan_read_format_version(in, value);
    case KEY_SEQUENCE_TYPE:
        return parse_int_strict(value, &sequence->seq->sequence_type)
                   ? ZAN_MODEL_OK
                   : zan_bad_value(in, "sequence_type");
    case KEY_NUMBER_OF_SECTORS:
        return read_number_of_sectors(sequence, value);
    default:
        return ZAN_MODEL_OK; // the names are for the reader
    }
}

// ---- sectors ----

static ZANModelStatus zan_reject_duplicate_sector_field(SequenceText *sequence, int key, int s)
{
    if (sequence->given[s][key]) {
        return zan_line_error(&sequence->in, "duplicate key '%s' for sector %d", sector_keys[key],
                              s);
    }
    sequence->given[s][key] = true;
    return ZAN_MODEL_OK;
}

// The path is the first word; only when that leads nowhere it may hold blanks.
static ZANModelStatus read_pulse_file(SequenceText *sequence, int s, const char *text)
{
    const ZANTextReader *in = &sequence->in;
    const std::string word = std::string(text, std::strcspn(text, zan_white_space))
                                 .substr(0, ZAN_MODEL_FILENAME_LEN - 1);
    if (word.empty())
        return zan_bad_value(in, "sector_pulsefile");
    std::string path;
    if (!zan_resolve_sector_pulse_path(in->filename, word.c_str(), &path) &&
        !zan_resolve_sector_pulse_path(in->filename, text, &path)) {
        zan_set_sector_pulse_resolution_error(in->line, s, word.c_str(), in->filename, in->errbuf,
                                              in->errbufsz);
        return ZAN_MODEL_ERR_PARSE;
    }
    zan_copy_text(sequence->seq->sectors[s].pulse_filename, path.c_str());
    return ZAN_MODEL_OK;
}

// Text after the value is ignored here, unlike in the scalar keys.
template <typename Number>
static ZANModelStatus read_sector_number(const SequenceText *sequence, int key, const char *text,
                                         Number *field)
{
    return zan_scan_number(&text, field) ? ZAN_MODEL_OK
                                         : zan_bad_value(&sequence->in, sector_keys[key]);
}

static ZANModelStatus read_sector_value(SequenceText *sequence, int key, int s, const char *text)
{
    ZANPulseSectorDef *sector = &sequence->seq->sectors[s];
    switch (key) {
    case KEY_TYPE:
        return read_sector_number(sequence, key, text, &sector->sector_type);
    case KEY_TIMEPOINTS:
        return read_sector_number(sequence, key, text, &sector->number_of_timepoints);
    case KEY_EVOLPOINTS:
        return read_sector_number(sequence, key, text, &sector->number_of_evolpoints);
    case KEY_DURATION:
        return read_sector_number(sequence, key, text, &sector->total_duration_s);
    case KEY_STATOFF:
        return read_sector_number(sequence, key, text, &sector->offset_frequency_hz);
    case KEY_PULSEFILE:
        return read_pulse_file(sequence, s, text);
    default:
        zan_copy_text(sector->remark, text);
        return ZAN_MODEL_OK;
    }
}

static ZANModelStatus read_sector_line(SequenceText *sequence, int key, const char *value)
{
    const ZANTextReader *in = &sequence->in;
    if (!sequence->seen[KEY_NUMBER_OF_SECTORS]) {
        return zan_line_error(in, "key 'number_of_sectors' must appear before '%s'",
                              sector_keys[key]);
    }
    int s = 0;
    if (!zan_scan_number(&value, &s) || s < 1 || s > ZAN_MODEL_SECTOR_CAP ||
        s > sequence->seq->sector_count)
        return zan_bad_value(in, key == KEY_REMARK ? "sector_remark index" : sector_keys[key]);
    const ZANModelStatus status = zan_reject_duplicate_sector_field(sequence, key, s);
    value += std::strspn(value, zan_white_space);
    return status == ZAN_MODEL_OK ? read_sector_value(sequence, key, s, value) : status;
}

// ---- the file ----

static ZANModelStatus read_sequence_line(SequenceText *sequence)
{
    const ZANTextReader *in = &sequence->in;
    const char *value = nullptr;
    int key = zan_find_key(in->text, scalar_keys, SCALAR_KEYS, &value);
    if (key >= 0)
        return read_scalar(sequence, key, value);
    key = zan_find_key(in->text, sector_keys, SECTOR_KEYS, &value);
    return key >= 0 ? read_sector_line(sequence, key, value)
                    : zan_line_error(in, "unknown sequence key");
}

static bool sector_is_complete(const SequenceText *sequence, int s)
{
    const bool *given = sequence->given[s];
    return std::all_of(given, given + REQUIRED_SECTOR_KEYS, [](bool g) { return g; });
}

static ZANModelStatus require_sequence_keys(const SequenceText *sequence)
{
    const ZANTextReader *in = &sequence->in;
    for (int key = 0; key < REQUIRED_KEYS; key++) {
        if (!sequence->seen[key]) {
            set_error(in->errbuf, in->errbufsz,
                      "sequence file is missing one or more required sequence keys");
            return ZAN_MODEL_ERR_PARSE;
        }
    }
    for (int s = 1; s <= sequence->seq->sector_count; s++) {
        if (!sector_is_complete(sequence, s)) {
            set_error(in->errbuf, in->errbufsz,
                      "sequence file is missing one or more required sector keys for sector %d", s);
            return ZAN_MODEL_ERR_PARSE;
        }
    }
    return ZAN_MODEL_OK;
}

ZANModelStatus zan_load_pulse_sequence_text(const char *filename, ZANPulseSequenceDef *seq,
                                            char *errbuf, size_t errbufsz)
{
    if (!filename || !seq) {
        set_error(errbuf, errbufsz, "sequence load arguments must be non-null");
        return ZAN_MODEL_ERR_NULLPTR;
    }
    ZANPulseSequenceDef_Init(seq);
    SequenceText sequence = {{}, {}, {}, seq};
    if (!zan_open_text(&sequence.in, filename, errbuf, errbufsz)) {
        set_error(errbuf, errbufsz, "could not open pulse sequence '%s'", filename);
        return ZAN_MODEL_ERR_IO;
    }
    ZANModelStatus status = ZAN_MODEL_OK;
    while (status == ZAN_MODEL_OK && zan_read_content_line(&sequence.in))
        status = read_sequence_line(&sequence);
    if (status == ZAN_MODEL_OK)
        status = zan_close_text(&sequence.in);
    if (status == ZAN_MODEL_OK)
        status = require_sequence_keys(&sequence);
    return status == ZAN_MODEL_OK ? ZANPulseSequenceDef_Validate(seq, errbuf, errbufsz) : status;
}
