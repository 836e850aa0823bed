#!/usr/bin/env python3
"""bkgcolors-defaults driven as a user drives it, against files written and read by plistlib.

Every test runs the installed-style program in a fresh defaults folder. Run one family with
`defaults_tool_test.py WriteTest`; BKGCOLORS_BIN names the folder of the built programs.
"""
import datetime
import os
import plistlib
import resource
import shutil
import signal
import stat
import struct
import subprocess
import sys
import tempfile
import threading
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import plist_files  # noqa: E402  (beside the tests, not installed)

TOOL = os.path.join(os.environ.get("BKGCOLORS_BIN", ""), "bkgcolors-defaults")
D = "org.example.app"


class ToolCase(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="bkgcolors-tool-")
        self.config = os.path.join(self.folder.name, "config")
        self.env = {k: v for k, v in os.environ.items() if k != "BKGCOLORS_DEFAULTS"}
        self.env["XDG_CONFIG_HOME"] = self.config

    def tearDown(self):
        self.folder.cleanup()

    def path(self, domain=D):
        return os.path.join(self.config, domain + ".plist")

    def run_tool(self, *args, stdin=b"", stdout=subprocess.PIPE, preexec_fn=None):
        run = subprocess.run([TOOL, *args], input=stdin, stdout=stdout, stderr=subprocess.PIPE,
                             env=self.env, cwd=self.folder.name, timeout=60, check=False,
                             preexec_fn=preexec_fn)
        return run.returncode, (run.stdout or b"").decode(), run.stderr.decode()

    def ok(self, *args, stdin=b""):
        status, out, err = self.run_tool(*args, stdin=stdin)
        self.assertEqual((status, err), (0, ""), args)
        return out

    def make(self, value, domain=D, fmt=plistlib.FMT_BINARY):
        os.makedirs(self.config, exist_ok=True)
        with open(self.path(domain), "wb") as out:
            plistlib.dump(value, out, fmt=fmt, sort_keys=False)

    def load(self, domain=D):
        with open(self.path(domain), "rb") as f:
            return plistlib.load(f)

    def refused(self, args, status=2, stdin=b"", said=""):
        """The run ends with `status` and one line on stderr holding `said`, and changes no
        file."""
        before = self.snapshot()
        code, _, err = self.run_tool(*args, stdin=stdin)
        self.assertEqual(code, status, err)
        self.assertEqual(err.count("\n"), 1, err)
        self.assertIn(said, err)
        self.assertEqual(self.snapshot(), before)

    def snapshot(self):
        """The regular files of the test's folder and what they hold; other kinds by name."""
        files = {}
        for root, _, names in os.walk(self.folder.name):
            for name in names:
                path = os.path.join(root, name)
                if not stat.S_ISREG(os.lstat(path).st_mode):
                    files[path] = None
                    continue
                with open(path, "rb") as f:
                    files[path] = f.read()
        return files


def binary(objects):
    """A binary property list of `objects` (the first is the top), with one-byte offsets and
    references."""
    body = b"bplist00"
    offsets = []
    for item in objects:
        offsets.append(len(body))
        body += item
    table = len(body)
    return (body + bytes(offsets) + bytes(6) + b"\x01\x01" + len(objects).to_bytes(8, "big") +
            bytes(8) + table.to_bytes(8, "big"))


def xml_dict(value):
    """An XML property list holding `value` under the key k; a whole document (one that starts
    with a declaration, a byte-order mark or <plist) is taken as it is."""
    if value.startswith((b"<?", b"<!", b"<plist", b"\xef\xbb\xbf")):
        return value
    return b"<?xml version='1.0'?><plist><dict><key>k</key>" + value + b"</dict></plist>"


def binary_at(objects, offsets, width=1, count=None, top=0, table=None):
    """A binary property list of the bytes `objects` with the `offsets` given, each field of the
    trailer as given or as a sound file has it."""
    body = b"bplist00" + objects
    table = len(body) if table is None else table
    count = len(offsets) if count is None else count
    return (body + b"".join(o.to_bytes(width, "big") for o in offsets) + bytes(6) +
            bytes([width, width]) + count.to_bytes(8, "big") + top.to_bytes(8, "big") +
            table.to_bytes(8, "big"))


def nested(arrays):
    return b"<plist><dict><key>k</key>" + b"<array>" * arrays + b"</array>" * arrays + \
        b"</dict></plist>"


def typed(value):
    """`value` with the type of every part beside it, so that 1, 1.0 and True differ."""
    if isinstance(value, dict):
        return {k: typed(v) for k, v in value.items()}
    if isinstance(value, list):
        return [typed(v) for v in value]
    return (type(value).__name__, value)


EXISTING = {"keep": {"nested": [1, 2.5, b"\x00"]}, "when": datetime.datetime(1999, 12, 31, 23, 59),
            "big": 2**64 - 1}


