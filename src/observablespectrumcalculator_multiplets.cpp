// observablespectrumcalculator_multiplets.cpp - the receiver signal split into multiplets: one
// signal file for every group of spins with close resonance offsets.
//
// Every transition of the receiver's Hamiltonian goes to its nearest group; the groups' signals
// add up to the complete one as far as no transition lies outside the spectral width. Offsets
// and the shifts of spin subgroups come from the runtime state.

#include "observablespectrumcalculator_internal.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>

static const double ZAN_PROTON_GAMMA_MHZ_PER_T = 42.57747892;
static const double ZAN_MULTIPLET_CLUSTER_TOLERANCE_HZ = 7.0;
static const double AMPLITUDE_THRESHOLD = 1e-12;
enum { MAX_CLUSTERS = 64, PATH_SIZE = 1024 };

namespace
{

struct ZANMultipletCluster {
    double center_hz;       // mean offset of its spins, Hz
    double weight;          // spins in it
    int transition_count;   // stays 0
    unsigned int spin_mask; // bit s for spin s
    int has_metadata_ppm;   // a spin subgroup lies in it
    double metadata_ppm;    // the subgroup's shift, ppm
    std::unique_ptr<double[]> sig_re, sig_im;
};

struct ClusterList {
    ZANMultipletCluster cluster[MAX_CLUSTERS];
    int count;
};

// One trace as it is split.
struct Split {
    const char *path; // of the complete signal
    int n, points;
    double time;    // s
    double band_hz; // offsets and lines beyond it are left out; 0 = no limit
    const ZANSlowBandSplitConfig *config;
};

} // namespace

// ------------------------------------------------------------------ names

static double ppm_hz(const ZANSlowBandSplitConfig *config)
{
    return config && config->b0_tesla > 0.0 ? ZAN_PROTON_GAMMA_MHZ_PER_T * config->b0_tesla : 0.0;
}

static bool has_ppm_scale(const ZANSlowBandSplitConfig *config)
{
    return ppm_hz(config) > 0.0 && config->receiver_carrier_ppm > 0.0;
}

static double shift_of(double center_hz, const ZANSlowBandSplitConfig *config)
{
    return center_hz / ppm_hz(config) + config->receiver_carrier_ppm;
}

// False when it does not fit: cut, the tags of two multiplets could be one.
static bool make_tag(double center_hz, const ZANSlowBandSplitConfig *config, int has_metadata_ppm,
                     double metadata_ppm, char *tag, size_t size)
{
    int length;
    if (has_metadata_ppm)
        length = std::snprintf(tag, size, "-[%.3fppm]", metadata_ppm);
    else if (has_ppm_scale(config))
        length = std::snprintf(tag, size, "-[%.3fppm]", shift_of(center_hz, config));
    else
        length = std::snprintf(tag, size, "-[%.1fHz]", center_hz);
    return length >= 0 && (size_t)length < size;
}

// Where the tag goes: before "_slow_" or "_SLOW_", else before the "_td.bin" at the end.
static const char *tag_position(const char *name, const char *ending)
{
    const char *marker = std::strstr(name, "_slow_");
    if (!marker)
        marker = std::strstr(name, "_SLOW_");
    return marker ? marker : ending;
}

int slow_multiplet_output_filename(const char *output_filename, double center_hz,
                                   const ZANSlowBandSplitConfig *config, int has_metadata_ppm,
                                   double metadata_ppm, char *out, size_t outsz)
{
    static const char ENDING[] = "_td.bin";
    const size_t length = output_filename ? std::strlen(output_filename) : 0;
    if (!out || outsz == 0 || length < sizeof ENDING - 1)
        return 0;
    const char *ending = output_filename + length - (sizeof ENDING - 1);
    if (std::strcmp(ending, ENDING) != 0)
        return 0;
    char tag[64];
    if (!make_tag(center_hz, config, has_metadata_ppm, metadata_ppm, tag, sizeof tag))
        return 0;
    const char *rest = tag_position(output_filename, ending);
    const int written = std::snprintf(out, outsz, "%.*s%s%s", (int)(rest - output_filename),
                                      output_filename, tag, rest);
    return written >= 0 && (size_t)written < outsz;
}

