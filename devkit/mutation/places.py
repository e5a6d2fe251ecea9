# SPDX-License-Identifier: Apache-2.0
"""Finds places in C++ sources by the name of the enclosing scope and by a few tokens, so that
layout, comments and the rest of the file may change.

A scope is a function, a class, a struct, a union, an enumeration, or a constant or member with an
initializer. Its name contains the enclosing classes, but no namespaces: "ClientTrack::write",
"CreateRequest", "SPACE_WAIT_MS". It extends from its declaration to its closing brace or semicolon.
Overloads share a name.
"""
import os
import re
from collections import namedtuple

Token = namedtuple("Token", "text begin end")

_TOKEN = re.compile(r"""
    (?P<skip>\s+|//[^\n]*|/\*.*?\*/|\\\n)
  | (?P<token>
        (?:u8|[uUL])?R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"
      | (?:u8|[uUL])?"(?:\\.|[^"\\\n])*"
      | (?:[uUL])?'(?:\\.|[^'\\\n])*'
      | \.?\d(?:'?[\w.]|[eEpP][+-])*
      | [A-Za-z_]\w*
      | ::|->|<<|>>|<=|>=|==|!=|&&|\|\||\+\+|--|\+=|-=|\*=|/=|\|=|&=
      | .)
""", re.VERBOSE | re.DOTALL)

_CONTROL = {"if", "for", "while", "switch", "catch", "do", "else", "try", "return"}
_TYPES = {"class", "struct", "union", "enum"}


def tokens(text):
    """Comments and blanks are not tokens."""
    return [Token(found["token"], found.start(), found.end())
            for found in _TOKEN.finditer(text) if found["token"] is not None]


def _matching(words, index, opening, closing):
    """The index after the token that closes the bracket at `index`."""
    depth = 0
    while index < len(words):
        depth += {opening: 1, closing: -1}.get(words[index], 0)
        index += 1
        if depth == 0:
            return index
    return index


def _qualified(words, index):
    """The name that ends before `index`: "A::b", "~A", "operator=="."""
    parts = []
    while index > 0:
        word = words[index - 1]
        if word == ">" and (not parts or parts[0] == "::"):  # template arguments
            depth = 0
            while index > 0:
                index -= 1
                depth += {">": 1, "<": -1}.get(words[index], 0)
                if depth == 0:
                    break
            continue
        is_name = re.fullmatch(r"[A-Za-z_]\w*", word) is not None
        if is_name and (not parts or parts[0] in ("::", "~")):
            parts.insert(0, word)
        elif word == "~" and parts and "~" not in parts or word == "::" and parts:
            parts.insert(0, word)
        else:
            break
        index -= 1
    return "".join(parts)


def _operator(words):
    """"operator==" where the declaration is one, else None."""
    if "operator" not in words:
        return None
    begin = words.index("operator")
    end = begin + 1
    while end < len(words) and words[end] != "(":
        end += 1
    if end == begin + 1:  # operator()
        end += 2
    owner = _qualified(words, begin + 1)
    return owner + "".join(words[begin + 1:end])


def _without_attributes(words):
    """The words of a declaration without attributes and template parameters; ">>" counts as two."""
    words = [part for word in words for part in ([">", ">"] if word == ">>" else [word])]
    result, index = [], 0
    while index < len(words):
        if words[index] == "[" and index + 1 < len(words) and words[index + 1] == "[":
            index = _matching(words, index, "[", "]")
        elif words[index] in ("alignas", "__attribute__", "template") and index + 1 < len(words):
            pair = ("<", ">") if words[index] == "template" else ("(", ")")
            if words[index + 1] == pair[0]:
                index = _matching(words, index + 1, *pair)
            else:
                index += 1
        else:
            result.append(words[index])
            index += 1
    return result


