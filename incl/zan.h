// zan - the simulation engine: runtime state, Hamiltonians, propagation, operator expressions,
// run drivers. Sections stand in the order of the rooms src/zan*.cpp.
//
// Frequencies are given in Hz and enter Hamiltonians as 2·pi·Hz (rad/s); coordinates in cm,
// gradients in rad/s per cm, durations in s. Spins, states and sectors count from 1 (element 0
// is not used), time samples from 0.
#ifndef ZAN_ZAN_H
#define ZAN_ZAN_H

#include "matrixmathlib.h"
#include "spinoperatorlib.h"

#include <cstdio>

enum {
    ZAN_MAX_SPINS = 8,
    ZAN_MAX_STATES = 256,
    ZAN_MAX_PAIRS = 28,
    ZAN_MAX_SECTORS = 20,
    ZAN_MAX_RF_POINTS = 8192,
    ZAN_MAX_PARAMETERS = 160,
    ZAN_RESULT_FILE_LEN = 256,
    ZAN_PULSE_NAME_LEN = 256,
    ZAN_REMARK_LEN = 512
};
constexpr double PI_CONST = 3.141592653589793;

// ---------------------------------------------------------------- runtime state (zan.cpp)

// Everything a simulation works on, once per process. One record instead of free variables,
// because names such as n, h, x0 or y0 would shadow locals or clash with the C library.
// All zero at start, then init().
struct ZanRuntime {
    // ---- spin system: model transfer, spin dialogs ----
    int Nspins;                  // 1..8, 0 before any system
    int n;                       // states, 1..256
    int quantnum[9];             // 2I of spin k
    SpinIList Ilist;             // quantnum with negative values set to 0
    SpinKet ket;                 // basis of Ilist
    double relspinamp[9];        // equilibrium polarisation weight
    double resofreqs[9];         // offset in the rotating frame, Hz
    int Jexact;                  // 1 = weak coupling (Iz·Iz only!), else full
    int Jcount;                  // pairs stored in couplings
    double couplings[29];        // Hz, pairs (1,2) (1,3) … (2,3) …
    double jc[9][9];             // Hz, symmetric
    int zan_spin_subgroup_count; // 0..32; metadata of the multiplet outputs
    char zan_spin_subgroup_labels[32][64];
    int zan_spin_subgroup_spin_count[32];
    int zan_spin_subgroup_spins[32][9]; // entries from 0
    int zan_spin_subgroup_ppm_count[32];
    double zan_spin_subgroup_ppm[32]; // ppm

    // ---- operators, dimension n, Hamiltonians in rad/s: the builders below ----
    CMatrix densmat;             // equilibrium; during a run the matrix at hand
    CMatrix Izee;                // sum of 2·pi·resofreqs·Iz
    CMatrix Icoup;               // scalar coupling
    CMatrix Izgrad;              // sum of Iz: what a gradient or offset turns
    CMatrix Ixtot, Iytot, Iztot; // total spin
    CMatrix Istat;               // observable, or Izee + Icoup before acquisition

    // ---- sequence, sectors 1..nos: composer, model transfer ----
    int sequencetype;                    // 0 unset, 1 spatial, 2 1D/2D NMR
    int nos;                             // sectors, 0..20
    int sectype[21];                     // meaning by family, see the labels
    int noti[21];                        // samples, at most 8192
    int nevo[21];                        // evolution rows (1D/2D)
    double sectdur[21];                  // s
    double statoff[21];                  // Hz
    char fnames[21][ZAN_PULSE_NAME_LEN]; // waveform file
    char remarks[21][ZAN_REMARK_LEN];
    int sector;                           // being edited by the composer
    char resultflnm[ZAN_RESULT_FILE_LEN]; // result of a run; empty = none

    // ---- grid: voxel (ix, iy, iz) from 1 lies at x0 + (ix-1)·dx … cm ----
    int ndx, ndy, ndz;
    int ndw; // matrices in dm.bin: voxels, or evolution rows
    double x0, y0, z0, dx, dy, dz;

