#include "pty_driver.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void ExecChild(const std::string &program, const std::vector<std::string> &args,
                            const std::vector<std::string> &env) {
    for (const std::string &entry : env)
        putenv(const_cast<char *>(entry.c_str()));
    std::vector<char *> argv;
    argv.push_back(const_cast<char *>(program.c_str()));
    for (const std::string &arg : args)
        argv.push_back(const_cast<char *>(arg.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
}

}  // namespace

PtyDriver::PtyDriver(const std::string &program, const std::vector<std::string> &args,
                     const std::vector<std::string> &env) {
    termios settings{};
    cfmakeraw(&settings);
    // A line-mode terminal with echo, as a shell leaves it, but without "\n" -> "\r\n".
    settings.c_iflag = ICRNL;
    settings.c_oflag = OPOST;
    settings.c_lflag = ISIG | ICANON | ECHO | ECHOE | ECHOK;
    settings.c_cc[VINTR] = 0x03;  // Control+C, as a shell leaves it
    settings.c_cflag = CS8 | CREAD;
    cfsetispeed(&settings, B38400);
    cfsetospeed(&settings, B38400);
    winsize size{};
    size.ws_row = 50;
    size.ws_col = 132;
    pid_ = forkpty(&master_, nullptr, &settings, &size);
    if (pid_ == 0) ExecChild(program, args, env);
    if (pid_ < 0) ADD_FAILURE() << "forkpty failed: errno " << errno;
}

PtyDriver::~PtyDriver() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    if (master_ >= 0) close(master_);
}

bool PtyDriver::ReadSome(Duration timeout) {
    pollfd poller{master_, POLLIN, 0};
    const int ready = poll(&poller, 1, int(timeout.count()));
    if (ready < 0) return errno == EINTR;
    if (ready == 0) return true;
    char buffer[4096];
    const ssize_t n = read(master_, buffer, sizeof buffer);
    if (n <= 0) return n < 0 && errno == EINTR;  // EIO once the program closed the terminal
    output_.append(buffer, size_t(n));
    return true;
}

bool PtyDriver::Expect(const std::string &text, Duration timeout) {
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        const size_t found = output_.find(text, matched_);
        if (found != std::string::npos) {
            matched_ = found + text.size();
            return true;
        }
        const auto left = std::chrono::duration_cast<Duration>(deadline - Clock::now());
        if (left <= Duration::zero() || !ReadSome(left)) break;
    }
    ADD_FAILURE() << "expected text not shown: \"" << text << "\"\n--- output so far ---\n"
                  << output_ << "\n--- after the last match ---\n"
                  << output_.substr(matched_);
    return false;
}

void PtyDriver::Send(const std::string &text) {
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t n = write(master_, text.data() + written, text.size() - written);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            ADD_FAILURE() << "could not type \"" << text << "\": errno " << errno;
            return;
        }
        written += size_t(n);
    }
}

void PtyDriver::SendSecret(const std::string &text, Duration timeout) {
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        termios settings{};
        if (tcgetattr(master_, &settings) == 0 && (settings.c_lflag & ECHO) == 0) break;
        if (Clock::now() >= deadline) {
            ADD_FAILURE() << "echo never went off\n--- output so far ---\n" << output_;
            return;
        }
        ReadSome(Duration(10));
    }
    Send(text);
}

int PtyDriver::WaitExit(Duration timeout) {
    if (pid_ <= 0) return status_;
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        int raw = 0;
        const pid_t done = waitpid(pid_, &raw, WNOHANG);
        if (done == pid_) {
            pollfd poller{master_, POLLIN, 0};
            while (poll(&poller, 1, 0) > 0 && ReadSome(Duration::zero())) {
            }
            pid_ = -1;
            status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
            return status_;
        }
        const auto left = std::chrono::duration_cast<Duration>(deadline - Clock::now());
        if (left <= Duration::zero()) {
            ADD_FAILURE() << "program did not end\n--- output so far ---\n" << output_;
            return -1;
        }
        // Draining the terminal keeps a chatty program from blocking on a full buffer; once
        // the terminal is closed only the exit itself is left to wait for.
        if (!ReadSome(std::min(left, Duration(50)))) usleep(10000);
    }
}
