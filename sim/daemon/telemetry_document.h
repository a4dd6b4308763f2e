#pragma once
// The status document a bound HSM sends to its telemetry URL: one JSON object,
//   {"serial":"OV00000001","firmware":"5.1.0.0","model":"ORV-9000","account":"acme",
//    "time":1795000000,"sessions":2,"cpu_percent":7,
//    "memory_kib":{"total":8000000,"used":1200000},
//    "storage_bytes":{"total":100000000000,"free":50000000000},"log_bytes":4096}
// with the time in seconds since 1970 (UTC) and the storage that of the data directory.

#include <string>

#include "service/hsm_context.h"
#include "store/cloud_store.h"

namespace sim {

std::string TelemetryDocument(HsmContext &hsm, const CloudBinding &binding);

}  // namespace sim
