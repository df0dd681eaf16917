// SPDX-License-Identifier: Apache-2.0

// The sheet that pairs with phones, on the lab's network.

#include "phones_side.h"
#include "rig_phones.h"
#include "window_probe.h"

#include <QApplication>
#include <QClipboard>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const auto scanning = u"Scanning for authenticated VORN transfer…"_s;
const auto pairButton = u"Pair & Load Projects"_s;
const auto toggle = u"This 128-bit fingerprint matches the fingerprint shown on the phone"_s;
const auto codeField = u"Six-digit code from phone"_s;

rig::ServiceText soundText(char fingerprint)
{
    return {{u"sessionId"_s, "s"},
            {u"deviceId"_s, "9b2f3f5e-7c0e-4a3f-9d5c-2a1f6d1b7e10"},
            {u"fp"_s, QByteArray(64, fingerprint)},
            {u"scheme"_s, "https"},
            {u"foreground"_s, "1"}};
}

/// The Library window with the sheet open.
class SheetProbe : public WindowProbe {
public:
    SheetProbe() { open(); }

    void open()
    {
        press(Qt::Key_K, Qt::ControlModifier);
        QTRY_COMPARE(focusName(), u"Scan Again"_s);
    }
    [[nodiscard]] SecureConnectViewModel &sheet() { return *view().connection(); }
    [[nodiscard]] bool canPair() { return named(pairButton)->isEnabled(); }
    [[nodiscard]] QString codeText() { return named(codeField)->property("text").toString(); }
    [[nodiscard]] int buttonsWith(const QString &description) const
    {
        return int(
            std::ranges::count(visibleItems(window()->contentItem()), description, descriptionOf));
    }
    /// A phone that films bears its name too, until the first phone that shares is listed.
    void awaitRow(const QString &name)
    {
        const auto isListed = [this, &name] {
            QQuickItem *row = named(name);
            return row && descriptionOf(row) == u"HTTPS • foreground only"_s;
        };
        QTRY_VERIFY2_WITH_TIMEOUT(isListed(), qPrintable(name), limitMs);
    }
    /// Chooses, compares and types, as the phone shows it.
    void fillIn(const QString &row, const QString &code)
    {
        click(named(row));
        QTRY_VERIFY(shows(toggle));
        click(named(toggle));
        click(named(codeField));
        type(code);
    }
};

} // namespace

class ConnectSheetTest : public WindowTest {
    Q_OBJECT
private Q_SLOTS:
    void init() { m_phones.must(u"all reset"_s); }

