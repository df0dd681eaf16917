// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/thread_context.h"
#include "base/worker_thread.h"
#include "https/https_connection.h"

#include <QCoroTask>
#include <QObject>

#include <optional>

namespace vorn {

/// One HTTPS connection to one origin whose leaf certificate has one SHA-256, on a thread of its
/// own. Requests queue on it, in their order. Context: UI thread.
class PinnedHttps {
public:
    explicit PinnedHttps(HttpsOrigin origin, HttpsLimits limits = {});
    ~PinnedHttps(); ///< as close()
    PinnedHttps(const PinnedHttps &) = delete;
    PinnedHttps &operator=(const PinnedHttps &) = delete;

    /// The answer to `request`, whose `received` is called on this thread and not after the end of
    /// this object, at most every 100 ms. Throws HttpsError, and what `checkHead` throws.
    [[nodiscard]] QCoro::Task<HttpsAnswer> send(HttpsRequest request);

    /// The requests that wait fail; those to come go over a new connection.
    void cancel();
    /// Ends the connection and its thread, which takes milliseconds: the requests that wait, and
    /// all to come, fail.
    void close();

private:
    void start() VORN_RUNS_ON(m_ui);

    ThreadContext m_ui;
    const HttpsOrigin m_origin;
    const HttpsLimits m_limits;
    QObject m_inbox; ///< receives the progress of requests
    StopSignal m_stop;
    std::optional<WorkerThread<HttpsConnection>> m_thread VORN_OWNED_BY(m_ui); ///< absent: closed
};

} // namespace vorn
