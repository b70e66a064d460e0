"""The unit under the real systemd. scripts/boot-test runs this in a booted container.

/stage is a directory made by stage.py; /stage/packages has the packages, if those are to be tested.
The container is thrown away afterwards.
"""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import unittest

from station import COMMAND, DATA, TEXT, ask, listens, wait_until

_STAGE = pathlib.Path("/stage")
_UNIT = "ka-tts-server.service"
_DROP_INS = pathlib.Path(f"/etc/systemd/system/{_UNIT}.d")
_DOCUMENT = pathlib.Path("/etc/ka-tts-server/announcements/station.xml")
_RULE = pathlib.Path("/etc/polkit-1/rules.d/50-ka-tts-reboot.rules")
_BLOCK = pathlib.Path("/etc/ka-tts-server/announcements/blocks/several-rows.xml")
_PAGE = pathlib.Path("/stage/operations.md")
_HEARD = pathlib.Path("/var/lib/ka-tts-server")


def run(*words):
    """The output of a command, whatever its status."""
    return subprocess.run(words, check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True).stdout


def systemctl(*words):
    subprocess.run(["systemctl", *words], check=True)


def shown(name):
    return run("systemctl", "show", "-P", name, _UNIT).strip()


def journal():
    return run("journalctl", "--no-pager", "-o", "cat", "-u", _UNIT)


def packages():
    return sorted(map(str, (_STAGE / "packages").glob("*.deb")))


def lay_out():
    """Puts everything where the packages put it."""
    for name, place in (("program", "/usr/lib/ka-tts-server"), ("data", "/usr/share/ka-tts-server"),
                        ("configuration", "/etc/ka-tts-server")):
        shutil.copytree(_STAGE / name, place, symlinks=True)
    for unit in (_STAGE / "units").iterdir():
        if unit.suffix in (".service", ".mount"):
            shutil.copy(unit, "/lib/systemd/system")
    run("systemd-sysusers", str(_STAGE / "units/ka-tts-server.sysusers"))


def setUpModule():
    # Stand-ins, so that nothing here ends foreign players or the machine.
    for name, place in (("killall", "/usr/bin/killall"), ("reboot", "/usr/sbin/reboot")):
        pathlib.Path(place).unlink(missing_ok=True)
        shutil.copy(_STAGE / "stubs" / name, place)
    if packages():
        subprocess.run(["dpkg", "--install", *packages()], check=True)
    else:
        lay_out()
    sound = (_STAGE / "heard/asound.conf").read_text().replace("/heard/", f"{_HEARD}/")
    pathlib.Path("/etc/asound-test.conf").write_text(sound)
    _DROP_INS.mkdir(parents=True)
    (_DROP_INS / "sound.conf").write_text(
        "[Service]\nEnvironment=ALSA_CONFIG_PATH=/etc/asound-test.conf\n")
    systemctl("daemon-reload")


@unittest.skipUnless(packages(), "without packages")
class AtInstallation(unittest.TestCase):
    """Begins with "A": before the others stop and start the service."""

    def testServiceIsEnabledAndRuns(self):
        wait_until(lambda: shown("ActiveState") == "active", "the start by the installation")
        self.assertEqual(shown("UnitFileState"), "enabled")
        wait_until(lambda: listens(COMMAND), "an open port")
        self.assertEqual(ask(COMMAND, "none"), "received\n")


@unittest.skipUnless(packages(), "without packages")
class Removal(unittest.TestCase):
    """Comes last of all."""

    def testPurgeStopsTheServiceAndLeavesNothing(self):
        shutil.rmtree(_DROP_INS)
        systemctl("start", _UNIT)
        subprocess.run(["dpkg", "--purge", "ka-tts-server-demo", "ka-tts-server"], check=True)
        self.assertEqual(run("systemctl", "is-active", _UNIT).strip(), "inactive")
        self.assertFalse(listens(COMMAND))
        self.assertEqual(subprocess.run(["getent", "passwd", "ka-tts"], check=False).returncode, 2)
        for place in ("/run", "/var/lib", "/etc", "/usr/lib", "/usr/share"):
            self.assertFalse(os.path.exists(f"{place}/ka-tts-server"), place)


