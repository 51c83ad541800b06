#include "app/regularfile.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

// File systems whose files are made up by the kernel when read: their sizes
// mean nothing and some never end.
bool IsKernelFileSystem(int fd)
{
    struct statfs info;
    if (fstatfs(fd, &info) != 0)
        return false;
    switch (static_cast<unsigned long>(info.f_type)) {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case SECURITYFS_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
        return true;
    default:
        return false;
    }
}

std::string WhyNotRegular(const struct stat& info)
{
    if (S_ISREG(info.st_mode))
        return {};
    if (S_ISDIR(info.st_mode))
        return "is a directory";
    if (S_ISFIFO(info.st_mode))
        return "is a FIFO, not a regular file";
    if (S_ISCHR(info.st_mode) || S_ISBLK(info.st_mode))
        return "is a device, not a regular file";
    if (S_ISSOCK(info.st_mode))
        return "is a socket, not a regular file";
    return "is not a regular file";
}

std::string SystemError(int error)
{
    if (error == ENOENT)
        return "does not exist";
    return std::string("cannot be opened: ") + std::strerror(error);
}

template <class TBuffer>
bool ReadBounded(const std::string& path, int64_t limit, TBuffer& data, std::string& error)
{
    data.clear();
    const int fd = OpenRegularFile(path, error);
    if (fd < 0)
        return false;
    struct stat info;
    if (fstat(fd, &info) == 0 && info.st_size > limit) {
        ::close(fd);
        error = "is larger than " + std::to_string(limit) + " bytes";
        return false;
    }
    // The size is only a hint: the file may grow while it is read.
    data.reserve(static_cast<decltype(data.size())>(std::clamp<int64_t>(info.st_size, 0, limit)));
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            error = std::string("cannot be read: ") + std::strerror(errno);
            break;
        }
        if (count == 0)
            break;
        if (int64_t(data.size()) + count > limit) {
            error = "is larger than " + std::to_string(limit) + " bytes";
            break;
        }
        data.append(buffer, static_cast<decltype(data.size())>(count));
    }
    ::close(fd);
    if (!error.empty()) {
        data.clear();
        return false;
    }
    return true;
}

} // namespace

std::string WhyNotRegularFile(const std::string& path)
{
    std::string error;
    const int fd = OpenRegularFile(path, error);
    if (fd >= 0)
        ::close(fd);
    return error;
}

int OpenRegularFile(const std::string& path, std::string& error)
{
    error.clear();
    if (path.empty()) {
        error = "is no file name";
        return -1;
    }
    // Looked at before the open: opening a FIFO waits for a writer, and
    // opening some devices does something.
    struct stat info;
    if (::stat(path.c_str(), &info) != 0) {
        error = SystemError(errno);
        return -1;
    }
    error = WhyNotRegular(info);
    if (!error.empty())
        return -1;
    int fd;
    do
        fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        error = SystemError(errno);
        return -1;
    }
    // Again on what was opened, in case the name changed hands meanwhile.
    if (fstat(fd, &info) != 0)
        error = SystemError(errno);
    else if (error = WhyNotRegular(info); error.empty() && IsKernelFileSystem(fd))
        error = "is a file of the kernel, not a regular file";
    if (error.empty())
        return fd;
    ::close(fd);
    return -1;
}

bool ReadRegularFile(const std::string& path, int64_t limit, QByteArray& data, std::string& error)
{
    return ReadBounded(path, limit, data, error);
}

bool ReadRegularFile(const std::string& path, int64_t limit, std::string& data, std::string& error)
{
    return ReadBounded(path, limit, data, error);
}
