/* TarvoCore's C interface: the one header a host written in C, Swift, Kotlin (JNI), Dart
 * (FFI), Rust or any language with a C foreign-function interface includes.
 *
 * Rules that hold for every function here:
 * - Every function returns a tarvo_status (TARVO_OK on success) except tarvo_version(),
 *   tarvo_last_error(), tarvo_prayer_name(), the two counts (tarvo_city_list_size,
 *   tarvo_method_count), tarvo_string_free() and the _destroy functions. On failure the
 *   output arguments are left as they were (cleared where the documentation says so) and
 *   tarvo_last_error() answers the calling thread's message until its next failing call.
 * - No C++ exception, abort or terminal output crosses this interface, whatever the input.
 *   The library's log lines go nowhere unless the host asks (tarvo_set_log_handler).
 * - Strings are UTF-8. A string the library hands out as `char*` belongs to the caller and
 *   is freed with tarvo_string_free(); strings inside result structs are fixed buffers.
 * - A moment is a tarvo_moment: Unix seconds (UTC, with fractions) and the offset from UTC,
 *   in seconds, of the clock the moment is meant to be shown on. A time that does not
 *   exist (the sun neither rises nor sets far north or south) has `present` 0.
 * - Handles are opaque; each is created with its _create function and freed with its
 *   _destroy function (which accepts NULL). A handle may be used from several threads when
 *   they only read it; calls on different handles may run on any threads at once and give
 *   the answers one thread would.
 */
#ifndef TARVO_TARVO_H
#define TARVO_TARVO_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__) || defined(__clang__)
#define TARVO_C_EXPORT __attribute__((visibility("default")))
#else
#define TARVO_C_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Version ------------------------------------------------------------------------ */

#define TARVO_VERSION_MAJOR 0
#define TARVO_VERSION_MINOR 1
#define TARVO_VERSION_PATCH 0
#define TARVO_VERSION_STRING "0.1.0"
/* The version as one number, major * 10000 + minor * 100 + patch. */
#define TARVO_VERSION (TARVO_VERSION_MAJOR * 10000 + TARVO_VERSION_MINOR * 100 + TARVO_VERSION_PATCH)

/* The version of the library actually loaded, e.g. "0.1.0" (static storage). */
TARVO_C_EXPORT const char* tarvo_version(void);

/* ---- Status and errors -------------------------------------------------------------- */

/* Choices are passed as int32_t (the enums name the values), so that any number a foreign
 * caller passes is a value the library can check and refuse. */

typedef enum tarvo_status {
    TARVO_OK = 0,
    TARVO_ERROR_NULL_ARGUMENT = 1,  /* a required pointer was NULL */
    TARVO_ERROR_INVALID_ARGUMENT = 2, /* a number or text outside what the call accepts */
    TARVO_ERROR_UNKNOWN_TIME_ZONE = 3,
    TARVO_ERROR_NOT_FOUND = 4,      /* no such place, city, method or saved city */
    TARVO_ERROR_UNSUPPORTED = 5,    /* a choice this build of the library does not offer yet */
    TARVO_ERROR_STORAGE = 6,        /* a database could not be opened, read or written */
    TARVO_ERROR_INTERNAL = 7        /* anything else; the message says what */
} tarvo_status;

/* The message of the calling thread's last failure ("" when none); valid until the thread's
 * next call into the library. */
TARVO_C_EXPORT const char* tarvo_last_error(void);

/* Frees a string the library handed out. NULL is allowed. */
TARVO_C_EXPORT void tarvo_string_free(char* text);

/* ---- Logging -------------------------------------------------------------------------- */

typedef enum tarvo_log_level {
    TARVO_LOG_VERBOSE = 0,
    TARVO_LOG_DEBUG = 1,
    TARVO_LOG_INFO = 2,
    TARVO_LOG_ERROR = 3,
    TARVO_LOG_OFF = 4
} tarvo_log_level;

/* Receives the library's log lines at `level` and above, on the thread that wrote them. */
typedef void (*tarvo_log_handler)(void* user_data, int32_t level /* tarvo_log_level */, const char* message);

