// The reference checks: comparisons, operator cases, the snapshot of the loaded model, the runner.
// Every comparison is also given something wrong, and must say what.
#include "zanmodel_refcheck_internal.h"

#include "engine_fixture.h"
#include "matrices.h"

#include <cmath>
#include <limits>

using RefCheck = EngineTest;

namespace
{

// What check prints on standard output; its result must be `expected`.
template <class Check> std::string printed(int expected, Check check)
{
    int result = -1;
    const Console console = captured([&] { result = check(); });
    EXPECT_EQ(result, expected);
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 0);
    return console.out;
}

void set_entry(CMatrix *M, int i, int j, double re, double im)
{
    (*M)[i][j][COMPLEX_RE] = re;
    (*M)[i][j][COMPLEX_IM] = im;
}

} // namespace

// ------------------------------------------------------------------ comparisons

TEST(RefCheckComparison, NumbersAreEqualUpToTheToleranceItself)
{
    EXPECT_TRUE(approx_equal(1.0, 1.5, 0.5));
    EXPECT_TRUE(approx_equal(-2.0, -2.0, 0.0));
    EXPECT_FALSE(approx_equal(1.0, 1.5, 0.499));
    EXPECT_FALSE(approx_equal(std::nan(""), 0.0, 1e9));
    EXPECT_FALSE(approx_equal(std::numeric_limits<double>::infinity(), 0.0, 1e9));
}

TEST(RefCheckComparison, AScalarIsSilentOrTellsWhatItGot)
{
    EXPECT_EQ(printed(1, [] { return check_scalar("tag", "label", 1.0, 1.25, 0.25); }), "");
    EXPECT_EQ(printed(0, [] { return check_scalar("tag", "label", 1.0, 1.25, 0.125); }),
              "FAIL tag       label : got 1 expected 1.25\n");
    EXPECT_EQ(printed(0, [] { return check_scalar("malformed", "x", 0.1, 2, 0); }),
              "FAIL malformed x : got 0.10000000000000001 expected 2\n");
}

TEST(RefCheckComparison, BothPartsOfAnEntryAreAlwaysChecked)
{
    static CMatrix M;
    CMatZero(2, &M);
    set_entry(&M, 1, 2, 3.0, 4.0);
    EXPECT_EQ(printed(1, [] { return check_cmat_entry("tag", "M", &M, 1, 2, 3, 4, 0.0); }), "");
    EXPECT_EQ(printed(0, [] { return check_cmat_entry("tag", "M", &M, 1, 2, 0, 4, 0.5); }),
              "FAIL tag       M[1,2].re : got 3 expected 0\n");
    EXPECT_EQ(printed(0, [] { return check_cmat_entry("tag", "M", &M, 1, 2, 0, 0, 0.5); }),
              "FAIL tag       M[1,2].re : got 3 expected 0\n"
              "FAIL tag       M[1,2].im : got 4 expected 0\n");
}

TEST(RefCheckComparison, EveryEntryThatIsNotNamedMustBeZero)
{
    static CMatrix M;
    fill_all(&M, 0.0);
    set_entry(&M, 1, 2, 1.0, 0.0);
    set_entry(&M, 3, 1, 7.0, 0.0); // beyond n
    const RefEntry named[] = {{1, 2, 1.0, 0.0}};
    EXPECT_EQ(printed(1, [&] { return check_cmat_zero_except("tag", "M", &M, 2, named, 0.0); }),
              "");
    set_entry(&M, 2, 1, 0.0, 0.5);
    EXPECT_EQ(printed(0, [&] { return check_cmat_zero_except("tag", "M", &M, 2, named, 0.1); }),
              "FAIL tag       M[2,1].im : got 0.5 expected 0\n");
    EXPECT_EQ(printed(0, [&] { return check_whole_cmat("tag", "M", &M, 2, {}, 0.1); }),
              "FAIL tag       M[1,2].re : got 1 expected 0\n"
              "FAIL tag       M[2,1].im : got 0.5 expected 0\n");
}

