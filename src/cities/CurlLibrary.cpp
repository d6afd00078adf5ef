#include "cities/CurlLibrary.h"

#include <dlfcn.h>

#include <mutex>

namespace tarvo {

namespace {

// libcurl's binary interface has kept this name since 2006, whichever TLS library it is
// built with.
constexpr const char* kSoname = "libcurl.so.4";

template <typename Function>
bool resolve(void* handle, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(handle, name));
    return function != nullptr;
}

}  // namespace

Result<const CurlLibrary*> CurlLibrary::get() {
    static std::once_flag once;
    static CurlLibrary library;
    static const CurlLibrary* loaded = nullptr;
    static std::string failure;
    std::call_once(once, [] {
        // Kept loaded for the life of the process, as a linked library would be.
        void* handle = dlopen(kSoname, RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            const char* why = dlerror();
            failure = std::string("cannot load ") + kSoname + ": " + (why ? why : "unknown error");
            return;
        }
        CURLcode (*globalInit)(long) = nullptr;
        const bool complete = resolve(handle, "curl_global_init", globalInit) &&
                              resolve(handle, "curl_easy_init", library.easy_init) &&
                              resolve(handle, "curl_easy_cleanup", library.easy_cleanup) &&
                              resolve(handle, "curl_easy_setopt", library.easy_setopt) &&
                              resolve(handle, "curl_easy_perform", library.easy_perform) &&
                              resolve(handle, "curl_easy_getinfo", library.easy_getinfo) &&
                              resolve(handle, "curl_easy_strerror", library.easy_strerror) &&
                              resolve(handle, "curl_slist_append", library.slist_append) &&
                              resolve(handle, "curl_slist_free_all", library.slist_free_all);
        if (!complete) {
            failure = std::string(kSoname) + " lacks a function the geocoder needs";
            return;
        }
        if (globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
            failure = std::string(kSoname) + " could not be initialised";
            return;
        }
        loaded = &library;
    });
    if (!loaded) return Error{failure};
    return loaded;
}

}  // namespace tarvo
