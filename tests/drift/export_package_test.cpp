// SPDX-License-Identifier: Apache-2.0

#include "drift/alignment_report.h"
#include "drift/export_package.h"
#include "export_samples.h"
#include "library/manifest_import.h"
#include "support.h"

#include <QXmlStreamReader>
#include <QtTest>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <functional>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

QByteArray contents(const QString &path)
{
    return readFile(path, 1'000'000);
}

/// The values of one attribute of all elements of that name in a package's timeline.
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

AlignmentReport reportOf(const QString &folder)
{
    return recordFromJson<AlignmentReport>(contents(folder + u"/alignment-report.json"_s),
                                           u"report"_s);
}

/// A process of its own that stops before and after each call of the system.
class SteppedProcess {
public:
    explicit SteppedProcess(const std::function<void()> &work) : m_id(::fork())
    {
        if (m_id == 0) {
            ::ptrace(PTRACE_TRACEME);
            ::raise(SIGSTOP);
            try {
                work();
            } catch (...) {
                ::_exit(1);
            }
            ::_exit(0);
        }
        wait();
        ::ptrace(PTRACE_SETOPTIONS, m_id, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD);
    }
    SteppedProcess(const SteppedProcess &) = delete;
    SteppedProcess &operator=(const SteppedProcess &) = delete;
    ~SteppedProcess() { kill(); }

    [[nodiscard]] bool isStopped() const { return WIFSTOPPED(m_status); }
    [[nodiscard]] bool hasSucceeded() const { return m_status == 0; }
    void step(auto request)
    {
        ::ptrace(request, m_id, nullptr, nullptr);
        wait();
    }
    void kill()
    {
        if (!isStopped())
            return;
        ::kill(m_id, SIGKILL);
        wait();
    }

private:
    void wait() { ::waitpid(m_id, &m_status, 0); }

    pid_t m_id;
    int m_status = 0;
};

const QStringList packageFiles{u"alignment-report.json"_s, u"source-manifest.json"_s,
                               u"timeline.fcpxml"_s};

const QStringList packageFilesWithCut{u"alignment-report.json"_s, u"director-cut.fcpxml"_s,
                                      u"source-manifest.json"_s, u"timeline.fcpxml"_s};

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

