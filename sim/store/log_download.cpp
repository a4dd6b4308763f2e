#include "store/log_download.h"

#include <fcntl.h>
#include <minizip/zip.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace sim {

namespace {

// Bytes read from the store per step while zipping.
constexpr int64_t kZipReadBytes = 1 << 20;

// The fastest level: the archive exists to shorten the transfer, and deflating must keep up
// with it.
constexpr int kZipLevel = 1;

zip_fileinfo MemberInfo(int64_t now) {
    zip_fileinfo info{};
    auto time = static_cast<std::time_t>(now);
    std::tm utc{};
    gmtime_r(&time, &utc);
    info.tmz_date = {static_cast<uInt>(utc.tm_sec),  static_cast<uInt>(utc.tm_min),
                     static_cast<uInt>(utc.tm_hour), static_cast<uInt>(utc.tm_mday),
                     static_cast<uInt>(utc.tm_mon),  static_cast<uInt>(utc.tm_year + 1900)};
    return info;
}

// A ZIP being written to a path: closed (and its path removed by the caller) on every exit.
class ZipWriter {
  public:
    explicit ZipWriter(const std::string &path)
        : zip_(zipOpen64(path.c_str(), APPEND_STATUS_CREATE)) {
        if (zip_ == nullptr) throw std::runtime_error("cannot create the log archive");
    }
    ~ZipWriter() {
        if (zip_ != nullptr) zipClose(zip_, nullptr);
    }
    ZipWriter(const ZipWriter &) = delete;
    ZipWriter &operator=(const ZipWriter &) = delete;

    // Adds one member whose bytes `fill` hands over, piece by piece, through Write.
    template <class Fill>
    void Member(const char *name, int64_t size, Fill &&fill) {
        zip_fileinfo info = MemberInfo(std::time(nullptr));
        Check(zipOpenNewFileInZip64(zip_, name, &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                                    kZipLevel, size >= 0xFFFFFFFFll ? 1 : 0));
        fill();
        Check(zipCloseFileInZip(zip_));
    }
    void Write(const std::string &bytes) {
        Check(zipWriteInFileInZip(zip_, bytes.data(), static_cast<unsigned>(bytes.size())));
    }
    void Close() {
        zipFile zip = zip_;
        zip_ = nullptr;
        Check(zipClose(zip, nullptr));
    }

  private:
    static void Check(int status) {
        if (status != ZIP_OK) throw std::runtime_error("writing the log archive failed");
    }

    zipFile zip_;
};

// Writes the archive of `selector` and returns it opened for reading, its path already gone.
int BuildZip(EventLog &events, const RawLogState &state, int32_t selector) {
    std::string path = (std::filesystem::temp_directory_path() / "orvena-log-XXXXXX").string();
    int created = ::mkstemp(path.data());
    if (created < 0) throw std::runtime_error("cannot create the log archive");
    ::close(created);
    try {
        ZipWriter zip(path);
        zip.Member(kLogMemberName, state.size, [&] {
            std::string piece;
            for (int64_t offset = 0; offset < state.size; offset += kZipReadBytes) {
                piece.clear();
                if (events.ReadFrom(offset, state.anchor.seq, state.size, kZipReadBytes, &piece) <
                    0)
                    throw std::runtime_error("the log was cleared while it was zipped");
                zip.Write(piece);
            }
        });
        if (selector == kLogZippedPackage)
            zip.Member(kHardwareLogMemberName, 0, [&] {
                events.ForEachHardwareLine([&](const std::string &line) { zip.Write(line); });
            });
        zip.Close();
    } catch (...) {
        ::unlink(path.c_str());
        throw;
    }
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ::unlink(path.c_str());
    if (fd < 0) throw std::runtime_error("cannot read the log archive");
    return fd;
}

}  // namespace

LogDownload::LogDownload(const RawLogState &state)
    : end_(state.size), anchorSeq_(state.anchor.seq) {}

LogDownload::~LogDownload() {
    if (zipFd_ >= 0) ::close(zipFd_);
}

Result LogDownload::Start(EventLog &events, int32_t selector, std::unique_ptr<LogDownload> *out) {
    if (selector != kLogPlain && selector != kLogZipped && selector != kLogZippedPackage)
        return Result::kInvalidParameter;
    RawLogState state = events.State();
    std::unique_ptr<LogDownload> download(new LogDownload(state));
    if (selector != kLogPlain) download->zipFd_ = BuildZip(events, state, selector);
    *out = std::move(download);
    return Result::kOk;
}

Result LogDownload::Next(EventLog &events, uint32_t length, std::string *out) {
    if (zipFd_ < 0) {
        int64_t read = events.ReadFrom(offset_, anchorSeq_, end_, length, out);
        if (read < 0) return Result::kBadState;
        offset_ += read;
        return Result::kOk;
    }
    out->resize(length);
    size_t filled = 0;
    while (filled < length) {
        ssize_t n = ::read(zipFd_, out->data() + filled, length - filled);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw std::runtime_error("reading the log archive failed");
        if (n == 0) break;
        filled += static_cast<size_t>(n);
    }
    out->resize(filled);
    return Result::kOk;
}

}  // namespace sim
