#!/usr/bin/env python3
"""The built tollmere-alarms, with stores and a home of its own: alarms_test.py PROGRAM [TEST...]"""
import datetime
import json
import os
import re
import subprocess
import sys
import unicodedata
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)) + "/../support")
from home_case import HomeCase

PROGRAM = os.path.abspath(sys.argv.pop(1))
TOLD = os.path.dirname(os.path.abspath(__file__)) + "/../data/alarms_told.txt"
FLAGS = {"WeeklyDays": "WeeklyDayEnabled", "WeeklyDaysRelative": "WeeklyDayRelativeEnabled",
         "WeeklyDaysRelativeOccurences": "WeeklyDayRelativeOccurEnabled"}
NAMES = ["Wecker", "起床時間です、朝ごはん", "한국어 알람", "مواعيد الدواء", "e\u0301tude", "🎄🎁", "a\nb\x1b[31m", "long " * 30]


def seconds(moment):
    return int((datetime.datetime.fromisoformat(moment) - datetime.datetime(1904, 1, 1)).total_seconds())


def value_of(key, text):
    if text[0] in '"[{' or text in ("true", "false"):
        return json.loads(text)
    if key == "Exclusions":
        return ",".join(str(seconds(day)) for day in text.split(","))
    if key in FLAGS:
        return {"x" + index: {FLAGS[key]: True} for index in text.split(",")}
    return seconds(text) if key == "LastRungDateTime" else float(text) if "." in text else int(text)


def stored(words):
    if words.isdigit():
        return int(words)
    return {key: value_of(key, text) for key, text in re.findall(r'(\w+)=("[^"]*"|\S+)', words)}


def columns(text):
    return sum(0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in text)


