// SPDX-License-Identifier: Apache-2.0

#include "jpeg_samples.h"
#include "media/jpeg_decoder.h"
#include "support.h"

#include <QFile>
#include <QtTest>

#include <cstdlib>

using namespace vorn;

namespace {

QByteArray bigEndian(int number)
{
    return QByteArray(1, char(number >> 8)) + char(number & 255);
}

QByteArray segment(char marker, const QByteArray &content)
{
    return QByteArray("\xFF") + marker + bigEndian(int(content.size()) + 2) + content;
}

QByteArray frame(char marker, int width, int height, int components = 3, int precision = 8)
{
    QByteArray content = QByteArray(1, char(precision)) + bigEndian(height) + bigEndian(width);
    content += char(components);
    for (int i = 1; i <= components; ++i)
        content += QByteArray(1, char(i)) + '\x11' + '\0'; // not subsampled
    return segment(marker, content);
}

const QByteArray start = QByteArrayLiteral("\xFF\xD8");
const QByteArray end = QByteArrayLiteral("\xFF\xD9");
const QByteArray scan =
    segment('\xDA', QByteArrayLiteral("\x01\x01\x00\x00\x3F\x00")) + QByteArrayLiteral("\x12\x34");

/// A JPEG that consists of headers; its data means nothing.
QByteArray headers(int width, int height, int scans = 1)
{
    return start + frame('\xC0', width, height) + scan.repeated(scans) + end;
}

/// Of a JPEG, with more bytes between its data and its end.
QByteArray withBeforeEnd(const QByteArray &jpeg, const QByteArray &more)
{
    return jpeg.chopped(end.size()) + more + end;
}

/// What the system says of this process's memory.
qint64 kibibytes(const QByteArray &key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QFile::ReadOnly))
        qFatal("the system does not tell how much memory is used");
    const QByteArray text = status.readAll();
    return text.sliced(text.indexOf(key) + key.size() + 1)
        .simplified()
        .split(' ')
        .front()
        .toLongLong();
}

/// Has the system count the peak from here on, and gives it.
qint64 peakAfresh()
{
    QFile counter(QStringLiteral("/proc/self/clear_refs"));
    if (!counter.open(QFile::WriteOnly | QFile::Unbuffered) || counter.write("5") != 1)
        qFatal("the peak of memory cannot be set back");
    return kibibytes("VmHWM");
}

} // namespace

class JPEGDecoderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void showsWhatAnotherDecoderShows_data()
    {
        QTest::addColumn<QByteArray>("jpeg");
        const QImage picture = samplePicture({321, 181});
        QTest::newRow("baseline") << jpegOf(picture);
        QTest::newRow("progressive") << jpegOf(picture, JPEGCoding::progressive);
        QTest::newRow("grey") << jpegOf(picture.convertToFormat(QImage::Format_Grayscale8));
        QTest::newRow("4K") << jpegOf(samplePicture({3840, 2160}));
    }

    void showsWhatAnotherDecoderShows()
    {
        QFETCH(const QByteArray, jpeg);
        JPEGDecoder decoder;
        const auto picture = decoder.decode(bytesOf(jpeg));
        QVERIFY(picture);
        QCOMPARE(picture->image.format(), QImage::Format_RGB32);
        QCOMPARE(picture->image,
                 QImage::fromData(jpeg, "jpeg").convertToFormat(QImage::Format_RGB32));
    }

    void drawsNoLargerThanShown_data()
    {
        QTest::addColumn<int>("shownWidth");
        QTest::addColumn<QSize>("drawn");
        QTest::newRow("nobody tells") << 0 << QSize(321, 181);
        QTest::newRow("larger") << 1000 << QSize(321, 181);
        QTest::newRow("more than a half") << 162 << QSize(321, 181);
        QTest::newRow("a half") << 161 << QSize(161, 91);
        QTest::newRow("a quarter") << 81 << QSize(81, 46);
        QTest::newRow("tiny") << 1 << QSize(41, 23);
    }
    void drawsNoLargerThanShown()
    {
        QFETCH(const int, shownWidth);
        QFETCH(const QSize, drawn);
        for (const JPEGCoding coding : {JPEGCoding::baseline, JPEGCoding::progressive}) {
            const QByteArray jpeg = jpegOf(samplePicture({321, 181}), coding);
            JPEGDecoder decoder;
            const QImage whole = decoder.decode(bytesOf(jpeg))->image;
            const auto picture = decoder.decode(bytesOf(jpeg), shownWidth);
            QVERIFY(picture);
            QCOMPARE(picture->size, whole.size());
            QCOMPARE(picture->image.size(), drawn);
            // The whole picture and not a part of it, as another would make it smaller.
            const QSize few(4, 4);
            const auto coarse = [&](const QImage &image) {
                return image.scaled(few, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            };
            const QImage expected = coarse(whole);
            const QImage actual = coarse(picture->image);
            for (int place = 0; place < few.width() * few.height(); ++place) {
                const QPoint at(place % few.width(), place / few.width());
                QVERIFY(std::abs(expected.pixelColor(at).red() - actual.pixelColor(at).red()) < 12);
                QVERIFY(std::abs(expected.pixelColor(at).blue() - actual.pixelColor(at).blue())
                        < 12);
            }
        }
    }

    void readsHeadersWithinBounds_data()
    {
        QTest::addColumn<QByteArray>("jpeg");
        QTest::addColumn<QSize>("size"); // invalid: refused
        const QSize refused;
        QTest::newRow("largest side") << headers(8192, 2048) << QSize(8192, 2048);
        QTest::newRow("too wide") << headers(8193, 1) << refused;
        QTest::newRow("too high") << headers(1, 8193) << refused;
        QTest::newRow("most pixels") << headers(4096, 4096) << QSize(4096, 4096);
        QTest::newRow("too many pixels") << headers(4096, 4097) << refused;
        QTest::newRow("no lines") << headers(16, 0) << refused;
        QTest::newRow("no columns") << headers(0, 16) << refused;
        QTest::newRow("64 scans") << headers(1, 1, 64) << QSize(1, 1);
        QTest::newRow("65 scans") << headers(16, 16, 65) << refused;
        QTest::newRow("no scan") << headers(16, 16, 0) << refused;
        QTest::newRow("scan before the frame")
            << start + scan + frame('\xC0', 16, 16) + end << refused;
        QTest::newRow("two frames")
            << start + frame('\xC0', 16, 16) + frame('\xC0', 4096, 4096) + scan + end << refused;
        QTest::newRow("fill bytes")
            << start + "\xFF\xFF" + frame('\xC2', 16, 16) + scan + "\xFF\xFF" + end
            << QSize(16, 16);
        QTest::newRow("stuffed bytes and restarts in the data")
            << start + frame('\xC0', 16, 16) + scan + QByteArray("\xFF\x00\xFF\xD0\x01\xFF\xD7", 7)
                   + end
            << QSize(16, 16);
        QTest::newRow("scans hidden in a comment")
            << start + segment('\xFE', scan.repeated(100)) + frame('\xC0', 16, 16) + scan + end
            << QSize(16, 16);
        QTest::newRow("what follows the end")
            << headers(16, 16) + scan.repeated(100) + end << QSize(16, 16);
        QTest::newRow("two components") << start + frame('\xC0', 16, 16, 2) + scan + end << refused;
        QTest::newRow("four components")
            << start + frame('\xC0', 16, 16, 4) + scan + end << refused;
        QTest::newRow("12 bits") << start + frame('\xC1', 16, 16, 3, 12) + scan + end << refused;
        QTest::newRow("arithmetic coding") << start + frame('\xC9', 16, 16) + scan + end << refused;
        QTest::newRow("lossless") << start + frame('\xC3', 16, 16) + scan + end << refused;
        QTest::newRow("tables of arithmetic coding")
            << start + frame('\xC0', 16, 16) + segment('\xCC', "x") + scan + end << refused;
        QTest::newRow("another marker in front")
            << "\xFF\xD0" + headers(16, 16).sliced(start.size()) << refused;
        QTest::newRow("rubbish between segments")
            << start + "rubbish" + frame('\xC0', 16, 16) + scan + end << refused;
        QTest::newRow("segment beyond the end")
            << start + QByteArray("\xFF\xE0\xFF\xFF", 4) + end << refused;
        QTest::newRow("segment shorter than its length")
            << start + QByteArray("\xFF\xE0\x00\x01", 4) + end << refused;
        QTest::newRow("no end") << start + frame('\xC0', 16, 16) + scan << refused;
        QTest::newRow("nothing between start and end") << start + end << refused;
        QTest::newRow("nothing") << QByteArray() << refused;
    }

    void readsHeadersWithinBounds()
    {
        QFETCH(const QByteArray, jpeg);
        QFETCH(const QSize, size);
        const auto header = readJPEGHeader(bytesOf(jpeg));
        QCOMPARE(header ? QSize(header->width, header->height) : QSize(), size);
        // Whatever the headers say, their data is no picture.
        QVERIFY(!JPEGDecoder().decode(bytesOf(jpeg)));
    }

    void boundsItsMemory_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QImage::Format>("format");
        QTest::addColumn<JPEGCoding>("coding");
        QTest::addColumn<bool>("isDrawn");
        const QSize largest(4096, 4096);
        const auto grey = QImage::Format_Grayscale8;
        const auto colour = QImage::Format_RGB32;
        QTest::newRow("largest") << largest << colour << JPEGCoding::baseline << true;
        QTest::newRow("largest, scans") << largest << colour << JPEGCoding::progressive << false;
        QTest::newRow("largest, grey scans") << largest << grey << JPEGCoding::progressive << false;
        QTest::newRow("4K, scans")
            << QSize(3840, 2160) << colour << JPEGCoding::progressive << true;
    }
    void boundsItsMemory()
    {
        QFETCH(const QSize, size);
        QFETCH(const QImage::Format, format);
        QFETCH(const JPEGCoding, coding);
        QImage picture(size, format);
        picture.fill(Qt::darkCyan);
        const QByteArray jpeg = jpegOf(picture, coding);
        picture = {};
        const qint64 before = peakAfresh();
        QTEST(JPEGDecoder().decode(bytesOf(jpeg)).has_value(), "isDrawn");
        const qint64 taken = kibibytes("VmHWM") - before;
        constexpr qint64 most = qint64{80} * 1024;
        QVERIFY2(taken < most + most / 8, // which a sanitizer adds
                 qPrintable(QString::number(taken)));
        QTEST(JPEGDecoder().decode(bytesOf(jpeg), 1).has_value(), "isDrawn");
    }

    void drawsWhatIsMerelyPadded_data()
    {
        QTest::addColumn<JPEGCoding>("coding");
        QTest::addColumn<QByteArray>("padding");
        for (const int zeros : {1, 2, 7, 8, 9, 100, 100'000})
            QTest::addRow("%d zero bytes", zeros)
                << JPEGCoding::baseline << QByteArray(zeros, '\0');
        QTest::newRow("zero bytes, then fill bytes")
            << JPEGCoding::baseline << QByteArray(20, '\0') + QByteArray(3, '\xFF');
        QTest::newRow("progressive") << JPEGCoding::progressive << QByteArray(20, '\0');
    }
    void drawsWhatIsMerelyPadded()
    {
        QFETCH(const JPEGCoding, coding);
        QFETCH(const QByteArray, padding);
        const QByteArray jpeg = jpegOf(samplePicture({64, 48}), coding);
        JPEGDecoder decoder;
        const auto picture = decoder.decode(bytesOf(withBeforeEnd(jpeg, padding)));
        QVERIFY(picture);
        QCOMPARE(picture->image, JPEGDecoder().decode(bytesOf(jpeg))->image);
    }

    void refusesWhatOnlyLooksPadded_data()
    {
        QTest::addColumn<QByteArray>("jpeg");
        const QByteArray jpeg = jpegOf(samplePicture({64, 48}));
        QTest::newRow("another byte among zeros")
            << withBeforeEnd(jpeg, QByteArray(20, '\0') + '\1' + QByteArray(20, '\0'));
        QTest::newRow("zeros in the place of the second half")
            << jpeg.first(jpeg.size() / 2) + QByteArray(100'000, '\0') + end;
        QTest::newRow("zeros in the place of the last bytes")
            << jpeg.first(jpeg.size() - 40) + QByteArray(100, '\0') + end;
        const QByteArray progressive = jpegOf(samplePicture({64, 48}), JPEGCoding::progressive);
        QTest::newRow("zeros between two scans")
            << QByteArray(progressive)
                   .insert(progressive.lastIndexOf("\xFF\xDA"), QByteArray(20, '\0'));
        QTest::newRow("a cut scan of many") << progressive.first(progressive.size() - 3) + end;
        QTest::newRow("a restart in the place of the last byte")
            << jpeg.chopped(3) + QByteArray("\xFF\xD0") + end;
        const auto grey = samplePicture({64, 48}).convertToFormat(QImage::Format_Grayscale8);
        QTest::newRow("zeros in the place of the last byte, grey")
            << jpegOf(grey).chopped(3) + QByteArray(2, '\0') + end;
    }
    void refusesWhatOnlyLooksPadded()
    {
        QFETCH(const QByteArray, jpeg);
        JPEGDecoder decoder;
        QVERIFY(decoder.decode(bytesOf(jpegOf(samplePicture({320, 180}))))); // a larger one
        QVERIFY(!decoder.decode(bytesOf(jpeg)));
        QVERIFY(!decoder.decode(bytesOf(jpeg), 1));
    }

    void drawsACutPictureOnlyIfACornerLacks_data()
    {
        QTest::addColumn<QImage>("picture");
        QTest::addColumn<QSize>(
            "corner"); // what may differ: two units, and what colour is mixed of
        QTest::newRow("colour") << samplePicture({96, 64}) << QSize(34, 18);
        const auto grey = QImage::Format_Grayscale8;
        QTest::newRow("grey") << samplePicture({64, 48}).convertToFormat(grey) << QSize(16, 8);
        // Blocks of six bits: a byte holds more than the last one.
        QImage flat(64, 48, grey);
        flat.fill(200);
        QTest::newRow("grey and flat") << flat << QSize(16, 8);
    }
    void drawsACutPictureOnlyIfACornerLacks()
    {
        QFETCH(const QImage, picture);
        QFETCH(const QSize, corner);
        const QByteArray jpeg = jpegOf(picture);
        JPEGDecoder decoder;
        const QImage whole = decoder.decode(bytesOf(jpeg))->image;
        const auto sides = whole.size() - corner;
        bool wasDrawn = true;
        for (qsizetype size = jpeg.size() - 3; size > 0; --size) {
            const auto drawn = decoder.decode(bytesOf(jpeg.first(size) + end));
            QVERIFY2(size < jpeg.size() - 3 || drawn, "a byte may lack");
            QVERIFY2(!drawn || wasDrawn, "drawn, though with more of it it was refused");
            wasDrawn = drawn.has_value();
            QCOMPARE(decoder.decode(bytesOf(jpeg.first(size) + end), 1).has_value(), wasDrawn);
            if (!drawn)
                continue;
            for (const QRect &rest : {QRect({0, 0}, QSize(whole.width(), sides.height())),
                                      QRect({0, 0}, QSize(sides.width(), whole.height()))})
                QVERIFY2(drawn->image.copy(rest) == whole.copy(rest),
                         qPrintable(QString::number(jpeg.size() - size)));
        }
        QVERIFY(decoder.decode(bytesOf(jpeg)));
    }

    void handsTheCommentOn()
    {
        const QByteArray comment("sent 12345 \0 \xFF\xDA", 15);
        const QByteArray jpeg = jpegOf(samplePicture({16, 16}), JPEGCoding::baseline, comment);
        QCOMPARE(JPEGDecoder().decode(bytesOf(jpeg))->comment, comment);
        QCOMPARE(JPEGDecoder().decode(bytesOf(jpegOf(samplePicture({16, 16}))))->comment,
                 QByteArray());
    }

    void reusesOnlyMemoryThatNobodyHolds()
    {
        JPEGDecoder decoder;
        const QByteArray firstJPEG = jpegOf(samplePicture({64, 64}, 0));
        const QByteArray secondJPEG = jpegOf(samplePicture({64, 64}, 100));
        QImage first = decoder.decode(bytesOf(firstJPEG))->image;
        const QImage copy = first.copy();
        const uchar *const memory = first.constBits();
        const QImage second = decoder.decode(bytesOf(secondJPEG))->image;
        QVERIFY(second.constBits() != memory);
        QCOMPARE(first, copy);
        first = {};
        const QImage third = decoder.decode(bytesOf(firstJPEG))->image;
        QVERIFY(third.constBits() == memory);
        QCOMPARE(third, copy);
        QCOMPARE(decoder.decode(bytesOf(jpegOf(samplePicture({32, 16}))))->image.size(),
                 QSize(32, 16));
    }
};

QTEST_GUILESS_MAIN(JPEGDecoderTest)
#include "jpeg_decoder_test.moc"
