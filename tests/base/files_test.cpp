#include "base/digest.h"
#include "base/files.h"
#include "base/text_order.h"
#include "support.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

struct Named {
    QString name;
    int mark = 0;
};

} // namespace

class FilesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void opensOnlyRegularFiles()
    {
        QTemporaryDir folder;
        const QString movie = folder.filePath(u"a movie %20#?.mov"_s);
        writePlain(movie, "bytes");
        QVERIFY(QFile::link(movie, folder.filePath(u"link"_s)));
        QVERIFY(QFile::link(folder.filePath(u"nowhere"_s), folder.filePath(u"dangling"_s)));
        QCOMPARE(mkfifo(QFile::encodeName(folder.filePath(u"fifo"_s)).constData(), 0600), 0);

        QCOMPARE(readFile(movie, 100), QByteArray("bytes"));
        QCOMPARE(readFile(folder.filePath(u"link"_s), 100), QByteArray("bytes"));
        QCOMPARE(thrownText([&] { (void)readFile(movie, 4); }),
                 u"%1 is too large (5 bytes; at most 4 are read)."_s.arg(movie));
        for (const QString &path : {folder.path(), folder.filePath(u"fifo"_s), u"/dev/zero"_s})
            QCOMPARE(thrownText([&] { (void)openRegularFile(path); }),
                     u"%1 is not a regular file."_s.arg(path));
        QCOMPARE(
            thrownText([&] { (void)openRegularFile(folder.filePath(u"dangling"_s)); }),
            u"Cannot open %1: No such file or directory."_s.arg(folder.filePath(u"dangling"_s)));
        // Cut at its NUL, this name would be that of the movie.
        QVERIFY(
            !thrownText([&] { (void)openRegularFile(movie + QChar(u'\0') + u"x"_s); }).isEmpty());
        QVERIFY(!fileExists(movie + QChar(u'\0')));
        QVERIFY(!fileExists(movie + QChar(char16_t(0xD800))));
        QVERIFY(somethingExistsAt(folder.filePath(u"dangling"_s)));
        QVERIFY(!fileExists(folder.filePath(u"dangling"_s)));
    }

    void resolvesPathsByTextAlone_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("resolved");
        QTest::newRow("relative") << u"a.mov"_s << u"/x/y/a.mov"_s;
        QTest::newRow("up") << u"../media/a.mov"_s << u"/x/media/a.mov"_s;
        QTest::newRow("beyond the root") << u"../../../../a.mov"_s << u"/a.mov"_s;
        QTest::newRow("absolute") << u"/m/./a/../b.mov"_s << u"/m/b.mov"_s;
        QTest::newRow("a resource of the program is no such thing")
            << u":/a.mov"_s << u"/x/y/:/a.mov"_s;
        QTest::newRow("a tilde is a name") << u"~/a.mov"_s << u"/x/y/~/a.mov"_s;
        QTest::newRow("percent") << u"a%2Fb.mov"_s << u"/x/y/a%2Fb.mov"_s;
    }

    void resolvesPathsByTextAlone()
    {
        QFETCH(const QString, path);
        QTEST(resolvedPath(u"/x/y"_s, path), "resolved");
    }

    void makesFolders()
    {
        QTemporaryDir folder;
        const QString deep = folder.filePath(u"one/two/three"_s);
        createFolders(deep, FolderMode::ownerOnly);
        createFolders(deep, FolderMode::ownerOnly);
        QCOMPARE(modeOf(folder.filePath(u"one"_s)), 0700);
        QVERIFY(QFile::link(deep, folder.filePath(u"link"_s)));
        createFolders(folder.filePath(u"link/four"_s), FolderMode::followUmask);
        QVERIFY(QFileInfo(deep + u"/four"_s).isDir());

        writePlain(folder.filePath(u"file"_s), "x");
        QCOMPARE(
            thrownText(
                [&] { createFolders(folder.filePath(u"file/sub"_s), FolderMode::ownerOnly); }),
            u"Cannot create the folder %1: Not a directory."_s.arg(folder.filePath(u"file"_s)));
        QVERIFY(!thrownText([&] { createFolder(folder.filePath(u"no/parent"_s)); }).isEmpty());
        QVERIFY(!thrownText([&] { createFolder(folder.filePath(u"file"_s)); }).isEmpty());
    }

    void digestsAcrossBufferBounds_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::newRow("empty") << qsizetype{0};
        QTest::newRow("one buffer") << qsizetype{1048576};
        QTest::newRow("one byte more") << qsizetype{1048577};
    }

    void digestsAcrossBufferBounds()
    {
        QFETCH(const qsizetype, size);
        QTemporaryDir folder;
        const QByteArray bytes(size, 'v');
        writePlain(folder.filePath(u"f"_s), bytes);
        std::int64_t reported = 0;
        const QString digest =
            sha256OfFile(folder.filePath(u"f"_s), [&](std::int64_t done) { reported = done; });
        QCOMPARE(digest, QString::fromLatin1(
                             QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
        QCOMPARE(reported, size);
    }

    void sortsByTheUsersLanguageAndKeepsEqualsInOrder()
    {
        std::vector<Named> records{
            {u"gamma"_s, 1}, {u"Beta"_s, 2}, {u"ALPHA"_s, 3}, {u"beta"_s, 4}, {u"alpha"_s, 5}};
        sortByText(records, &Named::name);
        QList<int> marks;
        for (const Named &record : records)
            marks << record.mark;
        QCOMPARE(marks, (QList<int>{3, 5, 2, 4, 1}));
    }
};

QTEST_GUILESS_MAIN(FilesTest)
#include "files_test.moc"