QString keysOf(const QJsonValue &object)
{
    return object.toObject().keys().join(u' ');
}

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
        m_samples = std::make_unique<ExportSamples>();
    }

    void init() { m_samples->renewParent(); }

    void makesOneFolderOfThreeFiles()
    {
        const std::time_t before = std::time(nullptr);
        const QString folder = exported(m_samples->take());
        const std::time_t after = std::time(nullptr);
        const QString name = fileNameOf(folder);
        QCOMPARE(folder, m_samples->parent() + u'/' + name);
        QCOMPARE(m_samples->inParent(), QStringList{name});
        const QString stem = u"VORN_p-1_night-take_"_s;
        QVERIFY2(stem + localStamp(before) <= name && name <= stem + localStamp(after),
                 qPrintable(name));
        QCOMPARE(filesIn(folder), packageFiles);
        QCOMPARE(modeOf(folder), 0755);
        QCOMPARE(modeOf(folder + u"/timeline.fcpxml"_s), 0644);
    }

    void addsTheCutAndChangesNothingElse()
    {
        const QString folder = exported(m_samples->take(), cutToWide());
        QCOMPARE(filesIn(folder), packageFilesWithCut);
        const QByteArray cut = contents(folder + u"/director-cut.fcpxml"_s);
        QVERIFY(cut.contains("name=\"Wide\" offset=\"1/1s\" start=\"1/1s\" duration=\"9/1s\""));
        QVERIFY(cut.contains("Wide was on Program, and had ended its recording."));
        QVERIFY(cut.contains("srcEnable=\"audio\""));
        QVERIFY(QDir().rename(folder, m_samples->parent() + u"/first"_s));
        const QString plain = exported(m_samples->take());
        QCOMPARE(filesIn(plain), packageFiles);
        for (const QString &name : packageFiles)
            QCOMPARE(contents(plain + u'/' + name),
                     contents(m_samples->parent() + u"/first/"_s + name));
        // None has a place.
        std::vector<CutDecision> untold = cutToWide();
        untold[0].then.clear();
        VORNTake other = m_samples->take();
        other.id = u"other"_s;
        QCOMPARE(filesIn(exported(other, untold)), packageFiles);
    }

    void placesThreeCameras()
    {
        const QString folder = exported(m_samples->take());
        const auto values = [&](const QString &element, const QString &attribute) {
            return attributes(folder, element, attribute).join(u' ');
        };
        // "later" began 1.51 s after the reference: from frame 46 (of 45.3) to 285 (of 285.3).
        // "earlier" began 1 s before it and drifts by 900 ppm: its end at 11.0108 s is frame 330.3.
        QCOMPARE(values(u"event"_s, u"name"_s), ExportSamples::project().name);
        QCOMPARE(values(u"asset-clip"_s, u"offset"_s), u"0/1s 23/15s 0/1s"_s);
        QCOMPARE(values(u"asset-clip"_s, u"duration"_s), u"10/1s 239/30s 11/1s"_s);
        // Source times: 46/30 - 1.51 = 7/300 and 7/300 + 239/30; 1/1.0009 and 12/1.0009.
        QCOMPARE(values(u"timept"_s, u"value"_s),
                 u"0/1s 10/1s 7/300s 799/100s 10000/10009s 120000/10009s"_s);
        QCOMPARE(values(u"gap"_s, u"duration"_s), u"11/1s"_s);
        QCOMPARE(values(u"format"_s, u"frameDuration"_s), u"1/30s 1/30s 1/25s 1/30s"_s);
        QCOMPARE(values(u"asset"_s, u"hasAudio"_s), u"1 0 1"_s);
    }

    void reportsHowEachClipWasAligned()
    {
        const QString folder = exported(m_samples->take());
        const AlignmentReport report = reportOf(folder);
        QCOMPARE(report.schemaVersion, 1);
        QCOMPARE(report.projectId, u"p/1"_s);
        QCOMPARE(report.takeId, u"night/take"_s);
        QCOMPARE(report.referenceCameraId, u"Wide"_s);
        QVERIFY(!report.originalsModified && !report.resolveImportVerified);
        QCOMPARE(report.clips.size(), std::size_t{3});
        const QString wide = m_samples->movie(u"wide.mov"_s);
        const MediaInfo media{
            .duration = 10, .width = 160, .height = 90, .fps = 30, .hasAudio = true};
        QVERIFY(report.clips[0]
                == (ExportClipReport{u"Wide"_s, wide, sha256OfFile(wide), media, {}, 100}));
        QVERIFY(report.clips[1].media == (MediaInfo{8, 90, 160, 25, false})); // it is turned
        QVERIFY(!report.clips[1].correction.retime);
        QCOMPARE(report.clips[1].playbackSpeedPercent, 100.0);
        QVERIFY(std::abs(report.clips[1].correction.offsetSeconds - 1.51) < 1e-9);
        QVERIFY(report.clips[2].correction.retime);
        QVERIFY(std::abs(report.clips[2].playbackSpeedPercent - 100 / 1.0009) < 1e-9);
    }

    void reportsExactlyTheseKeys()
    {
        const QString folder = exported(m_samples->take());
        const QByteArray text = contents(folder + u"/alignment-report.json"_s);
        const QJsonObject root = parseJsonObject(text, u"report"_s);
        const QJsonValue clip = root[u"clips"_s][0];
        QCOMPARE(keysOf(root), u"clips originalsModified projectId referenceCameraId "
                               "resolveImportVerified schemaVersion takeId"_s);
        QCOMPARE(keysOf(clip), u"cameraId correction media path playbackSpeedPercent sha256"_s);
        QCOMPARE(keysOf(clip[u"media"_s]), u"duration fps hasAudio height width"_s);
        QCOMPARE(keysOf(clip[u"correction"_s]),
                 u"driftPPM endpointUncertaintyMs maxResidualMs offsetSeconds "
                 "referenceSecondsPerSourceSecond retime"_s);
        QVERIFY(text.contains("\"takeId\": \"night\\/take\""));
    }

    void writesAManifestThatAnImportReads()
    {
        VORNTake take = m_samples->take();
        take.clips[1].sha256 = take.clips[1].sha256.toUpper(); // stays as the library holds it
        const VORNProject project = ExportSamples::project();
        SourceManifest expected{1, project.id, project.name, 4,         u"Night"_s,
                                3, take.id,    u"Wide"_s,    u"30/1"_s, {}};
        for (const VORNClip &clip : take.clips)
            expected.clips.push_back({clip.id, clip.cameraId, take.id,
                                      clip.localPath.value_or(QString()), clip.sha256,
                                      clip.anchorMeaning, clip.anchors, u"video"_s,
                                      u"timing.json"_s, u"cd"_s, u"device"_s, u"Phone"_s});
        QVERIFY(readSourceManifest(exported(take) + u"/source-manifest.json"_s) == expected);
    }

    // A kill before and after each call of the system, from the first that leaves something.
    void aKillLeavesWholePackagesOnly()
    {
        int before = 0;
        {
            SteppedProcess process([&] { (void)exported(shortTake(u"first"_s), cutToWide()); });
            for (; process.isStopped() && m_samples->inParent().isEmpty(); ++before)
                process.step(PTRACE_SYSCALL);
            QVERIFY(process.isStopped());
        }
        int round = 0;
        int left = 0;
        for (bool isKilled = true; isKilled; ++round) {
            const QString id = QString::number(round);
            SteppedProcess process([&] { (void)exported(shortTake(id), cutToWide()); });
            for (int calls = 0; calls < before + round && process.isStopped(); ++calls)
                process.step(PTRACE_SYSCALL);
            isKilled = process.isStopped();
            process.kill();
            QVERIFY(isKilled || process.hasSucceeded());
            const QStringList unfinished = m_samples->inParent().filter(u".vorn-export-"_s);
            left += !unfinished.isEmpty();
            for (const QString &name : m_samples->inParent()) {
                if (!unfinished.contains(name))
                    QCOMPARE(filesIn(m_samples->parent() + u'/' + name), packageFilesWithCut);
            }
            // One is enough for the next one to clear: it must come further than this one.
            for (const QString &name : unfinished.mid(1))
                QVERIFY(QDir(m_samples->parent() + u'/' + name).removeRecursively());
        }
        QVERIFY(left > 20);
        // The one that came to its end has cleared it all.
        QCOMPARE(m_samples->inParent().filter(u".vorn-export-"_s), QStringList());
        qInfo("%d kills, %d left something that was not whole", round - 1, left);
    }

    void clearsWhatKilledExportsHaveLeftAndNothingElse()
    {
        // Of others: another kind of name, a file that no package has, a link.
        const QString digits(32, u'a');
        const QStringList others{u".vorn-export-"_s + digits, u".vorn-export-notes"_s,
                                 u".vorn-export-"_s + QString(32, u'b')};
        for (const QString &name : others.first(2)) {
            QVERIFY(QDir(m_samples->parent()).mkdir(name));
            writePlain(m_samples->parent() + u'/' + name + u"/notes.txt"_s, "precious");
        }
        QVERIFY(QFile::link(m_samples->movies(), m_samples->parent() + u'/' + others[2]));
        const auto unfinished = [&] {
            QStringList names = m_samples->inParent().filter(u".vorn-export-"_s);
            names.removeIf([&](const QString &name) { return others.contains(name); });
            return names;
        };
        SteppedProcess running([&] { (void)exported(shortTake(u"running"_s)); });
        const auto hasBegunToWrite = [&] {
            const QStringList names = unfinished();
            return !names.isEmpty()
                   && !filesIn(m_samples->parent() + u'/' + names.first()).isEmpty();
        };
        while (running.isStopped() && !hasBegunToWrite())
            running.step(PTRACE_SYSCALL);
        const QStringList used = unfinished();
        QCOMPARE(used.size(), 1);
        (void)exported(shortTake(u"beside"_s));
        QCOMPARE(unfinished(), used);
        running.step(PTRACE_CONT);
        QVERIFY(running.hasSucceeded());
        QCOMPARE(unfinished(), QStringList());
        QCOMPARE(m_samples->inParent().filter(u"VORN_"_s).size(), 2);
        for (const QString &name : others.first(2))
            QCOMPARE(contents(m_samples->parent() + u'/' + name + u"/notes.txt"_s),
                     QByteArray("precious"));
        QVERIFY(QFile::exists(m_samples->movie(u"wide.mov"_s)));
    }

    void tellsHowFarItIs()
    {
        // A box of 3 MiB that players skip (ISO/IEC 14496-12 8.1.2).
        constexpr std::int64_t mebibyte = std::int64_t{1024} * 1024;
        const QString large = m_samples->movie(u"large.mov"_s);
        QByteArray box(qsizetype{3} * mebibyte, '\0');
        box.replace(0, 8, QByteArray::fromHex("00300000") + "free");
        writePlain(large, contents(m_samples->movie(u"later.mov"_s)) + box);
        VORNTake take = m_samples->take();
        take.clips[1].localPath = large;
        take.clips[1].sha256 = sha256OfFile(large);

        const std::int64_t first = QFileInfo(m_samples->movie(u"wide.mov"_s)).size();
        const std::int64_t second = first + QFileInfo(large).size();
        const std::int64_t total = second + QFileInfo(m_samples->movie(u"earlier.mov"_s)).size();
        std::vector<ExportProgress> reports;
        (void)DriftEngine::exportPackage(
            ExportSamples::project(), take, m_samples->parent(),
            [&](const ExportProgress &progress) { reports.push_back(progress); });
        const std::vector<ExportProgress> expected{{u"Wide"_s, 0, 3, first, total},
                                                   {u"Later"_s, 1, 3, first + mebibyte, total},
                                                   {u"Later"_s, 1, 3, first + mebibyte * 2, total},
                                                   {u"Later"_s, 1, 3, first + mebibyte * 3, total},
                                                   {u"Later"_s, 1, 3, second, total},
                                                   {u"Earlier"_s, 2, 3, total, total}};
        QVERIFY(reports == expected);
    }

private:
    [[nodiscard]] VORNTake shortTake(const QString &id) const
    {
        VORNTake take = m_samples->take();
        take.id = id;
        take.clips.resize(1);
        return take;
    }

    [[nodiscard]] static std::vector<CutDecision> cutToWide()
    {
        return {{.kind = CutDecision::Kind::cut,
                 .sessionSeconds = 7,
                 .cameraId = u"Wide"_s,
                 .fadeSeconds = 0,
                 .label = {},
                 .then = {{.cameraId = u"Wide"_s, .seconds = 1, .uncertaintySeconds = 0.01}}}};
    }

    [[nodiscard]] QString exported(const VORNTake &take,
                                   const std::vector<CutDecision> &decisions = {}) const
    {
        return DriftEngine::exportPackage(ExportSamples::project(), take, m_samples->parent(), {},
                                          decisions);
    }

    std::unique_ptr<ExportSamples> m_samples;
};

QTEST_GUILESS_MAIN(ExportPackageTest)
#include "export_package_test.moc"
