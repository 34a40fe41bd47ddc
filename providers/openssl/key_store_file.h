// Reading key store files, and noticing that one has changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvanti::provider {

// What tells one state of a file from another without reading it.
struct FileStamp {
    std::uint64_t volume = 0;
    std::uint64_t file = 0;
    std::uint64_t size = 0;
    std::int64_t modified = 0;  // finest unit the system has
    std::int64_t changed = 0;   // the same for its attributes; 0 where the system has no such time

    bool operator==(const FileStamp&) const = default;
};

enum class FileState : std::uint8_t { ok, missing, notRegular, tooLarge, unreadable };

FileState stampFile(const std::string& path, FileStamp& stamp);

// The whole file and the stamp of just this content. Never waits for a pipe or device.
FileState readFile(const std::string& path, std::size_t mostBytes, std::vector<std::uint8_t>& content,
                   FileStamp& stamp);

// Whether the file was written so recently, that a further write could leave the same stamp.
bool writtenJustNow(const FileStamp& stamp);

}  // namespace quorvanti::provider
