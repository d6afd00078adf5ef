// The Python extension `tarvo._tarvo`: the C interface (tarvo/tarvo.h) made callable from
// Python. It converts arguments and results and turns a status into an exception; the
// library's checks and messages are the ones raised. The GIL is released while the
// library computes. The package's Python half (tarvo/__init__.py) makes the datetimes.
#include <cmath>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "tarvo/tarvo.h"

namespace py = pybind11;

namespace {

// A place, city or method that does not exist (LookupError), and a database that could
// not be used (OSError).
struct NotFound : std::runtime_error {
    using std::runtime_error::runtime_error;
};
struct StorageFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A failed call as the Python exception that fits it: bad input is a ValueError.
[[noreturn]] void raise(tarvo_status status) {
    const std::string message = tarvo_last_error();
    switch (status) {
    case TARVO_ERROR_NOT_FOUND: throw NotFound(message);
    case TARVO_ERROR_STORAGE: throw StorageFailure(message);
    case TARVO_ERROR_INTERNAL: throw std::runtime_error(message);
    default: throw py::value_error(message);
    }
}

// Runs a library call without the GIL and raises when it fails.
template <typename Call>
void call(Call&& body) {
    tarvo_status status = TARVO_OK;
    {
        py::gil_scoped_release release;
        status = body();
    }
    if (status != TARVO_OK) raise(status);
}

// The same for a setting: an unknown method is a bad value, not a missing place.
template <typename Call>
void setting(Call&& body) {
    const tarvo_status status = body();
    if (status != TARVO_OK) throw py::value_error(tarvo_last_error());
}

struct SettingsDeleter {
    void operator()(tarvo_settings* s) const { tarvo_settings_destroy(s); }
};
using Settings = std::unique_ptr<tarvo_settings, SettingsDeleter>;

// The settings from the keyword arguments the Python half passes (already numbers).
// Adjustments are (prayer, minutes) pairs by tarvo_prayer number.
using Adjustments = std::vector<std::pair<int, int>>;

Settings settingsFrom(const py::object& method, int asr, int highLatitude, int polar, std::optional<double> fajrAngle,
                      std::optional<double> ishaAngle, std::optional<double> gmtOffset, int dst,
                      const Adjustments& adjustments = {}, std::optional<double> maghribMinutes = {},
                      std::optional<double> ishaMinutes = {}) {
    tarvo_settings* raw = nullptr;
    call([&] { return tarvo_settings_create(&raw); });
    Settings s(raw);
    if (py::isinstance<py::str>(method)) {
        const std::string name = method.cast<std::string>();
        setting([&] { return tarvo_settings_set_method_name(s.get(), name.c_str()); });
    } else {
        const int number = method.cast<int>();
        setting([&] { return tarvo_settings_set_method(s.get(), number); });
    }
    setting([&] { return tarvo_settings_set_asr(s.get(), asr); });
    setting([&] { return tarvo_settings_set_high_latitude(s.get(), highLatitude); });
    setting([&] { return tarvo_settings_set_polar(s.get(), polar); });
    if (fajrAngle || ishaAngle) {
        setting([&] { return tarvo_settings_set_custom_angles(s.get(), fajrAngle.value_or(std::nan("")), ishaAngle.value_or(std::nan(""))); });
    }
    if (gmtOffset) setting([&] { return tarvo_settings_set_gmt_offset(s.get(), *gmtOffset); });
    setting([&] { return tarvo_settings_set_dst(s.get(), dst); });
    for (const auto& [prayer, minutes] : adjustments) {
        setting([&] { return tarvo_settings_set_adjustment(s.get(), prayer, minutes); });
    }
    if (maghribMinutes || ishaMinutes) {
        setting([&] {
            return tarvo_settings_set_intervals(s.get(), maghribMinutes.value_or(std::nan("")), ishaMinutes.value_or(std::nan("")));
        });
    }
    return s;
}

// A place as the C interface takes it; the strings live as long as this object.
struct Place {
    std::string zone;
    std::optional<std::string> name;
    std::optional<std::string> country;
    tarvo_place place{};

