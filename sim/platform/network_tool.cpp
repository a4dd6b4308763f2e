#include "platform/network_tool.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <vector>

namespace sim {

namespace {

constexpr size_t kMaxHostNameLength = 253;
constexpr size_t kMaxLabelLength = 63;

// Where Debian installs the tools; the daemon's own PATH is not trusted to find them.
constexpr const char *kToolDirectories[] = {"/usr/bin", "/bin", "/usr/sbin", "/sbin"};
// A few probes, each with a short wait, so an unreachable target ends well within the bound.
const std::vector<std::string> kPingOptions = {"-c", "4", "-w", "10"};
const std::vector<std::string> kTraceRouteOptions = {"-m", "20", "-w", "2"};

bool IsLabel(std::string_view label) {
    if (label.empty() || label.size() > kMaxLabelLength || label.front() == '-' ||
        label.back() == '-')
        return false;
    return std::all_of(label.begin(), label.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '-';
    });
}

bool IsHostName(std::string_view name) {
    if (name.empty() || name.size() > kMaxHostNameLength) return false;
    if (name.back() == '.') name.remove_suffix(1);  // the root's empty label
    for (;;) {
        const size_t dot = name.find('.');
        if (!IsLabel(name.substr(0, dot))) return false;
        if (dot == std::string_view::npos) return true;
        name.remove_prefix(dot + 1);
    }
}

bool IsAddress(const std::string &text) {
    unsigned char address[sizeof(in6_addr)];
    return ::inet_pton(AF_INET, text.c_str(), address) == 1 ||
           ::inet_pton(AF_INET6, text.c_str(), address) == 1;
}

std::optional<std::string> FindTool(const char *name) {
    for (const char *directory : kToolDirectories) {
        std::string path = std::string(directory) + "/" + name;
        if (::access(path.c_str(), X_OK) == 0) return path;
    }
    return std::nullopt;
}

// The child starts with the signals the daemon blocks or ignores back to normal, its input
// empty and both output streams into `output`.
pid_t Spawn(const std::string &path, const std::vector<std::string> &arguments, int output) {
    std::vector<char *> argv;
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    char pathVariable[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    char locale[] = "LC_ALL=C";
    char *envp[] = {pathVariable, locale, nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t defaults;
    sigemptyset(&none);
    sigfillset(&defaults);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = -1;
    if (::posix_spawn(&pid, path.c_str(), &actions, &attributes, argv.data(), envp) != 0) pid = -1;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

// Reads `fd` until its end, the deadline or the output bound, whichever comes first.
std::string Collect(int fd) {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::seconds(kNetworkToolSeconds);
    std::string output;
    char buffer[4096];
    while (output.size() < kNetworkToolOutputBytes) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                              deadline - std::chrono::steady_clock::now())
                              .count();
        if (left <= 0) break;
        pollfd ready{fd, POLLIN, 0};
        const int count = ::poll(&ready, 1, static_cast<int>(left));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        output.append(buffer,
                      std::min(static_cast<size_t>(got), kNetworkToolOutputBytes - output.size()));
    }
    return output;
}

}  // namespace

bool IsNetworkToolTarget(std::string_view target) {
    const std::string text(target);
    return text.size() == std::strlen(text.c_str()) && (IsAddress(text) || IsHostName(target));
}

std::optional<std::string> RunNetworkTool(NetworkTool tool, const std::string &target) {
    const char *name = tool == NetworkTool::kPing ? "ping" : "traceroute";
    std::optional<std::string> path = FindTool(name);
    if (!path) return std::nullopt;
    std::vector<std::string> arguments = {name};
    const std::vector<std::string> &options =
        tool == NetworkTool::kPing ? kPingOptions : kTraceRouteOptions;
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(target);

    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) return std::nullopt;
    const pid_t pid = Spawn(*path, arguments, pipeFds[1]);
    ::close(pipeFds[1]);
    if (pid < 0) {
        ::close(pipeFds[0]);
        return std::nullopt;
    }
    std::string output = Collect(pipeFds[0]);
    ::close(pipeFds[0]);
    // Ended early by a bound, or gone already: either way it is reaped here. Not yet waited
    // for, the pid cannot name another process.
    ::kill(pid, SIGKILL);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return output;
}

}  // namespace sim
