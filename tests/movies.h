// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>

#include <stdexcept>

namespace vorn {

/// Makes a file in a folder with ffmpeg. `arguments` are separated by blanks and stand before its
/// name; "PICTURE:rate" and "X264" are short for a test picture of 160 by 90 and for how it is
/// coded, and names of files in the folder lead there.
inline void makeMovie(const QString &folder, const QString &name, QString arguments)
{
    using namespace Qt::StringLiterals;
    arguments.replace(u"PICTURE:"_s, u"-f lavfi -i testsrc2=s=160x90:r="_s);
    arguments.replace(u"X264"_s,
                      u"-c:v libx264 -preset ultrafast -g 15 -pix_fmt yuv420p -c:a aac"_s);
    QStringList words{u"-nostdin"_s, u"-v"_s, u"error"_s, u"-y"_s};
    for (const QString &word : arguments.split(u' ')) {
        const QString path = folder + u'/' + word;
        words += QFile::exists(path) ? path : word;
    }
    QProcess ffmpeg;
    ffmpeg.start(u"ffmpeg"_s, words + QStringList{folder + u'/' + name});
    if (!ffmpeg.waitForFinished() || ffmpeg.exitCode() != 0)
        throw std::runtime_error(ffmpeg.readAllStandardError().toStdString());
}

} // namespace vorn
