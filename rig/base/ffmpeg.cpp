// SPDX-License-Identifier: Apache-2.0

#include "rig/base/ffmpeg.h"

#include "rig/base/rig_error.h"

namespace vorn::rig {

using namespace Qt::StringLiterals;

Ffmpeg::Ffmpeg(const QString &task, const QStringList &arguments) : m_task(task)
{
    m_process.start(u"ffmpeg"_s,
                    QStringList{u"-hide_banner"_s, u"-loglevel"_s, u"error"_s} + arguments);
    if (!m_process.waitForStarted())
        throw RigError(
            u"The program ffmpeg cannot be started (%1). Install the package ffmpeg."_s.arg(
                m_process.errorString()));
}

void Ffmpeg::write(const QByteArray &bytes)
{
    m_process.write(bytes);
    while (m_process.bytesToWrite() > 0)
        if (!m_process.waitForBytesWritten(-1))
            fail();
}

QByteArray Ffmpeg::finish()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished(-1);
    // It says so, but ends with 0, when a full disk cuts off the last bytes of a movie.
    m_words = m_process.readAllStandardError();
    if (m_process.exitStatus() != QProcess::NormalExit || m_process.exitCode() != 0
        || !m_words.isEmpty())
        fail();
    return m_process.readAllStandardOutput();
}

void Ffmpeg::fail()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished(-1);
    // The first line names the cause; what follows are its consequences.
    m_words += m_process.readAllStandardError();
    const QString words = QString::fromUtf8(m_words).trimmed();
    throw RigError(u"ffmpeg could not %1: %2"_s.arg(
        m_task, words.isEmpty() ? u"it ended without a word."_s : words.section(u'\n', 0, 0)));
}

bool hasEncoder(const QString &name)
{
    Ffmpeg ffmpeg(u"list its encoders"_s, {u"-encoders"_s});
    const QByteArray list = ffmpeg.finish();
    return list.contains(' ' + name.toUtf8() + ' ');
}

} // namespace vorn::rig
