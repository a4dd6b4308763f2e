#include "app/login.h"

#include <cstring>
#include <vector>

#include "app/command_line.h"
#include "app/nearby_hsm.h"
#include "app/new_password.h"
#include "app/password_verifier.h"
#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "device/secret.h"

namespace {

constexpr uint32_t kUsageStatus = uint32_t(-1);
constexpr uint32_t kCancelled = 1;
constexpr uint32_t kCertificatePort = 4433;
constexpr char kAddressPrompt[] = "HSM Orvena IP : ";
constexpr char kUserPrompt[] = "HSM User ID : ";
constexpr char kOtpPrompt[] = "OTP [optional, ENTER for none] : ";

// Everything of the dialogue that carries a secret, wiped as a whole when it ends.
struct LoginSecrets {
    QPasswordLoginRecord password;
    QAccessTokenLoginRecord accessToken;
    QCredentialManagerLoginRecord credentialManager;
    QMutualTlsRecord mutualTls;
    char typedPassword[Q_MAX_PASSWORD + 1];
    char otp[17];
    char keyPassword[129];
};

// Client key, client certificate and HSM certificate files of mutual TLS.
struct MutualTlsFiles {
    LibraryMemory<uint8_t> key, clientCert, hsmCert;
    uint32_t keyLength = 0, clientCertLength = 0, hsmCertLength = 0;

