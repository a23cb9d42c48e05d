"""Runs an emulated console: start, programs inside, restart, power cut, end."""

import atexit
import json
import os
import shlex
import shutil
import socket
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass
from pathlib import Path

from . import image
from .board import Board, Share
from .errors import ConsoleError, GuestError, TimeLimit, Unavailable

EMULATOR = "qemu-system-i386"
START_LIMIT = 90
END_LIMIT = 30
# On a busy desk an emulated timer may look broken to the kernel, which gives up then: it is told not to look.
KERNEL_OPTIONS = "console=ttyS0 quiet panic=-1 noisapnp cryptomgr.notests no_timer_check"
SEARCH_PATH = "/usr/bin:/usr/sbin:/bin:/sbin"

_running = set()


@atexit.register
def _end_all():
    for machine in list(_running):
        machine.end()


@dataclass(frozen=True)
class Result:
    """How a program inside ended; a death by a signal is 128 and the signal's number."""

    status: int
    stdout: bytes
    stderr: bytes

    @property
    def text(self):
        return self.stdout.decode("utf-8", "replace")

    @property
    def errors(self):
        return self.stderr.decode("utf-8", "replace")


class Job:
    """A program inside that was started."""

    def __init__(self, machine, number):
        self._machine = machine
        self._number = number
        self.folder = machine.jobs / str(number)

    def wait(self, timeout=60):
        """Its Result; TimeLimit after `timeout` seconds, and then it has been killed."""
        try:
            status = self._machine._status_of(self._number, timeout)
        except TimeLimit:
            self.signal("KILL")
            self._machine._status_of(self._number, END_LIMIT)
            raise
        return Result(status, self.stdout, self.stderr)

    def wait_shortly(self, timeout):
        """Its exit status; TimeLimit when it has not ended by then, and it goes on."""
        return self._machine._status_of(self._number, timeout)

    def is_running(self):
        return not self._machine._is_done(self._number)

    def signal(self, name):
        """Sends the signal ("TERM", "KILL") to the program and what it started."""
        self._machine._ask(f"signal {self._number} {name}")

    @property
    def stdout(self):
        """What it has written so far."""
        return (self.folder / "stdout").read_bytes()

    @property
    def stderr(self):
        return (self.folder / "stderr").read_bytes()


class _Line:
    """The second serial line: words of the guest, taken as they come."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(str(path))
        self._file = self._socket.makefile("r", encoding="ascii", errors="replace")

    def send(self, text):
        self._socket.sendall(text.encode() + b"\n")

    def words(self):
        for line in self._file:
            yield line.split()

    def close(self):
        self._file.close()
        self._socket.close()


class _Control:
    """The emulator's own control socket (QMP)."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(END_LIMIT)
        self._socket.connect(str(path))
        self._file = self._socket.makefile("r", encoding="utf-8")
        self._file.readline()
        self.ask("qmp_capabilities")

    def ask(self, command, **arguments):
        self._socket.sendall(json.dumps({"execute": command, "arguments": arguments}).encode())
        for line in self._file:
            answer = json.loads(line)
            if "return" in answer:
                return answer["return"]
            if "error" in answer:
                raise ConsoleError(f"{command}: {answer['error']['desc']}")
        raise GuestError("the emulator has ended")

    def close(self):
        self._file.close()
        self._socket.close()


