#include "views/library_view_model.h"

#include "platform/display_text.h"
#include "store/app_store.h"
#include "views/file_panels.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>

namespace vorn {

using namespace Qt::StringLiterals;

LibraryViewModel::LibraryViewModel(AppStore &store)
    : m_store(store),
      m_manifestFolder(QDir::homePath()),
      m_exportFolder(QDir::homePath()),
      m_projects(store),
      m_takes(store),
      m_dashboard(store),
      m_activity(store),
      m_exportProgress(store)
{
    connect(&store, &AppStore::libraryChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::selectedProjectIDChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::selectedTakeIDChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::isBusyChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::errorMessageChanged, this, &LibraryViewModel::changed);
}

QString LibraryViewModel::downloadObstacle()
{
    return u"No phone is connected."_s;
}

QString LibraryViewModel::exportObstacle() const
{
    if (!m_store.selectedTake())
        return u"No take is selected."_s;
    if (m_store.isBusy())
        return u"Another operation is running."_s;
    return {};
}

bool LibraryViewModel::hasError() const
{
    return m_store.errorMessage().has_value();
}

QString LibraryViewModel::errorMessage() const
{
    return displayText(m_store.errorMessage().value_or(QString()), longestMessage);
}

QString LibraryViewModel::recordingsPath() const
{
    return displayText(m_store.recordingsDirectory(), longestMessage);
}

QString LibraryViewModel::supportPath() const
{
    return displayText(m_store.supportDirectory(), longestMessage);
}

void LibraryViewModel::chooseManifest(QWindow *window)
{
    openManifestPanel(window, m_manifestFolder, [self = QPointer(this)](const QString &path) {
        if (!self)
            return;
        self->m_manifestFolder = QFileInfo(path).path();
        self->m_store.importManifest(path);
    });
}

void LibraryViewModel::chooseExportFolder(QWindow *window)
{
    openExportPanel(window, m_exportFolder, [self = QPointer(this)](const QString &path) {
        // The take may have gone, or another export begun, while the panel was open.
        if (!self || !self->canExport())
            return;
        self->m_exportFolder = path;
        self->m_store.exportSelectedTake(path);
    });
}

void LibraryViewModel::dismissError()
{
    m_store.clearErrorMessage();
}

} // namespace vorn
