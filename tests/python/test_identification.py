"""The example application, asked by python-can: a participant that shares no line of code with it.

The application joins the bus server as a process of its own. The test claims nothing from it but what stands on the
wire: claims, answers by BAM and by RTS/CTS, refusals, and the defence of its address.
"""

import os
import signal
import subprocess
import time
import unittest

import support

ECU, PRODUCT, SOFTWARE, CERTIFICATION = 0xFDC5, 0xFC8D, 0xFEDA, 0xFD42
OWN = 0xF9
FIRST, SECOND = 0x80, 0x81
EXPECTED = {
    ECU: b"4711.5*ZC123456*Armrest*Console*ZEMO*000119*",
    PRODUCT: b"ZC123456*Harlow-Mede*R3700*",
    CERTIFICATION: bytes.fromhex("CD BF 5B 00 00 00 00 00"),
}


def pgn_bytes(pgn):
    return pgn.to_bytes(3, "little")


class Identification(unittest.TestCase):
    def setUp(self):
        self.server = support.BusServer()
        self.server.__enter__()
        self.addCleanup(self.server.__exit__)
        self.client = self.server.client()
        self.addCleanup(self.client.shutdown)
        self.application = self.start("60")
        self.addCleanup(self.stop)
        line = self.application.stdout.readline()
        self.assertEqual(line, "On the bus at addresses 128 and 129\n")
        self.drain()

    def start(self, seconds):
        program = os.path.join(support.BUILD_FOLDER, "examples", "zemo-console-app")
        return subprocess.Popen([program, "--can0", self.server.address(), "--seconds", seconds],
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def stop(self):
        if self.application.poll() is None:
            self.application.send_signal(signal.SIGTERM)
        rest, errors = self.application.communicate(timeout=support.LONGEST_WAIT)
        self.assertEqual((rest, errors), ("Closed\n", ""))
        self.assertEqual(self.application.returncode, 0)

    def drain(self):
        """Takes all that the application has sent so far: its frames come in order, these two answers last."""
        for address in (FIRST, SECOND):
            self.request(CERTIFICATION, address)
            support.receive(self.client, 0x18FD4200 | address)

    def request(self, pgn, destination):
        self.client.send(support.frame(0x18EA0000 | destination << 8 | OWN, pgn_bytes(pgn)))

    def receive_directed(self, source, pgn, window=3):
        """Receives a message by RTS/CTS, a few packets at a time."""
        rts = support.receive(self.client, 0x1CECF900 | source)
        self.assertEqual(rts.data[0], 0x10)
        self.assertEqual(bytes(rts.data[5:8]), pgn_bytes(pgn))
        size, packets = int.from_bytes(rts.data[1:3], "little"), rts.data[3]
        self.assertEqual(packets, (size + 6) // 7)
        data = b""
        answer = 0x1CEC0000 | source << 8 | OWN
        for first in range(1, packets + 1, window):
            count = min(window, packets - first + 1)
            self.client.send(support.frame(answer, bytes([0x11, count, first, 0xFF, 0xFF]) + pgn_bytes(pgn)))
            for sequence in range(first, first + count):
                packet = support.receive(self.client, 0x1CEBF900 | source)
                self.assertEqual(packet.data[0], sequence)
                data += bytes(packet.data[1:])
        self.client.send(support.frame(
            answer, bytes([0x13]) + size.to_bytes(2, "little") + bytes([packets, 0xFF]) + pgn_bytes(pgn)))
        self.assertEqual(set(data[size:]) | {0xFF}, {0xFF})
        return data[:size]

    def receive_broadcast(self, source, pgn):
        announce = support.receive(self.client, 0x1CECFF00 | source)
        self.assertEqual(announce.data[0], 0x20)
        self.assertEqual(bytes(announce.data[5:8]), pgn_bytes(pgn))
        size, packets = int.from_bytes(announce.data[1:3], "little"), announce.data[3]
        data = b""
        for sequence in range(1, packets + 1):
            packet = support.receive(self.client, 0x1CEBFF00 | source)
            self.assertEqual(packet.data[0], sequence)
            data += bytes(packet.data[1:])
        return data[:size]

    def test_claims_are_repeated_when_asked_for(self):
        self.client.send(support.frame(0x18EAFFFE, "00 EE 00"))
        claims = {self.receive_claim() for _ in range(2)}
        # Identity 123456, manufacturer 733, function 128, instances 0 and 1, group 2, self-configurable.
        self.assertEqual(claims, {(FIRST, "40e2a15b008000a0"), (SECOND, "40e2a15b088000a0")})

    def receive_claim(self):
        message = support.receive(self.client, 0x18EEFF00, 0x1FFFFF00)
        return message.arbitration_id & 0xFF, bytes(message.data).hex()

    def test_long_texts_come_to_who_asks(self):
        for address in (FIRST, SECOND):
            for pgn in (ECU, PRODUCT):
                self.request(pgn, address)
                self.assertEqual(self.receive_directed(address, pgn), EXPECTED[pgn])

    def test_the_software_text_has_its_count_and_three_fields(self):
        self.request(SOFTWARE, FIRST)
        data = self.receive_directed(FIRST, SOFTWARE, window=255)
        self.assertEqual(data[0], 3)
        fields = data[1:].split(b"*")
        self.assertEqual(fields[1:], [b"3.1", b"1.07", b""])
        self.assertTrue(fields[0].startswith(b"FieldView-1.2.0#ZEMOLib.891.170906.0046#Maps-2.4#"))

    def test_the_certification_comes_in_one_frame(self):
        self.request(CERTIFICATION, FIRST)
        answer = support.receive(self.client, 0x18FD4200 | FIRST)
        self.assertEqual(bytes(answer.data), EXPECTED[CERTIFICATION])

    def test_a_request_to_all_is_answered_to_all_by_both(self):
        self.request(CERTIFICATION, 0xFF)
        answers = {support.receive(self.client, 0x18FD4200, 0x1FFFFF00).arbitration_id & 0xFF for _ in range(2)}
        self.assertEqual(answers, {FIRST, SECOND})
        self.request(PRODUCT, 0xFF)
        self.assertEqual(self.receive_broadcast(FIRST, PRODUCT), EXPECTED[PRODUCT])

    def test_what_is_not_known_is_refused_to_one_and_not_to_all(self):
        self.request(0xFECA, FIRST)
        refusal = support.receive(self.client, 0x18E8FF00 | FIRST)
        self.assertEqual(bytes(refusal.data), bytes([1, 0xFF, 0xFF, 0xFF, OWN]) + pgn_bytes(0xFECA))
        self.request(0xFECA, 0xFF)
        # The next thing that anybody says is the answer to the next question.
        self.request(CERTIFICATION, SECOND)
        self.assertEqual(support.receive(self.client).arbitration_id, 0x18FD4200 | SECOND)

    def test_the_address_is_defended_against_a_higher_name(self):
        self.client.send(support.frame(0x18EEFF00 | FIRST, "FF FF FF FF FF FF FF FF"))
        self.assertEqual(self.receive_claim(), (FIRST, "40e2a15b008000a0"))

    def test_a_lower_name_takes_the_address_and_another_one_is_claimed(self):
        self.client.send(support.frame(0x18EEFF00 | FIRST, "01 00 00 00 00 00 00 00"))
        address, name = self.receive_claim()
        self.assertEqual(name, "40e2a15b008000a0")
        self.assertNotIn(address, (FIRST, SECOND))
        self.assertEqual(self.ask_until_the_claim_stands(address), EXPECTED[CERTIFICATION])

    def ask_until_the_claim_stands(self, address):
        deadline = time.monotonic() + support.LONGEST_WAIT
        while time.monotonic() < deadline:
            self.request(CERTIFICATION, address)
            answer = self.client.recv(0.1)
            if answer is not None and answer.arbitration_id == 0x18FD4200 | address:
                return bytes(answer.data)
        self.fail("the function does not answer at its new address")

    def test_a_second_application_of_the_same_names_gets_no_address_and_disturbs_nobody(self):
        second = self.start("2")
        output, errors = second.communicate(timeout=support.LONGEST_WAIT)
        self.assertEqual(output, "Closed\n")
        self.assertEqual(errors, "zemo-console-app: stopped before both control functions had an address\n")
        self.assertEqual(second.returncode, 1)
        self.drain()
        self.request(CERTIFICATION, FIRST)
        answer = support.receive(self.client, 0x18FD4200 | FIRST)
        self.assertEqual(bytes(answer.data), EXPECTED[CERTIFICATION])

    def test_a_requester_that_dies_disturbs_nobody(self):
        self.request(ECU, FIRST)
        support.receive(self.client, 0x1CECF900 | FIRST)  # the RTS is never answered
        other = self.server.client()
        self.addCleanup(other.shutdown)
        self.request(CERTIFICATION, SECOND)
        support.receive(self.client, 0x18FD4200 | SECOND)
        abort = support.receive(self.client, 0x1CECF900 | FIRST)
        self.assertEqual(bytes(abort.data), bytes([0xFF, 3, 0xFF, 0xFF, 0xFF]) + pgn_bytes(ECU))
        self.request(ECU, FIRST)
        self.assertEqual(self.receive_directed(FIRST, ECU), EXPECTED[ECU])


if __name__ == "__main__":
    support.run()
