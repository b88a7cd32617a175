#pragma once

#include <curl/curl.h>
#include <openssl/ssl.h>

namespace pelorinnews {

/// The functions of libcurl, and of the TLS library below it, that are used here. They are looked
/// up when first needed, on the loader's thread: loading libcurl and its dependencies takes longer
/// than a host's main thread may be blocked.
struct CurlLibrary {
    /// Null if there is no libcurl, or the process is ending. Loaded once and never unloaded.
    /// Thread-safe.
    [[nodiscard]] static const CurlLibrary *instance();

    decltype(&curl_global_init) globalInit = nullptr;
    decltype(&curl_easy_init) easyInit = nullptr;
    decltype(&curl_easy_cleanup) easyCleanup = nullptr;
    decltype(&curl_easy_setopt) easySetopt = nullptr;
    decltype(&curl_easy_getinfo) easyGetinfo = nullptr;
    decltype(&curl_easy_strerror) easyStrerror = nullptr;
    decltype(&curl_slist_append) slistAppend = nullptr;
    decltype(&curl_slist_free_all) slistFreeAll = nullptr;
    decltype(&curl_multi_init) multiInit = nullptr;
    decltype(&curl_multi_cleanup) multiCleanup = nullptr;
    decltype(&curl_multi_add_handle) multiAddHandle = nullptr;
    decltype(&curl_multi_remove_handle) multiRemoveHandle = nullptr;
    decltype(&curl_multi_perform) multiPerform = nullptr;
    decltype(&curl_multi_poll) multiPoll = nullptr;
    decltype(&curl_multi_wakeup) multiWakeup = nullptr;
    decltype(&curl_multi_info_read) multiInfoRead = nullptr;

    /// Whether libcurl uses OpenSSL, whose functions follow; false if it uses another TLS library.
    bool usesOpenSsl = false;
    decltype(&SSL_get_SSL_CTX) sslContext = nullptr;
    decltype(&SSL_CTX_set_ex_data) contextSetData = nullptr;
    decltype(&SSL_CTX_get_ex_data) contextGetData = nullptr;
    decltype(&SSL_CTX_set_info_callback) contextSetInfoCallback = nullptr;
};

}  // namespace pelorinnews
