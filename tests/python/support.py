"""What the tests with python-can have in common: the bus server as a child on a free port, and clients on its buses.

A test is a program: python3 test_NAME.py BUILD_FOLDER. It ends with 77 where python-can is missing.
"""

import logging
import os
import signal
import subprocess
import sys
import time
import unittest

try:
    import can
except ImportError:
    print("python-can is not installed")
    sys.exit(77)

sys.dont_write_bytecode = True
logging.getLogger("can").setLevel(logging.ERROR)  # it warns of every frame that two reads divide
BUILD_FOLDER = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else os.getcwd()
LONGEST_WAIT = 10.0  # seconds; reached only where a test fails


class BusServer:
    """The bus server, from the beginning of a with block to its end."""

    def __init__(self, *options):
        self._options = list(options)
        self.port = None
        self.summary = None
        self.exit_status = None

    def __enter__(self):
        program = os.path.join(BUILD_FOLDER, "tools", "zemo-bus-server")
        self._process = subprocess.Popen(
            [program, "--port", "0"] + self._options, stdout=subprocess.PIPE, text=True)
        line = self._process.stdout.readline()
        prefix = "listening on 127.0.0.1:"
        if not line.startswith(prefix):
            self._process.kill()
            self._process.wait()
            self._process.stdout.close()
            raise RuntimeError("the bus server said " + repr(line))
        self.port = int(line[len(prefix):])
        return self

    def __exit__(self, *_):
        self._process.send_signal(signal.SIGTERM)
        self.summary, _ = self._process.communicate(timeout=LONGEST_WAIT)
        self.exit_status = self._process.returncode

    def address(self, bus="can0"):
        """The bus as the programs of this project take it: --can0 ADDRESS."""
        return f"socketcand:127.0.0.1:{self.port}/{bus}"

    def client(self, bus="can0"):
        """A client of python-can; shutdown() ends it."""
        return can.Bus(interface="socketcand", channel=bus, host="127.0.0.1", port=self.port)


def frame(identifier, data=b""):
    """An extended data frame; data as bytes or as text, "00 EE 00"."""
    payload = bytes.fromhex(data) if isinstance(data, str) else bytes(data)
    return can.Message(arbitration_id=identifier, is_extended_id=True, data=payload)


def receive(client, identifier=None, mask=0x1FFFFFFF):
    """The next frame whose identifier is the given one in the bits of the mask; fails when none comes."""
    deadline = time.monotonic() + LONGEST_WAIT
    while time.monotonic() < deadline:
        message = client.recv(deadline - time.monotonic())
        if message is not None and (identifier is None or message.arbitration_id & mask == identifier & mask):
            return message
    raise AssertionError("no such frame has come")


def run():
    unittest.main(argv=[sys.argv[0]] + sys.argv[2:], verbosity=2)
