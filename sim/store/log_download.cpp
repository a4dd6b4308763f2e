#include "store/log_download.h"

#include <fcntl.h>
#include <minizip/zip.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "store/log_segments.h"

namespace sim {

namespace {

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
    void Member(const char *name, Fill &&fill) {
        Open(name, false, 0);
        fill();
        Check(zipCloseFileInZip(zip_));
    }
    // Adds one member of `size` bytes that `fill` hands over already deflated, through Write;
    // it answers their CRC-32.
    template <class Fill>
    void DeflatedMember(const char *name, int64_t size, Fill &&fill) {
        Open(name, true, size);
        const uint32_t crc = fill();
        Check(zipCloseFileInZipRaw64(zip_, static_cast<ZPOS64_T>(size), crc));
    }
    void Write(std::string_view bytes) {
        Check(zipWriteInFileInZip(zip_, bytes.data(), static_cast<unsigned>(bytes.size())));
    }
    void Close() {
        zipFile zip = zip_;
        zip_ = nullptr;
        Check(zipClose(zip, nullptr));
    }

  private:
    void Open(const char *name, bool deflated, int64_t size) {
        zip_fileinfo info = MemberInfo(std::time(nullptr));
        Check(zipOpenNewFileInZip2_64(zip_, name, &info, nullptr, 0, nullptr, 0, nullptr,
                                      Z_DEFLATED, kLogDeflateLevel, deflated ? 1 : 0,
                                      size >= 0xFFFFFFFFll ? 1 : 0));
    }
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
        zip.DeflatedMember(kLogMemberName, state.size, [&] {
            uint32_t crc = 0;
            if (!events.Deflate(
                    state.anchor.seq, state.size,
                    [&](std::string_view deflated) { zip.Write(deflated); }, &crc))
                throw std::runtime_error("the log was cleared while it was zipped");
            return crc;
        });
        if (selector == kLogZippedPackage)
            zip.Member(kHardwareLogMemberName, [&] {
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

LogDownload::Chunk LogDownload::ReadChunk(EventLog &events, int64_t offset, uint32_t length) const {
    Chunk chunk{offset, length, 0, {}};
    chunk.read = events.ReadFrom(offset, anchorSeq_, end_, length, &chunk.bytes);
    return chunk;
}

Result LogDownload::NextPlain(EventLog &events, uint32_t length, std::string *out) {
    Chunk chunk;
    if (ahead_.valid()) chunk = ahead_.get();
    // A client asking for another length gets what it asked for.
    if (chunk.offset != offset_ || chunk.length != length)
        chunk = ReadChunk(events, offset_, length);
    if (chunk.read < 0) return Result::kBadState;
    offset_ += chunk.read;
    *out = std::move(chunk.bytes);
    if (offset_ < end_)
        ahead_ = std::async(std::launch::async, [this, &events, offset = offset_, length] {
            return ReadChunk(events, offset, length);
        });
    return Result::kOk;
}

Result LogDownload::Next(EventLog &events, uint32_t length, std::string *out) {
    if (zipFd_ < 0) return NextPlain(events, length, out);
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
