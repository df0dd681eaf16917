// SPDX-License-Identifier: Apache-2.0

// The store and phones in Transfer Mode: sessions come and go, catalogs come whole or not at all.

#include "phone_desk.h"

#include <QSignalSpy>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const QString prefix = u"Secure camera connection failed: "_s;

QStringList names(const AppStore &store)
{
    QStringList found;
    for (const TransferSessionSummary &session : store.transferSessions())
        found << session.deviceName;
    return found;
}

} // namespace

class StorePairingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_desk.close();
        m_desk.phones.must(u"all reset"_s);
        m_desk.phones.must(u"all server on"_s);
        m_desk.startOver();
    }

    void pairsAndMerges()
    {
        AppStore &store = m_desk.store();
        const QSignalSpy busy(&store, &AppStore::isBusyChanged);
        QVERIFY(m_desk.pair(u"cam-a"_s));
        QCOMPARE(
            messages(m_desk.store()),
            QStringList{u"Paired with Mara's phone; merged 1 project(s) plus unassigned takes."_s});
        QVERIFY(!store.isBusy() && !store.errorMessage());
        QCOMPARE(busy.size(), 2);
        QCOMPARE(store.library().projects.size(), 2U);
        const QString selected = store.library().projects.front().id;
        QCOMPARE(store.selectedProjectID(), selected);
        QVERIFY(store.selectedTake());

        const QJsonObject phone = m_desk.phones.transfer(u"cam-a"_s);
        const TransferSessionSummary session = store.transferSessions().front();
        QCOMPARE(session.sessionId, phone[u"sessionId"_s].toString());
        QCOMPARE(session.fingerprint, phone[u"fingerprint"_s].toString());
        QCOMPARE(AppStore(m_desk.storage()).library(), store.library());
        const QByteArray token = phone[u"token"_s].toString().toUtf8();
        QVERIFY(token.size() >= 32);
        QVERIFY(!m_desk.libraryText().contains(token));
        QVERIFY(!m_desk.libraryText().contains(session.sessionId.toUtf8()));

        // The second phone adds to the same takes, and changes no selection.
        QVERIFY(m_desk.pair(u"cam-b"_s));
        QCOMPARE(store.selectedProjectID(), selected);
        QCOMPARE(store.library().projects.size(), 2U);
        QCOMPARE(store.selectedTake()->clips.size(), 2);
        QVERIFY(messages(m_desk.store()).last().endsWith(u"; merged 1 project(s)."_s));
    }

    void mergesNothingFromAPhoneWithoutProjects()
    {
        m_desk.phones.must(u"cam-b catalog /projects []"_s);
        QVERIFY(m_desk.pair(u"cam-b"_s));
        QVERIFY(messages(m_desk.store()).last().endsWith(u"; merged 0 project(s)."_s));
        QVERIFY(!m_desk.store().selectedProjectID());
        QCOMPARE(m_desk.store().transferSessions().size(), 1U);
    }

    void sortsSessionsByName()
    {
        for (const auto &[camera, name] :
             {std::pair(u"cam-a"_s, u"Bravo"_s), std::pair(u"cam-b"_s, u"alpha"_s)}) {
            DiscoveredDevice device = m_desk.device(camera);
            device.serviceName = name;
            QVERIFY(
                Outcome(m_desk.store().pairAndConnect(device, m_desk.code(camera), true)).value());
        }
        QCOMPARE(names(m_desk.store()), (QStringList{u"alpha"_s, u"Bravo"_s}));
    }

    void aSecondPairingReplacesTheFirst()
    {
        QVERIFY(m_desk.pair(u"cam-a"_s));
        const VORNLibrary before = m_desk.store().library();
        QVERIFY(m_desk.pair(u"cam-a"_s));
        QCOMPARE(m_desk.store().transferSessions().size(), 1U);
        QCOMPARE(m_desk.store().library(), before);
        // The first connection is closed without a word.
        QTRY_COMPARE(m_desk.phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 1);
        QCOMPARE(m_desk.requests(u"cam-a"_s, u"end"_s), 0);
    }

    void refusesWithoutATrace_data()
    {
        QTest::addColumn<QString>("spoiled"); // a command to the phone
        QTest::addColumn<bool>("isConfirmed");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QString &command, const QString &message) {
            QTest::newRow(name) << command << true << prefix + message;
        };
        QTest::newRow("not compared") << QString() << false
                                      << prefix
                                             + u"Confirm that the fingerprint shown on both "
                                               "devices matches."_s;
        row("wrong code", u"code 000000"_s, u"Transfer server returned HTTP 403."_s);
        row("other certificate", u"tls other"_s,
            u"The camera's certificate is not the one that was confirmed."_s);
        row("version", u"catalog /schemaVersion 2"_s, u"Unsupported catalog version."_s);
        row("other phone", u"catalog /deviceId \"9b2f3f5e-7c0e-4a3f-9d5c-2a1f6d1b7e10\""_s,
            u"Catalog device identity differs from the paired camera."_s);
        row("gate", u"catalog /projects/0/takes/1/clips/0/finalized false"_s,
            u"Authenticated catalog clip metadata is invalid."_s);
        row("merge", u"catalog /projects/0/takes/1/clips/0/sha256 \""_s + QString(64, u'0') + u'"',
            u"has conflicting metadata"_s);
    }
    void refusesWithoutATrace()
    {
        QFETCH(const QString, spoiled);
        QFETCH(const bool, isConfirmed);
        QFETCH(const QString, message);
        // With a session and a library that a half-done merge could harm.
        QVERIFY(m_desk.pair(u"cam-a"_s));
        AppStore &store = m_desk.store();
        const VORNLibrary library = store.library();
        const QByteArray text = m_desk.libraryText();
        const auto sessions = store.transferSessions();
        const auto selected = store.selectedTakeID();

        m_desk.phones.must(u"cam-a code 123456"_s);
        const DiscoveredDevice device = m_desk.device(u"cam-a"_s);
        if (!spoiled.isEmpty())
            m_desk.phones.must(u"cam-a "_s + spoiled);
        QVERIFY(!Outcome(store.pairAndConnect(device, u"123456"_s, isConfirmed)).value());

        QVERIFY2(store.errorMessage()->startsWith(prefix)
                     && store.errorMessage()->contains(message.sliced(prefix.size())),
                 qPrintable(*store.errorMessage()));
        if (message.endsWith(u'.'))
            QCOMPARE(*store.errorMessage(), message);
        QCOMPARE(messages(m_desk.store(), 1), QStringList{u"! "_s + *store.errorMessage()});
        QVERIFY(!store.isBusy());
        QVERIFY(store.library() == library);
        QCOMPARE(m_desk.libraryText(), text);
        QVERIFY(store.transferSessions() == sessions);
        QCOMPARE(store.selectedTakeID(), selected);
        // Only the first session's connection is left.
        QTRY_COMPARE(m_desk.phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 1);
    }

    void endsSessions()
    {
        AppStore &store = m_desk.store();
        const int endsOfA = m_desk.requests(u"cam-a"_s, u"end"_s);
        const int endsOfB = m_desk.requests(u"cam-b"_s, u"end"_s);
        QVERIFY(Outcome(ended(store.endTransferSession(u"nobody"_s))).value());
        QVERIFY(Outcome(ended(store.endAllTransferSessions())).value());
        QVERIFY(messages(m_desk.store()).isEmpty());

        QVERIFY(m_desk.pair(u"cam-a"_s) && m_desk.pair(u"cam-b"_s));
        const QString first = store.transferSessions().front().deviceId;
        Outcome ending(ended(store.endTransferSession(first)));
        QCOMPARE(names(store), QStringList{u"cam-b"_s}); // before the phone knows
        QVERIFY(ending.value());
        QCOMPARE(messages(m_desk.store()).last(), u"Ended secure transfer session with cam-a."_s);
        QCOMPARE(m_desk.requests(u"cam-a"_s, u"end"_s), endsOfA + 1);

        m_desk.phones.must(u"cam-a server on"_s); // a phone leaves Transfer Mode with its session
        QVERIFY(m_desk.pair(u"cam-a"_s));
        m_desk.phones.must(u"cam-b http end status 500"_s); // concerns nobody any more
        QVERIFY(Outcome(ended(store.endAllTransferSessions())).value());
        QVERIFY(store.transferSessions().empty());
        QCOMPARE(messages(m_desk.store()).last(), u"Ended all secure transfer sessions."_s);
        QCOMPARE(m_desk.requests(u"cam-b"_s, u"end"_s), endsOfB + 1);
        QTRY_COMPARE(m_desk.phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 0);
    }

    void endsWithTheStoreAtAnyTime_data()
    {
        QTest::addColumn<QString>("silence");
        QTest::newRow("handshake") << u"tls silent"_s;
        QTest::newRow("pairing") << u"http pair body silent"_s;
        QTest::newRow("catalog") << u"http catalog body hang 100"_s;
    }
    void endsWithTheStoreAtAnyTime()
    {
        QFETCH(const QString, silence);
        const auto state = [this] { return m_desk.phones.transfer(u"cam-a"_s); };
        const auto requested = [&] {
            return m_desk.requests(u"cam-a"_s, silence.section(u' ', 1, 1));
        };
        const int before = requested();
        const int accepted = state()[u"accepted"_s].toInt();
        m_desk.phones.must(u"cam-a "_s + silence);
        Outcome pairing(m_desk.pairing(u"cam-a"_s));
        QTRY_COMPARE(state()[u"accepted"_s].toInt(), accepted + 1);
        const bool isSecure = silence.startsWith(u"http"_s);
        if (isSecure)
            QTRY_COMPARE(requested(), before + 1);
        m_desk.close();
        // Within the patience of a test, which is less than the limit of the connection.
        if (isSecure)
            QTRY_COMPARE(state()[u"open"_s].toInt(), 0);
        QVERIFY(!pairing.value());
    }

    void aDownloadFindsAPhoneThatHasMoved()
    {
        AppStore &store = m_desk.store();
        QVERIFY(m_desk.pair(u"cam-a"_s) && m_desk.pair(u"cam-b"_s));
        Outcome fetching = m_desk.slowDownload(u"cam-a"_s);
        const QUrl before = m_desk.device(u"cam-b"_s).catalogURL;
        m_desk.phones.must(u"cam-b server on"_s);
        QVERIFY(m_desk.device(u"cam-b"_s).catalogURL != before);
        QVERIFY(m_desk.pair(u"cam-b"_s));
        m_desk.phones.must(u"cam-a hang-up"_s);
        QVERIFY(fetching.value());
        const auto &clips = store.selectedTake()->clips;
        QVERIFY(!isLocal(clips[0]) && isLocal(clips[1]));
    }

    void aDownloadEndsWithItsSession()
    {
        AppStore &store = m_desk.store();
        QVERIFY(m_desk.pair(u"cam-a"_s));
        Outcome fetching = m_desk.slowDownload(u"cam-a"_s);
        const int before = m_desk.requests(u"cam-a"_s, u"end"_s);
        Outcome ending(ended(store.endTransferSession(store.transferSessions()[0].deviceId)));
        QVERIFY(fetching.value());
        QVERIFY(ending.value());
        QCOMPARE(m_desk.requests(u"cam-a"_s, u"end"_s), before + 1); // the phone knows
        QVERIFY(store.transferSessions().empty());
        QVERIFY(store.errorMessage()->startsWith(u"Download failed for "_s));
    }

    void mergesIntoWhatTheLibraryHasBecome()
    {
        constexpr int changes = 20;
        Outcome pairing(m_desk.pairing(u"cam-a"_s));
        int made = 0;
        while (!pairing.isThere()) {
            if (made < changes)
                m_desk.store().createProject(QString::number(made++));
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        }
        QVERIFY(pairing.value()); // where the disk is busy, two changes have taken as long
        QCOMPARE(m_desk.store().library().projects.size(), std::size_t(made + 2));
        QCOMPARE(AppStore(m_desk.storage()).library(), m_desk.store().library());
    }

private:
    PhoneDesk m_desk{{.count = 2, .clips = 2, .more = {u"--unassigned"_s, u"cam-a"_s}}};
};

QTEST_GUILESS_MAIN(StorePairingTest)
#include "store_pairing_test.moc"
