// SPDX-License-Identifier: Apache-2.0

// Any bytes as a camera's answer over a pinned connection: an error, or a sound answer within its
// bounds.

#include "check.h"
#include "https/https_connection.h"
#include "rig/transfer/tls_identity.h"
#include "tcp_server.h"
#include "transfer/range_answer.h"
#include "transfer/transfer_error.h"

#include <csignal>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr std::int64_t mostBytes = 4096;

class Camera {
public:
    [[nodiscard]] HttpsOrigin origin() const
    {
        return {.host = "camera.local",
                .port = m_server.port(),
                .address = "127.0.0.1",
                .certificateSHA256 = m_identity.fingerprint()};
    }

    /// From the next connection on; one may still be served that the client has left.
    void willAnswer(const QByteArray &answer)
    {
        const std::scoped_lock lock(m_mutex);
        m_answer = answer;
    }

private:
    void serve(const TcpPeer &peer)
    {
        const std::unique_ptr<SSL, decltype(&SSL_free)> tls(SSL_new(m_context.get()), SSL_free);
        SSL_set_fd(tls.get(), peer.descriptor());
        char request[1024]; // its head comes at once
        if (SSL_accept(tls.get()) != 1 || SSL_read(tls.get(), request, sizeof request) <= 0)
            return;
        const QByteArray answer = [this] {
            const std::scoped_lock lock(m_mutex);
            return m_answer;
        }();
        if (!answer.isEmpty() && SSL_write(tls.get(), answer.constData(), int(answer.size())) > 0)
            SSL_shutdown(tls.get());
        OPENSSL_thread_stop();
    }

    std::mutex m_mutex;
    QByteArray m_answer;
    const rig::TlsIdentity m_identity{u"camera"_s};
    const std::shared_ptr<SSL_CTX> m_context = m_identity.context();
    TcpServer m_server{[this](TcpPeer &peer) { serve(peer); }};
};

void checkAnswer(const HttpsAnswer &answer)
{
    check(answer.head.status >= 200 && answer.head.status <= 999, "an answer is a final one");
    check(answer.body.size() <= mostBytes, "a body is bounded");
    requireSoundBody(answer.head);
    const auto declared = answer.head.contentLength();
    const bool hasNoBody = answer.head.status == 204 || answer.head.status == 304;
    check(!declared || hasNoBody || *declared == answer.body.size(), "a body is what was declared");
    for (const HttpsHead::Header &header : answer.head.headers)
        check(!header.name.contains('\n') && !header.value.contains('\n'), "a header is a line");

    const FileRange range{.start = 2, .end = 5, .total = 10, .sha256 = QString(64, u'a')};
    try {
        requireAnswersRange(answer.head, range);
        check(answer.head.status == 206 && answer.body.size() == range.length(),
              "a range is what was asked for");
    } catch (const TransferProtocolError &) {
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    [[maybe_unused]] static const auto before = std::signal(SIGPIPE, SIG_IGN);
    static Camera camera;
    camera.willAnswer(inputBytes(data, size));
    HttpsRequest request;
    request.target = "/";
    request.maximumBodyBytes = mostBytes;
    const StopSignal never;
    try {
        checkAnswer(HttpsConnection(camera.origin(), {}).perform(request, never));
    } catch (const HttpsError &error) {
        const auto reason = error.reason();
        using enum HttpsError::Case;
        check(reason == lost || reason == notHttp || reason == malformed || reason == tooLarge,
              "an answer fails for what it is");
    }
    return 0;
}
