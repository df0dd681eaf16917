// SPDX-License-Identifier: Apache-2.0

#include "views/network/network_check_view_model.h"

#include "base/display_text.h"
#include "base/off_thread.h"
#include "live/live_camera_discovery.h"
#include "netcheck/network_report.h"
#include "transfer/lan_discovery.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {

NetworkCheckViewModel::NetworkCheckViewModel(LANDiscovery &catalogs, LiveCameraDiscovery &cameras)
    : m_catalogs(catalogs),
      m_cameras(cameras),
      m_findings({{"title", &NetworkFindingRow::title},
                  {"statement", &NetworkFindingRow::statement},
                  {"advice", &NetworkFindingRow::advice},
                  {"isGood", &NetworkFindingRow::isGood}})
{
    m_timer.setInterval(period);
    m_timer.callOnTimeout(this, &NetworkCheckViewModel::measure);
    connect(&cameras, &LiveCameraDiscovery::measured, this,
            [this](const ListeningReport &report) { take(report); });
}

QString NetworkCheckViewModel::summary() const
{
    const auto open = std::ranges::count(m_findings.rows(), false, &NetworkFindingRow::isGood);
    if (!hasMeasured())
        return u"Measuring…"_s;
    if (open == 0)
        return u"Nothing stands in the way."_s;
    return open == 1 ? u"One thing to look at."_s : u"%1 things to look at."_s.arg(open);
}

bool NetworkCheckViewModel::isAllGood() const
{
    return std::ranges::all_of(m_findings.rows(), &NetworkFindingRow::isGood);
}

void NetworkCheckViewModel::setActive(bool isActive)
{
    if (isActive == m_timer.isActive())
        return;
    if (isActive) {
        m_timer.start();
        measure();
    } else {
        m_timer.stop();
    }
    Q_EMIT changed();
}

void NetworkCheckViewModel::scan()
{
    m_cameras.rescan();
}

void NetworkCheckViewModel::copyReport()
{
    NetworkFacts facts = m_facts;
    for (HeardCamera &camera : facts.cameras)
        camera.name.clear();
    const QString program = u"VORN Desktop %1"_s.arg(QCoreApplication::applicationVersion());
    QGuiApplication::clipboard()->setText(
        networkReport(networkFindings(facts), program, QDateTime::currentDateTimeUtc()));
}

void NetworkCheckViewModel::measure()
{
    // A port that was taken may be free by now.
    if (!m_cameras.isListening())
        m_cameras.start();
    m_cameras.measure();
}

QCoro::Task<> NetworkCheckViewModel::take(ListeningReport report)
{
    if (m_isLooking)
        co_return;
    m_isLooking = true;
    std::vector<HeardCamera> heard;
    std::vector<QString> hosts;
    for (const LiveCamera &camera : m_cameras.cameras()) {
        if (!camera.isOnline(m_cameras.now()) || camera.isDirector())
            continue;
        heard.push_back({.name = displayText(camera.name), .host = camera.host});
        hosts.push_back(camera.host);
    }
    const QPointer<NetworkCheckViewModel> self(this);
    SystemLook look = co_await offThread([hosts] { return lookAtSystem(hosts); });
    if (!self)
        co_return;
    m_isLooking = false;
    m_facts = {.listening = std::move(report),
               .listeningProblem = m_cameras.errorMessage().value_or(QString()),
               .system = std::move(look),
               .services = m_catalogs.source(),
               .fileServers = qsizetype(m_catalogs.devices().size()),
               .cameras = std::move(heard)};
    show();
}

void NetworkCheckViewModel::show()
{
    std::vector<NetworkFindingRow> rows;
    for (NetworkFinding &finding : networkFindings(m_facts)) {
        const auto isSame = [&](const NetworkFindingRow &row) {
            return row.title == finding.title;
        };
        const auto before = std::ranges::count_if(rows, isSame);
        rows.push_back({.key = u"%1 %2"_s.arg(finding.title).arg(before),
                        .title = finding.title,
                        .statement = finding.statement,
                        .advice = finding.advice,
                        .isGood = finding.isGood});
    }
    m_findings.setRows(std::move(rows));
    Q_EMIT changed();
}

} // namespace vorn
