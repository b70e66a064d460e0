"""The server at work under the unit's restrictions, and what these keep out."""

import array
import ctypes
import errno
import mmap
import os
import pathlib
import socket
import threading
import unittest
import wave

from station import COMMAND, DATA, PLAY, TEXT, ServiceTest, ask, journal, shell, wait_until

_BLOCK = pathlib.Path("/etc/ka-tts-server/announcements/blocks/several-rows.xml")
_FULL_SCALE = 32768
_HELD_PLAYER = """#!/bin/sh
echo "$$" >/tmp/player
read -r line </tmp/held
"""


def samples(path):
    with wave.open(str(path)) as file:
        return array.array("h", file.readframes(file.getnframes()))


def level(sound):
    """The root mean square, as a part of full scale."""
    return (sum(sample * sample for sample in sound) / max(1, len(sound))) ** 0.5 / _FULL_SCALE


class Sandbox(ServiceTest):
    def heard(self):
        return sorted(pathlib.Path("/heard").glob("heard.wav*"))

    def setUp(self):
        super().setUp()
        for file in self.heard():
            file.unlink()
        self.start()

    def testDemoBlockIsSpoken(self):
        self.assertEqual(ask(DATA, _BLOCK.read_bytes()), "received\n")
        self.assertIn("Meldung Nr. 1 --- Meldung OK", journal())
        self.assertEqual(ask(COMMAND, "de0,en0"), "received\n")
        self.assertEqual(len(self.heard()), 2, journal())
        for name, file in zip(("de0", "en0"), self.heard()):
            wanted, sound = samples(f"{PLAY}/{name}.wav"), samples(file)
            self.assertEqual(sound[:len(wanted)], wanted, name)
            print(f"{name}: {len(sound) / 22050:.2f} s, level {level(sound):.3f}")
            self.assertGreater(level(sound), 0.02)

    def testTextAndBellAreHeard(self):
        self.assertEqual(ask(TEXT, "Guten Tag."), "received\n")
        self.assertEqual(ask(COMMAND, "!bell"), "received\n")
        text, bell = self.heard()
        self.assertGreater(level(samples(text)), 0.02)
        self.assertGreater(level(samples(bell)), 0.02)

    def testRebootIsAskedForInTheOrdinaryWay(self):
        pathlib.Path("/tmp/reboot.calls").unlink(missing_ok=True)
        self.assertEqual(ask(COMMAND, "!reboot-stamp"), "received\n")
        self.assertEqual(pathlib.Path("/tmp/reboot.calls").read_text(), "called\n")

    def testTheDirectoriesOfTheUnitAreThere(self):
        for name in self.unit.words("Service", "StateDirectory"):
            self.assertTrue(os.path.isdir("/var/lib/" + name), name)
        for name in self.unit.words("Service", "RuntimeDirectory"):
            self.assertTrue(os.path.isdir("/run/" + name), name)


class Players(ServiceTest):
    def setUp(self):
        super().setUp()
        os.makedirs("/tmp/players", exist_ok=True)
        player = pathlib.Path("/tmp/players/aplay")
        player.write_text(_HELD_PLAYER, encoding="utf-8")
        player.chmod(0o755)
        if not os.path.exists("/tmp/held"):
            os.mkfifo("/tmp/held")
        pathlib.Path("/tmp/player").unlink(missing_ok=True)
        self.start(environment={"PATH": "/tmp/players:/usr/local/bin:/usr/bin"})

    def testUrgentTextFindsAndEndsThePlayerOfAPlayList(self):
        ask(DATA, _BLOCK.read_bytes())
        answers = []
        client = threading.Thread(target=lambda: answers.append(ask(COMMAND, "de0")))
        client.start()
        wait_until(lambda: os.path.exists("/tmp/player"), "a player")
        self.assertEqual(ask(TEXT, "!u"), "received\n")
        client.join()
        self.assertEqual(answers, ["received\n"])
        self.assertIn("killall -9 aplay\n", pathlib.Path("/tmp/killall.calls").read_text())


