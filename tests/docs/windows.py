"""Windows in which a reader of the guide types: shells that stay, with programs that run on in them."""

import os
import queue
import signal
import subprocess
import threading
import time

END_OF_COMMAND = "\x01"


class Window:
    def __init__(self, folder, environment, longest_wait):
        self._longest_wait = longest_wait
        self._lines = queue.Queue()
        self._runs_on = False  # a program of the foreground has the input
        self._shell = subprocess.Popen(["/bin/bash", "--norc"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=subprocess.STDOUT, text=True, encoding="utf-8", bufsize=1, cwd=folder,
                                       env=environment, start_new_session=True)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._shell.stdout:
            self._lines.put(line.rstrip("\n"))
        self._lines.put(None)

    def _send(self, text):
        self._shell.stdin.write(text + "\n")
        self._shell.stdin.flush()

    def run(self, command, expected, runs_on=False):
        """Types a command and waits for its end and all that it shall print; returns its exit status, None where it
        runs on. What a program in the background prints counts as well."""
        self._send(command)
        self._runs_on = runs_on
        if not runs_on:
            self._send(f"printf '{END_OF_COMMAND}%s\\n' $?")
        return self._await(expected, has_ended=runs_on)

    def type(self, text, expected):
        """Types a line into the program that runs on."""
        if not self._runs_on:
            raise AssertionError("no program waits for a line")
        self._send(text)
        self._await(expected, has_ended=True)

    def watch(self, expected):
        """Waits for what the programs of this window shall print without a further word."""
        self._await(expected, has_ended=True)

    def _await(self, expected, has_ended):
        status = None
        until = time.monotonic() + self._longest_wait
        while not (has_ended and expected.matches(whole=True)):
            try:
                line = self._lines.get(timeout=max(until - time.monotonic(), 0))
            except queue.Empty:
                raise AssertionError("did not come: " + self._comparison(expected)) from None
            if line is None:
                raise AssertionError("the shell has ended: " + self._comparison(expected))
            if line.startswith(END_OF_COMMAND):
                has_ended, status = True, int(line[1:])
                if status != 0:
                    raise AssertionError(f"ended with {status}: " + self._comparison(expected))
                continue
            expected.printed.append(line)
            if not expected.matches(whole=False):
                raise AssertionError("not as shown: " + self._comparison(expected))
        return status

    @staticmethod
    def _comparison(expected):
        return "\n".join(["the guide shows"] + ["  " + line for line in expected.lines] + ["and this was printed"] +
                         ["  " + line for line in expected.printed])

    def left(self):
        """The lines that nobody has waited for."""
        lines = []
        while not self._lines.empty():
            lines.append(self._lines.get())
        return [line for line in lines if line is not None and not line.startswith(END_OF_COMMAND)]

    def close(self):
        """Ends the shell and all that it has started."""
        try:
            os.killpg(self._shell.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self._shell.wait()
        self._shell.stdin.close()
        self._reader.join(timeout=self._longest_wait)
        self._shell.stdout.close()


def substituted(command, replacements):
    for old, new in replacements.items():
        command = command.replace(old, new)
    return command
