"""TarvoCore prayer times for Python.

A day's times (:func:`times`), the current and next prayer (:func:`now`), the qibla
(:func:`qibla`), Hijri dates (:func:`hijri`, :func:`gregorian`), the moon (:func:`moon`), the
city directory and saved cities (:mod:`tarvo.cities`) and the method catalogue
(:func:`methods`), computed by the TarvoCore library through its C interface.

Times are timezone-aware :class:`datetime.datetime` objects (:mod:`zoneinfo`), ``None`` for a
time that does not exist (polar day or night). Bad input raises :class:`ValueError`, an
unknown place :class:`LookupError`, each with the library's plain message.
"""

from __future__ import annotations

import datetime as _dt
import math as _math
from dataclasses import dataclass
from typing import Any, Dict, List, Optional, Tuple, Union
from zoneinfo import ZoneInfo

from . import _tarvo
from . import cities
from ._places import place_of as _place_of

__all__ = ["times", "now", "qibla", "hijri", "gregorian", "moon", "methods", "cities", "Times", "Now",
           "PrayerMoment", "Summary", "Qibla", "HijriDate", "Moon", "Method", "NotFoundError", "StorageError",
           "__version__"]

__version__: str = _tarvo.version()
NotFoundError = _tarvo.NotFoundError
StorageError = _tarvo.StorageError

_ASR = {"auto": 0, "shafii": 1, "standard": 1, "hanafi": 2}
_HIGH_LATITUDE = {"auto": 0, "seventh_of_night": 1, "seventh_median": 2, "angle_based": 3, "middle_of_night": 4}
_POLAR = {"none": 0, "nearest_day": 1, "nearest_latitude": 2}
_CALENDARS = {"civil": 0, "umalqura": 1, "astronomical": 2}
_OVERRIDES = ("fajr_angle", "isha_angle", "gmt_offset", "dst", "name", "country", "adjustments", "maghrib_minutes",
              "isha_minutes")
_PRAYERS = ("fajr", "sunrise", "dhuhr", "asr", "sunset", "maghrib", "isha", "qiyam")


def _choice(value: Union[str, int, None], names: Dict[str, int], what: str) -> int:
    if value is None:
        return 0
    if isinstance(value, bool) or not isinstance(value, (str, int)):
        raise TypeError(f"{what} must be a name or a number, not {type(value).__name__}")
    if isinstance(value, int):
        return value
    try:
        return names[value.lower()]
    except KeyError:
        article = "an" if what[0].lower() in "aeiou" else "a"
        raise ValueError(f"'{value}' is not {article} {what}; use one of {', '.join(names)}") from None


def _method(value: Union[str, int]) -> Union[str, int]:
    if isinstance(value, bool) or not isinstance(value, (str, int)):
        raise TypeError(f"method must be a name or a number, not {type(value).__name__}")
    return value


def _moment(value: Optional[Tuple[float, int]], zone: str) -> Optional[_dt.datetime]:
    """A moment from the library as a datetime on the zone's clock (on a fixed offset when the
    settings gave one the zone does not have)."""
    if value is None:
        return None
    unix, offset = value
    moment = _dt.datetime.fromtimestamp(unix, ZoneInfo(zone))
    if moment.utcoffset() != _dt.timedelta(seconds=offset):
        moment = _dt.datetime.fromtimestamp(unix, _dt.timezone(_dt.timedelta(seconds=offset)))
    return moment


def _adjustments(value: Optional[Dict[str, int]]) -> List[Tuple[int, int]]:
    """Minutes by prayer name as (prayer number, minutes) pairs; the library checks the values
    (Sunset moves with Maghrib)."""
    if value is None:
        return []
    if not isinstance(value, dict):
        raise TypeError(f"adjustments must be a dict of prayer name to minutes, not {type(value).__name__}")
    pairs = []
    for prayer, minutes in value.items():
        if prayer not in _PRAYERS:
            raise ValueError(f"'{prayer}' is not a prayer; use one of {', '.join(_PRAYERS)}")
        if isinstance(minutes, bool) or not isinstance(minutes, int):
            raise TypeError(f"the adjustment of {prayer} must be whole minutes, not {type(minutes).__name__}")
        pairs.append((_PRAYERS.index(prayer), minutes))
    return pairs


