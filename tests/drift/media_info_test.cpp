#include "drift/drift_error.h"
#include "drift/media_info.h"
#include "media/media_probe.h"
#include "movies.h"
#include "support.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

class MediaInfoTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsWhatTheExportNeeds_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<MediaInfo>("expected");
        const MediaInfo plain{
            .duration = 2, .width = 64, .height = 36, .fps = 30, .hasAudio = true};
        MediaInfo silent = plain;
        silent.hasAudio = false;
        MediaInfo ntsc = plain;
        ntsc.fps = double{30000.0F / 1001.0F};
        ntsc.duration = 2.002;
        MediaInfo portrait = plain;
        std::swap(portrait.width, portrait.height);

        QTest::newRow("picture and sound") << testMovie(2, u"30"_s) << plain;
        QTest::newRow("no sound") << testMovie(2, u"30"_s, 0) << silent;
        ntsc.hasAudio = false;
        QTest::newRow("nominal rate is a 32-bit float") << testMovie(2, u"30000/1001"_s, 0) << ntsc;
        for (const char *degrees : {"90", "270"})
            QTest::addRow("turned by %s degrees", degrees)
                << QStringList{u"-i"_s,
                               path(u"plain.mov"_s),
                               u"-c"_s,
                               u"copy"_s,
                               u"-metadata:s:v:0"_s,
                               u"rotate="_s + QString::fromLatin1(degrees)}
                << portrait;
        QTest::newRow("upside down")
            << QStringList{u"-i"_s,   path(u"plain.mov"_s), u"-c"_s,
                           u"copy"_s, u"-metadata:s:v:0"_s, u"rotate=180"_s}
            << plain;
    }

    void readsWhatTheExportNeeds()
    {
        QFETCH(const QStringList, arguments);
        QFETCH(const MediaInfo, expected);
        makeMovie(path(u"made.mov"_s), arguments);
        const MediaInfo info = DriftEngine::mediaInfo(path(u"made.mov"_s));
        QCOMPARE(info.duration, expected.duration);
        QCOMPARE(info.width, expected.width);
        QCOMPARE(info.height, expected.height);
        QCOMPARE(info.fps, expected.fps);
        QCOMPARE(info.hasAudio, expected.hasAudio);
    }

    void refusesWhatCannotBeAligned_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("refusal");
        const QStringList copy{u"-c"_s, u"copy"_s};
        QTest::newRow("two sounds")
            << testMovie(2, u"30"_s, 2) << u"Multiple audio tracks need manual mapping."_s;
        QTest::newRow("no picture") << QStringList{u"-i"_s, path(u"plain.mov"_s), u"-vn"_s} + copy
                                    << u"Each clip must contain exactly one video track."_s;
        // Two pictures and two sounds: the pictures are told first.
        QTest::newRow("two pictures")
            << QStringList{u"-i"_s, path(u"plain.mov"_s), u"-map"_s, u"0"_s, u"-map"_s, u"0"_s}
                   + copy
            << u"Each clip must contain exactly one video track."_s;
    }

    void refusesWhatCannotBeAligned()
    {
        QFETCH(const QStringList, arguments);
        QFETCH(const QString, refusal);
        makeMovie(path(u"made.mov"_s), arguments);
        try {
            (void)DriftEngine::mediaInfo(path(u"made.mov"_s));
            QFAIL("not refused");
        } catch (const DriftExportError &error) {
            QCOMPARE(QString::fromUtf8(error.what()), refusal);
            QVERIFY(error.kind() == DriftExportError::Case::invalid);
        }
    }

    void refusesHeadersWithoutTimes_data()
    {
        QTest::addColumn<QByteArray>("box");
        QTest::addColumn<int>("offset"); // of a 32-bit number, behind the box's type
        QTest::addColumn<QString>("refusal");
        // ISO/IEC 14496-12, versions 0 of 8.2.2 (duration) and 8.6.1.2 (delta of all samples).
        QTest::newRow("no duration")
            << "mvhd"_ba << 20 << u"Invalid media duration for changed.mov."_s;
        QTest::newRow("no rate") << "stts"_ba << 16 << u"Missing video frame rate."_s;
    }

    void refusesHeadersWithoutTimes()
    {
        QFETCH(const QByteArray, box);
        QFETCH(const int, offset);
        QFETCH(const QString, refusal);
        makeMovie(path(u"silent.mov"_s), testMovie(2, u"30"_s, 0));
        QFile file(path(u"silent.mov"_s));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QByteArray bytes = file.readAll();
        bytes.replace(bytes.indexOf(box) + offset, 4, QByteArray(4, '\0'));
        QFile changed(path(u"changed.mov"_s));
        QVERIFY(changed.open(QIODevice::WriteOnly) && changed.write(bytes) == bytes.size());
        changed.close();
        QCOMPARE(thrownText([&] { (void)DriftEngine::mediaInfo(changed.fileName()); }), refusal);
    }

    void passesTheReadersErrorsOn()
    {
        QFile file(path(u"text.mov"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("no movie at all") > 0);
        file.close();
        QVERIFY_THROWS_EXCEPTION(MediaProbeError, (void)DriftEngine::mediaInfo(file.fileName()));
        QCOMPARE(thrownText([&] { (void)DriftEngine::mediaInfo(m_folder.path()); }),
                 m_folder.path() + u" is not a regular file."_s);
    }

    void initTestCase() { makeMovie(path(u"plain.mov"_s), testMovie(2, u"30"_s)); }

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(MediaInfoTest)
#include "media_info_test.moc"
