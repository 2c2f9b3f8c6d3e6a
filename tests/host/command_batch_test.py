"""Many messages at once: folders, Maildirs, mailboxes, dry runs, JSON, and runs that are stopped."""

import json
import os
import signal
import subprocess

from support import (BIN, CANNOT_CREATE, DONE, MIXED, NO_INPUT, NOT_AS_ASKED, PLAIN, SIGNED_MAIL,
                     TRY_AGAIN, USAGE, CommandTest)

FOOTER = ("footer", "--text", "Checked.")


class BatchTest(CommandTest):
    def tree(self, *names, data=PLAIN):
        """Files with folders; all hold the same message."""
        for name in names:
            path = self.folder / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(data)

    def maildir(self, name):
        for folder in ("cur", "new", "tmp"):
            (self.folder / name / folder).mkdir(parents=True)

    def footer(self, *words, **options):
        return self.zevka(*FOOTER, *words, **options)

    def told(self, result):
        """The files of a result's lines."""
        return [line.split(": ")[0] for line in result.out.splitlines()]

    def changed(self):
        """The files that have the footer, and those that have not."""
        files = sorted(path for path in self.folder.rglob("*") if path.is_file())
        with_it = [b"\nChecked.\n" in path.read_bytes() for path in files]
        names = [os.fspath(path.relative_to(self.folder)) for path in files]
        return ([name for name, has in zip(names, with_it) if has],
                [name for name, has in zip(names, with_it) if not has])


class Folders(BatchTest):
    def test_messages_of_a_folder_in_the_order_of_their_names(self):
        self.tree("d/b.eml", "d/a.EML", "d/17", "d/sub/c.eml", "d/note.txt", "d/.hidden.eml",
                  "d/.git/d.eml", "d/.zevka-0123456789abcdef.tmp")
        result = self.footer("d")
        self.assertEqual(self.told(result), ["d/17", "d/a.EML", "d/b.eml", "d/sub/c.eml"])
        self.assertEqual(result.status, DONE)
        self.assertEqual(self.changed()[0], ["d/17", "d/a.EML", "d/b.eml", "d/sub/c.eml"])

    def test_all_files_when_asked(self):
        self.tree("d/note.txt", "d/.hidden.eml")
        self.assertEqual(self.told(self.footer("--all-files", "d")), ["d/note.txt"])

    def test_links_inside_are_passed_over(self):
        self.tree("d/a.eml", "e/b.eml")
        (self.folder / "d/up").symlink_to("..")
        (self.folder / "d/b.eml").symlink_to("../e/b.eml")
        self.assertEqual(self.told(self.footer("d")), ["d/a.eml"])

    def test_folder_without_messages_is_reported(self):
        self.tree("d/note.txt")
        self.assert_refused(self.footer("d"), "d", "holds no messages (files named *.eml or by a "
                            "number; --all-files takes all)", NO_INPUT)

    def test_each_file_once(self):
        self.tree("d/a.eml", "d/b.eml")
        (self.folder / "link").symlink_to("d")
        result = self.footer("d/b.eml", "d", "./d/a.eml", "link")
        self.assertEqual(self.told(result), ["d/b.eml", "d/a.eml"])
        self.assertEqual(result.status, DONE)

    def test_order_and_status_do_not_depend_on_the_jobs(self):
        names = [f"d/{number:03}.eml" for number in range(60)]
        for jobs in (1, 3, 8):
            self.tree(*names)
            self.tree("d/030.eml", data=SIGNED_MAIL)
            result = self.footer("--jobs", str(jobs), "d", "gone.eml")
            self.assertEqual(self.told(result), names)
            self.assertEqual(result.err, "zevka: gone.eml: No such file or directory\n"
                             "zevka: 61 messages: 59 changed, 1 unchanged (dkim 1), 1 failed\n")
            self.assertEqual(result.status, NO_INPUT)

    def test_one_bad_file_does_not_stop_the_others(self):
        self.tree("a.eml", "b.eml")
        self.tree("s.eml", data=SIGNED_MAIL)
        result = self.footer("a.eml", "gone.eml", "s.eml", "b.eml")
        self.assertEqual(result.out, "a.eml: footer added\ns.eml: unchanged (dkim)\n"
                                     "b.eml: footer added\n")
        self.assertEqual(result.err, "zevka: gone.eml: No such file or directory\n"
                         "zevka: 4 messages: 2 changed, 1 unchanged (dkim 1), 1 failed\n")
        self.assertEqual(result.status, NO_INPUT)

    def test_quiet_tells_failures_only(self):
        self.tree("a.eml", "b.eml")
        result = self.footer("-q", "a.eml", "b.eml", "gone.eml")
        self.assertEqual((result.out, result.err),
                         ("", "zevka: gone.eml: No such file or directory\n"))

    def test_leftovers_of_a_dead_run_go(self):
        self.tree("d/a.eml", "d/.zevka-0123456789abcdef.tmp")
        self.assert_done(self.footer("d"))
        self.assertEqual(self.names(self.folder / "d"), ["a.eml"])


