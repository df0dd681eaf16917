#include "library/identity_merge.h"
#include "library/manifest_import.h"
#include "store/app_store.h"

using namespace Qt::StringLiterals;

namespace vorn {

void AppStore::importManifest(const QString &path)
{
    m_ui.assertCurrent();
    try {
        ImportedTake imported = importedTake(readSourceManifest(path), path, m_library);
        const QString projectId = imported.project.id;
        mergeProject(std::move(imported.project), m_library);
        Q_EMIT libraryChanged();
        setSelectedProjectID(projectId);
        setSelectedTakeID(imported.takeId);
        save();
        log(u"Imported take %1 with %2 camera clip(s)."_s.arg(imported.takeId,
                                                              QString::number(imported.clipCount)));
    } catch (const std::exception &error) {
        fail(u"Manifest import failed: "_s + QString::fromUtf8(error.what()));
    }
}

} // namespace vorn
