// SPDX-License-Identifier: Apache-2.0

// Preloaded into a program, counts its calls that concern files under a folder, and lets one fail.
//   VORN_FAULT_ROOT   the folder, absolute; without it nothing happens
//   VORN_FAULT_LOG    gets a line for each call: its number, "failed" where it did, its name and
//                     its path; "outside" for a number where it would change something elsewhere
//   VORN_FAULT_POINT  the number of the call that fails
//   VORN_FAULT_KIND   how: space, io, permission, interrupted, or short, which moves half of what
//                     was asked for. A disk that is full stays so for all that takes room. Or kill,
//                     which ends the program before the call, or torn, which does so after half of
//                     a write.
//   VORN_FAULT_RECORD gets what has been changed there, in that order, and what was said meanwhile:
//                     a line "CALL PATH FROM OFFSET SIZE", by tabs, and SIZE bytes behind it
// Programs that it starts are left alone. Uses no library of ours, lest it change what it watches.

#include "change_record.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

enum class Does { looks, changes, grows }; // the last takes room on the disk
enum class Answer { system, error, less };

std::string_view root; // in the environment, which is there before any of our objects
int logFile = -1;
int point = 0;
int failure = 0; // what errno tells; 0 for a call that does less
bool kills = false;
bool tears = false;
std::atomic<int> calls;
std::array<std::atomic<bool>, 4096> isOurs; // descriptors

