// What the spatial editor tells about the sectors, gaps included.
#include "pulsesequencedefiner.h"
#include "zan.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

static std::string captured(void (*print)(void))
{
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
}

struct SpatialOverview : testing::Test {
    void SetUp() override
    {
        rt.nos = 0;
        for (int s = 0; s <= ZAN_MAX_SECTORS; s++) {
            rt.noti[s] = 0;
            rt.sectdur[s] = rt.statoff[s] = 0.0;
            rt.fnames[s][0] = rt.remarks[s][0] = '\0';
        }
        rt.Nspins = 1;
        rt.systemset = rt.offsetset = 1;
    }
};

static void define_sectors(int first, int last)
{
    for (int s = first; s <= last; s++)
        rt.noti[s] = 1;
}

TEST_F(SpatialOverview, ASectorIsDefinedByAnyOfItsEntries)
{
    EXPECT_FALSE(ps_spatial_sector_is_defined(3));
    rt.noti[3] = 1;
    EXPECT_TRUE(ps_spatial_sector_is_defined(3));
    rt.noti[3] = 0;
    rt.sectdur[3] = 1e-9;
    EXPECT_TRUE(ps_spatial_sector_is_defined(3));
    rt.sectdur[3] = 0.0;
    std::snprintf(rt.fnames[3], sizeof rt.fnames[3], "a.bin");
    EXPECT_TRUE(ps_spatial_sector_is_defined(3));
    rt.fnames[3][0] = '\0';
    std::snprintf(rt.remarks[3], sizeof rt.remarks[3], "note");
    EXPECT_TRUE(ps_spatial_sector_is_defined(3));
}

TEST_F(SpatialOverview, ANoteThatBeginsWithABlankOrANegativeEntryDefinesNothing)
{
    std::snprintf(rt.remarks[3], sizeof rt.remarks[3], " note");
    rt.noti[3] = -5;
    rt.sectdur[3] = -1.0;
    rt.statoff[3] = 100.0;
    EXPECT_FALSE(ps_spatial_sector_is_defined(3));
}

TEST_F(SpatialOverview, OnlySectorsOneToTwentyExist)
{
    rt.noti[0] = 1;
    EXPECT_FALSE(ps_spatial_sector_is_defined(0));
    EXPECT_FALSE(ps_spatial_sector_is_defined(-1));
    EXPECT_FALSE(ps_spatial_sector_is_defined(21));
    EXPECT_EQ(ps_count_defined_spatial_sectors(), 0);
}

TEST_F(SpatialOverview, TheNextSectorIsTheLowestThatIsNotDefined)
{
    EXPECT_EQ(ps_next_spatial_sector_to_define(), 1);
    define_sectors(1, 2);
    rt.noti[4] = 1;
    EXPECT_EQ(ps_count_defined_spatial_sectors(), 3);
    EXPECT_EQ(ps_next_spatial_sector_to_define(), 3);
    define_sectors(1, 20);
    EXPECT_EQ(ps_count_defined_spatial_sectors(), 20);
    EXPECT_EQ(ps_next_spatial_sector_to_define(), 20);
}

TEST_F(SpatialOverview, AnEmptySequenceHasNothingMissing)
{
    EXPECT_EQ(captured(ps_print_defined_spatial_sector_overview),
              "Sector overview:\n----------------\nDefined sectors : <none>\n"
              "Next suggested sector number : 1\n");
}

TEST_F(SpatialOverview, SectorFiveFirstLeavesFourMissing)
{
    rt.noti[5] = 10;
    rt.nos = 5;
    EXPECT_EQ(captured(ps_print_defined_spatial_sector_overview),
              "Sector overview:\n----------------\nDefined sectors : 5\n"
              "Missing sectors : 1, 2, 3, 4\nNext suggested sector number : 1\n");
}

TEST_F(SpatialOverview, NothingIsMissingWithoutGaps)
{
    define_sectors(1, 3);
    rt.nos = 3;
    EXPECT_EQ(captured(ps_print_defined_spatial_sector_overview),
              "Sector overview:\n----------------\nDefined sectors : 1, 2, 3\n"
              "Missing sectors : <none>\nNext suggested sector number : 4\n");
}

TEST_F(SpatialOverview, MissingSectorsEndAtTwenty)
{
    define_sectors(1, 19);
    rt.nos = 25;
    const std::string text = captured(ps_print_defined_spatial_sector_overview);
    EXPECT_NE(text.find("Missing sectors : 20\n"), std::string::npos) << text;
}

TEST_F(SpatialOverview, GuidanceGivesTheFirstStepThatIsOpen)
{
    const std::string heading = "Suggested next step:\n--------------------\n";
    EXPECT_EQ(captured(ps_print_spatial_sequence_guidance), heading + "Define sector 1 first.\n");
    rt.noti[2] = 1;
    EXPECT_EQ(captured(ps_print_spatial_sequence_guidance),
              heading + "Define the next sector, save the current model, or run it from the main "
                        "menu.\n");
    rt.offsetset = 0;
    EXPECT_EQ(captured(ps_print_spatial_sequence_guidance),
              heading + "Define or review the global spatial grid.\n");
    rt.systemset = 0;
    EXPECT_EQ(captured(ps_print_spatial_sequence_guidance),
              heading + "Define or review the spin system first.\n");
    rt.systemset = 1;
    rt.Nspins = 0;
    EXPECT_EQ(captured(ps_print_spatial_sequence_guidance),
              heading + "Define or review the spin system first.\n");
}

TEST_F(SpatialOverview, SummariesCountTheDefinedSectors)
{
    const std::string heading = "Defined sector summaries:\n-------------------------\n";
    EXPECT_EQ(captured(ps_print_spatial_sector_summaries),
              heading + "No sectors are defined yet.\n");
    rt.noti[2] = 100;
    rt.sectdur[2] = 0.0025;
    rt.statoff[2] = -12.5;
    std::snprintf(rt.fnames[2], sizeof rt.fnames[2], "/rf/a.bin");
    std::snprintf(rt.remarks[2], sizeof rt.remarks[2], "100%% %%s");
    rt.noti[7] = 1;
    std::snprintf(rt.remarks[7], sizeof rt.remarks[7], " hidden");
    EXPECT_EQ(captured(ps_print_spatial_sector_summaries),
              heading + "1) Sector 2\n"
                        "   Time intervals   : 100\n"
                        "   Duration         : 2.500E+00 [ms]\n"
                        "   RF/gradient file : /rf/a.bin\n"
                        "   Offset frequency : -1.250E+01 [Hz]\n"
                        "   Remark           : 100% %s\n"
                        "2) Sector 7\n"
                        "   Time intervals   : 1\n"
                        "   Duration         : 0.000E+00 [ms]\n"
                        "   RF/gradient file : <unset>\n"
                        "   Offset frequency : 0.000E+00 [Hz]\n");
}