TEST(RefCheckComparison, InvariantsOfAMatrixOverTheFirstRowsAndColumns)
{
    static CMatrix M;
    fill_all(&M, 9.0);
    CMatZero(2, &M);
    set_entry(&M, 1, 1, 1.0, 0.25);
    set_entry(&M, 2, 2, 2.0, 0.5);
    set_entry(&M, 1, 2, 4.0, 1.0);
    set_entry(&M, 2, 1, 3.0, -3.0);
    EXPECT_DOUBLE_EQ(cmat_trace_re(2, &M), 3.0);
    EXPECT_DOUBLE_EQ(cmat_trace_im(2, &M), 0.75);
    EXPECT_DOUBLE_EQ(cmat_frobenius_norm(2, &M), std::sqrt(1 + 0.0625 + 4 + 0.25 + 17 + 18));
    EXPECT_DOUBLE_EQ(cmat_hermitian_max_error(2, &M), 2.0); // im of (1,2) + im of (2,1)
    set_entry(&M, 2, 1, 4.0, -1.0);
    EXPECT_DOUBLE_EQ(cmat_hermitian_max_error(2, &M), 1.0); // im of the diagonal, twice
    set_entry(&M, 1, 2, 0.5, 1.0);
    EXPECT_DOUBLE_EQ(cmat_hermitian_max_error(2, &M), 3.5);
}

// ------------------------------------------------------------------ spin operators

namespace
{

CMatrix Ix, Iy, Iz, wrong;

void make_one_spin(void)
{
    static const SpinIList half = {0, 1};
    static SpinKet ket;
    MakeKets(&ket, &half);
    MakeMatrixIx(half, ket, 2, 1, &Ix);
    MakeMatrixIy(half, ket, 2, 1, &Iy);
    MakeMatrixIz(half, ket, 2, 1, &Iz);
}

void make_two_spins(void)
{
    static const SpinIList halves = {0, 1, 1};
    static SpinKet ket;
    MakeKets(&ket, &halves);
    MakeTotalIx(4, 2, ket, halves, 0, &Ix);
    MakeTotalIy(4, 2, ket, halves, 0, &Iy);
    MakeTotalIz(4, 2, ket, halves, 0, &Iz);
}

} // namespace

TEST_F(RefCheck, TheSpinOperatorsPass)
{
    EXPECT_EQ(printed(1, RunSpinOperatorReferenceCases), "PASS          spin-operator-reference\n");
}

TEST_F(RefCheck, AWrongEnumerationOfKetsFails)
{
    const char *const one =
        "FAIL spinop    one-spin ket enumeration differs from the reference enumeration\n";
    const char *const two =
        "FAIL spinop    two-spin ket enumeration differs from the reference enumeration\n";
    static SpinKet down_first = {{}, {0, -1}, {0, 1}};
    static SpinKet spin_2_slow = {{}, {0, 1, 1}, {0, -1, 1}, {0, 1, -1}, {0, -1, -1}};
    static SpinKet right = {{}, {0, 1}, {0, -1}};
    EXPECT_EQ(printed(1, [] { return check_one_spin_kets(2, right); }), "");
    EXPECT_EQ(printed(0, [] { return check_one_spin_kets(2, down_first); }), one);
    EXPECT_EQ(printed(0, [] { return check_one_spin_kets(3, right); }), one);
    EXPECT_EQ(printed(0, [] { return check_two_spin_kets(4, spin_2_slow); }), two);
    EXPECT_EQ(printed(0, [] { return check_two_spin_kets(0, spin_2_slow); }), two);
}

