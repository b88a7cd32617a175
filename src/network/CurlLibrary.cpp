#include "CurlLibrary.h"

#include <dlfcn.h>
#include <optional>

namespace pelorinnews {

namespace {

template <typename Function>
bool find(void *library, const char *name, Function &function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

std::optional<CurlLibrary> load() {
    void *library = ::dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
    CurlLibrary curl;
    const bool isComplete = library && find(library, "curl_global_init", curl.globalInit) &&
                            find(library, "curl_easy_init", curl.easyInit) &&
                            find(library, "curl_easy_cleanup", curl.easyCleanup) &&
                            find(library, "curl_easy_setopt", curl.easySetopt) &&
                            find(library, "curl_easy_getinfo", curl.easyGetinfo) &&
                            find(library, "curl_easy_strerror", curl.easyStrerror) &&
                            find(library, "curl_slist_append", curl.slistAppend) &&
                            find(library, "curl_slist_free_all", curl.slistFreeAll) &&
                            find(library, "curl_multi_init", curl.multiInit) &&
                            find(library, "curl_multi_cleanup", curl.multiCleanup) &&
                            find(library, "curl_multi_add_handle", curl.multiAddHandle) &&
                            find(library, "curl_multi_remove_handle", curl.multiRemoveHandle) &&
                            find(library, "curl_multi_perform", curl.multiPerform) &&
                            find(library, "curl_multi_poll", curl.multiPoll) &&
                            find(library, "curl_multi_wakeup", curl.multiWakeup) &&
                            find(library, "curl_multi_info_read", curl.multiInfoRead);
    // `dlsym` with libcurl's handle searches libcurl and its dependencies only, so it finds OpenSSL
    // only if libcurl uses it.
    curl.usesOpenSsl = library && find(library, "SSL_get_SSL_CTX", curl.sslContext) &&
                       find(library, "SSL_CTX_set_ex_data", curl.contextSetData) &&
                       find(library, "SSL_CTX_get_ex_data", curl.contextGetData) &&
                       find(library, "SSL_CTX_set_info_callback", curl.contextSetInfoCallback);
    if (!isComplete)
        return std::nullopt;
    // A process that exits while another thread uses OpenSSL crashes in OpenSSL's exit handler.
    // `OPENSSL_INIT_NO_ATEXIT` disables that handler, but has no effect if the host has initialised
    // OpenSSL before.
    decltype(&OPENSSL_init_crypto) initialize = nullptr;
    if (find(library, "OPENSSL_init_crypto", initialize) &&
        initialize(OPENSSL_INIT_NO_ATEXIT, nullptr) != 1)
        return std::nullopt;
    return curl;
}

}  // namespace

const CurlLibrary *CurlLibrary::instance() {
    static const std::optional<CurlLibrary> loaded = load();
    return loaded ? &*loaded : nullptr;
}

}  // namespace pelorinnews
