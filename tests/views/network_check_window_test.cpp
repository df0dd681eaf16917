// SPDX-License-Identifier: Apache-2.0

// The window that tells why no camera is seen, on the lab's network.

#include "lab_phones.h"
#include "live/ports.h"
#include "net/ipv4_socket.h"
#include "phones_side.h"
#include "window_probe.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QtTest>

#include <netinet/in.h>
#include <sys/socket.h>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

/// Another program's socket, which shares the port with nobody.
FileDescriptor takenStatusPort()
{
    FileDescriptor taken = openUdpSocket();
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(statusPort);
    return ::bind(taken.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0
               ? std::move(taken)
               : FileDescriptor();
}

} // namespace

class NetworkCheckWindowTest : public WindowTest {
    Q_OBJECT
private Q_SLOTS:
    void tellsWhyNothingIsSeenAndGoesOnMeasuring()
    {
        FileDescriptor taken = takenStatusPort();
        QVERIFY(taken.isOpen());
        Desk desk;
        desk.windows.showDirector();
        WindowHands hands(u"VORN Director"_s);
        // Not before ten seconds of silence.
        QVERIFY(hands.shows(u"Scan Again"_s));
        QVERIFY(!hands.shows(u"Check network"_s));
        QTRY_VERIFY_WITH_TIMEOUT(hands.shows(u"Check network"_s), limitMs);
        QVERIFY(desk.cameras.livenessTick() >= 10);
        hands.click(hands.named(u"Check network"_s));

        hands.takeUp(u"Check network"_s);
        const auto tells = [&hands](const QString &part) {
            return !hands.spokenRows(u"Findings"_s).filter(part).isEmpty();
        };
        QTRY_VERIFY_WITH_TIMEOUT(tells(u"Port 45454: UDP port 45454 is unavailable."_s), limitMs);
        QVERIFY(tells(u"Network lab0: 10.77.0.1/24"_s));

        // The port is free again, and a phone is heard that nobody can reach: what comes back from
        // there is lost, as an access point that keeps its guests apart has it.
        taken = {};
        QTRY_VERIFY_WITH_TIMEOUT(tells(u"Port 45454: Open"_s), limitMs);
        const FileDescriptor phone = phoneSocket(u"10.77.0.11"_s);
        ipBeyond(u"route add blackhole 10.77.0.1/32"_s);
        QByteArray text = status(u"a"_s, 1);
        text.replace(R"("payload":{)", R"("payload":{"name":"Mara <b>phone</b>",)");
        const auto isTold = [&] {
            sendToGroup(phone, text);
            return tells(
                u"Previews: Mara <b>phone</b> (10.77.0.11) is heard but cannot be reached."_s);
        };
        QTRY_VERIFY_WITH_TIMEOUT(isTold(), limitMs);
        ipBeyond(u"route del blackhole 10.77.0.1/32"_s);

        hands.click(hands.named(u"Copy report"_s));
        const QString report = QGuiApplication::clipboard()->text();
        QVERIFY2(report.contains(u"\nok  Port 45454: Open"), qPrintable(report));
        QVERIFY2(report.contains(u"!!  Previews: 10.77.0.11 is heard but cannot"),
                 qPrintable(report));
        QVERIFY2(!report.contains(u"Mara"), qPrintable(report));
        hands.press(Qt::Key_Escape);
        QTRY_VERIFY(!shownWindow(u"Check network"_s));
    }
};

QTEST_MAIN(NetworkCheckWindowTest)
#include "network_check_window_test.moc"
