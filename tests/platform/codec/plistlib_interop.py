"""dovetail-archive and Python's plistlib read what the other writes. Usage: plistlib_interop.py PROGRAM"""
import json
import plistlib
import subprocess
import sys
import unittest
from plistlib import UID

PROGRAM = sys.argv.pop()


def run(command, content):
    return subprocess.run([PROGRAM, command, "-"], input=content, capture_output=True)


def make(value):
    result = run("make", json.dumps(value).encode())
    assert result.returncode == 0, result.stderr
    return result.stdout


def dump(archive):
    result = run("dump", archive)
    assert result.returncode == 0, result.stderr
    return json.loads(result.stdout)


def text(value):
    return {"t": "str", "v": value}


def number(value):
    return {"t": "int", "v": str(value)}


def entry(name, index, size):
    return {"t": "entry", "name": text(name), "folder": False, "index": number(index), "rsrcIndex": number(0),
            "size": number(size)}


def node(represented, children):
    return {"t": "node", "object": represented, "children": children}


SAMPLES = {
    "null message": {"t": "msg", "selector": None, "argument": None, "portName": None},
    "scalars": {"t": "msg", "selector": text("go:"), "portName": text("p"), "argument": {"t": "array", "v": [
        text(""), text("$null"), text("é日😀"), number(0), number(-5), number(2**63 - 1), number(-2**63), number(2**64 - 1),
        {"t": "bool", "v": True}, {"t": "bool", "v": False}, {"t": "data", "v": ""}, {"t": "data", "v": "00ff" * 300},
        {"t": "real", "bits": "3ff8000000000000"}, {"t": "null"}, {"t": "date", "bits": "41c0000000000000"},
        {"t": "uuid", "v": "00112233-4455-6677-8899-AABBCCDDEEFF"}]}},
    "objects": {"t": "dict", "v": [
        [text("1"), {"t": "array", "v": [{"t": "url", "base": None, "rel": "file:///a%20b/"}]}],
        [text("2"), {"t": "ipath", "v": ["0", "128", str(2**64 - 1)]}],
        [text("3"), {"t": "error", "domain": "D", "code": "-1", "info": {"t": "dict", "v": [[text("k"), text("v")]]}}]]},
    "tree": node(entry("a.zip", 0, 0), [node(entry("x", 1, 2), []), node(entry("x", 1, 2), []), node(None, None)]),
}


def keyed(root, objects):
    return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": {"root": UID(root)},
                           "$objects": objects}, fmt=plistlib.FMT_BINARY)


def class_record(name):
    return {"$classname": name, "$classes": [name, "NSObject"]}