class WriteTest(ToolCase):
    def test_every_type_reads_back_in_another_reader(self):
        rows = [
            ("bare text", ["hello world"], "hello world"),
            ("bare negative number is text", ["-5"], "-5"),
            ("string flag keeps a dash", ["-string", "-int"], "-int"),
            ("unicode text", ["-string", "é😀"], "é😀"),
            ("int", ["-int", "-12"], -12),
            ("integer at the 64-bit top", ["-integer", "9223372036854775807"], 2**63 - 1),
            ("integer at the 64-bit bottom", ["-int", "-9223372036854775808"], -2**63),
            ("float", ["-float", "0.1"], 0.1),
            ("float with exponent", ["-float", "-2.5e-3"], -0.0025),
            ("bool yes", ["-bool", "YES"], True),
            ("boolean false", ["-boolean", "False"], False),
            ("bool 1", ["-bool", "1"], True),
            ("data", ["-data", "0aFF00"], b"\x0a\xff\x00"),
            ("empty data", ["-data", ""], b""),
            ("date with zone", ["-date", "2020-01-02 03:04:05 +0130"],
             datetime.datetime(2020, 1, 2, 1, 34, 5)),
            ("iso date", ["-date", "2024-02-29T23:59:59Z"], datetime.datetime(2024, 2, 29, 23, 59, 59)),
            ("array of typed items", ["-array", "a", "-int", "3", "-bool", "no", "-date",
                                      "2001-01-01T00:00:00Z"],
             ["a", 3, False, datetime.datetime(2001, 1, 1)]),
            ("empty array", ["-array"], []),
            ("dict", ["-dict", "k", "v", "-n", "-float", "1.5"], {"k": "v", "-n": 1.5}),
        ]
        for name, words, expected in rows:
            with self.subTest(name):
                self.make(EXISTING)
                self.ok("write", D, "key", *words)
                self.assertEqual(self.load(), {**EXISTING, "key": expected})

    def test_what_other_tools_write_is_read_and_written_back_equal(self):
        os.makedirs(self.config)
        plist_files.make(self.config)
        names = sorted(os.listdir(self.config))
        self.assertGreaterEqual(len(names), 10)
        for name in names:
            domain = name[:-len(".plist")]
            with self.subTest(name), open(self.path(domain), "rb") as f:
                original = f.read()
                code, _, err = self.run_tool("write", domain, "new", "-int", "1")
                self.assertEqual(code, 0, err)
                if name.startswith("read-"):
                    self.assertEqual(err, "")
                    self.assertEqual(plist_files.canonical(self.load(domain)),
                                     plist_files.canonical({**plistlib.loads(original), "new": 1}))
                    continue
                self.assertEqual(err.count("\n"), 1, err)
                with open(self.path(domain) + ".corrupt", "rb") as aside:
                    self.assertEqual(aside.read(), original)
                self.assertEqual(self.load(domain), {"new": 1})

    def test_add_extends_what_is_there(self):
        self.make({"list": [1], "map": {"a": 1, "b": 2}})
        self.ok("write", D, "list", "-array-add", "x", "-int", "2")
        self.ok("write", D, "map", "-dict-add", "b", "-int", "3", "c", "z")
        self.ok("write", D, "fresh", "-array-add", "y")
        self.assertEqual(self.load(), {"list": [1, "x", 2], "map": {"a": 1, "b": 3, "c": "z"},
                                       "fresh": ["y"]})

    def test_a_key_may_start_with_a_dash_after_the_end_of_options(self):
        self.ok("write", D, "--", "-h", "-int", "1")
        self.assertEqual(self.load(), {"-h": 1})
        self.assertEqual(self.ok("read", D, "--", "-h"), "1\n")

    def test_the_file_named_by_option_or_environment_is_the_domain(self):
        file = os.path.join(self.folder.name, "own.plist")
        self.ok("--defaults", file, "write", "k", "-int", "7")
        self.env["BKGCOLORS_DEFAULTS"] = file
        self.ok("write", "j", "v")
        self.ok("write", "k", "-int", "8")
        with open(file, "rb") as f:
            self.assertEqual(plistlib.load(f), {"k": 8, "j": "v"})
        self.assertFalse(os.path.exists(self.config))

    def test_writers_at_once_lose_no_key(self):
        # Waiting behind three busy writers is not what this test measures.
        self.env["BKGCOLORS_LOCK_TIMEOUT"] = "3600"
        start = threading.Barrier(4)
        failures = []

        def writer(p):
            start.wait()
            for i in range(p * 1000, p * 1000 + 25):
                status, _, err = self.run_tool("write", D, str(i), "-int", str(i))
                if status != 0:
                    failures.append((i, err))

        threads = [threading.Thread(target=writer, args=(p,)) for p in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failures, [])
        self.assertEqual(self.load(), {str(p * 1000 + i): p * 1000 + i
                                       for p in range(4) for i in range(25)})

    def test_the_users_own_link_is_written_through_and_stays(self):
        home = os.path.join(self.folder.name, "home")
        os.makedirs(os.path.join(home, "real"))
        target, link = os.path.join(home, "real", "store.plist"), os.path.join(home, "store.plist")
        self.ok("--defaults", target, "write", "old", "-int", "1")
        os.symlink("real/store.plist", link)
        self.ok("--defaults", link, "write", "new", "-int", "2")
        self.assertTrue(os.path.islink(link))
        with open(target, "rb") as f:
            self.assertEqual(plistlib.load(f), {"old": 1, "new": 2})
        self.assertEqual(sorted(os.listdir(home)), ["real", "store.plist"],
                         "the lock and the temporary live beside the target")

    def test_modes_are_kept_new_files_are_0600_and_hard_links_keep_the_old_file(self):
        file, other = (os.path.join(self.folder.name, n) for n in ("store.plist", "other.plist"))
        code, _, err = self.run_tool("--defaults", file, "write", "k", "-int", "1",
                                     preexec_fn=lambda: os.umask(0))
        self.assertEqual((code, err), (0, ""))
        self.assertEqual(stat.S_IMODE(os.stat(file).st_mode), 0o600, "whatever the umask")
        os.chmod(file, 0o644)
        os.link(file, other)
        with open(file, "rb") as f:
            before = f.read()
        self.ok("--defaults", file, "write", "k", "-int", "2")
        self.assertEqual(stat.S_IMODE(os.stat(file).st_mode), 0o644)
        with open(file, "rb") as f:
            self.assertEqual(plistlib.load(f), {"k": 2})
        with open(other, "rb") as f:
            self.assertEqual(f.read(), before, "the other name keeps the old contents")

    def test_reading_makes_no_folder_and_writing_makes_them_private(self):
        file = os.path.join(self.folder.name, "a", "b", "store.plist")
        self.assertEqual(self.run_tool("--defaults", file, "read", "k")[0], 1)
        self.assertFalse(os.path.exists(os.path.join(self.folder.name, "a")))
        self.ok("--defaults", file, "write", "k", "v")
        for folder in ("a", "a/b"):
            with self.subTest(folder):
                mode = os.stat(os.path.join(self.folder.name, folder)).st_mode
                self.assertEqual(stat.S_IMODE(mode), 0o700)


