// The facade's naming of a position fix: local look-ups in their order, the web geocoder,
// the fallback, and the publish step on the main queue.
#include <atomic>
#include <mutex>
#include <thread>

#include "support/FacadeFixture.h"
#include "support/ResultValue.h"
#include "support/SmallDirectory.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/Geocoder.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/cities/TarvoCity.h"
#include "platform/host/DispatchQueue.h"
#include "platform/host/NotificationCenter.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

// A geocoder that answers what the test sets and counts its requests.
class FakeGeocoder : public Geocoder {
public:
    Places reverseGeocode(double, double) override {
        ++requests;
        std::lock_guard lock(mutex);
        return answer;
    }
    void set(Places r) {
        std::lock_guard lock(mutex);
        answer = std::move(r);
    }
    std::atomic<int> requests{0};
    std::mutex mutex;
    Places answer = std::vector<Place>{};
};

class Location : public FacadeTest {
protected:
    void SetUp() override {
        FacadeTest::SetUp();
        ASSERT_EQ(small.build().status, 0) << small.build().err;
        directory = tarvo::test::valueOrFailure(CityDirectory::open(small.path()));
        ASSERT_TRUE(directory);
        user = tarvo::test::valueOrFailure(UserDatabase::openDefault());
        ASSERT_TRUE(user);
        facade->setWebGeocoder(web);
        facade->setFallbackGeocoder(fallback);
        token = NotificationCenter::defaultCenter().addObserver(
            "NOTIFICATION_GPS_CITY_UPDATED", [this](const std::string&, const std::any& object) {
                std::lock_guard lock(mutex);
                announced.push_back(std::any_cast<std::shared_ptr<TarvoCity>>(object));
            });
        TarvoDAO::setNetworkActivityIndicatorHandler([this](bool visible) { (visible ? shown : hidden)++; });
        DispatchQueue::main().drain();
    }
    void TearDown() override {
        NotificationCenter::defaultCenter().removeObserver(token);
        TarvoDAO::setNetworkActivityIndicatorHandler(nullptr);
        FacadeTest::TearDown();
    }
    // A fresh automatic city at the position (its offset follows its zone).
    static std::shared_ptr<TarvoCity> fixAt(double lat, double lon) {
        return place("London", lat, lon, "Europe/London");
    }
    // Names the city as a fix accurate to `km`, waits for the publish step, and gives the city back.
    std::shared_ptr<TarvoCity> locate(std::shared_ptr<TarvoCity> city, double km = 1.5) {
        facade->updateCityWithReverseGeocodedInformation(city, km, user, directory);
        if (shown > hidden) DispatchQueue::main().runUntil([this] { return hidden == shown; }, std::chrono::seconds(10));
        DispatchQueue::main().drain();
        return city;
    }
    static Geocoder::Places places(std::vector<Geocoder::Place> p) { return p; }

    tarvo::test::SmallDirectory small{tarvo::test::worldCities()};
    std::shared_ptr<CityDirectory> directory;
    std::shared_ptr<UserDatabase> user;
    std::shared_ptr<TarvoDAO> facade = std::make_shared<TarvoDAO>();
    std::shared_ptr<FakeGeocoder> web = std::make_shared<FakeGeocoder>();
    std::shared_ptr<FakeGeocoder> fallback = std::make_shared<FakeGeocoder>();
    std::mutex mutex;
    std::vector<std::shared_ptr<TarvoCity>> announced;
    std::atomic<int> shown{0};
    std::atomic<int> hidden{0};
    NotificationCenter::Token token = 0;
};

}  // namespace

