// SPDX-License-Identifier: Apache-2.0

// A recording on its way to the disk, and what may stand in that way.

#include "base/files.h"
#include "library/safe_identifier.h"
#include "store/partial_recording.h"
#include "store/progress_report.h"
#include "store/recording_check.h"
#include "support.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

QByteArrayList calls; // of the system, in their order

bool isFolder(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

template <class Function> Function real(const char *name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// Stand before the system's, to see when they are called.
extern "C" {
int fsync(int descriptor)
{
    calls += isFolder(descriptor) ? "flush folder" : "flush file";
    return real<int (*)(int)>("fsync")(descriptor);
}
int posix_fadvise(int descriptor, off_t offset, off_t length, int advice)
{
    if (advice == POSIX_FADV_DONTNEED && offset == 0 && length == 0)
        calls += "let go of it";
    return real<int (*)(int, off_t, off_t, int)>("posix_fadvise")(descriptor, offset, length,
                                                                  advice);
}
int renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags)
{
    calls += "rename";
    return real<int (*)(int, const char *, int, const char *, unsigned)>("renameat2")(
        fromFolder, from, toFolder, to, flags);
}
}

namespace {

/// Names that no camera should send; the same ones for one seed.
class HostileNames {
public:
    explicit HostileNames(quint32 seed) : m_random(seed) {}

    [[nodiscard]] QString next()
    {
        // Now and then about as long as a file system's names can be, 255 bytes.
        const int pieces = below(40) == 0 ? 80 + below(180) : 1 + below(8);
        QString text;
        for (int piece = 0; piece < pieces; ++piece)
            text += nextPiece();
        return below(4) == 0 ? text.toUpper() : text;
    }

private:
    [[nodiscard]] int below(int bound) { return m_random.bounded(bound); }
    [[nodiscard]] QString nextPiece()
    {
        static const QStringList pieces{
            u"."_s,      u".."_s,     u"/"_s,      u"../"_s,        u"\\"_s,
            u"-"_s,      u"_"_s,      u" "_s,      u".part"_s,      u"\n"_s,
            u"%2e"_s,    u"\u0301"_s, u"\u200D"_s, u"\U000111C2"_s, u"\u202E"_s,
            u"\u2215"_s, u"．／"_s,   u"\u0130"_s, u"\u03A3"_s,     u"\u1E9E"_s,
            u"\u1100"_s, u"\u1161"_s, QChar(0),    QChar(0xD800),   QChar(0xDC00)};
        switch (below(4)) {
        case 0:
            return pieces[below(int(pieces.size()))];
        case 1:
            return QChar(char16_t(0x20 + below(0x60)));
        case 2:
            return QChar(char16_t(below(0x10000)));
        default:
            const char32_t any = char32_t(below(0x110000));
            return QString::fromUcs4(&any, 1);
        }
    }

    QRandomGenerator m_random;
};

/// Holds what is no letter of an alphabet as plain as Latin's.
bool mayJoin(const QString &name)
{
    constexpr char16_t firstMark = 0x0300;
    return std::ranges::any_of(name, [](QChar c) { return c.unicode() >= firstMark; });
}

/// Of one level, or of none.
bool isFolderName(const QString &name)
{
    return name.isValidUtf16() && name.toUtf8().size() <= 255
           && std::ranges::none_of(name, [](QChar c) {
                  return c == u'/' || c == u'.' || c.category() == QChar::Other_Control;
              });
}

} // namespace

class PartialRecordingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY(m_folder.emplace().isValid()); }

    void readsAnewFromTheDisk()
    {
        const QString file = m_folder->filePath(u"film"_s);
        writePlain(file, "abc");
        VORNClip clip;
        clip.localPath = file;
        clip.sha256 = QString(64, u'0');
        VORNTake take;
        take.clips = {clip};
        calls.clear();
        QCOMPARE(checkRecordings(take, [](const CheckProgress &) {})[0].sentence,
                 file + u" has changed: its checksum is another one."_s);
        QCOMPARE(calls, (QByteArrayList{"flush file", "let go of it"}));
    }

    void growsAndGetsItsNameAtTheEnd()
    {
        {
            PartialRecording recording(path(), 6);
            recording.append("abc");
        }
        calls.clear();
        PartialRecording recording(path(), 6);
        QCOMPARE(recording.size(), 3);
        QVERIFY(calls.isEmpty()); // nothing is made anew
        recording.append("def");
        QCOMPARE(recording.sha256FromDisk({}),
                 u"bef57ec7f53a6d40beb640a780a639c83bc29ac8a9816f1fc6c5c6dcd93c4721"_s);
        recording.moveToDestination();
        QCOMPARE(calls, (QByteArrayList{"flush file", "let go of it", "rename", "flush folder"}));
        // Who finds it there does not know whether it was flushed, nor in which case its digest is.
        calls.clear();
        QVERIFY(isRecordingThere(path(), sha256OfFile(path()).toUpper(), {}));
        QCOMPARE(calls, (QByteArrayList{"flush file", "let go of it", "flush folder"}));
        QCOMPARE(readFile(path(), 100), QByteArray("abcdef"));
        QVERIFY(!somethingExistsAt(partialPath()));
    }

    void flushesALongOneNowAndThen()
    {
        PartialRecording recording(path(), 1 << 30);
        calls.clear();
        const QByteArray piece(8 << 20, '\0');
        for (int count = 0; count < 8; ++count)
            recording.append(piece);
        QCOMPARE(calls, QByteArrayList{"flush file"});
    }

    void aFullDiskKeepsWhatItHas()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit usual{};
        ::getrlimit(RLIMIT_FSIZE, &usual);
        rlimit small = usual;
        small.rlim_cur = 100'000;
        ::setrlimit(RLIMIT_FSIZE, &small);
        const QString text =
            thrownText([&] { PartialRecording(path(), 200'000).append(QByteArray(200'000, 'x')); });
        ::setrlimit(RLIMIT_FSIZE, &usual);
        QCOMPARE(text, u"Cannot write %1: File too large."_s.arg(partialPath()));
        QCOMPARE(partialBytes(path()), 100'000);
    }

    void refusesWhatIsNotItsOwn_data()
    {
        QTest::addColumn<std::function<int(const char *, const char *)>>("make");
        const auto row = [](const char *name, auto make) {
            QTest::newRow(name) << std::function<int(const char *, const char *)>(make);
        };
        row("link", [](const char *other, const char *at) { return ::symlink(other, at); });
        row("link to nothing",
            [](const char *, const char *at) { return ::symlink("/nowhere/else", at); });
        row("second name", [](const char *other, const char *at) { return ::link(other, at); });
        row("folder", [](const char *, const char *at) { return ::mkdir(at, 0700); });
        row("pipe", [](const char *, const char *at) { return ::mkfifo(at, 0600); });
    }
    void refusesWhatIsNotItsOwn()
    {
        QFETCH(const std::function<int(const char *, const char *)>, make);
        const QString other = m_folder->filePath(u"other"_s);
        writePlain(other, "precious");
        QVERIFY(QDir().mkpath(path().section(u'/', 0, -2)));
        QCOMPARE(make(QFile::encodeName(other).constData(),
                      QFile::encodeName(partialPath()).constData()),
                 0);
        const QString text = thrownText([&] { PartialRecording(path(), 100).append("x"); });
        QVERIFY2(text.contains(partialPath()), qPrintable(text));
        QCOMPARE(readFile(other, 100), QByteArray("precious"));
        QVERIFY(somethingExistsAt(partialPath()));

        // In the place of the finished file it is not taken for one, and not replaced.
        QVERIFY(::rename(QFile::encodeName(partialPath()).constData(),
                         QFile::encodeName(path()).constData())
                == 0);
        const bool isSecondName = qstrcmp(QTest::currentDataTag(), "second name") == 0;
        QCOMPARE(thrownText([&] { (void)isRecordingThere(path(), QString(64, u'0'), {}); }),
                 isSecondName
                     ? u"Existing destination hash differs; move it before retrying."_s
                     : path() + u" is not a file that VORN made; move it before retrying."_s);
        PartialRecording whole(path(), 6);
        whole.append("abcdef");
        QCOMPARE(thrownText([&] { whole.moveToDestination(); }),
                 u"Cannot move the verified recording to %1: File exists."_s.arg(path()));
        QCOMPARE(readFile(partialPath(), 100), QByteArray("abcdef"));
        QCOMPARE(readFile(other, 100), QByteArray("precious"));
    }

    void takesTheOwnerThatAllFilesGetForItsOwn()
    {
        if (::geteuid() != 0)
            QSKIP("only the superuser can make files that are another's");
        constexpr uid_t other = 4321;
        QVERIFY(QDir().mkpath(path().section(u'/', 0, -2)));
        for (QString folder = path(); folder != m_folder->path();) {
            folder = folder.section(u'/', 0, -2);
            QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0777), 0);
        }
        // As on a share that gives all files to one owner.
        ::setfsuid(other);
        PartialRecording(path(), 6).append("abc");
        const QString refused = thrownText([&] { PartialRecording(path(), 6).append("def"); });
        ::setfsuid(0);
        QCOMPARE(refused, QString());
        QCOMPARE(readFile(partialPath(), 100), QByteArray("abcdef"));
        QCOMPARE(QDir(path().section(u'/', 0, -2)).count(), 3U); // with "." and ".."
        // Elsewhere it is what another user has put there.
        QCOMPARE(thrownText([&] { PartialRecording(path(), 6).append("x"); }),
                 partialPath() + u" is not a file that VORN made; move it before retrying."_s);
        QCOMPARE(readFile(partialPath(), 100), QByteArray("abcdef"));
    }

    void findsThePartOfALongNameAgain_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<bool>("isPlain"); // "<name>.part"
        QTest::newRow("just fits") << 250 << true;
        QTest::newRow("one too many") << 251 << false;
        QTest::newRow("longest") << 255 << false;
    }
    void findsThePartOfALongNameAgain()
    {
        QFETCH(const int, bytes);
        QFETCH(const bool, isPlain);
        const QString folder = m_folder->filePath(u"a"_s);
        const QString long1 =
            folder + u'/' + u"\u00FC"_s.repeated(100) + QString(bytes - 200, u'x');
        const QString long2 = long1.chopped(1) + u'y';
        QCOMPARE(partialBytes(long1), 0);
        PartialRecording(long1, 6).append("abc");
        PartialRecording(long2, 6).append("de");
        QCOMPARE(partialBytes(long1), 3);
        QCOMPARE(partialBytes(long2), 2);
        QCOMPARE(fileExists(long1 + u".part"_s), isPlain);
        PartialRecording again(long1, 6);
        QCOMPARE(again.size(), 3);
        again.moveToDestination();
        QCOMPARE(readFile(long1, 100), QByteArray("abc"));
        const QStringList left = QDir(folder).entryList(QDir::Files, QDir::Name);
        QCOMPARE(left.size(), 2);
        // No recording may bear the name of the part, nor its part's be the same.
        for (const QString &name : left)
            QVERIFY(name == fileNameOf(long1) || name == fileNameOf(long2) + u".part"_s
                    || name.endsWith(u".part.part"_s));
    }

    void checkingEndsWithTheStore()
    {
        std::stop_source stop;
        stop.request_stop();
        const auto report =
            progressReport<std::int64_t>(stop.get_token(), [](const std::int64_t &) {});
        PartialRecording recording(path(), 6);
        recording.append("abcdef");
        QVERIFY_EXCEPTION_THROWN((void)recording.sha256FromDisk(report), StoreEnded);
        QCOMPARE(recording.size(), 6);
        writePlain(path(), "abcdef");
        QVERIFY_EXCEPTION_THROWN((void)isRecordingThere(path(), QString(), report), StoreEnded);
    }

    void namesEachLevelSafely()
    {
        VORNClip clip;
        clip.cameraId = u"../Cam A"_s;
        clip.id = u"X/Y"_s;
        clip.fileName = u"IMG 0001 (ü).MOV"_s;
        QCOMPARE(recordingPath(u"/r"_s, u"My Project!"_s, u"Take: 7"_s, clip),
                 u"/r/my-project/take--7/cam-a/x-y/IMG 0001 (ü).MOV"_s);
        for (const QString &name : {u""_s, u"."_s, u".."_s, u"../a"_s, u"a/b"_s}) {
            clip.fileName = name;
            QCOMPARE(thrownText([&] { (void)recordingPath(u"/r"_s, u"p"_s, u"t"_s, clip); }),
                     name + u" is no file name."_s);
        }
        clip.fileName = u"take.mov.part"_s; // where "take.mov" would be fetched to
        QCOMPARE(thrownText([&] { (void)recordingPath(u"/r"_s, u"p"_s, u"t"_s, clip); }),
                 u"take.mov.part is the name of an unfinished download."_s);
    }

    /// VORN_NAMES is how many, VORN_SEED which.
    void keepsEveryNameBelowTheFolder()
    {
        const int names = qMax(qEnvironmentVariableIntValue("VORN_NAMES"), 100'000);
        bool isGiven = false;
        const int given = qEnvironmentVariableIntValue("VORN_SEED", &isGiven);
        const int seed = isGiven ? given : QRandomGenerator::global()->bounded(1'000'000);
        HostileNames hostile{quint32(seed)};
        int outside = 0;
        int refused = 0;
        for (int name = 0; name < names; name += 5) {
            VORNClip clip;
            clip.cameraId = hostile.next();
            clip.id = hostile.next();
            clip.fileName = hostile.next();
            const QStringList ids{hostile.next(), hostile.next(), clip.cameraId, clip.id};
            for (const QString &id : ids) {
                const QString folder = safeIdentifier(id);
                const QString again = safeIdentifier(folder);
                // What was a character by itself may join the hyphen that now stands before it.
                const bool isLegal = isFolderName(folder) && (again == folder || mayJoin(folder))
                                     && isFolderName(again);
                QVERIFY2(isLegal, qPrintable(u"seed %1: "_s.arg(seed) + QDebug::toString(id)));
            }
            try {
                const std::filesystem::path path(
                    nativePath(recordingPath(u"/r/s"_s, ids[0], ids[1], clip)).toStdString());
                const std::string below = path.lexically_normal().string();
                outside += !below.starts_with("/r/s/")
                           || !below.ends_with('/' + clip.fileName.toStdString());
            } catch (const FileError &) {
                ++refused;
            }
        }
        qInfo("%d names, seed %d, %d paths refused, %d outside", names, seed, refused, outside);
        QCOMPARE(outside, 0);
    }

private:
    [[nodiscard]] QString path() const { return m_folder->filePath(u"a/b/take.mov"_s); }
    [[nodiscard]] QString partialPath() const { return path() + u".part"_s; }

    std::optional<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(PartialRecordingTest)
#include "partial_recording_test.moc"
