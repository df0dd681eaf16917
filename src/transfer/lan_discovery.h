// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/thread_context.h"
#include "net/service_browser.h"
#include "transfer/discovered_device.h"

#include <QObject>
#include <QString>

#include <functional>
#include <vector>

namespace vorn {

/// The cameras' file servers on the local network, those that can pair and older ones. Searches
/// from the moment it is made. Context: UI thread.
class LANDiscovery : public QObject {
    Q_OBJECT
public:
    explicit LANDiscovery(QObject *parent = nullptr);

    /// By serviceName in the user's language; equal names in the order of their arrival.
    [[nodiscard]] const std::vector<DiscoveredDevice> &devices() const;
    [[nodiscard]] bool isSearching() const;
    /// Through what it searches.
    [[nodiscard]] ServiceSource source() const { return m_browser.source(); }

    /// Searches again after stop(), or after a search that ended by itself.
    void start();
    /// Searches no more. The list stays.
    void stop();
    /// Empties the list and searches anew.
    void restart();

Q_SIGNALS:
    void devicesChanged();
    void isSearchingChanged();

private:
    void apply(const std::vector<ServiceChange> &changes);
    void setSearching(bool isSearching);
    void setDevices(std::vector<DiscoveredDevice> devices);

    ThreadContext m_ui;
    std::vector<DiscoveredDevice> m_devices VORN_OWNED_BY(m_ui);
    bool m_isSearching VORN_OWNED_BY(m_ui) = false;
    ServiceBrowser m_browser;
};

} // namespace vorn
