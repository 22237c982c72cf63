#!/usr/bin/env python3
"""Tests that output files appear all or none, whatever fails and whichever signal arrives, and that nothing else does.

TOOL_FILE_FAULTS names a library that makes the calls fail.
"""

import errno
import fcntl
import os
import resource
import select
import shutil
import signal
import subprocess
import unittest

import der
import pfx
from der import certificate, private_key
from p12 import P12Test, certificate_of, mode
from tool import FEW_CASES, TOOL, Run, Terminal, run

FAULTS = os.environ.get("TOOL_FILE_FAULTS")
PASSWORD = "x"
# How each kind of call fails. Those that remove something are needed to clean up.
ERRORS = {
    "mkdir": errno.EDQUOT, "unnamed": errno.ENOSPC, "create": errno.ENOSPC, "write": errno.ENOSPC, "sync": errno.EIO,
    "link": errno.EDQUOT, "lock": errno.ENOLCK, "rename": errno.EPERM,
}
NO_UNNAMED_FILES = f"unnamed 0 {errno.EOPNOTSUPP}"


class OutputTest(P12Test):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "out"
        key, certificates = private_key(), map(certificate, "ab")
        self.container = self.file("a.p12", pfx.container(
            PASSWORD, pfx.data_entry(pfx.key_bag(key), *map(pfx.cert_bag, certificates))))
        self.password = self.file("password", PASSWORD)
        self.key, self.certificate = self.file("key.der", key), self.file("certificate.der", certificate_of(key))

    def tool(self, *arguments, **how):
        return run("p12", *arguments, "--password-file", self.password, **how)

    def extract(self, *options, out=None, container=None, **how):
        return self.tool("extract", container or self.container, "--out", out or self.out, *options, **how)

    def make(self, *options, out=None, **how):
        """Makes a container in the folder of the other outputs."""
        out = out or self.out / "made.p12"
        return self.tool("make", "--to", "gost94", "--key", self.key, "--cert", self.certificate, "--out", out, *options, **how)

    def put_old_files(self, *names):
        self.out.mkdir(exist_ok=True)
        for name in names:
            (self.out / name).write_text(f"old {name}")

    def content(self):
        """Returns all that is in the output folder, None if there is none."""
        if not self.out.exists():
            return None
        return {path.name: path.read_bytes() if path.is_file() else None for path in self.out.iterdir()}

    def clear(self):
        shutil.rmtree(self.out, ignore_errors=True)


@unittest.skipUnless(FAULTS, "TOOL_FILE_FAULTS is not set")
class FaultTest(OutputTest):
    """Runs a command once for every call of a kind that it makes, so that this call fails or a signal arrives then."""

    # Old files, command, its options.
    EXTRACTION = [
        ([], "extract", []),
        (["key-1.pem", "certificate-1.pem", "other"], "extract", ["--force"]),
    ]
    SITUATIONS = [*EXTRACTION, (["other"], "make", []), (["made.p12"], "make", ["--force"])]

    def run_with(self, faults, old, command, options):
        """Returns the result, and what the folder held before it and holds after it."""
        self.clear()
        if old:
            self.put_old_files(*old)
        before = self.content()
        done = getattr(self, command)(*options, env={"LD_PRELOAD": FAULTS, "FILE_FAULTS": ",".join(filter(None, faults))})
        return done, before, self.content()

    def check_each_call(self, kind, action, check, *other_faults, situations=EXTRACTION):
        """Checks the runs in which the first, the second, … call is made to fail, until there is no further call."""
        num_checked = 0
        for old, command, options in situations:
            whole = self.run_with([*other_faults], old, command, options)
            self.assertEqual((whole[0].status, whole[0].errors), (0, []))
            for number in range(1, 100):
                done, before, after = self.run_with([f"{kind} {number} {action}", *other_faults], old, command, options)
                if done.status == 0 and not done.errors:
                    self.assertEqual(after.keys(), whole[2].keys())
                    break
                with self.subTest(command=command, options=options, old=old, fault=f"{kind} {number}"):
                    check(done, before, after, whole[2])
                num_checked += 1
        return num_checked


