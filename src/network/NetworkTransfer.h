#pragma once

#include "ContentDecoder.h"
#include "CurlLibrary.h"
#include "NetworkRequest.h"
#include "ResponseHead.h"
#include "TransportError.h"

#include <QString>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace pelorinnews {

/// One request to a server, in progress on the loader's thread: its libcurl transfer, the reply so
/// far, and the redirects that it followed. For one thread.
class NetworkTransfer {
public:
    using Clock = std::chrono::steady_clock;

    /// Common to all transfers that run at the same time.
    struct Settings {
        qint64 maxBody = 0;
        std::chrono::milliseconds maxDuration{0};
        /// PEM; empty for the system's authorities.
        QByteArray trustedAuthorities;
    };

    /// Makes a transfer that is ready to be added to a multi handle. A transfer that was added must
    /// outlive the multi handle. `settings` must outlive the transfer.
    NetworkTransfer(const CurlLibrary &library, NetworkRequest sending, const Settings &settings);
    ~NetworkTransfer();
    NetworkTransfer(const NetworkTransfer &) = delete;
    NetworkTransfer &operator=(const NetworkTransfer &) = delete;

    /// Whether the transfer failed before it began. `finishOrFollowRedirect` must then be called at
    /// once.
    [[nodiscard]] bool hasFailed() const { return _error || !_easy; }

    [[nodiscard]] CURL *handle() const { return _easy.get(); }

    /// When the idle timeout expires, unless there is progress before; at the latest, when the
    /// transfer has taken its maximum duration.
    [[nodiscard]] Clock::time_point deadline() const {
        return std::min<Clock::time_point>(_lastProgress + _idleTimeout,
                                           _started + _settings.maxDuration);
    }

    /// Postpones the deadline if bytes have arrived that libcurl does not report yet, such as half
    /// a header line. False if the deadline has passed nevertheless.
    [[nodiscard]] bool postponesDeadline();

    /// To be called when libcurl has ended the transfer. True if the transfer now follows a
    /// redirect: its handle must be added to the multi handle again. False if the request has been
    /// completed.
    [[nodiscard]] bool finishOrFollowRedirect(CURLcode result);

    /// Completes the request with an error. The handle must have been removed from its multi
    /// handle.
    void timeOut();
    void cancel();

private:
    using ErrorText = std::array<char, CURL_ERROR_SIZE>;

    static std::size_t headerCame(char *bytes, std::size_t one, std::size_t size, void *self);
    static std::size_t bodyCame(char *bytes, std::size_t one, std::size_t size, void *self);

    template <typename Value>
    void set(CURLoption option, Value value);
    void prepare();
    void aim();
    [[nodiscard]] bool takeHeader(const QByteArray &line);
    [[nodiscard]] bool takeBody(const char *bytes, std::size_t size);
    [[nodiscard]] bool startBody();
    /// Records the first error; always returns false.
    bool fail(TransportError code, const QString &text);
    bool failTooLong();
    bool failMemory();
    void followRedirect();
    void checkWhole(CURLcode result);
    void complete();

    const CurlLibrary &_curl;
    NetworkRequest _request;
    const Settings &_settings;
    const std::chrono::seconds _idleTimeout;
    QUrl _address;
    int _redirects = 0;
    const Clock::time_point _started = Clock::now();
    Clock::time_point _lastProgress = _started;
    /// The sockets that are open for the current address: several while libcurl tries to connect,
    /// one afterwards.
    std::vector<curl_socket_t> _sockets;
    ResponseHead _head;
    /// Whether the peer has sent close_notify, which properly ends a TLS connection.
    bool _closeNotified = false;
    std::unique_ptr<ContentDecoder> _decoder;
    QByteArray _body{""};
    qint64 _received = 0;
    std::optional<Error> _error;
    ErrorText _errorText{};
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> _headers;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> _easy;
};

}  // namespace pelorinnews