/* Installs a handler (NULL removes it: lines go nowhere again). Once a C call has been made,
 * the library never writes to the terminal itself. */
TARVO_C_EXPORT tarvo_status tarvo_set_log_handler(tarvo_log_handler handler, void* user_data,
                                                  int32_t level /* tarvo_log_level */);

/* ---- Moments ---------------------------------------------------------------------------- */

typedef struct tarvo_moment {
    double unix_seconds;        /* seconds since 1970-01-01T00:00:00Z */
    int32_t utc_offset_seconds; /* of the clock the moment is shown on */
    int32_t present;            /* 0: the moment does not exist (the fields above are 0) */
} tarvo_moment;

/* The offset from UTC in seconds of the zone's clock (IANA name) at a moment. */
TARVO_C_EXPORT tarvo_status tarvo_zone_offset(const char* time_zone, double unix_seconds, int32_t* out);

/* ---- Calculation settings ------------------------------------------------------------- */

/* A handle holding how a day's times are calculated. A new one is all automatic: the method
 * and the high-latitude rule chosen for the position, the Asr school for the country. */
typedef struct tarvo_settings tarvo_settings;

typedef enum tarvo_asr_school {
    TARVO_ASR_AUTO = 0,
    TARVO_ASR_SHAFII = 1,  /* shadow equal to the object */
    TARVO_ASR_HANAFI = 2   /* shadow twice the object */
} tarvo_asr_school;

typedef enum tarvo_high_latitude_rule {
    TARVO_HIGH_LATITUDE_AUTO = 0,
    TARVO_HIGH_LATITUDE_SEVENTH_OF_NIGHT = 1,
    TARVO_HIGH_LATITUDE_SEVENTH_MEDIAN = 2,
    TARVO_HIGH_LATITUDE_ANGLE_BASED = 3,
    TARVO_HIGH_LATITUDE_MIDDLE_OF_NIGHT = 4
} tarvo_high_latitude_rule;

/* What to do with a time the sun does not give (polar day or night). */
typedef enum tarvo_polar_resolution {
    TARVO_POLAR_NONE = 0,            /* the time is missing */
    TARVO_POLAR_NEAREST_DAY = 1,     /* the nearest day that has the time */
    TARVO_POLAR_NEAREST_LATITUDE = 2 /* the nearest latitude that has the time */
} tarvo_polar_resolution;

TARVO_C_EXPORT tarvo_status tarvo_settings_create(tarvo_settings** out);
TARVO_C_EXPORT void tarvo_settings_destroy(tarvo_settings* settings);

/* A method by number (0 automatic; tarvo_methods lists the others). */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_method(tarvo_settings* settings, int32_t method);
/* A method by name as a user types it ("mwl", "ummalqura", "Diyanet (Turkey)", "auto", "8"). */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_method_name(tarvo_settings* settings, const char* name);
TARVO_C_EXPORT tarvo_status tarvo_settings_set_asr(tarvo_settings* settings, int32_t school /* tarvo_asr_school */);
TARVO_C_EXPORT tarvo_status tarvo_settings_set_high_latitude(tarvo_settings* settings,
                                                             int32_t rule /* tarvo_high_latitude_rule */);
TARVO_C_EXPORT tarvo_status tarvo_settings_set_polar(tarvo_settings* settings, int32_t polar /* tarvo_polar_resolution */);
/* Fajr and Isha sun depressions in degrees, each in (0, 90], replacing the method's own
 * (its other numbers and an authority's safety minutes stay). NaN leaves an angle at the
 * method's own value. */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_custom_angles(tarvo_settings* settings, double fajr_degrees,
                                                             double isha_degrees);
/* A fixed offset from GMT in hours (-14 to 14) instead of the zone's; NaN: the zone's. */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_gmt_offset(tarvo_settings* settings, double hours);
/* Summer time: 0 follow the zone, 1 force on, 2 force off. */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_dst(tarvo_settings* settings, int32_t rule);
/* Minutes added to one prayer's time (-1440 to 1440), as a user's adjustment settings do:
 * `prayer` is a tarvo_prayer other than TARVO_SUNSET, which moves with Maghrib. Tomorrow's
 * Fajr and sunrise move with today's. Applies to tarvo_times and tarvo_now. */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_adjustment(tarvo_settings* settings, int32_t prayer /* tarvo_prayer */,
                                                          int32_t minutes);
