// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/row_list_model.h"
#include "views/director/edit_list_model.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <vector>

// The four pages of the Director window's inspector.
namespace vorn {

class AppStore;
class DirectorSession;
class LiveCameraDiscovery;

/// Project, take and the session's start. Context: UI thread.
class SessionPageViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the director view model.")
    Q_PROPERTY(QList<QString> projectTitles READ projectTitles NOTIFY changed)
    Q_PROPERTY(int projectIndex READ projectIndex NOTIFY changed)
    Q_PROPERTY(
        QString plannedTakeID READ plannedTakeID WRITE setPlannedTakeID NOTIFY plannedTakeIDChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY changed)
    Q_PROPERTY(QString startTitle READ startTitle NOTIFY changed)
    Q_PROPERTY(QString startObstacle READ startObstacle NOTIFY changed)
public:
    SessionPageViewModel(DirectorSession &session, AppStore &store);

    /// "Choose…", then the regular projects by name.
    [[nodiscard]] QStringList projectTitles() const;
    [[nodiscard]] int projectIndex() const;
    [[nodiscard]] QString plannedTakeID() const;
    void setPlannedTakeID(const QString &id);
    [[nodiscard]] bool canStart() const;
    [[nodiscard]] QString startTitle() const;
    [[nodiscard]] QString startObstacle() const;

    Q_INVOKABLE void chooseProject(int index);
    Q_INVOKABLE void start();

Q_SIGNALS:
    void changed();
    void plannedTakeIDChanged();

private:
    /// In the picker's order, without the first entry.
    [[nodiscard]] std::vector<QString> projectIds() const;

    DirectorSession &m_session;
    AppStore &m_store;
};

struct AudioStripRow {
    QString key; ///< the camera's id
    QString name;
    QString levelText;
    double leftDB = 0;
    double rightDB = 0;
    double gain = 0;
    bool muted = false;
    bool solo = false;

    bool operator==(const AudioStripRow &) const = default;
};

/// The cameras' levels. Context: UI thread.
class AudioPageViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the director view model.")
    Q_PROPERTY(QAbstractItemModel *strips READ strips CONSTANT)
    Q_PROPERTY(bool hasStrips READ hasStrips NOTIFY changed)
public:
    AudioPageViewModel(DirectorSession &session, LiveCameraDiscovery &discovery);

    [[nodiscard]] QAbstractItemModel *strips() { return &m_rows; }
    [[nodiscard]] bool hasStrips() const { return !m_rows.rows().empty(); }

Q_SIGNALS:
    void changed();

private:
    void refresh();

    DirectorSession &m_session;
    LiveCameraDiscovery &m_discovery;
    RowListModel<AudioStripRow> m_rows;
};

struct StatusRow {
    QString key; ///< the label
    QString value;

    bool operator==(const StatusRow &) const = default;
};

/// The preview network and what the Preview camera says of itself. Context: UI thread.
class CameraPageViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the director view model.")
    Q_PROPERTY(QAbstractItemModel *rows READ rows CONSTANT)
    Q_PROPERTY(QList<QString> policyTitles READ policyTitles CONSTANT)
    Q_PROPERTY(int policyIndex READ policyIndex WRITE setPolicyIndex NOTIFY policyIndexChanged)
public:
    explicit CameraPageViewModel(DirectorSession &session);

    [[nodiscard]] QAbstractItemModel *rows() { return &m_rows; }
    [[nodiscard]] static QStringList policyTitles();
    [[nodiscard]] int policyIndex() const;
    void setPolicyIndex(int index);

Q_SIGNALS:
    void policyIndexChanged();

private:
    void refresh();

    DirectorSession &m_session;
    RowListModel<StatusRow> m_rows;
};

/// The edit log. Context: UI thread.
class EditsPageViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the director view model.")
    Q_PROPERTY(QAbstractItemModel *edits READ edits CONSTANT)
    Q_PROPERTY(bool hasEdits READ hasEdits NOTIFY changed)
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
    Q_PROPERTY(QString closingText READ closingText NOTIFY changed)
public:
    explicit EditsPageViewModel(DirectorSession &session);

    [[nodiscard]] QAbstractItemModel *edits() { return &m_edits; }
    [[nodiscard]] bool hasEdits() const { return m_edits.rowCount() > 0; }
    [[nodiscard]] QString countText() const;
    /// Why the last edits are not on the disk; empty when they are.
    [[nodiscard]] QString problem() const;
    /// What becomes of the edits when the window closes.
    [[nodiscard]] QString closingText() const;

    /// Puts the list on the clipboard as a table.
    Q_INVOKABLE void copy();

Q_SIGNALS:
    void changed();

private:
    DirectorSession &m_session;
    EditListModel m_edits;
};

} // namespace vorn
