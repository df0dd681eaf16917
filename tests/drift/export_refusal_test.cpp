// SPDX-License-Identifier: Apache-2.0

#include "drift/drift_error.h"
#include "drift/export_package.h"
#include "export_samples.h"
#include "media/media_probe.h"
#include "support.h"

#include <QtTest>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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
using Make = std::function<bool(const QString &)>;

Change later(const std::function<void(VORNClip &)> &change)
{
    return [change](VORNProject &, VORNTake &take) { change(take.clips[1]); };
}

Change rate(const QString &text)
{
    return [text](VORNProject &, VORNTake &take) { take.timelineFPS = text; };
}

Change source(const QString &path)
{
    return later([path](VORNClip &clip) {
        clip.localPath = path;
        if (QFileInfo(path).isFile())
            clip.sha256 = sha256OfFile(path);
    });
}

/// `refusal` begins with the case where it is a DriftExportError.
void row(const char *name, const QString &refusal, const Change &change)
{
    QTest::newRow(name) << refusal << change;
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

class ExportRefusalTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        m_samples = std::make_unique<ExportSamples>();
        const auto make = [this](const QString &name, const QString &arguments) {
            makeMovie(m_samples->movies(), name, arguments);
        };
        make(u"two sounds.mov"_s, u"PICTURE:30 -f lavfi -i sine -map 0 -map 1 -map 1 -t 2 X264"_s);
        make(u"no picture.mov"_s, u"-i earlier.mov -vn -c copy"_s);
        make(u"two pictures.mov"_s, u"-i earlier.mov -map 0 -map 0 -c copy"_s);
        // ISO/IEC 14496-12, versions 0 of 8.2.2 (duration) and 8.6.1.2 (delta of all samples).
        makeChanged(u"no duration.mov"_s, "mvhd", 20);
        makeChanged(u"no rate.mov"_s, "stts", 16);
        writePlain(movie(u"text.mov"_s), "no movie at all");
        QVERIFY(QFile::link(movie(u"gone.mov"_s), movie(u"dangling.mov"_s)));
        QVERIFY(::mkfifo(QFile::encodeName(movie(u"fifo.mov"_s)).constData(), 0600) == 0);
    }

    void init()
    {
        failingFlush = 0;
        m_samples->renewParent();
    }

    void refusesAndLeavesNothingBehind_data()
    {
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<Change>("change");
        addTakeRows();
        addClipRows();
        addNameRows();
    }

    void refusesAndLeavesNothingBehind()
    {
        QFETCH(const QString, refusal);
        QFETCH(const Change, change);
        VORNProject project = ExportSamples::project();
        VORNTake take = m_samples->take();
        change(project, take);
        // Where the package's own path is told: without take and stamp.
        static const QRegularExpression takeAndStamp(u"_night-take_\\d{8}-\\d{6}"_s);
        QCOMPARE(refusalOf(take, project)
                     .replace(takeAndStamp, u"_"_s)
                     .replace(m_samples->parent(), u"PARENT"_s),
                 refusal);
        QCOMPARE(m_samples->inParent(), QStringList());
    }

    void refusesAFileThatCannotBeOpened()
    {
        const QString closed = movie(u"closed.mov"_s);
        QVERIFY(QFile::copy(movie(u"later.mov"_s), closed));
        QVERIFY(::chmod(QFile::encodeName(closed).constData(), 0) == 0);
        QVERIFY(::chmod(QFile::encodeName(m_samples->movies()).constData(), 0755) == 0);
        VORNTake take = m_samples->take();
        take.clips[1].localPath = closed;
        const OrdinaryUser user;
        if (!user.isOrdinary())
            QSKIP("Needs a user whom permissions can stop.");
        QCOMPARE(refusalOf(take), u"missing: Cannot open "_s + closed + u'.');
    }

    void needsAParentFolder()
    {
        const QString gone = m_samples->parent() + u"/gone"_s;
        const QString text = thrownText([&] {
            (void)DriftEngine::exportPackage(ExportSamples::project(), m_samples->take(), gone);
        });
        QVERIFY2(text.startsWith(u"Cannot create the folder "_s + gone + u"/VORN_p-1_night-take_"_s)
                     && text.endsWith(u": No such file or directory."_s),
                 qPrintable(text));
        QCOMPARE(m_samples->inParent(), QStringList());
    }

    void neverTouchesWhatStandsAtTheDestination_data()
    {
        QTest::addColumn<Make>("make");
        QTest::newRow("folder") << Make([](auto &path) { return QDir().mkdir(path); });
        QTest::newRow("dangling link")
            << Make([](auto &path) { return QFile::link(path + u"-gone"_s, path); });
    }

    void neverTouchesWhatStandsAtTheDestination()
    {
        QFETCH(const Make, make);
        // Every name that the next two minutes can give.
        const QString stem = m_samples->parent() + u"/VORN_p-1_night-take_"_s;
        const std::time_t now = std::time(nullptr);
        for (std::time_t time = now; time < now + 120; ++time)
            QVERIFY(make(stem + localStamp(time)));
        QCOMPARE(refusalOf(m_samples->take()), u"invalid: Export destination already exists."_s);
        QCOMPARE(m_samples->inParent().size(), 120);
    }

    void takesTheFolderAwayWhenAWriteFails()
    {
        const QStringList names{u"timeline.fcpxml"_s, u"alignment-report.json"_s,
                                u"source-manifest.json"_s};
        // One flush for the folder's entry, then two a file: its bytes, and its entry.
        for (int flush = 1; flush <= 7; ++flush) {
            flushCount = 0;
            failingFlush = flush;
            const QString text = refusalOf(m_samples->take());
            const bool isFolder = flush == 1;
            const QString action = isFolder ? u"Cannot create the folder "_s : u"Cannot write "_s;
            const QString end = isFolder ? QString() : u'/' + names[(flush - 2) / 2];
            QVERIFY2(text.startsWith(action + m_samples->parent() + u"/VORN_p-1_night-take_"_s)
                         && text.endsWith(end + u": Input/output error."_s),
                     qPrintable(text));
            QCOMPARE(m_samples->inParent(), QStringList());
        }
        // The last one is for the name that the whole package has got.
        flushCount = 0;
        failingFlush = 8;
        const QString text = refusalOf(m_samples->take());
        const QStringList packages = m_samples->inParent();
        QCOMPARE(packages.size(), 1);
        QCOMPARE(text, u"The new state of %1/%2 is in place but may not survive a power cut: "
                       "Input/output error."_s.arg(m_samples->parent(), packages.first()));
        QCOMPARE(QDir(m_samples->parent() + u'/' + packages.first()).entryList(QDir::Files).size(),
                 3);
    }

    void leavesNothingInAFolderThatCannotBeRead()
    {
        const QByteArray parent = QFile::encodeName(m_samples->parent());
        QCOMPARE(::chmod(parent.constData(), 0333), 0);
        QCOMPARE(::chmod(QFile::encodeName(m_samples->movies()).constData(), 0755), 0);
        QString text;
        {
            const OrdinaryUser user;
            text = refusalOf(m_samples->take());
        }
        QCOMPARE(::chmod(parent.constData(), 0755), 0);
        QVERIFY2(text.startsWith(u"Cannot create the folder "_s)
                     && text.endsWith(u": Permission denied."_s),
                 qPrintable(text));
        QCOMPARE(m_samples->inParent(), QStringList());
    }

    void endsWhenTheListenerThrows()
    {
        // A file that is not there counts nothing, and is refused only when its turn comes.
        VORNTake take = m_samples->take();
        take.clips[2].localPath = movie(u"gone.mov"_s);
        const std::int64_t total =
            QFileInfo(movie(u"wide.mov"_s)).size() + QFileInfo(movie(u"later.mov"_s)).size();
        const auto stop = [total](const ExportProgress &progress) {
            if (progress.completedBytes == total && progress.totalBytes == total)
                throw std::runtime_error("The program is closing.");
        };
        QCOMPARE(refusalOf(take, ExportSamples::project(), stop), u"The program is closing."_s);
        QCOMPARE(m_samples->inParent(), QStringList());
    }

