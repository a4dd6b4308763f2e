#pragma once
// Steps shared by the end-to-end tests of the user and access-token screens: menu numbers
// as an operator sees them and the dialogue of a new account.

#include <string>

#include "console_e2e_support.h"

namespace users_steps {

// The "Users" column as an operator sees it ("My Auth M of N" is hidden from operators).
inline constexpr const char *kCreate = "18\n";
inline constexpr const char *kRemove = "19\n";
inline constexpr const char *kList = "20\n";
inline constexpr const char *kAttributes = "21\n";
inline constexpr const char *kPasswordPolicy = "23\n";
inline constexpr const char *kAccessTokens = "25\n";

// Chooses a main-menu item and waits for its heading.
inline void Choose(PtyDriver &console, const char *number, const std::string &heading) {
    console.Send(number);
    console.Expect(heading);
}

// Answers the pause after an action and waits for the menu's prompt again.
inline void Continue(PtyDriver &console) {
    Answer(console, "Press ENTER key to continue...", "\n");
    console.Expect("Option : ");
}

// Shows the account `id` from "Attributes", up to its change menu.
inline void OpenAccount(PtyDriver &console, const std::string &id) {
    Choose(console, kAttributes, "Users - Attributes");
    Answer(console, "User ID: ", id + "\n");
}

// As an operator: "Create", type User, the id and the password twice.
inline void BeginCreate(PtyDriver &console, const std::string &id, const std::string &password) {
    Choose(console, kCreate, "Users - Create");
    Answer(console, " 1 - User\n 2 - Operator (all permissions enabled)\nOption : ", "1\n");
    Answer(console, "User ID: ", id + "\n");
    AnswerSecret(console, "Password: ", password + "\n");
    AnswerSecret(console, "Confirm password: ", password + "\n");
}

// Declines M of N and local-crypto.
inline void DeclineLocalFlags(PtyDriver &console) {
    Answer(console, "Require Authorization on Local Console with M of N Scheme (y/[n]): ", "\n");
    Answer(console, "Enable local-crypto (y/[n]): ", "\n");
}

// The questions after the second factor: change at logon no, then `permissions` (five
// answers, one per line).
inline void FinishCreate(PtyDriver &console, const std::string &permissions) {
    Answer(console, "Require User to Change Password at Next LogOn (y/[n]): ", "\n");
    console.Expect("System permissions: \n");
    Answer(console, "Create/Remove Users (y/[n]): ", permissions);
}

// Every question after the password: no flags, no second factor, then `permissions`.
inline void AnswerPlainUser(PtyDriver &console, const std::string &permissions = "\n\n\n\n\n") {
    DeclineLocalFlags(console);
    Answer(console, "Require Two Factor Authentication (y/[n]): ", "\n");
    FinishCreate(console, permissions);
}

// A whole creation of a user without flags or second factor.
inline void CreatePlainUser(PtyDriver &console, const std::string &id, const std::string &password,
                            const std::string &permissions = "\n\n\n\n\n") {
    BeginCreate(console, id, password);
    AnswerPlainUser(console, permissions);
    console.Expect("\n\nUser '" + id + "' successfully created.\n");
    Continue(console);
}

}  // namespace users_steps
