// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/row_list_model.h"
#include "views/library/director_cut_view_model.h"
#include "views/library/editing_copies_view_model.h"
#include "views/library/take_check_view_model.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;
struct VORNProject;
struct VORNTake;

/// The pages of the dashboard, in their order on the screen.
enum class LibraryDashboardTab { overview, media, resolve, activity };

struct ReadinessRow {
    QString key; ///< the label
    bool ready = false;

    bool operator==(const ReadinessRow &) const = default;
};

struct DetailRow {
    QString key; ///< the label
    QString value;

    bool operator==(const DetailRow &) const = default;
};

struct ClipRow {
    QString key; ///< the clip's id
    QString cameraId;
    QString fileName;
    QString deviceName; ///< empty when the clip has none
    QString placeText;
    QString anchorsText;
    QString faultText; ///< what was last found when its file was read anew; empty for nothing
    bool isLocal = false;
    bool isReference = false;

    bool operator==(const ClipRow &) const = default;
};

struct TransferRow {
    QString key; ///< the clip's id
    QString clipName;
    QString phase;
    QString message;
    double progress = 0;    ///< 0 to 1
    bool isRunning = false; ///< runningTransfer tells more

    bool operator==(const TransferRow &) const = default;
};

/// The selected take in the words of the dashboard. Context: UI thread.
class TakeDashboardViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(QList<QString> tabTitles READ tabTitles CONSTANT)
    Q_PROPERTY(bool hasTake READ hasTake NOTIFY changed)
    Q_PROPERTY(QString projectName READ projectName NOTIFY changed)
    Q_PROPERTY(QString takeTitle READ takeTitle NOTIFY changed)
    Q_PROPERTY(bool complete READ complete NOTIFY changed)
    Q_PROPERTY(QString statusText READ statusText NOTIFY changed)
    Q_PROPERTY(QString camerasValue READ camerasValue NOTIFY changed)
    Q_PROPERTY(QString onMacValue READ onMacValue NOTIFY changed)
    Q_PROPERTY(QString timelineValue READ timelineValue NOTIFY changed)
    Q_PROPERTY(QString mediaText READ mediaText NOTIFY changed)
    Q_PROPERTY(bool hasClips READ hasClips NOTIFY changed)
    Q_PROPERTY(bool hasTransfers READ hasTransfers NOTIFY changed)
    Q_PROPERTY(QAbstractItemModel *readiness READ readiness CONSTANT)
    Q_PROPERTY(QAbstractItemModel *details READ details CONSTANT)
    Q_PROPERTY(QAbstractItemModel *clips READ clips CONSTANT)
    Q_PROPERTY(QAbstractItemModel *transfers READ transfers CONSTANT)
    Q_PROPERTY(vorn::WorkProgressViewModel *runningTransfer READ runningTransfer CONSTANT)
    Q_PROPERTY(vorn::TakeCheckViewModel *check READ check CONSTANT)
    Q_PROPERTY(vorn::DirectorCutViewModel *cut READ cut CONSTANT)
    Q_PROPERTY(vorn::EditingCopiesViewModel *copies READ copies CONSTANT)
public:
    explicit TakeDashboardViewModel(AppStore &store);

    [[nodiscard]] static QList<QString> tabTitles();
    [[nodiscard]] bool hasTake() const;
    [[nodiscard]] QString projectName() const;
    [[nodiscard]] QString takeTitle() const;
    [[nodiscard]] bool complete() const;
    [[nodiscard]] QString statusText() const;
    [[nodiscard]] QString camerasValue() const;
    [[nodiscard]] QString onMacValue() const;
    [[nodiscard]] QString timelineValue() const;
    /// Whether the media for an export is there.
    [[nodiscard]] QString mediaText() const;
    [[nodiscard]] bool hasClips() const { return !m_clips.rows().empty(); }
    [[nodiscard]] bool hasTransfers() const { return !m_transfers.rows().empty(); }
    [[nodiscard]] QAbstractItemModel *readiness() { return &m_readiness; }
    [[nodiscard]] QAbstractItemModel *details() { return &m_details; }
    [[nodiscard]] QAbstractItemModel *clips() { return &m_clips; }
    [[nodiscard]] QAbstractItemModel *transfers() { return &m_transfers; }
    [[nodiscard]] WorkProgressViewModel *runningTransfer() { return &m_runningTransfer; }
    [[nodiscard]] TakeCheckViewModel *check() { return &m_check; }
    [[nodiscard]] DirectorCutViewModel *cut() { return &m_cut; }
    [[nodiscard]] EditingCopiesViewModel *copies() { return &m_copies; }

    /// Makes the camera of this clip's row the one that the others are aligned to.
    Q_INVOKABLE void makeReference(int row);

Q_SIGNALS:
    void changed();

private:
    void refresh();
    void refreshTransfers();

    AppStore &m_store;
    RowListModel<ReadinessRow> m_readiness;
    RowListModel<DetailRow> m_details;
    RowListModel<ClipRow> m_clips;
    RowListModel<TransferRow> m_transfers;
    WorkProgressViewModel m_runningTransfer;
    TakeCheckViewModel m_check;
    DirectorCutViewModel m_cut;
    EditingCopiesViewModel m_copies;
};

} // namespace vorn
