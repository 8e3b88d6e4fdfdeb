// consoleutil - clearing the console, reading lines, pauses.
#ifndef ZAN_CONSOLEUTIL_H
#define ZAN_CONSOLEUTIL_H

#include <cstddef>

void ConsoleClearHome(void);
void ScreenMode(int mode); // 3 clears the console; every other mode does nothing

// Numbers are read in scanf's manner: blanks and line ends before them are skipped, what follows
// stays for the next read, so answers may be typed ahead on one line. False when no number
// stands there (it stays unread) or at end of input. After 100 failed reads in a row at end of
// input the program ends as by its menu's exit.
bool ConsoleReadInt(int *value);
bool ConsoleReadDouble(double *value);
// A word without blanks, cut to size - 1 characters.
bool ConsoleReadWord(char *word, size_t size);
// A file name, one word. One that does not fit is read and refused: "WHAT: " and the system's text
// for it on the error stream.
bool ConsoleReadName(char *name, size_t size, const char *what);
// Drops the unread rest of a line of which something was read; nothing after a whole line.
void ConsoleDropLine(void);
void ConsoleDropCharacter(void);
bool ConsoleAtEnd(void); // the last read met the end of input

// One line of standard input without its line end (LF or CR LF), cut to size - 1 characters;
// the rest of a longer line is dropped. False at end of input with nothing read.
bool ConsoleReadLine(char *line, size_t size);

// Waits for Enter at a terminal. From a pipe or file it takes the next line only if that line
// is empty, so that scripts with and without a line for the pause both work. Flushes stdout.
void ConsolePause(void);

#endif
