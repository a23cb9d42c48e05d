"""The clocks of the board through restarts and power cuts."""

import calendar
import re
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from _scenario import Scenario

JULY = calendar.timegm((2017, 7, 3, 14, 5, 9))
JULY_OF_BERLIN = JULY - 2 * 3600
JANUARY = calendar.timegm((2017, 1, 3, 14, 5, 9))
JANUARY_OF_BERLIN = JANUARY - 3600
ELSEWHERE = 1500000000
BERLIN = {"TZ": "Europe/Berlin"}
UTC = {"TZ": "UTC"}


class Clocks(Scenario):
    options = {"rtc": "2020-02-20T20:20:20"}

    def set_to(self, *arguments, environment=None):
        """Sets a clock; the time counts from here."""
        self.began = time.monotonic()
        return self.done(*arguments, environment=environment)

    def enter_july(self):
        """As an operator in Berlin does; waits for the tool that is left behind."""
        said = self.set_to("set-clock", "117", "6", "3", "14", "5", "9", environment=BERLIN)
        self.assertEqual(said, "Setting hwclock from system clock\n")
        self.shell("while pidof hwclock >/dev/null; do sleep 0.1; done")

    def assert_running(self, since, shown):
        """The clock was at `since` when it was set and has gone on, no faster than this desk's."""
        self.assertGreaterEqual(shown, since)
        self.assertLessEqual(shown, since + int(time.monotonic() - self.began) + 2)

    def assert_restarted(self, since, shown):
        """Likewise, and it went on through a restart, which takes more than a second."""
        self.assert_running(since, shown)
        self.assertGreater(shown, since)

    def chip(self):
        """What the clock's chip shows, as if it were UTC, by the emulator."""
        return calendar.timegm(time.strptime(self.machine.rtc(), "%Y-%m-%dT%H:%M:%S"))

    def system_clock(self):
        return int(self.shell("date +%s"))

    def read(self, utc, environment=None):
        return int(self.done("read-clock", str(utc), environment=environment))

    def tool(self, option, environment):
        """What hwclock says, as it prints it in the zone: "2017-07-03 14:05"."""
        line = self.shell(f"/sbin/hwclock --show {option}", environment)
        self.assertRegex(line, r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d+[+-]\d\d:\d\d$")
        return line[:16]


class Start(Clocks):
    def test_begins_with_the_time_of_the_chip(self):
        since = calendar.timegm((2020, 2, 20, 20, 20, 20))
        self.assertGreaterEqual(self.read(1), since)
        self.assertLess(self.read(1), since + 300)
        self.assertLess(abs(self.system_clock() - self.read(1)), 3)

    def test_first_zone_since_the_start_does_not_turn_the_clock(self):
        """The kernel turns the clock by the first zone where it comes without a time."""
        self.set_to("write-clock", str(JULY), "1")
        self.done("clock-to-system", "1", environment=BERLIN)
        self.assert_running(JULY, self.system_clock())
        self.assert_running(JULY, self.chip())


class Restart(Clocks):
    def test_leaves_the_hardware_clock_going_in_utc(self):
        self.set_to("write-clock", str(ELSEWHERE), "1")
        self.machine.reboot()
        self.assert_restarted(ELSEWHERE, self.read(1))
        self.assert_restarted(ELSEWHERE, self.chip())
        self.assertIn(self.tool("--utc", UTC), ("2017-07-14 02:40", "2017-07-14 02:41"))
        # The kernel has taken it over.
        self.assert_restarted(ELSEWHERE, self.system_clock())

    def test_leaves_the_hardware_clock_going_in_local_time(self):
        """The kernel takes it for UTC, until it is copied; that is the first zone which it is told."""
        self.set_to("write-clock", str(JANUARY_OF_BERLIN), "0", environment=BERLIN)
        self.machine.reboot()
        self.assert_restarted(JANUARY, self.chip())
        self.assert_restarted(JANUARY_OF_BERLIN, self.read(0, BERLIN))
        self.assertIn(self.tool("--localtime", BERLIN), ("2017-01-03 14:05", "2017-01-03 14:06"))
        self.assert_restarted(JANUARY, self.system_clock())
        self.done("clock-to-system", "0", environment=BERLIN)
        self.assert_restarted(JANUARY_OF_BERLIN, self.system_clock())
        self.assert_restarted(JANUARY, self.chip())

    def test_keeps_the_time_that_the_operator_has_entered(self):
        self.enter_july()
        self.machine.reboot()
        self.assert_restarted(JULY_OF_BERLIN, self.read(1))
        self.assert_restarted(JULY_OF_BERLIN, self.chip())
        self.assert_restarted(JULY_OF_BERLIN, self.system_clock())
        self.assertRegex(self.shell("date '+%F %H:%M'", BERLIN), r"^2017-07-03 14:0[56]$")
        self.assertIn(self.tool("--utc", BERLIN), ("2017-07-03 14:05", "2017-07-03 14:06"))

    def test_keeps_the_system_clock_where_it_was_copied(self):
        self.set_to("write-clock", str(ELSEWHERE), "1")
        self.shell(f"date -s @{JULY}")
        self.began = time.monotonic()
        self.done("clock-from-system", "1")
        self.machine.reboot()
        self.assert_restarted(JULY, self.system_clock())
        self.assert_restarted(JULY, self.read(1))

    def test_loses_the_system_clock_where_it_was_not(self):
        self.set_to("write-clock", str(ELSEWHERE), "1")
        self.shell(f"date -s @{JULY}")
        self.machine.reboot()
        self.assert_restarted(ELSEWHERE, self.system_clock())

    def test_by_a_power_cut_leaves_the_clock_going_on_its_battery(self):
        self.enter_july()
        self.machine.power_cut()
        self.assert_restarted(JULY_OF_BERLIN, self.read(1))
        self.assert_restarted(JULY_OF_BERLIN, self.system_clock())

    def test_comes_after_the_real_tool_has_written_the_clock_too(self):
        self.assertRegex(self.shell("hwclock --version"), re.compile(r"^hwclock from util-linux "))
        self.enter_july()
        # The tool's own file tells when it has set the hardware clock.
        _, last, _ = self.shell("head -1 /etc/adjtime").split()
        self.assert_running(JULY_OF_BERLIN, int(last))
