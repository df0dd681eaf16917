// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/editing_copy_forecast.h"

#include <QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <stop_token>

namespace vorn {

class AppStore;

/// Whether an export of the selected take brings editing copies, and what these take. Context: UI
/// thread.
class EditingCopiesViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the dashboard view model.")
    Q_PROPERTY(bool available READ isAvailable NOTIFY changed)
    Q_PROPERTY(bool wanted READ isWanted NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
public:
    explicit EditingCopiesViewModel(AppStore &store);
    ~EditingCopiesViewModel() override;

    /// This computer can make copies.
    [[nodiscard]] bool isAvailable() const { return m_missing.isEmpty(); }
    [[nodiscard]] bool isWanted() const { return m_isWanted && isAvailable(); }
    /// What the copies take; empty where that is the problem.
    [[nodiscard]] QString summary() const;
    /// Why there can be none, or nothing is known of them; empty for nothing.
    [[nodiscard]] QString problem() const;

    Q_INVOKABLE void setWanted(bool wanted);

public Q_SLOTS:
    /// Looks again for what makes copies.
    void refresh();

Q_SIGNALS:
    void changed();

private:
    /// No take is exported with copies unless that is asked for.
    void followSelection();
    void restart();
    QCoro::Task<> measure();

    AppStore &m_store;
    bool m_isWanted = false;
    QString m_missing; ///< what has to be installed
    std::optional<EditingCopyForecast> m_forecast;
    QString m_obstacle; ///< why there is no forecast
    std::stop_source m_measuring;
};

} // namespace vorn
