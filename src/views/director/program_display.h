// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "desktop/display_inhibitor.h"
#include "desktop/sleep_inhibitor.h"

#include <QObject>
#include <QWindow>

#include <memory>
#include <optional>

class QScreen;

namespace vorn {

/// The window that shows Program alone, and the display that it is on: not the Director window's,
/// where there is another. Neither computer nor displays sleep while it is open. Context: UI
/// thread.
class ProgramDisplay : public QObject {
    Q_OBJECT
public:
    /// `desk`, the Director window, must outlive it.
    ProgramDisplay(std::unique_ptr<QWindow> window, const QWindow &desk);

    [[nodiscard]] QWindow &window() { return *m_window; }
    /// Where it belongs; before it is shown.
    void takePlace();

private Q_SLOTS:
    void toggleFullScreen();

private:
    [[nodiscard]] QScreen &display() const;
    void centreOn(QScreen &screen);
    void onVisible(bool isVisible);
    void onScreenRemoved(const QScreen *screen);
    void comeBack();

    std::unique_ptr<QWindow> m_window;
    const QWindow &m_desk;
    std::optional<SleepInhibitor> m_computerAwake;
    std::optional<DisplayInhibitor> m_displaysAwake;
};

} // namespace vorn