class BadInputTest(ToolCase):
    def test_bad_input_is_one_line_exit_two_and_changes_nothing(self):
        self.make({"list": [1], "text": "ctl\x01"})
        with open(os.path.join(self.folder.name, "blocker"), "wb") as f:
            f.write(b"a file where a folder belongs")
        os.mkfifo(os.path.join(self.folder.name, "fifo.plist"))
        blocked = os.path.join(self.folder.name, "blocker", "x.plist")
        fifo = os.path.join(self.folder.name, "fifo.plist")
        folder = os.path.join(self.folder.name, "dir.plist")
        os.mkdir(folder)
        theirs = os.path.join(self.folder.name, "theirs.plist")
        with open(os.path.join(self.folder.name, "target"), "wb"):
            pass
        os.symlink(os.path.join(self.folder.name, "target"), theirs)
        # Only root can give a link to another user.
        if os.geteuid() == 0:
            os.lchown(theirs, 65534, 65534)
        not_a_date = "is not a date"
        not_a_domain = "is not a domain name"
        rows = [
            ("no verb", [], "missing verb"),
            ("unknown verb", ["frobnicate", D], "unknown verb frobnicate"),
            ("unknown option", ["--bogus", "read"], "unknown option --bogus"),
            ("integer past 64 bits", ["write", D, "k", "-int", "9223372036854775808"],
             "'9223372036854775808' is not a 64-bit integer"),
            ("integer with junk", ["write", D, "k", "-int", "12abc"], "'12abc' is not a 64-bit"),
            ("empty integer", ["write", D, "k", "-int", ""], "'' is not a 64-bit integer"),
            ("float nan", ["write", D, "k", "-float", "nan"], "'nan' is not a finite number"),
            ("float inf", ["write", D, "k", "-float", "inf"], "'inf' is not a finite number"),
            ("float overflow", ["write", D, "k", "-float", "1e999"], "'1e999' is not a finite"),
            ("bool maybe", ["write", D, "k", "-bool", "maybe"], "'maybe' is not a boolean"),
            ("odd hex", ["write", D, "k", "-data", "abc"], "'abc' is not an even number of hex"),
            ("not hex", ["write", D, "k", "-data", "zz"], "'zz' is not an even number of hex"),
            ("february 30", ["write", D, "k", "-date", "2021-02-30 00:00:00 +0000"], not_a_date),
            ("hour 24", ["write", D, "k", "-date", "2021-01-01T24:00:00Z"], not_a_date),
            ("minute 60", ["write", D, "k", "-date", "2021-01-01 00:60:00 +0000"], not_a_date),
            ("zone hours 24", ["write", D, "k", "-date", "2021-01-01 00:00:00 +2400"], not_a_date),
            ("zone minutes 60", ["write", D, "k", "-date", "2021-01-01 00:00:00 +0060"],
             not_a_date),
            ("iso without Z", ["write", D, "k", "-date", "2021-01-01T00:00:00"], not_a_date),
            ("unknown type", ["write", D, "k", "-bogus", "1"], "unknown type -bogus"),
            ("nested array", ["write", D, "k", "-array", "-array"], "-array cannot be nested"),
            ("type without value", ["write", D, "k", "-array", "-int"], "-int needs a value"),
            ("dict key without value", ["write", D, "k", "-dict", "a"],
             "-dict needs a value after the key 'a'"),
            ("write without value", ["write", D, "k"], "write takes DOMAIN KEY VALUE"),
            ("two values", ["write", D, "k", "a", "b"], "found 'b' after it"),
            ("text not UTF-8", ["write", D, "k", "-string", "\udcff"], "text is not valid UTF-8"),
            ("array-add on a text", ["write", D, "text", "-array-add", "x"],
             "the value of text is of type string, not array"),
            ("dict-add on an array", ["write", D, "list", "-dict-add", "a", "b"],
             "the value of list is of type array, not dictionary"),
            ("domain with ..", ["write", "a..b", "k", "v"], not_a_domain),
            ("empty domain", ["write", "", "k", "v"], not_a_domain),
            ("hidden domain", ["write", ".x", "k", "v"], not_a_domain),
            ("key not UTF-8", ["write", D, "\udcc3", "v"], "the key is not valid UTF-8"),
            ("read of a key not UTF-8", ["read", D, "\udcc3"], "the key is not valid UTF-8"),
            ("read with too much", ["read", D, "k", "extra"], "read takes [DOMAIN [KEY]]"),
            ("read-type without key", ["read-type", D], "read-type takes DOMAIN KEY"),
            ("rename without the new name", ["rename", D, "list"], "rename takes DOMAIN OLD NEW"),
            ("rename with too much", ["rename", D, "list", "b", "c"], "rename takes DOMAIN OLD"),
            ("domains with an argument", ["domains", "x"], "unexpected argument 'x'"),
            ("export without file", ["export", D], "export takes DOMAIN FILE|-"),
            ("export of a control character", ["export", D, "-"],
             "cannot export org.example.app: a text with a control character"),
            ("import of junk", ["import", D, "-"], "cannot import -: not a property list"),
            ("missing --defaults value", ["--defaults"], "option --defaults needs a value"),
            ("store path blocked", ["--defaults", blocked, "write", "k", "v"],
             "cannot write " + blocked + ": "),
            ("read of a FIFO", ["--defaults", fifo, "read", "k"], "not a regular file"),
            ("write to a FIFO", ["--defaults", fifo, "write", "k", "v"], "not a regular file"),
            ("read of a folder", ["--defaults", folder, "read", "k"], "not a regular file"),
            ("write to a folder", ["--defaults", folder, "write", "k", "v"], "not a regular file"),
            ("read of a device", ["--defaults", "/dev/null", "read", "k"], "not a regular file"),
            ("write to a device", ["--defaults", "/dev/null", "write", "k", "v"],
             "not a regular file"),
        ]
        if os.geteuid() == 0:
            rows += [
                ("read through a link owned by another user", ["--defaults", theirs, "read", "k"],
                 "is a symbolic link owned by another user"),
                ("write through a link owned by another user",
                 ["--defaults", theirs, "write", "k", "v"],
                 "is a symbolic link owned by another user"),
            ]
        for name, args, said in rows:
            with self.subTest(name):
                self.refused(args, stdin=b"not a property list", said=said)

    def test_a_domain_too_large_is_neither_read_nor_changed(self):
        os.makedirs(self.config)
        with open(self.path(), "wb") as f:
            f.write(bytes(4 << 20))
        for args in (["read", D, "k"], ["write", D, "k", "v"], ["delete", D, "k"]):
            with self.subTest(" ".join(args)):
                self.refused(args, said="it holds more than the limit of 4 MiB")

    def test_files_just_under_the_bound_read_and_write_back_and_at_it_are_refused(self):
        os.makedirs(self.config)
        limit = 4 << 20
        for name, size in [("binary", limit), ("XML", -limit)]:
            with self.subTest(name + " at the bound"):
                self.assertEqual(plist_files.limit(self.path(), size), 0)
                self.refused(["read", D, "pad"], said="it holds more than the limit of 4 MiB")
                self.refused(["rename", D, "pad", "pa"], said="more than the limit of 4 MiB")
            with self.subTest(name + " a byte under it"):
                self.assertEqual(plist_files.limit(self.path(), size - (1 if size > 0 else -1)), 0)
                pad = self.load()["pad"]
                self.assertEqual(self.run_tool("read-type", D, "pad")[:2],
                                 (0, "Type is " + ("data" if size > 0 else "string") + "\n"))
                # Written back no larger than it was read, the file must read back.
                self.ok("rename", D, "pad", "pa")
                self.assertEqual(self.load(), {"pa": pad})

    def test_import_refuses_a_root_that_is_not_a_dictionary(self):
        self.make({"k": 1})
        for name, value, fmt in [("array", [1], plistlib.FMT_XML), ("text", "x", plistlib.FMT_BINARY)]:
            with self.subTest(name):
                self.refused(["import", D, "-"], stdin=plistlib.dumps(value, fmt=fmt))

    def test_import_refusals_say_what_is_wrong_and_where(self):
        self.make({"k": 1})
        deep = {}
        for _ in range(130):
            deep = {"d": deep}
        rows = [
            ("empty file", b"", "it is empty"),
            ("nested too deep", plistlib.dumps({"top": deep}, fmt=plistlib.FMT_BINARY),
             "nested deeper than 128 at top/d/d/d"),
            ("integer past 64 bits", xml_dict(b"<integer>99999999999999999999</integer>"),
             "line 1: <integer> '99999999999999999999' is not a 64-bit integer at k"),
            ("offending token", xml_dict(b"<array><integer>12abc</integer></array>"),
             "'12abc' is not a 64-bit integer at k/0"),
            ("array holding itself", binary([b"\xd1\x01\x02", b"\x51k", b"\xa1\x02"]),
             "a dictionary or array that holds itself at k/0"),
            ("integer of letters", xml_dict(b"<integer>helo</integer>"),
             "<integer> 'helo' is not a 64-bit integer at k"),
            ("bare 0x", xml_dict(b"<integer>0x</integer>"), "not a 64-bit integer"),
            ("empty integer", xml_dict(b"<integer/>"), "not a 64-bit integer"),
            ("two signs", xml_dict(b"<integer>+-1</integer>"), "not a 64-bit integer"),
            ("below the smallest", xml_dict(b"<integer>-9223372036854775809</integer>"),
             "not a 64-bit integer"),
            ("real of letters", xml_dict(b"<real>helo</real>"), "<real> 'helo' is not a number"),
            ("real with a tail", xml_dict(b"<real>1.5x</real>"), "not a number"),
            ("empty real", xml_dict(b"<real></real>"), "not a number"),
            ("no such month", xml_dict(b"<date>2026-13-01T00:00:00Z</date>"),
             "not YYYY-MM-DDTHH:MM:SSZ"),
            ("no such day", xml_dict(b"<date>2025-02-29T00:00:00Z</date>"), "<date>"),
            ("date in words", xml_dict(b"<date>yesterday</date>"), "<date>"),
            ("date with a fraction", xml_dict(b"<date>2026-01-01T00:00:00.5Z</date>"), "<date>"),
            ("base64 with a stray byte", xml_dict(b"<data>AA*A</data>"), "not base64"),
            ("base64 cut to one sextet", xml_dict(b"<data>AAECA</data>"), "not base64"),
            ("padding inside", xml_dict(b"<data>AA==AAAA</data>"), "not base64"),
            ("bits left over", xml_dict(b"<data>AB==</data>"), "not base64"),
            ("key inside an array", xml_dict(b"<array><key>x</key></array>"),
             "<key> outside a <dict> at k/0"),
            ("key without a value", b"<plist><dict><key>a</key></dict></plist>",
             "<key> 'a' has no value"),
            ("two keys in a row", b"<plist><dict><key>a</key><key>b</key><true/></dict></plist>",
             "<key> 'a' has no value"),
            ("value without a key", b"<plist><dict><true/></dict></plist>",
             "<true> where a <key> belongs"),
            ("second top value", b"<plist><dict/><dict/></plist>", "a second value in <plist>"),
            ("text after the document", b"<plist><dict/></plist>junk",
             "junk after document element"),
            ("text between values", b"<plist><dict>hello<key>a</key><true/></dict></plist>",
             "the text 'hello' outside a value"),
            ("text in a boolean", xml_dict(b"<true>yes</true>"), "outside a value"),
            ("element in a text", xml_dict(b"<string><true/></string>"),
             "<true> inside a value that holds text"),
            ("unknown element", xml_dict(b"<number>1</number>"), "unknown element <number>"),
            ("document that is no plist", b'<?xml version="1.0"?><dict/>',
             "the document is <dict>, not <plist>"),
            ("top value no dictionary", b"<plist><array/></plist>", "not a <dict>"),
            ("empty plist", b"<plist/>", "holds no value"),
            ("entity declared", b'<!DOCTYPE plist [<!ENTITY e "x">]><plist><dict><key>k</key>'
             b"<string>&e;</string></dict></plist>", "declaration of the entity &e;"),
            ("entity undefined", b'<!DOCTYPE plist PUBLIC "-//x//y//EN" "plist.dtd"><plist><dict>'
             b"<key>k</key><string>a&e;</string></dict></plist>", "undefined entity &e;"),
            ("129 arrays under the top", nested(129), "nested deeper than 128"),
            ("not UTF-8", xml_dict(b"<string>\xc3</string>"), "line 1"),
            ("binary integer of 128 bits with high bits set",
             binary_at(b"\xd1\x01\x02\x51a\x14" + bytes(7) + b"\x01" + bytes(8), [8, 11, 13]),
             "an integer beyond 64 bits at a"),
            ("binary integer of 256 bits",
             binary_at(b"\xd1\x01\x02\x51a\x15" + bytes(32), [8, 11, 13]),
             "an integer of 256 bits, beyond 64 bits at a"),
            ("binary UTF-16 text past the end",
             binary_at(b"\xd1\x01\x02\x51a\x6f\x11\x10\x00", [8, 11, 13]),
             "object 2 is cut short at a"),
            ("binary top object an array", binary_at(b"\xa0", [8]),
             "top object is not a dictionary"),
            ("binary key that is no text", binary_at(b"\xd1\x01\x01\x10\x01", [8, 11]),
             "a dictionary key that is not a text at (key 1)"),
            ("binary offset past the end", binary_at(b"\xd0", [200]),
             "object 0 lies outside the file"),
            ("binary offset table past the end", binary_at(b"\xd0", [8], table=1000),
             "trailer is damaged"),
            ("binary offset table in the header", binary_at(b"\xd0", [8], table=4),
             "trailer is damaged"),
            ("binary with more objects than offsets", binary_at(b"\xd0", [8], count=2),
             "trailer is damaged"),
            ("binary top object past the count", binary_at(b"\xd0", [8], top=1),
             "trailer is damaged"),
            ("binary without a trailer", b"bplist00\xd0", "no bplist00 header or trailer"),
            ("binary ASCII key with a byte past 0x7F",
             binary_at(b"\xd1\x01\x02\x51\xff\x10\x01", [8, 11, 13]),
             "an ASCII text holding the byte 0xFF at (key 1)"),
            ("binary UTF-16 lone surrogate",
             binary_at(b"\xd1\x01\x02\x51a\x61\xd8\x00", [8, 11, 13]),
             "a text with a UTF-16 surrogate that does not pair up at a"),
            ("binary dictionary holding itself", binary_at(b"\xd1\x01\x00\x51a", [8, 11]),
             "a dictionary or array that holds itself at a"),
        ]
        for name, data, reason in rows:
            with self.subTest(name):
                before = self.snapshot()
                code, _, err = self.run_tool("import", D, "-", stdin=data)
                self.assertEqual((code, err.count("\n")), (2, 1), err)
                self.assertIn(reason, err)
                self.assertEqual(self.snapshot(), before)

    def test_output_that_cannot_be_written_is_exit_two(self):
        self.make({"k": 1})
        for args in (["read", D], ["read", D, "k"], ["export", D, "-"], ["domains"], ["help"],
                     ["--help"]):
            with self.subTest(" ".join(args)), open("/dev/full", "wb") as full:
                code, _, err = self.run_tool(*args, stdout=full)
                self.assertEqual((code, err.count("\n")), (2, 1), err)


