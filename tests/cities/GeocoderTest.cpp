// The web geocoder against a real HTTP server on loopback, and the offline geocoder on a
// small directory.
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>
#include <httplib.h>

#include "support/DataFolder.h"
#include "support/GeocodingServer.h"
#include "support/ResultValue.h"
#include "support/SmallDirectory.h"
#include "tarvo/Version.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/OfflineGeocoder.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/WebGeocoder.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using namespace std::chrono_literals;
using test::GeocodingServer;

constexpr const char* kLondonAnswer = R"({"place_id":1,"lat":"51.5073","lon":"-0.1276","category":"place",
  "display_name":"Charing Cross, London, Greater London, England, WC2N 5DU, United Kingdom",
  "address":{"road":"Charing Cross","city":"London","state_district":"Greater London","state":"England",
             "postcode":"WC2N 5DU","country":"United Kingdom","country_code":"gb"}})";

// "locality|area|country", the formatted address after another bar when asked.
std::string text(const Geocoder::Place& place, bool address = false) {
    return place.locality + "|" + place.administrativeArea + "|" + place.country +
           (address ? "|" + place.formattedAddress : "");
}

class WebGeocoderTest : public ::testing::Test {
protected:
    void SetUp() override { environment_.unset(WebGeocoder::kURLEnvironmentVariable); }

    Geocoder::Places ask(const std::string& body, int status = 200) {
        server_.answer(body, status);
        return WebGeocoder(server_.url()).reverseGeocode(51.5074, -0.1278);
    }

    test::ScopedDataFolder folder_;
    test::ScopedEnvironment environment_;
    GeocodingServer server_;
};

TEST_F(WebGeocoderTest, NamesThePlaceFromTheAddress) {
    const auto london = test::valueOrFailure(ask(kLondonAnswer));
    ASSERT_EQ(london.size(), 1u);
    EXPECT_EQ(text(london[0], true),
              "London|England|United Kingdom|Charing Cross, London, Greater London, England, WC2N 5DU, United Kingdom");
    EXPECT_EQ(server_.query("format") + " " + server_.query("lat") + " " + server_.query("lon"),
              "jsonv2 51.5074000 -0.1278000");
    EXPECT_EQ(server_.userAgent(), std::string("TarvoCore/") + reinterpret_cast<const char*>(TarvoCoreVersionString));

    // The locality is the first of city, town, village and hamlet present; the area the state,
    // else the region. Hostile names arrive without control and bidi characters, cut to 200
    // characters.
    std::string cut;
    for (int i = 0; i < 200; ++i) cut += "\u00e9";
    const std::string longName = cut + cut.substr(0, 100);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"({"display_name":"x","address":{"town":"Tain","village":"V","state":"Scotland"}})", "Tain|Scotland|"},
        {R"({"address":{"hamlet":"Tiny","region":"Pays","country":"France"}})", "Tiny|Pays|France"},
        // No locality at all: the place still comes with its administrative area.
        {R"({"address":{"city":"","state":"Highland","country":"United Kingdom"}})", "|Highland|United Kingdom"},
        {R"({"address":{"city":"\u0007\u001b[2JEvil\u202eTown\u0085\u2066\u2069","state":")" + longName +
             R"(","country":"\u0000\u202aX\u009b"}})",
         "[2JEvilTown|" + cut + "|X"}};
    for (const auto& [body, expected] : cases) {
        const auto places = test::valueOrFailure(ask(body));
        ASSERT_EQ(places.size(), 1u) << body;
        EXPECT_EQ(text(places[0]), expected);
    }
}

TEST_F(WebGeocoderTest, NothingThereIsAnEmptyListAndBadAnswersAreErrorsNeverCrashes) {
    const std::vector<std::pair<std::string, bool>> bodies = {
        {R"({"error":"Unable to geocode"})", false}, {"", false}, {"null", false}, {"{}", false},
        {R"({"address": )", true},                                                   // cut short
        {"{\"address\":{\"city\":\"Lon\xC0\xAF\"}}", true},                          // not UTF-8
        {"<html>Bad gateway</html>", true},                                          // not JSON
        {R"([{"address":{"city":"London"}}])", true},                                // a list, not an object
        {R"({"address":{"city":42}})", true}, {R"({"address":"London"})", true},     // wrong types
        {std::string(100000, '[') + std::string(100000, ']'), true},                 // nested far too deep
        {"{\"display_name\":\"" + std::string(2 * 1024 * 1024, 'x') + "\"}", true},  // 2 MiB
    };
    for (const auto& [body, error] : bodies) {
        const auto result = ask(body);
        EXPECT_EQ(!result, error) << body.substr(0, 40);
        if (result) {
            EXPECT_TRUE(result->empty()) << body.substr(0, 40);
        }
    }
    EXPECT_NE(test::errorOrFailure(ask(kLondonAnswer, 500)).find("HTTP 500"), std::string::npos);
    // A redirect is never followed, least of all to a file or another scheme.
    for (const char* target : {"file:///etc/passwd", "ftp://127.0.0.1/reverse"}) {
        server_.redirect(target);
        EXPECT_FALSE(WebGeocoder(server_.url()).reverseGeocode(51.5, 0)) << target;
    }
}

