#include "eftd/host_commands.h"

#include <algorithm>
#include <cstdio>

#include "check_value.h"
#include "crypto/key_check_value.h"
#include "crypto/pin_offset.h"
#include "service/partition_keys.h"

namespace sim {

namespace {

// The error codes of an answer, two decimal digits.
enum HostError {
    kNoError = 0,
    kVerificationFailed = 1,
    kUnauthorized = 10,
    kUnknownKey = 11,
    kUnusableKey = 12,
    kBadField = 15,
    kWrongPinLength = 16,
    kBadPinBlock = 20,
    kUnknownCommand = 30,
    kShortMessage = 31,
    kRestartRequired = 41,
    kInternalError = 42,
};

constexpr size_t kCommandCodeBytes = 2;
constexpr char kFieldEnd = ';';
constexpr std::string_view kNoCommand = "ZZ";

HostError FromResult(Result result) {
    switch (result) {
        case Result::kOk:
            return kNoError;
        case Result::kNotFound:
        case Result::kWrongObjectType:
            return kUnknownKey;
        case Result::kKeyBlocked:
        case Result::kBadAlgorithm:
            return kUnusableKey;
        case Result::kBadPan:
        case Result::kBadExpirationDate:
        case Result::kBadServiceCode:
        case Result::kInvalidLength:
            return kBadField;
        default:
            return kInternalError;
    }
}

// The fields of a command, taken from the front.
class Fields {
  public:
    explicit Fields(std::string_view text) : rest_(text) {}

    // The text up to the next field separator, which is consumed; false when there is none
    // or the field is empty.
    bool Delimited(std::string_view *field) {
        const size_t end = rest_.find(kFieldEnd);
        if (end == std::string_view::npos || end == 0) return false;
        *field = rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        return true;
    }
    bool Fixed(size_t length, std::string_view *field) {
        if (rest_.size() < length) return false;
        *field = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return true;
    }
    // Hexadecimal digits, two per byte of *bytes.
    bool Hex(size_t bytes, std::string *out) {
        std::string_view digits;
        if (!Fixed(2 * bytes, &digits)) return false;
        out->assign(bytes, '\0');
        for (size_t i = 0; i < digits.size(); ++i) {
            const int value = HexValue(digits[i]);
            if (value < 0) return false;
            (*out)[i / 2] = static_cast<char>((*out)[i / 2] | (value << (i % 2 ? 0 : 4)));
        }
        return true;
    }
    std::string_view Rest() const { return rest_; }
    bool Done() const { return rest_.empty(); }

  private:
    static int HexValue(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return -1;
    }

