// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "netcheck/network_findings.h"
#include "views/controls/row_list_model.h"

#include <QCoroTask>
#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <chrono>

namespace vorn {

class LANDiscovery;
class LiveCameraDiscovery;

struct NetworkFindingRow {
    QString key;
    QString title;
    QString statement;
    QString advice;
    bool isGood = true;

    bool operator==(const NetworkFindingRow &) const = default;
};

/// What the network check shows. Measures as long as it is active. Context: UI thread.
class NetworkCheckViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made with the program's windows.")
    Q_PROPERTY(QAbstractItemModel *findings READ findings CONSTANT)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(bool measured READ hasMeasured NOTIFY changed)
    Q_PROPERTY(bool allGood READ isAllGood NOTIFY changed)
    Q_PROPERTY(bool active READ isActive WRITE setActive NOTIFY changed)
public:
    static constexpr std::chrono::seconds period{1};

    /// All must outlive it.
    NetworkCheckViewModel(LANDiscovery &catalogs, LiveCameraDiscovery &cameras);

    [[nodiscard]] QAbstractItemModel *findings() { return &m_findings; }
    /// How many findings ask for something.
    [[nodiscard]] QString summary() const;
    [[nodiscard]] bool hasMeasured() const { return !m_findings.rows().empty(); }
    [[nodiscard]] bool isAllGood() const;
    [[nodiscard]] bool isActive() const { return m_timer.isActive(); }
    void setActive(bool isActive);

    Q_INVOKABLE void scan();
    /// Copies what is shown as text, cameras by their addresses alone.
    Q_INVOKABLE void copyReport();

Q_SIGNALS:
    void changed();

private:
    void measure();
    QCoro::Task<> take(ListeningReport report);
    void show();

    LANDiscovery &m_catalogs;
    LiveCameraDiscovery &m_cameras;
    QTimer m_timer;
    bool m_isLooking = false; ///< at the system, on another thread
    NetworkFacts m_facts;     ///< the newest, with the cameras' names
    RowListModel<NetworkFindingRow> m_findings;
};

} // namespace vorn
