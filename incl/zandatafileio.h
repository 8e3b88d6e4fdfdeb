// zandatafileio - arrays of reals in text files, and signal files for PV-WAVE and IDL.
//
// Plain ASCII: one value per line. SG-plot: three columns, 1, x, y. Arrays count from 0.
// The status forms take the name; the interactive forms ask for it and leave the outcome in
// dataio_last_status. Failures are reported on the error stream as "what: system error".
#ifndef ZAN_ZANDATAFILEIO_H
#define ZAN_ZANDATAFILEIO_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

enum dataio_status : int32_t {
    DATAIO_OK = 0,
    DATAIO_ERR_NULLPTR = 1,
    DATAIO_ERR_BADARG = 2,
    DATAIO_ERR_IO = 3
};
extern dataio_status dataio_last_status; // of the interactive forms

// ---- files by name ----
dataio_status AsciiOut_status(size_t ap, const double *x, const char *filename);
dataio_status AsciiIn_status(size_t ap, double *x, const char *filename);
dataio_status SGFileOut_status(size_t ap, const double *x, const char *filename); // y = x[i] at i
dataio_status SGFileIn_status(size_t ap, double *x, const char *filename);        // third column
// The value stands in the second column and the axis xmin + i·xinc in the third: the reverse of
// the plain SG-plot file.
dataio_status SGXYFileOut_status(size_t ap, const double *x, const char *filename, double xmin,
                                 double xinc);
// Zeros when the file is too short for a header.
dataio_status read_legacy_bin_header(FILE *in, int32_t *type, int32_t *pp, int32_t *fndw);
// A type-1 signal file behind a descriptor of 256 int32 words.
dataio_status Create_IDL_File_status(const char *input_filename, const char *output_filename);
// The same from open file to open file, quietly: a cut signal ends the copy. False when it could
// not be read or written.
bool write_pv_wave_file(FILE *in, FILE *out);

// ---- the same with a question for the name ----
// A bare name is read from the working directory, else from the RF input directory.
void AsciiOut(const int *ap, const double *x);
void AsciiIn(const int *ap, double *x);
void SGFileOut(const int *ap, const double *x);
void SGFileIn(const int *ap, double *x);
void SGXYFileOut(const int *ap, const double *x, double xmin, double xinc);
void Create_IDL_File(const char *fnm);             // asks for the output's name; fnm is the input
void RealArrayOut(const int *ap, const double *x); // menu
void RealArrayIn(const int *ap, double *x);        // menu; cancelling clears the array

// ---- one answer each: 1 when read; the prompt may be null ----
int scan_int(const char *prompt, int *out);
int scan_double(const char *prompt, double *out);
int scan_string(const char *prompt, char *out, size_t buflen); // a word of at most 255 characters

#endif
