"""python-can's socketcand interface on the buses of the bus server."""

import unittest

import support


class BusServer(unittest.TestCase):
    def setUp(self):
        self.server = support.BusServer()
        self.server.__enter__()
        self.addCleanup(self.server.__exit__)

    def join(self, bus="can0"):
        client = self.server.client(bus)
        self.addCleanup(client.shutdown)
        return client

    def test_two_clients_exchange_extended_frames(self):
        first, second = self.join(), self.join()
        first.send(support.frame(0x18EAFFFE, "00 EE 00"))
        request = support.receive(second)
        self.assertEqual(request.arbitration_id, 0x18EAFFFE)
        self.assertEqual(bytes(request.data), bytes.fromhex("00 EE 00"))
        self.assertTrue(request.is_extended_id)
        second.send(support.frame(0x18EEFF80, "40 E2 A1 5B 00 1D 00 A0"))
        claim = support.receive(first)
        self.assertEqual(claim.arbitration_id, 0x18EEFF80)
        self.assertEqual(bytes(claim.data), bytes.fromhex("40 E2 A1 5B 00 1D 00 A0"))

    def test_identifiers_of_high_priority_keep_their_zeros(self):
        first, second = self.join(), self.join()
        first.send(support.frame(0x0CFE4821, "FF"))
        first.send(support.frame(0x00000821))
        self.assertEqual(support.receive(second).arbitration_id, 0x0CFE4821)
        empty = support.receive(second)
        self.assertEqual(empty.arbitration_id, 0x00000821)
        self.assertEqual(len(empty.data), 0)

    def test_a_long_burst_arrives_whole_and_in_order(self):
        sender, receiver = self.join(), self.join()
        count = 5000
        for number in range(count):
            sender.send(support.frame(0x1CEBFF80, number.to_bytes(8, "little")))
        numbers = [int.from_bytes(support.receive(receiver).data, "little") for _ in range(count)]
        self.assertEqual(numbers, list(range(count)))

    def test_a_client_can_join_a_bus_that_is_busy(self):
        busy = self.join()
        for _ in range(20):
            for number in range(50):
                busy.send(support.frame(0x18FFFF80, [number] * 8))
            joining = self.join()
            busy.send(support.frame(0x18FFFE80))
            support.receive(joining, 0x18FFFE80)

    def test_buses_are_separate(self):
        first, other, second = self.join("can0"), self.join("can1"), self.join("can0")
        first.send(support.frame(0x18FFFF01, "01"))
        support.receive(second, 0x18FFFF01)
        first.send(support.frame(0x18FFFF02, "02"))
        support.receive(second, 0x18FFFF02)
        self.assertIsNone(other.recv(0))


if __name__ == "__main__":
    support.run()
