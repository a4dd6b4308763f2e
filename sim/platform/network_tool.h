#pragma once
// The system's ping and traceroute, run from the HSM against a target an operator typed. The
// target reaches the tool as one argument of its own (no shell), and only once it has the
// shape of a host name or an address, so it can be neither a command nor an option.

#include <optional>
#include <string>
#include <string_view>

namespace sim {

enum class NetworkTool { kPing, kTraceRoute };

// How long a tool may run and how much of its output is kept: a tool past either is ended,
// and what it printed until then is its output.
inline constexpr int kNetworkToolSeconds = 30;
inline constexpr size_t kNetworkToolOutputBytes = 64 * 1024;

// True when `target` is an IPv4 or IPv6 address, or a host name of letters, digits and
// hyphens in dot-separated labels (none starting or ending with a hyphen), at most 253
// characters.
bool IsNetworkToolTarget(std::string_view target);

// Runs `tool` against `target` and returns what it wrote on its standard output and error,
// whatever its exit status (an unreachable host is a result, not a failure). nullopt when
// the tool is not installed or could not be started.
// REQUIRES: IsNetworkToolTarget(target).
std::optional<std::string> RunNetworkTool(NetworkTool tool, const std::string &target);

}  // namespace sim
