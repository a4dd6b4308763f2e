#pragma once
// Shared set-up of the user and access-token tests: logins, user records and listings.

#include <cstring>
#include <string>
#include <vector>

#include "qelvoarc_fixture.h"

class UsersTest : public LibraryTest {
  protected:
    static QUserRecord Record(const std::string &id, const std::string &password, uint32_t acl) {
        QUserRecord record{};
        std::memcpy(record.userId, id.data(), std::min(id.size(), sizeof record.userId));
        std::memcpy(record.password, password.data(),
                    std::min(password.size(), sizeof record.password));
        record.acl = acl;
        return record;
    }

    uint32_t Create(QSessionHandle session, const std::string &id, uint32_t acl,
                    const std::string &password = "Passw0rd!x") {
        QUserRecord record = Record(id, password, acl);
        return QCreateUser(session, &record);
    }

    static QAccessTokenRecord Issue(QSessionHandle session,
                                    uint64_t expiration = Q_ATOKEN_NO_EXPIRATION) {
        QAccessTokenRecord record{};
        record.expiration = expiration;
        EXPECT_EQ(QManageAToken(session, Q_ATOKEN_ISSUE, &record, nullptr, nullptr, 0), Q_OK);
        return record;
    }

    // The status of an access-token login; its session goes to `kept` if given, else is closed.
    uint32_t TryTokenLogin(const uint8_t (&token)[32], QSessionHandle *kept = nullptr) {
        QAccessTokenLoginRecord record{};
        std::strcpy(record.address, "127.0.0.1");
        record.port = sim_.port();
        std::memcpy(record.token, token, sizeof record.token);
        QSessionHandle session = 0;
        uint32_t status =
            QOpenSession(&session, Q_LOGIN_ACCESS_TOKEN, &record, sizeof record, Q_SESSION_TLS);
        EXPECT_TRUE(session == 0 || status == Q_OK) << status;
        if (kept != nullptr)
            *kept = session;
        else if (session != 0)
            QCloseSession(&session, 0);
        return status;
    }

    uint32_t Acl(const std::string &user) {
        uint32_t acl = 0;
        EXPECT_EQ(QGetUserAcl(operator_, user.c_str(), &acl), Q_OK) << user;
        return acl;
    }

    static std::vector<std::string> ListUsers(QSessionHandle session, uint32_t *status) {
        std::vector<std::string> names;
        *status = QListUsers(session, CollectNames, &names);
        return names;
    }
};
