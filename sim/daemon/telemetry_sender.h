#pragma once
// Sends the status document (telemetry_document.h) to the telemetry URL of the HSM's cloud
// binding by HTTPS POST, every interval while the HSM is bound, from a thread of its own so
// that no session ever waits for the cloud. A failed send is written to the diagnostic log
// and retried after 1, 2, 4, ... seconds, never later than the interval. Unbinding stops the
// sends at the next tick.

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "service/hsm_context.h"

namespace sim {

class TelemetrySender {
  public:
    // `hsm` must outlive the sender. caFile: PEM CA certificates for the server's
    // certificate; "" = the system's.
    TelemetrySender(HsmContext &hsm, int intervalSeconds, std::string caFile);
    ~TelemetrySender();
    TelemetrySender(const TelemetrySender &) = delete;
    TelemetrySender &operator=(const TelemetrySender &) = delete;

    void Start();
    // Returns once the thread has ended; a send under way ends within its timeout.
    void Stop();

  private:
    void Run();
    // True when the document arrived with a 2xx answer; otherwise *error says why.
    bool Post(const std::string &url, const std::string &document, std::string *error);
    // Waits `seconds` or until Stop; true when stopping.
    bool StopWithin(int seconds);

    HsmContext &hsm_;
    const int intervalSeconds_;
    const std::string caFile_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace sim
