#include "works.h"

static void write_old(const Tree &tree, const std::vector<std::string> &outputs)
{
    for (const std::string &output : outputs)
        write_file(tree_path(tree, output), "old");
}

// ------------------------------------------------------------------ runs

Work run_of(Family family, unsigned used, int lines)
{
    Work work;
    work.outputs = {"build/runtime/results/small.bin"};
    work.prepare = [=](const Tree &tree) {
        write_small_model(tree, family, used, lines);
        write_old(tree, work.outputs);
    };
    work.args = {"--run-model", "TREE/models/small.zanmodel"};
    return work;
}

Expected expected_of_run(Family family, const Tree &tree, int lines)
{
    Expected expected =
        undisturbed_small([=](unsigned used) { return run_of(family, used, lines); }, tree);
    if (family == ROWS) // with a sector that failed no result is written
        expected.good = undisturbed(run_of(ROWS), tree).good;
    return expected;
}

Work spectra_of(unsigned used)
{
    Work work = run_of(ROWS, used);
    work.args.clear();
    work.typed = "3\n1\n\n2\n2\n\n"
                 "4\n2\n4\n0.016\n-100\n2\nout\nn\n\n"
                 "4\n1\n16\n0.016\n0\n1\nout.wave\n\n7\n6\n";
    for (const char *name : {"out_td.csv", "out_fd.csv", "out_fd.csv.gp", "out.wave"})
        work.outputs.push_back(std::string("build/runtime/") + name);
    work.prepare = [=](const Tree &tree) {
        write_small_model(tree, ROWS, used);
        write_old(tree, work.outputs);
    };
    return work;
}

Work expectations_of(unsigned used)
{
    Work work = run_of(SPATIAL, used);
    work.args.clear();
    work.typed = "3\n1\n\n2\n2\n\n3\n1\n1\nix\n1\ntable.txt\n\n7\n6\n";
    work.outputs.push_back("build/runtime/table.txt");
    work.prepare = [=](const Tree &tree) {
        write_small_model(tree, SPATIAL, used);
        write_old(tree, work.outputs);
    };
    return work;
}

// The density matrices that a run of the small spatial model leaves.
static std::string spatial_densities(void)
{
    const Tree tree;
    const Work work = run_of(SPATIAL);
    work.prepare(tree);
    run_under(work, tree, {});
    return read_file(tree_path(tree, work.outputs[0]));
}

static Work evaluation_of(const std::string &densities, const std::string &mode,
                          const std::string &what)
{
    Work work;
    work.outputs = {"out"};
    work.prepare = [=](const Tree &tree) {
        write_small_model(tree, SPATIAL);
        write_file(tree_path(tree, "density_matrices/small.bin"), densities);
        write_old(tree, work.outputs);
    };
    work.args = {mode, "TREE/models/small.zanmodel", "TREE/density_matrices/small.bin", what,
                 "TREE/out"};
    work.exit_code_tells = true;
    return work;
}

Work expectation_profile(void)
{
    return evaluation_of(spatial_densities(), "--expectation-profile", "Ix");
}

Work voxel_signal(void)
{
    return evaluation_of(spatial_densities(), "--voxel-signal", "3");
}

// ------------------------------------------------------------------ preparation

// The first model is replaced by the second.
Work export_over_another_model(void)
{
    Work work;
    work.outputs = {"models/one.zanmodel", "spin-systems/one.zanspin", "sequences/one/one.zanseq"};
    work.prepare = [](const Tree &tree) {
        write_one_spin_model(tree, "one", 1);
        write_small_model(tree, ROWS);
    };
    work.typed = "3\n2\n\n4\none\n1\n\n6\n";
    return work;
}

// A pulse of 45 degrees is optimized, written as a table and put back into the sequence.
Work optimization(void)
{
    Work work;
    work.outputs = {"sequences/one/waveforms/pulse.bin", "build/runtime/best.csv",
                    "build/runtime/best.csv.gp"};
    work.prepare = [=](const Tree &tree) {
        write_one_spin_model(tree, "one", 2);
        std::vector<double> pulse(8, 0.0);
        for (size_t k = 0; k < 4; k++)
            pulse[k] = 0.25 * 3.141592653589793 / 0.001;
        write_doubles(tree_path(tree, work.outputs[0]), pulse);
        write_old(tree, {work.outputs[1], work.outputs[2]});
    };
    work.searches = true;
    work.typed = "3\n1\n\n2\n5\n1\n1\n1\nIy\n1\n1\n1\nbest.csv\n1\n\n7\n6\n";
    return work;
}

// The checks load models of their own; what is saved is the one that was loaded before.
Work export_after_reference_checks(void)
{
    Work work = export_over_another_model();
    work.typed = "3\n2\n\n5\n\n4\none\n1\n\n6\n";
    return work;
}

// A spatial sequence of two sectors, typed from the first question on.
Work composition(void)
{
    Work work;
    work.outputs = {"rf-output/slice_s01.bin", "rf-output/p2.bin"};
    work.prepare = [=](const Tree &tree) { write_old(tree, work.outputs); };
    work.typed = "2\n1\n1\n2\n" // the run menu's composer, a new spatial sequence
                 "2\n1\n1\n1\n0\n"
                 "3\n5\n-1\n0.5\n1\n0\n0\n1\n0\n0\n"
                 "4\nslice.bin\n"
                 "1\n1\n1\n1\n0\n1 0\n1 0\n1 0\nslice\n\n90x\n"
                 "1\n2\n5\n10\n25\n1 40\n1 0\n1 0\np2.bin\ndephase\n"
                 "6\n7\n6\n";
    return work;
}
