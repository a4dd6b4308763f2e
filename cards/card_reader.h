#pragma once
// The reader directory: its cards, the one inserted, and the lock every change holds.

#include <optional>
#include <string>
#include <vector>

#include "card.h"

namespace cards {

class Reader {
  public:
    explicit Reader(std::string directory) : directory_(std::move(directory)) {}

    // The reader named by QELVOARC_SC_READER; nullopt when it is unset or not a directory.
    static std::optional<Reader> FromEnvironment();

    const std::string &directory() const { return directory_; }
    bool Exists() const;

    // Card names: 1 to 64 letters, digits, '.', '_' or '-', not starting with '.'.
    static bool ValidName(const std::string &name);
    std::string CardPath(const std::string &name) const;

    // The names of the cards, sorted.
    std::vector<std::string> Cards() const;
    // The inserted card's name; empty when the reader is empty.
    std::string Inserted() const;
    // Writes or removes the "inserted" file. Insert REQUIRES: the card exists.
    [[nodiscard]] uint32_t Insert(const std::string &name) const;
    [[nodiscard]] uint32_t Remove() const;

    // OK, ERR_NOT_FOUND when there is no such card, ERR_FILE when its file is damaged.
    [[nodiscard]] uint32_t Load(const std::string &name, Card *card) const;
    // Replaces the card's file whole. OK or ERR_FILE.
    [[nodiscard]] uint32_t Save(const std::string &name, const Card &card) const;

  private:
    [[nodiscard]] uint32_t WriteWhole(const std::string &path, const std::string &text) const;

    std::string directory_;
};

// Holds the reader's lock from construction to destruction, across processes.
class ReaderLock {
  public:
    explicit ReaderLock(const Reader &reader);
    ~ReaderLock();
    ReaderLock(const ReaderLock &) = delete;
    ReaderLock &operator=(const ReaderLock &) = delete;

  private:
    int fd_;
};

}  // namespace cards
