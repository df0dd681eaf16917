#pragma once

#include "views/progress_text.h"

#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;

/// The running export in numbers. They change a few times a second, so that they can be read.
/// Context: UI thread.
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
    explicit ExportProgressViewModel(AppStore &store);

    [[nodiscard]] bool running() const { return m_refresh.isActive(); }
    /// Which camera's file is being verified, and the how manieth it is.
    [[nodiscard]] const QString &title() const { return m_title; }
    [[nodiscard]] double fraction() const { return m_fraction; } ///< 0 to 1
    [[nodiscard]] const QString &bytesText() const { return m_bytesText; }
    [[nodiscard]] const QString &rateText() const { return m_rateText; }
    [[nodiscard]] const QString &timeLeftText() const { return m_timeLeftText; }

Q_SIGNALS:
    void changed();

private:
    void startOrStop();
    void refresh();

    AppStore &m_store;
    QTimer m_refresh; ///< a stalled disk reports nothing, and the rate must fall all the same
    RateMeter m_meter;
    QString m_title;
    double m_fraction = 0;
    QString m_bytesText;
    QString m_rateText;
    QString m_timeLeftText;
};

} // namespace vorn
