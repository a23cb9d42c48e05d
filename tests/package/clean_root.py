"""A clean Debian of one architecture to install packages into: made once, kept as an archive, unpacked for each run.

The archive holds the smallest Debian with a compiler, CMake and pkg-config, the package lists of its day and, for
amd64, what a library of i386 needs, so that a later run asks no mirror. Commands run in it have their own mounts and
processes: nothing of them is left when they have ended.
"""

import fcntl
import os
import shlex
import shutil
import subprocess
import sys
import time

SKIPPED = 77
LONGEST_WAIT = 1200  # seconds; reached only where a command hangs
INCLUDED = ("g++", "cmake", "make", "pkg-config", "dpkg-dev")
FOREIGN_LIBRARIES = ("libc6:i386", "libgcc-s1:i386", "libstdc++6:i386")
OWN_MOUNTS_AND_PROCESSES = ("unshare", "--mount", "--pid", "--fork", "--kill-child", "--propagation", "private")
USER = 1000
# Where the package manager keeps its own notes, and what the C library of i386 leaves behind on amd64.
NO_FILES_OF_PACKAGES = ("/etc/ld.so.conf.d/i386-linux-gnu.conf",
                        "/proc", "/tmp", "/home", "/var/cache/apt", "/var/lib/apt", "/var/log", "/var/cache/ldconfig",
                        "/var/lib/dpkg/status-old", "/var/lib/dpkg/diversions-old", "/var/lib/dpkg/statoverride-old")


class NotPossible(Exception):
    """A clean root cannot be had here; the text says why."""


class Steps:
    """Says how long each step took."""

    def __init__(self, name):
        self.name = name
        self.began = time.monotonic()

    def done(self, step):
        now = time.monotonic()
        print(f"{self.name}: {step}: {now - self.began:.1f} s", flush=True)
        self.began = now


def output_of(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
                          timeout=LONGEST_WAIT, **options)


def require_root_and_tools():
    if os.geteuid() != 0:
        raise NotPossible("only root can install packages into a clean root")
    for tool in ("mmdebstrap", "arch-test", "zstd", "unshare", "dpkg-deb"):
        if not shutil.which(tool):
            raise NotPossible(f"{tool} is not installed")
    result = output_of(*OWN_MOUNTS_AND_PROCESSES, "true")
    if result.returncode != 0:
        raise NotPossible(f"no mounts of its own: {result.stdout.strip()}")


def codename():
    with open("/etc/os-release", encoding="utf-8") as file:
        values = dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)
    if values.get("ID") != "debian" or "VERSION_CODENAME" not in values:
        raise NotPossible("this machine is no Debian")
    return values["VERSION_CODENAME"].strip('"')


def sources_of_this_machine(suite):
    """The lines of the machine's own package sources that are of this Debian, as it was released."""
    result = output_of("apt-get", "indextargets", "--format", "$(REPO_URI) $(RELEASE) $(COMPONENT)",
                       "Created-By: Packages")
    lines = []
    for line in result.stdout.splitlines():
        words = line.split()
        if len(words) == 3 and words[1] == suite and words[2] == "main":
            lines.append(f"deb {words[0]} {words[1]} main")
    if not lines:
        raise NotPossible(f"the package sources of this machine name no {suite}")
    return sorted(set(lines))


def proxies_of_this_machine():
    lines = output_of("apt-config", "dump").stdout.splitlines()
    return [f"--aptopt={line}" for line in lines if line.startswith("Acquire::http") and "::Proxy " in line]


def make_archive(architecture, archive):
    suite = codename()
    architectures = [architecture]
    hooks = ['APT_CONFIG="$MMDEBSTRAP_APT_CONFIG" apt-get clean']
    if architecture == "amd64":
        architectures.append("i386")
        hooks.append('APT_CONFIG="$MMDEBSTRAP_APT_CONFIG" apt-get install -y --download-only '
                     + " ".join(FOREIGN_LIBRARIES))
    hooks.append(f'echo "user:x:{USER}:{USER}::/home/user:/bin/sh" >>"$1/etc/passwd"')
    hooks.append(f'install -d -o {USER} -g {USER} "$1/home/user"')
    unfinished = archive + ".new.tar.zst"
    command = ["mmdebstrap", "--mode=root", "--variant=minbase", f"--architectures={','.join(architectures)}",
               f"--include={','.join(INCLUDED)}", "--dpkgopt=force-unsafe-io", "--skip=cleanup/apt",
               *[f"--customize-hook={hook}" for hook in hooks], *proxies_of_this_machine(), suite, unfinished, "-"]
    sources = "\n".join(sources_of_this_machine(suite)) + "\n"
    result = output_of(*command, input=sources)
    if result.returncode != 0:
        raise NotPossible("no clean root could be made:\n" + "\n".join(result.stdout.splitlines()[-15:]))
    os.rename(unfinished, archive)


