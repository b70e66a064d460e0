"""The installed station as tests inside the sandbox meet it."""

import os
import pathlib
import shlex
import signal
import socket
import time
import unittest

from supervisor import Supervisor
from unit_file import UnitFile

TEXT, DATA, COMMAND = 5701, 5702, 5703
PROGRAM = "/usr/lib/ka-tts-server/ka-tts-server"
PLAY = "/run/ka-tts-server/play"
STAMP = "/run/ka-tts-server/restart-wanted"
SOUND = {"ALSA_CONFIG_PATH": "/heard/asound.conf"}
_JOURNAL = pathlib.Path("/tmp/journal")
_PATIENCE = 100


def wait_until(condition, what):
    """Polls until the condition holds; fails the test when that takes too long."""
    deadline = time.monotonic() + _PATIENCE
    while not (result := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain: {what}\n{journal()}")
        time.sleep(0.02)
    return result


def journal():
    """All that the service printed."""
    return _JOURNAL.read_text(encoding="utf-8", errors="replace") if _JOURNAL.exists() else ""


def listens(port):
    """Whether anybody listens on the port, by the kernel's table: a connection is a message."""
    rows = pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]
    return any(row.split()[1].endswith(f":{port:04X}") and row.split()[3] == "0A" for row in rows)


def ask(port, message):
    """Sends one message and returns the answer; what a vanishing server leaves out is missing."""
    with socket.create_connection(("127.0.0.1", port), timeout=_PATIENCE) as client:
        client.sendall(message if isinstance(message, bytes) else message.encode())
        answer = b""
        try:
            while part := client.recv(100):
                answer += part
        except ConnectionResetError:
            pass
        return answer.decode()


def shell(command):
    """Lets the server's shell run a command in the midst of a text; returns what it prints."""
    output = pathlib.Path("/tmp/output")
    output.unlink(missing_ok=True)
    quoted = command.replace("\\", "\\\\")
    ask(TEXT, f"$({{ {quoted}; }} >{shlex.quote(str(output))} 2>&1)")
    return output.read_text(encoding="utf-8")


def servers():
    """The ids of all server processes."""
    found = []
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.readlink(f"/proc/{name}/exe") == PROGRAM and not _is_shell_child(name):
                found.append(int(name))
        except OSError:
            pass
    return found


def _is_shell_child(name):
    """A child of the server between fork and exec still has its program."""
    parent = pathlib.Path(f"/proc/{name}/stat").read_text().rpartition(")")[2].split()[1]
    try:
        return os.readlink(f"/proc/{parent}/exe") == PROGRAM
    except OSError:
        return False


class ServiceTest(unittest.TestCase):
    """A service under the stand-in supervisor, stopped after the test."""

    def setUp(self):
        for path in (_JOURNAL, pathlib.Path(STAMP)):
            path.unlink(missing_ok=True)
        self.unit = UnitFile("/units/ka-tts-server.service")
        self.service = None

    def tearDown(self):
        if self.service and self.service.state not in ("inactive", "failed"):
            self.service.stop()

    def start(self, **options):
        """Starts the service and waits until its ports are open."""
        self.begin(**options)
        self.await_ports()

    def begin(self, environment=None, haste=20):
        self.service = Supervisor(self.unit, _JOURNAL, {**SOUND, **(environment or {})}, haste)
        self.service.start()

    def await_ports(self):
        wait_until(lambda: all(map(listens, (TEXT, DATA, COMMAND))), "open ports")

    def await_state(self, state):
        wait_until(lambda: self.service.state == state, state + ", not " + self.service.state)

    def await_successor(self, old):
        """Waits for a server other than the process `old`, ready to serve."""
        wait_until(lambda: self.service.main_pid not in (0, old), "a new server")
        self.await_ports()
        return self.service.main_pid

    def kill(self):
        os.kill(self.service.main_pid, signal.SIGKILL)
