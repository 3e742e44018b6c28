"""Turns the plain comments of QV_3D.h into those that Doxygen reads; the header itself stays as it is.

    header_filter.py HEADER                            prints the header with comments of Doxygen's kind, line by line
    header_filter.py --main-page HEADER README OUTPUT  writes the reference's main page: the conventions, then the README
"""
import re
import sys

COMMENT = re.compile(r"/\*(.*?)\*/", re.DOTALL)
RULE = "=" * 20


def escape(text):
    """What Doxygen would take for commands, tags and links. Backslashes stand in quoted messages, which it leaves alone."""
    return re.sub(r"[@<>&#%|]", lambda match: "\\" + match[0], text)


def plain_lines(comment):
    """The lines of a comment without its stars."""
    return [re.sub(r"^ ?\* ?", "", line).rstrip() for line in comment.strip("*").split("\n")]


def heading(comment):
    """The title of a family, or None."""
    lines = plain_lines(comment)
    return lines[1] if lines[0].strip().startswith(RULE) else None


def group_start(comment, title, first):
    lines = [line for line in escape(comment).split("\n") if RULE not in line]
    name = "family_" + re.sub(r"\W+", "_", title).lower()
    assert lines[0].strip("* ") == escape(title), title
    # As many lines as before, so that what Doxygen says of line numbers holds.
    return "\n".join([("" if first else "/** @} */ ") + f"/** @defgroup {name} {title}", " *", *lines[1:], " */ /** @{ */"])


def one_by_one(match):
    """Members that are declared together get a comment each."""
    kind, names, comment = match[2], match[3].split(", "), match[1]
    return "\n" + " ".join(f"{kind} {name}; /**<{comment}*/" for name in names)


def filtered(text):
    groups = 0

    def replace(match):
        nonlocal groups
        comment = match[1]
        if match.start() == 0:
            return "/** @file */" + "\n" * comment.count("\n")
        before = match.string[:match.start()].rpartition("\n")[2]
        if before.strip():
            return "/**<" + escape(comment) + "*/"  # behind a member
        title = heading(comment)
        if title is None:
            return "/**" + escape(comment) + "*/"
        groups += 1
        return group_start(comment, title, groups == 1)

    # The last family ends where the C++ block does.
    body, closing, rest = text.rpartition("#ifdef __cplusplus\n}")
    assert closing and body.endswith("\n\n")
    done = COMMENT.sub(replace, body).rstrip("\n") + "\n/** @} */\n" + closing + COMMENT.sub(replace, rest)
    return re.sub(r"/\*\*([^*\n]*)\*/\n *(\w+) (\w+(?:, \w+)+);", one_by_one, done)


def main_page(header, readme):
    essay = plain_lines(COMMENT.match(header)[1])[1:]
    start = next(k for k, line in enumerate(essay) if line.startswith("CONVENTIONS"))
    title, *rest = readme.split("\n")
    body = re.sub(r"(?<!!)\[([^]]*)\]\((?!http)[^)]*\)", r"\1", "\n".join(rest))
    # The first words of a paragraph name its topic.
    conventions = re.sub(r"(?m)(^|\n\n)([A-Z][a-z ,]+)\. ", r"\1**\2.** ", escape("\n".join(essay[start + 2:])))
    return f"{title}\n\n## Conventions\n\nThey bind every function; an entry states only what differs.\n\n{conventions}\n{body}"


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


if sys.argv[1] == "--main-page":
    with open(sys.argv[4], "w", encoding="utf-8") as output:
        output.write(main_page(read(sys.argv[2]), read(sys.argv[3])))
else:
    sys.stdout.write(filtered(read(sys.argv[1])))
