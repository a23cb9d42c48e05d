"""The demonstrations on vcan0 and vcan1 through SocketCAN, with candump beside them.

What candump has heard is compared with the programs' own logs frame by frame; the captures are brought out and read by
Wireshark's ISObus dissector.
"""

import atexit
import re
import shutil
import sys
import tempfile
import time
from collections import defaultdict
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
sys.path.insert(0, str(Path(__file__).parents[2] / "python"))
from _scenario import LIMIT, Scenario
from console import program
from test_wireshark import reassembled, tshark

BUSES = ["--can0", "socketcan:vcan0", "--can1", "socketcan:vcan1"]
VALUES = (
    '{"bootLoaderVersion": "B7", "osVersion": "OS-3.1", "serialNumber": "SN567890", "partNumber": "4711.6",'
    ' "hardwareVariant": "2", "vin": "WXY12345678901234", "virtualTerminalVersion": 4, "hardwareVersion": 5,'
    ' "certification": {"year": 2021, "revision": 5, "laboratoryType": 1, "laboratoryId": 66, "referenceNumber": 1234}}'
)
# Three seconds: one at the headland, two spraying.
DRIVE = "time,speed,width,sections,tank,flow,alarm\n" + "".join(
    f"{row / 10},3.0,0.0,000000,9.0,0.0,0\n" if row < 10 else f"{row / 10},10.0,2.0,010000,9.0,6.7,2\n"
    for row in range(30)
)
APPLICATION = {"80", "81", "82"}  # the addresses that the applications claim
NAME_OF_BUS = {"vcan0": "can0", "vcan1": "can1"}


def frames_in(text):
    """[(bus, identifier, data)] of a log in candump's form; the buses by the names of the programs."""
    frames = []
    for line in text.splitlines():
        match = re.fullmatch(r"\(\d+\.\d{6}\) (\w+) ([0-9A-F]{8})#([0-9A-F]*)(?: [RT])?", line)
        if not match:
            raise AssertionError(f"no frame of candump's: {line!r}")
        bus, identifier, data = match.groups()
        frames.append((NAME_OF_BUS.get(bus, bus), identifier, data))
    return frames


def by_sender(frames):
    """(bus, source address) -> [(identifier, data)] in order; what two senders send at the same time has none."""
    senders = defaultdict(list)
    for bus, identifier, data in frames:
        senders[bus, identifier[-2:]].append((identifier, data))
    return dict(senders)


def is_part(part, whole):
    """Whether a list is found in another one, with nothing in between."""
    return any(whole[begin : begin + len(part)] == part for begin in range(len(whole) - len(part) + 1))


class OnBuses(Scenario):
    """The cases of a class look at one run, which the first of them makes."""

    run_once = None

    def setUp(self):
        super().setUp()
        if type(self).run_once is None:
            type(self).run_once = self.recorded()
        self.ended, self.folder = self.run_once

    def recorded(self):
        ended = self.record()
        folder = tempfile.mkdtemp(prefix="zemo-buses-")
        atexit.register(shutil.rmtree, folder)
        for path in self.machine.out.glob("*.[lp][oc][ga]*"):
            shutil.copy(path, folder)
        return ended, Path(folder)

    def start_candump(self):
        self.candump = self.machine.start_job(["candump", "-L", "-r", "4000000", "vcan0", "vcan1"])
        self.shell("for i in $(seq 250); do grep -q vcan0 /proc/net/can/rcvlist_all && "
                   "grep -q vcan1 /proc/net/can/rcvlist_all && exit 0; sleep 0.1; done; exit 1")

    def stop_candump(self):
        self.candump.signal("INT")
        self.candump.wait(LIMIT)
        (self.machine.out / "candump.log").write_bytes(self.candump.stdout)

    def frames(self, name):
        return frames_in((self.folder / name).read_text(encoding="ascii"))

    def tshark(self, name, *arguments):
        return tshark(str(self.folder / name), *arguments)

    def dissected(self, name):
        """How many frames a capture or a log has; each of them is one of ISObus, and sound."""
        if not shutil.which("tshark"):
            self.skipTest("no tshark here that could dissect the capture")
        protocols = self.tshark(name, "-T", "fields", "-e", "frame.protocols")
        self.assertEqual([line for line in protocols if ":isobus" not in line], [])
        self.assertEqual(self.tshark(name, "-Y", "_ws.malformed"), [])
        return len(protocols)

    def assert_heard(self, log):
        """Candump and the application have the same frames, a sender's in the same order."""
        heard = by_sender(self.frames("candump.log"))
        logged = by_sender(self.frames(log))
        self.assertEqual(sorted(heard), sorted(logged))
        for sender, frames in heard.items():
            # What others say when the application has left its buses, it has not read any more.
            longest = 0 if sender[1] in APPLICATION else 3
            self.assertEqual(frames[: len(logged[sender])], logged[sender], sender)
            self.assertLessEqual(len(frames) - len(logged[sender]), longest, sender)
        self.assertTrue(APPLICATION & {address for _, address in heard})


