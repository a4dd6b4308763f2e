// Inserts from many threads sharing one commit: every caller gets its own answer, a failed
// commit stores nothing, and what was acknowledged is there after reopening, its log lines
// one linear chain with those another connection appended meanwhile. In a replication domain
// the next batch commits while the one before waits for the other nodes.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "daemon/data_directory.h"
#include "store/commit_hook.h"
#include "store/event_log_file.h"
#include "store/group_commit.h"
#include "temp_dir.h"

namespace {

using namespace std::chrono_literals;

class SimGroupCommit : public ::testing::Test {
  protected:
    TempDir dir_;
};

// What a caller got back: a result, or the text of the exception it caught.
struct Outcome {
    sim::Result result = sim::Result::kInternal;
    std::string error;
};

Outcome RunOne(sim::GroupCommit &group, const sim::GroupCommit::Write &write) {
    Outcome outcome;
    try {
        outcome.result = group.Run(write);
    } catch (const std::exception &e) {
        outcome.error = e.what();
    }
    return outcome;
}

// Runs `writes` as one transaction: a first caller holds its own transaction open until all
// of them are queued behind it, so the next leader takes them together.
std::vector<Outcome> RunAsOneGroup(sim::GroupCommit &group,
                                   const std::vector<sim::GroupCommit::Write> &writes) {
    std::promise<void> entered, release;
    std::shared_future<void> released = release.get_future().share();
    std::thread holder([&] {
        (void)RunOne(group, [&] {
            entered.set_value();
            released.wait();
            return sim::Result::kOk;
        });
    });
    EXPECT_EQ(entered.get_future().wait_for(30s), std::future_status::ready);
    std::vector<Outcome> outcomes(writes.size());
    std::vector<std::thread> callers;
    for (size_t i = 0; i < writes.size(); ++i)
        callers.emplace_back([&, i] { outcomes[i] = RunOne(group, writes[i]); });
    auto deadline = std::chrono::steady_clock::now() + 30s;
    while (group.queued() < writes.size() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(1ms);
    EXPECT_EQ(group.queued(), writes.size());
    release.set_value();
    holder.join();
    for (std::thread &caller : callers)
        caller.join();
    return outcomes;
}

TEST_F(SimGroupCommit, ManyThreadsInsertingAreAllStoredAndLoggedAndSurviveReopening) {
    constexpr int kThreads = 32, kPerThread = 8;
    sim::SystemClock clock;
    auto name = [](int t, int i) { return "key-" + std::to_string(t) + "-" + std::to_string(i); };
    {
        sim::DataDirectory data(dir_.path(), clock, "OV00000001");
        std::atomic<int> stored{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < kPerThread; ++i) {
                    sim::StoredObject object;
                    object.owner = "owner";
                    object.name = name(t, i);
                    object.sealed = "sealed " + object.name;
                    const sim::Actor owner = sim::Actor::User(object.owner);
                    if (data.keys().Insert(owner, &object, "Key generated") == sim::Result::kOk)
                        ++stored;
                    // Through the event log's own connection, racing the key store's.
                    if (t % 4 == 0) data.events().Record(owner, "Key exported", "ok");
                }
            });
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(stored, kThreads * kPerThread);
    }
    sim::DataDirectory reopened(dir_.path(), clock, "OV00000001");
    for (int t = 0; t < kThreads; ++t)
        for (int i = 0; i < kPerThread; ++i) {
            std::optional<sim::StoredObject> found =
                reopened.keys().Find("owner", name(t, i), true);
            ASSERT_TRUE(found) << name(t, i);
            EXPECT_EQ(found->sealed, "sealed " + name(t, i));
        }
    sim::Database db({dir_.Path("hsm.db"), {}});
    sim::Statement events(db, "SELECT COUNT(*) FROM event_log WHERE text LIKE '%|Key generated|%'");
    ASSERT_TRUE(events.Step());
    EXPECT_EQ(events.Int(0), kThreads * kPerThread);
    sim::ChainReport chain = sim::VerifyEventLog(db);
    EXPECT_TRUE(chain.whole) << chain.problem;
    EXPECT_EQ(chain.lines, kThreads * kPerThread * 5 / 4);
}

