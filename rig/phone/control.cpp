// SPDX-License-Identifier: Apache-2.0

#include "rig/phone/control.h"

#include "base/files.h"
#include "rig/base/rig_error.h"

#include <QCoreApplication>
#include <QLocalSocket>
#include <QTimer>

#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maximumScenarioBytes = 1 << 20;
constexpr qint64 maximumLineBytes = 1 << 18;

QString lineText(const QByteArray &line)
{
    return QString::fromUtf8(line).trimmed();
}

} // namespace

ControlSocket::ControlSocket(const QString &path, CommandHandler handler, QObject *parent)
    : QObject(parent), m_handler(std::move(handler))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(path);
    if (!m_server.listen(path))
        throw RigError(
            u"The control socket %1 cannot be opened: %2."_s.arg(path, m_server.errorString()));
    connect(&m_server, &QLocalServer::newConnection, this, &ControlSocket::accept);
}

void ControlSocket::accept()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            while (socket->canReadLine()) {
                socket->write(m_handler(lineText(socket->readLine())).toUtf8() + '\n');
                socket->flush();
            }
            if (socket->bytesAvailable() > maximumLineBytes)
                socket->abort();
        });
    }
}

TerminalControl::TerminalControl(CommandHandler handler, QObject *parent)
    : QObject(parent),
      m_handler(std::move(handler)),
      m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    m_notifier.setEnabled(::isatty(STDIN_FILENO) == 1);
    connect(&m_notifier, &QSocketNotifier::activated, this, &TerminalControl::read);
}

void TerminalControl::read()
{
    // In the background, reading would stop this process.
    if (::tcgetpgrp(STDIN_FILENO) != ::getpgrp())
        return;
    char buffer[4096];
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count <= 0) {
        m_notifier.setEnabled(false); // the terminal is gone, or its user ended the input
        return;
    }
    m_pending.append(buffer, count);
    for (qsizetype end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
        const QString line = lineText(m_pending.first(end));
        m_pending.remove(0, end + 1);
        if (line.isEmpty())
            continue;
        std::puts(m_handler(line).replace(u" | "_s, u"\n"_s).toUtf8().constData());
        std::fflush(stdout);
    }
}

void scheduleScenario(const QString &path, const CommandHandler &handler, QObject *owner)
{
    const QStringList lines = QString::fromUtf8(readFile(path, maximumScenarioBytes)).split(u'\n');
    for (qsizetype number = 1; number <= lines.size(); ++number) {
        const QString line = lines[number - 1].trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        const QString time = line.section(u' ', 0, 0);
        bool isNumber = false;
        const double seconds = time.sliced(1).toDouble(&isNumber);
        if (!time.startsWith(u'+') || !isNumber || !(seconds >= 0 && seconds <= 86'400))
            throw RigError(
                u"%1, line %2: a line begins with a time such as +2.5"_s.arg(path).arg(number));
        const QString command = line.section(u' ', 1);
        QTimer::singleShot(qRound(seconds * 1000), Qt::PreciseTimer, owner, [=] {
            const QString answer = handler(command);
            if (answer.startsWith(u"error"))
                std::fprintf(stderr, "vorn-rig: %s: %s\n", qPrintable(command), qPrintable(answer));
        });
    }
}

void quitWithParent(QObject *owner)
{
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGTERM);
    ::sigaddset(&signals, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const int descriptor = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor < 0)
        throw RigError(u"The signals that end the rig cannot be watched."_s);
    auto *notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, owner);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, &QCoreApplication::quit);
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
}

} // namespace vorn::rig
