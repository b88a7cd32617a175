#include "NetworkTransfer.h"

#include "HostNetwork.h"

#include <algorithm>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <sys/socket.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

constexpr int maxRedirects = 50;

std::chrono::seconds bounded(std::chrono::seconds timeout) {
    return std::clamp<std::chrono::seconds>(timeout, std::chrono::seconds(1), std::chrono::days(1));
}

/// Whether `url` can be requested over the network.
bool isHttp(const QUrl &url) {
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() &&
           (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
}

TransportError meaning(CURLcode result) {
    switch (result) {
        case CURLE_URL_MALFORMAT:
            return TransportError::BadAddress;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
        case CURLE_PROXY:
            return TransportError::Unreachable;
        case CURLE_OPERATION_TIMEDOUT:
            return TransportError::TimedOut;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
            return TransportError::Insecure;
        case CURLE_PARTIAL_FILE:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return TransportError::Incomplete;
        // The URL's scheme has been checked, so this code means that the reply is HTTP/0.9.
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_BAD_CONTENT_ENCODING:
            return TransportError::Malformed;
        default:
            return TransportError::Other;
    }
}

/// Opens a close-on-exec socket, so that programs started by the host do not inherit it.
curl_socket_t openSocket(void *sockets, curlsocktype, curl_sockaddr *address) {
    const int made = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (made >= 0)
        static_cast<std::vector<curl_socket_t> *>(sockets)->push_back(made);
    return made;
}

int closeSocket(void *sockets, curl_socket_t closing) {
    std::erase(*static_cast<std::vector<curl_socket_t> *>(sockets), closing);
    return ::close(closing);
}

/// Records in the transfer that close_notify has arrived: libcurl 7.88 treats a TLS connection that
/// ends without it like one that was properly closed.
void noteAlert(const SSL *connection, int event, int alert) {
    const CurlLibrary *curl = CurlLibrary::instance();
    constexpr int descriptionMask = 0xff;
    if (event == SSL_CB_READ_ALERT && (alert & descriptionMask) == SSL_AD_CLOSE_NOTIFY)
        *static_cast<bool *>(curl->contextGetData(curl->sslContext(connection), 0)) = true;
}

/// libcurl calls this for each TLS connection.
CURLcode watchAlerts(CURL *, void *context, void *closeNotified) {
    *static_cast<bool *>(closeNotified) = false;
    const CurlLibrary *curl = CurlLibrary::instance();
    auto *tls = static_cast<SSL_CTX *>(context);
    curl->contextSetData(tls, 0, closeNotified);
    curl->contextSetInfoCallback(tls, &noteAlert);
    return CURLE_OK;
}

}  // namespace

NetworkTransfer::NetworkTransfer(const CurlLibrary &library, NetworkRequest sending,
                                 const Settings &common)
    : _curl(library),
      _request(std::move(sending)),
      _settings(common),
      _idleTimeout(bounded(_request.idleTimeout)),
      _address(_request.url),
      _headers(_curl.slistAppend(nullptr, ContentDecoder::acceptEncoding), _curl.slistFreeAll),
      _easy(_curl.easyInit(), _curl.easyCleanup) {
    if (!isHttp(_address))
        fail(TransportError::BadAddress, QStringLiteral("Not an HTTP, HTTPS or file URL: ") +
                                             _address.toString(QUrl::RemoveUserInfo));
    else if (_easy)
        prepare();
}

NetworkTransfer::~NetworkTransfer() = default;

template <typename Value>
void NetworkTransfer::set(CURLoption option, Value value) {
    _curl.easySetopt(_easy.get(), option, value);
}