class Machine:
    """One emulated console; `with Machine(Board(...)) as machine:` starts it and ends it.

    Its disks and what it writes are in a temporary folder; `out` is the folder of the desk that is /out inside.
    """

    def __init__(self, board=None, out=None):
        self.board = board or Board()
        self.folder = Path(tempfile.mkdtemp(prefix="zemo-console-"))
        self.out = Path(out).absolute() if out else self.folder / "out"
        self.jobs = self.folder / "jobs"
        self.console = self.folder / "console.txt"
        self._emulator = None
        self._line = None
        self._control = None
        self._changed = threading.Condition()
        self._ready = 0
        self._expected = 1
        self._restarted = False
        self._ended = False
        self._statuses = {}
        self._last_job = 0
        self._rtc = self.board.rtc

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.end()
            raise
        return self

    def __exit__(self, *_):
        self.end()

    # Start and end.

    def start(self, console="file"):
        """Starts the board; comes back when it takes programs. `console`: "file", or "terminal" for this process's."""
        if not shutil.which(EMULATOR):
            raise Unavailable(f"no emulator here: {EMULATOR} is missing (package qemu-system-x86)")
        made = image.prepare()
        _running.add(self)
        for folder in (self.out, self.jobs):
            folder.mkdir(parents=True, exist_ok=True)
        shares = self._shares()
        terminal = shutil.get_terminal_size() if console == "terminal" else None
        (self.folder / "initrd").write_bytes(made.base.read_bytes() + self.board.archive(shares, terminal))
        self._make_disks()
        for name in ("line", "control"):
            (self.folder / name).unlink(missing_ok=True)
        self._ended = self._restarted = False
        self._ready, self._expected = 0, 1
        command = self._command(made, shares, console)
        inherited = None if console == "terminal" else subprocess.DEVNULL
        with open(self.folder / "emulator.txt", "wb") as messages:
            self._emulator = subprocess.Popen(
                command, stdin=inherited, stdout=None if inherited is None else messages, stderr=messages
            )
        self._control = self._connected(_Control, "control")
        self._line = self._connected(_Line, "line")
        threading.Thread(target=self._listen, args=(self._line,), daemon=True).start()
        self._control.ask("cont")
        if console == "file":
            self._await_ready()

    def _shares(self):
        own = (Share(self.jobs, "/run/jobs", writable=True), Share(self.out, "/out", writable=True))
        listed = (*own, *self.board.shares)
        return {f"share{number}": share for number, share in enumerate(listed)}

    def _make_disks(self):
        for number, storage in enumerate(self.board.disks().values()):
            path = self.folder / f"disk{number}"
            if not path.exists():
                with open(path, "wb") as disk:
                    disk.truncate(storage.bytes)

    def _command(self, made, shares, console):
        # Without rdrand the kernel takes seconds until it has random numbers, and mkfs.ext4 waits for them.
        # However this process ends, the emulator ends with it.
        command = ["setpriv", "--pdeathsig", "KILL", EMULATOR, "-M", "pc", "-accel", "tcg", "-cpu", "n270,+rdrand", "-m", str(self.board.memory)]
        command += ["-nodefaults", "-no-user-config", "-display", "none", "-S"]
        command += ["-rtc", f"base={self._rtc},clock=vm"]
        command += ["-kernel", str(made.kernel), "-initrd", str(self.folder / "initrd")]
        command += ["-append", KERNEL_OPTIONS]
        if console == "terminal":
            command += ["-chardev", "stdio,id=console,signal=off"]
        else:
            command += ["-chardev", f"file,id=console,path={self.console},append=on"]
        command += ["-serial", "chardev:console"]
        command += ["-chardev", f"socket,id=line,path={self.folder}/line,server=on,wait=off", "-serial", "chardev:line"]
        command += ["-chardev", f"socket,id=control,path={self.folder}/control,server=on,wait=off"]
        command += ["-mon", "chardev=control,mode=control"]
        for tag, share in shares.items():
            mode = "" if share.writable else ",readonly=on"
            source = str(share.source).replace(",", ",,")
            command += ["-fsdev", f"local,id={tag},path={source},security_model=none,multidevs=remap{mode}"]
            command += ["-device", f"virtio-9p-pci,fsdev={tag},mount_tag={tag}"]
        for number in range(len(self.board.disks())):
            command += ["-drive", f"file={self.folder}/disk{number},format=raw,if=virtio,cache=unsafe"]
        return command

    def _connected(self, kind, name):
        limit = time.monotonic() + END_LIMIT
        while True:
            try:
                return kind(self.folder / name)
            except (FileNotFoundError, ConnectionRefusedError):
                if self._emulator.poll() is not None or time.monotonic() > limit:
                    raise GuestError(f"the emulator did not start: {self._emulator_says()}") from None
                time.sleep(0.01)

    def _emulator_says(self):
        text = (self.folder / "emulator.txt").read_text(encoding="utf-8", errors="replace").strip()
        return text or "it said nothing"

    def _await_ready(self):
        with self._changed:
            self._changed.wait_for(lambda: self._ready == self._expected or self._is_lost(), START_LIMIT)
            if self._ready == self._expected:
                return
        raise GuestError(self._why_gone())

    def _is_lost(self):
        return self._ended or self._restarted

    def _why_gone(self):
        lines = self.console_text().splitlines()
        for line in lines:
            if "Kernel panic" in line:
                return f"the guest's kernel gave up: {line.strip()}"
        if self._restarted:
            return "the emulated console restarted by itself"
        if self._ended:
            status = self._emulator.poll() if self._emulator else None
            last = " / ".join(lines[-3:]) or self._emulator_says()
            return f"the emulated console ended by itself, the emulator with {status}: {last}"
        return "the emulated console does not answer"

    def console_text(self):
        """What stood on the first serial line."""
        if not self.console.exists():
            return ""
        return self.console.read_text(encoding="utf-8", errors="replace")

    def end(self):
        """Ends it like the main switch does, and forgets its temporary folder."""
        _running.discard(self)
        self._kill()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _kill(self):
        if self._emulator is None:
            return
        self._emulator.kill()
        self._gone()

    def _gone(self):
        self._emulator.wait(END_LIMIT)
        self._emulator = None
        for connection in (self._line, self._control):
            if connection:
                connection.close()
        self._line = self._control = None

    def wait_for_end(self):
        """Waits until the guest switches itself off; the emulator's exit status."""
        status = self._emulator.wait()
        self._gone()
        return status

    def power_off(self):
        """An orderly end: everything written, everything unmounted."""
        self.remember_rtc()
        self._line.send("poweroff")
        try:
            self._emulator.wait(END_LIMIT)
        except subprocess.TimeoutExpired:
            self._kill()
            raise GuestError("the emulated console does not switch itself off") from None
        self._gone()

    def reboot(self):
        """An orderly restart of the running emulator: its clock chip goes on."""
        with self._changed:
            self._expected += 1
        self._ask("reboot")
        self._await_ready()

    def power_cut(self):
        """The power is gone, then back: what was not on a disk is lost, the battery has kept the clock going."""
        self.remember_rtc()
        self._kill()
        self.start()

    def rtc(self):
        """What the clock chip shows, as "2026-11-21T12:00:00"."""
        shown = self._control.ask("qom-get", path="/machine", property="rtc-time")
        date = f"{shown['tm_year'] + 1900:04}-{shown['tm_mon'] + 1:02}-{shown['tm_mday']:02}"
        return f"{date}T{shown['tm_hour']:02}:{shown['tm_min']:02}:{shown['tm_sec']:02}"

    def remember_rtc(self):
        """The next start begins with the time that the chip shows now."""
        self._rtc = self.rtc()

    # Programs.

    def start_job(self, program, stdin=b"", environment=None, directory="/root", user=None):
        """Starts a program: [name or path, argument...]. It has a session and a process group of its own."""
        self._last_job += 1
        folder = self.jobs / str(self._last_job)
        folder.mkdir()
        (folder / "stdin").write_bytes(stdin)
        for name in ("stdout", "stderr"):
            (folder / name).touch()
        (folder / "command").write_text(command_text(program, environment, directory, user), encoding="utf-8")
        self._ask(f"run {self._last_job}")
        return Job(self, self._last_job)

    def run(self, program, timeout=60, **options):
        """Runs a program to its end and gives its Result; the options are those of start_job."""
        return self.start_job(program, **options).wait(timeout)

    def shell(self, text, timeout=60, **options):
        """Runs a text of the shell (dash)."""
        return self.run(["/bin/sh", "-c", text], timeout, **options)

    def _ask(self, text):
        if self._line is None or self._is_lost():
            raise GuestError(self._why_gone())
        self._line.send(text)

    def _is_done(self, number):
        with self._changed:
            return number in self._statuses

    def _status_of(self, number, timeout):
        with self._changed:
            self._changed.wait_for(lambda: number in self._statuses or self._is_lost(), timeout)
            if number in self._statuses:
                return self._statuses[number]
            if self._is_lost():
                raise GuestError(self._why_gone())
        raise TimeLimit(f"no end within {timeout:g} s")

    def _listen(self, line):
        try:
            for words in line.words():
                with self._changed:
                    self._take(words)
                    self._changed.notify_all()
        except (OSError, ValueError):
            pass  # closed while it was read
        with self._changed:
            if line is self._line:
                self._ended = True
            self._changed.notify_all()

    def _take(self, words):
        """One line of the guest; anything but these is noise of a start."""
        if words[:1] == ["ready"]:
            self._ready += 1
            self._restarted = self._restarted or self._ready > self._expected
        elif len(words) == 3 and words[0] == "done" and words[1].isdigit() and words[2].isdigit():
            self._statuses[int(words[1])] = int(words[2])


def command_text(program, environment=None, directory="/root", user=None):
    """The job's file "command": a text of dash that becomes the program."""
    settings = {"PATH": SEARCH_PATH, "HOME": "/root", **(environment or {})}
    lines = [f"export {name}={shlex.quote(value)}" for name, value in settings.items()]
    lines.append(f"cd {shlex.quote(directory)} || exit 126")
    name = shlex.quote(str(program[0]))
    missing = shlex.quote(f"console: no program {program[0]} inside")
    lines.append(f"command -v {name} >/dev/null || {{ echo {missing} >&2; exit 127; }}")
    words = " ".join(shlex.quote(str(word)) for word in program)
    if user:
        words = f"su -s /bin/sh {shlex.quote(user)} -c {shlex.quote('exec ' + words)}"
    lines.append(f"exec {words}")
    return "\n".join(lines) + "\n"
