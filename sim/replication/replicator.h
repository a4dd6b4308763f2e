#pragma once
// This node's part in its replication domain. As the commit hook of every store, it is the
// coordinator of two-phase commit for the transactions of its own clients: it asks every
// active node to apply and hold the change (phase 1), then, once all hold it, tells them to
// commit (phase 2) while it commits here, so that the nodes' syncs to disk overlap. The next
// change may begin once this one is committed here; a client hears of its change only after
// every node confirmed. As the server of the
// node-to-node connections it is the participant of the others' transactions. Its pulse
// thread brings back nodes that were away and catches this node up when it fell behind.
//
// Every node of a domain holds every change in the same order: a coordinator holds its own
// write lock while it asks every other node for theirs, and a node whose own coordinator is
// asking gives way to a lower address and refuses a higher one, so of two coordinators that
// meet, the one with the lower address goes on. The
// journal's sequence numbers are therefore the same on every node, and a change is refused by
// a node whose sync point is not the one before it.
//
// A node with an empty node list replicates nothing: its writes capture no change and journal
// nothing, so its sync point stands still. The node that adds the first node to its list
// therefore starts its journal afresh one past its sync point, and a node that joins drops its
// own to 0: either way the joining node catches up by a snapshot, never from a journal that
// misses the changes made while the other was alone.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "core/clock.h"
#include "core/diagnostic_log.h"
#include "crypto/master_key.h"
#include "framing.h"
#include "replication/node_channel.h"
#include "replication/peer_link.h"
#include "replication/replication_journal.h"
#include "store/commit_hook.h"
#include "store/database.h"

namespace sim {

struct ReplicationSettings {
    NodeEndpoint self;                // its timeout is the manager's pulse interval
    int managerSeconds = 2;           // a node silent this long blocks commits
    int recoverySeconds = 2;          // how often nodes that were away are looked for
    uint64_t journalChanges = 10000;  // a node further behind catches up by a snapshot
};

// What the information screen shows (wire::pb::ReplicationStatus and the node list).
struct ReplicationView {
    uint64_t pendingTransaction = 0;  // the sequence of the change under way, 0 when none
    uint64_t when = 0;                // last change of state, seconds since 1970
    uint32_t state = 0;
    bool joined = false;
    uint64_t syncPoint = 0;
    uint32_t syncCounter = 0;  // changes applied since this process started
    uint32_t managerSeconds = 0;
    uint32_t recoverySeconds = 0;
    std::string bindAddress;
    std::vector<std::string> nodes;
};

class Replicator final : public CommitHook {
  public:
    // `file` is the node's database (opened here without a hook); `masterKey` must outlive
    // this object.
    Replicator(const DatabaseFile &file, const MasterKey &masterKey, ReplicationSettings settings,
               const Clock &clock, DiagnosticLog &log);
    ~Replicator() override;
    Replicator(const Replicator &) = delete;
    Replicator &operator=(const Replicator &) = delete;

    // `changed` runs after each commit of changes that came from other nodes, on the thread
    // that committed them. REQUIRES: called before Start.
    void OnChangesApplied(std::function<void()> changed) { changesApplied_ = std::move(changed); }

    // Starts the pulse thread once the server's port is known (every node shares it).
    void Start(uint16_t port);
    void Stop();

    bool Captures() const override { return joined_; }
    bool Replicates(const char *table) const override;
    uint64_t Prepare(Database &db, const std::string &changeset) override;
    void Finish(uint64_t ticket, bool committed) override;
    void Confirm(uint64_t ticket) override;

    // Operator's node operations. Each answers kOk or why not.
    Result TestNode(const std::string &address);
    Result NotifyNodeDown(const std::string &address);
    Result AddNode(const std::string &address);
    Result DeleteNode(const std::string &address);
    // Re-reads the node list and reconnects to every node.
    Result Refresh();

    std::vector<std::string> Nodes();
    ReplicationView View();
    const std::string &address() const { return settings_.self.address; }

    // Serves a node-to-node connection that opened with `hello`, on the connection's thread,
    // until it closes. `binding` is the TLS channel's (ChannelBinding).
    void ServeNode(wire::Stream &stream, const std::string &binding,
                   const wire::pb::NodeHello &hello);

  private:
    class Participant;

