#pragma once

#include "platform/monotonic_clock.h"

#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <cstdint>
#include <deque>
#include <functional>

namespace vorn {

class AppStore;

/// "812 MB", "1.24 GB": three digits and a decimal unit; bytes below one kilobyte are counted out.
[[nodiscard]] QString byteText(double bytes);
/// "0:07", "12:40", "1:02:03".
[[nodiscard]] QString clockText(std::chrono::seconds duration);

/// The running export in numbers. The rate is that of the last seconds; texts change at most four
/// times a second, so that they can be read. Context: UI thread.
class ExportProgressViewModel : public QObject {
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
    using Clock = std::function<MonotonicClock::time_point()>;

    explicit ExportProgressViewModel(AppStore &store, Clock clock = MonotonicClock::now);

    [[nodiscard]] bool running() const { return m_running; }
    /// Which camera's file is being verified, and the how manieth it is.
    [[nodiscard]] const QString &title() const { return m_title; }
    [[nodiscard]] double fraction() const { return m_fraction; } ///< 0 to 1
    [[nodiscard]] const QString &bytesText() const { return m_bytesText; }
    [[nodiscard]] const QString &rateText() const { return m_rateText; }
    [[nodiscard]] const QString &timeLeftText() const { return m_timeLeftText; }

Q_SIGNALS:
    void changed();

private:
    struct Sample {
        MonotonicClock::time_point time;
        std::int64_t bytes = 0;
    };

    void update();
    void publish();
    [[nodiscard]] double bytesPerSecond() const;

    AppStore &m_store;
    Clock m_clock;
    QTimer m_refresh; ///< a stalled disk reports nothing, and the rate must still fall
    std::deque<Sample> m_samples;
    bool m_running = false;
    QString m_title;
    double m_fraction = 0;
    QString m_bytesText;
    QString m_rateText;
    QString m_timeLeftText;
};

} // namespace vorn
