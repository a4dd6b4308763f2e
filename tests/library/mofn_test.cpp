// SVMK sets, the M of N state of a partition and what each state lets its sessions do.

#include <array>
#include <cstring>
#include <string>

#include "qelvoarc_fixture.h"

namespace {

constexpr const char *kClerk = "clerk";

struct ShadowSet {
    std::array<QSmartCardShadow, Q_SVMK_MAX_SHADOWS> cards{};
    uint8_t n = 0;
};

struct AuthState {
    uint32_t state;
    uint32_t mask;
    bool operator==(const AuthState &) const = default;
};

class MofNTest : public LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        AddUser(kClerk, "Passw0rd!x", std::to_string(Q_ACL_MOFN_LOCAL));
        clerk_ = Login(kClerk);
        set_ = NewSet(2, 3);
    }
    void TearDown() override {
        if (clerk_ != 0) QCloseSession(&clerk_, 0);
        LibraryTest::TearDown();
    }

    ShadowSet NewSet(uint8_t m, uint8_t n, const uint8_t *svmk = nullptr) {
        ShadowSet set;
        set.n = n;
        EXPECT_EQ(QGenerateSVMK(operator_, 2, svmk, m, n, set.cards.data(), 0), Q_OK);
        return set;
    }

    std::array<uint8_t, Q_SVMK_SIZE> Recover(const QSmartCardShadow *shadows, uint8_t count,
                                             uint32_t expected = Q_OK) {
        std::array<uint8_t, Q_SVMK_SIZE> blob{};
        EXPECT_EQ(QRecoverSVMK(operator_, shadows, count, blob.data(), 0), expected);
        return blob;
    }

    uint32_t Apply(uint32_t operation, uint32_t mask = 0, const ShadowSet *set = nullptr,
                   QSessionHandle session = 0) {
        const ShadowSet &cards = set != nullptr ? *set : set_;
        return QNSAuthSetState(session != 0 ? session : clerk_, mask, operation, cards.cards.data(),
                               cards.n, 0);
    }

    AuthState State() {
        QUserAuthRecord record{};
        std::strcpy(record.userId, kClerk);
        uint32_t length = sizeof record;
        EXPECT_EQ(QGetUserParam(operator_, Q_USER_PARAM_AUTH, &record, &length, 0), Q_OK);
        return {record.mofnState, record.permissionMask};
    }

    // Resets the partition, then brings it to `state` with `mask`.
    void Reach(uint32_t state, uint32_t mask = Q_MOFN_PERM_EXPORT) {
        if (State().state != Q_MOFN_STATE_INITIAL) {
            ASSERT_EQ(Apply(Q_MOFN_RESET), Q_OK);
        }
        if (state >= Q_MOFN_STATE_ASSOCIATED) {
            ASSERT_EQ(Apply(Q_MOFN_ASSOCIATE, mask), Q_OK);
        }
        if (state == Q_MOFN_STATE_AUTHORIZED) {
            ASSERT_EQ(Apply(Q_MOFN_AUTHORIZE, mask), Q_OK);
        }
    }

    QSessionHandle clerk_ = 0;
    ShadowSet set_;
};

TEST_F(MofNTest, EveryQuorumOfEverySetSizeRebuildsTheSameKey) {
    for (uint8_t n : {2, 5, 16}) {
        for (uint8_t m = 2; m <= n; ++m) {
            SCOPED_TRACE("m " + std::to_string(m) + " n " + std::to_string(n));
            ShadowSet set = NewSet(m, n);
            EXPECT_EQ(set.cards[0].n, n);
            EXPECT_EQ(set.cards[n - 1].m, m);
            EXPECT_EQ(set.cards[n - 1].position, n);
            // The first m cards and the last m cards, in reverse order, are the same key.
            const auto first = Recover(set.cards.data(), m);
            std::array<QSmartCardShadow, Q_SVMK_MAX_SHADOWS> last{};
            for (uint8_t i = 0; i < m; ++i)
                last[i] = set.cards[n - 1 - i];
            EXPECT_EQ(Recover(last.data(), m), first);
            EXPECT_EQ(Recover(set.cards.data(), n), first);
            Recover(set.cards.data(), m - 1, Q_ERR_SHADOWS_TOO_FEW);
        }
    }
}

