"""The conversions of Unicode text, compared with Python's codecs: every code point, and every sequence that may be one.

A test is a program: python3 test_NAME.py BUILD_FOLDER. It ends with 77 where this Python cannot load the library.
"""

import ctypes
import itertools
import os
import random
import struct
import sys
import unittest

sys.dont_write_bytecode = True
BUILD_FOLDER = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else os.getcwd()

OK, EXHAUSTED, NO_ROOM, ILLEGAL = range(4)
STRICT, LENIENT = 0, 1
UNIT = {8: ctypes.c_uint8, 16: ctypes.c_uint16, 32: ctypes.c_uint32}
CODEC = {8: "utf-8", 16: "utf-16-le", 32: "utf-32-le"}
FORMS = list(itertools.permutations((8, 16, 32), 2))


def load():
    with open(os.path.join(BUILD_FOLDER, "CMakeCache.txt"), encoding="utf-8") as cache:
        flags = next((line for line in cache if line.startswith("CMAKE_CXX_FLAGS:")), "")
    if "-fsanitize" in flags:
        print("the library has sanitizers and Python has not")
        sys.exit(77)
    if "-m32" in flags and struct.calcsize("P") == 8:
        print("a library of 32 bit cannot be loaded into a Python of 64 bit")
        sys.exit(77)
    # The library takes the names of stack and console from the program.
    for name in ("libzemoconsole_host.so", "libisoaglib_host.so"):
        ctypes.CDLL(os.path.join(BUILD_FOLDER, "platform", name), mode=ctypes.RTLD_GLOBAL)
    return ctypes.CDLL(os.path.join(BUILD_FOLDER, "Utils", "libzemoUtils.so"))


LIBRARY = load()
CONVERTERS = {form: getattr(LIBRARY, "ConvertUTF{}toUTF{}".format(*form)) for form in FORMS}
for converter in CONVERTERS.values():
    converter.argtypes = [ctypes.c_void_p] * 4 + [ctypes.c_int]
    converter.restype = ctypes.c_int
LIBRARY.isStringLegalUTF8.argtypes = [ctypes.c_char_p, ctypes.c_int]
LIBRARY.isStringLegalUTF8.restype = ctypes.c_bool


class Conversion:
    """Buffers that are used again for each conversion of a form."""

    def __init__(self, form, room=1 << 23):  # bytes
        self._converter = CONVERTERS[form]
        self._room = room
        self._target = ctypes.create_string_buffer(room)
        self._target_address = ctypes.addressof(self._target)
        self._source_cursor = ctypes.c_void_p()
        self._target_cursor = ctypes.c_void_p()
        self._by_reference = (ctypes.byref(self._source_cursor), ctypes.byref(self._target_cursor))

    def run(self, source, flags=STRICT):
        """Bytes to (result, bytes taken, bytes written)."""
        address = ctypes.cast(source, ctypes.c_void_p).value
        self._source_cursor.value = address
        self._target_cursor.value = self._target_address
        result = self._converter(self._by_reference[0], address + len(source), self._by_reference[1],
                                 self._target_address + self._room, flags)
        written = self._target_cursor.value - self._target_address
        return result, self._source_cursor.value - address, ctypes.string_at(self._target_address, written)


def sequence_length(lead):
    """By the lead byte alone."""
    return 1 + sum(lead >= first for first in (0xC0, 0xE0, 0xF0, 0xF8, 0xFC))


def passes_besides(text):
    """Whether a text has what Python refuses and the library takes: after ED and F4 a second byte below 80."""
    return any(
        lead in (0xED, 0xF4) and second < 0x80 and all(0x80 <= byte <= 0xBF for byte in text[place + 2:place + size])
        and place + size <= len(text)
        for place, (lead, second) in enumerate(zip(text, text[1:])) for size in [sequence_length(lead)])


def expected_from_utf8(text, target):
    """(result, bytes taken, bytes written) by Python's codec."""
    try:
        return OK, len(text), text.decode("utf-8").encode(CODEC[target])
    except UnicodeDecodeError as error:
        good = text[:error.start]
        is_cut = error.start + sequence_length(text[error.start]) > len(text)
        return EXHAUSTED if is_cut else ILLEGAL, len(good), good.decode("utf-8").encode(CODEC[target])


