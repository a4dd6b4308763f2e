#include "store/group_commit.h"

namespace sim {

Result GroupCommit::Run(const Write &write) {
    Pending self;
    self.write = &write;
    std::unique_lock lock(queueMutex_);
    queue_.push_back(&self);
    // Either a leader takes this entry and marks it done, or no leader is under way and the
    // entry is still queued: then this caller leads.
    batchDone_.wait(lock, [&] { return self.done || (!self.taken && !leading_); });
    if (!self.done) {
        leading_ = true;
        std::vector<Pending *> batch;
        batch.swap(queue_);
        for (Pending *pending : batch)
            pending->taken = true;
        lock.unlock();
        Confirmation confirmation = CommitBatch(batch);
        // Committed here: the next batch begins while the other nodes confirm this one.
        lock.lock();
        leading_ = false;
        batchDone_.notify_all();
        lock.unlock();
        Confirm(confirmation, batch);
        lock.lock();
        for (Pending *pending : batch)
            pending->done = true;
        batchDone_.notify_all();
    }
    if (self.error) std::rethrow_exception(self.error);
    return self.result;
}

size_t GroupCommit::queued() const {
    std::lock_guard lock(queueMutex_);
    return queue_.size();
}

Confirmation GroupCommit::CommitBatch(const std::vector<Pending *> &batch) {
    try {
        std::lock_guard dbLock(dbMutex_);
        Transaction transaction(db_);
        for (Pending *pending : batch)
            RunInSavepoint(pending);
        return transaction.CommitUnconfirmed();
    } catch (...) {
        FailAll(batch, std::current_exception());
        return {};
    }
}

void GroupCommit::Confirm(Confirmation &confirmation, const std::vector<Pending *> &batch) {
    try {
        confirmation.Await();
    } catch (...) {
        FailAll(batch, std::current_exception());
    }
}

void GroupCommit::FailAll(const std::vector<Pending *> &batch, const std::exception_ptr &error) {
    for (Pending *pending : batch)
        pending->error = error;
}

void GroupCommit::RunInSavepoint(Pending *pending) {
    db_.Execute("SAVEPOINT group_write");
    try {
        pending->result = (*pending->write)();
    } catch (...) {
        pending->error = std::current_exception();
    }
    if (pending->error || pending->result != Result::kOk) db_.Execute("ROLLBACK TO group_write");
    db_.Execute("RELEASE group_write");
}

}  // namespace sim
