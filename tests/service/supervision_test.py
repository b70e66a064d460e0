"""Who comes back and who stays stopped: the unit's rules, followed by the stand-in supervisor."""

import os
import pathlib
import subprocess
import unittest

from station import COMMAND, PROGRAM, STAMP, ServiceTest, ask, journal, listens, servers, wait_until
from supervisor import PATH

_INSTALLED = pathlib.Path("/control/program")
_DOCUMENT = pathlib.Path("/control/configuration/announcements/station.xml")


class Supervision(ServiceTest):
    def testTerminateStaysStopped(self):
        self.start()
        self.assertEqual(ask(COMMAND, "!terminate"), "received\n")
        self.await_state("inactive")
        self.assertEqual(self.service.result, "success")
        self.assertEqual(len(self.service.starts), 1)
        self.assertEqual(servers(), [])

    def testRestartComesBackAsANewProcess(self):
        self.start()
        old = self.service.main_pid
        self.assertEqual(ask(COMMAND, "!restart"), "received\n")
        new = self.await_successor(old)
        self.assertEqual(servers(), [new])
        self.assertEqual(ask(COMMAND, "none"), "received\n")

    def testRestartEndsTheServerWithStatusZero(self):
        self.start()
        old = self.service.main_pid
        ask(COMMAND, "!restart")
        wait_until(lambda: self.service.state == "auto-restart", "the pause before the new start")
        self.assertEqual(self.service.main_status, 0)
        self.assertIn("restart: the server was asked to start anew\n", journal())
        self.await_successor(old)

    def testRestartAgainAndAgainAndThenTerminate(self):
        self.start()
        for _ in range(3):
            old = self.service.main_pid
            ask(COMMAND, "!restart")
            self.await_successor(old)
        ask(COMMAND, "!terminate")
        self.await_state("inactive")
        self.assertEqual(len(self.service.starts), 4)
        self.assertFalse(os.path.exists(STAMP))

    def testRestartWithoutAPlaceForItsStampComesBackAllTheSame(self):
        self.start(environment={"KA_TTS_RESTART_STAMP": "/usr/no/such/place"})
        old = self.service.main_pid
        ask(COMMAND, "!restart")
        self.await_successor(old)

    def testStampThatCannotBeRemovedDoesNotUndoTerminate(self):
        os.mkdir(STAMP)
        self.addCleanup(os.rmdir, STAMP)
        self.start()
        ask(COMMAND, "!terminate")
        self.await_state("inactive")

    def testKilledServerComesBack(self):
        self.start()
        old = self.service.main_pid
        self.kill()
        self.await_successor(old)

    def testStoppedByTheAdministratorStaysStopped(self):
        self.start()
        self.service.stop()
        self.assertEqual(self.service.state, "inactive")
        self.assertEqual(len(self.service.starts), 1)
        self.assertEqual(servers(), [])

    def testCrashLoopEndsAtTheStartLimit(self):
        document = _DOCUMENT.read_text(encoding="utf-8")
        self.addCleanup(_DOCUMENT.write_text, document, encoding="utf-8")
        _DOCUMENT.write_text("<Station/>", encoding="utf-8")
        self.begin(haste=1000)
        self.await_state("failed")
        self.assertEqual(self.service.result, "start-limit-hit")
        starts = int(self.unit.value("Unit", "StartLimitBurst"))
        self.assertEqual(journal().count("terminate called after throwing"), starts)

    def testWithoutADocumentNothingIsStarted(self):
        _DOCUMENT.rename(_DOCUMENT.with_suffix(".away"))
        self.addCleanup(_DOCUMENT.with_suffix(".away").rename, _DOCUMENT)
        self.begin()
        self.await_state("inactive")
        self.assertEqual(self.service.result, "condition")
        self.assertEqual(journal(), "")


class BeforeTheStart(ServiceTest):
    def setUp(self):
        super().setUp()
        self.tool = _INSTALLED / "ka-tts"
        self.tool.rename(_INSTALLED / "ka-tts.away")
        self.addCleanup((_INSTALLED / "ka-tts.away").rename, self.tool)

    def putToolThat(self, does):
        self.tool.write_text("#!/bin/sh\n" + does, encoding="utf-8")
        self.tool.chmod(0o755)

    def testDoctorAndCheckAreRunInThisOrder(self):
        self.putToolThat('echo "called: $*"')
        self.start()
        called = [line for line in journal().splitlines() if line.startswith("called: ")]
        self.assertEqual(called, ["called: doctor --repair --no-probe", "called: check"])

    def testFindingsGoToTheJournalAndDoNotKeepTheStationFromStarting(self):
        self.putToolThat('echo "found something"; exit 1')
        self.start()
        self.assertEqual(journal().count("found something\n"), 2)

    def testCrashOfTheToolDoesNotKeepTheStationFromStarting(self):
        self.putToolThat("kill -KILL $$")
        self.start()

    def testMissingToolDoesNotKeepTheStationFromStarting(self):
        self.start()

    def testHangingToolDoesNotKeepTheStationFromStarting(self):
        self.putToolThat("trap '' TERM; while :; do sleep 1; done")
        # As in the unit, with shorter limits.
        commands = self.unit.commands("ExecStartPre")
        for command in commands:
            self.assertEqual(command.words[:4], ["/usr/bin/timeout", "-k", "5", "25"])
            command.words[2:4] = ["0.2", "0.3"]
        known = self.unit.commands
        self.unit.commands = lambda key: commands if key == "ExecStartPre" else known(key)
        self.start()


