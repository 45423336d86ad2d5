"""Reads Android.bp files, as far as this repository's use the language: modules of properties, whose
values are strings, lists, maps, integers and booleans. Variables and "+" are refused: each module says
all of what it is in one place."""
import re

TOKEN = re.compile(
    r"""(?P<space>\s+|//[^\n]*|/\*.*?\*/)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<raw>`[^`]*`)
      | (?P<integer>-?\d+)
      | (?P<name>[A-Za-z_][A-Za-z0-9_]*)
      | (?P<mark>[{}\[\]:,])""",
    re.VERBOSE | re.DOTALL,
)
ESCAPES = {"n": "\n", "t": "\t", '"': '"', "\\": "\\"}


class SyntaxFault(Exception):
    pass


class Reader:
    def __init__(self, path):
        self.path = path
        self.text = path.read_text()
        self.at = 0
        self.token = None
        self.next()

    def fault(self, what, at=None):
        line = self.text.count("\n", 0, self.token[2] if at is None else at) + 1
        return SyntaxFault(f"{self.path}:{line}: {what}")

    def next(self):
        while self.at < len(self.text):
            match = TOKEN.match(self.text, self.at)
            if match is None:
                raise self.fault(f"cannot read '{self.text[self.at]}' here", self.at)
            start, self.at = self.at, match.end()
            if match.lastgroup != "space":
                self.token = (match.lastgroup, match.group(), start)
                return
        self.token = ("end", "the end of the file", len(self.text))

    def take(self, text):
        if self.token[1] != text:
            raise self.fault(f"expected '{text}', found {self.token[1]}")
        self.next()

    def take_name(self):
        kind, text, _ = self.token
        if kind != "name":
            raise self.fault(f"expected a name, found {text}")
        self.next()
        return text

    # The comma after the last item may be there or not.
    def items(self, end, read_item):
        while self.token[1] != end:
            read_item()
            if self.token[1] != ",":
                break
            self.next()
        self.take(end)

    def value(self):
        kind, text, _ = self.token
        self.next()
        if kind == "string":
            return re.sub(r"\\(.)", lambda m: ESCAPES.get(m.group(1), m.group(1)), text[1:-1])
        if kind == "raw":
            return text[1:-1]
        if kind == "integer":
            return int(text)
        if text in ("true", "false"):
            return text == "true"
        if text == "[":
            values = []
            self.items("]", lambda: values.append(self.value()))
            return values
        if text == "{":
            return self.properties()
        raise self.fault(f"expected a value before this, found {text}")

    def properties(self):
        found = {}

        def read_item():
            name = self.take_name()
            if name in found:
                raise self.fault(f"'{name}' is given twice")
            self.take(":")
            found[name] = self.value()

        self.items("}", read_item)
        return found


def read_modules(path):
    """The file's modules in order, each a pair of its type and its properties."""
    reader = Reader(path)
    modules = []
    while reader.token[0] != "end":
        kind = reader.take_name()
        reader.take("{")
        modules.append((kind, reader.properties()))
    return modules