TEST_F(RefCheck, AnotherSignOfIyFailsInIyAndInTheCommutator)
{
    make_one_spin();
    Transpose(2, &Iy, &wrong);
    EXPECT_EQ(printed(0, [] { return check_one_spin_operators(&Ix, &wrong, &Iz); }),
              "FAIL spinop    Iy[1,2].im : got 0.5 expected -0.5\n"
              "FAIL spinop    Iy[2,1].im : got -0.5 expected 0.5\n"
              "FAIL spinop    [Ix,Iy][1,1].im : got -0.5 expected 0.5\n"
              "FAIL spinop    [Ix,Iy][2,2].im : got 0.5 expected -0.5\n");
}

TEST_F(RefCheck, AWrongElementOfIzFailsThereAlone)
{
    make_one_spin();
    set_entry(&Iz, 1, 2, 0.25, 0.0);
    EXPECT_EQ(printed(0, [] { return check_one_spin_operators(&Ix, &Iy, &Iz); }),
              "FAIL spinop    Iz[1,2].re : got 0.25 expected 0\n");
}

TEST_F(RefCheck, AWrongIxFails)
{
    make_one_spin();
    set_entry(&Ix, 2, 2, 1.0, 0.0);
    const std::string out = printed(0, [] { return check_one_spin_operators(&Ix, &Iy, &Iz); });
    EXPECT_EQ(out, "FAIL spinop    Ix[2,2].re : got 1 expected 0\n");
}

TEST_F(RefCheck, WrongTotalsFailUnderTheirNames)
{
    make_two_spins();
    EXPECT_EQ(printed(1, [] { return check_two_spin_totals(&Ix, &Iy, &Iz); }), "");
    set_entry(&Ix, 2, 3, 0.5, 0.0);
    set_entry(&Iy, 4, 3, 0.0, -0.5);
    set_entry(&Iz, 4, 4, 1.0, 0.0);
    EXPECT_EQ(printed(0, [] { return check_two_spin_totals(&Ix, &Iy, &Iz); }),
              "FAIL spinop    Ixtot[2,3].re : got 0.5 expected 0\n"
              "FAIL spinop    Iytot[4,3].im : got -0.5 expected 0.5\n"
              "FAIL spinop    Iztot[4,4].re : got 1 expected -1\n");
}

// ------------------------------------------------------------------ Hamiltonians

TEST_F(RefCheck, TheTwoSpinSystemIsSetUpQuietly)
{
    rt.relspinamp[6] = rt.resofreqs[6] = rt.couplings[20] = rt.jc[8][8] = 7.0;
    const Console console = captured([] { configure_two_spin_half_system(5.0, -6.0, 7.0, 2); });
    EXPECT_EQ(console.out + console.err, "");
    EXPECT_EQ(rt.Nspins, 2);
    EXPECT_EQ(rt.n, 4);
    EXPECT_EQ(rt.Jexact, 2);
    EXPECT_EQ(rt.Jcount, 1);
    EXPECT_EQ(rt.relspinamp[2], 1.0);
    EXPECT_EQ(rt.resofreqs[1], 5.0);
    EXPECT_EQ(rt.resofreqs[2], -6.0);
    EXPECT_EQ(rt.jc[1][2], 7.0);
    EXPECT_EQ(rt.relspinamp[6] + rt.resofreqs[6] + rt.couplings[20] + rt.jc[8][8], 0.0);
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 0);
}

TEST_F(RefCheck, TheHamiltoniansPass)
{
    EXPECT_EQ(printed(1, RunHamiltonianReferenceCases), "PASS          hamiltonian-reference\n");
}

TEST_F(RefCheck, WrongWeakHamiltoniansFail)
{
    configure_two_spin_half_system(100.0, -40.0, 12.0, 1);
    EXPECT_EQ(printed(0, [] { return check_weak_hamiltonians(3, &rt.Izee, &rt.Icoup); }),
              "FAIL hamilton  two-spin Hilbert dimension : got 3 expected 4\n");
    set_entry(&rt.Izee, 2, 2, 140.0, 0.0); // Hz instead of rad/s
    set_entry(&rt.Icoup, 2, 3, 0.0, 1.0);
    EXPECT_EQ(printed(0, [] { return check_weak_hamiltonians(4, &rt.Izee, &rt.Icoup); }),
              "FAIL hamilton  Izee[2,2].re : got 140 expected 439.82297150257102\n"
              "FAIL hamilton  Icoup weak[2,3].im : got 1 expected 0\n");
}

