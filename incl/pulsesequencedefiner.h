// pulsesequencedefiner - the sequence composer: editors of both families, sector by sector, and
// the waveform files that the sectors name. Works on the runtime state (zan.h).
#ifndef ZAN_PULSESEQUENCEDEFINER_H
#define ZAN_PULSESEQUENCEDEFINER_H

#include <cstddef>

// ---- menus (pulsesequencedefiner.cpp and its rooms) ----
void ComposePulseSequence(void);
void create_new_sequence_of_type(int type);
void load_and_edit_sequence_of_type(int type);
void EditPulseSequence(void);   // spatial family
void Edit2DPulseSequence(void); // 1D/2D family
void DefineSeqSector(int s);    // sector 1..20
void Define2DSeqSector(int s);
const char *sequence_family_label(int type);
void Initialize(void); // the composer's part of the runtime state

// ---- spin system, in this order ----
void PS_IspinsParams(void); // at most 6 spins and 64 states
void PS_MakeBoltzmannParams(void);
void PS_MakeZeemanParams(void);
void PS_SpinSpinCouplingParams(void);

// ---- grid ----
void clamp_spatial_grid(void); // each axis to 1..256 points
void apply_global_spatial_grid(double x0, double dx, double y0, double dy, double z0, double dz);
double grid_fov_from_step(int n, double step); // (n - 1)·step, 0 for n < 2; cm

// ---- overview of the spatial editor ----
bool ps_spatial_sector_is_defined(int s);
int ps_count_defined_spatial_sectors(void);
int ps_next_spatial_sector_to_define(void); // lowest undefined of 1..20, else 20
void ps_print_defined_spatial_sector_overview(void);
void ps_print_spatial_sequence_guidance(void);
void ps_print_spatial_sector_summaries(void);

// ---- waveform files ----
// Two arrays of reals from text files, times a factor; the readers may change *ap. False, and told,
// when one could not be read: the first *ap samples, and *ap, stay as they were.
bool ReadBxByPulse(int *ap, double *xb, double *yb);
// Blocks of *ap doubles; a block that cannot be written is told on standard output.
void BinArrayOut(const int *ap, const double *xb, const double *yb, const double *gx,
                 const double *gy, const double *gz, const char *name);
void BinArrayOut2D(int ap, const double *xb, const double *yb, const char *name);
// Asks for the name of sector's waveform file and writes it: 1 when written, else 0.
int ps_write_spatial_sector_waveform_file(int sector, int ap);
int ps_write_2d_sector_waveform_file(int sector, int ap);

// ---- default directories and names ----
bool ps_ensure_dir_exists(const char *path); // one level
bool ps_ensure_default_sequence_dirs(void);  // models and rf-output
bool ps_resolve_default_output_path(const char *name, char *out, size_t outsz);

#endif