class FailingCalls(FaultTest):
    def check_failed(self, done, before, after, _):
        self.assertEqual((done.status, done.out[:1] if done.out else b"", len(done.errors)), (1, b"", 1), done)
        self.assertEqual(after, before)

    def test_a_call_that_fails_leaves_all_as_it_was(self):
        for kind in "mkdir", "link", "lock", "rename", "write", "sync":
            num_checked = self.check_each_call(kind, ERRORS[kind], self.check_failed, situations=self.SITUATIONS)
            self.assertGreater(num_checked, 0, kind)

    def test_without_unnamed_files_too(self):
        for kind in "mkdir", "create", "write", "sync", "rename":
            self.assertGreater(self.check_each_call(kind, ERRORS[kind], self.check_failed, NO_UNNAMED_FILES), 0, kind)

    def test_unnamed_files_that_the_file_system_lacks_are_replaced_by_named_ones(self):
        self.assertEqual(self.check_each_call("unnamed", errno.EOPNOTSUPP, self.fail), 0)

    def test_renaming_without_flags(self):
        """Every call with flags fails as on a file system that does not know them."""
        for old, command, options in self.SITUATIONS:
            for first in range(1, 7):
                faults = [f"rename {number} {errno.EINVAL}" for number in range(first, first + 2)]
                done, before, after = self.run_with(faults, old, command, options)
                self.assertIn(done.status, (0, 1))
                if done.status:
                    self.assertEqual(after, before)
                else:
                    self.assertFalse([name for name in after if name.startswith(".")])

    def test_files_that_cannot_be_put_back_are_kept_and_named(self):
        """The second file cannot be placed, and then the first, which was replaced, cannot be put back."""
        denied = errno.EPERM
        faults = [f"rename {number} {denied}" for number in (3, 4, 5)]
        done, _, after = self.run_with(faults, ["key-1.pem", "certificate-1.pem"], "extract", ["--force"])
        self.assertEqual((done.status, len(done.errors)), (1, 1))
        [staging] = [name for name in after if name.startswith(".")]
        self.assertTrue(done.errors[0].endswith(f"; the files that were there before are in {self.out}/{staging}"), done)
        [kept] = (self.out / staging).iterdir()
        self.assertEqual(kept.read_text(), "old key-1.pem")


    def test_a_folder_that_cannot_be_removed_is_named(self):
        """As in a directory in which files may only be added."""
        denied = errno.EPERM
        faults = [f"rename {number} {denied}" for number in (1, 2)] + [f"remove {number} {denied}" for number in (2, 3, 4)]
        done, before, after = self.run_with(faults, ["made.p12"], "make", ["--force"])
        [staging] = [name for name in after if name.startswith(".")]
        self.assertEqual((done.status, done.errors), (
            1, [f"derkit: {self.out}/made.p12: Operation not permitted; cannot be removed: {self.out}/{staging}"]))
        self.assertEqual((after["made.p12"], list((self.out / staging).iterdir())), (before["made.p12"], []))


