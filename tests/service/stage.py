"""Lays out the installed demo station in a directory, for sandbox.py.

program, data and configuration are what the package puts under /usr/lib, /usr/share and /etc; state
and heard are written to; stubs stand first in the search path.
"""

import os
import pathlib
import shutil

_PROGRAM = "/usr/lib/ka-tts-server"
_LINKS = {
    "kaconfig": "/etc/ka-tts-server",
    "lexidata": "/etc/ka-tts-server/lexidata",
    "announcements": "/etc/ka-tts-server/announcements",
    "messages": "/usr/share/ka-tts-server/messages",
    "schema": "/usr/share/ka-tts-server/schema",
    "run": "/run/ka-tts-server",
    "state": "/var/lib/ka-tts-server",
}
_SETTINGS = {
    "@STAGE@/run/steady": _PROGRAM + "/state/steady",
    "@STAGE@": _PROGRAM,
    "@REGPORT@": "5701",
    "@RBLPORT@": "5702",
    "@CMDPORT@": "5703",
}
# Plays into files: /heard/heard.wav, then heard.wav.0001, ...
_SOUND = """pcm.!default {
  type file
  slave.pcm { type null }
  file "/heard/heard.wav"
  format wav
  truncate false
}
"""
# What the real killall does with "-9 NAME", inside the sandbox's own processes.
_KILLALL = """#!/bin/sh
echo "killall $*" >>/tmp/killall.calls
for process in /proc/[0-9]*; do
  { read -r name <"$process/comm"; } 2>/dev/null || continue
  if [ "$name" = "$2" ]; then kill "$1" "${process#/proc/}"; fi
done
"""
_REBOOT = "#!/bin/sh\necho called >>/tmp/reboot.calls\n"


def _write(path, text, mode=0o644):
    path.write_text(text, encoding="utf-8")
    path.chmod(mode)


def _lay_out_program(program, project, binaries):
    (program / "engines/espeak-ng").mkdir(parents=True)
    for name in ("ka-tts-server", "ka-tts"):
        shutil.copy(binaries / name, program)
    shutil.copy(binaries / "ka-espeak-ng", program / "engines/espeak-ng")
    shutil.copy(project / "scripts/restart", program / "restart")
    for name, target in _LINKS.items():
        (program / name).symlink_to(target)


def _lay_out_configuration(configuration, project):
    configuration.mkdir()
    for name in ("lexidata", "announcements"):
        shutil.copytree(project / name, configuration / name)
    text = (project / "kaconfig/kaTtsServer.kacfg.in").read_text(encoding="utf-8")
    for mark, value in _SETTINGS.items():
        text = text.replace(mark, value)
    _write(configuration / "kaTtsServer.kacfg", text)


def _lay_out_stubs(stubs):
    stubs.mkdir()
    _write(stubs / "killall", _KILLALL, 0o755)
    _write(stubs / "reboot", _REBOOT, 0o755)


def lay_out(stage, project, binaries):
    """Fills the empty directory `stage`; the user in the sandbox owns what it may write to."""
    stage, project, binaries = (pathlib.Path(path) for path in (stage, project, binaries))
    stage.chmod(0o755)
    _lay_out_program(stage / "program", project, binaries)
    _lay_out_configuration(stage / "configuration", project)
    _lay_out_stubs(stage / "stubs")
    for name in ("messages", "schema"):
        shutil.copytree(project / name, stage / "data" / name)
    shutil.copytree(project / "tests/service", stage / "tests")
    shutil.copytree(project / "systemd", stage / "units")
    _write(stage / "passwd", "ka-tts:x:990:990::/nonexistent:/usr/sbin/nologin\n")
    _write(stage / "group", "ka-tts:x:990:\n")
    (stage / "state").mkdir()
    (stage / "heard").mkdir()
    _write(stage / "heard/asound.conf", _SOUND)


def give_away(stage, uid, names):
    """Gives whole directories of the stage to the user in the sandbox."""
    for name in names:
        for directory, _, files in os.walk(pathlib.Path(stage) / name):
            for path in (directory, *(os.path.join(directory, file) for file in files)):
                os.chown(path, uid, uid, follow_symlinks=False)
