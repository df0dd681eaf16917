// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "base/off_thread.h"
#include "library/identity_merge.h"
#include "library/manifest_import.h"
#include "movies/movie_take.h"
#include "store/app_store.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vorn {

QCoro::Task<bool> AppStore::importManifest(QString path)
{
    m_ui.assertCurrent();
    const QPointer<AppStore> self(this);
    QString failure;
    try {
        const auto manifest =
            co_await offThread([path] { return sharedOffThread(readSourceManifest(path)); });
        if (!self)
            co_return false;
        const auto import = [manifest, path](VORNLibrary library) {
            mergeProject(importedTake(*manifest, path, library).project, library);
            return library;
        };
        if (!co_await changeLibrary(import))
            co_return false;
        Q_EMIT libraryChanged();
        setSelectedProjectID(manifest->projectId);
        setSelectedTakeID(manifest->takeId);
        save();
        log(u"Imported take %1 with %2 camera clip(s)."_s.arg(
            manifest->takeId, QString::number(manifest->clips.size())));
        co_return true;
    } catch (const std::exception &error) {
        failure = u"Manifest import failed: "_s + QString::fromUtf8(error.what());
    }
    if (self)
        fail(failure);
    co_return false;
}

QCoro::Task<bool> AppStore::createMovieTake(SourceManifest manifest)
{
    m_ui.assertCurrent();
    const QPointer<AppStore> self(this);
    QString path;
    QString failure;
    try {
        path = co_await offThread([manifest = std::move(manifest), folder = m_recordingsDirectory] {
            return writeMovieManifest(manifest, folder);
        });
    } catch (const std::exception &error) {
        failure = u"The take was not created: "_s + QString::fromUtf8(error.what());
    }
    if (self && failure.isEmpty() && co_await self->importManifest(path))
        co_return true;
    if (!path.isEmpty())
        co_await offThread([path] { removeFolderQuietly(folderOf(path)); });
    if (self && !failure.isEmpty())
        self->fail(failure);
    co_return false;
}

} // namespace vorn
