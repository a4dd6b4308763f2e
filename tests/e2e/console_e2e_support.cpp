#include "console_e2e_support.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

std::vector<std::string> ConsoleArgs(const SimProcess &sim, const std::string &user,
                                     const std::vector<std::string> &more) {
    std::vector<std::string> args = {"127.0.0.1", user, "-p", std::to_string(sim.port())};
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

uint32_t OpenLibrarySession(const SimProcess &sim, const std::string &user,
                            const std::string &password, QSessionHandle *session) {
    QPasswordLoginRecord record{};
    std::strncpy(record.address, "127.0.0.1", sizeof record.address);
    record.port = sim.port();
    std::strncpy(record.userId, user.c_str(), sizeof record.userId);
    std::strncpy(record.password, password.c_str(), sizeof record.password);
    record.authMode = Q_AUTH_PASSWORD;
    return QOpenSession(session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS);
}

bool LogIn(PtyDriver &console, const std::string &password) {
    if (!console.Expect("HSM User Password :")) return false;
    console.SendSecret(password + "\n");
    return console.Expect("Connecting...") && console.Expect("Main Menu") &&
           console.Expect("Option : ");
}

void ExpectLoginRefused(const SimProcess &sim, const std::string &user,
                        const std::string &password) {
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, user));
    AnswerSecret(console, "HSM User Password :", password + "\n");
    console.Expect("\nError opening session. ");
    EXPECT_NE(console.WaitExit(), 0);
}

void LogInAndExit(const SimProcess &sim, const std::string &user, const std::string &password) {
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, user));
    ASSERT_TRUE(LogIn(console, password));
    EXPECT_NE(console.Output().find("ID " + user + "\n"), std::string::npos);
    ExitFromMainMenu(console);
}
