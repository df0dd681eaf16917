// SPDX-License-Identifier: Apache-2.0

// Usage: fault_driver OPERATION FOLDER [CATALOG-URL FINGERPRINT SESSION CODE]
//        fault_driver script FOLDER
// Starts on FOLDER/storage and FOLDER/recordings as the program does, and does one thing there with
// the program's own objects. Prints a line for each state that it takes on ("state JSON"), for each
// step that has ended without a complaint, so that the state before it must be on the disk
// ("done"), and for each sentence that the user would read of a failure ("told TEXT"). Ends with 0
// when nothing was told and all is as it was asked for, with 1 when something was told, with 2 for
// what it does not know, and with 3 when it has not come to what was asked for and nothing tells
// why. "memory KIB" is the most that it has held at once. A script is read from standard input, an
// operation a line, as a list of JSON: what it is, and its values ("beside" a download, another
// operation); each ends with a "state" and an empty line.

#include "base/atomic_file.h"
#include "director/recorded_sessions.h"
#include "director/session_journal_writer.h"
#include "library/record_json.h"
#include "shared_phone.h"
#include "store/app_store.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QJsonDocument>

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <string>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr WallTime sessionStart{std::chrono::milliseconds{1795636800250}};

class Driver {
public:
    explicit Driver(QStringList arguments) : m_arguments(std::move(arguments))
    {
        open();
        endStep(true);
    }

    [[nodiscard]] int result() const { return m_hasTold ? 1 : m_isComplete ? 0 : 3; }
    void showMemory() const
    {
        std::ifstream status("/proc/self/status");
        for (std::string word; status >> word;)
            if (word == "VmHWM:" && status >> word)
                print("memory", QByteArray::fromStdString(word));
    }

    QCoro::Task<> start() { co_return; }

    QCoro::Task<> save()
    {
        m_store->createProject(u"Night"_s);
        endStep(true);
        m_store->renameSelectedProject(u"Day"_s);
        endStep(true);
        endStep(m_store->prepareDirectorTake(u"take-1"_s));
        m_store->setReferenceCamera(u"cam-a"_s);
        endStep(true);
        co_return;
    }

    QCoro::Task<> importTake()
    {
        endStep(co_await m_store->importManifest(path(u"source/manifest.json"_s)));
    }

    QCoro::Task<> pair() { co_await pairWith(m_arguments.sliced(3)); }

    QCoro::Task<> download()
    {
        co_await pair();
        const VORNLibrary library = m_store->library();
        for (const VORNProject &project : library.projects) {
            m_store->setSelectedProjectID(project.id);
            for (const VORNTake &take : project.takes) {
                if (take.clips.empty())
                    continue;
                m_store->setSelectedTakeID(take.id);
                co_await m_store->downloadSelectedTake();
                const bool isHere = isComplete(*m_store->selectedTake());
                // A file that was there already is taken up and not saved.
                endStep(isHere, m_store->activities().front().message.startsWith(u"Downloaded"));
            }
        }
    }

    QCoro::Task<> exportTake() { co_await exportInto(EditingCopies::none); }
    QCoro::Task<> exportWithCopies() { co_await exportInto(EditingCopies::make); }

    QCoro::Task<> journal()
    {
        LiveEditTimeline session;
        session.selectPreview(u"cam-a"_s);
        session.start(sessionStart);
        (void)session.take(DirectorTransition::cut, 0, sessionStart);
        for (const QString &label : {u"first"_s, u"second"_s, u"third"_s})
            (void)session.addMarker(label, sessionStart);
        SessionJournalWriter writer(sessionJournalFolder(path(u"storage"_s)),
                                    {.sessionID = QUuid::createUuid(),
                                     .startedAt = sessionStart,
                                     .plannedTakeID = u"take-1"_s,
                                     .projectID = u"night"_s,
                                     .projectName = u"Night"_s});
        QObject::connect(&writer, &SessionJournalWriter::appended,
                         [this](std::size_t, const std::optional<QString> &problem) {
                             if (problem)
                                 tell(*problem);
                         });
        for (const DirectorEditEvent &event : session.events) {
            m_appended += event.id.toString();
            showState();
            writer.append({{.event = event, .cameras = {}}});
            endStep(true);
        }
        co_return;
    }

    QCoro::Task<> script()
    {
        endLine();
        for (std::string line; std::getline(std::cin, line);) {
            QStringList words =
                QJsonDocument::fromJson(QByteArray::fromStdString(line)).toVariant().toStringList();
            const QString operation = words.takeFirst();
            co_await perform(operation, words);
            endLine();
        }
    }

private:
    void open()
    {
        m_store.reset(); // only one at a time has the folder
        m_store = std::make_unique<AppStore>(path(u"storage"_s), path(u"recordings"_s));
        for (const ActivityEntry &entry : m_store->activities()) // what the start had to say
            tell(entry);
        if (m_arguments[1] == u"journal")
            readJournals();
        QObject::connect(m_store.get(), &AppStore::activitiesChanged, m_store.get(),
                         [this] { tell(m_store->activities().front()); });
        QObject::connect(m_store.get(), &AppStore::libraryChanged, m_store.get(),
                         [this] { showState(); });
        showState();
        m_store->removeAbandonedSaves();
        removeAbandonedWrites(sessionJournalFolder(path(u"storage"_s)));
    }

