// SPDX-License-Identifier: Apache-2.0

#include "director/session_journal.h"

#include "base/files.h"
#include "base/text_form.h"
#include "director/edit_timeline_json.h"
#include "live/camera_list.h"
#include "live/wire_text.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace vorn {

template <class Fields, recordOf<JournalHead> Record> void describe(Fields &&fields, Record &head)
{
    fields(u"plannedTakeID", head.plannedTakeID);
    fields(u"projectID", head.projectID);
    fields(u"projectName", head.projectName);
    describeAsText(fields, u"sessionID", head.sessionID);
    describeAsText(fields, u"startedAt", head.startedAt);
    fields(u"version", head.version);
}

template <class Fields, recordOf<JournalCamera> Record>
void describe(Fields &&fields, Record &camera)
{
    fields(u"id", camera.id);
    fields(u"recordingSeconds", camera.recordingSeconds);
    fields(u"takeId", camera.takeId);
    fields(u"uncertaintySeconds", camera.uncertaintySeconds);
}

template <class Fields, recordOf<JournalEntry> Record> void describe(Fields &&fields, Record &entry)
{
    fields(u"cameras", entry.cameras);
    fields(u"event", entry.event);
}

namespace {

// A camera takes 0.3 KB of a line, where nobody has made its names to take more.
constexpr qsizetype maximumLineBytes = 1 << 20;
constexpr std::size_t maximumEntries = 100'000; // one a second, for a day
constexpr std::int64_t maximumFileBytes = 256 << 20;
constexpr qsizetype maximumLabelBytes = 1024;

// What a clock that was set may make of the time since the start.
constexpr double longestElapsed = 1e10;
constexpr double longestTransition = 3600;

bool isWithin(double number, double most)
{
    return number >= 0 && number <= most; // false for what is no number, too
}

bool isCameraID(const std::optional<QString> &id)
{
    return !id || isBoundedText(*id, maximumIdBytes);
}

bool isPossible(const DirectorEditEvent &event)
{
    const bool isTransition = event.kind == DirectorEditEventKind::transition;
    return isWithin(event.elapsedSeconds, longestElapsed) && isCameraID(event.fromCameraID)
           && isCameraID(event.toCameraID) && isTransition == event.transition.has_value()
           && isTransition == event.durationSeconds.has_value()
           && (!isTransition || event.toCameraID)
           && isWithin(event.durationSeconds.value_or(0), longestTransition)
           && (!event.label || event.label->toUtf8().size() <= maximumLabelBytes);
}

bool isPossible(const JournalCamera &camera)
{
    return isBoundedText(camera.id, maximumIdBytes)
           && (!camera.takeId || isBoundedText(*camera.takeId, maximumTakeIdBytes))
           && camera.recordingSeconds.has_value() == camera.uncertaintySeconds.has_value()
           && isWithin(camera.recordingSeconds.value_or(0), longestRecording.count())
           && isWithin(camera.uncertaintySeconds.value_or(0), longestRecording.count());
}

bool arePossible(const std::vector<JournalCamera> &cameras)
{
    QSet<QString> ids;
    for (const JournalCamera &camera : cameras) {
        if (!isPossible(camera))
            return false;
        ids.insert(camera.id);
    }
    return ids.size() == qsizetype(cameras.size()) && cameras.size() <= CameraList::maximumCameras;
}

template <class Record> QByteArray line(const Record &record)
{
    return lineFromRecord(record) + '\n';
}

/// The lines of a text, without what stands behind the last line feed.
class Lines {
public:
    Lines(const QByteArray &text, const QString &name) : m_text(text), m_name(name) {}

    [[nodiscard]] bool hasNext() const { return m_text.indexOf('\n', m_at) >= 0; }

    template <class Record> Record next()
    {
        const qsizetype end = m_text.indexOf('\n', m_at);
        const QByteArray text = m_text.sliced(m_at, end - m_at);
        m_at = end + 1;
        ++m_count;
        if (text.size() > maximumLineBytes)
            refuse(u"is too long"_s);
        try {
            return recordFromJson<Record>(text, u"the object"_s);
        } catch (const JsonError &error) {
            refuse(QString::fromUtf8(error.what()));
        }
    }
    [[noreturn]] void refuse(const QString &fault) const
    {
        throw JsonError(u"%1, line %2: %3"_s.arg(m_name, QString::number(m_count), fault));
    }

private:
    const QByteArray &m_text;
    const QString &m_name;
    qsizetype m_at = 0;
    qsizetype m_count = 0;
};

} // namespace

QString sessionJournalFolder(const QString &supportDirectory)
{
    return supportDirectory + u"/sessions"_s;
}

JournalEntry journalEntry(const DirectorEditEvent &event, const std::vector<LiveCamera> &cameras,
                          WallTime now, MonotonicClock::time_point clock)
{
    JournalEntry entry{.event = event, .cameras = {}};
    for (const LiveCamera &camera : cameras) {
        if (camera.isDirector() || !camera.displaysRecording(now))
            continue;
        JournalCamera &known = entry.cameras.emplace_back();
        known.id = camera.id;
        if (isBoundedText(camera.takeId, maximumTakeIdBytes))
            known.takeId = camera.takeId;
        const auto place = camera.clock
                               ? recordingPlace(*camera.clock, camera.recordingSinceMs, clock)
                               : std::nullopt;
        if (place) {
            known.recordingSeconds = place->seconds;
            known.uncertaintySeconds = place->uncertaintySeconds;
        }
    }
    return entry;
}

QByteArray journalLine(const JournalHead &head)
{
    return line(head);
}

QByteArray journalLine(const JournalEntry &entry)
{
    return line(entry);
}

SessionJournal sessionJournalFromText(const QByteArray &text, const QString &name)
{
    Lines lines(text, name);
    if (!lines.hasNext())
        throw JsonError(u"%1 has no line that is whole"_s.arg(name));
    SessionJournal journal{.head = lines.next<JournalHead>(), .entries = {}};
    const JournalHead &head = journal.head;
    if (head.version != JournalHead::currentVersion)
        lines.refuse(u"is of version %1, which this program does not know"_s.arg(head.version));
    if (head.projectID.isEmpty() || !isBoundedText(head.plannedTakeID, maximumTakeIdBytes))
        lines.refuse(u"names no take of a project"_s);

    QSet<QUuid> ids;
    while (lines.hasNext()) {
        auto entry = lines.next<JournalEntry>();
        const bool isStart = entry.event.kind == DirectorEditEventKind::sessionStarted;
        if (!isPossible(entry.event) || isStart != journal.entries.empty())
            lines.refuse(u"has an event that cannot be"_s);
        if (!arePossible(entry.cameras))
            lines.refuse(u"has cameras that cannot be"_s);
        ids.insert(entry.event.id);
        journal.entries.push_back(std::move(entry));
        if (ids.size() < qsizetype(journal.entries.size()))
            lines.refuse(u"has an event that was there before"_s);
        if (journal.entries.size() > maximumEntries)
            lines.refuse(u"is one too many"_s);
    }
    return journal;
}

SessionJournal readSessionJournal(const QString &path)
{
    return sessionJournalFromText(readFile(path, maximumFileBytes), fileNameOf(path));
}

} // namespace vorn
