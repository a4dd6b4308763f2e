#pragma once
// A directory of its own for one test, removed with everything in it, and whole files read
// and written in one call.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TempDir {
  public:
    TempDir() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "orvena-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
        EXPECT_FALSE(path_.empty());
    }
    ~TempDir() {
        if (!path_.empty()) std::filesystem::remove_all(path_);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::string &path() const { return path_; }
    std::string Path(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

// The file's bytes; empty when it cannot be read.
inline std::string ReadFileBytes(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFileBytes(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}
