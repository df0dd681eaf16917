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
    void initTestCase()
    {
        m_desk.emplace(
            RigPhonesOptions{.count = 2, .clips = 2, .more = {u"--unassigned"_s, u"cam-a"_s}});
    }
    void cleanupTestCase() { m_desk.reset(); }
    void init()
    {
        desk().close();
        desk().phones.must(u"all reset"_s);
        desk().phones.must(u"all server on"_s);
        desk().startOver();
    }

    void pairsAndMerges()
    {
        AppStore &store = desk().store();
        const QSignalSpy busy(&store, &AppStore::isBusyChanged);
        QVERIFY(desk().pair(u"cam-a"_s));
        QCOMPARE(
            desk().messages(),
            QStringList{u"Paired with Mara's phone; merged 1 project(s) plus unassigned takes."_s});
        QVERIFY(!store.isBusy() && !store.errorMessage());
        QCOMPARE(busy.size(), 2);
        QCOMPARE(store.library().projects.size(), 2U);
        const QString selected = store.library().projects.front().id;
        QCOMPARE(store.selectedProjectID(), selected);
        QVERIFY(store.selectedTake());

        const QJsonObject phone = desk().phones.transfer(u"cam-a"_s);
        const TransferSessionSummary session = store.transferSessions().front();
        QCOMPARE(session.sessionId, phone[u"sessionId"_s].toString());
        QCOMPARE(session.fingerprint, phone[u"fingerprint"_s].toString());
        QCOMPARE(AppStore(desk().storage()).library(), store.library());
        const QByteArray token = phone[u"token"_s].toString().toUtf8();
        QVERIFY(token.size() >= 32);
        QVERIFY(!desk().libraryText().contains(token));
        QVERIFY(!desk().libraryText().contains(session.sessionId.toUtf8()));

        // The second phone adds to the same takes, and changes no selection.
        QVERIFY(desk().pair(u"cam-b"_s));
        QCOMPARE(store.selectedProjectID(), selected);
        QCOMPARE(store.library().projects.size(), 2U);
        QCOMPARE(store.selectedTake()->clips.size(), 2);
        QVERIFY(desk().messages().last().endsWith(u"; merged 1 project(s)."_s));
    }

    void mergesNothingFromAPhoneWithoutProjects()
    {
        desk().phones.must(u"cam-b catalog /projects []"_s);
        QVERIFY(desk().pair(u"cam-b"_s));
        QVERIFY(desk().messages().last().endsWith(u"; merged 0 project(s)."_s));
        QVERIFY(!desk().store().selectedProjectID());
        QCOMPARE(desk().store().transferSessions().size(), 1U);
    }

    void sortsSessionsByName()
    {
        for (const auto &[camera, name] :
             {std::pair(u"cam-a"_s, u"Bravo"_s), std::pair(u"cam-b"_s, u"alpha"_s)}) {
            DiscoveredDevice device = desk().device(camera);
            device.serviceName = name;
            QVERIFY(
                Outcome(desk().store().pairAndConnect(device, desk().code(camera), true)).value());
        }
        QCOMPARE(names(desk().store()), (QStringList{u"alpha"_s, u"Bravo"_s}));
    }

    void aSecondPairingReplacesTheFirst()
    {
        QVERIFY(desk().pair(u"cam-a"_s));
        const VORNLibrary before = desk().store().library();
        QVERIFY(desk().pair(u"cam-a"_s));
        QCOMPARE(desk().store().transferSessions().size(), 1U);
        QCOMPARE(desk().store().library(), before);
        // The first connection is closed without a word.
        QTRY_COMPARE(desk().phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 1);
        QCOMPARE(desk().requests(u"cam-a"_s, u"end"_s), 0);
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
        row("no catalog", u"http catalog text no JSON"_s, u"catalog"_s);
        row("endless catalog", u"http catalog body endless"_s,
            u"The camera's answer is larger than it may be."_s);
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
        QVERIFY(desk().pair(u"cam-a"_s));
        AppStore &store = desk().store();
        const VORNLibrary library = store.library();
        const QByteArray text = desk().libraryText();
        const auto sessions = store.transferSessions();
        const auto selected = store.selectedTakeID();

        desk().phones.must(u"cam-a code 123456"_s);
        const DiscoveredDevice device = desk().device(u"cam-a"_s);
        if (!spoiled.isEmpty())
            desk().phones.must(u"cam-a "_s + spoiled);
        QVERIFY(!Outcome(store.pairAndConnect(device, u"123456"_s, isConfirmed)).value());

        QVERIFY2(store.errorMessage()->startsWith(prefix)
                     && store.errorMessage()->contains(message.sliced(prefix.size())),
                 qPrintable(*store.errorMessage()));
        if (message.endsWith(u'.'))
            QCOMPARE(*store.errorMessage(), message);
        QCOMPARE(desk().messages(1), QStringList{u"! "_s + *store.errorMessage()});
        QVERIFY(!store.isBusy());
        QVERIFY(store.library() == library);
        QCOMPARE(desk().libraryText(), text);
        QVERIFY(store.transferSessions() == sessions);
        QCOMPARE(store.selectedTakeID(), selected);
        // Only the first session's connection is left.
        QTRY_COMPARE(desk().phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 1);
    }

    void endsSessions()
    {
        AppStore &store = desk().store();
        const int endsOfA = desk().requests(u"cam-a"_s, u"end"_s);
        const int endsOfB = desk().requests(u"cam-b"_s, u"end"_s);
        QVERIFY(Outcome(ended(store.endTransferSession(u"nobody"_s))).value());
        QVERIFY(Outcome(ended(store.endAllTransferSessions())).value());
        QVERIFY(desk().messages().isEmpty());

        QVERIFY(desk().pair(u"cam-a"_s) && desk().pair(u"cam-b"_s));
        const QString first = store.transferSessions().front().deviceId;
        Outcome ending(ended(store.endTransferSession(first)));
        QCOMPARE(names(store), QStringList{u"cam-b"_s}); // before the phone knows
        QVERIFY(ending.value());
        QCOMPARE(desk().messages().last(), u"Ended secure transfer session with cam-a."_s);
        QCOMPARE(desk().requests(u"cam-a"_s, u"end"_s), endsOfA + 1);

        desk().phones.must(u"cam-a server on"_s); // a phone leaves Transfer Mode with its session
        QVERIFY(desk().pair(u"cam-a"_s));
        desk().phones.must(u"cam-b http end status 500"_s); // concerns nobody any more
        QVERIFY(Outcome(ended(store.endAllTransferSessions())).value());
        QVERIFY(store.transferSessions().empty());
        QCOMPARE(desk().messages().last(), u"Ended all secure transfer sessions."_s);
        QCOMPARE(desk().requests(u"cam-b"_s, u"end"_s), endsOfB + 1);
        QTRY_COMPARE(desk().phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 0);
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
        const auto state = [this] { return desk().phones.transfer(u"cam-a"_s); };
        const auto requested = [&] {
            return desk().requests(u"cam-a"_s, silence.section(u' ', 1, 1));
        };
        const int before = requested();
        const int accepted = state()[u"accepted"_s].toInt();
        desk().phones.must(u"cam-a "_s + silence);
        Outcome pairing(desk().pairing(u"cam-a"_s));
        QTRY_COMPARE(state()[u"accepted"_s].toInt(), accepted + 1);
        const bool isSecure = silence.startsWith(u"http"_s);
        if (isSecure)
            QTRY_COMPARE(requested(), before + 1);
        desk().close();
        // Within the patience of a test, which is less than the limit of the connection.
        if (isSecure)
            QTRY_COMPARE(state()[u"open"_s].toInt(), 0);
        QVERIFY(!pairing.value());
    }

    void mergesIntoWhatTheLibraryHasBecome()
    {
        constexpr int changes = 20;
        Outcome pairing(desk().pairing(u"cam-a"_s));
        int made = 0;
        while (!pairing.isThere()) {
            if (made < changes)
                desk().store().createProject(QString::number(made++));
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        }
        QVERIFY(pairing.value());
        QVERIFY(made > 2);
        QCOMPARE(desk().store().library().projects.size(), std::size_t(made + 2));
        QCOMPARE(AppStore(desk().storage()).library(), desk().store().library());
    }

private:
    [[nodiscard]] PhoneDesk &desk() { return *m_desk; }

    std::optional<PhoneDesk> m_desk;
};

QTEST_GUILESS_MAIN(StorePairingTest)
#include "store_pairing_test.moc"
