#pragma once
// An HSM context over a temporary data directory, with a clock the test moves and a
// diagnostic log the test reads, for tests that drive the dispatcher directly.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <cstdio>
#include <string>

#include "crypto/password_hash.h"
#include "daemon/data_directory.h"
#include "server/dispatcher.h"
#include "server/service_table.h"
#include "temp_dir.h"

class FakeClock final : public sim::Clock {
  public:
    int64_t Now() const override { return now_; }
    void Advance(int64_t seconds) { now_ += seconds; }

  private:
    std::atomic<int64_t> now_{1'700'000'000};
};

class SimHsm : public ::testing::Test {
  protected:
    // `vfs`: the SQLite VFS the stores open the database through (empty: the default).
    explicit SimHsm(const std::string &vfs = {})
        : data_(dir_.path(), clock_, identity_.serial, vfs) {}
    ~SimHsm() override {
        std::fclose(logFile_);
        ::free(logText_);
    }

    void AddUser(const std::string &user, const std::string &password, uint32_t acl) {
        EXPECT_EQ(
            data_.users().AddUser(sim::Actor::Daemon(), user, sim::HashPassword(password), acl),
            sim::Result::kOk);
    }

    static wire::pb::Request Login(const std::string &user, const std::string &password) {
        wire::pb::Request request;
        request.mutable_login()->set_method(wire::pb::LOGIN_PASSWORD);
        request.mutable_login()->set_user(user);
        request.mutable_login()->set_password(password);
        return request;
    }

    wire::pb::Response Send(sim::ConnectionState &conn, wire::pb::Request request,
                            const sim::DispatchTable &table = sim::ServiceTable()) {
        return sim::Dispatch(table, hsm_, conn, request);
    }

    // A connection whose session was opened as by a login of `user`.
    sim::ConnectionState SessionOf(const std::string &user,
                                   sim::SessionKind kind = sim::SessionKind::kUser) {
        sim::ConnectionState conn;
        conn.session = sessions_.Open(user, kind, false);
        return conn;
    }

    std::string LogText() const { return std::string(logText_, logSize_); }

    FakeClock clock_;
    sim::DeviceIdentity identity_;
    TempDir dir_;
    sim::DataDirectory data_;
    sim::SessionTable sessions_{16};
    char *logText_ = nullptr;
    size_t logSize_ = 0;
    std::FILE *logFile_ = ::open_memstream(&logText_, &logSize_);
    sim::DiagnosticLog log_{logFile_};
    sim::HardwareSettings hardware_;
    sim::UpackVerifier vendor_{data_.vendorCertPath()};
    sim::FirmwareStore firmware_{dir_.path(), identity_.firmware, vendor_, data_.events()};
    sim::IpFilterStore ipFilter_{data_.database(), data_.events()};
    sim::HsmContext hsm_{
        data_.users(), data_.masterKey(), sessions_,       clock_,         identity_,
        data_.keys(),  data_.tokens(),    data_.policy(),  data_.events(), log_,
        hardware_,     firmware_,         data_.backups(), ipFilter_,      data_.mofn(),
        data_.cloud(), data_.eftd()};
};
