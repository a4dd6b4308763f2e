// Inserts from many threads sharing one commit: every caller gets its own answer, a failed
// commit stores nothing, and what was acknowledged is there after reopening.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "daemon/data_directory.h"
#include "store/group_commit.h"

namespace {

using namespace std::chrono_literals;

class SimGroupCommit : public ::testing::Test {
  protected:
    SimGroupCommit() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "sim-group-commit-XXXXXX").string();
        if (::mkdtemp(pattern.data()) != nullptr) dir_ = pattern;
    }
    ~SimGroupCommit() override {
        if (!dir_.empty()) std::filesystem::remove_all(dir_);
    }

    std::string dir_;
};

// What one caller of GroupCommit::Run got back.
struct Outcome {
    sim::Result result = sim::Result::kInternal;
    std::string error;  // the exception's text when it threw
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

// Runs `writes` as one transaction: a first caller holds the leader's transaction open until
// all of them are queued behind it, so the next leader takes them together.
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

// A bare table on its own connection, written through GroupCommit.
class Items {
  public:
    explicit Items(const std::string &path) : db_(path) {
        db_.Execute(
            "CREATE TABLE parent (id INTEGER PRIMARY KEY);"
            "CREATE TABLE item (name TEXT NOT NULL UNIQUE, parent INTEGER REFERENCES parent(id) "
            "DEFERRABLE INITIALLY DEFERRED)");
    }

    sim::GroupCommit &group() { return group_; }

    // A write that adds `name` (kAlreadyExists when present) under `parent` (checked only
    // when the transaction commits), then throws when `thenThrow`.
    sim::GroupCommit::Write Add(std::string name, std::optional<int64_t> parent = std::nullopt,
                                bool thenThrow = false) {
        return [this, name, parent, thenThrow] {
            sim::Statement exists(db_, "SELECT 1 FROM item WHERE name = ?");
            exists.Bind(1, name);
            if (exists.Step()) return sim::Result::kAlreadyExists;
            sim::Statement insert(db_, "INSERT INTO item (name, parent) VALUES (?, ?)");
            insert.Bind(1, name);
            if (parent) insert.Bind(2, *parent);
            insert.Run();
            if (thenThrow) throw sim::StoreError("write failed after its insert");
            return sim::Result::kOk;
        };
    }

    std::vector<std::string> Names() {
        std::lock_guard lock(mutex_);
        sim::Statement st(db_, "SELECT name FROM item ORDER BY name");
        std::vector<std::string> names;
        while (st.Step())
            names.push_back(st.Text(0));
        return names;
    }

  private:
    sim::Database db_;
    std::mutex mutex_;
    sim::GroupCommit group_{db_, mutex_};
};

TEST_F(SimGroupCommit, ManyThreadsInsertingAreAllStoredAndSurviveReopening) {
    ASSERT_FALSE(dir_.empty());
    constexpr int kThreads = 32, kPerThread = 8;
    sim::SystemClock clock;
    auto name = [](int t, int i) { return "key-" + std::to_string(t) + "-" + std::to_string(i); };
    {
        sim::DataDirectory data(dir_, clock);
        std::vector<std::vector<sim::Result>> results(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < kPerThread; ++i) {
                    sim::StoredObject object;
                    object.owner = "owner";
                    object.name = name(t, i);
                    object.sealed = "sealed " + object.name;
                    results[t].push_back(data.keys().Insert(&object, "Key generated"));
                }
            });
        for (std::thread &thread : threads)
            thread.join();
        for (const std::vector<sim::Result> &perThread : results)
            for (sim::Result r : perThread)
                EXPECT_EQ(r, sim::Result::kOk);
    }
    sim::DataDirectory reopened(dir_, clock);
    EXPECT_EQ(reopened.keys().List("owner", 0).size(), size_t{kThreads * kPerThread});
    for (int t = 0; t < kThreads; ++t)
        for (int i = 0; i < kPerThread; ++i) {
            std::optional<sim::StoredObject> found =
                reopened.keys().Find("owner", name(t, i), true);
            ASSERT_TRUE(found) << name(t, i);
            EXPECT_EQ(found->sealed, "sealed " + name(t, i));
        }
    sim::Database db(dir_ + "/hsm.db");
    sim::Statement events(db, "SELECT COUNT(*) FROM event_log WHERE text = 'Key generated'");
    ASSERT_TRUE(events.Step());
    EXPECT_EQ(events.Int(0), kThreads * kPerThread);
}

TEST_F(SimGroupCommit, AFailedWriteFailsOnlyItsCallerWithinTheGroup) {
    ASSERT_FALSE(dir_.empty());
    Items items(dir_ + "/items.db");
    std::vector<Outcome> outcomes = RunAsOneGroup(
        items.group(),
        {items.Add("x"), items.Add("x"), items.Add("thrown", {}, true), items.Add("y")});
    // The two callers of "x" queue in either order; whichever came second is refused.
    EXPECT_EQ(std::minmax({outcomes[0].result, outcomes[1].result}),
              std::minmax({sim::Result::kOk, sim::Result::kAlreadyExists}));
    EXPECT_EQ(outcomes[2].error, "write failed after its insert");
    EXPECT_EQ(outcomes[3].result, sim::Result::kOk);
    EXPECT_EQ(items.Names(), (std::vector<std::string>{"x", "y"}));
}

TEST_F(SimGroupCommit, AFailedCommitFailsTheWholeGroupAndStoresNothing) {
    ASSERT_FALSE(dir_.empty());
    Items items(dir_ + "/items.db");
    // The orphan's foreign key is checked only at COMMIT, so the commit itself fails.
    std::vector<Outcome> outcomes =
        RunAsOneGroup(items.group(), {items.Add("a"), items.Add("orphan", 99), items.Add("b")});
    for (const Outcome &outcome : outcomes)
        EXPECT_NE(outcome.error.find("FOREIGN KEY"), std::string::npos) << outcome.error;
    EXPECT_TRUE(items.Names().empty());
    EXPECT_EQ(RunOne(items.group(), items.Add("after")).result, sim::Result::kOk);
    EXPECT_EQ(items.Names(), std::vector<std::string>{"after"});
}

}  // namespace