    Place(double latitude, double longitude, std::string z, std::optional<std::string> n,
          std::optional<std::string> c)
        : zone(std::move(z)), name(std::move(n)), country(std::move(c)) {
        place.latitude = latitude;
        place.longitude = longitude;
        place.time_zone = zone.c_str();
        place.name = name ? name->c_str() : nullptr;
        place.country = country ? country->c_str() : nullptr;
    }
};

py::object moment(const tarvo_moment& m) {
    if (!m.present) return py::none();
    return py::make_tuple(m.unix_seconds, m.utc_offset_seconds);
}

py::object prayerMoment(const tarvo_prayer_moment& p) {
    if (!p.present) return py::none();
    return py::make_tuple(p.type, std::string(p.name), moment(p.time));
}

py::dict cityDict(const tarvo_city& c) {
    py::dict d;
    d["name"] = std::string(c.name);
    d["state"] = std::string(c.state);
    d["country"] = std::string(c.country);
    d["time_zone"] = std::string(c.time_zone);
    d["latitude"] = c.latitude;
    d["longitude"] = c.longitude;
    d["primary_key"] = c.primary_key;
    d["method"] = c.method;
    d["asr"] = c.asr;
    d["high_latitude"] = c.high_latitude;
    d["selected"] = c.selected != 0;
    d["distance_km"] = c.distance_km;
    return d;
}

py::list cityList(tarvo_city_list* list) {
    std::unique_ptr<tarvo_city_list, void (*)(tarvo_city_list*)> owned(list, tarvo_city_list_destroy);
    py::list out;
    for (size_t i = 0; i < tarvo_city_list_size(list); ++i) {
        tarvo_city c{};
        call([&] { return tarvo_city_list_get(list, i, &c); });
        out.append(cityDict(c));
    }
    return out;
}

// The city directory, opened once per path and shared by the threads that use it (the
// library takes turns on one connection).
class Directory {
public:
    explicit Directory(const std::optional<std::string>& path) {
        call([&] { return tarvo_directory_open(path ? path->c_str() : nullptr, &directory_); });
    }
    ~Directory() { tarvo_directory_destroy(directory_); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    py::list search(const std::string& text) {
        tarvo_city_list* list = nullptr;
        call([&] { return tarvo_directory_search(directory_, text.c_str(), &list); });
        return cityList(list);
    }
    py::dict nearest(double latitude, double longitude, double km) {
        tarvo_city c{};
        call([&] { return tarvo_directory_nearest(directory_, latitude, longitude, km, &c); });
        return cityDict(c);
    }
    py::dict resolve(const std::string& text, const std::optional<std::string>& country) {
        tarvo_city c{};
        call([&] { return tarvo_directory_resolve(directory_, text.c_str(), country ? country->c_str() : nullptr, &c); });
        return cityDict(c);
    }

private:
    tarvo_directory* directory_ = nullptr;
};

class SavedCities {
public:
    explicit SavedCities(const std::optional<std::string>& path) {
        call([&] { return tarvo_saved_cities_open(path ? path->c_str() : nullptr, &saved_); });
    }
    ~SavedCities() { tarvo_saved_cities_destroy(saved_); }
    SavedCities(const SavedCities&) = delete;
    SavedCities& operator=(const SavedCities&) = delete;

