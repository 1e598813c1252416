"""symbolize-test.py PROGRAM: runs CallChain.exe and expects that scripts/symbolize names the calls in its report.

PROGRAM is the one that was built; its debug file lies beside it.
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM = Path(sys.argv.pop(1))
ROOT = Path(__file__).parents[2]
SOURCES = ROOT / "Tests" / "Crash" / "Windows"
RETURNS_NOT, RETURNS = 3, 4  # frames: a call that never returns, one that does


def chain():
    """The calls, as the marks in the sources tell of them, from the innermost outwards."""
    calls = {}
    for source in SOURCES.glob("CallChain*.cpp"):
        for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
            if mark := re.search(r"// frame (\d+): (.+)", line):
                calls[int(mark[1])] = f"{mark[2]}, {source.relative_to(ROOT)}:{number}"
    return [calls[frame] for frame in sorted(calls)]


def run_program():
    """The report of a copy that has no debug file beside it, so that the platform has no names to give."""
    with tempfile.TemporaryDirectory(dir=PROGRAM.parent) as folder:
        (Path(folder) / PROGRAM.name).write_bytes(PROGRAM.read_bytes())
        command = [ROOT / "scripts" / "wine", f"./{PROGRAM.name}", "report.log"]
        environment = os.environ | {"BRENVAULT_WINE_SECONDS": "120"}
        subprocess.run(command, cwd=folder, env=environment, check=True, timeout=200)
        return (Path(folder) / "report.log").read_bytes().decode("ascii")


def run_symbolize(*arguments, report="", **environment):
    """What it writes, its complaints and its exit code."""
    command = [ROOT / "scripts" / "symbolize", *arguments]
    run = subprocess.run(
        command, input=report.encode("utf-8", "surrogateescape"), env=os.environ | environment,
        capture_output=True, check=False, timeout=60,
    )  # fmt: skip
    return run.stdout.decode("utf-8", "surrogateescape"), run.stderr.decode(), run.returncode


class SymbolizeTest(unittest.TestCase):
    maxDiff = None
    calls = chain()

    @classmethod
    def setUpClass(cls):
        cls.report = run_program()
        cls.text, cls.complaints, cls.code = run_symbolize("--debug-files", PROGRAM.parent, report=cls.report)

    def frame(self, call, module="callchain"):
        """The line of one of the calls, as if it had been in a module of that name."""
        place = self.text.index(self.calls[call - 1])
        line = self.text[self.text.rindex("\n", 0, place) + 1 : place].rstrip()
        return line.replace("callchain+", f"{module}+")

    def test_chain_of_calls(self):
        self.assertEqual(self.code, 0, self.complaints)
        places = re.findall(r"(?:\.exe  |inlined into )(.+)\r\n", self.text)
        self.assertIn(self.calls[0], places)
        first = places.index(self.calls[0])
        self.assertEqual(places[first : first + len(self.calls)], self.calls)
        self.assertGreaterEqual(len(re.findall(r"callchain\+.+:\d+\r\n", self.text)), 12)
        with_lines_left_out = re.sub(r" +inlined into .*\n", "", self.text)
        self.assertEqual(re.sub(r"(CallChain\.exe)  .*\r\n", r"\1\r\n", with_lines_left_out), self.report)

    def test_lines(self):
        returns, returns_not = f"  {self.calls[RETURNS - 1]}", f"  {self.calls[RETURNS_NOT - 1]}"
        behind = re.sub(r"\d+$", lambda number: str(int(number[0]) + 1), returns)  # the call's next line, the brace
        returning, not_returning = self.frame(RETURNS), self.frame(RETURNS_NOT)
        words = r"(0x\w{8} ){4} "
        rows = [
            (returning, returns), (not_returning, returns_not),
            ("  Stack dump:", ""), ("", ""), (returning, behind), (returning, returns),
            ("Stack dump:", ""), (re.sub(r"callchain\+.*", "", returning), ""), (returning, returns),
            (re.sub(words, "", returning), behind),
            (self.frame(RETURNS, "CallChain"), returns), (self.frame(RETURNS, "No Such"), ""),
            (self.frame(RETURNS_NOT, "No Such"), ""), (re.sub(r"(\+\d+  ).*", r"\1Game/Main.cpp(7)", returning), ""),
            (re.sub(r"\+\d+  ", "+4000000000  ", returning), ""), (re.sub(r"\+\d+  ", "+0  ", returning), ""),
            ("callchain+5563  CallChain.exe", ""), ("caf\udce9 \u00E9 \r lone", ""), ("last", ""),
        ]  # fmt: skip
        for end in ("\n", "\r\n"):
            report = end.join(line for line, _ in rows)
            text, complaints, code = run_symbolize("--debug-files", PROGRAM.parent, report=report)
            self.assertEqual((complaints.count("No Such.debug"), complaints.count("\n"), code), (1, 1, 0), complaints)
            self.assertEqual(text.split(end), [line + added for line, added in rows])

    def test_what_cannot_be_read(self):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "callchain.debug").write_text("no debug file", encoding="ascii")
            rows = [
                (("missing.log",), {}, "missing.log: No such file"),
                (("--debug-files", "missing"), {}, "missing is no folder"),
                (("--debug-files", folder), {}, "callchain.debug: file format not recognized"),
                (("--debug-files", PROGRAM.parent), {"PATH": folder}, "sudo apt-get install"),
            ]
            for arguments, environment, complaint in rows:
                text, complaints, code = run_symbolize(*arguments, report=self.report, **environment)
                self.assertEqual((text, code), ("", 1), complaints)
                self.assertIn(complaint, complaints.splitlines()[-1])


if __name__ == "__main__":
    unittest.main()
