#include "store/password_policy_store.h"

#include <string>

namespace sim {

PasswordPolicyStore::PasswordPolicyStore(const DatabaseFile &file, const EventLog &events)
    : db_(file), events_(events) {}

PasswordPolicy PasswordPolicyStore::Load() {
    std::lock_guard lock(mutex_);
    return Read(db_);
}

PasswordPolicy PasswordPolicyStore::Read(Database &db) {
    Statement st(db,
                 "SELECT invalid_logins, expiry_days, min_length, specials, uppercase, "
                 "lowercase FROM password_policy WHERE id = 1");
    PasswordPolicy policy;
    if (!st.Step()) return policy;
    policy.invalidLogins = static_cast<uint8_t>(st.Int(0));
    policy.expiryDays = static_cast<uint8_t>(st.Int(1));
    policy.minLength = static_cast<uint8_t>(st.Int(2));
    policy.specials = static_cast<uint8_t>(st.Int(3));
    policy.uppercase = static_cast<uint8_t>(st.Int(4));
    policy.lowercase = static_cast<uint8_t>(st.Int(5));
    return policy;
}

void PasswordPolicyStore::Save(Actor actor, const PasswordPolicy &policy) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_,
              "UPDATE password_policy SET invalid_logins = ?, expiry_days = ?, min_length = ?, "
              "specials = ?, uppercase = ?, lowercase = ? WHERE id = 1")
        .Bind(1, int64_t{policy.invalidLogins})
        .Bind(2, int64_t{policy.expiryDays})
        .Bind(3, int64_t{policy.minLength})
        .Bind(4, int64_t{policy.specials})
        .Bind(5, int64_t{policy.uppercase})
        .Bind(6, int64_t{policy.lowercase})
        .Run();
    auto number = [](uint8_t value) { return std::to_string(value); };
    events_.Append(db_, actor,
                   "Password policy set: invalid logins " + number(policy.invalidLogins) +
                       ", expiry days " + number(policy.expiryDays) + ", minimum length " +
                       number(policy.minLength) + ", specials " + number(policy.specials) +
                       ", uppercase " + number(policy.uppercase) + ", lowercase " +
                       number(policy.lowercase),
                   kEventOk);
    tx.Commit();
}

}  // namespace sim
