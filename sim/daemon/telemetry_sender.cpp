#include "daemon/telemetry_sender.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>

#include "daemon/telemetry_document.h"

namespace sim {

namespace {

using Curl = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Headers = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

// A send that takes longer than this is a failure; it then waits its retry like any other.
constexpr long kSendTimeoutSeconds = 20;
constexpr int kMaxRetryShift = 16;

size_t DiscardBody(char *, size_t size, size_t count, void *) {
    return size * count;
}

}  // namespace

TelemetrySender::TelemetrySender(HsmContext &hsm, int intervalSeconds, std::string caFile)
    : hsm_(hsm), intervalSeconds_(intervalSeconds), caFile_(std::move(caFile)) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
}

TelemetrySender::~TelemetrySender() {
    Stop();
    curl_global_cleanup();
}

void TelemetrySender::Start() {
    thread_ = std::thread([this] { Run(); });
}

void TelemetrySender::Stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
}

bool TelemetrySender::StopWithin(int seconds) {
    std::unique_lock lock(mutex_);
    return wake_.wait_for(lock, std::chrono::seconds(seconds), [this] { return stopping_; });
}

void TelemetrySender::Run() {
    int failures = 0;
    int delay = intervalSeconds_;
    while (!StopWithin(delay)) {
        const std::optional<CloudBinding> binding = hsm_.cloud.Binding();
        delay = intervalSeconds_;
        if (!binding) {
            failures = 0;
            continue;
        }
        std::string error;
        if (Post(binding->telemetryUrl, TelemetryDocument(hsm_, *binding), &error)) {
            failures = 0;
            continue;
        }
        hsm_.log.Write("telemetry to " + binding->telemetryUrl + " failed: " + error);
        delay = std::min(intervalSeconds_, 1 << std::min(failures, kMaxRetryShift));
        ++failures;
    }
}

bool TelemetrySender::Post(const std::string &url, const std::string &document,
                           std::string *error) {
    Curl curl(curl_easy_init(), &curl_easy_cleanup);
    Headers headers(curl_slist_append(nullptr, "Content-Type: application/json"),
                    &curl_slist_free_all);
    if (!curl || !headers) {
        *error = "out of memory";
        return false;
    }
    char message[CURL_ERROR_SIZE] = {};
    CURL *c = curl.get();
    curl_easy_setopt(c, CURLOPT_URL, url.c_str());
    curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(c, CURLOPT_TIMEOUT, kSendTimeoutSeconds);
    curl_easy_setopt(c, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(c, CURLOPT_POSTFIELDS, document.c_str());
    curl_easy_setopt(c, CURLOPT_POSTFIELDSIZE, static_cast<long>(document.size()));
    curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, DiscardBody);
    curl_easy_setopt(c, CURLOPT_ERRORBUFFER, message);
    curl_easy_setopt(c, CURLOPT_FAILONERROR, 1L);
    if (!caFile_.empty()) curl_easy_setopt(c, CURLOPT_CAINFO, caFile_.c_str());
    const CURLcode code = curl_easy_perform(c);
    if (code == CURLE_OK) return true;
    *error = message[0] != '\0' ? message : curl_easy_strerror(code);
    return false;
}

}  // namespace sim
