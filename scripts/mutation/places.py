"""Finds the places of a C++ file that can be changed, and makes the changes.

The statements, the functions and what the preprocessor leaves come from clang's reader;
the operators and literals from its tokens. Positions are offsets in bytes.
"""

import bisect
import dataclasses
import re

from clang import cindex

Kind = cindex.CursorKind
Token = cindex.TokenKind

FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.FUNCTION_TEMPLATE,
             Kind.CONVERSION_FUNCTION}
NO_EXPRESSION = {Kind.DECL_STMT, Kind.RETURN_STMT, Kind.IF_STMT, Kind.FOR_STMT, Kind.WHILE_STMT,
                 Kind.DO_STMT, Kind.SWITCH_STMT, Kind.COMPOUND_STMT, Kind.BREAK_STMT,
                 Kind.CONTINUE_STMT, Kind.CASE_STMT, Kind.DEFAULT_STMT, Kind.NULL_STMT,
                 Kind.CXX_FOR_RANGE_STMT}
FIXED = {Kind.RETURN_STMT, Kind.BREAK_STMT, Kind.CONTINUE_STMT, Kind.CASE_STMT,
         Kind.DEFAULT_STMT, Kind.NULL_STMT}
LOOPS = {Kind.FOR_STMT, Kind.WHILE_STMT, Kind.CXX_FOR_RANGE_STMT}
COMPARISONS = {"<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
               "==": ("!=",), "!=": ("==",)}
OPEN, CLOSE = "([{", ")]}"


@dataclasses.dataclass(frozen=True)
class Body:
    """A function's braces and what is between them."""
    begin: int
    end: int
    returns_value: bool


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str
    function: str  # the one around it, or the constant's name
    line: int
    line_text: str
    what: str      # the change in words: "old -> new"
    sort: str      # comparison, constant, condition, dropped call, order, return value
    begin: int
    end: int
    new: bytes
    body: "Body" = None  # the function's, when the change is within one that runs
    nth: int = 1         # of several alike

    @property
    def key(self):
        what = self.what if self.nth == 1 else f"{self.what} #{self.nth}"
        return f"{self.file} :: {self.function} :: {self.line_text} :: {what}"


def short(text, longest=72):
    text = re.sub(r"\s+", " ", text.decode("utf-8")).strip()
    return text if len(text) <= longest else text[:longest - 22] + " ... " + text[-17:]


def changed_number(text):
    """The same literal a little smaller and a little larger."""
    match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9.']+(?:[eE][-+]?\d+)?)([uUlLfFzZ]*)", text)
    if not match:
        return []
    digits, suffix = match[1].replace("'", ""), match[2]
    if re.fullmatch(r"0[xX].*", digits):
        value = int(digits, 16)
        return [f"0x{value + 1:X}{suffix}"] + ([f"0x{value - 1:X}{suffix}"] if value else [])
    if "." in digits or "e" in digits.lower():
        value = float(digits)
        if value == int(value):
            return [f"{value + 1:.1f}{suffix}"] + ([f"{value - 1:.1f}{suffix}"] if value else [])
        return [f"{value * 1.25:.6g}{suffix}", f"{value * 0.75:.6g}{suffix}"]
    value = int(digits, 8) if re.fullmatch(r"0[0-7]+", digits) else int(digits)
    return [f"{value + 1}{suffix}"] + ([f"{value - 1}{suffix}"] if value else [])


def changed_text(text):
    """The literal without its last character; an empty one gets one."""
    match = re.fullmatch(r"(u8|[uUL])?(['\"])(.*)\2", text, re.DOTALL)
    if not match:
        return []
    prefix, quote, inner = match[1] or "", match[2], match[3]
    characters = re.findall(r"\\x[0-9a-fA-F]+|\\[0-7]{1,3}|\\u[0-9a-fA-F]{4}|\\.|.", inner, re.DOTALL)
    if quote == "'":
        other = "?" if inner.startswith("\\") else chr(ord(inner) + 1)
        return [f"{prefix}'{chr(92) if other in (chr(92), chr(39)) else ''}{other}'"]
    return [prefix + '"' + ("".join(characters[:-1]) if characters else "?") + '"']


