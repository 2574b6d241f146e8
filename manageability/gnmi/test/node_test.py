"""A client on another stack, that of node, which its package manager fetches by the lock file."""

import os
import pathlib
import shutil
import subprocess
import unittest

import serving
from serving import GnmiTest

HERE = pathlib.Path(__file__).parent
MODULES = pathlib.Path(os.environ["YMAP_NODE"])


@unittest.skipUnless(shutil.which("npm") and shutil.which("node"), "there is no npm")
class Node(GnmiTest):
    def test_client(self):
        MODULES.mkdir(exist_ok=True)
        for name in ("package.json", "package-lock.json", "client.js"):
            shutil.copy(HERE / "node" / name, MODULES)
        fetched = subprocess.run(["npm", "ci", "--ignore-scripts", "--no-audit", "--no-fund", "--fetch-retries=0"], cwd=MODULES,
                                 capture_output=True, text=True, timeout=120)
        if fetched.returncode != 0:
            self.skipTest("npm fetches nothing here: " + fetched.stderr[-300:])
        server = self.start()
        ended = subprocess.run(["node", "client.js", HERE.parent / "gnmi.proto", server.target], cwd=MODULES,
                               capture_output=True, text=True, timeout=60)
        self.assertEqual((ended.returncode, ended.stdout + ended.stderr), (0, ""))


if __name__ == "__main__":
    serving.main()
