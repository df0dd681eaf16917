// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"
#include "live/live_packet.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace vorn {

/// How far a question came.
enum class Reach {
    untried,
    unreachable, ///< no connection came about
    refused,     ///< the host is there and has nothing that listens
    silent,      ///< connected, and no answer as a camera gives it
    answered,
};

/// Asks one host over TCP who it is. A camera answers a byte with a length and a snapshot; all else
/// is no answer. Ends once, within `patience`, and has closed its socket by then.
/// Context: the thread it is made on.
class CameraProbe : public QObject {
    Q_OBJECT
public:
    /// For the whole of it: a host that sends a byte now and then gains nothing.
    static constexpr std::chrono::milliseconds patience{800};

    CameraProbe(const QString &host, QObject *parent);

    /// How far it came, once finished.
    [[nodiscard]] Reach reach() const { return m_reach; }

Q_SIGNALS:
    void finished(const std::optional<vorn::LiveCameraPacket> &answer);

private:
    void ask();
    void read();
    /// False when the connection has failed, or its answer cannot be one.
    [[nodiscard]] bool readOn();
    void finish(const std::optional<LiveCameraPacket> &answer);

    FileDescriptor m_socket;
    std::unique_ptr<QSocketNotifier> m_writable;
    std::unique_ptr<QSocketNotifier> m_readable;
    QTimer m_deadline;
    QByteArray m_answer;      ///< length and body, as long as is known to come
    qsizetype m_received = 0; ///< bytes of it that are there
    Reach m_reach = Reach::unreachable;
    bool m_isFinished = false;
};

} // namespace vorn
