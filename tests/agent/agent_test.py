#!/usr/bin/env python3
"""The built agent, in a home of its own, with a real store and a real bundle: agent_test.py AGENT [TEST...]"""
import fcntl
import os
import re
import select
import shutil
import signal
import socket
import subprocess
import sys
import termios
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)) + "/../support")
from home_case import HomeCase

AGENT = os.path.abspath(sys.argv.pop(1))
DAILY = {"AlarmType": 0, "DateYear": -1, "DateMonth": -1, "DateDay": -1}
LATER = {"AlarmType": 9, "Hour": 48, "Minute": 0}  # Its next ring stays when the minute turns.
START = ["Tollmere Helper Launched", "Tollmere Helper Launch Complete"]


def attempt(name):
    due = f'Alarm "{name}" is to ring, launching Tollmere '
    return [due + "if not launched within the past minute.", due + "as it has not been launched within the past minute."]


def eventually(holds):
    """Waits, generously, for what is to come about."""
    give_up = time.monotonic() + 60
    while not holds():
        if time.monotonic() > give_up:
            return False
        time.sleep(0.01)
    return True


def due(name, number=1, **more):
    """An alarm for the present minute, once that has some seconds left."""
    while time.gmtime().tm_sec > 40:
        time.sleep(0.2)
    now = time.gmtime()
    return dict(DAILY, Name=name, UniqueID=number, Hour=now.tm_hour, Minute=now.tm_min, **more)


def runs(process):
    """Whether it has not ended; one that has, and that nobody has collected yet, has ended."""
    try:
        with open(f"/proc/{process}/stat") as file:
            return file.read().rpartition(")")[2].split()[0] not in "ZX"
    except (FileNotFoundError, ProcessLookupError):
        return False


def read_all(descriptor):
    """What there is to read at this moment."""
    text = b""
    while select.select([descriptor], [], [], 0)[0]:
        try:
            part = os.read(descriptor, 1 << 20)
        except OSError:  # a terminal whose other end is closed
            part = b""
        if not part:
            break
        text += part
    return text


class AgentCase(HomeCase):
    agent = None

    def tearDown(self):
        if self.agent and self.agent.poll() is None:
            self.agent.kill()
            self.agent.wait()
        for process in self.started():
            if runs(process):
                os.kill(process, signal.SIGKILL)

    def started(self):
        try:
            with open(self.home + "/started") as file:
                return [int(line) for line in file if line.endswith("\n")]
        except FileNotFoundError:
            return []

    def start(self, command=(AGENT,), log=None, user=None):
        with open(self.home + "/log", "wb") as file:
            self.agent = subprocess.Popen(command, env=self.environment, stderr=log or file, user=user)

    def of_agent(self, field):
        with open(f"/proc/{self.agent.pid}/status") as file:
            return re.search(field + r":\s*(\w+)", file.read())[1]

    def wait_for_ticks(self, count):
        """The agent sleeps after each tick."""
        last = int(self.of_agent("voluntary_ctxt_switches")) + count
        self.assertTrue(eventually(lambda: int(self.of_agent("voluntary_ctxt_switches")) >= last))

    def log(self):
        with open(self.home + "/log", encoding="utf-8") as file:
            return file.read().splitlines()

    def wait_for(self, line):
        self.assertTrue(eventually(lambda: line in self.log()), f"{line} not in {self.log()}")

    def end(self, number=signal.SIGTERM):
        """Ends the agent, and gives its status and the lines that are no alarms' next rings."""
        self.agent.send_signal(number)
        status = self.agent.wait(60)
        return status, [line for line in self.log() if not line.startswith(("Found Alarm", "Found Updated"))]