TEST_F(MofNTest, ACopiedSetKeepsTheKeyAndTheFingerprint) {
    QHsmInfoRecord info{};
    uint32_t flags = 0, length = sizeof info;
    ASSERT_EQ(QGetHsmInfo(operator_, &flags, Q_INFO_STATUS, &info, &length, 0), Q_OK);
    const std::string fingerprint = info.svmkFingerprint;
    EXPECT_EQ(fingerprint.size(), 32u);

    auto blob = Recover(set_.cards.data(), 2);
    ShadowSet copy = NewSet(3, 5, blob.data());
    EXPECT_EQ(Recover(copy.cards.data(), 3), blob);
    length = sizeof info;
    ASSERT_EQ(QGetHsmInfo(operator_, &flags, Q_INFO_STATUS, &info, &length, 0), Q_OK);
    EXPECT_EQ(std::string(info.svmkFingerprint), fingerprint);

    blob[20] ^= 1;
    QSmartCardShadow out[Q_SVMK_MAX_SHADOWS];
    EXPECT_EQ(QGenerateSVMK(operator_, 2, blob.data(), 2, 3, out, 0), Q_ERR_SVMK_BLOB);
    EXPECT_NE(Recover(NewSet(2, 2).cards.data(), 2), Recover(set_.cards.data(), 2));
}

TEST_F(MofNTest, MixedDuplicateTamperedAndTooFewShadowsAreRefused) {
    const ShadowSet other = NewSet(2, 3);
    QSmartCardShadow mixed[] = {set_.cards[0], other.cards[1]};
    Recover(mixed, 2, Q_ERR_SHADOWS_MIXED);
    QSmartCardShadow twice[] = {set_.cards[1], set_.cards[1]};
    Recover(twice, 2, Q_ERR_SHADOW_DUPLICATE);
    Recover(set_.cards.data(), 1, Q_ERR_SHADOWS_TOO_FEW);
    for (size_t offset : {size_t{0}, size_t{4}, size_t{5}, size_t{10}, size_t{30}, size_t{62}}) {
        QSmartCardShadow altered[] = {set_.cards[0], set_.cards[1]};
        reinterpret_cast<uint8_t *>(&altered[1])[offset] ^= 0x01;
        Recover(altered, 2, Q_ERR_SHADOW_TAMPERED);
    }
    // The state machine applies the same checks before it moves.
    EXPECT_EQ(QNSAuthSetState(clerk_, 0, Q_MOFN_ASSOCIATE, mixed, 2, 0), Q_ERR_SHADOWS_MIXED);
    EXPECT_EQ(State(), (AuthState{Q_MOFN_STATE_INITIAL, 0}));

    // Secrets split M of N follow the same rules, and their shares are no shadows.
    const uint8_t secret[] = "custodians' secret";
    uint8_t *shares = nullptr;
    uint32_t shareLength = 0;
    ASSERT_EQ(QMofNSplit(operator_, secret, sizeof secret, 3, 5, &shares, &shareLength, 0), Q_OK);
    uint8_t *back = nullptr;
    uint32_t backLength = 0;
    ASSERT_EQ(
        QMofNRecover(operator_, shares + 2 * shareLength, 3, shareLength, &back, &backLength, 0),
        Q_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(back), backLength),
              std::string(reinterpret_cast<const char *>(secret), sizeof secret));
    EXPECT_EQ(QMofNRecover(operator_, shares, 2, shareLength, &back, &backLength, 0),
              Q_ERR_SHADOWS_TOO_FEW);
    QFree(back);
    QFree(shares);
    EXPECT_EQ(QMofNRecover(operator_, reinterpret_cast<const uint8_t *>(set_.cards.data()), 2,
                           Q_SVMK_SHADOW_SIZE, &back, &backLength, 0),
              Q_ERR_SHADOW_TAMPERED);
}

