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

// The stores assume the schema: it is brought up to date before the first of them opens.
DatabaseFile PrepareDatabase(DatabaseFile file, const std::string &serial) {
    Database db(file);
    EnsureSchema(db, serial);
    return file;
}

}  // namespace

DataDirectory::DataDirectory(const std::string &dir, const Clock &clock, const std::string &serial,
                             const std::string &vfs)
    : dir_(PrepareDirectory(dir)),
      masterKey_(MasterKey::LoadOrCreate(dir_ + "/master.key")),
      file_(PrepareDatabase({dir_ + "/hsm.db", vfs}, serial)),
      events_(file_, clock),
      users_(file_, clock, events_),
      tokens_(file_, events_),
      policy_(file_, events_),
      keys_(file_, clock, events_) {
    users_.partitions().Add(PartitionMember{
        [this](Actor actor, std::string_view userId) { keys_.RemoveAll(actor, userId); },
        [this](std::string_view userId) { return keys_.CountByKind(userId); }});
}

std::optional<std::string> CreateMasterUser(DataDirectory &data,
                                            const std::optional<std::string> &initPassword) {
    if (data.users().HasUsers()) return std::nullopt;
    std::string password = initPassword ? *initPassword : RandomPassword();
    Result result = data.users().AddUser(Actor::Daemon(), kMasterUser, HashPassword(password),
                                         wire::pb::ACL_OPERATOR);
    if (result != Result::kOk) throw std::runtime_error("cannot create operator master");
    if (initPassword) {
        OPENSSL_cleanse(password.data(), password.size());
        return std::nullopt;
    }
    return password;
}

}  // namespace sim
