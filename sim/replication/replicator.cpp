#include "replication/replicator.h"

#include <openssl/crypto.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <exception>

#include "replication/domain_snapshot.h"
#include "secret_fields.h"

namespace sim {

namespace {

// The state numbers of the information record.
enum State : uint32_t {
    kZeroed = 0,
    kUndefined = 1,
    kPhase1Participant = 2,
    kPhase2Participant = 3,
    kPhase2Coordinator = 4,
    kInvalid = 5,
    kLiveSync = 6,
};

// Changes a node fetches at once while it catches up, and applies in one transaction.
constexpr uint32_t kCatchUpBatch = 2000;

// A snapshot travels in pieces well under the largest frame.
constexpr size_t kSnapshotChunk = 1u << 20;

// The ticket of a change made while the node list is empty: no node to tell.
constexpr uint64_t kAlone = 0;

DatabaseFile WithoutHook(DatabaseFile file) {
    file.hook = nullptr;
    return file;
}

bool SendMessage(wire::Stream &stream, google::protobuf::Message &response) {
    std::string bytes;
    bool sent = response.SerializeToString(&bytes) && wire::WriteFrame(stream, bytes) == wire::OK;
    if (wire::WipeSecretFields(response)) OPENSSL_cleanse(bytes.data(), bytes.size());
    return sent;
}

}  // namespace

// The node side of one connection from another node's coordinator: at most one change held
// open at a time, in its own connection to the database, rolled back if the coordinator goes
// away before phase 2.
class Replicator::Participant {
  public:
    Participant(Replicator &owner, const std::string &peer)
        : owner_(owner),
          db_(owner.file_),
          outranks_(AddressBefore(peer, owner.settings_.self.address)) {
        sqlite3_busy_handler(db_.handle(), &Participant::WaitForLock, this);
    }
    ~Participant() {
        if (open_) Rollback();
    }

    Result Prepare(const wire::pb::PrepareChange &change) {
        if (open_) return Result::kProtocol;
        waitUntil_ = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(owner_.settings_.self.timeoutMs / 2);
        if (!db_.TryRun("BEGIN IMMEDIATE")) return Result::kReplicationConflict;
        open_ = true;
        sequence_ = change.sequence();
        const uint64_t syncPoint = ReadSyncPoint(db_);
        if (change.sequence() != syncPoint + 1) {
            Rollback();
            if (change.sequence() > syncPoint + 1) owner_.Wake();
            return Result::kOutOfSync;
        }
        if (!ApplyChange(db_, change.changeset())) {
            Rollback();
            return Result::kReplicationConflict;
        }
        RecordChange(db_, change.sequence(), change.changeset());
        BoundJournal(db_, change.sequence(), change.every_node_has(),
                     owner_.settings_.journalChanges);
        owner_.held_ = sequence_;
        owner_.SetState(kPhase1Participant);
        return Result::kOk;
    }

    Result Finish(const wire::pb::FinishChange &finish) {
        if (!open_ || finish.sequence() != sequence_) return Result::kProtocol;
        if (!finish.commit()) {
            Rollback();
            owner_.SetState(kLiveSync);
            return Result::kOk;
        }
        owner_.SetState(kPhase2Participant);
        const bool committed = db_.TryRun("COMMIT");
        if (!committed) Rollback();
        open_ = false;
        owner_.held_ = 0;
        owner_.applied_++;
        if (committed) owner_.changesApplied_();
        owner_.SetState(kLiveSync);
        return committed ? Result::kOk : Result::kInternal;
    }

    // The image of the shared tables from `offset`, made anew at 0.
    Result Snapshot(const wire::pb::FetchSnapshot &fetch, wire::pb::FetchSnapshotReply *reply) {
        if (open_) return Result::kProtocol;
        if (fetch.offset() == 0) {
            snapshot_.reset();  // its file goes before the next is made
            snapshot_ = SnapshotImage::Take(db_);
        }
        if (snapshot_ == nullptr || fetch.offset() > snapshot_->size()) return Result::kProtocol;
        reply->set_size(snapshot_->size());
        reply->set_chunk(snapshot_->Read(fetch.offset(), kSnapshotChunk));
        return Result::kOk;
    }

    Database &db() { return db_; }

  private:
    void Rollback() {
        sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        open_ = false;
        owner_.held_ = 0;
    }

