#!/usr/bin/env python3
"""A month's calendar from `tarvo month --ics`, read back by an independent iCalendar parser
(python3-icalendar): every event is at the time `tarvo day --json` gives for its prayer and day,
in the place's zone; two exports of the month carry the same UIDs, one per prayer and day
(so a second import replaces the first); alarms go only to the prayers whose alert is on; a
--days range is the same events as the month's.

Usage: ics_matches_day.py PATH/TO/tarvo"""
import datetime
import json
import os
import subprocess
import sys
import tempfile

from icalendar import Calendar

TYPES = {"fajr": 0, "sunrise": 1, "dhuhr": 2, "asr": 3, "maghrib": 5, "isha": 6, "qiyam": 7}
PLACE = "Paris, France"
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def main(tarvo):
    with tempfile.TemporaryDirectory() as home:
        env = dict(os.environ, TARVO_HOME=home, TZ="UTC", LC_ALL="C.UTF-8")

        def run(*args):
            # Bytes, not text: text mode would turn the calendar's CRLF line ends into LF.
            done = subprocess.run([tarvo, *args], env=env, capture_output=True)
            if done.returncode != 0:
                sys.exit(f"tarvo {' '.join(args)} failed ({done.returncode}): {done.stderr.decode()}")
            return done.stdout.decode()

        run("config", "set", "ShowQiyam", "true", "--type", "bool")
        run("config", "set", "FajrSoundAlert", "4", "--type", "int")
        first = run("month", PLACE, "--month", "2026-03", "--ics", "--alarm", "10")
        second = run("month", PLACE, "--month", "2026-03", "--ics")
        check("\r\n" in first, "lines end in CRLF")
        calendar = Calendar.from_ical(first)
        zones = [str(z["TZID"]) for z in calendar.walk("VTIMEZONE")]
        check(zones == ["Europe/Paris"], f"one VTIMEZONE for Europe/Paris, not {zones}")
        events = calendar.walk("VEVENT")

        days = json.loads(run("day", PLACE, "--date", "2026-03-01", "--days", "31", "--json"))["days"]
        expected = {}
        for day in days:
            for prayer in day["prayers"]:
                if prayer["type"] in TYPES.values() and prayer["time"]:
                    expected[(day["date"].replace("-", ""), prayer["type"])] = datetime.datetime.fromisoformat(
                        prayer["time"])
        check(len(expected) == 31 * 7, f"{len(expected)} timed prayers in the day answers")

        seen = {}
        for event in events:
            uid = str(event["UID"])
            date, word = uid.split("-")[0], uid.split("-")[1]
            key = (date, TYPES.get(word))
            check(key not in seen, f"UID {uid} twice")
            start = event["DTSTART"]
            check(start.params.get("TZID") == "Europe/Paris", f"{uid}: TZID {start.params.get('TZID')}")
            seen[key] = start.dt
            want = expected.get(key)
            check(want is not None and start.dt == want and start.dt.utcoffset() == want.utcoffset(),
                  f"{uid}: {start.dt} in the calendar, {want} from tarvo day")
            alarms = event.walk("VALARM")
            if word == "fajr":
                check(len(alarms) == 1 and alarms[0]["TRIGGER"].dt == datetime.timedelta(minutes=-10),
                      f"{uid}: one alarm ten minutes before")
            else:
                check(not alarms, f"{uid}: no alarm for a prayer whose alert is off")
        check(set(seen) == set(expected), "one event for every timed prayer of every day")

        again = Calendar.from_ical(second)
        check(sorted(str(e["UID"]) for e in again.walk("VEVENT")) == sorted(str(e["UID"]) for e in events),
              "a second export carries the same UIDs")
        check(not any(e.walk("VALARM") for e in again.walk("VEVENT")), "no alarms without --alarm")

        week = Calendar.from_ical(run("month", PLACE, "--date", "2026-03-29", "--days", "3", "--ics"))
        check([(str(e["UID"]), e["DTSTART"].dt) for e in week.walk("VEVENT")] ==
              [(str(e["UID"]), e["DTSTART"].dt) for e in events if str(e["UID"])[:8] >= "20260329"],
              "the last three days of March as a --days range are the month's last events")

    for failure in failures:
        print("FAIL:", failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