void NetworkTransfer::prepare() {
    set(CURLOPT_ERRORBUFFER, _errorText.data());
    set(CURLOPT_HEADERFUNCTION, &NetworkTransfer::headerCame);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &NetworkTransfer::bodyCame);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
    set(CURLOPT_OPENSOCKETDATA, &_sockets);
    set(CURLOPT_CLOSESOCKETFUNCTION, &closeSocket);
    set(CURLOPT_CLOSESOCKETDATA, &_sockets);
    // No signal handlers: the process belongs to the host.
    set(CURLOPT_NOSIGNAL, 1L);
    // A pending name lookup must not delay `NetworkThread::stop`.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(_idleTimeout.count()));
    // HTTP/2 gains nothing for one short GET every few hours.
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    // A buffer of this size takes a reply in few steps, but is too small to raise malloc's
    // thresholds: freeing a bigger buffer makes malloc keep more of the heap from then on.
    set(CURLOPT_BUFFERSIZE, 64L * 1024);
    // libcurl does not notice that a compressed body ends early; ContentDecoder does.
    set(CURLOPT_HTTP_CONTENT_DECODING, 0L);
    set(CURLOPT_HTTPHEADER, _headers.get());
    // Some services refuse clients that name no user agent.
    set(CURLOPT_USERAGENT, "PelorinNews");
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (_curl.usesOpenSsl) {
        set(CURLOPT_SSL_CTX_FUNCTION, &watchAlerts);
        set(CURLOPT_SSL_CTX_DATA, &_closeNotified);
    }
    // A reused connection may have been closed meanwhile; a fresh one has not.
    set(CURLOPT_FRESH_CONNECT, 1L);
    set(CURLOPT_FORBID_REUSE, 1L);
    // Send credentials only if the service asks for them, and never to the target of a redirect.
    set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST));
    if (!_address.userName().isEmpty()) {
        set(CURLOPT_USERNAME, _address.userName(QUrl::FullyDecoded).toUtf8().constData());
        set(CURLOPT_PASSWORD, _address.password(QUrl::FullyDecoded).toUtf8().constData());
    }
    const QByteArray &authorities = _settings.trustedAuthorities;
    const char *folder = nullptr;
    _curl.easyGetinfo(_easy.get(), CURLINFO_CAPATH, &folder);
    if (!authorities.isEmpty()) {
        curl_blob blob{const_cast<char *>(authorities.constData()),
                       static_cast<std::size_t>(authorities.size()), CURL_BLOB_NOCOPY};
        set(CURLOPT_CAINFO_BLOB, &blob);
        set<const char *>(CURLOPT_CAINFO, nullptr);
        set<const char *>(CURLOPT_CAPATH, nullptr);
    } else if (folder) {
        // Use only the folder of certificates: single certificates are looked up in it, but the
        // system's file with all certificates would be read as a whole.
        set<const char *>(CURLOPT_CAINFO, nullptr);
    }
    aim();
}

void NetworkTransfer::aim() {
    const QByteArray target = _address.toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    set(CURLOPT_URL, target.constData());
    set(CURLOPT_PROXY, HostNetwork::proxyFor(_address).constData());
    set(CURLOPT_NOPROXY, "");
}

std::size_t NetworkTransfer::headerCame(char *bytes, std::size_t one, std::size_t size,
                                        void *self) {
    auto *transfer = static_cast<NetworkTransfer *>(self);
    const std::size_t all = one * size;
    return transfer->takeHeader(QByteArray(bytes, static_cast<qsizetype>(all))) ? all : 0;
}

std::size_t NetworkTransfer::bodyCame(char *bytes, std::size_t one, std::size_t size, void *self) {
    auto *transfer = static_cast<NetworkTransfer *>(self);
    const std::size_t all = one * size;
    return transfer->takeBody(bytes, all) ? all : 0;
}

bool NetworkTransfer::takeHeader(const QByteArray &line) {
    _lastProgress = Clock::now();
    return _head.addLine(line) ||
           fail(TransportError::TooLong,
                QStringLiteral("The header fields of the reply are too long"));
}

bool NetworkTransfer::takeBody(const char *bytes, std::size_t size) {
    _lastProgress = Clock::now();
    // The body of a redirect is not needed: returning false ends the transfer.
    if (_error || _head.isRedirect() || (!_decoder && !startBody()))
        return false;
    _received += static_cast<qint64>(size);
    auto result = ContentDecoder::Result::TooLong;
    try {
        if (_received <= _settings.maxBody)
            result = _decoder->add(bytes, size, _body);
    } catch (const std::bad_alloc &) {
        return failMemory();
    }
    switch (result) {
        case ContentDecoder::Result::Fine:
            return true;
        case ContentDecoder::Result::TooLong:
            _body = QByteArray("");
            return failTooLong();
        case ContentDecoder::Result::Malformed:
            break;
    }
    return fail(TransportError::Malformed, QStringLiteral("The body cannot be decompressed"));
}

bool NetworkTransfer::startBody() {
    const QByteArray problem = _head.problem();
    if (!problem.isEmpty())
        return fail(TransportError::Malformed, QString::fromLatin1(problem));
    const auto coding = ContentDecoder::codingNamed(_head.contentEncoding());
    if (!coding)
        return fail(TransportError::Malformed,
                    QStringLiteral("The body is encoded as ") +
                        QString::fromLatin1(_head.contentEncoding().left(40)) +
                        QStringLiteral(", which was not requested"));
    const qint64 length = _head.contentLength().value_or(0);
    if (length > _settings.maxBody)
        return failTooLong();
    _decoder = std::make_unique<ContentDecoder>(*coding, _settings.maxBody);
    try {
        _body.reserve(static_cast<qsizetype>(std::min(length, _settings.maxBody)));
    } catch (const std::bad_alloc &) {
        return failMemory();
    }
    return true;
}

