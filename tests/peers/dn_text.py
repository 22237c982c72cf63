"""Parses the text of distinguished names into values without escapes, so that names from several tools can be compared."""

import re


def split_unescaped(text, separators):
    """Returns (part, separator before it) for every part of a text; an escaped separator does not separate."""
    parts, separator, start, i = [], "", 0, 0
    while i < len(text):
        if text[i] == "\\":
            i += 1
        elif text[i] in separators:
            parts.append((text[start:i], separator))
            separator, start = text[i], i + 1
        i += 1
    return [*parts, (text[start:], separator)]


def unescape(value):
    """The bytes of a value: a backslash precedes two hexadecimal digits or a character."""
    escape = re.compile(rb"\\([0-9A-Fa-f]{2}|.)", re.DOTALL)
    return escape.sub(lambda m: bytes.fromhex(m[1].decode()) if len(m[1]) == 2 else m[1], value.encode())


def read_value(value):
    """("DER", bytes) for the hexadecimal form, else ("text", bytes)."""
    return ("DER", bytes.fromhex(value[1:])) if value.startswith("#") else ("text", unescape(value))


def read_dn(text, types):
    """A list of RDNs, each a list of (type, value). Types that `types` has are translated."""
    rdns = []
    for part, separator in split_unescaped(text, ",+") if text else []:
        name, _, value = part.partition("=")
        if separator != "+":
            rdns.append([])
        rdns[-1].append((types.get(name, name), read_value(value)))
    return rdns
