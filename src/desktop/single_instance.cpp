// SPDX-License-Identifier: Apache-2.0

#include "desktop/single_instance.h"

#include "base/text_form.h"

#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>
#include <QtEndian>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <optional>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// What a later start says, and what it is answered. Behind the second word follow a length of 32
// bits, the highest first, and so many bytes: paths in UTF-8, each with a NUL behind it.
constexpr QByteArrayView raiseMessage = "raise";
constexpr QByteArrayView movieMessage = "movie";
static_assert(raiseMessage.size() == movieMessage.size());
constexpr qsizetype headBytes = movieMessage.size() + qsizetype(sizeof(quint32));
constexpr qsizetype maximumPathBytes = SingleInstance::mostMovies * PATH_MAX;
constexpr auto lockName = "vorn-desktop.lock";
constexpr auto socketName = "vorn-desktop.socket";

QByteArray messageFor(const QStringList &movies)
{
    if (movies.isEmpty())
        return raiseMessage.toByteArray();
    QByteArray paths;
    for (const QString &path : movies)
        paths += path.toUtf8() + '\0';
    QByteArray length(sizeof(quint32), Qt::Uninitialized);
    qToBigEndian(quint32(paths.size()), length.data());
    return movieMessage.toByteArray() + length + paths;
}

/// Absolute paths; none where any of them is not.
QStringList pathsIn(const QByteArray &bytes)
{
    const std::optional<QString> text = utf8Text(bytes);
    if (!text || !text->endsWith(u'\0'))
        return {};
    const QStringList paths = text->chopped(1).split(u'\0');
    const auto isAbsolute = [](const QString &path) { return path.startsWith(u'/'); };
    return paths.size() <= SingleInstance::mostMovies && std::ranges::all_of(paths, isAbsolute)
               ? paths
               : QStringList();
}

/// The folder is for this user alone, unless somebody has opened it.
bool isOfSameUser(const QLocalSocket &client)
{
    ucred credentials = {};
    socklen_t size = sizeof(credentials);
    return ::getsockopt(int(client.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &credentials,
                        &size)
               == 0
           && credentials.uid == ::geteuid();
}

} // namespace

SingleInstance::SingleInstance(const QString &folder, std::chrono::milliseconds patience,
                               const QStringList &movies)
    : m_patience(patience), m_folderPath(folder), m_message(messageFor(movies))
{
    try {
        openLock();
    } catch (const FileError &error) {
        if (!m_folder.isOpen()) {
            m_outcome = Outcome::noFolder;
            m_sentence = QString::fromUtf8(error.what())
                         + u" VORN Desktop keeps its library there. See to it that this folder can "
                           "be made, or set XDG_DATA_HOME to a folder of yours."_s;
            return;
        }
        doWithoutLock(error);
    }
    // The other one may be starting still, or ending. Whoever answers is there, lock or no lock:
    // its file may have been removed, or never have served on this file system.
    const QDeadlineTimer deadline(patience);
    while (true) {
        const bool isFree = !m_lock.isOpen() || isLocked();
        const Answer answer = raiseOther(deadline);
        if (answer == Answer::heard) {
            m_outcome = Outcome::handedOver;
            return;
        }
        if (isFree && answer == Answer::nobody)
            break;
        if (deadline.hasExpired()) {
            m_sentence =
                u"Another VORN Desktop works on this library and cannot be reached to show "
                "its windows. This one ends."_s;
            return;
        }
        constexpr unsigned long pauseMs = 20;
        QThread::msleep(pauseMs);
    }
    m_outcome = m_lock.isOpen() ? Outcome::first : Outcome::unguarded;
    listen();
}

SingleInstance::~SingleInstance() = default;

void SingleInstance::openLock()
{
    createFolders(m_folderPath, FolderMode::ownerOnly);
    m_folder = FileDescriptor(
        ::open(nativePath(m_folderPath).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder.isOpen())
        throw FileError(u"Cannot open the folder"_s, m_folderPath, errno);
    // Not through a link: it may lead to a lock of something else.
    m_lock = FileDescriptor(::openat(m_folder.get(), lockName,
                                     O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!m_lock.isOpen())
        throw FileError(u"Cannot open"_s, lockPath(), errno);
}

void SingleInstance::doWithoutLock(const FileError &reason)
{
    m_lock = {};
    const bool isWritable = ::access(nativePath(m_folderPath).constData(), W_OK) == 0;
    m_sentence = QString::fromUtf8(reason.what())
                 + (isWritable ? u" Start only one VORN Desktop on this library: of two, the last "
                                 "to save undoes what the other has saved."_s
                               : u" While that is so, no change of the library is kept, and a "
                                 "second VORN Desktop on it may go unnoticed."_s);
}

bool SingleInstance::isLocked()
{
    while (::flock(m_lock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return false;
        if (errno == EINTR)
            continue;
        doWithoutLock(FileError(u"Cannot lock"_s, lockPath(), errno));
        break;
    }
    return true;
}

SingleInstance::Answer SingleInstance::raiseOther(const QDeadlineTimer &deadline) const
{
    // Waiting is fine here: this process has no window yet.
    const auto restMs = [&] { return int(deadline.remainingTime()); };
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(restMs()))
        return Answer::nobody;
    socket.write(m_message);
    while (socket.bytesAvailable() < raiseMessage.size()) {
        if (!socket.waitForReadyRead(restMs()))
            return Answer::none;
    }
    return m_message.startsWith(socket.readAll()) ? Answer::heard : Answer::none;
}

QString SingleInstance::lockPath() const
{
    return m_folderPath + u'/' + QLatin1StringView(lockName);
}

QString SingleInstance::socketPath() const
{
    // By way of the open folder: a socket's address has room for 107 bytes only.
    return u"/proc/self/fd/%1/"_s.arg(m_folder.get()) + QLatin1StringView(socketName);
}

void SingleInstance::listen()
{
    // Nobody answers there: what stands there is left over from a process that was killed.
    struct stat status = {};
    if (::fstatat(m_folder.get(), socketName, &status, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISSOCK(status.st_mode))
        ::unlinkat(m_folder.get(), socketName, 0);
    m_server = std::make_unique<QLocalServer>();
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server->nextPendingConnection())
            hear(client);
    });
    // Where there can be no socket, a later start says that it cannot reach this one.
    m_server->listen(socketPath());
}

void SingleInstance::hear(QLocalSocket *client)
{
    client->setReadBufferSize(headBytes + maximumPathBytes);
    connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
    connect(client, &QLocalSocket::readyRead, this, [this, client] {
        if (answer(*client))
            client->disconnectFromServer();
    });
    QTimer::singleShot(m_patience, client, [client] { client->abort(); });
}

bool SingleInstance::answer(QLocalSocket &client)
{
    const QByteArray said = client.peek(headBytes + maximumPathBytes);
    if (said.size() < raiseMessage.size())
        return false;
    if (said.startsWith(raiseMessage)) {
        client.write(raiseMessage.data(), raiseMessage.size());
        Q_EMIT raiseRequested();
        return true;
    }
    if (!said.startsWith(movieMessage) || !isOfSameUser(client))
        return true;
    if (said.size() < headBytes)
        return false;
    const qsizetype length = qFromBigEndian<quint32>(said.data() + movieMessage.size());
    if (length <= maximumPathBytes && said.size() < headBytes + length)
        return false;
    const QStringList paths = pathsIn(said.mid(headBytes, length));
    if (length <= maximumPathBytes && !paths.isEmpty()) {
        client.write(movieMessage.data(), movieMessage.size());
        Q_EMIT moviesRequested(paths);
    }
    return true;
}

} // namespace vorn
