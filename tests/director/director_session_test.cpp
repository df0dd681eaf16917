// SPDX-License-Identifier: Apache-2.0

// The Director's desk over the lab's network, with phones that come and go.

#include "director/director_session.h"
#include "live/live_camera_discovery.h"
#include "rig_phones.h"
#include "store/app_store.h"
#include "support.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int limitMs = 60'000;

constexpr auto cut = DirectorTransition::cut;
constexpr auto fade = DirectorTransition::fade;

QStringList messages(const AppStore &store)
{
    QStringList texts;
    for (const ActivityEntry &entry : store.activities())
        texts.prepend((entry.isError ? u"! "_s : QString()) + entry.message);
    return texts;
}

QString wallOf(const DirectorSession &session)
{
    QStringList ids;
    for (const LiveCamera *camera : session.cameraWallCameras())
        ids << camera->id;
    return ids.join(u' ');
}

QString channelsOf(const DirectorSession &session)
{
    QStringList names;
    for (const AudioChannelState &channel : session.audioChannels())
        names << channel.name;
    return names.join(u", ");
}

/// Decides as fast as it can, and prints the identity of each event once it is listed.
int decide(const QString &folder)
{
    AppStore store(folder);
    QSettings settings(folder + u"/settings.ini"_s, QSettings::IniFormat);
    LiveCameraDiscovery discovery;
    DirectorSession session(store, discovery, settings);
    store.createProject(u"Night"_s);
    std::size_t printed = 0;
    const auto goOn = [&] {
        const auto edits = session.editEvents();
        for (; printed < edits.size(); ++printed)
            std::printf("%s\n", qPrintable(edits[printed].id.toString()));
        std::fflush(stdout);
        session.canTake() ? session.perform(cut) : session.addMarker();
    };
    QObject::connect(&session, &DirectorSession::editsChanged, &session, goOn,
                     Qt::QueuedConnection);
    QObject::connect(&session, &DirectorSession::camerasChanged, &session, [&] {
        if (session.isSessionRunning() || session.onlineCameras().size() < 2)
            return;
        session.startSession();
        session.perform(cut);
        session.selectPreview(session.onlineCameras().at(1)->id);
        session.addMarker();
    });
    return QCoreApplication::exec();
}

} // namespace

class DirectorSessionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab"); }

    void init()
    {
        QVERIFY(m_folder.emplace().isValid());
        m_store.emplace(m_folder->path());
        m_settings.emplace(m_folder->filePath(u"settings.ini"_s), QSettings::IniFormat);
    }

    void startsOnlyWithAProjectAndATake()
    {
        LiveCameraDiscovery discovery;
        DirectorSession session(*m_store, discovery, *m_settings);
        static const QRegularExpression takeForm(u"^take-\\d{8}-\\d{6}$"_s);
        QVERIFY(takeForm.match(session.plannedTakeID()).hasMatch());
        QSignalSpy canStart(&session, &DirectorSession::canStartSessionChanged);
        session.startSession();
        QVERIFY(!session.canStartSession() && !session.isSessionRunning());
        m_store->createProject(u"Night"_s);
        QVERIFY(session.canStartSession());
        session.setPlannedTakeID(u" \n"_s);
        QVERIFY(!session.canStartSession());
        session.startSession();
        session.setPlannedTakeID(u"night-1"_s);
        session.setPlannedTakeID(u"night-2"_s);
        QCOMPARE(canStart.count(), 3);

        // A take that was prepared under another name of the project.
        session.setPlannedTakeID(u"night-1"_s);
        QVERIFY(m_store->prepareDirectorTake(u"night-1"_s));
        m_store->renameSelectedProject(u"Day"_s);
        session.startSession();
        QVERIFY(!session.isSessionRunning() && session.canStartSession());
        QCOMPARE(text(session.planState()), u"IDLE"_s);
        QCOMPARE(messages(*m_store),
                 (QStringList{u"Created project Night."_s,
                              u"Prepared take night-1 for Night revision 1."_s,
                              u"Renamed project to Day."_s,
                              u"! Take night-1 is frozen to a different project revision."_s}));
        QVERIFY(session.timeline() == LiveEditTimeline());
    }

    void remembersThePolicy()
    {
        LiveCameraDiscovery discovery;
        const auto stored = [&] {
            return DirectorSession(*m_store, discovery, *m_settings).previewNetworkPolicy();
        };
        QCOMPARE(stored(), VORNPreviewNetworkPolicy::automatic);
        {
            DirectorSession session(*m_store, discovery, *m_settings);
            QSignalSpy changed(&session, &DirectorSession::previewNetworkPolicyChanged);
            session.setPreviewNetworkPolicy(VORNPreviewNetworkPolicy::performance5GHz);
            session.setPreviewNetworkPolicy(VORNPreviewNetworkPolicy::performance5GHz);
            QCOMPARE(changed.count(), 1);
            QCOMPARE(session.effectivePreviewPolicy(), VORNPreviewNetworkPolicy::performance5GHz);
        }
        QCOMPARE(stored(), VORNPreviewNetworkPolicy::performance5GHz);
        QCOMPARE(m_settings->value(u"director.previewNetworkPolicy"_s).toString(),
                 u"performance5GHz"_s);
        m_settings->setValue(u"director.previewNetworkPolicy"_s, u"fastest"_s);
        QCOMPARE(stored(), VORNPreviewNetworkPolicy::automatic);
    }

    void logsAShow()
    {
        RigPhones phones;
        // Two hours ahead of us, and recording.
        phones.must(u"cam-a clock 7200000"_s);
        QElapsedTimer sinceAsked;
        sinceAsked.start();
        phones.must(u"cam-a record tape-1"_s);
        QElapsedTimer sinceRecording;
        sinceRecording.start();
        std::chrono::seconds ahead{};
        LiveCameraDiscovery discovery(
            nullptr, 10s, [&ahead] { return std::chrono::system_clock::now() + ahead; });
        QTRY_COMPARE_WITH_TIMEOUT(discovery.cameras().size(), 4U, limitMs);
        m_store->createProject(u"Night"_s);
        DirectorSession session(*m_store, discovery, *m_settings);
        session.setPlannedTakeID(u"night-1"_s);
        QSignalSpy timelineChanged(&session, &DirectorSession::timelineChanged);

        // Ada, Jonas, Mara, Tarek.
        QCOMPARE(wallOf(session), u"cam-c cam-b cam-a cam-d"_s);
        QCOMPARE(channelsOf(session), u"Ada's phone, Jonas's phone, Mara's phone, Tarek's phone"_s);
        QCOMPARE(session.timeline().previewCameraID, u"cam-c"_s);
        session.perform(cut);
        session.addMarker();
        session.startSession();
        QCOMPARE(text(session.planState()), u"READY"_s);
        QVERIFY(session.canTake() && !session.canStartSession());
        session.perform(cut);
        session.perform(cut);
        QVERIFY(!session.canTake()); // Preview is empty now, and stays so
        QSignalSpy camerasChanged(&session, &DirectorSession::camerasChanged);
        QTRY_VERIFY_WITH_TIMEOUT(camerasChanged.count() >= 5, limitMs);
        QVERIFY(!session.timeline().previewCameraID);
        phones.must(u"storm 1 20"_s); // until a fifth phone joins
        QTRY_COMPARE_WITH_TIMEOUT(session.timeline().previewCameraID, u"cam-c"_s, limitMs);
        QVERIFY(!session.canTake()); // on Program already
        QCOMPARE(wallOf(session), u"cam-c cam-b cam-a storm-001 cam-d"_s);
        QCOMPARE(channelsOf(session),
                 u"Ada's phone, Jonas's phone, Mara's phone, storm-001, Tarek's phone"_s);
        session.selectPreview(u"cam-a"_s);
        session.selectPreview(u"cam-a"_s);
        QVERIFY(session.cameraIsRecording(u"cam-a"_s) && !session.cameraIsRecording(u"cam-c"_s));
        session.setFadeDuration(1.5);
        const double shortest = double(sinceRecording.elapsed()) / 1000;
        session.perform(fade);
        const double longest = double(sinceAsked.elapsed()) / 1000;
        session.addMarker();
        QCOMPARE(session.inspectorTab(), DirectorInspectorTab::edits);
        QCOMPARE(timelineChanged.count(), 5);

        phones.must(u"cam-c sleep"_s);
        ahead += 5s; // who goes on is heard again at once
        QTRY_COMPARE_WITH_TIMEOUT(session.cameraName(u"cam-c"_s), u"Ada's phone • OFFLINE"_s,
                                  limitMs);
        QCOMPARE(session.timeline().previewCameraID, u"cam-c"_s);
        QVERIFY(!session.canTake());
        session.perform(cut);
        QTRY_COMPARE_WITH_TIMEOUT(wallOf(session), u"cam-b cam-a storm-001 cam-d cam-c"_s, limitMs);
        QCOMPARE(session.onlineCameras().size(), 4U);
        phones.must(u"cam-c wake"_s);
        QTRY_VERIFY_WITH_TIMEOUT(session.canTake(), limitMs);
        session.perform(cut);

        phones.must(uR"(cam-b set role "director")"_s);
        QTRY_COMPARE_WITH_TIMEOUT(wallOf(session), u"cam-c cam-a storm-001 cam-d"_s, limitMs);
        QCOMPARE(channelsOf(session), u"Ada's phone, Mara's phone, storm-001, Tarek's phone"_s);

        // The show is over, and the phones are switched off.
        phones.must(u"storm 0"_s);
        phones.must(u"all sleep"_s);
        const auto isForgotten = [&] {
            ahead += 1s; // by steps: a status may still be on its way
            return wallOf(session).isEmpty();
        };
        QTRY_VERIFY_WITH_TIMEOUT(isForgotten(), limitMs);
        QCOMPARE(session.cameraName(u"cam-c"_s), u"cam-c"_s);
        QVERIFY(session.audioChannels().empty() && !session.selectedCamera());
        static const QRegularExpression log(u"^Time\tEdit\tCamera or label\n"
                                            "\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\tCUT\tAda's phone\n"
                                            "\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\tFADE\tMara's phone\n"
                                            "\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\tMARK\tEdit marker\n"
                                            "\\d\\d:\\d\\d:\\d\\d\\.\\d{3}\tCUT\tAda's phone\n$"_s);
        QTRY_COMPARE_WITH_TIMEOUT(session.editEvents().size(), 4U, limitMs);
        QVERIFY2(log.match(session.editLog()).hasMatch(), qPrintable(session.editLog()));
        const auto edits = session.editEvents();
        QCOMPARE(edits[1].durationSeconds, 1.5);
        QCOMPARE(edits[1].fromCameraID, u"cam-c"_s);
        QVERIFY(edits[3].elapsedSeconds > 5 && edits[3].elapsedSeconds < 120);
        const SessionJournal journal = readSessionJournal(journals().at(0));
        std::vector<DirectorEditEvent> kept;
        std::ranges::transform(journal.entries, std::back_inserter(kept), &JournalEntry::event);
        QCOMPARE(kept, session.timeline().events);
        QCOMPARE(journal.head.plannedTakeID, u"night-1"_s);
        QCOMPARE(journal.head.projectName, u"Night"_s);
        const std::vector<JournalCamera> &recording = journal.entries.at(2).cameras;
        QCOMPARE(recording.size(), 1U);
        QCOMPARE(recording[0].id, u"cam-a"_s);
        QCOMPARE(recording[0].takeId, u"tape-1"_s);
        // A busy machine may hold up every status.
        const double doubt = recording[0].uncertaintySeconds.value_or(0) + 0.25;
        QVERIFY(recording[0].recordingSeconds > shortest - doubt
                && recording[0].recordingSeconds < longest + doubt);
        QCOMPARE(messages(*m_store), (QStringList{
                                         u"Created project Night."_s,
                                         u"Prepared take night-1 for Night revision 1."_s,
                                         u"Started Director edit log night-1."_s,
                                         u"Director CUT to Ada's phone at night-1."_s,
                                         u"Director FADE to Mara's phone at night-1."_s,
                                         u"Director CUT to Ada's phone at night-1."_s,
                                     }));
        const VORNTake *take = m_store->selectedTake();
        QVERIFY(take && take->id == u"night-1"_s && take->clips.empty());
        QCOMPARE(m_store->selectedProject()->takes.size(), 1U);
    }

    void showsPictures()
    {
        RigPhones phones;
        phones.render();
        LiveCameraDiscovery discovery;
        // In any order; the session begins with Ada in Preview when it knows them all.
        QTRY_COMPARE_WITH_TIMEOUT(discovery.cameras().size(), 4U, limitMs);
        DirectorSession session(*m_store, discovery, *m_settings);
        m_store->createProject(u"Night"_s);
        QTRY_COMPARE_WITH_TIMEOUT(session.previews().wallFrames().size(), 4U, limitMs);
        session.selectPreview(u"cam-a"_s);
        QTRY_COMPARE_WITH_TIMEOUT(session.previewImage(u"cam-a"_s).size(), QSize(1280, 720),
                                  limitMs);
        QCOMPARE(session.previewImage(u"cam-b"_s).size(), QSize(640, 360));
        QVERIFY(session.previewImage({}).isNull() && session.previewImage(u"cam-z"_s).isNull());
        // A phone on a busy machine may be too slow for a stream, and gives pictures one by one.
        static const QRegularExpression wall(u"^JPEG mode (4 • persistent|1 • fallback)$"_s);
        static const QRegularExpression selected(u"^JPEG mode (5 • persistent|2 • fallback)$"_s);
        QVERIFY(wall.match(session.transportStatus(VORNPreviewProfile::wall)).hasMatch());
        QVERIFY(selected.match(session.transportStatus(VORNPreviewProfile::selected)).hasMatch());

        // On a good network Program has large pictures too; they end when one phone's is not.
        session.startSession();
        session.perform(cut);
        session.selectPreview(u"cam-b"_s);
        QTRY_COMPARE_WITH_TIMEOUT(session.previewImage(u"cam-b"_s).size(), QSize(1280, 720),
                                  limitMs);
        const auto programSize = [&session] { return session.previewImage(u"cam-a"_s).size(); };
        QTRY_COMPARE_WITH_TIMEOUT(programSize(), QSize(1280, 720), limitMs);
        phones.must(uR"(cam-b set previewCapabilities {"v": 1})"_s);
        // Program goes on, with what the wall has of it; Preview then does not begin with what the
        // closed stream had shown last.
        QTRY_COMPARE_WITH_TIMEOUT(programSize(), QSize(640, 360), limitMs);
        QCOMPARE(session.effectivePreviewPolicy(), VORNPreviewNetworkPolicy::conservative24GHz);
        const qint64 shown = session.previewImage(u"cam-a"_s).cacheKey();
        QTRY_VERIFY_WITH_TIMEOUT(session.previewImage(u"cam-a"_s).cacheKey() != shown, limitMs);
        session.selectPreview(u"cam-a"_s);
        QCOMPARE(programSize(), QSize(640, 360));
        QTRY_COMPARE_WITH_TIMEOUT(programSize(), QSize(1280, 720), limitMs);
        session.selectPreview(u"cam-b"_s);
        QTRY_COMPARE_WITH_TIMEOUT(programSize(), QSize(640, 360), limitMs);
        session.setPreviewNetworkPolicy(VORNPreviewNetworkPolicy::performance5GHz);
        QTRY_COMPARE_WITH_TIMEOUT(programSize(), QSize(1280, 720), limitMs);

        phones.must(u"cam-b sleep"_s);
        QTRY_VERIFY_WITH_TIMEOUT(session.previewImage(u"cam-b"_s).isNull(), limitMs);
        QTRY_COMPARE_WITH_TIMEOUT(session.transportStatus(VORNPreviewProfile::wall),
                                  u"Negotiating…"_s, limitMs);
        QVERIFY(!session.previewImage(u"cam-a"_s).isNull());
    }

    void goesOnWithoutAJournal()
    {
        writePlain(m_folder->filePath(u"sessions"_s), "in the way");
        LiveCameraDiscovery discovery;
        m_store->createProject(u"Night"_s);
        DirectorSession session(*m_store, discovery, *m_settings);
        session.setPlannedTakeID(u"night-1"_s);
        session.startSession();
        for (int count = 0; count < 3; ++count)
            session.addMarker();
        QTRY_COMPARE_WITH_TIMEOUT(session.editEvents().size(), 3U, limitMs);
        const QString problem = session.journalProblem().value_or(QString());
        QVERIFY2(problem.startsWith(u"Cannot create the folder "_s), qPrintable(problem));
        QCOMPARE(messages(*m_store).size(), 4);
        QCOMPARE(messages(*m_store).last(), u"! Edit decisions are not being saved: "_s + problem);
        QVERIFY(!m_store->errorMessage());
        QVERIFY(QFile::remove(m_folder->filePath(u"sessions"_s)));
        session.addMarker();
        QTRY_COMPARE_WITH_TIMEOUT(session.editEvents().size(), 4U, limitMs);
        QVERIFY(!session.journalProblem());
        QCOMPARE(readSessionJournal(journals().at(0)).entries.size(), 5U);
    }

    /// At any instant: what the list has shown is on the disk.
    void aKillLosesNothingThatWasListed()
    {
        RigPhones phones({.count = 2});
        phones.must(u"all interval 100"_s);
        phones.must(u"all record tape-1"_s);
        QRandomGenerator random(15);
        std::size_t listed = 0;
        for (int round = 0; round < 12; ++round) {
            QVERIFY(m_folder.emplace().isValid());
            QProcess director;
            director.start(QCoreApplication::applicationFilePath(),
                           {u"--decide"_s, m_folder->path()});
            QTRY_VERIFY_WITH_TIMEOUT(director.bytesAvailable() > 0, limitMs);
            QTest::qWait(random.bounded(60)); // a random instant, not a wait for something
            director.kill();
            QVERIFY(director.waitForFinished());
            QStringList kept;
            for (const JournalEntry &entry : readSessionJournal(journals().at(0)).entries)
                kept << entry.event.id.toString();
            QStringList shown = QString::fromUtf8(director.readAllStandardOutput()).split(u'\n');
            shown.removeLast(); // empty, or torn
            for (const QString &id : shown)
                QVERIFY2(kept.contains(id), qPrintable(u"lost after %1"_s.arg(kept.size())));
            listed += std::size_t(shown.size());
        }
        qInfo("%zu decisions were listed", listed);
        QVERIFY(listed > 12);
    }

private:
    [[nodiscard]] QStringList journals() const
    {
        const QDir folder(sessionJournalFolder(m_folder->path()));
        QStringList paths;
        for (const QString &name : folder.entryList(QDir::Files))
            paths << folder.filePath(name);
        return paths;
    }

    std::optional<QTemporaryDir> m_folder;
    std::optional<AppStore> m_store;
    std::optional<QSettings> m_settings;
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && QByteArrayView(argv[1]) == "--decide")
        return decide(QString::fromUtf8(argv[2]));
    DirectorSessionTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "director_session_test.moc"
