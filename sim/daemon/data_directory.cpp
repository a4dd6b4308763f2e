#include "daemon/data_directory.h"

#include <openssl/rand.h>
#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>

#include "constants.pb.h"
#include "crypto/password_hash.h"
#include "store/schema.h"

namespace sim {

namespace {

constexpr size_t kGeneratedPasswordLength = 14;

std::string PrepareDirectory(const std::string &dir) {
    if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot create data directory " + dir);
    return dir;
}

std::string RandomPassword() {
    static constexpr char kAlphabet[] =
        "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789#%+=";
    unsigned char random[kGeneratedPasswordLength];
    if (RAND_bytes(random, sizeof random) != 1) throw std::runtime_error("RAND_bytes failed");
    std::string password;
    for (unsigned char r : random)
        password.push_back(kAlphabet[r % (sizeof kAlphabet - 1)]);
    OPENSSL_cleanse(random, sizeof random);
    return password;
}

}  // namespace

DataDirectory::DataDirectory(const std::string &dir, const Clock &clock)
    : dir_(PrepareDirectory(dir)), masterKey_(MasterKey::LoadOrCreate(dir_ + "/master.key")) {
    {
        Database db(dir_ + "/hsm.db");
        EnsureSchema(db);
    }
    users_ = std::make_unique<UserStore>(dir_ + "/hsm.db", clock);
    keys_ = std::make_unique<KeyStore>(dir_ + "/hsm.db", clock);
    KeyStore &keys = *keys_;
    users_->partitions().Add(
        PartitionMember{[&keys](std::string_view userId) { keys.RemoveAll(userId); },
                        [&keys](std::string_view userId) { return keys.CountByKind(userId); }});
}

std::optional<std::string> CreateMasterUser(DataDirectory &data,
                                            const std::optional<std::string> &initPassword) {
    if (data.users().HasUsers()) return std::nullopt;
    std::string password = initPassword ? *initPassword : RandomPassword();
    Result result =
        data.users().AddUser(kMasterUser, HashPassword(password), wire::pb::ACL_OPERATOR);
    if (result != Result::kOk) throw std::runtime_error("cannot create operator master");
    if (initPassword) {
        OPENSSL_cleanse(password.data(), password.size());
        return std::nullopt;
    }
    return password;
}

}  // namespace sim