private:
    static void addTakeRows()
    {
        const QString noReference = u"missing: Choose a reference camera before export."_s;
        row("no clips", u"missing: The selected take has no clips."_s,
            [](VORNProject &, VORNTake &take) { take.clips.clear(); });
        row("no reference camera", noReference,
            [](VORNProject &, VORNTake &take) { take.referenceCameraId.reset(); });
        row("reference without a clip, and no rate", noReference,
            [](VORNProject &, VORNTake &take) {
                take.referenceCameraId = u"wide"_s;
                take.timelineFPS.clear();
            });
        row("no rate", u"invalid: Invalid timeline frame rate."_s, rate(u"fast"_s));
        row("no whole frame", u"invalid: No usable media remains for Wide."_s, rate(u"0/1"_s));
        row("preparation before placement", u"invalid: Checksum mismatch for Later."_s,
            [](VORNProject &, VORNTake &take) {
                take.timelineFPS = u"0/1"_s;
                take.clips[1].sha256 = u"00"_s;
            });
        row("faults in the order of the clips", u"missing: Wide has not been downloaded."_s,
            [](VORNProject &, VORNTake &take) {
                take.clips[0].localPath.reset();
                take.clips[1].sha256 = u"00"_s;
            });
    }

    void addClipRows() const
    {
        row("not downloaded", u"missing: Later has not been downloaded."_s,
            later([](VORNClip &clip) { clip.localPath.reset(); }));
        for (const QString &path : {movie(u"gone.mov"_s), movie(u"dangling.mov"_s), u""_s})
            row("missing", u"missing: Missing source: "_s + path, source(path));
        for (const QString &path : {m_samples->movies(), movie(u"fifo.mov"_s), u"/dev/zero"_s})
            row("no file", path + u" is not a regular file."_s, source(path));
        row("other bytes", u"invalid: Checksum mismatch for Later."_s,
            later([this](VORNClip &clip) { clip.localPath = movie(u"earlier.mov"_s); }));
        const QString text = movie(u"text.mov"_s);
        row("no movie", thrownText([&] { (void)probeMedia(text); }), source(text));
        row("two sounds", u"invalid: Multiple audio tracks need manual mapping."_s,
            source(movie(u"two sounds.mov"_s)));
        // One has two sounds as well: the pictures are told first.
        for (const QString &name : {u"no picture.mov"_s, u"two pictures.mov"_s})
            row("pictures", u"invalid: Each clip must contain exactly one video track."_s,
                source(movie(name)));
        row("no duration", u"invalid: Invalid media duration for no duration.mov."_s,
            source(movie(u"no duration.mov"_s)));
        row("no rate", u"invalid: Missing video frame rate."_s, source(movie(u"no rate.mov"_s)));

        const QString noAnchors = u"invalid: Later does not have same-event media anchors."_s;
        row("no meaning", noAnchors, later([](VORNClip &clip) { clip.anchorMeaning.reset(); }));
        row("other meaning", noAnchors,
            later([](VORNClip &clip) { clip.anchorMeaning = clip.anchorMeaning->toUpper(); }));
        row("few anchors",
            u"invalid: Need a positive duration and at least five verified anchors."_s,
            later([](VORNClip &clip) { clip.anchors.resize(4); }));
    }

    static void addNameRows()
    {
        const QString unprintable =
            u"\" holds a control character or another character that the timeline document "
            "cannot hold (shown as \uFFFD). Rename it before export."_s;
        row("control character", u"invalid: The project name \"a\uFFFDb"_s + unprintable,
            [](VORNProject &project, VORNTake &) { project.name = u"a\u0001b"_s; });
        row("NUL", u"invalid: The take id \"t\uFFFD"_s + unprintable,
            [](VORNProject &, VORNTake &take) { take.id = u"t"_s + QChar(u'\0'); });
        row("half a character", u"invalid: The camera id \"Later\uFFFD"_s + unprintable,
            later([](VORNClip &clip) { clip.cameraId += QChar(0xD83C); }));
        row("NUL in the folder's name",
            u"The path PARENT/VORN_p\u2400_ holds characters that no file name can have."_s,
            [](VORNProject &project, VORNTake &) { project.id = u"p"_s + QChar(u'\0'); });
        const QString longName(250, u'x');
        row("folder's name too long",
            u"Cannot create the folder PARENT/VORN_"_s + longName + u"_: File name too long."_s,
            [longName](VORNProject &project, VORNTake &) { project.id = longName; });
    }

    /// What an export throws, with its case before it where it is a DriftExportError.
    [[nodiscard]] QString
    refusalOf(const VORNTake &take, const VORNProject &project = ExportSamples::project(),
              const std::function<void(const ExportProgress &)> &onProgress = {}) const
    {
        try {
            return DriftEngine::exportPackage(project, take, m_samples->parent(), onProgress);
        } catch (const DriftExportError &error) {
            const bool isMissing = error.kind() == DriftExportError::Case::missing;
            return (isMissing ? u"missing: "_s : u"invalid: "_s) + QString::fromUtf8(error.what());
        } catch (const std::exception &error) {
            return QString::fromUtf8(error.what());
        }
    }

    [[nodiscard]] QString movie(const QString &name) const { return m_samples->movie(name); }

    /// A silent movie with a 32-bit number of 0 so many bytes behind a box's type.
    void makeChanged(const QString &name, const QByteArray &box, int offset) const
    {
        QByteArray bytes = readFile(movie(u"later.mov"_s), 1 << 20);
        writePlain(movie(name), bytes.replace(bytes.indexOf(box) + offset, 4, QByteArray(4, '\0')));
    }

    std::unique_ptr<ExportSamples> m_samples;
};

QTEST_GUILESS_MAIN(ExportRefusalTest)
#include "export_refusal_test.moc"