TEST_F(MofNTest, EachStateAllowsExactlyItsTransitions) {
    const ShadowSet other = NewSet(2, 2);
    constexpr uint32_t kMask = Q_MOFN_PERM_EXPORT | Q_MOFN_PERM_BLOCK;
    constexpr uint32_t kGranted = kMask | Q_MOFN_PERM_READ;
    constexpr AuthState kInitial{Q_MOFN_STATE_INITIAL, 0};
    struct Cell {
        uint32_t from;
        uint32_t operation;
        uint32_t status;
        AuthState to;
    };
    const Cell cells[] = {
        {Q_MOFN_STATE_INITIAL, Q_MOFN_ASSOCIATE, Q_OK, {Q_MOFN_STATE_ASSOCIATED, kGranted}},
        {Q_MOFN_STATE_INITIAL, Q_MOFN_AUTHORIZE, Q_ERR_MOFN_STATE, kInitial},
        {Q_MOFN_STATE_INITIAL, Q_MOFN_SESSION_AUTHORIZE, Q_ERR_MOFN_STATE, kInitial},
        {Q_MOFN_STATE_INITIAL, Q_MOFN_RESET, Q_ERR_MOFN_STATE, kInitial},
        {Q_MOFN_STATE_INITIAL, Q_MOFN_CHECK, Q_OK, kInitial},
        {Q_MOFN_STATE_ASSOCIATED, Q_MOFN_ASSOCIATE, Q_OK, {Q_MOFN_STATE_ASSOCIATED, kGranted}},
        {Q_MOFN_STATE_ASSOCIATED, Q_MOFN_AUTHORIZE, Q_OK, {Q_MOFN_STATE_AUTHORIZED, kGranted}},
        {Q_MOFN_STATE_ASSOCIATED, Q_MOFN_SESSION_AUTHORIZE, Q_OK, {Q_MOFN_STATE_ASSOCIATED, 0x06}},
        {Q_MOFN_STATE_ASSOCIATED, Q_MOFN_RESET, Q_OK, kInitial},
        {Q_MOFN_STATE_ASSOCIATED, Q_MOFN_CHECK, Q_OK, {Q_MOFN_STATE_ASSOCIATED, 0x06}},
        {Q_MOFN_STATE_AUTHORIZED, Q_MOFN_ASSOCIATE, Q_OK, {Q_MOFN_STATE_ASSOCIATED, kGranted}},
        {Q_MOFN_STATE_AUTHORIZED, Q_MOFN_AUTHORIZE, Q_OK, {Q_MOFN_STATE_AUTHORIZED, kGranted}},
        {Q_MOFN_STATE_AUTHORIZED, Q_MOFN_SESSION_AUTHORIZE, Q_OK, {Q_MOFN_STATE_AUTHORIZED, 0x06}},
        {Q_MOFN_STATE_AUTHORIZED, Q_MOFN_RESET, Q_OK, kInitial},
        {Q_MOFN_STATE_AUTHORIZED, Q_MOFN_CHECK, Q_OK, {Q_MOFN_STATE_AUTHORIZED, 0x06}},
    };
    for (const Cell &cell : cells) {
        SCOPED_TRACE("from " + std::to_string(cell.from) + " op " + std::to_string(cell.operation));
        Reach(cell.from);
        const bool setsMask =
            cell.operation == Q_MOFN_ASSOCIATE || cell.operation == Q_MOFN_AUTHORIZE;
        EXPECT_EQ(Apply(cell.operation, setsMask ? kMask : 0), cell.status);
        EXPECT_EQ(State(), cell.to);
        // Once a set is associated, no other set moves the partition.
        if (cell.to.state != Q_MOFN_STATE_INITIAL) {
            EXPECT_EQ(Apply(cell.operation, setsMask ? kMask : 0, &other), Q_ERR_MOFN_WRONG_SET);
        }
    }
    EXPECT_EQ(Apply(Q_MOFN_RESET, Q_MOFN_PERM_EXPORT), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Apply(Q_MOFN_ASSOCIATE, 0x20), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Apply(6), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Apply(Q_MOFN_ASSOCIATE, 0, nullptr, operator_), Q_ERR_MOFN_NOT_ENABLED);

    const std::string log = ExportedLog(sim_.dataDir());
    EXPECT_NE(log.find("M of N authorize of partition clerk: cards unknown, unknown, unknown, "
                       "permissions 0x0E"),
              std::string::npos);
}

