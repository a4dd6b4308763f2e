#include "daemon/telemetry_document.h"

#include <cstdio>

#include "platform/machine_stats.h"

namespace sim {

namespace {

std::string JsonString(const std::string &text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out.push_back('\\');
            out.push_back(static_cast<char>(c));
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out + "\"";
}

std::string Number(uint64_t value) {
    return std::to_string(value);
}

}  // namespace

std::string TelemetryDocument(HsmContext &hsm, const CloudBinding &binding) {
    const MemoryFigures memory = ReadMemory();
    const StorageFigures storage = ReadStorage(hsm.hardware.dataDir);
    return "{\"serial\":" + JsonString(hsm.identity.serial) +
           ",\"firmware\":" + JsonString(hsm.identity.firmware) +
           ",\"model\":" + JsonString(hsm.identity.model) +
           ",\"account\":" + JsonString(binding.account) +
           ",\"time\":" + Number(static_cast<uint64_t>(hsm.clock.Now())) +
           ",\"sessions\":" + Number(hsm.sessions.size()) +
           ",\"cpu_percent\":" + Number(CpuPercentSinceLastCall()) +
           ",\"memory_kib\":{\"total\":" + Number(memory.totalKib) +
           ",\"used\":" + Number(memory.usedKib) + "}" +
           ",\"storage_bytes\":{\"total\":" + Number(storage.totalBytes) +
           ",\"free\":" + Number(storage.freeBytes) + "}" +
           ",\"log_bytes\":" + Number(static_cast<uint64_t>(hsm.events.State().size)) + "}";
}

}  // namespace sim
