#include "daemon/hardware_sensors.h"

#include <filesystem>
#include <fstream>

namespace sim {

namespace {

namespace fs = std::filesystem;

std::string FirstLine(const fs::path &path) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    return line;
}

// The first file named `name` in a directory under `root`, or "".
std::string FirstReading(const fs::path &root, const std::string &name) {
    std::error_code ec;
    for (const fs::directory_entry &entry : fs::directory_iterator(root, ec)) {
        std::string value = FirstLine(entry.path() / name);
        if (!value.empty()) return value;
    }
    return {};
}

std::string Battery() {
    std::error_code ec;
    for (const fs::directory_entry &entry : fs::directory_iterator("/sys/class/power_supply", ec)) {
        if (FirstLine(entry.path() / "type") != "Battery") continue;
        std::string status = FirstLine(entry.path() / "status");
        std::string capacity = FirstLine(entry.path() / "capacity");
        return (status.empty() ? "present" : status) +
               (capacity.empty() ? "" : ", " + capacity + "%");
    }
    return "no battery sensor";
}

std::string Fan() {
    std::string rpm = FirstReading("/sys/class/hwmon", "fan1_input");
    return rpm.empty() ? "no fan sensor" : rpm + " rpm";
}

std::string Temperature() {
    std::string milli = FirstReading("/sys/class/thermal", "temp");
    if (milli.empty()) return "no temperature sensor";
    try {
        return std::to_string(std::stol(milli) / 1000) + " C";
    } catch (const std::exception &) {
        return "unreadable temperature sensor";
    }
}

}  // namespace

std::vector<std::pair<std::string, std::string>> ReadHardwareSensors() {
    return {{"battery", Battery()}, {"fan", Fan()}, {"temperature", Temperature()}};
}

}  // namespace sim
