/* The C interface seen from C: every function, good and bad input, threads, and a bounded
 * seeded run of hostile input. Usage: capi_test CITY_DIRECTORY SCRATCH_FOLDER [check-stderr] */
#define _POSIX_C_SOURCE 200809L
#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarvo/tarvo.h"

static int failures = 0;

#define CHECK(condition)                                                                 \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            fprintf(stdout, "%s:%d: failed: %s (%s)\n", __FILE__, __LINE__, #condition,  \
                    tarvo_last_error());                                                 \
            ++failures;                                                                  \
        }                                                                                \
    } while (0)

/* A failing call answers `expected` and leaves a message. */
#define CHECK_FAILS(call, expected)                                                      \
    do {                                                                                 \
        tarvo_status status_ = (call);                                                   \
        if (status_ != (expected) || tarvo_last_error()[0] == '\0') {                    \
            fprintf(stdout, "%s:%d: %s answered %d (%s), not %d\n", __FILE__, __LINE__,  \
                    #call, (int)status_, tarvo_last_error(), (int)(expected));           \
            ++failures;                                                                  \
        }                                                                                \
    } while (0)

static const tarvo_place kMakkah = {21.4225, 39.8262, "Asia/Riyadh", "Makkah", "Saudi Arabia"};

/* New settings with the named method (NULL: the automatic choice). */
static tarvo_settings* newSettings(const char* method) {
    tarvo_settings* s = NULL;
    CHECK(tarvo_settings_create(&s) == TARVO_OK && s != NULL);
    if (s && method) CHECK(tarvo_settings_set_method_name(s, method) == TARVO_OK);
    return s;
}

/* The local calendar day of a moment on its own clock, as days since 1970. */
static long localDay(tarvo_moment m) { return (long)floor((m.unix_seconds + m.utc_offset_seconds) / 86400.0); }

static void testVersionAndErrors(void) {
    CHECK(strcmp(tarvo_version(), TARVO_VERSION_STRING) == 0);
    CHECK(TARVO_VERSION == TARVO_VERSION_MAJOR * 10000 + TARVO_VERSION_MINOR * 100 + TARVO_VERSION_PATCH);
    CHECK_FAILS(tarvo_settings_create(NULL), TARVO_ERROR_NULL_ARGUMENT);
    tarvo_settings* settings = NULL;
    CHECK(tarvo_settings_create(&settings) == TARVO_OK && settings != NULL);
    CHECK(tarvo_last_error()[0] == '\0'); /* a success clears the thread's message */
    CHECK_FAILS(tarvo_settings_set_method(settings, 999), TARVO_ERROR_NOT_FOUND);
    CHECK_FAILS(tarvo_settings_set_method_name(settings, "no such method"), TARVO_ERROR_NOT_FOUND);
    CHECK_FAILS(tarvo_settings_set_method_name(settings, NULL), TARVO_ERROR_NULL_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_asr(settings, 3), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_high_latitude(settings, -1), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_polar(settings, 7), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_custom_angles(settings, 19, 0), TARVO_ERROR_INVALID_ARGUMENT); /* 0 is "not chosen" */
    CHECK_FAILS(tarvo_settings_set_gmt_offset(settings, 15), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_gmt_offset(settings, INFINITY), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_dst(settings, 3), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK(tarvo_settings_set_method(settings, 6) == TARVO_OK);
    CHECK_FAILS(tarvo_settings_set_custom_angles(settings, 0, 17), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_custom_angles(settings, NAN, 91), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK(strcmp(tarvo_last_error(), "Isha angle 91 is outside (0, 90] degrees") == 0);
    CHECK(tarvo_settings_set_custom_angles(settings, 19.5, NAN) == TARVO_OK);
    CHECK_FAILS(tarvo_set_log_handler(NULL, NULL, 9), TARVO_ERROR_INVALID_ARGUMENT);
    tarvo_settings_destroy(settings);
    tarvo_settings_destroy(NULL);
    tarvo_string_free(NULL);
    CHECK(tarvo_prayer_name(TARVO_ISHA) && strcmp(tarvo_prayer_name(TARVO_ISHA), "Isha") == 0);
    CHECK(tarvo_prayer_name(8) == NULL && tarvo_prayer_name(-1) == NULL);
}

static int logLines = 0;
static void countLine(void* counter, int32_t level, const char* message) {
    if (level >= TARVO_LOG_VERBOSE && level <= TARVO_LOG_ERROR && message) ++*(int*)counter;
}

static void testZonesAndLog(void) {
    int32_t offset = 0;
    CHECK(tarvo_zone_offset("Europe/London", 1719835200.0, &offset) == TARVO_OK && offset == 3600); /* July */
    CHECK(tarvo_zone_offset("Europe/London", 1704110400.0, &offset) == TARVO_OK && offset == 0);    /* January */
    CHECK_FAILS(tarvo_zone_offset("Europe/Nowhere", 0, &offset), TARVO_ERROR_UNKNOWN_TIME_ZONE);
    CHECK_FAILS(tarvo_zone_offset("UTC", NAN, &offset), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_zone_offset(NULL, 0, &offset), TARVO_ERROR_NULL_ARGUMENT);

    /* The log reaches the host's handler, and nowhere once it is removed. */
    CHECK(tarvo_set_log_handler(countLine, &logLines, TARVO_LOG_VERBOSE) == TARVO_OK);
    tarvo_now_info info;
    CHECK(tarvo_now(NULL, &kMakkah, 1710500000.0, 0, &info) == TARVO_OK);
    CHECK(logLines > 0);
    CHECK(tarvo_set_log_handler(NULL, NULL, TARVO_LOG_OFF) == TARVO_OK);
    const int before = logLines;
    CHECK(tarvo_now(NULL, &kMakkah, 1710600000.0, 0, &info) == TARVO_OK);
    CHECK(logLines == before);
}

static void testTimes(void) {
    tarvo_day_times day;
    CHECK(tarvo_times(NULL, &kMakkah, 2024, 3, 15, &day) == TARVO_OK);
    CHECK(day.utc_offset_seconds == 3 * 3600);
    CHECK(day.method != 0 && day.asr != 0 && day.high_latitude != 0); /* the automatic choices, resolved */
    for (int i = 0; i < TARVO_PRAYER_COUNT; ++i) {
        CHECK(day.times[i].present && day.times[i].utc_offset_seconds == 3 * 3600 && !isnan(day.hours[i]));
        if (i > 0 && i != TARVO_QIYAM) CHECK(day.times[i].unix_seconds >= day.times[i - 1].unix_seconds);
        /* every time but the night's last third falls on the day asked about */
        if (i != TARVO_QIYAM) CHECK(localDay(day.times[i]) == localDay(day.times[TARVO_DHUHR]));
    }
    CHECK(day.hours[TARVO_DHUHR] > 12.0 && day.hours[TARVO_DHUHR] < 12.6);

    /* Settings change the answer: Hanafi Asr comes later than Shafi'i. */
    tarvo_settings* hanafi = newSettings("mwl");
    tarvo_settings* shafii = newSettings("mwl");
    CHECK(tarvo_settings_set_asr(hanafi, TARVO_ASR_HANAFI) == TARVO_OK);
    CHECK(tarvo_settings_set_asr(shafii, TARVO_ASR_SHAFII) == TARVO_OK);
    tarvo_day_times late, early;
    CHECK(tarvo_times(hanafi, &kMakkah, 2024, 3, 15, &late) == TARVO_OK);
    CHECK(tarvo_times(shafii, &kMakkah, 2024, 3, 15, &early) == TARVO_OK);
    CHECK(late.asr == 2 && early.asr == 1 && late.method == 1);
    CHECK(late.times[TARVO_ASR].unix_seconds > early.times[TARVO_ASR].unix_seconds + 1800);

    /* Polar day at 78 degrees north: no sunrise or sunset, marked missing. */
    const tarvo_place svalbard = {78.22, 15.65, "Arctic/Longyearbyen", "Longyearbyen", "Norway"};
    CHECK(tarvo_times(NULL, &svalbard, 2024, 6, 21, &day) == TARVO_OK);
    CHECK(!day.times[TARVO_SUNRISE].present && isnan(day.hours[TARVO_SUNRISE]));
    CHECK(day.times[TARVO_SUNRISE].unix_seconds == 0 && day.times[TARVO_SUNRISE].utc_offset_seconds == 0);
    CHECK(day.times[TARVO_DHUHR].present);

    /* Bad input: a status, the output untouched. */
    tarvo_day_times untouched;
    memset(&untouched, 0x5a, sizeof untouched);
    const struct {
        tarvo_place place;
        tarvo_status status;
    } bad[] = {{{NAN, 39.8262, "Asia/Riyadh", NULL, NULL}, TARVO_ERROR_INVALID_ARGUMENT},
               {{1e308, 39.8262, "Asia/Riyadh", NULL, NULL}, TARVO_ERROR_INVALID_ARGUMENT},
               {{21.4225, -180.5, "Asia/Riyadh", NULL, NULL}, TARVO_ERROR_INVALID_ARGUMENT},
               {{21.4225, 39.8262, "Mars/Olympus_Mons", NULL, NULL}, TARVO_ERROR_UNKNOWN_TIME_ZONE},
               {{21.4225, 39.8262, NULL, NULL, NULL}, TARVO_ERROR_NULL_ARGUMENT}};
    for (size_t i = 0; i < sizeof bad / sizeof bad[0]; ++i) {
        CHECK_FAILS(tarvo_times(NULL, &bad[i].place, 2024, 3, 15, &untouched), bad[i].status);
    }
    CHECK_FAILS(tarvo_times(NULL, NULL, 2024, 3, 15, &untouched), TARVO_ERROR_NULL_ARGUMENT);
    CHECK_FAILS(tarvo_times(NULL, &kMakkah, 2024, 3, 15, NULL), TARVO_ERROR_NULL_ARGUMENT);
    CHECK_FAILS(tarvo_times(NULL, &kMakkah, 2023, 2, 29, &untouched), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK(strstr(tarvo_last_error(), "2023-02 has 28 days") != NULL);
    CHECK_FAILS(tarvo_times(NULL, &kMakkah, 0, 1, 1, &untouched), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_times(NULL, &kMakkah, 10000, 1, 1, &untouched), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_times(NULL, &kMakkah, 2024, 13, 1, &untouched), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK(untouched.year == 0x5a5a5a5a);
    /* Midnight sun at Longyearbyen: with a resolution every time exists. */
    {
        tarvo_place north = {78.2232, 15.6267, "Arctic/Longyearbyen", "Longyearbyen", "Norway"};
        tarvo_day_times polar;
        int present = 0;
        CHECK(tarvo_settings_set_polar(hanafi, TARVO_POLAR_NEAREST_LATITUDE) == TARVO_OK);
        CHECK(tarvo_times(hanafi, &north, 2024, 6, 21, &polar) == TARVO_OK);
        for (int i = 0; i < TARVO_PRAYER_COUNT; ++i) present += polar.times[i].present;
        CHECK(present == TARVO_PRAYER_COUNT);
    }
    tarvo_settings_destroy(hanafi);
    tarvo_settings_destroy(shafii);
}

static void testNow(void) {
    tarvo_day_times day;
    CHECK(tarvo_times(NULL, &kMakkah, 2024, 3, 15, &day) == TARVO_OK);
    /* Ten minutes after Asr: Asr is current, Maghrib (or sunset) is next. */
    const double at = day.times[TARVO_ASR].unix_seconds + 600;
    tarvo_now_info info;
    CHECK(tarvo_now(NULL, &kMakkah, at, 0, &info) == TARVO_OK);
    CHECK(info.now.present && fabs(info.now.unix_seconds - at) < 1e-6 && info.now.utc_offset_seconds == 3 * 3600);
    CHECK(info.current.present && info.current.type == TARVO_ASR && info.current.name[0] != '\0');
    CHECK(fabs(info.current.time.unix_seconds - day.times[TARVO_ASR].unix_seconds) < 60);
    CHECK(info.next.present && info.next.time.unix_seconds > at);
    CHECK(fabs(info.seconds_to_next - (info.next.time.unix_seconds - at)) < 1e-6);
    CHECK(info.has_summary && info.state >= 0 && info.state <= 5 && info.color[3] > 0);
    CHECK(info.refresh_at.present);
    CHECK_FAILS(tarvo_now(NULL, &kMakkah, INFINITY, 0, &info), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_now(NULL, &kMakkah, at, 0, NULL), TARVO_ERROR_NULL_ARGUMENT);

    /* Names are those of the moment asked about, whatever today is: 12:40 in Makkah on Friday
     * 15 March 2024 is Jumua, on the Thursday before plain Dhuhr. */
    CHECK(tarvo_now(NULL, &kMakkah, 1710495600.0, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_DHUHR && strcmp(info.current.name, "Jumua") == 0);
    CHECK(tarvo_now(NULL, &kMakkah, 1710409200.0, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_DHUHR && strcmp(info.current.name, "Duhr") == 0);
    /* 02:30 on Friday in Makkah is still Thursday 23:30 in UTC: the place's day counts. */
    tarvo_settings* s = newSettings(NULL);
    CHECK(tarvo_settings_set_display(s, 0, 1, 1) == TARVO_OK);
    CHECK(tarvo_now(s, &kMakkah, 1710459000.0, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_ISHA && info.next.type == 8);
    CHECK(tarvo_now(s, &kMakkah, 1710495600.0, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_DHUHR && strcmp(info.current.name, "\u0627\u0644\u062C\u0645\u0639\u0629") == 0);
    /* With Qiyam shown, the small hours are Qiyam's; named Sunrise, the second time is Sunrise. */
    CHECK(tarvo_settings_set_display(s, 1, 1, 0) == TARVO_OK);
    CHECK(tarvo_now(s, &kMakkah, 1710459000.0, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_QIYAM && strcmp(info.current.name, "Qiyam") == 0);
    CHECK(info.next.type == 8 && strcmp(info.next.name, "Fajr") == 0);
    CHECK(tarvo_now(s, &kMakkah, 1710459000.0 + 4 * 3600, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_SUNRISE && strcmp(info.current.name, "Sunrise") == 0);
    CHECK(tarvo_now(NULL, &kMakkah, 1710459000.0 + 4 * 3600, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_FAJR && info.next.type == TARVO_SUNRISE && strcmp(info.next.name, "Doha") == 0);
    CHECK_FAILS(tarvo_settings_set_display(NULL, 0, 0, 0), TARVO_ERROR_NULL_ARGUMENT);
    tarvo_settings_destroy(s);
}

/* Adjustments move single prayers by whole minutes; intervals put Maghrib and Isha at fixed
 * distances; both reach the current prayer too. */
static void testAdjustments(void) {
    tarvo_settings* s = newSettings("mwl");
    tarvo_day_times plain, moved;
    CHECK(tarvo_times(s, &kMakkah, 2024, 3, 15, &plain) == TARVO_OK);
    CHECK(tarvo_settings_set_adjustment(s, TARVO_FAJR, 5) == TARVO_OK);
    CHECK(tarvo_settings_set_adjustment(s, TARVO_MAGHRIB, -2) == TARVO_OK);
    CHECK(tarvo_times(s, &kMakkah, 2024, 3, 15, &moved) == TARVO_OK);
    CHECK(fabs(moved.times[TARVO_FAJR].unix_seconds - plain.times[TARVO_FAJR].unix_seconds - 300) < 1e-6);
    CHECK(fabs(moved.hours[TARVO_FAJR] - plain.hours[TARVO_FAJR] - 5.0 / 60) < 1e-9);
    /* Sunset moves with Maghrib, as the user's settings move it. */
    CHECK(fabs(moved.times[TARVO_SUNSET].unix_seconds - plain.times[TARVO_SUNSET].unix_seconds + 120) < 1e-6);
    CHECK(fabs(moved.times[TARVO_MAGHRIB].unix_seconds - plain.times[TARVO_MAGHRIB].unix_seconds + 120) < 1e-6);
    CHECK(moved.times[TARVO_DHUHR].unix_seconds == plain.times[TARVO_DHUHR].unix_seconds);
    CHECK_FAILS(tarvo_settings_set_adjustment(s, TARVO_SUNSET, 1), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK(strcmp(tarvo_last_error(), "Sunset moves with Maghrib; adjust Maghrib") == 0);
    CHECK_FAILS(tarvo_settings_set_adjustment(s, 8, 1), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_adjustment(s, TARVO_ISHA, 1441), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_adjustment(NULL, TARVO_ISHA, 1), TARVO_ERROR_NULL_ARGUMENT);

    /* Maghrib 3 minutes after sunset, Isha 90 after Maghrib (the Maghrib adjustment moves both). */
    CHECK(tarvo_settings_set_intervals(s, 3, 90) == TARVO_OK);
    CHECK(tarvo_times(s, &kMakkah, 2024, 3, 15, &moved) == TARVO_OK);
    CHECK(fabs(moved.times[TARVO_MAGHRIB].unix_seconds - moved.times[TARVO_SUNSET].unix_seconds - 180) < 1e-3);
    CHECK(fabs(moved.times[TARVO_ISHA].unix_seconds - moved.times[TARVO_MAGHRIB].unix_seconds - 5520) < 1e-3);
    CHECK_FAILS(tarvo_settings_set_intervals(s, -1, NAN), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK(strcmp(tarvo_last_error(), "Maghrib interval -1 is outside 0 to 1440 minutes") == 0);
    CHECK_FAILS(tarvo_settings_set_intervals(s, 3, INFINITY), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_settings_set_intervals(s, 3, 0), TARVO_ERROR_INVALID_ARGUMENT); /* Isha at Maghrib itself */
    CHECK(tarvo_times(s, &kMakkah, 2024, 3, 15, &moved) == TARVO_OK); /* a refused call changed nothing */
    CHECK(fabs(moved.times[TARVO_MAGHRIB].unix_seconds - moved.times[TARVO_SUNSET].unix_seconds - 180) < 1e-3);
    CHECK(tarvo_settings_set_intervals(s, NAN, NAN) == TARVO_OK); /* the method's own again */
    CHECK(tarvo_settings_set_adjustment(s, TARVO_MAGHRIB, 0) == TARVO_OK);
    CHECK(tarvo_settings_set_adjustment(s, TARVO_FAJR, 0) == TARVO_OK);
    CHECK(tarvo_times(s, &kMakkah, 2024, 3, 15, &moved) == TARVO_OK);
    CHECK(memcmp(moved.hours, plain.hours, sizeof plain.hours) == 0);

    /* Ten minutes after Asr, with Asr moved 30 minutes later, Dhuhr is still current. */
    tarvo_now_info info;
    const double at = plain.times[TARVO_ASR].unix_seconds + 600;
    CHECK(tarvo_now(s, &kMakkah, at, 0, &info) == TARVO_OK && info.current.type == TARVO_ASR);
    CHECK(tarvo_settings_set_adjustment(s, TARVO_ASR, 30) == TARVO_OK);
    CHECK(tarvo_now(s, &kMakkah, at, 0, &info) == TARVO_OK);
    CHECK(info.current.type == TARVO_DHUHR && info.next.type == TARVO_ASR);
    /* The day list is stamped to the nearest minute: the next Asr is 30 minutes after the engine's, within 30 s. */
    CHECK(fabs(info.next.time.unix_seconds - plain.times[TARVO_ASR].unix_seconds - 1800) <= 30);
    tarvo_settings_destroy(s);
}

static void testQiblaHijriMoon(void) {
    tarvo_qibla q;
    CHECK(tarvo_qibla_for(51.5074, -0.1278, &q) == TARVO_OK); /* London */
    CHECK(q.bearing_degrees >= 118 && q.bearing_degrees <= 120);
    CHECK(q.statute_miles > q.nautical_miles && q.nautical_miles > 2000);
    CHECK_FAILS(tarvo_qibla_for(NAN, 0, &q), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_qibla_for(0, 0, NULL), TARVO_ERROR_NULL_ARGUMENT);

    tarvo_date hijri, back;
    char* text = NULL;
    CHECK(tarvo_hijri_from_gregorian(TARVO_HIJRI_CIVIL, 2024, 3, 20, &hijri, &text) == TARVO_OK);
    CHECK(hijri.year == 1445 && hijri.month == 9 && hijri.weekday == 4); /* a Wednesday in Ramadan */
    CHECK(text != NULL && strstr(text, "1445") != NULL);
    tarvo_string_free(text);
    CHECK(tarvo_gregorian_from_hijri(TARVO_HIJRI_CIVIL, hijri.year, hijri.month, hijri.day, &back) == TARVO_OK);
    CHECK(back.year == 2024 && back.month == 3 && back.day == 20 && back.weekday == 4);
    CHECK(tarvo_hijri_from_gregorian(TARVO_HIJRI_CIVIL, 2024, 3, 20, &hijri, NULL) == TARVO_OK);
    /* 1 Muharram 1446 is 7 July 2024 in Saudi Arabia's Umm al-Qura calendar, 8 July in the civil one. */
    CHECK(tarvo_gregorian_from_hijri(TARVO_HIJRI_UMM_AL_QURA, 1446, 1, 1, &back) == TARVO_OK);
    CHECK(back.year == 2024 && back.month == 7 && back.day == 7);
    CHECK(tarvo_gregorian_from_hijri(TARVO_HIJRI_CIVIL, 1446, 1, 1, &back) == TARVO_OK);
    CHECK(back.year == 2024 && back.month == 7 && back.day == 8);
    CHECK(tarvo_hijri_from_gregorian(TARVO_HIJRI_UMM_AL_QURA, 2024, 3, 11, &hijri, NULL) == TARVO_OK);
    CHECK(hijri.year == 1445 && hijri.month == 9 && hijri.day == 1); /* 1 Ramadan 1445 */
    CHECK_FAILS(tarvo_hijri_from_gregorian(5, 2024, 3, 20, &hijri, NULL),
                TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_hijri_from_gregorian(TARVO_HIJRI_CIVIL, 2024, 2, 30, &hijri, NULL), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_gregorian_from_hijri(TARVO_HIJRI_CIVIL, 1445, 2, 30, &back), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK(strstr(tarvo_last_error(), "has 29 days") != NULL); /* Safar 1445 has 29 days */
    CHECK_FAILS(tarvo_gregorian_from_hijri(TARVO_HIJRI_CIVIL, 1445, 13, 1, &back), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_gregorian_from_hijri(TARVO_HIJRI_CIVIL, 0, 1, 1, &back), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_gregorian_from_hijri(TARVO_HIJRI_CIVIL, 1445, 1, 1, NULL), TARVO_ERROR_NULL_ARGUMENT);

    tarvo_moon_day moon;
    CHECK(tarvo_moon(51.5074, -0.1278, "Europe/London", 2024, 3, 25, &moon) == TARVO_OK); /* full moon */
    CHECK(moon.illuminated_fraction > 0.97 && moon.phase[0] != '\0');
    CHECK(moon.rise.present || moon.set.present);
    if (moon.rise.present) CHECK(moon.rise.utc_offset_seconds == 0);
    CHECK(tarvo_moon(51.5074, -0.1278, "Europe/London", 2024, 4, 8, &moon) == TARVO_OK); /* new moon */
    CHECK(moon.illuminated_fraction < 0.03);
    CHECK_FAILS(tarvo_moon(51.5, -0.1, "Nowhere/Else", 2024, 3, 25, &moon), TARVO_ERROR_UNKNOWN_TIME_ZONE);
    CHECK_FAILS(tarvo_moon(51.5, -0.1, "Europe/London", 2024, 3, 32, &moon), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_moon(-91, -0.1, "Europe/London", 2024, 3, 1, &moon), TARVO_ERROR_INVALID_ARGUMENT);
}

static void testDirectory(const char* path) {
    tarvo_directory* directory = NULL;
    CHECK_FAILS(tarvo_directory_open("/nonexistent/cities.sqlite", &directory), TARVO_ERROR_STORAGE);
    CHECK(directory == NULL);
    if (tarvo_directory_open(path, &directory) != TARVO_OK) {
        CHECK(!"the shipped directory opens");
        return;
    }
    tarvo_city_list* list = NULL;
    CHECK(tarvo_directory_search(directory, "London", &list) == TARVO_OK);
    CHECK(tarvo_city_list_size(list) > 1);
    tarvo_city city;
    CHECK(tarvo_city_list_get(list, 0, &city) == TARVO_OK && strcmp(city.name, "London") == 0);
    CHECK_FAILS(tarvo_city_list_get(list, tarvo_city_list_size(list), &city), TARVO_ERROR_INVALID_ARGUMENT);
    tarvo_city_list_destroy(list);
    list = NULL;
    CHECK(tarvo_directory_search(directory, "qqqzzzxx", &list) == TARVO_OK && tarvo_city_list_size(list) == 0);
    tarvo_city_list_destroy(list);
    CHECK(tarvo_city_list_size(NULL) == 0);

    CHECK(tarvo_directory_resolve(directory, "London", "Canada", &city) == TARVO_OK);
    CHECK(strcmp(city.country, "Canada") == 0 && strcmp(city.time_zone, "America/Toronto") == 0);
    CHECK_FAILS(tarvo_directory_resolve(directory, "qqqzzzxx", NULL, &city), TARVO_ERROR_NOT_FOUND);

    CHECK(tarvo_directory_nearest(directory, 21.42, 39.83, 50, &city) == TARVO_OK);
    CHECK(strcmp(city.country, "Saudi Arabia") == 0 && city.distance_km < 50);
    CHECK_FAILS(tarvo_directory_nearest(directory, 0, -150, 50, &city), TARVO_ERROR_NOT_FOUND); /* the Pacific */
    CHECK_FAILS(tarvo_directory_nearest(directory, 0, 0, NAN, &city), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_directory_search(directory, NULL, &list), TARVO_ERROR_NULL_ARGUMENT);
    CHECK_FAILS(tarvo_directory_search(NULL, "x", &list), TARVO_ERROR_NULL_ARGUMENT);
    tarvo_directory_destroy(directory);
}

static void testSavedCities(const char* scratch) {
    char path[4096];
    snprintf(path, sizeof path, "%s/user.sqlite", scratch);
    unlink(path);
    tarvo_saved_cities* saved = NULL;
    CHECK(tarvo_saved_cities_open(path, &saved) == TARVO_OK);
    if (!saved) return;
    tarvo_settings* settings = newSettings("ummalqura");
    tarvo_city first, second;
    CHECK(tarvo_saved_cities_add(saved, &kMakkah, settings, &first) == TARVO_OK);
    const tarvo_place london = {51.5074, -0.1278, "Europe/London", "London", "United Kingdom"};
    CHECK(tarvo_saved_cities_add(saved, &london, NULL, &second) == TARVO_OK);
    CHECK(first.primary_key != second.primary_key && first.method == 4 && second.selected);
    tarvo_city_list* list = NULL;
    CHECK(tarvo_saved_cities_list(saved, &list) == TARVO_OK && tarvo_city_list_size(list) == 2);
    tarvo_city_list_destroy(list);
    CHECK(tarvo_saved_cities_select(saved, first.primary_key) == TARVO_OK);
    CHECK(tarvo_saved_cities_list(saved, &list) == TARVO_OK);
    for (size_t i = 0; i < tarvo_city_list_size(list); ++i) {
        tarvo_city c;
        CHECK(tarvo_city_list_get(list, i, &c) == TARVO_OK);
        CHECK(c.selected == (c.primary_key == first.primary_key));
    }
    tarvo_city_list_destroy(list);
    CHECK(tarvo_saved_cities_delete(saved, second.primary_key) == TARVO_OK);
    CHECK_FAILS(tarvo_saved_cities_delete(saved, second.primary_key), TARVO_ERROR_NOT_FOUND);
    CHECK_FAILS(tarvo_saved_cities_select(saved, 123456), TARVO_ERROR_NOT_FOUND);
    tarvo_place bad = london;
    bad.time_zone = "Europe/Atlantis";
    CHECK_FAILS(tarvo_saved_cities_add(saved, &bad, NULL, NULL), TARVO_ERROR_UNKNOWN_TIME_ZONE);
    CHECK(tarvo_saved_cities_list(saved, &list) == TARVO_OK && tarvo_city_list_size(list) == 1);
    tarvo_city_list_destroy(list);
    tarvo_settings_destroy(settings);
    tarvo_saved_cities_destroy(saved);
    /* A file that is not a user database is refused, and left alone. */
    snprintf(path, sizeof path, "%s/not-a-database", scratch);
    FILE* junk = fopen(path, "w");
    if (junk) {
        fputs("this is not SQLite\n", junk);
        fclose(junk);
    }
    CHECK_FAILS(tarvo_saved_cities_open(path, &saved), TARVO_ERROR_STORAGE);
}

static void testMethods(void) {
    const size_t count = tarvo_method_count();
    CHECK(count >= 7);
    int previous = 0;
    tarvo_settings* settings = newSettings(NULL);
    for (size_t i = 0; i < count; ++i) {
        tarvo_method m;
        CHECK(tarvo_method_at(i, &m) == TARVO_OK);
        CHECK(m.number > previous && m.name[0] != '\0' && m.key[0] != '\0');
        previous = m.number;
        /* every listed key is a name the settings accept */
        CHECK(tarvo_settings_set_method_name(settings, m.key) == TARVO_OK);
    }
    tarvo_method m;
    CHECK(tarvo_method_at(3, &m) == TARVO_OK && strcmp(m.key, "ummalqura") == 0 && m.params[4] == 1);
    CHECK_FAILS(tarvo_method_at(count, &m), TARVO_ERROR_INVALID_ARGUMENT);
    CHECK_FAILS(tarvo_method_at(0, NULL), TARVO_ERROR_NULL_ARGUMENT);
    tarvo_settings_destroy(settings);
}

/* ---- Threads: many at once answer what one thread answers. ------------------------------ */

enum { kThreads = 8, kPlaces = 24 };
static tarvo_place places[kPlaces];
static tarvo_day_times expected[kPlaces];
static double nowAt[kPlaces];
/* [0]: no settings (all off); [1]: a handle showing Qiyam, named Sunrise, in Arabic. */
static tarvo_now_info expectedNow[2][kPlaces];

static int sameNow(const tarvo_now_info* a, const tarvo_now_info* b) {
    return a->current.type == b->current.type && a->next.type == b->next.type &&
           a->current.time.unix_seconds == b->current.time.unix_seconds &&
           a->next.time.unix_seconds == b->next.time.unix_seconds && a->has_summary == b->has_summary &&
           a->focus.type == b->focus.type && a->state == b->state &&
           a->refresh_at.unix_seconds == b->refresh_at.unix_seconds &&
           strcmp(a->current.name, b->current.name) == 0 && strcmp(a->next.name, b->next.name) == 0 &&
           strcmp(a->complication[0], b->complication[0]) == 0 && strcmp(a->complication[1], b->complication[1]) == 0;
}

/* Settings showing Qiyam, named Sunrise, in Arabic: every thread makes its own handle. */
static tarvo_settings* displaySettings(void) {
    tarvo_settings* s = NULL;
    if (tarvo_settings_create(&s) != TARVO_OK || tarvo_settings_set_display(s, 1, 1, 1) != TARVO_OK) return NULL;
    return s;
}

static void* computeAll(void* argument) {
    long mismatches = 0;
    /* Odd threads ask with their own display settings, even ones with none, at the same time. */
    const int own = (int)(long)argument % 2;
    tarvo_settings* settings = own ? displaySettings() : NULL;
    if (own && !settings) return (void*)1L;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < kPlaces; ++i) {
            tarvo_day_times t;
            tarvo_qibla q;
            tarvo_now_info n;
            if (tarvo_now(settings, &places[i], nowAt[i], 1, &n) != TARVO_OK || !sameNow(&n, &expectedNow[own][i])) {
                ++mismatches;
            }
            if (tarvo_times(NULL, &places[i], 2024, 1 + i % 12, 1 + i, &t) != TARVO_OK ||
                memcmp(t.hours, expected[i].hours, sizeof t.hours) != 0 ||
                tarvo_qibla_for(places[i].latitude, places[i].longitude, &q) != TARVO_OK) {
                ++mismatches;
            }
            /* a failure's message stays with its own thread */
            if (tarvo_qibla_for(NAN, 0, &q) != TARVO_ERROR_INVALID_ARGUMENT ||
                strstr(tarvo_last_error(), "latitude") == NULL) {
                ++mismatches;
            }
        }
    }
    tarvo_settings_destroy(settings);
    return (void*)mismatches;
}

static void testThreads(void) {
    static const char* zones[] = {"Asia/Riyadh", "Europe/London", "America/New_York", "Asia/Jakarta",
                                  "Africa/Cairo", "Australia/Sydney"};
    for (int i = 0; i < kPlaces; ++i) {
        places[i].latitude = -60.0 + 5.0 * i;
        places[i].longitude = -170.0 + 14.0 * i;
        places[i].time_zone = zones[i % 6];
        places[i].name = NULL;
        places[i].country = i % 2 ? "Pakistan" : "Egypt";
        CHECK(tarvo_times(NULL, &places[i], 2024, 1 + i % 12, 1 + i, &expected[i]) == TARVO_OK);
        /* The small hours (yesterday's list), the afternoon and the late evening, around Dhuhr,
         * which every day has. */
        nowAt[i] = expected[i].times[TARVO_DHUHR].unix_seconds + 3600.0 * (i % 3 == 0 ? -10 : i % 3 == 1 ? 2 : 10);
        CHECK(tarvo_now(NULL, &places[i], nowAt[i], 1, &expectedNow[0][i]) == TARVO_OK && expectedNow[0][i].current.present);
    }
    tarvo_settings* display = displaySettings();
    CHECK(display != NULL);
    int differs = 0;
    for (int i = 0; i < kPlaces; ++i) {
        CHECK(tarvo_now(display, &places[i], nowAt[i], 1, &expectedNow[1][i]) == TARVO_OK);
        differs += strcmp(expectedNow[0][i].current.name, expectedNow[1][i].current.name) != 0;
    }
    CHECK(differs == kPlaces); /* Arabic names: the two kinds of answer can be told apart */
    tarvo_settings_destroy(display);
    pthread_t threads[kThreads];
    for (long i = 0; i < kThreads; ++i) CHECK(pthread_create(&threads[i], NULL, computeAll, (void*)i) == 0);
    for (int i = 0; i < kThreads; ++i) {
        void* mismatches = NULL;
        pthread_join(threads[i], &mismatches);
        CHECK(mismatches == NULL);
    }
}

/* ---- Hostile input: whatever comes in, a known status comes out. -------------------------- */

static unsigned long long seed = 20241115ULL;
static unsigned next(void) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    return (unsigned)(seed >> 33);
}

static double anyDouble(void) {
    static const double special[] = {0.0, -0.0, 90.0, -90.0, 180.0, -180.0, 90.0000001, 1e308, -1e308, 5e-324};
    switch (next() % 4) {
    case 0: return special[next() % 10];
    case 1: return next() % 2 ? NAN : (next() % 2 ? INFINITY : -INFINITY);
    default: return ((double)next() / 2147483648.0 - 1.0) * (next() % 2 ? 200.0 : 1e6);
    }
}

static int anyInt(void) {
    static const int special[] = {0, 1, -1, 12, 13, 29, 30, 31, 32, 9999, 10000, 2147483647, -2147483647 - 1};
    return next() % 2 ? special[next() % 13] : (int)(next() % 4000) - 1000;
}

static const char* anyText(void) {
    static const char* texts[] = {NULL, "", "Asia/Riyadh", "UTC", "Europe/London", "../../etc/passwd", "\xff\xfe",
                                  "Mars/Base", "a%s%n%x", "London", "\xd9\x85\xd9\x83\xd8\xa9", "'; DROP TABLE cities;--"};
    return texts[next() % 12];
}

static int knownStatus(tarvo_status status) {
    if (status < TARVO_OK || status > TARVO_ERROR_INTERNAL) return 0;
    return status == TARVO_OK || tarvo_last_error()[0] != '\0';
}

static void testHostileInput(tarvo_directory* directory) {
    tarvo_settings* settings = newSettings(NULL);
    for (int i = 0; i < 600; ++i) {
        const tarvo_place place = {anyDouble(), anyDouble(), anyText(), anyText(), anyText()};
        tarvo_status s[13];
        tarvo_day_times day;
        tarvo_qibla q;
        tarvo_date date;
        tarvo_moon_day moon;
        tarvo_city city;
        tarvo_city_list* list = NULL;
        char* text = NULL;
        s[0] = tarvo_settings_set_method(settings, anyInt());
        s[1] = tarvo_settings_set_asr(settings, anyInt());
        s[2] = tarvo_settings_set_high_latitude(settings, anyInt());
        s[3] = tarvo_settings_set_gmt_offset(settings, anyDouble());
        s[4] = tarvo_times(next() % 2 ? settings : NULL, next() % 8 ? &place : NULL, anyInt(), anyInt(), anyInt(),
                           next() % 8 ? &day : NULL);
        s[5] = tarvo_qibla_for(anyDouble(), anyDouble(), &q);
        s[6] = tarvo_hijri_from_gregorian((next() % 4), anyInt(), anyInt(), anyInt(), &date,
                                          next() % 2 ? &text : NULL);
        tarvo_string_free(text);
        text = NULL;
        s[7] = tarvo_gregorian_from_hijri((next() % 2), anyInt(), anyInt(), anyInt(), &date);
        s[8] = tarvo_moon(anyDouble(), anyDouble(), anyText(), anyInt(), anyInt(), anyInt(), &moon);
        s[9] = tarvo_directory_nearest(directory, anyDouble(), anyDouble(), anyDouble(), &city);
        s[10] = tarvo_directory_search(directory, anyText(), &list);
        tarvo_city_list_destroy(list);
        s[11] = tarvo_directory_resolve(directory, anyText(), anyText(), &city);
        CHECK(knownStatus(s[11])); /* a failure leaves its message */
        tarvo_now_info info;
        s[12] = i % 8 ? TARVO_OK : tarvo_now(NULL, &place, next() % 2 ? anyDouble() : 1.7e9 + next(), 0, &info);
        for (int k = 0; k < 13; ++k) {
            if (!(s[k] >= TARVO_OK && s[k] <= TARVO_ERROR_INTERNAL) || s[k] == TARVO_ERROR_INTERNAL) {
                fprintf(stdout, "hostile round %d, call %d: status %d (%s)\n", i, k, (int)s[k], tarvo_last_error());
                ++failures;
            }
        }
    }
    tarvo_settings_destroy(settings);
}

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        fprintf(stderr, "usage: capi_test CITY_DIRECTORY SCRATCH_FOLDER [check-stderr]\n");
        return 2;
    }
    mkdir(argv[2], 0700);
    /* Nothing may reach the terminal from the library: with check-stderr (left out under the
     * sanitizers, whose reports must stay visible), standard error goes to a file that must
     * stay empty. */
    const int checkStderr = argc == 4 && strcmp(argv[3], "check-stderr") == 0;
    char errors[4096];
    snprintf(errors, sizeof errors, "%s/stderr.txt", argv[2]);
    if (checkStderr && !freopen(errors, "w", stderr)) return 2;

    testVersionAndErrors();
    testZonesAndLog();
    testTimes();
    testNow();
    testAdjustments();
    testQiblaHijriMoon();
    testDirectory(argv[1]);
    testSavedCities(argv[2]);
    testMethods();
    testThreads();
    tarvo_directory* directory = NULL;
    CHECK(tarvo_directory_open(argv[1], &directory) == TARVO_OK);
    testHostileInput(directory);
    tarvo_directory_destroy(directory);

    if (checkStderr) {
        fflush(stderr);
        struct stat written;
        CHECK(stat(errors, &written) == 0 && written.st_size == 0);
    }
    printf("%d failure(s)\n", failures);
    return failures == 0 ? 0 : 1;
}
