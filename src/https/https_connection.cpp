// SPDX-License-Identifier: Apache-2.0

#include "https/https_connection.h"

#include "https/wiping_curl.h"

#include <QScopeGuard>

#include <curl/curl.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <exception>
#include <new>

namespace vorn {
namespace {

using Case = HttpsError::Case;

/// Bytes of all headers of an answer, interim answers and trailers included.
constexpr std::size_t maximumHeaderBytes = std::size_t{64} * 1024;
/// Reserved for a body of unknown length, so that a short one, which may hold a secret, never
/// moves.
constexpr std::int64_t firstBodyBytes = std::int64_t{64} * 1024;
/// What `received` is told at most every.
constexpr std::chrono::milliseconds progressInterval{100};

template <auto release> struct Releaser {
    template <class Handle> void operator()(Handle *handle) const { release(handle); }
};
using CurlHeaders = std::unique_ptr<curl_slist, Releaser<curl_slist_free_all>>;

template <class Value> void set(CURL *handle, CURLoption option, Value value)
{
    // Fails closed: an option that is not known here may be the one that asks for the pin.
    if (curl_easy_setopt(handle, option, value) != CURLE_OK)
        throw HttpsError(Case::noSecureConnection);
}

void append(CurlHeaders &headers, const char *line)
{
    curl_slist *const longer = curl_slist_append(headers.get(), line);
    if (!longer)
        throw std::bad_alloc();
    if (!headers) // else the list keeps its beginning
        headers.reset(longer);
}

bool isPrintable(char c)
{
    return c >= 0x20 && c <= 0x7E;
}

bool isSendable(const HttpsRequest &request)
{
    const auto isLine = [](const SecretBytes &line) {
        return std::ranges::all_of(line, isPrintable) && std::ranges::count(line, ':') > 0;
    };
    const auto isTargetByte = [](char c) { return isPrintable(c) && c != ' '; };
    return request.target.startsWith('/') && std::ranges::all_of(request.target, isTargetByte)
           && std::ranges::all_of(request.headers, isLine);
}

Case caseOf(CURLcode result)
{
    switch (result) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
        return Case::unreachable;
    case CURLE_OPERATION_TIMEDOUT:
        return Case::timedOut;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
        return Case::noSecureConnection;
    case CURLE_UNSUPPORTED_PROTOCOL: // no status line of a version that is spoken here
        return Case::notHttp;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_OUT_OF_MEMORY: // a header line beyond libcurl's own bound
        return Case::malformed;
    default:
        return Case::lost;
    }
}

} // namespace

struct HttpsConnection::Handles {
    std::unique_ptr<CURLM, Releaser<curl_multi_cleanup>> multi;
    std::unique_ptr<CURL, Releaser<curl_easy_cleanup>> easy;
    std::unique_ptr<curl_slist, Releaser<curl_slist_free_all>> addresses;
};

/// One request on its way, as libcurl's callbacks see it.
class HttpsConnection::Exchange {
public:
    Exchange(CURL *handle, const HttpsRequest &request) : m_handle(handle), m_request(request) {}
    /// An answer cut short may hold a secret as well.
    ~Exchange() { wipe(m_answer.body); }
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;

    [[nodiscard]] MonotonicClock::time_point lastByte() const { return m_lastByte; }
    CurlHeaders headers; ///< must live until the request has ended

    /// The answer, after the request has ended with `result`.
    [[nodiscard]] HttpsAnswer finish(CURLcode result, const CertificatePin &pin);

    static std::size_t onHeaderLine(char *line, std::size_t, std::size_t size, void *self)
    {
        return static_cast<Exchange *>(self)->guarded(
            size, [&](Exchange &exchange) { exchange.takeHeaderLine({line, qsizetype(size)}); });
    }
    static std::size_t onBody(char *bytes, std::size_t, std::size_t size, void *self)
    {
        return static_cast<Exchange *>(self)->guarded(
            size, [&](Exchange &exchange) { exchange.takeBody({bytes, qsizetype(size)}); });
    }

private:
    /// Any other result than `size` makes libcurl end the request.
    template <class Work> std::size_t guarded(std::size_t size, Work work)
    {
        m_lastByte = MonotonicClock::now();
        try {
            work(*this);
        } catch (...) {
            m_failure = std::current_exception();
            return size == 0 ? 1 : 0;
        }
        return size;
    }
    void takeHeaderLine(QByteArrayView line);
    void takeHead();
    void takeBody(QByteArrayView bytes);