template <class Function> Function *next(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

[[gnu::constructor]] void begin()
{
    const auto setting = [](const char *name) {
        const char *value = std::getenv(name);
        return value ? value : "";
    };
    const std::string_view kind = setting("VORN_FAULT_KIND");
    failure = kind == "space"         ? ENOSPC
              : kind == "io"          ? EIO
              : kind == "permission"  ? EACCES
              : kind == "interrupted" ? EINTR
                                      : 0;
    kills = kind == "kill";
    tears = kind == "torn";
    point = std::atoi(setting("VORN_FAULT_POINT"));
    logFile = int(::syscall(SYS_openat, AT_FDCWD, setting("VORN_FAULT_LOG"),
                            O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    Change::recordIn(setting("VORN_FAULT_RECORD"));
    ::unsetenv("LD_PRELOAD");
    root = setting("VORN_FAULT_ROOT");
}

void note(const std::string &line)
{
    ::syscall(SYS_write, logFile, line.c_str(), line.size());
}

std::atomic<bool> *ours(int descriptor)
{
    const auto index = std::size_t(descriptor);
    return descriptor >= 0 && index < isOurs.size() ? &isOurs[index] : nullptr;
}

bool isBelow(std::string_view path)
{
    return path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/');
}

std::string pathOf(const std::string &link)
{
    std::array<char, PATH_MAX> path{};
    const auto length = ::syscall(SYS_readlink, link.c_str(), path.data(), path.size());
    return {path.data(), std::size_t(length < 0 ? 0 : length)};
}

/// `path` as seen from the folder `base`.
std::string fullPath(int base, const char *path)
{
    if (*path == '/')
        return path;
    return pathOf(base == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(base))
           + '/' + path;
}

/// Counts the call; what is to become of it.
Answer answer(const char *call, const std::string &path, Does does)
{
    if (!isBelow(path)) {
        if (does != Does::looks && !path.starts_with("/dev/") && !path.starts_with("/proc/"))
            note("outside " + std::string(call) + ' ' + path + '\n');
        return Answer::system;
    }
    const int number = ++calls;
    const bool isStillFull =
        failure == ENOSPC && does == Does::grows && point > 0 && number > point;
    const bool fails = number == point || isStillFull;
    note(std::to_string(number) + (fails ? " failed " : " ") + call + ' ' + path + '\n');
    if (!fails)
        return Answer::system;
    if (kills || (tears && std::string_view(call).find("write") == std::string_view::npos))
        ::raise(SIGKILL);
    errno = failure;
    return failure == 0 ? Answer::less : Answer::error;
}

Answer answer(const char *call, int base, const char *path, Does does)
{
    return root.empty() ? Answer::system : answer(call, fullPath(base, path), does);
}

Answer answer(const char *call, int file, Does does)
{
    const auto *const known = ours(file);
    return known && *known ? answer(call, pathOf("/proc/self/fd/" + std::to_string(file)), does)
                           : Answer::system;
}

Does doesBy(int flags)
{
    return (flags & O_CREAT) != 0               ? Does::grows
           : (flags & (O_WRONLY | O_RDWR)) != 0 ? Does::changes
                                                : Does::looks;
}

int opened(int file, int base, const char *path)
{
    if (auto *const known = ours(file))
        *known = !root.empty() && isBelow(fullPath(base, path));
    return file;
}

std::size_t half(std::size_t bytes)
{
    return (bytes + 1) / 2; // nothing read would be the end of the file
}

void record(const char *call, const std::string &path, const std::string &from = {})
{
    if (Change::isRecorded() && isBelow(path))
        Change::record(call, path, from);
}

void record(const char *call, int file, off64_t at = 0, std::string_view bytes = {})
{
    const auto *const known = ours(file);
    if (Change::isRecorded() && known && *known)
        Change::record(call, pathOf("/proc/self/fd/" + std::to_string(file)), {}, at, bytes);
    else if (Change::isRecorded() && file == STDOUT_FILENO)
        Change::record("say", "-", {}, 0, bytes);
}

/// Of what has been written at the file's own place, which has moved on by it.
void recordWrite(int file, std::string_view bytes)
{
    if (Change::isRecorded())
        record("write", file, ::syscall(SYS_lseek, file, 0, SEEK_CUR) - off64_t(bytes.size()),
               bytes);
}

bool isThere(const std::string &path)
{
    struct stat status = {};
    return ::syscall(SYS_newfstatat, AT_FDCWD, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/// What opening the file has made or emptied.
void recordOpened(int file, const std::string &path, int flags, bool wasThere)
{
    if (file < 0)
        return;
    if (!wasThere && (flags & O_CREAT) != 0)
        record("create", path);
    else if ((flags & O_TRUNC) != 0)
        record("ftruncate", path);
}

const char *reservation(int mode)
{
    return (mode & FALLOC_FL_KEEP_SIZE) != 0 ? "reserve" : "fallocate";
}

void dieIfTorn(Answer given)
{
    if (tears && given == Answer::less)
        ::raise(SIGKILL);
}

} // namespace

#define NEXT(name) static auto *const real = next<decltype(name)>(#name)
#define OPEN(name, parameters, base, ...)                                                          \
    int name parameters                                                                            \
    {                                                                                              \
        va_list more;                                                                              \
        va_start(more, flags);                                                                     \
        const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;         \
        va_end(more);                                                                              \
        NEXT(name);                                                                                \
        if (answer(#name, base, path, doesBy(flags)) != Answer::system)                            \
            return -1;                                                                             \
        const Change change;                                                                       \
        const bool wasThere = Change::isRecorded() && isThere(fullPath(base, path));               \
        const int file = opened(real(__VA_ARGS__, mode), base, path);                              \
        recordOpened(file, fullPath(base, path), flags, wasThere);                                 \
        return file;                                                                               \
    }
#define LOOK_AT_PATH(name, parameters, base, path, ...)                                            \
    int name parameters noexcept                                                                   \
    {                                                                                              \
        NEXT(name);                                                                                \
        return answer(#name, base, path, Does::looks) == Answer::system ? real(__VA_ARGS__) : -1;  \
    }
// Of two paths, `path` is the one that it makes.
#define CHANGE_PATH(name, parameters, fromBase, from, base, path, does, ...)                       \
    int name parameters noexcept                                                                   \
    {                                                                                              \
        NEXT(name);                                                                                \
        if (answer(#name, base, path, Does::does) != Answer::system)                               \
            return -1;                                                                             \
        const Change change;                                                                       \
        const int result = real(__VA_ARGS__);                                                      \
        if (result == 0 && Change::isRecorded())                                                   \
            record(#name, fullPath(base, path), fullPath(fromBase, from));                         \
        return result;                                                                             \
    }
#define LOOK_AT_FILE(name, parameters, ...)                                                        \
    int name parameters noexcept                                                                   \
    {                                                                                              \
        NEXT(name);                                                                                \
        return answer(#name, file, Does::looks) == Answer::system ? real(file, __VA_ARGS__) : -1;  \
    }
#define CHANGE_FILE(name, as, parameters, does, at, ...)                                           \
    int name parameters                                                                            \
    {                                                                                              \
        NEXT(name);                                                                                \
        if (answer(#name, file, Does::does) != Answer::system)                                     \
            return -1;                                                                             \
        const Change change;                                                                       \
        const int result = real(__VA_ARGS__);                                                      \
        if (result == 0)                                                                           \
            record(as, file, at);                                                                  \
        return result;                                                                             \
    }
#define READ(name, parameters, ...)                                                                \
    ssize_t name parameters                                                                        \
    {                                                                                              \
        NEXT(name);                                                                                \
        const Answer given = answer(#name, file, Does::looks);                                     \
        if (given == Answer::less)                                                                 \
            bytes = half(bytes);                                                                   \
        return given == Answer::error ? -1 : real(file, __VA_ARGS__);                              \
    }
#define WRITE(name, parameters, recorded, ...)                                                     \
    ssize_t name parameters                                                                        \
    {                                                                                              \
        NEXT(name);                                                                                \
        const Answer given = answer(#name, file, Does::grows);                                     \
        if (given == Answer::less)                                                                 \
            bytes = half(bytes);                                                                   \
        if (given == Answer::error)                                                                \
            return -1;                                                                             \
        const Change change;                                                                       \
        const ssize_t written = real(file, __VA_ARGS__);                                           \
        if (written > 0)                                                                           \
            recorded;                                                                              \
        dieIfTorn(given);                                                                          \
        return written;                                                                            \
    }
#define WRITTEN std::string_view(static_cast<const char *>(from), std::size_t(written))

// The names that the C library has for them; those that end in 64 have been needed for large files.
// clang-format off
extern "C" {
OPEN(open, (const char *path, int flags, ...), AT_FDCWD, path, flags)
OPEN(open64, (const char *path, int flags, ...), AT_FDCWD, path, flags)
OPEN(openat, (int base, const char *path, int flags, ...), base, base, path, flags)
OPEN(openat64, (int base, const char *path, int flags, ...), base, base, path, flags)

LOOK_AT_PATH(stat, (const char *path, struct stat *to), AT_FDCWD, path, path, to)
LOOK_AT_PATH(stat64, (const char *path, struct stat64 *to), AT_FDCWD, path, path, to)
LOOK_AT_PATH(lstat, (const char *path, struct stat *to), AT_FDCWD, path, path, to)
LOOK_AT_PATH(lstat64, (const char *path, struct stat64 *to), AT_FDCWD, path, path, to)
LOOK_AT_PATH(statx, (int base, const char *path, int flags, unsigned mask, struct statx *to), base, path, base, path, flags, mask, to)
LOOK_AT_PATH(statvfs, (const char *path, struct statvfs *to), AT_FDCWD, path, path, to)
LOOK_AT_PATH(statvfs64, (const char *path, struct statvfs64 *to), AT_FDCWD, path, path, to)
LOOK_AT_PATH(access, (const char *path, int mode), AT_FDCWD, path, path, mode)
CHANGE_PATH(mkdir, (const char *path, mode_t mode), AT_FDCWD, "/", AT_FDCWD, path, grows, path, mode)
CHANGE_PATH(rmdir, (const char *path), AT_FDCWD, "/", AT_FDCWD, path, changes, path)
CHANGE_PATH(unlink, (const char *path), AT_FDCWD, "/", AT_FDCWD, path, changes, path)
CHANGE_PATH(unlinkat, (int base, const char *path, int flags), AT_FDCWD, "/", base, path, changes, base, path, flags)
CHANGE_PATH(remove, (const char *path), AT_FDCWD, "/", AT_FDCWD, path, changes, path)
CHANGE_PATH(chmod, (const char *path, mode_t mode), AT_FDCWD, "/", AT_FDCWD, path, changes, path, mode)
CHANGE_PATH(link, (const char *from, const char *to), AT_FDCWD, from, AT_FDCWD, to, grows, from, to)
CHANGE_PATH(symlink, (const char *from, const char *to), AT_FDCWD, from, AT_FDCWD, to, grows, from, to)
CHANGE_PATH(rename, (const char *from, const char *to), AT_FDCWD, from, AT_FDCWD, to, grows, from, to)
CHANGE_PATH(renameat, (int a, const char *from, int b, const char *to), a, from, b, to, grows, a, from, b, to)
CHANGE_PATH(renameat2, (int a, const char *from, int b, const char *to, unsigned flags), a, from, b, to, grows, a, from, b, to, flags)

LOOK_AT_FILE(fstat, (int file, struct stat *to), to)
LOOK_AT_FILE(fstat64, (int file, struct stat64 *to), to)
LOOK_AT_FILE(flock, (int file, int operation), operation)
CHANGE_FILE(ftruncate, "ftruncate", (int file, off_t size) noexcept, changes, size, file, size)
CHANGE_FILE(ftruncate64, "ftruncate", (int file, off64_t size) noexcept, changes, size, file, size)
CHANGE_FILE(fallocate, reservation(mode), (int file, int mode, off_t at, off_t size), grows, at + size, file, mode, at, size)
CHANGE_FILE(fallocate64, reservation(mode), (int file, int mode, off64_t at, off64_t size), grows, at + size, file, mode, at, size)

READ(read, (int file, void *to, size_t bytes), to, bytes)
READ(pread, (int file, void *to, size_t bytes, off_t at), to, bytes, at)
READ(pread64, (int file, void *to, size_t bytes, off64_t at), to, bytes, at)
WRITE(write, (int file, const void *from, size_t bytes), recordWrite(file, WRITTEN), from, bytes)
WRITE(pwrite, (int file, const void *from, size_t bytes, off_t at), record("write", file, at, WRITTEN), from, bytes, at)
WRITE(pwrite64, (int file, const void *from, size_t bytes, off64_t at), record("write", file, at, WRITTEN), from, bytes, at)
CHANGE_FILE(fsync, "flush", (int file), changes, 0, file)
CHANGE_FILE(fdatasync, "flush", (int file), changes, 0, file)
// clang-format on

int close(int file)
{
    NEXT(close);
    if (auto *const known = ours(file))
        *known = false;
    return real(file);
}

DIR *opendir(const char *path)
{
    NEXT(opendir);
    return answer("opendir", AT_FDCWD, path, Does::looks) == Answer::system ? real(path) : nullptr;
}

ssize_t readlink(const char *path, char *buffer, size_t size) noexcept
{
    NEXT(readlink);
    return answer("readlink", AT_FDCWD, path, Does::looks) == Answer::system
               ? real(path, buffer, size)
               : -1;
}

ssize_t writev(int file, const iovec *pieces, int count)
{
    NEXT(writev);
    const Answer given = answer("writev", file, Does::grows);
    if (given == Answer::error)
        return -1;
    const Change change;
    const iovec first{pieces->iov_base, half(pieces->iov_len)};
    const ssize_t written =
        given == Answer::less ? real(file, &first, 1) : real(file, pieces, count);
    if (written > 0 && Change::isRecorded()) {
        std::string bytes;
        for (int index = 0; index < count; ++index)
            bytes.append(static_cast<const char *>(pieces[index].iov_base), pieces[index].iov_len);
        recordWrite(file, std::string_view(bytes).substr(0, std::size_t(written)));
    }
    dieIfTorn(given);
    return written;
}
}
