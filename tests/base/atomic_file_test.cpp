// SPDX-License-Identifier: Apache-2.0

#include "base/atomic_file.h"
#include "base/files.h"
#include "support.h"

#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

using namespace vorn;
using namespace Qt::StringLiterals;

// The calls of the atomic write, as this program sees them: one of them can be made to fail, and
// their order is recorded.
namespace {

struct Calls {
    QByteArray failing; ///< name of the call that fails
    int failureNumber = EIO;
    QByteArrayList seen;
    bool isWatched = false;
    QByteArray linkedTo; ///< where a link leads that lies at the place of each new file
};
Calls calls;

bool fails(const char *name)
{
    if (!calls.isWatched)
        return false;
    calls.seen << name;
    if (calls.failing != name)
        return false;
    errno = calls.failureNumber;
    return true;
}

template <class Function> Function real(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool isFolder(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

extern "C" {

int open(const char *path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    if ((flags & O_CREAT) != 0 && !calls.linkedTo.isEmpty())
        (void)::symlink(calls.linkedTo.constData(), path);
    return real<int (*)(const char *, int, ...)>("open")(path, flags, mode);
}

ssize_t writev(int descriptor, const iovec *vectors, int count)
{
    if (fails("write"))
        return -1;
    // Short writes: what is left must follow.
    iovec first = vectors[0];
    if (calls.isWatched && first.iov_len > 2) {
        first.iov_len = 2;
        return real<ssize_t (*)(int, const iovec *, int)>("writev")(descriptor, &first, 1);
    }
    return real<ssize_t (*)(int, const iovec *, int)>("writev")(descriptor, vectors, count);
}

int fsync(int descriptor)
{
    if (fails(isFolder(descriptor) ? "fsync folder" : "fsync file"))
        return -1;
    return real<int (*)(int)>("fsync")(descriptor);
}

int rename(const char *from, const char *to) noexcept
{
    if (fails("rename"))
        return -1;
    return real<int (*)(const char *, const char *)>("rename")(from, to);
}
}

namespace {

/// Runs `work` with the named call failing; returns the text of the error.
QString withFailing(const QByteArray &name, int number, const std::function<void()> &work)
{
    calls = {
        .failing = name, .failureNumber = number, .seen = {}, .isWatched = true, .linkedTo = {}};
    const QString text = thrownText(work);
    calls.isWatched = false;
    return text;
}

} // namespace

class AtomicFileTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void flushesFileThenRenamesThenFlushesFolder()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"library.json"_s);
        const std::array pieces{QByteArray("one "), QByteArray(), QByteArray("2")};
        QCOMPARE(
            withFailing({}, 0, [&] { writeFileAtomically(path, pieces, FileMode::ownerOnly); }),
            QString());
        QCOMPARE(calls.seen,
                 (QByteArrayList{"write", "write", "fsync file", "rename", "fsync folder"}));
        QCOMPARE(readFile(path, 100), QByteArray("one 2"));
        QCOMPARE(modeOf(path), 0600);
    }

    void aFailureLeavesTheOldFileAndNothingElse_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("reason");
        QTest::newRow("full disk") << QByteArray("write") << ENOSPC << u"No space left on device"_s;
        QTest::newRow("failed flush") << QByteArray("fsync file") << EIO << u"Input/output error"_s;
        QTest::newRow("failed rename")
            << QByteArray("rename") << EROFS << u"Read-only file system"_s;
    }

    void aFailureLeavesTheOldFileAndNothingElse()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const int, number);
        QFETCH(const QString, reason);
        QTemporaryDir folder;
        const QString path = folder.filePath(u"library.json"_s);
        writeFileAtomically(path, "old", FileMode::ownerOnly);
        const QString text = withFailing(
            call, number, [&] { writeFileAtomically(path, "new", FileMode::ownerOnly); });
        QVERIFY2(text.endsWith(u"library.json: %1."_s.arg(reason)), qPrintable(text));
        QCOMPARE(calls.seen.last(), call); // a failed flush is not tried again
        QCOMPARE(readFile(path, 100), QByteArray("old"));
        QCOMPARE(
            QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList{u"library.json"_s});
    }

    void aFailedFlushOfTheFolderIsReportedUnlessThereIsNone()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"library.json"_s);
        const auto write = [&] { writeFileAtomically(path, "new", FileMode::ownerOnly); };
        QCOMPARE(withFailing("fsync folder", EIO, write),
                 u"The new state of %1 is in place but may not survive a power cut: Input/output "
                 "error."_s.arg(path));
        QCOMPARE(readFile(path, 100), QByteArray("new"));
        const auto make = [&] { createFolder(folder.filePath(u"new"_s)); };
        QCOMPARE(
            withFailing("fsync folder", EIO, make),
            u"Cannot create the folder %1: Input/output error."_s.arg(folder.filePath(u"new"_s)));
        QVERIFY(!fileExists(folder.filePath(u"new"_s)));
        for (const int number : {EINVAL, ENOTSUP, ENOSYS}) {
            QCOMPARE(withFailing("fsync folder", number, write), QString());
            QCOMPARE(withFailing("fsync folder", number, make), QString());
            QVERIFY(QDir().rmdir(folder.filePath(u"new"_s)));
        }
    }

    void aLinkIsReplacedNotFollowed()
    {
        QTemporaryDir folder;
        writeFileAtomically(folder.filePath(u"other"_s), "other", FileMode::followUmask);
        QVERIFY(QFile::link(folder.filePath(u"other"_s), folder.filePath(u"link"_s)));
        writeFileAtomically(folder.filePath(u"link"_s), "mine", FileMode::followUmask);
        QCOMPARE(readFile(folder.filePath(u"other"_s), 100), QByteArray("other"));
        QVERIFY(!QFileInfo(folder.filePath(u"link"_s)).isSymLink());
        // Nor is one at the place of the file that is to become the new one.
        calls.linkedTo = folder.filePath(u"other"_s).toUtf8();
        const QString text = thrownText(
            [&] { writeFileAtomically(folder.filePath(u"new"_s), "mine", FileMode::followUmask); });
        calls.linkedTo.clear();
        QVERIFY2(text.endsWith(u"new: File exists."_s), qPrintable(text));
        QCOMPARE(readFile(folder.filePath(u"other"_s), 100), QByteArray("other"));
        QVERIFY(!thrownText([&] {
                     writeFileAtomically(folder.filePath(u"none/file"_s), "x", FileMode::ownerOnly);
                 }).isEmpty());
    }
};

QTEST_GUILESS_MAIN(AtomicFileTest)
#include "atomic_file_test.moc"
