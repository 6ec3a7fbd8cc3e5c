#!/usr/bin/env python3
"""The arrows of the house: which room's files may include which. Also the size of files, and where system headers may stand.

Prints one line for each breach and exits with 1; prints a count and exits with 0 when there is none."""
import pathlib
import re
import sys

TOP = pathlib.Path(sys.argv[1])

# Room -> what its files may include besides the standard library, as prefixes of the include's text.
ALLOWED = {
    "core": ["core/", "platform/"],
    "menus": ["menus/", "core/", "archive/", "folders/", "platform/"],
    "archive": ["archive/", "core/", "folders/", "platform/"],
    "folders": ["folders/", "core/", "platform/"],
    "platform": ["platform/"],
    "platform/fake": ["platform/"],
    "platform/linux": ["platform/"],
    "browsers": ["browsers/", "core/", "platform/"],
    "host": ["host/", "platform/", "core/DTMessage.h", "archive/DT", "archive/ArchivedClasses.h"],
    "console": ["console/", "core/", "menus/", "archive/", "folders/", "platform/"],
}
# Folder of browsers/ -> those of its folders that it includes; "" is what all browsers share. An adapter, any other folder, includes
# all of these and itself.
BROWSER_FOLDERS = {"": [""], "gobject": ["", "gobject"], "gtk3": ["", "gobject", "gtk3"]}
TOOLKIT = re.compile(r"(gtk|gdk)/|adwaita|Q[A-Z]|Qt|K[A-Z]")
PORTABLE = {"core", "menus", "archive", "folders", "platform"}
BACKENDS = ("platform/linux/", "platform/fake/")
STANDARD = re.compile(r"[a-z_0-9]+$")  # a header of the C++ standard library has neither a slash nor a suffix
HEADER_LINES, SOURCE_LINES, OBJECT_LINES = 200, 500, 300


def room_of(path):
    parts = path.relative_to(TOP).parts
    if parts[:2] in (("platform", "fake"), ("platform", "linux")):
        return "/".join(parts[:2])
    return parts[0]


def browser_folder(parts):
    return parts[1] if len(parts) > 2 else ""


def browser_breach(path, kind, included):
    folder = browser_folder(path.relative_to(TOP).parts)
    if kind == "<" and folder in ("", "gobject") and TOOLKIT.match(included):
        return f"what browsers of any toolkit share includes <{included}>"
    other = browser_folder(included.split("/"))
    if included.startswith("browsers/") and other not in BROWSER_FOLDERS.get(folder, [*BROWSER_FOLDERS, folder]):
        return f'browsers/{folder} may not include "{included}"'
    return None


def breaches(path):
    room = room_of(path)
    lines = path.read_text().splitlines()
    limit = SOURCE_LINES if path.suffix == ".cpp" else HEADER_LINES
    if path.name == "DTDovetailSync.h":
        limit = OBJECT_LINES
    if len(lines) > limit:
        yield f"{len(lines)} lines, more than {limit}"
    for line in lines:
        if room in PORTABLE and re.match(r"\s*#\s*(if|ifdef|ifndef|elif)\b", line):
            yield f"a portable room has no conditional code: {line}"
        match = re.match(r'\s*#\s*include\s+([<"])([^>"]+)[>"]', line)
        if not match:
            continue
        kind, included = match.groups()
        if room == "browsers" and (breach := browser_breach(path, kind, included)):
            yield breach
        if kind == "<":
            if room in PORTABLE and not STANDARD.match(included):
                yield f"a portable room includes <{included}>"
            continue
        if not any(included.startswith(prefix) for prefix in ALLOWED[room]):
            yield f'{room} may not include "{included}"'
        backend = included.startswith(BACKENDS) and not included.startswith(room + "/")
        if backend and room not in ("browsers", "host", "console"):
            yield f'{room} names a backend: "{included}"'


def main():
    count, bad = 0, 0
    for room in ("core", "menus", "archive", "folders", "platform", "browsers", "host", "console"):
        for path in sorted((TOP / room).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            count += 1
            for breach in breaches(path):
                bad += 1
                print(f"{path.relative_to(TOP)}: {breach}")
    print(f"{count} files, {bad} breaches")
    sys.exit(1 if bad or count == 0 else 0)


main()
