"""Makes the kernel and the base of the console's first file system out of the distribution's packages."""

import fcntl
import hashlib
import lzma
import shutil
import struct
import subprocess
import tempfile
from contextlib import contextmanager
from pathlib import Path

from . import packages
from .archive import Archive
from .errors import Unavailable

# Each group stands in the order in which its modules have to be loaded.
MODULES = {
    "virtio": "virtio virtio_ring virtio_pci_modern_dev virtio_pci_legacy_dev virtio_pci virtio_blk",
    "9p": "netfs fscache 9pnet 9pnet_virtio 9p",
    "can": "can can-raw can-dev vcan",
    "canx": "can-j1939 can-bcm can-isotp can-gw",
    "cansja": "sja1000 kvaser_pci",
    "vfat": "nls_ascii nls_cp437 fat vfat",
    "ext4": "crc16 mbcache jbd2 crc32c_generic ext4",
    "usb": "usb-common usbcore ehci-hcd ehci-pci uhci-hcd scsi_common scsi_mod usb-storage crct10dif_common "
    "crct10dif_generic crc-t10dif crc64 crc64_rocksoft_generic crc64-rocksoft t10-pi sd_mod",
}
LIBRARY_FOLDERS = ("lib/i386-linux-gnu", "usr/lib/i386-linux-gnu")
# Beside busybox's; can-utils comes whole.
PROGRAMS = ("bin/busybox", "bin/dash", "bin/ip", "sbin/tc", "sbin/hwclock", "sbin/mke2fs", "sbin/e2fsck")
LINKS = {"bin/sh": "dash", "sbin/mkfs.ext4": "mke2fs", "sbin/fsck.ext4": "e2fsck"}
ZONES = ("UTC", "Europe/Berlin", "Europe/London", "America/New_York", "Asia/Kolkata")
EMPTY_FOLDERS = ("dev", "proc", "sys", "run", "root", "out", "opt/zemo", "var/log")
EMPTY_FOLDERS += ("mnt/nand", "mnt/usb1", "mnt/sdcard1", "media/usb0")

ACCOUNTS = "root:x:0:0:root:/root:/bin/sh\nnobody:x:65534:65534:nobody:/:/bin/sh\n"
SECRETS = "root:*:20000:0:99999:7:::\n"
GROUPS = "root:x:0:\nnogroup:x:65534:\n"


class Image:
    """Where the finished kernel and base archive are."""

    def __init__(self, folder):
        self.kernel = folder / "vmlinux"
        self.base = folder / "base.cpio"


def kernel_program(packed):
    """The program inside a packed kernel (boot protocol 2.08); it starts a second sooner than the packed one."""
    sectors = packed[0x1F1]
    offset, length = struct.unpack_from("<II", packed, 0x248)
    begin = (sectors + 1) * 512 + offset
    return lzma.LZMADecompressor().decompress(packed[begin : begin + length])


def add_modules(archive, tree):
    found = {path.stem: path for path in (tree / "lib/modules").rglob("*.ko")}
    for group, names in MODULES.items():
        for name in names.split():
            if name not in found:
                raise Unavailable(f"the kernel package lacks the module {name}")
            archive.copy(f"m/{name}.ko", found[name])
        archive.file(f"m/{group}.order", (names + "\n").encode())


def add_programs(archive, tree):
    for name in PROGRAMS:
        archive.copy(name, tree / name)
    for path in sorted((tree / "usr/bin").iterdir()):
        if path.is_file() and not path.is_symlink():
            archive.copy(f"usr/bin/{path.name}", path)
    for name, target in LINKS.items():
        archive.link(name, target)
    archive.copy("etc/mke2fs.conf", tree / "etc/mke2fs.conf")


def add_libraries(archive, tree):
    archive.copy("lib/ld-linux.so.2", tree / "lib/i386-linux-gnu/ld-linux.so.2")
    for folder in LIBRARY_FOLDERS:
        for path in sorted((tree / folder).glob("*.so*")):
            target = f"lib/i386-linux-gnu/{path.name}"
            if path.is_symlink():
                archive.link(target, path.readlink().name)
            else:
                archive.copy(target, path)


def add_settings(archive, tree):
    archive.file("etc/passwd", ACCOUNTS.encode())
    archive.file("etc/shadow", SECRETS.encode(), 0o600)
    archive.file("etc/group", GROUPS.encode())
    archive.file("etc/hosts", b"127.0.0.1 localhost console\n")
    for zone in ZONES:
        archive.copy(f"usr/share/zoneinfo/{zone}", tree / "usr/share/zoneinfo" / zone)
    for folder in EMPTY_FOLDERS:
        archive.folder(folder)
    archive.folder("tmp", 0o1777)
    archive.device("dev/console", 5, 1)


def build(source, folder):
    with tempfile.TemporaryDirectory(dir=folder.parent) as name:
        tree = Path(name)
        for package in sorted(source.glob("*.deb")):
            subprocess.run(["dpkg-deb", "-x", package, tree], check=True)
        kernels = sorted((tree / "boot").glob("vmlinuz-*"))
        if not kernels:
            raise Unavailable("the kernel package has no kernel")
        (folder / "vmlinux").write_bytes(kernel_program(kernels[0].read_bytes()))
        archive = Archive()
        add_modules(archive, tree)
        add_programs(archive, tree)
        add_libraries(archive, tree)
        add_settings(archive, tree)
        (folder / "base.cpio").write_bytes(archive.finished())


def inputs(source):
    """A name that changes with the packages and with what is made of them."""
    digest = hashlib.sha256((source / packages.LIST).read_bytes())
    for name in ("image.py", "archive.py"):
        digest.update((Path(__file__).parent / name).read_bytes())
    return digest.hexdigest()[:16]


@contextmanager
def alone(cache):
    """Only one process at a time works at the cache."""
    cache.mkdir(parents=True, exist_ok=True)
    with open(cache / "lock", "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        yield


def prepare():
    """The image of today's packages, made where it is not there yet."""
    cache = packages.cache_folder()
    with alone(cache):
        source = packages.fetch(cache)
        final = cache / f"image-{inputs(source)}"
        if final.is_dir():
            return Image(final)
        packages.say("console: making the image of the emulated console")
        partial = cache / "image.partial"
        shutil.rmtree(partial, ignore_errors=True)
        partial.mkdir()
        build(source, partial)
        for old in cache.glob("image-*"):
            shutil.rmtree(old, ignore_errors=True)
        partial.rename(final)
        return Image(final)
