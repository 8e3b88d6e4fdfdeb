// The reference checks that work on files: the spatial run with its result file, the model of
// three files, the malformed models. Files that are wrong, missing or in the way must be told.
#include "zanmodel_refcheck_internal.h"

#include "engine_fixture.h"
#include "platformlib.h"
#include "tempdir.h"

#include <filesystem>

namespace fs = std::filesystem;

using RefCheckFiles = EngineTest;

namespace
{

template <class Check> std::string printed(int expected, Check check)
{
    int result = -1;
    const Console console = captured([&] { result = check(); });
    EXPECT_EQ(result, expected);
    EXPECT_EQ(console.err, "");
    EXPECT_EQ(ZAN_GetSmokeCheckMode(), 0);
    return console.out;
}

// A directory where a file should be written.
void block_file(const std::string &path)
{
    fs::create_directories(path);
}

// The working directory becomes one whose path has this many characters.
void enter_long_directory(size_t length)
{
    const std::string here = fs::current_path().string();
    const std::string deep = here + "/" + std::string(length - here.size() - 1, 'd');
    fs::create_directory(deep);
    fs::current_path(deep);
}

} // namespace

// ------------------------------------------------------------------ fixtures

TEST_F(RefCheckFiles, TheGradientFixtureIsOneSampleOfFiveBlocks)
{
    ASSERT_EQ(write_spatial_gradient_fixture("pulse"), 1);
    EXPECT_EQ(fs::file_size("pulse"), 40u);
    ASSERT_EQ(LoadSpatialSectorPulseFile("pulse", 1), 1);
    EXPECT_DOUBLE_EQ(rt.xb[0] * 1e-5, PI_CONST / 2.0);
    EXPECT_DOUBLE_EQ(rt.gx[0], TWO_PI * 2000.0);
    EXPECT_EQ(rt.yb[0] + rt.gy[0] + rt.gz[0], 0.0);
    EXPECT_EQ(write_spatial_gradient_fixture("missing/pulse"), 0);
}

TEST_F(RefCheckFiles, ADirectoryIsMadeOnceAndMayExist)
{
    EXPECT_EQ(ensure_dir("new"), 1);
    EXPECT_EQ(ensure_dir("new"), 1);
    EXPECT_EQ(ensure_dir("missing/new"), 0); // one level only
    EXPECT_EQ(ensure_dir(""), 0);
    EXPECT_EQ(ensure_dir(nullptr), 0);
    write_bytes("file", "");
    EXPECT_EQ(ensure_dir("file"), 0);
}

TEST_F(RefCheckFiles, PathsAreJoinedOrRefused)
{
    char path[8];
    EXPECT_EQ(join2(path, sizeof path, "abc", "def"), 1);
    EXPECT_EQ(fs::path(path), fs::path("abc") / "def");
    EXPECT_EQ(join2(path, sizeof path, "abcd", "efg"), 0);
    char cwd[4096], small[4];
    EXPECT_EQ(get_cwd_local(cwd, sizeof cwd), 1);
    EXPECT_EQ(fs::path(cwd), fs::current_path());
    EXPECT_EQ(get_cwd_local(small, sizeof small), 0);
}

TEST_F(RefCheckFiles, RemovingAMissingFileIsNoError)
{
    write_bytes("file", "x");
    remove_if_exists("file");
    remove_if_exists("file");
    EXPECT_FALSE(file_is_there("file"));
}

// ------------------------------------------------------------------ spatial run

namespace
{

CMatrix center;
bool has_center;

// The five matrices of the reference run, in result.bin of the working directory.
void run_reference_model(void)
{
    RefModel model;
    ASSERT_EQ(write_spatial_gradient_fixture("pulse"), 1);
    BuildSpatialGradientReferenceCase("pulse", "result.bin", &model);
    EXPECT_EQ(printed(1, [&] { return run_quietly(&model); }),
              "Copied spatial density-matrix result to result.bin\n");
}

std::string result_printed(int expected, const std::string &bytes)
{
    write_bytes("wrong.bin", bytes);
    return printed(
        expected, [] { return CheckSpatialGradientResultFile("wrong.bin", &center, &has_center); });
}

// Changes one part (0 re, 1 im) of element i, j of a voxel, all from 1.
std::string with_element(std::string bytes, int voxel, int i, int j, int part, double value)
{
    const size_t element = (size_t)((voxel - 1) * 16 + (i - 1) * 4 + (j - 1));
    std::memcpy(&bytes[12 + element * 16 + (size_t)part * 8], &value, sizeof value);
    return bytes;
}

std::string with_header(std::string bytes, int field, int32_t value)
{
    std::memcpy(&bytes[(size_t)field * 4], &value, sizeof value);
    return bytes;
}

} // namespace

