#pragma once

// libcurl, loaded when the first download or upload starts. Most runs of the program download
// nothing, and the library brings TLS, LDAP, Kerberos and a dozen more libraries with it, which
// would add 10 ms to every start of every command.

#include <curl/curl.h>

namespace tess {

struct CurlLibrary {
    decltype(&::curl_global_init) global_init;
    decltype(&::curl_easy_strerror) easy_strerror;
    decltype(&::curl_easy_init) easy_init;
    decltype(&::curl_easy_cleanup) easy_cleanup;
    decltype(&::curl_easy_setopt) easy_setopt;
    decltype(&::curl_easy_getinfo) easy_getinfo;
    decltype(&::curl_easy_reset) easy_reset;
    decltype(&::curl_slist_append) slist_append;
    decltype(&::curl_slist_free_all) slist_free_all;
    decltype(&::curl_multi_init) multi_init;
    decltype(&::curl_multi_cleanup) multi_cleanup;
    decltype(&::curl_multi_setopt) multi_setopt;
    decltype(&::curl_multi_add_handle) multi_add_handle;
    decltype(&::curl_multi_remove_handle) multi_remove_handle;
    decltype(&::curl_multi_assign) multi_assign;
    decltype(&::curl_multi_socket_action) multi_socket_action;
    decltype(&::curl_multi_info_read) multi_info_read;
    decltype(&::curl_multi_timeout) multi_timeout;
    decltype(&::curl_multi_socket_all) multi_socket_all;
    decltype(&::curl_multi_perform) multi_perform;
    decltype(&::curl_multi_poll) multi_poll;
};

// The library, loaded and initialised on the first call; null (and one log line) when it
// cannot be loaded.
const CurlLibrary* Curl();

} // namespace tess
