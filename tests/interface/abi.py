"""What a library promises in binary: its description, made with abidw, and the comparison of two, made with abidiff.

A description holds the exported symbols with their signatures and the classes that they belong to: sizes, the offsets of
all fields, private ones too, and the slots of virtual functions. Everything else that abidw finds is left out, so that
a description depends neither on folders, flags and the cut of the sources nor on the insides of other people's classes:
these count with their names, and with their sizes where an object holds them by value.
"""

import collections
import os
import re
import shutil
import subprocess
import xml.etree.ElementTree
from xml.sax.saxutils import escape

PROGRAMS = ("abidw", "abidiff")
ABIDW = ("abidw", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs", "--no-elf-needed", "--no-parameter-names",
         "--type-id-style", "hash")
# The harmless changes are those that abidiff would otherwise keep to itself, a renamed enumerator for example.
ABIDIFF = ("abidiff", "--harmless", "--no-show-locs", "--show-bytes", "--show-dec")
STRING = "std::basic_string<char, std::char_traits<char>, std::allocator<char> >"
TYPES = ("type-decl", "class-decl", "union-decl", "enum-decl", "typedef-decl", "pointer-type-def", "reference-type-def",
         "qualified-type-def", "array-type-def", "function-type")


class MissingDebugInformation(Exception):
    pass


def attributes(pairs):
    return "".join(f" {name}='{escape(value, {chr(39): '&apos;'})}'" for name, value in pairs if value is not None)


class Writer:
    def __init__(self):
        self.lines = []
        self.depth = 0

    def open(self, tag, *pairs):
        self.lines.append("  " * self.depth + f"<{tag}{attributes(pairs)}>")
        self.depth += 1

    def close(self, tag):
        self.depth -= 1
        self.lines.append("  " * self.depth + f"</{tag}>")

    def leaf(self, tag, *pairs):
        self.lines.append("  " * self.depth + f"<{tag}{attributes(pairs)}/>")

    def text(self):
        return "\n".join(self.lines) + "\n"


