#!/usr/bin/env python3
"""Tests of "derkit time": DERKIT_TOOL names the tool."""

import json
import os
import subprocess
import unittest

TOOL = os.environ["DERKIT_TOOL"]
TIME_LIMIT = 60
KEYS = ["gmt", "gmt_log", "local", "seconds", "local_log", "local_ctime"]


def run(*arguments, zone="UTC0"):
    done = subprocess.run([TOOL, "time", *arguments], capture_output=True, timeout=TIME_LIMIT,
                          env={**os.environ, "TZ": zone})
    return done.returncode, done.stdout.decode(), done.stderr.decode().splitlines()


def shown(*arguments, zone="UTC0"):
    status, out, errors = run(*arguments, zone=zone)
    assert (status, errors) == (0, []), errors
    return dict(line.split(": ", 1) for line in out.splitlines())


class TimeTest(unittest.TestCase):
    LEAP_DAY = dict(zip(KEYS, [
        "29.02.2024 13:05:09 GMT", "2024.02.29 13:05:09 GMT", "29.02.2024 13:05:09", "1709211909",
        "2024.02.29 13:05:09", "Thu Feb 29 13:05:09 2024",
    ]))

    def test_a_text_and_its_seconds_are_the_same_moment(self):
        for moment in "2024.02.29 13:05:09", "2024.02.29 13:05:09 GMT", "2024.2.29 13:5:9", "1709211909":
            self.assertEqual(list(shown(moment).items()), list(self.LEAP_DAY.items()))
        self.assertEqual(json.loads(run("--json", "1709211909")[1]), self.LEAP_DAY | {"seconds": 1709211909})

    def test_a_text_is_gmt_whatever_the_zone(self):
        # zones without daylight saving, five and a half hours east and eight west of Greenwich
        for zone, local in [("XYZ-5:30", "18:35:09"), ("XYZ8", "05:05:09")]:
            for moment in "2024.02.29 13:05:09", "1709211909":
                found = shown(moment, zone=zone)
                self.assertEqual((found["gmt"], found["seconds"]), (self.LEAP_DAY["gmt"], "1709211909"))
                self.assertEqual((found["local"], found["local_log"], found["local_ctime"]),
                                 (f"29.02.2024 {local}", f"2024.02.29 {local}", f"Thu Feb 29 {local} 2024"))

    def test_the_seconds_of_another_season_have_their_own_daylight_saving(self):
        # one hour east of Greenwich, two in summer: July and January
        zone = "CET-1CEST,M3.5.0,M10.5.0/3"
        self.assertEqual(shown("1720000000", zone=zone)["local_log"], "2024.07.03 11:46:40")
        self.assertEqual(shown("1704067200", zone=zone)["local_log"], "2024.01.01 01:00:00")

    def test_the_seconds_around_the_epoch(self):
        for seconds, gmt in [("0", "01.01.1970 00:00:00 GMT"), ("-1", "31.12.1969 23:59:59 GMT"),
                             ("-2", "31.12.1969 23:59:58 GMT"), ("2147483647", "19.01.2038 03:14:07 GMT")]:
            found = shown(seconds)
            self.assertEqual((found["gmt"], found["seconds"]), (gmt, seconds))

    def test_a_text_whose_seconds_cannot_be_told_has_none(self):
        status, out, errors = run("1969.12.31 23:59:59")
        warning = "derkit: 1969.12.31 23:59:59: warning: this system does not count the seconds from the epoch to it"
        self.assertEqual((status, errors), (0, [warning]))
        self.assertEqual([line.split(":")[0] for line in out.splitlines()], ["gmt", "gmt_log", "local"])

    def test_what_is_no_moment_is_refused(self):
        neither = 'neither seconds since the epoch nor a time like "2024.02.29 13:05:09" from 1900 on'
        too_far = "no certificate time is so many seconds from the epoch"
        for moment, problem in [
            ("", neither), ("now", neither), ("-", neither), ("2024.1.1", neither), ("12x", neither),
            ("1899.01.01 00:00:00", neither), ("2024.00.10 00:00:00", neither), ("2024.01.00 00:00:00", neither),
            ("99999999999999999999", too_far), ("-99999999999999999999", too_far), ("-2208988801", too_far),
        ]:
            with self.subTest(moment):
                self.assertEqual(run("--", moment), (1, "", [f"derkit: {moment}: {problem}"]))

    def test_one_moment_is_required(self):
        self.assertEqual(run()[0], 2)
        self.assertEqual(run("1", "2")[0], 2)


if __name__ == "__main__":
    unittest.main()