/* Maghrib a fixed number of minutes after sunset (0 to 1440) and Isha a fixed number after
 * Maghrib (above 0, at most 1440) instead of the method's rule; NaN keeps the method's own. */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_intervals(tarvo_settings* settings, double maghrib_minutes,
                                                         double isha_minutes);

/* How tarvo_now chooses and names the prayers (each 0 off, anything else on; all off in a
 * new handle): `show_qiyam` counts the night prayer Qiyam as current and next; `use_sunrise`
 * names the second time "Sunrise" (off: the forenoon prayer "Doha", 10 minutes after
 * sunrise); `arabic_names` gives the names in Arabic. */
TARVO_C_EXPORT tarvo_status tarvo_settings_set_display(tarvo_settings* settings, int32_t show_qiyam,
                                                       int32_t use_sunrise, int32_t arabic_names);

/* ---- Places and a day's times ------------------------------------------------------------ */

/* A place given by the host. `name` and `country` may be NULL; the country chooses the
 * automatic Asr school, the name (Dubai, Kuala Lumpur) the official timetables. */
typedef struct tarvo_place {
    double latitude;       /* -90 to 90, north positive */
    double longitude;      /* -180 to 180, east positive */
    const char* time_zone; /* IANA name, e.g. "Asia/Riyadh" */
    const char* name;
    const char* country;
} tarvo_place;

typedef enum tarvo_prayer {
    TARVO_FAJR = 0,
    TARVO_SUNRISE = 1,
    TARVO_DHUHR = 2,
    TARVO_ASR = 3,
    TARVO_SUNSET = 4,
    TARVO_MAGHRIB = 5,
    TARVO_ISHA = 6,
    TARVO_QIYAM = 7,
    TARVO_PRAYER_COUNT = 8
} tarvo_prayer;

typedef struct tarvo_day_times {
    int32_t year, month, day;
    int32_t utc_offset_seconds;          /* the offset the day's times are written on */
    tarvo_moment times[TARVO_PRAYER_COUNT]; /* indexed by tarvo_prayer */
    double hours[TARVO_PRAYER_COUNT];    /* the same as local clock hours (6.5 = 06:30, may pass 24); NaN when missing */
    int32_t method;                      /* the method, Asr school and high-latitude rule used */
    int32_t asr;
    int32_t high_latitude;
    int32_t fixed_timings;               /* 1: from an official timetable */
} tarvo_day_times;

/* One day's times (year 1 to 9999) at a place. `settings` may be NULL: all automatic. */
TARVO_C_EXPORT tarvo_status tarvo_times(const tarvo_settings* settings, const tarvo_place* place, int32_t year,
                                        int32_t month, int32_t day, tarvo_day_times* out);

/* The English name of a tarvo_prayer ("Fajr", ...), static storage; NULL for other numbers. */
TARVO_C_EXPORT const char* tarvo_prayer_name(int32_t prayer);

/* ---- The current and next prayer, and the watch summary ------------------------------------ */

typedef struct tarvo_prayer_moment {
    int32_t present;  /* 0: there is no such prayer (the other fields are 0) */
    int32_t type;     /* tarvo_prayer, or 8/9 for tomorrow's Fajr/sunrise */
    char name[64];
    tarvo_moment time;
} tarvo_prayer_moment;

typedef struct tarvo_now_info {
    tarvo_moment now;
    tarvo_prayer_moment current;
    tarvo_prayer_moment next;
    double seconds_to_next;        /* NaN when the next prayer has no time */
    int32_t has_summary;           /* 0: the summary fields below are 0 */
    tarvo_prayer_moment focus;     /* the prayer the watch shows */
    int32_t state;                 /* 0 started, 1 soon, 2 quarter passed, 3 half passed, 4 ending, 5 upcoming */
    int32_t is_in_prayer;
    tarvo_moment in_prayer_ends;
    double total_seconds;          /* between the current and the next prayer */
    double seconds_since_current;
    double percent_elapsed;
    double color[4];               /* red, green, blue, alpha of the state's colour, 0 to 1 */
    char complication[2][64];      /* the two lines of the graphical complication */
    tarvo_moment refresh_at;       /* when the summary should be asked for again */
    int32_t stale;
} tarvo_now_info;

