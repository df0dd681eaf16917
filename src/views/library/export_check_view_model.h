// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/export_check.h"
#include "views/controls/row_list_model.h"
#include "views/library/work_progress_view_model.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;

/// One camera's clip as the check of an export found it.
struct ExportCheckRow {
    QString key;
    QString cameraId;
    QStringList findings; ///< what the export would refuse
    QStringList figures;
    QStringList notes; ///< what an editor may stumble over
    QString picture;   ///< in words; empty where there is nothing to draw
    QString heard;     ///< empty where nobody has listened
    QString heardIcon;

    bool operator==(const ExportCheckRow &) const = default;
};

/// What an export of the selected take would come to. Context: UI thread.
class ExportCheckViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(bool available READ isAvailable NOTIFY changed)
    Q_PROPERTY(bool offered READ isOffered NOTIFY changed)
    Q_PROPERTY(QString obstacle READ obstacle NOTIFY changed)
    Q_PROPERTY(bool running READ isRunning NOTIFY changed)
    Q_PROPERTY(bool checked READ isChecked NOTIFY changed)
    Q_PROPERTY(bool good READ isGood NOTIFY changed)
    Q_PROPERTY(QString takeTitle READ takeTitle NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QList<QString> takeFindings READ takeFindings NOTIFY changed)
    Q_PROPERTY(QAbstractItemModel *cameras READ cameras CONSTANT)
public:
    explicit ExportCheckViewModel(AppStore &store);

    [[nodiscard]] bool isAvailable() const { return obstacle().isEmpty(); }
    /// A check can begin, or runs and can be looked at.
    [[nodiscard]] bool isOffered() const { return isAvailable() || isRunning(); }
    /// Why nothing can be checked; empty when something can.
    [[nodiscard]] QString obstacle() const;
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] bool isChecked() const { return result() != nullptr; }
    /// Nothing stands in the way.
    [[nodiscard]] bool isGood() const;
    [[nodiscard]] QString takeTitle() const;
    [[nodiscard]] QString summary() const;
    /// What the export would say of the take as a whole.
    [[nodiscard]] QList<QString> takeFindings() const;
    [[nodiscard]] QAbstractItemModel *cameras() { return &m_cameras; }
    /// Null while there is none of the take as it is. Valid until the next change.
    [[nodiscard]] const ExportCheck *result() const;

    Q_INVOKABLE void check();
    Q_INVOKABLE void cancel();
    /// Copies what is shown as text.
    Q_INVOKABLE void copyReport();

Q_SIGNALS:
    void changed();

private:
    void refresh();

    AppStore &m_store;
    RowListModel<ExportCheckRow> m_cameras;
};

} // namespace vorn
