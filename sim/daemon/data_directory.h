#pragma once
// The files of one HSM: hsm.db, master.key, tls.key and tls.crt. Shared by the daemon and
// orvena-simctl, which may open the same directory at the same time.

#include <memory>
#include <optional>
#include <string>

#include "core/clock.h"
#include "crypto/master_key.h"
#include "store/key_store.h"
#include "store/user_store.h"

namespace sim {

class DataDirectory {
  public:
    // Creates the directory, database schema and master key when missing. Throws
    // std::runtime_error (or StoreError) when they cannot be opened.
    DataDirectory(const std::string &dir, const Clock &clock);

    UserStore &users() { return *users_; }
    KeyStore &keys() { return *keys_; }
    const MasterKey &masterKey() const { return masterKey_; }
    std::string tlsKeyPath() const { return dir_ + "/tls.key"; }
    std::string tlsCertPath() const { return dir_ + "/tls.crt"; }

  private:
    std::string dir_;
    MasterKey masterKey_;
    std::unique_ptr<UserStore> users_;
    std::unique_ptr<KeyStore> keys_;
};

inline constexpr const char *kMasterUser = "master";

// When the HSM has no user at all, creates operator `master` with `initPassword`, or with a
// random password that is returned so the caller can show it once. Returns nullopt
// otherwise.
std::optional<std::string> CreateMasterUser(DataDirectory &data,
                                            const std::optional<std::string> &initPassword);

}  // namespace sim
