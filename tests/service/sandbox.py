"""Runs a command under the restrictions of the unit, as far as bubblewrap can impose them.

Inside stand the places that the package has, everything read-only but the state directory, the RAM
disk and /tmp. A user without rights and without a way to any, a network of its own with nothing but
the loopback, no foreign processes, no devices, and the unit's system-call filters.
"""

import errno
import os
import pathlib
import socket
import stat
import subprocess

import seccomp
from unit_file import UnitFile, byte_count

# The user in the sandbox, and who that is outside when root runs this.
INSIDE, OUTSIDE = 990, 64990
_CLONE_NEW = (0x00000080, 0x00020000, 0x02000000, 0x04000000, 0x08000000, 0x10000000, 0x20000000,
              0x40000000)
_PROT_WRITE, _PROT_EXEC, _SHM_EXEC = 2, 4, 0o100000


def system_calls(names):
    """The system calls of the sets and calls that SystemCallFilter= names."""
    calls = set()
    for name in names:
        if not name.startswith("@"):
            calls.add(name)
            continue
        listed = subprocess.run(["systemd-analyze", "--no-pager", "syscall-filter", name],
                                check=True, capture_output=True, text=True).stdout
        members = (line.strip() for line in listed.splitlines()[1:])
        calls |= system_calls(member for member in members if member and member[0] != "#")
    return calls


def _call_filter(unit):
    """SystemCallFilter=: the named sets, less those of the lines that begin with "~"."""
    allowed = set()
    for value in unit.values("Service", "SystemCallFilter"):
        names = system_calls(value.removeprefix("~").split())
        allowed = allowed - names if value.startswith("~") else allowed | names
    error = unit.value("Service", "SystemCallErrorNumber")
    program = seccomp.SyscallFilter(seccomp.ERRNO(getattr(errno, error)))
    for call in sorted(allowed):
        _add(program, seccomp.ALLOW, call)
    return program


def _add(program, action, call, *arguments):
    """A rule; none for a call that this processor does not have."""
    try:
        program.add_rule(action, call, *arguments)
    except (RuntimeError, ValueError, OSError):
        if seccomp.resolve_syscall(seccomp.Arch(), call) >= 0:
            raise


def _refusals(rules):
    """Allows everything but the given calls: (errno, call, arguments)."""
    program = seccomp.SyscallFilter(seccomp.ALLOW)
    for error, call, *arguments in rules:
        _add(program, seccomp.ERRNO(error), call, *arguments)
    return program


def _has(position, bits):
    return seccomp.Arg(position, seccomp.MASKED_EQ, bits, bits)


def _address_families(unit):
    """RestrictAddressFamilies="""
    allowed = sorted(getattr(socket, name) for name in
                     unit.words("Service", "RestrictAddressFamilies"))
    others = [family for family in range(64) if family not in allowed]
    rules = [(errno.EAFNOSUPPORT, "socket", seccomp.Arg(0, seccomp.EQ, family))
             for family in others]
    return _refusals([*rules, (errno.EAFNOSUPPORT, "socket", seccomp.Arg(0, seccomp.GE, 64))])


def _namespaces():
    """RestrictNamespaces=yes"""
    rules = [(errno.EPERM, call, _has(0, flag)) for call in ("clone", "unshare")
             for flag in _CLONE_NEW]
    return _refusals([*rules, (errno.EPERM, "setns"), (errno.ENOSYS, "clone3")])


def _executable_memory():
    """MemoryDenyWriteExecute=yes"""
    return _refusals([
        (errno.EPERM, "mmap", _has(2, _PROT_WRITE | _PROT_EXEC)),
        (errno.EPERM, "mprotect", _has(2, _PROT_EXEC)),
        (errno.EPERM, "pkey_mprotect", _has(2, _PROT_EXEC)),
        (errno.EPERM, "shmat", _has(2, _SHM_EXEC)),
    ])


def _set_id_bits():
    """RestrictSUIDSGID=yes"""
    modes = {"chmod": 1, "fchmod": 1, "fchmodat": 2}
    return _refusals((errno.EPERM, call, _has(position, bit)) for call, position in modes.items()
                     for bit in (stat.S_ISUID, stat.S_ISGID))


def _personality():
    """LockPersonality=yes"""
    return _refusals([(errno.EPERM, "personality", seccomp.Arg(0, seccomp.NE, 0))])


def _filters(unit):
    """All system-call filters of the unit; each directive that is not set adds none."""
    programs = [_call_filter(unit), _address_families(unit)]
    for key, program in (("RestrictNamespaces", _namespaces), ("RestrictSUIDSGID", _set_id_bits),
                         ("MemoryDenyWriteExecute", _executable_memory),
                         ("LockPersonality", _personality)):
        if unit.value("Service", key) == "yes":
            programs.append(program())
    return programs


