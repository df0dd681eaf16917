#include "drift/alignment_report.h"
#include "drift/drift_error.h"
#include "drift/export_package.h"
#include "library/manifest_import.h"
#include "movies.h"
#include "platform/digest.h"
#include "platform/files.h"
#include "platform/media_probe.h"
#include "support.h"

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QUrl>
#include <QXmlStreamReader>
#include <QtTest>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <functional>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

int flushCount = 0;
int failingFlush = 0; // from 1; 0 for none

} // namespace

/// Stands before the system's, so that a chosen flush finds a broken disk.
extern "C" int fsync(int descriptor)
{
    static const auto systemFsync = reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, "fsync"));
    if (++flushCount == failingFlush) {
        errno = EIO;
        return -1;
    }
    return systemFsync(descriptor);
}

namespace {

using Change = std::function<void(VORNProject &, VORNTake &)>;

/// What a run throws: its text, and for our own refusals which case.
struct Failure {
    QString text;
    std::optional<DriftExportError::Case> kind;
};

Failure failureOf(const std::function<void()> &run)
{
    try {
        run();
    } catch (const DriftExportError &error) {
        return {QString::fromUtf8(error.what()), error.kind()};
    } catch (const std::exception &error) {
        return {QString::fromUtf8(error.what()), std::nullopt};
    }
    return {};
}

constexpr auto invalid = DriftExportError::Case::invalid;
constexpr auto missing = DriftExportError::Case::missing;

QByteArray contents(const QString &path)
{
    return readFile(path, 1'000'000);
}

/// Anchors once a second on reference = offset + slope * source, from the first that the
/// reference camera saw.
std::vector<TimingAnchor> anchorsOnLine(double offset, double slope, int durationSeconds)
{
    std::vector<TimingAnchor> anchors;
    for (int second = 0; second <= durationSeconds; ++second)
        if (const double reference = offset + slope * second; reference >= 0)
            anchors.push_back({double(second), reference, 0.9, 1.0});
    return anchors;
}

/// The values of one attribute of all elements of that name.
QStringList attributes(const QString &folder, const QString &element, const QString &attribute)
{
    QStringList values;
    QXmlStreamReader reader(contents(folder + u"/timeline.fcpxml"_s));
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == element)
            values += reader.attributes().value(attribute).toString();
    if (reader.hasError())
        values += reader.errorString();
    return values;
}

/// The moment as the package's name gives it, by the C library.
QString localStamp(std::time_t time)
{
    std::tm parts = {};
    ::localtime_r(&time, &parts);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &parts);
    return QString::fromLatin1(text.data(), qsizetype(length));
}

/// Lets go of root's right to read everything, where the tests have it.
class OrdinaryUser {
public:
    OrdinaryUser() : m_isOrdinary(::geteuid() != 0 || ::setresuid(nobody, nobody, 0) == 0) {}
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;
    ~OrdinaryUser()
    {
        if (::geteuid() == nobody && ::setresuid(0, 0, 0) != 0)
            std::abort();
    }
    [[nodiscard]] bool isOrdinary() const { return m_isOrdinary; }

private:
    static constexpr uid_t nobody = 65534;
    bool m_isOrdinary;
};

} // namespace

class ExportPackageTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        // A zone of its own, so that a stamp in UTC is seen.
        qputenv("TZ", "TST-05:30");
        ::tzset();
        ::umask(022);
        QVERIFY(m_folder.isValid());
        makeMovie(movie(u"wide.mov"_s), testMovie(10, u"30"_s));
        makeMovie(movie(u"later.mov"_s), testMovie(8, u"25"_s, 0));
        makeMovie(movie(u"earlier.mov"_s), testMovie(12, u"30"_s));
        makeMovie(movie(u"two sounds.mov"_s), testMovie(2, u"30"_s, 2));
        writeText(movie(u"text.mov"_s), "no movie at all");
    }

    void init()
    {
        failingFlush = 0;
        m_parent = std::make_unique<QTemporaryDir>();
        QVERIFY(m_parent->isValid());
    }

    void placesThreeCamerasAndWritesThreeFiles()
    {
        const VORNProject project = sampleProject();
        const VORNTake take = sampleTake();
        const std::time_t before = std::time(nullptr);
        const QString folder = DriftEngine::exportPackage(project, take, m_parent->path());
        const std::time_t after = std::time(nullptr);

        QCOMPARE(inParent(), QStringList{fileNameOf(folder)});
        QCOMPARE(folder, m_parent->path() + u'/' + fileNameOf(folder));
        const QString stamp = fileNameOf(folder).sliced(u"VORN_p-1_night-take_"_s.size());
        QVERIFY(fileNameOf(folder).startsWith(u"VORN_p-1_night-take_"_s));
        QVERIFY(localStamp(before) <= stamp && stamp <= localStamp(after));
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 (QStringList{u"alignment-report.json"_s, u"source-manifest.json"_s,
                              u"timeline.fcpxml"_s}));
        QCOMPARE(modeOf(folder), 0755);
        QCOMPARE(modeOf(folder + u"/timeline.fcpxml"_s), 0644);

        // "later" began 1.51 s after the reference: from frame 46 (of 45.3) to 285 (of 285.3).
        // "earlier" began 1 s before it and drifts by 900 ppm: its end at 11.0108 s
        // is frame 330.3.
        QCOMPARE(attributes(folder, u"asset-clip"_s, u"offset"_s),
                 (QStringList{u"0/1s"_s, u"23/15s"_s, u"0/1s"_s}));
        QCOMPARE(attributes(folder, u"asset-clip"_s, u"duration"_s),
                 (QStringList{u"10/1s"_s, u"239/30s"_s, u"11/1s"_s}));
        // Source times: 46/30 - 1.51 = 7/300 and 7/300 + 239/30; 1/1.0009 and 12/1.0009.
        QCOMPARE(attributes(folder, u"timept"_s, u"value"_s),
                 (QStringList{u"0/1s"_s, u"10/1s"_s, u"7/300s"_s, u"799/100s"_s, u"10000/10009s"_s,
                              u"120000/10009s"_s}));
        QCOMPARE(attributes(folder, u"gap"_s, u"duration"_s), QStringList{u"11/1s"_s});
        QCOMPARE(attributes(folder, u"format"_s, u"frameDuration"_s),
                 (QStringList{u"1/30s"_s, u"1/30s"_s, u"1/25s"_s, u"1/30s"_s}));
        QCOMPARE(attributes(folder, u"asset"_s, u"hasAudio"_s),
                 (QStringList{u"1"_s, u"0"_s, u"1"_s}));
    }

    void reportsHowEachClipWasAligned()
    {
        const VORNTake take = sampleTake();
        const QString folder = DriftEngine::exportPackage(sampleProject(), take, m_parent->path());
        const QByteArray text = contents(folder + u"/alignment-report.json"_s);
        const auto report = recordFromJson<AlignmentReport>(text, u"report"_s);
        QCOMPARE(report.schemaVersion, 1);
        QCOMPARE(report.projectId, u"p-1"_s);
        QCOMPARE(report.takeId, u"night/take"_s);
        QCOMPARE(report.referenceCameraId, u"Wide"_s);
        QVERIFY(!report.originalsModified && !report.resolveImportVerified);
        QCOMPARE(report.clips.size(), std::size_t{3});

        const ExportClipReport reference{
            .cameraId = u"Wide"_s,
            .path = movie(u"wide.mov"_s),
            .sha256 = sha256OfFile(movie(u"wide.mov"_s)),
            .media = {.duration = 10, .width = 64, .height = 36, .fps = 30, .hasAudio = true},
            .correction = {}};
        QVERIFY(report.clips[0] == reference);
        QVERIFY(!report.clips[1].correction.retime);
        QCOMPARE(report.clips[1].playbackSpeedPercent, 100.0);
        QVERIFY(std::abs(report.clips[1].correction.offsetSeconds - 1.51) < 1e-9);
        QVERIFY(report.clips[2].correction.retime);
        QVERIFY(std::abs(report.clips[2].playbackSpeedPercent - 100 / 1.0009) < 1e-9);

        const QJsonObject root = parseJsonObject(text, u"report"_s);
        const QJsonObject clip = root[u"clips"_s].toArray().first().toObject();
        QCOMPARE(root.keys(), (QStringList{u"clips"_s, u"originalsModified"_s, u"projectId"_s,
                                           u"referenceCameraId"_s, u"resolveImportVerified"_s,
                                           u"schemaVersion"_s, u"takeId"_s}));
        QCOMPARE(clip.keys(), (QStringList{u"cameraId"_s, u"correction"_s, u"media"_s, u"path"_s,
                                           u"playbackSpeedPercent"_s, u"sha256"_s}));
        QCOMPARE(clip[u"media"_s].toObject().keys(),
                 (QStringList{u"duration"_s, u"fps"_s, u"hasAudio"_s, u"height"_s, u"width"_s}));
        QCOMPARE(
            clip[u"correction"_s].toObject().keys(),
            (QStringList{u"driftPPM"_s, u"endpointUncertaintyMs"_s, u"maxResidualMs"_s,
                         u"offsetSeconds"_s, u"referenceSecondsPerSourceSecond"_s, u"retime"_s}));
        QVERIFY(text.contains("\"takeId\": \"night\\/take\""));
    }

    void writesAManifestThatAnImportReads()
    {
        VORNTake take = sampleTake();
        take.clips[1].sha256 = take.clips[1].sha256.toUpper(); // stays as the library holds it
        const QString folder = DriftEngine::exportPackage(sampleProject(), take, m_parent->path());
        SourceManifest expected{.projectId = u"p-1"_s,
                                .projectName = u"Night & Day"_s,
                                .projectRevision = 4,
                                .projectNameAtCapture = u"Night"_s,
                                .projectRevisionAtCapture = 3,
                                .takeId = u"night/take"_s,
                                .referenceCameraId = u"Wide"_s,
                                .timelineFPS = u"30/1"_s,
                                .clips = {}};
        for (const VORNClip &clip : take.clips)
            expected.clips.push_back({.clipId = clip.id,
                                      .cameraId = clip.cameraId,
                                      .takeId = take.id,
                                      .path = *clip.localPath,
                                      .sha256 = clip.sha256,
                                      .anchorMeaning = clip.anchorMeaning,
                                      .anchors = clip.anchors,
                                      .mediaKind = u"video"_s,
                                      .timingSidecarPath = u"timing.json"_s,
                                      .timingSidecarSHA256 = u"cd"_s,
                                      .deviceId = u"device"_s,
                                      .deviceName = u"Phone"_s});
        QVERIFY(readSourceManifest(folder + u"/source-manifest.json"_s) == expected);
    }

    void exportsTheReferenceCameraAlone()
    {
        VORNTake take = sampleTake();
        take.clips.resize(1);
        take.clips[0].anchorMeaning.reset();
        take.clips[0].anchors = {{-1, -1, 0, 0}}; // not looked at
        const QString folder = DriftEngine::exportPackage(sampleProject(), take, m_parent->path());
        QCOMPARE(attributes(folder, u"asset-clip"_s, u"offset"_s), QStringList{u"0/1s"_s});
        QCOMPARE(attributes(folder, u"sequence"_s, u"duration"_s), QStringList{u"10/1s"_s});
    }

    void refusesAndLeavesNothingBehind_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<std::optional<DriftExportError::Case>>("kind");
        using Kind = std::optional<DriftExportError::Case>;
        const auto row = [](const char *name, Kind kind, const QString &refusal,
                            const Change &change) {
            QTest::newRow(name) << change << refusal << kind;
        };
        const auto second = [](const std::function<void(VORNClip &)> &change) -> Change {
            return [change](VORNProject &, VORNTake &take) { change(take.clips[1]); };
        };
        const auto rate = [](const QString &text) -> Change {
            return [text](VORNProject &, VORNTake &take) { take.timelineFPS = text; };
        };
        const auto source = [second](const QString &path) -> Change {
            return second([path](VORNClip &clip) {
                clip.localPath = path;
                if (QFileInfo(path).isFile())
                    clip.sha256 = sha256OfFile(path);
            });
        };

        const QString noReference = u"Choose a reference camera before export."_s;
        row("no clips", missing, u"The selected take has no clips."_s,
            [](VORNProject &, VORNTake &take) { take.clips.clear(); });
        row("no reference camera", missing, noReference,
            [](VORNProject &, VORNTake &take) { take.referenceCameraId.reset(); });
        row("reference without a clip, and no rate", missing, noReference,
            [](VORNProject &, VORNTake &take) {
                take.referenceCameraId = u"wide"_s;
                take.timelineFPS.clear();
            });
        row("no rate", invalid, u"Invalid timeline frame rate."_s, rate(u"fast"_s));

        row("not downloaded", missing, u"Later has not been downloaded."_s,
            second([](VORNClip &clip) { clip.localPath.reset(); }));
        const QString gone = movie(u"gone.mov"_s);
        row("gone", missing, u"Missing source: "_s + gone, source(gone));
        const QString dangling = movie(u"dangling.mov"_s);
        QFile::link(gone, dangling);
        row("dangling link", missing, u"Missing source: "_s + dangling, source(dangling));
        row("no path", missing, u"Missing source: "_s, source(u""_s));
        row("folder", {}, m_folder.path() + u" is not a regular file."_s, source(m_folder.path()));
        const QString fifo = movie(u"fifo.mov"_s);
        (void)::mkfifo(QFile::encodeName(fifo).constData(), 0600);
        row("FIFO", {}, fifo + u" is not a regular file."_s, source(fifo));
        row("endless device", {}, u"/dev/zero is not a regular file."_s, source(u"/dev/zero"_s));
        row("other bytes", invalid, u"Checksum mismatch for Later."_s,
            second([this](VORNClip &clip) { clip.localPath = movie(u"earlier.mov"_s); }));
        const QString text = movie(u"text.mov"_s);
        row("no movie", {}, thrownText([&] { (void)probeMedia(text); }), source(text));
        row("two sounds", invalid, u"Multiple audio tracks need manual mapping."_s,
            source(movie(u"two sounds.mov"_s)));

        const QString noAnchors = u"Later does not have same-event media anchors."_s;
        row("no meaning", invalid, noAnchors,
            second([](VORNClip &clip) { clip.anchorMeaning.reset(); }));
        row("other meaning", invalid, noAnchors, second([](VORNClip &clip) {
                clip.anchorMeaning = u"Same-event-reference-media-seconds"_s;
            }));
        row("few anchors", invalid,
            u"Need a positive duration and at least five verified anchors."_s,
            second([](VORNClip &clip) { clip.anchors.resize(4); }));

        const QString noMedia = u"No usable media remains for Wide."_s;
        row("zero rate", invalid, noMedia, rate(u"0/1"_s));
        row("negative rate", invalid, noMedia, rate(u"-30/1"_s));
        row("infinite rate", invalid, noMedia, rate(u"1e308/1e-308"_s));
        row("shorter than a frame", invalid, noMedia, rate(u"1/11"_s));
        row("preparation before placement", invalid, u"Checksum mismatch for Later."_s,
            [](VORNProject &, VORNTake &take) {
                take.timelineFPS = u"0/1"_s;
                take.clips[1].sha256 = u"00"_s;
            });
        row("faults in the order of the clips", missing, u"Wide has not been downloaded."_s,
            [](VORNProject &, VORNTake &take) {
                take.clips[0].localPath.reset();
                take.clips[1].sha256 = u"00"_s;
            });

        const QString unprintable =
            u"\" holds a control character or another character that the timeline document "
            "cannot hold (shown as \uFFFD). Rename it before export."_s;
        row("control character in the project's name", invalid,
            u"The project name \"a\uFFFDb"_s + unprintable,
            [](VORNProject &project, VORNTake &) { project.name = u"a\u0001b"_s; });
        row("NUL in the take's id", invalid, u"The take id \"t\uFFFD"_s + unprintable,
            [](VORNProject &, VORNTake &take) { take.id = u"t"_s + QChar(u'\0'); });
        row("half a character in a camera's id", invalid,
            u"The camera id \"Later\uFFFD"_s + unprintable,
            second([](VORNClip &clip) { clip.cameraId += QChar(0xD83C); }));
        row("NUL in the project's id", {},
            u"The path %1/VORN_p\u2400_ holds characters that no file name can have."_s,
            [](VORNProject &project, VORNTake &) { project.id = u"p"_s + QChar(u'\0'); });
        row("name too long", {},
            u"Cannot create the folder %1/VORN_"_s + QString(250, u'x')
                + u"_: File name too long."_s,
            [](VORNProject &project, VORNTake &) { project.id = QString(250, u'x'); });
    }

    void refusesAndLeavesNothingBehind()
    {
        QFETCH(const Change, change);
        QFETCH(const QString, refusal);
        QFETCH(const std::optional<DriftExportError::Case>, kind);
        VORNProject project = sampleProject();
        VORNTake take = sampleTake();
        change(project, take);
        const Failure failure =
            failureOf([&] { (void)DriftEngine::exportPackage(project, take, m_parent->path()); });
        // Where the package's own path is told: without take and stamp.
        static const QRegularExpression takeAndStamp(u"_night-take_\\d{8}-\\d{6}"_s);
        QCOMPARE(QString(failure.text).replace(takeAndStamp, u"_"_s),
                 QString(refusal).replace(u"%1"_s, m_parent->path()));
        QVERIFY(failure.kind == kind);
        QCOMPARE(inParent(), QStringList());
    }

    void refusesAFileThatCannotBeOpened()
    {
        const QString closed = movie(u"closed.mov"_s);
        QVERIFY(QFile::copy(movie(u"later.mov"_s), closed));
        QVERIFY(::chmod(QFile::encodeName(closed).constData(), 0) == 0);
        QVERIFY(::chmod(QFile::encodeName(m_folder.path()).constData(), 0755) == 0);
        VORNTake take = sampleTake();
        take.clips[1].localPath = closed;
        const OrdinaryUser user;
        if (!user.isOrdinary())
            QSKIP("Needs a user whom permissions can stop.");
        const Failure failure = failureOf(
            [&] { (void)DriftEngine::exportPackage(sampleProject(), take, m_parent->path()); });
        QCOMPARE(failure.text, u"Cannot open "_s + closed + u'.');
        QVERIFY(failure.kind == missing);
    }

    void needsAParentThatIsThere()
    {
        const QString file = m_parent->filePath(u"file"_s);
        writeText(file, "");
        for (const auto &[parent, reason] :
             {std::pair{m_parent->filePath(u"gone"_s), u": No such file or directory."_s},
              std::pair{file, u": Not a directory."_s}}) {
            const QString text = thrownText(
                [&] { (void)DriftEngine::exportPackage(sampleProject(), sampleTake(), parent); });
            QVERIFY2(text.startsWith(u"Cannot create the folder "_s + parent + u"/VORN_p-1_"_s)
                         && text.endsWith(reason),
                     qPrintable(text));
        }
        QCOMPARE(inParent(), QStringList{u"file"_s});
    }

    void neverTouchesWhatStandsAtTheDestination_data()
    {
        QTest::addColumn<std::function<bool(QString)>>("make");
        using Make = std::function<bool(QString)>;
        QTest::newRow("folder") << Make([](const QString &path) { return QDir().mkdir(path); });
        QTest::newRow("file") << Make([](const QString &path) {
            QFile file(path);
            return file.open(QIODevice::WriteOnly);
        });
        QTest::newRow("dangling link")
            << Make([](const QString &path) { return QFile::link(path + u"-gone"_s, path); });
    }

    void neverTouchesWhatStandsAtTheDestination()
    {
        QFETCH(const std::function<bool(QString)>, make);
        // Every name that the next minutes can give.
        const std::time_t now = std::time(nullptr);
        for (std::time_t time = now; time < now + 120; ++time)
            QVERIFY(make(m_parent->filePath(u"VORN_p-1_night-take_"_s + localStamp(time))));
        const Failure failure = failureOf([&] {
            (void)DriftEngine::exportPackage(sampleProject(), sampleTake(), m_parent->path());
        });
        QCOMPARE(failure.text, u"Export destination already exists."_s);
        QVERIFY(failure.kind == invalid);
        QCOMPARE(inParent().size(), 120);
    }

    void takesTheFolderAwayWhenAWriteFails()
    {
        // Two flushes a file: its bytes, and its entry in the folder.
        for (int flush = 1; flush <= 6; ++flush) {
            flushCount = 0;
            failingFlush = flush;
            const QString text = thrownText([&] {
                (void)DriftEngine::exportPackage(sampleProject(), sampleTake(), m_parent->path());
            });
            static const QStringList names{u"timeline.fcpxml"_s, u"alignment-report.json"_s,
                                           u"source-manifest.json"_s};
            QVERIFY2(text.startsWith(u"Cannot write "_s + m_parent->path())
                         && text.endsWith(names[(flush - 1) / 2] + u": Input/output error."_s),
                     qPrintable(text));
            QCOMPARE(flushCount, flush);
            QCOMPARE(inParent(), QStringList());
        }
    }

    void keepsNamesOfAnyScript_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString &name :
             {u"a b"_s, u"100%"_s, u"%2F"_s, u"#1?"_s, u"a;b[c]"_s, u"it's \"it\""_s, u"<R&D>"_s,
              u"e\u0301\u00E9"_s, u"\u6771\u4EAC"_s, u"\u0645\u0631\u062D\u0628\u0627"_s,
              u"\U0001F3A5"_s, u"..\u202E"_s, u"%1%n"_s})
            QTest::newRow(QUrl::toPercentEncoding(name).constData()) << name;
    }

    void keepsNamesOfAnyScript()
    {
        QFETCH(const QString, name);
        const QString media = m_folder.filePath(name);
        QVERIFY(QDir().mkpath(media));
        const QString path = media + u'/' + name + u".mov"_s;
        QVERIFY(QFile::link(movie(u"wide.mov"_s), path)); // links to movies are followed
        VORNProject project = sampleProject();
        project.id = name + u"/.."_s;
        project.name = name;
        VORNTake take = sampleTake();
        take.id = name;
        take.clips.resize(1);
        take.clips[0].cameraId = name;
        take.clips[0].localPath = path;
        take.referenceCameraId = name;

        const QString folder = DriftEngine::exportPackage(project, take, m_parent->path());
        QVERIFY(fileNameOf(folder).startsWith(u"VORN_"_s + name + u"-.._"_s + name + u'_'));
        QCOMPARE(inParent(), QStringList{fileNameOf(folder)});
        QCOMPARE(attributes(folder, u"event"_s, u"name"_s), QStringList{name});
        QCOMPARE(attributes(folder, u"project"_s, u"name"_s), QStringList{name});
        QCOMPARE(attributes(folder, u"asset"_s, u"name"_s), QStringList{name});
        QCOMPARE(QUrl(attributes(folder, u"asset"_s, u"src"_s).first()).toLocalFile(), path);
        const auto report = recordFromJson<AlignmentReport>(
            contents(folder + u"/alignment-report.json"_s), u"report"_s);
        QCOMPARE(report.clips.at(0).path, path);
        QCOMPARE(report.clips.at(0).cameraId, name);
    }

    void tellsHowFarItIs()
    {
        // A box of 3 MiB that players skip (ISO/IEC 14496-12 8.1.2).
        constexpr std::int64_t mebibyte = 1024 * 1024;
        const QString large = movie(u"large.mov"_s);
        QByteArray box(3 * mebibyte, '\0');
        box.replace(0, 8, QByteArray::fromHex("00300000") + "free");
        writeText(large, contents(movie(u"later.mov"_s)) + box);
        VORNTake take = sampleTake();
        take.clips[1].localPath = large;
        take.clips[1].sha256 = sha256OfFile(large);

        const std::int64_t first = QFileInfo(movie(u"wide.mov"_s)).size();
        const std::int64_t later = QFileInfo(large).size();
        const std::int64_t total = first + later + QFileInfo(movie(u"earlier.mov"_s)).size();
        std::vector<ExportProgress> reports;
        (void)DriftEngine::exportPackage(
            sampleProject(), take, m_parent->path(),
            [&](const ExportProgress &progress) { reports.push_back(progress); });
        const auto report = [&](const QString &cameraId, std::size_t index, std::int64_t bytes) {
            return ExportProgress{cameraId, index, 3, bytes, total};
        };
        const std::vector<ExportProgress> expected{report(u"Wide"_s, 0, first),
                                                   report(u"Later"_s, 1, first + mebibyte),
                                                   report(u"Later"_s, 1, first + 2 * mebibyte),
                                                   report(u"Later"_s, 1, first + 3 * mebibyte),
                                                   report(u"Later"_s, 1, first + later),
                                                   report(u"Earlier"_s, 2, total)};
        QVERIFY(reports == expected);
    }

    void endsWhenTheListenerThrows()
    {
        // A file that is not there counts nothing, and is refused only when its turn comes.
        VORNTake take = sampleTake();
        take.clips[2].localPath = movie(u"gone.mov"_s);
        const std::int64_t total =
            QFileInfo(movie(u"wide.mov"_s)).size() + QFileInfo(movie(u"later.mov"_s)).size();
        const auto stop = [total](const ExportProgress &progress) {
            if (progress.completedBytes == total && progress.totalBytes == total)
                throw std::runtime_error("The program is closing.");
        };
        QCOMPARE(thrownText([&] {
                     (void)DriftEngine::exportPackage(sampleProject(), take, m_parent->path(),
                                                      stop);
                 }),
                 u"The program is closing."_s);
        QCOMPARE(inParent(), QStringList());
    }