TEST_F(RefCheck, TheWeakCouplingFailsAsAnExactOne)
{
    configure_two_spin_half_system(100.0, -40.0, 12.0, 1);
    EXPECT_EQ(printed(0, [] { return check_exact_hamiltonians(&rt.Izee, &rt.Icoup); }),
              "FAIL hamilton  Icoup exact[2,3].re : got 0 expected 37.699111843077517\n"
              "FAIL hamilton  Icoup exact[3,2].re : got 0 expected 37.699111843077517\n"
              "FAIL hamilton  Istat exact[2,3].re : got 0 expected 37.699111843077517\n"
              "FAIL hamilton  Istat exact[3,2].re : got 0 expected 37.699111843077517\n");
}

TEST_F(RefCheck, AWrongOffsetFailsInTheSum)
{
    configure_two_spin_half_system(100.0, -40.0, 12.0, 2);
    set_entry(&rt.Izee, 1, 1, 0.0, 0.0);
    const std::string out =
        printed(0, [] { return check_exact_hamiltonians(&rt.Izee, &rt.Icoup); });
    EXPECT_EQ(count_of(out, "FAIL hamilton  Istat exact[1,1].re : got "), 1) << out;
    EXPECT_EQ(count_of(out, "\n"), 1) << out;
}

// ------------------------------------------------------------------ spectrum

namespace
{

RefFrequencies frequencies(std::initializer_list<double> values)
{
    RefFrequencies list = {};
    for (const double hz : values)
        add_unique_abs_frequency(&list, hz);
    return list;
}

std::string resonances_printed(int expected, const RefFrequencies &list)
{
    return printed(expected, [&] { return check_weak_resonances(list); });
}

} // namespace

TEST_F(RefCheck, TheWeakSpectrumPasses)
{
    EXPECT_EQ(printed(1, RunWeakTwoSpinSpectrumReferenceCase),
              "PASS          weak-two-spin-spectrum-reference\n");
}

TEST(RefCheckSpectrum, FrequenciesAreCollectedOnceWithoutSign)
{
    const RefFrequencies list = frequencies({34.0, -34.04, 46.0, 33.94});
    ASSERT_EQ(list.count, 3);
    EXPECT_EQ(list.hz[0], 34.0);
    EXPECT_EQ(list.hz[1], 46.0);
    EXPECT_EQ(list.hz[2], 33.94);
    EXPECT_TRUE(frequency_present(list, 46.04));
    EXPECT_FALSE(frequency_present(list, 46.06));
    EXPECT_FALSE(frequency_present(RefFrequencies{}, 0.0));
}

TEST(RefCheckSpectrum, LinesWithoutAmplitudeAreSkipped)
{
    static LineList spc;
    const double amplitudes[] = {1.0, 1e-12, -1e-12, -2e-12, 3.0};
    for (int k = 1; k <= 5; k++) {
        spc[1][k] = amplitudes[k - 1];
        spc[2][k] = k % 2 ? k : -k;
    }
    RefFrequencies list = {};
    collect_spectrum_abs_frequencies(spc, 4, &list);
    ASSERT_EQ(list.count, 2);
    EXPECT_EQ(list.hz[0], 1.0);
    EXPECT_EQ(list.hz[1], 4.0);
}

TEST(RefCheckSpectrum, NoMoreThanTheListHoldsAreKept)
{
    RefFrequencies list = {};
    for (int k = 0; k < 300; k++)
        add_unique_abs_frequency(&list, k);
    EXPECT_EQ(list.count, 257);
    EXPECT_EQ(list.hz[256], 256.0);
}

