#include "store/group_commit.h"

namespace sim {

void GroupCommit::Pending::Wake(bool lead) {
    {
        std::lock_guard lock(mutex);
        awake = true;
        leads = lead;
    }
    woken.notify_one();
}

bool GroupCommit::Pending::Sleep() {
    std::unique_lock lock(mutex);
    woken.wait(lock, [&] { return awake; });
    return leads;
}

Result GroupCommit::Run(const Write &write) {
    auto self = std::make_shared<Pending>(write);
    bool leads = false;
    {
        std::lock_guard lock(queueMutex_);
        queue_.push_back(self);
        leads = !std::exchange(leading_, true);
    }
    if (leads || self->Sleep()) Lead(*self);
    if (self->error) std::rethrow_exception(self->error);
    return self->result;
}

size_t GroupCommit::queued() const {
    std::lock_guard lock(queueMutex_);
    return queue_.size();
}

void GroupCommit::Lead(const Pending &self) {
    Batch batch;
    {
        std::lock_guard lock(queueMutex_);
        batch.swap(queue_);
    }
    Confirmation confirmation = CommitBatch(batch);
    // Committed here: the next batch begins while the other nodes confirm this one.
    HandOnTheLead();
    Confirm(confirmation, batch);
    for (const std::shared_ptr<Pending> &pending : batch) {
        if (pending.get() != &self) pending->Wake(false);
    }
}

void GroupCommit::HandOnTheLead() {
    std::shared_ptr<Pending> next;
    {
        std::lock_guard lock(queueMutex_);
        if (queue_.empty())
            leading_ = false;
        else
            next = queue_.front();
    }
    if (next) next->Wake(true);
}

Confirmation GroupCommit::CommitBatch(const Batch &batch) {
    try {
        std::lock_guard dbLock(dbMutex_);
        Transaction transaction(db_);
        for (const std::shared_ptr<Pending> &pending : batch)
            RunInSavepoint(*pending);
        return transaction.CommitUnconfirmed();
    } catch (...) {
        FailAll(batch, std::current_exception());
        return {};
    }
}

void GroupCommit::Confirm(Confirmation &confirmation, const Batch &batch) {
    try {
        confirmation.Await();
    } catch (...) {
        FailAll(batch, std::current_exception());
    }
}

void GroupCommit::FailAll(const Batch &batch, const std::exception_ptr &error) {
    for (const std::shared_ptr<Pending> &pending : batch)
        pending->error = error;
}

void GroupCommit::RunInSavepoint(Pending &pending) {
    Statement(db_, "SAVEPOINT group_write").Run();
    try {
        pending.result = (*pending.write)();
    } catch (...) {
        pending.error = std::current_exception();
    }
    if (pending.error || pending.result != Result::kOk)
        Statement(db_, "ROLLBACK TO group_write").Run();
    Statement(db_, "RELEASE group_write").Run();
}

}  // namespace sim