    CURL *m_handle;
    const HttpsRequest &m_request;
    MonotonicClock::time_point m_lastByte = MonotonicClock::now();
    MonotonicClock::time_point m_lastReport = m_lastByte;
    std::size_t m_headerBytes = 0;
    bool m_hasHead = false;
    HttpsAnswer m_answer;
    std::exception_ptr m_failure;
};

void HttpsConnection::Exchange::takeHeaderLine(QByteArrayView line)
{
    m_headerBytes += std::size_t(line.size());
    if (m_headerBytes > maximumHeaderBytes)
        throw HttpsError(Case::tooLarge);
    const bool endsHead = line == "\r\n" || line == "\n";
    long status = 0;
    curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
    constexpr long firstFinalStatus = 200; // 1xx are interim answers, RFC 9110 section 15.2
    if (!endsHead || m_hasHead || status < firstFinalStatus)
        return;
    m_answer.head.status = int(status);
    takeHead();
}

void HttpsConnection::Exchange::takeHead()
{
    constexpr int lastAnswer = -1;
    HttpsHead &head = m_answer.head;
    curl_header *header = nullptr;
    while ((header = curl_easy_nextheader(m_handle, CURLH_HEADER, lastAnswer, header)))
        head.headers.push_back({header->name, QByteArray(header->value).trimmed()});
    m_hasHead = true;
    if (m_request.checkHead)
        m_request.checkHead(head);
    requireSoundBody(head);
    const auto declared = head.contentLength();
    if (declared && *declared > m_request.maximumBodyBytes)
        throw HttpsError(Case::tooLarge);
    m_answer.body.reserve(declared.value_or(std::min(m_request.maximumBodyBytes, firstBodyBytes)));
}

void HttpsConnection::Exchange::takeBody(QByteArrayView bytes)
{
    if (bytes.size() > m_request.maximumBodyBytes - m_answer.body.size())
        throw HttpsError(Case::tooLarge);
    m_answer.body.append(bytes);
    if (!m_request.received || m_lastByte - m_lastReport < progressInterval)
        return;
    m_lastReport = m_lastByte;
    m_request.received(m_answer.body.size());
}

HttpsAnswer HttpsConnection::Exchange::finish(CURLcode result, const CertificatePin &pin)
{
    if (m_failure)
        std::rethrow_exception(m_failure);
    if (result != CURLE_OK && pin.isRefused())
        throw HttpsError(Case::wrongCertificate);
    if (result != CURLE_OK && pin.isAskedForOurs())
        throw HttpsError(Case::clientCertificate);
    if (result != CURLE_OK)
        throw HttpsError(caseOf(result));
    if (!m_hasHead)
        throw HttpsError(Case::lost); // libcurl is content with half a head
    return std::move(m_answer);
}

HttpsConnection::HttpsConnection(HttpsOrigin origin, HttpsLimits limits)
    : m_origin(std::move(origin)), m_pin(m_origin.certificateSHA256), m_limits(limits)
{
}

HttpsConnection::~HttpsConnection()
{
    close();
    // Of this thread's own state, random numbers included, in time: a thread counts as ended before
    // what is bound to its life is given back.
    OPENSSL_thread_stop();
    // The stack outlives the thread, for the next one. Requests went deeper than this.
    wipeStack();
}

void HttpsConnection::close()
{
    m_handles.reset();
}