def _name_of(words):
    """The name of the scope that a brace after these words opens: "" for a namespace, None for a
    block or an initializer without a name."""
    words = _without_attributes(words)
    if not words or words[0] in _CONTROL:
        return None
    if "namespace" in words or words[0] == "extern":
        return ""
    if _is_type(words):
        rest = [word for word in words if word not in ("typedef", "final")]
        index = 1
        while index < len(rest) and (rest[index] in _TYPES or rest[index].isupper() or
                                     rest[index] in ("(", ")", '"')):
            if index + 1 < len(rest) and rest[index + 1] == "(":
                index = _matching(rest, index + 1, "(", ")")
            else:
                index += 1
        return rest[index] if index < len(rest) and re.match(r"[A-Za-z_]", rest[index]) else None
    operator = _operator(words)
    if operator:
        return operator
    if "=" in words:  # a table; lambdas in it have no name
        return _qualified(words, _declarator(words, words.index("=")))
    if "(" in words:
        return _qualified(words, words.index("(")) or None
    return _qualified(words, _declarator(words, len(words))) or None


def _declarator(words, end):
    """The index after the declared name that ends before `end`, array bounds excluded."""
    while end > 0 and words[end - 1] == "]":
        depth = 0
        while end > 0:
            end -= 1
            depth += {"]": 1, "[": -1}.get(words[end], 0)
            if depth == 0:
                break
    return end


def _is_member_initializer(words):
    """Whether a brace after these words belongs to a constructor's member initializer list."""
    words = _without_attributes(words)
    if "(" not in words or words[0] in _CONTROL or _is_type(words):
        return False
    rest = words[_matching(words, words.index("("), "(", ")"):]
    return ":" in rest and re.match(r"[A-Za-z_]\w*$|>$", rest[-1]) is not None


class Source:
    """The tokens of a file and the scopes in it."""

    def __init__(self, text):
        self.text = text
        self.tokens = tokens(text)
        self.words = [token.text for token in self.tokens]
        self.scopes = {}  # name -> (first, last + 1) of the tokens
        self._find_scopes()

    def _find_scopes(self):
        names, stack, begin = [], [], 0
        words = self.words
        index, parentheses = 0, 0
        while index < len(words):
            word = words[index]
            if word == "#" and self._begins_line(index):
                end = self._end_of_directive(index)
                if begin == index:
                    begin = end
                index = end
                continue
            inside = bool(stack) and stack[-1][0] not in ("", "type")
            if word in "([":
                parentheses += 1
            elif word in ")]":
                parentheses -= 1
            elif word == "{":
                head = words[begin:index]
                if inside or parentheses > 0 or _is_member_initializer(head):
                    stack.append(("block", None, begin, parentheses))
                else:
                    name = _name_of(head)
                    if name is None:
                        stack.append(("block", None, begin, parentheses))
                    elif name == "":
                        stack.append(("", None, begin, parentheses))
                    else:
                        kind = "type" if _is_type(head) else "body"
                        names.append(name)
                        stack.append((kind, "::".join(names), begin, parentheses))
                    begin = index + 1
                parentheses = 0
            elif word == "}" and stack:
                kind, name, first, parentheses = stack.pop()
                if name is not None:
                    names.pop()
                    self._add(name, first, index + 1)
                    begin = index + 1
                elif kind == "":
                    begin = index + 1
                elif not (stack and stack[-1][0] not in ("", "type")):
                    begin = first  # an initializer: the declaration continues
            elif word == ";" and not inside and parentheses == 0:
                head = words[begin:index]
                if "=" in head and not _is_type(head) and head[0] != "using":
                    constant = _qualified(head, _declarator(head, head.index("=")))
                    if constant and "operator" not in head:
                        self._add("::".join([*names, constant]), begin, index + 1)
                begin = index + 1
            elif word == ":" and begin == index - 1 and \
                    words[begin] in ("public", "private", "protected"):
                begin = index + 1
            index += 1

    def _add(self, name, first, last):
        self.scopes.setdefault(name, []).append((first, last))

    def _begins_line(self, index):
        line = self.text.rfind("\n", 0, self.tokens[index].begin) + 1
        return not self.text[line:self.tokens[index].begin].strip()

    def _end_of_directive(self, index):
        end = self.tokens[index].begin
        while True:
            end = self.text.find("\n", end)
            if end < 0:
                return len(self.tokens)
            if self.text[end - 1] != "\\":
                break
            end += 1
        while index < len(self.tokens) and self.tokens[index].begin < end:
            index += 1
        return index

    def ranges(self, scope):
        """Token ranges of the scope with this name; the whole file without a name."""
        return self.scopes.get(scope, []) if scope else [(0, len(self.tokens))]

    def find(self, scope, piece):
        """Occurrences of the piece's tokens in the scope: pairs of first and last + 1."""
        wanted = [token.text for token in tokens(piece)]
        words = self.words
        return [(at, at + len(wanted)) for first, last in self.ranges(scope)
                for at in range(first, last - len(wanted) + 1)
                if words[at:at + len(wanted)] == wanted]


