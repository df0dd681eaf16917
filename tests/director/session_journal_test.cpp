// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "base/json_text.h"
#include "director/session_journal_writer.h"
#include "live/camera_list.h"
#include "support.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>

#include <csignal>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr WallTime begin{std::chrono::milliseconds{1795636800250}};
constexpr MonotonicClock::time_point clockBegin{2h};

/// A session of four events, in which cam-a records since six seconds before it.
SessionJournal show()
{
    LiveEditTimeline timeline;
    timeline.selectPreview(u"cam-a"_s);
    timeline.start(begin);
    (void)timeline.take(DirectorTransition::cut, 0, begin + 1s);
    timeline.selectPreview(u"cam \"b\"\n"_s);
    (void)timeline.take(DirectorTransition::fade, 1.5, begin + 2s);
    (void)timeline.addMarker(u"Edit marker"_s, begin + 3s);

    LiveCamera recording;
    recording.id = u"cam-a"_s;
    recording.recording = true;
    recording.recordingSinceMs = 5000;
    recording.takeId = u"tape-1"_s;
    recording.lastSeen = begin;
    recording.clock = {.phoneMs = 11'000, .at = clockBegin, .uncertainty = 9ms};
    LiveCamera unknown;
    unknown.id = u"cam \"b\"\n"_s;
    unknown.recording = true;
    unknown.takeId = QString(97, u'x'); // no take is called so
    unknown.lastSeen = begin;
    LiveCamera silent = recording;
    silent.id = u"cam-c"_s;
    silent.lastSeen = begin - 1h;
    LiveCamera desk = recording;
    desk.role = u"Director"_s;
    SessionJournal journal{.head = {.sessionID = QUuid::createUuid(),
                                    .startedAt = begin,
                                    .plannedTakeID = u"night-1"_s,
                                    .projectID = u"night"_s,
                                    .projectName = u"Night\n\uFEFF"_s},
                           .entries = {}};
    for (const DirectorEditEvent &event : timeline.events) {
        const auto elapsed = std::chrono::milliseconds(qint64(event.elapsedSeconds * 1000));
        journal.entries.push_back(journalEntry(event, {recording, unknown, silent, desk},
                                               begin + elapsed, clockBegin + elapsed));
    }
    return journal;
}

QByteArray text(const SessionJournal &journal)
{
    QByteArray lines = journalLine(journal.head);
    for (const JournalEntry &entry : journal.entries)
        lines += journalLine(entry);
    return lines;
}

} // namespace

class SessionJournalTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY(m_folder.emplace().isValid()); }

    void tellsWhatRecordsAndWhere()
    {
        const SessionJournal journal = show();
        QCOMPARE(journal.entries.at(2).cameras,
                 (std::vector<JournalCamera>{{.id = u"cam-a"_s,
                                              .takeId = u"tape-1"_s,
                                              .recordingSeconds = 8.0,
                                              .uncertaintySeconds = 0.012},
                                             {.id = u"cam \"b\"\n"_s,
                                              .takeId = {},
                                              .recordingSeconds = {},
                                              .uncertaintySeconds = {}}}));
        QCOMPARE(sessionJournalFromText(text(journal), u"it"_s), journal);
    }

    /// Wherever a write is cut short.
    void losesOnlyTheTornLine()
    {
        const SessionJournal journal = show();
        const QByteArray whole = text(journal);
        for (qsizetype size = journalLine(journal.head).size(); size < whole.size(); ++size) {
            const QByteArray cut = whole.first(size);
            const auto read = sessionJournalFromText(cut, u"it"_s).entries;
            QCOMPARE(qsizetype(read.size()), cut.count('\n') - 1);
            QVERIFY(std::ranges::equal(read, std::span(journal.entries).first(read.size())));
        }
    }

    void refusesWhatNoDirectorWrites()
    {
        const std::pair<const char *, QByteArray> changes[] = {
            {"'version':1", "'version':2"},
            {"'plannedTakeID':'night-1'", "'plannedTakeID':''"},
            {"'projectID':'night'", "'projectID':''"},
            {"'label':'Edit marker'", "'label':7"},
            {"'kind':'marker'", "'kind':'sessionStarted'"},
            {"'kind':'transition'", "'kind':'marker'"},
            {"'kind':'sessionStarted'", "'kind':'marker'"},
            {"'elapsedSeconds':2", "'elapsedSeconds':-2"},
            {"'elapsedSeconds':2", "'elapsedSeconds':1e99"},
            {"'elapsedSeconds':2", "'elapsedSeconds':1e999"},
            {"'durationSeconds':1.5", "'durationSeconds':-1"},
            {"'durationSeconds':1.5", "'durationSeconds':3601"},
            {"'durationSeconds':1.5", "'other':1.5"},
            {"'transition':'FADE'", "'transition':'WIPE'"},
            {"'transition':'FADE'", "'other':'FADE'"},
            {"'toCameraID'", "'other'"},
            {"'fromCameraID':'cam-a'", "'fromCameraID':''"},
            {"'takeId':'tape-1'", "'takeId':''"},
            {"'recordingSeconds':8", "'recordingSeconds':-8"},
            {"'recordingSeconds':8", "'recordingSeconds':1e300"},
            {"'recordingSeconds':8", "'other':8"},
            {"'uncertaintySeconds':", "'uncertaintySeconds':-"},
            {"{'id':'cam \\'b\\'\\u000a'}", "{'id':'cam-a'}"},
            {"{'id':'cam \\'b\\'\\u000a'}", "{'id':''}"},
            {"'label':'Edit marker'", "'label':'" + QByteArray(1025, 'x') + '\''},
            {"'label':'Edit marker'", "'other':'" + QByteArray(1 << 20, 'x') + '\''},
            {"}\n{", "}\n\n{"},
        };
        const QByteArray whole = text(show());
        const auto quoted = [](QByteArray text) { return text.replace('\'', '"'); };
        for (const auto &[from, to] : changes) {
            const QByteArray changed = QByteArray(whole).replace(quoted(from), quoted(to));
            QVERIFY2(changed != whole, from);
            QVERIFY2(thrownText([&] {
                         (void)sessionJournalFromText(changed, u"it"_s);
                     }).startsWith(u"it, line "_s),
                     from);
        }
        const QByteArray last = whole.sliced(whole.lastIndexOf('\n', -2) + 1);
        QCOMPARE(thrownText([&] { (void)sessionJournalFromText(whole + last, u"it"_s); }),
                 u"it, line 6: has an event that was there before"_s);
        QByteArray many = whole;
        const qsizetype id = last.indexOf("\"id\":\"", last.indexOf("\"event\":")) + 6;
        for (int count = 4; count <= 100'000; ++count)
            many +=
                QByteArray(last).replace(id + 24, 12, QByteArray::number(100'000'000'000 + count));
        QCOMPARE(thrownText([&] { (void)sessionJournalFromText(many, u"it"_s); }),
                 u"it, line 100002: is one too many"_s);
        SessionJournal crowded = show();
        for (std::size_t count = 0; count <= CameraList::maximumCameras; ++count)
            crowded.entries[0].cameras.emplace_back().id = QString::number(count);
        QCOMPARE(thrownText([&] { (void)sessionJournalFromText(text(crowded), u"it"_s); }),
                 u"it, line 2: has cameras that cannot be"_s);
        QCOMPARE(thrownText([] { (void)sessionJournalFromText("{}", u"it"_s); }),
                 u"it has no line that is whole"_s);
    }

    void saysWhatCannotBeKeptAndKeepsItLater()
    {
        const SessionJournal journal = show();
        const QString folder = m_folder->filePath(u"made/sessions"_s);
        const QString path = SessionJournalWriter::path(folder, journal.head.sessionID);
        SessionJournalWriter writer(folder, journal.head);
        std::optional<QString> problem;
        connect(&writer, &SessionJournalWriter::appended, this,
                [&](std::size_t entries, const std::optional<QString> &why) {
                    QVERIFY(entries <= 1);
                    problem = why;
                });

        writePlain(m_folder->filePath(u"made"_s), "a file in the way");
        writer.append({journal.entries[0]});
        QVERIFY(problem && problem->startsWith(u"Cannot create the folder "_s));
        QVERIFY(QFile::remove(m_folder->filePath(u"made"_s)));
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit usual{};
        ::getrlimit(RLIMIT_FSIZE, &usual);
        rlimit small = usual;
        small.rlim_cur = 50; // the head does not find room whole
        ::setrlimit(RLIMIT_FSIZE, &small);
        writer.append({});
        ::setrlimit(RLIMIT_FSIZE, &usual);
        QCOMPARE(problem, u"Cannot write %1: File too large."_s.arg(path));
        QVERIFY(!QFileInfo::exists(path));
        writer.append({journal.entries[1]});
        QCOMPARE(problem, std::nullopt);
        QCOMPARE(readSessionJournal(path).entries.size(), 2U);
        QCOMPARE(QFileInfo(path).permissions() & ~(QFile::ReadUser | QFile::WriteUser),
                 QFile::ReadOwner | QFile::WriteOwner);

        // The third line does not find room whole.
        small.rlim_cur = rlim_t(QFileInfo(path).size() + 50);
        ::setrlimit(RLIMIT_FSIZE, &small);
        writer.append({journal.entries[2]});
        ::setrlimit(RLIMIT_FSIZE, &usual);
        QCOMPARE(problem, u"Cannot write %1: File too large."_s.arg(path));
        QCOMPARE(QFileInfo(path).size(), qint64(small.rlim_cur));
        QCOMPARE(readSessionJournal(path).entries.size(), 2U);
        writer.append({journal.entries[3]});
        writer.append({}); // writes nothing twice
        QCOMPARE(problem, std::nullopt);
        QCOMPARE(readSessionJournal(path), journal);
    }

private:
    std::optional<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(SessionJournalTest)
#include "session_journal_test.moc"
