#include "platform/files.h"
#include "platform/monotonic_clock.h"
#include "platform/off_thread.h"
#include "store/app_store.h"
#include "store/store_ended.h"

#include <QCoreApplication>
#include <QPointer>

#include <chrono>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// About three times a screen frame: quick enough for a bar, cheap for the interface.
constexpr std::chrono::milliseconds progressInterval{50};

} // namespace

QCoro::Task<> AppStore::exportSelectedTake(QString parentFolder)
{
    m_ui.assertCurrent();
    if (m_isBusy || !selectedProject() || !selectedTake())
        co_return;
    // Copies: the library may change while the export runs.
    const VORNProject project = *selectedProject();
    const VORNTake take = *selectedTake();

    // Called on the worker; crosses to the UI thread by a posted value.
    const auto report = [store = QPointer(this), stop = m_stop.get_token(),
                         last = MonotonicClock::time_point()](const ExportProgress &now) mutable {
        throwIfEnded(stop);
        const auto time = MonotonicClock::now();
        if (time - last < progressInterval)
            return;
        last = time;
        QMetaObject::invokeMethod(qApp, [store, now] {
            if (store && store->isBusy())
                store->setExportProgress(now);
        });
    };

    setBusy(true);
    QString failure;
    const QPointer<AppStore> self(this);
    try {
        const QString folder = co_await offThread([project, take, parentFolder, report] {
            return DriftEngine::exportPackage(project, take, parentFolder, report);
        });
        if (!self)
            co_return;
        log(u"Created Resolve export %1."_s.arg(fileNameOf(folder)));
        Q_EMIT exportCreated(folder + u"/timeline.fcpxml"_s);
    } catch (const std::exception &error) {
        failure = u"Resolve export failed: "_s + QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    setExportProgress({});
    setBusy(false);
    if (!failure.isEmpty())
        fail(failure);
}

} // namespace vorn
