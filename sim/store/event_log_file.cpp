#include "store/event_log_file.h"

#include <openssl/crypto.h>

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "crypto/sha256.h"
#include "store/event_log.h"
#include "store/raw_log.h"

namespace sim {

namespace {

constexpr std::string_view kHeader = "orvena-event-log ";
// Version 2: the served text, anchor first, follows the header.
constexpr std::string_view kExportVersion = "2";
constexpr size_t kHexLength = 2 * kSha256Bytes;

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

// A raw line split into its hash and canonical text; false when it is not of that shape.
bool SplitLine(std::string_view line, std::string *hash, std::string_view *text) {
    if (line.size() <= kHexLength || line[kHexLength] != ' ') return false;
    std::optional<std::string> parsed = HashFromHex(line.substr(0, kHexLength));
    if (!parsed) return false;
    *hash = std::move(*parsed);
    *text = line.substr(kHexLength + 1);
    return true;
}

void AddFileLine(std::string_view line, ChainVerifier *verifier) {
    std::string hash;
    std::string_view text;
    if (!SplitLine(line, &hash, &text)) return verifier->AddUnreadable();
    std::optional<int64_t> seq = Number(text.substr(0, text.find('|')));
    if (!seq) return verifier->AddUnreadable();
    verifier->Add(*seq, text, hash);
}

// The fields of a text `seq|boot|time|user|operation|outcome`, unescaped.
bool SplitFields(std::string_view text, std::vector<std::string> *fields) {
    fields->clear();
    size_t start = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] == '\\') {
            ++i;
            continue;
        }
        if (i < text.size() && text[i] != '|') continue;
        fields->emplace_back();
        if (!UnescapeField(text.substr(start, i - start), &fields->back())) return false;
        start = i + 1;
    }
    return fields->size() == 6;
}

// The anchor a served log begins with: the line its first line links to. A log never cleared
// starts from the serial's hash, which the anchor must then match.
std::optional<ChainVerifier> FromAnchor(std::string_view line, int64_t lastSeq,
                                        std::string *problem) {
    std::string hash;
    std::string_view text;
    std::vector<std::string> fields;
    std::optional<int64_t> seq;
    if (SplitLine(line, &hash, &text) && SplitFields(text, &fields)) seq = Number(fields[0]);
    if (!seq || !fields[3].empty() || fields[4] != kAnchorOperation) {
        *problem = "the log does not begin with its anchor line";
        return std::nullopt;
    }
    if (*seq == 0 && hash != ChainStart(fields[5])) {
        *problem = "the anchor line does not match the serial " + fields[5];
        return std::nullopt;
    }
    return ChainVerifier(hash, *seq, lastSeq);
}

}  // namespace

int64_t ExportEventLog(Database &db, std::ostream &out) {
    Transaction snapshot(db, Transaction::kRead);
    RawLogState state = ReadRawLogState(db);
    out << kHeader << kExportVersion << ' ' << state.lastSeq << ' '
        << EscapeField(state.anchor.serial) << '\n'
        << AnchorLine(state.anchor);
    int64_t lines = 0;
    std::string raw;
    ForEachEventLine(db, [&](int64_t, std::string_view text, std::string_view hash) {
        raw.clear();
        AppendRawLine(hash, text, &raw);
        out << raw;
        ++lines;
    });
    return lines;
}

ChainReport VerifyEventLog(Database &db) {
    Transaction snapshot(db, Transaction::kRead);
    RawLogState state = ReadRawLogState(db);
    ChainVerifier verifier(state.anchor.hash, state.anchor.seq, state.lastSeq);
    ForEachEventLine(db, [&](int64_t seq, std::string_view text, std::string_view hash) {
        verifier.Add(seq, text, hash);
    });
    return verifier.Finish();
}

ChainReport VerifyEventLogFile(std::istream &in) {
    std::string first, serial, problem;
    std::getline(in, first);
    std::optional<ChainVerifier> verifier;
    if (std::string_view(first).substr(0, kHeader.size()) != kHeader) {
        // A log as the HSM serves it: the anchor first, its end unknown.
        verifier = FromAnchor(first, -1, &problem);
    } else {
        // An export: the header names the last line, then the served text follows.
        std::string_view rest = std::string_view(first).substr(kHeader.size());
        size_t space1 = rest.find(' ');
        size_t space2 = space1 == std::string_view::npos ? space1 : rest.find(' ', space1 + 1);
        std::optional<int64_t> lastSeq;
        if (space2 != std::string_view::npos && rest.substr(0, space1) == kExportVersion)
            lastSeq = Number(rest.substr(space1 + 1, space2 - space1 - 1));
        std::string anchor;
        std::getline(in, anchor);
        if (!lastSeq || !UnescapeField(rest.substr(space2 + 1), &serial))
            problem = "not an exported event log (unreadable header)";
        else
            verifier = FromAnchor(anchor, *lastSeq, &problem);
    }
    if (!verifier) return {false, 0, 0, problem};
    for (std::string line; std::getline(in, line);)
        AddFileLine(line, &*verifier);
    return verifier->Finish();
}

}  // namespace sim
