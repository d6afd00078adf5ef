// tarvo locate: names a position fix as the app does when one arrives: the directory and
// the reverse-geocode cache first, then the web geocoder (when the user chose a service)
// and the fallback, waiting on the main queue for the announcement.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <ostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "CityJson.h"
#include "Commands.h"
#include "OpenUserDatabase.h"
#include "Options.h"
#include "Output.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/HostServices.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

struct LocateOptions {
    double latitude = 0;
    double longitude = 0;
    double km = 5;
    double timeout = 15;
    std::string directory;
    bool json = false;
};

const char* sourceName(TarvoDAO::LocationSource source) {
    switch (source) {
    case TarvoDAO::LocationSource::directory: return "directory";
    case TarvoDAO::LocationSource::cache: return "cache";
    case TarvoDAO::LocationSource::web: return "web";
    case TarvoDAO::LocationSource::fallback: return "fallback";
    default: return "none";
    }
}

// The automatic city as the fix named it, and by what.
struct Located {
    std::shared_ptr<TarvoCity> city;
    TarvoDAO::LocationSource source = TarvoDAO::LocationSource::none;
    bool named = false;  ///< false: nothing named the position
    bool announced = false;
};

std::string jsonText(const Located& l) {
    ordered_json j = cityJson(*l.city);
    j["source"] = l.named ? sourceName(l.source) : "none";
    j["announced"] = l.announced;
    return dumpJson(j);
}

void writeText(std::ostream& out, const Located& l) {
    if (!l.named) return;
    out << fmt::format("{} {} {} (from the {})\n", printable(l.city->description()), l.city->getLatLongString(),
                       printable(l.city->TimeZone().value_or("")), sourceName(l.source));
}

Located locate(const LocateOptions& o) {
    auto user = openUserDatabase();
    auto opened = CityDirectory::open(o.directory);
    if (!opened) throw UsageError("cannot use the city directory: " + opened.error().message);
    auto directory = std::move(*opened);

    // The automatic city (its preferences, London until a fix names it) with the new fix.
    auto city = TarvoCity::InitWithDefaults();
    city->setIsLoadingFromDB(true);
    city->setLatitude(o.latitude);
    city->setLongitude(o.longitude);
    city->setIsLoadingFromDB(false);

    std::atomic<bool> announced{false};
    std::atomic<bool> requestStarted{false};
    std::atomic<bool> requestEnded{false};
    const auto token = HostServices::addObserver(std::string(TarvoDAO::kGPSCityUpdatedNotification),
                                          [&](const std::string&, const std::any&) { announced = true; });
    TarvoDAO::setNetworkActivityIndicatorHandler([&](bool visible) {
        if (visible) requestStarted = true;
        if (!visible) requestEnded = true;
    });

    auto facade = TarvoDAO::getSharedInstance();
    // The databases are handed over with their owners, so they stay open for the publish step.
    facade->updateCityWithReverseGeocodedInformation(city, o.km, user,
                                                     directory);
    if (requestStarted) {
        const bool spinner = ::isatty(STDERR_FILENO) == 1;
        const char* frames = "|/-\\";
        int frame = 0;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(o.timeout);
        bool done = false;
        while (!done && std::chrono::steady_clock::now() < deadline) {
            if (spinner) std::cerr << "\r" << frames[frame++ % 4] << " asking the geocoder..." << std::flush;
            done = HostServices::runMainQueueUntil([&] { return requestEnded.load(); }, std::chrono::milliseconds(100));
        }
        HostServices::drainMainQueue();  // every publish step queued before the end
        if (spinner) std::cerr << "\r                        \r" << std::flush;
        if (!done) warn(fmt::format("no answer within {} s", o.timeout));
    }
    HostServices::removeObserver(token);
    TarvoDAO::setNetworkActivityIndicatorHandler(nullptr);
    if (auto why = directory->damage()) throw UsageError("cannot use the city directory: " + *why);

    Located l;
    l.city = city;
    l.source = facade->lastLocationSource();
    l.named = l.source != TarvoDAO::LocationSource::none && city->IsReverseGeocoded();
    l.announced = announced.load();
    return l;
}

}  // namespace

void registerLocateCommand(CLI::App& app) {
    auto o = std::make_shared<LocateOptions>();
    CLI::App* cmd = app.add_subcommand("locate", "Name a position as the app does when a location fix arrives");
    addLatitudeOption(*cmd, o->latitude, true);
    addLongitudeOption(*cmd, o->longitude, true);
    cmd->add_option("--km", o->km, "Search distance in km for the local look-ups (default 5)")
        ->check(numberBetween(0, 20000));
    cmd->add_option("--timeout", o->timeout, "Seconds to wait for the geocoders (default 15)")
        ->check(numberBetween(0.1, 600));
    cmd->add_option("--directory", o->directory, "City directory file to use instead of the shipped cities.sqlite");
    cmd->add_flag("--json", o->json, "Print the city as one JSON object with \"source\"");
    cmd->footer("The web geocoder is asked only when the preference WebGeocoderURL or TARVO_GEOCODER_URL names a "
                "Nominatim-compatible service; otherwise the nearest directory city within 100 km names the "
                "place. Exit status 1 when nothing named it.");
    cmd->callback([o] {
        const Located l = locate(*o);
        render(l, o->json, l.named ? "" : fmt::format("nothing named {}, {}", o->latitude, o->longitude));
    });
}

}  // namespace tarvo::cli
