"""The Python package's boundary: types, errors, missing times, threads, memory, and the
times of random places equal to what `tarvo times --json` prints."""

import concurrent.futures
import datetime as dt
import io
import json
import math
import os
import random
import re
import subprocess
import contextlib
from zoneinfo import ZoneInfo

import pytest

import tarvo

MAKKAH = (21.4225, 39.8262, "Asia/Riyadh")
PRAYERS = ("fajr", "sunrise", "dhuhr", "asr", "sunset", "maghrib", "isha", "qiyam")


def test_results_are_typed_and_missing_times_are_none():
    day = tarvo.times("Makkah", date=dt.date(2024, 3, 15), method="ummalqura", asr="shafii")
    assert isinstance(day, tarvo.Times) and day.method == 4 and day.asr_school == 1
    moments = [getattr(day, name) for name in PRAYERS]
    assert all(isinstance(m, dt.datetime) and m.tzinfo == ZoneInfo("Asia/Riyadh") for m in moments)
    assert moments[:7] == sorted(moments[:7]) and day.fajr.date() == dt.date(2024, 3, 15)
    assert day.utc_offset == dt.timedelta(hours=3) and "Makkah" in str(day)
    # Polar day: the sun neither rises nor sets, and the library says so.
    polar = tarvo.times(69.65, 18.96, "Europe/Oslo", date=dt.date(2024, 6, 21))
    assert polar.sunrise is None and polar.sunset is None and isinstance(polar.dhuhr, dt.datetime)
    assert "—" in str(polar)
    # A fixed offset the zone does not have is kept.
    fixed = tarvo.times(*MAKKAH, date=dt.date(2024, 3, 15), gmt_offset=5)
    assert fixed.dhuhr.utcoffset() == dt.timedelta(hours=5)

    q = tarvo.qibla(51.5074, -0.1278)
    assert isinstance(q.bearing, int) and 0 <= q.bearing < 360 and q.statute_miles > q.nautical_miles
    h = tarvo.hijri(dt.date(2024, 3, 20))
    assert (h.year, h.month, h.weekday) == (1445, 9, 4) and str(h) == h.text
    assert tarvo.gregorian(h.year, h.month, h.day) == dt.date(2024, 3, 20)
    m = tarvo.moon(51.5074, -0.1278, "Europe/London", date=dt.date(2024, 3, 25))
    assert m.illumination > 0.97 and (m.rise or m.set).tzinfo == ZoneInfo("Europe/London")
    methods = tarvo.methods()
    assert [m.number for m in methods] == sorted(m.number for m in methods) and methods[3].key == "ummalqura"
    found = tarvo.cities.search("Medina")
    assert found and all(isinstance(c, tarvo.cities.City) for c in found)
    near = tarvo.cities.nearest(21.42, 39.83)
    assert near.country == "Saudi Arabia" and near.distance_km < 50

    at = day.asr + dt.timedelta(minutes=10)
    now = tarvo.now(*MAKKAH, at=at, name="Makkah", country="Saudi Arabia")
    assert now.now == at and now.current.name and now.current.time.tzinfo is not None
    assert now.next.time > at and now.seconds_to_next == pytest.approx((now.next.time - at).total_seconds())
    assert now.summary is not None and 0 <= now.summary.state <= 5
    # Named as on the day asked about, whatever today is: Friday's Dhuhr is Jumua.
    riyadh = ZoneInfo("Asia/Riyadh")
    friday = tarvo.now(*MAKKAH, at=dt.datetime(2024, 3, 15, 12, 40, tzinfo=riyadh))
    thursday = tarvo.now(*MAKKAH, at=dt.datetime(2024, 3, 14, 12, 40, tzinfo=riyadh))
    assert (friday.current.name, thursday.current.name) == ("Jumua", "Duhr")
    # The display choices are the call's own, not the stored preferences.
    night = dt.datetime(2024, 3, 15, 2, 30, tzinfo=riyadh)
    assert tarvo.now(*MAKKAH, at=night).current.name == "Isha"
    assert tarvo.now(*MAKKAH, at=night, show_qiyam=True).current.name == "Qiyam"
    assert tarvo.now(*MAKKAH, at=friday.now, arabic_names=True).current.name == "\u0627\u0644\u062c\u0645\u0639\u0629"


def test_saved_cities(tmp_path):
    saved = tarvo.cities.SavedCities(str(tmp_path / "user.sqlite"))
    makkah = saved.add(*MAKKAH, "Makkah", "Saudi Arabia", method="ummalqura")
    london = saved.add(51.5074, -0.1278, "Europe/London", "London", "United Kingdom")
    assert makkah.method == 4 and london.selected and makkah.primary_key != london.primary_key
    saved.select(makkah.primary_key)
    assert [c.name for c in saved.list() if c.selected] == ["Makkah"]
    saved.delete(london.primary_key)
    with pytest.raises(LookupError, match="no saved city has the primary key"):
        saved.delete(london.primary_key)
    assert [c.name for c in saved.list()] == ["Makkah"]


