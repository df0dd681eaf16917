// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/recorded_sessions.h"

#include <QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>

namespace vorn {

class AppStore;

/// The director's cut that an export of the selected take brings: of which session, whether at
/// all, and how exact it will be. Context: UI thread.
class DirectorCutViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the dashboard view model.")
    Q_PROPERTY(bool hasSession READ hasSession NOTIFY changed)
    Q_PROPERTY(QList<QString> sessionTitles READ sessionTitles NOTIFY changed)
    Q_PROPERTY(int sessionIndex READ sessionIndex NOTIFY changed)
    Q_PROPERTY(bool canInclude READ canInclude NOTIFY changed)
    Q_PROPERTY(bool included READ isIncluded NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QString places READ places NOTIFY changed)
    Q_PROPERTY(bool placed READ isPlaced NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
    Q_PROPERTY(QString deleteQuestion READ deleteQuestion NOTIFY changed)
public:
    using Decisions = std::vector<CutDecision>;

    explicit DirectorCutViewModel(AppStore &store);

    /// Some session was filming this take.
    [[nodiscard]] bool hasSession() const { return !m_sessions.empty(); }
    /// Latest first.
    [[nodiscard]] QStringList sessionTitles() const;
    /// -1 when there is none.
    [[nodiscard]] int sessionIndex() const;
    /// The session has decisions that can be placed, as far as is known.
    [[nodiscard]] bool canInclude() const;
    [[nodiscard]] bool isIncluded() const { return canInclude() && m_isWanted; }
    /// What the export will bring.
    [[nodiscard]] QString summary() const;
    /// How exact the places of the decisions are, or why that is not known; empty when it does not
    /// matter.
    [[nodiscard]] QString places() const;
    /// They are known.
    [[nodiscard]] bool isPlaced() const { return m_outlook.has_value(); }
    /// What could not be read or done; empty when all could.
    [[nodiscard]] QString problem() const;
    /// What askToDelete() asks.
    [[nodiscard]] const QString &deleteQuestion() const { return m_deleteQuestion; }

    Q_INVOKABLE void choose(int index);
    Q_INVOKABLE void setIncluded(bool included);
    /// Shows the session's journal in the file browser.
    Q_INVOKABLE void show() const;
    /// Asks about the session that is chosen now, whatever will be chosen when the answer comes.
    Q_INVOKABLE void askToDelete();
    /// Deletes the journal of the session that was asked about.
    Q_INVOKABLE void remove();

    /// Looks for sessions again; what is running may have got further.
    QCoro::Task<> look();
    /// What reads the decisions that an export is to include, on any thread; empty for none.
    [[nodiscard]] std::function<Decisions(const VORNTake &)> decisions() const;

public Q_SLOTS:
    void refresh();

Q_SIGNALS:
    void changed();

private:
    void followSelection();
    void findSessions();
    /// Reads what the take's recordings say of the decisions' places.
    QCoro::Task<> place();
    QCoro::Task<> removeJournal(QString path);
    [[nodiscard]] const RecordedSession *session() const;
    /// Made while the session's cameras recorded the take.
    [[nodiscard]] std::size_t decisionCount(const RecordedSession &session) const;

    AppStore &m_store;
    RecordedSessions m_all;
    std::vector<RecordedSession> m_sessions; ///< of the selected take
    std::optional<QString> m_chosen;         ///< path; absent for the latest with a decision
    bool m_isWanted = true;
    std::optional<CutOutlook> m_outlook; ///< of the chosen session
    QString m_obstacle;                  ///< why there is no outlook
    QString m_failure;                   ///< of what was asked for last
    QString m_toDelete;                  ///< path
    QString m_deleteQuestion;
    int m_looks = 0; ///< so many have begun
    int m_placings = 0;
};

} // namespace vorn
