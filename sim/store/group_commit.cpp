#include "store/group_commit.h"

namespace sim {

Result GroupCommit::Run(const Write &write) {
    Pending self;
    self.write = &write;
    std::unique_lock lock(queueMutex_);
    queue_.push_back(&self);
    // Either a leader takes this entry and marks it done, or no leader is under way and the
    // entry is still queued: then this caller leads.
    batchDone_.wait(lock, [&] { return self.done || !leading_; });
    if (!self.done) {
        leading_ = true;
        std::vector<Pending *> batch;
        batch.swap(queue_);
        lock.unlock();
        CommitBatch(batch);
        lock.lock();
        for (Pending *pending : batch)
            pending->done = true;
        leading_ = false;
        batchDone_.notify_all();
    }
    if (self.error) std::rethrow_exception(self.error);
    return self.result;
}

size_t GroupCommit::queued() const {
    std::lock_guard lock(queueMutex_);
    return queue_.size();
}

void GroupCommit::CommitBatch(const std::vector<Pending *> &batch) {
    try {
        std::lock_guard dbLock(dbMutex_);
        Transaction transaction(db_);
        for (Pending *pending : batch)
            RunInSavepoint(pending);
        transaction.Commit();
    } catch (...) {
        std::exception_ptr error = std::current_exception();
        for (Pending *pending : batch)
            pending->error = error;
    }
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
