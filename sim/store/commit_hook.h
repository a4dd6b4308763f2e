#pragma once
// What a write transaction consults before it commits, so that a change reaches the other
// nodes of a replication domain before any client hears of it. Every store commits through
// Transaction, which is the one caller.

#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "core/result.h"
#include "store/database.h"

namespace sim {

// A commit the hook refused; the dispatcher answers its Result instead of an internal error.
class CommitRefused : public StoreError {
  public:
    CommitRefused(Result result, const std::string &what) : StoreError(what), result_(result) {}
    Result result() const { return result_; }

  private:
    Result result_;
};

class CommitHook {
  public:
    virtual ~CommitHook() = default;

    // Whether write transactions capture their changes at all: a node alone in no domain
    // spends nothing on replication. Read by a transaction once it holds the write lock, so
    // a hook that changes its answer under that lock never misses a change.
    virtual bool Captures() const = 0;
    // Whether `table` holds state the whole domain shares; only those tables are captured.
    virtual bool Replicates(const char *table) const = 0;

    // Called inside the open transaction on `db` with its captured change, before COMMIT.
    // Returns a ticket for Finish; throws CommitRefused when the change may not commit, and
    // then the transaction rolls back. May write to `db` (its own bookkeeping).
    virtual uint64_t Prepare(Database &db, const std::string &changeset) = 0;
    // After COMMIT (`committed`) or its failure, still inside the store's lock: releases what
    // Prepare holds, so that the next change may begin. After a failed COMMIT throws
    // CommitRefused when other nodes may have the change already.
    virtual void Finish(uint64_t ticket, bool committed) = 0;
    // Waits for the other nodes to confirm a change Finish took as committed; called once
    // per such ticket, outside the store's lock. Throws CommitRefused when the change is
    // durable here but not known to be on every node.
    virtual void Confirm(uint64_t ticket) = 0;
};

// Lets the stores open before the hook exists: forwards to the hook set later, and captures
// nothing until then.
class CommitRelay final : public CommitHook {
  public:
    // REQUIRES: no transaction is under way; `hook` outlives every later one.
    void Set(CommitHook *hook) { target_ = hook; }
    bool Captures() const override { return target_ != nullptr && target_->Captures(); }
    bool Replicates(const char *table) const override {
        return target_ != nullptr && target_->Replicates(table);
    }
    uint64_t Prepare(Database &db, const std::string &changeset) override {
        return target_->Prepare(db, changeset);
    }
    void Finish(uint64_t ticket, bool committed) override { target_->Finish(ticket, committed); }
    void Confirm(uint64_t ticket) override { target_->Confirm(ticket); }

  private:
    CommitHook *target_ = nullptr;
};

}  // namespace sim
