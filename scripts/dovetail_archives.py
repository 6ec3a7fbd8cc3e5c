"""Real archives to show things with, made by the tools that people make theirs with."""

import io
import os
import subprocess
import tarfile
import zipfile

ENTRIES = [
    ("guide/", None),
    ("guide/chapters/", None),
    ("guide/chapters/first page.txt", b"page one\n"),
    ("guide/chapters/second page.txt", b"page two\n"),
    ("guide/cover.png", b"\x89PNG\r\n\x1a\n"),
    ("read me.txt", b"hello\n"),
]
NOT_UTF8 = b"caf\xe9.txt"  # Latin-1, as older programs wrote it


def make_tar(path, compression, entries=ENTRIES):
    with tarfile.open(path, "w:" + compression, format=tarfile.GNU_FORMAT, encoding="utf-8") as archive:
        for name, data in entries:
            info = tarfile.TarInfo(name.rstrip("/"))
            info.type = tarfile.DIRTYPE if data is None else tarfile.REGTYPE
            info.size = len(data or b"")
            archive.addfile(info, io.BytesIO(data or b""))


def make_zip(path, entries=ENTRIES):
    with zipfile.ZipFile(path, "w") as archive:
        for name, data in entries:
            archive.writestr(name, data or b"")


def make_large_zip(path, count):
    """`count` entries: a folder with all of them but two, and two files."""
    make_zip(path, [("many/", None), ("last.txt", b"")] + [("many/%06d.txt" % number, b"") for number in range(count - 2)])


def make_7z(path, folder):
    subprocess.run(["bsdtar", "--format=7zip", "-cf", path, "-C", folder, "."], check=True)


def write_tree(folder):
    for name, data in ENTRIES:
        if data is None:
            os.makedirs(os.path.join(folder, name), exist_ok=True)
            continue
        with open(os.path.join(folder, name), "wb") as file:
            file.write(data)


def make_collection(folder):
    """A folder with archives of four formats, ordinary files, a subfolder and a symbolic link."""
    plain = os.path.join(folder, "unpacked")
    os.makedirs(plain)
    write_tree(plain)
    latin = NOT_UTF8.decode("utf-8", "surrogateescape")
    with tarfile.open(os.path.join(folder, "old names.tar.gz"), "w:gz", format=tarfile.GNU_FORMAT, encoding="utf-8",
                      errors="surrogateescape") as archive:
        archive.addfile(tarfile.TarInfo(latin))
    make_zip(os.path.join(folder, "holiday pictures.zip"))
    make_tar(os.path.join(folder, "letters.tar.gz"), "gz")
    make_tar(os.path.join(folder, "drafts.tar.xz"), "xz")
    make_7z(os.path.join(folder, "backup.7z"), plain)
    make_zip(os.path.join(folder, "empty.zip"), [])
    for name, data in (("notes.txt", b"remember the milk\n"), ("letter to anna.txt", b"dear anna\n")):
        with open(os.path.join(folder, name), "wb") as file:
            file.write(data)
    with open(os.path.join(os.fsencode(folder), NOT_UTF8), "wb") as file:
        file.write(b"old\n")
    os.symlink("letters.tar.gz", os.path.join(folder, "latest letters"))
