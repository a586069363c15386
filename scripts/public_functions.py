#!/usr/bin/env python3
"""Lists the public functions of the library's installed headers, one "Class::function" a line.

Read from the headers that the modules' CMakeLists.txt name as HEADERS and EXTENSION_HEADERS. Overloads are
one entry, except that every type has its own "operator<<(Type)"; a constructor is "Class::Class", a conversion "Class::operator_bool", a free function is named
alone. Left out: destructors, deleted functions, private classes, what a class declares only to forbid or to
place it (operators new and delete), and what the stamps of the type system add.

usage: public_functions.py [ROOT]
"""

import re
import sys

from offences import root_of

TIERS = ("HEADERS", "EXTENSION_HEADERS")
OPERATOR = r"operator\s*(?:\(\)|\[\]|->\*?|<=>|[-+*/%^&|~!=<>,]+|[A-Za-z_][\w:]*)"
NAME_BEFORE_PARENTHESIS = re.compile(rf"({OPERATOR}|~?[A-Za-z_]\w*)\s*\(")


def headers(root):
    """The headers of both tiers."""
    for lists in sorted(root.glob("vak*/**/CMakeLists.txt")):
        text = re.sub(r"#.*", "", lists.read_text(encoding="utf-8"))
        words = re.findall(r"[\w.]+", text)
        tier = None
        for word in words:
            if word.isupper() and "." not in word:
                tier = word
            elif tier in TIERS and word.endswith(".h"):
                yield lists.parent / word


def blank(text):
    """White space as long as the text, with its line breaks."""
    return re.sub(r"[^\n]", " ", text)


def strip(text):
    """The text without comments, texts, preprocessor lines, attributes and stamps, as long as it was."""

    def blank_match(match):
        return blank(match[0])

    text = re.sub(r"/\*.*?\*/", blank_match, text, flags=re.DOTALL)
    text = re.sub(r"//[^\n]*", blank_match, text)
    text = re.sub(r'"((?:\\.|[^"\\])*)"', lambda match: f'"{blank(match[1])}"', text)
    text = re.sub(r"'(?:\\.|[^'\\])'", lambda match: "0".ljust(len(match[0])), text)
    text = re.sub(r"^[ \t]*#(?:.*\\\n)*.*$", blank_match, text, flags=re.MULTILINE)
    text = re.sub(r"\[\[.*?\]\]", blank_match, text, flags=re.DOTALL)
    return re.sub(r"\bVAK_RTTI\w*\([^)]*\);?", lambda match: " public: ".ljust(len(match[0])), text)


def skip_balanced(text, start, opening, closing):
    """The index behind the bracket that closes the one at `start`."""
    depth = 0
    for index in range(start, len(text)):
        if text[index] == opening:
            depth += 1
        elif text[index] == closing:
            depth -= 1
            if depth == 0:
                return index + 1
    raise ValueError("unbalanced " + opening)


def drop_templates(declaration):
    """The declaration without its template heads and constraints."""
    declaration = declaration.strip()
    while declaration.startswith("template"):
        declaration = declaration[skip_balanced(declaration, declaration.index("<"), "<", ">") :].strip()
    match = re.match(r"requires\s*", declaration)
    if match and declaration[match.end()] == "(":
        return drop_templates(declaration[skip_balanced(declaration, match.end(), "(", ")") :])
    if match:
        rest = declaration[match.end() :]
        name = re.match(r"[\w:]+\s*(?=<)", rest)
        return drop_templates(rest[skip_balanced(rest, name.end(), "<", ">") :])
    return declaration


def declarations_with_places(body):
    """Splits a scope into (head, inner body or None, where the head starts)."""
    start = index = 0
    while index < len(body):
        character = body[index]
        if character == "(":
            index = skip_balanced(body, index, "(", ")")
        elif character == ";":
            yield body[start:index], None, start
            start = index = index + 1
        elif character == "{":
            end = skip_balanced(body, index, "{", "}")
            yield body[start:index], body[index + 1 : end - 1], start
            rest = re.match(r"\s*;", body[end:])
            start = index = end + (rest.end() if rest else 0)
        else:
            index += 1


def declarations(body):
    """Splits a scope into (head, inner body or None)."""
    return ((head, inner) for head, inner, _ in declarations_with_places(body))


def function_name(head):
    """The name of the function that a declaration declares, or None."""
    head = re.sub(r"\b(alignas|decltype|noexcept|explicit|static_assert)\s*\((?:[^()]|\([^()]*\))*\)", " ", head)
    match = NAME_BEFORE_PARENTHESIS.search(head)
    if not match or "=" in head[: match.start()].replace("==", "") or re.search(r"=\s*delete", head):
        return None
    name = re.sub(r"\s+", " ", match[1]).replace("operator ", "operator") if match[1].startswith("operator") else match[1]
    if re.match(r"operator\s+[A-Za-z]", match[1]):
        name = "operator_" + match[1].split()[1]
    if name.startswith("~") or name in ("operator_new", "operator_delete"):
        return None
    return name


def last_parameter_type(head):
    """The name of the type of a function's last parameter, without const, references and arguments."""
    start = head.index("(", head.index("operator"))
    parameters = head[start + 1 : skip_balanced(head, start, "(", ")") - 1]
    return re.match(r"\s*(?:const\s+)?([\w:]+)", parameters[parameters.rindex(",") + 1 :])[1]


def collect(body, scope, functions, hidden, public=True):
    """Adds the functions of a scope; `hidden` are the private classes, which may be defined elsewhere."""
    for head, inner in declarations(body):
        while True:
            label = re.match(r"\s*(public|private|protected)\s*:", head)
            if not label:
                break
            public = label[1] == "public"
            head = head[label.end() :]
        head = drop_templates(head)
        kind = re.match(r"(?:friend\s+)?(class|struct|enum|namespace|concept|using|typedef|extern)\b", head)
        if kind and kind[1] in ("class", "struct"):
            match = re.match(r"(?:class|struct)\s+(?:alignas\([^)]*\)\s*)?([\w:]+)", head)
            inside = scope + [match[1]] if match else scope
            if not public:
                hidden.add("::".join(inside))
            if inner is not None and "::".join(inside) not in hidden:
                collect(inner, inside, functions, hidden, kind[1] == "struct")
        elif kind and kind[1] == "namespace" and inner is not None:
            continue
        elif kind or not public or "inline constexpr" in head and "(" not in head:
            continue
        else:
            name = function_name(head)
            if name == "operator<<" and not scope:
                name += f"({last_parameter_type(head)})"
            if name and (scope or name.startswith(("Vak", "operator", "intersect"))):
                functions.add("::".join(scope + [name]))


def public_functions(root):
    functions = set()
    for header in headers(root):
        collect(strip(header.read_text(encoding="utf-8")), [], functions, set())
    return functions


def main(arguments):
    for function in sorted(public_functions(root_of(arguments))):
        print(function)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
