#include "app/command_line.h"

#include <cstdlib>
#include <cstring>

#include "console/terminal.h"

namespace {

// Options are told apart by at most this many leading characters (and their full length).
constexpr size_t kCompareChars = 7;

enum OptionId {
    kPort = 0,
    kOtp,
    kClearText,
    kEncrypted,
    kHelp,
    kExponent3,
    kLegacy,
    kSearchHsm,
    kAccessTokensMenu,
    kAccessToken,
    kExportTlsCert,
    kClientKey,
    kClientCert,
    kHsmCert,
    kHardwareLogs,
    kCredentialManager,
};

struct OptionEntry {
    const char *name;
    OptionId id;
    bool takesValue;
};

// In lookup order; an entry matches an argument of exactly its length.
constexpr OptionEntry kOptions[] = {
    {"-p", kPort, true},
    {"-o", kOtp, false},
    {"-c", kClearText, false},
    {"-e", kEncrypted, false},
    {"-h", kHelp, false},
    {"-3", kExponent3, false},
    {"-l", kLegacy, false},
    {"-sip", kSearchHsm, false},
    {"-ea", kAccessTokensMenu, false},
    {"-a", kAccessToken, true},
    {"-g", kExportTlsCert, true},
    {"-pri", kClientKey, true},
    {"-pri_cer", kClientCert, true},
    {"-hsm_cer", kHsmCert, true},
    {"-hwlog", kHardwareLogs, false},
    {"--cm", kCredentialManager, true},
};

bool SameOption(const char *argument, const char *name) {
    return strncmp(argument, name, kCompareChars) == 0;
}

const OptionEntry *FindOption(const char *argument) {
    const size_t length = strlen(argument);
    for (const OptionEntry &entry : kOptions) {
        if (strlen(entry.name) == length && SameOption(argument, entry.name)) return &entry;
    }
    return nullptr;
}

// Copies at most capacity - 1 characters and always terminates.
template <size_t N>
void CopyText(char (&destination)[N], const char *source, size_t maxChars = N - 1) {
    const size_t length = strnlen(source, maxChars);
    memcpy(destination, source, length);
    destination[length] = '\0';
}

void ResetCommandLineFields(ProcessState *state) {
    memset(state->hsmAddress, 0, sizeof state->hsmAddress);
    memset(state->userId, 0, sizeof state->userId);
    state->port = 4433;
    state->sessionFlags = 1;
    state->askOtp = false;
    state->exponent3 = false;
    state->legacyOptions = false;
    state->searchHsm = false;
    state->accessTokensMenu = false;
    state->accessTokenLogin = false;
    state->exportTlsCert = false;
    state->mutualTls = false;
    state->hardwareLogs = false;
    state->credentialManager = false;
    memset(state->tlsCertOutPath, 0, sizeof state->tlsCertOutPath);
    memset(state->clientKeyPath, 0, sizeof state->clientKeyPath);
    memset(state->clientCertPath, 0, sizeof state->clientCertPath);
    memset(state->hsmCertPath, 0, sizeof state->hsmCertPath);
}

// The forms recognised by position before the option loop. Returns false for usage.
bool ParseSpecialForms(int count, const char *const *args, ProcessState *state,
                       CommandLineExtras *extras) {
    if (count == 1 && SameOption(args[0], "-sip")) {
        state->searchHsm = true;
        extras->askAddressAndUser = true;
        return true;
    }
    if (count >= 3 && SameOption(args[1], "-a")) {
        CopyText(state->hsmAddress, args[0]);
        extras->accessToken = args[2];
        state->accessTokenLogin = true;
        return true;
    }
    if (count >= 3 && SameOption(args[1], "-g")) {
        CopyText(state->hsmAddress, args[0]);
        CopyText(state->tlsCertOutPath, args[2]);
        state->exportTlsCert = true;
        return true;
    }
    if (count >= 2 && SameOption(args[1], "-ea")) state->accessTokensMenu = true;
    if (count == 1) return false;  // -h or anything else alone
    if (count == 0) {
        extras->askAddressAndUser = true;
        return true;
    }
    CopyText(state->hsmAddress, args[0]);
    CopyText(state->userId, args[1]);
    return true;
}

// Applies one option; value is the following argument (nullptr when there is none).
// Returns false for usage.
bool ApplyOption(const OptionEntry &option, const char *value, ProcessState *state,
                 CommandLineExtras *extras) {
    switch (option.id) {
        case kPort:
            state->port = uint32_t(strtoul(value, nullptr, 10));
            return true;
        case kOtp:
            state->askOtp = true;
            return true;
        case kClearText:
            state->sessionFlags = 4;
            return true;
        case kEncrypted:
            state->sessionFlags = 1;
            return true;
        case kExponent3:
            state->exponent3 = true;
            return true;
        case kLegacy:
            state->legacyOptions = true;
            return true;
        case kSearchHsm:
            state->searchHsm = true;
            return true;
        case kAccessTokensMenu:
            state->accessTokensMenu = true;
            return true;
        case kAccessToken:
            extras->accessToken = value;
            state->accessTokenLogin = true;
            return true;
        case kExportTlsCert:
            CopyText(state->tlsCertOutPath, value);
            state->exportTlsCert = true;
            return true;
        case kClientKey:
            CopyText(state->clientKeyPath, value);
            state->mutualTls = true;
            return true;
        case kClientCert:
            CopyText(state->clientCertPath, value);
            state->mutualTls = true;
            return true;
        case kHsmCert:
            CopyText(state->hsmCertPath, value);
            state->mutualTls = true;
            return true;
        case kHardwareLogs:
            state->hardwareLogs = true;
            return true;
        default:  // -h and --cm have no meaning after address and user
            return false;
    }
}

}  // namespace