TEST_F(RefCheckFiles, TheReferenceModelIsAsDescribed)
{
    RefModel model;
    BuildSpatialGradientReferenceCase("the pulse", "the result", &model);
    EXPECT_EQ(model.spin.nspins, 2);
    EXPECT_EQ(model.spin.spin_quantum_numbers[2], 1);
    EXPECT_EQ(model.spin.relative_intensities[2], 1.0);
    EXPECT_EQ(model.spin.resonance_offsets_hz[1], 100.0);
    EXPECT_EQ(model.spin.resonance_offsets_hz[2], -40.0);
    EXPECT_EQ(model.spin.coupling_mode, 1);
    EXPECT_EQ(model.spin.j_hz[1][2], 12.0);
    EXPECT_EQ(model.spin.j_hz[2][1], 12.0);
    EXPECT_EQ(model.seq.sequence_type, 1);
    EXPECT_EQ(model.seq.sector_count, 1);
    const ZANPulseSectorDef &sector = model.seq.sectors[1];
    EXPECT_EQ(sector.sector_type, 1);
    EXPECT_EQ(sector.number_of_timepoints, 1);
    EXPECT_EQ(sector.number_of_evolpoints, 1);
    EXPECT_EQ(sector.total_duration_s, 1e-5);
    EXPECT_EQ(sector.offset_frequency_hz, 0.0);
    EXPECT_STREQ(sector.pulse_filename, "the pulse");
    EXPECT_STREQ(sector.remark, "spatial gradient reference sector");
    EXPECT_EQ(model.cfg.ndx, 5);
    EXPECT_EQ(model.cfg.ndy * model.cfg.ndz, 1);
    EXPECT_EQ(model.cfg.x0_cm, -10.0);
    EXPECT_EQ(model.cfg.dx_cm, 5.0);
    EXPECT_EQ(model.cfg.dy_cm + model.cfg.dz_cm + model.cfg.y0_cm + model.cfg.z0_cm, 0.0);
    EXPECT_STREQ(model.cfg.result_filename, "the result");
    EXPECT_STREQ(model.cfg.model_name, "spatial-gradient-reference");
}

// The one test whose result goes to the results directory beside the test program.
TEST_F(RefCheckFiles, TheSpatialRunPassesTwiceInARow)
{
    for (int run = 1; run <= 2; run++) {
        const std::string out = printed(1, RunSpatialGradientReferenceCase);
        EXPECT_TRUE(out.ends_with("\nPASS          spatial-gradient-reference\n")) << out;
        EXPECT_TRUE(out.starts_with("Copied spatial density-matrix result to ")) << out;
        EXPECT_EQ(count_of(out, "\n"), 2) << out;
    }
    EXPECT_TRUE(file_is_there("zan-refcheck-work/spatial-gradient/rf-output/wave1-excitation"));
    EXPECT_TRUE(file_is_there("zan-refcheck-work/spatial-gradient/models/case.zanmodel"));
}

TEST_F(RefCheckFiles, TheRightResultPassesAndGivesTheCentre)
{
    run_reference_model();
    EXPECT_EQ(result_printed(1, read_text("result.bin")), "");
    ASSERT_TRUE(has_center);
    EXPECT_NEAR(center[1][2][COMPLEX_IM], -0.5, 1e-5);
    EXPECT_EQ(printed(1, [] { return CheckCenterStateSpectrumEqualAmplitudes(&center); }), "");
}

TEST_F(RefCheckFiles, AMissingResultIsTold)
{
    EXPECT_EQ(
        printed(0, [] { return CheckSpatialGradientResultFile("none.bin", &center, &has_center); }),
        "FAIL spatgrad  could not open result file: none.bin\n");
    EXPECT_FALSE(has_center);
}