class Description:
    def __init__(self, corpus):
        self.corpus = corpus
        self.elements = {}  # id -> element of a type
        self.namespaces = {}  # id -> names around it
        self.definitions = {}  # spelling -> the element that tells most about it
        self.functions = {}  # symbol -> (names around it, element)
        self.variables = {}
        self.own_classes = set()  # spellings of classes with exported members
        self.symbols = {symbol.get("name") for symbol in corpus.iter("elf-symbol")}
        for part in corpus.findall("abi-instr"):
            self.read(part, ())
        for identity, element in self.elements.items():
            self.define(identity, element)
        self.used = collections.deque()
        self.by_value = set()

    def symbol(self, element):
        """Of a constructor or destructor that for complete objects: which one abidw names depends on the flags."""
        name = element.get("elf-symbol-id")
        complete = re.sub(r"([CD])2(?=E)", r"\g<1>1", name or "")
        return complete if complete in self.symbols else name

    def read(self, parent, names):
        for element in parent:
            if element.tag in ("namespace-decl", "member-type", "member-template"):
                more = (element.get("name"),) if element.tag == "namespace-decl" else ()
                self.read(element, names + more)
            elif element.tag in TYPES:
                self.elements[element.get("id")] = element
                self.namespaces[element.get("id")] = names
                if element.tag in ("class-decl", "union-decl"):
                    self.read(element, names + (element.get("name"),))
            elif element.tag in ("function-decl", "var-decl") and element.get("elf-symbol-id") is not None:
                found = self.functions if element.tag == "function-decl" else self.variables
                found[self.symbol(element)] = (names, element)

    def define(self, identity, element):
        if element.tag == "typedef-decl":
            return
        spelling = self.spelling(identity)
        known = self.definitions.get(spelling)
        if known is None or known.get("is-declaration-only") == "yes":
            self.definitions[spelling] = element
        if any(function.get("elf-symbol-id") for function in element.findall("member-function/function-decl")):
            self.own_classes.add(spelling)

    def resolved(self, identity):
        """Names of types are of no account: the id of what a typedef stands for."""
        while self.elements[identity].tag == "typedef-decl":
            identity = self.elements[identity].get("type-id")
        return identity

    def spelling(self, identity):
        identity = self.resolved(identity)
        element = self.elements[identity]
        inner = element.get("type-id")
        if element.tag == "pointer-type-def":
            return self.spelling(inner) + "*"
        if element.tag == "reference-type-def":
            return self.spelling(inner) + ("&" if element.get("kind") == "lvalue" else "&&")
        if element.tag == "qualified-type-def":
            words = [word for word in ("const", "volatile", "restrict") if element.get(word) == "yes"]
            return " ".join([self.spelling(inner)] + words)
        if element.tag == "array-type-def":
            return self.spelling(inner) + "".join(f"[{bound.get('length')}]" for bound in element.findall("subrange"))
        if element.tag == "function-type":
            parameters = ", ".join(self.spelling_of_parameter(parameter) for parameter in element.findall("parameter"))
            return f"{self.spelling(element.find('return').get('type-id'))} ({parameters})"
        name = "::".join(self.namespaces[identity] + (element.get("name"),))
        return name.replace("std::__cxx11::", "std::").replace(STRING, "std::string")

    def spelling_of_parameter(self, parameter):
        return "..." if parameter.get("is-variadic") == "yes" else self.spelling(parameter.get("type-id"))

    def use(self, identity, by_value=False):
        """Notes a type, and that an object of it lies where it is used; gives its id in the description."""
        identity = self.resolved(identity)
        spelling = self.spelling(identity)
        self.used.append(identity)
        if by_value:
            self.by_value.add(spelling)
            if self.elements[identity].tag in ("qualified-type-def", "array-type-def"):
                self.use(self.elements[identity].get("type-id"), True)
        return spelling

    def written(self):
        writer = Writer()
        writer.open("abi-corpus", *((name, self.corpus.get(name)) for name in ("version", "architecture", "soname")))
        for kind in ("elf-function-symbols", "elf-variable-symbols"):
            symbols = self.corpus.findall(f"{kind}/elf-symbol")
            writer.open(kind)
            for symbol in sorted(symbols, key=lambda symbol: symbol.get("name")):
                writer.leaf("elf-symbol", *((name, value) for name, value in symbol.attrib.items()
                                            if name not in ("alias", "visibility")))
            writer.close(kind)
        first = self.corpus.find("abi-instr")
        writer.open("abi-instr", ("address-size", first.get("address-size")), ("path", "exported"),
                    ("language", first.get("language")))
        self.write_entities(writer)
        writer.close("abi-instr")
        writer.close("abi-corpus")
        return writer.text()

    def write_entities(self, writer):
        functions, variables = {}, {}
        for entities, found, write in ((functions, self.functions, self.write_function),
                                       (variables, self.variables, self.write_variable)):
            for _, (names, element) in sorted(found.items()):
                self.entity(entities, names, write, element)
        for identity, element in self.elements.items():
            if element.tag == "class-decl" and self.spelling(identity) in self.own_classes:
                self.used.append(identity)
        # Now all that is held by value is known.
        types = {}
        for spelling, identity in sorted(self.reachable_types().items()):
            names = self.namespaces[identity] if self.is_named(identity) else ()
            self.entity(types, names, self.write_type, spelling, identity)
        for entities in (types, variables, functions):
            self.write_namespace(writer, entities, ())

    @staticmethod
    def entity(entities, names, write, *what):
        part = Writer()
        write(part, *what)
        entities.setdefault(names, []).append(part.lines)
        for length in range(len(names)):
            entities.setdefault(names[:length], [])

    def write_namespace(self, writer, entities, names):
        for lines in entities.get(names, []):
            writer.lines.extend("  " * writer.depth + line for line in lines)
        for inner in sorted(key for key in entities if len(key) == len(names) + 1 and key[:-1] == names):
            writer.open("namespace-decl", ("name", inner[-1]))
            self.write_namespace(writer, entities, inner)
            writer.close("namespace-decl")

    def is_named(self, identity):
        return self.elements[identity].tag in ("class-decl", "union-decl", "enum-decl", "type-decl")

    def reachable_types(self):
        types = {}
        while self.used:
            identity = self.used.popleft()
            spelling = self.spelling(identity)
            if spelling in types or self.is_member_of_own_class(identity):
                continue
            element = self.definitions[spelling]
            types[spelling] = element.get("id")
            # Writing a type notes the types that it uses.
            self.write_type(Writer(), spelling, element.get("id"))
        return types

    def is_member_of_own_class(self, identity):
        return self.is_named(identity) and "::".join(self.namespaces[identity]) in self.own_classes

    def write_type(self, writer, spelling, identity):
        element = self.elements[identity]
        if element.tag in ("class-decl", "union-decl"):
            self.write_class(writer, spelling, element)
        elif element.tag == "enum-decl":
            self.write_enumeration(writer, spelling, element)
        elif element.tag == "type-decl":
            writer.leaf("type-decl", ("name", element.get("name")), ("is-anonymous", element.get("is-anonymous")),
                        ("size-in-bits", element.get("size-in-bits")), ("id", spelling))
        elif element.tag == "function-type":
            writer.open("function-type", ("id", spelling))
            self.write_parameters(writer, element)
            writer.close("function-type")
        else:
            self.write_derived(writer, spelling, element)

    def write_derived(self, writer, spelling, element):
        pairs = [("type-id", self.use(element.get("type-id")))]
        pairs += [(name, element.get(name)) for name in ("kind", "dimensions", "const", "volatile", "restrict")]
        bounds = element.findall("subrange")
        if not bounds:
            writer.leaf(element.tag, *pairs, ("id", spelling))
            return
        writer.open(element.tag, *pairs, ("id", spelling))
        for bound in bounds:
            writer.leaf("subrange", ("length", bound.get("length")), ("type-id", self.use(bound.get("type-id"))),
                        ("id", f"bound {bound.get('length')}"))
        writer.close(element.tag)

    def write_enumeration(self, writer, spelling, element):
        writer.open("enum-decl", ("name", element.get("name")), ("id", spelling))
        writer.leaf("underlying-type", ("type-id", self.use(element.find("underlying-type").get("type-id"))))
        for enumerator in element.findall("enumerator"):
            writer.leaf("enumerator", ("name", enumerator.get("name")), ("value", enumerator.get("value")))
        writer.close("enum-decl")

    def write_class(self, writer, spelling, element):
        begin = [("name", element.get("name"))]
        size = [("size-in-bits", element.get("size-in-bits"))]
        end = [("is-struct", element.get("is-struct")), ("id", spelling)]
        if spelling not in self.own_classes:
            if spelling in self.by_value:
                writer.leaf(element.tag, *begin, *size, *end)
            else:
                writer.leaf(element.tag, *begin, *end[:-1], ("is-declaration-only", "yes"), end[-1])
            return
        writer.open(element.tag, *begin, *size, *end)
        for base in element.findall("base-class"):
            writer.leaf("base-class", *((name, base.get(name)) for name in ("access", "is-virtual",
                                                                            "layout-offset-in-bits")),
                        ("type-id", self.use(base.get("type-id"), True)))
        for inner in element.findall("member-type/enum-decl"):
            writer.open("member-type", ("access", "public"))
            self.write_enumeration(writer, self.spelling(inner.get("id")), inner)
            writer.close("member-type")
        for member in element.findall("data-member"):
            self.write_field(writer, member)
        members = {}
        for member in element.findall("member-function"):
            members.setdefault(self.symbol(member.find("function-decl")), member)
        members.pop(None, None)
        # Of these abidw tells what the compiler made of them; the symbols and the slots behind theirs are enough.
        members = {symbol: member for symbol, member in members.items() if member.get("destructor") != "yes"}
        for symbol in sorted(members, key=lambda symbol: (self.slot(members[symbol]), symbol)):
            self.write_member_function(writer, members[symbol])
        writer.close(element.tag)

    def write_field(self, writer, member):
        field = member.find("var-decl")
        writer.open("data-member", *((name, member.get(name)) for name in ("access", "static",
                                                                            "layout-offset-in-bits")))
        self.write_variable(writer, field)
        writer.close("data-member")

    @staticmethod
    def slot(member):
        """Behind all slots for those that have none."""
        return int(member.get("vtable-offset", "-1")) % (1 << 32)

    def write_member_function(self, writer, member):
        writer.open("member-function", *((name, member.get(name)) for name in (
            "access", "static", "constructor", "const", "vtable-offset")))
        self.write_function(writer, member.find("function-decl"))
        writer.close("member-function")

    def write_function(self, writer, element):
        writer.open("function-decl", ("name", element.get("name")), ("mangled-name", self.symbol(element)),
                    ("elf-symbol-id", self.symbol(element)))
        self.write_parameters(writer, element)
        writer.close("function-decl")

    def write_parameters(self, writer, element):
        for parameter in element.findall("parameter"):
            if parameter.get("is-variadic") == "yes":
                writer.leaf("parameter", ("is-variadic", "yes"))
            else:
                writer.leaf("parameter", ("type-id", self.use(parameter.get("type-id"), True)),
                            ("is-artificial", parameter.get("is-artificial")))
        writer.leaf("return", ("type-id", self.use(element.find("return").get("type-id"), True)))

    def write_variable(self, writer, element):
        writer.leaf("var-decl", ("name", element.get("name")), ("type-id", self.use(element.get("type-id"), True)),
                    ("mangled-name", element.get("mangled-name")), ("elf-symbol-id", element.get("elf-symbol-id")))


