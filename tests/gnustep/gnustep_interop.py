"""dovetail-archive and GNUstep's archiver read what the other writes. Usage: gnustep_interop.py DOVETAIL GNUSTEP

GNUstep departs from the form in known points, which the samples keep clear of or which a test here pins down: integers of
2^63 and above become negative, those of 16 bytes are refused; index paths are packed otherwise; dates are dates of the
property list; references and offsets of 8 bytes and UIDs of 4 are refused; the text "$null" reads as nil in any form;
booleans may be numbers; hostile archives can end it, so it gets none.
"""
import json
import subprocess
import sys
import unittest

GNUSTEP = sys.argv.pop()
DOVETAIL = sys.argv.pop()


def make(value):
    return subprocess.run([DOVETAIL, "make", "-"], input=json.dumps(value).encode(), capture_output=True, check=True).stdout


def dump(archive):
    return json.loads(subprocess.run([DOVETAIL, "dump", "-"], input=archive, capture_output=True, check=True).stdout)


def gnustep(mode, content=b""):
    return subprocess.run([GNUSTEP, mode], input=content, capture_output=True, check=True).stdout


def text(value):
    return {"t": "str", "v": value}


def number(value):
    return {"t": "int", "v": str(value)}


def entry(name, folder, index, size):
    return {"t": "entry", "name": text(name), "folder": folder, "index": number(index), "rsrcIndex": number(0),
            "size": number(size)}


def node(represented, *children):
    return {"t": "node", "object": represented, "children": list(children)}


TREE = node(entry("a.zip", True, 0, 0),
            node(entry("f\u00f6lder", True, 1, 70000), node(entry("one.txt", False, 2, 140000))),
            node(entry("two.txt", False, 2**40, 70000 * 2**40)))

VALUES = [text("t\u00e9xt"), text("mutable"), number(-5), {"t": "real", "bits": "3ff8000000000000"}, {"t": "bool", "v": True},
          {"t": "data", "v": "0102"}, {"t": "url", "base": None, "rel": "file:///a%20b/"},
          {"t": "error", "domain": "D", "code": "-7", "info": {"t": "dict", "v": [[text("k"), text("v")]]}}, {"t": "null"},
          {"t": "set", "v": [text("member")]}, {"t": "dict", "v": [[text("1"), text("x")]]}]


def message(argument):
    return {"t": "msg", "selector": text("go:"), "argument": argument, "portName": None}


class GNUstepInterop(unittest.TestCase):
    def test_gnustep_reads_a_message_of_every_kind(self):
        lines = gnustep("read", make(message({"t": "array", "v": VALUES}))).decode().splitlines()
        self.assertEqual([line.strip() for line in lines],
                         ["message", "text go:", "list 11", "text t\u00e9xt", "text mutable", "number -5", "number 1.5",
                          "number 1", "data 2", "url file:///a%20b/", "error D -7", "null", "list 1", "text member",
                          "dictionary 1", "text 1", "text x", "nil"])

    def test_gnustep_reads_a_tree(self):
        self.assertEqual(gnustep("read", make(TREE)).decode(),
                         "node a.zip 1 0 0 0\n node f\u00f6lder 1 1 0 70000\n  node one.txt 0 2 0 140000\n"
                         f" node two.txt 0 {2**40} 0 {70000 * 2**40}\n")

    def test_gnustep_reads_a_large_archive(self):
        many = make(message({"t": "array", "v": [number(i) for i in range(20000)]}))
        self.assertEqual(len(gnustep("read", many).splitlines()), 20004)

    def test_dovetail_reads_a_message_of_every_kind(self):
        self.assertEqual(dump(gnustep("message")), message({"t": "array", "v": VALUES}))

    def test_dovetail_reads_a_tree(self):
        self.assertEqual(dump(gnustep("tree")), TREE)

    def test_known_departure_the_text_null_is_nil_even_in_a_mutable_string(self):
        self.assertEqual(gnustep("read", make(message(text("$null")))).split(), [b"message", b"text", b"go:", b"nil", b"nil"])

    def test_known_departure_numbers_of_2_to_the_63_and_above_are_lost(self):
        self.assertEqual(gnustep("read", make(message(number(2**63 - 1)))).split()[4], str(2**63 - 1).encode())
        lost = subprocess.run([GNUSTEP, "read"], input=make(message(number(2**63))), capture_output=True)
        self.assertNotIn(str(2**63).encode(), lost.stdout)


unittest.main()