class WithoutSupervisor(ServiceTest):
    def setUp(self):
        super().setUp()
        for name in ("store", "play"):
            os.makedirs("/run/ka-tts-server/" + name, exist_ok=True)
        for name in ("de", "en"):
            os.makedirs("/var/lib/ka-tts-server/steady/" + name, exist_ok=True)
        self.service = None

    def tearDown(self):
        if listens(COMMAND):
            ask(COMMAND, "!terminate")
        wait_until(lambda: servers() == [], "the end of the server")

    def startByHand(self, **options):
        process = subprocess.Popen([PROGRAM], cwd=os.path.dirname(PROGRAM),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, **options)
        self.await_ports()
        return process

    def restarted(self, old):
        ask(COMMAND, "!restart")
        self.assertEqual(old.wait(), 0)
        (new,) = wait_until(servers, "a new server")
        self.await_ports()
        return new

    def testNewServerStartsOnlyWhenTheOldOneIsGone(self):
        old = self.startByHand()
        ask(COMMAND, "!restart")
        # The old process has ended. It stays in the table until it is waited for, but is gone.
        (new,) = wait_until(lambda: [pid for pid in servers() if pid != old.pid], "a new server")
        self.assertEqual(pathlib.Path(f"/proc/{old.pid}/stat").read_text().split()[2], "Z")
        old.wait()
        self.await_ports()
        self.assertEqual(servers(), [new])

    def testNewServerIsDetached(self):
        new = self.restarted(self.startByHand())
        self.assertEqual(os.getsid(new), new)
        self.assertEqual(os.readlink(f"/proc/{new}/fd/0"), "/dev/null")

    def testNewServerInheritsNoDescriptor(self):
        first, second = os.pipe()
        for descriptor in (first, second):
            os.set_inheritable(descriptor, True)
        pipe = os.readlink(f"/proc/self/fd/{first}")
        old = self.startByHand(pass_fds=(first, second))
        self.assertIn(pipe, self.openFiles(old.pid))
        new = self.restarted(old)
        self.assertNotIn(pipe, self.openFiles(new))
        # Beside the standard ones it has its own three ports, once the start is over.
        wait_until(lambda: len(self.openFiles(new)) == 6, "the end of the start")

    @staticmethod
    def openFiles(pid):
        files = []
        for name in os.listdir(f"/proc/{pid}/fd"):
            try:
                files.append(os.readlink(f"/proc/{pid}/fd/{name}"))
            except FileNotFoundError:
                pass  # closed meanwhile
        return files

    def testTerminateStaysStopped(self):
        old = self.startByHand()
        ask(COMMAND, "!terminate")
        self.assertEqual(old.wait(), 0)
        self.assertEqual(servers(), [])


class RestartScript(unittest.TestCase):
    """The script with an old process that takes its time."""

    def testWaitsUntilTheOldProcessIsGone(self):
        record = pathlib.Path("/tmp/started")
        successor = pathlib.Path("/tmp/successor")
        old = subprocess.Popen(["sleep", "1000"])
        successor.write_text(f"#!/bin/sh\n[ -e /proc/{old.pid} ] && found=two\n"
                             f"echo ${{found:-one}} >{record}\n", encoding="utf-8")
        successor.chmod(0o755)
        subprocess.run(["sh", "/usr/lib/ka-tts-server/restart", str(old.pid), str(successor)],
                       check=True, env={"PATH": PATH})
        wait_until(lambda: record.exists() or self.sleeping(old), "a second process that waits")
        old.kill()
        old.wait()
        self.assertEqual(wait_until(lambda: record.exists() and record.read_text(), "a start"),
                         "one\n")

    @staticmethod
    def sleeping(old):
        """Another process than `old` that does nothing but wait."""
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                command = pathlib.Path(f"/proc/{name}/comm").read_text()
            except (FileNotFoundError, ProcessLookupError):
                continue
            if command == "sleep\n" and int(name) != old.pid:
                return True
        return False


if __name__ == "__main__":
    unittest.main(verbosity=2)