def _day(date: Optional[_dt.date], zone: str) -> _dt.date:
    if date is None:
        # Today on the zone's clock (the library checks the zone's name).
        utc = _dt.datetime.now(_dt.timezone.utc)
        return (utc + _dt.timedelta(seconds=_tarvo.zone_offset(zone, utc.timestamp()))).date()
    if isinstance(date, _dt.datetime):
        return date.date()
    if not isinstance(date, _dt.date):
        raise TypeError(f"date must be a datetime.date, not {type(date).__name__}")
    return date


@dataclass(frozen=True)
class Times:
    """One day's times at a place; a time is ``None`` when it does not exist."""

    place: str
    date: _dt.date
    time_zone: str
    utc_offset: _dt.timedelta
    fajr: Optional[_dt.datetime]
    sunrise: Optional[_dt.datetime]
    dhuhr: Optional[_dt.datetime]
    asr: Optional[_dt.datetime]
    sunset: Optional[_dt.datetime]
    maghrib: Optional[_dt.datetime]
    isha: Optional[_dt.datetime]
    qiyam: Optional[_dt.datetime]
    method: int
    asr_school: int
    high_latitude: int
    fixed_timings: bool

    def __str__(self) -> str:
        lines = [f"{self.place} {self.date.isoformat()} ({self.time_zone})"]
        for name in _PRAYERS:
            moment = getattr(self, name)
            lines.append(f"  {name:<8} {moment.strftime('%H:%M:%S') if moment else '—'}")
        return "\n".join(lines)


def times(place_or_lat: Union[str, float], lon: Optional[float] = None, tz: Optional[str] = None, *,
          date: Optional[_dt.date] = None, method: Union[str, int] = "auto", asr: Union[str, int] = "auto",
          high_latitude: Union[str, int] = "auto", polar: Optional[str] = None, **overrides: Any) -> Times:
    """One day's prayer times.

    ``place_or_lat`` is a place name from the city directory ("Makkah", resolved as the
    tool resolves names) or a latitude, given with ``lon`` and ``tz`` (an IANA zone).
    ``date`` defaults to today on the place's clock. ``method`` is a name ("mwl",
    "ummalqura", "auto", see :func:`methods`) or number; ``asr`` "auto", "shafii" or
    "hanafi"; ``high_latitude`` "auto", "seventh_of_night", "seventh_median",
    "angle_based" or "middle_of_night"; ``polar`` None, "none", "nearest_day" or
    "nearest_latitude". Overrides: ``fajr_angle`` and ``isha_angle`` (over any method),
    ``gmt_offset`` (hours), ``dst`` (0 zone, 1 on, 2 off), ``name`` and ``country``;
    ``adjustments``, minutes added to prayers by name (``{"fajr": 2, "maghrib": -1}``; sunset
    moves with maghrib, so it is not adjusted on its own); ``maghrib_minutes`` (Maghrib that
    many minutes after sunset) and ``isha_minutes`` (Isha that many after Maghrib) in place of
    the method's rule.
    """
    unknown = sorted(set(overrides) - set(_OVERRIDES))
    if unknown:
        raise TypeError(f"times() got an unexpected keyword argument '{unknown[0]}'")
    place = _place_of(place_or_lat, lon, tz, overrides.get("name"), overrides.get("country"))
    day = _day(date, place.time_zone)
    answer = _tarvo.times(place.latitude, place.longitude, place.time_zone, place.name, place.country, day.year,
                          day.month, day.day, _method(method), _choice(asr, _ASR, "Asr school"),
                          _choice(high_latitude, _HIGH_LATITUDE, "high-latitude rule"),
                          _choice(polar, _POLAR, "polar resolution"), overrides.get("fajr_angle"),
                          overrides.get("isha_angle"), overrides.get("gmt_offset"), overrides.get("dst", 0),
                          _adjustments(overrides.get("adjustments")), overrides.get("maghrib_minutes"),
                          overrides.get("isha_minutes"))
    moments = [_moment(value, place.time_zone) for value in answer["times"]]
    return Times(place.label, day, place.time_zone, _dt.timedelta(seconds=answer["utc_offset"]), *moments,
                 method=answer["method"], asr_school=answer["asr"], high_latitude=answer["high_latitude"],
                 fixed_timings=answer["fixed_timings"])


