"""What the tests of the built programs share: a home with a store and with the main application."""
import os
import plistlib
import shutil
import subprocess
import tempfile
import unittest


class HomeCase(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.home)
        self.store_path = self.home + "/com.vendrel.Tollmere9.plist"
        self.environment = {"HOME": self.home, "XDG_CONFIG_HOME": self.home, "PATH": "/usr/bin:/bin", "TZ": "UTC"}

    def need_own_view(self):
        """For tests in which the main application runs, or that look for it on the whole machine."""
        if "OWN_VIEW" not in os.environ:
            self.skipTest("no namespaces here, and the test would meet the Tollmere of this machine")

    def bundle(self, place="Applications", script=None, identifier="com.vendrel.Tollmere9"):
        """A stand-in that says who it is and runs on; or whatever the script does."""
        path = f"{self.home}/{place}/Tollmere.app"
        os.makedirs(path + "/Contents/MacOS")
        with open(path + "/Contents/Info.plist", "wb") as file:
            plistlib.dump({"CFBundleIdentifier": identifier, "CFBundleExecutable": "Tollmere"}, file)
        with open(path + "/Contents/MacOS/Tollmere", "w") as file:
            file.write(script or f"#!/bin/sh\necho $$ >>{self.home}/started\nwhile [ -e {self.home} ]; do sleep 0.1; done\n")
        os.chmod(path + "/Contents/MacOS/Tollmere", 0o755)
        return path

    def store(self, alarms, form="xml", **more):
        """As other programs write: plistlib in either form, or plistutil; the new file replaces the old."""
        with open(self.home + "/new", "wb") as file:
            plistlib.dump(dict(Alarms=alarms, **more), file,
                          fmt=plistlib.FMT_BINARY if form == "binary" else plistlib.FMT_XML)
        if form == "plistutil":
            subprocess.run(["plistutil", "-i", self.home + "/new", "-o", self.home + "/other", "-f", "bin"], check=True)
            os.rename(self.home + "/other", self.home + "/new")
        os.rename(self.home + "/new", self.store_path)
