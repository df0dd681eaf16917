// SPDX-License-Identifier: Apache-2.0

// Phones that film: what their statuses say against the take that they are to record.

#include "base/monotonic_clock.h"
#include "rig/phone/phones.h"
#include "support.h"

#include <QGuiApplication>
#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

#include <cmath>
#include <map>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

namespace {

// cam-c has no part in it.
constexpr auto truthText = R"({
    "schemaVersion": 1, "takeId": "take-0007", "referenceCameraId": "cam-a", "cameras": [
    {"cameraId": "cam-a", "offsetSeconds": 0, "driftPPM": 0, "rate": "30", "frames": 60},
    {"cameraId": "cam-b", "offsetSeconds": -0.8, "driftPPM": -8000, "rate": "30", "frames": 75}]})";

struct Heard {
    double at = 0; ///< by this computer's clock
    double sentMs = 0;
    QString sessionId;
    QString takeId;
    qint64 recordingSinceMs = 0;
};

double monotonicSeconds()
{
    return std::chrono::duration<double>(MonotonicClock::now().time_since_epoch()).count();
}

/// How far the phone's clock is before what this clock shows at the same moment. What arrived late
/// tells less than it is, so the most of some statuses is the truth.
template <class Clock> double mostAheadMs(std::span<const Heard> heard, const Clock &clockMs)
{
    double most = -1e9;
    for (const Heard &status : heard)
        most = std::max(most, status.sentMs - clockMs(status.at));
    return most;
}

} // namespace

class FilmTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void recordsTheTakeOfItsMovies()
    {
        const QTemporaryDir take;
        writePlain(take.filePath(u"truth.json"_s), truthText);
        writePlain(take.filePath(u"manifest.json"_s), R"({"takeId": "take-0007"})");
        QUdpSocket desktop;
        QVERIFY(desktop.bind(QHostAddress::LocalHost));
        connect(&desktop, &QUdpSocket::readyRead, this, [&] { hear(desktop); });
        PhonesOptions options;
        options.count = 3;
        options.address = QHostAddress(u"127.0.0.2"_s);
        options.port = options.previewPort = 0;
        options.desktop = Endpoint{desktop.localAddress(), desktop.localPort()};
        options.media.folder = take.path();
        Phones phones(options);
        for (const QString &line :
             {u"all interval 20"_s, u"cam-a clock 3600000 2000"_s, u"cam-b clock -7200000 -1500"_s,
              u"cam-b clock -7200000"_s, u"cam-c clock 5"_s})
            QCOMPARE(phones.command(line), u"ok"_s);
        QCOMPARE(phones.command(u"film 0.8"_s),
                 u"error cam-b begins 0.8 seconds before the scene's second 0"_s);
        QCOMPARE(phones.command(u"cam-a clock 0 2001"_s),
                 u"error parts per million from -2000 to 2000 are wanted"_s);
        m_heard.clear();
        QTRY_VERIFY_WITH_TIMEOUT(m_heard[u"cam-c"_s].size() >= 20, 30'000);

        const double filmedAt = monotonicSeconds();
        const QString answer = phones.command(u"film 1.5"_s);
        const QJsonObject scene = QJsonDocument::fromJson(answer.sliced(3).toUtf8()).object();
        const double zero = scene[u"sceneZeroMonotonicSeconds"_s].toDouble();
        const double pace = scene[u"sceneSecondsPerSecond"_s].toDouble();
        QCOMPARE(pace, 1.002);
        QVERIFY(std::abs(zero - filmedAt - 1.5) < 0.5);
        QTRY_VERIFY_WITH_TIMEOUT(isRecording(u"cam-b"_s), 30'000);
        QCOMPARE(phones.command(u"cam-b restart"_s), u"ok"_s);
        QCOMPARE(phones.command(u"cam-b clock 0 10"_s),
                 u"error while it films, its clock runs as its movie does"_s);
        QTRY_VERIFY_WITH_TIMEOUT(isRecording(u"cam-a"_s), 30'000);
        QTRY_VERIFY_WITH_TIMEOUT(!isRecording(u"cam-a"_s) && !isRecording(u"cam-b"_s), 30'000);

        const double endOfB = -0.8 + 0.992 * 2.5;
        verifyPhone(u"cam-a"_s, filmedAt, 1.002, 1.002, zero, zero + 2 / pace);
        verifyPhone(u"cam-b"_s, filmedAt, 0.9985, 1.002 / 0.992, zero - 0.8 / pace,
                    zero + endOfB / pace);
        QVERIFY(m_heard[u"cam-b"_s].front().sessionId != m_heard[u"cam-b"_s].back().sessionId);
        for (const Heard &status : m_heard[u"cam-c"_s])
            QVERIFY(status.takeId.isEmpty());

        QCOMPARE(phones.command(u"film 0.9"_s).first(3), u"ok "_s);
        QTRY_VERIFY_WITH_TIMEOUT(isRecording(u"cam-b"_s), 30'000);
        QCOMPARE(phones.command(u"cam-b reset"_s), u"ok"_s);
        QCOMPARE(phones.command(u"cam-b interval 20"_s), u"ok"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!isRecording(u"cam-b"_s), 30'000);
    }

private:
    void hear(QUdpSocket &desktop)
    {
        while (desktop.hasPendingDatagrams()) {
            const QJsonObject status =
                QJsonDocument::fromJson(desktop.receiveDatagram().data()).object();
            const QJsonValue payload = status[u"payload"_s];
            QCOMPARE(payload[u"recording"_s].toBool(), payload[u"takeId"_s] != QString());
            m_heard[status[u"sender"_s].toString()].push_back(
                {monotonicSeconds(), status[u"sentMs"_s].toDouble(),
                 status[u"sessionId"_s].toString(), payload[u"takeId"_s].toString(),
                 payload[u"recordingSinceMs"_s].toInteger()});
        }
    }

    [[nodiscard]] bool isRecording(const QString &cameraId)
    {
        return m_heard[cameraId].back().takeId == u"take-0007";
    }

    void verifyPhone(const QString &cameraId, double filmedAt, double rateBefore, double rateAfter,
                     double begin, double end)
    {
        const std::vector<Heard> &heard = m_heard[cameraId];
        const auto after = std::ranges::find_if(
            heard, [&](const Heard &status) { return status.at > filmedAt + 0.1; });
        const std::span before(heard.begin(), after);
        // The clock by the statuses before: whole milliseconds, so half of one more.
        const double atFilm = 0.5 + mostAheadMs(before, [&](double at) {
                                  return (at - filmedAt) * rateBefore * 1000;
                              });
        const auto clockMs = [&](double at) {
            return atFilm + (at - filmedAt) * (at < filmedAt ? rateBefore : rateAfter) * 1000;
        };
        // Neither a step nor another rate: 2,000 ppm are 6 ms after 3 s.
        const std::size_t last = std::min<std::size_t>(heard.size(), 20);
        const double first = mostAheadMs(std::span(after, heard.end()).first(20), clockMs);
        const double later = mostAheadMs(std::span(heard).last(last), clockMs);
        QVERIFY2(std::abs(first) < 3, qPrintable(QString::number(first)));
        QVERIFY2(std::abs(later) < 3, qPrintable(QString::number(later)));
        for (const Heard &status : heard) {
            // What is on the way while it begins or ends may say either.
            if (!status.takeId.isEmpty()) {
                QCOMPARE(status.takeId, u"take-0007"_s);
                QVERIFY(std::abs(double(status.recordingSinceMs) - clockMs(begin)) < 3);
                QVERIFY(clockMs(begin) - 3 < status.sentMs && status.sentMs < clockMs(end) + 3);
            } else {
                QVERIFY(status.sentMs < clockMs(begin) + 3 || clockMs(end) - 3 < status.sentMs);
            }
        }
    }

    std::map<QString, std::vector<Heard>> m_heard;
};

QTEST_MAIN(FilmTest)
#include "film_test.moc"
