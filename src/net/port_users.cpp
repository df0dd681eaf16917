// SPDX-License-Identifier: Apache-2.0

#include "net/port_users.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDir>
#include <QFile>
#include <QMap>

#include <unistd.h>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// What the process file system has under a name, which it makes up on the spot: reading it to its
/// end is the only way to know its size.
std::optional<QByteArray> systemText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

QStringList processIDs()
{
    QStringList names = QDir(u"/proc"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    names.removeIf([](const QString &name) { return !name.front().isDigit(); });
    return names;
}

QString programOf(const QString &processID)
{
    return QString::fromUtf8(
        systemText(u"/proc/%1/comm"_s.arg(processID)).value_or(QByteArray()).trimmed());
}

/// The inodes of the sockets that are bound to the port, by the table of one protocol (see proc(5),
/// /proc/net/udp): the second column is address and port in hexadecimal, the tenth the inode.
QByteArrayList inodesOf(const QByteArray &table, std::uint16_t port)
{
    constexpr qsizetype addressColumn = 1;
    constexpr qsizetype inodeColumn = 9;
    QByteArrayList inodes;
    for (const QByteArray &line : table.split('\n').mid(1)) {
        const QByteArrayList columns = line.simplified().split(' ');
        if (columns.size() <= inodeColumn)
            continue;
        bool isNumber = false;
        const uint number = columns[addressColumn].split(':').back().toUInt(&isNumber, 16);
        if (isNumber && number == port)
            inodes.append(columns[inodeColumn]);
    }
    return inodes;
}

/// The processes that hold one of the sockets, as far as the system shows what others hold. Most
/// often it is this one alone, so that no other is asked.
QMap<QByteArray, QString> holdersOf(const QByteArrayList &inodes)
{
    QMap<QByteArray, QString> holders;
    for (const QString &processID : QStringList{QString::number(::getpid())} + processIDs()) {
        if (holders.size() == inodes.size())
            break;
        const QString folder = u"/proc/%1/fd"_s.arg(processID);
        for (const QString &name : QDir(folder).entryList(QDir::Files | QDir::System)) {
            std::array<char, 64> target{};
            const QByteArray path = (folder + u'/' + name).toLatin1();
            if (::readlink(path.constData(), target.data(), target.size() - 1) < 0)
                continue;
            const QByteArray held(target.data());
            for (const QByteArray &inode : inodes) {
                if (held == "socket:[" + inode + ']')
                    holders.insert(inode, processID);
            }
        }
    }
    return holders;
}

} // namespace

std::optional<std::vector<PortUser>> udpPortUsers(std::uint16_t port)
{
    const auto table = systemText(u"/proc/self/net/udp"_s);
    if (!table)
        return std::nullopt;
    const QByteArrayList inodes =
        inodesOf(*table, port)
        + inodesOf(systemText(u"/proc/self/net/udp6"_s).value_or(QByteArray()), port);
    const QMap<QByteArray, QString> holders =
        inodes.isEmpty() ? QMap<QByteArray, QString>() : holdersOf(inodes);
    std::vector<PortUser> users;
    for (const QByteArray &inode : inodes) {
        const QString processID = holders.value(inode);
        users.push_back({.isThisProcess = processID == QString::number(::getpid()),
                         .program = processID.isEmpty() ? QString() : programOf(processID)});
    }
    return users;
}

bool isProgramRunning(const QString &program)
{
    return std::ranges::any_of(
        processIDs(), [&](const QString &processID) { return programOf(processID) == program; });
}

} // namespace vorn
