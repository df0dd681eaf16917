// SPDX-License-Identifier: Apache-2.0

#include "views/library/director_cut_view_model.h"

#include "base/display_text.h"
#include "base/off_thread.h"
#include "desktop/file_reveal.h"
#include "drift/drift_error.h"
#include "drift/export_package.h"
#include "store/app_store.h"

#include <QDateTime>
#include <QLocale>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

QString counted(std::size_t count, const QString &what)
{
    return u"%1 %2%3"_s.arg(QString::number(count), what, count == 1 ? QString() : u"s"_s);
}

QString startOf(const RecordedSession &session)
{
    const qint64 ms =
        std::chrono::floor<std::chrono::milliseconds>(session.head.startedAt.time_since_epoch())
            .count();
    return QLocale().toString(QDateTime::fromMSecsSinceEpoch(ms), QLocale::ShortFormat);
}

std::vector<CutDecision> decisionsOf(const QString &path, const VORNTake &take)
{
    return cutDecisions(readSessionJournal(path), take);
}

} // namespace

DirectorCutViewModel::DirectorCutViewModel(AppStore &store) : m_store(store)
{
    connect(&store, &AppStore::libraryChanged, this, &DirectorCutViewModel::refresh);
    connect(&store, &AppStore::selectedTakeIDChanged, this, &DirectorCutViewModel::followSelection);
    connect(&store, &AppStore::selectedProjectIDChanged, this,
            &DirectorCutViewModel::followSelection);
    refresh();
}

QStringList DirectorCutViewModel::sessionTitles() const
{
    QStringList titles;
    for (const RecordedSession &session : m_sessions)
        titles += u"%1  \u2022  %2"_s.arg(startOf(session),
                                          counted(decisionCount(session), u"decision"_s));
    return titles;
}

int DirectorCutViewModel::sessionIndex() const
{
    const RecordedSession *chosen = session();
    return chosen ? int(chosen - m_sessions.data()) : -1;
}

bool DirectorCutViewModel::canInclude() const
{
    const RecordedSession *chosen = session();
    return chosen && decisionCount(*chosen) > 0 && (!m_outlook || m_outlook->decisions > 0);
}

QString DirectorCutViewModel::summary() const
{
    const RecordedSession *chosen = session();
    if (!chosen)
        return u"No session of the Director has decisions for this take."_s;
    if (decisionCount(*chosen) == 0)
        return u"The session of %1 has no decision while this take was recorded."_s.arg(
            startOf(*chosen));
    if (!canInclude())
        return u"The export will not have the director's cut."_s;
    if (!m_isWanted)
        return u"The export will not have the director's cut: it is switched off."_s;
    const std::size_t count = m_outlook ? m_outlook->decisions : decisionCount(*chosen);
    return u"%1 of the session of %2 will be included."_s.arg(counted(count, u"decision"_s),
                                                              startOf(*chosen));
}

QString DirectorCutViewModel::places() const
{
    const RecordedSession *chosen = session();
    if (!chosen || decisionCount(*chosen) == 0)
        return {};
    if (!m_outlook)
        return displayText(m_obstacle, longestMessage);
    if (m_outlook->decisions == 0)
        return u"None of its decisions lies within the recordings."_s;
    if (m_outlook->bySessionClock == m_outlook->decisions)
        return u"Their places are told by this computer's clock alone."_s;
    QString text = u"Their places are right within %1."_s.arg(
        counted(std::size_t(m_outlook->withinFrames), u"frame"_s));
    if (m_outlook->bySessionClock > 0)
        text += u" %1 of them by this computer's clock alone: no phone had told then where it "
                "was in its recording."_s.arg(m_outlook->bySessionClock);
    return text;
}

QString DirectorCutViewModel::problem() const
{
    QStringList sentences = m_all.problems;
    if (!m_failure.isEmpty())
        sentences.prepend(m_failure);
    if (sentences.isEmpty())
        return {};
    QString text = displayText(sentences.first(), longestMessage);
    if (sentences.size() > 1)
        text += u" (and %1 more)"_s.arg(sentences.size() - 1);
    return m_failure.isEmpty() ? u"A session may be missing here: "_s + text : text;
}

void DirectorCutViewModel::askToDelete()
{
    const RecordedSession *chosen = session();
    if (!chosen)
        return;
    const auto takes = std::ranges::count_if(
        chosen->takes, [](const auto &take) { return take.second.decisions > 0; });
    m_toDelete = chosen->path;
    m_deleteQuestion =
        u"The record of the session of %1, %2, is deleted for good.%3 Recordings and packages "
        "stay as they are."_s.arg(startOf(*chosen), counted(decisionCount(*chosen), u"decision"_s),
                                  takes > 1 ? u" It has decisions for %1 takes."_s.arg(takes)
                                            : QString());
    Q_EMIT changed();
}