    void waitsForSomebody()
    {
        m_phones.must(u"all sleep"_s);
        SheetProbe probe;
        QTRY_VERIFY_WITH_TIMEOUT(!probe.sheet().hasCameras(), limitMs);
        QVERIFY(probe.shows(scanning));
        QVERIFY(probe.shows(u"Keep VORN open on the same trusted Wi-Fi network."_s));
        QVERIFY(probe.shows(u"CAMERAS IN TRANSFER MODE"_s));
        QVERIFY(!probe.shows(u"ACTIVE SESSIONS"_s));
        QVERIFY(probe.shows(u"Phone originals are never deleted"_s));
        QVERIFY(!probe.canPair());
        QCOMPARE(descriptionOf(probe.named(pairButton)), u"Choose a camera in Transfer Mode."_s);

        // A camera of the older kind is not for pairing.
        PhonesSide others;
        others.announce(u"Old camera"_s, legacy, 20, 8443, {{u"catalog"_s, "list"}});
        others.announce(u"New camera"_s, transfer, 21, 8443, soundText('a'));
        probe.awaitRow(u"New camera"_s);
        QVERIFY(!probe.shows(u"Old camera"_s));
        probe.click(probe.named(u"Scan Again"_s));
        QVERIFY(!probe.sheet().hasDevices()); // starts clean
        probe.awaitRow(u"New camera"_s);
        others.withdraw(u"New camera"_s, transfer);
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(scanning), limitMs);

        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(scanning));
    }

    void offersFourCamerasThatFilm()
    {
        m_phones.must(u"cam-a set role \"dIrEcToR\""_s);
        m_phones.must(u"cam-b record take-1"_s);
        SheetProbe probe;
        const auto ask = u"Ask to share files"_s;
        QTRY_COMPARE_WITH_TIMEOUT(probe.buttonsWith(ask) + probe.buttonsWith(u"It is recording."_s),
                                  4, limitMs);
        QTRY_COMPARE_WITH_TIMEOUT(probe.buttonsWith(u"It is recording."_s), 1, limitMs);
        QVERIFY(!probe.shows(u"Mara's phone"_s));
        QVERIFY(!probe.named(u"Jonas's phone"_s)->isEnabled());
        QVERIFY(probe.shows(u"Choose a live camera and approve the request on that device."_s));
        m_phones.must(u"cam-b record off"_s);
        QTRY_VERIFY_WITH_TIMEOUT(probe.named(u"Jonas's phone"_s)->isEnabled(), limitMs);
    }

    void followsARequest()
    {
        SheetProbe probe;
        QTRY_COMPARE_WITH_TIMEOUT(probe.buttonsWith(u"Ask to share files"_s), 4, limitMs);
        probe.click(probe.named(u"Ada's phone"_s));
        awaitTheQuestion();
        QVERIFY(!probe.sheet().requestText().isEmpty() && !probe.sheet().hasRequestFailed());
        QVERIFY(probe.shows(probe.sheet().requestText()));
        m_phones.must(u"cam-c decline <b>Not now</b>"_s);
        QTRY_VERIFY_WITH_TIMEOUT(probe.sheet().hasRequestFailed(), limitMs);
        QTRY_VERIFY(probe.shows(probe.sheet().requestText()));
        QVERIFY(probe.sheet().requestText().contains(u"<b>Not now</b>"_s)); // as plain text

        probe.click(probe.named(u"Ada's phone"_s));
        awaitTheQuestion();
        m_phones.must(u"cam-c approve"_s);
        QTRY_VERIFY_WITH_TIMEOUT(probe.sheet().hasDevices(), limitMs);
        QTRY_VERIFY(!probe.shows(scanning));
        QCOMPARE(probe.buttonsWith(u"HTTPS • foreground only"_s), 1);
        QCOMPARE(probe.buttonsWith(u"Ask to share files"_s), 0);
        QVERIFY(probe.sheet().requestText().isEmpty());
    }

    void asksAnotherPhone()
    {
        const auto ask = u"Ask to share files"_s;
        const auto another = u"Ask another phone…"_s;
        SheetProbe probe;
        QVERIFY(!probe.shows(another));
        m_phones.must(u"cam-a server on"_s);
        m_phones.must(u"cam-b set name \"Mara's phone\""_s); // the first one's name
        probe.awaitRow(u"Mara's phone"_s);
        probe.fillIn(u"Mara's phone"_s, u"123456"_s);
        const QString fingerprint = probe.sheet().fingerprint();
        QCOMPARE(probe.buttonsWith(ask), 0);

        // More than four, and not the one that is listed.
        probe.click(probe.named(another));
        QTRY_COMPARE_WITH_TIMEOUT(probe.buttonsWith(ask), 5, limitMs);
        QCOMPARE(probe.focusName(), u"Ada's phone"_s);
        QVERIFY(probe.sheet().requestText().isEmpty());
        probe.press(Qt::Key_Return);
        awaitTheQuestion();
        QTRY_VERIFY(probe.sheet().requestText().contains(u"Ada's phone"_s));
        QTRY_VERIFY(probe.shows(probe.sheet().requestText()));
        m_phones.must(u"cam-c approve"_s);
        QTRY_COMPARE_WITH_TIMEOUT(probe.buttonsWith(u"HTTPS • foreground only"_s), 2, limitMs);
        QTRY_COMPARE(probe.buttonsWith(ask), 4);
        QTRY_COMPARE(probe.focusName(), another);
        QVERIFY(probe.sheet().requestText().isEmpty());
        // What was typed for the first one is there still.
        QCOMPARE(probe.sheet().fingerprint(), fingerprint);
        QVERIFY(probe.canPair());

        probe.press(Qt::Key_Space);
        QTRY_COMPARE(probe.buttonsWith(ask), 0);
        QCOMPARE(probe.focusName(), another);
        m_phones.must(u"all sleep"_s);
        QTRY_COMPARE_WITH_TIMEOUT(descriptionOf(probe.named(another)),
                                  u"All phones with an open camera are listed."_s, limitMs);
    }

    void aChoiceHoldsForWhatWasChosen()
    {
        m_phones.must(u"cam-a server on"_s);
        m_phones.must(u"cam-b server on"_s);
        SheetProbe probe;
        probe.awaitRow(u"Mara's phone"_s);
        probe.awaitRow(u"Jonas's phone"_s);
        probe.click(probe.named(u"Mara's phone"_s));
        const QString shown = m_phones.transfer(u"cam-a"_s)[u"shownFingerprint"_s].toString();
        QCOMPARE(probe.sheet().fingerprint().simplified(), shown.simplified());
        QTRY_VERIFY(probe.shows(probe.sheet().fingerprint()));
        QVERIFY(probe.shows(u"Fingerprint of Mara's phone"_s));
        QCOMPARE(descriptionOf(probe.named(pairButton)),
                 u"Compare the fingerprint with the phone's and confirm it."_s);
        probe.click(probe.named(toggle));
        QVERIFY(!probe.canPair());

        probe.click(probe.named(codeField));
        QGuiApplication::clipboard()->setText(u"12-34 56 789"_s);
        probe.press(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(probe.codeText(), u"123456"_s);
        QVERIFY(probe.canPair());
        probe.press(Qt::Key_Backspace);
        QVERIFY(!probe.canPair());
        probe.type(u"x6"_s);
        QCOMPARE(probe.codeText(), u"123456"_s);

        // It outlives the sheet, and ends with another choice.
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(pairButton));
        probe.open();
        QVERIFY(probe.canPair());
        QCOMPARE(probe.codeText(), u"123456"_s);
        probe.click(probe.named(u"Jonas's phone"_s));
        QCOMPARE(probe.codeText(), QString());
        QVERIFY(!probe.canPair() && !probe.sheet().isFingerprintConfirmed());

        // A phone that begins anew shows another fingerprint, and is another.
        m_phones.must(u"cam-b server on"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!probe.sheet().hasSelection(), limitMs);
        QTRY_VERIFY(!probe.shows(toggle));
        QVERIFY(!probe.canPair());
    }

    void pairsByTheKeyboardAlone()
    {
        m_phones.must(u"cam-a server on"_s);
        m_phones.must(u"cam-a code 246813"_s);
        SheetProbe probe;
        probe.awaitRow(u"Mara's phone"_s);
        const auto tab = [&] { probe.press(Qt::Key_Tab); };
        tab();
        probe.press(Qt::Key_Space);
        QTRY_VERIFY(probe.shows(toggle));
        tab();
        tab();
        probe.press(Qt::Key_Space);
        tab();
        probe.type(u"999999"_s);

        // A wrong code is said, and can be mended in place.
        probe.press(Qt::Key_Return);
        QTRY_VERIFY(probe.view().hasError());
        QVERIFY(probe.view().errorMessage().endsWith(u"Transfer server returned HTTP 403."_s));
        QTRY_VERIFY(probe.shows(probe.view().errorMessage()));
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.view().hasError());
        QVERIFY(probe.canPair());
        QCOMPARE(probe.codeText(), u"999999"_s);
        QTRY_COMPARE(probe.focusName(), codeField);
        for (int i = 0; i < 6; ++i)
            probe.press(Qt::Key_Backspace);
        probe.type(u"246813"_s);
        probe.press(Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(!probe.shows(pairButton), limitMs); // closes by itself
        QCOMPARE(probe.store().transferSessions().size(), 1U);
        QCOMPARE(probe.store().library().projects.size(), 1U);

        // The session is listed, and is gone from the list before the phone has heard of it.
        m_phones.must(u"cam-a http end body silent"_s);
        probe.open();
        QVERIFY(probe.shows(u"ACTIVE SESSIONS"_s));
        QCOMPARE(probe.codeText(), QString());
        probe.press(Qt::Key_Tab);
        QCOMPARE(probe.focusName(), u"End"_s);
        probe.press(Qt::Key_Space);
        QTRY_VERIFY(!probe.shows(u"ACTIVE SESSIONS"_s));
    }

    void waitsForARunningPairing()
    {
        m_phones.must(u"cam-a server on"_s);
        m_phones.must(u"cam-a code 246813"_s);
        m_phones.must(u"cam-a http pair body hang 5"_s);
        SheetProbe probe;
        probe.awaitRow(u"Mara's phone"_s);
        probe.fillIn(u"Mara's phone"_s, u"246813"_s);
        const auto asked = [this] {
            return m_phones.transfer(u"cam-a"_s)[u"requestsByRoute"_s][u"pair"_s].toInt();
        };
        const int before = asked();
        probe.click(probe.named(pairButton));
        QTRY_COMPARE(asked(), before + 1);
        QVERIFY(!probe.canPair());
        QCOMPARE(descriptionOf(probe.named(pairButton)), u"Another operation is running."_s);
        // Closing the sheet changes nothing.
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(pairButton));
        QVERIFY(probe.store().isBusy());
        m_phones.must(u"cam-a hang-up"_s);
        QTRY_VERIFY(!probe.store().isBusy());
        QVERIFY(probe.view().hasError());
        QVERIFY(probe.store().transferSessions().empty());
    }

    void showsStrangeAnnouncementsAsTheyAre()
    {
        m_phones.must(u"all sleep"_s);
        PhonesSide others;
        others.announce(u"<b>Bold</b> & co"_s, transfer, 11, 8441, soundText('a'));
        others.announce(u"Right\u202Ephone"_s, transfer, 12, 8442, soundText('b'));
        others.announce(u"📱 كاميرا"_s, transfer, 13, 8443, soundText('c'));
        others.announce(u"Incomplete"_s, transfer, 14, 8444, {});
        SheetProbe probe;
        probe.awaitRow(u"<b>Bold</b> & co"_s);
        probe.awaitRow(u"📱 كاميرا"_s);
        QTRY_COMPARE_WITH_TIMEOUT(probe.buttonsWith(u"HTTPS • foreground only"_s), 3, limitMs);
        QVERIFY(!probe.shows(u"Right\u202Ephone"_s)); // the mark is made visible
        QTRY_COMPARE_WITH_TIMEOUT(descriptionOf(probe.named(u"Incomplete"_s)),
                                  u"Incomplete secure-transfer advertisement"_s, limitMs);
        QVERIFY(!probe.named(u"Incomplete"_s)->isEnabled());
        probe.click(probe.named(u"<b>Bold</b> & co"_s));
        QTRY_VERIFY(probe.shows(u"Fingerprint of <b>Bold</b> & co"_s));
        int labels = 0;
        for (QQuickItem *item : visibleItems(probe.window()->contentItem()))
            if (item->property("text").toString().contains(u"Bold"_s)
                && item->inherits("QQuickText")) {
                ++labels;
                QCOMPARE(item->property("textFormat").toInt(), int(Qt::PlainText));
            }
        QCOMPARE(labels, 2);
    }

private:
    /// Ada's phone asks whoever holds it.
    void awaitTheQuestion()
    {
        QTRY_VERIFY_WITH_TIMEOUT(m_phones.phone(u"cam-c"_s)[u"isTransferWaiting"_s].toBool(),
                                 limitMs);
    }

    RigPhones m_phones{{.count = 6, .transfer = u"ask"_s, .clips = 2}};
};

QTEST_MAIN(ConnectSheetTest)
#include "connect_sheet_test.moc"