TEST_F(RefCheckFiles, AWrongHeaderIsToldAndTheMatricesAreStillCompared)
{
    run_reference_model();
    const std::string right = read_text("result.bin");
    EXPECT_EQ(result_printed(0, with_header(right, 0, 1)),
              "FAIL spatgrad  header mismatch: got type=1 n=4 ndw=5 expected 0 4 5\n");
    EXPECT_EQ(result_printed(0, with_header(right, 1, 2)),
              "FAIL spatgrad  header mismatch: got type=0 n=2 ndw=5 expected 0 4 5\n");
    const std::string out =
        result_printed(0, with_header(with_element(right, 2, 1, 1, 1, 0.5), 2, 6));
    for (const char *line : {"header mismatch: got type=0 n=4 ndw=6 expected 0 4 5\n",
                             "trace.im : got ", "hermitian.maxerr : got ", "frobenius : got "})
        EXPECT_EQ(count_of(out, std::string("FAIL spatgrad  ") + line), 1) << out;
    EXPECT_EQ(count_of(out, "\n"), 4) << out;
    EXPECT_TRUE(has_center);
}

TEST_F(RefCheckFiles, ATruncatedResultIsToldByVoxelAndRow)
{
    const char *const no_center =
        "FAIL spatgrad  center voxel was not available for expectation check\n";
    run_reference_model();
    const std::string right = read_text("result.bin");
    ASSERT_EQ(right.size(), 12u + 5 * 256);
    EXPECT_EQ(result_printed(0, right.substr(0, right.size() - 1)),
              "FAIL spatgrad  could not read voxel 5 row 4\n");
    EXPECT_TRUE(has_center);
    EXPECT_EQ(result_printed(0, right.substr(0, 12 + 256 + 64)),
              std::string("FAIL spatgrad  could not read voxel 2 row 2\n") + no_center);
    EXPECT_FALSE(has_center);
    EXPECT_EQ(result_printed(0, right.substr(0, 12)),
              std::string("FAIL spatgrad  could not read voxel 1 row 1\n") + no_center);
    for (const size_t length : {0u, 4u, 11u})
        EXPECT_EQ(result_printed(0, right.substr(0, length)).substr(0, 51),
                  "FAIL spatgrad  could not read result header\nFAIL sp")
            << length;
}

TEST_F(RefCheckFiles, ATrailingByteIsTold)
{
    run_reference_model();
    EXPECT_EQ(result_printed(0, read_text("result.bin") + '\0'),
              "FAIL spatgrad  result file has trailing bytes\n");
}

TEST_F(RefCheckFiles, AWrongElementIsToldByItsVoxel)
{
    run_reference_model();
    const std::string right = read_text("result.bin");
    struct Mutation {
        int voxel, i, j, part;
        const char *line;
    };
    const Mutation mutations[] = {
        {1, 1, 1, 0, "rho voxel1[1,1].re : got 0.75 expected 0.12966277248639121\n"},
        {1, 1, 2, 0, "rho voxel1[1,2].re : got 0.75 expected -0.34839592743525305\n"},
        {1, 1, 2, 1, "rho voxel1[1,2].im : got 0.75 expected -0.35261779534147691\n"},
        {1, 4, 4, 0, "rho voxel1[4,4].re : got 0.75 expected -0.12976384399514077\n"},
        {3, 1, 1, 0, "rho voxel3[1,1].re : got 0.75 expected 2.0850067718604043e-06\n"},
        {3, 4, 4, 0, "rho voxel3[4,4].re : got 0.75 expected -1.9206179415411393e-06\n"},
        {5, 1, 1, 0, "rho voxel5[1,1].re : got 0.75 expected 0.13050208511307385\n"},
        {5, 1, 2, 0, "rho voxel5[1,2].re : got 0.75 expected 0.347538510681552\n"},
        {5, 1, 2, 1, "rho voxel5[1,2].im : got 0.75 expected -0.35360642836991713\n"},
        {5, 4, 4, 0, "rho voxel5[4,4].re : got 0.75 expected -0.13040084707391453\n"},
        {2, 3, 4, 0, "frobenius : got "},
        {4, 2, 1, 1, "hermitian.maxerr : got "},
    };
    for (const Mutation &m : mutations) {
        const std::string out =
            result_printed(0, with_element(right, m.voxel, m.i, m.j, m.part, 0.75));
        EXPECT_EQ(count_of(out, std::string("FAIL spatgrad  ") + m.line), 1) << m.line << out;
    }
}