class LaunchTest(AgentCase):
    """Alarms that fall due."""

    def setUp(self):
        super().setUp()
        self.need_own_view()

    def test_from_a_foreign_store_to_the_running_application(self):
        path = self.bundle("Else where")
        for count, form in enumerate(("xml", "binary", "plistutil"), 1):
            if form == "plistutil" and not shutil.which(form):
                self.skipTest("plistutil is missing; the other two forms pass")
            self.store([due("Due “now”"), due("Too", 2), {"Name": "Gone", "UniqueID": 3, "DateYear": 2020},
                        {"Name": "Off", "UniqueID": 4, "Enabled": False}, {"Name": "Timer", "AlarmType": 4}],
                       form, LastExeLocation=b"file://" + path.replace(" ", "%20").encode(), Window={"x": 1.5})
            self.start()
            self.wait_for(attempt("Too")[0])
            self.assertTrue(eventually(lambda: len(self.started()) == count))
            with open(f"/proc/{self.agent.pid}/task/{self.agent.pid}/children") as file:
                self.assertEqual(file.read(), "")  # neither a child nor a zombie
            status, log = self.end()
            self.assertEqual((status, log), (0, START + attempt("Due “now”") + [
                "Found Tollmere: " + path, "Successfully launched Tollmere.", attempt("Too")[0]]))
            application = self.started()[-1]
            os.kill(application, signal.SIGKILL)  # It has lived on.
            self.assertTrue(eventually(lambda: not runs(application)))

    def test_a_running_application_is_found(self):
        self.bundle()
        for name, last, number in (("a", "Successfully launched Tollmere.", signal.SIGINT),
                                   ("b", "Tollmere already running.", signal.SIGHUP)):
            self.store([due(name)])
            self.start()
            self.wait_for(last)
            self.assertTrue(eventually(lambda: len(self.started()) == 1))
            self.assertEqual(self.end(number)[0], 0)
        self.assertEqual(self.log()[-3:], attempt("b") + ["Tollmere already running."])

    def test_a_program_at_its_last_or_usual_place_is_found(self):
        last = shutil.copy(self.bundle("any") + "/Contents/MacOS/Tollmere", self.home)
        usual = self.bundle(identifier="") + "/Contents/MacOS/Tollmere"  # The place alone tells.
        for count, (program, more) in enumerate(((last, {"LastExeLocation": last.encode()}), (usual, {})), 1):
            subprocess.run(["sh", "-c", '"$0" >&- 2>&- &', program], check=True)
            self.assertTrue(eventually(lambda: len(self.started()) == count))
            self.store([due("a")], **more)
            self.start()
            self.wait_for("Tollmere already running.")
            self.assertEqual(self.end(), (0, START + attempt("a") + ["Tollmere already running."]))
            os.kill(self.started()[-1], signal.SIGKILL)

    def test_the_systems_applications_folder_is_the_third_source(self):
        # Without its identifier the launch service does not know it: the place alone tells. The place is in a root
        # of the test's own, which is this one and that folder.
        self.bundle("system", identifier="")
        script = ('set -e; r=$1/root; mkdir "$r"; mount -t tmpfs tmpfs "$r"; for f in /*; do if [ -L "$f" ]; then '
                  'cp -P "$f" "$r"; elif [ -d "$f" ] && [ "$f" != /Applications ]; then mkdir "$r$f"; '
                  'mount --rbind "$f" "$r$f"; fi; done; cp -r "$1/system" "$r/Applications"; exec chroot "$r" "$2"')
        self.store([due("a")])
        self.environment["PATH"] = "/usr/sbin:/usr/bin:/sbin:/bin"
        self.start(["unshare", "-rm", "sh", "-c", script, "sh", self.home, AGENT])
        self.wait_for("Successfully launched Tollmere.")
        self.assertEqual(self.end(), (0, START + attempt("a") + [
            "Found Tollmere: /Applications/Tollmere.app", "Successfully launched Tollmere."]))
        self.assertTrue(eventually(lambda: len(self.started()) == 1))

    def test_not_found_and_failed(self):
        del self.environment["HOME"]
        for lines in (["Failed to locate the Tollmere executable.", "Tollmere could not be found!"],
                      [f"Found Tollmere: {self.home}/Applications/Tollmere.app",
                       "Failed to Launch Tollmere; error code: 8."]):
            self.store([due("a")])
            self.start()
            self.wait_for(lines[-1])
            log = self.end()[1]
            self.environment["HOME"] = self.home
            self.assertEqual([log[i] for i in range(len(log)) if log[i] != log[i - 1]], START + attempt("a") + lines)
            if "could not" in lines[-1]:
                self.bundle(script="no program")

    def test_a_stopped_agent_goes_on(self):
        # With a store where it lies when the environment names no usable folder.
        self.environment["XDG_CONFIG_HOME"] = "relative"
        os.mkdir(self.home + "/.config")
        self.store_path = self.home + "/.config/com.vendrel.Tollmere9.plist"
        self.bundle()
        self.store([])
        self.start()
        self.wait_for(START[1])
        time.sleep(1.5)  # a tick, so that there is a gap to walk
        self.agent.send_signal(signal.SIGSTOP)
        time.sleep(3)
        self.store([due("a")])
        self.agent.send_signal(signal.SIGCONT)
        self.wait_for("Successfully launched Tollmere.")


