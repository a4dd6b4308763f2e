#pragma once
// The files of one HSM: hsm.db, master.key, tls.key and tls.crt, the vendor key pair that
// signs update packages (vendor.key, vendor.crt), and the firmware files of FirmwareStore.
// Shared by the daemon and orvena-simctl, which may open the same directory at the same
// time.

#include <optional>
#include <ostream>
#include <string>

#include "core/clock.h"
#include "crypto/master_key.h"
#include "policy/device_identity.h"
#include "store/access_token_store.h"
#include "store/backup_store.h"
#include "store/cloud_store.h"
#include "store/eftd_config_store.h"
#include "store/event_log.h"
#include "store/key_store.h"
#include "store/mofn_store.h"
#include "store/password_policy_store.h"
#include "store/user_store.h"

namespace sim {

class DataDirectory {
  public:
    // Creates the directory, database schema, master key and vendor key pair when missing; `serial`
    // is where the event log of a new database starts its chain. The stores open the database
    // through the SQLite VFS named `vfs` (empty: SQLite's default), and their write transactions
    // consult `hook` (none: null). Throws std::runtime_error (or StoreError) when they cannot be
    // opened.
    DataDirectory(const std::string &dir, const Clock &clock, const std::string &serial,
                  const std::string &vfs = {}, CommitHook *hook = nullptr);

    UserStore &users() { return users_; }
    AccessTokenStore &tokens() { return tokens_; }
    PasswordPolicyStore &policy() { return policy_; }
    KeyStore &keys() { return keys_; }
    BackupStore &backups() { return backups_; }
    MofNStore &mofn() { return mofn_; }
    CloudStore &cloud() { return cloud_; }
    EventLog &events() { return events_; }
    EftdConfigStore &eftd() { return eftd_; }
    const MasterKey &masterKey() const { return masterKey_; }
    const std::string &path() const { return dir_; }
    const DatabaseFile &database() const { return file_; }
    std::string tlsKeyPath() const { return dir_ + "/tls.key"; }
    std::string tlsCertPath() const { return dir_ + "/tls.crt"; }
    std::string vendorKeyPath() const { return dir_ + "/vendor.key"; }
    std::string vendorCertPath() const { return dir_ + "/vendor.crt"; }

  private:
    std::string dir_;
    MasterKey masterKey_;
    DatabaseFile file_;
    EventLog events_;
    UserStore users_;
    AccessTokenStore tokens_;
    PasswordPolicyStore policy_;
    KeyStore keys_;
    BackupStore backups_;
    MofNStore mofn_;
    CloudStore cloud_;
    EftdConfigStore eftd_;
};

inline constexpr const char *kMasterUser = "master";

// When the HSM has no user at all, creates operator `master` with `initPassword`, or with a
// random password that is returned so the caller can show it once. Returns nullopt
// otherwise.
std::optional<std::string> CreateMasterUser(DataDirectory &data,
                                            const std::optional<std::string> &initPassword);

// Makes a data directory ready to serve, as the daemon's first start and orvena-simctl init
// do: operator master (CreateMasterUser; a generated password is written once to `out`),
// then the TLS identity named after `identity`. The certificate is made last, so its file
// tells that the directory is complete. Does nothing that is done already.
void ProvisionDataDirectory(DataDirectory &data, const std::optional<std::string> &initPassword,
                            const DeviceIdentity &identity, std::ostream &out);

}  // namespace sim
