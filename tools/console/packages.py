"""Fetches the distribution's 32-bit packages for the console, as any user and without installing them.

apt runs with a configuration of its own: its lists, its state and its archive are folders of the cache, so that the
machine neither gets to know another architecture nor has a package more afterwards.
"""

import hashlib
import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

from .errors import Unavailable

KERNEL = "linux-image-686-pae"
PACKAGES = (
    "busybox-static",
    "dash",
    "libc6",
    "libstdc++6",
    "libgcc-s1",
    "can-utils",
    "iproute2",
    "libbpf1",
    "libelf1",
    "libmnl0",
    "libbsd0",
    "libmd0",
    "libcap2",
    "zlib1g",
    "util-linux-extra",
    "libaudit1",
    "libcap-ng0",
    "libsmartcols1",
    "e2fsprogs",
    "libext2fs2",
    "libcom-err2",
    "libss2",
    "libblkid1",
    "libuuid1",
    "tzdata",
)
LIST = "packages.json"


def cache_folder():
    chosen = os.environ.get("ZEMO_CONSOLE_CACHE")
    if chosen:
        return Path(chosen).absolute()
    base = os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache"
    return Path(base).absolute() / "zemo-console"


def say(text):
    print(text, file=sys.stderr, flush=True)


def release_name():
    for line in Path("/etc/os-release").read_text(encoding="utf-8").splitlines():
        name, _, value = line.partition("=")
        if name == "VERSION_CODENAME":
            return value.strip('"')
    raise Unavailable("this machine does not tell which release of the distribution it runs")


def sources():
    """The machine's own sources of the release's main packages, one line each as in sources.list."""
    form = "$(REPO_URI) $(RELEASE) $(COMPONENT)"
    listed = subprocess.run(
        ["apt-get", "indextargets", "--format", form, "Created-By: Packages"],
        capture_output=True,
        text=True,
        check=False,
    ).stdout
    release = release_name()
    lines = []
    for line in listed.splitlines():
        uri, suite, component = line.split()
        if suite == release and component == "main":
            lines.append(f"deb [ arch=i386 ] {uri} {suite} {component}")
    return sorted(set(lines))


class Apt:
    """apt with a state of its own below one folder."""

    def __init__(self, folder):
        self.folder = folder
        for name in ("lists/partial", "archives/partial"):
            (folder / name).mkdir(parents=True, exist_ok=True)
        (folder / "status").write_text("")
        (folder / "apt.conf").write_text(
            'APT::Architecture "i386";\n'
            'APT::Architectures { "i386"; };\n'
            'APT::Sandbox::User "";\n'
            f'Dir::State "{folder}";\n'
            f'Dir::State::lists "{folder}/lists";\n'
            f'Dir::State::status "{folder}/status";\n'
            f'Dir::Cache "{folder}";\n'
            f'Dir::Etc::sourcelist "{folder}/sources.list";\n'
            'Dir::Etc::sourceparts "-";\n'
        )

    def run(self, *command, cwd=None):
        environment = dict(os.environ, APT_CONFIG=str(self.folder / "apt.conf"), LC_ALL="C.UTF-8")
        return subprocess.run(
            command, cwd=cwd, env=environment, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False
        )

    def checked(self, *command, cwd=None):
        ended = self.run(*command, cwd=cwd)
        if ended.returncode != 0:
            last = (ended.stderr.strip().splitlines() or ["no reason given"])[-1]
            raise Unavailable(f"the console's packages could not be fetched: {command[0]} {command[1]}: {last}")
        return ended.stdout

    def update(self):
        """Takes the first source whose lists can be had and that has the kernel."""
        found = sources()
        if not found:
            raise Unavailable("apt names no source of this release's main packages")
        for line in found:
            (self.folder / "sources.list").write_text(line + "\n")
            if self.run("apt-get", "update", "--error-on=any").returncode == 0 and self.kernel():
                return
        raise Unavailable("the lists of the distribution's 32-bit packages could not be fetched")

    def kernel(self):
        """The kernel package of today; its name has the number of the kernel's interface."""
        for line in self.run("apt-cache", "depends", KERNEL).stdout.splitlines():
            kind, _, name = line.strip().partition(": ")
            if kind == "Depends" and name.startswith("linux-image-"):
                return name
        return None

    def offered(self, names):
        """[(file name, size, SHA-256)] of what would be fetched."""
        offers = []
        for line in self.checked("apt-get", "download", "--print-uris", *names).splitlines():
            _, name, size, digest = line.split()
            offers.append((name, int(size), digest.removeprefix("SHA256:")))
        return offers


def is_whole(folder, offers):
    for name, size, digest in offers:
        path = folder / name
        if not path.is_file() or path.stat().st_size != size:
            return False
        if hashlib.sha256(path.read_bytes()).hexdigest() != digest:
            return False
    return True


def fetch(cache):
    """The folder with the packages, which are fetched where they are not there yet."""
    final = cache / "packages"
    if (final / LIST).is_file():
        return final
    if not shutil.which("apt-get") or not shutil.which("dpkg-deb"):
        raise Unavailable("no apt here that could fetch the console's packages")
    partial = cache / "packages.partial"
    partial.mkdir(parents=True, exist_ok=True)
    say("console: asking the distribution for its 32-bit packages")
    apt = Apt(cache / "apt")
    apt.update()
    names = [apt.kernel(), *PACKAGES]
    offers = apt.offered(names)
    megabytes = sum(size for _, size, _ in offers) / 1e6
    say(f"console: fetching {len(offers)} packages, {megabytes:.0f} MB, from the distribution into {cache}")
    apt.checked("apt-get", "download", *names, cwd=partial)
    if not is_whole(partial, offers):
        raise Unavailable("the console's packages came incomplete; the next run goes on where this one ended")
    wanted = {name for name, _, _ in offers}
    for path in partial.iterdir():
        if path.name not in wanted:
            path.unlink()
    (partial / LIST).write_text(json.dumps(offers, indent=1) + "\n")
    shutil.rmtree(final, ignore_errors=True)
    partial.rename(final)
    shutil.rmtree(cache / "apt", ignore_errors=True)
    return final