class LogTest(AgentCase):
    """A log that does not take every line."""

    def test_a_log_that_was_full_goes_on_with_whole_lines(self):
        os.chmod(self.home, 0o755)
        agent = shutil.copy(AGENT, self.home + "/agent")
        nobody = 65534 if os.getuid() == 0 else None  # who may not open the log anew
        for (read, write), user in ((os.pipe(), None), ([end.detach() for end in socket.socketpair()], None),
                                    (os.openpty(), None), (os.pipe(), nobody)):
            self.store([dict(LATER, Name=name, UniqueID=len(name)) for name in ("x" * 300000, "lost")])
            self.start([agent], log=write, user=user)
            os.close(write)
            unread = lambda: int.from_bytes(fcntl.ioctl(read, termios.FIONREAD, bytes(4)), sys.byteorder)
            self.assertTrue(eventually(lambda: unread() > 1000))  # the long line has begun
            self.wait_for_ticks(2)
            text = read_all(read)  # less than the line
            self.store([dict(LATER, Name="after", UniqueID=2)])
            rest = []
            self.assertTrue(eventually(lambda: rest.append(read_all(read)) or rest[-1].endswith(b"\n")))
            lines = b"".join([text, *rest]).decode().splitlines()
            self.assertEqual(self.end(), (0, []))
            self.assertEqual(lines[:2] + [line[:16] for line in lines[2:]], START + ['Found Alarm "xxx', 'Found Alarm "aft'])
            self.assertLess(len(lines[2]), 300000)
            os.close(read)
        if nobody:  # A terminal that may not be opened anew might block, and is not written to.
            read, write = os.openpty()
            self.start([agent], log=write, user=nobody)
            self.wait_for_ticks(3)
            self.assertEqual((self.end(), read_all(read)), ((0, []), b""))

    def test_a_log_that_nobody_reads_stops_nothing(self):
        self.need_own_view()
        self.bundle()
        many = [dict(LATER, Name="x" * 60, UniqueID=i + 2) for i in range(1500)]
        for log in ("unread", "closed", "/dev/full"):
            self.store(many + [due("a")])
            read, write = os.pipe() if log[0] != "/" else (0, os.open(log, os.O_WRONLY))
            self.start(log=write)
            os.close(write)
            if log == "closed":
                os.close(read)
            self.assertTrue(eventually(lambda: len(self.started()) == 1))
            self.agent.terminate()
            self.assertEqual(self.agent.wait(60), 0)
            os.kill(self.started()[0], signal.SIGKILL)
            os.remove(self.home + "/started")


