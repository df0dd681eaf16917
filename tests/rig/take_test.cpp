// Makes real takes and looks at them with ffprobe and ffmpeg, as any other program would.

#include "base/digest.h"
#include "base/files.h"
#include "base/json_text.h"
#include "rig/base/rig_error.h"
#include "rig/film/counter.h"
#include "rig/film/movie.h"
#include "rig/film/take.h"
#include "rig/film/take_documents.h"
#include "support.h"

#include <QBuffer>
#include <QDir>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>

#include <array>
#include <cmath>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

namespace {

QByteArray output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, QStringList{u"-v"_s, u"error"_s} + arguments);
    if (!process.waitForFinished(30'000) || process.exitCode() != 0)
        qFatal("%s: %s", qPrintable(program), process.readAllStandardError().constData());
    return process.readAllStandardOutput();
}

// The first sample within 10 ms of `expected` that reaches a quarter of full scale; -1 without one.
qint64 clickNear(const QByteArray &sound, qint64 expected)
{
    const auto *samples = reinterpret_cast<const qint16 *>(sound.constData());
    const qint64 end = std::min<qint64>(expected + 480, sound.size() / 2);
    for (qint64 index = std::max<qint64>(0, expected - 480); index < end; ++index)
        if (std::abs(samples[index]) > 8192)
            return index;
    return -1;
}

QMap<QString, QByteArray> filesOf(const QString &folder)
{
    QMap<QString, QByteArray> files;
    for (const QString &name :
         QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
        files.insert(name, readFile(folder + u'/' + name, 100 << 20));
    return files;
}

} // namespace

class TakeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_plan = makeTake({.cameras = 4, .seconds = 5, .fps = {}, .seed = 7},
                          m_folder.filePath(u"take"_s));
    }

    void moviesAreWhatPhonesWrite()
    {
        for (const PhonePlan &phone : m_plan.phones) {
            const QJsonObject probe =
                QJsonDocument::fromJson(output(u"ffprobe"_s, {u"-show_format"_s, u"-show_streams"_s,
                                                              u"-of"_s, u"json"_s, path(phone)}))
                    .object();
            const QJsonObject video = probe[u"streams"].toArray()[0].toObject();
            const QJsonObject audio = probe[u"streams"].toArray()[1].toObject();
            const bool isHevc = phone.cameraId == u"cam-d";
            const bool isUpright = phone.cameraId == u"cam-b";
            QCOMPARE(probe[u"format"][u"tags"][u"major_brand"].toString(), u"qt  "_s);
            QCOMPARE(video[u"codec_name"].toString(), isHevc ? u"hevc"_s : u"h264"_s);
            QCOMPARE(video[u"codec_tag_string"].toString(), isHevc ? u"hvc1"_s : u"avc1"_s);
            QCOMPARE(video[u"pix_fmt"].toString(), u"yuv420p"_s);
            QCOMPARE(video[u"width"].toInt(), 640);
            QCOMPARE(video[u"height"].toInt(), 360);
            QCOMPARE(video[u"side_data_list"][0][u"rotation"].toInt(), isUpright ? -90 : 0);
            QCOMPARE(phone.displaySize, isUpright ? QSize(360, 640) : QSize(640, 360));
            QCOMPARE(video[u"r_frame_rate"].toString(),
                     phone.cameraId == u"cam-c" ? u"30000/1001"_s : u"30/1"_s);
            QCOMPARE(video[u"nb_frames"].toString(), QString::number(phone.frames));
            QCOMPARE(video[u"start_time"].toString(), u"0.000000"_s);
            QCOMPARE(audio[u"codec_name"].toString(), u"aac"_s);
            QCOMPARE(audio[u"sample_rate"].toString(), u"48000"_s);
            QCOMPARE(audio[u"start_time"].toString(), u"0.000000"_s);
            QCOMPARE(probe[u"format"][u"duration"].toString(),
                     QString::number(phone.durationSeconds(), 'f', 6));
        }
    }

    void everyPictureShowsItsSceneTime()
    {
        for (const PhonePlan &phone : m_plan.phones) {
            const QByteArray pixels =
                output(u"ffmpeg"_s, {u"-i"_s, path(phone), u"-fps_mode"_s, u"passthrough"_s,
                                     u"-f"_s, u"rawvideo"_s, u"-pix_fmt"_s, u"gray"_s, u"-"_s});
            const QSize size = phone.displaySize;
            const qsizetype bytes = qsizetype(size.width()) * size.height();
            QCOMPARE(pixels.size(), bytes * phone.frames);
            for (qint64 frame = 0; frame < phone.frames; ++frame) {
                const QImage picture(
                    reinterpret_cast<const uchar *>(pixels.constData()) + frame * bytes,
                    size.width(), size.height(), size.width(), QImage::Format_Grayscale8);
                compareShown(picture, phone, frame);
            }
            // Single frames too, over the borders of a key frame's group and at both ends.
            const auto second = std::lround(phone.rate.perSecond());
            for (const qint64 frame :
                 std::array<qint64, 8>{0, 1, 3 * second - 3, 3 * second - 2, 3 * second - 1,
                                       3 * second, 3 * second + 1, phone.frames - 1})
                compareShown(decodedFrame(path(phone), phone.rate, frame), phone, frame);
        }
    }

    // As a live preview shows it: smaller, and a poor JPEG.
    void counterSurvivesScalingAndJpeg()
    {
        const PhonePlan &phone = m_plan.phones[1];
        const QImage small =
            decodedFrame(path(phone), phone.rate, 40).scaledToWidth(240, Qt::SmoothTransformation);
        QByteArray jpeg;
        QBuffer buffer(&jpeg);
        QVERIFY(small.save(&buffer, "JPEG", 40));
        compareShown(QImage::fromData(jpeg), phone, 40);
    }

    void picturesWithoutCounterAreNotRead()
    {
        QImage picture = decodedFrame(path(m_plan.phones[0]), m_plan.phones[0].rate, 0);
        QVERIFY(!readCounter(picture.mirrored()));
        picture.fill(Qt::white);
        QVERIFY(!readCounter(picture));
        QVERIFY(!readCounter(QImage()));
    }

    void clicksStandAtWholeSceneSeconds()
    {
        for (const PhonePlan &phone : m_plan.phones) {
            const QByteArray sound = output(
                u"ffmpeg"_s, {u"-i"_s, path(phone), u"-f"_s, u"s16le"_s, u"-ac"_s, u"1"_s, u"-"_s});
            QCOMPARE(sound.size() / 2, phone.audioSamples());
            int clicks = 0;
            for (int second = -1; second <= 6; ++second) {
                const double media = (second - phone.offsetSeconds) / (1 + phone.driftPPM / 1e6);
                const qint64 expected = std::llround(media * audioSampleRate);
                if (expected < 0 || expected > phone.audioSamples() - 1000)
                    continue;
                const qint64 found = clickNear(sound, expected);
                QVERIFY2(std::abs(found - expected) <= audioSampleRate / 1000,
                         qPrintable(u"%1, second %2: at %3 instead of %4"_s.arg(phone.cameraId)
                                        .arg(second)
                                        .arg(found)
                                        .arg(expected)));
                ++clicks;
            }
            QVERIFY(clicks >= 3);
        }
    }

    void documentsTellTheTruth()
    {
        const QJsonObject manifest = document(u"manifest.json"_s);
        const TakeTruth truth = takeTruth(document(u"truth.json"_s));
        QCOMPARE(manifest[u"schemaVersion"].toInt(), 1);
        QCOMPARE(manifest[u"referenceCameraId"].toString(), truth.referenceCameraId);
        QCOMPARE(manifest[u"timelineFPS"].toString(), u"30"_s);
        QCOMPARE(truth.phones.size(), m_plan.phones.size());
        bool hasEarly = false;
        bool hasLate = false;
        for (std::size_t index = 0; index < truth.phones.size(); ++index) {
            const PhoneTruth &phone = truth.phones[index];
            const QJsonObject clip = manifest[u"clips"][qsizetype(index)].toObject();
            const QString file = m_folder.filePath(u"take/"_s + clip[u"path"].toString());
            QCOMPARE(clip[u"cameraId"].toString(), phone.cameraId);
            QCOMPARE(clip[u"sha256"].toString(), sha256OfFile(file));
            QCOMPARE(phone.frames, m_plan.phones[index].frames);
            hasEarly |= phone.offsetSeconds < 0;
            hasLate |= phone.offsetSeconds > 0;
            if (phone.cameraId == truth.referenceCameraId) {
                QCOMPARE(phone.offsetSeconds, 0.0);
                QCOMPARE(phone.driftPPM, 0.0);
            } else {
                QCOMPARE(clip[u"anchorMeaning"].toString(),
                         u"same-event-reference-media-seconds"_s);
                compareAnchors(clip[u"anchors"].toArray(), phone);
            }
        }
        QVERIFY(hasEarly && hasLate);
    }

    // Over the whole range of the options the anchors stay what an export accepts.
    void anchorsOfEveryPlanAreAcceptable()
    {
        for (const int seconds : {4, 7, 20, 90, 3600}) {
            for (qint64 seed = 0; seed < 20; ++seed) {
                const TakePlan plan = planTake(
                    {.cameras = maximumCameras, .seconds = seconds, .fps = {25, 1}, .seed = seed});
                const QJsonArray clips =
                    manifestJson(plan, std::vector<QString>(plan.phones.size()))[u"clips"]
                        .toArray();
                const TakeTruth truth = takeTruth(truthJson(plan));
                for (std::size_t index = 1; index < plan.phones.size(); ++index)
                    compareAnchors(clips[qsizetype(index)][u"anchors"].toArray(),
                                   truth.phones[index]);
            }
        }
    }

    void seedDecidesEveryByte()
    {
        const TakeOptions options{.cameras = 4, .seconds = 4, .fps = {24, 1}, .seed = 1};
        TakeOptions other = options;
        other.seed = 2;
        makeTake(options, m_folder.filePath(u"one"_s));
        makeTake(options, m_folder.filePath(u"two"_s));
        const auto files = filesOf(m_folder.filePath(u"one"_s));
        QCOMPARE(files.size(), 6); // no scratch file stays
        QVERIFY(files == filesOf(m_folder.filePath(u"two"_s)));
        QVERIFY(planTake(options) != planTake(other));
    }

    void refusesAFolderWithContent()
    {
        QVERIFY_THROWS_EXCEPTION(RigError, makeTake({}, m_folder.path()));
        QVERIFY_THROWS_EXCEPTION(RigError, makeTake({}, m_folder.filePath(u"take/truth.json"_s)));
        QVERIFY(QDir(m_folder.filePath(u"take"_s)).exists());
    }

    void aDiskThatFillsLeavesNothingBehind_data()
    {
        QTest::addColumn<quint64>("bytes");
        QTest::newRow("before the sound is written") << quint64{100'000};
        QTest::newRow("while the movie is written") << quint64{400'000};
    }

    void aDiskThatFillsLeavesNothingBehind()
    {
        QFETCH(const quint64, bytes);
        const QString folder = m_folder.filePath(u"full"_s);
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit tight{bytes, before.rlim_max};
        const auto previous = std::signal(SIGXFSZ, SIG_IGN);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &tight), 0);
        const QString failure =
            thrownText([&] { makeTake({.cameras = 1, .seconds = 4, .fps = {120, 1}}, folder); });
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &before), 0);
        std::signal(SIGXFSZ, previous);
        QVERIFY2(failure.contains(u"File too large"_s), qPrintable(failure));
        QVERIFY(!QDir(folder).exists());
    }

    void saysWhenFfmpegIsMissing()
    {
        const QByteArray before = qgetenv("PATH");
        qputenv("PATH", "/nowhere");
        const QString failure = thrownText([&] { makeTake({}, m_folder.filePath(u"none"_s)); });
        qputenv("PATH", before);
        QVERIFY2(failure.contains(u"Install the package ffmpeg."_s), qPrintable(failure));
    }

