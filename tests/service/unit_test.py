"""What stands in systemd/, without starting anything.

  unit_test.py PROJECT
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from unit_file import UnitFile, byte_count, seconds

_PROJECT = pathlib.Path(sys.argv[1])
_UNITS = _PROJECT / "systemd"
_SERVICE = _UNITS / "ka-tts-server.service"
_MOUNT = _UNITS / "run-ka\\x2dtts\\x2dserver.mount"
_DROP_IN = _UNITS / "listen-hosts.conf.example"
# The highest exposure that is allowed, in tenths.
_THRESHOLD = 15


class Unit(unittest.TestCase):
    def setUp(self):
        self.unit = UnitFile(_SERVICE)
        self.mount = UnitFile(_MOUNT)

    def testEachDirectiveHasItsReasonAboveIt(self):
        """One comment may stand for a few directives that serve one purpose, and no more."""
        following = 0
        for line in _SERVICE.read_text(encoding="utf-8").partition("[Service]")[2].splitlines()[1:]:
            if line.startswith("["):
                break
            if line.startswith("# ---") or not line:
                following = None
            elif line.startswith("#"):
                following = 0
            else:
                self.assertIsNotNone(following, line)
                following += 1
                self.assertLessEqual(following, 3, line)

    def testNoToolBeforeTheStartCanHoldIt(self):
        commands = self.unit.commands("ExecStartPre")
        self.assertEqual(len(commands), 2)
        longest = 0
        for command in commands:
            self.assertTrue(command.may_fail)
            self.assertEqual(command.words[0], "/usr/bin/timeout")
            self.assertEqual(command.words[1], "-k")
            longest += int(command.words[2]) + int(command.words[3])
        self.assertLess(longest, seconds(self.unit.value("Service", "TimeoutStartSec")))

    def testStartLimitIsReachedByACrashLoop(self):
        starts = int(self.unit.value("Unit", "StartLimitBurst"))
        pause = seconds(self.unit.value("Service", "RestartSec"))
        interval = seconds(self.unit.value("Unit", "StartLimitIntervalSec"))
        self.assertLess(starts * pause, interval / 2)

    def testStampIsWhereTheServerMayWriteAndTheRamDiskForgets(self):
        (assignment,) = self.unit.values("Service", "Environment")
        stamp = pathlib.Path(assignment.removeprefix("KA_TTS_RESTART_STAMP="))
        self.assertEqual(str(stamp.parent), self.mount.value("Mount", "Where"))
        self.assertIn(str(stamp.parent), self.unit.words("Service", "ReadWritePaths"))

    def testMemoryLimitHasRoomForTheWholeRamDisk(self):
        options = dict(option.partition("=")[::2]
                       for option in self.mount.value("Mount", "Options").split(","))
        limit = byte_count(self.unit.value("Service", "MemoryMax"))
        self.assertGreaterEqual(limit, byte_count(options["size"]) + (192 << 20))
        self.assertLessEqual({"nosuid", "nodev", "noexec", "size", "nr_inodes"}, options.keys())

    def testEverythingWritableIsNotExecutable(self):
        writable = {*self.unit.words("Service", "ReadWritePaths"), "/tmp", "/var/tmp", "/dev/shm"}
        writable |= {"/var/lib/" + name.split("/")[0]
                     for name in self.unit.words("Service", "StateDirectory")}
        self.assertEqual(set(self.unit.words("Service", "NoExecPaths")), writable)

    def testDropInOpensThePortsByOneLine(self):
        drop_in = UnitFile(_DROP_IN)
        self.assertEqual(drop_in.keys(), {("Service", "IPAddressAllow")})
        self.assertEqual(len(drop_in.values("Service", "IPAddressAllow")), 1)
        both = UnitFile(_SERVICE, _DROP_IN)
        self.assertEqual(both.words("Service", "IPAddressAllow")[0], "localhost")
        page = (_PROJECT / "docs/operations.md").read_text(encoding="utf-8")
        self.assertIn("IPAddressAllow=" + drop_in.value("Service", "IPAddressAllow"), page)

    def testPagesThatNameTheExposureNameTheRealOne(self):
        page = (_PROJECT / "docs/operations.md").read_text(encoding="utf-8")
        stated = re.search(r"it is (\d\.\d) of 10", page)[1]
        self.assertEqual(exposure(_SERVICE), stated)


def exposure(*files):
    """The figure of "systemd-analyze security" for a service and its drop-ins."""
    return re.search(r"exposure level for \S+: (\S+) ", analyze_security(*files).stdout)[1]


def analyze_security(service, *drop_ins):
    with tempfile.TemporaryDirectory(prefix="ka-units-") as directory:
        shutil.copy(service, directory)
        place = pathlib.Path(directory) / "ka-tts-server.service.d"
        place.mkdir()
        for number, drop_in in enumerate(drop_ins):
            shutil.copy(drop_in, place / f"{number}.conf")
        return subprocess.run(
            ["systemd-analyze", "security", "--offline=true", "--no-pager",
             f"--threshold={_THRESHOLD}", "ka-tts-server.service"],
            env={"SYSTEMD_UNIT_PATH": directory + ":", "PATH": "/usr/bin", "LC_ALL": "C.UTF-8"},
            check=False, capture_output=True, text=True)


class Analysis(unittest.TestCase):
    """What systemd itself says of the units."""

    def testExposureIsBelowTheThreshold(self):
        for files in ((_SERVICE,), (_SERVICE, _DROP_IN)):
            report = analyze_security(*files)
            print(report.stdout.splitlines()[-1])
            self.assertEqual(report.returncode, 0, report.stdout + report.stderr)

    def testThresholdIsExceededByAServiceWithoutASandbox(self):
        with tempfile.TemporaryDirectory() as directory:
            bare = pathlib.Path(directory) / "ka-tts-server.service"
            bare.write_text("[Service]\nExecStart=/bin/true\n", encoding="utf-8")
            self.assertNotEqual(analyze_security(bare).returncode, 0)

    def testVerifyHasNothingToSay(self):
        self.assertEqual(self.verified(_SERVICE.read_text(encoding="utf-8")), "")

    def testVerifyNoticesAMistypedDirective(self):
        text = _SERVICE.read_text(encoding="utf-8").replace("ProtectHome=", "ProtectHom=")
        self.assertIn("ProtectHom", self.verified(text))

    def verified(self, service):
        """What "systemd-analyze verify" says in a root in which all programs are there."""
        with tempfile.TemporaryDirectory(prefix="ka-root-") as directory:
            root = pathlib.Path(directory)
            units = root / "usr/lib/systemd/system"
            units.mkdir(parents=True)
            for path in pathlib.Path("/lib/systemd/system").iterdir():
                if path.suffix in (".target", ".slice") and path.is_file():
                    shutil.copy(path, units)
            (units / _SERVICE.name).write_text(service, encoding="utf-8")
            shutil.copy(_MOUNT, units)
            for command in UnitFile(_SERVICE).commands("ExecStartPre") + \
                    UnitFile(_SERVICE).commands("ExecStart") + \
                    UnitFile(_SERVICE).commands("ExecStopPost"):
                program = root / command.words[0].lstrip("/")
                program.parent.mkdir(parents=True, exist_ok=True)
                program.touch(0o755)
            return subprocess.run(
                ["systemd-analyze", "verify", "--man=no", f"--root={root}", _SERVICE.name],
                check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True).stdout


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
