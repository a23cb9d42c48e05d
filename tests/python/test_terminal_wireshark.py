"""The terminal's messages, read by Wireshark's ISObus dissector.

A client that speaks frames goes through the start, every command, and the operator's input. No frame of the terminal is
malformed, and the dissector finds in each the function that was meant.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import time

from support import BUILD_FOLDER, LONGEST_WAIT, BusServer

import can

SKIPPED = 77
TERMINAL, CLIENT = 0x26, 0x80

POOL = bytes.fromhex(
    "01 00 00 00 01 02 00 00 00 00"
    " 02 00 01 01 03 00 07 00 05 00 00 00 00 00 06 00 00 00 00 00 07 00 00 00 00 00 08 00 00 00 00 00 09 00 00 00 00 00"
    " 0A 00 00 00 00 00 10 00 00 00 00 00"
    " 03 00 04 0C 01 00 04 00"
    " 04 00 05 0C 07 00 00"
    " 05 00 09 50 00 14 00 07 0B 00 00 FF FF 05 00 00 00 00 00 00 00 E8 03 00 00 00 00 00 00 00 00 80 3F 00 00 00 03 00"
    " 06 00 08 50 00 14 00 07 0B 00 FF FF 00 0E 00 00 00 01 00"
    " 07 00 0A 50 00 14 00 FF FF 00 02 01 00 08 00 FF FF"
    " 08 00 0B 50 00 14 00 07 0B 00 00 FF FF 00 05 00 48 65 6C 6C 6F 00"
    " 09 00 06 50 00 1E 00 07 00 09 00 00 00"
    " 0A 00 03 64 00 64 00 00 00 00"
    " 0B 00 17 00 03 00 00 00"
    " 0C 00 0D 0D 00 0A 00 0A 00 00 00"
    " 0D 00 18 00 01 FF FF 00"
    " 0E 00 16 04 00 41 42 43 44"
    " 0F 00 02 0C FF FF 01 00 00 00"
    " 10 00 10 14 00 14 00 0D 00 FF FF 00 02 00 00 00 00 00 0A 00 00 00"
    " 11 00 19 00 00 FF FF 00"
    " 12 00 1C 08 00 A7 02 00 02 FF FF FF FF")

COMMANDS = [
    "C0 FF 00 00 00 00", "C2", "C3", "C7", "DF", "D0 56 31 20 20 20 20 20", "D1 56 31 20 20 20 20 20",
    "D2 56 31 20 20 20 20 20", "A0 0A 00 01", "A1 05 00 01", "A2 05 00 FF", "A3 01 B8 01 64 00 64 00", "A4 32",
    "A5 02 00 05 00 89 75", "A6 08 00 21 00 2C 00", "A7 02 00 0C", "A8 05 00 FF 2A 00 00 00", "A9 0C 00 1E 00 28 00 01",
    "AA 0B 00 0F 0E 00 03", "AB 0D 00 0F 03 AA AA", "AC 11 00 02 0F FF FF", "AD 01 00 02 00", "AE 01 02 00 03 00",
    "AF 05 00 0A 00 00 20 40", "B0 0F 00 02", "B1 07 00 01 05 00", "B3 08 00 02 00 48 69", "B6 10 00 01 0A 00 14 00",
    "B7 10 00 28 00 0A 00", "B9 05 00 0A", "BD 01 02 00 00 00", "BD 00 02 00 00 00", "BE 12",
]
INPUT = ["key 4 click", "button 9 click", "point 1 2 press", "select 5", "open 5", "escape", "number 5 7", "text 6 AB"]

# What the dissector makes of it.
EXPECTED = [
    "Current master is 254 data mask is NULL", "object pool accepted", "VT Version is 4", "64 virtual soft keys and 8 physical",
    "screen is 480 by 480 pixels", "Version successfully stored", "Version successfully loaded",
    "Version successfully deleted", "Object ID 0x000A is now shown", "Object ID 0x0005 is now enabled",
    "Object ID 0x0005 is selected", "Control audio signal successful", "Set audio volume successful",
    "Change child location of Object ID 0x0005 in Object ID 0x0002 succeeded", "Change size of Object ID 0x0008 succeeded",
    "Background colour of Object ID 0x0002 has changed", "Numeric value of Object ID 0x0005 has changed to 0x2A",
    "Font attributes of Object ID 0x000B successfully changed", "Line attributes of Object ID 0x000D successfully changed",
    "Fill attributes of Object ID 0x0011 successfully changed", "Active mask successfully changed to Object ID 0x0002",
    "Soft key mask of Object ID 0x0002 successfully changed to Object ID 0x0003",
    "Attribute ID 10 of Object ID 0x0005 has successfully changed",
    "Priority of alarm mask with Object ID 0x000F has successfully changed to 2",
    "Object ID 0x0005 was successfully added to Object ID 0x0007 at index 1", "String value of Object ID 0x0008 has changed",
    "Polygon point successfully changed", "successfully changed to width 40 and height 10", "value is 0x40200000",
    "Locking successful", "Unlocking successful", "Macro Object ID 0x0012 successfully executed",
    "Change child position of Object ID 0x0005 in Object ID 0x0002 succeeded",
    "Current master is 128 data mask is Object ID 0x0002 soft key mask is Object ID 0x0003",
    "Key Object ID 0x0004 of parent Object ID 0x0002 has been pressed",
    "Key Object ID 0x0004 of parent Object ID 0x0002 has been released",
    "Button Object ID 0x0009 of parent Object ID 0x0002 has been pressed", "Touch at [1;2] has been pressed",
    "Object ID 0x0005 was selected by VT", "ESC button was pressed while Object ID 0x0005 was selected",
    "VT Numeric value of Object ID 0x0005 should change to 0x7",
    "VT String value of Object ID 0x000E should change to AB", "Object pool was successfully deleted",
]


def expect(condition, what):
    if not condition:
        print("FAILED: " + what)
        sys.exit(1)


class Client:
    """A control function that claims an address and says what it is told."""

    def __init__(self, bus):
        self._bus = bus

    def frame(self, identifier, text):
        data = bytes.fromhex(text)
        self._bus.send(can.Message(arbitration_id=identifier, is_extended_id=True, data=data))

    def say(self, text):
        self.frame(0x14E70000 | TERMINAL << 8 | CLIENT, (text + " FF" * 8)[: 8 * 3 - 1])

    def hear(self, identifier, first):
        """The data of the next frame of the terminal with this identifier that begins with this byte."""
        end = time.monotonic() + LONGEST_WAIT
        while True:
            message = self._bus.recv(LONGEST_WAIT)
            expect(message is not None and time.monotonic() < end, "nothing came for %08X %02X" % (identifier, first))
            if message.arbitration_id == identifier and message.data[0] == first:
                return bytes(message.data)

    def say_long(self, data):
        """RTS, and data as the terminal asks for them."""
        packets = (len(data) + 6) // 7
        self.frame(0x1CEC0000 | TERMINAL << 8 | CLIENT,
                   "10 %02X %02X %02X FF 00 E7 00" % (len(data) & 255, len(data) >> 8, packets))
        sent = 0
        while sent < packets:
            answer = self.hear(0x1CEC0000 | CLIENT << 8 | TERMINAL, 0x11)
            for number in range(answer[2], answer[2] + answer[1]):
                part = data[(number - 1) * 7:number * 7].ljust(7, b"\xff")
                self.frame(0x1CEB0000 | TERMINAL << 8 | CLIENT, (bytes([number]) + part).hex())
                sent = number
        # The terminal may answer before it acknowledges: nobody waits for the acknowledgement here.


def talk(client, terminal):
    answer = 0x1CE60000 | CLIENT << 8 | TERMINAL
    client.hear(0x1CE6FF00 | TERMINAL, 0xFE)
    client.frame(0x18EEFF00 | CLIENT, "10 00 00 00 00 80 00 A0")
    client.frame(0x1CFE0D00 | CLIENT, "01 FF FF FF FF FF FF FF")
    client.say("FF 01 04")
    client.say_long(b"\x11" + POOL)
    client.say("12")
    data = client.hear(answer, 0x12)
    expect(data[1] == 0, "pool refused: " + data.hex())
    for command in COMMANDS:
        client.say(command)
        code = int(command[:2], 16)
        client.hear(answer, 0xE0 if code == 0xDF else code)
    client.say_long(bytes.fromhex("B4 02 00 05 00 F6 FF 14 00"))
    client.hear(answer, 0xB4)
    for line in INPUT:
        terminal.stdin.write(line + "\n")
        terminal.stdin.flush()
        code = {"key": 0, "button": 1, "point": 2, "select": 3, "open": 3, "escape": 4, "number": 5, "text": 8}
        client.hear(answer, code[line.split()[0]])
    client.say("B2")
    client.hear(answer, 0xB2)


def main():
    if shutil.which("tshark") is None:
        print("skipped: tshark is not installed")
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        capture = os.path.join(folder, "terminal.pcap")
        with BusServer("--capture", capture) as server:
            bus = server.client()
            program = os.path.join(BUILD_FOLDER, "tools", "zemo-terminal")
            terminal = subprocess.Popen([program, "--can0", server.address(), "--quiet"], stdin=subprocess.PIPE,
                                        stdout=subprocess.DEVNULL, text=True)
            try:
                talk(Client(bus), terminal)
                terminal.stdin.write("quit\n")
                terminal.stdin.close()
                expect(terminal.wait(LONGEST_WAIT) == 0, "exit status of the terminal")
            finally:
                terminal.kill()
                terminal.wait()
                bus.shutdown()
        command = ["tshark", "-r", capture, "-d", "can.subdissector,isobus"]
        run = lambda *more: subprocess.run(command + list(more), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                           check=True, timeout=60).stdout.decode().splitlines()
        malformed = run("-Y", "_ws.malformed")
        expect(malformed == [], "malformed: " + "\n".join(malformed))
        info = run("-Y", "isobus.src_addr == 0x26", "-T", "fields", "-e", "_ws.col.Info")
        for what in EXPECTED:
            expect(any(what in line for line in info), "'" + what + "' is not in\n" + "\n".join(info))
    print("%d frames of the terminal" % len(info))
    return 0


if __name__ == "__main__":
    sys.exit(main())