@dataclass(frozen=True)
class PrayerMoment:
    """A prayer: its type (0 Fajr ... 7 Qiyam, 8 and 9 tomorrow's Fajr and sunrise), name and time."""

    type: int
    name: str
    time: Optional[_dt.datetime]


@dataclass(frozen=True)
class Summary:
    """The watch summary: the prayer to show, its state (0 started, 1 soon, 2 quarter passed,
    3 half passed, 4 ending, 5 upcoming) and the complication's lines."""

    focus: Optional[PrayerMoment]
    state: int
    is_in_prayer: bool
    in_prayer_ends: Optional[_dt.datetime]
    total_seconds: float
    seconds_since_current: float
    percent_elapsed: float
    color: Tuple[float, float, float, float]
    complication: Tuple[str, str]
    refresh_at: Optional[_dt.datetime]
    stale: bool


@dataclass(frozen=True)
class Now:
    """The current and next prayer at a moment, and the watch summary."""

    now: _dt.datetime
    current: Optional[PrayerMoment]
    next: Optional[PrayerMoment]
    seconds_to_next: Optional[float]
    summary: Optional[Summary]


def _prayer(value: Optional[Tuple[int, str, Any]], zone: str) -> Optional[PrayerMoment]:
    return None if value is None else PrayerMoment(value[0], value[1], _moment(value[2], zone))


def now(place_or_lat: Union[str, float], lon: Optional[float] = None, tz: Optional[str] = None, *,
        at: Optional[_dt.datetime] = None, countdown: bool = False, method: Union[str, int] = "auto",
        asr: Union[str, int] = "auto", high_latitude: Union[str, int] = "auto", name: Optional[str] = None,
        country: Optional[str] = None, adjustments: Optional[Dict[str, int]] = None,
        maghrib_minutes: Optional[float] = None, isha_minutes: Optional[float] = None,
        show_qiyam: bool = False, use_sunrise: bool = False, arabic_names: bool = False) -> Now:
    """The current and next prayer at ``at`` (an aware datetime; default now) for a place, with
    the watch summary, as an app shows them once a minute. ``countdown`` moves the focus to the
    next prayer 40 minutes after the current one. ``adjustments``, ``maghrib_minutes`` and
    ``isha_minutes`` move the prayers as in :func:`times`. ``show_qiyam`` counts the night
    prayer Qiyam as current and next, ``use_sunrise`` names the second time Sunrise (else the
    forenoon prayer Doha, 10 minutes later), ``arabic_names`` names the prayers in Arabic; the
    arguments alone decide the answer, not the stored preferences. Names are those of ``at``:
    Dhuhr is "Jumua" when ``at`` is a Friday at the place. Calls from several threads run at
    once."""
    place = _place_of(place_or_lat, lon, tz, name, country)
    if at is None:
        moment = _math.nan
    elif not isinstance(at, _dt.datetime):
        raise TypeError(f"at must be a datetime.datetime, not {type(at).__name__}")
    elif at.tzinfo is None or at.utcoffset() is None:
        raise ValueError("at must carry a time zone")
    else:
        moment = at.timestamp()
    answer = _tarvo.now(place.latitude, place.longitude, place.time_zone, place.name, place.country, moment,
                        bool(countdown), _method(method), _choice(asr, _ASR, "Asr school"),
                        _choice(high_latitude, _HIGH_LATITUDE, "high-latitude rule"), _adjustments(adjustments),
                        maghrib_minutes, isha_minutes, bool(show_qiyam), bool(use_sunrise), bool(arabic_names))
    zone = place.time_zone
    summary = answer["summary"]
    if summary is not None:
        summary = Summary(_prayer(summary["focus"], zone), summary["state"], summary["is_in_prayer"],
                          _moment(summary["in_prayer_ends"], zone), summary["total_seconds"],
                          summary["seconds_since_current"], summary["percent_elapsed"], summary["color"],
                          summary["complication"], _moment(summary["refresh_at"], zone), summary["stale"])
    return Now(_moment(answer["now"], zone), _prayer(answer["current"], zone), _prayer(answer["next"], zone),
               answer["seconds_to_next"], summary)