ALL_KINDS = {"text": "hello", "spaced": "a b", "quote": 'say "hi"', "path": "/usr/lib:x.y$_",
             "empty": "", "int": -3, "real": 2.5, "yes": True, "no": False, "data": b"\x0a\x0b\x0c",
             "date": datetime.datetime(2020, 1, 2, 3, 4, 5), "list": [1, "two", []],
             "dict": {"inner": {"deep": "x"}, "e": {}}}
ALL_KINDS_TEXT = """{
    text = hello;
    spaced = "a b";
    quote = "say \\"hi\\"";
    path = /usr/lib:x.y$_;
    empty = "";
    int = -3;
    real = 2.5;
    yes = 1;
    no = 0;
    data = <0a0b0c>;
    date = "2020-01-02 03:04:05 +0000";
    list = (
        1,
        two,
        (
        )
    );
    dict = {
        inner = {
            deep = x;
        };
        e = {
        };
    };
}
"""


class ReadTest(ToolCase):
    def test_texts_print_whole_with_control_characters_escaped(self):
        self.make({"nul": "a\x00b", "bell": "x\x07", "lines": "one\ttwo\nthree"})
        for key, shown in [("nul", '"a\\000b"'), ("bell", '"x\\007"'),
                           ("lines", "one\ttwo\nthree")]:
            with self.subTest(key):
                self.assertEqual(self.ok("read", D, key), shown + "\n")
        self.assertIn('nul = "a\\000b";', self.ok("read", D))

    def test_a_key_repeated_in_a_binary_file_keeps_its_last_value_once(self):
        # {"k": 1, "k": 2}, written by hand: plistlib writes no such file.
        os.makedirs(self.config)
        with open(self.path(), "wb") as f:
            f.write(binary([b"\xd2\x01\x01\x02\x03", b"\x51k", b"\x10\x01", b"\x10\x02"]))
        self.assertEqual(self.ok("read", D, "k"), "2\n")
        self.assertEqual(self.ok("read", D), "{\n    k = 2;\n}\n")

    def test_a_domain_prints_as_old_style_text(self):
        for fmt in (plistlib.FMT_BINARY, plistlib.FMT_XML):
            with self.subTest(fmt):
                self.make(ALL_KINDS, fmt=fmt)
                self.assertEqual(self.ok("read", D), ALL_KINDS_TEXT)

    def test_one_value_prints_bare_and_names_its_type(self):
        self.make({**ALL_KINDS, "before 1970": datetime.datetime(1969, 12, 31, 23, 59, 59),
                   "leap day, half second": datetime.datetime(2000, 2, 29, 12, 0, 0, 500000)})
        rows = [("text", "hello", "string"), ("spaced", "a b", "string"), ("int", "-3", "integer"),
                ("real", "2.5", "float"), ("yes", "1", "boolean"), ("data", "<0a0b0c>", "data"),
                ("date", "2020-01-02 03:04:05 +0000", "date"),
                ("before 1970", "1969-12-31 23:59:59 +0000", "date"),
                ("leap day, half second", "2000-02-29 12:00:00 +0000", "date"),
                ("list", "(\n    1,\n    two,\n    (\n    )\n)", "array"),
                ("dict", None, "dictionary")]
        for key, shown, kind in rows:
            with self.subTest(key):
                if shown is not None:
                    self.assertEqual(self.ok("read", D, key), shown + "\n")
                self.assertEqual(self.ok("read-type", D, key), f"Type is {kind}\n")

    def test_absent_keys_and_domains_are_exit_one_and_create_nothing(self):
        self.make({"k": 1})
        for name, args in [("read key", ["read", D, "nope"]), ("read-type", ["read-type", D, "no"]),
                           ("read domain", ["read", "org.absent"]),
                           ("read-type domain", ["read-type", "org.absent", "k"]),
                           ("export", ["export", "org.absent", "-"])]:
            with self.subTest(name):
                self.refused(args, status=1)

    def test_without_a_folder_there_are_no_domains_and_none_is_made(self):
        self.assertEqual(self.ok("domains"), "\n")
        self.assertEqual(self.ok("read"), "{\n}\n")
        self.refused(["find", "x"], status=1, said="no domain, key nor value contains 'x'")
        self.assertFalse(os.path.exists(self.config))

    def test_read_without_a_domain_lists_every_domain(self):
        self.make({"k": 1}, "b.one")
        self.make({"t": "x"}, "a.two")
        self.assertEqual(self.ok("read"), "{\n    a.two = {\n        t = x;\n    };\n"
                                          "    b.one = {\n        k = 1;\n    };\n}\n")
        self.assertEqual(self.ok("domains"), "a.two, b.one\n")


