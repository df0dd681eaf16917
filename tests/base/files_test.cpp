// SPDX-License-Identifier: Apache-2.0

#include "base/digest.h"
#include "base/files.h"
#include "base/text_order.h"
#include "support.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

#include <algorithm>
#include <ranges>

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
        const QString movie = folder.filePath(u"a movie %20 %2#?.mov"_s);
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
        for (const QChar bad : {QChar(u'\0'), QChar(char16_t(0xD800))}) {
            QVERIFY(!fileExists(movie + bad));
            QVERIFY(thrownText([&] {
                        (void)openRegularFile(movie + bad);
                    }).endsWith(u" holds characters that no file name can have."_s));
        }
        QVERIFY(somethingExistsAt(folder.filePath(u"dangling"_s)));
        QVERIFY(!fileExists(folder.filePath(u"dangling"_s)));
    }

    void searchesAsPeopleWrite_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("isFound");
        QTest::newRow("part, in any case") << u"Night SHOOT"_s << u"ht sHo"_s << true;
        QTest::newRow("nothing") << u"Night"_s << QString() << true;
        QTest::newRow("accent of its own") << u"Cafe\u0301 2"_s << u"CAF\u00C9"_s << true;
        QTest::newRow("accent within") << u"Caf\u00E9 2"_s << u"cafe\u0301"_s << true;
        QTest::newRow("without the accent") << u"Caf\u00E9 2"_s << u"cafe"_s << false;
        QTest::newRow("sharp s") << u"Lange Stra\u00DFe"_s << u"STRASSE"_s << true;
        QTest::newRow("capital sharp s") << u"LANGE STRA\u1E9EE"_s << u"stra\u00DFe"_s << true;
        QTest::newRow("final sigma")
            << u"\u039F\u0394\u039F\u03A3 1"_s << u"\u03BF\u03B4\u03BF\u03C2"_s << true;
        QTest::newRow("ligature and width") << u"\uFB01lm \uFF11"_s << u"FILM 1"_s << true;
        QTest::newRow("another letter") << u"Night"_s << u"nicht"_s << false;
    }

    void searchesAsPeopleWrite()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, typed);
        QTEST(searchForm(text).contains(searchForm(typed)), "isFound");
    }

    void searchesInTheUsersLanguage()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::Turkish));
        const bool isFound = searchForm(u"ISPARTA"_s).contains(searchForm(u"\u0131sparta"_s));
        QLocale::setDefault(before);
        QVERIFY(isFound);
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

    void digestsAcrossBufferBounds()
    {
        const QTemporaryDir onDisk;
        const QTemporaryDir inMemory(u"/dev/shm/XXXXXX"_s); // which has other ways to be read
        for (const QString &path : {onDisk.filePath(u"f"_s), inMemory.filePath(u"f"_s)}) {
            for (const qsizetype size : {0, 1, 1048576, 1048577, 2097152, 5000000}) {
                QByteArray bytes(size, 'v');
                std::ranges::iota_view numbers(0, int(size));
                std::ranges::transform(numbers, bytes.begin(), [](int n) { return char(n / 7); });
                writePlain(path, bytes);
                const auto hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
                const auto expected = QString::fromLatin1(hash.toHex());
                for (const auto digestOf : {sha256OfFile, sha256OnDisk}) {
                    std::int64_t reported = 0;
                    QCOMPARE(digestOf(path, [&](std::int64_t done) { reported = done; }), expected);
                    QCOMPARE(reported, size);
                }
            }
        }
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