    // ---- the sector at hand: sequence drivers, pulse menus ----
    int ap;                                    // samples
    double pt;                                 // duration, s
    double h;                                  // step pt/ap, s
    double ti;                                 // pulse menus: duration; drivers: one step h, s
    double statoff_s;                          // rad/s
    double x0_s, y0_s, z0_s, dx_s, dy_s, dz_s; // grid in use, cm
    double gs;                                 // read gradient of the 1-D profile, rad/s per cm
    double xb[ZAN_MAX_RF_POINTS], yb[ZAN_MAX_RF_POINTS];                        // RF, rad/s
    double gx[ZAN_MAX_RF_POINTS], gy[ZAN_MAX_RF_POINTS], gz[ZAN_MAX_RF_POINTS]; // rad/s per cm
    int spatial_progress_sector, spatial_progress_sector_count; // for the progress lines
    bool dm_along_x, dm_along_y, dm_along_z; // axes along which voxels of dm.bin may differ

    // ---- optimizer: zan_optimizer, zan_minimiser, zanoptseq ----
    int npar;                         // parameters in use, 0..160; made a multiple of 4
    double par[ZAN_MAX_PARAMETERS];   // Fourier coefficients of the pulse, from 0
    int zan_ncom;                     // length of the two vectors below
    double pcom[ZAN_MAX_PARAMETERS];  // where the current line begins ...
    double xicom[ZAN_MAX_PARAMETERS]; // ... and where it leads
    double xt[ZAN_MAX_PARAMETERS];    // trial parameters of the gradient
    int optsector;                    // sector of g_zan_opt_ctx, 0: densmat and Istat are meant

    // ---- receiver settings of the model ----
    double zan_gui_b0_tesla;             // T
    double zan_gui_receiver_carrier_ppm; // ppm

    // ---- flags, 0 or 1 unless said otherwise ----
    int spinsystemdefined;               // operators exist
    int rfpulsedefined;                  // xb, yb hold a pulse
    int offsetsdefined;                  // the grid has been entered
    int systemset, offsetset, sectorset; // spin system, grid, sectors of the model are ready
    int pulseflag;                       // 2 = no pulse yet (propagation refuses), 1 = pulse
    int calc;                            // sectors propagated; 0: dm.bin must be filled first
};
extern ZanRuntime rt;

extern const char *const zan_version;

const char *SectorTypeLabel(int type);   // of the spatial family; "<unknown>" outside 0..6
const char *SequenceTypeLabel(int type); // "<unknown>" outside 0..2
void init(void);                         // for a new model; spins, sequence, grid origin stay
void TotalStartUp(void);                 // once at start; in effect init

// 1: no console questions, no progress or report lines (the reference checks).
void ZAN_SetSmokeCheckMode(int enabled);
int ZAN_GetSmokeCheckMode(void);

// ---------------------------------------------------- Hamiltonians (zan_hamiltonians.cpp)

// B <- B + A
void AccumulateCMat(int n, const CMatrix *A, CMatrix *B);
void Complex2FromReal(double v, Complex2 out);
// Izgrad = sum of Iz. Without a spin system: a line on the error stream, Izgrad unchanged.
void MakeGradientOperator(void);
// All operators from the values in rt, silently but for a summary. Couplings come from jc when
// any entry is nonzero, else from couplings in pair order. More than 256 states are refused: a line
// on the error stream, spinsystemdefined and systemset 0.
void BuildSpinSystemFromPulseSequenceGlobals(void);
void ZAN_RebuildSpinSystemFromPulseSequenceGlobals(void);
// Ixtot and Iytot anew: norm 1 for the receiver, which detects every spin's operator with unit
// norm; norm 0, the physical sums, for everything else.
void zan_build_transverse_totals(int norm);

// ---------------------------------------------- spin system dialogs (zan_spin_dialogs.cpp)

void Ispins(void);             // asks until the spins make 1..256 states
void SetupSpins(void);         // Ispins, basis and totals; sets spinsystemdefined
void MakeBoltzmann(void);      // asks intensities, builds densmat
void MakeZeeman(void);         // asks offsets, builds Izee
void SpinSpinCoupling(void);   // asks mode and couplings, builds Icoup
void RedefineSpinSystem(void); // all of them; sets systemset
// The same values from an open text file; null does nothing.
void NonIntIspins(FILE *in);
void NonIntMakeBoltzmann(FILE *in);
void NonIntMakeZeeman(FILE *in);
void NonIntSpinSpinCoupling(FILE *in);

