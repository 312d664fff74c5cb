#!/usr/bin/env python3
"""Writes a preference domain as other programs do.

foreign_store.py PATH xml|binary|plistutil MINUTE [LOCATION]

The list holds two alarms that are due in MINUTE ("HH:MM"), one of each other kind, and things that the
agent does not read. "plistutil" writes XML and has that program turn it into the binary form.
"""
import datetime
import plistlib
import subprocess
import sys

path, form, minute = sys.argv[1:4]
hour, minute = (int(part) for part in minute.split(":"))
daily = {"AlarmType": 0, "DateYear": -1, "DateMonth": -1, "DateDay": -1}


def flags(key, *items):
    return {f"x{item}": {key: True} for item in items}


domain = {
    "Alarms": [
        dict(daily, Name="Due \u201cnow\u201d", UniqueID=1, Hour=hour, Minute=minute),
        dict(daily, Name="Due as well", UniqueID=2, Hour=hour, Minute=minute, Unknown={"deep": [{}, {}]}),
        {"Name": "Gone", "UniqueID": 3, "DateYear": 2020, "DateMonth": 1, "DateDay": 1},
        {"Name": "Off", "UniqueID": 4, "Enabled": False},
        {"Name": "Weekly", "UniqueID": 5, "AlarmType": 1, "Hour": 7, "Minute": 30, "Exclusions": "3850000000",
         "WeeklyDays": flags("WeeklyDayEnabled", 0, 1, 2, 3, 4, 5, 6), "WeeklyDaysMonth": 1},
        {"Name": "Timer", "UniqueID": 6, "AlarmType": 4, "TimerMinutes": 1},
    ],
    "WindowPosition": {"x": 1.5, "when": datetime.datetime(2027, 1, 31, 10, 0)},
    "Blob": b"\0\1\2",
}
if len(sys.argv) > 4:
    domain["LastExeLocation"] = sys.argv[4].encode()
if form == "plistutil":
    with open(path + ".xml", "wb") as file:
        plistlib.dump(domain, file)
    subprocess.run(["plistutil", "-i", path + ".xml", "-o", path, "-f", "bin"], check=True)
else:
    with open(path + ".new", "wb") as file:
        plistlib.dump(domain, file, fmt=plistlib.FMT_BINARY if form == "binary" else plistlib.FMT_XML)
    subprocess.run(["mv", path + ".new", path], check=True)
