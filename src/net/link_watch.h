// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <memory>

namespace vorn {

/// Tells when the computer's links or their IPv4 addresses may have changed: a cable, another
/// Wi-Fi, an address that was given or taken. However many changes come, it tells of them once in
/// each `settling`. Tells nothing where the system refuses. Context: the thread it is made on.
class LinkWatch : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds settling{250};

    LinkWatch();

Q_SIGNALS:
    void changed();

private:
    void drain();

    FileDescriptor m_socket;
    std::unique_ptr<QSocketNotifier> m_readable;
    QTimer m_settling;
};

} // namespace vorn
