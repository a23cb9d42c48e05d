"""Writes archives in the "newc" form of cpio, which the kernel unpacks as its first file system. Root owns it all."""

import stat
from pathlib import Path


class Archive:
    def __init__(self):
        self._pieces = []
        self._length = 0
        self._folders = {""}
        self._inode = 0

    def _add(self, name, mode, data=b""):
        self._inode += 1
        encoded = name.encode() + b"\0"
        fields = (self._inode, mode, 0, 0, 1, 0, len(data), 0, 0, 0, 0, len(encoded), 0)
        self._append(b"070701" + b"".join(b"%08X" % field for field in fields) + encoded)
        self._append(data)

    def _append(self, data):
        padding = -len(data) % 4
        self._pieces.append(data + b"\0" * padding)
        self._length += len(data) + padding

    def folder(self, path, mode=0o755):
        path = path.strip("/")
        if path in self._folders:
            return
        self._parents(path)
        self._folders.add(path)
        self._add(path, stat.S_IFDIR | mode)

    def _parents(self, path):
        parent = str(Path(path).parent)
        if parent != ".":
            self.folder(parent)

    def file(self, path, data, mode=0o644):
        path = path.strip("/")
        self._parents(path)
        self._add(path, stat.S_IFREG | mode, data)

    def copy(self, path, source):
        """A file of this machine with its permissions; what a link leads to, not the link."""
        source = Path(source)
        self.file(path, source.read_bytes(), 0o755 if source.stat().st_mode & 0o111 else 0o644)

    def link(self, path, target):
        path = path.strip("/")
        self._parents(path)
        self._add(path, stat.S_IFLNK | 0o777, target.encode())

    def device(self, path, major, minor, mode=0o600):
        path = path.strip("/")
        self._parents(path)
        self._inode += 1
        encoded = path.encode() + b"\0"
        fields = (self._inode, stat.S_IFCHR | mode, 0, 0, 1, 0, 0, 0, 0, major, minor, len(encoded), 0)
        self._append(b"070701" + b"".join(b"%08X" % field for field in fields) + encoded)

    def finished(self):
        """The archive's bytes; another archive may follow them."""
        self._add("TRAILER!!!", 0)
        self._pieces.append(b"\0" * (-self._length % 512))
        return b"".join(self._pieces)
