#pragma once
// Several simulators forming one replication domain on one machine: each on its own loopback
// address, all on the port of the first, every later one made from the first one's data
// directory. The addresses are drawn at random in 127/8 so that parallel tests do not meet.

#include <signal.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "sim_process.h"

class SimDomain {
  public:
    // `count` nodes, none of them in another's list yet. Short pulses keep the tests quick.
    explicit SimDomain(size_t count, std::vector<std::string> extraArgs = {"--repl-pulse", "1",
                                                                           "--repl-recovery", "1"})
        : extraArgs_(std::move(extraArgs)) {
        std::random_device random;
        base_ = "127." + std::to_string(1 + random() % 250) + "." + std::to_string(random() % 250) +
                ".";
        for (size_t i = 0; i < count; ++i)
            AddProcess();
    }

    // One more node on the domain's port, from the first node's data directory (or, with
    // `foreign`, a fresh one with its own master key).
    SimProcess &AddProcess(bool foreign = false) {
        SimProcess::Options options;
        options.host = base_ + std::to_string(2 + nodes_.size());
        options.extraArgs = extraArgs_;
        options.extraArgs.push_back("--serial");
        options.extraArgs.push_back("OVNODE000" + std::to_string(nodes_.size()));
        if (!nodes_.empty()) {
            options.port = nodes_.front()->port();
            if (!foreign) options.joinDataDir = nodes_.front()->dataDir();
        }
        nodes_.push_back(std::make_unique<SimProcess>(options));
        return *nodes_.back();
    }

    SimProcess &operator[](size_t i) { return *nodes_[i]; }
    size_t size() const { return nodes_.size(); }
    uint16_t port() const { return nodes_.front()->port(); }

    void Pause(size_t i) { ::kill(nodes_[i]->pid(), SIGSTOP); }
    void Resume(size_t i) { ::kill(nodes_[i]->pid(), SIGCONT); }

  private:
    std::vector<std::string> extraArgs_;
    std::string base_;
    std::vector<std::unique_ptr<SimProcess>> nodes_;
};
