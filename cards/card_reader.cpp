#include "card_reader.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "status.h"

namespace cards {

namespace {

constexpr const char *kInsertedFile = "inserted";
constexpr const char *kCardSuffix = ".card";

bool ReadFile(const std::string &path, std::string *text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    text->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

bool WriteAll(int fd, const std::string &text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += size_t(n);
    }
    return true;
}

}  // namespace

std::optional<Reader> Reader::FromEnvironment() {
    const char *directory = std::getenv("QELVOARC_SC_READER");
    if (directory == nullptr || directory[0] == '\0') return std::nullopt;
    Reader reader(directory);
    if (!reader.Exists()) return std::nullopt;
    return reader;
}

bool Reader::Exists() const {
    std::error_code error;
    return std::filesystem::is_directory(directory_, error);
}

bool Reader::ValidName(const std::string &name) {
    if (name.empty() || name.size() > 64 || name[0] == '.') return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '.' || c == '_' || c == '-';
    });
}

std::string Reader::CardPath(const std::string &name) const {
    return directory_ + "/" + name + kCardSuffix;
}

std::vector<std::string> Reader::Cards() const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(directory_, error)) {
        const std::string file = entry.path().filename().string();
        const size_t suffix = std::string(kCardSuffix).size();
        if (file.size() <= suffix || !file.ends_with(kCardSuffix)) continue;
        const std::string name = file.substr(0, file.size() - suffix);
        if (ValidName(name)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string Reader::Inserted() const {
    std::string text;
    if (!ReadFile(directory_ + "/" + kInsertedFile, &text)) return "";
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return ValidName(text) ? text : "";
}

uint32_t Reader::Insert(const std::string &name) const {
    return WriteWhole(directory_ + "/" + kInsertedFile, name + "\n");
}

uint32_t Reader::Remove() const {
    const std::string path = directory_ + "/" + kInsertedFile;
    return ::unlink(path.c_str()) == 0 || errno == ENOENT ? wire::OK : wire::ERR_FILE;
}

uint32_t Reader::Load(const std::string &name, Card *card) const {
    std::string text;
    if (!ValidName(name) || !ReadFile(CardPath(name), &text)) return wire::ERR_NOT_FOUND;
    return ParseCard(text, card) ? wire::OK : wire::ERR_FILE;
}

uint32_t Reader::Save(const std::string &name, const Card &card) const {
    return WriteWhole(CardPath(name), CardText(card));
}

uint32_t Reader::WriteWhole(const std::string &path, const std::string &text) const {
    std::string temporary = path + ".XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) return wire::ERR_FILE;
    bool ok = ::fchmod(fd, 0600) == 0 && WriteAll(fd, text) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    ok = ok && ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!ok) {
        ::unlink(temporary.c_str());
        return wire::ERR_FILE;
    }
    // The rename itself survives a crash only once the directory is on disk.
    const int dir = ::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return wire::OK;
}

ReaderLock::ReaderLock(const Reader &reader)
    : fd_(::open((reader.directory() + "/.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (fd_ >= 0)
        while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
        }
}

ReaderLock::~ReaderLock() {
    if (fd_ >= 0) ::close(fd_);
}

}  // namespace cards
