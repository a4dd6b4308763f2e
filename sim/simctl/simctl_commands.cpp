#include "simctl/simctl_commands.h"

#include <openssl/evp.h>

#include <charconv>
#include <ctime>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>

#include "core/secret.h"
#include "crypto/certificate_der.h"
#include "crypto/password_hash.h"
#include "policy/tamper_latch.h"
#include "service/access_token.h"
#include "simctl/bind_key_command.h"
#include "simctl/bulk_keys.h"
#include "simctl/bulk_log.h"
#include "simctl/upack_command.h"

namespace sim {

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

struct UsageError {
    std::string message;
};

// Parsed words of one command: the positional ones and --name value pairs.
struct CommandLine {
    std::vector<std::string> positional;
    std::map<std::string, std::string> named;
};

CommandLine Split(const std::vector<std::string> &args, size_t expected,
                  std::initializer_list<const char *> names) {
    CommandLine line;
    for (size_t i = 1; i < args.size(); ++i) {
        if (args[i].rfind("--", 0) != 0) {
            line.positional.push_back(args[i]);
            continue;
        }
        bool known = false;
        for (const char *n : names)
            known = known || args[i] == n;
        if (!known || i + 1 >= args.size()) throw UsageError{"bad option " + args[i]};
        line.named[args[i]] = args[i + 1];
        ++i;
    }
    if (line.positional.size() != expected) throw UsageError{"wrong number of arguments"};
    return line;
}

int64_t Number(const std::string &text, int64_t min, int64_t max) {
    int base = 10;
    std::string_view digits = text;
    if (digits.rfind("0x", 0) == 0 || digits.rfind("0X", 0) == 0) {
        base = 16;
        digits.remove_prefix(2);
    }
    int64_t value = 0;
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() ||
        value < min || value > max)
        throw UsageError{"bad number " + text};
    return value;
}

std::string Optional(const CommandLine &line, const char *name, const std::string &fallback) {
    auto it = line.named.find(name);
    return it == line.named.end() ? fallback : it->second;
}

std::string HexToBytes(const std::string &hex) {
    long length = 0;
    unsigned char *bytes = OPENSSL_hexstr2buf(hex.c_str(), &length);
    if (bytes == nullptr || length <= 0) {
        OPENSSL_free(bytes);
        throw UsageError{"seed is not hexadecimal"};
    }
    std::string out(reinterpret_cast<char *>(bytes), static_cast<size_t>(length));
    OPENSSL_clear_free(bytes, static_cast<size_t>(length));
    return out;
}

std::string Base64Encode(const std::string &bytes) {
    std::string out(4 * ((bytes.size() + 2) / 3) + 1, '\0');
    int length = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(out.data()),
                                 reinterpret_cast<const unsigned char *>(bytes.data()),
                                 static_cast<int>(bytes.size()));
    out.resize(static_cast<size_t>(length));
    return out;
}

std::string Base64Decode(const std::string &text) {
    std::string out(3 * (text.size() / 4) + 3, '\0');
    int length = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(out.data()),
                                 reinterpret_cast<const unsigned char *>(text.data()),
                                 static_cast<int>(text.size()));
    if (length < 0 || text.size() % 4 != 0) throw UsageError{"token is not base64"};
    size_t padding = 0;
    for (auto it = text.rbegin(); it != text.rend() && *it == '='; ++it)
        ++padding;
    out.resize(static_cast<size_t>(length) - padding);
    return out;
}

// The certificate in DER, from a PEM or DER file.
std::optional<std::string> ReadCertificate(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return CertificateToDer(content);
}

int Report(Result result, const std::string &what, std::ostream &err) {
    if (result == Result::kOk) return 0;
    err << "orvena-simctl: " << what << ": " << wire::StatusText(ToWireStatus(result)) << "\n";
    return kFailure;
}

