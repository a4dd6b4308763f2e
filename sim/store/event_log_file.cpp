#include "store/event_log_file.h"

#include <openssl/crypto.h>

#include <charconv>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "crypto/sha256.h"
#include "store/event_log.h"

namespace sim {

namespace {

constexpr std::string_view kHeader = "orvena-event-log 1 ";

std::string ToHex(std::string_view bytes) {
    std::string hex(2 * bytes.size() + 1, '\0');
    size_t length = 0;
    if (OPENSSL_buf2hexstr_ex(hex.data(), hex.size(), &length,
                              reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size(),
                              '\0') != 1)
        throw std::runtime_error("hex encoding failed");
    hex.resize(length - 1);  // the terminator
    return hex;
}

std::optional<std::string> HashFromHex(std::string_view hex) {
    std::string text(hex), hash(kSha256Bytes, '\0');
    size_t length = 0;
    if (OPENSSL_hexstr2buf_ex(reinterpret_cast<unsigned char *>(hash.data()), hash.size(), &length,
                              text.c_str(), '\0') != 1 ||
        length != kSha256Bytes)
        return std::nullopt;
    return hash;
}

std::optional<int64_t> Number(std::string_view digits) {
    int64_t value = 0;
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() || value < 0)
        return std::nullopt;
    return value;
}

// A line of the file: the hash in hexadecimal, a space, the canonical text.
void AddFileLine(std::string_view line, ChainVerifier *verifier) {
    constexpr size_t kHexLength = 2 * kSha256Bytes;
    if (line.size() <= kHexLength || line[kHexLength] != ' ') return verifier->AddUnreadable();
    std::optional<std::string> hash = HashFromHex(line.substr(0, kHexLength));
    std::string_view text = line.substr(kHexLength + 1);
    std::optional<int64_t> seq = Number(text.substr(0, text.find('|')));
    if (!hash || !seq) return verifier->AddUnreadable();
    verifier->Add(*seq, text, *hash);
}

}  // namespace

int64_t ExportEventLog(Database &db, std::ostream &out) {
    Transaction snapshot(db, Transaction::kRead);
    EventLogEnds ends = ReadEventLogEnds(db);
    out << kHeader << ends.lastSeq << ' ' << EscapeField(ends.serial) << '\n';
    int64_t lines = 0;
    ForEachEventLine(db, [&](const EventLine &line, std::string_view hash) {
        out << ToHex(hash) << ' ' << CanonicalText(line) << '\n';
        ++lines;
    });
    return lines;
}

ChainReport VerifyEventLog(Database &db) {
    Transaction snapshot(db, Transaction::kRead);
    EventLogEnds ends = ReadEventLogEnds(db);
    ChainVerifier verifier(ends.serial, ends.lastSeq);
    ForEachEventLine(db, [&](const EventLine &line, std::string_view hash) {
        std::string text;
        try {
            text = CanonicalText(line);
        } catch (const std::runtime_error &) {  // a time no calendar holds
            return verifier.AddUnreadable();
        }
        verifier.Add(line.seq, text, hash);
    });
    return verifier.Finish();
}

ChainReport VerifyEventLogFile(std::istream &in) {
    std::string header, serial;
    std::getline(in, header);
    std::string_view rest = header;
    size_t space = rest.find(' ', kHeader.size());
    std::optional<int64_t> lastSeq;
    if (rest.substr(0, kHeader.size()) == kHeader && space != std::string_view::npos)
        lastSeq = Number(rest.substr(kHeader.size(), space - kHeader.size()));
    if (!lastSeq || !UnescapeField(rest.substr(space + 1), &serial))
        return {false, 0, 0, "not an exported event log (unreadable header)"};
    ChainVerifier verifier(serial, *lastSeq);
    for (std::string line; std::getline(in, line);)
        AddFileLine(line, &verifier);
    return verifier.Finish();
}

}  // namespace sim
