#pragma once
// Small files of the data directory that must be either wholly old or wholly new after a
// crash.

#include <optional>
#include <string>
#include <string_view>

namespace sim {

// Writes `bytes` beside `path`, syncs them, renames the copy over `path` and syncs the
// directory. The file is the owner's alone. Throws std::runtime_error on failure.
void WriteFileDurably(const std::string &path, std::string_view bytes);

// The whole file; nullopt when it does not exist or cannot be read.
std::optional<std::string> ReadSmallFile(const std::string &path);

// Syncs the directory `dir`, so that a rename or removal in it outlives a crash. Throws
// std::runtime_error on failure.
void SyncDirectory(const std::string &dir);

// Removes `path` and syncs its directory; a missing file is no error. Throws
// std::runtime_error on failure.
void RemoveFileDurably(const std::string &path);

}  // namespace sim
