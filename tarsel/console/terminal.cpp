#include "console/terminal.h"

#include <stdio_ext.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <vector>

namespace {

// Settings to put back if a signal ends the process while echo is off; written before the
// handlers are installed, so the handler only reads them.
struct termios gSavedSettings;
volatile sig_atomic_t gSettingsSaved = 0;

constexpr int kRestoringSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

extern "C" void RestoreTerminalAndDie(int signalNumber) {
    if (gSettingsSaved) tcsetattr(STDIN_FILENO, TCSANOW, &gSavedSettings);
    signal(signalNumber, SIG_DFL);
    raise(signalNumber);
}

class ProcessTerminal final : public Terminal {
  public:
    bool ReadLine(char *buffer, size_t capacity) override {
        return fgets(buffer, static_cast<int>(capacity), stdin) != nullptr;
    }

    int ReadChar() override {
        int c = getchar();
        return c == EOF ? -1 : c;
    }

    bool BeginSecretEntry() override {
        if (tcgetattr(STDIN_FILENO, &gSavedSettings) != 0) return false;
        struct termios quiet = gSavedSettings;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        gSettingsSaved = 1;
        // Control+C ends the program; it must not leave the user's shell without echo.
        struct sigaction restoring = {};
        restoring.sa_handler = RestoreTerminalAndDie;
        sigemptyset(&restoring.sa_mask);
        for (size_t i = 0; i < std::size(kRestoringSignals); ++i) {
            sigaction(kRestoringSignals[i], &restoring, &previousActions_[i]);
        }
        if (tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) != 0) {
            RestoreSignalActions();
            return false;
        }
        return true;
    }

    void EndSecretEntry() override {
        tcsetattr(STDIN_FILENO, TCSANOW, &gSavedSettings);
        RestoreSignalActions();
    }

    void DiscardPendingInput() override {
        // Only a keyboard types ahead by mistake; piped input is meant to be read.
        if (!isatty(STDIN_FILENO)) return;
        __fpurge(stdin);
        tcflush(STDIN_FILENO, TCIFLUSH);
    }

    void WriteOut(const char *data, size_t length) override { fwrite(data, 1, length, stdout); }

    void WriteErr(const char *data, size_t length) override {
        // Keeps messages in the order they were written when stdout is not a terminal.
        fflush(stdout);
        fwrite(data, 1, length, stderr);
    }

    void FlushOut() override { fflush(stdout); }

    void ClearScreen() override {
        fflush(stdout);
        // Without a working "clear" the old screen simply stays; nothing to report.
        if (std::system("clear") != 0) return;
    }

  private:
    void RestoreSignalActions() {
        for (size_t i = 0; i < std::size(kRestoringSignals); ++i) {
            sigaction(kRestoringSignals[i], &previousActions_[i], nullptr);
        }
        gSettingsSaved = 0;
    }

    struct sigaction previousActions_[std::size(kRestoringSignals)] = {};
};

ProcessTerminal gProcessTerminal;
Terminal *gCurrent = &gProcessTerminal;

__attribute__((format(printf, 2, 0))) void WriteFormatted(bool toErr, const char *format,
                                                          va_list args) {
    va_list measure;
    va_copy(measure, args);
    int needed = vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (needed <= 0) return;
    std::vector<char> text(static_cast<size_t>(needed) + 1);
    vsnprintf(text.data(), text.size(), format, args);
    if (toErr) {
        gCurrent->WriteErr(text.data(), static_cast<size_t>(needed));
    } else {
        gCurrent->WriteOut(text.data(), static_cast<size_t>(needed));
    }
}

}  // namespace

Terminal &CurrentTerminal() {
    return *gCurrent;
}

void SetTerminal(Terminal *terminal) {
    gCurrent = terminal != nullptr ? terminal : &gProcessTerminal;
}

void OutPrintf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    WriteFormatted(false, format, args);
    va_end(args);
}

void ErrPrintf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    WriteFormatted(true, format, args);
    va_end(args);
}
