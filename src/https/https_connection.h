// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "base/stop_signal.h"
#include "https/certificate_pin.h"
#include "https/https_message.h"

#include <chrono>
#include <memory>

namespace vorn {

/// How long a server may take.
struct HttpsLimits {
    std::chrono::milliseconds silence{30'000}; ///< without a byte, connecting included
    std::chrono::milliseconds total{60'000};   ///< for a whole request
};

/// One kept-alive HTTPS connection (HTTP/1.1, TLS 1.2 or newer) to one pinned origin, over libcurl.
/// It is made anew when the server has closed it, and then asks for the certificate again. Follows
/// no redirect, knows no cookies, proxies or passwords, and reads neither the environment nor the
/// system's trusted certificates. Blocks; used by one thread.
class HttpsConnection {
public:
    /// Connects with the first request.
    HttpsConnection(HttpsOrigin origin, HttpsLimits limits);
    ~HttpsConnection();
    HttpsConnection(const HttpsConnection &) = delete;
    HttpsConnection &operator=(const HttpsConnection &) = delete;

    /// Sends the request and waits for the whole answer. A requested stop ends the wait at once.
    /// Throws HttpsError, and what `checkHead` throws.
    [[nodiscard]] HttpsAnswer perform(const HttpsRequest &request, const StopSignal &stop);

    /// Closes the connection and wipes what was kept for it.
    void close();

private:
    class Exchange;
    struct Handles;

    void open();
    void prepare(const HttpsRequest &request, Exchange &exchange);
    [[nodiscard]] HttpsAnswer run(Exchange &exchange, const StopSignal &stop);

    HttpsOrigin m_origin;
    CertificatePin m_pin; ///< outlives the handles
    HttpsLimits m_limits;
    std::unique_ptr<Handles> m_handles; ///< absent while closed
};

} // namespace vorn
