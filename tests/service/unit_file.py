"""Unit files of systemd, as far as this project's units use their language."""

import re
import shlex

_SECONDS = {"": 1, "s": 1, "sec": 1, "min": 60, "h": 3600}


def seconds(text):
    """The length of a time span such as "25", "2s" or "10min 30s"."""
    parts = re.findall(r"(\d+)\s*([a-z]*)", text)
    return sum(int(number) * _SECONDS[unit] for number, unit in parts)


def byte_count(text):
    """A size such as "128M" in bytes."""
    number, unit = re.fullmatch(r"(\d+)([KMG]?)", text).groups()
    return int(number) << {"": 0, "K": 10, "M": 20, "G": 30}[unit]


class Command:
    """One command line of a unit; `may_fail` when it begins with "-"."""

    def __init__(self, line):
        self.may_fail = line.startswith("-")
        self.words = shlex.split(line.removeprefix("-"))


class UnitFile:
    """The assignments of a unit and its drop-ins, in their order."""

    def __init__(self, path, *drop_ins):
        self._assignments = []
        for name in (path, *drop_ins):
            with open(name, encoding="utf-8") as file:
                self._read(file.read())

    def _read(self, text):
        lines = [line for line in text.splitlines() if not line.lstrip().startswith(("#", ";"))]
        section = ""
        for line in "\n".join(lines).replace("\\\n", " ").splitlines():
            if match := re.fullmatch(r"\[(\w+)\]\s*", line):
                section = match[1]
            elif "=" in line:
                key, value = line.split("=", 1)
                self._assignments.append((section, key.strip(), value.strip()))

    def keys(self):
        """Section and name of everything that is assigned."""
        return {(section, key) for section, key, _ in self._assignments}

    def values(self, section, key):
        """All values of a list; an empty assignment begins it anew."""
        values = []
        for at_section, at_key, value in self._assignments:
            if (at_section, at_key) == (section, key):
                values = [*values, value] if value else []
        return values

    def words(self, section, key):
        """The words of all values of a list."""
        return [word for value in self.values(section, key) for word in shlex.split(value)]

    def value(self, section, key, default=""):
        """The value that counts where only one does: the last."""
        return (self.values(section, key) or [default])[-1]

    def commands(self, key):
        """The command lines of the service's ExecStart=, ExecStartPre= or ExecStopPost=."""
        return [Command(line) for line in self.values("Service", key)]
