"""What the emulated board has: disks, file systems, buses and folders of the desk."""

from dataclasses import dataclass, field
from pathlib import Path

from .archive import Archive

GUEST = Path(__file__).parent / "guest"
KINDS = ("tmpfs", "vfat", "ext4")


@dataclass(frozen=True)
class Storage:
    """A file system of its own: on a disk that outlives restarts, or in memory (tmpfs)."""

    kind: str = "ext4"
    megabytes: float = 32
    read_only: bool = False

    def __post_init__(self):
        if self.kind not in KINDS:
            raise ValueError(f"no file system of the console: {self.kind} (there are {', '.join(KINDS)})")
        if self.megabytes <= 0:
            raise ValueError("a file system needs a size above 0")

    @staticmethod
    def parsed(text):
        """KIND[:MEGABYTES][:ro]"""
        kind, *rest = text.split(":")
        read_only = "ro" in rest
        sizes = [part for part in rest if part != "ro"]
        return Storage(kind, float(sizes[0]) if sizes else 32, read_only)

    @property
    def bytes(self):
        return int(self.megabytes * 1024 * 1024) // 512 * 512


@dataclass(frozen=True)
class Share:
    """A folder of the desk at a place inside."""

    source: Path
    target: str
    writable: bool = False

    @property
    def options(self):
        # What nobody changes may be kept in memory; what both sides look at may not.
        return "cache=none" if self.writable else "ro,cache=loose"


@dataclass
class Board:
    """One console. Paths inside are absolute.

    files: path inside -> bytes, or a file of the desk; they are there before anything runs, at every start.
    """

    memory: int = 256
    rtc: str = "utc"
    nand: Storage = Storage()
    media: dict = field(
        default_factory=lambda: {
            "/mnt/usb1": Storage("vfat"),
            "/mnt/sdcard1": Storage("vfat"),
            "/media/usb0": Storage("vfat"),
        }
    )
    buses: tuple = ("vcan0", "vcan1")
    modules: tuple = ()
    files: dict = field(default_factory=dict)
    shares: tuple = ()

    def storages(self):
        """path -> Storage, the log's and the settings' first."""
        return {"/mnt/nand": self.nand, **self.media}

    def disks(self):
        """path -> Storage of those that are disks, in the order of their devices."""
        return {path: storage for path, storage in self.storages().items() if storage.kind != "tmpfs"}

    def plan(self, shares):
        """What /etc/board says. `shares`: tag -> Share."""
        kinds = {storage.kind for storage in self.storages().values()}
        groups = ["virtio", "9p", "can", *self.modules, *(kind for kind in ("vfat", "ext4") if kind in kinds)]
        lines = [f"modules {group}" for group in groups]
        lines += [f"share {tag} {share.options} {share.target}" for tag, share in shares.items()]
        letters = iter("abcdefghijklmnopqrstuvwxyz")
        for path, storage in self.storages().items():
            mode = "ro" if storage.read_only else "rw"
            if storage.kind == "tmpfs":
                lines.append(f"tmpfs {path} size={storage.bytes},{mode}")
            else:
                lines.append(f"disk vd{next(letters)} {path} {storage.kind} {mode}")
        lines += [f"bus {name}" for name in self.buses]
        return "\n".join(lines) + "\n"

    def archive(self, shares, terminal=None):
        """The second part of the first file system: what is this board's own. `terminal`: its size, for a prompt."""
        archive = Archive()
        archive.file("etc/board", self.plan(shares).encode())
        inittab = (GUEST / "inittab").read_text(encoding="utf-8")
        if terminal:
            inittab += f"ttyS0::once:/sbin/prompt {terminal.lines} {terminal.columns}\n"
            archive.file("sbin/prompt", (GUEST / "prompt").read_bytes(), 0o755)
        archive.file("etc/inittab", inittab.encode())
        archive.file("init", (GUEST / "init").read_bytes(), 0o755)
        archive.file("sbin/agent", (GUEST / "agent").read_bytes(), 0o755)
        for path, content in self.files.items():
            if isinstance(content, bytes):
                archive.file(path, content)
            else:
                archive.copy(path, content)
        return archive.finished()