def _is_type(words):
    """Whether a type is defined. "struct timespec now()" defines none: the name before its
    parenthesis is that of a function, not of a macro."""
    words = _without_attributes(words)
    if not words or words[0] not in _TYPES | {"typedef"}:
        return False
    return all(words[index - 1].isupper() for index, word in enumerate(words) if word == "(")


class Unclear(Exception):
    """A piece of code that does not occur in its place exactly once."""


Edit = namedtuple("Edit", "first last ahead inserted behind")


def edit(old, new):
    """The edit from the tokens of `old` to those of `new`: the number of common tokens at the
    beginning and at the end, and the text of `new` in between with the blanks around it."""
    before, after = tokens(old), tokens(new)
    shorter = min(len(before), len(after))
    first = last = 0
    while first < shorter and before[first].text == after[first].text:
        first += 1
    while last < shorter - first and before[-1 - last].text == after[-1 - last].text:
        last += 1
    inserted = after[first:len(after) - last]
    if not inserted:
        return Edit(first, last, "", "", "")
    begin, end = inserted[0].begin, inserted[-1].end
    return Edit(first, last, new[after[first - 1].end:begin] if first else "", new[begin:end],
                new[end:after[-last].begin] if last else "")


def exchanged(source, begin, end, old, new):
    """The source's text with `new` in place of `old`, whose tokens are from begin to end. The
    common parts keep their layout and comments."""
    what = edit(old, new)
    text, changed = source.text, source.tokens[begin + what.first:end - what.last]
    if changed and what.inserted:
        return text[:changed[0].begin] + what.inserted + text[changed[-1].end:]
    if changed:
        return _without(text, changed[0].begin, changed[-1].end)
    if not what.inserted:
        raise Unclear(f"nothing is changed: {old}")
    if what.first == 0:
        at = source.tokens[begin].begin
        return text[:at] + what.inserted + what.behind + text[at:]
    at = source.tokens[begin + what.first - 1].end
    behind = "" if text[at:at + 1].isspace() else what.behind
    return text[:at] + what.ahead + what.inserted + behind + text[at:]


def _without(text, begin, end):
    """Lines that become empty are removed."""
    line, rest = text.rfind("\n", 0, begin) + 1, text.find("\n", end)
    if rest >= 0 and not (text[line:begin] + text[end:rest]).strip():
        return text[:line] + text[rest + 1:]
    return text[:begin] + text[end:]


class Tree:
    """All sources below some directories."""

    def __init__(self, root, directories):
        self.sources = {}
        for directory in directories:
            for place, _, names in os.walk(os.path.join(root, directory)):
                for name in sorted(names):
                    if name.endswith((".h", ".cpp")):
                        path = os.path.join(place, name)
                        with open(path, encoding="utf-8") as file:
                            self.sources[os.path.relpath(path, root)] = Source(file.read())

    def find(self, place, piece):
        """Occurrences of the piece: triples of file, first token and last + 1. A place is a scope
        in any file, a file, or both as "FILE: SCOPE"."""
        path, _, scope = place.rpartition(": ")
        if "/" in scope:
            path, scope = scope, ""
        if path and path not in self.sources:
            return []
        return [(name, *found) for name in ([path] if path else self.sources)
                for found in self.sources[name].find(scope, piece)]

    def mutated(self, place, old, new):
        """@return the file and its text with `new` in place of `old`"""
        found = self.find(place, old)
        if len(found) != 1:
            raise Unclear(f"stands {len(found)} times in {place}: {old}")
        path, begin, end = found[0]
        return path, exchanged(self.sources[path], begin, end, old, new)
