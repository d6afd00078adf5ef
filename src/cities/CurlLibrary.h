#pragma once

#include <string>

#include <curl/curl.h>

#include "tarvo/platform/Result.h"

namespace tarvo {

/// libcurl, loaded when the web geocoder first makes a request rather than when a program
/// that links the library starts: libcurl pulls in some twenty libraries (TLS, Kerberos,
/// LDAP, SSH, HTTP/2, ...) whose loading every command paid, while only a position sent to a
/// geocoding service the user chose needs them.
///
/// The functions are libcurl's own, reached through pointers; their meaning is libcurl's.
class CurlLibrary {
public:
    /// The library, loaded and initialised once per process; an error saying why when it
    /// cannot be loaded.
    static Result<const CurlLibrary*> get();

    CURL* (*easy_init)();
    void (*easy_cleanup)(CURL*);
    CURLcode (*easy_setopt)(CURL*, CURLoption, ...);
    CURLcode (*easy_perform)(CURL*);
    CURLcode (*easy_getinfo)(CURL*, CURLINFO, ...);
    const char* (*easy_strerror)(CURLcode);
    curl_slist* (*slist_append)(curl_slist*, const char*);
    void (*slist_free_all)(curl_slist*);

private:
    CurlLibrary() = default;
};

}  // namespace tarvo
