// The HSM information screen against simulators answering older record versions, and the
// live monitors left with Control+C.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>

#include "console_e2e_support.h"

namespace {

// The text between two section titles of the screen.
std::string Section(const std::string &screen, const std::string &title, const std::string &next) {
    const size_t start = screen.find(title + "\n\n");
    const size_t end = screen.find(next + "\n\n", start);
    if (start == std::string::npos || end == std::string::npos) return {};
    return screen.substr(start, end - start);
}

bool Has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

bool Matches(const std::string &text, const std::string &pattern) {
    return std::regex_search(text, std::regex(pattern));
}

bool MachineHasSwap() {
    std::ifstream meminfo("/proc/meminfo");
    std::string label;
    unsigned long long value = 0;
    std::string unit;
    while (meminfo >> label >> value >> unit)
        if (label == "SwapTotal:") return value != 0;
    return false;
}

TEST(HsmInfoScreen, EachRecordVersionShowsWhatItCarries) {
    struct Case {
        const char *version;
        const char *battery;
        bool tampered;
    };
    for (const Case &c :
         {Case{"4", "absent", false}, Case{"7", "fault", false}, Case{"10", "ok", true}}) {
        SCOPED_TRACE(c.version);
        std::vector<std::string> args = {"--info-version", c.version,         "--battery",
                                         c.battery,        "--snmp-location", "rack 4"};
        if (c.tampered) args.push_back("--tampered");
        SimProcess sim(SimProcess::Options{.extraArgs = args});
        PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
        ASSERT_TRUE(LogIn(console, sim.initPassword()));
        const size_t begin = console.Output().size();
        console.Send("35\n");
        ASSERT_TRUE(console.Expect("Days to expire : 0\n"));
        Answer(console, "Press ENTER key to continue...\n\n", "\n");
        console.Expect("Option : ");
        const std::string screen = console.Output().substr(begin);
        const int version = std::stoi(c.version);

        EXPECT_TRUE(Has(screen, "HSM - Info\n\n               Client\n\n           tarsel : "));
        EXPECT_TRUE(Matches(screen, "\n         qelvoarc : \\d+\\.\\d+\\.\\d+\\.\\d+\n"));
        EXPECT_TRUE(Matches(screen, "\n           Cipher : TLS_\\w+\n"));

        const std::string hardware = Section(screen, "Hardware", "Status");
        EXPECT_TRUE(Has(hardware,
                        "     Manufacturer : Orvena\n"
                        "            Model : ORV-9000\n"));
        EXPECT_TRUE(Has(hardware,
                        " Firmware version : 5.1.0.0\n"
                        "    Serial number : OV00000001\n"));
        EXPECT_TRUE(Matches(hardware,
                            "           TP key : [0-9A-F]{40}\n"
                            " SVMK fingerprint : None\n"));
        EXPECT_TRUE(Matches(hardware,
                            "   Loaded Modules : OpenSSL 3\\.[^\n]*\n"
                            "                    OpenSSL provider "));

        const std::string status = Section(screen, "Status", "Network");
        EXPECT_EQ(Has(status, "Status\n\n         HSM IS TAMPERED!!!\n\n"), c.tampered);
        // Before version 5 there is no clock: an empty line takes its place.
        EXPECT_EQ(Has(status, "Status\n\n\n           Uptime : 0 y, 0 m, 0 ds, 0 hs, "),
                  version < 5);
        EXPECT_EQ(Matches(status,
                          "\n              Now : \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d "
                          "GMT\n           Uptime : 0 y, 0 m, 0 ds, 0 hs, "),
                  version >= 5);
        const char *battery = std::string(c.battery) == "absent"  ? "No information avaliable."
                              : std::string(c.battery) == "fault" ? "ERROR"
                                                                  : "OK";
        EXPECT_TRUE(Has(status, std::string("\n   Battery Status : ") + battery +
                                    "\n"
                                    "   Operation Mode : Standard (non-FIPS)\n"
                                    "        Telemetry : no\n"
                                    "Remote Management : inactive\n"));
        EXPECT_TRUE(Matches(status, "\n     Storage Area : \\d{1,3}%\n"));
        // The log's size and days, then: before version 8 the users are counted by listing
        // them; from 8 on the record has them.
        const std::string log =
            "%\n         Log Size : \\d+ bytes \\([0-9.]+ (bytes|KB)\\)\n"
            "     Log Interval : \\d{4}-\\w{3}-\\d\\d to \\d{4}-\\w{3}-\\d\\d\n";
        EXPECT_EQ(Matches(status, log + "      Total Users : 1\n         Sessions : 1\n"),
                  version < 8);
        EXPECT_EQ(Matches(status, log + "          DB Size : [0-9.]+ KB\n      Total Users : 1\n"
                                        "    Total objects : 0\n         Sessions : 1\n"),
                  version >= 8);
        EXPECT_TRUE(
            Matches(status, "\n              CPU : \\d{1,3}%\n           Memory : \\d{1,3}%\n"));
        // Never backed up since its operator was made.
        EXPECT_EQ(Has(status, "\n   Pending Backup : yes\n    Pending Upack : no\n"),
                  version >= 10);

        const std::string network = Section(screen, "Network", "Replication");
        EXPECT_TRUE(Has(network,
                        "\n     Sys Location : rack 4\n   Community Name : \n"
                        "     Trap Targets : None\n"));
        EXPECT_TRUE(Matches(network, "      Interface 0 : \\d+\\.\\d+\\.\\d+\\.\\d+/\\d+ +Link "));

        EXPECT_TRUE(Has(screen,
                        "            Replication\n\n"
                        "    Pending Trans : 0000000000000000\n"
                        "             When : 1970-01-01 00:00:00 GMT\n"
                        "            State : Zeroed\n"
                        "  Joined Repl Dmn : no\n"
                        "       Sync Point : 0000000000000000    0000\n"
                        "   Interface Bind : [0] - lo 127.0.0.1\n"
                        "  Manager Pulsing : on -    2 secs\n"
                        " Recovery Pulsing : on -    2 secs\n"
                        "        Node List : None\n\n"
                        "          Password Policy\n\n"
                        "   Minimal Lenght : 8\n"));
        ExitFromMainMenu(console);
    }
}

TEST(HsmMonitors, ControlCReturnsEachMonitorToItsMenu) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));
    console.Send("38\n");
    console.Expect("HSM - Monitoring\n\n");
    Answer(console, "Option : ", "1\n");
    ASSERT_TRUE(console.Expect("Press Control+C to cancel\n\n"));
    // The machine's swap decides the columns; without swap there are three.
    if (MachineHasSwap())
        console.Expect(
            "Sessions           CPU (%)               Memory (%)            Swap (%)     \n");
    else
        console.Expect("Sessions           CPU (%)               Memory (%)           \n1 ");
    console.Expect("\x1b[1A");
    console.Expect("\x1b[1A");  // a second row: it refreshes
    console.Send("\x03");
    Answer(console, "Press ENTER key to continue...\n\n", "\n");
    console.Expect("HSM - Monitoring\n\n");

    Answer(console, "Option : ", "2\n");
    console.Expect("Press Control+C to cancel\n\n");
    console.Expect("          IP       id  tls duration  user\n" + std::string(77, '-') + "\n");
    ASSERT_TRUE(console.Expect("Total: 01\n"));
    const std::string rows = console.Output();
    EXPECT_TRUE(Matches(rows, "\n        127\\.0\\.0\\.1  \\d+ +y +\\d+  master\n"));
    console.Send("\x03");
    Answer(console, "Press ENTER key to continue...\n\n", "\n");
    console.Expect("HSM - Monitoring\n\n");
    Answer(console, "Option : ", "0\n");
    console.Expect("Main Menu\n\n");
    console.Expect("Option : ");
    ExitFromMainMenu(console);
}

}  // namespace
