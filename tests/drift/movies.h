#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>

#include <stdexcept>

namespace vorn {

/// Makes a movie with ffmpeg from these arguments, which stand before the name of the file.
inline void makeMovie(const QString &path, const QStringList &arguments)
{
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::MergedChannels);
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")}
                     + arguments + QStringList{path});
    if (!ffmpeg.waitForFinished() || ffmpeg.exitCode() != 0 || !QFile::exists(path))
        throw std::runtime_error("ffmpeg made no movie: " + ffmpeg.readAll().toStdString());
}

/// Arguments for a test picture of 64 by 36 and, as often as asked, a tone.
inline QStringList testMovie(int durationSeconds, const QString &rate, int audioTracks = 1)
{
    QStringList arguments{QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                          QStringLiteral("testsrc2=size=64x36:rate=") + rate};
    QStringList maps{QStringLiteral("-map"), QStringLiteral("0")};
    for (int track = 1; track <= audioTracks; ++track) {
        arguments += {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                      QStringLiteral("sine=sample_rate=48000")};
        maps += {QStringLiteral("-map"), QString::number(track)};
    }
    return arguments + maps
           + QStringList{QStringLiteral("-t"),       QString::number(durationSeconds),
                         QStringLiteral("-c:v"),     QStringLiteral("libx264"),
                         QStringLiteral("-preset"),  QStringLiteral("ultrafast"),
                         QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"),
                         QStringLiteral("-c:a"),     QStringLiteral("aac")};
}

} // namespace vorn
