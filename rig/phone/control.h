// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QLocalServer>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <functional>

/// The ways in which commands reach a running rig. A command is one line; its answer is one line.
namespace vorn::rig {

using CommandHandler = std::function<QString(const QString &line)>;

/// A Unix stream socket that takes commands from any number of connections.
class ControlSocket : public QObject {
    Q_OBJECT
public:
    /// Opens the socket at `path`, in place of one that was left behind. Throws RigError.
    ControlSocket(const QString &path, CommandHandler handler, QObject *parent = nullptr);

private:
    void accept();

    QLocalServer m_server;
    CommandHandler m_handler;
};

/// Takes commands from the terminal. Does nothing where standard input is none.
class TerminalControl : public QObject {
    Q_OBJECT
public:
    explicit TerminalControl(CommandHandler handler, QObject *parent = nullptr);

private:
    void read();

    CommandHandler m_handler;
    QSocketNotifier m_notifier;
    QByteArray m_pending;
};

/// Runs the commands of a scenario, each at its time: "+2.5 cam-a sleep" is 2.5 seconds after this
/// call. Empty lines and lines that begin with # count for nothing. `owner` ends it. Throws
/// RigError for a line that tells no time, FileError for a file that cannot be read. What a command
/// has to complain about goes to standard error.
void scheduleScenario(const QString &path, const CommandHandler &handler, QObject *owner);

/// Ends the event loop on SIGTERM, SIGINT and when the process that started this one ends, so that
/// nothing is left behind. To be called before any thread begins.
void quitWithParent(QObject *owner);

} // namespace vorn::rig