// ------------------------------------------------------------------ groups of spins

// Half the spectral width and half a point more.
static double band_limit(int ap, double acq_time_s)
{
    if (ap < 1 || !(acq_time_s > 0.0))
        return 0.0;
    const double half_width = 0.5 * (ap / acq_time_s);
    return half_width + half_width / ap;
}

static bool beyond_band(double hz, double band_hz)
{
    return band_hz > 0.0 && std::fabs(hz) > band_hz;
}

// The nearest cluster within the tolerance, the later one of equals; -1 when there is none.
static int cluster_for_spin(const ClusterList &list, double hz)
{
    int best = -1;
    double best_distance = ZAN_MULTIPLET_CLUSTER_TOLERANCE_HZ;
    for (int k = 0; k < list.count; k++) {
        const double distance = std::fabs(hz - list.cluster[k].center_hz);
        if (distance <= best_distance) {
            best = k;
            best_distance = distance;
        }
    }
    return best;
}

static void add_spin(int spin, double hz, ClusterList *list)
{
    int k = cluster_for_spin(*list, hz);
    if (k < 0) {
        if (list->count == MAX_CLUSTERS)
            return;
        k = list->count++;
        list->cluster[k].center_hz = hz;
    }
    ZANMultipletCluster &cluster = list->cluster[k];
    cluster.center_hz = (cluster.weight * cluster.center_hz + hz) / (1.0 + cluster.weight);
    cluster.weight += 1.0;
    cluster.spin_mask |= 1u << spin;
}

static void group_spins(const int *Ilist, double band_hz, ClusterList *list)
{
    for (int spin = 1; spin <= ZAN_MAX_SPINS; spin++)
        if (Ilist[spin] > 0 && !beyond_band(rt.resofreqs[spin], band_hz))
            add_spin(spin, rt.resofreqs[spin], list);
}

static unsigned int subgroup_mask(int g)
{
    unsigned int mask = 0;
    for (int i = 0; i < rt.zan_spin_subgroup_spin_count[g]; i++) {
        const int spin = rt.zan_spin_subgroup_spins[g][i];
        if (spin >= 1 && spin <= 31)
            mask |= 1u << spin;
    }
    return mask;
}

// The first cluster that holds all spins of a subgroup takes its shift.
static void assign_subgroup_shifts(ClusterList *list)
{
    for (int g = 0; g < rt.zan_spin_subgroup_count; g++) {
        const unsigned int mask = subgroup_mask(g);
        if (mask == 0 || rt.zan_spin_subgroup_ppm_count[g] < 1)
            continue;
        int k = 0;
        while (k < list->count && (list->cluster[k].spin_mask & mask) != mask)
            k++;
        if (k < list->count) {
            list->cluster[k].metadata_ppm = rt.zan_spin_subgroup_ppm[g];
            list->cluster[k].has_metadata_ppm = 1;
        }
    }
}

// ------------------------------------------------------------------ signals

static bool allocate_signals(int points, ClusterList *list)
{
    for (int k = 0; k < list->count; k++) {
        ZANMultipletCluster &cluster = list->cluster[k];
        cluster.sig_re = osc_zeros((size_t)points);
        cluster.sig_im = osc_zeros((size_t)points);
        if (!cluster.sig_re || !cluster.sig_im)
            return false;
    }
    return true;
}

// A transition at f belongs to the offset -f: the receiver's Hamiltonian is negated.
static ZANMultipletCluster &nearest_cluster(double freq_hz, ClusterList *list)
{
    int best = 0;
    for (int k = 1; k < list->count; k++)
        if (std::fabs(list->cluster[k].center_hz + freq_hz) <
            std::fabs(list->cluster[best].center_hz + freq_hz))
            best = k;
    return list->cluster[best];
}