class Signals(FaultTest):
    def check_each_signal(self, numbers, kinds, *other_faults):
        for number in numbers:
            def check(done, before, after, whole):
                self.assertEqual(done.status, -number, done)
                self.assertTrue(after == before or after.keys() == whole.keys(), after)

            for kind in kinds:
                self.assertGreater(self.check_each_call(kind, -number, check, *other_faults), 0)

    def test_a_signal_at_any_moment_leaves_all_as_it_was_or_is_whole(self):
        self.check_each_signal([signal.SIGTERM], ["mkdir", "unnamed", "write", "sync", "link", "lock", "rename", "remove"])
        self.check_each_signal([signal.SIGINT, signal.SIGHUP, signal.SIGXCPU], ["write"])

    def test_without_unnamed_files_too(self):
        self.check_each_signal([signal.SIGTERM], ["create", "write", "rename"], NO_UNNAMED_FILES)

    def test_a_file_that_becomes_too_large(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))

        for old in [], ["key-1.pem"]:
            self.clear()
            if old:
                self.put_old_files(*old)
            before = self.content()
            done = self.extract("--force", preexec_fn=limit)
            problem = f"derkit: {self.out}/key-1.pem: File too large"
            self.assertEqual((done, self.content()), (Run(1, b"", [problem]), before))

    def test_while_nothing_has_its_name_even_a_kill_leaves_nothing(self):
        def check(done, before, after, _):
            self.assertEqual(done.status, -signal.SIGKILL)
            self.assertEqual(after or {}, before or {})  # the directory itself may have been created

        for kind in "unnamed", "write":
            self.check_each_call(kind, -signal.SIGKILL, check)

    def test_a_kill_while_files_get_their_names_loses_no_old_file(self):
        def check(done, before, after, _):
            self.assertEqual(done.status, -signal.SIGKILL)
            staged = [path.read_bytes() for folder in self.out.glob(".derkit-*") for path in folder.iterdir()]
            for name, data in (before or {}).items():
                self.assertIn(name, after)
                self.assertIn(data, [after[name], *staged])

        for kind in "link", "sync", "rename":
            self.check_each_call(kind, -signal.SIGKILL, check)

    def test_ignored_signals_stay_ignored(self):
        env = {"LD_PRELOAD": FAULTS, "FILE_FAULTS": f"rename 1 {-signal.SIGHUP}"}
        done = self.extract(env=env, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        self.assertEqual((done.status, len(self.content())), (0, 3), done)


class ManyFiles(FaultTest):
    COUNT = 300

    def setUp(self):
        super().setUp()
        self.container = self.file("many.p12", pfx.container(
            PASSWORD, pfx.data_entry(*(pfx.cert_bag(certificate(str(i))) for i in range(self.COUNT)))))

    def test_64_descriptors_are_enough(self):
        limit = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))}
        done = self.extract(env={"LD_PRELOAD": FAULTS}, **limit)
        self.assertEqual((done.status, done.errors, len(self.content())), (0, [], self.COUNT))

    def test_each_file_takes_the_same_number_of_calls(self):
        report = self.folder / "report"
        done = self.extract(env={"LD_PRELOAD": FAULTS, "FILE_FAULTS_REPORT": str(report)})
        self.assertEqual(done.status, 0)
        counts = dict(line.split() for line in report.read_text().splitlines())
        for kind, count in counts.items():
            self.assertLess(int(count), 2 * self.COUNT + 10, kind)

    def test_a_signal_leaves_none_of_them(self):
        env = {"LD_PRELOAD": FAULTS, "FILE_FAULTS": f"write {self.COUNT // 2} {-signal.SIGTERM}"}
        self.assertEqual((self.extract(env=env).status, self.content()), (-signal.SIGTERM, None))


