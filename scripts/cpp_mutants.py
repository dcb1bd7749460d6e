"""The mutants of a C++ source: its tokens, each change that one of them allows, and how it is shown."""
import collections
import re

# What takes the place of an operator that has blanks around it, as clang-format sets binary ones.
BINARY = {
    "==": ["!="], "!=": ["=="],
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "&&": ["||"], "||": ["&&"],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "&": ["|"], "|": ["&"], "^": ["|"], "<<": [">>"], ">>": ["<<"],
    "+=": ["-=", "="], "-=": ["+=", "="], "*=": ["/="], "/=": ["*="], "%=": ["*="],
    "|=": ["&=", "="], "&=": ["|=", "="], "^=": ["|="], "<<=": [">>="], ">>=": ["<<="],
    "?": ["== false ?"],
}  # fmt: skip
COMPARISON = {"==", "!=", "<", "<=", ">", ">="}
CONDITIONAL = COMPARISON | {"&&", "||", "?"}
STEP = {"++": ["--"], "--": ["++"]}
WORD = {
    "true": ["false"], "false": ["true"],
    "kLogTrace": ["kLogProgress"], "kLogProgress": ["kLogReport"], "kLogReport": ["kLogProgress"],
    "kSuccess": ["kMissing"], "kMissing": ["kBadRequest"], "kBadRequest": ["kMissing"],
}  # fmt: skip
# Reads of WireRecord. A wider read of the same low bytes would often be the same once assigned.
READ = {"U8": ["U16"], "U16": ["U8", "U32"], "U32": ["U16"], "I32": ["U16"], "U64": ["U32"], "F64": ["U64"]}
REMOVED = ""