class AlarmsTest(HomeCase):
    def ask(self, *options):
        return subprocess.run([PROGRAM, *options], env=self.environment, capture_output=True, text=True)

    def json(self, *options):
        return json.loads(self.ask("--json", *options).stdout)

    def test_what_is_told_of_stored_alarms(self):
        self.bundle()
        with open(TOLD, encoding="utf-8") as file:
            rows = [[cell.strip() for cell in line.split("|")] for line in file if line[0] not in "#\n"]
        for kind, *row in rows:
            with self.subTest(row=" | ".join(row)):
                getattr(self, "told_" + kind)(*row)

    def told_why(self, moment, next_ring, why, listed, words, domain=""):
        self.store([stored(words)], **stored(domain))
        alarm = self.json("--at", moment)["alarms"][0]
        self.assertEqual(alarm["next_ring"] or ("never" if alarm["watched"] else "-"), next_ring)
        self.assertEqual(alarm["why"] or "-", why)
        listed = (listed + ("" if why == "-" else " " + why)).split()
        self.assertIn(" ".join(listed), " ".join(self.ask("--at", moment).stdout.split()))

    def told_next(self, moment, rings, words, domain=""):
        day, time, *self.environment["TZ"] = moment.split()
        self.environment["TZ"] = "".join(self.environment["TZ"]) or "UTC"
        self.store([stored(words)], **stored(domain))
        count = len(rings.split())
        told = self.json("--at", f"{day} {time}", "--next", str(count or 3))["rings"]
        self.assertEqual([ring["moment"] for ring in told], rings.split())
        self.assertEqual(self.ask("--at", f"{day} {time}", "--next", "9").stdout.count("(no name)"), 9 if count > 1 else count)

    def told_check(self, found, words, domain=""):
        self.store([stored(words)], **stored(domain))
        told = self.ask("--check")
        self.assertEqual(sorted(line.removeprefix('0 "": ').removeprefix('0 "a": ') for line in told.stdout.splitlines()),
                         sorted(found.split(" ;; ")) if found else ["Nothing is wrong."])

    def told_store(self, command, state, problem, status):
        subprocess.run(["sh", "-c", command], cwd=self.home, check=True)
        told = self.ask("--json")
        top = json.loads(told.stdout)
        self.assertEqual((top["store"], top["state"], told.returncode), (self.store_path, state, int(status)))
        self.assertIn(problem, str(top["problem"]))
        self.assertIn(self.store_path, self.ask().stdout)
        self.assertEqual(self.ask("--check").returncode, int(status) or 1)

    def test_what_keeps_all_alarms_from_ringing_hides_none(self):
        daily = {"Name": "d", "UniqueID": 5, "DateYear": -1, "DateMonth": -1, "DateDay": -1, "Hour": 7, "Minute": 0}
        self.store([daily, {"Name": "bad", "WeeklyDays": 1}, dict(daily, Name="e"),
                    dict(daily, Exclusions=",".join(str(i * 86400) for i in range(44000, 60000)))])
        told = self.ask("--at", "2027-06-15 10:20:30")
        self.assertEqual((told.stdout.count("2027-06-16 07:00"), told.returncode), (2, 1))
        self.assertIn('No alarm rings at all until "bad" has been put right.', told.stdout)
        self.assertEqual(self.json("--next", "5")["rings"], [])
        self.assertIn('2 "e": UniqueID 5 is that of alarm 0, too', self.ask("--check").stdout)

    def test_a_search_that_takes_too_long_is_given_up(self):
        days = "0," * 200000 + ",".join(str(seconds("2027-06-15") + i * 86400) for i in range(4000))
        self.store([dict(stored("DateYear=-1 DateMonth=-1 DateDay=-1 Hour=7 Minute=0"), Name="slow"), {"Name": "off", "Enabled": False}],
                   Exclusions=days)
        told = self.ask("--at", "2027-06-15 06:20:30")
        self.assertIn("the search for its next ring had come to no end when it was given up; until", told.stdout)
        self.assertEqual((told.stdout.count("disabled"), told.returncode), (1, 1))

    def test_where_the_main_application_is_and_who_may_write(self):
        self.need_own_view()
        self.store([])
        for change, found in ((lambda: None, "Tollmere is in none of the three places"),
                              (self.bundle, "Nothing is wrong."),
                              (lambda: os.chmod(self.store_path, 0o666), self.store_path + " may be written by every user"),
                              (lambda: os.remove(self.home + "/Applications/Tollmere.app/Contents/MacOS/Tollmere"),
                               "cannot be started: No such file"),
                              (lambda: self.store([], LastExeLocation=b"/no/where"), "LastExeLocation leads nowhere: /no/where")):
            change()
            told = self.ask("--check")
            self.assertIn(found, told.stdout)
            self.assertEqual(told.returncode, 0 if found[0] == "N" else 1)
        self.assertIn("cannot be started", self.ask().stdout)
        os.makedirs(self.home + "/.config")
        os.rename(self.store_path, self.home + "/.config/com.vendrel.Tollmere9.plist")
        self.assertIn("there is no such file, and so no alarm; " + self.home + "/.config/", self.ask().stdout)

    def test_options(self):
        for options in (["--unknown"], ["-x"], ["word"], ["--next", "0"], ["--next", "x"], ["--next"], ["--at", "2027-02-29 10:00"],
                        ["--at", "2027-02-28 10:00:60"], ["--at", "tomorrow"], ["--next", "1", "--check"]):
            told = self.ask(*options)
            self.assertEqual((told.returncode, told.stdout, told.stderr.count("\n")), (2, "", 1), options)
        self.assertTrue(self.ask("--version").stdout.startswith("tollmere-alarms "))
        self.assertIn("--store FILE", self.ask("--help").stdout)
        self.environment["TZ"] = "Europe/Berlin"
        self.assertEqual(self.ask("--at", "2027-03-28 02:30").returncode, 2)
        self.assertEqual(self.json("--at", "2027-03-28 03:30")["zone"], "CEST, UTC+02:00")
        os.rename(self.bundle() + "/Contents/Info.plist", self.home + "/other.plist")
        self.assertEqual(self.json("--store", self.home + "/other.plist")["state"], "read")

    def test_columns_line_up_with_names_of_any_script(self):
        unset = [{"Name": name, "UniqueID": i, "AlarmType": 1, "Hour": 9, "Minute": 5} for i, name in enumerate(NAMES)]
        self.store(unset + [{"Name": "off", "Enabled": False}], "binary")
        self.assertEqual([alarm["name"] for alarm in self.json()["alarms"]], NAMES + ["off"])
        for width, more in ((0, {}), (80, {"NO_COLOR": "1"}), (90, {"TERM": "dumb"}), (120, {})):
            lines = self.lines_on_terminal(width, more) if width else self.ask().stdout.splitlines()
            text = "\n".join(lines)
            self.assertEqual(set(re.findall("\x1b[^m]*m?", text)), {"\x1b[2m", "\x1b[0m"} if width == 120 else set(), text)
            rows = [line for line in lines if line.startswith("never")]
            self.assertEqual(len(rows), len(NAMES), text)
            starts = {columns(line[:line.index("  09:05")]) for line in rows if not line.startswith("never    long")}
            self.assertEqual(len(starts), 1, text)
            if width:
                self.assertLessEqual(max(columns(line) for line in rows), width, text)
                self.assertIn("…", text)

    def lines_on_terminal(self, width, more):
        told = subprocess.run(["script", "-qec", f'stty cols {width}; exec "$PROGRAM"', "/dev/null"], stdin=subprocess.DEVNULL,
                              env=dict(self.environment, PROGRAM=PROGRAM, TERM="xterm", LC_ALL="C.UTF-8") | more,
                              stdout=subprocess.PIPE, check=True)
        return told.stdout.decode().splitlines()


if __name__ == "__main__":
    unittest.main(verbosity=2)
