// tarvo locate with and without a geocoding service on loopback: the source it reports, the
// status when nothing names the place, the places it leaves for cities cache and last-used,
// and libcurl loaded only for a request. The order of the look-ups is the library's
// (tests/facade/LocationTest.cpp).
#include "support/GeocodingServer.h"
#include "support/ToolHarness.h"

using tarvo::test::json;
using tarvo::test::jsonOf;
using tarvo::test::runTarvo;
using tarvo::test::with;

namespace {

class Locate : public tarvo::test::ToolTest {
protected:
    static json locate(const tarvo::test::Args& extra, const tarvo::test::Args& env, int status = 0) {
        return jsonOf(with({"locate", "--json", "--timeout", "20"}, extra), env, status);
    }
};

constexpr const char* kAnswer = R"({"place_id":7,"display_name":"Testhausen, Testland",
  "address":{"town":"Testhausen","state":"Test State","country":"Testland"}})";

}  // namespace

TEST_F(Locate, SourcesStatusTheCacheCommandsAndLazyLibcurl) {
    EXPECT_EQ(runTarvo({"cities", "cache", "--json"}).out, "[]\n");
    EXPECT_EQ(runTarvo({"cities", "last-used"}).status, 1);
    // Named from the shipped directory, with no service configured and no request made.
    const json london = locate({"--lat", "51.5074", "--lon", "-0.1278"}, {"TARVO_GEOCODER_URL"});
    EXPECT_EQ(london["cityName"], "London");
    EXPECT_EQ(london["source"], "directory");
    // The fix is cached and is the last used city.
    EXPECT_EQ(jsonOf({"cities", "cache", "--json"})[0]["cityName"], "London");
    EXPECT_EQ(jsonOf({"cities", "last-used", "--json"})["countryName"], "United Kingdom");

    tarvo::test::GeocodingServer server;
    server.answer(kAnswer);
    const std::vector<std::string> sea = {"--lat", "44.1", "--lon", "-40.2"};
    const json named = locate(sea, {"TARVO_GEOCODER_URL=" + server.url()});
    EXPECT_EQ(named["cityName"], "Testhausen");
    EXPECT_EQ(named["source"], "web");
    EXPECT_EQ(named["announced"], true);
    EXPECT_EQ(server.requests(), 1);
    // Both places are cached; clearing the cache keeps the last used city.
    EXPECT_EQ(runTarvo({"cities", "cache", "--clear", "--json"}).out, "{\"cleared\":2}\n");
    EXPECT_THAT(runTarvo({"cities", "last-used"}).out, ::testing::StartsWith("Testhausen, Testland"));

    // The service fails and nothing names the place: status 1.
    server.answer("{}", 500);
    const json none = locate({"--lat", "-40", "--lon", "-120"}, {"TARVO_GEOCODER_URL=" + server.url()}, 1);
    EXPECT_EQ(none["source"], "none");

    // libcurl (and the twenty libraries it needs) is loaded for a request only.
    const auto loadsCurl = [&](const std::string& lat, const std::string& lon) {
        const auto run = runTarvo({"locate", "--lat", lat, "--lon", lon, "--timeout", "20"},
                                  {"LD_DEBUG=libs", "TARVO_GEOCODER_URL=" + server.url()});
        return run.err.find("libcurl.so") != std::string::npos;
    };
    EXPECT_FALSE(loadsCurl("51.5074", "-0.1278"));
    EXPECT_TRUE(loadsCurl("-40", "-120"));
}