TEST_F(Location, LocalLookUpsInTheirOrder) {
    // Exactly a directory city: named at once, cached, no network, no announcement.
    auto city = locate(fixAt(-33.86785, 151.20732));
    EXPECT_EQ(city->cityName(), "Sydney");
    EXPECT_EQ(city->TimeZone(), "Asia/Riyadh");  // a city following its zone takes the device's
    EXPECT_TRUE(city->IsReverseGeocoded());
    EXPECT_EQ(facade->lastLocationSource(), TarvoDAO::LocationSource::directory);
    ASSERT_NE(facade->ActiveCity(), nullptr);
    EXPECT_NE(facade->ActiveCity(), city);  // the active city is a copy
    EXPECT_EQ(facade->ActiveCity()->cityName(), "Sydney");
    EXPECT_EQ(web->requests, 0);
    EXPECT_TRUE(announced.empty());
    EXPECT_EQ(TarvoCity::GetLastUsedCity(*user)->cityName(), "Sydney");

    // 2.2 km north of Sydney: 1.5 km looks only at the exact directory match and the cache
    // within 1.5 km, so the web answers; 5 km finds Sydney within the fixed 3 km.
    web->set(places({{"Testville", "Test Region", "Testland", "1 Test Road"}}));
    auto north = fixAt(-33.84785, 151.20732);
    north->setIsLoadingFromDB(true);
    north->setGMT(3);
    north->setIsLoadingFromDB(false);
    locate(north);
    EXPECT_EQ(north->cityName(), "Testville");
    EXPECT_EQ(north->TimeZone(), "Europe/London");  // a fixed offset keeps its zone
    EXPECT_EQ(web->requests, 1);
    EXPECT_EQ(facade->lastLocationSource(), TarvoDAO::LocationSource::web);
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_EQ(announced[0], north);  // the city itself, not the copy

    auto again = locate(fixAt(-33.84785, 151.20732));  // the same fix: the cache answers
    EXPECT_EQ(again->cityName(), "Testville");
    EXPECT_EQ(facade->lastLocationSource(), TarvoDAO::LocationSource::cache);
    EXPECT_EQ(web->requests, 1);

    TarvoCity::DeleteAllReverseGeocodeCache(*user);
    auto wide = locate(fixAt(-33.84785, 151.20732), 5);
    EXPECT_EQ(wide->cityName(), "Sydney");
    EXPECT_EQ(web->requests, 1);
    EXPECT_EQ(shown.load(), 1);
    EXPECT_EQ(hidden.load(), 1);
}

TEST_F(Location, NetworkAnswersAndFallbacks) {
    // An empty locality: the administrative area names the city.
    web->set(places({{"", "Region Only", "Farland", ""}}));
    auto city = locate(fixAt(40.0, -30.0));
    EXPECT_EQ(city->cityName(), "Region Only");
    EXPECT_EQ(city->countryName(), "Farland");

    // The web fails: the fallback's places are published one after another.
    web->set(Error{"HTTP 500"});
    fallback->set(places({{"First", "", "A", ""}, {"Second", "", "B", ""}}));
    announced.clear();
    auto other = locate(fixAt(41.0, -31.0));
    EXPECT_EQ(fallback->requests, 1);
    EXPECT_EQ(other->cityName(), "Second");
    EXPECT_EQ(announced.size(), 2u);
    EXPECT_EQ(facade->lastLocationSource(), TarvoDAO::LocationSource::fallback);

    // Nothing anywhere: the city keeps its names, the indicator is hidden again.
    fallback->set(places({}));
    auto nowhere = locate(fixAt(42.0, -32.0));
    EXPECT_EQ(nowhere->cityName(), "London");
    EXPECT_FALSE(nowhere->IsReverseGeocoded());
    EXPECT_EQ(shown.load(), hidden.load());

    // No fix (0, 0) and nothing local: nothing at all happens.
    const int before = web->requests;
    locate(fixAt(0.0, 0.0));
    EXPECT_EQ(web->requests, before);

    // A cached place whose name is blank is passed over for the network.
    auto blank = fixAt(43.0, -33.0);
    blank->setIsLoadingFromDB(true);
    blank->setCityName("   ");
    TarvoCity::saveCityInReverseGeocodeCache(*user, blank);
    web->set(places({{"Named", "", "C", ""}}));
    auto there = locate(fixAt(43.0, -33.0));
    EXPECT_EQ(there->cityName(), "Named");
}

TEST_F(Location, ConcurrentFixesAllPublished) {
    web->set(places({{"Somewhere", "", "X", ""}}));
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([this, i] {
            facade->updateCityWithReverseGeocodedInformation(fixAt(10.0 + i, 10.0), 1.5, user, directory);
        });
    }
    for (auto& t : threads) t.join();
    DispatchQueue::main().runUntil([this] { return hidden == 3; }, std::chrono::seconds(20));
    DispatchQueue::main().drain();
    EXPECT_EQ(announced.size(), 3u);
    EXPECT_EQ(web->requests, 3);
}
