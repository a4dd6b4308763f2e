#include "platform/durable_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace sim {

namespace {

void SyncDirectoryOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    SyncDirectory(slash == std::string::npos ? "." : path.substr(0, slash));
}

}  // namespace

void SyncDirectory(const std::string &dir) {
    int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    bool ok = fd >= 0 && ::fsync(fd) == 0;
    if (fd >= 0) ::close(fd);
    if (!ok) throw std::runtime_error("cannot sync " + dir);
}

void WriteFileDurably(const std::string &path, std::string_view bytes) {
    const std::string temporary = path + ".tmp";
    int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) throw std::runtime_error("cannot create " + temporary);
    bool ok = ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
              ::fsync(fd) == 0;
    ::close(fd);
    if (!ok || std::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        throw std::runtime_error("cannot write " + path);
    }
    SyncDirectoryOf(path);
}

std::optional<std::string> ReadSmallFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) return std::nullopt;
    return content;
}

void RemoveFileDurably(const std::string &path) {
    if (::unlink(path.c_str()) != 0) {
        if (errno == ENOENT) return;
        throw std::runtime_error("cannot remove " + path);
    }
    SyncDirectoryOf(path);
}

}  // namespace sim
