#!/usr/bin/env python3
"""Holds that docs/guide/errors.md explains every message that the library can give, and no other.

Messages are read from the sources: the texts in statements that throw, that hand a text to an exception, or
that note a fault of a file; and those of the checked build. Where a text is put together while the program
runs, each part that is put in stands as "…". The page has a row for each message, which begins with it between
back quotes and goes on with cause and remedy. The findings of check() are left out: they name what is broken
in an environment, and the page treats them as one.

usage: check_messages.py [--list] [ROOT]      --list prints the messages of the sources
"""

import re
import sys

from offences import report, root_of

PAGE = "docs/guide/errors.md"
MODULES = ("vakbase", "vakenv", "vakmodel", "vaksolver", "vaksupport")
LITERAL = r'"((?:\\.|[^"\\])*)"'
# A statement whose texts are messages.
GIVES = re.compile(
    r"\bthrow\b|\b(?:Vak)?Throw\w*\(|\bException\(\"|\bVakException\(\"|\bnote\(|\bfault\(|\bwrite\(\s*\""
    r"|\b(?:TooFew|DangerousDeletion) =|\bVakAddFirstTwo|belongs to another environment than|make no sense: "
    r"|\bis (?:given back|handed out)\b|was written at byte|\breturn text.empty\(\) \? |\bout << \"> "
    r"|\bconst std::string text = |\binOurWords\("
)
FORMAT = re.compile(r"%[-.0-9]*(?:l|z)?[a-zA-Z]")
TABLE = re.compile(r"^\| message \| cause \| what to do \|\n\|---\|---\|---\|\n((?:\|.*\n)*)", re.MULTILINE)
ROW = re.compile(r"^\| `([^`]+)` \| [^|]*[^| ][^|]* \| [^|]*[^| ][^|]* \|$")


def without_comments(text):
    """The text without comments and preprocessor lines; texts in it are kept."""
    token = re.compile(rf"{LITERAL}|'(?:\\.|[^'\\\n])'|//[^\n]*|/\*.*?\*/", re.DOTALL)
    kept = token.sub(lambda match: match[0] if match[0][0] == '"' else " ", text)
    return re.sub(r"^[ \t]*#.*$", "", kept, flags=re.MULTILINE)


def statements(text):
    """The pieces between the semicolons and braces that stand outside of texts."""
    parts = re.split(rf"({LITERAL})|[;{{}}]", without_comments(text))
    # re.split gives: outside, whole literal or None, inner literal or None, outside, ...
    statement = ""
    for at in range(0, len(parts), 3):
        statement += parts[at]
        literal = parts[at + 1] if at + 1 < len(parts) else None
        if literal is not None:
            statement += literal
        else:
            yield " ".join(statement.split())
            statement = ""


def message_of(statement):
    """The message that a statement gives, or None."""
    joined = re.sub(r'"\s+"', "", statement)  # neighbours are one text
    texts = [text.replace('\\"', '"').replace("\\n", "") for text in re.findall(LITERAL, joined)]
    formats = [text for text in texts if FORMAT.search(text)]
    if formats:
        return FORMAT.sub("…", formats[0])
    texts = [text for text in texts if " " in text.strip() or text.endswith(".")]
    if not texts:
        return None
    if "inOurWords(" in statement:  # what somebody else says, and what is said in its place
        return texts[-1].strip()
    message = "…".join(texts).strip()
    return f"Named property <…{message}" if message.startswith(">") else message


def read_messages(root):
    """Maps each message to the files that give it."""
    messages = {}
    for module in MODULES:
        for path in sorted((root / module).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            for statement in statements(path.read_text(encoding="utf-8")):
                if not GIVES.search(re.sub(r'"\s+"', "", statement)) or "static_assert" in statement:
                    continue
                # A table has several of these in one statement.
                for part in re.split(r"(?=\binOurWords\()", statement):
                    message = message_of(part)
                    if message:
                        messages.setdefault(message, set()).add(path.relative_to(root).as_posix())
    return messages


def find_offences(root):
    messages = read_messages(root)
    if not messages:
        return ["no message was found in the sources"]
    page = root / PAGE
    if not page.is_file():
        return [f"{PAGE}: is not there"]
    rows, offences = [], []
    for table in TABLE.findall(page.read_text(encoding="utf-8")):
        for line in table.splitlines():
            match = ROW.match(line)
            if match:
                rows.append(match[1])
            else:
                offences.append(f"{PAGE}: this row has no message, cause and remedy: {line}")
    offences += [
        f"{PAGE}: does not explain `{message}` of {', '.join(sorted(files))}"
        for message, files in messages.items()
        if message not in rows
    ]
    offences += [f"{PAGE}: explains `{row}`, which nothing says" for row in rows if row not in messages]
    offences += [f"{PAGE}: explains `{row}` twice" for row in sorted(set(rows)) if rows.count(row) > 1]
    return offences


def main(arguments):
    if arguments[:1] != ["--list"]:
        return report(find_offences, arguments)
    for message, files in read_messages(root_of(arguments[1:])).items():
        print(f"{message}  ({', '.join(sorted(files))})")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
