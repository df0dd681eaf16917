// SPDX-License-Identifier: Apache-2.0

// What is found out about the recordings of a take: verification, checksums, the check of an
// export.

#include "base/files.h"
#include "base/off_thread.h"
#include "messages.h"
#include "store/export_listening.h"
#include "store/library_file.h"
#include "store/recording_check.h"
#include "support.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const QString digestOfAbc = u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s;

/// What `sha256sum --check` says of a file in its folder, and its exit code.
QString checkedBySystem(const QString &path)
{
    QProcess check;
    check.setWorkingDirectory(folderOf(path));
    check.setProcessChannelMode(QProcess::MergedChannels);
    check.start(u"sha256sum"_s, {u"--check"_s, u"--strict"_s, u"--quiet"_s, fileNameOf(path)});
    check.waitForFinished();
    return u"%1 %2"_s.arg(check.exitCode()).arg(QString::fromUtf8(check.readAll()));
}

} // namespace

class TakeChecksTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY(m_folder.emplace().isValid()); }
    void cleanup() { m_store.reset(); }

    void missesAFileOnADiskThatIsThere()
    {
        const pid_t process = ::fork();
        if (process == 0) {
            if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0
                || ::mount("tmpfs", "/mnt", "tmpfs", 0, nullptr) != 0)
                ::_exit(2);
            VORNTake take;
            take.clips.emplace_back().localPath = u"/mnt/film"_s;
            const auto checks = checkRecordings(take, [](const CheckProgress &) {});
            ::_exit(checks[0].sentence == u"/mnt/film is not there."_s ? 0 : 1);
        }
        int status = 0;
        ::waitpid(process, &status, 0);
        QCOMPARE(status, 0);
    }

    void verifiesATakeAnew()
    {
        const QString folder = m_folder->path();
        writePlain(folder + u"/changed"_s, "abd");
        writePlain(folder + u"/cut"_s, "ab");
        QVERIFY(QFile::link(u"abc"_s, folder + u"/link"_s));
        QVERIFY(QFile::link(u"/media/no-such-disk/films"_s, folder + u"/away"_s));
        AppStore &store = storeOf({u"abc"_s,
                                   u"link"_s,
                                   u"changed"_s,
                                   u"cut"_s,
                                   u"gone"_s,
                                   u"no/folder/film"_s,
                                   u"/media/no-such-disk/films/film"_s,
                                   u"away/film"_s,
                                   u"."_s,
                                   u"abc"_s,
                                   {}});
        const QByteArray before = readFile(root() + u"/library.json"_s, 1 << 20);
        QCoro::waitFor(store.verifySelectedTake());
        const QString away = u"The disk that /media/no-such-disk lies on is not connected."_s;
        const QString summary = u"Verified take t. Matching: 2. Failed: 7 (c, d, e, f, g, h, i). "
                                "Without a checksum to compare with: 1. Not on this computer: 1."_s;
        const auto said = [&](const QString &sentence) { return sentence.arg(folder); };
        QCOMPARE(messages(store),
                 (QStringList{said(u"! c: %1/changed has changed: its checksum is another one."_s),
                              said(u"! d: %1/cut has 2 bytes instead of 3."_s),
                              said(u"! e: %1/gone is not there."_s),
                              said(u"! f: %1/no is not there."_s), u"! g: "_s + away,
                              u"! h: "_s + away, said(u"! i: %1/. is not a regular file."_s),
                              u"j: No checksum of it is known: there is nothing to compare with."_s,
                              u"! "_s + summary}));
        QCOMPARE(store.takeOutcome()->text, summary);
        QCOMPARE(store.errorMessage(), summary);
        QVERIFY(!store.isBusy() && !store.checkProgress());
        QCOMPARE(readFile(root() + u"/library.json"_s, 1 << 20), before);
    }

    void endsAVerificationWithTheStore()
    {
        AppStore &store = storeOf({u"abc"_s, u"long"_s});
        QVERIFY(QFile::resize(m_folder->filePath(u"long"_s), qint64{1} << 40)); // many minutes
        store.verifySelectedTake();
        save(m_folder->filePath(u"list"_s), ExistingFile::keep); // one at a time
        QTRY_COMPARE(store.checkProgress().value_or(CheckProgress()).cameraId, u"b"_s);
        QVERIFY(store.longWork() == LongWork::verifying);
        m_store.reset();
        QVERIFY(fileWorkPool()->waitForDone(20'000));
        QVERIFY(!somethingExistsAt(m_folder->filePath(u"list"_s)));
    }

    void checksAnExportForTheTakeAsItIs()
    {
        AppStore &store = storeOf({u"abc"_s, u"gone"_s});
        QCoro::waitFor(store.checkSelectedTake());
        QVERIFY(!store.isBusy() && !store.exportProgress() && !store.errorMessage());
        QCOMPARE(messages(store).last(), u"! Checked the export of take t: 4 things stand in the "
                                         "way of an export."_s);
        QCOMPARE(store.selectedExportCheck()->clips.size(), std::size_t(2));
        store.setReferenceCamera(u"a"_s);
        QVERIFY(!store.selectedExportCheck()); // it was another take

        QVERIFY(QFile::resize(m_folder->filePath(u"abc"_s), qint64{1} << 40)); // many minutes
        store.checkSelectedTake();
        QTRY_VERIFY(store.exportProgress());
        QVERIFY(store.longWork() == LongWork::checkingExport);
        store.cancelExport();
        QTRY_VERIFY(!store.isBusy());
        QVERIFY(!store.exportProgress() && !store.selectedExportCheck() && !store.errorMessage());
        QCOMPARE(messages(store).last(), u"! The check of the export was cancelled."_s);

        store.checkSelectedTake();
        QTRY_VERIFY(store.exportProgress());
        m_store.reset(); // ends with the store
        QVERIFY(fileWorkPool()->waitForDone(20'000));
    }

    void keepsTheFindingsWhereNothingIsHeard()
    {
        ClipCheck clip;
        clip.path = u"/nowhere/a.mov"_s; // its disk has gone since it was hashed
        clip.media.emplace().audioTracks.emplace_back();
        clip.line.emplace();
        clip.place.emplace().duration = 60;
        clip.isAligned = true;
        ExportCheck check;
        check.clips = {clip, clip};
        check.clips[0].isReference = true;
        listenToExport(check, {}, {});
        QCOMPARE(check.clips[1].sound->sentence, u"By ear: cannot tell: Cannot open "
                                                 "/nowhere/a.mov: No such file or directory."_s);
    }

    void savesChecksumsForOthersToCheck()
    {
        const QString list = m_folder->filePath(u"list.sha256"_s);
        const QTemporaryDir elsewhere;
        const QStringList names{u"plain"_s,     u"back\\slash"_s,
                                u"new\nline"_s, u"return\r"_s,
                                u"-"_s,         u" *blank"_s,
                                u"é/日本"_s,    elsewhere.filePath(u"-"_s),
                                u"unknown"_s,   {}};
        AppStore &store = storeOf(names);
        QCoro::waitFor(save(list, ExistingFile::keep));
        QCOMPARE(messages(store), QStringList{u"Saved the checksums of take t as %1."_s.arg(list)});
        QCOMPARE(checkedBySystem(list), u"0 "_s);
        const QByteArray lines = readFile(list, 1 << 16);
        QCOMPARE(lines.count('\n'), 9);
        QVERIFY(lines.contains("\n" + digestOfAbc.toLatin1() + "  é/日本\n"));
        QVERIFY(lines.contains("  " + elsewhere.filePath(u"-"_s).toUtf8() + '\n'));

        writePlain(m_folder->filePath(u"new\nline"_s), "abd");
        QVERIFY(checkedBySystem(list).startsWith(u"1 \\new\\nline: FAILED\n"_s));
        // From a folder that the recordings are not below.
        const QString other = elsewhere.filePath(u"list"_s);
        QCoro::waitFor(save(other, ExistingFile::keep));
        QVERIFY(checkedBySystem(other).contains(u"%1/new\\nline: FAILED\n"_s.arg(folderOf(list))));

        // Nothing is replaced that nobody was asked about, and no recording whatever is said.
        QCoro::waitFor(save(other, ExistingFile::keep));
        QCOMPARE(store.errorMessage(),
                 u"Checksums could not be saved: Cannot write %1: File exists."_s.arg(other));
        QCoro::waitFor(save(other, ExistingFile::replace));
        QCOMPARE(messages(store).last(), u"Saved the checksums of take t as %1."_s.arg(other));
        const QString recording = m_folder->filePath(u"plain"_s);
        QCoro::waitFor(save(recording, ExistingFile::replace));
        QCOMPARE(store.errorMessage(),
                 u"Checksums could not be saved: %1 is a recording; choose another name."_s.arg(
                     recording));
        QCOMPARE(readFile(recording, 10), "abc");
        QVERIFY(QFile::remove(m_folder->filePath(u"unknown"_s)));
        QCoro::waitFor(save(list, ExistingFile::replace));
        QVERIFY(store.errorMessage()->endsWith(u"unknown: No such file or directory."_s));
        QCOMPARE(readFile(list, 1 << 16), lines);
        QVERIFY(!store.takeOutcome());
    }

private:
    /// A store with a take of recordings at these places, all of them said to be "abc"; of the last
    /// but one the checksum is unknown, and where no name is given there is none here. What is not
    /// there is made, but for "gone", and what has a folder that is not there.
    AppStore &storeOf(const QStringList &names)
    {
        VORNTake take;
        take.id = u"t"_s;
        for (const QString &name : names) {
            VORNClip clip;
            clip.cameraId = QChar(u'a' + char16_t(take.clips.size()));
            clip.id = clip.cameraId;
            clip.sha256 = take.clips.size() + 2 == names.size() ? u"none"_s : digestOfAbc.toUpper();
            if (name != u"long"_s)
                clip.sizeBytes = 3;
            const QString path = resolvedPath(m_folder->path(), name);
            if (!name.isEmpty())
                clip.localPath = name == u'.' ? m_folder->path() + u"/."_s : path;
            if (name == u"é/日本"_s)
                QDir(m_folder->path()).mkdir(u"é"_s);
            if (name != u"gone"_s && QFileInfo(folderOf(path)).isDir() && !fileExists(path))
                writePlain(path, "abc");
            take.clips.push_back(clip);
        }
        LibraryFile(root()).save({{VORNProject{u"p"_s, u"Night"_s, 1, {take}}}});
        return m_store.emplace(root());
    }

    QCoro::Task<> save(const QString &path, ExistingFile existing)
    {
        return m_store->saveChecksums(u"p"_s, u"t"_s, path, existing);
    }

    [[nodiscard]] QString root() const { return m_folder->filePath(u"data/VORN"_s); }

    std::optional<QTemporaryDir> m_folder;
    std::optional<AppStore> m_store;
};

QTEST_GUILESS_MAIN(TakeChecksTest)
#include "take_checks_test.moc"