static void add_transition(std::complex<double> amp, double omega, const Split &split,
                           ClusterList *list)
{
    const double freq_hz = omega / (2.0 * osc_pi());
    if (beyond_band(freq_hz, split.band_hz))
        return;
    const double h = split.points > 0 ? split.time / split.points : 0.0;
    ZANMultipletCluster &cluster = nearest_cluster(freq_hz, list);
    double *re = cluster.sig_re.get(), *im = cluster.sig_im.get();
    for (int m = 0; m < split.points; m++) {
        const double phase = m * omega * h, c = std::cos(phase), s = std::sin(phase);
        re[m] += amp.real() * c - amp.imag() * s;
        im[m] += amp.real() * s + amp.imag() * c;
    }
}

static void add_all_transitions(const ReceiverEigenbasis &basis, const Split &split,
                                ClusterList *list)
{
    for (int r = 1; r <= split.n; r++)
        for (int c = 1; c <= split.n; c++) {
            const double *a = basis.receiver[r][c], *b = basis.rho[c][r];
            const std::complex<double> amp(
                a[COMPLEX_RE] * b[COMPLEX_RE] - a[COMPLEX_IM] * b[COMPLEX_IM],
                a[COMPLEX_IM] * b[COMPLEX_RE] + a[COMPLEX_RE] * b[COMPLEX_IM]);
            if (std::abs(amp) > AMPLITUDE_THRESHOLD)
                add_transition(amp, basis.eigval[r] - basis.eigval[c], split, list);
        }
}

// ------------------------------------------------------------------ files

// The name may carry a subgroup's shift where the report can only give the frequency.
static void report_file(const ZANMultipletCluster &cluster, const ZANSlowBandSplitConfig *config,
                        const char *path)
{
    if (ZAN_GetSmokeCheckMode())
        return;
    if (has_ppm_scale(config))
        std::printf("  multiplet %.3f ppm -> %s\n",
                    cluster.has_metadata_ppm ? cluster.metadata_ppm
                                             : shift_of(cluster.center_hz, config),
                    path);
    else
        std::printf("  multiplet %.3f Hz -> %s\n", cluster.center_hz, path);
}

static bool write_cluster_file(const ZANMultipletCluster &cluster, const Split &split,
                               const char *path)
{
    OutputFile out;
    if (!open_output(&out, path)) {
        std::perror("fopen(SLOW multiplet output)");
        return false;
    }
    WriteBinFileHeaderI(out.file, 1, split.points, 1);
    const bool written =
        binfh_last_status == BINFH_OK &&
        write_signal_trace(out.file, split.points, cluster.sig_re.get(), cluster.sig_im.get());
    if (written && commit_output(&out))
        return true;
    std::perror("fwrite(SLOW multiplet output)");
    discard_output(&out);
    return false;
}

static int write_clusters(const ClusterList &list, const Split &split)
{
    int written_count = 0;
    for (int k = 0; k < list.count; k++) {
        const ZANMultipletCluster &cluster = list.cluster[k];
        char path[PATH_SIZE];
        if (slow_multiplet_output_filename(split.path, cluster.center_hz, split.config,
                                           cluster.has_metadata_ppm, cluster.metadata_ppm, path,
                                           sizeof path) &&
            write_cluster_file(cluster, split, path)) {
            report_file(cluster, split.config, path);
            written_count++;
        }
    }
    return written_count;
}

int write_slow_multiplet_outputs(const char *output_filename, int n, int ap, int fndw,
                                 double acq_time_s, const CMatrix *densmat, const CMatrix *Hmat,
                                 const CMatrix *Ixtot, const CMatrix *Iytot,
                                 const ZANSlowBandSplitConfig *config, const int *Ilist)
{
    static ReceiverEigenbasis basis;
    if (!output_filename || !*output_filename || !config || !config->enabled || fndw != 1)
        return 0;
    const Split split = {output_filename, n, ap, acq_time_s, band_limit(ap, acq_time_s), config};
    osc_receiver_eigenbasis(n, densmat, Hmat, Ixtot, Iytot, &basis);
    ClusterList list = {};
    group_spins(Ilist, split.band_hz, &list);
    assign_subgroup_shifts(&list);
    if (list.count == 0 || !allocate_signals(std::max(ap, 0), &list))
        return 0;
    add_all_transitions(basis, split, &list);
    if (!ZAN_GetSmokeCheckMode())
        std::printf("SLOW multiplet-resolved files:\n");
    return write_clusters(list, split);
}
