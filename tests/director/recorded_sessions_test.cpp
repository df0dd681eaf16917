// SPDX-License-Identifier: Apache-2.0

#include "director/recorded_sessions.h"
#include "recorded_session.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

VORNTake take(const QString &id, const QStringList &cameras)
{
    VORNTake result;
    result.id = id;
    for (const QString &camera : cameras) {
        VORNClip clip;
        clip.cameraId = camera;
        result.clips.push_back(clip);
    }
    return result;
}

} // namespace

class RecordedSessionsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY(m_folder.emplace().isValid()); }

    void findsTheSessionsOfATake()
    {
        // The own project has a take of that name, too: once with these cameras, once without.
        const VORNTake night = take(u"tape-1"_s, {u"cam-a"_s, u"cam-b"_s});
        const VORNLibrary library{
            .projects = {{.id = u"phones"_s, .name = u"P"_s, .revision = {}, .takes = {night}},
                         {.id = u"empty"_s,
                          .name = u"E"_s,
                          .revision = {},
                          .takes = {take(u"tape-1"_s, {})}},
                         {.id = u"other"_s,
                          .name = u"O"_s,
                          .revision = {},
                          .takes = {take(u"tape-1"_s, {u"cam-b"_s, u"cam-x"_s})}}}};
        const Recording filming{u"cam-b"_s, u"tape-1"_s};
        const QString own = write(recordedSession(u"phones"_s, 100s, {filming}));
        const QString planned = write(recordedSession(u"empty"_s, 300s, {filming}));
        const QString gone = write(recordedSession(u"gone"_s, 200s, {filming}));
        const QString others = write(recordedSession(u"other"_s, 400s, {filming}));
        write(recordedSession(u"phones"_s, 500s,
                              {{u"cam-y"_s, u"tape-1"_s}, {u"cam-a"_s, u"tape-2"_s}}));

        const RecordedSessions all = readRecordedSessions(m_folder->path(), {});
        QCOMPARE(all.problems, QStringList());
        QCOMPARE(all.sessions.size(), std::size_t{5});
        const auto pathsOf = [&](std::size_t project) {
            QStringList paths;
            for (const RecordedSession &one :
                 sessionsOf(all.sessions, library, library.projects[project],
                            library.projects[project].takes.front()))
                paths += one.path;
            return paths;
        };
        QCOMPARE(pathsOf(0), (QStringList{planned, gone, own}));
        QCOMPARE(pathsOf(1), QStringList());
        QCOMPARE(pathsOf(2), (QStringList{others, planned, gone}));
        QCOMPARE(all.sessions.front().takes.at(u"tape-2"_s).decisions, std::size_t{4});
    }

    void readsAgainWhatHasGrown()
    {
        SessionJournal journal = recordedSession(u"p"_s, 100s, {{u"cam-a"_s, u"tape-1"_s}});
        const JournalEntry last = journal.entries.back();
        journal.entries.pop_back();
        const QString path = write(journal);
        const RecordedSessions before = readRecordedSessions(m_folder->path(), {});
        QCOMPARE(readRecordedSessions(m_folder->path(), before), before);
        QFile file(path);
        QVERIFY(file.open(QIODevice::Append) && file.write(journalLine(last)) > 0);
        file.close();
        const RecordedSessions after = readRecordedSessions(m_folder->path(), before);
        QCOMPARE(after.sessions.at(0).takes.at(u"tape-1"_s).decisions, std::size_t{4});
    }

    void tellsWhatCannotBeRead()
    {
        QCOMPARE(readRecordedSessions(m_folder->path() + u"/none"_s, {}), RecordedSessions());
        const QString path = write(recordedSession(u"p"_s, 100s, {}));
        writePlain(m_folder->path() + u"/damaged.jsonl"_s, "{}\n");
        writePlain(m_folder->path() + u"/notes.txt"_s, "mine");
        const RecordedSessions all = readRecordedSessions(m_folder->path(), {});
        QCOMPARE(all.sessions.size(), std::size_t{1});
        QCOMPARE(all.problems.size(), 1);
        QVERIFY2(all.problems[0].startsWith(u"damaged.jsonl"_s), qPrintable(all.problems[0]));
        QCOMPARE(readRecordedSessions(path, {}).problems.size(), 1); // no folder
    }

    void givesDecisionsWithPlacesInTheTake()
    {
        SessionJournal journal =
            recordedSession(u"p"_s, 100s, {{u"cam-a"_s, u"tape-1"_s}, {u"cam-b"_s, u"tape-2"_s}});
        journal.entries[3].cameras[0].recordingSeconds.reset();
        const auto decisions = cutDecisions(journal, take(u"tape-1"_s, {}));
        QCOMPARE(decisions.size(), std::size_t{4});
        QCOMPARE(
            decisions[1],
            (CutDecision{
                .kind = CutDecision::Kind::fade,
                .sessionSeconds = 2,
                .cameraId = u"cam-b"_s,
                .fadeSeconds = 1.5,
                .label = {},
                .then = {{.cameraId = u"cam-a"_s, .seconds = 7, .uncertaintySeconds = 0.02}}}));
        QVERIFY(decisions[2].kind == CutDecision::Kind::marker && decisions[2].then.empty());
        QCOMPARE(decisions[2].label, u"Edit marker"_s);
        QVERIFY(decisions[3].kind == CutDecision::Kind::cut);
    }

    void deletesNoSessionThatRuns()
    {
        const SessionJournal journal = recordedSession(u"p"_s, 100s, {});
        const QString path = SessionJournalWriter::path(m_folder->path(), journal.head.sessionID);
        {
            SessionJournalWriter running(m_folder->path(), journal.head);
            running.append(journal.entries);
            QCOMPARE(thrownText([&] { deleteSessionJournal(path); }),
                     u"The session is still running. It can be deleted when it has ended."_s);
            QVERIFY(QFile::exists(path));
        }
        deleteSessionJournal(path);
        QVERIFY(!QFile::exists(path));
        QVERIFY_THROWS_EXCEPTION(FileError, deleteSessionJournal(path));
    }

private:
    QString write(const SessionJournal &journal) { return writeJournal(m_folder->path(), journal); }

    std::optional<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(RecordedSessionsTest)
#include "recorded_sessions_test.moc"