private:
    [[nodiscard]] QString movie(const QString &name) const { return m_folder.filePath(name); }

    [[nodiscard]] QStringList inParent() const
    {
        return QDir(m_parent->path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    static void writeText(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }

    [[nodiscard]] VORNClip clip(const QString &cameraId, const QString &fileName) const
    {
        VORNClip clip;
        clip.id = u"clip of "_s + cameraId;
        clip.cameraId = cameraId;
        clip.fileName = fileName;
        clip.localPath = movie(fileName);
        clip.sha256 = sha256OfFile(movie(fileName));
        clip.anchorMeaning = u"same-event-reference-media-seconds"_s;
        clip.mediaKind = u"video"_s;
        clip.timingSidecarURL = u"timing.json"_s;
        clip.timingSidecarSHA256 = u"cd"_s;
        clip.deviceId = u"device"_s;
        clip.deviceName = u"Phone"_s;
        return clip;
    }

    [[nodiscard]] static VORNProject sampleProject()
    {
        return {.id = u"p-1"_s, .name = u"Night & Day"_s, .revision = 4, .takes = {}};
    }

    /// The reference, a camera that began 1.51 s later, and one that began 1 s earlier on a clock
    /// that runs 900 ppm slow.
    [[nodiscard]] VORNTake sampleTake() const
    {
        VORNTake take;
        take.id = u"night/take"_s;
        take.projectNameAtCapture = u"Night"_s;
        take.projectRevisionAtCapture = 3;
        take.referenceCameraId = u"Wide"_s;
        take.timelineFPS = u"30/1"_s;
        take.clips = {clip(u"Wide"_s, u"wide.mov"_s), clip(u"Later"_s, u"later.mov"_s),
                      clip(u"Earlier"_s, u"earlier.mov"_s)};
        take.clips[1].anchors = anchorsOnLine(1.51, 1, 8);
        take.clips[2].anchors = anchorsOnLine(-1, 1.0009, 12);
        return take;
    }

    QTemporaryDir m_folder;
    std::unique_ptr<QTemporaryDir> m_parent;
};

QTEST_GUILESS_MAIN(ExportPackageTest)
#include "export_package_test.moc"
