// SPDX-License-Identifier: Apache-2.0

#include "rig_phones.h"

#include "shared_phone.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QThread>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

// Far longer than anything takes: a sanitized program on a busy machine.
constexpr int limitMs = 30'000;

} // namespace

RigPhones::RigPhones(const RigPhonesOptions &options)
{
    const QString control = m_folder.filePath(u"control"_s);
    const QString lab = qEnvironmentVariable("VORN_LAB_PHONES");
    QStringList command{
        QStringLiteral(VORN_RIG), u"phones"_s,      u"--count"_s,   QString::number(options.count),
        u"--transfer"_s,          options.transfer, u"--control"_s, control};
    if (lab.isEmpty())
        command += {u"--address"_s,      u"127.0.0.2"_s, u"--port"_s,    u"0"_s,
                    u"--preview-port"_s, u"0"_s,         u"--desktop"_s, u"none"_s};
    else
        command = QStringList{u"nsenter"_s, u"--target"_s, lab, u"--net"_s} + command;
    if (options.clips > 0)
        command += {u"--clips"_s, QString::number(options.clips)};
    command += options.more;
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(command.first(), command.sliced(1));
    QByteArray output;
    while (!output.startsWith("ready\n")) {
        if (!m_process.waitForReadyRead(limitMs))
            qFatal("vorn-rig phones did not become ready");
        output += m_process.readAllStandardOutput();
    }
    m_control.connectToServer(control);
    if (!m_control.waitForConnected(limitMs))
        qFatal("vorn-rig phones cannot be commanded");
}

RigPhones::~RigPhones()
{
    m_process.terminate();
    if (!m_process.waitForFinished(limitMs))
        qFatal("vorn-rig phones did not end");
}

QString RigPhones::command(const QString &line)
{
    m_process.waitForReadyRead(0); // what it says goes to nobody, but must not fill the pipe
    m_process.readAllStandardOutput();
    m_control.write(line.toUtf8() + '\n');
    while (!m_control.canReadLine())
        if (!m_control.waitForReadyRead(limitMs))
            qFatal("vorn-rig phones did not answer: %s", qPrintable(line));
    return QString::fromUtf8(m_control.readLine()).trimmed();
}

QString RigPhones::must(const QString &line)
{
    const QString answer = command(line);
    if (answer != u"ok" && !answer.startsWith(u"ok "))
        qFatal("%s: %s", qPrintable(line), qPrintable(answer));
    return answer.sliced(2).trimmed();
}

QJsonObject RigPhones::state()
{
    return QJsonDocument::fromJson(must(u"state"_s).toUtf8()).object();
}

QJsonObject RigPhones::phone(const QString &cameraId)
{
    return state()[u"phones"_s][cameraId].toObject();
}

QJsonObject RigPhones::transfer(const QString &cameraId)
{
    return phone(cameraId)[u"transfer"_s].toObject();
}

DiscoveredDevice RigPhones::shared(const QString &cameraId)
{
    const QJsonObject shown = transfer(cameraId);
    return sharedPhone(cameraId, shown[u"catalogURL"_s].toString(),
                       shown[u"fingerprint"_s].toString(), shown[u"sessionId"_s].toString());
}

void RigPhones::render()
{
    must(u"all render"_s);
    const QDeadlineTimer deadline(10LL * limitMs);
    for (QJsonObject pictures = state()[u"pictures"_s].toObject();
         pictures[u"made"_s] != pictures[u"wanted"_s];
         pictures = state()[u"pictures"_s].toObject()) {
        if (deadline.hasExpired())
            qFatal("vorn-rig phones did not make its pictures");
        QThread::msleep(20);
    }
}

} // namespace vorn
