#include "store/write_behind.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>

#include "store/database.h"

namespace sim {

namespace {

void WriteFull(int fd, const unsigned char *bytes, size_t length) {
    while (length > 0) {
        ssize_t n = ::write(fd, bytes, length);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == ENOSPC || errno == EFBIG || errno == EDQUOT))
            throw StorageFull("no room for the restored database");
        if (n <= 0) throw std::runtime_error("cannot write the restored database");
        bytes += n;
        length -= static_cast<size_t>(n);
    }
}

}  // namespace

WriteBehind::WriteBehind(int fd, size_t chunkBytes, size_t depth) : fd_(fd), chunks_(depth) {
    for (size_t i = 0; i < depth; ++i) {
        chunks_[i].bytes = SecretBytes(std::string(chunkBytes, '\0'));
        free_.push_back(i);
    }
    writer_ = std::thread([this] { Run(); });
}

WriteBehind::~WriteBehind() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    writer_.join();
}

void WriteBehind::ThrowFault() {
    if (fault_) std::rethrow_exception(fault_);
}

unsigned char *WriteBehind::Next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return fault_ || !free_.empty(); });
    ThrowFault();
    filling_ = free_.front();
    free_.pop_front();
    return reinterpret_cast<unsigned char *>(chunks_[filling_].bytes.mutable_bytes().data());
}

void WriteBehind::Submit(size_t length) {
    {
        std::lock_guard lock(mutex_);
        chunks_[filling_].length = length;
        queued_.push_back(filling_);
    }
    changed_.notify_all();
}

void WriteBehind::Drain() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return fault_ || (queued_.empty() && !writing_); });
    ThrowFault();
}

void WriteBehind::Run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stopping_ || (!fault_ && !queued_.empty()); });
        if (stopping_) return;
        const size_t index = queued_.front();
        queued_.pop_front();
        writing_ = true;
        lock.unlock();
        std::exception_ptr fault;
        try {
            const Chunk &chunk = chunks_[index];
            WriteFull(fd_, reinterpret_cast<const unsigned char *>(chunk.bytes.view().data()),
                      chunk.length);
            // Start the disk on these pages now, so that the sync that ends the file finds
            // little left to write. Advice only: that sync reports what fails.
            ::sync_file_range(fd_, static_cast<off_t>(written_), static_cast<off_t>(chunk.length),
                              SYNC_FILE_RANGE_WRITE);
            written_ += chunk.length;
        } catch (...) {
            fault = std::current_exception();
        }
        lock.lock();
        writing_ = false;
        fault_ = fault;
        free_.push_back(index);
        changed_.notify_all();
    }
}

}  // namespace sim
