#pragma once
// A terminal for tests: input comes from a script, both output streams are captured, and
// secret entry can be made to fail. Install it with ScopedTerminal.

#include <cstdio>
#include <string>
#include <utility>

#include "console/terminal.h"

class ScriptedTerminal final : public Terminal {
  public:
    explicit ScriptedTerminal(std::string input = "") : input_(std::move(input)) {}

    bool ReadLine(char *buffer, size_t capacity) override {
        if (position_ >= input_.size()) return false;
        size_t n = 0;
        while (n + 1 < capacity && position_ < input_.size()) {
            char c = input_[position_++];
            buffer[n++] = c;
            if (c == '\n') break;
        }
        buffer[n] = '\0';
        return true;
    }

    int ReadChar() override {
        if (position_ >= input_.size()) return -1;
        return static_cast<unsigned char>(input_[position_++]);
    }

    bool BeginSecretEntry() override {
        if (failSecretEntry) return false;
        echoOff = true;
        return true;
    }
    void EndSecretEntry() override {
        echoOff = false;
        ++secretEntries;
    }

    void DiscardPendingInput() override {}
    void WriteOut(const char *data, size_t length) override { out.append(data, length); }
    void WriteErr(const char *data, size_t length) override {
        err.append(data, length);
        if (copyErrToProcess) fwrite(data, 1, length, stderr);
    }
    void FlushOut() override {}
    void ClearScreen() override { out += "<clear>"; }

    // What the script has not consumed yet.
    std::string Remaining() const { return input_.substr(position_); }

    std::string out;
    std::string err;
    bool failSecretEntry = false;
    // Also writes standard error to the process's own, for tests of a process that ends.
    bool copyErrToProcess = false;
    bool echoOff = false;
    int secretEntries = 0;

  private:
    std::string input_;
    size_t position_ = 0;
};

// Installs a terminal for the lifetime of the scope.
class ScopedTerminal {
  public:
    explicit ScopedTerminal(Terminal *terminal) { SetTerminal(terminal); }
    ~ScopedTerminal() { SetTerminal(nullptr); }
    ScopedTerminal(const ScopedTerminal &) = delete;
    ScopedTerminal &operator=(const ScopedTerminal &) = delete;
};