TEST_F(WebGeocoderTest, SlowOrAbsentServersTimeOut) {
    server_.answer(kLondonAnswer, 200, 1000ms);
    WebGeocoder impatient(server_.url());
    impatient.setTimeouts(100ms, 150ms);
    const auto start = std::chrono::steady_clock::now();
    auto result = impatient.reverseGeocode(51.5, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 900ms) << "the request gives up before the answer";
    EXPECT_NE(test::errorOrFailure(result).find("timed out"), std::string::npos);

    const std::string url = server_.url();
    server_.stop();
    result = WebGeocoder(url).reverseGeocode(51.5, 0);
    EXPECT_NE(test::errorOrFailure(result).find("onnect"), std::string::npos);
}

TEST_F(WebGeocoderTest, ServiceComesFromThePreferenceElseTheEnvironment) {
    server_.answer(kLondonAnswer);
    // Neither: no request, an error at once.
    auto result = WebGeocoder().reverseGeocode(51.5, 0);
    EXPECT_NE(test::errorOrFailure(result).find("no geocoding service"), std::string::npos);
    EXPECT_EQ(server_.requests(), 0);
    EXPECT_FALSE(WebGeocoder::configuredBaseURL());

    environment_.set(WebGeocoder::kURLEnvironmentVariable, server_.url() + "/");
    result = WebGeocoder().reverseGeocode(51.5, 0);
    ASSERT_EQ(test::valueOrFailure(result).size(), 1u);
    EXPECT_EQ(server_.requests(), 1);

    // The preference wins over the environment.
    UserDefaults::sharedUserDefaultsObj()->setString(WebGeocoder::kURLPreferenceKey, "ftp://127.0.0.1:1");
    EXPECT_EQ(WebGeocoder::configuredBaseURL(), "ftp://127.0.0.1:1");
    result = WebGeocoder().reverseGeocode(51.5, 0);
    EXPECT_NE(test::errorOrFailure(result).find("https:// or http://"), std::string::npos);
    EXPECT_EQ(server_.requests(), 1);
    UserDefaults::sharedUserDefaultsObj()->setString(WebGeocoder::kURLPreferenceKey, " ");
    EXPECT_EQ(WebGeocoder::configuredBaseURL(), server_.url() + "/") << "a blank preference counts as none";
}

TEST(OfflineGeocoder, NamesTheNearestDirectoryCityWithin100Km) {
    test::SmallDirectory small(test::worldCities());
    ASSERT_EQ(small.build().status, 0) << small.build().err;
    auto directory = test::valueOrFailure(CityDirectory::open(small.path()));
    ASSERT_TRUE(directory);
    OfflineGeocoder geocoder(directory);

    auto result = test::valueOrFailure(geocoder.reverseGeocode(51.75, -1.25));  // Oxford, 83 km from London
    ASSERT_EQ(result.size(), 1u);
    EXPECT_EQ(text(result[0], true), "London|England|United Kingdom|London, England, United Kingdom");
    const auto norwich = geocoder.reverseGeocode(52.63, 1.3);                         // 160 km
    EXPECT_TRUE(norwich && norwich->empty());
    EXPECT_FALSE(OfflineGeocoder(std::shared_ptr<CityDirectory>()).reverseGeocode(51.5, 0));

    // On the shipped directory: a city of the
    // "United States of America" (kept as "United States" in a city record) has its state.
    test::ScopedEnvironment environment;
    environment.unset(CityDirectory::kEnvironmentVariable);
    auto shipped = test::valueOrFailure(CityDirectory::open(""));
    ASSERT_TRUE(shipped);
    result = test::valueOrFailure(OfflineGeocoder(shipped).reverseGeocode(40.7143, -74.006));
    ASSERT_EQ(result.size(), 1u);
    EXPECT_EQ(text(result[0]), "New York|New York|United States");
}

}  // namespace
}  // namespace tarvo