class Maildirs(BatchTest):
    def test_messages_of_all_folders_but_tmp(self):
        self.maildir("M")
        self.maildir("M/.Sent")
        self.tree("M/cur/1.a.b:2,S", "M/new/2.a.b", "M/tmp/3.a.b", "M/.Sent/cur/4.a.b:2,",
                  "M/dovecot-uidlist", "M/.other/5.eml", "M/cur/.hidden")
        names = self.told(self.footer("M"))
        self.assertEqual(names, ["M/cur/1.a.b:2,S", "M/new/2.a.b", "M/.Sent/cur/4.a.b:2,"])
        self.assertEqual(self.changed()[0], sorted(names))
        self.assertEqual(self.names(self.folder / "M/tmp"), ["3.a.b"])

    def test_one_folder_of_a_maildir(self):
        self.maildir("M")
        self.tree("M/cur/1.a.b:2,S", "M/new/2.a.b")
        self.assertEqual(self.told(self.footer("M/new")), ["M/new/2.a.b"])

    def test_empty_one_is_fine(self):
        self.maildir("M")
        self.assert_done(self.footer("M"))


class IntoAFolder(BatchTest):
    def test_places_below_the_folder_are_kept(self):
        self.tree("d/a.eml", "d/sub/b.eml")
        self.tree("d/s.eml", data=SIGNED_MAIL)
        result = self.footer("d", "--output", "out")
        self.assertEqual(result.status, NOT_AS_ASKED)
        self.assertEqual(self.changed(), (["out/a.eml", "out/sub/b.eml"],
                                          ["d/a.eml", "d/s.eml", "d/sub/b.eml", "out/s.eml"]))

    def test_same_names_are_numbered(self):
        self.tree("a/m.eml", "b/m.eml", "c/m.eml", "d/m-2.eml")
        self.assertEqual(self.footer("a/m.eml", "b/m.eml", "c", "d", "-o", "out").status, DONE)
        self.assertEqual(self.names(self.folder / "out"),
                         ["m-2-2.eml", "m-2.eml", "m-3.eml", "m.eml"])

    def test_second_run_makes_only_what_is_missing(self):
        self.tree("d/a.eml", "d/b.eml")
        self.tree("d/s.eml", data=SIGNED_MAIL)
        self.footer("d", "-o", "out")
        (self.folder / "out/b.eml").unlink()
        kept = (self.folder / "out/a.eml").stat().st_ino
        result = self.footer("d", "-o", "out")
        self.assertEqual(result.out, "d/a.eml: unchanged (footer-marked)\n"
                         "d/b.eml: footer added\nd/s.eml: unchanged (dkim)\n")
        self.assertEqual(result.status, NOT_AS_ASKED)
        self.assertEqual((self.folder / "out/a.eml").stat().st_ino, kept)

    def test_folder_inside_is_not_searched(self):
        self.tree("d/a.eml")
        for _ in range(2):
            self.assertEqual(self.told(self.footer("d", "-o", "d/out")), ["d/a.eml"])


# A box with a quoted line, and without an empty line at its end.
BOX = (b"From ada@example.org Thu Jan  1 00:00:00 1970\n"
       b"From: ada@example.org\nSubject: Hi\n\nHello.\n>From here.\n\n"
       b"From ada@example.org Thu Jan  1 00:00:10 1970\n" + SIGNED_MAIL + b"\n"
       b"From ada@example.org Thu Jan  1 00:00:20 1970\n" + PLAIN)