class PlistlibInterop(unittest.TestCase):
    def test_reads_what_dovetail_writes_and_would_write_the_same_bytes(self):
        for name, value in SAMPLES.items():
            with self.subTest(name):
                archive = make(value)
                parsed = plistlib.loads(archive)
                self.assertEqual(set(parsed), {"$version", "$archiver", "$top", "$objects"})
                self.assertEqual(parsed["$objects"][0], "$null")
                self.assertEqual(plistlib.dumps(parsed, fmt=plistlib.FMT_BINARY, sort_keys=False), archive)

    def test_what_dovetail_dumps_it_makes_again(self):
        for name, value in SAMPLES.items():
            with self.subTest(name):
                archive = make(value)
                again = make(dump(archive))
                self.assertEqual(run("dump", again).stdout, run("dump", archive).stdout)

    def test_the_dump_is_canonical_json(self):
        for name, value in SAMPLES.items():
            with self.subTest(name):
                line = run("dump", make(value)).stdout.decode("ascii")
                self.assertEqual(line, json.dumps(json.loads(line), sort_keys=True, separators=(",", ":")) + "\n")

    def test_dovetail_reads_what_plistlib_writes(self):
        archive = keyed(1, ["$null", {"selector": UID(2), "argument": UID(3), "portName": UID(0), "$class": UID(4)}, "go:",
                            2**64 - 1, class_record("DTMessage")])
        self.assertEqual(dump(archive), {"t": "msg", "selector": text("go:"), "argument": number(2**64 - 1), "portName": None})

    def test_dovetail_reads_a_tree_written_by_plistlib(self):
        def tree(name, children):
            return keyed(1, ["$null", {"object": UID(2), "children": UID(3), "$class": UID(6)},
                             {"name": UID(4), "folder": True, "index": UID(5), "rsrcIndex": UID(5), "size": UID(5), "$class": UID(7)},
                             {"NS.objects": [UID(9 + i) for i in range(len(children))], "$class": UID(8)}, name, 70000,
                             class_record("DTTreeNode"), class_record("DTArchiveEntry"), class_record("NSArray")] + children)
        dumped = dump(tree("root", [tree("first", []), b"garbage", tree("zweite \u00fc", [tree("deep", [])])]))
        self.assertEqual(dumped["object"]["name"], text("root"))
        self.assertEqual([child["object"]["name"]["v"] for child in dumped["children"]], ["first", "zweite \u00fc"])
        self.assertEqual(dumped["children"][1]["children"][0]["object"]["index"], number(70000))

    def test_a_missing_key_and_nil_are_null_and_the_folder_false(self):
        dumped = dump(keyed(1, ["$null", {"name": UID(0), "$class": UID(2)}, class_record("DTArchiveEntry")]))
        self.assertEqual(dumped, {"t": "entry", "name": None, "folder": False, "index": None, "rsrcIndex": None, "size": None})

    def test_children_are_null_or_a_list(self):
        self.assertIsNone(dump(make(node(None, None)))["children"])
        self.assertEqual(dump(make(node(None, [])))["children"], [])

    def test_numbers_stay_as_they_are(self):
        value = entry("n", 2**63, -5)
        value["rsrcIndex"] = {"t": "real", "bits": "3ff0000000000000"}
        self.assertEqual(dump(make(value)), value)

    def test_what_is_no_archive_ends_with_status_1_and_one_line(self):
        archive = make(SAMPLES["scalars"])
        for content in (b"", b"garbage", archive[:-1], archive + b"\0", plistlib.dumps({"a": 1}, fmt=plistlib.FMT_BINARY)):
            result = run("dump", content)
            self.assertEqual((result.returncode, result.stdout, result.stderr.count(b"\n")), (1, b"", 1))

    def test_a_refusal_names_what_is_malformed_and_at_which_byte(self):
        def objects(*more, **top):
            return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": top or {"root": UID(1)},
                                   "$objects": ["$null", *more]}, fmt=plistlib.FMT_BINARY)

        plain = objects("text")
        trailer = len(plain) - 32
        array = {"$class": UID(2), "NS.objects": [UID(3)]}
        unknown = objects(array, class_record("NSArray"), {"$class": UID(4)}, class_record("Unheard"))
        date = objects({"$class": UID(2), "NS.time": "text"}, class_record("NSDate"))
        reasons = (
            (b"bplist", 'does not begin with "bplist00"'),
            (plain[:20], "it ends at byte 20, before its trailer"),
            (plain[:trailer + 6] + b"\x09" + plain[trailer + 7:], "the size of an offset at byte %d is not" % (trailer + 6)),
            (plain[:trailer - 1] + b"\xff" + plain[trailer:], "the offset at byte %d leads to byte 255" % (trailer - 1)),
            (plain.replace(b"Ttext", b"\x7ftext"), "the object at byte %d is malformed" % plain.index(b"Ttext")),
            (plain.replace(b"\x54text", b"\x54te\xfft"), "the text at byte %d is not ASCII" % plain.index(b"Ttext")),
            (plistlib.dumps({"$version": 100000}, fmt=plistlib.FMT_BINARY), "the dictionary at byte 8 has no single $objects"),
            (objects("text", root=UID(7)), "its reference to object 7 leads past the last"),
            (objects({"a": 1}), "names no class"),
            (unknown, 'the class "Unheard" at byte %d is not known' % unknown.index(b"WUnheard")),
            (date, "does not hold what an NSDate holds"),
            (objects({"$class": UID(2), "NS.objects": [UID(1)]}, class_record("NSArray")), "its objects hold themselves"),
        )
        for content, reason in reasons:
            result = run("dump", content)
            self.assertEqual((result.returncode, result.stdout, result.stderr.count(b"\n")), (1, b"", 1), reason)
            self.assertIn(reason, result.stderr.decode())

    def test_an_archive_without_a_root_says_so_and_one_of_nil_is_null(self):
        content = {"$version": 100000, "$archiver": "NSKeyedArchiver", "$objects": ["$null"]}
        result = run("dump", plistlib.dumps(dict(content, **{"$top": {}}), fmt=plistlib.FMT_BINARY))
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        self.assertIn(b"it has no root object", result.stderr)
        result = run("dump", plistlib.dumps(dict(content, **{"$top": {"root": UID(0)}}), fmt=plistlib.FMT_BINARY))
        self.assertEqual((result.returncode, result.stdout), (0, b"null\n"))

    def test_what_is_no_value_ends_with_status_1_and_one_line(self):
        for content in (b"", b"{", b"[]", b'{"t":"int","v":1}', b'{"t":"int","v":"18446744073709551616"}', b'{"t":"data","v":"0"}',
                        b'{"t":"unheard"}', b'{"t":"array","v":[null]}', b'{"t":"uuid","v":"00"}', b'{"t":"real","bits":"3"}',
                        b'{"t":"msg"}', b'{"t":"node","object":null,"children":[{"t":"str","v":"x"}]}'):
            result = run("make", content)
            self.assertEqual((result.returncode, result.stdout, result.stderr.count(b"\n")), (1, b"", 1), content)

    def test_a_file_that_is_not_there_ends_with_status_1_and_one_line(self):
        result = subprocess.run([PROGRAM, "dump", "/nonexistent"], capture_output=True)
        self.assertEqual((result.returncode, result.stderr.count(b"\n")), (1, 1))


unittest.main()