    QCoro::Task<> perform(QString operation, QStringList values)
    {
        if (operation == u"create")
            m_store->createProject(values[0]);
        else if (operation == u"rename")
            m_store->renameSelectedProject(values[0]);
        else if (operation == u"prepare")
            (void)m_store->prepareDirectorTake(values[0]);
        else if (operation == u"reference")
            m_store->setReferenceCamera(values[0]);
        else if (operation == u"select")
            m_store->setSelectedProjectID(values[0]), m_store->setSelectedTakeID(values[1]);
        else if (operation == u"import")
            (void)co_await m_store->importManifest(values[0]);
        else if (operation == u"pair")
            co_await pairWith(values);
        else if (operation == u"download")
            co_await m_store->downloadSelectedTake();
        else if (operation == u"beside") {
            const QCoro::Task<> download = m_store->downloadSelectedTake();
            co_await perform(values[0], values.sliced(1));
            co_await download;
        } else if (operation == u"verify")
            co_await m_store->verifySelectedTake();
        else if (operation == u"export")
            co_await exportTake();
        else if (operation == u"copies")
            co_await exportWithCopies();
        else if (operation == u"restart")
            open();
        else
            tell(u"unknown: "_s + operation);
    }

    void endLine()
    {
        showState();
        print("\n");
    }

    /// `values`: address of the catalog, fingerprint, session, code.
    QCoro::Task<> pairWith(QStringList values)
    {
        const DiscoveredDevice phone = sharedPhone(u"phone"_s, values[0], values[1], values[2]);
        endStep(co_await m_store->pairAndConnect(phone, values[3], true));
    }

    [[nodiscard]] QString path(const QString &name) const { return m_arguments[2] + u'/' + name; }

    QCoro::Task<> exportInto(EditingCopies copies)
    {
        bool isCreated = false;
        const QObject here; // a script may export again
        QObject::connect(m_store.get(), &AppStore::exportCreated, &here, [&] { isCreated = true; });
        co_await m_store->exportSelectedTake(path(u"export"_s), {}, copies);
        endStep(isCreated);
    }

    void readJournals()
    {
        const RecordedSessions found =
            readRecordedSessions(sessionJournalFolder(path(u"storage"_s)), {});
        std::ranges::for_each(found.problems, [this](const QString &text) { tell(text); });
        try {
            for (const RecordedSession &session : found.sessions)
                for (const JournalEntry &entry : readSessionJournal(session.path).entries)
                    m_found += entry.event.id.toString();
        } catch (const std::exception &error) {
            tell(QString::fromUtf8(error.what()));
        }
    }

    void showState()
    {
        const QJsonObject state{
            {u"identity"_s, m_store->collectorIdentity()},
            {u"library"_s, parseJson(jsonFromRecord(m_store->library())).object()},
            {u"found"_s, QJsonArray::fromStringList(m_found)},
            {u"appended"_s, QJsonArray::fromStringList(m_appended)}};
        print("state", QJsonDocument(state).toJson(QJsonDocument::Compact));
    }

    void tell(const ActivityEntry &entry)
    {
        if (entry.isError)
            tell(entry.message);
    }
    void tell(const QString &sentence)
    {
        print("told", sentence.toUtf8());
        m_hasTold = m_stepHasTold = true;
    }

    void endStep(bool isComplete, bool isAcknowledged = true)
    {
        m_isComplete = m_isComplete && (isComplete || m_stepHasTold);
        if (isComplete && isAcknowledged && !m_stepHasTold)
            print("done", {});
        m_stepHasTold = false;
    }

    static void print(const char *word, const QByteArray &text)
    {
        print(word + (' ' + text) + '\n');
    }
    static void print(const QByteArray &line)
    {
        // At once, and by a call that a preloaded library sees.
        if (::write(STDOUT_FILENO, line.constData(), std::size_t(line.size())) != line.size())
            std::abort();
    }

    QStringList m_arguments;
    std::unique_ptr<AppStore> m_store;
    QStringList m_found;    ///< the events of the journals that were there
    QStringList m_appended; ///< those of this session
    bool m_hasTold = false;
    bool m_stepHasTold = false;
    bool m_isComplete = true;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const std::map<QString, QCoro::Task<> (Driver::*)()> operations{
        {u"start"_s, &Driver::start},
        {u"save"_s, &Driver::save},
        {u"import"_s, &Driver::importTake},
        {u"pair"_s, &Driver::pair},
        {u"download"_s, &Driver::download},
        {u"export"_s, &Driver::exportTake},
        {u"copies"_s, &Driver::exportWithCopies},
        {u"journal"_s, &Driver::journal},
        {u"script"_s, &Driver::script}};
    const QStringList arguments = QCoreApplication::arguments();
    const auto operation = operations.find(arguments.value(1));
    if (operation == operations.end() || (arguments.size() != 3 && arguments.size() != 7))
        return 2;
    Driver driver(arguments);
    QCoro::waitFor((driver.*operation->second)());
    driver.showMemory();
    return driver.result();
}