class Confinement(ServiceTest):
    """What a text with a command in it cannot do."""

    def setUp(self):
        super().setUp()
        self.start()

    def testItIsAUserWithoutRights(self):
        status = shell("cat /proc/self/status")
        for line in ("NoNewPrivs:\t1", "CapEff:\t0000000000000000", "CapBnd:\t0000000000000000",
                     "Seccomp:\t2"):
            self.assertIn(line + "\n", status)
        self.assertEqual(shell("id -u -n"), "ka-tts\n")

    def testItWritesToTheStateDirectoryTheRamDiskAndTemporaryFilesOnly(self):
        for place in ("/usr/lib/ka-tts-server", "/etc/ka-tts-server", "/usr/bin", "/etc", "/",
                      "/usr/share/ka-tts-server", "/usr/lib/ka-tts-server/announcements"):
            self.assertIn("Read-only file system", shell(f"touch {place}/written"), place)
        for place in ("/run/ka-tts-server", "/var/lib/ka-tts-server", "/tmp",
                      "/usr/lib/ka-tts-server/run", "/usr/lib/ka-tts-server/state"):
            self.assertEqual(shell(f"touch {place}/written && rm {place}/written"), "", place)

    def testTheRamDiskHasTheSizeOfItsUnit(self):
        self.assertEqual(shell("stat --file-system --format '%S %b' /run/ka-tts-server"),
                         f"4096 {128 * 1024 * 1024 // 4096}\n")

    def testItSeesNoOtherProcesses(self):
        names = {pathlib.Path(f"/proc/{pid}/comm").read_text().strip()
                 for pid in filter(str.isdigit, os.listdir("/proc"))}
        self.assertLessEqual(names, {"bwrap", "python3", "ka-tts-server", "aplay", "sh"})

    def testItReachesNoNetwork(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
            with self.assertRaises(OSError) as caught:
                client.connect(("192.0.2.1", 9))
            self.assertEqual(caught.exception.errno, errno.ENETUNREACH)

    def testItMakesNoNamespace(self):
        self.assertIn("Operation not permitted", shell("unshare --user true"))

    def testItHasNoMoreOpenFilesThanTheUnitAllows(self):
        self.assertEqual(shell("ulimit -n"), "1024\n")


class SystemCalls(unittest.TestCase):
    """The filters that the unit's directives make, tried from this process: it has them, too."""

    def setUp(self):
        self.libc = ctypes.CDLL(None, use_errno=True)

    def refused(self, result, error):
        self.assertEqual(result, -1)
        self.assertEqual(errno.errorcode[ctypes.get_errno()], errno.errorcode[error])

    def testOtherAddressFamiliesAreRefused(self):
        for family in (socket.AF_INET6, socket.AF_NETLINK, socket.AF_PACKET):
            self.refused(self.libc.socket(family, socket.SOCK_RAW, 0), errno.EAFNOSUPPORT)
        for family in (socket.AF_INET, socket.AF_UNIX):
            socket.socket(family, socket.SOCK_STREAM).close()

    def testMemoryIsWritableOrExecutable(self):
        with self.assertRaises(PermissionError):
            mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE | mmap.PROT_EXEC)
        memory = mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE)
        address = ctypes.addressof(ctypes.c_char.from_buffer(memory))
        self.refused(self.libc.mprotect(ctypes.c_void_p(address), 4096,
                                        mmap.PROT_READ | mmap.PROT_EXEC), errno.EPERM)

    def testFilesGetNoSetIdBits(self):
        file = pathlib.Path("/tmp/set-id")
        file.touch()
        file.chmod(0o755)
        for bit in (0o4000, 0o2000):
            with self.assertRaises(PermissionError):
                file.chmod(0o755 | bit)

    def testAnotherPersonalityIsRefused(self):
        addresses_fixed = 0x0040000
        self.refused(self.libc.personality(addresses_fixed), errno.EPERM)
        self.assertEqual(self.libc.personality(0), 0)

    def testPrivilegedCallsAreRefusedAndOrdinaryOnesPass(self):
        self.refused(self.libc.setpriority(0, 0, 1), errno.EPERM)
        self.refused(self.libc.mount(b"none", b"/tmp", b"tmpfs", 0, None), errno.EPERM)
        self.refused(self.libc.sethostname(b"other", 5), errno.EPERM)
        self.assertEqual(self.libc.getppid(), os.getppid())


if __name__ == "__main__":
    unittest.main(verbosity=2)
