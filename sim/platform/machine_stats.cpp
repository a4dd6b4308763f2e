#include "platform/machine_stats.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <mutex>
#include <sstream>

namespace sim {

namespace {

struct CpuTimes {
    uint64_t busy = 0;
    uint64_t total = 0;
};

// The first line of /proc/stat: user nice system idle iowait irq softirq steal ...
CpuTimes ReadCpuTimes() {
    std::ifstream stat("/proc/stat");
    std::string label;
    stat >> label;
    CpuTimes times;
    if (label != "cpu") return times;
    uint64_t field = 0;
    for (int i = 0; i < 8 && stat >> field; ++i) {
        times.total += field;
        if (i != 3 && i != 4) times.busy += field;  // idle and iowait are not busy
    }
    return times;
}

}  // namespace

uint32_t SaturateTo32(uint64_t value) {
    return static_cast<uint32_t>(std::min<uint64_t>(value, std::numeric_limits<uint32_t>::max()));
}

MemoryFigures ReadMemory() {
    std::ifstream meminfo("/proc/meminfo");
    std::string line;
    uint64_t total = 0, available = 0, swapTotal = 0, swapFree = 0;
    while (std::getline(meminfo, line)) {
        std::istringstream fields(line);
        std::string name;
        uint64_t value = 0;
        if (!(fields >> name >> value)) continue;
        if (name == "MemTotal:")
            total = value;
        else if (name == "MemAvailable:")
            available = value;
        else if (name == "SwapTotal:")
            swapTotal = value;
        else if (name == "SwapFree:")
            swapFree = value;
    }
    MemoryFigures figures;
    figures.totalKib = total;
    figures.usedKib = total > available ? total - available : 0;
    figures.swapTotalKib = swapTotal;
    figures.swapUsedKib = swapTotal > swapFree ? swapTotal - swapFree : 0;
    return figures;
}

uint32_t CpuPercentSinceLastCall() {
    static std::mutex mutex;
    static CpuTimes previous;
    const CpuTimes now = ReadCpuTimes();
    std::lock_guard lock(mutex);
    const uint64_t total = now.total - previous.total;
    const uint64_t busy = now.busy - previous.busy;
    previous = now;
    if (now.total == 0 || total == 0) return 0;
    return static_cast<uint32_t>(busy * 100 / total);
}

uint32_t LoadAverageHundredths() {
    std::ifstream loadavg("/proc/loadavg");
    double oneMinute = 0;
    if (!(loadavg >> oneMinute) || oneMinute < 0) return 0;
    return static_cast<uint32_t>(oneMinute * 100 + 0.5);
}

StorageFigures ReadStorage(const std::string &path) {
    struct statvfs fs {};
    if (::statvfs(path.c_str(), &fs) != 0) return {};
    return {uint64_t(fs.f_blocks) * fs.f_frsize, uint64_t(fs.f_bavail) * fs.f_frsize};
}

uint64_t FileSize(const std::string &path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? uint64_t(st.st_size) : 0;
}

}  // namespace sim