    std::string_view rest_;
};

struct Reply {
    HostError error = kNoError;
    std::string data;
};

// An answer that is its error code alone.
Reply Coded(HostError error) {
    return Reply{error, {}};
}

Reply Echo(Fields &fields) {
    return Reply{kNoError, std::string(fields.Rest())};
}

// CvvOfKey under the card fields' key.
HostError CardCvv(HostKeyCache &keys, Fields &fields, std::string *cvv) {
    std::string_view name, pan, expiry, serviceCode;
    if (!fields.Delimited(&name) || !fields.Delimited(&pan) || !fields.Fixed(4, &expiry) ||
        !fields.Fixed(3, &serviceCode))
        return kBadField;
    uint32_t algorithm = 0;
    SecretBytes material;
    if (Result r = keys.Open(name, true, &algorithm, &material); r != Result::kOk)
        return FromResult(r);
    return FromResult(CvvOfKey(algorithm, material.view(), pan, expiry, serviceCode, cvv));
}

// key name ; PAN ; YYMM service code
Reply GenerateCvv(HostKeyCache &keys, Fields &fields) {
    Reply reply;
    reply.error = CardCvv(keys, fields, &reply.data);
    if (reply.error == kNoError && !fields.Done()) return Coded(kBadField);
    return reply;
}

// key name ; PAN ; YYMM service code CVV
Reply VerifyCvv(HostKeyCache &keys, Fields &fields) {
    std::string cvv;
    std::string_view given;
    if (HostError error = CardCvv(keys, fields, &cvv); error != kNoError) return Coded(error);
    if (!fields.Fixed(3, &given) || !fields.Done()) return Coded(kBadField);
    return Coded(cvv == given ? kNoError : kVerificationFailed);
}

Reply CheckValue(HostKeyCache &keys, Fields &fields) {
    uint32_t algorithm = 0;
    SecretBytes material;
    if (fields.Done()) return Coded(kBadField);
    if (Result r = keys.Open(fields.Rest(), false, &algorithm, &material); r != Result::kOk)
        return Coded(FromResult(r));
    wire::CheckValue value{};
    if (KeyCheckValue(algorithm, wire::pb::KCV_CLASSIC, material.view(), &value) != Result::kOk)
        return Coded(kUnusableKey);
    Reply reply;
    for (uint8_t byte : value) {
        char hex[3];
        std::snprintf(hex, sizeof hex, "%02X", byte);
        reply.data += hex;
    }
    return reply;
}

// PIN key ; PVK ; PIN block (16 hex) PAN ; decimalization table (16 digits) validation data
// (16 hex) offset (PIN length digits)
Reply VerifyPin(HostKeyCache &keys, Fields &fields, size_t pinLength) {
    std::string_view pinKeyName, pvkName, pan, decimalization, offset;
    std::string block, validation;
    if (!fields.Delimited(&pinKeyName) || !fields.Delimited(&pvkName) || !fields.Hex(8, &block) ||
        !fields.Delimited(&pan) || !fields.Fixed(16, &decimalization) ||
        !fields.Hex(8, &validation) || !fields.Fixed(pinLength, &offset) || !fields.Done())
        return Coded(kBadField);
    uint32_t algorithm = 0;
    SecretBytes pinKey, pvk;
    if (Result r = keys.Open(pinKeyName, true, &algorithm, &pinKey); r != Result::kOk)
        return Coded(FromResult(r));
    if (Result r = keys.Open(pvkName, true, &algorithm, &pvk); r != Result::kOk)
        return Coded(FromResult(r));
    SecretBytes pin;
    Result decrypted = DecryptPinBlockFormat0(pinKey.view(), block, pan, &pin);
    if (decrypted == Result::kInvalidParameter) return Coded(kBadPinBlock);
    if (decrypted != Result::kOk) return Coded(FromResult(decrypted));
    if (pin.size() != pinLength) return Coded(kWrongPinLength);
    bool matches = false;
    Result verified =
        VerifyIbm3624Offset(pvk.view(), validation, decimalization, pin.view(), offset, &matches);
    if (verified == Result::kInvalidParameter) return Coded(kBadField);
    if (verified != Result::kOk) return Coded(FromResult(verified));
    return Coded(matches ? kNoError : kVerificationFailed);
}

struct Command {
    std::string_view code;
    std::string_view answerCode;
};

constexpr Command kEcho{"EC", "ED"};
constexpr Command kGenerateCvv{"CG", "CH"};
constexpr Command kVerifyCvv{"CV", "CW"};
constexpr Command kCheckValue{"KC", "KD"};
constexpr Command kVerifyPin{"PV", "PW"};
constexpr Command kCommands[] = {kEcho, kGenerateCvv, kVerifyCvv, kCheckValue, kVerifyPin};

Reply Run(HostKeyCache &keys, std::string_view code, Fields &fields, const EftdConfig &config) {
    if (code == kEcho.code) return Echo(fields);
    if (code == kGenerateCvv.code) return GenerateCvv(keys, fields);
    if (code == kVerifyCvv.code) return VerifyCvv(keys, fields);
    if (code == kCheckValue.code) return CheckValue(keys, fields);
    return VerifyPin(keys, fields, config.pinLength);
}

std::string Answer(std::string_view header, std::string_view code, const Reply &reply) {
    char error[3];
    std::snprintf(error, sizeof error, "%02d", static_cast<int>(reply.error));
    std::string answer;
    answer.reserve(header.size() + code.size() + 2 + reply.data.size());
    answer.append(header).append(code).append(error).append(reply.data);
    return answer;
}

}  // namespace

std::string AnswerHostCommand(HsmContext &hsm, HostKeyCache &keys, std::string_view message) {
    const EftdConfig config = hsm.eftd.Load();
    if (message.size() < config.headerLength + kCommandCodeBytes)
        return Answer(message.substr(0, std::min<size_t>(message.size(), config.headerLength)),
                      kNoCommand, Coded(kShortMessage));
    const std::string_view header = message.substr(0, config.headerLength);
    const std::string_view code = message.substr(config.headerLength, kCommandCodeBytes);
    const auto command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                      [&](const Command &c) { return c.code == code; });
    if (command == std::end(kCommands)) return Answer(header, kNoCommand, Coded(kUnknownCommand));
    if (hsm.backups.RestartRequired())
        return Answer(header, command->answerCode, Coded(kRestartRequired));
    if (!config.authorized) return Answer(header, command->answerCode, Coded(kUnauthorized));
    Fields fields(message.substr(config.headerLength + kCommandCodeBytes));
    return Answer(header, command->answerCode, Run(keys, code, fields, config));
}

}  // namespace sim
