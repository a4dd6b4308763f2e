#pragma once
// Sessions opened besides the login session: to another HSM with credentials asked on the
// spot (replication), and anonymous ones for information that needs no user.

#include <cstdint>
#include <functional>

#include "qelvoarc.h"

// A password login record with the storage its OTP pointer refers to. Keep it in a
// Secret<PromptedLogin> (device/secret.h): it holds the password. Not copyable in effect:
// record.otp points into the object.
struct PromptedLogin {
    QPasswordLoginRecord record;
    char otp[17];
};

// Asks only the chosen items into login->record, as OpenSessionPrompted does, without opening
// anything: for credentials that open several sessions. Returns 0, or 1 after "Operation
// cancelled!".
uint32_t ReadLoginPrompted(PromptedLogin *login, bool askAddress, bool askUser, bool askPassword,
                           bool askOtp, bool *otpGiven);

// Asks only the chosen items into login->record ("HSM Orvena IP : ", "HSM User ID : ",
// "HSM User Password :" masked, "OTP [optional, ENTER for none] : "; what is not asked
// stays as the caller left it) and opens a password session with `flags`.
// *otpGiven (may be null) tells whether an OTP was typed. Returns 1 after "Operation
// cancelled!" for an empty address or user, otherwise QOpenSession's result.
uint32_t OpenSessionPrompted(QSessionHandle *session, PromptedLogin *login, bool askAddress,
                             bool askUser, bool askPassword, bool askOtp, bool *otpGiven,
                             uint32_t flags);

// Opens an anonymous session to address:port, runs `read` on it and closes it again.
// Returns the opening's code, or read's result.
uint32_t OpenAnonymousSession(const char *address, uint32_t port,
                              const std::function<uint32_t(QSessionHandle)> &read);