    py::list list() {
        tarvo_city_list* cities = nullptr;
        call([&] { return tarvo_saved_cities_list(saved_, &cities); });
        return cityList(cities);
    }
    py::dict add(double latitude, double longitude, const std::string& zone, const std::string& name,
                 const std::string& country, const py::object& method, int asr, int highLatitude) {
        Settings s = settingsFrom(method, asr, highLatitude, TARVO_POLAR_NONE, {}, {}, {}, 0);
        Place p(latitude, longitude, zone, name, country);
        tarvo_city c{};
        call([&] { return tarvo_saved_cities_add(saved_, &p.place, s.get(), &c); });
        return cityDict(c);
    }
    void select(int64_t key) { call([&] { return tarvo_saved_cities_select(saved_, key); }); }
    void remove(int64_t key) { call([&] { return tarvo_saved_cities_delete(saved_, key); }); }

private:
    tarvo_saved_cities* saved_ = nullptr;
};

}  // namespace

PYBIND11_MODULE(_tarvo, m) {
    m.doc() = "TarvoCore's C interface for Python; use the package tarvo, not this module.";
    py::register_exception<NotFound>(m, "NotFoundError", PyExc_LookupError);
    py::register_exception<StorageFailure>(m, "StorageError", PyExc_OSError);

    m.attr("VERSION") = TARVO_VERSION_STRING;
    m.def("version", [] { return std::string(tarvo_version()); }, "The version of the library loaded.");

    m.def(
        "times",
        [](double latitude, double longitude, const std::string& zone, std::optional<std::string> name,
           std::optional<std::string> country, int year, int month, int day, const py::object& method, int asr,
           int highLatitude, int polar, std::optional<double> fajrAngle, std::optional<double> ishaAngle,
           std::optional<double> gmtOffset, int dst, const Adjustments& adjustments,
           std::optional<double> maghribMinutes, std::optional<double> ishaMinutes) {
            Settings s = settingsFrom(method, asr, highLatitude, polar, fajrAngle, ishaAngle, gmtOffset, dst,
                                      adjustments, maghribMinutes, ishaMinutes);
            Place p(latitude, longitude, zone, std::move(name), std::move(country));
            tarvo_day_times t{};
            call([&] { return tarvo_times(s.get(), &p.place, year, month, day, &t); });
            py::list times;
            for (const tarvo_moment& each : t.times) times.append(moment(each));
            py::dict d;
            d["times"] = times;
            d["utc_offset"] = t.utc_offset_seconds;
            d["method"] = t.method;
            d["asr"] = t.asr;
            d["high_latitude"] = t.high_latitude;
            d["fixed_timings"] = t.fixed_timings != 0;
            return d;
        },
        "One day's times: a dict of times [(unix seconds, offset) or None] and the settings used.");

    m.def(
        "now",
        [](double latitude, double longitude, const std::string& zone, std::optional<std::string> name,
           std::optional<std::string> country, double at, bool countdown, const py::object& method, int asr,
           int highLatitude, const Adjustments& adjustments, std::optional<double> maghribMinutes,
           std::optional<double> ishaMinutes, bool showQiyam, bool useSunrise, bool arabicNames) {
            Settings s = settingsFrom(method, asr, highLatitude, TARVO_POLAR_NONE, {}, {}, {}, 0, adjustments,
                                      maghribMinutes, ishaMinutes);
            call([&] { return tarvo_settings_set_display(s.get(), showQiyam, useSunrise, arabicNames); });
            Place p(latitude, longitude, zone, std::move(name), std::move(country));
            tarvo_now_info n{};
            call([&] { return tarvo_now(s.get(), &p.place, at, countdown ? 1 : 0, &n); });
            py::dict d;
            d["now"] = moment(n.now);
            d["current"] = prayerMoment(n.current);
            d["next"] = prayerMoment(n.next);
            d["seconds_to_next"] = std::isnan(n.seconds_to_next) ? py::object(py::none()) : py::float_(n.seconds_to_next);
            if (n.has_summary) {
                py::dict s2;
                s2["focus"] = prayerMoment(n.focus);
                s2["state"] = n.state;
                s2["is_in_prayer"] = n.is_in_prayer != 0;
                s2["in_prayer_ends"] = moment(n.in_prayer_ends);
                s2["total_seconds"] = n.total_seconds;
                s2["seconds_since_current"] = n.seconds_since_current;
                s2["percent_elapsed"] = n.percent_elapsed;
                s2["color"] = py::make_tuple(n.color[0], n.color[1], n.color[2], n.color[3]);
                s2["complication"] = py::make_tuple(std::string(n.complication[0]), std::string(n.complication[1]));
                s2["refresh_at"] = moment(n.refresh_at);
                s2["stale"] = n.stale != 0;
                d["summary"] = s2;
            } else {
                d["summary"] = py::none();
            }
            return d;
        },
        "The current and next prayer and the watch summary at a moment (NaN: now).");

    m.def(
        "zone_offset",
        [](const std::string& zone, double unix) {
            int32_t offset = 0;
            call([&] { return tarvo_zone_offset(zone.c_str(), unix, &offset); });
            return offset;
        },
        "The zone's offset from UTC in seconds at a moment.");

    m.def(
        "qibla",
        [](double latitude, double longitude) {
            tarvo_qibla q{};
            call([&] { return tarvo_qibla_for(latitude, longitude, &q); });
            return py::make_tuple(q.bearing_degrees, q.nautical_miles, q.statute_miles);
        },
        "(bearing in whole degrees, nautical miles, statute miles) to the Kaaba.");

    m.def(
        "hijri_from_gregorian",
        [](int calendar, int year, int month, int day) {
            tarvo_date d{};
            char* text = nullptr;
            call([&] { return tarvo_hijri_from_gregorian(calendar, year, month, day, &d, &text); });
            std::string written = text ? text : "";
            tarvo_string_free(text);
            return py::make_tuple(d.year, d.month, d.day, d.weekday, written);
        },
        "(year, month, day, weekday, text) of the Hijri date of a Gregorian day.");
    m.def(
        "gregorian_from_hijri",
        [](int calendar, int year, int month, int day) {
            tarvo_date d{};
            call([&] { return tarvo_gregorian_from_hijri(calendar, year, month, day, &d); });
            return py::make_tuple(d.year, d.month, d.day, d.weekday);
        },
        "(year, month, day, weekday) of the Gregorian date of a Hijri day.");

    m.def(
        "moon",
        [](double latitude, double longitude, const std::string& zone, int year, int month, int day) {
            tarvo_moon_day moon{};
            call([&] { return tarvo_moon(latitude, longitude, zone.c_str(), year, month, day, &moon); });
            py::dict d;
            d["rise"] = moment(moon.rise);
            d["set"] = moment(moon.set);
            d["up_all_day"] = moon.up_all_day < 0 ? py::object(py::none()) : py::bool_(moon.up_all_day != 0);
            d["illumination"] = moon.illuminated_fraction;
            d["age_days"] = moon.age_days;
            d["phase_angle"] = moon.phase_angle;
            d["phase"] = std::string(moon.phase);
            return d;
        },
        "Moonrise, moonset and phase for a day at a place.");

    m.def(
        "methods",
        [] {
            py::list out;
            const size_t count = tarvo_method_count();
            for (size_t i = 0; i < count; ++i) {
                tarvo_method method{};
                call([&] { return tarvo_method_at(i, &method); });
                py::dict d;
                d["number"] = method.number;
                d["name"] = std::string(method.name);
                d["key"] = std::string(method.key);
                d["params"] = py::make_tuple(method.params[0], method.params[1], method.params[2], method.params[3],
                                             method.params[4], method.params[5]);
                d["minute_offsets"] =
                    py::make_tuple(method.minute_offsets[0], method.minute_offsets[1], method.minute_offsets[2],
                                   method.minute_offsets[3], method.minute_offsets[4], method.minute_offsets[5]);
                d["jafari_midnight"] = method.jafari_midnight != 0;
                d["seasonal_twilight"] = method.seasonal_twilight != 0;
                out.append(d);
            }
            return out;
        },
        "The method catalogue, in number order.");

    py::class_<Directory>(m, "Directory", "The city directory (a path, or None for the shipped file).")
        .def(py::init<const std::optional<std::string>&>(), py::arg("path") = py::none())
        .def("search", &Directory::search)
        .def("nearest", &Directory::nearest)
        .def("resolve", &Directory::resolve, py::arg("text"), py::arg("country") = py::none());
    py::class_<SavedCities>(m, "SavedCities", "The saved cities (a path, or None for the data folder's).")
        .def(py::init<const std::optional<std::string>&>(), py::arg("path") = py::none())
        .def("list", &SavedCities::list)
        .def("add", &SavedCities::add)
        .def("select", &SavedCities::select)
        .def("delete", &SavedCities::remove);
}