bool NetworkTransfer::fail(TransportError code, const QString &text) {
    if (!_error)
        _error = transportError(code, text);
    return false;
}

bool NetworkTransfer::failTooLong() {
    return fail(TransportError::TooLong,
                QStringLiteral("The body is longer than %1 bytes").arg(_settings.maxBody));
}

bool NetworkTransfer::failMemory() {
    _body = QByteArray("");
    return fail(TransportError::Other, QStringLiteral("Not enough memory for the body"));
}

bool NetworkTransfer::postponesDeadline() {
    const auto now = Clock::now();
    for (const curl_socket_t connection : _sockets) {
        tcp_info info{};
        socklen_t size = sizeof info;
        if (::getsockopt(connection, IPPROTO_TCP, TCP_INFO, &info, &size) == 0)
            _lastProgress =
                std::max(_lastProgress, now - std::chrono::milliseconds(info.tcpi_last_data_recv));
    }
    return deadline() > now;
}

bool NetworkTransfer::finishOrFollowRedirect(CURLcode result) {
    if (_head.isRedirect() && !_error) {
        followRedirect();
        if (!_error)
            return true;
    }
    checkWhole(result);
    complete();
    return false;
}

void NetworkTransfer::followRedirect() {
    const QUrl target = _address.resolved(QUrl::fromEncoded(_head.location(), QUrl::TolerantMode));
    const bool isLessSafe =
        _address.scheme() == QLatin1String("https") && target.scheme() != _address.scheme();
    if (_redirects >= maxRedirects)
        fail(TransportError::BadRedirect, QStringLiteral("More than %1 redirects").arg(_redirects));
    else if (!isHttp(target) || isLessSafe)
        fail(TransportError::BadRedirect,
             QStringLiteral("A redirect leads to ") + target.toString(QUrl::RemoveUserInfo));
    if (_error)
        return;
    ++_redirects;
    _address = target;
    _head = {};
    _errorText.front() = '\0';
    _closeNotified = false;
    _sockets.clear();
    _lastProgress = Clock::now();
    set<const char *>(CURLOPT_USERNAME, nullptr);
    set<const char *>(CURLOPT_PASSWORD, nullptr);
    aim();
}

void NetworkTransfer::checkWhole(CURLcode result) {
    // We stopped the transfer ourselves and have recorded why.
    if (_error)
        return;
    const QString text = _errorText.front() != '\0' ? QString::fromUtf8(_errorText.data())
                                                    : QString::fromUtf8(_curl.easyStrerror(result));
    if (result != CURLE_OK) {
        long proxyAnswer = 0;
        if (_easy)
            _curl.easyGetinfo(_easy.get(), CURLINFO_HTTP_CONNECTCODE, &proxyAnswer);
        // libcurl reports a proxy that refuses to connect as a connection that ends early.
        fail(proxyAnswer >= 300 ? TransportError::Unreachable : meaning(result), text);
        return;
    }
    if (!_head.status()) {
        fail(TransportError::Incomplete,
             QStringLiteral("The connection closed before the end of the header fields"));
        return;
    }
    const QByteArray problem = _head.problem();
    if (!problem.isEmpty()) {
        fail(TransportError::Malformed, QString::fromLatin1(problem));
        return;
    }
    const int status = *_head.status();
    // Responses with these statuses have no body, whatever their header fields say.
    if (status == 204 || status == 304)
        return;
    if (!_decoder && !startBody())
        return;
    const bool isTls = _address.scheme() == QLatin1String("https");
    if (isTls && _head.bodyEndsWithConnection() && !_closeNotified)
        fail(TransportError::Incomplete,
             QStringLiteral("TLS connection cut without close_notify; the body may be truncated"));
    else if (!_decoder->isComplete())
        fail(TransportError::Incomplete, QStringLiteral("The compressed body ends early"));
}

void NetworkTransfer::complete() {
    NetworkOutcome outcome;
    const int status = _head.status().value_or(0);
    if (status >= 200)
        outcome.response = UrlResponse{status};
    if (!_error || status >= 400)
        outcome.data = std::move(_body);
    outcome.connectionError = std::move(_error);
    completeRequest(std::move(_request), std::move(outcome));
    _body = {};
    _decoder.reset();
}

void NetworkTransfer::timeOut() {
    const bool isIdle = Clock::now() < _started + _settings.maxDuration;
    const auto limit =
        isIdle ? _idleTimeout
               : std::chrono::duration_cast<std::chrono::seconds>(_settings.maxDuration);
    fail(TransportError::TimedOut, (isIdle ? QStringLiteral("No progress for %1 seconds")
                                           : QStringLiteral("Not complete after %1 seconds"))
                                       .arg(limit.count()));
    complete();
}

void NetworkTransfer::cancel() {
    cancelRequest(std::move(_request));
}

}  // namespace pelorinnews