TOKEN = re.compile(
    r"""(?P<blank>\s+|//(?:\\\n|[^\n])*|/\*.*?\*/)
      | (?P<preprocessor>^[ \t]*\#(?:\\\n|[^\n])*)
      | (?P<text>(?:u8|[uUL])?"(?:\\.|[^"\\\n])*")
      | (?P<character>'(?:\\.|[^'\\\n])+')
      | (?P<number>\.?\d(?:[eEpP][+-]|'?[\w.])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><<=|>>=|\.\.\.|->|::|\+\+|--|<<|>>|[=!<>+\-*/%&|^]=|&&|\|\||.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)
Token = collections.namedtuple("Token", "kind text start end")
Mutant = collections.namedtuple("Mutant", "file line start end original mutated source nth")

OPENING = {"(": ")", "{": "}", "[": "]"}
CONTROL = {"if", "for", "while", "switch", "catch"}
SCOPE = {"namespace", "class", "struct", "union", "enum", "extern"}
SIMPLE = {"delete", "throw", "break", "continue"}  # statements known by their first word
ASSIGNMENT = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}


def tokens_of(text):
    found = (Token(m.lastgroup, m[0], m.start(), m.end()) for m in TOKEN.finditer(text))
    return [t for t in found if t.kind not in ("blank", "preprocessor")]


class Source:
    """The tokens of a file, which brackets match, and what each brace encloses."""

    def __init__(self, text):
        self.text = text
        self.tokens = tokens_of(text)
        self.partner, self.parent, self.unmutated = {}, [], set()
        opened = []
        for i, token in enumerate(self.tokens):
            closes = opened and token.text == OPENING[self.word(opened[-1])]
            if token.kind == "sign" and closes:
                self.partner[opened[-1]] = i
                self.partner[i] = opened.pop()
            self.parent.append(opened[-1] if opened else None)
            if token.kind == "sign" and token.text in OPENING:
                opened.append(i)
        for i, token in enumerate(self.tokens):
            if token.text in ("static_assert", "__attribute__", "alignas"):
                self.unmutated.update(range(i, self.partner.get(i + 1, i) + 1))
            elif token.text == "extern":
                self.unmutated.add(i + 1)

    def word(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def control_before(self, i):
        """The keyword of the control clause, "if (...)" and the like, that ends right before i."""
        opening = self.partner.get(i - 1) if self.word(i - 1) == ")" else None
        if opening is None:
            return ""
        before = self.word(opening - 1)
        return before if before in CONTROL else ""

    def in_code(self, i):
        """Whether the braces around i hold statements, not declarations."""
        brace = self.parent[i]
        if brace is None or self.word(brace) != "{":
            return False
        head = brace - 1
        while head >= 0 and self.word(head) not in (";", "{", "}"):
            if self.word(head) in SCOPE:
                return False
            head = self.partner[head] - 1 if self.word(head) in (")", "]") else head - 1
        return True

    def starts_statement(self, i):
        before = self.word(i - 1)
        if before == ":":
            return self.word(i - 2) == "default" or self.word(i - 3) == "case" or self.word(i - 5) == "case"
        return before in (";", "{", "}", "else", "do") or bool(self.control_before(i))

    def end_of_statement(self, i):
        while i < len(self.tokens) and self.word(i) != ";":
            i = self.partner[i] + 1 if self.word(i) in OPENING else i + 1
        return i

    def is_call_or_assignment(self, i):
        """A chain of names that is called, assigned to or stepped; a declaration has two in a row."""
        while self.word(i) in ("*", "++", "--", "("):
            i = self.partner[i] + 1 if self.word(i) == "(" else i + 1
            if self.word(i) in ("->", "."):
                i += 1
        while i < len(self.tokens) and self.tokens[i].kind == "word":
            i += 1
            while self.word(i) == "[":
                i = self.partner[i] + 1
            if self.word(i) in ("::", ".", "->"):
                i += 1
            elif self.word(i) == "(" and self.word(self.partner[i] + 1) in ("->", "."):
                i = self.partner[i] + 2
            else:
                break
        return self.word(i) in ASSIGNMENT or self.word(i) in ("(", "++", "--")

    def is_comparison(self, opening):
        """Whether brackets hold a single comparison: another comparison is its negation then."""
        signs = [
            self.word(i)
            for i in range(opening, self.partner[opening])
            if self.parent[i] == opening and self.is_binary(i) and self.word(i) in CONDITIONAL
        ]
        return len(signs) == 1 and signs[0] in COMPARISON

    def is_binary(self, i):
        """Whether blanks surround the operator: not of a template, pointer, reference or sign."""
        token = self.tokens[i]
        return self.text[token.start - 1].isspace() and self.text[token.end : token.end + 1].isspace()

    def is_guard(self, i):
        """A return that ends the body of an if: without it, the function continues."""
        return self.control_before(i) == "if" or self.control_before(self.parent[i]) == "if"

    def removable(self, i):
        if self.tokens[i].kind not in ("word", "sign") or not self.starts_statement(i) or not self.in_code(i):
            return False
        first = self.word(i)
        if first == "return":
            return self.is_guard(i)
        if first in SIMPLE:
            in_switch = self.control_before(self.parent[i]) == "switch"
            return not (first == "break" and in_switch and self.word(i + 2) == "}")  # the last one
        if first.startswith("MOX_LOG"):
            return False  # who misses the line sees another text in it as well
        return first not in CONTROL and first not in ("static_cast", "using") and self.is_call_or_assignment(i)


def numbers_for(number):
    """0 for 1, the next one for others."""
    match = re.fullmatch(r"(0[xX][\da-fA-F']+|[\d']+)([uUlL]*)", number)
    if not match:
        decimal = re.fullmatch(r"\d+\.\d+", number)
        return [str(float(number) + 1)] if decimal else []
    digits, suffix = match[1].replace("'", ""), match[2]
    value = int(digits, 16 if digits[:2] in ("0x", "0X") else 8 if digits[0] == "0" else 10)
    shown = hex if digits[:2] in ("0x", "0X") else str
    return [shown(0 if value == 1 else value + 1) + suffix]


def replacements(source, i):
    """(start, end, new text) for every mutant that begins at token i."""
    kind, text, start, end = source.tokens[i]
    if kind == "text":
        yield start, end, text[: text.index('"') + 1] + "~" + text[text.index('"') + 1 :]
    elif kind == "number":
        yield from ((start, end, new) for new in numbers_for(text))
    elif kind == "word":
        table = READ if source.word(i - 1) == "." else WORD
        yield from ((start, end, new) for new in table.get(text, []))
        if text in ("if", "while") and source.word(i + 1) == "(":
            if not source.is_comparison(i + 1):
                inside = source.tokens[i + 1].end, source.tokens[source.partner[i + 1]].start
                yield *inside, "!(" + source.text[slice(*inside)] + ")"
    elif kind == "sign":
        table = BINARY if source.is_binary(i) else STEP
        yield from ((start, end, new) for new in table.get(text, []))
    if source.removable(i):
        yield start, source.tokens[source.end_of_statement(i)].start, REMOVED


def mutants_of(file, text):
    lines = text.split("\n")
    source = Source(text)
    seen = collections.Counter()
    for i in range(len(source.tokens)):
        if i in source.unmutated:
            continue
        for start, end, mutated in replacements(source, i):
            line = text.count("\n", 0, start)
            key = line, text[start:end], mutated
            seen[key] += 1
            yield Mutant(file, line + 1, start, end, text[start:end], mutated, lines[line].strip(), seen[key])


def shortened(text):
    text = " ".join(text.split())
    return text if len(text) <= 70 else text[:67] + "..."


def change(mutant):
    nth = f" #{mutant.nth}" if mutant.nth > 1 else ""
    return f"{shortened(mutant.original)} -> {shortened(mutant.mutated) or '(removed)'}{nth}"


def shown(mutant):
    where = f"{mutant.file}:{mutant.line}: {change(mutant)}"
    return where if mutant.original.startswith(mutant.source) else f"{where}\n    {mutant.source}"