class DeleteRenameTest(ToolCase):
    def test_delete_and_rename(self):
        rows = [
            ("delete key", ["delete", D, "a"], {"b": [2]}),
            ("rename", ["rename", D, "a", "z"], {"b": [2], "z": 1}),
            ("rename over another key", ["rename", D, "a", "b"], {"b": 1}),
        ]
        for name, args, expected in rows:
            with self.subTest(name):
                self.make({"a": 1, "b": [2]})
                self.ok(*args)
                self.assertEqual(self.load(), expected)

    def test_absent_things_are_exit_one(self):
        self.make({"a": 1})
        for name, args in [("key", ["delete", D, "nope"]), ("domain key", ["delete", "org.no", "a"]),
                           ("domain", ["delete", "org.no"]), ("rename", ["rename", D, "x", "y"])]:
            with self.subTest(name):
                self.refused(args, status=1)

    def test_delete_without_key_removes_the_domain(self):
        self.make({"a": 1})
        self.ok("delete", D)
        self.assertFalse(os.path.exists(self.path()))
        self.assertEqual(self.ok("domains"), "\n")


class ExportImportTest(ToolCase):
    def test_export_and_import_round_trip_through_another_reader(self):
        self.make(ALL_KINDS)
        out_file = os.path.join(self.folder.name, "out.plist")
        self.ok("export", D, out_file)
        with open(out_file, "rb") as f:
            self.assertTrue(f.read().startswith(b"<?xml"))
        with open(out_file, "rb") as f:
            self.assertEqual(plistlib.load(f), ALL_KINDS)
        self.assertEqual(plistlib.loads(self.ok("export", D, "-").encode()), ALL_KINDS)
        self.ok("import", "org.copy", out_file)
        self.assertEqual(self.load("org.copy"), ALL_KINDS)

    def test_export_writes_what_other_readers_take_back_exactly(self):
        values = {"first day": datetime.datetime(1, 1, 1), "last second":
                  datetime.datetime(9999, 12, 31, 23, 59, 59), "cr": "a\rb\r\n", "amp": "<&>"}
        self.make(values)
        xml = self.ok("export", D, "-")
        self.assertIn("<date>0001-01-01T00:00:00Z</date>", xml)
        self.assertIn("<string>a&#13;b&#13;\n</string>", xml)
        self.assertEqual(plistlib.loads(xml.encode()), values)
        self.ok("import", "org.copy", "-", stdin=xml.encode())
        self.assertEqual(self.load("org.copy"), values)

    def test_a_failed_export_leaves_the_target_as_it_was(self):
        def small_files():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE,
                               (100, resource.getrlimit(resource.RLIMIT_FSIZE)[1]))

        self.make(ALL_KINDS)
        for name, before in (("a new file", None), ("a file with contents", b"keep me")):
            with self.subTest(name):
                out = tempfile.mkdtemp(dir=self.folder.name)
                target = os.path.join(out, "out.plist")
                if before is not None:
                    with open(target, "wb") as f:
                        f.write(before)
                code, _, err = self.run_tool("export", D, target, preexec_fn=small_files)
                self.assertEqual(code, 2)
                self.assertTrue(err.startswith("bkgcolors-defaults: cannot write " + target + ": "),
                                err)
                self.assertEqual(os.listdir(out), [] if before is None else ["out.plist"])
                if before is not None:
                    with open(target, "rb") as f:
                        self.assertEqual(f.read(), before)

    def test_an_export_through_a_link_or_into_a_fifo_keeps_them(self):
        self.make({"k": 1})
        real = os.path.join(self.folder.name, "real.plist")
        link = os.path.join(self.folder.name, "link.plist")
        with open(real, "wb") as f:
            f.write(b"old")
        os.symlink(real, link)
        self.ok("export", D, link)
        self.assertTrue(os.path.islink(link))
        with open(real, "rb") as f:
            self.assertEqual(plistlib.load(f), {"k": 1})

        fifo = os.path.join(self.folder.name, "fifo")
        os.mkfifo(fifo)
        reader = subprocess.Popen(["cat", fifo], stdout=subprocess.PIPE)
        self.ok("export", D, fifo)
        self.assertEqual(plistlib.loads(reader.communicate()[0]), {"k": 1})
        self.assertTrue(stat.S_ISFIFO(os.lstat(fifo).st_mode))

    def test_import_reads_xml_by_the_rules_and_invents_nothing(self):
        rows = [
            ("leading zeros stay decimal", b"<integer>0123</integer>", 123),
            ("sign and white space", b"<integer> -42\n</integer>", -42),
            ("plus sign", b"<integer>+7</integer>", 7),
            ("hexadecimal", b"<integer>0x1F</integer>", 31),
            ("negative hexadecimal", b"<integer>-0X10</integer>", -16),
            ("largest unsigned", b"<integer>18446744073709551615</integer>", 2**64 - 1),
            ("smallest signed", b"<integer>-9223372036854775808</integer>", -2**63),
            ("real", b"<real>-2.5e3</real>", -2500.0),
            ("real infinity", b"<real>inf</real>", float("inf")),
            ("date", b"<date>2026-11-24T08:30:00Z</date>", datetime.datetime(2026, 11, 24, 8, 30)),
            ("date of year 1", b"<date>0001-01-01T00:00:00Z</date>", datetime.datetime(1, 1, 1)),
            ("base64 with white space", b"<data>AAEC\n\tAw==</data>", b"\0\1\2\3"),
            ("empty data", b"<data/>", b""),
            ("empty text", b"<string/>", ""),
            ("references", b"<string>a&amp;&lt;&#13;&#x10000;</string>", "a&<\r\U00010000"),
            ("booleans", b"<array><true/><false/></array>", [True, False]),
            ("byte-order mark and comment after",
             b"\xef\xbb\xbf<plist><dict><key>k</key><true/></dict></plist>\n<!-- end -->", True),
            ("128 arrays under the top", nested(128), None),
            ("empty key", b"<plist><dict><key/><integer>1</integer></dict></plist>", {"": 1}),
        ]
        for name, xml, value in rows:
            with self.subTest(name):
                self.ok("import", D, "-", stdin=xml_dict(xml))
                if value is None:
                    value = []
                    for _ in range(127):
                        value = [value]
                expected = value if isinstance(value, dict) else {"k": value}
                self.assertEqual(typed(self.load()), typed(expected))

    def test_a_repeated_key_keeps_its_first_place_and_its_last_value(self):
        # {"a": 1, "b": 2, "a": 3}; the binary file writes the key "a" once and refers to it twice.
        rows = [
            ("binary", binary_at(b"\xd3\x01\x02\x01\x03\x04\x05\x51a\x51b\x10\x01\x10\x02\x10\x03",
                                 [8, 15, 17, 19, 21, 23])),
            ("XML", b"<plist><dict><key>a</key><integer>1</integer><key>b</key><integer>2</integer>"
                    b"<key>a</key><integer>3</integer></dict></plist>"),
        ]
        for name, data in rows:
            with self.subTest(name):
                self.ok("import", D, "-", stdin=data)
                self.assertEqual(list(self.load().items()), [("a", 3), ("b", 2)])

    def test_the_store_gives_each_number_the_fewest_bytes_its_kind_allows(self):
        # Each value reaches the writer through import: the integers and the double from XML, the
        # 32-bit real from a binary file, since nothing else makes one.
        rows = [
            ("0", b"<integer>0</integer>", b"\x10\x00"),
            ("255", b"<integer>255</integer>", b"\x10\xff"),
            ("256", b"<integer>256</integer>", b"\x11\x01\x00"),
            ("65536", b"<integer>65536</integer>", b"\x12\x00\x01\x00\x00"),
            ("2^32", b"<integer>4294967296</integer>", b"\x13" + (1 << 32).to_bytes(8, "big")),
            ("-1", b"<integer>-1</integer>", b"\x13" + b"\xff" * 8),
            ("2^63", b"<integer>9223372036854775808</integer>",
             b"\x14" + bytes(8) + (1 << 63).to_bytes(8, "big")),
            ("32-bit real", binary([b"\xd1\x01\x02", b"\x51k", b"\x22\x3f\xc0\x00\x00"]),
             b"\x22\x3f\xc0\x00\x00"),
            ("64-bit real", b"<real>1.5</real>", b"\x23\x3f\xf8" + bytes(6)),
        ]
        for name, data, written in rows:
            with self.subTest(name):
                self.ok("import", D, "-", stdin=data if data[:6] == b"bplist" else xml_dict(data))
                with open(self.path(), "rb") as f:
                    self.assertEqual(f.read(), binary([b"\xd1\x01\x02", b"\x51k", written]))

    def test_export_refuses_what_xml_cannot_carry_and_names_the_key(self):
        rows = [
            ("text holding NUL", b"\x53a\x00b", "XML cannot carry at outer/k"),
            ("text holding U+FFFE", b"\x61\xff\xfe", "XML cannot carry at outer/k"),
            ("text holding U+FFFF", b"\x61\xff\xff", "XML cannot carry at outer/k"),
            ("half a second", b"\x33" + struct.pack(">d", 0.5), "whole second"),
            ("a second before the year 1", b"\x33" + struct.pack(">d", -63113904001.0),
             "years 1 to 9999"),
            ("set", b"\xc0", "a set"),
            ("null", b"\x00", "a null"),
        ]
        for name, value, said in rows:
            with self.subTest(name):
                os.makedirs(self.config, exist_ok=True)
                with open(self.path(), "wb") as f:
                    f.write(binary([b"\xd1\x01\x02", b"\x55outer", b"\xd1\x03\x04", b"\x51k",
                                    value]))
                self.refused(["export", D, "-"], said=said)

    def test_export_writes_one_element_a_line_indented_by_depth(self):
        self.make({"first": datetime.datetime(1, 1, 1), "text": "\r\ufffd", "list": [True, {}]})
        self.assertEqual(self.ok("export", D, "-"),
                         '<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0">\n<dict>\n'
                         "\t<key>first</key>\n\t<date>0001-01-01T00:00:00Z</date>\n"
                         "\t<key>text</key>\n\t<string>&#13;\ufffd</string>\n"
                         "\t<key>list</key>\n\t<array>\n\t\t<true/>\n\t\t<dict/>\n\t</array>\n"
                         "</dict>\n</plist>\n")

    def test_import_replaces_the_domain(self):
        for fmt in (plistlib.FMT_BINARY, plistlib.FMT_XML):
            with self.subTest(fmt):
                self.make({"old": 1})
                self.ok("import", D, "-", stdin=plistlib.dumps({"new": [1.5]}, fmt=fmt))
                self.assertEqual(self.load(), {"new": [1.5]})