class Survey(OnBuses):
    def record(self):
        (self.machine.out / "values.json").write_text(VALUES, encoding="utf-8")
        self.start_candump()
        ended = self.machine.run([program("zemo-survey-demo"), *BUSES, "--values", "/out/values.json", "--capture",
                                  "/out/survey.pcap", "--log", "/out/survey.log", "--seconds", "60"], 100)
        self.stop_candump()
        return ended

    def test_is_done_and_the_application_has_gone(self):
        self.assertEqual((self.ended.status, self.ended.errors), (0, ""))
        self.assertIn("socketcan:vcan0, socketcan:vcan1", self.ended.text)
        self.assertIn("none of them answers", self.ended.text)

    def test_is_heard_by_candump_frame_by_frame(self):
        self.assert_heard("survey.log")

    def test_has_a_capture_of_sound_frames_of_the_isobus(self):
        isobus = [frame for frame in self.frames("survey.log") if frame[0] == "can0"]
        self.assertEqual(self.dissected("survey.pcap"), len(isobus))
        self.assertGreater(len(isobus), 50)
        self.assertEqual(self.dissected("candump.log"), len(self.frames("candump.log")))

    def test_claims_addresses_and_tells_who_it_is(self):
        self.dissected("survey.pcap")
        messages = reassembled(str(self.folder / "survey.pcap"))
        claimed = {identifier[-2:] for bus, identifier, _ in self.frames("candump.log")
                   if bus == "can0" and identifier[2:6] == "EEFF"}
        self.assertLessEqual({"80", "81"}, claimed)
        for address in (0x80, 0x81):
            self.assertIn((address, 0xFDC5, b"4711.6*SN567890*Armrest*Console*ZEMO*000118*"), messages)
            self.assertIn((address, 0xFC8D, b"WXY12345678901234*Tovra**"), messages)
            software = [data for source, pgn, data in messages if source == address and pgn == 0xFEDA]
            self.assertEqual(len(software), 1)
            self.assertTrue(software[0].endswith(b"*OS-3.1*B7*"), software)


class Sprayer(OnBuses):
    def record(self):
        (self.machine.out / "drive.csv").write_text(DRIVE, encoding="ascii")
        self.start_candump()
        ended = self.machine.run([program("zemo-demo"), *BUSES, "--drive", "/out/drive.csv", "--capture",
                                  "/out/sprayer.pcap", "--log", "/out/sprayer.log", "--seconds", "120"], 150)
        self.stop_candump()
        return ended

    def test_is_shown_on_the_terminal_to_its_end(self):
        self.assertEqual((self.ended.status, self.ended.errors), (0, ""))
        self.assertIn("10.0 km/h, 2.0 m, 6.7 l/min, 9.0 l left   sections .#....   Spraying", self.ended.text)
        self.assertIn("the application has 250, before 200", self.ended.text)

    def test_is_heard_by_candump_frame_by_frame(self):
        self.assert_heard("sprayer.log")

    def test_has_a_capture_that_names_the_commands(self):
        self.assertGreater(self.dissected("sprayer.pcap"), 500)
        self.assertEqual(self.dissected("candump.log"), len(self.frames("candump.log")))
        told = self.tshark("sprayer.pcap", "-T", "fields", "-e", "_ws.col.Info")
        for what in ("[ECU2VT] Working Set Maintenance, VT version is 4",
                     "[VT2ECU] There can be enough memory, VT Version is 4",
                     "[ECU2VT] Numeric value of Object ID 0x0579 should change to 0x64",
                     "[VT2ECU] Numeric value of Object ID 0x0579 has changed to 0x64",
                     "[TP.DT] String value of Object ID 0x0515 should change to Pulv"):
            self.assertTrue(any(line.startswith(what) for line in told), f"nobody says: {what}")


class TwoPrograms(OnBuses):
    """The console application and the service tool, which know each other from the bus only."""

    def record(self):
        self.start_candump()
        application = self.machine.start_job([program("zemo-console-app"), *BUSES, "--log", "/out/application.log"])
        limit = time.monotonic() + LIMIT
        while b"On the bus at addresses" not in application.stdout:
            self.assertLess(time.monotonic(), limit, application.stderr)
            time.sleep(0.05)
        tool = self.machine.run([program("zemo-service-tool"), "--can0", "socketcan:vcan0", "--capture",
                                 "/out/tool.pcap", "--log", "/out/tool.log", "--seconds", "60"], 100)
        application.signal("TERM")
        ended = application.wait(LIMIT)
        self.stop_candump()
        return ended, tool

    def test_end_well_and_the_tool_has_found_both_functions(self):
        application, tool = self.ended
        self.assertEqual((application.status, application.errors), (0, ""))
        self.assertEqual(application.text, "On the bus at addresses 128 and 129\nClosed\n")
        self.assertEqual((tool.status, tool.errors), (0, ""))
        for address in ("128", "129"):
            self.assertRegex(tool.text, rf"\b{address}\b")

    def test_have_both_heard_what_candump_has_heard(self):
        self.assert_heard("application.log")
        # The tool came later and went sooner, and listens to the ISOBUS only.
        heard = by_sender(self.frames("candump.log"))
        for sender, frames in by_sender(self.frames("tool.log")).items():
            self.assertEqual(sender[0], "can0")
            self.assertTrue(is_part(frames, heard[sender]), sender)

    def test_have_a_capture_of_sound_frames(self):
        self.assertEqual(self.dissected("tool.pcap"), len(self.frames("tool.log")))
        self.assertGreater(len(self.frames("tool.log")), 30)
