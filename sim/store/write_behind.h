#pragma once
// Writes a file's chunks on a thread of its own, so that whoever produces them (the restore
// decrypting the next chunk) goes on while the kernel copies this one into the page cache.
// One producer thread; at most `depth` chunks wait.

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "core/secret.h"

namespace sim {

class WriteBehind {
  public:
    // Appends to `fd`, which the caller keeps open while this lives.
    WriteBehind(int fd, size_t chunkBytes, size_t depth);
    // Writes nothing more: what was still queued is dropped.
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    // A buffer of chunkBytes for the next chunk; waits while every buffer is queued. Throws
    // what an earlier write threw (StorageFull when there was no room).
    unsigned char *Next();
    // Queues the first `length` bytes of the buffer Next gave.
    void Submit(size_t length);
    // Waits until every queued chunk is written; throws as Next does.
    void Drain();

  private:
    struct Chunk {
        SecretBytes bytes;  // the plaintext, wiped when this is destroyed
        size_t length = 0;
    };

    void Run();
    void ThrowFault();  // REQUIRES: mutex_ held

    int fd_;
    std::vector<Chunk> chunks_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<size_t> free_;    // guarded by mutex_: indexes of chunks_ nobody uses
    std::deque<size_t> queued_;  // guarded by mutex_: in the order they are written
    size_t filling_ = 0;         // the chunk Next gave, producer's own
    uint64_t written_ = 0;       // writer's own: bytes written so far
    bool writing_ = false;       // guarded by mutex_: the writer holds a chunk
    bool stopping_ = false;      // guarded by mutex_
    std::exception_ptr fault_;   // guarded by mutex_
    std::thread writer_;
};

}  // namespace sim
