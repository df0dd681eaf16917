// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"
#include "views/library/download_outlook.h"

#include <QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;

/// What a download of the selected take would need, against what there is. Context: UI thread.
class DownloadOutlookViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(bool warning READ isWarning NOTIFY changed)
public:
    explicit DownloadOutlookViewModel(AppStore &store);

    /// Empty when there is nothing to fetch, or no way to.
    [[nodiscard]] const QString &text() const { return m_notice.text; }
    [[nodiscard]] bool isWarning() const { return m_notice.isWarning; }

public Q_SLOTS:
    /// To be called when the take, the sessions or the time have changed.
    void refresh();

Q_SIGNALS:
    void changed();

private:
    void show();
    [[nodiscard]] DownloadOutlook outlook() const;
    /// Asks the disk, on another thread.
    QCoro::Task<> measure();
    [[nodiscard]] bool hasMeasured() const; ///< the take that is selected

    /// What the disk said of a take.
    struct DiskState {
        QString projectId;
        QString takeId;
        std::optional<std::int64_t> freeBytes;
        std::int64_t presentBytes = 0; ///< of the take's recordings, from downloads broken off
    };
    [[nodiscard]] static DiskState diskState(const QString &folder, const QString &projectId,
                                             const QString &takeId, const QList<VORNClip> &clips);
    /// Of the selected take; those of a running download are on their way already.
    [[nodiscard]] QList<VORNClip> clipsToFetch() const;

    AppStore &m_store;
    DiskState m_disk;
    bool m_isMeasuring = false;
    DownloadNotice m_notice;
};

} // namespace vorn
