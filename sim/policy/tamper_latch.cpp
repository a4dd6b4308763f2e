#include "policy/tamper_latch.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace sim {

namespace {

std::string LatchPath(const std::string &dataDir) {
    return dataDir + "/tamper.latch";
}

}  // namespace

bool TamperLatched(const std::string &dataDir) {
    return std::ifstream(LatchPath(dataDir)).good();
}

void SetTamperLatch(const std::string &dataDir, bool tampered) {
    const std::string path = LatchPath(dataDir);
    if (tampered) {
        if (!std::ofstream(path).good()) throw std::runtime_error("cannot write " + path);
        return;
    }
    if (std::remove(path.c_str()) != 0 && errno != ENOENT)
        throw std::runtime_error("cannot remove " + path);
}

}  // namespace sim
