// SPDX-License-Identifier: Apache-2.0

#include "store/app_store.h"

#include "base/folders.h"
#include "base/off_thread.h"
#include "store/collector_identity.h"

#include <QPointer>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr std::size_t maximumActivities = 100;

} // namespace

AppStore::AppStore(std::optional<QString> storageRoot, std::optional<QString> recordingsRoot,
                   QObject *parent)
    : QObject(parent),
      m_supportDirectory(storageRoot.value_or(applicationSupportFolder())),
      m_recordingsDirectory(recordingsRoot.value_or(recordingsFolder())),
      m_file(m_supportDirectory)
{
    m_ui.assertCurrent();
    m_collectorID = loadOrCreateCollectorID(
        m_supportDirectory, [this](const QString &sentence) { log(sentence, true); });
    load();
    if (m_library.projects.empty())
        return;
    prepareSaves();
    setSelectedProjectID(m_library.projects.front().id);
}

AppStore::~AppStore()
{
    m_ui.assertCurrent();
    m_stop.request_stop();
    m_exportStop.request_stop();
}

void AppStore::load()
{
    m_ui.assertCurrent();
    try {
        m_library = m_file.load();
    } catch (const std::exception &error) {
        m_couldLoad = false;
        fail(u"Could not load the VORN library: "_s + QString::fromUtf8(error.what()));
    }
}

QCoro::Task<> AppStore::prepareSaves()
{
    m_ui.assertCurrent();
    const QPointer<AppStore> self(this);
    LibraryFile::EncodedTakes encoded =
        co_await offThread([library = m_library] { return LibraryFile::encodedTakes(library); });
    if (!self)
        co_return;
    m_ui.assertCurrent();
    m_file.adopt(std::move(encoded));
}

QCoro::Task<bool> AppStore::changeLibrary(std::function<VORNLibrary(VORNLibrary)> change)
{
    m_ui.assertCurrent();
    struct Changed {
        VORNLibrary library;
        LibraryFile::EncodedTakes texts; ///< of the takes that are not as before
    };
    const QPointer<AppStore> self(this);
    std::shared_ptr<const VORNLibrary> base;
    std::shared_ptr<Changed> changed;
    do {
        base = sharedOffThread(m_library);
        changed = co_await offThread([base, change] {
            VORNLibrary library = change(*base);
            auto texts = LibraryFile::encodedTakes(library, *base);
            return std::make_shared<Changed>(std::move(library), std::move(texts));
        });
        if (!self)
            co_return false;
        m_ui.assertCurrent();
    } while (m_library != *base);
    m_library = std::move(changed->library);
    m_file.adopt(std::move(changed->texts));
    co_return true;
}

void AppStore::save()
{
    m_ui.assertCurrent();
    try {
        if (const auto kept = m_file.save(m_library))
            log(u"The library that could not be read was kept as %1."_s.arg(*kept));
    } catch (const std::exception &error) {
        fail(u"Could not save the VORN library: "_s + QString::fromUtf8(error.what()));
    }
}

void AppStore::removeAbandonedSaves()
{
    m_ui.assertCurrent();
    m_file.removeAbandonedSaves();
}

void AppStore::log(const QString &message, bool error)
{
    m_ui.assertCurrent();
    m_activities.insert(m_activities.begin(), {.id = QUuid::createUuid(),
                                               .date = QDateTime::currentDateTime(),
                                               .message = message,
                                               .isError = error});
    if (m_activities.size() > maximumActivities)
        m_activities.resize(maximumActivities);
    Q_EMIT activitiesChanged();
}

void AppStore::fail(const QString &message)
{
    m_ui.assertCurrent();
    m_errorMessage = message;
    log(message, true);
    Q_EMIT errorMessageChanged();
}

const VORNLibrary &AppStore::library() const
{
    m_ui.assertCurrent();
    return m_library;
}

bool AppStore::isNew() const
{
    m_ui.assertCurrent();
    return m_couldLoad && m_library.projects.empty();
}

const std::optional<QString> &AppStore::selectedProjectID() const
{
    m_ui.assertCurrent();
    return m_selectedProjectID;
}

const std::optional<QString> &AppStore::selectedTakeID() const
{
    m_ui.assertCurrent();
    return m_selectedTakeID;
}

const std::vector<TransferStatus> &AppStore::transfers() const
{
    m_ui.assertCurrent();
    return m_transfers;
}

const std::vector<ActivityEntry> &AppStore::activities() const
{
    m_ui.assertCurrent();
    return m_activities;
}

std::optional<LongWork> AppStore::longWork() const
{
    m_ui.assertCurrent();
    return m_longWork;
}

const std::optional<QString> &AppStore::errorMessage() const
{
    m_ui.assertCurrent();
    return m_errorMessage;
}

const std::optional<ExportProgress> &AppStore::exportProgress() const
{
    m_ui.assertCurrent();
    return m_exportProgress;
}

const std::vector<TransferSessionSummary> &AppStore::transferSessions() const
{
    m_ui.assertCurrent();
    return m_transferSessions;
}

const std::optional<DownloadProgress> &AppStore::downloadProgress() const
{
    m_ui.assertCurrent();
    return m_downloadProgress;
}

void AppStore::setSelectedProjectID(std::optional<QString> id)
{
    m_ui.assertCurrent();
    if (id == m_selectedProjectID)
        return;
    m_selectedProjectID = std::move(id);
    const VORNProject *project = selectedProject();
    const bool hasTake = project && !project->takes.empty();
    m_selectedTakeID = hasTake ? std::optional(project->takes.front().id) : std::nullopt;
    Q_EMIT selectedProjectIDChanged();
    Q_EMIT selectedTakeIDChanged();
}

void AppStore::setSelectedTakeID(std::optional<QString> id)
{
    m_ui.assertCurrent();
    if (id == m_selectedTakeID)
        return;
    m_selectedTakeID = std::move(id);
    Q_EMIT selectedTakeIDChanged();
}

void AppStore::clearErrorMessage()
{
    m_ui.assertCurrent();
    if (!m_errorMessage)
        return;
    m_errorMessage.reset();
    Q_EMIT errorMessageChanged();
}

const VORNProject *AppStore::selectedProject() const
{
    m_ui.assertCurrent();
    return m_selectedProjectID ? findById(m_library.projects, *m_selectedProjectID) : nullptr;
}

const VORNTake *AppStore::selectedTake() const
{
    m_ui.assertCurrent();
    const VORNProject *project = selectedProject();
    return project && m_selectedTakeID ? findById(project->takes, *m_selectedTakeID) : nullptr;
}

VORNProject *AppStore::selectedProjectForChange()
{
    return m_selectedProjectID ? findById(m_library.projects, *m_selectedProjectID) : nullptr;
}

const QString &AppStore::collectorIdentity() const
{
    return m_collectorID;
}

const QString &AppStore::supportDirectory() const
{
    return m_supportDirectory;
}

const QString &AppStore::recordingsDirectory() const
{
    return m_recordingsDirectory;
}

void AppStore::setLongWork(std::optional<LongWork> work)
{
    m_ui.assertCurrent();
    if (work == m_longWork)
        return;
    m_longWork = work;
    Q_EMIT isBusyChanged();
}

void AppStore::setExportProgress(std::optional<ExportProgress> progress)
{
    m_ui.assertCurrent();
    if (progress == m_exportProgress)
        return;
    m_exportProgress = std::move(progress);
    Q_EMIT exportProgressChanged();
}

} // namespace vorn
