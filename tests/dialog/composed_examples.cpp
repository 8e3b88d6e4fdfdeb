// composed_examples.cpp - the example sequences that the composer made: composing them again by
// script gives the same files, and their runs do what their names say.
#include "run_program.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

const char *const names[] = {"spin-echo", "adiabatic-inversion", "spiral-excitation"};

// A tree into which the script has composed the examples.
class ComposedExamples : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        tree = new Tree;
        const std::string command = "bash '" ZAN_SOURCE_DIR "/tools/compose_examples.sh' '" +
                                    tree_path(*tree, "") + "' '" ZAN_BINARY_DIR "/zan'";
        composed = std::system(command.c_str()) == 0;
    }

    static void TearDownTestSuite() { delete tree; }

    void SetUp() override { ASSERT_TRUE(composed); }

    static Tree *tree;
    static bool composed;
};

Tree *ComposedExamples::tree;
bool ComposedExamples::composed;

std::string contents(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<double> samples(const fs::path &path)
{
    const std::string bytes = contents(path);
    std::vector<double> values(bytes.size() / sizeof(double));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
    return values;
}

void expect_same_samples(const fs::path &a, const fs::path &b)
{
    const std::vector<double> first = samples(a), second = samples(b);
    ASSERT_FALSE(first.empty()) << a;
    ASSERT_EQ(first.size(), second.size()) << a;
    double largest = 0.0;
    for (double v : first)
        largest = std::fmax(largest, std::fabs(v));
    for (size_t k = 0; k < first.size(); k++)
        EXPECT_NEAR(first[k], second[k], 1e-12 * largest) << a << " sample " << k;
}

struct Point {
    double x, y, value;
};

// Runs the model and evaluates one operator at every position.
std::vector<Point> profile(const Tree &tree, const std::string &name, const char *op)
{
    const std::string model = tree_path(tree, "models/" + name + ".zanmodel");
    const std::string result = tree_path(tree, "build/runtime/results/" + name + ".bin");
    const std::string table = tree_path(tree, name + ".csv");
    EXPECT_EQ(run_zan(tree, {"--run-model", model}).exit_code, 0);
    EXPECT_EQ(run_zan(tree, {"--expectation-profile", model, result, op, table}).exit_code, 0);
    std::vector<Point> points;
    std::istringstream lines(contents(table));
    for (std::string line; std::getline(lines, line);) {
        Point p;
        if (std::sscanf(line.c_str(), "%*d,%lf,%lf,%*f,%lf", &p.x, &p.y, &p.value) == 3)
            points.push_back(p);
    }
    return points;
}

} // namespace

TEST_F(ComposedExamples, AreTheFilesOfTheCheckout)
{
    const fs::path here = tree_path(*tree, ""), checkout = ZAN_SOURCE_DIR;
    for (const std::string name : names) {
        for (const std::string &file :
             {"models/" + name + ".zanmodel", "spin-systems/" + name + ".zanspin",
              "sequences/" + name + "/" + name + ".zanseq"}) {
            EXPECT_FALSE(contents(here / file).empty()) << file;
            EXPECT_EQ(contents(here / file), contents(checkout / file)) << file;
        }
        for (const auto &entry : fs::directory_iterator(here / "sequences" / name / "waveforms"))
            expect_same_samples(entry.path(), checkout / "sequences" / name / "waveforms" /
                                                  entry.path().filename());
    }
}

TEST_F(ComposedExamples, TheEchoRefocusesOffsetAndGradient)
{
    const std::vector<Point> points = profile(*tree, "spin-echo", "Iy");
    ASSERT_EQ(points.size(), 16u);
    for (const Point &p : points)
        EXPECT_NEAR(p.value, 1.0, 1e-4) << p.x;
}

TEST_F(ComposedExamples, TheAdiabaticPulseInvertsItsBand)
{
    const std::vector<Point> points = profile(*tree, "adiabatic-inversion", "Iz");
    ASSERT_EQ(points.size(), 64u);
    for (const Point &p : points) {
        if (std::fabs(p.x) < 0.6) {
            EXPECT_LT(p.value, -0.99) << p.x;
        } else if (std::fabs(p.x) > 1.4) {
            EXPECT_GT(p.value, 0.98) << p.x;
        }
    }
}

TEST_F(ComposedExamples, TheSpiralExcitesAGaussianDisc)
{
    const std::vector<Point> points = profile(*tree, "spiral-excitation", "Iy");
    ASSERT_EQ(points.size(), 441u);
    for (const Point &p : points) {
        const double expected = std::sin(0.5) * std::exp(-(p.x * p.x + p.y * p.y) / 4.0);
        EXPECT_NEAR(p.value, expected, 0.05) << p.x << ' ' << p.y;
    }
}
