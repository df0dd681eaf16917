// SPDX-License-Identifier: Apache-2.0

#include "https/pinned_https.h"

#include <QCoroFuture>
#include <QPromise>

#include <utility>

namespace vorn {
namespace {

/// A request on its way to the connection's thread, and the way back for its answer.
struct Job {
    HttpsRequest request;
    QPromise<std::shared_ptr<HttpsAnswer>> promise;
};

} // namespace

PinnedHttps::PinnedHttps(HttpsOrigin origin, HttpsLimits limits)
    : m_origin(std::move(origin)), m_limits(limits)
{
    start();
}

void PinnedHttps::start()
{
    m_thread.emplace(QStringLiteral("https"), [origin = m_origin, limits = m_limits] {
        return std::make_unique<HttpsConnection>(origin, limits);
    });
}

void PinnedHttps::cancel()
{
    m_ui.assertCurrent();
    if (!m_thread)
        return;
    close();
    m_stop = StopSignal();
    start();
}

PinnedHttps::~PinnedHttps()
{
    close();
}

QCoro::Task<HttpsAnswer> PinnedHttps::send(HttpsRequest request)
{
    m_ui.assertCurrent();
    if (!m_thread)
        throw HttpsError(HttpsError::Case::closed);
    const auto job = std::make_shared<Job>();
    job->request = std::move(request);
    if (job->request.received) {
        job->request.received = [inbox = &m_inbox,
                                 received = job->request.received](std::int64_t bytes) {
            QMetaObject::invokeMethod(
                inbox, [received, bytes] { received(bytes); }, Qt::QueuedConnection);
        };
    }
    job->promise.start();
    auto future = job->promise.future();
    m_thread->post([job, &stop = m_stop](HttpsConnection &connection) {
        try {
            job->promise.addResult(
                std::make_shared<HttpsAnswer>(connection.perform(job->request, stop)));
        } catch (...) {
            job->promise.setException(std::current_exception());
        }
        job->promise.finish();
    });
    const auto answer = co_await future;
    co_return std::move(*answer);
}

void PinnedHttps::close()
{
    m_ui.assertCurrent();
    m_stop.request(); // what the thread waits for ends
    m_thread.reset();
}

} // namespace vorn