/* The current and next prayer at `unix_seconds` (NaN: now) for the place, as an app shows
 * them once a minute; `countdown` moves the focus to the next prayer 40 minutes after the
 * current one. Everything comes from the settings (NULL: all automatic and off): the
 * calculation, adjustments and intervals, and tarvo_settings_set_display; the preferences of
 * the data folder play no part. Names are those of the moment asked about: Dhuhr is "Jumua"
 * when `unix_seconds` falls on a Friday on the place's clock. The answer depends on the
 * arguments only (the process's clock is read for NaN alone), so calls from many threads run
 * at once. */
TARVO_C_EXPORT tarvo_status tarvo_now(const tarvo_settings* settings, const tarvo_place* place, double unix_seconds,
                                      int32_t countdown, tarvo_now_info* out);

/* ---- Qibla ---------------------------------------------------------------------------------- */

typedef struct tarvo_qibla {
    int32_t bearing_degrees;  /* whole degrees clockwise from true north, 0 to 359 */
    double nautical_miles;
    double statute_miles;
} tarvo_qibla;

TARVO_C_EXPORT tarvo_status tarvo_qibla_for(double latitude, double longitude, tarvo_qibla* out);

/* ---- Hijri dates ----------------------------------------------------------------------------- */

typedef enum tarvo_hijri_calendar {
    TARVO_HIJRI_CIVIL = 0,        /* the arithmetical calendar (the default) */
    TARVO_HIJRI_UMM_AL_QURA = 1,
    TARVO_HIJRI_ASTRONOMICAL = 2
} tarvo_hijri_calendar;

typedef struct tarvo_date {
    int32_t year, month, day;
    int32_t weekday;  /* 1 Sunday to 7 Saturday */
} tarvo_date;

/* The Hijri date of a Gregorian day, with the user's Hijri correction from the shared
 * preferences; `text` (may be NULL) receives "1 Ramadan 1445", to be freed with
 * tarvo_string_free. */
TARVO_C_EXPORT tarvo_status tarvo_hijri_from_gregorian(int32_t calendar /* tarvo_hijri_calendar */, int32_t year, int32_t month,
                                                       int32_t day, tarvo_date* out, char** text);
/* The Gregorian date of a Hijri day (month 1-12, day 1-30, year 1-9999; a day the month does
 * not have is refused). */
TARVO_C_EXPORT tarvo_status tarvo_gregorian_from_hijri(int32_t calendar /* tarvo_hijri_calendar */, int32_t year, int32_t month,
                                                       int32_t day, tarvo_date* out);

/* ---- The moon --------------------------------------------------------------------------------- */

typedef struct tarvo_moon_day {
    tarvo_moment rise;          /* the first moonrise of the day, if any */
    tarvo_moment set;           /* the first moonset of the day, if any */
    int32_t up_all_day;         /* with neither: 1 up all day, 0 down all day; -1 otherwise */
    double illuminated_fraction; /* 0 new to 1 full, at local noon */
    double age_days;            /* since the last new moon */
    double phase_angle;
    char phase[32];             /* the phase's name */
} tarvo_moon_day;

TARVO_C_EXPORT tarvo_status tarvo_moon(double latitude, double longitude, const char* time_zone, int32_t year,
                                       int32_t month, int32_t day, tarvo_moon_day* out);

/* ---- Cities --------------------------------------------------------------------------------- */

typedef struct tarvo_city {
    int64_t primary_key;   /* a saved city's primary key (0 for directory cities) */
    char name[128];
    char state[128];
    char country[128];
    char time_zone[64];
    double latitude;
    double longitude;
    int32_t method;        /* a saved city's settings (0 automatic) */
    int32_t asr;
    int32_t high_latitude;
    int32_t selected;      /* a saved city: 1 when it is the selected one */
    double distance_km;    /* tarvo_directory_nearest: from the position asked about */
} tarvo_city;