// Both halves of a pair of elements, so that the matrix stays Hermitian: only Iy of one spin and
// the norm notice.
TEST_F(RefCheckFiles, TheCentreMustBeFullyTurned)
{
    run_reference_model();
    std::string bytes = read_text("result.bin");
    for (const int part : {0, 1}) {
        bytes = with_element(bytes, 3, 1, 2, part, 0.0); // spin 2 flips, spin 1 up
        bytes = with_element(bytes, 3, 2, 1, part, 0.0);
    }
    const std::string out = result_printed(0, bytes);
    EXPECT_EQ(count_of(out, "FAIL spatgrad  center <Iy2>.re : got 0.49999"), 1) << out;
    EXPECT_EQ(count_of(out, " expected 1\n"), 1) << out;
    EXPECT_EQ(count_of(out, "center <Iy1>"), 0) << out;
    EXPECT_EQ(count_of(out, "FAIL spatgrad  frobenius : got 1.2247"), 1) << out;
    EXPECT_EQ(count_of(out, "\n"), 2) << out;
}

TEST_F(RefCheckFiles, AnImaginaryExpectationAtTheCentreFails)
{
    run_reference_model();
    const std::string out =
        result_printed(0, with_element(read_text("result.bin"), 3, 3, 1, 0, 0.25));
    EXPECT_EQ(count_of(out, "FAIL spatgrad  center <Iy1>.im : got "), 1) << out;
    EXPECT_EQ(count_of(out, "center <Iy2>"), 0) << out;
}

TEST_F(RefCheckFiles, MissingAndUnequalLinesOfTheCentreFail)
{
    static CMatrix rho;
    configure_two_spin_half_system(100.0, -40.0, 12.0, 1);
    CMatZero(4, &rho);
    EXPECT_EQ(printed(0, [] { return CheckCenterStateSpectrumEqualAmplitudes(&rho); }),
              "FAIL spatgrad  missing center-state line amplitude at 34 Hz\n"
              "FAIL spatgrad  missing center-state line amplitude at 46 Hz\n"
              "FAIL spatgrad  missing center-state line amplitude at 94 Hz\n"
              "FAIL spatgrad  missing center-state line amplitude at 106 Hz\n");
    rho[2][1][COMPLEX_RE] = 1.0;  // 34 Hz
    rho[4][3][COMPLEX_IM] = -1.0; // 46 Hz
    rho[4][2][COMPLEX_RE] = 0.6;  // 94 Hz
    rho[4][2][COMPLEX_IM] = 0.8;
    rho[3][1][COMPLEX_RE] = 0.5; // 106 Hz
    EXPECT_EQ(printed(0, [] { return CheckCenterStateSpectrumEqualAmplitudes(&rho); }),
              "FAIL spatgrad  equal line amplitude : got 0.25 expected 0.5\n");
    rho[3][1][COMPLEX_RE] = -1.0;
    EXPECT_EQ(printed(1, [] { return CheckCenterStateSpectrumEqualAmplitudes(&rho); }), "");
}

// Every matrix is a possible one, but not that of its place.
TEST_F(RefCheckFiles, VoxelsInAnotherOrderFail)
{
    run_reference_model();
    const std::string right = read_text("result.bin");
    const std::string swapped = right.substr(0, 12) + right.substr(12 + 4 * 256) +
                                right.substr(12 + 256, 3 * 256) + right.substr(12, 256);
    const std::string out = result_printed(0, swapped);
    EXPECT_EQ(count_of(out, "FAIL spatgrad  rho voxel1["), 4) << out;
    EXPECT_EQ(count_of(out, "FAIL spatgrad  rho voxel5["), 4) << out;
    EXPECT_EQ(count_of(out, "\n"), 8) << out;
}

