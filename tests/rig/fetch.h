#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace vorn {

/// What a request of the program curl gave.
struct Fetched {
    int exitCode = 0; ///< of curl: 0 for any whole answer
    int status = 0;
    QByteArray head;
    QByteArray body;

    /// All values of a header.
    [[nodiscard]] QList<QByteArray> header(const QByteArray &name) const
    {
        QList<QByteArray> values;
        for (const QByteArray &line : head.split('\n'))
            if (line.toLower().startsWith(name.toLower() + ':'))
                values += line.sliced(name.size() + 1).trimmed();
        return values;
    }
    [[nodiscard]] QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
};

/// Runs curl, which trusts any certificate. Ends the test program when curl does not end.
[[nodiscard]] inline Fetched fetch(const QString &url, const QStringList &arguments = {})
{
    QProcess curl;
    curl.start(QStringLiteral("curl"),
               QStringList{QStringLiteral("--disable"), QStringLiteral("--silent"),
                           QStringLiteral("--insecure"), QStringLiteral("--include"),
                           QStringLiteral("--noproxy"), QStringLiteral("*")}
                   + arguments + QStringList{url});
    if (!curl.waitForFinished(60'000))
        qFatal("curl: %s", qPrintable(curl.errorString()));
    const QByteArray output = curl.readAllStandardOutput();
    const qsizetype end = output.indexOf("\r\n\r\n");
    if (end < 0)
        return {curl.exitCode(), 0, {}, output};
    const QByteArray head = output.first(end);
    return {curl.exitCode(), head.split(' ').value(1).toInt(), head, output.sliced(end + 4)};
}

} // namespace vorn