/* A list of cities a call answered. */
typedef struct tarvo_city_list tarvo_city_list;
TARVO_C_EXPORT size_t tarvo_city_list_size(const tarvo_city_list* list);
TARVO_C_EXPORT tarvo_status tarvo_city_list_get(const tarvo_city_list* list, size_t index, tarvo_city* out);
TARVO_C_EXPORT void tarvo_city_list_destroy(tarvo_city_list* list);

/* The read-only directory of the world's cities. `path` NULL or "": the shipped file, found
 * by the library's rule (TARVO_DIRECTORY, beside the program, the installed file). */
typedef struct tarvo_directory tarvo_directory;
TARVO_C_EXPORT tarvo_status tarvo_directory_open(const char* path, tarvo_directory** out);
TARVO_C_EXPORT void tarvo_directory_destroy(tarvo_directory* directory);
/* At most 75 cities whose name matches the text (case and accents ignored), best first. */
TARVO_C_EXPORT tarvo_status tarvo_directory_search(tarvo_directory* directory, const char* text,
                                                   tarvo_city_list** out);
/* The directory city nearest the position within `radius_km` (0 to 20000);
 * TARVO_ERROR_NOT_FOUND when none is that near. */
TARVO_C_EXPORT tarvo_status tarvo_directory_nearest(tarvo_directory* directory, double latitude, double longitude,
                                                    double radius_km, tarvo_city* out);
/* A place name resolved to one directory city (the best match), as the tool resolves names;
 * TARVO_ERROR_NOT_FOUND when nothing matches. `country` may be NULL. */
TARVO_C_EXPORT tarvo_status tarvo_directory_resolve(tarvo_directory* directory, const char* text, const char* country,
                                                    tarvo_city* out);

/* The user's saved cities, in the user database of the data folder ($TARVO_HOME, else
 * $XDG_DATA_HOME/tarvo, else ~/.local/share/tarvo) or at `path`. */
typedef struct tarvo_saved_cities tarvo_saved_cities;
TARVO_C_EXPORT tarvo_status tarvo_saved_cities_open(const char* path, tarvo_saved_cities** out);
TARVO_C_EXPORT void tarvo_saved_cities_destroy(tarvo_saved_cities* saved);
TARVO_C_EXPORT tarvo_status tarvo_saved_cities_list(tarvo_saved_cities* saved, tarvo_city_list** out);
/* Saves the place with the settings (NULL: automatic) and selects it; `out` (may be NULL)
 * receives the saved city with its primary key. */
TARVO_C_EXPORT tarvo_status tarvo_saved_cities_add(tarvo_saved_cities* saved, const tarvo_place* place,
                                                   const tarvo_settings* settings, tarvo_city* out);
TARVO_C_EXPORT tarvo_status tarvo_saved_cities_select(tarvo_saved_cities* saved, int64_t primary_key);
TARVO_C_EXPORT tarvo_status tarvo_saved_cities_delete(tarvo_saved_cities* saved, int64_t primary_key);

/* ---- The method catalogue ------------------------------------------------------------------- */

typedef struct tarvo_method {
    int32_t number;
    char name[96];       /* display name */
    char key[32];        /* the short name tarvo_settings_set_method_name accepts */
    /* Fajr, Maghrib and Isha: selector (0 an angle in degrees, 1 minutes: before sunrise for
     * Fajr, after sunset for Maghrib, after Maghrib for Isha) and value. */
    double params[6];
    double minute_offsets[6]; /* minutes added to Fajr, sunrise, Dhuhr, Asr, Maghrib, Isha */
    int32_t jafari_midnight;  /* 1: the night runs from sunset to Fajr */
    int32_t seasonal_twilight;
} tarvo_method;

TARVO_C_EXPORT size_t tarvo_method_count(void);
/* The method at `index` (0 to tarvo_method_count() - 1), in number order. */
TARVO_C_EXPORT tarvo_status tarvo_method_at(size_t index, tarvo_method* out);

#ifdef __cplusplus
}
#endif

#endif /* TARVO_TARVO_H */
