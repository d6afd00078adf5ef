#!/usr/bin/env python3
"""Builds kuala_lumpur.csv, the official Kuala Lumpur timetable compiled into the library,
from JAKIM's published e-Solat year tables for zone WLY01 (HH:MM local times).

Usage: kuala_lumpur_from_esolat.py SOURCE.csv > kuala_lumpur.csv

SOURCE.csv is the transcription of the e-Solat tables 2019/WLY01.json and 2020/WLY01.json of
https://github.com/husnilkhatimi/waktu-solat-malaysia (rows "date,fajr,sunrise,dhuhr,asr,maghrib,isha",
comment lines starting with '#', one "city,..." line). Each time becomes local hours,
minutes/60 written with eight decimals and trailing zeros dropped (07:18 -> 7.3, 07:00 -> 7),
the form of dubai.csv. Only 2019-01-01 to 2020-12-30 are kept: the table's range stops there.
"""
import csv
import sys

FIRST, LAST = "2019-01-01", "2020-12-30"


def hours(hhmm: str) -> str:
    h, m = hhmm.split(":")
    text = f"{int(h) + int(m) / 60:.8f}".rstrip("0").rstrip(".")
    return text


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__.strip().splitlines()[2], file=sys.stderr)
        return 2
    rows = []
    with open(sys.argv[1], newline="", encoding="utf-8") as source:
        for fields in csv.reader(line for line in source if not line.startswith("#")):
            if not fields or fields[0] in ("city", "date"):
                continue
            if FIRST <= fields[0] <= LAST:
                rows.append([fields[0]] + [hours(t) for t in fields[1:7]])
    out = sys.stdout
    out.write("# Official Kuala Lumpur prayer timetable, 2019-01-01 to 2020-12-30 (local hours).\n")
    out.write("# JAKIM e-Solat, zone WLY01 (Kuala Lumpur, Putrajaya): the year tables 2019/WLY01.json and\n")
    out.write("# 2020/WLY01.json of https://github.com/husnilkhatimi/waktu-solat-malaysia, converted from HH:MM\n")
    out.write("# by data/timetables/kuala_lumpur_from_esolat.py (hours = minutes/60, eight decimals).\n")
    out.write("date,fajr,sunrise,dhuhr,asr,maghrib,isha\n")
    csv.writer(out, lineterminator="\n").writerows(rows)
    return 0 if len(rows) == 730 else 1


if __name__ == "__main__":
    sys.exit(main())