TEST_F(RefCheckFiles, TheResultAndTheSpectrumOfItsCentreMustBothBeRight)
{
    run_reference_model();
    EXPECT_EQ(printed(1, [] { return check_spatial_result("result.bin"); }), "");
    const std::string right = read_text("result.bin");
    write_bytes("wrong.bin", with_element(right, 3, 2, 1, 1, 0.25)); // half of the 34 Hz line
    const std::string out = printed(0, [] { return check_spatial_result("wrong.bin"); });
    EXPECT_EQ(count_of(out, "FAIL spatgrad  equal line amplitude : got "), 3) << out;
    EXPECT_EQ(count_of(out, "center voxel was not available"), 0) << out;
    write_bytes("wrong.bin", right + "x");
    EXPECT_EQ(printed(0, [] { return check_spatial_result("wrong.bin"); }),
              "FAIL spatgrad  result file has trailing bytes\n");
    rt.Izee[1][1][COMPLEX_RE] += 100.0; // shifts the lines of state 1
    EXPECT_EQ(count_of(printed(0, [] { return check_spatial_result("result.bin"); }),
                       "FAIL spatgrad  missing center-state line amplitude at "),
              2);
}

TEST_F(RefCheckFiles, AModelThatCannotBeSavedOrLoadedIsTold)
{
    RefModel model, loaded;
    BuildSpatialGradientReferenceCase(absolute_path("/no/such/pulse").c_str(), "result.bin",
                                      &model);
    EXPECT_EQ(printed(0, [&] { return save_and_reload("case.zanmodel", &model, &loaded); }),
              "FAIL spatgrad  save failed: i/o error (could not derive split output directories "
              "for 'case.zanmodel')\n");
    fs::create_directory("models");
    EXPECT_EQ(
        printed(0, [&] { return save_and_reload("./models/case.zanmodel", &model, &loaded); }),
        std::string("FAIL spatgrad  load failed: parse error (line 10: sector_pulsefile for ") +
            "sector 1 not found; stored absolute path '" + absolute_path("/no/such/pulse") +
            "' does not exist)\n");
}

TEST_F(RefCheckFiles, AModelThatCannotBeActivatedIsToldAndNotRun)
{
    RefModel model;
    BuildSpatialGradientReferenceCase("pulse", "result.bin", &model);
    model.cfg.ndx = 0;
    write_bytes("dm.bin", "kept");
    EXPECT_EQ(printed(0, [&] { return run_quietly(&model); }),
              "FAIL spatgrad  activate failed: range error (ndx=0 is outside 1..256)\n");
    EXPECT_EQ(read_text("dm.bin"), "kept");
}

TEST_F(RefCheckFiles, WhatKeepsTheSpatialCaseFromItsFilesIsTold)
{
    fs::create_directories("zan-refcheck-work/spatial-gradient");
    write_bytes("zan-refcheck-work/spatial-gradient/models", "");
    EXPECT_EQ(printed(0, RunSpatialGradientReferenceCase),
              "FAIL spatgrad  could not create reference directories\n");
    fs::remove("zan-refcheck-work/spatial-gradient/models");
    block_file("zan-refcheck-work/spatial-gradient/rf-output/wave1-excitation");
    EXPECT_EQ(printed(0, RunSpatialGradientReferenceCase),
              "FAIL spatgrad  could not write pulse fixture\n");
}

TEST_F(RefCheckFiles, PathsThatDoNotFitAreTold)
{
    const fs::path here = fs::current_path();
    enter_long_directory(245);
    EXPECT_EQ(printed(0, RunSpatialGradientReferenceCase),
              "FAIL spatgrad  could not build reference paths\n");
    EXPECT_EQ(printed(0, RunSplitCompositionReferenceCase),
              "FAIL split     could not build reference paths\n");
    fs::current_path(here);
    enter_long_directory(190); // directories fit, files do not
    EXPECT_EQ(printed(0, RunSpatialGradientReferenceCase),
              "FAIL spatgrad  could not build reference file paths\n");
    fs::current_path(here);
    enter_long_directory(169);
    EXPECT_EQ(printed(0, RunSplitCompositionReferenceCase),
              "FAIL split     could not build reference file paths\n");
}