class CleanRoot:
    def __init__(self, architecture, build_folder):
        require_root_and_tools()
        self.architecture = architecture
        self.steps = Steps(architecture)
        self.folder = os.path.join(build_folder, "roots", architecture)
        archive = self.folder + ".tar.zst"
        os.makedirs(os.path.dirname(archive), exist_ok=True)
        self.lock = open(self.folder + ".lock", "w", encoding="utf-8")  # pylint: disable=consider-using-with
        fcntl.flock(self.lock, fcntl.LOCK_EX)
        if not os.path.exists(archive):
            make_archive(architecture, archive)
            self.steps.done("clean root made")
        self.unpack(archive)

    def unpack(self, archive):
        shutil.rmtree(self.folder, ignore_errors=True)  # of a run that was killed
        os.mkdir(self.folder, 0o755)
        result = output_of("tar", "--zstd", "-xpf", archive, "-C", self.folder)
        if result.returncode != 0:
            self.remove()
            raise NotPossible(f"the clean root could not be unpacked:\n{result.stdout}")
        os.chmod(self.folder, 0o755)
        self.steps.done("clean root unpacked")

    def remove(self):
        shutil.rmtree(self.folder)
        self.lock.close()

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def run(self, command, user=False, succeeds=True):
        """Runs a line of the shell in the root, and returns what it prints, standard error included."""
        who = ["--userspec", f"{USER}:{USER}"] if user else []
        home = "/home/user" if user else "/root"
        inside = shlex.join(["chroot", *who, self.folder, "/bin/sh", "-ec", f"cd {home}\n{command}"])
        mount = f"mount -t proc proc {shlex.quote(self.path('proc'))}"
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": home, "LC_ALL": "C.UTF-8",
                       "DEBIAN_FRONTEND": "noninteractive"}
        result = output_of(*OWN_MOUNTS_AND_PROCESSES, "sh", "-c", f"{mount} && exec {inside}", env=environment,
                           stdin=subprocess.DEVNULL)
        if (result.returncode == 0) != succeeds:
            raise AssertionError(f"in the {self.architecture} root ended with {result.returncode}:\n{command}\n"
                                 f"{result.stdout}")
        return result.stdout

    def put(self, source, destination):
        """Copies a file or a folder to where the user can write."""
        destination = self.path(destination.lstrip("/"))
        if os.path.isdir(source):
            shutil.copytree(source, destination, symlinks=True)
        else:
            os.makedirs(os.path.dirname(destination), exist_ok=True)
            shutil.copy(source, destination)
        output_of("chown", "-R", f"{USER}:{USER}", destination)

    def empty_home(self):
        shutil.rmtree(self.path("home/user"))
        os.mkdir(self.path("home/user"))
        os.chown(self.path("home/user"), USER, USER)

    def install(self, *packages):
        """Installs package files with what they depend on, from what the root keeps."""
        for package in packages:
            self.put(package, "/tmp/packages/")
        names = " ".join(f"/tmp/packages/{os.path.basename(package)}" for package in packages)
        return self.run(f"apt-get install -y -o Dpkg::Use-Pty=0 {names}")

    def files(self):
        """All files, as one sees them in the root."""
        found = set()
        for folder, folders, names in os.walk(self.folder):
            inside = folder[len(self.folder):] or "/"
            folders[:] = [name for name in folders if os.path.join(inside, name) not in NO_FILES_OF_PACKAGES]
            found.update(os.path.join(inside, name) for name in folders + names)
        return found.difference(NO_FILES_OF_PACKAGES)


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)
