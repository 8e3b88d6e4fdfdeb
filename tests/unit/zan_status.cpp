// zan_status.cpp - what the status prints say about models in every state of readiness.
#include "engine_fixture.h"

#include <cmath>
#include <cstring>

using Status = EngineTest;

namespace
{

// A model that is ready, of either family, with two sectors.
void prepare_model(int family)
{
    std::memset(&rt, 0, sizeof rt);
    init();
    rt.Nspins = 2;
    rt.systemset = 1;
    rt.sequencetype = family;
    rt.nos = 2;
    rt.sectorset = 1;
    for (int s = 1; s <= 2; s++) {
        rt.sectype[s] = rt.noti[s] = rt.nevo[s] = 1;
        std::strcpy(rt.fnames[s], "pulse.bin");
    }
    rt.offsetset = 1;
}

std::string run_status(void)
{
    const std::vector<std::string> lines =
        lines_with(captured(PrintNonInteractiveStatus).out, "  run status       : ");
    return lines.size() == 1 ? lines[0].substr(21) : "not one line";
}

std::string first_sector(int family, int type)
{
    prepare_model(family);
    rt.sectype[1] = type;
    const std::vector<std::string> lines =
        lines_with(captured(PrintNonInteractiveStatus).out, "  first sector     : ");
    return lines.size() == 1 ? lines[0].substr(21) : "not one line";
}

struct StatusCase {
    int family;
    void (*change)(void);
    const char *status;
};

const char spins_missing[] = "incomplete (spin system missing)";
const char sectors_missing[] = "incomplete (sequence sectors missing)";
const char first_incomplete[] = "incomplete (sector 1 is incomplete)";
const char second_incomplete[] = "incomplete (sector 2 is incomplete)";
const char grid_missing[] = "incomplete (spatial grid missing)";

const StatusCase status_cases[] = {
    {1, [] {}, "ready"},
    {2, [] {}, "ready"},
    {1, [] { rt.Nspins = 0; }, spins_missing},
    {1, [] { rt.systemset = 0; }, spins_missing},
    {0, [] {}, "incomplete (sequence family not selected)"},
    {-1, [] {}, "incomplete (sequence family not selected)"},
    {2, [] { rt.nos = 0; }, sectors_missing},
    {2, [] { rt.sectorset = 0; }, sectors_missing},
    {1, [] { rt.noti[1] = 0; }, first_incomplete},
    {1, [] { rt.fnames[2][0] = '\0'; }, second_incomplete},
    {1, [] { rt.statoff[2] = NAN; }, second_incomplete},
    {1, [] { rt.sectype[1] = 99; }, "ready"},
    {1, [] { rt.nevo[1] = 0; }, "ready"},
    {2, [] { rt.noti[2] = -1; }, second_incomplete},
    {2, [] { rt.fnames[1][0] = '\0'; }, first_incomplete},
    {2, [] { rt.statoff[1] = NAN; }, "ready"},
    {2, [] { rt.sectype[1] = 0; }, first_incomplete},
    {2, [] { rt.sectype[2] = 3; }, second_incomplete},
    {2, [] { rt.sectype[2] = 2; }, "ready"},
    {2, [] { rt.nevo[2] = 0; }, second_incomplete},
    {2, [] { rt.nevo[1] = rt.nevo[2] = 0; }, first_incomplete},
    {3, [] {}, "incomplete (unknown sequence family)"},
    {3, [] { rt.noti[2] = 0; }, second_incomplete},
    {1, [] { rt.ndx = 0; }, grid_missing},
    {1, [] { rt.ndy = -1; }, grid_missing},
    {1, [] { rt.ndz = 0; }, grid_missing},
    {1, [] { rt.offsetset = 0; }, grid_missing},
    {2, [] { rt.ndx = rt.offsetset = 0; }, "ready"},
    // the first that applies
    {0, [] { rt.Nspins = rt.nos = 0; }, spins_missing},
    {0, [] { rt.nos = 0; }, "incomplete (sequence family not selected)"},
    {1, [] { rt.sectorset = rt.noti[1] = 0; }, sectors_missing},
    {1, [] { rt.offsetset = rt.noti[2] = 0; }, second_incomplete},
};

} // namespace

TEST_F(Status, TheFirstThingThatIsMissingIsNamed)
{
    for (const StatusCase &c : status_cases) {
        prepare_model(c.family);
        c.change();
        EXPECT_EQ(run_status(), c.status) << "case " << &c - status_cases;
    }
}

