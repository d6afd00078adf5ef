#!/usr/bin/env python3
"""Every offset `tarvo day`, `now` and `times` print agrees with Python's zoneinfo (the same
system database, read by an independent implementation), for every zone of zone1970.tab at its
own position over a whole year, and every Dhuhr lies within 40 minutes of the sun's transit
(NOAA's solar-noon approximation); `tarvo month` shows the clock times `day` lists. Usage: zone_offsets.py TARVO [YEAR]"""
import datetime as dt
import json
import math
import os
import re
import subprocess
import sys
import tempfile
from zoneinfo import ZoneInfo

TARVO = sys.argv[1]
YEAR = int(sys.argv[2]) if len(sys.argv) > 2 else 2026
ENV = dict(os.environ, TARVO_HOME=tempfile.mkdtemp(prefix="tarvo-zones-"), TZ="UTC")
COLUMNS = {"fajr": 0, "sunrise": 1, "dhuhr": 2, "asr": 3, "maghrib": 5, "isha": 6, "qiyam": 7}


def degrees(sign, d, m, s):
    return (int(d) + int(m) / 60 + int(s or 0) / 3600) * (1 if sign == "+" else -1)


def transit_minutes_utc(day, lon):
    g = 2 * math.pi / 365 * (day.timetuple().tm_yday - 1)
    eot = 229.18 * (0.000075 + 0.001868 * math.cos(g) - 0.032077 * math.sin(g)
                    - 0.014615 * math.cos(2 * g) - 0.040849 * math.sin(2 * g))
    return 720 - 4 * lon - eot


def tarvo(*args):
    run = subprocess.run([TARVO, *args], capture_output=True, text=True, env=ENV)
    if run.returncode != 0:
        raise SystemExit(f"tarvo {' '.join(args)} failed: {run.stderr}")
    return json.loads(run.stdout)


zones = {}
with open(os.path.join(os.environ.get("TZDIR", "/usr/share/zoneinfo"), "zone1970.tab")) as table:
    for line in table:
        if not line.startswith("#"):
            fields = line.rstrip("\n").split("\t")
            m = re.fullmatch(r"([+-])(\d\d)(\d\d)(\d\d)?([+-])(\d\d\d)(\d\d)(\d\d)?", fields[1])
            zones[fields[2]] = (degrees(*m.group(1, 2, 3, 4)), degrees(*m.group(5, 6, 7, 8)))

problems = []
checked = 0


def check(label, got, want):
    global checked
    checked += 1
    if got != want:
        problems.append(f"{label}: {got}, expected {want}")


for name, (lat, lon) in sorted(zones.items()):
    zone = ZoneInfo(name)
    place = ["--lat", f"{lat:.4f}", "--lon", f"{lon:.4f}", "--tz", name]

    def check_offset(label, text):
        moment = dt.datetime.fromisoformat(text)
        check(f"{name} {label} {text} (zoneinfo)", moment.utcoffset(), moment.astimezone(zone).utcoffset())

    days = tarvo("day", *place, "--date", f"{YEAR}-01-01", "--days", "365", "--json")["days"]
    for prayer in (p for day in days for p in day["prayers"]):
        check_offset("day", prayer["time"])
        if prayer["type"] == 2:
            utc = dt.datetime.fromisoformat(prayer["time"]).astimezone(dt.timezone.utc)
            early = (utc.hour * 60 + utc.minute - transit_minutes_utc(utc.date(), lon) + 720) % 1440 - 720
            if abs(early) > 40:
                problems.append(f"{name} Dhuhr {prayer['time']} is {early:.0f} min from the transit")
    clocks = {(day["date"], p["type"]): p["clock"] for day in days for p in day["prayers"]}
    for row in tarvo("month", *place, "--month", f"{YEAR}-03", "--json")["days"]:
        for column, kind in COLUMNS.items():
            check(f"{name} month {row['date']} {column} (day)", row["times"][column], clocks.get((row["date"], kind)))
    for at in (f"{YEAR}-03-29T12:00", f"{YEAR}-10-04T12:00"):
        now = tarvo("now", *place, "--at", at, "--json")
        for text in (now["now"], now["current"]["time"], now["next"]["time"]):
            check_offset(f"now {at}", text)
    for date in (f"{YEAR}-01-15", f"{YEAR}-07-15"):
        offset = tarvo("times", *place, "--date", date, "--json")["utcOffset"]
        noon = dt.datetime.fromisoformat(date + "T12:00").replace(tzinfo=dt.timezone.utc)
        check(f"{name} times {date}", offset, noon.astimezone(zone).isoformat()[-6:])

print(f"{len(zones)} zones, {checked} offsets checked, {len(problems)} disagreements")
for p in problems[:40]:
    print(p)
sys.exit(1 if problems else 0)
