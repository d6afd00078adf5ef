#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tarvo/Export.h"
#include "tarvo/cities/Geocoder.h"

namespace tarvo {

/// Reverse geocoding over HTTP(S) against a Nominatim-compatible service:
/// GET <base>/reverse?format=jsonv2&lat=..&lon=.. . The place's locality is the address's
/// city, town, village or hamlet (the first present), its administrative area the state or
/// region, its country the country, its formatted address the display name. An answer with
/// an "error" member, or an empty one, names no place.
///
/// The service is the one the user chose: the shared preference "WebGeocoderURL", else the
/// environment variable TARVO_GEOCODER_URL. With neither no request is made and the answer
/// is an error at once: a position never leaves the device unless the user chose a service.
/// https:// addresses are verified against the system's certificates; plain http:// is
/// accepted for a service on the local network. A malformed, oversized or unexpected answer
/// is an error, never a crash.
class TARVO_EXPORT WebGeocoder : public Geocoder {
public:
    static constexpr std::string_view kURLPreferenceKey = "WebGeocoderURL";
    static constexpr const char* kURLEnvironmentVariable = "TARVO_GEOCODER_URL";
    static constexpr std::chrono::milliseconds kConnectTimeout{3000};
    static constexpr std::chrono::milliseconds kRequestTimeout{8000};
    /// Answers longer than this are refused (a reverse answer is a few kilobytes).
    static constexpr size_t kMaxAnswerBytes = 1024 * 1024;

    /// Asks the configured service, looked up afresh at each request.
    WebGeocoder();
    /// Always asks the service at `baseURL` ("" for none).
    explicit WebGeocoder(std::string baseURL);

    /// The preference, else the environment variable; nothing when neither is set.
    static std::optional<std::string> configuredBaseURL();
    /// The service the next request goes to.
    std::optional<std::string> baseURL() const;
    /// Shorter time-outs, for a host on a slow link or for tests.
    void setTimeouts(std::chrono::milliseconds connect, std::chrono::milliseconds request);

    Places reverseGeocode(double latitude, double longitude) override;

    /// Reads a service's answer body (the JSON of a `/reverse?format=jsonv2` request): one
    /// place, no place (an empty body, null, or an "error" member), or an error for anything
    /// else (invalid JSON or UTF-8, nesting deeper than 32, members of the wrong kind).
    static Places parseAnswer(std::string_view body);

private:
    std::optional<std::string> fixedBaseURL_;
    std::chrono::milliseconds connectTimeout_ = kConnectTimeout;
    std::chrono::milliseconds requestTimeout_ = kRequestTimeout;
};

}  // namespace tarvo
