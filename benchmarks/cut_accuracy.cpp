// SPDX-License-Identifier: Apache-2.0

// Usage: cut_accuracy TAKE OUT DECISIONS SECONDS
// A show of a take that vorn-rig has made, with its phones: their clocks hours off and fast or slow
// by the limits, a twentieth of what they send lost, the rest late by 1 to 30 ms, one phone that
// starts anew in the middle. A script makes so many decisions while they record, then the take is
// exported into OUT. Prints the package's folder; OUT/decisions.json tells what was decided when,
// by the scene's clock, for vorn-rig cut. Needs the network of scripts/lab.

#include "director/director_session.h"
#include "director/recorded_sessions.h"
#include "live/live_camera_discovery.h"
#include "rig_phones.h"
#include "store/app_store.h"
#include "working.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>
#include <random>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vorn;

namespace {

using Clock = MonotonicClock;

const QStringList cameras{u"cam-a"_s, u"cam-b"_s, u"cam-c"_s, u"cam-d"_s};

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

/// When the scene is at which second.
struct SceneClock {
    double zero = 0; ///< seconds of the monotonic clock
    double rate = 1; ///< scene seconds in a second

    [[nodiscard]] double seconds(Clock::time_point at) const
    {
        return (std::chrono::duration<double>(at.time_since_epoch()).count() - zero) * rate;
    }
};

class Show {
public:
    Show(const QString &take, const QString &out)
        : m_out(out),
          m_phones({.more = {u"--media"_s, take}}),
          m_store(m_folder.path(), m_folder.path())
    {
        require(QDir().mkpath(out), "no folder for the package");
        QCoro::waitFor(m_store.importManifest(take + u"/manifest.json"_s));
        require(m_store.selectedTake(), "the take cannot be imported");
        m_takeId = m_store.selectedTake()->id;
    }

    void disturbThePhones()
    {
        m_phones.must(u"all loss 0.05"_s);
        m_phones.must(u"all delay 1-30"_s);
        // Their drift against the first one is the take's.
        m_phones.must(u"cam-a clock 10800000 400"_s);
        m_phones.must(u"cam-b clock -25200000"_s);
        m_phones.must(u"cam-c clock 86400000"_s);
        m_phones.must(u"cam-d clock -3600000"_s);
        require(workUntil([this] { return m_session.onlineCameras().size() == 4; }),
                "the phones are not seen");
    }

    void film()
    {
        const QJsonObject answer =
            QJsonDocument::fromJson(m_phones.must(u"film 6"_s).toUtf8()).object();
        m_scene = {.zero = answer[u"sceneZeroMonotonicSeconds"_s].toDouble(),
                   .rate = answer[u"sceneSecondsPerSecond"_s].toDouble()};
        m_session.startSession();
        require(m_session.isSessionRunning(), "no session");
    }

    /// At random moments, at least half a second apart; a fade a second.
    void direct(int decisions, double seconds)
    {
        const double slot = seconds / decisions;
        for (int number = 0; number < decisions; ++number) {
            const double second = slot * number + random(0, std::max(0.0, slot - 0.5));
            waitFor(second);
            if (number == decisions / 2)
                m_phones.must(u"cam-c restart"_s);
            decide();
        }
        require(workUntil([&] { return int(m_session.editEvents().size()) == decisions; }),
                "not every decision is kept");
    }

    void exportTake()
    {
        m_store.setSelectedTakeID(m_takeId);
        const QString folder = sessionJournalFolder(m_store.supportDirectory());
        const RecordedSessions all = readRecordedSessions(folder, {});
        const auto sessions = sessionsOf(all.sessions, m_store.library(),
                                         *m_store.selectedProject(), *m_store.selectedTake());
        require(sessions.size() == 1, "the session is not the take's");
        QCoro::waitFor(
            m_store.exportSelectedTake(m_out, [path = sessions[0].path](const VORNTake &take) {
                return cutDecisions(readSessionJournal(path), take);
            }));
        require(!m_store.errorMessage(), qPrintable(m_store.errorMessage().value_or(QString())));
        QFile file(m_out + u"/decisions.json"_s);
        require(file.open(QIODevice::WriteOnly)
                    && file.write(QJsonDocument(m_decisions).toJson()) > 0,
                "the decisions cannot be written");
        for (const ActivityEntry &entry : m_store.activities())
            if (entry.message.startsWith(u"Created Resolve export "_s))
                std::printf("%s/%s\n", qPrintable(m_out),
                            qPrintable(entry.message.section(u' ', 3).chopped(1)));
    }

private:
    double random(double least, double most)
    {
        return std::uniform_real_distribution(least, most)(m_random);
    }

    void waitFor(double second)
    {
        QEventLoop loop;
        const std::chrono::duration<double, std::milli> left(
            (second - m_scene.seconds(Clock::now())) / m_scene.rate * 1000);
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(std::max(left, 0 * left)),
                           Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    }

    void decide()
    {
        const double kind = m_decisions.isEmpty() ? 0 : random(0, 1);
        if (kind > 0.85) {
            note(u"MARK"_s, {});
            m_session.addMarker();
            return;
        }
        const auto &program = m_session.timeline().programCameraID;
        QString next;
        do
            next = cameras[qsizetype(random(0, 4))];
        while (program == next);
        m_session.selectPreview(next);
        require(m_session.canTake(), "the camera cannot be taken");
        const bool isCut = kind < 0.6;
        note(isCut ? u"CUT"_s : u"FADE"_s, next);
        m_session.perform(isCut ? DirectorTransition::cut : DirectorTransition::fade);
    }

    void note(const QString &kind, const QString &camera)
    {
        QJsonObject decision{{u"kind"_s, kind}, {u"sceneSeconds"_s, m_scene.seconds(Clock::now())}};
        if (!camera.isEmpty())
            decision[u"cameraId"_s] = camera;
        m_decisions.append(decision);
    }

    QString m_out;
    QTemporaryDir m_folder;
    RigPhones m_phones;
    AppStore m_store;
    LiveCameraDiscovery m_cameras;
    QSettings m_settings{m_folder.filePath(u"settings.ini"_s), QSettings::IniFormat};
    DirectorSession m_session{m_store, m_cameras, m_settings};
    QString m_takeId;
    SceneClock m_scene;
    QJsonArray m_decisions;
    std::mt19937 m_random{1};
};

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (words.size() != 5) {
        std::fprintf(stderr, "Usage: cut_accuracy TAKE OUT DECISIONS SECONDS\n");
        return 2;
    }
    try {
        Show show(words[1], words[2]);
        show.disturbThePhones();
        show.film();
        show.direct(words[3].toInt(), words[4].toDouble());
        show.exportTake();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