private:
    QString path(const PhonePlan &phone) const
    {
        return m_folder.filePath(u"take/"_s + phone.fileName);
    }

    QJsonObject document(const QString &name) const
    {
        return parseJsonObject(readFile(m_folder.filePath(u"take/"_s + name), 1 << 20), name);
    }

    static void compareShown(const QImage &picture, const PhonePlan &phone, qint64 frame)
    {
        const double expected = phone.sceneSeconds(phone.rate.seconds(frame));
        const std::optional<double> shown = readCounter(picture);
        QVERIFY2(shown && std::abs(*shown - expected) < 0.6 / counterUnitsPerSecond,
                 qPrintable(u"%1, frame %2: shows %3 instead of %4"_s.arg(phone.cameraId)
                                .arg(frame)
                                .arg(shown.value_or(-1000))
                                .arg(expected)));
    }

    static void compareAnchors(const QJsonArray &anchors, const PhoneTruth &phone)
    {
        const double duration = phone.rate.seconds(phone.frames);
        QVERIFY(anchors.size() >= 5);
        double previous = 0;
        for (const QJsonValue anchor : anchors) {
            const double source = anchor[u"source_seconds"].toDouble();
            const double reference = anchor[u"reference_seconds"].toDouble();
            QVERIFY(source > previous && source - previous <= 0.35 * duration);
            QVERIFY(source <= duration && reference >= 0);
            // The stated noise limit, 1 ms, and the last bits of a double.
            QVERIFY(std::abs(reference - phone.sceneSeconds(source)) <= 0.001 + 1e-9);
            QCOMPARE(anchor[u"uncertainty_ms"].toDouble(), 1.0);
            QVERIFY(anchor[u"confidence"].toDouble() >= 0.9);
            QVERIFY(anchor[u"confidence"].toDouble() <= 1.0);
            previous = source;
        }
        QVERIFY(anchors.first()[u"source_seconds"].toDouble() <= 0.1 * duration);
        QVERIFY(previous >= 0.9 * duration);
    }

    QTemporaryDir m_folder;
    TakePlan m_plan;
};

QTEST_MAIN(TakeTest)
#include "take_test.moc"
