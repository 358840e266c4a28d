"""Reads orders as the engine writes them: `Name({KEY='text', OTHER=1.5, PLACES={{LON=1, LAT=2}}})`. Nothing is run."""

import re
from typing import Any

from simulation import Refused

DEEPEST = 8  # tables in tables

_TOKEN = re.compile(
    r"""\s*(?:(?P<text>'(?:[^'\\\n]|\\.)*'|"(?:[^"\\\n]|\\.)*")"""
    r"""|(?P<number>-?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?(?![\w.]))"""
    r"""|(?P<word>[A-Za-z_]\w*)|(?P<sign>[{}(),;=])|(?P<end>$))"""
)
_ESCAPE = re.compile(rb"\\(\d{1,3}|.)")
_WORDS = {"true": True, "false": False, "nil": None}


def read_order(text: str) -> tuple[str, dict[str, Any]]:
    """The name and the arguments of an order. Raises `Refused` if it is none."""
    return _Reader(text).order()


def _unescaped(quoted: str) -> str:
    """The text between quotes; `\\039` stands for the byte 39, and `\\'` for the quote itself."""

    def byte(found: re.Match[bytes]) -> bytes:
        code = found[1]
        return bytes([int(code) % 256]) if code.isdigit() else code

    return _ESCAPE.sub(byte, quoted[1:-1].encode()).decode(errors="replace")


class _Reader:
    def __init__(self, text: str) -> None:
        self.text = text
        self.next_at = 0
        self.take()

    def take(self) -> tuple[str, str]:
        """Returns the current token, its kind and text, and goes on to the next."""
        current = getattr(self, "token", ("", ""))
        found = _TOKEN.match(self.text, self.next_at)
        if not found:
            raise Refused(f"byte {len(self.text[: self.next_at].encode()) + 1}: this is no part of an order")
        self.next_at = found.end()
        self.token = (str(found.lastgroup), found[str(found.lastgroup)])
        return current

    def takes(self, sign: str) -> bool:
        """Goes on if the current token is this sign."""
        return self.token == ("sign", sign) and bool(self.take())

    def expect(self, sign: str) -> None:
        if not self.takes(sign):
            raise Refused(f"'{sign}' is missing before '{self.token[1]}'")

    def order(self) -> tuple[str, dict[str, Any]]:
        kind, name = self.take()
        if kind != "word":
            raise Refused("an order must start with its name")
        self.expect("(")
        arguments = self.table(1) if self.token == ("sign", "{") else None
        self.expect(")")
        self.takes(";")
        if self.token[0] != "end" or not isinstance(arguments, dict):
            raise Refused("an order takes one table with named arguments, and nothing follows it")
        return name, arguments

    def value(self, depth: int) -> Any:
        if self.token == ("sign", "{"):
            return self.table(depth + 1)
        kind, text = self.take()
        if kind == "text":
            return _unescaped(text)
        if kind == "number":
            return int(text) if text.lstrip("-").isdigit() else float(text)
        if kind == "word" and text in _WORDS:
            return _WORDS[text]
        raise Refused(f"'{text}' is no value")

    def table(self, depth: int) -> dict[str, Any] | list[Any]:
        """A table with keys, or a list. An empty one has keys."""
        if depth > DEEPEST:
            raise Refused(f"more than {DEEPEST} tables in each other")
        keyed: dict[str, Any] = {}
        listed: list[Any] = []
        self.expect("{")
        while not self.takes("}"):
            if self.token[0] == "word" and self.token[1] not in _WORDS:
                key = self.take()[1]
                self.expect("=")
                keyed[key] = self.value(depth)
            else:
                listed.append(self.value(depth))
            if not (self.takes(",") or self.takes(";")) and self.token != ("sign", "}"):
                raise Refused(f"',' or '}}' is missing before '{self.token[1]}'")
        if keyed and listed:
            raise Refused("a table is either a list or has keys")
        return listed or keyed
