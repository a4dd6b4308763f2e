// QLogLineFormat: a raw line of the HSM's log (sim/store/event_log_format.md) as one readable
// line. Local: nothing is sent.

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "abi_guard.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

constexpr size_t kHashDigits = 64;
// How much of the hash the readable line shows: enough to find the line in a raw log.
constexpr size_t kShortHashDigits = 8;

bool IsDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// `YYYY-MM-DDTHH:MM:SSZ`, each part in its calendar range.
bool IsUtcTime(std::string_view text) {
    int year, month, day, hour, minute, second;
    char zone = 0;
    std::string copy(text);
    return text.size() == 20 &&
           std::sscanf(copy.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%c", &year, &month, &day, &hour,
                       &minute, &second, &zone) == 7 &&
           zone == 'Z' && month >= 1 && month <= 12 && day >= 1 && day <= 31 && hour <= 23 &&
           minute <= 59 && second <= 60;
}

// Splits the canonical text on its unescaped separators. The escapes of the separator and of
// the backslash are undone; those of control bytes stay, so the line stays one printable line.
bool SplitFields(std::string_view text, std::vector<std::string> *fields) {
    fields->assign(1, {});
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return false;
        if (c == '|') {
            fields->emplace_back();
        } else if (c != '\\') {
            fields->back().push_back(c);
        } else if (i + 1 < text.size() && (text[i + 1] == '|' || text[i + 1] == '\\')) {
            fields->back().push_back(text[++i]);
        } else if (i + 1 < text.size() && text[i + 1] == 'x') {
            fields->back().push_back(c);
        } else {
            return false;
        }
    }
    return fields->size() == 6;
}

[[nodiscard]] uint32_t LogLineFormat(const char *rawLine, char *formatted, uint32_t size) {
    if (rawLine == nullptr || formatted == nullptr || size == 0) return wire::ERR_INVALID_PARAMETER;
    std::string_view line(rawLine);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.remove_suffix(1);
    std::vector<std::string> fields;
    if (line.size() <= kHashDigits || line[kHashDigits] != ' ' ||
        line.substr(0, kHashDigits).find_first_not_of("0123456789ABCDEF") !=
            std::string_view::npos ||
        !SplitFields(line.substr(kHashDigits + 1), &fields) || !IsDigits(fields[0]) ||
        !IsDigits(fields[1]) || !IsUtcTime(fields[2]))
        return wire::ERR_INVALID_PARAMETER;
    const std::string &time = fields[2];
    // 2024-05-01 09:30:00 GMT #7 [1A2B3C4D] alice: Key generated: k1 - ok
    std::string text = time.substr(0, 10) + " " + time.substr(11, 8) + " GMT #" + fields[0] + " [" +
                       std::string(line.substr(0, kShortHashDigits)) + "] " +
                       (fields[3].empty() ? "HSM" : fields[3]) + ": " + fields[4];
    if (!fields[5].empty()) text += " - " + fields[5];
    if (text.size() + 1 > size) return wire::ERR_BUFFER_TOO_SMALL;
    std::memcpy(formatted, text.c_str(), text.size() + 1);
    return wire::OK;
}

}  // namespace
}  // namespace qelvoarc

extern "C" uint32_t QLogLineFormat(const char *rawLine, char *formatted, uint32_t formattedSize,
                                   uint32_t) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::LogLineFormat(rawLine, formatted, formattedSize); });
}