// ------------------------------------------------------- waveform files (zan_waveforms.cpp)

// The first n samples into rt.xb, rt.yb (and gx, gy, gz): 1, or 0 for an empty name, a count
// outside 0..8192, a file that does not open (told on the error stream) or is too short.
int LoadSpatialSectorPulseFile(const char *path, int n);
int Load2DSectorPulseFile(const char *path, int n);

// -------------------------------------------------------- propagation (zan_propagation.cpp)

// Every voxel of dm.bin through the sector at hand; raises calc when dm.bin is the next one.
void Rotate3D(void);
// Every evolution row; sector_type 2 evolves row w for (w-1)·dt per sample. dt in s, offset rad/s.
void Rotate2D_internal(int sector_type, double dt, double offset);

// ---------------------------------------------------------------- remarks (zan_remarks.cpp)

// A band-selective hyperbolic-secant pulse announced in a sector's remark.
struct ZANSlowBandSplitConfig {
    int enabled;                   // 1 when a configuration was found
    double pulse_center_offset_hz; // Hz
    double mu, beta;
    double pulse_duration_s;   // s
    double pulse_amplitude_hz; // Hz
    int pulse_samples;
    double pulse_phase_rad;      // rad
    double b0_tesla;             // T
    double receiver_carrier_ppm; // ppm
};

bool zan_remark_is_acquisition(const char *remark); // "adc" or "acquisition", any letter case
// The first occurrence of key, any letter case; then blanks, tabs, '='; then a number.
int zan_parse_double_after_key(const char *text, const char *key, double *out);
int zan_parse_int_after_key(const char *text, const char *key, int *out);
const char *zan_strcasestr_local(const char *text, const char *pattern); // ASCII folding
int zan_text_contains_ci(const char *text, const char *pattern);
int zan_is_power_of_two_int(int v);
int zan_try_slow_band_split_config(ZANSlowBandSplitConfig *out); // 1 when found
int zan_current_sequence_is_pulse_acquire_fid(void);

// ------------------------------------------------------- sequence drivers (zan_sequences.cpp)

void SimulateLoadedPulseSequence(void);   // spatial family, all sectors
void SimulateLoaded2DPulseSequence(void); // 1D/2D family and its receiver signal

// ------------------------------------------------ operator expressions (zan_operators.cpp)

int parse_product_operator_string(const char *text, int N, char *symbols); // N + 1 chars
int spin_index_from_label(char c, int N);
const char *spin_labels_for(int k); // one letter, in a buffer that the next call overwrites
void trim_operator_token(char *s);
bool is_undefined_operator_expression(const char *s);
void make_identity_operator(int n, CMatrix *out);
// The product of Ix, Iy, Iz by symbols ("xze"), scaled to unit Frobenius norm.
void create_norm_operator_spinhalf(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                                   const char *symbols, CMatrix *out);
// A sum of products such as "IxSz + Iz", scaled to unit norm: 1, or 0 (spins 1/2 only).
int create_operator_expression_spinhalf(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                                        const char *expression, CMatrix *out);

// ------------------------------------------ pulse optimizer (zan_optimizer.cpp, zan_minimiser.cpp)

// The objective: -Re<O> after the pulse that p makes of rt.xb, rt.yb, or the one of the prepared
// sector. Prints <O>. A value that is no number becomes worse than any other.
double fnc(const double *p);
// grad[i] = (fnc(p with one more step in p[i]) - f0) / step, f0 = fnc(p).
void dfnc(double f0, const double *p, int count, double *grad);
double func(double x); // fnc at pcom + x·xicom
double sign_double(double a, double b);
void mnbrak(double *ax, double *bx, double *cx, double *fa, double *fb, double *fc);
double brent(double ax, double bx, double cx, double tol, double *xmin); // the minimum of func
void linmin(double *p, double *xi, int n, double *fret); // p the minimum, xi the step to it
// Conjugate gradients from p, which becomes the minimum, *fret its value; nothing happens when
// memory runs out. All of them end early, with what they have, after an interrupt (platformlib).
void frprmn(double *p, int n, double ftol, int *iter, double *fret);