class Outputs(OutputTest):
    def test_a_name_of_the_greatest_length(self):
        self.out.mkdir()
        for out in self.out / ("x" * 255), self.out / ("x" * 255):
            self.assertEqual(self.make("--force", out=out).status, 0)
        self.assertEqual(list(self.content()), ["x" * 255])

    def test_a_path_without_a_directory(self):
        self.out.mkdir()
        self.assertEqual(self.make(out="made.p12", cwd=self.out), Run(0, b"", []))
        self.assertEqual((list(self.content()), mode(self.out / "made.p12")), (["made.p12"], 0o600))
        done = self.make(out="made.p12", cwd=self.out)
        self.assertEqual(done.errors, ["derkit: made.p12: already exists (--force overwrites it)"])

    def test_what_names_no_file(self):
        self.out.mkdir()
        for path, problem in [
            (f"{self.out}/", "names no file"), (self.out, "is not a regular file"),
            (".", "is not a regular file"), ("/dev/full", "is not a regular file"),
        ]:
            done = self.make("--force", out=path)
            self.assertEqual(done, Run(1, b"", [f"derkit: {path}: {problem}"]))
        self.assertEqual(self.content(), {})

    def test_two_at_a_time_are_not_mixed(self):
        """Each of two containers is extracted over the other many times, while the calls of both are slowed down."""
        containers = {}
        for name, octet in ("a", b"\x11"), ("b", b"\x22"):
            key = private_key(der.octet_string(octet * 32))
            containers[name] = self.file(f"{name}.p12", pfx.container(
                PASSWORD, pfx.data_entry(pfx.key_bag(key), pfx.cert_bag(certificate(name)))))
        whole = []
        for container in containers.values():
            self.assertEqual(self.extract("--force", container=container).status, 0)
            whole.append(self.content())
        for _ in range(5 if FEW_CASES else 20):
            children = [subprocess.Popen([TOOL, "p12", "extract", "--force", "--out", self.out, container,
                                          "--password-file", self.password], stdout=subprocess.DEVNULL)
                        for container in containers.values() for _ in range(3)]
            self.assertEqual([child.wait() for child in children], [0] * len(children))
            self.assertIn(self.content(), whole)

    def test_the_lock_is_waited_for_and_a_signal_ends_the_wait(self):
        self.out.mkdir()
        descriptor = os.open(self.out, os.O_RDONLY)
        self.addCleanup(os.close, descriptor)
        fcntl.flock(descriptor, fcntl.LOCK_EX)
        child = self.start("extract", self.container, "--out", self.out, "--password-file", self.password,
                           stdout=subprocess.PIPE)
        with self.assertRaises(subprocess.TimeoutExpired):
            child.wait(0.3)
        child.terminate()
        self.assertEqual((child.wait(10), self.content()), (-signal.SIGTERM, {}))
        child = self.start("extract", self.container, "--out", self.out, "--password-file", self.password,
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        waiting = f"derkit: {self.out}: warning: waiting for another program that puts files there\n"
        self.assertTrue(select.select([child.stderr], [], [], 20)[0], "no word of waiting")
        self.assertEqual(child.stderr.readline().decode(), waiting)
        fcntl.flock(descriptor, fcntl.LOCK_UN)
        self.assertEqual((child.wait(10), child.stderr.read(), len(self.content())), (0, b"", 3))


class StandardStreams(OutputTest):
    def test_a_container_can_go_to_standard_output(self):
        done = self.make(out="-", cwd=self.folder)
        self.assertEqual((done.status, done.errors), (0, []))
        self.assertFalse((self.folder / "-").exists())
        self.check_extracted(done.out, [private_key()], [certificate_of(private_key())], password=None)

    def check_extracted(self, container, keys, certificates, **_):
        done = self.extract(container=self.file("made.p12", container))
        self.assertEqual(done.status, 0)
        self.assertEqual(self.content(), {"key-1.pem": der.pem(keys[0], "PRIVATE KEY"),
                                          "certificate-1.pem": der.pem(certificates[0])})

    def test_a_container_is_not_written_to_a_terminal(self):
        terminal = Terminal(self).start("make", "--key", self.key, "--cert", self.certificate, "--out", "-",
                                        "--password-file", self.password)
        self.assertEqual(terminal.end(), (1, "derkit: --out: the standard output is a terminal\r\n"))

    def test_what_is_not_called_minus(self):
        for arguments, part in [
            (["extract", self.container, "--out", "-"], "--out: needs a directory"),
            (["extract", self.container, "--out", ""], "--out: needs a directory"),
            (["make", "--key", self.key, "--cert", self.certificate, "--out", ""], "--out: names no file"),
            (["convert", self.container, "--to", "aes", "--out", ""], "--out: names no file"),
            (["make", "--key", "-", "--cert", "-", "--out", "x"], "the standard input can be read only once"),
            (["make", "--key", self.key, "--cert", "-", "--cert", "-", "--out", "x"], "can be read only once"),
        ]:
            done = self.tool(*arguments, cwd=self.folder)
            self.assertEqual((done.status, done.out), (2, b""))
            self.assertIn(part, done.errors[0])
        done = run("p12", "extract", self.container, "--out", self.out, "--password-file", "-", cwd=self.folder)
        self.assertEqual((done.status, self.content()), (2, None))
        self.assertIn("see --password-stdin", done.errors[0])
        self.assertEqual(list(self.folder.glob("-")), [])

    def test_a_closed_stream_never_becomes_a_file(self):
        """The container warns of octets after it, which must not go into a file."""
        trailing = self.file("trailing.p12", pfx.container(
            PASSWORD, pfx.data_entry(pfx.key_bag(private_key() + b"more"), pfx.cert_bag(certificate("a")))))
        whole = {"key-1.pem": der.pem(private_key(), "PRIVATE KEY"), "certificate-1.pem": der.pem(certificate("a"))}
        for closed in (0,), (1,), (2,), (0, 1), (0, 2), (1, 2), (0, 1, 2):
            self.clear()
            script = " ".join(f"{number}{'<' if number == 0 else '>'}&-" for number in closed)
            command = f'exec "$@" {script}'
            done = subprocess.run(["sh", "-c", command, "sh", TOOL, "p12", "extract", trailing, "--out", self.out,
                                   "--password-file", self.password], capture_output=True)
            with self.subTest(closed):
                self.assertEqual(done.returncode, 1 if 1 in closed else 0)
                self.assertEqual(self.content(), None if 1 in closed else whole)

    def test_a_listing_that_cannot_be_written_takes_the_files_back(self):
        with open("/dev/full", "wb") as full:
            done = self.extract(stdout=full)
            self.assertEqual((done.status, self.content()), (1, None))
            self.put_old_files("key-1.pem")
            done = self.extract("--force", stdout=full)
            self.assertEqual(done.errors, ["derkit: standard output: No space left on device"])
            self.assertEqual((done.status, self.content()), (1, {"key-1.pem": b"old key-1.pem"}))
            self.assertEqual(self.make(out="-", stdout=full).status, 1)

    def start_with_a_reader_that_does_not_read(self, *options):
        """Returns an extraction that waits when all files have their names."""
        more = 200 * [pfx.cert_bag(certificate("x"))]
        container = self.file("many.p12", pfx.container(PASSWORD, pfx.data_entry(*more)))
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        child = self.start("extract", container, "--out", self.out, "--password-file", self.password, *options,
                           stdout=writing)
        os.close(writing)
        self.assertEqual(os.read(reading, 1), b"/")
        with self.assertRaises(subprocess.TimeoutExpired):
            child.wait(0.3)
        return child

    def test_a_reader_that_does_not_read_does_not_keep_signals_from_ending_it(self):
        for number in signal.SIGINT, signal.SIGVTALRM, signal.SIGIO:
            child = self.start_with_a_reader_that_does_not_read()
            child.send_signal(number)
            self.assertEqual((child.wait(20), self.content()), (-number, None))

    def test_what_another_program_wrote_meanwhile_is_not_taken_back(self):
        self.put_old_files("certificate-2.pem", "certificate-3.pem")
        child = self.start_with_a_reader_that_does_not_read("--force")
        for name in "certificate-1.pem", "certificate-2.pem":
            other = self.file("other", f"other {name}")
            os.replace(other, self.out / name)
        child.terminate()
        self.assertEqual(child.wait(20), -signal.SIGTERM)
        (kept,) = self.out.glob(".derkit-*")
        self.assertEqual([path.read_text() for path in kept.iterdir()], ["old certificate-2.pem"])
        shutil.rmtree(kept)
        self.assertEqual(self.content(), {
            "certificate-1.pem": b"other certificate-1.pem", "certificate-2.pem": b"other certificate-2.pem",
            "certificate-3.pem": b"old certificate-3.pem"})


class BeforeThePrompt(OutputTest):
    """What needs no password is found wrong before one is asked for: there is no terminal here to ask at."""

    def fails_before(self, *arguments):
        done = run("p12", *arguments)
        self.assertEqual((done.status, len(done.errors)), (1, 1))
        self.assertNotIn("terminal", done.errors[0])
        return done.errors[0]

    def test_outputs(self):
        self.put_old_files("key-1.pem", "made.p12")
        taken = "already exists (--force overwrites it)"
        make = ["make", "--key", self.key, "--cert", self.certificate, "--out"]
        for arguments, problem in [
            (["extract", self.container, "--out", self.out], f"{self.out}/key-1.pem: {taken}"),
            (["extract", self.container, "--out", self.key], f"{self.key}: Not a directory"),
            (["extract", self.container, "--out", self.folder / "no" / "out"],
             f"{self.folder}/no: No such file or directory"),
            ([*make, self.out / "made.p12"], f"{self.out}/made.p12: {taken}"),
            ([*make, self.folder / "no" / "made.p12"], f"{self.folder}/no: No such file or directory"),
        ]:
            self.assertEqual(self.fails_before(*arguments), f"derkit: {problem}")

    def test_inputs(self):
        other = pfx.encrypted_key(pfx.pbes2(cipher="1.2.3.4"), bytes(64))
        no_mac = self.file("no-mac.p12", pfx.pfx(der.sequence(), b""))
        text = self.file("text", b"text")
        make = ["make", "--out", self.out]
        for arguments, part in [
            ([*make, "--key", text, "--cert", self.certificate], "neither PEM nor DER of a PKCS#8 key"),
            ([*make, "--key", self.file("other", other), "--cert", self.certificate], "the cipher is not supported"),
            ([*make, "--key", self.key, "--cert", text], "holds no certificate"),
            ([*make, "--key", self.key, "--cert", self.certificate, "--name", b"\xff"], "is not UTF-8"),
            (["extract", no_mac, "--out", self.out], "has no MAC"),
            (["show", no_mac, "--password-ask"], "has no MAC"),
            (["show", self.container, "--password-ask", "--oid-map", self.folder / "no"], "No such file or directory"),
        ]:
            arguments = [argument.decode("utf-8", "surrogateescape") if isinstance(argument, bytes) else argument
                         for argument in arguments]
            self.assertIn(part, self.fails_before(*arguments))


if __name__ == "__main__":
    unittest.main()