def _entries(directory, without=()):
    """Binds everything of a directory but some names, so that others can stand beside it."""
    for entry in sorted(pathlib.Path(directory).iterdir()):
        if entry.name in without:
            continue
        if entry.is_symlink():
            yield from ("--symlink", os.readlink(entry), str(entry))
        else:
            yield from ("--ro-bind", str(entry), str(entry))


def _system():
    """The programs and libraries of the machine, without any way to end or reboot others."""
    yield from _entries("/usr", without=("lib", "share", "local"))
    for directory in ("/usr/lib", "/usr/share"):
        yield from _entries(directory, without=("ka-tts-server",))
    for link in ("bin", "sbin", "lib", "lib64"):
        yield from ("--symlink", "usr/" + link, "/" + link)
    for name in ("alternatives", "ld.so.cache", "localtime", "nsswitch.conf"):
        yield from ("--ro-bind-try", "/etc/" + name, "/etc/" + name)


def _places(stage, unit, mount):
    """What the package and the unit lay out."""
    bound = {"program": "/usr/lib/ka-tts-server", "data": "/usr/share/ka-tts-server",
             "configuration": "/etc/ka-tts-server", "stubs": "/usr/local/bin", "tests": "/tests",
             "units": "/units", "passwd": "/etc/passwd", "group": "/etc/group"}
    for name, place in bound.items():
        yield from ("--ro-bind", f"{stage}/{name}", place)
    # The real ones stay out of reach by their full names, too.
    for name in ("/usr/bin/killall", "/usr/sbin/reboot"):
        if os.path.exists(name):
            stub = f"{stage}/stubs/{os.path.basename(name)}"
            yield from ("--ro-bind", stub, os.path.realpath(name))
    options = dict(option.partition("=")[::2] for option in
                   mount.value("Mount", "Options").split(","))
    yield from ("--size", str(byte_count(options["size"])), "--perms", options["mode"], "--tmpfs",
                mount.value("Mount", "Where"))
    for name in unit.words("Service", "StateDirectory")[:1]:
        yield from ("--bind", f"{stage}/state", f"/var/lib/{name}")
    yield from ("--bind", f"{stage}/heard", "/heard", "--tmpfs", "/tmp", "--dir", "/var/tmp")


def _as_user():
    """Gives up root's rights, if there are any."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", f"--reuid={OUTSIDE}", f"--regid={OUTSIDE}", "--clear-groups",
            "--inh-caps=-all", "--bounding-set=-all"]


def _command(stage, control, descriptors):
    unit = UnitFile(f"{stage}/units/ka-tts-server.service")
    mount = UnitFile(f"{stage}/units/run-ka\\x2dtts\\x2dserver.mount")
    limits = ["prlimit", "--nofile=" + unit.value("Service", "LimitNOFILE")]
    user = ["--uid", str(INSIDE), "--gid", str(INSIDE), "--cap-drop", "ALL"]
    process = ["--die-with-parent", "--new-session", "--chdir", "/", "--clearenv",
               "--setenv", "PATH", "/usr/local/bin:/usr/bin", "--setenv", "LC_ALL", "C.UTF-8",
               "--setenv", "PYTHONDONTWRITEBYTECODE", "1"]
    files = [*_system(), "--proc", "/proc", "--dev", "/dev", *_places(stage, unit, mount)]
    for name in ("program", "configuration") if control else ():
        files += ["--bind", f"{stage}/{name}", f"/control/{name}"]
    filters = [word for number in descriptors for word in ("--add-seccomp-fd", str(number))]
    return [*limits, *_as_user(), "bwrap", "--unshare-all", *user, *process, *files, *filters,
            "--remount-ro", "/", "--"]


def is_possible():
    """Whether the kernel of this machine gives namespaces to an ordinary user."""
    probe = [*_as_user(), "bwrap", "--unshare-all", "--ro-bind", "/", "/", "true"]
    return subprocess.run(probe, check=False).returncode == 0


def enter(stage, control, words):
    """Runs `words` in the sandbox over `stage`, a directory made by stage.py; returns its status.

    With `control` the tests can change under /control what is installed.
    """
    files = []
    for number, program in enumerate(_filters(UnitFile(f"{stage}/units/ka-tts-server.service"))):
        with open(f"{stage}/filter.{number}", "wb") as file:
            program.export_bpf(file)
        files.append(open(f"{stage}/filter.{number}", "rb"))
    descriptors = [file.fileno() for file in files]
    return subprocess.run([*_command(stage, control, descriptors), *words], check=False,
                          pass_fds=descriptors).returncode
