#pragma once
// Starts an orvena-sim for one test on an ephemeral port with its own temporary data
// directory, and removes both again. Not thread-safe: one test thread drives an instance.

#include <sys/resource.h>
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

class SimProcess {
  public:
    struct Options {
        std::string stderrPath = {};  // the daemon's diagnostics, appended; "" = ours
        std::string initPassword = "Operator#12345";
        std::vector<std::string> extraArgs = {};  // e.g. {"--firmware", "5.0.34.99"}
        // Where to listen: nodes of one replication domain share a port, each on its own
        // loopback address. Port 0 picks a free one.
        std::string host = "127.0.0.1";
        uint16_t port = 0;
        // The data directory of a node to join: the new one starts as its copy (simctl init
        // --join) with its own identity.
        std::string joinDataDir = {};
    };

    SimProcess();
    // Starts the simulator and waits for its ready line; a timeout fails the test and
    // leaves port() at 0.
    explicit SimProcess(Options options);
    // Stops the simulator (SIGTERM) and removes the data directory.
    ~SimProcess();

    SimProcess(const SimProcess &) = delete;
    SimProcess &operator=(const SimProcess &) = delete;

    uint16_t port() const { return port_; }
    uint16_t discoveryPort() const { return discoveryPort_; }
    // The EFT daemon's host-command port; 0 unless started with --eftd-listen.
    uint16_t eftdPort() const { return eftdPort_; }
    const std::string &dataDir() const { return dataDir_; }
    pid_t pid() const { return pid_; }
    const std::string &initPassword() const { return options_.initPassword; }

    const std::string &host() const { return options_.host; }

    // SIGTERM (and SIGCONT, for a stopped one), then waits; returns the exit status (-1 when
    // none was running). Idempotent.
    int Stop();
    // SIGKILL, then waits.
    void Kill();
    // Starts again on the same data directory; the ports may change unless one was given.
    void Restart();
    // A file-size limit stands in for a full disk: the simulator's writes past `bytes` fail as
    // they would on one (it ignores SIGXFSZ). Only the soft limit moves, so that it can move
    // back (RLIM_INFINITY) without privileges.
    void LimitFileSize(rlim_t bytes);

    // Runs orvena-simctl --data <dir> <args...>; returns its exit status, stdout in *out.
    int Simctl(const std::vector<std::string> &args, std::string *out = nullptr) const;

  private:
    void Start();
    bool TryStart(uint16_t discoveryPort);
    int Wait();

    Options options_;
    std::string dataDir_;
    pid_t pid_ = -1;
    int stdoutFd_ = -1;
    uint16_t port_ = 0;
    uint16_t discoveryPort_ = 0;
    uint16_t eftdPort_ = 0;
};