ParseResult ParseCommandLine(int argc, const char *const *argv, ProcessState *state,
                             CommandLineExtras *extras) {
    ResetCommandLineFields(state);
    *extras = CommandLineExtras{};
    const int count = argc - 1;
    const char *const *args = argv + 1;
    if (!ParseSpecialForms(count, args, state, extras)) return ParseResult::kUsage;

    // The token or path of a special form sits at argument 3 and is looked up like any
    // other argument, which is harmless because unknown arguments are then ignored.
    for (int i = 2; i < count; ++i) {
        const OptionEntry *option = FindOption(args[i]);
        if (option == nullptr) {
            const bool lenient =
                state->credentialManager || state->accessTokenLogin || state->exportTlsCert;
            if (lenient) continue;
            return ParseResult::kUsage;
        }
        const bool hasNext = i + 1 < count;
        if (option->takesValue && !hasNext) return ParseResult::kUsage;
        if (!ApplyOption(*option, hasNext ? args[i + 1] : nullptr, state, extras)) {
            return ParseResult::kUsage;
        }
        // -o swallows the argument after it, unread, as if it were the OTP.
        if (option->takesValue || option->id == kOtp) ++i;
    }

    const bool mutualTlsIncomplete = state->clientKeyPath[0] == '\0' ||
                                     state->clientCertPath[0] == '\0' ||
                                     state->hsmCertPath[0] == '\0';
    if (state->mutualTls && mutualTlsIncomplete) return ParseResult::kUsage;
    if (extras->askAddressAndUser) state->askOtp = true;
    return ParseResult::kProceed;
}

void PrintUsage() {
    static const char *const kLines[] = {
        "Usage: tarsel [<hsm_ip_address> <id_user> | --cm <hsm_ip_address/target>] [-e/-c] "
        "[-p <port>] [-o]",
        "<hsm_ip_address>       ip address of the HSM",
        "<id_user>              name of the user to open a session to the HSM",
        "-e                     open session encrypted (use TLS) - default option",
        "-c                     open session in clear text (do not use TLS)",
        "-p <port>              service port of the HSM to open a session - default 4433",
        "-o                     authentication with an OTP value (2nd factor)",
        "-3                     enable option to use exponent 3 for RSA keys",
        "-l                     enable legacy options",
        "-sip                   search for the nearby HSMs to connect",
        "-g <cert path>         get the HSM's TLS cert and write it to <cert_path>\n"
        "                         in PEM format",
        "-pri <key path>        private key used in mutual authentication, MUST be in\n"
        "                         PEM format. -pri_cert and -hsm_cert MUST be provided",
        "-pri_cer <cert path>   private key's certificate used in mutual\n"
        "                         authentication, in PEM/DER format. -pri and -hsm_cert\n"
        "                         MUST be provided",
        "-hsm_cer <hsm path>    HSM's certificate used in mutual authentication, in\n"
        "                         PEM/DER format. -pri and -pri_cert MUST be provided",
        "--cm <ip/target>       connect to the HSM using the Windows Credential Manager\n"
        "                         target name. Target name must be the address of the HSM",
        "-h                     display this help and exit",
        "Example:",
    };
    static const char *const kExamples[] = {
        "tarsel 10.10.1.1 master -c",
        "tarsel 10.10.1.1 master -e -p 4433",
        "tarsel 10.10.1.1 master -o",
    };
    for (const char *line : kLines)
        OutPrintf("%s\n", line);
    for (const char *example : kExamples)
        OutPrintf("       %s\n", example);
    CurrentTerminal().FlushOut();
}
