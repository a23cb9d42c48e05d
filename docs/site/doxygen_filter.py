#!/usr/bin/python3
"""Reads a header of this tree and prints it as Doxygen understands it.

The headers are written for readers: plain comments, with labels (Takes, Gives, Fails, ...) and tables of examples. Here
a comment right before a declaration becomes its documentation, and that of the declarations that follow without a blank
line; the comment at the top of the header becomes that of the file.
"""

import re
import sys

LABELS = ("Takes", "Gives", "Fails", "Threads", "Effects", "Kept", "Source")
LABEL = re.compile(rf"^(?:{'|'.join(LABELS)})(?= |$)")
FILE_LABEL = re.compile(r"^  ([A-Z][A-Za-z ]*): (.*)$")
NAMESPACES = {"__IsoAgLib": "The namespace of the stack, in which its applications look for these names."}
COMMENT = re.compile(r"^( *)//(?: |$)(.*)$")
ENTRY = re.compile(r"^[a-zA-Z][\w, ]*(?:: |  +\S)")
NAMED = re.compile(r"^\w+(?:, \w+)*: (?=\w)")


def escaped(text):
    text = re.sub(r'([\\@<>&#%"])', r"\\\1", text)
    return text.replace("--", "\\--").replace("::", "\\::")


def verbatim(lines):
    indent = min(len(line) - len(line.lstrip()) for line in lines if line.strip())
    return ["@code{.unparsed}"] + [line[indent:] for line in lines] + ["@endcode"]


def sentence(line):
    """The line without the name that it begins with: "fileExists: true for ..." is said of fileExists already."""
    said = NAMED.sub("", line)
    return said[:1].upper() + said[1:]


def entries(lines):
    """A label's lines; each that begins with an argument begins anew."""
    for number, line in enumerate(lines):
        text = line.strip()
        if number > 0 and ENTRY.match(text):
            yield "<br>"
        yield escaped(re.sub(r"^(\w[\w, ]*?)  +", r"\1: ", text))


class Documentation:
    """Turns the lines of one comment into Doxygen's commands."""

    def __init__(self, lines, is_file):
        self.lines = lines
        self.is_file = is_file
        self.out = []

    def text(self):
        paragraphs = []
        for line in self.lines + [""]:
            if line.strip():
                if not paragraphs or paragraphs[-1] is None:
                    paragraphs.append([])
                if paragraphs[-1] == []:
                    paragraphs[-1] = [line]
                else:
                    paragraphs[-1].append(line)
            elif paragraphs and paragraphs[-1] is not None:
                paragraphs.append(None)
        for number, paragraph in enumerate(part for part in paragraphs if part):
            if number:
                self.out.append("")
            self.paragraph(paragraph, number == 0)
        return self.out

    def paragraph(self, lines, is_first):
        if is_first and not lines[0].startswith(" "):
            body = [line for line in lines if not line.startswith(" ")]
            rest = lines[len(body):]
            first = [sentence(body[0])] + body[1:] if not self.is_file else body
            self.out += ["@brief " + escaped(first[0])] + [escaped(line.strip()) for line in first[1:]]
            if rest:
                self.out.append("")
                self.labelled(rest)
            return
        if self.is_file and any(self.is_nested_label(line) for line in lines):
            self.out += ["<b>" + escaped(lines[0].strip()) + "</b>", ""]
            nested = Documentation([line[2:] for line in lines[1:]], is_file=False)
            nested.labelled(nested.lines)
            self.out += nested.out
        elif any(self.label_of(line) for line in lines):
            self.labelled(lines)
        elif lines[0].startswith("  ") and not self.is_file:
            self.out += verbatim(lines)
        else:
            self.out += [escaped(line.strip()) for line in lines]

    def label_of(self, line):
        if self.is_file:
            match = FILE_LABEL.match(line)
            return (match[1], match[2]) if match else None
        match = LABEL.match(line.strip()) if re.match(r"^ {2,4}\S", line) else None
        return (match[0], line.strip()[match.end():]) if match else None

    @staticmethod
    def is_nested_label(line):
        """The labels of a function in the comment of a file: they hold for a whole group, "Every setter"."""
        return line.startswith("    ") and LABEL.match(line.strip()) is not None

    def labelled(self, lines):
        """Lines with labels; what stands before the first one is text."""
        label, body = None, []
        for line in lines:
            found = self.label_of(line)
            ends = self.is_file and label and not found and re.match(r"^ {0,2}\S", line)
            if found or ends:
                self.finish(label, body)
                label, body = found or (None, line)
                body = [body] if body.strip() else []
            else:
                body.append(line)
        self.finish(label, body)

    def finish(self, label, body):
        if label:
            self.out += [f"@par {label}"] + list(entries(body)) + [""]
        elif body:
            self.out += [escaped(line.strip()) for line in body] + [""]


def documentation(lines, indent, is_file=False):
    head = ["@file"] if is_file else []
    return [f"{indent}/// {line}".rstrip() for line in head + Documentation(lines, is_file).text()]


def statement_end(lines, begin):
    """The last line of the declaration that begins in a line, and whether it opens a body."""
    depth = 0
    for number in range(begin, len(lines)):
        code = re.sub(r"//.*", "", lines[number])
        depth += code.count("(") - code.count(")")
        code = code.rstrip()
        if depth == 0 and code.endswith((";", "}")):
            return number, False
        if depth == 0 and code.endswith("{"):
            return number, True
    return len(lines) - 1, True


TRAILING = re.compile(r"^(.*\S.*?) // (.*)$")


def with_trailing(lines):
    """A comment behind a member is its documentation, and that of the members right below it that have none."""
    out, last = [], ""
    for line in lines:
        match = TRAILING.match(line) if not line.lstrip().startswith(("#", "}")) else None
        last = escaped(match[2]) if match else last if re.fullmatch(r"\s*[\w:<>]+ m_\w+;", line) else ""
        out.append(f"{match[1] if match else line} ///< {last}" if last else line)
    return out


def is_declaration(line):
    return bool(line.strip()) and not re.match(r"^\s*(#|//|\}|public:|private:|protected:)", line)


def filtered(lines):
    out, number, is_top = [], 0, True
    while number < len(lines):
        comment = []
        while number < len(lines) and COMMENT.match(lines[number]):
            comment.append(COMMENT.match(lines[number]))
            number += 1
        if comment:
            indent, texts = comment[0][1], [match[2] for match in comment]
            declares = number < len(lines) and is_declaration(lines[number])
            if is_top:
                out += documentation(texts, "", is_file=True) + [""]
            elif declares:
                number = documented_group(lines, number, documentation(texts, indent), out)
            is_top = False
            continue
        line = lines[number]
        number += 1
        if re.search(r"\) = delete;", line):
            continue  # what cannot be called is no part of the reference
        namespace = re.match(r"^namespace (\w+) \{$", line)
        if namespace:
            out.append(f"/// @brief {NAMESPACES.get(namespace[1], f'The functions of {namespace[1]}.')}")
        out.append(line)
    return with_trailing(out)


def documented_group(lines, number, comment, out):
    """Writes the declarations that a comment is about, each with the comment; returns the number of the next line."""
    while number < len(lines) and is_declaration(lines[number]):
        end, opens = statement_end(lines, number)
        out += comment + lines[number:end + 1] + [""]
        number = end + 1
        if opens:
            break
    return number


def main():
    with open(sys.argv[1], encoding="utf-8") as header:
        print("\n".join(filtered(header.read().splitlines())))


if __name__ == "__main__":
    main()
