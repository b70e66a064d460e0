"""A stand-in for systemd: starts one service and follows the rules of its unit file.

What it follows: ConditionPathExists=, StateDirectory=, RuntimeDirectory=, WorkingDirectory=,
Environment=, UMask=, ExecStartPre=, ExecStart=, ExecStopPost=, the "-" before a command,
TimeoutStartSec=, KillMode=control-group, Restart=on-failure, RestartSec=, StartLimitIntervalSec=
and StartLimitBurst=. The restrictions of the unit are the business of sandbox.py.
"""

import ctypes
import os
import pathlib
import signal
import subprocess
import threading
import time

from unit_file import seconds

# What systemd gives to services that do not ask for more.
PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin"
# An end by one of these counts as a wanted one.
_CLEAN_SIGNALS = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM, signal.SIGPIPE)
_PR_SET_CHILD_SUBREAPER = 36


def _stat(pid):
    """State and parent of a process, or ("X", 0) when it is gone."""
    try:
        fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        return fields[0], int(fields[1])
    except (FileNotFoundError, ProcessLookupError):
        return "X", 0


def descendants():
    """All processes that this one started, directly or not."""
    parents = {int(name): _stat(name)[1] for name in os.listdir("/proc") if name.isdigit()}
    found, family = [], {os.getpid()}
    while grown := [pid for pid, parent in parents.items() if parent in family - {pid}]:
        for pid in grown:
            family.add(pid)
            found.append(pid)
            del parents[pid]
    return found


class Supervisor:
    """One service. The thread that start() begins lives until the service stays stopped."""

    def __init__(self, unit, journal, environment=None, haste=1):
        """`haste` shortens RestartSec=; `environment` stands for a drop-in's Environment=."""
        if unit.value("Service", "Restart") != "on-failure":
            raise ValueError("only Restart=on-failure is known here")
        self.unit = unit
        self.state = "inactive"
        self.result = "success"
        self.main_pid = 0
        self.main_status = None
        self.starts = []
        self._journal = journal
        self._delay = seconds(unit.value("Service", "RestartSec")) / haste
        assignments = (word.split("=", 1) for word in unit.words("Service", "Environment"))
        self._environment = {"PATH": PATH, **dict(assignments), **(environment or {})}
        self._stop = threading.Event()
        self._thread = None
        # What the server leaves behind becomes a child of this process, and not of process 1.
        ctypes.CDLL(None).prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)

    def start(self):
        """As "systemctl start": does not wait for the server to be ready."""
        self._stop.clear()
        self.state = "activating"
        self._thread = threading.Thread(target=self._supervise, daemon=True)
        self._thread.start()

    def stop(self):
        """As "systemctl stop"; waits for the end."""
        self._stop.set()
        if self.main_pid:
            os.kill(self.main_pid, signal.SIGTERM)
        self._thread.join()

    def _supervise(self):
        while True:
            if not self._may_start():
                self.result = "start-limit-hit"
                break
            self.result = self._activate()
            if self.result in ("success", "condition") or self._stop.is_set():
                break
            self.state = "auto-restart"
            if self._stop.wait(self._delay):
                break
        failed = self.result not in ("success", "condition") and not self._stop.is_set()
        self.state = "failed" if failed else "inactive"

    def _may_start(self):
        now = time.monotonic()
        interval = seconds(self.unit.value("Unit", "StartLimitIntervalSec"))
        self.starts = [*(start for start in self.starts if now - start < interval), now]
        return len(self.starts) <= int(self.unit.value("Unit", "StartLimitBurst"))

    def _activate(self):
        """Runs the service once, from its conditions to its last command; returns the result."""
        conditions = self.unit.values("Unit", "ConditionPathExists")
        if not all(os.path.exists(path) for path in conditions):
            return "condition"
        self.state = "activating"
        self._make_directories()
        result = self._prepare()
        if result == "success":
            result = self._run_main()
        self._kill_rest()
        # With a wanted end, what comes after it decides.
        for command in self.unit.commands("ExecStopPost"):
            ended = self._run_aside(command, None)
            result = ended if result == "success" else result
        self._kill_rest()
        return result

    def _make_directories(self):
        for root, key in (("/var/lib", "StateDirectory"), ("/run", "RuntimeDirectory")):
            for name in self.unit.words("Service", key):
                os.makedirs(os.path.join(root, name), exist_ok=True)

    def _prepare(self):
        deadline = time.monotonic() + seconds(self.unit.value("Service", "TimeoutStartSec", "90"))
        for command in self.unit.commands("ExecStartPre"):
            result = self._run_aside(command, deadline)
            if result != "success":
                return result
        return "success"

    def _run_main(self):
        (command,) = self.unit.commands("ExecStart")
        main = self._spawn(command.words)
        self.main_pid = main.pid
        self.state = "active"
        if self._stop.is_set():  # stop() came too early to find the process
            main.terminate()
        status = self.main_status = main.wait()
        self.state, self.main_pid = "deactivating", 0
        clean = status == 0 or -status in _CLEAN_SIGNALS
        return "success" if clean else "signal" if status < 0 else "exit-code"

    def _run_aside(self, command, deadline):
        process = self._spawn(command.words)
        try:
            process.wait(None if deadline is None else max(0, deadline - time.monotonic()))
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            return "timeout"
        return "success" if process.returncode == 0 or command.may_fail else "exit-code"

    def _spawn(self, words):
        with open(self._journal, "ab") as journal:
            return subprocess.Popen(
                words,
                stdin=subprocess.DEVNULL,
                stdout=journal,
                stderr=journal,
                cwd=self.unit.value("Service", "WorkingDirectory", "/"),
                env=self._environment,
                umask=int(self.unit.value("Service", "UMask", "0022"), 8),
                start_new_session=True,
            )

    @staticmethod
    def _kill_rest():
        """KillMode=control-group: whatever the service started ends with it."""
        while pids := [pid for pid in descendants() if _stat(pid)[0] != "X"]:
            for pid in pids:
                os.kill(pid, signal.SIGKILL)
            for pid in pids:
                try:
                    os.waitpid(pid, 0)
                except ChildProcessError:
                    pass  # a child of one of the others; it is adopted and met again
