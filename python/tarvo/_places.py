"""Where a place comes from: a position with its zone, or a name from the city directory."""

from __future__ import annotations

import os
import threading
from dataclasses import dataclass
from numbers import Real
from typing import Optional

from . import _tarvo

_lock = threading.Lock()
_directory: Optional[_tarvo.Directory] = None


def directory() -> _tarvo.Directory:
    """The city directory, opened once: the file shipped inside the package when there is one,
    else the file the library's own rule finds (TARVO_DIRECTORY, the installed file)."""
    global _directory
    with _lock:
        if _directory is None:
            shipped = os.path.join(os.path.dirname(__file__), "cities.sqlite")
            chosen = shipped if os.path.exists(shipped) and not os.environ.get("TARVO_DIRECTORY") else None
            _directory = _tarvo.Directory(chosen)
        return _directory


@dataclass(frozen=True)
class Place:
    latitude: float
    longitude: float
    time_zone: str
    name: Optional[str]
    country: Optional[str]

    @property
    def label(self) -> str:
        if self.name:
            return f"{self.name}, {self.country}" if self.country else self.name
        return f"{self.latitude:.4f}, {self.longitude:.4f}"


def place_of(place_or_lat, lon, tz, name: Optional[str], country: Optional[str]) -> Place:
    """A place name resolved through the directory, or a latitude with ``lon`` and ``tz``."""
    if isinstance(place_or_lat, str):
        if lon is not None or tz is not None:
            raise TypeError("give a place name alone, or a latitude with lon and tz")
        city = directory().resolve(place_or_lat, country)
        return Place(city["latitude"], city["longitude"], city["time_zone"], name or city["name"], city["country"])
    if isinstance(place_or_lat, bool) or not isinstance(place_or_lat, Real):
        raise TypeError(f"place must be a name or a latitude, not {type(place_or_lat).__name__}")
    if lon is None or tz is None:
        raise TypeError("a latitude needs lon and tz")
    if isinstance(lon, bool) or not isinstance(lon, Real):
        raise TypeError(f"lon must be a number, not {type(lon).__name__}")
    if not isinstance(tz, str):
        raise TypeError(f"tz must be a zone name, not {type(tz).__name__}")
    return Place(float(place_or_lat), float(lon), tz, name, country)
