// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

#include <sys/stat.h>

#include <cstddef>
#include <exception>
#include <span>

namespace vorn {

/// The text of what `work` throws; empty when it throws nothing.
template <class Work> [[nodiscard]] QString thrownText(Work &&work)
{
    try {
        work();
    } catch (const std::exception &error) {
        return QString::fromUtf8(error.what());
    }
    return {};
}

/// Makes or replaces a file, without any promise.
inline void writePlain(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

[[nodiscard]] inline std::span<const std::byte> bytesOf(const QByteArray &bytes)
{
    return std::as_bytes(std::span(bytes));
}

/// Entries of one of this process's folders in /proc, such as "task" for its threads.
[[nodiscard]] inline qsizetype processEntries(const char *folder)
{
    return QDir(QStringLiteral("/proc/self/") + QLatin1StringView(folder))
        .entryList(QDir::NoFilter | QDir::NoDotAndDotDot)
        .size();
}

/// The permission bits of what stands at `path`, such as 0600; 0 when nothing does.
[[nodiscard]] inline int modeOf(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 07777)
                                                                     : 0;
}

} // namespace vorn