class Mailboxes(BatchTest):
    def test_messages_of_a_box_go_to_a_new_one(self):
        path = self.file("box", BOX)
        result = self.zevka("set-header", "Subject", "New", "box", "--output", "new")
        self.assertEqual(result.out, "box#1: field set\nbox#2: unchanged (dkim)\n"
                                     "box#3: field set\n")
        self.assertEqual(result.status, NOT_AS_ASKED)
        first, second, third = BOX.split(b"From ada@example.org ")[1:]
        expected = [first.replace(b"Hi", b"New"), second, third.replace(b"Hi", b"New")]
        self.assertEqual((self.folder / "new").read_bytes(),
                         b"".join(b"From ada@example.org " + entry for entry in expected))
        self.assertEqual(path.read_bytes(), BOX)

    def test_box_is_not_changed_in_place(self):
        path = self.file("box", BOX)
        self.tree("a.eml")
        self.assert_refused(self.footer("a.eml", "box"), "box", "an mbox is only read: name a file "
                            "for the result by --output", USAGE)
        self.assertEqual((path.read_bytes(), self.changed()[0]), (BOX, []))

    def test_box_goes_to_standard_output_or_into_a_folder(self):
        self.file("box", BOX)
        self.tree("a.eml")
        result = self.footer("box", "-o", "-")
        self.assertEqual(result.out_bytes.count(b"\nChecked.\n"), 2)
        self.footer("box", "a.eml", "-o", "out")
        self.assertEqual((self.folder / "out/box").read_bytes(), result.out_bytes)
        self.assertEqual(self.names(self.folder / "out"), ["a.eml", "box"])

    def test_second_run_leaves_its_result_alone_and_any_other_box(self):
        self.file("box", BOX)
        self.footer("box", "-o", "new")
        before = (self.folder / "new").stat().st_ino
        result = self.footer("box", "-o", "new")
        self.assertEqual(result.out, "box#1: unchanged (footer-marked)\n"
                         "box#2: unchanged (dkim)\nbox#3: unchanged (footer-marked)\n")
        self.assertEqual((self.folder / "new").stat().st_ino, before)
        self.file("new", BOX)
        result = self.footer("box", "-o", "new")
        self.assertEqual((result.status, result.out), (CANNOT_CREATE, ""))
        self.assertEqual((self.folder / "new").read_bytes(), BOX)

    def test_message_with_a_separator_on_top_is_one_by_its_name(self):
        data = BOX.split(b"\n\n")[0] + b"\n\nHello.\n"
        path = self.file("m.eml", data)
        self.assertEqual(self.told(self.zevka("set-header", "X-A", "1", "m.eml")), ["m.eml"])
        self.assertTrue(path.read_bytes().startswith(b"From ada@example.org Thu"))


class DryRuns(BatchTest):
    def test_difference_is_printed_and_nothing_written(self):
        self.tree("a.eml")
        self.tree("s.eml", data=SIGNED_MAIL)
        before = [(path.name, path.stat().st_ino) for path in sorted(self.folder.iterdir())]
        result = self.zevka("set-header", "Subject", "New", "--dry-run", "a.eml", "s.eml",
                            "--dump", "bad", "--output", "out")
        self.assertEqual(result.out,
                         "--- a.eml\n+++ a.eml\n@@ -1,4 +1,4 @@\n From: ada@example.org\n"
                         "-Subject: Hi\n+Subject: New\n \n Hello.\n"
                         "s.eml: unchanged (dkim)\n")
        self.assertEqual(result.err, "zevka: dry run, 2 messages: 1 changed, 1 unchanged (dkim 1), "
                                     "0 failed\n")
        self.assertEqual(result.status, NOT_AS_ASKED)
        self.assertEqual(
            [(path.name, path.stat().st_ino) for path in sorted(self.folder.iterdir())], before)

    def test_texts_are_shown_decoded_and_others_by_their_digest(self):
        head = b'Content-Type: multipart/mixed; boundary="sep"\n\n--sep\n'
        text = (b"Content-Type: text/plain; charset=iso-8859-1\n"
                b"Content-Transfer-Encoding: quoted-printable\n\nGr=FC=DFe\n")
        data = head + text + b"--sep\n" + MIXED.split(b"--sep\n")[2]
        self.file("m.eml", data)
        result = self.zevka("remove-part", "--part", "1", "--dry-run", "m.eml")
        self.assertIn("\n-Grüße\n", result.out)
        result = self.zevka("remove-part", "--part", "2", "--dry-run", "m.eml")
        # The digest of 00 01 02 03 04.
        self.assertIn("\n-(5 bytes, SHA-256 08bb5e5d6eaac1049ede0893d30ed022"
                      "b1a4d9b5b48db414871f51c9cb35283d)\n", result.out)

    def test_box_needs_no_output(self):
        self.file("box", BOX)
        result = self.footer("--dry-run", "box")
        self.assertEqual(result.out.count("\n+Checked.\n"), 2)
        self.assertEqual(self.names(), ["box"])

    def test_standard_input(self):
        result = self.footer("--dry-run", "-", input=PLAIN)
        self.assertTrue(result.out.startswith("--- -\n+++ -\n"), result.out)
        self.assert_done(result)


