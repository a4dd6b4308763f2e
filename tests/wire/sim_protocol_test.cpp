// The simulator's network behaviour: malformed traffic, shutdown, durability, limits.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "sim_process.h"
#include "sim_raw_client.h"

namespace {

// The daemon still serves a complete, well-formed session.
void ExpectStillServing(const SimProcess &sim) {
    RawClient client(sim.port(), true);
    ASSERT_TRUE(client.connected());
    EXPECT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    EXPECT_EQ(client.Status(Liveness()), wire::OK);
}

TEST(SimProtocol, MalformedTrafficIsRefusedAndOthersAreStillServed) {
    SimProcess sim;
    {  // a frame above the bound of a logged-in session: refused unread, then closed (the
       // smaller bound before a login is the limits test's)
        RawClient client(sim.port(), false);
        ASSERT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
        ASSERT_TRUE(client.SendRaw(FrameHeader(wire::kMaxFrameBytes + 1)));
        std::optional<wire::pb::Response> response = client.Receive();
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status(), wire::ERR_FRAME_TOO_LARGE);
        EXPECT_TRUE(client.WaitClosed());
    }
    {  // bytes that are no message: an error, and the session goes on
        RawClient client(sim.port(), false);
        ASSERT_TRUE(client.SendRaw(FrameHeader(4) + "\xff\xff\xff\xff"));
        std::optional<wire::pb::Response> response = client.Receive();
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status(), wire::ERR_PROTOCOL);
        EXPECT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    }
    {  // an empty request names no operation
        RawClient client(sim.port(), false);
        EXPECT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
        EXPECT_EQ(client.Status(wire::pb::Request()), wire::ERR_NOT_SUPPORTED);
    }
    {  // a client vanishing in the middle of a frame
        RawClient client(sim.port(), true);
        ASSERT_TRUE(client.SendRaw(FrameHeader(100) + "partial"));
    }
    {  // a TLS handshake on a session that started in clear text
        RawClient client(sim.port(), false);
        EXPECT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
        ASSERT_TRUE(client.SendRaw(std::string("\x16\x03\x01\x00\x2f", 5) + std::string(47, 'A')));
        EXPECT_TRUE(client.WaitClosed());
    }
    {  // clear-text frames on a connection that started TLS
        RawClient client(sim.port(), true);
        ASSERT_TRUE(client.connected());
        std::string bytes;
        PasswordLogin("master", sim.initPassword()).SerializeToString(&bytes);
        ASSERT_EQ(
            ::send(client.fd(), (FrameHeader(static_cast<uint32_t>(bytes.size())) + bytes).data(),
                   bytes.size() + 4, MSG_NOSIGNAL),
            static_cast<ssize_t>(bytes.size() + 4));
        EXPECT_TRUE(client.WaitClosed());
    }
    ExpectStillServing(sim);
}

TEST(SimProtocol, AcknowledgedChangeSurvivesKillAndSigtermWithOpenSessionsExitsCleanly) {
    SimProcess sim;
    {
        RawClient client(sim.port(), true);
        ASSERT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
        wire::pb::Request change;
        change.mutable_set_own_password()->set_password("Changed#98765");
        ASSERT_EQ(client.Status(change), wire::OK);
        sim.Kill();
    }
    sim.Restart();
    EXPECT_EQ(RawClient(sim.port(), true).Status(PasswordLogin("master", sim.initPassword())),
              wire::ERR_AUTH_FAILED);
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 4; ++i) {
        clients.push_back(std::make_unique<RawClient>(sim.port(), i % 2 == 0));
        ASSERT_EQ(clients.back()->Status(PasswordLogin("master", "Changed#98765")), wire::OK);
    }
    EXPECT_EQ(sim.Stop(), 0);
    sim.Restart();
    EXPECT_EQ(RawClient(sim.port(), true).Status(PasswordLogin("master", "Changed#98765")),
              wire::OK);
}

TEST(SimProtocol, SessionLimitRefusesAndClosesUntilASessionEnds) {
    SimProcess sim(SimProcess::Options{.extraArgs = {"--max-sessions", "2"}});
    RawClient first(sim.port(), false);
    RawClient second(sim.port(), false);
    ASSERT_EQ(first.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    ASSERT_EQ(second.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    {
        RawClient third(sim.port(), false);
        EXPECT_EQ(third.Status(PasswordLogin("master", sim.initPassword())),
                  wire::ERR_SESSION_LIMIT);
        EXPECT_TRUE(third.WaitClosed());
    }
    wire::pb::Request logout;
    logout.mutable_logout();
    ASSERT_EQ(first.Status(logout), wire::OK);
    RawClient fourth(sim.port(), false);
    EXPECT_EQ(fourth.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
}

TEST(SimProtocol, IdleSessionIsClosedAndItsSlotFreed) {
    SimProcess sim(
        SimProcess::Options{.extraArgs = {"--idle-timeout", "1", "--max-sessions", "1"}});
    RawClient idle(sim.port(), true);
    ASSERT_EQ(idle.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    EXPECT_TRUE(idle.WaitClosed());
    RawClient next(sim.port(), true);
    EXPECT_EQ(next.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
}

TEST(SimProtocol, ManyConcurrentSessionsAreServed) {
    SimProcess sim;
    constexpr int kClients = 256;
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < kClients; ++i) {
        clients.push_back(std::make_unique<RawClient>(sim.port(), false));
        wire::pb::Request anonymous;
        anonymous.mutable_login()->set_method(wire::pb::LOGIN_ANONYMOUS);
        ASSERT_EQ(clients.back()->Status(anonymous), wire::OK) << "client " << i;
    }
    for (auto &client : clients)
        EXPECT_EQ(client->Status(Liveness()), wire::OK);
}

TEST(SimProtocol, DiscoveryAnswersProbesOnlyWithTheMagic) {
    SimProcess sim;
    ASSERT_NE(sim.discoveryPort(), 0);
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    timeval timeout{30, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(sim.discoveryPort());
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto send = [&](uint32_t magic) {
        wire::pb::DiscoveryProbe probe;
        probe.set_magic(magic);
        std::string bytes;
        probe.SerializeToString(&bytes);
        ::sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr *>(&to), sizeof to);
    };
    send(0x12345678);  // ignored: only one reply may come back
    send(0x4F52564E);
    char buffer[1024];
    ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
    ASSERT_GT(got, 0);
    wire::pb::DiscoveryReply reply;
    ASSERT_TRUE(reply.ParseFromArray(buffer, static_cast<int>(got)));
    EXPECT_EQ(reply.magic(), 0x4F52564Eu);
    EXPECT_EQ(reply.address(), "127.0.0.1");
    EXPECT_EQ(reply.port(), sim.port());
    EXPECT_EQ(reply.model(), "ORV-9000");
    EXPECT_EQ(reply.serial(), "OV00000001");
    EXPECT_EQ(::recv(fd, buffer, sizeof buffer, MSG_DONTWAIT), -1);
    ::close(fd);
}

}  // namespace
