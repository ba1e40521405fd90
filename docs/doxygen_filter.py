"""Prints a file for Doxygen.

Headers: declarations in one paragraph share the comment above the first of them.

In these headers a comment describes all declarations up to the next blank line or comment; Doxygen describes only the
first one. Copies and moves without a comment get one here. Specialisations of templates of the standard library are left
out, because Doxygen does not know the namespace.

Guides: headings get the anchors that other Markdown readers give them, with the name of the guide before them, because
anchors belong to all pages here.
"""

import collections
import re
import sys
from pathlib import Path

SPECIAL = (
    (re.compile(r"^(?!.*operator)(?:SINEW_API )?(\w+)\(\1 const&( \w+)?\)"), "/// A copy."),
    (re.compile(r"^(?!.*operator)(?:SINEW_API )?(\w+)\(\1&&( \w+)?\)"), "/// Takes the content of the other object."),
    (re.compile(r"^(?:SINEW_API )?(\w+)& operator=\(\1 const&"), "/// Replaces the content by a copy."),
    (re.compile(r"^(?:SINEW_API )?(\w+)& operator=\(\1&&"), "/// Takes the content of the other object."),
)


def is_outer(line):
    """Whether a line opens or closes something that contains declarations, or is no declaration."""
    return bool(re.match(r"(namespace|class|struct|enum|extern|template|public|protected|private|friend class|#|//|\}|\{|using namespace)",
                         line))


def print_guide(lines, stem):
    inside = False  # a block of code
    used = collections.Counter()
    for line in lines:
        inside ^= line.startswith("```")
        heading = None if inside else re.match(r"(#+) (.*)$", line)
        if not heading:
            line = re.sub(r"\]\(#([\w-]+)\)", rf"](#{stem}-\1)", line)
            print(re.sub(r"\]\((?:[\w./]*/)?(\w+)\.md#([\w-]+)\)", r"](#\1-\2)", line), end="")
            continue
        anchor = re.sub(r"[^a-z0-9 _-]", "", heading[2].lower()).replace(" ", "-")
        used[anchor] += 1
        if used[anchor] > 1:  # numbered as other readers do
            anchor += f"-{used[anchor] - 1}"
        print(f"{heading[1]} {heading[2]} {{#{stem}-{anchor}}}" if len(heading[1]) > 1 else line.rstrip())


def print_header(lines):
    comment = []  # the block that the next declarations share
    depth = 0     # of braces and parentheses inside a declaration
    own = []      # a block that is being read
    for line in lines:
        text = line.strip()
        indent = line[: len(line) - len(line.lstrip())]
        if depth == 0:
            if not text:
                comment, own = [], []
            elif text.startswith("///") and not text.startswith("///<"):
                own.append(text)
            elif not is_outer(text) or text.startswith("template"):
                if own:
                    comment = own
                else:
                    shared = [part for part in comment if "@param" not in part]
                    for pattern, words in SPECIAL:
                        if pattern.match(text):
                            shared = [words]
                    if "///<" not in text and "= delete" not in text:
                        for part in shared:
                            print(indent + part)
                own = []
            else:
                own = []
        print(line, end="")
        if depth or not (is_outer(text) and not text.startswith("template")):
            code = re.sub(r"\"(\\.|[^\"])*\"|'(\\.|[^'])'|//.*", "", text)
            depth += sum(code.count(c) for c in "({") - sum(code.count(c) for c in ")}")
            depth = max(depth, 0)


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    if sys.argv[1].endswith(".md"):
        print_guide(text.splitlines(keepends=True), Path(sys.argv[1]).stem)
    else:
        text = re.sub(r"(?:///.*\n)*template <.*>\nstruct std::.*\n\{\n(?:.*\n)*?\};\n", "", text)
        # The headers write definitions so where the name of the class needs ::, and Doxygen does not know this form.
        text = re.sub(r"^inline auto ::(\w+::.*) -> (?:::)?(\w+)$", r"inline \2 \1", text, flags=re.MULTILINE)
        print_header(text.splitlines(keepends=True))