class FindTest(ToolCase):
    def test_find_matches_keys_and_nested_values_in_any_case(self):
        self.make({"Colour": 1, "other": {"deep": ["RedBox"]}, "plain": 2, "shade": "Redder"},
                  "org.one")
        self.make({"red": "x"}, "org.two")
        self.assertEqual(self.ok("find", "rEd"),
                         "Found 2 keys in domain 'org.one': {\n    other = {\n        deep = (\n"
                         "            RedBox\n        );\n    };\n    shade = Redder;\n}\n"
                         "Found 1 keys in domain 'org.two': {\n    red = x;\n}\n")
        self.refused(["find", "absent-word"], status=1)
        self.assertIn("RedBox", self.ok("--defaults", self.path("org.one"), "find", "redbox"))
        self.refused(["--defaults", self.path("org.one"), "find", "org.one"], status=1)


class OptionsTest(ToolCase):
    def test_help_anywhere_and_version(self):
        for args in (["--help"], ["read", "-h"], ["write", D, "k", "--help"], ["help"]):
            with self.subTest(" ".join(args)):
                self.assertIn("usage: bkgcolors-defaults", self.ok(*args))
        self.assertRegex(self.ok("--version"), r"^bkgcolors-defaults \d+\.\d+\.\d+\n$")
        self.assertFalse(os.path.exists(self.config))