int Run(DataDirectory &data, const std::vector<std::string> &args, std::ostream &out,
        std::ostream &err) {
    UserStore &users = data.users();
    // Provisioning acts as the HSM itself, not as one of its accounts.
    const Actor actor = Actor::Daemon();
    const std::string &command = args.at(0);
    if (command == "add-user") {
        CommandLine line = Split(args, 2, {"--acl"});
        SecretBytes password(line.positional[1]);
        auto acl = static_cast<uint32_t>(Number(Optional(line, "--acl", "0"), 0, 0xFFFFFFFF));
        if (password.empty() || password.size() > kMaxPasswordBytes)
            throw UsageError{"the password must have 1 to 16 characters"};
        return Report(users.AddUser(actor, line.positional[0], HashPassword(password.view()), acl),
                      "add-user", err);
    }
    if (command == "set-acl") {
        CommandLine line = Split(args, 2, {});
        auto acl = static_cast<uint32_t>(Number(line.positional[1], 0, 0xFFFFFFFF));
        return Report(users.SetAcl(actor, line.positional[0], acl), "set-acl", err);
    }
    if (command == "set-otp") {
        CommandLine line = Split(args, 3, {"--counter", "--step", "--start"});
        const std::string &kind = line.positional[1];
        if (kind != "hotp" && kind != "totp") throw UsageError{"token type is hotp or totp"};
        OathState state;
        state.kind = kind == "hotp" ? OathKind::kEvent : OathKind::kTime;
        state.counter = static_cast<uint64_t>(
            Number(Optional(line, "--counter", "0"), 0, std::numeric_limits<int64_t>::max()));
        state.step = static_cast<uint32_t>(Number(Optional(line, "--step", "30"), 1, 65535));
        state.startTime =
            Number(Optional(line, "--start", "0"), 0, std::numeric_limits<int64_t>::max());
        if (state.kind == OathKind::kTime) state.counter = 0;
        SecretBytes seed(HexToBytes(line.positional[2]));
        return Report(users.SetOathToken(actor, line.positional[0], state,
                                         data.masterKey().Seal(seed.view())),
                      "set-otp", err);
    }
    if (command == "set-cert") {
        CommandLine line = Split(args, 2, {});
        std::optional<std::string> der = ReadCertificate(line.positional[1]);
        if (!der) {
            err << "orvena-simctl: cannot read a certificate from " << line.positional[1] << "\n";
            return kFailure;
        }
        return Report(users.SetCertificate(actor, line.positional[0], *der), "set-cert", err);
    }
    if (command == "add-token") {
        CommandLine line = Split(args, 1, {"--expires"});
        int64_t expires =
            Number(Optional(line, "--expires", "0"), 0, std::numeric_limits<int64_t>::max());
        if (line.positional[0].size() > kMaxUserIdLength) throw UsageError{"user id too long"};
        std::string hash;
        SecretBytes token(NewAccessToken(line.positional[0], &hash));
        if (int rc = Report(data.tokens().Add(actor, hash, line.positional[0], expires),
                            "add-token", err))
            return rc;
        SecretBytes encoded(Base64Encode(token.view()));
        out << encoded.view() << "\n";
        return 0;
    }
    if (command == "revoke-token") {
        CommandLine line = Split(args, 1, {});
        SecretBytes token(Base64Decode(line.positional[0]));
        std::optional<ParsedAccessToken> parsed = ParseAccessToken(token.view());
        if (!parsed) throw UsageError{"not an access token"};
        return Report(data.tokens().Revoke(actor, parsed->secretHash), "revoke-token", err);
    }
    if (command == "expire-password") {
        CommandLine line = Split(args, 1, {});
        return Report(users.ExpirePassword(actor, line.positional[0]), "expire-password", err);
    }
    if (command == "set-policy") {
        CommandLine line = Split(args, 6, {});
        PasswordPolicy policy;
        policy.invalidLogins = static_cast<uint8_t>(Number(line.positional[0], 0, 255));
        policy.expiryDays = static_cast<uint8_t>(Number(line.positional[1], 0, 255));
        policy.minLength = static_cast<uint8_t>(Number(line.positional[2], 8, 16));
        policy.specials = static_cast<uint8_t>(Number(line.positional[3], 0, 16));
        policy.uppercase = static_cast<uint8_t>(Number(line.positional[4], 0, 16));
        policy.lowercase = static_cast<uint8_t>(Number(line.positional[5], 0, 16));
        data.policy().Save(actor, policy);
        return 0;
    }
    if (command == "add-keys") {
        CommandLine line = Split(args, 2, {"--algorithm", "--prefix"});
        auto count = static_cast<uint32_t>(Number(line.positional[1], 1, 1000000));
        auto algorithm =
            static_cast<uint32_t>(Number(Optional(line, "--algorithm", "9"), 0, 0xFFFFFFFF));
        return Report(CreateKeys(data, line.positional[0], count, algorithm,
                                 Optional(line, "--prefix", "key")),
                      "add-keys", err);
    }
    if (command == "add-log-lines") {
        CommandLine line = Split(args, 1, {"--from", "--step", "--text"});
        constexpr int64_t kLatest = 253402300799;  // 9999-12-31T23:59:59Z
        AppendLogLines(
            data, Number(line.positional[0], 1, 100000000),
            Number(Optional(line, "--from", std::to_string(std::time(nullptr))), 0, kLatest),
            Number(Optional(line, "--step", "0"), 0, 86400),
            Optional(line, "--text", "Bulk event"));
        return 0;
    }
    if (command == "block" || command == "unblock") {
        CommandLine line = Split(args, 1, {});
        return Report(users.SetBlocked(actor, line.positional[0], command == "block"), command,
                      err);
    }
    if (command == kMakeUpackCommand) {
        std::vector<std::string> full(args);
        full.insert(full.begin() + 1, {"--data", data.path()});
        return RunMakeUpack(full, out, err);
    }
    // The cloud's command needs no data directory; it is accepted after one for convenience.
    if (command == kMakeBindKeyCommand) return RunMakeBindKey(args, out, err);
    if (command == "tamper") {
        CommandLine line = Split(args, 1, {});
        const std::string &state = line.positional[0];
        if (state != "on" && state != "off") throw UsageError{"tamper takes on or off"};
        SetTamperLatch(data.path(), state == "on");
        return 0;
    }
    throw UsageError{"unknown command " + command};
}

}  // namespace

