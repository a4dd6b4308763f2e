// What one client may take of the simulator: descriptors, memory and time before login,
// connections and the request rate.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <memory>
#include <vector>

#include "sim_process.h"
#include "sim_raw_client.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool LogsIn(const SimProcess &sim) {
    RawClient client(sim.port(), false);
    return client.Status(PasswordLogin("master", sim.initPassword())) == wire::OK;
}

TEST(SimLimits, DescriptorsComeBackOnceClientsLeaveEvenAfterTheTableFilled) {
    SimProcess sim;
    RawClient operatorClient(sim.port(), false);
    ASSERT_EQ(operatorClient.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    const rlimit limit{64, 64};
    ASSERT_EQ(::prlimit(sim.pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    {
        std::vector<std::unique_ptr<RawClient>> flood;
        for (int i = 0; i < 100; ++i)
            flood.push_back(std::make_unique<RawClient>(sim.port(), false));
        // Past the end of the table a client is refused, not left waiting in the backlog.
        EXPECT_TRUE(flood.back()->WaitClosed());
        // The clients never take the descriptors the HSM's own work needs.
        wire::pb::Request ping;
        ping.mutable_run_network_tool()->set_tool(1);
        ping.mutable_run_network_tool()->set_target("127.0.0.1");
        EXPECT_EQ(operatorClient.Status(ping), wire::OK);
    }
    const Clock::time_point start = Clock::now();
    bool served = false;
    // A bound for a hang, not a speed: under sanitizers on a loaded machine the simulator
    // takes seconds to notice a hundred clients leave.
    while (!served && SecondsSince(start) < 60)
        served = LogsIn(sim);
    EXPECT_TRUE(served) << "the simulator never served again";
}

TEST(SimLimits, ConnectionsNotYetLoggedInAreFewAndALoginFreesItsPlace) {
    SimProcess sim(SimProcess::Options{.extraArgs = {"--max-pending-logins", "3"}});
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 3; ++i)
        idle.push_back(std::make_unique<RawClient>(sim.port(), false));
    RawClient onePast(sim.port(), false);
    EXPECT_TRUE(onePast.WaitClosed());
    ASSERT_EQ(idle[0]->Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    EXPECT_TRUE(LogsIn(sim));
}

// On a simulator of its own: the server forgets a closed client a moment after it closes,
// so clients left over from the test above could still fill a small pending limit.
TEST(SimLimits, BeforeLoginFramesAreSmallAndTheLoginTimed) {
    SimProcess sim(SimProcess::Options{.extraArgs = {"--login-timeout", "5"}});
    {  // an announced 8 MiB frame is refused before a byte of it is taken
        RawClient client(sim.port(), false);
        ASSERT_TRUE(client.SendRaw(FrameHeader(wire::kMaxFrameBytes)));
        std::optional<wire::pb::Response> response = client.Receive();
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status(), wire::ERR_FRAME_TOO_LARGE);
        EXPECT_TRUE(client.WaitClosed());
    }
    {  // a login that trickles in is cut off, in clear text as in TLS
        const Clock::time_point start = Clock::now();
        RawClient clear(sim.port(), false);
        RawClient tls(sim.port(), true);
        for (RawClient *client : {&clear, &tls}) {
            ASSERT_TRUE(client->SendRaw(FrameHeader(100) + "partial"));
            EXPECT_TRUE(client->WaitClosed());
        }
        EXPECT_LT(SecondsSince(start), 15);
    }
    {  // once logged in, frames may be large again
        RawClient client(sim.port(), false);
        ASSERT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
        std::string liveness;
        Liveness().SerializeToString(&liveness);
        // Field 100000, length-delimited, 64 KiB: a field the reader skips.
        const std::string unknown =
            std::string("\x82\xea\x30\x80\x80\x04", 6) + std::string(64 * 1024, 'x');
        const std::string body = liveness + unknown;
        ASSERT_TRUE(client.SendRaw(FrameHeader(static_cast<uint32_t>(body.size())) + body));
        std::optional<wire::pb::Response> response = client.Receive();
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status(), wire::OK);
    }
}

TEST(SimLimits, ConnectionsPerAddressAreBoundedAndAFloodOfRequestsIsPaced) {
    SimProcess sim(SimProcess::Options{
        .extraArgs = {"--max-connections-per-address", "2", "--max-requests-per-second", "50"}});
    RawClient first(sim.port(), false);
    RawClient second(sim.port(), false);
    ASSERT_EQ(first.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    RawClient third(sim.port(), false);
    EXPECT_TRUE(third.WaitClosed());

    // A second's worth passes at once; the next 50 take about another second.
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(first.Status(Liveness()), wire::OK);
    EXPECT_GT(SecondsSince(start), 0.9);
}

}  // namespace