class LanguageTest(ToolCase):
    """Under a German locale the program speaks German, and what scripts read stays the same."""

    LOCALES = ["de_DE.UTF-8", "de_DE.ISO-8859-1"]

    @classmethod
    def setUpClass(cls):
        cls.locales = tempfile.TemporaryDirectory(prefix="bkgcolors-locales-")
        for locale in cls.LOCALES:
            subprocess.run(["localedef", "-i", "de_DE", "-f", locale.split(".")[1],
                            os.path.join(cls.locales.name, locale)], check=False,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.locales.cleanup()

    def speak(self, locale):
        """Later runs use `locale` for everything (numbers too), or English when None."""
        self.env.pop("LANGUAGE", None)
        self.env.update(LC_ALL=locale or "C", LOCPATH=self.locales.name)
        if locale:
            self.assertTrue(os.path.isdir(os.path.join(self.locales.name, locale)),
                            "localedef made no " + locale)

    def test_errors_help_and_notices_are_german(self):
        self.make({"k": 1})
        rows = [
            ("bad value", ["write", D, "k", "-int", "12px"], 2, "err",
             "bkgcolors-defaults: '12px' ist keine 64-Bit-Ganzzahl\n"),
            ("unknown verb", ["frobnicate"], 2, "err",
             "bkgcolors-defaults: unbekanntes Verb frobnicate (siehe help)\n"),
            ("absent key", ["read", D, "nope"], 1, "err",
             "bkgcolors-defaults: Schlüssel nope existiert nicht in Domäne org.example.app\n"),
            ("help", ["--help"], 0, "out", "Aufruf: bkgcolors-defaults [--defaults DATEI]"),
            ("help verb", ["help"], 0, "out", "Exit-Status: 0 erledigt"),
        ]
        self.speak("de_DE.UTF-8")
        for name, args, status, stream, german in rows:
            with self.subTest(name):
                code, out, err = self.run_tool(*args)
                self.assertEqual(code, status, err)
                self.assertIn(german, {"out": out, "err": err}[stream])
        with open(self.path(), "wb") as f:
            f.write(b"not a property list")
        code, _, err = self.run_tool("write", D, "k", "v")
        self.assertEqual(code, 0, err)
        self.assertRegex(err, r"^bkgcolors-defaults: Hinweis: .* could not be parsed; moved to "
                              r".*\.corrupt\n$")

    def test_a_translation_may_put_the_values_in_its_own_order(self):
        # A copy of the program with a catalogue of one sentence beside it, as installed.
        tree = os.path.join(self.folder.name, "tree")
        messages = os.path.join(tree, "share", "locale", "de", "LC_MESSAGES")
        os.makedirs(messages)
        os.makedirs(os.path.join(tree, "bin"))
        program = shutil.copy(TOOL, os.path.join(tree, "bin"))
        catalogue = os.path.join(self.folder.name, "de.po")
        with open(catalogue, "w", encoding="utf-8") as f:
            f.write('msgid ""\nmsgstr "Content-Type: text/plain; charset=UTF-8\\n"\n\n'
                    'msgid "key %s does not exist in domain %s"\n'
                    'msgstr "%2$s hat keinen Schl\u00fcssel %1$s (100%%)"\n')
        subprocess.run(["msgfmt", "-o", os.path.join(messages, "bkgcolors-prefs.mo"), catalogue],
                       check=True)
        self.make({"k": 1})
        self.speak("de_DE.UTF-8")
        run = subprocess.run([program, "read", D, "nope"], env=self.env, stderr=subprocess.PIPE,
                             timeout=60, check=False)
        self.assertEqual((run.returncode, run.stderr.decode()),
                         (1, "bkgcolors-defaults: org.example.app hat keinen Schl\u00fcssel nope "
                             "(100%)\n"))

    def test_what_scripts_read_is_the_same_in_every_language(self):
        self.make({**ALL_KINDS, "\u00ea": "\u00b5"})
        self.make({"other": 1.25}, "org.example.two")
        commands = [["read", D], ["read", D, "real"], ["read-type", D, "real"], ["domains"],
                    ["find", "E"], ["export", D, "-"]]
        self.speak(None)
        english = [self.ok(*args) for args in commands]
        for locale in self.LOCALES:
            with self.subTest(locale):
                self.speak(locale)
                self.assertEqual([self.ok(*args) for args in commands], english)
                numbers = os.path.join(self.folder.name, locale + ".plist")
                self.ok("--defaults", numbers, "write", "k", "-float", "2.5")
                with open(numbers, "rb") as f:
                    self.assertEqual(plistlib.load(f), {"k": 2.5})
                self.assertEqual(self.ok("--defaults", numbers, "read", "k"), "2.5\n")


if __name__ == "__main__":
    unittest.main()
