#!/usr/bin/env python3
"""Writes the preference domains that the benchmarks read: make_lists.py FOLDER. Each is a folder NAME below FOLDER."""
import datetime
import pathlib
import plistlib
import sys

DAY = 86_400
# The day of kBenchMoment, in days since 1904.
BENCH_DAY = (datetime.date(2026, 6, 10) - datetime.date(1904, 1, 1)).days
DATE, WEEKLY, RELATIVE, CHIME = range(4)

# What sets the alarms of a sample apart; -1 in a date is "any". At kBenchMoment none of them is due.
KINDS = [
    {"AlarmType": DATE},  # each day
    {"AlarmType": WEEKLY, "weekdays": [1, 2, 3, 4, 5]},
    {"AlarmType": DATE, "DateDay": 31},
    {"AlarmType": RELATIVE, "relative": [5], "occurrences": [0], "WeeklyDaysRelativeFromMonthEnd": True},
    {"AlarmType": DATE, "DateYear": 2027, "DateMonth": 1, "DateDay": 31},
    {"AlarmType": CHIME},
    {"AlarmType": WEEKLY, "weekdays": [1]},
    {"AlarmType": DATE, "DateMonth": 3, "DateDay": 14},
    {"AlarmType": RELATIVE, "relative": [2], "occurrences": [1, 3]},
    {"AlarmType": WEEKLY, "weekdays": range(7), "Enabled": False},
]


def exclusions(first, count):
    """`count` days, the first one `first` days after that of kBenchMoment."""
    return ",".join(str((BENCH_DAY + day) * DAY) for day in range(first, first + count))


def flags(chosen, count, key):
    return {f"x{i}": {key: i in chosen} for i in range(count)}


def alarm(number, all_items, **more):
    """Of 28 keys. With all items of its nested dictionaries it has 133 stored objects; without those of a weekly-relative
    schedule that it is not of, ten thousand alarms stay within the million objects of a list."""
    kind = dict(KINDS[number % 10], **more)
    relative_items = all_items or kind["AlarmType"] == RELATIVE
    stored = {
        "AllowMultiple": True, "DateDay": -1, "DateMonth": -1, "DateYear": -1, "Enabled": True,
        "Exclusions": exclusions(number % 30, 2) if number % 5 == 0 else "",
        "Hour": number % 24, "HourlyChimeMinute": 15, "ImportedAB": False, "ImportediCal": False, "IsPreset": False,
        "LastRungDateTime": float(BENCH_DAY * DAY - number * 60), "Minute": number % 40, "Name": f"Alarm number {number}",
        "PowerManagerIntegration": True, "PrivateAlarm": False, "TimerHours": 0, "TimerMinutes": 5, "TimerSeconds": 0,
        "TimerShowOnStartup": False, "UniqueID": 1000 + number,
        "WeeklyDays": flags(kind.pop("weekdays", []), 7, "WeeklyDayEnabled"), "WeeklyDaysMonth": -1,
        "WeeklyDaysRelative": flags(kind.pop("relative", []), 7 if relative_items else 0, "WeeklyDayRelativeEnabled"),
        "WeeklyDaysRelativeFromMonthEnd": False, "WeeklyDaysRelativeMonth": -1,
        "WeeklyDaysRelativeOccurences": flags(kind.pop("occurrences", []), 5 if relative_items else 0,
                                              "WeeklyDayRelativeOccurEnabled"),
    }
    return dict(stored, **kind)


def sample(count, all_items=False):
    return {"Alarms": [alarm(number, all_items) for number in range(count)], "RingPastAlarms": False,
            "Exclusions": exclusions(40, 3)}


def half_past(ring_past_alarms):
    """A thousand alarms, every other one of them a date that has passed."""
    past = {"AlarmType": DATE, "DateYear": 2020, "DateMonth": 1, "DateDay": 1, "Enabled": True}
    return {"Alarms": [alarm(number, True, **(past if number % 2 else {"Enabled": True})) for number in range(1000)],
            "RingPastAlarms": ring_past_alarms}


DOMAINS = {
    **{f"{count}": sample(count) for count in (0, 10, 100, 112, 1000, 10_000)},
    "empty": {},
    "100-all-items": sample(100, True),
    "1000-all-items": sample(1000, True),
    "past": half_past(False),
    "past-to-ring": half_past(True),
    "exclusions": {"Exclusions": exclusions(100, 100)},
    # As many alarms as fit, of a kind whose search goes through all its years and finds nothing.
    "worst-searches": {"Alarms": [{"AlarmType": RELATIVE, "WeeklyDaysRelative": {"x0": {"WeeklyDayRelativeEnabled": True}}}
                                  for _ in range(90_000)]},
    # Each day that the search tries is excluded, and the whole list is read for each of them.
    "worst-exclusions": {"Alarms": [{"DateYear": -1, "DateMonth": -1, "DateDay": -1}], "Exclusions": exclusions(0, 3660)},
}


def write(folder, domain, form=plistlib.FMT_BINARY):
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "com.vendrel.Tollmere9.plist").write_bytes(plistlib.dumps(domain, fmt=form))


def main():
    lists = pathlib.Path(sys.argv[1])
    for name, domain in DOMAINS.items():
        write(lists / name, domain)
    write(lists / "1000-all-items-xml", DOMAINS["1000-all-items"], plistlib.FMT_XML)


main()