@dataclass(frozen=True)
class Qibla:
    """Direction of the Kaaba (whole degrees clockwise from true north) and distance to it."""

    bearing: int
    nautical_miles: float
    statute_miles: float


def qibla(lat: float, lon: float) -> Qibla:
    """The qibla from a position."""
    return Qibla(*_tarvo.qibla(lat, lon))


@dataclass(frozen=True)
class HijriDate:
    """A Hijri date; weekday 1 is Sunday."""

    year: int
    month: int
    day: int
    weekday: int
    text: str

    def __str__(self) -> str:
        return self.text


def hijri(date: Optional[_dt.date] = None, calendar: str = "civil") -> HijriDate:
    """The Hijri date of a Gregorian day (default today), with the user's Hijri correction.
    ``calendar`` is "civil" (the arithmetical calendar), "umalqura" or "astronomical"."""
    day = _dt.date.today() if date is None else _day(date, "UTC")
    return HijriDate(*_tarvo.hijri_from_gregorian(_choice(calendar, _CALENDARS, "Hijri calendar"), day.year,
                                                  day.month, day.day))


def gregorian(year: int, month: int, day: int, calendar: str = "civil") -> _dt.date:
    """The Gregorian date of a Hijri day."""
    y, m, d, _ = _tarvo.gregorian_from_hijri(_choice(calendar, _CALENDARS, "Hijri calendar"), year, month, day)
    return _dt.date(y, m, d)


@dataclass(frozen=True)
class Moon:
    """The moon on a day at a place: the first rise and set (None when there is none), whether
    it stays up (True) or down (False) all day when it does neither, and its phase at noon."""

    rise: Optional[_dt.datetime]
    set: Optional[_dt.datetime]
    up_all_day: Optional[bool]
    illumination: float
    age_days: float
    phase_angle: float
    phase: str


def moon(lat: float, lon: float, tz: str, *, date: Optional[_dt.date] = None) -> Moon:
    """Moonrise, moonset and phase for a day (default today on the zone's clock)."""
    if not isinstance(tz, str):
        raise TypeError(f"tz must be a zone name, not {type(tz).__name__}")
    day = _day(date, tz)
    answer = _tarvo.moon(lat, lon, tz, day.year, day.month, day.day)
    return Moon(_moment(answer["rise"], tz), _moment(answer["set"], tz), answer["up_all_day"],
                answer["illumination"], answer["age_days"], answer["phase_angle"], answer["phase"])


@dataclass(frozen=True)
class Method:
    """A calculation method of the catalogue: selector/value pairs for Fajr, Maghrib and Isha
    (selector 0: degrees, 1: minutes), minutes added to each time, its night rule."""

    number: int
    name: str
    key: str
    params: Tuple[float, ...]
    minute_offsets: Tuple[float, ...]
    jafari_midnight: bool
    seasonal_twilight: bool


def methods() -> List[Method]:
    """Every calculation method, in number order (0, automatic, is not one)."""
    return [Method(**m) for m in _tarvo.methods()]
