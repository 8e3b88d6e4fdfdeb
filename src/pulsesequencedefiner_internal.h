// pulsesequencedefiner_internal.h - what only the rooms of the composer share.
//
// Rooms: pulsesequencedefiner.cpp (menus and families), _spatial and _2d (the two editors),
// _overview (what the spatial editor tells), _sector (one sector of either family), _spins, _grid,
// _files (waveform files), _input (answers).
#ifndef ZAN_PULSESEQUENCEDEFINER_INTERNAL_H
#define ZAN_PULSESEQUENCEDEFINER_INTERNAL_H

#include "pulsesequencedefiner.h"

#include "zan.h"

// ---- answers, one line each (pulsesequencedefiner_input.cpp) ----
// The whole line must be one number with nothing but white space around it.
bool parse_int_input_line(const char *line, int *out);       // held at the limits of int
bool parse_double_input_line(const char *line, double *out); // finite
void trim_line_end(char *line);                              // at the first CR or LF
// Ask again, prompt included, until the answer is a number; the prompt may be null.
void read_int_prompt(const char *prompt, int *out);
void read_double_prompt(const char *prompt, double *out);
// The question once; a bad answer is told and the next line awaited.
void ask_int(const char *question, int *out);
void ask_double(const char *question, double *out);
void read_legacy_line(char *buf, size_t size); // cut to size - 1; "" at end of input
// A line in which every character but letters, digits, '.', '_' and '-' has become '_'.
void read_filename_stdin(char *buf, size_t size);

// ---- what both editors do ----
void ps_print_heading(const char *text); // underlined over its whole length (_input)
void ps_edit_one_sector(int family);     // asks its number; a refused one counts too (_sector)
void ps_ask_result_file(void);           // (_files)
void ps_redefine_spin_system(void);      // all of the entry and the operators (_spins)
void ps_ask_spatial_grid(void);          // (_grid)

#endif