    // One change from its phase 1 to its confirmation.
    struct Round {
        uint64_t sequence = 0;
        bool everyNodeActive = false;                       // none of the list is down
        std::vector<std::shared_ptr<PeerLink>> prepared;    // the nodes that hold the change
        std::vector<std::shared_ptr<PeerLink>> committing;  // told to commit; answer owed
        std::string unconfirmed;                            // a node that cannot confirm the commit
    };

    Result Serve(Participant &participant, const wire::pb::NodeRequest &request,
                 wire::pb::NodeResponse *response);
    // Applies another node's word on the membership to this node's list.
    void ChangeMembership(const wire::pb::ChangeMembership &change);
    Result OpenLink(const std::string &address, std::unique_ptr<NodeLink> *link);
    // The link to `address`, taken (PeerLink::Take) for the change under way, or null.
    // REQUIRES: coordinator_ held.
    std::shared_ptr<PeerLink> LinkTo(const std::string &address, Result *result);
    // Phase 1 on every active node of `nodes`, running `meanwhile` while they apply the
    // change. REQUIRES: coordinator_ held. Throws what `meanwhile` threw, or CommitRefused
    // when a node does not hold the change; round_.prepared names those that do.
    void PrepareOnActive(const std::vector<NodeEntry> &nodes, const std::string &changeset,
                         const std::function<void()> &meanwhile);
    // Rolls back the nodes prepared so far and releases coordinator_.
    void AbortPrepared();
    // Phase 2 to every prepared node, without waiting for the answers (Confirm reads them).
    void TellCommit();
    // Reads the phase-2 answers owed to `round` and names a node that did not confirm.
    static void ReadAnswers(Round &round);
    void SetState(uint32_t state);
    // Wakes the pulse thread for a catch-up now.
    void Wake();
    // Tells every active node but `except` to add or remove `address`.
    void SpreadMembership(const std::string &address, bool add, const std::string &except);
    void PulseLoop();
    void CatchUp();
    void BringBackDownNodes();
    // One batch of the changes this node missed; false when there was none or it did not fit.
    // Sets *away, and the state to kUndefined, once it finds this node behind.
    bool CatchUpFrom(NodeLink &link, bool *away);
    // REQUIRES: dbMutex_ held.
    bool ApplyFetched(const wire::pb::NodeResponse &response);
    // Replaces the shared tables by the image `link`'s node makes. REQUIRES: dbMutex_ held.
    bool TakeSnapshotFrom(NodeLink &link);
    // Waits a while for the node that just joined to reach this node's sync point, so that
    // changes do not meet it out of step.
    void AwaitInStep(NodeLink &link);

    ReplicationSettings settings_;
    DatabaseFile file_;
    SecretBytes nodeKey_;
    const Clock &clock_;
    DiagnosticLog &log_;

    // Lock order: coordinator_ is never taken while dbMutex_ is held.
    std::mutex dbMutex_;
    Database db_;  // guarded by dbMutex_: node list and state outside the stores' transactions

    // Held from Prepare to Finish: one coordinated change at a time, and the links it uses.
    std::mutex coordinator_;
    std::map<std::string, std::shared_ptr<PeerLink>> links_;  // guarded by coordinator_
    Round round_;                                             // guarded by coordinator_
    // Changes committed here whose phase-2 answers are still to be read, by sequence.
    std::mutex confirmingMutex_;
    std::map<uint64_t, Round> confirming_;   // guarded by confirmingMutex_
    std::atomic<uint64_t> everyNodeHas_{0};  // the sync point every node confirmed
    // Whether the node list is not empty. Set in the write transaction that fills the list,
    // so that no store transaction starts in between without capturing its change; cleared
    // after the one that empties it (a transaction in between finds the list empty).
    std::atomic<bool> joined_{false};
    std::atomic<bool> coordinating_{false};
    std::atomic<uint64_t> pending_{0};
    // The change a participant applied here and holds until its phase 2, 0 when none: only
    // one can hold the write lock.
    std::atomic<uint64_t> held_{0};

    std::atomic<uint32_t> state_;
    std::atomic<uint64_t> when_{0};
    std::atomic<uint32_t> applied_{0};
    std::function<void()> changesApplied_ = [] {};

    std::mutex pulseMutex_;
    std::condition_variable pulseWake_;
    bool stopping_ = false;  // guarded by pulseMutex_
    bool woken_ = false;     // guarded by pulseMutex_
    std::thread pulse_;
};

}  // namespace sim