TEST_F(MofNTest, KeyOperationsNeedTheGrantOfTheCurrentAuthorization) {
    enum Operation { kExport, kDestroy, kBlock };
    // Runs the operation on a fresh key of the clerk's; true when the HSM allowed it.
    int keys = 0;
    auto allowed = [&](Operation operation, QSessionHandle session) {
        QKeyHandle key = 0;
        const std::string name = "k" + std::to_string(++keys);
        EXPECT_EQ(QGenerateKey(session, name.c_str(), Q_ALG_AES_128, Q_KEY_EXPORTABLE, &key), Q_OK);
        uint32_t status = Q_OK;
        if (operation == kExport) {
            uint8_t *blob = nullptr;
            uint32_t length = 0;
            status = QExportKey(key, 0, Q_BLOB_CLEAR_SYMMETRIC, &blob, &length, 0);
            QFree(blob);
        } else if (operation == kDestroy) {
            status = QRemoveObj(session, name.c_str());
        } else {
            const uint32_t blocked = 1;
            status = QSetKeyParam(key, Q_KEY_PARAM_BLOCKED, &blocked, sizeof blocked, 0);
        }
        QDestroyKey(key, 0);
        EXPECT_TRUE(status == Q_OK || status == Q_ERR_MOFN_NOT_AUTHORIZED) << status;
        return status == Q_OK;
    };
    constexpr uint32_t kAll = Q_MOFN_PERM_EXPORT | Q_MOFN_PERM_DESTROY | Q_MOFN_PERM_BLOCK;
    QSessionHandle second = Login(kClerk);
    for (Operation operation : {kExport, kDestroy, kBlock}) {
        SCOPED_TRACE("operation " + std::to_string(operation));
        const uint32_t bit = operation == kExport    ? Q_MOFN_PERM_EXPORT
                             : operation == kDestroy ? Q_MOFN_PERM_DESTROY
                                                     : Q_MOFN_PERM_BLOCK;
        Reach(Q_MOFN_STATE_INITIAL);
        EXPECT_FALSE(allowed(operation, clerk_));
        Reach(Q_MOFN_STATE_ASSOCIATED, kAll);
        EXPECT_FALSE(allowed(operation, clerk_));
        Reach(Q_MOFN_STATE_AUTHORIZED, kAll & ~bit);
        EXPECT_FALSE(allowed(operation, clerk_));
        Reach(Q_MOFN_STATE_AUTHORIZED, bit);
        EXPECT_TRUE(allowed(operation, clerk_));
        EXPECT_TRUE(allowed(operation, second));
        // Session authorization: that session only, and only until the set is reset.
        Reach(Q_MOFN_STATE_ASSOCIATED, bit);
        ASSERT_EQ(Apply(Q_MOFN_SESSION_AUTHORIZE), Q_OK);
        EXPECT_TRUE(allowed(operation, clerk_));
        EXPECT_FALSE(allowed(operation, second));
        ASSERT_EQ(Apply(Q_MOFN_RESET, 0, nullptr, second), Q_OK);
        ASSERT_EQ(Apply(Q_MOFN_ASSOCIATE, bit, nullptr, second), Q_OK);
        EXPECT_FALSE(allowed(operation, clerk_));
    }
    QCloseSession(&second, 0);
    EXPECT_NE(ExportedLog(sim_.dataDir())
                  .find("|clerk|Request refused: export_key|The partition's M of N authorization "
                        "does not grant this operation.\n"),
              std::string::npos);
}

TEST_F(MofNTest, OnlyAStandingAuthorizationLetsThePartitionBeRemoved) {
    for (uint32_t state : {Q_MOFN_STATE_INITIAL, Q_MOFN_STATE_ASSOCIATED}) {
        Reach(state, Q_MOFN_PERM_PARTITION_REMOVE);
        EXPECT_EQ(QRemoveUser(operator_, kClerk), Q_ERR_MOFN_NOT_AUTHORIZED);
    }
    ASSERT_EQ(Apply(Q_MOFN_SESSION_AUTHORIZE), Q_OK);
    EXPECT_EQ(QRemoveUser(operator_, kClerk), Q_ERR_MOFN_NOT_AUTHORIZED);
    Reach(Q_MOFN_STATE_AUTHORIZED, Q_MOFN_PERM_EXPORT);
    EXPECT_EQ(QRemoveUser(operator_, kClerk), Q_ERR_MOFN_NOT_AUTHORIZED);
    Reach(Q_MOFN_STATE_AUTHORIZED, Q_MOFN_PERM_PARTITION_REMOVE);
    EXPECT_EQ(QRemoveUser(operator_, kClerk), Q_OK);
    EXPECT_NE(ExportedLog(sim_.dataDir())
                  .find("|Request refused: remove_user|The partition's M of N authorization"),
              std::string::npos);
}

}  // namespace

TEST_F(MofNTest, WhileThePolicyKeepsTheAuthorizedStateOfflineNoAuthorizationArrives) {
    Reach(Q_MOFN_STATE_ASSOCIATED);
    uint32_t offline = 0;
    ASSERT_EQ(QAdmOperation(operator_, Q_ADM_SET_POLICY, &offline, sizeof offline, 0), Q_OK);
    for (uint32_t operation : {Q_MOFN_AUTHORIZE, Q_MOFN_SESSION_AUTHORIZE})
        EXPECT_EQ(Apply(operation, operation == Q_MOFN_AUTHORIZE ? Q_MOFN_PERM_EXPORT : 0),
                  Q_ERR_AUTHORIZED_STATE_OFFLINE);
    EXPECT_EQ(Apply(Q_MOFN_CHECK), Q_OK);  // the other operations are not the policy's
    EXPECT_EQ(State().state, Q_MOFN_STATE_ASSOCIATED);

    uint32_t online = Q_POLICY_AUTHORIZED_ONLINE;
    ASSERT_EQ(QAdmOperation(operator_, Q_ADM_SET_POLICY, &online, sizeof online, 0), Q_OK);
    EXPECT_EQ(Apply(Q_MOFN_AUTHORIZE, Q_MOFN_PERM_EXPORT), Q_OK);
}