class AgentTest(AgentCase):
    """All else."""

    def test_bad_files_change_nothing_and_a_malformed_alarm_is_named(self):
        alarm = dict(LATER, Name="a", UniqueID=1)
        self.store([alarm])
        self.start()
        self.assertTrue(eventually(lambda: len(self.log()) == 3))
        with open(self.store_path, "r+") as file:
            file.truncate(100)
        time.sleep(2.5)
        self.store([alarm, dict(alarm, Name="b", UniqueID=2)])
        self.assertTrue(eventually(lambda: len(self.log()) == 4))
        self.assertTrue(self.log()[3].startswith('Found Alarm "b"'))
        self.store([{"Name": "c", "WeeklyDays": []}])
        self.assertEqual(self.agent.wait(60), 1)
        self.assertEqual(self.log()[4:], ["Ended by an uncaught error: IllegalCastException"])

    def test_another_agent_waits_for_the_end_of_the_first(self):
        self.start()
        self.wait_for(START[1])
        link = self.home + "/link"
        os.symlink(self.home, link)
        waiting = [f"Another Tollmere Helper is at work on {link}/com.vendrel.Tollmere9.plist; waiting for its end."]
        first, self.environment["XDG_CONFIG_HOME"] = self.agent, link
        for lines in (waiting, waiting + START):
            self.start()
            self.wait_for(waiting[0])
            if lines != waiting:
                first.kill()
                first.wait()
                self.wait_for(START[1])
            self.assertEqual(self.end(), (0, lines))

    def test_dates_are_in_the_users_language(self):
        make = ["localedef", "-i", "de_DE", "-f", "UTF-8", self.home + "/de_DE.UTF-8"]
        if not shutil.which(make[0]) or subprocess.run(make, stderr=subprocess.DEVNULL).returncode > 1:
            self.skipTest("localedef is missing, or its source of de_DE")
        self.environment.update(LOCPATH=self.home, LC_ALL="de_DE.UTF-8")
        self.store([{"Name": "Tag", "UniqueID": 1, "DateYear": 2091, "DateMonth": 6, "DateDay": 3, "Hour": 8, "Minute": 0}])
        self.start()
        self.wait_for('Found Alarm "Tag"; Ring At: Sonntag, 3 Juni 2091 08:00:00')

    def test_the_command_line(self):
        for arguments, status, out, error in (
                (["--help"], 0, "Usage: ", ""), (["--version"], 0, "tollmere-helper ", ""),
                (["--Help"], 2, "", "tollmere-helper: unexpected argument: --Help (see --help)\n"),
                (["--help", "a\nb"], 2, "", "tollmere-helper: unexpected argument: a\\nb (see --help)\n")):
            run = subprocess.run([AGENT, *arguments], capture_output=True, encoding="utf-8", env=self.environment)
            self.assertEqual((run.returncode, run.stdout[:len(out)], run.stderr), (status, out, error))
            self.assertEqual(run.stdout == "", out == "")

    def test_closed_streams_and_ignored_or_blocked_signals(self):
        self.start(["sh", "-c", 'exec env --block-signal --ignore-signal=HUP,CHLD "$0" <&- >&- 2>&-', AGENT])
        self.assertTrue(eventually(lambda: int(self.of_agent("SigIgn"), 16) >> signal.SIGXFSZ - 1 & 1))
        for number, ignored in ((signal.SIGHUP, 1), (signal.SIGINT, 0), (signal.SIGPIPE, 1), (signal.SIGCHLD, 0)):
            self.assertEqual(int(self.of_agent("SigIgn"), 16) >> number - 1 & 1, ignored)
        self.assertEqual({os.readlink(f"/proc/{self.agent.pid}/fd/{stream}") for stream in range(3)}, {"/dev/null"})
        self.assertEqual(self.end(), (0, []))

    def test_the_end_is_in_time_wherever_the_agent_is(self):
        os.mkdir(self.home + "/bin")
        with open(self.home + "/bin/zenity", "w") as file:
            file.write(f"#!/bin/sh\necho $$ >>{self.home}/started\nexec sleep 600\n")
        os.chmod(self.home + "/bin/zenity", 0o755)
        self.environment.update(PATH=self.home + "/bin:/usr/bin:/bin", DISPLAY=":none")
        endless = {"AlarmType": 1, "WeeklyDays": {"x1": {"WeeklyDayEnabled": True}}, "WeeklyDaysMonth": 13}
        box = {"Exclusions": []}
        for alarms, more, boxes, number in (
                ([], {}, 0, signal.SIGTERM), ([endless], {}, 0, signal.SIGTERM),
                ([{"UniqueID": 1}], box, 1, signal.SIGTERM), ([{"UniqueID": 1}], box, 2, signal.SIGKILL)):
            self.store(alarms, **more)
            self.start()
            self.wait_for(START[1])
            time.sleep(2.5)
            if alarms != [endless]:  # It sleeps while it has nothing to do.
                with open(f"/proc/{self.agent.pid}/stat") as file:
                    self.assertLess(sum(map(int, file.read().split()[13:15])), 0.5 * os.sysconf("SC_CLK_TCK"))
                self.assertLess(int(self.of_agent("voluntary_ctxt_switches")), 200)
            self.assertTrue(eventually(lambda: len(self.started()) == boxes))
            self.assertEqual(self.end(number)[0], 0 if number == signal.SIGTERM else -number)
            self.assertTrue(eventually(lambda: not any(map(runs, self.started()))))


if __name__ == "__main__":
    for number in (signal.SIGHUP, signal.SIGINT):  # Under nohup, or in a shell's background job, they are ignored.
        signal.signal(number, signal.default_int_handler)
    unittest.main(verbosity=2)