int zan_parameters_of_groups(int groups); // four each, held at the range of int
// par from xb, yb. Coefficients below 1e-12 of the largest are rounding and become 0.
void ZANOptimizationTakeStartPulse(void);
void StartOptimization(void); // of par, npar: report, optimum in xb, yb, question for a CSV file
void Optimize(void);          // asks for spins, operator, start pulse
// On g_zan_opt_ctx (zanoptseq).
void ZANOptimizationResetContext(void);
void ZANOptimizationUseCurrentRuntimeDefaults(void);
void ZANOptimizationSetObjectiveMode(int mode);
void ZANOptimizationSetPrefixState(const CMatrix *rho);
void ZANOptimizationSetSuffixObservable(const CMatrix *obs);
void ZANOptimizationSetStaticSectorOffsetRad(double rad_per_s);

// --------------------------------------- operator dialogs (zan_operator_dialogs.cpp)

// Operator number: base 4, spin 1 least significant, digits 0 e, 1 x, 2 y, 3 z.
void decimal_to_base4_symbols(int value, int N, char *out);                     // N + 1 chars
void format_operator_label(const char *symbols, int N, char *buf, size_t size); // "IXSZ"
void create_operator_from_list(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                               CMatrix *out);
void manual_expectation_operator(int n, int N, const SpinIList &Ilist, const SpinKet &ket,
                                 CMatrix *out);
void ExpectationOperator(int n, int N, const SpinIList &Ilist, const SpinKet &ket, CMatrix *out);
void ZANDefineCurrentExpectationOperatorInteractive(void);                 // into Istat
int ZANDefineCurrentExpectationOperatorExpression(const char *expression); // 1, or 0 (Istat kept)

// ------------------------------------------- expectation table (zan_expectation_table.cpp)

void CalcExpVal(void);     // menu
void ExpValNDensMat(void); // asks operator, format and name; one line per matrix of "dm.bin"

// ------------------------------------------------ matrices of "dm.bin" (zan_density_corner.cpp)

// The label and the elements of rows and columns 1..4, or fewer.
void DebugPrintCMatrixCorner(const char *label, int n, const CMatrix *mat);
// The first matrix of "dm.bin" into densmat, its corner on the console; false when the file has
// another dimension than n_ or is too short.
bool load_density_matrix_from_dm_bin(int n_);

// ------------------------------------------------------- result files (zan_profiles.cpp)

// Text tables from a density file: 1, or 0 with one line on the error stream.
int ZANWriteExpectationProfile(const char *density_path, const char *operator_expression,
                               const char *output_path);
// point_index from 1. Uses and removes "dm.bin" in the working directory.
int ZANWriteVoxelSignal(const char *density_path, int point_index, const char *output_path);

// ---------------------------------------------------------------- run drivers (zan_runs.cpp)

void RunCurrentPreparedModel(void);
void ZAN_RunCurrentPreparedModel(void);
void ZANRunCurrentPreparedModel(void);

// ---------------------------------------------------------------- status (zan_status.cpp)

void PrintNonInteractiveStatus(void); // with what keeps the model from running
void PrintPrepareStatus(void);
void PrintCurrentModelSummary(void);

// ------------------------------------------- pulses without a sequence (zan_pulse_dialogs.cpp)

void RedefinePulseHamiltonian(void); // menu: xb, yb, their step, or the spatial sequence
void DefinegradientOffset(void);     // asks the grid in use (x0_s …) and the gradients
void OutputPulse(void);              // asks where xb and yb go as text

// ------------------------------------------------------------- spectra (zan_spectra.cpp)

void ZANCalculateSpectraInteractive(void); // the run menu's choice: average or separate
void InteractiveSpectrumAnalyses(void);    // the same, the 2-D spectrum, and the signals made

// ------------------------------------- menus (zan_menus.cpp) and grid (zan_grid_dialog.cpp)

void ZANPrepareMenu(void);
void LiouvilleNonInteractive(void);
void LiouvilleInteractive(void); // the steps of a single pulse, one by one
void DefineSpatialSimulationDomain(void);

#endif
