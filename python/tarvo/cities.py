"""The city directory (search, nearest city, a name resolved to a city) and the user's saved
cities."""

from __future__ import annotations

from dataclasses import dataclass
from typing import List, Optional, Union

from . import _tarvo
from ._places import directory as _directory

__all__ = ["City", "search", "nearest", "resolve", "SavedCities"]


@dataclass(frozen=True)
class City:
    """A city of the directory, or a saved city (with its primary key and settings)."""

    name: str
    state: str
    country: str
    time_zone: str
    latitude: float
    longitude: float
    primary_key: int = 0
    method: int = 0
    asr: int = 0
    high_latitude: int = 0
    selected: bool = False
    distance_km: float = 0.0


def search(text: str) -> List[City]:
    """At most 75 cities whose name matches the text (case and accents ignored), best first."""
    if not isinstance(text, str):
        raise TypeError(f"text must be a string, not {type(text).__name__}")
    return [City(**c) for c in _directory().search(text)]


def nearest(lat: float, lon: float, km: float = 50.0) -> City:
    """The directory city nearest the position within ``km``; LookupError when none is that near."""
    return City(**_directory().nearest(lat, lon, km))


def resolve(text: str, country: Optional[str] = None) -> City:
    """The city a place name stands for; LookupError when nothing matches."""
    return City(**_directory().resolve(text, country))


class SavedCities:
    """The user's saved cities: the data folder's database, or the one at ``path``."""

    def __init__(self, path: Optional[str] = None) -> None:
        self._saved = _tarvo.SavedCities(path)

    def list(self) -> List[City]:
        return [City(**c) for c in self._saved.list()]

    def add(self, lat: float, lon: float, tz: str, name: str, country: str, *, method: Union[str, int] = 0,
            asr: int = 0, high_latitude: int = 0) -> City:
        """Saves the city and selects it; answers it with its primary key."""
        return City(**self._saved.add(lat, lon, tz, name, country, method, asr, high_latitude))

    def select(self, primary_key: int) -> None:
        self._saved.select(primary_key)

    def delete(self, primary_key: int) -> None:
        self._saved.delete(primary_key)
