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
#include "support/SmallDirectory.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/OfflineGeocoder.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/Version.h"
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

class WebGeocoderTest : public ::testing::Test {
protected:
    void SetUp() override { environment_.unset(WebGeocoder::kURLEnvironmentVariable); }

    Geocoder::Result ask(const std::string& body, int status = 200) {
        server_.answer(body, status);
        return WebGeocoder(server_.url()).reverseGeocode(51.5074, -0.1278);
    }

    test::ScopedDataFolder folder_;
    test::ScopedEnvironment environment_;
    GeocodingServer server_;
};

TEST_F(WebGeocoderTest, NamesThePlaceFromTheAddress) {
    const auto london = ask(kLondonAnswer);
    ASSERT_FALSE(london.error) << *london.error;
    ASSERT_EQ(london.places.size(), 1u);
    EXPECT_EQ(london.places[0].locality, "London");
    EXPECT_EQ(london.places[0].administrativeArea, "England");
    EXPECT_EQ(london.places[0].country, "United Kingdom");
    EXPECT_EQ(london.places[0].formattedAddress,
              "Charing Cross, London, Greater London, England, WC2N 5DU, United Kingdom");
    EXPECT_EQ(server_.query("format"), "jsonv2");
    EXPECT_EQ(server_.query("lat"), "51.5074000");
    EXPECT_EQ(server_.query("lon"), "-0.1278000");
    EXPECT_EQ(server_.userAgent(), std::string("TarvoCore/") + reinterpret_cast<const char*>(TarvoCoreVersionString));

    // The locality is the first of city, town, village and hamlet present; the area the
    // state, else the region.
    auto place = ask(R"({"display_name":"x","address":{"town":"Tain","village":"V","state":"Scotland"}})").places;
    ASSERT_EQ(place.size(), 1u);
    EXPECT_EQ(place[0].locality, "Tain");
    place = ask(R"({"address":{"hamlet":"Tiny","region":"Pays","country":"France"}})").places;
    ASSERT_EQ(place.size(), 1u);
    EXPECT_EQ(place[0].locality, "Tiny");
    EXPECT_EQ(place[0].administrativeArea, "Pays");
    // No locality at all: the place still comes with its administrative area.
    place = ask(R"({"address":{"city":"","state":"Highland","country":"United Kingdom"}})").places;
    ASSERT_EQ(place.size(), 1u);
    EXPECT_EQ(place[0].locality, "");
    EXPECT_EQ(place[0].administrativeArea, "Highland");

    // Hostile names arrive without control and bidi characters, cut to 200 characters.
    std::string longName;
    for (int i = 0; i < 250; ++i) longName += "\u00e9";
    place = ask(R"({"address":{"city":"\u0007\u001b[2JEvil\u202eTown\u0085\u2066\u2069","state":")" + longName +
                R"(","country":"\u0000\u202aX\u009b"}})")
                .places;
    ASSERT_EQ(place.size(), 1u);
    EXPECT_EQ(place[0].locality, "[2JEvilTown");
    std::string cut;
    for (int i = 0; i < 200; ++i) cut += "\u00e9";
    EXPECT_EQ(place[0].administrativeArea, cut);
    EXPECT_EQ(place[0].country, "X");
}

TEST_F(WebGeocoderTest, NothingThereIsAnEmptyListWithoutError) {
    for (const char* body : {R"({"error":"Unable to geocode"})", "", "null", "{}"}) {
        const auto result = ask(body);
        EXPECT_TRUE(result.places.empty()) << body;
        EXPECT_FALSE(result.error) << body;
    }
}

TEST_F(WebGeocoderTest, BadAnswersAreErrorsNeverCrashes) {
    auto result = ask(kLondonAnswer, 500);
    EXPECT_TRUE(result.places.empty());
    ASSERT_TRUE(result.error);
    EXPECT_NE(result.error->find("HTTP 500"), std::string::npos) << *result.error;

    const std::vector<std::string> hostile = {
        R"({"address": )",                                                   // cut short
        "<html>Bad gateway</html>",                                          // not JSON
        R"([{"address":{"city":"London"}}])",                                // a list, not an object
        R"({"address":{"city":42}})",                                        // wrong type
        R"({"address":"London"})",                                           // wrong type
        std::string(100000, '[') + std::string(100000, ']'),                 // nested far too deep
        "{\"display_name\":\"" + std::string(2 * 1024 * 1024, 'x') + "\"}",  // 2 MiB
    };
    for (const auto& body : hostile) {
        result = ask(body);
        EXPECT_TRUE(result.places.empty()) << body.substr(0, 40);
        EXPECT_TRUE(result.error) << body.substr(0, 40);
    }
}

