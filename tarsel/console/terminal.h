#pragma once
// The console's only door to the terminal. Every prompt, menu and picker reads and writes
// through CurrentTerminal(), so tests can script the keyboard and capture both streams.
//
// Thread safety: the console is single-threaded; the current terminal is process-wide.

#include <cstddef>

class Terminal {
  public:
    virtual ~Terminal() = default;

    // Reads one line like fgets: at most capacity - 1 bytes, the newline kept when it fits,
    // always terminated. Returns false when nothing at all could be read.
    // REQUIRES: capacity >= 2.
    virtual bool ReadLine(char *buffer, size_t capacity) = 0;

    // Reads one byte; returns -1 at end of input.
    virtual int ReadChar() = 0;

    // Switches echo off (line mode stays on), discarding input typed ahead. Returns false,
    // with the terminal untouched, when the settings cannot be read or changed.
    virtual bool BeginSecretEntry() = 0;
    // Puts back the settings saved by a successful BeginSecretEntry.
    virtual void EndSecretEntry() = 0;

    // Drops keystrokes typed before a menu was shown.
    virtual void DiscardPendingInput() = 0;

    virtual void WriteOut(const char *data, size_t length) = 0;
    virtual void WriteErr(const char *data, size_t length) = 0;
    virtual void FlushOut() = 0;

    // Clears the screen as the system's "clear" command does.
    virtual void ClearScreen() = 0;
};

// The terminal in use: the process's own standard streams unless a test installed another.
Terminal &CurrentTerminal();

// Installs `terminal` (not owned; must outlive its use) or, with nullptr, the real one.
void SetTerminal(Terminal *terminal);

// printf-style output on standard output and standard error of the current terminal.
void OutPrintf(const char *format, ...) __attribute__((format(printf, 1, 2)));
void ErrPrintf(const char *format, ...) __attribute__((format(printf, 1, 2)));