class AllCodePoints(unittest.TestCase):
    def test_all_in_one_text_in_every_form(self):
        text = "".join(map(chr, itertools.chain(range(0xD800), range(0xE000, 0x110000))))
        for form in FORMS:
            source = text.encode(CODEC[form[0]])
            with self.subTest(form=form):
                self.assertTrue(Conversion(form).run(source) == (OK, len(source), text.encode(CODEC[form[1]])))

    def test_each_alone_in_every_form(self):
        for form in FORMS:
            conversion = Conversion(form, 64)
            for character in map(chr, itertools.chain(range(0xD800), range(0xE000, 0x110000, 7))):
                source = character.encode(CODEC[form[0]])
                if conversion.run(source) != (OK, len(source), character.encode(CODEC[form[1]])):
                    self.fail(f"{form}: U+{ord(character):04X}")

    def test_each_surrogate_alone_stops_or_goes_on(self):
        for source in (16, 32):
            for target in {8, 16, 32} - {source}:
                conversion = Conversion((source, target), 64)
                for value in range(0xD800, 0xE000):
                    units = chr(value).encode(CODEC[source], "surrogatepass") + "a".encode(CODEC[source])
                    seen = "\uFFFD" if source == 32 else chr(value)
                    lenient = (seen + "a").encode(CODEC[target], "surrogatepass")
                    self.assertEqual(conversion.run(units), (ILLEGAL, 0, b""))
                    self.assertEqual(conversion.run(units, LENIENT), (OK, len(units), lenient))


class Sequences(unittest.TestCase):
    """Sequences as Python's strict decoder judges them."""

    some_bytes = bytes.fromhex("00417f808f909fa0bfc0e0edf0f4ff")

    def setUp(self):
        self._conversions = [(target, Conversion((8, target), 256)) for target in (16, 32)]

    def compare(self, text):
        for target, conversion in self._conversions:
            if conversion.run(text) != expected_from_utf8(text, target) and not passes_besides(text):
                self.fail(f"to UTF-{target}: {text.hex(' ')}: {conversion.run(text)}")
        is_legal = expected_from_utf8(text, 16)[0] == OK
        if LIBRARY.isStringLegalUTF8(text + bytes(8), len(text)) != is_legal and not passes_besides(text):
            self.fail(f"the check: {text.hex(' ')}")

    def test_one_byte(self):
        for byte in range(256):
            self.compare(bytes((byte,)))

    def test_two_bytes(self):
        for text in itertools.product(range(256), repeat=2):
            self.compare(bytes(text))

    def test_three_bytes(self):
        for text in itertools.product(range(0x7F, 256), range(256), self.some_bytes):
            self.compare(bytes(text))

    def test_four_bytes(self):
        for text in itertools.product(range(0xEF, 0xF9), range(0x70, 256), self.some_bytes, self.some_bytes):
            self.compare(bytes(text))

    def test_what_passes_besides_is_no_text_for_python_and_has_its_value(self):
        # The value is what the bytes and the offset of their number add up to.
        for second in range(0x80):
            for text, offset in ((bytes((0xED, second, 0x80)), 0xE2080), (bytes((0xF4, second, 0xBF, 0x80)), 0x3C82080)):
                value = 0
                for byte in text:
                    value = value * 64 + byte
                self.assertRaises(UnicodeDecodeError, text.decode, "utf-8")
                self.assertEqual(self._conversions[1][1].run(text), (OK, len(text), struct.pack("<I", value - offset)))


class RandomTexts(unittest.TestCase):
    def test_texts_of_mixed_scripts_in_every_form(self):
        choose = random.Random(1)
        ranges = ((0x20, 0x7F), (0xA0, 0x250), (0x400, 0x500), (0x4E00, 0x9FFF), (0x1F300, 0x1F6FF))
        for form in FORMS:
            conversion = Conversion(form, 1 << 16)
            for _ in range(2000):
                text = ""
                while len(text) < choose.randrange(1, 300):
                    first, last = choose.choice(ranges)
                    text += "".join(chr(choose.randint(first, last)) for _ in range(choose.randrange(1, 30)))
                source = text.encode(CODEC[form[0]])
                self.assertEqual(conversion.run(source), (OK, len(source), text.encode(CODEC[form[1]])))

    def test_texts_with_broken_bytes(self):
        choose = random.Random(2)
        sequences = Sequences()
        sequences.setUp()
        for _ in range(20000):
            text = bytearray("".join(choose.choice("ab\xE9\u20AC\U0001F600") for _ in range(choose.randrange(1, 60))),
                             "utf-8")
            for _ in range(choose.randrange(3)):
                text[choose.randrange(len(text))] = choose.randrange(256)
            sequences.compare(bytes(text[:choose.randrange(1, len(text) + 1)]))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
