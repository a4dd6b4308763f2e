#pragma once
// Helpers shared by the console's end-to-end tests: command lines against a simulator,
// scratch directories, and the steps of logging in and out.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pty_driver.h"
#include "qelvoarc.h"
#include "sim_process.h"
#include "temp_dir.h"
#include "test_crypto.h"

// "127.0.0.1 <user> -p <sim port>" followed by `more`.
std::vector<std::string> ConsoleArgs(const SimProcess &sim, const std::string &user,
                                     const std::vector<std::string> &more = {});

// A session of the device library beside the console (initialised by the caller), for what
// the console cannot set up itself.
uint32_t OpenLibrarySession(const SimProcess &sim, const std::string &user,
                            const std::string &password, QSessionHandle *session);

// Waits for `prompt` and types `reply`; the secret form types it only once echo is off.
inline void Answer(PtyDriver &console, const std::string &prompt, const std::string &reply) {
    console.Expect(prompt);
    console.Send(reply);
}

inline void AnswerSecret(PtyDriver &console, const std::string &prompt, const std::string &reply) {
    console.Expect(prompt);
    console.SendSecret(reply);
}

// Opens the submenu of the main menu's option `menu` ("36\n") and chooses `item` there.
inline void ChooseSubmenuItem(PtyDriver &console, const char *menu, const char *item,
                              const std::string &heading) {
    console.Send(menu);
    console.Expect("Option : ");
    console.Send(item);
    console.Expect(heading);
}

// After an action of a submenu: the pause, then back to the main menu.
inline void BackToMainMenu(PtyDriver &console) {
    Answer(console, "Press ENTER key to continue...", "\n");
    Answer(console, "Option : ", "0\n");
    console.Expect("Option : ");
}

inline void ExitFromMainMenu(PtyDriver &console) {
    console.Send("0\n");
    EXPECT_EQ(console.WaitExit(), 0);
}

// Logs in from the point where the program asks for the password (no OTP asked) and waits
// for the main menu's prompt. Returns false (with a test failure) when it did not appear.
bool LogIn(PtyDriver &console, const std::string &password);

// Logs in as `user` with a password only, then leaves from the main menu with status 0.
void LogInAndExit(const SimProcess &sim, const std::string &user, const std::string &password);

// Logs in as `user` and expects the HSM to refuse the session.
void ExpectLoginRefused(const SimProcess &sim, const std::string &user,
                        const std::string &password);