class AsJson(BatchTest):
    def test_one_object_a_message_and_a_summary(self):
        self.tree("a.eml")
        self.tree("s.eml", data=SIGNED_MAIL)
        result = self.zevka("set-header", "Subject", "New", "--json", "a.eml", "s.eml", "gone.eml")
        objects = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual(objects[0], {"file": "a.eml", "outcome": "changed", "reasons": [],
                                      "bytes_before": 42, "bytes_after": 43})
        self.assertEqual([reason["code"] for reason in objects[1]["reasons"]], ["dkim"])
        self.assertEqual((objects[1]["outcome"], objects[1]["bytes_after"]), ("unchanged", 77))
        self.assertEqual(objects[2]["outcome"], "failed")
        self.assertEqual(objects[2]["reasons"], [{"code": "unreadable", "part": "",
                                                  "detail": "No such file or directory"}])
        self.assertEqual(objects[3], {"summary": {
            "messages": 3, "changed": 1, "unchanged": {"dkim": 1}, "failed": 1, "left": 0,
            "dry_run": False, "bytes_before": 119, "bytes_after": 120}})
        self.assertEqual(len(objects), 4)
        self.assertEqual(result.err, "zevka: gone.eml: No such file or directory\n")

    def test_dry_run_has_the_difference(self):
        self.tree("a.eml")
        result = self.zevka("set-header", "Subject", "New", "--json", "--dry-run", "a.eml")
        first, last = [json.loads(line) for line in result.out.splitlines()]
        self.assertIn("\n-Subject: Hi\n+Subject: New\n", first["diff"])
        self.assertTrue(last["summary"]["dry_run"])

    def test_progress_as_json_counts_bytes(self):
        self.tree("a.eml", "b.eml")
        result = self.footer("--progress", "json", "a.eml", "b.eml")
        last = json.loads(result.err.splitlines()[-2])
        self.assertEqual((last["files"], last["files_total"], last["bytes"], last["bytes_total"]),
                         (2, 2, 84, 84))

    def test_progress_of_a_box_ends_at_its_size(self):
        self.file("box", BOX)
        result = self.footer("--progress", "json", "box", "-o", "new", "-q")
        last = json.loads(result.err.splitlines()[-1])
        self.assertEqual((last["files"], last["bytes"]), (1, len(BOX)))

    def test_no_bar_in_a_pipe(self):
        self.tree("a.eml")
        self.assert_done(self.footer("a.eml"))


class StoppedRuns(BatchTest):
    """Names are so long that the lines fill the pipe: a run waits until somebody reads them."""

    NAMES = [f"d/{number:0200}.eml" for number in range(500)]

    def start(self, *words):
        environment = {**os.environ, "TMPDIR": os.fspath(self.folder)}
        return subprocess.Popen([os.fspath(BIN / "zevka"), *FOOTER, "--jobs", "1", *words],
                                cwd=self.folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, env=environment)

    def assert_rest_is_done(self):
        """Runs the same again: every message has the footer once then."""
        self.assertNotEqual(self.changed()[1], [])
        result = self.footer("-q", "d")
        self.assertEqual((result.status, result.err), (DONE, ""))
        self.assertEqual(self.changed(), (self.NAMES, []))
        for name in self.NAMES:
            self.assertEqual((self.folder / name).read_bytes().count(b"\nChecked.\n"), 1)

    def test_signal_ends_after_the_message_at_hand(self):
        self.tree(*self.NAMES)
        for stop in (signal.SIGINT, signal.SIGTERM):
            process = self.start("d")
            process.stdout.readline()
            process.send_signal(stop)
            _, err = process.communicate(timeout=120)
            self.assertEqual(process.returncode, TRY_AGAIN, err)
            self.assertIn(b"are left; the same command does the rest\n", err)
            self.assertIn(b" left\n", err)
        self.assert_rest_is_done()

    def test_killed_run(self):
        self.tree(*self.NAMES)
        process = self.start("d")
        process.stdout.readline()
        process.kill()
        process.communicate(timeout=120)
        self.assert_rest_is_done()

    def test_reader_that_goes_does_not_stop_the_batch(self):
        self.tree(*(f"d/{number}.eml" for number in range(1000, 1300)))
        process = self.start("d")
        process.stdout.close()
        process.stderr.read()
        process.stderr.close()
        process.wait(timeout=120)
        self.assertEqual(self.changed()[1], [])
