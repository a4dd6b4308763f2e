#pragma once
// Runs a program under a pseudo-terminal, as an operator would at a terminal, so that
// prompts with echo switched off behave as they do for real. The terminal leaves "\n"
// alone on output, so checks are on the exact bytes the program wrote plus the echo of
// what was typed.
// Not thread-safe: one test thread drives an instance.

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

class PtyDriver {
  public:
    using Duration = std::chrono::milliseconds;
    static constexpr Duration kDefaultTimeout{20000};

    // Starts `program` with `args` (argv[1...]) and the current environment plus `env`
    // entries of the form "NAME=value". A failure to start fails the test.
    PtyDriver(const std::string &program, const std::vector<std::string> &args,
              const std::vector<std::string> &env = {});
    // Kills the program when it is still running.
    ~PtyDriver();

    PtyDriver(const PtyDriver &) = delete;
    PtyDriver &operator=(const PtyDriver &) = delete;

    // Waits until `text` appears in the output after the point the previous Expect matched.
    // Returns false and adds a test failure with the output so far on timeout or exit.
    bool Expect(const std::string &text, Duration timeout = kDefaultTimeout);
    // Writes `text` to the program's terminal, as typed. Each Send must follow its own
    // Expect (or SendSecret's wait): typing twice without waiting for a prompt in between
    // fails the test, since the console flushes input typed ahead at its menus.
    void Send(const std::string &text);
    // Waits until the program has switched echo off (a secret prompt discards what was typed
    // before), then types `text`. Fails the test on timeout.
    void SendSecret(const std::string &text, Duration timeout = kDefaultTimeout);
    // Waits for the program to end and returns its exit status (0-255), or -1 when it did
    // not end in time or was killed by a signal; reads all remaining output.
    int WaitExit(Duration timeout = kDefaultTimeout);

    // Everything the terminal showed so far.
    std::string Output() const { return output_; }

  private:
    // Reads what is available within `timeout`; returns false when the terminal closed.
    bool ReadSome(Duration timeout);

    pid_t pid_ = -1;
    int master_ = -1;
    std::string output_;
    size_t matched_ = 0;
    bool promptSeen_ = false;
    int status_ = -1;
};
