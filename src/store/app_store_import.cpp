// SPDX-License-Identifier: Apache-2.0

#include "base/off_thread.h"
#include "library/identity_merge.h"
#include "library/manifest_import.h"
#include "store/app_store.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vorn {

QCoro::Task<> AppStore::importManifest(QString path)
{
    m_ui.assertCurrent();
    const QPointer<AppStore> self(this);
    QString failure;
    try {
        const auto manifest =
            co_await offThread([path] { return sharedOffThread(readSourceManifest(path)); });
        if (!self)
            co_return;
        const auto import = [manifest, path](VORNLibrary library) {
            mergeProject(importedTake(*manifest, path, library).project, library);
            return library;
        };
        if (!co_await changeLibrary(import))
            co_return;
        Q_EMIT libraryChanged();
        setSelectedProjectID(manifest->projectId);
        setSelectedTakeID(manifest->takeId);
        save();
        log(u"Imported take %1 with %2 camera clip(s)."_s.arg(
            manifest->takeId, QString::number(manifest->clips.size())));
    } catch (const std::exception &error) {
        failure = u"Manifest import failed: "_s + QString::fromUtf8(error.what());
    }
    if (self && !failure.isEmpty())
        fail(failure);
}

} // namespace vorn
