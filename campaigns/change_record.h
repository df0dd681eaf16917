// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <mutex>
#include <string>
#include <string_view>

/// A change of the disk that is made and recorded now. While one lives, no other thread makes one,
/// so that the record has them in their order. Does nothing where there is no record.
class Change {
public:
    Change() : m_turn(turns(), std::defer_lock)
    {
        if (isRecorded())
            m_turn.lock();
    }

    [[nodiscard]] static bool isRecorded() { return file() >= 0; }
    static void recordIn(const char *path)
    {
        file() = int(
            ::syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    }

    static void record(const char *call, const std::string &path, const std::string &from = {},
                       off64_t at = 0, std::string_view bytes = {})
    {
        std::string entry(call);
        for (const std::string &part :
             {path, from, std::to_string(at), std::to_string(bytes.size())})
            entry += '\t' + part;
        entry.append("\n").append(bytes);
        ::syscall(SYS_write, file(), entry.data(), entry.size());
    }

private:
    // Functions, since a preloaded library is called before its objects are made.
    static int &file()
    {
        static int descriptor = -1;
        return descriptor;
    }
    static std::mutex &turns()
    {
        static std::mutex mutex;
        return mutex;
    }

    std::unique_lock<std::mutex> m_turn;
};
