"""Stages the station and runs a test in the sandbox.

  run.py PROJECT BINARIES TEST [CASE...]      TEST is supervision_test or sandbox_test

Ends with 77 where the machine cannot give a sandbox.
"""

import os
import sys
import tempfile

import sandbox
import stage

_SKIPPED = 77
_WRITTEN_BY_THE_SERVICE = ["state", "heard"]
_CHANGED_BY_TESTS = ["program", "configuration"]


def main(project, binaries, test, *cases):
    if not sandbox.is_possible():
        print("no sandbox: this machine gives no namespaces to ordinary users")
        return _SKIPPED
    control = test == "supervision_test"
    with tempfile.TemporaryDirectory(prefix="ka-service-") as directory:
        stage.lay_out(directory, project, binaries)
        if os.geteuid() == 0:
            names = _WRITTEN_BY_THE_SERVICE + (_CHANGED_BY_TESTS if control else [])
            stage.give_away(directory, sandbox.OUTSIDE, names)
        return sandbox.enter(directory, control, ["/usr/bin/python3", f"/tests/{test}.py", *cases])


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
