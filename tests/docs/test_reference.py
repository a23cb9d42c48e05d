"""Every name that the library exports has an entry in the reference, with words of its own."""

import collections
import pathlib
import re
import shutil
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "docs" / "site"))
import doxygen_filter  # noqa: E402
import reference  # noqa: E402

NOT_AVAILABLE = 77
EXPORTED_NAMES = ROOT / "tests" / "data" / "exported_names.txt"
TYPES = {"uint8_t": "unsigned char", "uint16_t": "unsigned short", "uint32_t": "unsigned int", "int8_t": "signed char",
         "int16_t": "short", "int32_t": "int", "ZemoAppType_e": "__IsoAgLib::ZemoAppType_e"}


def canonical(name):
    """A demangled name as the headers could say it: std::string, no allocators, no blanks; thunks are gone."""
    name = re.sub(r"\[abi:\w+\]|(?<=\)) const$", "", name)
    name = re.sub(r"std::(?:__cxx11::)?basic_string<char, std::char_traits<char>, std::allocator<char> >", "std::string",
                  name)
    name = re.sub(r", std::allocator<[^<>]*> ?(?=>)", "", name)
    return name.replace(" ", "")


def exported():
    """The names of the dynamic symbol table that stand in a header: no tables of classes, each structor once."""
    lines = EXPORTED_NAMES.read_text(encoding="utf-8").splitlines()
    return {canonical(line) for line in lines
            if line and not line.startswith(("#", "vtable for", "typeinfo", "non-virtual thunk"))}


def normal_type(text):
    """A type as the demangler writes it: "char const*", not "const char *"."""
    for short, written in TYPES.items():
        text = re.sub(rf"(?<![\w:]){short}(?!\w)", written, text)
    text = re.sub(r"< *const ([\w:]+)", r"<\1 const", text.strip())
    return re.sub(r"^const ((?:unsigned |signed )?[\w:]+(?:<.*>)?)", r"\1 const", text)


class Entry:
    """A function, class or variable of the reference."""

    def __init__(self, name, parameters, member):
        self.name = name
        self.parameters = parameters
        self.words = words_of(member, "briefdescription")

    def symbol(self):
        return self.name if self.parameters is None else canonical(f"{self.name}({','.join(self.parameters)})")


def words_of(element, *parts):
    return " ".join(" ".join(element.find(part).itertext()) for part in parts).split()


def entries(xml):
    """Every function and variable that Doxygen knows, classes besides, by what they are called."""
    found = []
    for path in sorted(xml.glob("*.xml")):
        for compound in ElementTree.parse(path).getroot().iter("compounddef"):
            scope = compound.findtext("compoundname") if compound.get("kind") in ("class", "namespace") else ""
            for member in compound.iter("memberdef"):
                if member.get("kind") not in ("function", "variable") or member.get("prot") == "private":
                    continue
                found.append(entry_of(member, scope))
    return found


def entry_of(member, scope):
    name = member.findtext("name")
    qualified = f"{scope}::{name}" if scope else name
    if member.get("kind") == "variable":
        return Entry(qualified, None, member)
    types = ["".join(parameter.find("type").itertext()) + (parameter.findtext("array") or "")
             for parameter in member.iter("param")]
    return Entry(qualified, [normal_type(text) for text in types if text not in ("void", "...")], member)


class Filter(unittest.TestCase):
    def filtered(self, text):
        return "\n".join(doxygen_filter.filtered(text.splitlines()))

    def test_a_comment_belongs_to_the_declarations_right_below_it(self):
        text = self.filtered("// Top.\n#pragma once\n\n// one: says it.\nvoid one(int a,\n         int b);\nvoid two();\n"
                             "\nvoid three();\n")
        self.assertEqual(text.count("/// @brief Says it."), 2)
        self.assertIn("/// @brief Says it.\nvoid two();", text)
        self.assertTrue(text.endswith("void three();"))
        self.assertTrue(text.startswith("/// @file\n/// @brief Top."))

    def test_a_comment_that_stands_alone_documents_nothing(self):
        self.assertNotIn("Alone", self.filtered("// Top.\n\n// Alone.\n\nvoid one();\n"))

    def test_signs_of_doxygen_in_a_comment_are_text(self):
        self.assertIn(r"/// @brief Prints \%d \@ \<a\> \\n \--a.",
                      self.filtered("// Top.\n\n// Prints %d @ <a> \\n --a.\nvoid one();"))

    def test_labels_become_paragraphs_and_tables_stay_as_they_are(self):
        text = self.filtered("// Top.\n\n// One.\n//\n//   Takes    a: first\n//            b: second\n//\n"
                             "//   in    out\n//   1     2\nvoid one(int a, int b);")
        self.assertIn("/// @par Takes\n/// a: first\n/// <br>\n/// b: second\n", text)
        self.assertIn("/// @code{.unparsed}\n/// in    out\n/// 1     2\n/// @endcode", text)


class Reference(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="zemo-reference-")
        cls.addClassCleanup(cls.folder.cleanup)
        reference.make(pathlib.Path(cls.folder.name))
        cls.entries = entries(pathlib.Path(cls.folder.name) / "xml")

    def test_every_exported_name_has_an_entry(self):
        names = exported()
        self.assertGreater(len(names), 150)
        documented = {entry.symbol() for entry in self.entries if entry.words}
        c_functions = {entry.name for entry in self.entries if entry.words and "::" not in entry.name}
        missing = {name for name in names - documented if "(" in name or name not in c_functions}
        self.assertEqual(sorted(missing), [])

    def test_every_entry_has_words(self):
        self.assertEqual(sorted(entry.symbol() for entry in self.entries if not entry.words), [])

    def test_every_family_has_a_page_with_words(self):
        pages = collections.Counter()
        for path in (pathlib.Path(self.folder.name) / "xml").glob("*_8h.xml"):
            (compound,) = ElementTree.parse(path).getroot().iter("compounddef")
            words = words_of(compound, "briefdescription", "detaileddescription")
            pages[compound.findtext("compoundname")] = len(words)
        headers = {path.name for path in (ROOT / "Utils" / "include").glob("*.h")} - {"ZemoExport.h"}
        self.assertEqual({name for name, words in pages.items() if words > 5 and name in headers}, headers)


if __name__ == "__main__":
    if not shutil.which("doxygen"):
        print("doxygen is not installed")
        sys.exit(NOT_AVAILABLE)
    unittest.main(argv=sys.argv[:1], verbosity=2)