// The loader goes through models/.. to the waveform: ten characters more than the file's own path.
TEST_F(RefCheckFiles, AWorkingDirectoryOf158CharactersIsTheLongest)
{
    const fs::path here = fs::current_path();
    enter_long_directory(158);
    captured(RunSplitCompositionReferenceCase);
    RefModel model;
    EXPECT_EQ(
        load_reference_model("zan-refcheck-work/split-composition/models/case.zanmodel", &model),
        ZAN_MODEL_OK)
        << model.error;
    EXPECT_EQ(count_of(printed(1, RunMalformedModelRejectCases), "PASS "), 2);
    fs::current_path(here);
    enter_long_directory(159);
    const std::string out = printed(0, RunSplitCompositionReferenceCase);
    EXPECT_TRUE(out.starts_with("FAIL split     load failed: parse error (line 10: ")) << out;
    EXPECT_EQ(count_of(out, "\n"), 1) << out;
}

// ------------------------------------------------------------------ model of three files

namespace
{

// What the split case loads, with a result as in a program that lies in a directory "build".
void load_split_model(RefModel *model)
{
    captured(RunSplitCompositionReferenceCase);
    ASSERT_EQ(
        load_reference_model("zan-refcheck-work/split-composition/models/case.zanmodel", model),
        ZAN_MODEL_OK)
        << model->error;
    zan_copy_text(model->cfg.result_filename, "/x/build/runtime/results/r.bin");
}

} // namespace

TEST_F(RefCheckFiles, TheSplitModelLoadsWithEveryValue)
{
    RefModel model;
    load_split_model(&model);
    EXPECT_EQ(printed(1, [&] { return check_split_model(&model); }), "");
    EXPECT_EQ(model.spin.resonance_offsets_hz[2], -40.0);
    EXPECT_EQ(model.spin.j_hz[1][2], 12.0);
    EXPECT_EQ(model.seq.sectors[1].total_duration_s, 1e-5);
    EXPECT_STREQ(model.seq.sectors[1].remark, "test");
    EXPECT_EQ(model.cfg.x0_cm, -10.0);
    EXPECT_STREQ(model.cfg.model_name, "split-composition");
}

// Whether the test program lies in a directory "build" decides.
TEST_F(RefCheckFiles, TheSplitCaseNeedsTheResultsDirectoryOfAProgramInBuild)
{
    std::string results;
    ASSERT_TRUE(zan_run_results_dir(&results));
    const std::string resolved = results + plat_separator + "split-composition-result.bin";
    const bool in_build = resolved.find("build/runtime/results") != std::string::npos;
    for (int run = 1; run <= 2; run++)
        EXPECT_EQ(printed(in_build, RunSplitCompositionReferenceCase),
                  in_build ? "PASS          split-composition-reference\n"
                           : "FAIL split     relative result_file did not resolve under build "
                             "runtime results: " +
                                 resolved + "\n");
}

TEST_F(RefCheckFiles, BothSeparatorsMarkTheResultsDirectory)
{
    RefModel model;
    load_split_model(&model);
    zan_copy_text(model.cfg.result_filename, "C:\\x\\build\\runtime\\results\\r.bin");
    EXPECT_EQ(printed(1, [&] { return check_split_model(&model); }), "");
}

TEST_F(RefCheckFiles, EveryWrongValueOfTheSplitModelIsTold)
{
    RefModel model;
    load_split_model(&model);
    model.spin.nspins = 1;
    model.seq.sequence_type = 2;
    model.seq.sector_count = 0;
    model.cfg.ndx = 4;
    zan_copy_text(model.seq.sectors[1].pulse_filename, "gone");
    zan_copy_text(model.cfg.result_filename, "models/r.bin");
    EXPECT_EQ(printed(0, [&] { return check_split_model(&model); }),
              "FAIL split     nspins : got 1 expected 2\n"
              "FAIL split     sequence_type : got 2 expected 1\n"
              "FAIL split     sector_count : got 0 expected 1\n"
              "FAIL split     ndx : got 4 expected 5\n"
              "FAIL split     resolved pulse fixture does not exist: gone\n"
              "FAIL split     relative result_file did not resolve under build runtime results: "
              "models/r.bin\n");
}

