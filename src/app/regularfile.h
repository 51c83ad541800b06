#pragma once

#include <QByteArray>

#include <cstdint>
#include <string>

// Files that a user or another file names: -f, playlist entries, scenes,
// effects, pictures, songs, the configuration. Only regular files of ordinary
// file systems are opened: a FIFO blocks the open until a writer comes, a
// device such as /dev/zero never ends, and the files of /proc and /sys claim
// sizes they don't have. Reads stop at a limit for the kind of file, whatever
// the file claims or grows to meanwhile.

// No real file of its kind comes near these sizes.
namespace FileLimit {
constexpr int64_t Scene = int64_t(64) << 20;
constexpr int64_t Playlist = int64_t(16) << 20;
constexpr int64_t Config = int64_t(4) << 20;
constexpr int64_t Effect = int64_t(4) << 20;
constexpr int64_t Picture = int64_t(256) << 20;
constexpr int64_t Font = int64_t(16) << 20;
} // namespace FileLimit

// Empty when `path` names a regular file; otherwise why not, worded to
// follow the file's name ("is a directory", "does not exist").
std::string WhyNotRegularFile(const std::string& path);

// A non-blocking, close-on-exec descriptor for reading the regular file
// `path`, or -1 with `error` set as by WhyNotRegularFile or by the system.
// Nothing else is opened, so opening has no side effects on devices.
int OpenRegularFile(const std::string& path, std::string& error);

// The whole file; false, with `error` set and `data` empty, when it is no
// regular file, cannot be read or holds more than `limit` bytes.
bool ReadRegularFile(const std::string& path, int64_t limit, QByteArray& data, std::string& error);
bool ReadRegularFile(const std::string& path, int64_t limit, std::string& data, std::string& error);
