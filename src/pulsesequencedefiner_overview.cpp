// pulsesequencedefiner_overview.cpp - which sectors of a spatial sequence there are and what is
// to be done next. Sectors may be defined in any order; gaps are told as missing.
#include "pulsesequencedefiner_internal.h"

#include <algorithm>
#include <cstdio>

static bool has_note(int s)
{
    return rt.remarks[s][0] != '\0' && rt.remarks[s][0] != ' ';
}

bool ps_spatial_sector_is_defined(int s)
{
    if (s < 1 || s > ZAN_MAX_SECTORS)
        return false;
    return rt.noti[s] >= 1 || rt.sectdur[s] > 0.0 || rt.fnames[s][0] != '\0' || has_note(s);
}

int ps_count_defined_spatial_sectors(void)
{
    int count = 0;
    for (int s = 1; s <= ZAN_MAX_SECTORS; s++)
        count += ps_spatial_sector_is_defined(s);
    return count;
}

int ps_next_spatial_sector_to_define(void)
{
    for (int s = 1; s <= ZAN_MAX_SECTORS; s++)
        if (!ps_spatial_sector_is_defined(s))
            return s;
    return ZAN_MAX_SECTORS;
}

// The sectors 1..last that are defined, or those that are not, on the rest of a line.
static void print_sector_numbers(int last, bool defined)
{
    const char *separator = "";
    for (int s = 1; s <= last; s++) {
        if (ps_spatial_sector_is_defined(s) != defined)
            continue;
        std::printf("%s%d", separator, s);
        separator = ", ";
    }
    std::printf("%s\n", *separator ? "" : "<none>");
}

void ps_print_defined_spatial_sector_overview(void)
{
    ps_print_heading("Sector overview:");
    std::printf("Defined sectors : ");
    print_sector_numbers(ZAN_MAX_SECTORS, true);
    if (rt.nos > 0) {
        std::printf("Missing sectors : ");
        print_sector_numbers(std::min<int>(rt.nos, ZAN_MAX_SECTORS), false);
    }
    std::printf("Next suggested sector number : %d\n", ps_next_spatial_sector_to_define());
}

void ps_print_spatial_sequence_guidance(void)
{
    ps_print_heading("Suggested next step:");
    if (rt.Nspins < 1 || !rt.systemset)
        std::printf("Define or review the spin system first.\n");
    else if (!rt.offsetset)
        std::printf("Define or review the global spatial grid.\n");
    else if (ps_count_defined_spatial_sectors() > 0)
        std::printf("Define the next sector, save the current model, or run it from the main "
                    "menu.\n");
    else
        std::printf("Define sector %d first.\n", ps_next_spatial_sector_to_define());
}

static void print_sector_summary(int number, int s)
{
    std::printf("%d) Sector %d\n", number, s);
    std::printf("   Time intervals   : %d\n", rt.noti[s]);
    std::printf("   Duration         : %.3E [ms]\n", rt.sectdur[s] * 1000.0);
    std::printf("   RF/gradient file : %s\n", rt.fnames[s][0] ? rt.fnames[s] : "<unset>");
    std::printf("   Offset frequency : %.3E [Hz]\n", rt.statoff[s]);
    if (has_note(s))
        std::printf("   Remark           : %s\n", rt.remarks[s]);
}

void ps_print_spatial_sector_summaries(void)
{
    int number = 0;
    ps_print_heading("Defined sector summaries:");
    for (int s = 1; s <= ZAN_MAX_SECTORS; s++)
        if (ps_spatial_sector_is_defined(s))
            print_sector_summary(++number, s);
    if (number == 0)
        std::printf("No sectors are defined yet.\n");
}