void HttpsConnection::open()
{
    useWipingCurl();
    auto handles = std::make_unique<Handles>();
    handles->multi.reset(curl_multi_init());
    handles->easy.reset(curl_easy_init());
    if (!handles->multi || !handles->easy)
        throw std::bad_alloc();
    const QByteArray port = QByteArray::number(m_origin.port);
    const QByteArray authority = m_origin.host + ':' + port;
    handles->addresses.reset(
        curl_slist_append(nullptr, QByteArray(authority + ':' + m_origin.address).constData()));

    curl_multi_setopt(handles->multi.get(), CURLMOPT_MAXCONNECTS, 1L);
    CURL *const easy = handles->easy.get();
    set(easy, CURLOPT_URL, QByteArray("https://" + authority + '/').constData());
    set(easy, CURLOPT_RESOLVE, handles->addresses.get());
    set(easy, CURLOPT_PROTOCOLS_STR, "https");
    set(easy, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    set(easy, CURLOPT_FOLLOWLOCATION, 0L);
    set(easy, CURLOPT_PROXY, "");
    set(easy, CURLOPT_NETRC, long{CURL_NETRC_IGNORED});
    set(easy, CURLOPT_NOSIGNAL, 1L);
    set(easy, CURLOPT_TIMEOUT_MS, long{m_limits.total.count()});
    set(easy, CURLOPT_CONNECTTIMEOUT_MS, long{m_limits.silence.count()});

    set(easy, CURLOPT_CAINFO, nullptr);
    set(easy, CURLOPT_CAPATH, nullptr);
    // Versions, sessions and verification are the pin's alone, which has the last word.
    set(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    set(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_ssl_ctx_callback pin = [](CURL *, void *context, void *self) {
        static_cast<CertificatePin *>(self)->applyTo(static_cast<ssl_ctx_st *>(context));
        return CURLE_OK;
    };
    set(easy, CURLOPT_SSL_CTX_FUNCTION, pin);
    set(easy, CURLOPT_SSL_CTX_DATA, &m_pin);

    set(easy, CURLOPT_HEADERFUNCTION, &Exchange::onHeaderLine);
    set(easy, CURLOPT_WRITEFUNCTION, &Exchange::onBody);
    m_handles = std::move(handles);
}

void HttpsConnection::prepare(const HttpsRequest &request, Exchange &exchange)
{
    // Lines without a value keep libcurl from adding its own.
    for (const char *line : {"Expect:", "Content-Type:"})
        append(exchange.headers, line);
    for (const SecretBytes &header : request.headers)
        append(exchange.headers, secretBytes({header, QByteArrayView("\0", 1)}).data());
    CURL *const easy = m_handles->easy.get();
    set(easy, CURLOPT_HTTPHEADER, exchange.headers.get());
    set(easy, CURLOPT_REQUEST_TARGET, request.target.constData());
    if (request.method == HttpsRequest::Method::post) {
        set(easy, CURLOPT_POST, 1L);
        set(easy, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(request.body.size()));
        set(easy, CURLOPT_POSTFIELDS, request.body.empty() ? "" : request.body.data());
    } else {
        set(easy, CURLOPT_HTTPGET, 1L);
    }
    set(easy, CURLOPT_HEADERDATA, &exchange);
    set(easy, CURLOPT_WRITEDATA, &exchange);
}

HttpsAnswer HttpsConnection::perform(const HttpsRequest &request, const StopSignal &stop)
{
    if (!isSendable(request))
        throw HttpsError(Case::unsendable);
    if (stop.isRequested())
        throw HttpsError(Case::closed);
    if (!m_handles)
        open();
    Exchange exchange(m_handles->easy.get(), request);
    prepare(request, exchange);
    m_pin.forget();
    return run(exchange, stop);
}

HttpsAnswer HttpsConnection::run(Exchange &exchange, const StopSignal &stop)
{
    CURLM *const multi = m_handles->multi.get();
    CURL *const easy = m_handles->easy.get();
    curl_multi_add_handle(multi, easy);
    // Closes the connection, unless the answer came to its end.
    const auto detach = qScopeGuard([&] { curl_multi_remove_handle(multi, easy); });
    curl_waitfd stopped{.fd = stop.descriptor(), .events = CURL_WAIT_POLLIN, .revents = 0};
    for (;;) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK)
            throw HttpsError(Case::lost);
        if (running == 0)
            break;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            exchange.lastByte() + m_limits.silence - MonotonicClock::now());
        if (left.count() <= 0)
            throw HttpsError(Case::timedOut);
        // Wakes earlier for libcurl's own limits.
        curl_multi_poll(multi, &stopped, 1, int(left.count()), nullptr);
        if (stopped.revents != 0)
            throw HttpsError(Case::closed);
    }
    int left = 0;
    const CURLMsg *const ended = curl_multi_info_read(multi, &left);
    return exchange.finish(ended ? ended->data.result : CURLE_RECV_ERROR, m_pin);
}

} // namespace vorn
