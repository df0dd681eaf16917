// SPDX-License-Identifier: Apache-2.0

// What stays in memory of a session's secrets. The camera is a process of its own (this program
// with
// "--camera"), and the test gets its secrets masked: it must not hold what it looks for.

#include "camera_answers.h"

#include <QFile>
#include <QProcess>
#include <QtTest>

#include <openssl/rand.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, '\0');
    RAND_bytes(reinterpret_cast<unsigned char *>(bytes.data()), int(size));
    return bytes;
}

/// A text and a mask of the same size, neither of which says anything of the text without the
/// other.
struct Masked {
    QByteArray bytes;
    QByteArray mask;

    static Masked of(const QByteArray &text)
    {
        Masked masked{text, randomBytes(text.size())};
        for (qsizetype index = 0; index < text.size(); ++index)
            masked.bytes[index] = char(masked.bytes[index] ^ masked.mask[index]);
        return masked;
    }
    [[nodiscard]] char at(qsizetype index) const { return char(bytes[index] ^ mask[index]); }
    [[nodiscard]] QByteArray line() const { return bytes.toHex() + ' ' + mask.toHex(); }
};

/// Says where it is and what its secrets are, serves until its input ends.
int serveCamera()
{
    // Slashes are escaped by many JSON writers.
    const QByteArray secret = randomBytes(30).toBase64().replace('A', '/');
    std::unique_ptr<TlsServer> server;
    server = std::make_unique<TlsServer>([&](const TlsServer::Request &request, TlsPeer &peer) {
        if (request.index > 0) {
            peer.send(httpWithLength("200 OK", "{}"));
            return;
        }
        QJsonObject grant = pairingGrant(server->fingerprint());
        grant[u"bearerToken"_s] = QString::fromLatin1(secret);
        peer.send(httpWithLength(
            "200 OK", QJsonDocument(grant).toJson(QJsonDocument::Compact).replace("/", "\\/")));
    });
    QByteArray code; // Arabic digits, which no other text in memory resembles
    for (const char random : randomBytes(6))
        code += QString(QChar(char16_t(0x660 + (random & 7)))).toUtf8();
    std::cout << server->port() << ' ' << server->fingerprint().toStdString() << ' '
              << Masked::of(secret).line().toStdString() << ' '
              << Masked::of(code).line().toStdString() << '\n'
              << std::flush;
    (void)std::getchar();
    return 0;
}

/// How often `secret` stands in this process's memory, as bytes or as UTF-16, in whole or in part.
class MemoryScan {
public:
    explicit MemoryScan(Masked secret) : m_secret(std::move(secret))
    {
        m_piece = static_cast<char *>(::mmap(nullptr, pieceBytes, PROT_READ | PROT_WRITE,
                                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    }
    ~MemoryScan() { ::munmap(m_piece, pieceBytes); }
    MemoryScan(const MemoryScan &) = delete;
    MemoryScan &operator=(const MemoryScan &) = delete;

    [[nodiscard]] int count()
    {
        QFile maps(u"/proc/self/maps"_s);
        if (!maps.open(QFile::ReadOnly))
            qFatal("cannot read the map of the memory");
        int found = 0;
        for (const QByteArray &line : maps.readAll().split('\n')) {
            const QByteArrayList words = line.split(' ');
            if (words.size() < 2 || !words[1].startsWith("rw"))
                continue;
            const QByteArrayList ends = words[0].split('-');
            const std::size_t begin = ends[0].toULongLong(nullptr, 16);
            const std::size_t end = ends[1].toULongLong(nullptr, 16);
            if (end - begin < shadowBytes)
                found += countBetween(begin, end);
        }
        return found;
    }

private:
    static constexpr std::size_t pieceBytes = std::size_t{4} * 1024 * 1024;
    static constexpr std::size_t shadowBytes = 1ULL << 30; ///< a sanitizer's own is larger
    static constexpr qsizetype partBytes = 12; ///< a secret is looked for by parts of this size
    static constexpr std::size_t overlap = 2 * partBytes;

    int countBetween(std::size_t begin, std::size_t end)
    {
        int found = 0;
        for (std::size_t at = begin; at < end; at += pieceBytes - overlap) {
            iovec local{m_piece, pieceBytes};
            iovec remote{std::bit_cast<void *>(at), std::min(pieceBytes, end - at)};
            const ssize_t size = ::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0);
            for (qsizetype part = 0; part + partBytes <= m_secret.bytes.size(); part += partBytes)
                found += countIn(size, part, 1) + countIn(size, part, 2);
        }
        wipe(m_piece, pieceBytes);
        return found;
    }

    /// `step`: bytes of a character.
    int countIn(ssize_t size, qsizetype part, qsizetype step) const
    {
        int found = 0;
        const char first = m_secret.at(part);
        const char *const end = m_piece + std::max<ssize_t>(size - step * partBytes, 0);
        const auto next = [&](const char *from) {
            return static_cast<const char *>(std::memchr(from, first, std::size_t(end - from)));
        };
        for (const char *at = next(m_piece); at; at = next(at + 1)) {
            qsizetype same = 1;
            while (same < partBytes && at[step * same] == m_secret.at(part + same))
                ++same;
            found += same == partBytes ? 1 : 0;
        }
        return found;
    }

    Masked m_secret;
    char *m_piece;
};

} // namespace

class SecretMemoryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void leavesNothingBehind_data()
    {
        QTest::addColumn<bool>("tellsCamera");
        QTest::newRow("ended") << true;
        QTest::newRow("invalidated") << false;
    }

    void leavesNothingBehind()
    {
        QFETCH(const bool, tellsCamera);
        QProcess camera;
        camera.start(QCoreApplication::applicationFilePath(), {u"--camera"_s});
        QVERIFY(camera.waitForReadyRead());
        const QByteArrayList words = camera.readLine().trimmed().split(' ');
        const auto masked = [&words](qsizetype index) {
            return Masked{QByteArray::fromHex(words[index]), QByteArray::fromHex(words[index + 1])};
        };
        MemoryScan bearer(masked(2));
        MemoryScan code(masked(4));
        QCOMPARE(bearer.count(), 0);

        const DiscoveredDevice device = sharedPhone(
            u"phone"_s, u"https://127.0.0.1:%1/catalog"_s.arg(QLatin1StringView(words[0])),
            QString::fromLatin1(words[1]), sessionId);
        const int dumpableBefore = ::prctl(PR_GET_DUMPABLE);
        {
            QString digits; // in UTF-16, as the field has it that the user fills
            const Masked codeBytes = masked(4);
            for (qsizetype index = 1; index < codeBytes.bytes.size(); index += 2)
                digits += QChar(char16_t(0x660 + (codeBytes.at(index) & 0xF)));
            const Client client = pairing(device, digits).value();
            QCOMPARE(code.count(), 0);
            QVERIFY(bearer.count() > 0); // else the scan sees nothing
            QCOMPARE(::prctl(PR_GET_DUMPABLE), 0);
            QCOMPARE(Outcome(client->fetchCatalog()).value(), "{}");
            if (tellsCamera)
                QVERIFY(Outcome(ended(client->end())).value());
            else
                client->invalidate();
            QTRY_COMPARE(bearer.count(), 0); // with the client still there
            QCOMPARE(::prctl(PR_GET_DUMPABLE), dumpableBefore);
        }
        QCOMPARE(bearer.count(), 0);
        camera.closeWriteChannel();
        QVERIFY(camera.waitForFinished());
    }
};

int main(int argumentCount, char *arguments[])
{
    QCoreApplication application(argumentCount, arguments);
    if (application.arguments().contains(u"--camera"_s))
        return serveCamera();
    SecretMemoryTest test;
    return QTest::qExec(&test, argumentCount, arguments);
}

#include "secret_memory_test.moc"