TEST_F(SimGroupCommit, EachCallerGetsItsOwnAnswerAndAFailedCommitFailsTheWholeGroup) {
    sim::Database db({dir_.path() + "/items.db", {}});
    std::mutex mutex;
    sim::GroupCommit group(db, mutex);
    // The parent of an item is checked only when the transaction commits.
    db.Execute(
        "CREATE TABLE parent (id INTEGER PRIMARY KEY);"
        "CREATE TABLE item (name TEXT NOT NULL UNIQUE, parent INTEGER REFERENCES parent(id) "
        "DEFERRABLE INITIALLY DEFERRED)");
    // Adds `name` (kAlreadyExists when present) under `parent`, then throws when `thenThrow`.
    auto add = [&](std::string name, int64_t parent = 0, bool thenThrow = false) {
        return [&db, name, parent, thenThrow] {
            sim::Statement exists(db, "SELECT 1 FROM item WHERE name = ?");
            if (exists.Bind(1, name).Step()) return sim::Result::kAlreadyExists;
            sim::Statement insert(db, "INSERT INTO item (name, parent) VALUES (?, ?)");
            insert.Bind(1, name);
            if (parent != 0) insert.Bind(2, parent);
            insert.Run();
            if (thenThrow) throw sim::StoreError("write failed after its insert");
            return sim::Result::kOk;
        };
    };
    auto names = [&] {
        std::lock_guard lock(mutex);
        sim::Statement st(db,
                          "SELECT group_concat(name, ' ') FROM (SELECT name FROM item "
                          "ORDER BY name)");
        return st.Step() ? st.Text(0) : std::string();
    };

    std::vector<Outcome> outcomes =
        RunAsOneGroup(group, {add("x"), add("x"), add("thrown", 0, true), add("y")});
    // The two callers of "x" queue in either order; whichever came second is refused.
    EXPECT_EQ(std::minmax({outcomes[0].result, outcomes[1].result}),
              std::minmax({sim::Result::kOk, sim::Result::kAlreadyExists}));
    EXPECT_EQ(outcomes[2].error, "write failed after its insert");
    EXPECT_EQ(outcomes[3].result, sim::Result::kOk);
    EXPECT_EQ(names(), "x y");

    outcomes = RunAsOneGroup(group, {add("a"), add("orphan", 99), add("b")});
    for (const Outcome &outcome : outcomes)
        EXPECT_NE(outcome.error.find("FOREIGN KEY"), std::string::npos) << outcome.error;
    EXPECT_EQ(names(), "x y");
    EXPECT_EQ(RunOne(group, add("after")).result, sim::Result::kOk);
    EXPECT_EQ(names(), "after x y");
}

// A domain whose nodes confirm each change only when the test says so, and may refuse to.
class HeldConfirmations final : public sim::CommitHook {
  public:
    bool Captures() const override { return true; }
    bool Replicates(const char *) const override { return true; }
    uint64_t Prepare(sim::Database &, const std::string &) override {
        std::lock_guard lock(mutex_);
        changed_.notify_all();
        return ++prepared_;
    }
    void Finish(uint64_t, bool) override {}
    void Confirm(uint64_t ticket) override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return answered_.count(ticket) != 0; });
        if (!answered_[ticket])
            throw sim::CommitRefused(sim::Result::kReplicationUnconfirmed, "not confirmed");
    }

    bool AwaitPrepared(uint64_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 30s, [&] { return prepared_ >= count; });
    }
    void Answer(uint64_t ticket, bool confirmed) {
        std::lock_guard lock(mutex_);
        answered_[ticket] = confirmed;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    uint64_t prepared_ = 0;
    std::map<uint64_t, bool> answered_;
};

TEST_F(SimGroupCommit, NextBatchCommitsWhileTheOneBeforeAwaitsTheOtherNodes) {
    HeldConfirmations nodes;
    sim::Database db({dir_.path() + "/items.db", {}, &nodes});
    std::mutex mutex;
    sim::GroupCommit group(db, mutex);
    db.Execute("CREATE TABLE item (name TEXT PRIMARY KEY)");
    auto add = [&](const char *name) {
        return std::async(std::launch::async, [&db, &group, name] {
            return RunOne(group, [&db, name] {
                sim::Statement(db, "INSERT INTO item (name) VALUES (?)").Bind(1, name).Run();
                return sim::Result::kOk;
            });
        });
    };
    std::future<Outcome> first = add("first");
    ASSERT_TRUE(nodes.AwaitPrepared(1));
    std::future<Outcome> second = add("second");
    ASSERT_TRUE(nodes.AwaitPrepared(2));
    // Both are committed here, and neither caller has heard of it.
    {
        std::lock_guard lock(mutex);
        sim::Statement count(db, "SELECT COUNT(*) FROM item");
        ASSERT_TRUE(count.Step());
        EXPECT_EQ(count.Int(0), 2);
    }
    EXPECT_EQ(first.wait_for(50ms), std::future_status::timeout);
    nodes.Answer(2, true);
    nodes.Answer(1, false);
    EXPECT_EQ(first.get().error, "not confirmed");
    EXPECT_EQ(second.get().result, sim::Result::kOk);
}

}  // namespace
