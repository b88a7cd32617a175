#pragma once

#include "ContentDecoder.h"
#include "CurlLibrary.h"
#include "NetworkRequest.h"
#include "ResponseHead.h"
#include "TransportError.h"

#include <QString>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace pelorinnews {

/// One request to a server under way on the loader's thread: a transfer of libcurl's, what came of
/// the answer so far, and the redirects that it led to. For one thread.
class NetworkTransfer {
public:
    using Clock = std::chrono::steady_clock;

    /// What all transfers of one time have in common.
    struct Settings {
        qint64 longestBody = 0;
        /// PEM; empty for the system's.
        QByteArray trustedAuthorities;
    };

    /// Ready to be added to a multi handle; the transfer is then to outlive that.
    /// `settings` must outlive it.
    NetworkTransfer(const CurlLibrary &library, NetworkRequest sending, const Settings &settings);
    ~NetworkTransfer();
    NetworkTransfer(const NetworkTransfer &) = delete;
    NetworkTransfer &operator=(const NetworkTransfer &) = delete;

    /// Whether it failed before it began: it is then to be told of an end at once.
    [[nodiscard]] bool hasFailed() const { return error || !easy; }

    [[nodiscard]] CURL *handle() const { return easy.get(); }

    /// When it has gone without progress for too long, should none come.
    [[nodiscard]] Clock::time_point deadline() const { return lastProgress + idleTimeout; }

    /// Whether bytes have come of which libcurl tells nothing yet, such as half a header line. The
    /// deadline is then a later one.
    [[nodiscard]] bool postponesDeadline();

    /// To be told when libcurl has ended the transfer. True where a redirect is to be followed: the
    /// handle is then to be added anew. Else the request has been completed.
    [[nodiscard]] bool goesOnAfter(CURLcode result);

    /// Completes the request with an error. The handle must have been removed from its multi.
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
    /// Remembers the first error; always false.
    bool fail(TransportError code, const QString &text);
    bool failTooLong();
    void followRedirect();
    void checkWhole(CURLcode result);
    void complete();

    const CurlLibrary &curl;
    NetworkRequest request;
    const Settings &settings;
    const std::chrono::seconds idleTimeout;
    QUrl address;
    int redirects = 0;
    Clock::time_point lastProgress = Clock::now();
    /// Those open for this address: of several that are tried, in the end one.
    std::vector<curl_socket_t> sockets;
    ResponseHead head;
    /// Whether the other end has closed the TLS connection in order.
    bool closeNotified = false;
    std::unique_ptr<ContentDecoder> decoder;
    QByteArray body{""};
    qint64 received = 0;
    std::optional<Error> error;
    ErrorText errorText{};
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy;
};

}  // namespace pelorinnews