    ~MutualTlsFiles() {
        if (key) WipeSecret(key.Get(), keyLength);
    }
};

template <size_t N>
void CopyField(char (&field)[N], const char *text) {
    memset(field, 0, N);
    memcpy(field, text, strnlen(text, N));
}

// Decodes the base64 token of -a into the record; its first 16 bytes are the user id.
bool DecodeAccessToken(const char *text, QAccessTokenLoginRecord *record) {
    const uint32_t textLength = uint32_t(strlen(text));
    uint32_t length = 3 * textLength / 4 + 3;
    std::vector<uint8_t> decoded(length);
    const bool ok = QBase642ByteArray(text, textLength, decoded.data(), &length) == Q_OK;
    if (ok) memcpy(record->token, decoded.data(), length < 32 ? length : 32);
    WipeSecret(decoded.data(), decoded.size());
    return ok;
}

void PrintAddressAndUser() {
    OutPrintf("\n%s%s", kAddressPrompt, gState.hsmAddress);
    OutPrintf("\n%s%s", kUserPrompt, gState.userId);
}

uint32_t AskAddressAndUser() {
    uint32_t rc = 0;
    if (gState.searchHsm) {
        OutPrintf("%s\n", kAddressPrompt);
        rc = SelectNearbyHsm(gState.hsmAddress);
    } else if (ReadLine(kAddressPrompt, gState.hsmAddress, Q_MAX_ADDRESS) == kPromptCancelled) {
        rc = SelectNearbyHsm(gState.hsmAddress);
    }
    if (rc != 0 || gState.hsmAddress[0] == '\0') {
        PrintCancelled();
        return kCancelled;
    }
    if (ReadLine(kUserPrompt, gState.userId, Q_MAX_USER_ID) == kPromptCancelled) {
        PrintCancelled();
        return kCancelled;
    }
    return 0;
}

uint32_t ReadFileOrReport(const char *path, LibraryMemory<uint8_t> *data, uint32_t *length) {
    const uint32_t rc = ReadWholeFile(path, data->Out(), length);
    if (rc != 0) ErrPrintf("%s %s\n", "Error opening the file.", path);
    return rc;
}

uint32_t PrepareMutualTls(MutualTlsFiles *files, LoginSecrets *secrets) {
    uint32_t rc = ReadFileOrReport(gState.clientKeyPath, &files->key, &files->keyLength);
    if (rc == 0) {
        rc = ReadFileOrReport(gState.clientCertPath, &files->clientCert, &files->clientCertLength);
    }
    if (rc == 0) rc = ReadFileOrReport(gState.hsmCertPath, &files->hsmCert, &files->hsmCertLength);
    if (rc != 0) return rc;

    OutPrintf("%s :", "Private key password");
    CurrentTerminal().FlushOut();
    ReadSecret(secrets->keyPassword, sizeof secrets->keyPassword);
    OutPrintf("\n");
    QMutualTlsRecord &tls = secrets->mutualTls;
    tls.privateKey = files->key.Get();
    tls.privateKeyLength = files->keyLength;
    tls.keyPassword = secrets->keyPassword;
    tls.clientCert = files->clientCert.Get();
    tls.clientCertLength = files->clientCertLength;
    tls.hsmCert = files->hsmCert.Get();
    tls.hsmCertLength = files->hsmCertLength;
    secrets->password.authMode = Q_AUTH_MUTUAL_TLS;
    secrets->password.otp = &tls;
    secrets->password.otpLength = sizeof tls;
    gState.sessionFlags = Q_SESSION_TLS;  // a client certificate needs TLS, whatever -c said
    return 0;
}

void AskOtp(LoginSecrets *secrets) {
    OutPrintf("\n");
    if (ReadLine(kOtpPrompt, secrets->otp, sizeof secrets->otp - 1) != kPromptOk) return;
    secrets->password.authMode = Q_AUTH_OTP;
    secrets->password.otp = secrets->otp;
    secrets->password.otpLength = uint32_t(strlen(secrets->otp));
}

// The -g path: the certificate is always fetched from the standard port.
uint32_t ExportTlsCertificate() {
    LibraryMemory<uint8_t> certificate;
    uint32_t length = 0;
    const uint32_t rc = QGetHSMTLSCert(gState.hsmAddress, kCertificatePort, Q_CERT_FORMAT_PEM,
                                       certificate.Out(), &length, 0);
    if (rc != Q_OK) {
        PrintError("Error exporting certificate.", rc);
        return rc;
    }
    if (WriteFile(gState.tlsCertOutPath, certificate.Get(), length) != 0) {
        ErrPrintf("%s %s\n", "Error opening the file.", gState.tlsCertOutPath);
        return 1;
    }
    ErrPrintf("\n%s\n\n", "Certificate exported successfully.");
    return 0;
}

// Changes an expired password on the restricted session the library opened for that.
// Returns 0 when it was changed (the new one is then in typedPassword), else the code to
// end with.
uint32_t ChangeExpiredPassword(QSessionHandle session, char *typedPassword, size_t capacity) {
    OutPrintf("\n");
    Secret<char[Q_MAX_PASSWORD + 1]> newPassword;
    const uint32_t rc = ReadNewPassword("New Password:", "Confirm new password:", 0,
                                        newPassword.value, sizeof newPassword.value);
    if (rc == kNewPasswordCancelled) PrintCancelled();
    if (rc != kNewPasswordOk) return rc;
    const uint32_t changed = QSetUserParam(session, Q_USER_PARAM_OWN_PASSWORD, newPassword.value,
                                           uint32_t(strlen(newPassword.value)), 0);
    if (changed != Q_OK) {
        ErrPrintf("\n\n");
        PrintError("Error changing user password.", changed);
        return changed;
    }
    ErrPrintf("\n\n%s\n\n", "Password changed successfully.");
    // What the user types to prove itself from now on is the new password.
    memcpy(typedPassword, newPassword.value, capacity);
    return 0;
}

void CloseAndFinalizeQuietly(OwnedSession *session) {
    session->Reset();
    QFinalize();
}

uint32_t FailSession(OwnedSession *session, uint32_t rc) {
    CloseAndFinalizeQuietly(session);
    PrintError("Error opening session.", rc);
    return rc;
}

}  // namespace

