// SPDX-License-Identifier: Apache-2.0

#include "net/service_browser.h"

#include "net/service_browser_worker.h"

using namespace Qt::StringLiterals;

namespace vorn {

namespace {

// A call to a daemon that hangs returns after 25 seconds, for which nobody waits to quit.
constexpr std::chrono::milliseconds longestEnd{1000};

} // namespace

ServiceBrowser::ServiceBrowser(const QStringList &types, QObject *parent)
    : QObject(parent),
      m_worker(
          u"service-browser"_s,
          [this, types] {
              auto worker = std::make_unique<ServiceBrowserWorker>(types);
              // Made on the worker's thread, these arrive on the UI thread.
              connect(worker.get(), &ServiceBrowserWorker::sourceChanged, this,
                      [this](ServiceSource source) {
                          m_ui.assertCurrent();
                          m_source = source;
                      });
              connect(worker.get(), &ServiceBrowserWorker::changed, this,
                      [this](std::uint64_t run, const std::vector<ServiceChange> &changes) {
                          m_ui.assertCurrent();
                          if (run == m_run)
                              Q_EMIT changed(changes);
                      });
              connect(worker.get(), &ServiceBrowserWorker::stopped, this,
                      [this](std::uint64_t run, const QString &type) {
                          m_ui.assertCurrent();
                          if (run == m_run)
                              Q_EMIT stopped(type);
                      });
              return worker;
          },
          longestEnd)
{
}

ServiceBrowser::~ServiceBrowser() = default;

void ServiceBrowser::start()
{
    m_ui.assertCurrent();
    m_worker.post([run = m_run](ServiceBrowserWorker &worker) { worker.start(run); });
}

void ServiceBrowser::stop()
{
    m_ui.assertCurrent();
    ++m_run;
    m_worker.post([](ServiceBrowserWorker &worker) { worker.stop(); });
}

ServiceSource ServiceBrowser::source() const
{
    m_ui.assertCurrent();
    return m_source;
}

} // namespace vorn
