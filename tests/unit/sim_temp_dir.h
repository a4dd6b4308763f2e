#pragma once
// A directory of its own for one test, removed with everything in it.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

class SimTempDir {
  public:
    SimTempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "sim-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
        EXPECT_FALSE(path_.empty());
    }
    ~SimTempDir() {
        if (!path_.empty()) std::filesystem::remove_all(path_);
    }
    SimTempDir(const SimTempDir &) = delete;
    SimTempDir &operator=(const SimTempDir &) = delete;

    const std::string &path() const { return path_; }
    std::string database() const { return path_ + "/hsm.db"; }

  private:
    std::string path_;
};
