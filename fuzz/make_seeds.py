#!/usr/bin/env python3
"""Writes the seed inputs of the fuzz targets to fuzz/seeds/, anew and always the same."""
import datetime
import pathlib
import plistlib
import shutil

SEEDS = pathlib.Path(__file__).parent / "seeds"
UTC_DAY = datetime.datetime(2027, 1, 31, 10, 0, 0)


def flags(inner, count, chosen):
    return {f"x{i}": {inner: i in chosen} for i in range(count)}


def alarm(**fields):
    return {"Name": "Wake up & go", "Hour": 7, "Minute": 30, "Enabled": True, "UniqueID": 1, **fields}


DATE = alarm(AlarmType=0, DateYear=2027, DateMonth=2, DateDay=10, Exclusions="3882000000,3882086400")
ANY_DATE = alarm(AlarmType=0, DateYear=-1, DateMonth=-1, DateDay=29, LastRungDateTime=3884148000.0)
WEEKLY = alarm(AlarmType=1, WeeklyDays=flags("WeeklyDayEnabled", 7, {0, 3}), WeeklyDaysMonth=-1)
NEVER_WEEKLY = alarm(AlarmType=1, WeeklyDays=flags("WeeklyDayEnabled", 7, {1}), WeeklyDaysMonth=13)
RELATIVE = alarm(
    AlarmType=2,
    WeeklyDaysRelative=flags("WeeklyDayRelativeEnabled", 7, {2}),
    WeeklyDaysRelativeOccurences=flags("WeeklyDayRelativeOccurEnabled", 5, {1, 3}),
    WeeklyDaysRelativeMonth=3,
    WeeklyDaysRelativeFromMonthEnd=True,
)
CHIME = alarm(AlarmType=3, HourlyChimeMinute=15, AllowMultiple=False, PrivateAlarm=True, ImportedAB=True)
TIMER = alarm(AlarmType=4, TimerHours=1, TimerMinutes=5, TimerSeconds=30, TimerShowOnStartup=True)
OTHER = alarm(AlarmType=9, IsPreset=False, PowerManagerIntegration=True, ImportediCal=True)

EVERY_KIND = {
    "text": "a < b & c > d \u00e9 \u2028 \U0001f514",
    "empty": "",
    "numbers": [0, -1, 255, 65536, 2**31, 2**63 - 1, -(2**63), 1.5, -0.0, 1e300],
    "flags": [True, False],
    "data": bytes(range(17)),
    "date": UTC_DAY,
    "nested": {"array": [[], {}, [{"deep": ["x"]}]]},
}

RELOADS = {
    "date": {"Alarms": [DATE, ANY_DATE], "Exclusions": "3884112000", "RingPastAlarms": True},
    "weekly": {"Alarms": [WEEKLY], "Exclusions": "3884198400,3884284800"},
    "weekly-without-end": {"Alarms": [NEVER_WEEKLY]},
    "relative": {"Alarms": [RELATIVE]},
    "chime": {"Alarms": [CHIME, TIMER, OTHER]},
    "foreign": {"Alarms": [7, {"Name": 5.5, "Exclusions": True, "When": UTC_DAY, "Bytes": b"\x00\xff"}]},
    "exclusions-of-no-kind": {"Alarms": [WEEKLY], "Exclusions": ["3884198400"]},
}

XML_BY_HAND = {
    "entities": b'<?xml version="1.0"?><plist><string>&lt;&#65;&#x1F514;&amp;&quot;&apos;&gt;</string></plist>',
    "sections": b"<plist><!-- c --><array><?p i?><string>a<![CDATA[<b>&]]>c<!-- d --></string></array></plist>",
    "document-type": b'<!DOCTYPE plist [<!ENTITY a "b"> <!-- ] > -->]><plist version=\'1.0\'><true/></plist>',
    "numbers": b"<plist><array><integer>-0x1F</integer><real>nan</real><real>-infinity</real>"
    b"<real>+1.5e-300</real><integer> 42 </integer></array></plist>",
    "dates": b"<plist><array><date>2027-13-32T25:61:61Z</date><date>-0001-01-01T00:00:00Z</date></array></plist>",
    "utf-16": '<?xml version="1.0" encoding="UTF-16"?><plist><string>\u00e9\U0001f514</string></plist>'.encode(
        "utf-16"
    ),
    "line-breaks": b"\xef\xbb\xbf<plist>\r\n<string>a\rb\r\nc&#13;</string><!-- -->\r</plist>\n",
}


def binary(objects, reference_size=1, offset_size=1, top=0):
    """A binary list of objects that are given as bytes."""
    out = b"bplist00"
    offsets = []
    for item in objects:
        offsets.append(len(out))
        out += item
    table = len(out)
    out += b"".join(offset.to_bytes(offset_size, "big") for offset in offsets)
    trailer = bytes(6) + bytes([offset_size, reference_size])
    return out + trailer + b"".join(n.to_bytes(8, "big") for n in (len(objects), top, table))


BINARY_BY_HAND = {
    "shared": binary([b"\xa3\x01\x01\x02", b"\x51a", b"\xa2\x01\x01"]),
    "wide-numbers": binary([b"\xa1" + (1).to_bytes(8, "big"), b"\x14" + bytes(15) + b"\x07"], 8, 8),
    "odd-sizes": binary([b"\xa2\0\0\x01\0\0\x02", b"\x61\xd8\x00", b"\x80\x05"], 3, 5),
    "counted": binary([b"\xaf\x11\x00\x02\x01\x02", b"\x5f\x10\x02hi", b"\x22\x7f\xc0\x00\x00"]),
}


def write(folder, name, content):
    (SEEDS / folder / name).write_bytes(content)


def main():
    shutil.rmtree(SEEDS, ignore_errors=True)
    for folder in ("xml", "binary", "reload"):
        (SEEDS / folder).mkdir(parents=True)
    for kind, form in (("xml", plistlib.FMT_XML), ("binary", plistlib.FMT_BINARY)):
        write(kind, "every-kind", plistlib.dumps(EVERY_KIND, fmt=form))
        write(kind, "alarms", plistlib.dumps(RELOADS["relative"], fmt=form))
        for name, domain in RELOADS.items():
            write("reload", f"{name}-{kind}", plistlib.dumps(domain, fmt=form))
    for name, content in XML_BY_HAND.items():
        write("xml", name, content)
    for name, content in BINARY_BY_HAND.items():
        write("binary", name, content)


main()
