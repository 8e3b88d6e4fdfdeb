// engine_fixture.cpp - see the header.

#include "engine_fixture.h"

#include "platformlib.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

// ------------------------------------------------------------------ fixture

static fs::path fresh_directory(void)
{
    const auto *info = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string("zan-") + info->test_suite_name() + "-" + info->name() + "-" +
                       std::to_string(plat_process_id());
    for (char &c : name)
        c = c == '/' ? '-' : c;
    const fs::path dir = fs::temp_directory_path() / name;
    fs::remove_all(dir);
    fs::create_directories(dir);
    return dir;
}

void EngineTest::SetUp()
{
    before = fs::current_path();
    work = fresh_directory();
    write_bytes(work.string() + ".stdin", "");
    ASSERT_TRUE(std::freopen((work.string() + ".stdin").c_str(), "r", stdin));
    fs::current_path(work);
    std::memset(&rt, 0, sizeof rt);
    init();
    ZAN_SetSmokeCheckMode(0);
}

void EngineTest::TearDown()
{
    std::error_code ignored;
    fs::current_path(before, ignored);
    fs::remove_all(work, ignored);
    fs::remove(work.string() + ".stdin", ignored);
    std::memset(&rt, 0, sizeof rt);
    init();
    ZAN_SetSmokeCheckMode(0);
}

// ------------------------------------------------------------------ models

void set_spins(const SpinSystem &system)
{
    rt.Nspins = (int)system.two_i.size();
    for (size_t k = 0; k < system.two_i.size(); k++) {
        rt.quantnum[k + 1] = system.two_i[k];
        rt.relspinamp[k + 1] = system.intensities.empty() ? 1.0 : system.intensities[k];
        rt.resofreqs[k + 1] = system.offsets_hz.empty() ? 0.0 : system.offsets_hz[k];
    }
    rt.Jexact = system.coupling_mode;
    std::memset(rt.jc, 0, sizeof rt.jc);
    for (const Coupling &c : system.couplings)
        rt.jc[c.i][c.j] = rt.jc[c.j][c.i] = c.hz;
    rt.systemset = 1;
}

void build_spins(const SpinSystem &system)
{
    set_spins(system);
    const int smoke = ZAN_GetSmokeCheckMode();
    ZAN_SetSmokeCheckMode(1);
    BuildSpinSystemFromPulseSequenceGlobals();
    ZAN_SetSmokeCheckMode(smoke);
}

void set_grid(int ndx, int ndy, int ndz)
{
    rt.ndx = ndx;
    rt.ndy = ndy;
    rt.ndz = ndz;
    rt.offsetset = 1;
}

void set_grid_x(double x0, double dx)
{
    rt.x0 = rt.x0_s = x0;
    rt.dx = rt.dx_s = dx;
}

void set_grid_y(double y0, double dy)
{
    rt.y0 = rt.y0_s = y0;
    rt.dy = rt.dy_s = dy;
}

void set_grid_z(double z0, double dz)
{
    rt.z0 = rt.z0_s = z0;
    rt.dz = rt.dz_s = dz;
}

Waveform constant_waveform(int samples, double xb, double yb)
{
    Waveform w;
    w.xb.assign((size_t)samples, xb);
    w.yb.assign((size_t)samples, yb);
    return w;
}

Waveform delay(void)
{
    return constant_waveform(1, 0.0, 0.0);
}

Waveform hard_pulse_x(double angle, double duration_s)
{
    return constant_waveform(1, angle / duration_s, 0.0);
}

Waveform hard_pulse_y(double angle, double duration_s)
{
    return constant_waveform(1, 0.0, angle / duration_s);
}

static std::vector<double> blocks_of(const Waveform &w, bool spatial)
{
    std::vector<double> all = w.xb;
    all.insert(all.end(), w.yb.begin(), w.yb.end());
    if (spatial)
        for (const std::vector<double> *g : {&w.gx, &w.gy, &w.gz}) {
            std::vector<double> block = *g;
            block.resize(w.xb.size(), 0.0);
            all.insert(all.end(), block.begin(), block.end());
        }
    return all;
}