TEST_F(WebGeocoderTest, SlowOrAbsentServersTimeOut) {
    server_.answer(kLondonAnswer, 200, 1000ms);
    WebGeocoder impatient(server_.url());
    impatient.setTimeouts(100ms, 150ms);
    const auto start = std::chrono::steady_clock::now();
    auto result = impatient.reverseGeocode(51.5, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 900ms) << "the request gives up before the answer";
    EXPECT_TRUE(result.places.empty());
    ASSERT_TRUE(result.error);
    EXPECT_NE(result.error->find("timed out"), std::string::npos) << *result.error;

    const std::string url = server_.url();
    server_.stop();
    result = WebGeocoder(url).reverseGeocode(51.5, 0);
    EXPECT_TRUE(result.places.empty());
    ASSERT_TRUE(result.error);
    EXPECT_NE(result.error->find("onnect"), std::string::npos) << *result.error;
}

TEST_F(WebGeocoderTest, ServiceComesFromThePreferenceElseTheEnvironment) {
    server_.answer(kLondonAnswer);
    // Neither: no request, an error at once.
    auto result = WebGeocoder().reverseGeocode(51.5, 0);
    ASSERT_TRUE(result.error);
    EXPECT_NE(result.error->find("no geocoding service"), std::string::npos) << *result.error;
    EXPECT_EQ(server_.requests(), 0);
    EXPECT_FALSE(WebGeocoder::configuredBaseURL());

    environment_.set(WebGeocoder::kURLEnvironmentVariable, server_.url() + "/");
    result = WebGeocoder().reverseGeocode(51.5, 0);
    ASSERT_EQ(result.places.size(), 1u);
    EXPECT_EQ(server_.requests(), 1);

    // The preference wins over the environment.
    UserDefaults::sharedUserDefaultsObj()->setString(WebGeocoder::kURLPreferenceKey, "ftp://127.0.0.1:1");
    EXPECT_EQ(WebGeocoder::configuredBaseURL(), "ftp://127.0.0.1:1");
    result = WebGeocoder().reverseGeocode(51.5, 0);
    ASSERT_TRUE(result.error);
    EXPECT_NE(result.error->find("https:// or http://"), std::string::npos) << *result.error;
    EXPECT_EQ(server_.requests(), 1);
    UserDefaults::sharedUserDefaultsObj()->setString(WebGeocoder::kURLPreferenceKey, " ");
    EXPECT_EQ(WebGeocoder::configuredBaseURL(), server_.url() + "/") << "a blank preference counts as none";
}

TEST(OfflineGeocoder, NamesTheNearestDirectoryCityWithin100Km) {
    test::SmallDirectory small(test::worldCities());
    ASSERT_EQ(small.build().status, 0) << small.build().err;
    std::string error;
    auto directory = CityDirectory::open(small.path(), error);
    ASSERT_TRUE(directory) << error;
    OfflineGeocoder geocoder(directory);

    auto result = geocoder.reverseGeocode(51.75, -1.25);  // Oxford, 83 km from London
    ASSERT_EQ(result.places.size(), 1u);
    EXPECT_EQ(result.places[0].locality, "London");
    EXPECT_EQ(result.places[0].administrativeArea, "England");
    EXPECT_EQ(result.places[0].country, "United Kingdom");
    EXPECT_EQ(result.places[0].formattedAddress, "London, England, United Kingdom");
    result = geocoder.reverseGeocode(52.2, 0.12);  // Cambridge, 80 km
    EXPECT_EQ(result.places.size(), 1u);
    result = geocoder.reverseGeocode(52.63, 1.3);  // Norwich, 160 km
    EXPECT_TRUE(result.places.empty());
    EXPECT_FALSE(result.error);
    EXPECT_TRUE(OfflineGeocoder(std::shared_ptr<CityDirectory>()).reverseGeocode(51.5, 0).error);
    EXPECT_TRUE(OfflineGeocoder(static_cast<SqliteDatabase*>(nullptr)).reverseGeocode(51.5, 0).error);

    // Through a connection the caller holds, on the shipped directory: a city of the
    // "United States of America" (kept as "United States" in a city record) has its state.
    test::ScopedEnvironment environment;
    environment.unset(CityDirectory::kEnvironmentVariable);
    auto shipped = CityDirectory::open("", error);
    ASSERT_TRUE(shipped) << error;
    result = OfflineGeocoder(&shipped->database()).reverseGeocode(40.7143, -74.006);
    ASSERT_EQ(result.places.size(), 1u);
    EXPECT_EQ(result.places[0].locality, "New York");
    EXPECT_EQ(result.places[0].administrativeArea, "New York");
    EXPECT_EQ(result.places[0].country, "United States");
}

}  // namespace
}  // namespace tarvo