class Reader:
    def __init__(self, root, file, arguments):
        self.file, self.path = file, f"{root}/{file}"
        self.bytes = open(self.path, "rb").read()
        unit = cindex.Index.create().parse(self.path, args=arguments)
        errors = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
        if errors:
            raise SystemExit(f"{file}: {errors[0]}")
        self.line_starts = [0] + [m.end() for m in re.finditer(rb"\n", self.bytes)]
        self.bodies, self.compounds, self.returns, self.single = [], [], [], []
        self.braces = []
        self.visit(unit.cursor, "", None)
        self.tokens = [t for t in unit.get_tokens(extent=unit.cursor.extent)
                       if t.kind != Token.COMMENT and self.body_of(t.extent.start.offset)]
        self.spellings = [t.spelling for t in self.tokens]
        self.starts = [t.extent.start.offset for t in self.tokens]
        self.found, self.seen = [], {}

    # What clang says of the file.

    def visit(self, cursor, name, result):
        for child in cursor.get_children():
            place = child.location.file
            if cursor.kind == Kind.TRANSLATION_UNIT and (not place or place.name != self.path):
                continue
            begin, end = child.extent.start.offset, child.extent.end.offset
            inner, inner_result = name, result
            if child.kind in FUNCTIONS and child.is_definition():
                inner, inner_result = child.spelling, child.result_type
                self.bodies.append((begin, end, inner))
                self.add_braces(child)
            elif child.kind == Kind.LAMBDA_EXPR:
                inner_result = None
            elif child.kind in (Kind.VAR_DECL, Kind.FIELD_DECL) and not name:
                self.bodies.append((begin, end, child.spelling))
            if child.kind == Kind.COMPOUND_STMT:
                self.compounds.append([(s.kind, s.extent.start.offset, s.extent.end.offset)
                                       for s in child.get_children()])
            elif child.kind == Kind.RETURN_STMT:
                self.returns.append((begin, end, inner_result))
            elif child.kind in LOOPS or child.kind == Kind.IF_STMT:
                last = list(child.get_children())[-1]
                if last.kind not in NO_EXPRESSION and child.kind in LOOPS:
                    self.single.append((last.extent.start.offset, last.extent.end.offset))
            self.visit(child, inner, inner_result)

    def add_braces(self, function):
        last = list(function.get_children())[-1]
        words = [t.spelling for t in function.get_tokens()][:8]
        # One that the compiler itself runs cannot ask which change is wanted.
        if last.kind == Kind.COMPOUND_STMT and "constexpr" not in words:
            returns = (function.kind != Kind.CONSTRUCTOR
                       and function.result_type.get_canonical().kind != cindex.TypeKind.VOID)
            self.braces.append(Body(last.extent.start.offset, last.extent.end.offset, returns))

    def body_of(self, offset):
        """The innermost body's name; nothing outside of one."""
        around = [body for body in self.bodies if body[0] <= offset < body[1]]
        return max(around)[2] if around else None

    # Making changes.

    def add(self, sort, begin, end, new, what=None):
        if isinstance(new, str):
            new = new.encode("utf-8")
        if new == self.bytes[begin:end]:
            return
        line = bisect.bisect_right(self.line_starts, begin)
        text = short(self.bytes[self.line_starts[line - 1]:].split(b"\n", 1)[0])
        what = what or f"{short(self.bytes[begin:end])} -> {short(new)}"
        body = next((b for b in self.braces if b.begin < begin and end < b.end), None)
        mutant = Mutant(self.file, self.body_of(begin) or "", line, text, what, sort, begin, end,
                        new, body)
        nth = self.seen[mutant.key] = self.seen.get(mutant.key, 0) + 1
        self.found.append(dataclasses.replace(mutant, nth=nth))

    def span(self, first, last):
        """The offsets of the tokens first to last, the last one included."""
        return self.starts[first], self.tokens[last].extent.end.offset

    def closing(self, at):
        """The token that closes the bracket at `at`."""
        depth = 0
        for i in range(at, len(self.tokens)):
            if self.spellings[i] in OPEN:
                depth += 1
            elif self.spellings[i] in CLOSE:
                depth -= 1
                if depth == 0:
                    return i
        return len(self.tokens) - 1

    def operand(self, at, step, ends):
        """The last token of the operand that begins beside the operator at `at`."""
        before, behind = (CLOSE, OPEN) if step < 0 else (OPEN, CLOSE)
        depth, i = 0, at + step
        while 0 <= i < len(self.tokens):
            text = self.spellings[i]
            if depth == 0 and (text in behind or text in ends):
                break
            depth += (text in before) - (text in behind)
            i += step
        return i - step

    def spaced(self, i):
        begin, end = self.span(i, i)
        return self.bytes[begin - 1:begin] in (b" ", b"\n") and self.bytes[end:end + 1] in (b" ", b"\n")

    def drop_operand(self, begin, end):
        self.add("condition", begin, end, "", f"without {short(self.bytes[begin:end])}")

    def operators(self):
        ends = {"&&": {"||", "?", ":", ",", ";", "=", "return", "&&"},
                "||": {"?", ":", ",", ";", "=", "return", "||"}}
        for i, text in enumerate(self.spellings):
            begin, end = self.span(i, i)
            if text in COMPARISONS and self.spaced(i):
                for other in COMPARISONS[text]:
                    self.add("comparison", begin, end, other)
            if text in ends and self.spaced(i):
                left, right = self.operand(i, -1, ends[text]), self.operand(i, 1, ends[text])
                # "a && b && c" is split at each operator: what is dropped is one operand.
                self.drop_operand(self.starts[left], self.starts[i + 1])
                self.drop_operand(self.span(0, i - 1)[1], self.span(0, right)[1])
            if text == "?":
                left = self.operand(i, -1, {"?", ":", ",", ";", "=", "return", "+=", "<<"})
                for word in ("true", "false"):
                    self.add("condition", *self.span(left, i - 1), word)

    def literals(self):
        for token in self.tokens:
            begin, end = token.extent.start.offset, token.extent.end.offset
            text = self.bytes[begin:end].decode("utf-8")
            if token.kind == Token.LITERAL:
                changed = changed_text(text) if text[-1] in "'\"" else changed_number(text)
                for other in changed:
                    self.add("constant", begin, end, other)
            elif text in ("true", "false"):
                self.add("constant", begin, end, "false" if text == "true" else "true")

    def conditions(self):
        for i, word in enumerate(self.spellings):
            if word not in ("if", "while", "for") or self.spellings[i + 1] != "(":
                continue
            first, last = i + 2, self.closing(i + 1) - 1
            depths, depth = {";": [], "=": []}, 0
            for j in range(first, last + 1):
                text = self.spellings[j]
                if depth == 0 and text in depths:
                    depths[text].append(j)
                depth += (text in OPEN) - (text in CLOSE)
            if word == "for":
                if len(depths[";"]) != 2:
                    continue
                first, last = depths[";"][0] + 1, depths[";"][1] - 1
            elif depths[";"]:
                first = depths[";"][-1] + 1
            if first > last:
                continue
            begin, end = self.span(first, last)
            text = self.bytes[begin:end]
            if depths["="] and not depths[";"]:
                # "if (const auto x = f())": the declaration stays.
                self.add("condition", begin, end, text + b"; true")
                self.add("condition", begin, end, text + b"; false")
                continue
            simple = any(c in COMPARISONS and self.spaced(j)
                         for j, c in enumerate(self.spellings[first:last + 1], first))
            if not simple or b"&&" in text or b"||" in text:
                self.add("condition", begin, end, b"!(" + text + b")")
            if word == "if":  # a loop that never ends is no question to the tests
                self.add("condition", begin, end, "true")
            self.add("condition", begin, end, "false")

    def with_semicolon(self, end):
        rest = re.match(rb"\s*;", self.bytes[end:])
        return end + rest.end() if rest else end

    def drop_statement(self, begin, end):
        self.add("dropped call", begin, end, ";", f"without {short(self.bytes[begin:end])}")

    def statements(self, is_operation):
        for compound in self.compounds:
            placed = []
            for kind, begin, end in compound:
                end = self.with_semicolon(end) if kind not in (
                    Kind.IF_STMT, Kind.COMPOUND_STMT) else end
                # A body without braces ends before its own semicolon.
                if kind in LOOPS or kind == Kind.IF_STMT:
                    if self.bytes[end - 1:end] not in (b"}", b";"):
                        end = self.with_semicolon(end)
                placed.append((kind, begin, end))
                if kind not in NO_EXPRESSION:
                    self.drop_statement(begin, end)
            for one, two in zip(placed, placed[1:]):
                if one[0] in FIXED or two[0] in FIXED:
                    continue
                texts = [self.bytes[b:e] for _, b, e in (one, two)]
                # Two that call nothing have no order; in the text logic nothing but a change
                # of the same value has one.
                if not all(b"(" in text or b"+=" in text for text in texts):
                    continue
                if not is_operation and not NO_EXPRESSION.isdisjoint((one[0], two[0])):
                    continue
                between = self.bytes[one[2]:two[1]]
                self.add("order", one[1], two[2], texts[1] + between + texts[0],
                         f"{short(texts[1], 44)} before {short(texts[0], 44)}")
        for begin, end in self.single:
            self.drop_statement(begin, self.with_semicolon(end))

    def return_values(self):
        for begin, end, result in self.returns:
            value = re.fullmatch(rb"return\s+(.*)", self.bytes[begin:end], re.DOTALL)
            if not value or value[1] in (b"{}", b"true", b"false", b"std::nullopt"):
                continue
            at = begin + value.start(1)
            kind = result.get_canonical().kind if result else None
            if kind == cindex.TypeKind.BOOL:
                self.add("return value", at, end, b"!(" + value[1] + b")")
            elif kind == cindex.TypeKind.VOID:
                self.add("dropped call", at, end, "", f"without {short(value[1])}")
            elif not re.fullmatch(rb"-?\d+|\".*\"", value[1]):
                self.add("return value", at, end, "{}")

    def mutants(self, is_operation):
        self.operators()
        self.literals()
        self.conditions()
        self.statements(is_operation)
        self.return_values()
        return sorted(self.found, key=lambda m: (m.begin, m.end, m.what))