static int add_sector(int family, const Waveform &w, double duration_s, double offset_hz,
                      const char *remark)
{
    const int s = ++rt.nos;
    rt.sequencetype = family;
    rt.sectorset = 1;
    rt.noti[s] = (int)w.xb.size();
    rt.sectdur[s] = duration_s;
    rt.statoff[s] = offset_hz;
    std::snprintf(rt.remarks[s], sizeof rt.remarks[s], "%s", remark);
    std::snprintf(rt.fnames[s], sizeof rt.fnames[s], "wave%d.bin", s);
    write_samples(rt.fnames[s], blocks_of(w, family == 1));
    return s;
}

void add_spatial_sector(const Waveform &w, double duration_s, double offset_hz, const char *remark)
{
    add_sector(1, w, duration_s, offset_hz, remark);
}

void add_2d_sector(int type, const Waveform &w, int rows, double duration_s, double offset_hz,
                   const char *remark)
{
    const int s = add_sector(2, w, duration_s, offset_hz, remark);
    rt.sectype[s] = type;
    rt.nevo[s] = rows;
}

void set_result(const char *name)
{
    std::snprintf(rt.resultflnm, sizeof rt.resultflnm, "%s", name);
}

void set_sector_at_hand(const Waveform &w, double duration_s)
{
    rt.pulseflag = 1;
    rt.ap = (int)w.xb.size();
    rt.pt = duration_s;
    rt.h = rt.ti = rt.ap < 1 ? 0.0 : duration_s / rt.ap;
    const std::vector<double> *blocks[] = {&w.xb, &w.yb, &w.gx, &w.gy, &w.gz};
    double *targets[] = {rt.xb, rt.yb, rt.gx, rt.gy, rt.gz};
    for (size_t b = 0; b < 5; b++)
        for (size_t k = 0; k < w.xb.size(); k++)
            targets[b][k] = blocks[b]->empty() ? 0.0 : (*blocks[b])[k];
}

SpinSystem random_spins(std::mt19937 &random, const std::vector<int> &two_i, int coupling_mode)
{
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    SpinSystem system;
    system.two_i = two_i;
    system.coupling_mode = coupling_mode;
    const int spins = (int)two_i.size();
    for (int i = 1; i <= spins; i++) {
        system.intensities.push_back(1.0 + unit(random));
        system.offsets_hz.push_back(300.0 * unit(random));
        for (int j = i + 1; j <= spins; j++)
            system.couplings.push_back({i, j, 40.0 * unit(random)});
    }
    return system;
}

Waveform random_waveform(std::mt19937 &random, int samples, bool along_x, bool along_y,
                         bool along_z)
{
    std::uniform_real_distribution<double> hz(-800.0, 800.0);
    Waveform w;
    for (int k = 0; k < samples; k++) {
        w.xb.push_back(TWO_PI * hz(random));
        w.yb.push_back(TWO_PI * hz(random));
        w.gx.push_back(along_x ? TWO_PI * hz(random) : 0.0);
        w.gy.push_back(along_y ? TWO_PI * hz(random) : 0.0);
        w.gz.push_back(along_z ? TWO_PI * hz(random) : 0.0);
    }
    return w;
}

// ------------------------------------------------------------------ files

const Complex *DensityFile::matrix(int number) const
{
    return rho.data() + (size_t)(number - 1) * (size_t)n * (size_t)n;
}

Complex DensityFile::at(int number, int i, int j) const
{
    return matrix(number)[(i - 1) * n + (j - 1)];
}

double DensityFile::largest(void) const
{
    double most = 0.0;
    for (const Complex &c : rho)
        most = std::max(most, std::abs(c));
    return most;
}

Complex SignalFile::at(int trace, int sample) const
{
    return values[(size_t)(trace - 1) * (size_t)samples + (size_t)(sample - 1)];
}