uint32_t ConnectAndLogin(QSessionHandle *session, int argc, const char *const *argv) {
    CommandLineExtras extras;
    if (ParseCommandLine(argc, argv, &gState, &extras) != ParseResult::kProceed) {
        PrintUsage();
        return kUsageStatus;
    }
    Secret<LoginSecrets> secrets;
    LoginSecrets &s = secrets.value;
    if (extras.accessToken != nullptr && !DecodeAccessToken(extras.accessToken, &s.accessToken)) {
        PrintUsage();
        return kUsageStatus;
    }

    MutualTlsFiles tlsFiles;
    const bool dialogue =
        !gState.accessTokenLogin && !gState.exportTlsCert && !gState.credentialManager;
    if (dialogue) {
        if (extras.askAddressAndUser) {
            const uint32_t rc = AskAddressAndUser();
            if (rc != 0) return rc;
        } else {
            PrintAddressAndUser();
        }
        if (gState.mutualTls) {
            const uint32_t rc = PrepareMutualTls(&tlsFiles, &s);
            if (rc != 0) return rc;
        }
        OutPrintf("%s :", "HSM User Password");
        CurrentTerminal().FlushOut();
        ReadSecret(s.typedPassword, sizeof s.typedPassword);
        if (gState.askOtp) AskOtp(&s);
    }

    uint32_t rc = QInitialize(Q_INIT_INTERACTIVE);
    if (rc != Q_OK) {
        PrintError("Error initializing library.", rc);
        return rc;
    }
    if (gState.exportTlsCert) return ExportTlsCertificate();

    if (gState.accessTokenLogin) {
        CopyField(s.accessToken.address, gState.hsmAddress);
        s.accessToken.port = gState.port;
        memcpy(gState.userId, s.accessToken.token, Q_MAX_USER_ID);
        gState.userId[Q_MAX_USER_ID] = '\0';
        PrintAddressAndUser();
        OutPrintf("\n\n%s", "Using access token authentication.");
    }
    CopyField(s.password.address, gState.hsmAddress);
    CopyField(s.password.userId, gState.userId);
    CopyField(s.password.password, s.typedPassword);
    s.password.port = gState.port;
    CopyField(s.credentialManager.target, gState.hsmAddress);
    s.credentialManager.port = gState.port;
    OutPrintf("\n\n%s\n\n", "Connecting...");
    CurrentTerminal().FlushOut();

    uint32_t method = Q_LOGIN_PASSWORD;
    const void *record = &s.password;
    uint32_t recordSize = sizeof s.password;
    if (gState.accessTokenLogin) {
        method = Q_LOGIN_ACCESS_TOKEN;
        record = &s.accessToken;
        recordSize = sizeof s.accessToken;
    } else if (gState.credentialManager) {
        method = Q_LOGIN_CREDENTIAL_MANAGER;
        record = &s.credentialManager;
        recordSize = sizeof s.credentialManager;
    }
    OwnedSession opened;
    rc = QOpenSession(opened.Out(), method, record, recordSize,
                      gState.sessionFlags | kInteractiveSessionFlags);
    if (rc == Q_ERR_PASSWORD_EXPIRED &&
        AskYesNo("Your password is expired. Do you want to change your password now ([y]/n)?", 1)) {
        rc = ChangeExpiredPassword(opened.Get(), s.typedPassword, sizeof s.typedPassword);
        if (rc != Q_OK) {
            CloseAndFinalizeQuietly(&opened);
            return rc;
        }
    }
    if (rc != Q_OK) return FailSession(&opened, rc);

    if (!gState.accessTokenLogin) {
        rc = QGetRandom(opened.Get(), gState.verifierSalt, sizeof gState.verifierSalt);
        if (rc == Q_OK) {
            rc = ComputePasswordVerifier(opened.Get(), s.typedPassword, gState.verifierSalt,
                                         gState.passwordVerifier);
        }
        if (rc != Q_OK) return FailSession(&opened, rc);
    }
    *session = opened.Release();
    return 0;
}
