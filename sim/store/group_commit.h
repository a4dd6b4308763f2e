#pragma once
// Durable writes from many threads share one transaction and so one fsync. A caller queues
// its write; the first queued caller that finds no transaction under way becomes the leader:
// it takes every write queued so far, runs each in its own savepoint of one transaction and
// commits, while the callers that arrive meanwhile queue for the next transaction. In a
// replication domain the next transaction begins as soon as this one is committed here, while
// the other nodes confirm it; its callers hear of it once they have.
//
// Each caller sleeps until it is woken by name, to lead or because its write is done. Waking
// every waiter twice a batch, to let each find whether it was meant, cost a replicated key
// six context switches instead of three and a half.

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "core/result.h"
#include "store/database.h"

namespace sim {

class GroupCommit {
  public:
    // The write runs on the leader's thread, holding `dbMutex`, inside a transaction on `db`.
    // Anything but kOk (or an exception) rolls back what it changed and fails only its caller.
    using Write = std::function<Result()>;

    // `db` and `dbMutex` (the mutex that serialises every other use of `db`) must outlive
    // this object.
    GroupCommit(Database &db, std::mutex &dbMutex) : db_(db), dbMutex_(dbMutex) {}
    GroupCommit(const GroupCommit &) = delete;
    GroupCommit &operator=(const GroupCommit &) = delete;

    // Runs `write` and returns its result once the transaction holding its changes is on
    // disk. When that transaction fails to begin or commit, nothing of it is stored and every
    // one of its callers gets the StoreError; an exception thrown by `write` reaches only its
    // caller. Thread-safe. REQUIRES: the caller does not hold `dbMutex`.
    Result Run(const Write &write);

    // Callers waiting for a transaction that has not started yet. Thread-safe.
    size_t queued() const;

  private:
    // Shared by the caller and the leader that wakes it, so that waking it is safe however
    // soon the caller returns.
    struct Pending {
        explicit Pending(const Write &w) : write(&w) {}
        // Wakes the caller, to lead when `lead`, else because its write is done.
        void Wake(bool lead);
        // Sleeps until woken; true when woken to lead.
        bool Sleep();

        const Write *write;
        Result result = Result::kInternal;
        std::exception_ptr error;
        std::mutex mutex;
        std::condition_variable woken;
        bool awake = false;  // guarded by mutex
        bool leads = false;  // guarded by mutex
    };
    using Batch = std::vector<std::shared_ptr<Pending>>;

    // Takes the queue as a batch, commits it and wakes its callers. REQUIRES: the caller
    // leads and is queued.
    void Lead(const Pending &self);
    // Runs the batch as one transaction and commits it here; a failure fills each entry's
    // error. Does not throw. REQUIRES: the caller is the leader; `queueMutex_` not held.
    Confirmation CommitBatch(const Batch &batch);
    // Wakes the next leader when a caller is queued; otherwise the next caller leads.
    void HandOnTheLead();
    // Awaits the other nodes; their refusal fills each entry's error. Does not throw.
    static void Confirm(Confirmation &confirmation, const Batch &batch);
    static void FailAll(const Batch &batch, const std::exception_ptr &error);
    // REQUIRES: `dbMutex_` held, inside the batch's transaction.
    void RunInSavepoint(Pending &pending);

    Database &db_;
    std::mutex &dbMutex_;
    mutable std::mutex queueMutex_;
    Batch queue_;           // guarded by queueMutex_
    bool leading_ = false;  // guarded by queueMutex_: a leader is under way or woken
};

}  // namespace sim