DAY = dt.date(2024, 3, 15)


@pytest.mark.parametrize("call, error, message", [
    (lambda: tarvo.times(math.nan, 0, "UTC", date=DAY), ValueError, r"^latitude nan is outside -90 to 90$"),
    (lambda: tarvo.times(91, 0, "UTC", date=DAY), ValueError, "latitude 91 is outside"),
    (lambda: tarvo.times(0, 0, "Mars/Base"), ValueError, "^unknown time zone 'Mars/Base'$"),
    (lambda: tarvo.moon(0, 0, "Mars/Base"), ValueError, "unknown time zone"),
    (lambda: tarvo.times(*MAKKAH, date=DAY, method="nonsense"), ValueError, "is not a calculation method"),
    (lambda: tarvo.times(*MAKKAH, date=DAY, asr="maliki"), ValueError, "'maliki' is not an Asr school; use one of"),
    (lambda: tarvo.times(*MAKKAH, date=DAY, fajr_angle=0), ValueError, r"outside \(0, 90\]"),
    (lambda: tarvo.times("Qqqzzz"), LookupError, "^no place named 'Qqqzzz' in the city directory$"),
    (lambda: tarvo.cities.nearest(0, -150), LookupError, ""),
    (lambda: tarvo.hijri(DAY, calendar="lunar"), ValueError, "is not a Hijri calendar|Hijri calendar"),
    (lambda: tarvo.now(*MAKKAH, at=dt.datetime(2024, 3, 15, 12)), ValueError, "at must carry a time zone"),
    (lambda: tarvo.times(*MAKKAH, date=DAY, colour="red"), TypeError, ""),
    (lambda: tarvo.times(21.4, date=DAY), TypeError, ""),
    (lambda: tarvo.qibla("north", 0), TypeError, ""),
    # Adjustments and intervals: the library's checks, in its words.
    (lambda: tarvo.times("Makkah", date=DAY, adjustments={"sunset": 1}), ValueError,
     r"^Sunset moves with Maghrib; adjust Maghrib$"),
    (lambda: tarvo.times("Makkah", date=DAY, adjustments={"duha": 1}), ValueError, r"^'duha' is not a prayer"),
    (lambda: tarvo.times("Makkah", date=DAY, adjustments={"isha": 1441}), ValueError,
     r"^adjustment 1441 is outside -1440 to 1440 minutes$"),
    (lambda: tarvo.times("Makkah", date=DAY, isha_minutes=-1), ValueError,
     r"^Isha interval -1 is outside \(0, 1440\] minutes$"),
    (lambda: tarvo.times("Makkah", date=DAY, adjustments={"fajr": 1.5}), TypeError, ""),
])
def test_bad_input_raises_with_plain_messages(call, error, message):
    with pytest.raises(error, match=message):
        call()


def test_the_tool_and_the_package_word_a_mistake_alike():
    # The same text the tool prints for the same mistake.
    tool = subprocess.run([os.environ["TARVO_TOOL"], "hijri", "30", "2", "1445"], capture_output=True, text=True)
    with pytest.raises(ValueError) as raised:
        tarvo.gregorian(1445, 2, 30)
    assert tool.stderr.strip() == "tarvo: " + str(raised.value)


def random_settings(rng):
    zones = sorted(z for z in __import__("zoneinfo").available_timezones() if "/" in z and not z.startswith("Etc"))
    for _ in range(100):
        yield dict(lat=round(rng.uniform(-70, 70), 4), lon=round(rng.uniform(-180, 180), 4), tz=rng.choice(zones),
                   date=dt.date(1970, 1, 1) + dt.timedelta(days=rng.randrange(0, 47000)),
                   method=rng.randrange(0, len(tarvo.methods()) + 1), asr=rng.randrange(0, 3),
                   highlat=rng.randrange(0, 5))


def test_adjustments_and_intervals():
    # Makkah on 2024-03-15 by the Muslim World League: Fajr 05:15:17, Dhuhr 12:29:29, Asr
    # 15:53:42, sunset 18:30:13 (`tarvo times --method mwl --json`).
    moved = tarvo.times(*MAKKAH, date=DAY, method="mwl", adjustments={"fajr": 5, "maghrib": -2},
                        maghrib_minutes=3, isha_minutes=90)
    clock = {name: getattr(moved, name).strftime("%H:%M:%S") for name in ("fajr", "dhuhr", "sunset", "maghrib", "isha")}
    # Sunset moves with Maghrib; Isha counts from the engine's Maghrib and has no adjustment of its own.
    assert clock == {"fajr": "05:20:17", "dhuhr": "12:29:29", "sunset": "18:28:13", "maghrib": "18:31:13",
                     "isha": "20:03:13"}
    # Ten minutes after the engine's Asr, an Asr moved 30 minutes later has not begun.
    at = dt.datetime(2024, 3, 15, 16, 3, 42, tzinfo=ZoneInfo("Asia/Riyadh"))
    assert tarvo.now(*MAKKAH, at=at, method="mwl").current.name == "Asr"
    later = tarvo.now(*MAKKAH, at=at, method="mwl", adjustments={"asr": 30})
    assert later.current.type == 2 and later.next.type == 3 and later.next.time.strftime("%H:%M") == "16:24"


