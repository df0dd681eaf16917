// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <map>
#include <memory>

struct AvahiSEntryGroup;
struct AvahiServer;

namespace vorn::rig {

/// The attributes of a service.
using ServiceText = std::map<QString, QByteArray>;

/// A phone's file server made known on the network (DNS-SD over multicast DNS), as long as this
/// lives; its end says goodbye. Every announcement has a host name of its own, so that one computer
/// passes for many phones. Needs an event loop. All of a thread's announcements share one stack,
/// which asks no daemon of the computer.
class Announcement : public QObject {
    Q_OBJECT
public:
    /// `type` is such as "_vorn-transfer._tcp"; `address` is IPv4, one of this computer's. Throws
    /// RigError.
    Announcement(const QString &serviceName, const QString &type, const QHostAddress &address,
                 quint16 port, const ServiceText &text);
    ~Announcement() override;

    /// Replaces the attributes. Throws RigError.
    void setText(const ServiceText &text);

Q_SIGNALS:
    /// Nobody else has the name: whoever asks is answered from now on.
    void published();

private:
    void add();
    void giveWay();

    std::shared_ptr<AvahiServer> m_server;
    AvahiSEntryGroup *m_group = nullptr; ///< owned
    QByteArray m_name;
    QByteArray m_type;
    QHostAddress m_address;
    quint16 m_port;
    ServiceText m_text;
    int m_interface; ///< the number of the address's interface
    int m_attempts = 0;
};

} // namespace vorn::rig