def describe(library):
    result = subprocess.run([*ABIDW, library], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    if not result.stdout:
        raise MissingDebugInformation(result.stderr.strip())
    corpus = xml.etree.ElementTree.fromstring(result.stdout)
    if corpus.find("abi-instr") is None:
        raise MissingDebugInformation(f"{library} holds no debug information")
    return Description(corpus).written()


def differences(recorded, current):
    """What abidiff tells of two description files; nothing where they promise the same."""
    result = subprocess.run([*ABIDIFF, recorded, current], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            check=False)
    return result.stdout if result.returncode != 0 else ""


def unsuitable(cache):
    """Why the library of a build cannot be compared with the records; nothing where it can."""
    if cache.get("CMAKE_BUILD_TYPE", "") not in ("", "RelWithDebInfo"):
        return "the records are of the build type RelWithDebInfo"
    if "-fsanitize" in cache.get("CMAKE_CXX_FLAGS", ""):
        return "a sanitizer changes what a library promises"
    if "clang" in cache["CMAKE_CXX_COMPILER"]:
        return "the debug information of Clang leaves out fields that the records have"
    if cache.get("ZEMO_STRING_ABI", "default") == "old":
        return "the records are of the compiler's own std::string"
    missing = [program for program in PROGRAMS if shutil.which(program) is None]
    return f"{', '.join(missing)} not installed" if missing else ""


def record_of(library, folder):
    """The file of the record for the class of the library."""
    with open(library, "rb") as file:
        elf_class = file.read(5)[4]
    return os.path.join(folder, {1: "i386.abi", 2: "amd64.abi"}[elf_class])
