// rfpulseplot - an optimized pulse as a CSV table and a gnuplot script.
#ifndef ZAN_RFPULSEPLOT_H
#define ZAN_RFPULSEPLOT_H

// 1, or 0 after a message on the error stream. h in s; samples are written as they are (rad/s).
int WritePulseCSV(const char *filename, int ap, double h, const double *xb, const double *yb);
int WriteGnuplotPulseScript(const char *gp_name, const char *csv_name);

#endif
