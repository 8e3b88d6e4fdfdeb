// consoleutil - clearing the console, reading lines, pauses.
#ifndef ZAN_CONSOLEUTIL_H
#define ZAN_CONSOLEUTIL_H

#include <cstddef>

void ConsoleClearHome(void);
void ScreenMode(int mode); // 3 clears the console; every other mode does nothing

// One line of standard input without its line end (LF or CR LF), cut to size - 1 characters;
// the rest of a longer line is dropped. False at end of input with nothing read.
bool ConsoleReadLine(char *line, size_t size);

// Waits for Enter at a terminal. From a pipe or file it takes the next line only if that line
// is empty, so that scripts with and without a line for the pause both work. Flushes stdout.
void ConsolePause(void);

#endif