// Header and values, by matrix or by trace; false unless the file is as long as it promises.
static bool read_complex_file(const std::string &path, bool matrices, int32_t header[3],
                              std::vector<Complex> *values)
{
    const std::string bytes = read_text(path);
    if (bytes.size() < 12)
        return false;
    std::memcpy(header, bytes.data(), 12);
    const int64_t per_item = matrices ? (int64_t)header[1] * header[1] : header[1];
    const size_t count = (size_t)(per_item * header[2]);
    if (bytes.size() != 12 + count * sizeof(Complex))
        return false;
    values->resize(count);
    if (count > 0)
        std::memcpy((void *)values->data(), bytes.data() + 12, count * sizeof(Complex));
    return true;
}

DensityFile read_densities(const std::string &path)
{
    DensityFile file;
    int32_t header[3];
    if (!read_complex_file(path, true, header, &file.rho)) {
        ADD_FAILURE() << path << " is no complete density file";
        return file;
    }
    file.type = header[0];
    file.n = header[1];
    file.count = header[2];
    return file;
}

SignalFile read_signal(const std::string &path)
{
    SignalFile file;
    int32_t header[3];
    if (!read_complex_file(path, false, header, &file.values)) {
        ADD_FAILURE() << path << " is no complete signal file";
        return file;
    }
    file.type = header[0];
    file.samples = header[1];
    file.traces = header[2];
    return file;
}

void write_densities(const std::string &path, const DensityFile &file)
{
    std::ofstream out(path, std::ios::binary);
    const int32_t header[3] = {file.type, file.n, file.count};
    out.write((const char *)header, sizeof header);
    out.write((const char *)file.rho.data(), (std::streamsize)(file.rho.size() * sizeof(Complex)));
}

std::string read_text(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void write_bytes(const std::string &path, const std::string &bytes)
{
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

void write_samples(const std::string &path, const std::vector<double> &values)
{
    std::ofstream out(path, std::ios::binary);
    out.write((const char *)values.data(), (std::streamsize)(values.size() * sizeof(double)));
}

bool file_is_there(const std::string &path)
{
    return fs::exists(path);
}

std::vector<Complex> packed(int n, const CMatrix &mat)
{
    std::vector<Complex> all;
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= n; j++)
            all.emplace_back(mat[i][j][COMPLEX_RE], mat[i][j][COMPLEX_IM]);
    return all;
}

// ------------------------------------------------------------------ numbers

double component(const char *symbols, const Complex *rho)
{
    static CMatrix op, factor;
    CMatIdentity(rt.n, &op);
    for (int k = 1; symbols[k - 1]; k++) {
        if (symbols[k - 1] == 'x')
            MakeMatrixIx(rt.Ilist, rt.ket, rt.n, k, &factor);
        else if (symbols[k - 1] == 'y')
            MakeMatrixIy(rt.Ilist, rt.ket, rt.n, k, &factor);
        else if (symbols[k - 1] == 'z')
            MakeMatrixIz(rt.Ilist, rt.ket, rt.n, k, &factor);
        else
            continue;
        CMatMult(rt.n, &op, &factor, &op);
    }
    const std::vector<Complex> a = packed(rt.n, op);
    Complex sum = 0.0;
    double square = 0.0;
    for (int i = 0; i < rt.n; i++)
        for (int j = 0; j < rt.n; j++) {
            sum += a[(size_t)(i * rt.n + j)] * rho[j * rt.n + i];
            square += std::norm(a[(size_t)(i * rt.n + j)]);
        }
    return sum.real() / std::sqrt(square);
}

Complex trace_of_square(int n, const Complex *rho)
{
    Complex sum = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++)
            sum += rho[i * n + j] * rho[j * n + i];
    return sum;
}

double largest_difference(const Complex *a, const Complex *b, size_t count)
{
    double most = 0.0;
    for (size_t k = 0; k < count; k++) {
        const double difference = std::abs(a[k] - b[k]);
        most = difference > most || std::isnan(difference) ? difference : most;
    }
    return most;
}

// ------------------------------------------------------------------ console

std::string missing_file_message(const std::string &what)
{
    return what + ": " + std::strerror(ENOENT) + "\n";
}

int count_of(const std::string &text, const std::string &part)
{
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

std::vector<std::string> lines_with(const std::string &text, const std::string &part)
{
    std::vector<std::string> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.find(part) != std::string::npos)
            found.push_back(line);
    return found;
}
