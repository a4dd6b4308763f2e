#include "daemon/data_directory.h"

#include <openssl/rand.h>
#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>

#include "constants.pb.h"
#include "crypto/password_hash.h"
#include "crypto/tls_identity.h"
#include "store/schema.h"

namespace sim {

namespace {

constexpr size_t kGeneratedPasswordLength = 14;

// The files of an HSM: password hashes, sealed keys, the master key.
constexpr const char *kDataFiles[] = {
    "hsm.db",  "hsm.db-wal", "hsm.db-shm", "master.key",       "tls.key",
    "tls.crt", "vendor.key", "vendor.crt", "firmware.version", "upack.pending"};

// Another user who can write the directory could swap the database or the master key, so
// such a directory is refused. Files of older versions that others could read are made
// the owner's alone.
std::string PrepareDirectory(const std::string &dir) {
    if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot create data directory " + dir);
    struct stat st {};
    if (::stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        throw std::runtime_error("data directory " + dir + " is not a directory");
    if ((st.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw std::runtime_error("data directory " + dir +
                                 " can be written by other users; run chmod go-w on it");
    for (const char *name : kDataFiles) {
        const std::string path = dir + "/" + name;
        if (::stat(path.c_str(), &st) == 0 && (st.st_mode & 077) != 0 &&
            ::chmod(path.c_str(), 0600) != 0)
            throw std::runtime_error("cannot make " + path + " private");
    }
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
    Database db({file.path, file.vfs});
    EnsureSchema(db, serial);
    return file;
}

}  // namespace

DataDirectory::DataDirectory(const std::string &dir, const Clock &clock, const std::string &serial,
                             const std::string &vfs, CommitHook *hook)
    : dir_(PrepareDirectory(dir)),
      masterKey_(MasterKey::LoadOrCreate(dir_ + "/master.key")),
      file_(PrepareDatabase({dir_ + "/hsm.db", vfs, hook}, serial)),
      events_(file_, clock),
      users_(file_, clock, events_),
      tokens_(file_, events_),
      policy_(file_, events_),
      keys_(file_, clock, events_),
      backups_(file_, dir_, events_),
      mofn_(file_, events_),
      cloud_(file_, events_),
      eftd_(file_, events_) {
    EnsureSelfSignedIdentity(vendorKeyPath(), vendorCertPath(), "Orvena firmware vendor",
                             IdentityKey::kEd25519);
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

void ProvisionDataDirectory(DataDirectory &data, const std::optional<std::string> &initPassword,
                            const DeviceIdentity &identity, std::ostream &out) {
    if (std::optional<std::string> generated = CreateMasterUser(data, initPassword)) {
        out << "Initial password of operator master: " << *generated << std::endl;
        OPENSSL_cleanse(generated->data(), generated->size());
    }
    EnsureTlsIdentity(data.tlsKeyPath(), data.tlsCertPath(),
                      identity.model + " " + identity.serial);
}

}  // namespace sim
