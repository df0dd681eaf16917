// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/library/progress_text.h"

#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>

namespace vorn {

/// How far something is that takes its time.
struct WorkProgress {
    QString title; ///< as shown
    std::int64_t completedBytes = 0;
    std::int64_t totalBytes = 0;
    int stage = 0;             ///< another one where the bytes jump
    bool countsPlaces = false; ///< they are places, not bytes
};

/// Running work in numbers. They change a few times a second, so that they can be read. Context: UI
/// thread.
class WorkProgressViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(bool running READ running NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(double fraction READ fraction NOTIFY changed)
    Q_PROPERTY(QString bytesText READ bytesText NOTIFY changed)
    Q_PROPERTY(QString rateText READ rateText NOTIFY changed)
    Q_PROPERTY(QString timeLeftText READ timeLeftText NOTIFY changed)
public:
    /// What is running, or nothing.
    using Source = std::function<std::optional<WorkProgress>()>;

    explicit WorkProgressViewModel(Source source);

    [[nodiscard]] bool running() const { return m_refresh.isActive(); }
    [[nodiscard]] const QString &title() const { return m_title; }
    [[nodiscard]] double fraction() const { return m_fraction; } ///< 0 to 1
    [[nodiscard]] const QString &bytesText() const { return m_bytesText; }
    [[nodiscard]] const QString &rateText() const { return m_rateText; }
    [[nodiscard]] const QString &timeLeftText() const { return m_timeLeftText; }

public Q_SLOTS:
    /// To be called when the source may have something to tell, or nothing more.
    void startOrStop();

Q_SIGNALS:
    void changed();

private:
    void refresh();

    Source m_source;
    QTimer m_refresh; ///< what stalls reports nothing, and the rate must fall all the same
    RateMeter m_meter;
    int m_stage = 0;
    QString m_title;
    double m_fraction = 0;
    QString m_bytesText;
    QString m_rateText;
    QString m_timeLeftText;
};

} // namespace vorn