def test_hundred_random_days_equal_the_tool():
    for s in random_settings(random.Random(30)):
        printed = subprocess.run(
            [os.environ["TARVO_TOOL"], "times", "--json", "--lat", str(s["lat"]), "--lon", str(s["lon"]), "--tz",
             s["tz"], "--date", s["date"].isoformat(), "--method", str(s["method"]), "--asr", str(s["asr"]),
             "--highlat", str(s["highlat"])], capture_output=True, text=True, check=True).stdout
        expected = json.loads(printed)
        day = tarvo.times(s["lat"], s["lon"], s["tz"], date=s["date"], method=s["method"], asr=s["asr"],
                          high_latitude=s["highlat"])
        sign, hh, mm = re.fullmatch(r"([+-])(\d\d):(\d\d)", expected["utcOffset"]).groups()
        offset = (1 if sign == "+" else -1) * (int(hh) * 3600 + int(mm) * 60)
        assert day.utc_offset.total_seconds() == offset, s
        assert (day.method, day.asr_school, day.high_latitude) == (expected["method"], expected["asr"],
                                                                   expected["highlat"]), s
        midnight = dt.datetime.combine(s["date"], dt.time(), dt.timezone.utc).timestamp()
        for name, hours in zip(PRAYERS, expected["hours"]):
            moment = getattr(day, name)
            if hours is None:
                assert moment is None, (s, name)
            else:
                assert abs(moment.timestamp() - (midnight + hours * 3600 - offset)) < 1, (s, name)


def test_eight_threads_agree_with_one():
    rng = random.Random(8)
    jobs = [(rng.uniform(-60, 60), rng.uniform(-180, 180), rng.choice(["UTC", "Asia/Karachi", "Europe/Paris"]),
             dt.date(2024, 1, 1) + dt.timedelta(days=rng.randrange(366))) for _ in range(64)]

    def compute(job):
        lat, lon, tz, date = job
        # Half the calls name and count the prayers their own way: no call sees another's choices.
        at = dt.datetime.combine(date, dt.time(12, 40), ZoneInfo(tz))
        return (tarvo.times(lat, lon, tz, date=date), tarvo.qibla(lat, lon), tarvo.hijri(date),
                tarvo.now(lat, lon, tz, at=at, show_qiyam=date.day % 2 == 0, arabic_names=date.day % 2 == 0))

    alone = [compute(job) for job in jobs]
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        for _ in range(4):
            assert list(pool.map(compute, jobs)) == alone


def resident_kb():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") // 1024


def test_a_hundred_thousand_calls_do_not_grow_memory():
    start = dt.datetime(2024, 1, 1, tzinfo=ZoneInfo("Asia/Riyadh"))

    def calls(n):
        for i in range(n):
            tarvo.times(*MAKKAH, date=dt.date(2024, 1, 1) + dt.timedelta(days=i % 366))
            if i % 20 == 0:
                tarvo.now(*MAKKAH, at=start + dt.timedelta(minutes=37 * i), show_qiyam=True)
            if i % 50 == 0:
                with pytest.raises(ValueError):
                    tarvo.times(math.nan, 0, "UTC")

    calls(5_000)
    before = resident_kb()
    calls(100_000)
    assert resident_kb() - before < 4_096


def test_readme_example_runs():
    readme = open(os.environ["TARVO_README"], encoding="utf-8").read()
    section = readme[readme.index("## Using TarvoCore from Python"):]
    example = re.search(r"```python\n(.*?)```", section, re.S).group(1)
    out = io.StringIO()
    with contextlib.redirect_stdout(out):
        exec(compile(example, "README example", "exec"), {})
    lines = out.getvalue().splitlines()
    assert re.fullmatch(r"2024-03-15T0\d:\d\d:\d\d(\.\d+)?\+03:00 2024-03-15T18:\d\d:\d\d(\.\d+)?\+03:00", lines[0])
    assert lines[1] == "None" and lines[2] == "20:35"  # 18:30:13 + 120 minutes + 5
    assert lines[3] == str(tarvo.qibla(51.5074, -0.1278).bearing)
    assert "1445" in lines[4] and "Medina" in lines[5]
