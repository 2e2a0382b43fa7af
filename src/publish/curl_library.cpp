#include "publish/curl_library.h"

#include "base/log.h"

#include <dlfcn.h>

namespace tess {

namespace {

template <typename Function>
bool Find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

const CurlLibrary* Load() {
    void* library = ::dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        LogError("downloads and FTP uploads are not possible: libcurl could not be loaded ({})",
                 ::dlerror());
        return nullptr;
    }
    static CurlLibrary curl;
    const bool found = Find(library, "curl_global_init", curl.global_init) &&
                       Find(library, "curl_easy_strerror", curl.easy_strerror) &&
                       Find(library, "curl_easy_init", curl.easy_init) &&
                       Find(library, "curl_easy_cleanup", curl.easy_cleanup) &&
                       Find(library, "curl_easy_setopt", curl.easy_setopt) &&
                       Find(library, "curl_easy_getinfo", curl.easy_getinfo) &&
                       Find(library, "curl_easy_reset", curl.easy_reset) &&
                       Find(library, "curl_slist_append", curl.slist_append) &&
                       Find(library, "curl_slist_free_all", curl.slist_free_all) &&
                       Find(library, "curl_multi_init", curl.multi_init) &&
                       Find(library, "curl_multi_cleanup", curl.multi_cleanup) &&
                       Find(library, "curl_multi_setopt", curl.multi_setopt) &&
                       Find(library, "curl_multi_add_handle", curl.multi_add_handle) &&
                       Find(library, "curl_multi_remove_handle", curl.multi_remove_handle) &&
                       Find(library, "curl_multi_assign", curl.multi_assign) &&
                       Find(library, "curl_multi_socket_action", curl.multi_socket_action) &&
                       Find(library, "curl_multi_info_read", curl.multi_info_read) &&
                       Find(library, "curl_multi_timeout", curl.multi_timeout) &&
                       Find(library, "curl_multi_socket_all", curl.multi_socket_all) &&
                       Find(library, "curl_multi_perform", curl.multi_perform) &&
                       Find(library, "curl_multi_poll", curl.multi_poll);
    if (!found) {
        LogError("downloads and FTP uploads are not possible: this libcurl lacks {}", ::dlerror());
        return nullptr;
    }
    // Not thread-safe, and needed before the first handle; never undone, since handles may
    // live until the process ends.
    const CURLcode code = curl.global_init(CURL_GLOBAL_DEFAULT);
    if (code != CURLE_OK) {
        LogError("downloads and FTP uploads are not possible: libcurl: {}",
                 curl.easy_strerror(code));
        return nullptr;
    }
    return &curl;
}

} // namespace

const CurlLibrary* Curl() {
    static const CurlLibrary* curl = Load();
    return curl;
}

} // namespace tess
