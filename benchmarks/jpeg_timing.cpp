// SPDX-License-Identifier: Apache-2.0

// Usage: jpeg_timing FOLDER
// The decoding of preview pictures beside tjbench, the decoder's own benchmark, on the same
// pictures.

#include "media/jpeg_decoder.h"
#include "paired.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <array>
#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int rounds = 9;
constexpr int pictures = 200; ///< decoded in each round

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0)
        throw std::runtime_error(program.toStdString() + " failed.");
    return process.readAllStandardOutput();
}

/// A picture of 1280 by 720 pixels out of one of ffmpeg's sources.
QString makePicture(const QString &folder, const QString &name, const QString &source)
{
    const QString path = folder + u'/' + name + u".jpg"_s;
    (void)outputOf(u"ffmpeg"_s, {u"-v"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, source,
                                 u"-frames:v"_s, u"1"_s, u"-q:v"_s, u"4"_s, path});
    return path;
}

/// Seconds for one picture, out of tjbench's "Frame rate: 260.530291 fps".
double yardstickSeconds(const QString &path)
{
    const QByteArray output = outputOf(u"tjbench"_s, {path, u"-bgrx"_s, u"-nowrite"_s, u"-warmup"_s,
                                                      u"0.1"_s, u"-benchtime"_s, u"0.6"_s});
    bool isNumber = false;
    const double perSecond = output.mid(output.lastIndexOf("Frame rate:"))
                                 .simplified()
                                 .split(' ')
                                 .value(2)
                                 .toDouble(&isNumber);
    if (!isNumber)
        throw std::runtime_error("tjbench tells no frame rate.");
    return 1 / perSecond;
}

double secondsToDecode(JPEGDecoder &decoder, const QByteArray &jpeg)
{
    return secondsOf([&] {
               for (int i = 0; i < pictures; ++i) {
                   if (!decoder.decode(std::as_bytes(std::span(jpeg))))
                       throw std::runtime_error("A picture was not decoded.");
               }
           })
           / pictures;
}

void measure(const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        throw std::runtime_error("Cannot read a picture.");
    const QByteArray jpeg = file.readAll();
    JPEGDecoder decoder;
    printRow(u"JPEG of %1 kB to pixels"_s.arg(jpeg.size() / 1000),
             pairedTimes(
                 rounds, [&] { return secondsToDecode(decoder, jpeg); },
                 [&] { return yardstickSeconds(path); }),
             u"<= 1.00"_s);
}

} // namespace

int main(int argumentCount, char *arguments[])
{
    if (argumentCount != 2) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    try {
        const QString folder = QFile::decodeName(arguments[1]);
        if (!QDir().mkpath(folder))
            throw std::runtime_error("Cannot make the folder.");
        measure(makePicture(folder, u"plain"_s, u"testsrc2=size=1280x720"_s));
        measure(makePicture(folder, u"busy"_s, u"mandelbrot=size=1280x720:start_scale=0.1"_s));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
