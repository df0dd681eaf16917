// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

/// The ffmpeg program. All of this blocks and works on any thread, also one without an event loop.
namespace vorn::rig {

/// One run of ffmpeg that is fed through its standard input.
class Ffmpeg {
public:
    /// Starts it. `task` completes "ffmpeg could not ...". Throws RigError when it is not there.
    Ffmpeg(const QString &task, const QStringList &arguments);

    /// Hands over bytes and waits until they are taken, so that memory stays bounded. Throws
    /// RigError with the program's own words when it has ended.
    void write(const QByteArray &bytes);

    /// Ends the input, waits for the program to end, and gives what it printed. Throws RigError
    /// with the program's own words when it failed, or complained.
    QByteArray finish();

private:
    [[noreturn]] void fail();

    QString m_task;
    QByteArray m_words; ///< what it had to complain about
    QProcess m_process;
};

/// Whether ffmpeg has an encoder of that name. Throws RigError when there is no ffmpeg.
[[nodiscard]] bool hasEncoder(const QString &name);

} // namespace vorn::rig
