"""The mutation operators: every small mistake that they can make in a C++ source text."""

import re
from typing import Iterator, NamedTuple


class Mutant(NamedTuple):
    file: str
    operator: str
    begin: int  # the characters from here ...
    end: int  # ... to here give way to
    text: str


TOKEN = re.compile(
    r"""(?P<skip>//[^\n]*|/\*.*?\*/|^[ ]*\#[^\n]*|\s+)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<char>'(?:[^'\\\n]|\\.)*')
      | (?P<number>(?:0[xX][0-9a-fA-F]+|\d+)[uUlL]*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><<=|>>=|<=>|->|\+\+|--|::|<<|[<>=!+\-*/%&|]=|&&|\|\||.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

# What stands between two blanks is a binary operator, never a template's or a pointer's sign.
BINARY = {
    "relational": {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"]},
    "equality": {"==": ["!="], "!=": ["=="]},
    "arithmetic": {
        "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "<<": [">>"], ">>": ["<<"],
        "&": ["|"], "|": ["&"], "+=": ["-="], "-=": ["+="],
    },
    "logical": {"&&": ["||"], "||": ["&&"]},
}
SWAPPED_WORDS = [
    ("begin", "end"), ("front", "back"), ("min", "max"), ("find", "rfind"),
    ("find_first_of", "find_last_of"), ("find_first_not_of", "find_last_not_of"),
    ("lower_bound", "upper_bound"), ("all_of", "any_of"),
]
SWAPS = dict(SWAPPED_WORDS) | {right: left for left, right in SWAPPED_WORDS}
# By the type of a function, what it may return instead; all others try integers and "{}".
RESULTS = {"bool": ["true", "false"], "string": ['""', '"?"']}
HEAD = re.compile(r"^ {0,2}(?:static |constexpr )*(?:const )?((?!return)[\w:]+(?:<[^()]*>)?)"
                  r"[ &*]+[\w:]+\([^;]*$")
PREDICATE = re.compile(r"\[.*\].*\{ return $")  # a lambda handed to an algorithm
OPERATORS = [*BINARY, "condition", "boolean", "integer", "string", "statement", "return",
             "increment", "container"]


class Token(NamedTuple):
    kind: str
    text: str
    begin: int
    end: int


def tokens_of(source: str) -> list[Token]:
    found = TOKEN.finditer(source)
    tokens = (Token(m.lastgroup or "", m.group(), m.start(), m.end()) for m in found)
    return [token for token in tokens if token.kind != "skip"]


def mutants_of(file: str, source: str) -> list[Mutant]:
    """All mutants of a source text, in its order. Some of them do not compile."""
    tokens = tokens_of(source)
    changes = []
    for index, token in enumerate(tokens):
        changes += change_token(tokens, index, source)
        changes += negate_condition(tokens, index, source)
        changes += remove_statement(tokens, index)
        if token.text == "return":
            changes += replace_result(tokens, index, source)
    different = {change[1:]: Mutant(file, *change) for change in changes
                 if source[change[1]:change[2]] != change[3]}
    return sorted(different.values(), key=lambda m: (m.begin, m.end, m.text))


def change_token(tokens: list[Token], index: int, source: str) -> Iterator[tuple]:
    token = tokens[index]
    if token.kind == "sign":
        stands_free = source[token.begin - 1].isspace() and source[token.end].isspace()
        joins_texts = any(t.kind == "string" for t in tokens[index - 1:index + 2])
        for operator, table in BINARY.items():
            if stands_free and not (operator == "arithmetic" and joins_texts):
                for text in table.get(token.text, []):
                    yield operator, token.begin, token.end, text
        if token.text in ("++", "--"):
            yield "increment", token.begin, token.end, "--" if token.text == "++" else "++"
        if token.text == "!":
            yield "condition", token.begin, token.end, ""
        if token.text == "-" and tokens[index + 1].kind == "number" and not stands_free:
            yield "integer", token.begin, token.end, ""
    elif token.kind == "number":
        digits = token.text.rstrip("uUlL")
        value, suffix = int(digits, 0), token.text[len(digits):]
        for changed in sorted({value + 1, max(value - 1, 0), 0}):
            yield "integer", token.begin, token.end, f"{changed}{suffix}"
    elif token.kind == "string":
        yield "string", token.begin, token.end, '""' if token.text != '""' else '"?"'
    elif token.kind == "char":
        yield "string", token.begin, token.end, "'?'"
    elif token.text in ("true", "false"):
        yield "boolean", token.begin, token.end, "false" if token.text == "true" else "true"
    elif token.text in SWAPS and tokens[index + 1].text == "(":
        yield "container", token.begin, token.end, SWAPS[token.text]


def end_of(tokens: list[Token], index: int, marks: str) -> int:
    """The index of the next token among `marks` that no bracket encloses; -1 if there is none."""
    depth = 0
    for i in range(index, len(tokens)):
        if depth == 0 and tokens[i].text in marks:
            return i
        depth += (tokens[i].text in "([{") - (tokens[i].text in ")]}")
        if depth < 0:
            return -1
    return -1


def negate_condition(tokens: list[Token], index: int, source: str) -> Iterator[tuple]:
    token = tokens[index]
    first = last = -1
    if token.text in ("if", "while") and tokens[index + 1].text == "(":
        first, last = index + 2, end_of(tokens, index + 2, ")")
        declared = end_of(tokens, first, ";")
        first = declared + 1 if 0 < declared < last else first
    elif token.text == "for" and end_of(tokens, index + 2, ";") > 0:
        first = end_of(tokens, index + 2, ";") + 1
        last = end_of(tokens, first, ";")
    elif token.text == "?":
        first = last = index
        while tokens[first - 1].text not in ("return", "=", "(", "{", "[", "?", ":", ";", ","):
            first = opening_of(tokens, first - 1)
    if 0 <= first < last:
        begin, end = tokens[first].begin, tokens[last - 1].end
        yield "condition", begin, end, f"!({source[begin:end]})"


def opening_of(tokens: list[Token], index: int) -> int:
    """The index itself, or that of the bracket which the one there closes."""
    depth = 0
    for i in range(index, -1, -1):
        depth += (tokens[i].text in ")]}") - (tokens[i].text in "([{")
        if depth == 0:
            return i
    return 0


def remove_statement(tokens: list[Token], index: int) -> Iterator[tuple]:
    before = tokens[index - 1].text if index else ""
    if tokens[index].kind != "word" and tokens[index].text not in ("++", "--"):
        return
    if before not in (";", "{", "}", ")", ":", "else") or end_of(tokens, index, ";") < 0:
        return
    last = end_of(tokens, index, ";")
    after = index + 1
    while tokens[after].text == "::":
        after += 2
    is_jump = tokens[index].text in ("break", "continue")
    is_call = tokens[after].text in ("(", ".", "->", "[", "=", "+=", "-=", "++", "--")
    is_step = tokens[index].text in ("++", "--")
    is_other = tokens[index].text in ("if", "for", "while", "switch", "return", "default")
    if is_step or is_jump or (is_call and not is_other):
        yield "statement", tokens[index].begin, tokens[last].end, ";"


def replace_result(tokens: list[Token], index: int, source: str) -> Iterator[tuple]:
    last = end_of(tokens, index, ";")
    if last <= index + 1:
        return
    begin, end = tokens[index + 1].begin, tokens[last - 1].end
    texts = RESULTS.get(result_type(source[:begin]), ["1", "-1", "{}"])
    for text in texts:
        yield "return", begin, end, text


def result_type(source: str) -> str:
    """The result type of the function at whose middle the text ends."""
    lines = source.split("\n")
    if PREDICATE.search(lines[-1]):
        return "bool"
    heads = (HEAD.match(line) for line in reversed(lines))
    return next((head.group(1).removeprefix("std::") for head in heads if head), "")