const char *SimctlUsage() {
    return "Usage: orvena-simctl --data DIR <command>\n"
           "       orvena-simctl verify-log --data DIR | FILE\n"
           "       orvena-simctl export-log --data DIR [--out FILE]\n"
           "       orvena-simctl make-upack --data DIR --version A.B.C.D --description TEXT\n"
           "                                --out FILE [--key KEY.pem]\n"
           "       orvena-simctl make-bind-key --account ID --hsm-id ID --url URL --key KEY.pem\n"
           "       orvena-simctl --help\n"
           "Commands on a data directory:\n"
           "  init [--init-password TEXT] [--model TEXT] [--serial TEXT]   readies a new\n"
           "      directory as the daemon's first start does (same options and defaults)\n"
           "  init --join EXISTING_DIR [--serial TEXT] ...   the same for a new node of\n"
           "      EXISTING_DIR's replication domain: its database and master key, its own\n"
           "      TLS identity; a node of the domain then adds it\n"
           "  add-user ID PASSWORD [--acl N]\n"
           "  set-acl ID N\n"
           "  set-otp ID hotp|totp SEED_HEX [--counter N] [--step S] [--start T]\n"
           "  set-cert ID CERT_FILE\n"
           "  add-token ID [--expires UNIX_TIME]\n"
           "  revoke-token BASE64\n"
           "  expire-password ID\n"
           "  set-policy INVALID_LOGINS EXPIRY_DAYS MIN_LENGTH SPECIALS UPPER LOWER\n"
           "  block ID | unblock ID\n"
           "  add-keys ID COUNT [--algorithm N] [--prefix P]   COUNT keys named P0.. (default\n"
           "      AES-256, prefix key) in one transaction\n"
           "  tamper on|off   sets or clears the tamper latch (a running daemon sees it)\n"
           "  make-upack --version A.B.C.D --description TEXT --out FILE [--key KEY.pem]\n"
           "  add-log-lines COUNT [--from UNIX_TIME] [--step SECONDS] [--text TEXT]   COUNT\n"
           "      event-log lines \"TEXT n\" (default Bulk event), the first at UNIX_TIME\n"
           "      (default now), each next SECONDS later (default 0)\n"
           "Numbers are decimal or 0x hexadecimal.\n"
           "verify-log checks the hash chain of a data directory's event log, or of a file\n"
           "export-log wrote; it names the first broken or missing line and exits 1, or\n"
           "prints the line count and exits 0. export-log writes the log to FILE (default:\n"
           "standard output); sim/store/event_log_format.md describes the format.\n"
           "make-upack writes a firmware update package signed with the data directory's\n"
           "vendor key (vendor.key, made when missing) or with the Ed25519 key of --key.\n"
           "make-bind-key prints a bind key for QOSBindHSM, signed with KEY.pem (Ed25519,\n"
           "EC or RSA) for the HSM whose serial number is ID; the HSM accepts it when the\n"
           "certificate cloud.crt in its data directory holds KEY.pem's public key. URL is\n"
           "the https address the bound HSM sends its telemetry to.\n";
}

int RunSimctlCommand(DataDirectory &data, const std::vector<std::string> &args, std::ostream &out,
                     std::ostream &err) {
    if (args.empty()) {
        err << SimctlUsage();
        return kUsage;
    }
    try {
        return Run(data, args, out, err);
    } catch (const UsageError &e) {
        err << "orvena-simctl: " << e.message << "\n" << SimctlUsage();
        return kUsage;
    }
}

}  // namespace sim