TEST_F(RefCheckFiles, WhatKeepsTheSplitCaseFromItsFilesIsTold)
{
    const std::string base = "zan-refcheck-work/split-composition/";
    const char *const blocked[][2] = {
        {"models/case.zanmodel", "could not write model fixture"},
        {"sequences/test-gradient/test-gradient.zanseq", "could not write sequence fixture"},
        {"spin-systems/test-two-spin.zanspin", "could not write spin-system fixture"},
        {"sequences/test-gradient/waveforms/wave1-excitation", "could not write pulse fixture"},
    };
    for (const auto &[file, message] : blocked) {
        fs::remove(base + file);
        block_file(base + file);
        EXPECT_EQ(printed(0, RunSplitCompositionReferenceCase),
                  std::string("FAIL split     ") + message + "\n");
    }
    fs::remove_all(base);
    write_bytes("zan-refcheck-work/split-composition", "");
    EXPECT_EQ(printed(0, RunSplitCompositionReferenceCase),
              "FAIL split     could not create reference directories\n");
}

// ------------------------------------------------------------------ malformed models

TEST_F(RefCheckFiles, MalformedModelsAreRefused)
{
    for (int run = 1; run <= 2; run++)
        EXPECT_EQ(printed(1, RunMalformedModelRejectCases),
                  "PASS          malformed-duplicate-key\n"
                  "PASS          malformed-invalid-sequence-type\n");
    EXPECT_EQ(fs::file_size("zan-refcheck-work/sequences/malformed/waveforms/dummy.bin"), 1u);
}

TEST_F(RefCheckFiles, AMalformedModelThatLoadsFails)
{
    captured(RunMalformedModelRejectCases);
    const std::string path = "zan-refcheck-work/malformed-models/valid.zanmodel";
    std::string text =
        read_text("zan-refcheck-work/malformed-models/invalid-sequence-type.zanmodel");
    text.replace(text.find("invalid.zanseq"), 14, "valid.zanseq");
    write_bytes(path, text);
    EXPECT_EQ(
        printed(0, [&] { return check_model_is_rejected("duplicate-key", path.c_str(), ""); }),
        "FAIL malformed : duplicate-key model unexpectedly loaded\n");
}

TEST_F(RefCheckFiles, AnotherReasonForTheRefusalFails)
{
    EXPECT_EQ(printed(0,
                      [] {
                          return check_model_is_rejected("invalid-sequence-type", "none.zanmodel",
                                                         "sequence_type=9 is invalid");
                      }),
              "FAIL malformed : invalid-sequence-type model failed for unexpected reason\n"
              "      status : i/o error\n"
              "      error  : could not open 'none.zanmodel' for reading\n");
}

TEST_F(RefCheckFiles, WhatKeepsTheMalformedModelsFromBeingMadeIsTold)
{
    const std::string base = "zan-refcheck-work/";
    const char *const blocked[][2] = {
        {"malformed-models/invalid-sequence-type.zanmodel", "invalid-sequence-type.zanmodel"},
        {"sequences/malformed/invalid.zanseq", "invalid.zanseq"},
        {"malformed-models/duplicate-sequence-type.zanmodel", "duplicate-sequence-type.zanmodel"},
        {"sequences/malformed/valid.zanseq", "valid.zanseq"},
        {"spin-systems/malformed.zanspin", "malformed.zanspin"},
        {"sequences/malformed/waveforms/dummy.bin", "dummy pulse file"},
    };
    for (const auto &[file, what] : blocked) {
        fs::remove(base + file);
        block_file(base + file);
        EXPECT_EQ(printed(0, RunMalformedModelRejectCases),
                  std::string("FAIL malformed : could not create ") + what + "\n");
    }
    fs::remove_all(base);
    fs::create_directory(base);
    write_bytes(base + "malformed-models", "");
    EXPECT_EQ(printed(0, RunMalformedModelRejectCases),
              "FAIL malformed : could not create malformed-models directory\n");
}

TEST_F(RefCheckFiles, PathsOfMalformedModelsThatDoNotFitAreTold)
{
    const std::string longest(245, 'w'), shorter(215, 'w');
    EXPECT_EQ(printed(0, [&] { return make_malformed_models(longest.c_str()); }),
              "FAIL malformed : could not build malformed-models path\n");
    EXPECT_EQ(printed(0, [&] { return make_malformed_models(shorter.c_str()); }),
              "FAIL malformed : could not build malformed-model file paths\n");
}
