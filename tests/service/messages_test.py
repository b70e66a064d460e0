"""docs/operations.md names every text that the server prints, and no other.

  messages_test.py PROJECT
"""

import pathlib
import re
import sys
import unittest

_PROJECT = pathlib.Path(sys.argv[1])
_PAGE = _PROJECT / "docs/operations.md"
_LITERAL = r'"(?:[^"\\\n]|\\.)*"'
# A statement that prints. The functions of kaOutput.h, and the two of the listeners' reports.
_PRINTING = re.compile(r"\b(?:PrintOut|PrintErr|Report|ReportSetUp)\((.*?)\);", re.DOTALL)
# Texts like these are made to be read, unless they stand in _NOT_PRINTED or name a sound.
_READABLE = re.compile(r"[A-Za-zäöü]{2,}.*[ :!#]|[#*]{3}")
_NOT_PRINTED = ("sh restart ", "killall -9 aplay", "killall -9 play", "rm $(find ",
                '/* -name "*.wav")', "cp ", "cd ", ".wav) ")


def source_files():
    for path in sorted((_PROJECT / "src").glob("*.cpp")):
        lines = path.read_text(encoding="utf-8").splitlines()
        lines = [line for line in lines if not line.startswith("#include")]
        code = [re.sub(r"(^|\s)//.*", "", line) for line in lines]
        # Neighbouring literals are one.
        yield path.name, re.sub(r'"\s*\n\s*"', "", "\n".join(code))


def literals(code):
    """The texts of the literals in a piece of code, without the line ends around them."""
    for found in re.findall(_LITERAL, code):
        text = found[1:-1].replace('\\"', '"').replace("\\n", "\n")
        for line in text.split("\n"):
            if line.strip():
                yield line


def printed():
    """(file, text) of every literal that is printed."""
    for name, code in source_files():
        for statement in _PRINTING.findall(code):
            for text in literals(statement):
                yield name, text
        for text in literals(code):
            if _READABLE.search(text) and text not in _NOT_PRINTED and "\\audio" not in text:
                yield name, text


def catalogue_texts():
    for path in sorted((_PROJECT / "messages").glob("*.csv")):
        for row in path.read_text(encoding="utf-8").splitlines():
            if row.strip():
                yield path.name, row[14:]


def table_rows():
    """(texts of the first cell, all cells) of each row that describes one of the server's texts."""
    page = _PAGE.read_text(encoding="utf-8").partition("## Every text that the server prints")[2]
    page = page.partition("### Texts of the programs that it runs")[0]
    for line in page.splitlines():
        if line.startswith("| `"):
            cells = [cell.strip() for cell in line.strip("|").split(" | ")]
            yield re.findall("`([^`]*)`", cells[0]), cells


class Messages(unittest.TestCase):
    def setUp(self):
        self.described = [text for texts, _ in table_rows() for text in texts]

    def isDescribed(self, text):
        return any(text.strip() in line for line in self.described)

    def testEveryTextInTheSourceIsInTheTable(self):
        found = list(printed())
        self.assertGreater(len(found), 60)
        missing = [f"{name}: {text}" for name, text in found
                   if re.search("[A-Za-z#*]", text) and not self.isDescribed(text)]
        self.assertEqual(missing, [])

    def testEveryTextOfTheCataloguesIsInTheTable(self):
        texts = list(catalogue_texts())
        self.assertEqual(len(texts), 8)
        missing = [f"{name}: {text}" for name, text in texts if not self.isDescribed(text)]
        self.assertEqual(missing, [])

    def testEveryRowIsPrintedBySomething(self):
        known = [text.strip() for _, text in (*printed(), *catalogue_texts())]
        known = [text for text in known if len(text) > 3]
        self.assertGreater(len(known), 60)
        for line in self.described:
            with self.subTest(line):
                self.assertTrue(any(text in line for text in known))

    def testEveryRowHasMeaningAndAdvice(self):
        rows = list(table_rows())
        self.assertGreater(len(rows), 50)
        for _, cells in rows:
            with self.subTest(cells[0]):
                self.assertEqual(len(cells), 4)
                self.assertIn(cells[1], ("out", "err", "out, err"))
                self.assertTrue(all(cells[2:]))

    def testStreamsAreThoseOfTheSource(self):
        """A text of PrintOut is on the standard output, one of PrintErr on the standard error."""
        for _, code in source_files():
            for function, statement in re.findall(r"\b(PrintOut|PrintErr)\((.*?)\);", code, re.S):
                for text in filter(lambda text: len(text.strip()) > 4, literals(statement)):
                    streams = {cells[1] for texts, cells in table_rows()
                               if any(text.strip() in line for line in texts)}
                    with self.subTest(text):
                        self.assertIn({"PrintOut": "out", "PrintErr": "err"}[function], streams)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
