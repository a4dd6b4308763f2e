#include "store/event_chain.h"

#include <ctime>
#include <stdexcept>

#include "crypto/sha256.h"

namespace sim {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

}  // namespace

std::string UtcTime(int64_t seconds) {
    auto time = static_cast<std::time_t>(seconds);
    std::tm utc{};
    char text[32];
    if (gmtime_r(&time, &utc) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc) == 0)
        throw std::runtime_error("time out of range: " + std::to_string(seconds));
    return text;
}

namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

}  // namespace

std::string EscapeField(std::string_view field) {
    std::string out;
    out.reserve(field.size());
    for (char c : field) {
        auto byte = static_cast<unsigned char>(c);
        if (c == '\\' || c == '|') {
            out.push_back('\\');
            out.push_back(c);
        } else if (byte < 0x20 || byte == 0x7F) {
            out += "\\x";
            out.push_back(kHexDigits[byte >> 4]);
            out.push_back(kHexDigits[byte & 0xF]);
        } else {
            out.push_back(c);
        }
    }
    return out;
}

bool UnescapeField(std::string_view escaped, std::string *field) {
    field->clear();
    for (size_t i = 0; i < escaped.size(); ++i) {
        char c = escaped[i];
        auto byte = static_cast<unsigned char>(c);
        if (c == '|' || byte < 0x20 || byte == 0x7F) return false;
        if (c != '\\') {
            field->push_back(c);
            continue;
        }
        if (i + 1 >= escaped.size()) return false;
        char next = escaped[++i];
        if (next == '\\' || next == '|') {
            field->push_back(next);
            continue;
        }
        if (next != 'x' || i + 2 >= escaped.size()) return false;
        int high = HexValue(escaped[i + 1]), low = HexValue(escaped[i + 2]);
        if (high < 0 || low < 0) return false;
        auto value = static_cast<unsigned char>(high * 16 + low);
        if (value >= 0x20 && value != 0x7F) return false;
        field->push_back(static_cast<char>(value));
        i += 2;
    }
    return true;
}

std::string CanonicalText(const EventLine &line) {
    return std::to_string(line.seq) + "|" + std::to_string(line.boot) + "|" + UtcTime(line.time) +
           "|" + EscapeField(line.user) + "|" + EscapeField(line.operation) + "|" +
           EscapeField(line.outcome);
}

std::string ChainStart(std::string_view serial) {
    return Sha256(serial);
}

std::string ChainHash(std::string_view previous, std::string_view text) {
    std::string input;
    input.reserve(previous.size() + text.size());
    input.append(previous).append(text);
    return Sha256(input);
}

ChainVerifier::ChainVerifier(std::string_view serial, int64_t lastSeq)
    : ChainVerifier(ChainStart(serial), 0, lastSeq) {}

ChainVerifier::ChainVerifier(std::string anchorHash, int64_t anchorSeq, int64_t lastSeq)
    : previous_(std::move(anchorHash)), lastSeq_(lastSeq), expected_(anchorSeq + 1) {}

void ChainVerifier::Add(int64_t seq, std::string_view text, std::string_view hash) {
    if (!report_.whole) return;
    if (seq != expected_)
        return Fail(expected_, "line " + std::to_string(expected_) + " is missing; line " +
                                   std::to_string(seq) + " stands in its place");
    if (lastSeq_ >= 0 && seq > lastSeq_)
        return Fail(seq, "line " + std::to_string(seq) + " lies beyond the last line the log " +
                             "records (" + std::to_string(lastSeq_) + ")");
    if (ChainHash(previous_, text) != hash)
        return Fail(seq, "line " + std::to_string(seq) + " does not match its hash");
    previous_ = hash;
    ++expected_;
    ++report_.lines;
}

void ChainVerifier::AddUnreadable() {
    if (report_.whole) Fail(expected_, "line " + std::to_string(expected_) + " is unreadable");
}

ChainReport ChainVerifier::Finish() {
    if (report_.whole && lastSeq_ >= 0 && expected_ <= lastSeq_)
        Fail(expected_, "line " + std::to_string(expected_) + " is missing; the log ends at line " +
                            std::to_string(lastSeq_));
    return report_;
}

void ChainVerifier::Fail(int64_t seq, std::string problem) {
    report_.whole = false;
    report_.firstBad = seq;
    report_.problem = std::move(problem);
}

}  // namespace sim