TEST_F(Status, TheFirstSectorIsLabelledByItsFamily)
{
    EXPECT_EQ(first_sector(2, 0), "<unset>");
    EXPECT_EQ(first_sector(2, 1), "normal sector (1)");
    EXPECT_EQ(first_sector(2, 2), "evolution sector (2)");
    EXPECT_EQ(first_sector(2, 3), "<unknown> (3)");
    EXPECT_EQ(first_sector(2, -1), "<unknown>");
    EXPECT_EQ(first_sector(1, 0), "<unset>");
    EXPECT_EQ(first_sector(1, 1), "hard pulse (1)");
    EXPECT_EQ(first_sector(1, 6), "waiting time / free precession (6)");
    EXPECT_EQ(first_sector(1, 7), "<unknown> (7)");
    EXPECT_EQ(first_sector(3, 2), "AM pulse (2)");
}

TEST_F(Status, OfAPreparedModelNamesEverything)
{
    prepare_model(2);
    std::strcpy(rt.resultflnm, "out %s.bin");
    const Console run = captured(PrintNonInteractiveStatus);
    EXPECT_EQ(run.out, "Current model state:\n"
                       "  Nspins           : 2\n"
                       "  sequence family  : 1D/2D NMR (2)\n"
                       "  sequence sectors : 2\n"
                       "  first sector     : normal sector (1)\n"
                       "  result file      : out %s.bin\n"
                       "  run status       : ready\n"
                       "\n");
    const Console prepare = captured(PrintPrepareStatus);
    EXPECT_EQ(prepare.out, "Current model state:\n"
                           "  Nspins           : 2\n"
                           "  sequence family  : 1D/2D NMR (2)\n"
                           "  sequence sectors : 2\n"
                           "  result file      : out %s.bin\n"
                           "\n");
    EXPECT_EQ(run.err + prepare.err, "");
}

TEST_F(Status, OfNothingSaysWhatIsNotPrepared)
{
    EXPECT_EQ(captured(PrintNonInteractiveStatus).out,
              "Current model state:\n"
              "  Nspins           : 0\n"
              "  sequence family  : <unset>\n"
              "  sequence sectors : 0\n"
              "  result file      : <unset>\n"
              "  run status       : incomplete (spin system missing)\n"
              "  spin system      : <none prepared>\n"
              "  pulse sequence   : <none prepared>\n"
              "\n");
    EXPECT_EQ(captured(PrintPrepareStatus).out, "Current model state:\n"
                                                "  Nspins           : 0\n"
                                                "  sequence family  : <unset>\n"
                                                "  sequence sectors : 0\n"
                                                "  result file      : <unset>\n"
                                                "  spin system      : <none prepared>\n"
                                                "  pulse sequence   : <none prepared>\n"
                                                "\n");
}

TEST_F(Status, AnUnknownFamilyKeepsItsNumber)
{
    prepare_model(3);
    EXPECT_EQ(lines_with(captured(PrintPrepareStatus).out, "family")[0],
              "  sequence family  : <unknown> (3)");
    rt.sequencetype = -4;
    EXPECT_EQ(lines_with(captured(PrintPrepareStatus).out, "family")[0],
              "  sequence family  : <unknown>");
}

// ---------------------------------------------------------------------------------- summary

TEST_F(Status, TheSummaryListsEveryValue)
{
    prepare_model(1);
    set_spins({{1, 3}, {1.0, 1.0 / 3.0}, {-355.504915, 1e-13}, 2, {}});
    rt.n = 8;
    rt.Jcount = 1;
    rt.couplings[1] = 6.933;
    rt.ndx = 64;
    rt.x0 = -1.575;
    rt.dx = 0.05;
    rt.y0 = rt.z0 = 1e9;
    rt.dz = -2.5;
    rt.noti[1] = 256;
    rt.sectdur[1] = 0.00256;
    EXPECT_EQ(captured(PrintCurrentModelSummary).out,
              "========================================\n"
              " Current Model Summary\n"
              "========================================\n"
              "\n"
              "Model state:\n"
              "  Nspins           : 2\n"
              "  sequence family  : spatial resolved (1)\n"
              "  sequence sectors : 2\n"
              "  result file      : <unset>\n"
              "Spin system:\n"
              "  Hilbert size n   : 8\n"
              "  spin quantum numbers : 1 3\n"
              "  relative intensities : 1 0.333333333333\n"
              "  resonance offsets [Hz] : -355.504915 1e-13\n"
              "  coupling mode    : 2\n"
              "  J-coupling 1    : 6.933 Hz\n"
              "Spatial grid:\n"
              "  ndx              : 64\n"
              "  ndy              : 1\n"
              "  ndz              : 1\n"
              "  x0 [cm]          : -1.575\n"
              "  dx [cm]          : 0.05\n"
              "  y0 [cm]          : 1000000000\n"
              "  dy [cm]          : 0\n"
              "  z0 [cm]          : 1000000000\n"
              "  dz [cm]          : -2.5\n"
              "Sequence overview:\n"
              "  sector 1 : timepoints=256  duration=0.00256 s  file=pulse.bin\n"
              "  sector 2 : timepoints=1  duration=0 s  file=pulse.bin\n");
}
