#include "card.h"

#include <openssl/rand.h>

#include <charconv>
#include <sstream>
#include <stdexcept>

namespace cards {

namespace {

std::string Hex(const void *data, size_t size) {
    static const char kDigits[] = "0123456789abcdef";
    const auto *bytes = static_cast<const uint8_t *>(data);
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 0xf];
    }
    return text;
}

std::string Hex(const std::string &bytes) {
    return Hex(bytes.data(), bytes.size());
}

bool FromHex(const std::string &text, std::string *bytes) {
    if (text.size() % 2 != 0) return false;
    bytes->clear();
    for (size_t i = 0; i < text.size(); i += 2) {
        uint8_t byte = 0;
        auto [end, ec] = std::from_chars(text.data() + i, text.data() + i + 2, byte, 16);
        if (ec != std::errc() || end != text.data() + i + 2) return false;
        bytes->push_back(static_cast<char>(byte));
    }
    return true;
}

// Reads the lines of a card file in their fixed order.
class FieldReader {
  public:
    explicit FieldReader(const std::string &text) : in_(text) {}

    bool Text(const char *key, std::string *value) {
        std::string line;
        if (!std::getline(in_, line)) return false;
        const std::string prefix = std::string(key) + " ";
        if (line.rfind(prefix, 0) != 0 && line != key) return false;
        *value = line.size() > prefix.size() ? line.substr(prefix.size()) : "";
        return true;
    }
    bool Bytes(const char *key, std::string *value) {
        std::string text;
        return Text(key, &text) && FromHex(text, value);
    }
    bool Byte(const char *key, uint8_t *value) {
        std::string bytes;
        if (!Bytes(key, &bytes) || bytes.size() != 1) return false;
        *value = static_cast<uint8_t>(bytes[0]);
        return true;
    }
    bool Number(const char *key, uint8_t *value, unsigned max) {
        std::string text;
        if (!Text(key, &text)) return false;
        unsigned number = 0;
        auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (text.empty() || ec != std::errc() || end != text.data() + text.size() || number > max)
            return false;
        *value = static_cast<uint8_t>(number);
        return true;
    }
    bool Flag(const char *key, bool *value) {
        uint8_t number = 0;
        if (!Number(key, &number, 1)) return false;
        *value = number != 0;
        return true;
    }

  private:
    std::istringstream in_;
};

}  // namespace

Card BlankCard() {
    Card card;
    // Direct convention (3B), then the historical bytes that name the card and the check
    // byte, the XOR of all bytes after the first.
    const std::string atr = "\x3b\x8c\x80\x01ORVENA VCARD";
    card.atr.assign(atr.begin(), atr.end());
    uint8_t check = 0;
    for (size_t i = 1; i < card.atr.size(); ++i)
        check ^= card.atr[i];
    card.atr.push_back(check);
    if (RAND_bytes(card.csn.data(), card.csn.size()) != 1)
        throw std::runtime_error("no random bytes for the card serial number");
    card.family = "Orvena virtual card";
    card.name = "OVC-1";
    card.os = "orvena-card 1";
    card.progVersion = 0x01;
    card.chipVersion = 0x01;
    card.large = true;
    return card;
}

std::string CardText(const Card &card) {
    std::ostringstream out;
    out << "orvena-card 1\n"
        << "atr " << Hex(card.atr.data(), card.atr.size()) << "\n"
        << "csn " << Hex(card.csn.data(), card.csn.size()) << "\n"
        << "family " << card.family << "\n"
        << "name " << card.name << "\n"
        << "os " << card.os << "\n"
        << "prog " << Hex(&card.progVersion, 1) << "\n"
        << "chip " << Hex(&card.chipVersion, 1) << "\n"
        << "lock1 " << Hex(&card.lock1, 1) << "\n"
        << "lock2 " << Hex(&card.lock2, 1) << "\n"
        << "large " << int(card.large) << "\n"
        << "profile-oe " << int(card.profileOe) << "\n"
        << "formatted " << int(card.formatted) << "\n"
        << "pin-salt " << Hex(card.pinSalt) << "\n"
        << "pin-verifier " << Hex(card.pinVerifier) << "\n"
        << "pin-tries " << int(card.pinTries) << "\n"
        << "pin-changes " << int(card.pinChanges) << "\n"
        << "label " << Hex(card.label) << "\n"
        << "shadow " << Hex(card.sealedShadow) << "\n";
    return out.str();
}

bool ParseCard(const std::string &text, Card *card) {
    FieldReader in(text);
    std::string version;
    std::string atr;
    std::string csn;
    Card parsed;
    const bool ok = in.Text("orvena-card", &version) && version == "1" && in.Bytes("atr", &atr) &&
                    in.Bytes("csn", &csn) && in.Text("family", &parsed.family) &&
                    in.Text("name", &parsed.name) && in.Text("os", &parsed.os) &&
                    in.Byte("prog", &parsed.progVersion) && in.Byte("chip", &parsed.chipVersion) &&
                    in.Byte("lock1", &parsed.lock1) && in.Byte("lock2", &parsed.lock2) &&
                    in.Flag("large", &parsed.large) && in.Flag("profile-oe", &parsed.profileOe) &&
                    in.Flag("formatted", &parsed.formatted) &&
                    in.Bytes("pin-salt", &parsed.pinSalt) &&
                    in.Bytes("pin-verifier", &parsed.pinVerifier) &&
                    in.Number("pin-tries", &parsed.pinTries, kPinTries) &&
                    in.Number("pin-changes", &parsed.pinChanges, kPinChanges) &&
                    in.Bytes("label", &parsed.label) && in.Bytes("shadow", &parsed.sealedShadow);
    if (!ok || atr.size() > 256 || csn.size() != parsed.csn.size() ||
        parsed.label.size() > kMaxLabel)
        return false;
    parsed.atr.assign(atr.begin(), atr.end());
    std::copy(csn.begin(), csn.end(), parsed.csn.begin());
    *card = std::move(parsed);
    return true;
}

}  // namespace cards
