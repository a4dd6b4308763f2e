#include "sim_process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(30);
constexpr int kStartAttempts = 5;

// A UDP port the kernel considers free right now.
uint16_t FreeUdpPort() {
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    uint16_t port = 0;
    if (fd >= 0 && ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    if (fd >= 0) ::close(fd);
    return port;
}

// Reads one line from `fd` within the deadline; false on timeout or end of stream.
bool ReadLineUntil(int fd, std::chrono::steady_clock::time_point deadline, std::string *line) {
    line->clear();
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        pollfd p{fd, POLLIN, 0};
        int ready = ::poll(&p, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
        char c = 0;
        ssize_t got = ::read(fd, &c, 1);
        if (got <= 0) return false;
        if (c == '\n') return true;
        line->push_back(c);
    }
}

// Starts args[0] with `args` and its standard output on a pipe, whose reading end goes to
// *out; the child's pid, or -1.
pid_t Spawn(std::vector<std::string> args, const std::string &stderrPath, int *out) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) return -1;
    std::vector<char *> argv;
    for (std::string &a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        // A test that aborts (a sanitizer report) must not leave its simulator behind.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        ::dup2(pipeFds[1], STDOUT_FILENO);
        if (!stderrPath.empty()) {
            int err = ::open(stderrPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
            if (err >= 0) ::dup2(err, STDERR_FILENO);
        }
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(pipeFds[1]);
    if (pid < 0) {
        ::close(pipeFds[0]);
        return -1;
    }
    *out = pipeFds[0];
    return pid;
}

}  // namespace

SimProcess::SimProcess() : SimProcess(Options{}) {}

SimProcess::SimProcess(Options options) : options_(std::move(options)) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orvena-sim-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        ADD_FAILURE() << "mkdtemp failed";
        return;
    }
    dataDir_ = pattern;
    if (!options_.joinDataDir.empty() && Simctl({"init", "--join", options_.joinDataDir}) != 0) {
        ADD_FAILURE() << "orvena-simctl init --join failed";
        return;
    }
    Start();
}

SimProcess::~SimProcess() {
    Stop();
    if (!dataDir_.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(dataDir_, ignored);
    }
}

void SimProcess::Start() {
    // A port that was free a moment ago may be taken by a parallel test before the daemon
    // binds it; the daemon then exits and another port is tried.
    for (int attempt = 0; attempt < kStartAttempts; ++attempt) {
        if (TryStart(FreeUdpPort())) return;
    }
    ADD_FAILURE() << "orvena-sim did not report ready";
}

bool SimProcess::TryStart(uint16_t discoveryPort) {
    std::vector<std::string> args = {ORVENA_SIM_PATH,
                                     "--listen",
                                     options_.host + ":" + std::to_string(options_.port),
                                     "--data",
                                     dataDir_,
                                     "--discovery-port",
                                     std::to_string(discoveryPort)};
    if (!options_.initPassword.empty()) {
        args.push_back("--init-password");
        args.push_back(options_.initPassword);
    }
    args.insert(args.end(), options_.extraArgs.begin(), options_.extraArgs.end());

    pid_ = Spawn(std::move(args), options_.stderrPath, &stdoutFd_);
    if (pid_ < 0) return false;

    auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
    std::string line;
    port_ = 0;
    discoveryPort_ = 0;
    while (ReadLineUntil(stdoutFd_, deadline, &line)) {
        unsigned port = 0;
        unsigned discovery = 0;
        const std::string ready = "orvena-sim ready on " + options_.host + ":";
        if (line.rfind(ready, 0) != 0) continue;
        int fields = std::sscanf(line.c_str() + ready.size(), "%u discovery %u", &port, &discovery);
        if (fields >= 1) {
            port_ = static_cast<uint16_t>(port);
            discoveryPort_ = static_cast<uint16_t>(fields == 2 ? discovery : 0);
            unsigned eftd = 0;
            const size_t eftdAt = line.find(" eftd ");
            if (eftdAt != std::string::npos) std::sscanf(line.c_str() + eftdAt, " eftd %u", &eftd);
            eftdPort_ = static_cast<uint16_t>(eftd);
            return true;
        }
    }
    Kill();
    return false;
}

int SimProcess::Wait() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    if (stdoutFd_ >= 0) {
        ::close(stdoutFd_);
        stdoutFd_ = -1;
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    return 128 + WTERMSIG(status);
}

int SimProcess::Stop() {
    if (pid_ <= 0) return -1;
    ::kill(pid_, SIGTERM);
    ::kill(pid_, SIGCONT);
    return Wait();
}

void SimProcess::LimitFileSize(rlim_t bytes) {
    rlimit limit{};
    ASSERT_EQ(::prlimit(pid_, RLIMIT_FSIZE, nullptr, &limit), 0);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    ASSERT_EQ(::prlimit(pid_, RLIMIT_FSIZE, &limit, nullptr), 0);
}

void SimProcess::Kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    Wait();
}

void SimProcess::Restart() {
    Stop();
    Start();
}

int SimProcess::Simctl(const std::vector<std::string> &args, std::string *out) const {
    std::vector<std::string> all = {ORVENA_SIMCTL_PATH, "--data", dataDir_};
    all.insert(all.end(), args.begin(), args.end());
    int fd = -1;
    const pid_t pid = Spawn(std::move(all), {}, &fd);
    if (pid < 0) return -1;
    std::string text;
    char buffer[4096];
    ssize_t got;
    while ((got = ::read(fd, buffer, sizeof buffer)) != 0) {
        if (got < 0) {
            if (errno == EINTR) continue;
            break;
        }
        text.append(buffer, static_cast<size_t>(got));
    }
    ::close(fd);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (out != nullptr) *out = text;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