class Booted(unittest.TestCase):
    def setUp(self):
        systemctl("reset-failed")
        systemctl("start", _UNIT)
        self.awaitPorts()

    def tearDown(self):
        systemctl("stop", _UNIT)

    def awaitPorts(self):
        wait_until(lambda: all(map(listens, (TEXT, DATA, COMMAND))), "open ports")

    def awaitSuccessor(self, old):
        wait_until(lambda: shown("MainPID") not in ("0", old), "a new server")
        self.awaitPorts()

    def shell(self, command):
        """Lets the server's shell run a command in the midst of a text; returns what it prints."""
        output = pathlib.Path("/run/ka-tts-server/output")
        ask(TEXT, f"$({{ {command}; }} >{output} 2>&1)")
        return output.read_text()

    def testDemoBlockIsHeard(self):
        ask(DATA, _BLOCK.read_bytes())
        self.assertEqual(ask(COMMAND, "de0,en0"), "received\n")
        self.assertIn("Meldung Nr. 1 --- Meldung OK", journal())
        for name in ("heard.wav", "heard.wav.0001"):
            sound = (_HEARD / name).read_bytes()
            self.assertGreater(len(sound), 500000)
            self.assertTrue(any(sound[44:200000]))

    def testTerminateStaysStopped(self):
        ask(COMMAND, "!terminate")
        wait_until(lambda: shown("ActiveState") == "inactive", "the end")
        self.assertEqual(shown("Result"), "success")
        self.assertEqual(shown("ExecMainStatus"), "0")
        self.assertFalse(listens(COMMAND))

    def testRestartComesBackAsANewProcess(self):
        for _ in range(2):
            old = shown("MainPID")
            self.assertEqual(ask(COMMAND, "!restart"), "received\n")
            self.awaitSuccessor(old)
        self.assertEqual(shown("NRestarts"), "2")
        ask(COMMAND, "!terminate")
        wait_until(lambda: shown("ActiveState") == "inactive", "the end")

    def testKilledServerComesBack(self):
        old = shown("MainPID")
        os.kill(int(old), signal.SIGKILL)
        self.awaitSuccessor(old)

    def testStopStaysStopped(self):
        systemctl("stop", _UNIT)
        self.assertEqual(shown("ActiveState"), "inactive")
        self.assertEqual(shown("Result"), "success")

    def testCrashLoopEndsAtTheStartLimitAndIsLiftedAsThePageSays(self):
        document = _DOCUMENT.read_text()
        self.addCleanup(_DOCUMENT.write_text, document)
        _DOCUMENT.write_text("<Station/>")
        run("systemctl", "restart", _UNIT)
        wait_until(lambda: shown("ActiveState") == "failed", "the start limit")
        self.assertIn("Start request repeated too quickly", journal())
        _DOCUMENT.write_text(document)
        self.assertIn("failed", run("systemctl", "start", _UNIT))
        systemctl("reset-failed", _UNIT)
        systemctl("start", _UNIT)
        self.awaitPorts()

    def testFailingToolsDoNotKeepItFromStarting(self):
        tool = pathlib.Path("/usr/lib/ka-tts-server/ka-tts")
        tool.rename(tool.with_suffix(".away"))
        self.addCleanup(tool.with_suffix(".away").rename, tool)
        tool.write_text("#!/bin/sh\necho looked for $1; exit 1\n")
        tool.chmod(0o755)
        systemctl("restart", _UNIT)
        self.awaitPorts()
        self.assertIn("looked for doctor\nlooked for check\n", journal())

    def testWithoutADocumentNothingIsStarted(self):
        systemctl("stop", _UNIT)
        _DOCUMENT.rename("/root/document")
        self.addCleanup(pathlib.Path("/root/document").rename, _DOCUMENT)
        systemctl("start", _UNIT)
        self.assertEqual(shown("ActiveState"), "inactive")
        self.assertEqual(shown("ConditionResult"), "no")

    def testProcessHasNoRightsAndAFilter(self):
        status = pathlib.Path(f"/proc/{shown('MainPID')}/status").read_text()
        for line in ("NoNewPrivs:\t1", "CapEff:\t0000000000000000", "CapBnd:\t0000000000000000",
                     "Seccomp:\t2"):
            self.assertIn(line + "\n", status)
        self.assertRegex(self.shell("id"), r"uid=\d+\(ka-tts\)")

    def testWritableIsOnlyWhatMustBeAndNothingOfItRuns(self):
        for place in ("/usr/lib/ka-tts-server", "/etc/ka-tts-server", "/usr/bin", "/etc"):
            self.assertIn("Read-only file system", self.shell(f"touch {place}/written"), place)
        places = ("/run/ka-tts-server", "/var/lib/ka-tts-server", "/tmp", "/var/tmp", "/dev/shm")
        for place in places:
            tried = self.shell(f"cp /bin/true {place}/program && {place}/program")
            self.assertIn("Permission denied", tried, place)

    def testRamDiskHasItsSizeAndOwner(self):
        found = run("findmnt", "-n", "-o", "FSTYPE,OPTIONS", "/run/ka-tts-server")
        for option in ("tmpfs", "size=131072k", "nr_inodes=4096", "nosuid", "nodev", "noexec"):
            self.assertIn(option, found)
        self.assertEqual(pathlib.Path("/run/ka-tts-server").owner(), "ka-tts")

    def testSoundCardsAreSeenInItsOwnDev(self):
        card = pathlib.Path("/dev/snd/pcmC0D0p")
        card.parent.mkdir(exist_ok=True)
        self.addCleanup(shutil.rmtree, card.parent)
        card.touch()
        shutil.chown(card, "root", "audio")
        card.chmod(0o660)
        systemctl("restart", _UNIT)
        self.awaitPorts()
        self.assertEqual(self.shell(f"echo played >{card}"), "")
        self.assertEqual(card.read_text(), "played\n")
        # One that is plugged in later is there at once.
        (card.parent / "later").touch()
        self.assertIn("later", self.shell("ls /dev/snd"))
        self.assertNotIn("console", self.shell("ls /dev"))

    def testItFindsAndEndsItsOwnProcessesAndSeesNoOthers(self):
        """What "killall" needs for the players, tried with a process of another name."""
        ask(TEXT, "$(sleep 1000 >/dev/null 2>&1 &)")
        names = self.shell("cat /proc/[0-9]*/comm").split()
        self.assertIn("sleep", names)
        self.assertNotIn("systemd", names)
        self.shell("for p in /proc/[0-9]*; do grep -qx sleep $p/comm && kill -9 ${p#/proc/}; done")
        self.assertNotIn("sleep", self.shell("cat /proc/[0-9]*/comm").split())

    def testRebootIsRefusedUntilTheRuleIsThere(self):
        question = ("busctl call org.freedesktop.login1 /org/freedesktop/login1 "
                    "org.freedesktop.login1.Manager CanReboot")
        self.assertIn("challenge", self.shell(question))
        self.addCleanup(_RULE.unlink)
        shutil.copy(_STAGE / "units/reboot-stamp.rules.example", _RULE)
        wait_until(lambda: "yes" in self.shell(question), "the rule")

    def testCommandsOfThePageShowSomething(self):
        ask(DATA, _BLOCK.read_bytes())
        commands = re.findall(r"^    \$ (.*)$", _PAGE.read_text(), re.MULTILINE)
        self.assertGreater(len(commands), 5)
        for command in commands:
            with self.subTest(command):
                output = run("sh", "-c", command)
                self.assertNotIn("-- No entries --", output)
                self.assertIn("ka", output)

    def testCommandsOfThePageForRootPass(self):
        commands = re.findall(r"^    # (systemctl .*)$", _PAGE.read_text(), re.MULTILINE)
        self.assertEqual(len(commands), 3)
        for command in commands:
            subprocess.run(command.split(), check=True)


class Limits(unittest.TestCase):
    """What depends on the container's own way to the kernel, printed and not judged."""

    def testWhatIsInForceHere(self):
        systemctl("start", _UNIT)
        group = f"/sys/fs/cgroup{shown('ControlGroup')}"
        for name in ("memory.max", "pids.max"):
            path = os.path.join(group, name)
            print(name, pathlib.Path(path).read_text().strip() if os.path.exists(path) else
                  "cannot be set in this container")
        self.assertEqual(shown("MemoryMax"), str(384 << 20))
        self.assertEqual(shown("TasksMax"), "64")


if __name__ == "__main__":
    unittest.main(verbosity=2)
