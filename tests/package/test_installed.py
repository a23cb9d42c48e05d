"""The packages in a clean root: python3 test_installed.py BUILD_FOLDER ARCHITECTURE.

BUILD_FOLDER/packages has the packages; BUILD_FOLDER/roots keeps the clean root.
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
import clean_root  # pylint: disable=wrong-import-position

BUILD_FOLDER = os.path.abspath(sys.argv[1])
ARCHITECTURE = sys.argv[2]
CONSUMER = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "interface", "consumer")
PACKAGES = ("libzemoutils", "libzemoutils-dev", "zemo-desk")
FOLDER = {"amd64": "x86_64-linux-gnu", "i386": "i386-linux-gnu"}
BITS = {"amd64": 64, "i386": 32}
PROGRAMS = ("zemo-bus-server", "zemo-console-app", "zemo-demo", "zemo-folder-report", "zemo-service-tool",
            "zemo-survey-demo", "zemo-terminal")
NAMES = r"${binary:Package}\n"
STATES = r"${Package} ${Architecture} ${db:Status-Status} ${Version}\n"
PKG_CONFIG = "$(pkg-config --cflags --libs zemoUtils zemoUtils-host)"
CONSUMER_OUTPUT = ("Consumer#ZEMOLib.891.170906.0046#IsoAgLib.host.1.0.0\n"
                   "123456\n"
                   f"{BITS[ARCHITECTURE]} bit\n"
                   "closed\n")
root = None


def version():
    packaging = os.path.join(os.path.dirname(CONSUMER), "..", "..", "packaging")
    with open(os.path.join(packaging, "changelog"), encoding="utf-8") as file:
        return re.search(r"\((.*)\)", file.readline()).group(1)


def package_file(name, architecture=ARCHITECTURE):
    return os.path.join(BUILD_FOLDER, "packages", f"{name}_{version()}_{architecture}.deb")


def all_packages():
    return [package_file(name) for name in PACKAGES]


def field(name, key):
    return subprocess.run(["dpkg-deb", "--field", package_file(name), key], stdout=subprocess.PIPE, text=True,
                          check=True).stdout.strip()


def next_revision(folder):
    """The same packages as files of the next revision."""
    number, revision = version().rsplit("-", 1)
    newer = f"{number}-{int(revision) + 1}"
    files = []
    for name in PACKAGES:
        content = os.path.join(folder, name)
        subprocess.run(["dpkg-deb", "--raw-extract", package_file(name), content], check=True)
        control = os.path.join(content, "DEBIAN", "control")
        with open(control, encoding="utf-8") as file:
            text = file.read()
        with open(control, "w", encoding="utf-8") as file:
            file.write(text.replace(version(), newer))
        files.append(os.path.join(folder, f"{name}_{newer}_{ARCHITECTURE}.deb"))
        subprocess.run(["dpkg-deb", "--root-owner-group", "--build", content, files[-1]], check=True,
                       stdout=subprocess.DEVNULL)
    return newer, files


def setUpModule():
    global root
    try:
        root = clean_root.CleanRoot(ARCHITECTURE, BUILD_FOLDER)
    except clean_root.NotPossible as reason:
        clean_root.skip(reason)


def tearDownModule():
    root.remove()


class State:
    """What is there of packages: their files, what the package manager knows, what the dynamic linker knows."""

    def __init__(self):
        self.files = root.files()
        self.packages = set(root.run(f"dpkg-query -W -f '{STATES}'").splitlines())
        self.libraries = set(cached_libraries())

    def difference(self, other):
        return (sorted(self.files ^ other.files), sorted(self.packages ^ other.packages),
                sorted(self.libraries ^ other.libraries))


NOTHING = ([], [], [])


def cached_libraries():
    """The libraries of the packages that the dynamic linker knows of, as their paths."""
    lines = root.run("/sbin/ldconfig -p").splitlines()
    return sorted(line.split(" => ")[1] for line in lines if re.search(r"libzemo|libisoaglib", line))


def purge():
    """Removes the packages, and the libraries of another architecture that have come with them."""
    ours = root.run(f"dpkg-query -W -f '{NAMES}' | grep -E '^(libzemoutils|zemo-desk)' || true").split()
    if ours:
        root.run(f"dpkg --purge {' '.join(ours)}")
    foreign = [name for name in root.run(f"dpkg-query -W -f '{NAMES}'").split() if name.endswith(":i386")]
    if foreign and ARCHITECTURE != "i386":
        root.run(f"dpkg --purge --force-remove-protected {' '.join(foreign)}")


class PackageTest(unittest.TestCase):
    def setUp(self):
        root.steps.done("between")
        self.addCleanup(lambda: root.steps.done(self.id().split(".")[-1]))
        self.addCleanup(root.empty_home)


class Installed(PackageTest):
    @classmethod
    def setUpClass(cls):
        root.install(*all_packages())

    @classmethod
    def tearDownClass(cls):
        purge()

    def test_the_dynamic_linker_knows_the_libraries(self):
        folder = f"/lib/{FOLDER[ARCHITECTURE]}"
        names = ("libisoaglib_host.so", "libisoaglib_host.so.1", "libzemoUtils.so", "libzemoUtils.so.1",
                 "libzemoconsole_host.so", "libzemoconsole_host.so.1")
        self.assertEqual(cached_libraries(), [f"{folder}/{name}" for name in names])

    def test_dependencies_are_what_the_libraries_of_this_architecture_ask_for(self):
        """The tool of Debian, on its own architecture, finds what the packages say."""
        root.run("mkdir -p work/debian; printf 'Source: x\\n\\nPackage: x\\nArchitecture: any\\n' >work/debian/control",
                 user=True)
        libraries = f"/usr/lib/{FOLDER[ARCHITECTURE]}"
        for name, binaries in (("libzemoutils", f"{libraries}/libzemoUtils.so.1"),
                               ("zemo-desk", f"/usr/bin/zemo-* {libraries}/lib*_host.so.1")):
            output = root.run(f"cd work; dpkg-shlibdeps -O $(realpath {binaries}) 2>/dev/null", user=True)
            found = set(output.strip().partition("Depends=")[2].split(", "))
            found = {package for package in found if not package.startswith(PACKAGES)}
            said = {package for package in field(name, "Depends").split(", ") if not package.startswith(PACKAGES)}
            self.assertEqual(said, found, name)

    def test_programs_answer_and_have_manuals(self):
        output = root.run("ls /usr/bin | grep ^zemo-")
        self.assertEqual(tuple(output.split()), PROGRAMS)
        for program in PROGRAMS:
            self.assertIn(program, root.run(f"{program} --help", user=True))
            self.assertIn(f".Nm {program}\n", root.run(f"zcat /usr/share/man/man1/{program}.1.gz"))

    def test_demos_run_to_their_end(self):
        self.assertIn("object pool", root.run("zemo-demo", user=True))
        self.assertIn("identity number           123456\n", root.run("zemo-survey-demo", user=True))
        self.assertRegex(root.run("zemo-console-app --seconds 1", user=True),
                         r"On the bus at addresses 128 and 129\n(.*\n)*Closed\n$")
        root.run("zemo-folder-report /usr/include/zemoUtils/ report.log", user=True)
        headers = root.path("usr/include/zemoUtils")
        sizes = [os.path.getsize(os.path.join(headers, name)) for name in os.listdir(headers)]
        self.assertIn(f"{len(sizes)} files, {sum(sizes)} bytes\n", root.run("cat report.log", user=True))

    def test_a_service_tool_finds_an_application_through_the_bus_server(self):
        output = root.run("""
            zemo-bus-server --port 0 >server.txt &
            until port=$(sed -n 's/^listening on 127.0.0.1://p' server.txt) && test -n "$port"; do :; done
            bus=socketcand:127.0.0.1:$port/can0
            zemo-console-app --can0 $bus --can1 socketcand:127.0.0.1:$port/can1 >application.txt &
            until grep -q '^On the bus' application.txt; do :; done
            zemo-service-tool --can0 $bus""", user=True)
        self.assertIn("123456", output)

    def test_an_application_is_built_with_cmake(self):
        root.put(CONSUMER, "/home/user/consumer")
        root.run("cmake -S consumer -B build && cmake --build build", user=True)
        self.assertEqual(root.run("build/consumer", user=True), CONSUMER_OUTPUT)

    def test_an_application_is_built_with_pkg_config(self):
        root.put(CONSUMER, "/home/user/consumer")
        root.run(f"g++ -std=c++11 consumer/main.cpp -o app {PKG_CONFIG}", user=True)
        self.assertEqual(root.run("./app", user=True), CONSUMER_OUTPUT)
        self.assertNotIn("RUNPATH", root.run("objdump -p app", user=True))

    def test_the_examples_are_built_as_their_readme_says(self):
        root.run(f"""
            cp -r /usr/share/doc/zemo-desk/examples/programs .
            cd programs
            cmake -S . -B build -DCMAKE_BUILD_TYPE=Debug
            cmake --build build -j 2
            g++ -std=c++17 examples/folder_report.cpp -o folder-report {PKG_CONFIG}
            ./folder-report /usr/include/zemoUtils/ report.log""", user=True)
        self.assertIn("object pool", root.run("programs/build/examples/zemo-demo", user=True))
        self.assertIn("123456", root.run("programs/build/examples/zemo-survey-demo", user=True))


class Ways(PackageTest):
    """Each case begins and ends without the packages, and leaves what was there before it."""

    def setUp(self):
        super().setUp()
        self.before = State()

    def tearDown(self):
        purge()
        self.assertEqual(State().difference(self.before), NOTHING)

    def test_the_library_does_not_need_the_desk(self):
        root.install(package_file("libzemoutils"), package_file("libzemoutils-dev"))
        self.assertEqual(root.run("ls /usr/include | grep zemo"), "zemoUtils\n")
        root.put(CONSUMER, "/home/user/consumer")
        output = root.run("cmake -S consumer -B build", user=True, succeeds=False)
        self.assertIn("The host platform is not installed beside libzemoutils.".lower(), output.lower())

    def test_one_version_goes_with_another_only_as_a_whole(self):
        root.install(*all_packages())
        self.assertIn("zemo-desk depends on libzemoutils", root.run("dpkg --remove libzemoutils", succeeds=False))

    def test_packages_are_removed_one_by_one_in_reverse_order(self):
        root.install(*all_packages())
        for name in reversed(PACKAGES):
            root.run(f"dpkg --purge {name}")
        self.assertEqual(State().difference(self.before), NOTHING)

    def test_the_last_one_takes_all_with_it(self):
        root.install(*all_packages())
        root.run("apt-get purge -y -o Dpkg::Use-Pty=0 libzemoutils")
        self.assertEqual(State().difference(self.before), NOTHING)

    def test_a_newer_revision_replaces_an_older_one(self):
        root.install(*all_packages())
        files = root.files()
        with tempfile.TemporaryDirectory() as folder:
            newer, packages = next_revision(folder)
            root.install(*packages)
        versions = root.run("dpkg-query -W -f '${Version} ${db:Status-Status}\\n' " + " ".join(PACKAGES))
        self.assertEqual(versions, f"{newer} installed\n" * len(PACKAGES))
        self.assertEqual(root.files(), files)
        self.assertIn("object pool", root.run("zemo-demo", user=True))

    @unittest.skipUnless(ARCHITECTURE == "amd64", "only an amd64 machine takes packages of both")
    def test_both_architectures_stand_side_by_side(self):
        root.install(*all_packages(), package_file("libzemoutils", "i386"))
        libraries = [path for path in cached_libraries() if path.endswith("/libzemoUtils.so.1")]
        self.assertEqual(libraries, [f"/lib/{FOLDER['i386']}/libzemoUtils.so.1",
                                     f"/lib/{FOLDER['amd64']}/libzemoUtils.so.1"])
        root.install(package_file("libzemoutils-dev", "i386"))
        for architecture, elf in (("amd64", "elf64-x86-64"), ("i386", "elf32-i386")):
            self.assertIn(elf, root.run(f"objdump -f /usr/lib/{FOLDER[architecture]}/libzemoUtils.so"))
        self.assertIn("object pool", root.run("zemo-demo", user=True))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
