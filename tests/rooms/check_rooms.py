#!/usr/bin/env python3
"""The arrows of the house: which room's files may include which. Also the size of files, and where system headers may stand.

Prints one line for each breach and exits with 1; prints a count and exits with 0 when there is none."""
import pathlib
import re
import sys

TOP = pathlib.Path(sys.argv[1])

# The record and the tree, which both programs use, are part of wire/ wherever they stand.
RECORDS = ["core/DTMessage.h", "archive/ArchivedClasses.h", "archive/DTArchiveEntry.h", "archive/DTTreeNode.h", "archive/LeafShapes.h"]

# Room -> what its files may include besides the standard library, as prefixes of the include's text. Each is in use.
ALLOWED = {
    "wire": ["wire/", "platform/", *RECORDS],
    "core": ["core/", "wire/", "platform/"],
    "menus": ["menus/", "core/", "archive/", "folders/", "wire/", "platform/"],
    "archive": ["archive/", "core/", "wire/", "platform/"],
    "folders": ["folders/", "core/", "wire/", "platform/"],
    "platform": ["platform/"],
    "platform/fake": ["platform/"],
    "platform/linux": ["platform/"],
    "browsers": ["browsers/", "core/DTDovetailSync.h", "wire/", "platform/"],
    "host": ["host/", "wire/", "platform/", "core/DTMessage.h", "archive/ArchivedClasses.h", "archive/DTArchiveEntry.h",
             "archive/DTTreeNode.h"],
    "console": ["console/", "core/", "folders/", "menus/MenuSymbols.h", "archive/ArchivedClasses.h", "archive/DTTreeNode.h", "wire/",
                "platform/"],
}
# Folder of browsers/ -> those of its folders that it includes; "" is what all browsers share. An adapter, any other folder, includes
# all of these and itself.
BROWSER_FOLDERS = {"": [""], "gobject": ["", "gobject"], "gtk3": ["", "gobject", "gtk3"]}
TOOLKIT = re.compile(r"(gtk|gdk)/|adwaita|Q[A-Z]|Qt|K[A-Z]")
# Library -> a header that only those may include who link it.
LIBRARIES = {
    "dovetail_extension": "core/DTDovetailSync.h",
    "dovetail_menu_symbols": "menus/MenuSymbols.h",
    "dovetail_platform": "platform/Platform.h",
    "dovetail_platform_linux": "platform/linux/LinuxPlatform.h",
    "dovetail_wire": "wire/Commands.h",
}
PORTABLE = {"wire", "core", "menus", "archive", "folders", "platform"}
BACKENDS = ("platform/linux/", "platform/fake/")
STANDARD = re.compile(r"[a-z_0-9]+$")  # a header of the C++ standard library has neither a slash nor a suffix
HEADER_LINES, SOURCE_LINES, OBJECT_LINES = 200, 500, 300


def room_of(path):
    parts = path.relative_to(TOP).parts
    if str(path.relative_to(TOP).with_suffix(".h")) in RECORDS:
        return "wire"
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


def allowances(room, included):
    return {(room, prefix) for prefix in ALLOWED[room] if included.startswith(prefix)}


def breaches(path, used):
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
        if not allowances(room, included):
            yield f'{room} may not include "{included}"'
        used |= allowances(room, included)
        backend = included.startswith(BACKENDS) and not included.startswith(room + "/")
        if backend and room not in ("browsers", "host", "console"):
            yield f'{room} names a backend: "{included}"'


def links(path):
    room = room_of(path)
    for library in re.findall(r"\bdovetail_\w+", path.read_text()):
        if library in LIBRARIES and not allowances(room, LIBRARIES[library]):
            yield f"{room} may not link {library}"


def main():
    count, found, used = 0, [], set()
    for room in ALLOWED:
        for path in sorted((TOP / room).rglob("*")):
            if room_of(path).startswith(room + "/") or path.suffix not in (".h", ".cpp") and path.name != "CMakeLists.txt":
                continue  # a room inside a room comes on its own
            count += 1
            name = path.relative_to(TOP)
            found += [f"{name}: {breach}" for breach in (links(path) if path.suffix == ".txt" else breaches(path, used))]
    for room, prefixes in ALLOWED.items():
        found += [f'{room} has no need of "{prefix}"' for prefix in prefixes if (room, prefix) not in used]
    print(*found, f"{count} files, {len(found)} breaches", sep="\n")
    sys.exit(1 if found or count == 0 else 0)


main()
