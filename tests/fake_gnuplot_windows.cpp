// fake_gnuplot_windows.cpp - the program that tests start in place of gnuplot.
#include <cstdio>

int main(int argc, char **argv)
{
    FILE *out = std::fopen("args.part", "wb");
    if (!out)
        return 1;
    for (int i = 1; i < argc; i++)
        std::fprintf(out, "%s\n", argv[i]);
    return std::fclose(out) == 0 && std::rename("args.part", "args") == 0 ? 0 : 1;
}
