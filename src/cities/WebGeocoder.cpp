#include "tarvo/cities/WebGeocoder.h"

#include <cstdlib>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cities/CurlLibrary.h"
#include "platform/host/LogMacros.h"
#include "platform/text/SearchText.h"
#include "platform/text/Text.h"
#include "tarvo/Version.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {

namespace {

using json = nlohmann::json;

// Deeper JSON than this is no reverse-geocoding answer; refusing it before parsing keeps a
// hostile answer from exhausting the stack.
constexpr int kMaxDepth = 32;

struct Download {
    std::string body;
    bool tooLarge = false;
};

size_t collect(char* data, size_t size, size_t count, void* user) {
    auto* download = static_cast<Download*>(user);
    const size_t bytes = size * count;
    if (download->body.size() + bytes > WebGeocoder::kMaxAnswerBytes) {
        download->tooLarge = true;
        return 0;  // makes libcurl stop with a write error
    }
    download->body.append(data, bytes);
    return bytes;
}

bool tooDeep(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxDepth) return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

// Longest name kept: what the cache's and the saved cities' name columns hold.
constexpr size_t kMaxNameLength = 200;

// The text of a member that must be a string when present, cleaned on arrival: the service
// is not trusted to send names that are safe to store and to show.
std::optional<std::string> member(const json& object, const char* key, bool& wrongType) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) return std::nullopt;
    if (!found->is_string()) {
        wrongType = true;
        return std::nullopt;
    }
    return text::withoutControls(found->get<std::string>(), kMaxNameLength);
}

std::string firstPresent(const json& address, std::initializer_list<const char*> keys, bool& wrongType) {
    for (const char* key : keys) {
        if (auto text = member(address, key, wrongType); text && !text->empty()) return *text;
    }
    return {};
}

}  // namespace

Geocoder::Places WebGeocoder::parseAnswer(std::string_view body) {
    std::vector<Place> places;
    if (SearchText::trim(body).empty()) return places;  // no answer: no place
    if (tooDeep(body)) {
        return Error{"the geocoding service's answer is nested too deeply"};
    }
    const json answer = json::parse(body, nullptr, false);
    if (answer.is_discarded()) return Error{"the geocoding service's answer is not valid JSON"};
    if (answer.is_null()) return places;
    if (!answer.is_object()) {
        return Error{"the geocoding service's answer is not a JSON object"};
    }
    if (answer.contains("error")) return places;  // "Unable to geocode": nothing there
    const auto address = answer.find("address");
    if (address == answer.end() || address->is_null()) return places;
    bool wrongType = !address->is_object();
    Geocoder::Place place;
    if (!wrongType) {
        place.locality = firstPresent(*address, {"city", "town", "village", "hamlet"}, wrongType);
        place.administrativeArea = firstPresent(*address, {"state", "region"}, wrongType);
        place.country = member(*address, "country", wrongType).value_or("");
    }
    place.formattedAddress = member(answer, "display_name", wrongType).value_or("");
    if (wrongType) {
        return Error{"the geocoding service's answer has unexpected members"};
    }
    places.push_back(std::move(place));
    return places;
}

namespace {

std::optional<std::string> nonEmpty(std::optional<std::string> text) {
    if (text && SearchText::trim(*text).empty()) return std::nullopt;
    return text;
}

}  // namespace

WebGeocoder::WebGeocoder() = default;

WebGeocoder::WebGeocoder(std::string baseURL) : fixedBaseURL_(std::move(baseURL)) {}

std::optional<std::string> WebGeocoder::configuredBaseURL() {
    if (auto preference = nonEmpty(UserDefaults::sharedUserDefaultsObj()->stringForKey(kURLPreferenceKey))) {
        return SearchText::trim(*preference);
    }
    if (const char* variable = std::getenv(kURLEnvironmentVariable)) {
        if (auto text = nonEmpty(std::string(variable))) return SearchText::trim(*text);
    }
    return std::nullopt;
}

std::optional<std::string> WebGeocoder::baseURL() const {
    if (fixedBaseURL_) return nonEmpty(fixedBaseURL_);
    return configuredBaseURL();
}

void WebGeocoder::setTimeouts(std::chrono::milliseconds connect, std::chrono::milliseconds request) {
    connectTimeout_ = connect;
    requestTimeout_ = request;
}

Geocoder::Places WebGeocoder::reverseGeocode(double latitude, double longitude) {
    auto base = baseURL();
    if (!base) {
        return Error{fmt::format("no geocoding service is set (preference {}, or {})", kURLPreferenceKey,
                                 kURLEnvironmentVariable)};
    }
    if (!base->starts_with("https://") && !base->starts_with("http://")) {
        return Error{"the geocoding service's address must begin with https:// or http://: " + *base};
    }
    while (!base->empty() && base->back() == '/') base->pop_back();
    const std::string url = fmt::format("{}/reverse?format=jsonv2&lat={:.7f}&lon={:.7f}", *base, latitude, longitude);

    const auto loaded = CurlLibrary::get();
    if (!loaded) return Error{"cannot make HTTP requests: " + loaded.error().message};
    const CurlLibrary* lib = *loaded;
    std::unique_ptr<CURL, void (*)(CURL*)> curl(lib->easy_init(), lib->easy_cleanup);
    if (!curl) return Error{"cannot start an HTTP request"};
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> headers(
        lib->slist_append(lib->slist_append(nullptr, "Accept: application/json"), "Accept-Language: en"),
        lib->slist_free_all);
    const std::string userAgent = fmt::format("TarvoCore/{}", reinterpret_cast<const char*>(TarvoCoreVersionString));
    Download download;
    char errorText[CURL_ERROR_SIZE] = {};
    CURL* handle = curl.get();
    lib->easy_setopt(handle, CURLOPT_URL, url.c_str());
    lib->easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    lib->easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    lib->easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    lib->easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(connectTimeout_.count()));
    lib->easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(requestTimeout_.count()));
    lib->easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    lib->easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    lib->easy_setopt(handle, CURLOPT_USERAGENT, userAgent.c_str());
    lib->easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
    lib->easy_setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(kMaxAnswerBytes));
    lib->easy_setopt(handle, CURLOPT_WRITEFUNCTION, &collect);
    lib->easy_setopt(handle, CURLOPT_WRITEDATA, &download);
    lib->easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText);

    const CURLcode code = lib->easy_perform(handle);
    if (download.tooLarge || code == CURLE_FILESIZE_EXCEEDED) {
        return Error{"the geocoding service's answer is too large"};
    }
    if (code != CURLE_OK) {
        return Error{fmt::format("geocoding request failed: {}", errorText[0] ? errorText : lib->easy_strerror(code))};
    }
    long status = 0;
    lib->easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    if (status != 200) return Error{fmt::format("the geocoding service answered HTTP {}", status)};
    TARVO_LOG_VERBOSE("Geocoding service answered {} bytes", download.body.size());
    return parseAnswer(download.body);
}

}  // namespace tarvo