    // While this node's own coordinator holds the write lock and asks the others, a change
    // from a node that outranks it waits (this node's change will be refused there) and one
    // from a node it outranks is refused at once (that node's waits for ours).
    static int WaitForLock(void *self, int) {
        auto *participant = static_cast<Participant *>(self);
        if (participant->owner_.coordinating_ && !participant->outranks_) return 0;
        if (std::chrono::steady_clock::now() > participant->waitUntil_) return 0;
        ::usleep(200);
        return 1;
    }

    Replicator &owner_;
    Database db_;
    const bool outranks_;
    bool open_ = false;
    uint64_t sequence_ = 0;
    std::chrono::steady_clock::time_point waitUntil_;
    std::unique_ptr<SnapshotImage> snapshot_;  // the image a node fetches in pieces
};

Replicator::Replicator(const DatabaseFile &file, const MasterKey &masterKey,
                       ReplicationSettings settings, const Clock &clock, DiagnosticLog &log)
    : settings_(std::move(settings)),
      file_(WithoutHook(file)),
      nodeKey_(NodeKey(masterKey)),
      clock_(clock),
      log_(log),
      db_(file_),
      state_(kZeroed) {
    settings_.self.timeoutMs = settings_.managerSeconds * 1000;
    // No connection serves or takes an image yet: any left lie there since a crash.
    RemoveStaleSnapshots(file_.path);
    std::lock_guard lock(dbMutex_);
    joined_ = !ReadNodes(db_).empty();
    SetState(joined_ ? kUndefined : kZeroed);
}

Replicator::~Replicator() {
    Stop();
}

void Replicator::Start(uint16_t port) {
    settings_.self.port = port;
    pulse_ = std::thread([this] { PulseLoop(); });
}

void Replicator::Stop() {
    {
        std::lock_guard lock(pulseMutex_);
        stopping_ = true;
    }
    pulseWake_.notify_all();
    if (pulse_.joinable()) pulse_.join();
}

void Replicator::SetState(uint32_t state) {
    if (state_.exchange(state) != state) when_ = static_cast<uint64_t>(clock_.Now());
}

void Replicator::Wake() {
    {
        std::lock_guard lock(pulseMutex_);
        woken_ = true;
    }
    pulseWake_.notify_all();
}

bool Replicator::Replicates(const char *table) const {
    return IsSharedTable(table);
}

Result Replicator::OpenLink(const std::string &address, std::unique_ptr<NodeLink> *link) {
    return NodeLink::Open(settings_.self, nodeKey_, address, link);
}

std::shared_ptr<PeerLink> Replicator::LinkTo(const std::string &address, Result *result) {
    if (auto found = links_.find(address); found != links_.end()) {
        if (!found->second->Take().broken()) return found->second;
        // A confirmation found it broken: the node committed, or rolled the change back when
        // the connection closed, and says which in a new connection's hello.
        links_.erase(found);
    }
    std::unique_ptr<NodeLink> link;
    *result = OpenLink(address, &link);
    if (*result != Result::kOk) return nullptr;
    return links_[address] = std::make_shared<PeerLink>(std::move(link));
}

uint64_t Replicator::Prepare(Database &db, const std::string &changeset) {
    // The store's transaction holds the write lock: the list cannot change before it ends.
    const std::vector<NodeEntry> nodes = ReadNodes(db);
    if (nodes.empty()) return kAlone;
    coordinator_.lock();
    coordinating_ = true;
    round_ = Round{};
    round_.sequence = ReadSyncPoint(db) + 1;
    round_.everyNodeActive =
        std::none_of(nodes.begin(), nodes.end(), [](const NodeEntry &node) { return node.down; });
    pending_ = round_.sequence;
    try {
        SetState(kPhase2Coordinator);
        PrepareOnActive(nodes, changeset, [&] {
            RecordChange(db, round_.sequence, changeset);
            BoundJournal(db, round_.sequence, everyNodeHas_, settings_.journalChanges);
        });
    } catch (...) {
        AbortPrepared();
        throw;
    }
    TellCommit();
    return round_.sequence;
}

void Replicator::TellCommit() {
    // From here on this node waits for no other node's write lock, and its own is free once
    // its commit is on disk: another coordinator's change may wait for it without a deadlock,
    // instead of being refused as if the two were asking at the same time.
    coordinating_ = false;
    for (const std::shared_ptr<PeerLink> &peer : round_.prepared) {
        wire::pb::NodeRequest request;
        request.mutable_finish_change()->set_sequence(round_.sequence);
        request.mutable_finish_change()->set_commit(true);
        if (peer->Take().Send(request)) {
            peer->Owe();
            round_.committing.push_back(peer);
        } else {
            round_.unconfirmed = peer->address();
        }
    }
}

// Every node is asked at once; whichever refuses first decides what the client hears, and
// every node that held the change is told to drop it (AbortPrepared, by the caller).
void Replicator::PrepareOnActive(const std::vector<NodeEntry> &nodes, const std::string &changeset,
                                 const std::function<void()> &meanwhile) {
    Result refusal = Result::kOk;
    std::string refusedBy;
    auto refuse = [&](const std::string &address, Result result) {
        if (result == Result::kReplicationUnreachable) links_.erase(address);
        if (refusal != Result::kOk) return;
        if (result == Result::kOutOfSync) Wake();
        if (result != Result::kOutOfSync && result != Result::kReplicationConflict)
            result = Result::kReplicationUnreachable;
        refusal = result;
        refusedBy = address;
    };
    std::vector<std::shared_ptr<PeerLink>> asked;
    for (const NodeEntry &node : nodes) {
        if (node.down) continue;
        Result result = Result::kOk;
        std::shared_ptr<PeerLink> peer = LinkTo(node.address, &result);
        wire::pb::NodeRequest request;
        request.mutable_prepare_change()->set_sequence(round_.sequence);
        request.mutable_prepare_change()->set_changeset(changeset);
        request.mutable_prepare_change()->set_every_node_has(everyNodeHas_);
        if (peer != nullptr && peer->Take().Send(request))
            asked.push_back(std::move(peer));
        else
            refuse(node.address, peer == nullptr ? result : Result::kReplicationUnreachable);
    }
    // This node's own part of the change costs no time while the others apply it. Every
    // answer is read even when it fails: a link must not be left owing one.
    std::exception_ptr failedHere;
    try {
        meanwhile();
    } catch (...) {
        failedHere = std::current_exception();
    }
    for (std::shared_ptr<PeerLink> &peer : asked) {
        wire::pb::NodeResponse response;
        const Result result = peer->Take().Receive(&response);
        if (result == Result::kOk)
            round_.prepared.push_back(std::move(peer));
        else
            refuse(peer->address(), result);
    }
    if (failedHere) std::rethrow_exception(failedHere);
    if (refusal != Result::kOk)
        throw CommitRefused(refusal, "replication to " + refusedBy + " refused");
}

void Replicator::AbortPrepared() {
    for (const std::shared_ptr<PeerLink> &peer : round_.prepared) {
        wire::pb::NodeRequest request;
        request.mutable_finish_change()->set_sequence(round_.sequence);
        request.mutable_finish_change()->set_commit(false);
        wire::pb::NodeResponse response;
        if (peer->Take().Call(request, &response) == Result::kReplicationUnreachable)
            links_.erase(peer->address());
    }
    round_ = Round{};
    pending_ = 0;
    coordinating_ = false;
    SetState(kLiveSync);
    coordinator_.unlock();
}

void Replicator::Finish(uint64_t ticket, bool committed) {
    if (ticket == kAlone) return;
    Round round = std::exchange(round_, Round{});
    if (committed) {
        std::lock_guard lock(confirmingMutex_);
        confirming_.emplace(ticket, std::move(round));
    } else {
        // Read before the next change may begin: it takes the same sequence.
        ReadAnswers(round);
    }
    pending_ = 0;
    if (committed) applied_++;
    coordinating_ = false;
    SetState(kLiveSync);
    coordinator_.unlock();
    if (committed) return;
    // The other nodes were told to commit before this node's own commit failed: the change
    // is theirs, and this node, one behind now, takes it from them when it catches up.
    Wake();
    throw CommitRefused(Result::kReplicationNotHere,
                        "committed on the other nodes, not on this one");
}

void Replicator::ReadAnswers(Round &round) {
    // Every node commits at once; the client waits for the slowest.
    for (const std::shared_ptr<PeerLink> &peer : round.committing) {
        if (peer->ReadOwed() != Result::kOk) round.unconfirmed = peer->address();
    }
}

void Replicator::Confirm(uint64_t ticket) {
    Round round;
    {
        std::lock_guard lock(confirmingMutex_);
        auto found = confirming_.find(ticket);
        if (found == confirming_.end()) return;
        round = std::move(found->second);
        confirming_.erase(found);
    }
    ReadAnswers(round);
    if (round.unconfirmed.empty() && round.everyNodeActive) {
        uint64_t seen = everyNodeHas_;
        while (seen < round.sequence &&
               !everyNodeHas_.compare_exchange_weak(seen, round.sequence)) {
        }
    }
    // The change stays: it is durable here and on the nodes that confirmed. The node that did
    // not either committed it too, or rolled it back when its connection broke; then it is
    // one behind, refuses the next change as out of step and takes this one when it catches
    // up. The client must not retry, so it hears that the change was made.
    if (!round.unconfirmed.empty())
        throw CommitRefused(Result::kReplicationUnconfirmed,
                            "commit not confirmed by " + round.unconfirmed);
}

Result Replicator::TestNode(const std::string &address) {
    std::unique_ptr<NodeLink> link;
    Result result = OpenLink(address, &link);
    return result == Result::kOk || result == Result::kForeignNode ? result
                                                                   : Result::kNodeTestFailed;
}

Result Replicator::NotifyNodeDown(const std::string &address) {
    {
        std::lock_guard lock(dbMutex_);
        if (!MarkNodeDown(db_, address, true)) return Result::kNodeUnknown;
    }
    std::lock_guard lock(coordinator_);
    links_.erase(address);
    return Result::kOk;
}

Result Replicator::AddNode(const std::string &address) {
    if (!IsNodeAddress(address) || address == settings_.self.address)
        return Result::kInvalidParameter;
    std::vector<NodeEntry> nodes;
    {
        std::lock_guard lock(dbMutex_);
        nodes = ReadNodes(db_);
    }
    for (const NodeEntry &node : nodes) {
        if (node.address == address) return Result::kNodeExists;
    }
    if (nodes.size() >= 255) return Result::kNodeListFull;
    std::unique_ptr<NodeLink> link;
    Result result = OpenLink(address, &link);
    if (result != Result::kOk) return result;
    {
        std::lock_guard lock(dbMutex_);
        Transaction tx(db_);
        // Alone, this node journaled nothing: a journal that starts afresh one past its sync
        // point sends the new node to a snapshot, which holds what was made meanwhile.
        if (nodes.empty()) RestartJournal(db_, ReadSyncPoint(db_) + 1);
        AddNodeEntry(db_, address);
        joined_ = true;
        tx.Commit();
    }
    // The new node learns the whole domain, this node included.
    wire::pb::NodeRequest request;
    auto *change = request.mutable_change_membership();
    change->set_add(true);
    change->set_address(address);
    change->add_nodes(settings_.self.address);
    for (const NodeEntry &node : nodes)
        change->add_nodes(node.address);
    wire::pb::NodeResponse response;
    if (Result told = link->Call(request, &response); told != Result::kOk) {
        std::lock_guard lock(dbMutex_);
        RemoveNodeEntry(db_, address);
        joined_ = !nodes.empty();
        return told;
    }
    SpreadMembership(address, true, address);
    SetState(kLiveSync);
    AwaitInStep(*link);
    return Result::kOk;
}

void Replicator::AwaitInStep(NodeLink &link) {
    const auto until =
        std::chrono::steady_clock::now() +
        std::chrono::seconds(2 * (settings_.managerSeconds + settings_.recoverySeconds));
    while (std::chrono::steady_clock::now() < until) {
        uint64_t mine = 0;
        {
            std::lock_guard lock(dbMutex_);
            mine = ReadSyncPoint(db_);
        }
        wire::pb::NodeRequest request;
        request.mutable_node_pulse();
        wire::pb::NodeResponse response;
        if (link.Call(request, &response) != Result::kOk) return;
        if (response.node_pulse().sync_point() >= mine) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

Result Replicator::DeleteNode(const std::string &address) {
    {
        std::lock_guard lock(dbMutex_);
        if (!RemoveNodeEntry(db_, address)) return Result::kNodeUnknown;
        if (ReadNodes(db_).empty()) {
            joined_ = false;
            SetState(kZeroed);
        }
    }
    {
        std::lock_guard lock(coordinator_);
        links_.erase(address);
    }
    SpreadMembership(address, false, "");
    return Result::kOk;
}

void Replicator::SpreadMembership(const std::string &address, bool add, const std::string &except) {
    std::vector<NodeEntry> nodes;
    {
        std::lock_guard lock(dbMutex_);
        nodes = ReadNodes(db_);
    }
    for (const NodeEntry &node : nodes) {
        if (node.down || node.address == except) continue;
        std::unique_ptr<NodeLink> link;
        if (OpenLink(node.address, &link) != Result::kOk) continue;
        wire::pb::NodeRequest request;
        request.mutable_change_membership()->set_address(address);
        request.mutable_change_membership()->set_add(add);
        if (!add && node.address == address) {
            // The node leaving forgets the whole domain.
            for (const NodeEntry &other : nodes)
                request.mutable_change_membership()->add_nodes(other.address);
            request.mutable_change_membership()->add_nodes(settings_.self.address);
        }
        wire::pb::NodeResponse response;
        (void)link->Call(request, &response);
    }
    if (!add) {
        // The node was removed from this list already; it is told to leave as well.
        std::unique_ptr<NodeLink> link;
        if (OpenLink(address, &link) != Result::kOk) return;
        wire::pb::NodeRequest request;
        request.mutable_change_membership()->set_address(address);
        request.mutable_change_membership()->set_add(false);
        request.mutable_change_membership()->add_nodes(settings_.self.address);
        for (const NodeEntry &other : nodes)
            request.mutable_change_membership()->add_nodes(other.address);
        wire::pb::NodeResponse response;
        (void)link->Call(request, &response);
    }
}

Result Replicator::Refresh() {
    std::vector<NodeEntry> nodes;
    {
        std::lock_guard lock(dbMutex_);
        nodes = ReadNodes(db_);
    }
    std::lock_guard lock(coordinator_);
    links_.clear();
    for (const NodeEntry &node : nodes) {
        std::unique_ptr<NodeLink> link;
        if (!node.down && OpenLink(node.address, &link) == Result::kOk)
            links_[node.address] = std::make_shared<PeerLink>(std::move(link));
    }
    return Result::kOk;
}

std::vector<std::string> Replicator::Nodes() {
    std::lock_guard lock(dbMutex_);
    std::vector<std::string> addresses;
    for (const NodeEntry &node : ReadNodes(db_))
        addresses.push_back(node.address);
    return addresses;
}

ReplicationView Replicator::View() {
    ReplicationView view;
    view.pendingTransaction = pending_;
    view.when = when_;
    view.state = state_;
    view.syncCounter = applied_;
    view.managerSeconds = static_cast<uint32_t>(settings_.managerSeconds);
    view.recoverySeconds = static_cast<uint32_t>(settings_.recoverySeconds);
    view.bindAddress = settings_.self.address;
    std::lock_guard lock(dbMutex_);
    view.syncPoint = ReadSyncPoint(db_);
    for (const NodeEntry &node : ReadNodes(db_))
        view.nodes.push_back(node.address);
    view.joined = !view.nodes.empty();
    return view;
}

void Replicator::ServeNode(wire::Stream &stream, const std::string &binding,
                           const wire::pb::NodeHello &hello) {
    wire::pb::Response welcome;
    const std::string expected = NodeProof(nodeKey_, "client", binding);
    if (binding.empty() || expected.size() != hello.proof().size() ||
        CRYPTO_memcmp(expected.data(), hello.proof().data(), expected.size()) != 0) {
        welcome.set_status(wire::ERR_REPL_FOREIGN_NODE);
        SendMessage(stream, welcome);
        return;
    }
    Participant participant(*this, hello.address());
    welcome.mutable_node_hello()->set_proof(NodeProof(nodeKey_, "server", binding));
    welcome.mutable_node_hello()->set_sync_point(ReadSyncPoint(participant.db()));
    if (!SendMessage(stream, welcome)) return;
    wire::pb::NodeResponse response;
    std::string payload;
    wire::pb::NodeRequest request;
    while (wire::ReadFrame(stream, payload) == wire::OK) {
        bool parsed = request.ParseFromString(payload);
        OPENSSL_cleanse(payload.data(), payload.size());
        response.Clear();
        Result result = Result::kProtocol;
        try {
            if (parsed) result = Serve(participant, request, &response);
        } catch (const std::exception &e) {
            log_.Write(std::string("replication: ") + e.what());
            result = Result::kInternal;
        }
        wire::WipeSecretFields(request);
        if (result != Result::kOk) response.clear_body();
        response.set_status(ToWireStatus(result));
        if (!SendMessage(stream, response)) return;
    }
}

Result Replicator::Serve(Participant &participant, const wire::pb::NodeRequest &request,
                         wire::pb::NodeResponse *response) {
    switch (request.body_case()) {
        case wire::pb::NodeRequest::kPrepareChange:
            response->mutable_prepare_change();
            return participant.Prepare(request.prepare_change());
        case wire::pb::NodeRequest::kFinishChange:
            response->mutable_finish_change();
            return participant.Finish(request.finish_change());
        case wire::pb::NodeRequest::kNodePulse: {
            auto *reply = response->mutable_node_pulse();
            reply->set_sync_point(ReadSyncPoint(participant.db()));
            for (const NodeEntry &node : ReadNodes(participant.db()))
                reply->add_nodes(node.address);
            return Result::kOk;
        }
        case wire::pb::NodeRequest::kFetchChanges: {
            auto *reply = response->mutable_fetch_changes();
            Transaction snapshot(participant.db(), Transaction::kRead);
            reply->set_sync_point(ReadSyncPoint(participant.db()));
            for (JournalChange &change :
                 ReadChangesAfter(participant.db(), request.fetch_changes().sync_point(),
                                  std::min(request.fetch_changes().limit(), kCatchUpBatch))) {
                auto *entry = reply->add_entries();
                entry->set_sequence(change.sequence);
                entry->set_changeset(std::move(change.changeset));
            }
            return Result::kOk;
        }
        case wire::pb::NodeRequest::kFetchSnapshot:
            return participant.Snapshot(request.fetch_snapshot(),
                                        response->mutable_fetch_snapshot());
        case wire::pb::NodeRequest::kChangeMembership:
            response->mutable_change_membership();
            ChangeMembership(request.change_membership());
            return Result::kOk;
        default:
            return Result::kProtocol;
    }
}

void Replicator::ChangeMembership(const wire::pb::ChangeMembership &change) {
    const bool joining = change.add() && change.address() == settings_.self.address;
    bool joined = false;
    {
        std::lock_guard lock(dbMutex_);
        Transaction tx(db_);
        // A joining node takes the domain's tables whole, by a snapshot: its own may be a
        // copy older than the domain's, or hold changes it made alone.
        if (joining) RestartJournal(db_, 0);
        if (change.add()) {
            for (const std::string &address : change.nodes()) {
                if (address != settings_.self.address) AddNodeEntry(db_, address);
            }
            if (change.address() != settings_.self.address) AddNodeEntry(db_, change.address());
        } else if (change.address() == settings_.self.address) {
            for (const std::string &address : change.nodes())
                RemoveNodeEntry(db_, address);
        } else {
            RemoveNodeEntry(db_, change.address());
        }
        joined = !ReadNodes(db_).empty();
        if (joined) joined_ = true;
        tx.Commit();
    }
    if (!joined) joined_ = false;
    SetState(joined ? kLiveSync : kZeroed);
    {
        std::lock_guard links(coordinator_);
        links_.clear();
    }
    if (joining) Wake();
}

void Replicator::PulseLoop() {
    std::unique_lock lock(pulseMutex_);
    while (!stopping_) {
        lock.unlock();
        try {
            CatchUp();
            BringBackDownNodes();
        } catch (const std::exception &e) {
            log_.Write(std::string("replication pulse: ") + e.what());
        }
        lock.lock();
        pulseWake_.wait_for(lock, std::chrono::seconds(settings_.recoverySeconds),
                            [this] { return stopping_ || woken_; });
        woken_ = false;
    }
}

// A node that was away, or missed the end of a change, takes what it missed from a node that
// is further on.
void Replicator::CatchUp() {
    std::vector<NodeEntry> nodes;
    uint64_t mine = 0;
    {
        std::lock_guard lock(dbMutex_);
        nodes = ReadNodes(db_);
        mine = ReadSyncPoint(db_);
    }
    for (const NodeEntry &node : nodes) {
        std::unique_ptr<NodeLink> link;
        if (OpenLink(node.address, &link) != Result::kOk) continue;
        if (link->helloSyncPoint() <= mine) continue;
        bool away = false;
        while (CatchUpFrom(*link, &away)) {
        }
        if (away) SetState(kLiveSync);
        return;
    }
}

bool Replicator::CatchUpFrom(NodeLink &link, bool *away) {
    std::lock_guard lock(dbMutex_);
    const uint64_t mine = ReadSyncPoint(db_);
    // At 0 the node joined and holds nothing it can vouch for.
    if (mine != 0) {
        wire::pb::NodeRequest request;
        request.mutable_fetch_changes()->set_sync_point(mine);
        request.mutable_fetch_changes()->set_limit(kCatchUpBatch);
        wire::pb::NodeResponse response;
        if (link.Call(request, &response) != Result::kOk) return false;
        const auto &reply = response.fetch_changes();
        const bool inJournal = !reply.entries().empty() && reply.entries(0).sequence() == mine + 1;
        // Not behind for a change that is held here, committed on its coordinator already and
        // on its way here with its phase 2, or that was committed here since. Read in this
        // order: a participant commits, then lets go.
        const uint64_t heldHere = held_;
        const bool behind = inJournal && reply.entries(0).sequence() != heldHere &&
                            reply.entries(0).sequence() == ReadSyncPoint(db_) + 1;
        if (behind) {
            *away = true;
            SetState(kUndefined);
        }
        const bool applied = behind && ApplyFetched(response);
        wire::WipeSecretFields(response);
        // Further on, but the journal no longer holds what comes next: a snapshot.
        if (inJournal || reply.sync_point() <= mine) return applied;
    }
    *away = true;
    SetState(kUndefined);
    return TakeSnapshotFrom(link);
}

bool Replicator::TakeSnapshotFrom(NodeLink &link) {
    const uint64_t mine = ReadSyncPoint(db_);
    IncomingSnapshot image(db_);
    uint64_t size = 0;
    do {
        wire::pb::NodeRequest request;
        request.mutable_fetch_snapshot()->set_offset(image.size());
        wire::pb::NodeResponse response;
        struct Wipe {
            wire::pb::NodeResponse &response;
            ~Wipe() { wire::WipeSecretFields(response); }
        } wipe{response};
        const bool fetched = link.Call(request, &response) == Result::kOk;
        const auto &reply = response.fetch_snapshot();
        if (fetched && image.size() == 0) size = reply.size();
        const bool fits = fetched && !reply.chunk().empty() && reply.size() == size &&
                          image.size() + reply.chunk().size() <= size;
        if (!fits) return false;
        image.Append(reply.chunk());
    } while (image.size() < size);
    if (!image.Restore(db_) || ReadSyncPoint(db_) <= mine) return false;
    applied_++;
    changesApplied_();
    return true;
}

bool Replicator::ApplyFetched(const wire::pb::NodeResponse &response) {
    const auto &entries = response.fetch_changes().entries();
    if (entries.empty()) return false;
    Transaction tx(db_);
    for (const auto &entry : entries) {
        if (entry.sequence() != ReadSyncPoint(db_) + 1 || !ApplyChange(db_, entry.changeset()))
            return false;
        RecordChange(db_, entry.sequence(), entry.changeset());
    }
    tx.Commit();
    applied_ += static_cast<uint32_t>(entries.size());
    changesApplied_();
    return true;
}

// A node declared down comes back into the active list once it is exactly as far as this
// node. The check holds this node's write lock, so that no change commits in between.
void Replicator::BringBackDownNodes() {
    std::vector<NodeEntry> nodes;
    {
        std::lock_guard lock(dbMutex_);
        nodes = ReadNodes(db_);
    }
    for (const NodeEntry &node : nodes) {
        if (!node.down) continue;
        std::unique_ptr<NodeLink> link;
        if (OpenLink(node.address, &link) != Result::kOk) continue;
        std::lock_guard lock(dbMutex_);
        Transaction tx(db_);
        wire::pb::NodeRequest request;
        request.mutable_node_pulse();
        wire::pb::NodeResponse response;
        if (link->Call(request, &response) != Result::kOk ||
            response.node_pulse().sync_point() != ReadSyncPoint(db_))
            continue;
        MarkNodeDown(db_, node.address, false);
        tx.Commit();
    }
}

}  // namespace sim
