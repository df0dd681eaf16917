// SPDX-License-Identifier: Apache-2.0

#include "transfer/lan_discovery.h"

#include "base/text_order.h"

#include <utility>

namespace vorn {

LANDiscovery::LANDiscovery(QObject *parent)
    : QObject(parent), m_browser({transferServiceType.toString(), legacyServiceType.toString()})
{
    connect(&m_browser, &ServiceBrowser::changed, this, &LANDiscovery::apply);
    connect(&m_browser, &ServiceBrowser::stopped, this, [this] { setSearching(false); });
    start();
}

const std::vector<DiscoveredDevice> &LANDiscovery::devices() const
{
    m_ui.assertCurrent();
    return m_devices;
}

bool LANDiscovery::isSearching() const
{
    m_ui.assertCurrent();
    return m_isSearching;
}

void LANDiscovery::start()
{
    m_ui.assertCurrent();
    if (m_isSearching)
        return;
    setSearching(true);
    m_browser.start();
}

void LANDiscovery::stop()
{
    m_ui.assertCurrent();
    m_browser.stop();
    setSearching(false);
}

void LANDiscovery::restart()
{
    m_ui.assertCurrent();
    stop();
    setDevices({});
    start();
}

void LANDiscovery::apply(const std::vector<ServiceChange> &changes)
{
    m_ui.assertCurrent();
    std::vector<DiscoveredDevice> devices = m_devices;
    for (const ServiceChange &change : changes) {
        // What makes no record leaves the list as it is.
        const auto device = change.service ? discoveredDevice(*change.service) : std::nullopt;
        if (change.service && !device)
            continue;
        std::erase_if(devices, [&](const DiscoveredDevice &other) {
            return other.serviceName == change.name && other.serviceType == change.type;
        });
        if (device)
            devices.push_back(*device);
    }
    sortByText(devices, &DiscoveredDevice::serviceName);
    setDevices(std::move(devices));
}

void LANDiscovery::setSearching(bool isSearching)
{
    m_ui.assertCurrent();
    if (std::exchange(m_isSearching, isSearching) != isSearching)
        Q_EMIT isSearchingChanged();
}

void LANDiscovery::setDevices(std::vector<DiscoveredDevice> devices)
{
    m_ui.assertCurrent();
    if (std::exchange(m_devices, std::move(devices)) != m_devices)
        Q_EMIT devicesChanged();
}

} // namespace vorn