TEST(RefCheckSpectrum, MissingAndExtraLinesFail)
{
    EXPECT_EQ(resonances_printed(1, frequencies({106.0, 94.04, 46.0, 34.0})), "");
    EXPECT_EQ(resonances_printed(0, frequencies({34.0, 46.0, 94.0})),
              "FAIL spectrum  unique absolute resonance count: got 3 expected 4\n"
              "FAIL spectrum  missing resonance at 106 Hz\n"
              "      observed absolute frequencies: 34 46 94\n");
    EXPECT_EQ(resonances_printed(0, frequencies({34.0, 46.0, 94.0, 106.0, 140.0625})),
              "FAIL spectrum  unique absolute resonance count: got 5 expected 4\n"
              "      observed absolute frequencies: 34 46 94 106 140.0625\n");
    EXPECT_EQ(resonances_printed(0, frequencies({34.0, 46.0, 94.0, 106.25})),
              "FAIL spectrum  missing resonance at 106 Hz\n"
              "      observed absolute frequencies: 34 46 94 106.25\n");
    EXPECT_EQ(resonances_printed(0, RefFrequencies{}),
              "FAIL spectrum  unique absolute resonance count: got 0 expected 4\n"
              "FAIL spectrum  missing resonance at 34 Hz\n"
              "FAIL spectrum  missing resonance at 46 Hz\n"
              "FAIL spectrum  missing resonance at 94 Hz\n"
              "FAIL spectrum  missing resonance at 106 Hz\n"
              "      observed absolute frequencies:\n");
}

// ------------------------------------------------------------------ snapshot

namespace
{

template <class Field> bool consists_of(const Field &field, int byte)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(&field);
    return std::all_of(bytes, bytes + sizeof field, [byte](int b) { return b == byte; });
}

// Spins, sequence, grid and metadata of a prepared model, every one of them off its default.
void prepare_model(void)
{
    build_spins({{1, 2}, {1.5, 0.5}, {10.0, -20.0}, 2, {{1, 2, 8.0}}});
    add_spatial_sector(delay(), 0.25, 3.0, "a remark");
    set_grid(2, 3, 4);
    set_grid_y(-1.0, 0.5);
    set_result("mine.bin");
    rt.sectorset = 1;
    rt.calc = 5;
    rt.zan_spin_subgroup_count = 1;
    rt.zan_spin_subgroup_ppm[0] = 4.7;
    rt.zan_gui_b0_tesla = 3.0;
    rt.zan_gui_receiver_carrier_ppm = 2.5;
}

// Nothing of the loaded model may differ from what was captured.
void expect_unchanged(const ZanRuntime &old, const ZANLegacySnapshot &snap)
{
    static ZANLegacySnapshot now;
    CaptureLegacySnapshot(&now);
    EXPECT_EQ(std::memcmp(&now, &snap, sizeof now), 0);
    EXPECT_EQ(std::memcmp(rt.Ilist, old.Ilist, sizeof rt.Ilist), 0);
    EXPECT_EQ(std::memcmp(rt.ket, old.ket, sizeof rt.ket), 0);
    EXPECT_TRUE(same_elements(rt.n, rt.densmat, old.densmat));
    EXPECT_TRUE(same_elements(rt.n, rt.Izee, old.Izee));
    EXPECT_TRUE(same_elements(rt.n, rt.Icoup, old.Icoup));
    EXPECT_TRUE(same_elements(rt.n, rt.Izgrad, old.Izgrad));
    EXPECT_TRUE(same_elements(rt.n, rt.Ixtot, old.Ixtot));
    EXPECT_TRUE(same_elements(rt.n, rt.Iytot, old.Iytot));
    EXPECT_TRUE(same_elements(rt.n, rt.Iztot, old.Iztot));
}

ZANLegacySnapshot snapshot;
ZanRuntime old_state;

} // namespace

#define RESTORED(field) EXPECT_TRUE(consists_of(rt.field, 0x11)) << #field