void DirectorCutViewModel::choose(int index)
{
    if (index < 0 || std::size_t(index) >= m_sessions.size())
        return;
    m_chosen = m_sessions[std::size_t(index)].path;
    m_failure.clear();
    m_outlook.reset();
    place();
}

void DirectorCutViewModel::setIncluded(bool included)
{
    m_isWanted = included;
    Q_EMIT changed();
}

void DirectorCutViewModel::show() const
{
    if (const RecordedSession *chosen = session())
        revealFile(chosen->path);
}

void DirectorCutViewModel::remove()
{
    if (!m_toDelete.isEmpty())
        removeJournal(std::exchange(m_toDelete, {}));
}

std::function<DirectorCutViewModel::Decisions(const VORNTake &)>
DirectorCutViewModel::decisions() const
{
    if (!isIncluded())
        return {};
    return [path = session()->path](const VORNTake &take) {
        try {
            return decisionsOf(path, take);
        } catch (const std::exception &error) {
            throw DriftExportError::invalid(u"The director's cut cannot be read: "_s
                                            + QString::fromUtf8(error.what())
                                            + u" On the Resolve page it can be left out."_s);
        }
    };
}

void DirectorCutViewModel::refresh()
{
    look();
}

void DirectorCutViewModel::followSelection()
{
    m_chosen.reset();
    m_isWanted = true;
    m_failure.clear();
    m_outlook.reset();
    findSessions();
    refresh();
}

void DirectorCutViewModel::findSessions()
{
    m_sessions.clear();
    if (m_store.selectedProject() && m_store.selectedTake())
        m_sessions = sessionsOf(m_all.sessions, m_store.library(), *m_store.selectedProject(),
                                *m_store.selectedTake());
}

QCoro::Task<> DirectorCutViewModel::look()
{
    const QPointer<DirectorCutViewModel> self(this);
    const int number = ++m_looks;
    RecordedSessions all =
        co_await offThread([folder = sessionJournalFolder(m_store.supportDirectory()),
                            known = m_all] { return readRecordedSessions(folder, known); });
    if (!self || number != m_looks)
        co_return;
    m_all = std::move(all);
    findSessions();
    co_await place();
}

QCoro::Task<> DirectorCutViewModel::place()
{
    const QPointer<DirectorCutViewModel> self(this);
    const int number = ++m_placings;
    const RecordedSession *chosen = session();
    Q_EMIT changed();
    if (!chosen || decisionCount(*chosen) == 0)
        co_return;
    std::optional<CutOutlook> outlook;
    QString obstacle;
    try {
        outlook = co_await offThread([path = chosen->path, take = *m_store.selectedTake()] {
            // None has a place: as good as none at all.
            return DriftEngine::outlookOfCut(take, decisionsOf(path, take)).value_or(CutOutlook{});
        });
    } catch (const std::exception &error) {
        obstacle =
            u"How exact their places are is not known yet: "_s + QString::fromUtf8(error.what());
    }
    if (!self || number != m_placings)
        co_return;
    m_outlook = outlook;
    m_obstacle = obstacle;
    Q_EMIT changed();
}

QCoro::Task<> DirectorCutViewModel::removeJournal(QString path)
{
    const QPointer<DirectorCutViewModel> self(this);
    QString failure;
    try {
        co_await offThread([path] { deleteSessionJournal(path); });
    } catch (const std::exception &error) {
        failure = QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    m_failure = failure;
    m_outlook.reset();
    co_await look();
}

const RecordedSession *DirectorCutViewModel::session() const
{
    if (m_sessions.empty())
        return nullptr;
    auto found = m_sessions.end();
    if (m_chosen)
        found = std::ranges::find(m_sessions, *m_chosen, &RecordedSession::path);
    if (found == m_sessions.end())
        found = std::ranges::find_if(m_sessions, [this](const RecordedSession &session) {
            return decisionCount(session) > 0;
        });
    return found == m_sessions.end() ? &m_sessions.front() : &*found;
}

std::size_t DirectorCutViewModel::decisionCount(const RecordedSession &session) const
{
    const auto take = session.takes.find(m_store.selectedTakeID().value_or(QString()));
    return take == session.takes.end() ? 0 : take->second.decisions;
}

} // namespace vorn
