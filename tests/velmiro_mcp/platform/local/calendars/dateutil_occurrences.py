"""Works out series of events with python-dateutil, to be held against our own.

Reads one series a line, its fields between tabs: zone, start, rule, removed times, added times and
the end of the range. Times are written as in calendar files, lists with commas. Writes for each the
occurrences as times in UTC, in order.
"""

import re
import sys
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

from dateutil.rrule import rrulestr, rruleset


def moment(text, zone):
    if text.endswith("Z"):
        return datetime.strptime(text, "%Y%m%dT%H%M%SZ").replace(tzinfo=timezone.utc)
    return datetime.strptime(text, "%Y%m%dT%H%M%S").replace(tzinfo=zone)


def moments(text, zone):
    return [moment(piece, zone).astimezone(zone) for piece in text.split(",") if piece]


def occurrences(zone, start, rule, exdates, rdates, end):
    """The start is an occurrence even where the rule does not match it, and then counts as one."""
    zone = ZoneInfo(zone)
    start = moment(start, zone)
    count = re.search(r";COUNT=(\d+)", rule)
    uncounted = rule.replace(count.group(0), "") if count else rule
    series = rruleset()
    series.rdate(start)
    matches_start = next(iter(rrulestr(uncounted, dtstart=start)), None) == start
    times = int(count.group(1)) - (0 if matches_start else 1) if count else None
    if times is None or times > 0:
        limit = "" if times is None else f";COUNT={times}"
        series.rrule(rrulestr(uncounted + limit, dtstart=start))
    for time in moments(rdates, zone):
        series.rdate(time)
    for time in moments(exdates, zone):
        series.exdate(time)
    end = moment(end, zone).astimezone(timezone.utc)
    found = set()
    for time in series:
        if time.replace(tzinfo=timezone.utc) > end + timedelta(days=2):
            break
        found.add(time.astimezone(timezone.utc))
    # Two times on the clock can be one instant, where the clocks skip an hour.
    gone = {time.astimezone(timezone.utc) for time in moments(exdates, zone)}
    return sorted(time for time in found - gone if time < end)


for line in sys.stdin:
    times = occurrences(*line.rstrip("\n").split("\t"))
    print(",".join(time.strftime("%Y%m%dT%H%M%SZ") for time in times))