TEST_F(RefCheck, EveryFieldOfTheSnapshotComesBack)
{
    std::memset(&rt, 0x11, sizeof rt);
    rt.Nspins = 0; // nothing to rebuild
    CaptureLegacySnapshot(&snapshot);
    std::memset(&rt, 0x22, sizeof rt);
    RestoreLegacySnapshot(&snapshot);

    EXPECT_EQ(rt.Nspins, 0);
    RESTORED(n);
    RESTORED(Jexact);
    RESTORED(Jcount);
    RESTORED(sequencetype);
    RESTORED(nos);
    RESTORED(ndx);
    RESTORED(ndy);
    RESTORED(ndz);
    RESTORED(systemset);
    RESTORED(offsetset);
    RESTORED(sectorset);
    RESTORED(spinsystemdefined);
    RESTORED(rfpulsedefined);
    RESTORED(offsetsdefined);
    RESTORED(calc);
    RESTORED(pulseflag);
    RESTORED(ap);
    RESTORED(ndw);
    RESTORED(quantnum);
    RESTORED(relspinamp);
    RESTORED(resofreqs);
    RESTORED(jc);
    RESTORED(couplings);
    RESTORED(sectype);
    RESTORED(noti);
    RESTORED(nevo);
    RESTORED(sectdur);
    RESTORED(statoff);
    RESTORED(x0);
    RESTORED(y0);
    RESTORED(z0);
    RESTORED(dx);
    RESTORED(dy);
    RESTORED(dz);
    RESTORED(resultflnm);
    RESTORED(fnames);
    RESTORED(remarks);
    RESTORED(zan_spin_subgroup_count);
    RESTORED(zan_spin_subgroup_labels);
    RESTORED(zan_spin_subgroup_spin_count);
    RESTORED(zan_spin_subgroup_spins);
    RESTORED(zan_spin_subgroup_ppm_count);
    RESTORED(zan_spin_subgroup_ppm);
    RESTORED(zan_gui_b0_tesla);
    RESTORED(zan_gui_receiver_carrier_ppm);
    EXPECT_TRUE(consists_of(rt.Izee, 0x22)); // operators are not put aside
}

TEST_F(RefCheck, RestoringRebuildsTheOperatorsQuietly)
{
    prepare_model();
    rt.rfpulsedefined = rt.offsetsdefined = 0; // what a rebuild would set
    old_state = rt;
    CaptureLegacySnapshot(&snapshot);
    configure_two_spin_half_system(100.0, -40.0, 12.0, 1);
    const Console console = captured([] { RestoreLegacySnapshot(&snapshot); });
    EXPECT_EQ(console.out + console.err, "");
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 0);
    expect_unchanged(old_state, snapshot);
}

TEST_F(RefCheck, WithoutAPreparedSpinSystemNothingIsRebuilt)
{
    prepare_model();
    rt.systemset = 0;
    CaptureLegacySnapshot(&snapshot);
    CMatZero(rt.n, &rt.Izee);
    RestoreLegacySnapshot(&snapshot);
    EXPECT_EQ(maxabs_cmat(rt.n, &rt.Izee), 0.0);
}

// ------------------------------------------------------------------ runner

TEST_F(RefCheck, AFailingSuiteRunsToItsEndAndRestoresTheModel)
{
    prepare_model();
    old_state = rt;
    CaptureLegacySnapshot(&snapshot);
    write_bytes("zan-refcheck-work", "a file where the directory should be");
    EXPECT_EQ(printed(0, ZANModel_RunReferenceChecks),
              "PASS          spin-operator-reference\n"
              "PASS          hamiltonian-reference\n"
              "PASS          weak-two-spin-spectrum-reference\n"
              "FAIL spatgrad  could not create reference directories\n"
              "FAIL split     could not create reference directories\n"
              "FAIL malformed : could not create zan-refcheck-work\n"
              "One or more zanmodel smoke/reference checks failed.\n");
    expect_unchanged(old_state, snapshot);
}
