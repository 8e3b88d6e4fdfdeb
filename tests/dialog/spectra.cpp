// Spectra from the run menu: average and separate, every export, what ends the dialogs.
#include "fake_gnuplot.h"
#include "sessions.h"

namespace
{

// Imports the model, runs it and opens the run menu's choice 4; behind the answers two menus are
// left. Some answers end a dialog early; then what is left of them ends the menus.
const std::string run_first = "3\n1\n\n2\n2\n\n4\n";
const std::string leave = "\n\n7\n6\n";

std::string runtime_file(const Tree &tree, const std::string &name)
{
    return read_file(tree_path(tree, "build/runtime/" + name));
}

} // namespace

TEST(Spectra, WithoutASpinSystemThereAreNone)
{
    const Tree tree;
    EXPECT_TRUE(session_matches(tree, "spectra_without_spins", "2\n4\n\n7\n6\n"));
}

TEST(Spectra, WithoutARunThereAreNone)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    EXPECT_TRUE(session_matches(tree, "spectra_without_run",
                                "3\n1\n\n2\n4\n1\n\n4\n2\n16\n0.016\n0\n\n7\n6\n"));
}

TEST(Spectra, TheAverageIsExportedForPvWave)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    const std::string session = run_first + "1\n16\n0.016\n0\n1\nout.wave" + leave;
    EXPECT_TRUE(session_matches(tree, "spectra_average_pv_wave", session));
    EXPECT_EQ(runtime_file(tree, "out.wave").size(), 1024u + 16u * 16u);
    EXPECT_EQ(runtime_file(tree, "zansign.bin").size(), 12u + 16u * 16u);
    EXPECT_TRUE(session_matches(tree, "spectra_average_pv_wave", with_crlf(session)));
}

TEST(Spectra, SeparateSignalsAreExportedAsCsv)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    const FakeGnuplot gnuplot(tree_path(tree, "bin"));
    EXPECT_TRUE(session_matches(tree, "spectra_separate_csv",
                                run_first + "2\n4\n0.016\n-100\n2\nout\nn" + leave));
    EXPECT_EQ(runtime_file(tree, "out_td.csv").substr(0, 23), "t_s,f2_index,re,im,mag\n");
    EXPECT_NE(runtime_file(tree, "out_fd.csv.gp").find("plot \"out_fd.csv\" using 1:3"),
              std::string::npos);
    EXPECT_EQ(runtime_file(tree, "args"), "");
}

TEST(Spectra, AYesStartsGnuplotOnTheScript)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    const FakeGnuplot gnuplot(tree_path(tree, "bin"));
    EXPECT_TRUE(session_matches(tree, "spectra_separate_csv",
                                run_first + "2 4 0.016 -100 2 out y" + leave));
    EXPECT_EQ(arguments_of_gnuplot(tree_path(tree, "build/runtime")), "-persist\nout_fd.csv.gp\n");
}

// Neither the shell nor gnuplot sees a command in a name.
TEST(Spectra, ANameIsOnlyAName)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    const FakeGnuplot gnuplot(tree_path(tree, "bin"));
    EXPECT_TRUE(session_matches(tree, "spectra_strange_name",
                                run_first + "2 4 0.016 0 2 -e`touch\"x\";$(y)%s y" + leave));
    EXPECT_EQ(arguments_of_gnuplot(tree_path(tree, "build/runtime")),
              "-persist\n./-e`touch\"x\";$(y)%s_fd.csv.gp\n");
    EXPECT_NE(runtime_file(tree, "-e`touch\"x\";$(y)%s_fd.csv.gp")
                  .find("plot \"-e\\`touch\\\"x\\\";$(y)%s_fd.csv\" using"),
              std::string::npos);
}

TEST(Spectra, AMissingGnuplotIsReported)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    const ProgramPath nowhere("/missing");
    EXPECT_TRUE(session_matches(tree, "spectra_missing_gnuplot",
                                run_first + "2 4 0.016 0 2 out y" + leave));
}

TEST(Spectra, WhatIsNoNumberIsTheAverage)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    EXPECT_TRUE(session_matches(tree, "spectra_no_number",
                                run_first + "average please\n16\n0.016\n0\n3\n" + leave));
}

TEST(Spectra, AFailedAnswerGoesBackToTheMenu)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    EXPECT_TRUE(session_matches(tree, "spectra_failed_answer",
                                run_first + "2\nmany\n\n4\n1\n16\nlong\n\n4\n2\n16\n0.016\n0\nx\n" +
                                    leave));
}

TEST(Spectra, TheInputMayEndAnywhere)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    EXPECT_TRUE(session_matches(tree, "spectra_end_of_input", run_first + "2\n16\n0.016\n"));
}

TEST(Spectra, AFileThatCannotBeWrittenIsReported)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    EXPECT_TRUE(session_matches(tree, "spectra_cannot_write",
                                run_first + "2 4 0.016 0 2 missing/out" + leave));
}

TEST(Spectra, MoreThan64StatesHaveNoAverage)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    write_file(tree_path(tree, "spin-systems/one.zanspin"),
               "format_version: 1\nnspins: 7\nspin_quantum_numbers: 1 1 1 1 1 1 1\n"
               "relative_intensities: 1 1 1 1 1 1 1\nresonance_offsets_hz: 0 0 0 0 0 0 0\n"
               "coupling_mode: 2\n");
    EXPECT_TRUE(session_matches(tree, "spectra_too_many_states", "3\n1\n\n2\n4\n1\n" + leave));
}

// The remark of the pulse announces a band: every multiplet gets its file beside the result.
TEST(Spectra, ARunWritesItsMultiplets)
{
    const Tree tree;
    write_one_spin_model(tree, "one", 2);
    const std::string sequence = tree_path(tree, "sequences/one/one.zanseq");
    const std::string model = tree_path(tree, "models/one.zanmodel");
    write_file(sequence, replaced(read_file(sequence), "sector_remark: 1 90x",
                                  "sector_remark: 1 slowEdit[sech offsetHz=0 mu=4 beta=800]"));
    write_file(model, replaced(read_file(model), "one.bin", "one_slow_td.bin"));
    write_file(tree_path(tree, "spin-systems/one.zanspin"),
               "format_version: 1\nnspins: 2\nspin_quantum_numbers: 1 1\n"
               "relative_intensities: 1 1\nresonance_offsets_hz: 100 -50\ncoupling_mode: 1\n"
               "jcoupling_hz: 1 2 8\n");
    const std::string results = "<TREE>/build/runtime/results/";
    const std::string text = menu_session(tree, "3\n1\n\n2\n2\n\n7\n6\n");
    EXPECT_NE(text.find("SLOW multiplet-resolved files:\n"
                        "  multiplet 100.000 Hz -> " +
                        results +
                        "one-[100.0Hz]_slow_td.bin\n"
                        "  multiplet -50.000 Hz -> " +
                        results +
                        "one-[-50.0Hz]_slow_td.bin\n"
                        "Wrote complex receiver signal to " +
                        results + "one_slow_td.bin (samples=16, acquisition=0.016 s)\n"),
              std::string::npos)
        << text;
    for (const char *name : {"one-[100.0Hz]_slow_td.bin", "one-[-50.0Hz]_slow_td.bin"})
        EXPECT_EQ(read_file(tree_path(tree, std::string("build/runtime/results/") + name)).size(),
                  12u + 16u * 16u);
}
