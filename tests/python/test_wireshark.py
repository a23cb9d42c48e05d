"""The captured demonstrations, read by Wireshark's ISObus dissector.

Every frame is dissected as ISObus, none is malformed, and messages of several packets are put together again: the
identification texts of the survey, the commands and texts of the sprayer's screen.
"""

import binascii
import os
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77


def tshark(capture, *arguments):
    command = ["tshark", "-r", capture, "-d", "can.subdissector,isobus", *arguments]
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=True, timeout=60)
    return result.stdout.decode().splitlines()


def expect(condition, what):
    if not condition:
        print("FAILED: " + what)
        sys.exit(1)


def expect_equal(actual, expected, what):
    expect(actual == expected, "%s: %r instead of %r" % (what, actual, expected))


def reassembled(capture):
    """The messages of more than one packet: (source address, PGN, data)."""
    messages = []
    for line in tshark(capture, "-T", "fields", "-E", "separator=;", "-Y", "isobus.reassembled.data",
                       "-e", "isobus.src_addr", "-e", "isobus.reassembled.data"):
        source, data = line.split(";")
        data = binascii.unhexlify(data.replace(":", ""))
        # The dissector puts the PGN of the request to send in front of the data.
        messages.append((int(source, 0), int.from_bytes(data[:3], "little"), data[3:]))
    return messages


def expect_sound(capture, fewest):
    frames = tshark(capture, "-T", "fields", "-e", "frame.protocols")
    expect(len(frames) > fewest, "only %d frames were captured" % len(frames))
    expect_equal({protocols[:10] for protocols in frames}, {"can:isobus"}, "protocols of the frames")
    expect_equal(tshark(capture, "-Y", "_ws.malformed"), [], "malformed frames")
    return frames


def look_at_the_sprayer(build, folder):
    """Each command of the screen is told by name, and the terminal says to each that it is done."""
    capture = os.path.join(folder, "sprayer.pcap")
    subprocess.run([os.path.join(build, "examples", "zemo-demo"), "--capture", capture], stdout=subprocess.DEVNULL,
                   check=True, timeout=120)
    expect_sound(capture, 20000)
    told = tshark(capture, "-T", "fields", "-e", "_ws.col.Info")
    for what in ("[ECU2VT] Working Set Maintenance, VT version is 4",
                 "[VT2ECU] There can be enough memory, VT Version is 4",
                 "[ECU2VT] Numeric value of Object ID 0x0579 should change to 0x52",
                 "[VT2ECU] Numeric value of Object ID 0x0579 has changed to 0x52",
                 "[ECU2VT] Object ID 0x076C should show", "[VT2ECU] Object ID 0x076C is now shown",
                 "[TP.DT] String value of Object ID 0x0515 should change to Pulv"):
        expect(any(line.startswith(what) for line in told), "nobody says: " + what)
    return len(told)


def main(build):
    if shutil.which("tshark") is None:
        print("skipped: tshark is not installed")
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        capture = os.path.join(folder, "demo.pcap")
        log = os.path.join(folder, "demo.log")
        values = os.path.join(folder, "values.json")
        with open(values, "w", encoding="utf-8") as file:
            file.write('{"bootLoaderVersion": "B7", "osVersion": "OS-3.1", "serialNumber": "SN567890",'
                       ' "partNumber": "4711.6", "hardwareVariant": "2", "vin": "WXY12345678901234",'
                       ' "virtualTerminalVersion": 4, "hardwareVersion": 5, "certification":'
                       ' {"year": 2021, "revision": 5, "laboratoryType": 1, "laboratoryId": 66,'
                       ' "referenceNumber": 1234}}')
        subprocess.run([os.path.join(build, "examples", "zemo-survey-demo"), "--values", values, "--capture", capture,
                        "--log", log], stdout=subprocess.DEVNULL, check=True, timeout=60)

        frames = expect_sound(capture, 50)
        ecu = b"4711.6*SN567890*Armrest*Console*ZEMO*000118*"
        product = b"WXY12345678901234*Tovra**"
        messages = reassembled(capture)
        for address in (128, 129):
            expect((address, 0xFDC5, ecu) in messages, "no ECU identification of %d in %r" % (address, messages))
            expect((address, 0xFC8D, product) in messages, "no product identification of %d" % address)
            software = [data for source, pgn, data in messages if source == address and pgn == 0xFEDA]
            expect_equal(len(software), 1, "software identifications of %d" % address)
            expect_equal(software[0][0], 3, "count of the software fields")
            expect(software[0].endswith(b"*OS-3.1*B7*"), "software identification %r" % software[0])
            expect(b"#ZEMOLib.891.170906.0046#" in software[0], "software identification %r" % software[0])

        with open(log, encoding="ascii") as file:
            isobus = [line for line in file if line.split()[1] == "can0"]
        expect_equal(len(isobus), len(frames), "frames of can0 in the log")
        commands = look_at_the_sprayer(build, folder)
    print("survey: %d frames, %d multi-packet messages; sprayer: %d frames" % (len(frames), len(messages), commands))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
