"""The site can be built, holds every document and needs no network; every link of it and of the tree leads somewhere."""

import html.parser
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "docs" / "site"))
import build_site  # noqa: E402
import check_links  # noqa: E402
import markdown  # noqa: E402

NOT_AVAILABLE = 77


class TemporaryFolderTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="zemo-site-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")


class Loaded(html.parser.HTMLParser):
    """What a browser loads with a page."""

    def __init__(self, text):
        super().__init__()
        self.found = []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        if tag in ("script", "img", "iframe", "audio", "video", "object", "embed"):
            self.found.append((tag, values.get("src", values.get("data", ""))))
        if tag == "link":
            self.found.append((tag, values.get("href", "")))


class Tree(unittest.TestCase):
    def test_every_link_of_every_document_leads_somewhere(self):
        checker = check_links.check_markdown(ROOT)
        self.assertEqual(checker.broken, [])
        self.assertGreater(checker.checked, 15)
        self.assertIn(ROOT / "docs" / "guide.md", checker.pages)


class Site(TemporaryFolderTest):
    def setUp(self):
        super().setUp()
        build_site.Builder(self.folder).build()

    def test_it_is_whole(self):
        checker = check_links.check_site(self.folder)
        self.assertEqual(checker.broken, [])
        self.assertGreater(checker.checked, 1000)

        pages = {str(path.relative_to(self.folder)) for path in check_links.site_pages(self.folder)}
        documents = {path for path in (ROOT / "docs").glob("*.md")} | {ROOT / "README.md", ROOT / "CHANGELOG.md"}
        self.assertLessEqual({str(path.relative_to(ROOT)) for path in documents},
                             {source for source, _, _ in build_site.PAGES})
        self.assertLessEqual({name for _, name, _ in build_site.PAGES}, pages)
        self.assertLessEqual({f"man/{path.name}.html" for path in (ROOT / "docs" / "man").glob("*.1")}, pages)
        self.assertIn("reference/ZemoApp_8h.html", pages)

        for name in sorted(pages):
            with self.subTest(name):
                text = (self.folder / name).read_text(encoding="utf-8")
                up = "../" * name.count("/")
                lacking = {target for target, _ in build_site.NAVIGATION if f'<a href="{up}{target}"' not in text}
                self.assertEqual(lacking, set())
                foreign = [target for tag, target in Loaded(text).found if tag == "script" or "//" in target]
                self.assertEqual(foreign, [])
        for path in self.folder.rglob("*.css"):
            text = path.read_text(encoding="utf-8")
            self.assertFalse("@import" in text, path.name)
            for target in re.findall(r"""url\(["']?([^"')]*)""", text):
                self.assertTrue((path.parent / target).is_file(), f"{path.name}: {target}")


class BrokenLinks(TemporaryFolderTest):
    """The counter-proof: what leads nowhere is reported."""

    def broken(self, text):
        self.write("docs/page.md", text)
        return [line.split(": ", 1)[1] for line in check_links.check_markdown(self.folder).broken]

    def test_of_a_document(self):
        self.write("other.md", "# A heading\n\n## `code`, and more\n\n## A heading\n")
        self.write("source.cpp", "int main() {}\n")
        for link, why in (("../other.md", ""), ("../other.md#a-heading", ""), ("../other.md#code-and-more", ""),
                          ("../other.md#a-heading-1", ""), ("#here", ""), ("..", ""), ("https://example.org/", ""),
                          ("../other.md#a-heading-2", "the anchor is not there"), ("other.md", "is not there"),
                          ("#there", "the anchor is not there"), ("../source.cpp#main", "has no anchors"),
                          ("/other.md", "is not relative"), ("../../other.md", "leads out of the tree")):
            with self.subTest(link):
                self.assertEqual(self.broken(f"# Here\n\nSee [this]({link}).\n"), [f"{link}: {why}"] if why else [])

    def test_what_looks_like_a_link_in_a_listing_is_none(self):
        self.assertEqual(self.broken("`a[0](none)`\n\n```\n[this](none.md)\n```\n"), [])

    def test_of_a_page(self):
        self.write("site/index.html", '<p id="here"><a href="#here">a</a><a href="sub">b</a><img src="none.png"></p>')
        self.write("site/sub/page.html", '<a href="../index.html#there">a</a><a href="">b</a>')
        self.assertEqual(check_links.check_site(self.folder / "site").broken,
                         ["index.html: sub: is a folder", "index.html: none.png: is not there",
                          "sub/page.html: ../index.html#there: the anchor is not there",
                          "sub/page.html: a link to nothing: is not relative"])


class Headings(unittest.TestCase):
    def test_anchors_are_those_of_web_front_ends_of_git(self):
        text = markdown.to_html("# One & two\n\n## `a_b`: what, when?\n\n## One & two\n")
        for anchor in ('"one--two"', '"a_b-what-when"', '"one--two-1"'):
            self.assertIn(f"id={anchor}", text)


if __name__ == "__main__":
    missing = [name for name in build_site.NEEDED if not shutil.which(name)]
    if missing:
        print("not installed: " + ", ".join(missing))
        sys.exit(NOT_AVAILABLE)
    unittest.main(argv=sys.argv[:1], verbosity=2)
