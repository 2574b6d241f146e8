"""What another project, a reader and a package manager get from an installation."""

import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest

PREFIX = pathlib.Path(os.environ["INSTALLED"])
BUILD = pathlib.Path(os.environ["BUILD"])
LIBDIR = os.environ["LIBDIR"]
FLAGS = os.environ["COMPILER_FLAGS"]
COMPILER = [os.environ["COMPILER"], *shlex.split(FLAGS), "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]
VERSION = os.environ["VERSION"]
HEADERS = "yfw_services.h ymap_datatree.h ymap_types.h".split()
RUNTIME_HEADERS = "datatree.hpp export.hpp mapper.hpp observer.hpp plugin.hpp trace.hpp".split()
CONTENTS = {
    "bin": "ymap",
    "include/ymap": " ".join(HEADERS),
    "include/ymap/yfw": " ".join(RUNTIME_HEADERS),
    LIBDIR: f"libyfw_map.so libyfw_map.so.{VERSION.split('.')[0]} libyfw_map.so.{VERSION} "
            "libymap_oc_amplifier_kva220.so",
    f"{LIBDIR}/cmake/yfw-map": "yfw-map-config.cmake yfw-map-config-version.cmake yfw-map-targets.cmake "
                               f"yfw-map-targets-{os.environ['BUILD_TYPE'].lower() or 'noconfig'}.cmake",
    f"{LIBDIR}/pkgconfig": "yfw-map.pc ymap-oc-amplifier-kva220.pc",
    "share/bash-completion/completions": "ymap",
    "share/man/man1": "ymap.1.gz",
    "share/ymap": "sshd-netconf.conf",
    "share/ymap/models": "openconfig-optical-amplifier@2019-12-06.yang Velm-NALTO-controller-ots-cfg.yang "
                         "Velm-NALTO-controller-ots-oper.yang Velm-NALTO-ifmgr-cfg.yang Velm-NALTO-pmengine-oper.yang",
}


def run(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, timeout=60, **options)
    assert done.returncode == 0 and done.stderr == "", f"{command}: {done.returncode} {done.stderr}"
    return done.stdout


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)


class Client(Case):
    """A program of somebody else's, built against an installation that was moved."""

    def setUp(self):
        super().setUp()
        self.moved = self.folder / "moved here"
        for part in ("include", LIBDIR, "share"):
            shutil.copytree(PREFIX / part, self.moved / part, symlinks=True)

    def pkg_config(self, *words):
        environment = {**os.environ, "PKG_CONFIG_PATH": f"{self.moved}/{LIBDIR}/pkgconfig"}
        return shlex.split(run("pkg-config", *words, env=environment))

    def cmake(self, *words):
        return subprocess.run([os.environ["CMAKE"], *words], capture_output=True, text=True, timeout=60)

    def translates(self, program, plugin, models, **environment):
        self.assertEqual(pathlib.Path(plugin).resolve().parent, self.moved / LIBDIR)
        self.assertEqual({file.name for file in pathlib.Path(models).resolve().iterdir()},
                         set(CONTENTS["share/ymap/models"].split()))
        self.assertEqual(run(program, plugin, env=environment).splitlines(),
                         ["interface-name = Ots0/0/0/2", "active = act", "ots-egress-amplifier-gain = 155"])

    def test_of_pkg_config(self):
        flags = self.pkg_config("--cflags", "--libs", "yfw-map")
        run(*COMPILER, "client/client.cpp", *flags, "-o", self.folder / "client")
        [plugin], [models] = (self.pkg_config(f"--variable={name}", "ymap-oc-amplifier-kva220")
                              for name in ("plugin", "models"))
        self.translates(self.folder / "client", plugin, models, LD_LIBRARY_PATH=f"{self.moved}/{LIBDIR}")

    def test_of_find_package(self):
        build = self.folder / "build"
        configured = self.cmake("-S", "client", "-B", build, f"-DCMAKE_PREFIX_PATH={self.moved}",
                                f"-DCMAKE_CXX_COMPILER={COMPILER[0]}", f"-DCMAKE_CXX_FLAGS={FLAGS}")
        self.assertEqual((configured.returncode, configured.stderr), (0, ""))
        built = self.cmake("--build", build)
        self.assertEqual(built.returncode, 0, built.stdout + built.stderr)
        self.translates(build / "client", *(build / "parts").read_text().splitlines())
        for version, fits in (("0.1", False), (VERSION, True), ("0.99", False), ("1.0", False)):
            with self.subTest(version):
                self.assertEqual(self.cmake(f"-DYFW_MAP_VERSION={version}", build).returncode == 0, fits)

    def test_headers_stand_alone(self):
        contract = self.pkg_config("--cflags", "ymap-oc-amplifier-kva220")
        for header in HEADERS + [f"yfw/{name}" for name in RUNTIME_HEADERS]:
            with self.subTest(header):
                run(*COMPILER, *contract, "-fsyntax-only", "-x", "c++", "-", input=f"#include <{header}>\n")


class Binaries(unittest.TestCase):
    """What readelf tells of the programs and libraries."""

    def read(self, option, file):
        return run(os.environ["READELF"], option, "--wide", file)

    def test_installed_ones_are_hardened(self):
        programs = {"NOW"} if "-no-pie" in os.environ["LINK_FLAGS"] else {"NOW", "PIE"}
        for folder, wanted in (("bin", programs), (LIBDIR, {"NOW"})):
            for name in CONTENTS[folder].split():
                with self.subTest(name):
                    flags = re.findall(r"\(FLAGS_1\)(.*)", self.read("--dynamic", PREFIX / folder / name))
                    self.assertLessEqual(wanted, set(" ".join(flags).split()))
                    self.assertIn("GNU_RELRO", self.read("--program-headers", PREFIX / folder / name))

    def test_no_library_is_sought_in_the_current_folder(self):
        files = [file for folder in (BUILD / "bin", BUILD / LIBDIR, PREFIX / "bin", PREFIX / LIBDIR)
                 for file in folder.iterdir() if file.is_file()]
        self.assertTrue({"ymap", "runtime_mapper_test", "libyfw_map.so"} <= {file.name for file in files})
        for file in files:
            for path in re.findall(r"\((?:RUNPATH|RPATH)\) .*\[(.*)\]", self.read("--dynamic", file)):
                with self.subTest(file, path=path):
                    for entry in path.split(":"):
                        self.assertRegex(entry, r"^(/|\$ORIGIN(/|$))")


class Manual(Case):
    MANUAL = PREFIX / "share/man/man1/ymap.1"

    def test_renders_without_warnings(self):
        # MANWIDTH: no word is parted at a line's end.
        text = run("man", "--warnings", "--local-file", self.MANUAL,
                   env={"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "MANWIDTH": "500"})
        self.assertRegex(text, r"(?m)^NAME\n +ymap . ")
        self.assertIn(f"{PREFIX}/share/ymap/models", text)
        self.assertNotRegex(text, "@[a-z]+@")

    def test_names_what_the_help_shows(self):
        described = {None: set()}
        command = None
        for line in self.MANUAL.read_text().splitlines():
            if line.startswith(".S"):
                command = None
            elif match := re.match(r"\.It Cm (\S+)", line):
                command = match[1]
                described[command] = set()
            elif line.startswith(".It Fl"):
                described[command] |= {"-" + word for word in re.findall(r"Fl (\S+)", line)}

        def options(*words):
            text = run(PREFIX / "bin/ymap", *words, "--help").split("\nExamples:")[0]
            found = re.findall(r"(?m)^  (?:(-\w),)?(--[\w-]+)", text)
            return text, {word for pair in found for word in pair if word}

        text, everywhere = options()
        shown = {name: options(name)[1] - everywhere
                 for name in re.findall(r"(?m)^  ([a-z]+) ", text.split("Subcommands:")[1])}
        self.assertEqual(described, {None: everywhere, **shown})


class SshServer(Case):
    def test_netconf_is_served_on_its_port_alone(self):
        if os.geteuid() == 0:
            os.makedirs("/run/sshd", exist_ok=True)  # sshd checks it, even when it only reads its configuration
        snippet = (PREFIX / "share/ymap/sshd-netconf.conf").read_text()
        for kind in ("ed25519", "ecdsa", "rsa"):
            run("ssh-keygen", "-q", "-t", kind, "-N", "", "-f", self.folder / f"ssh_host_{kind}_key")
        included = self.folder / "included.conf"
        included.write_text(snippet.replace("/etc/ssh/", f"{self.folder}/"))
        main = self.folder / "sshd_config"
        main.write_text(f"Include {included}\nX11Forwarding yes\nSubsystem sftp internal-sftp\n")
        for port, command in ((830, f'"{PREFIX}/bin/ymap" netconf'), (22, "none")):
            with self.subTest(port):
                place = f"lport={port},user=operator,host=client,addr=192.0.2.7,laddr=192.0.2.1"
                lines = run("/usr/sbin/sshd", "-T", "-f", main, "-C", place).splitlines()
                settings = {line.partition(" ")[0]: line.partition(" ")[2] for line in lines}
                self.assertEqual(settings["forcecommand"], command)
                self.assertEqual(settings["clientaliveinterval"] != "0", port == 830)
                self.assertEqual({line for line in lines if re.match("port|subsystem", line)}, {
                    "port 22", "port 830", "subsystem netconf /bin/false", "subsystem sftp internal-sftp"})


class DebianPackage(Case):
    def test_contents(self):
        subprocess.run(["cpack", "--config", BUILD / "CPackConfig.cmake", "-B", self.folder],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)
        [package] = self.folder.glob("*.deb")
        field = dict(re.findall(r"(?m)^(\S+): (.*)$", run("dpkg-deb", "--field", package)))
        self.assertEqual(package.name, f"ymap_{VERSION}_{field['Architecture']}.deb")
        needed = {word.split()[0] for word in field["Depends"].split(", ")}
        self.assertLess({"libyuma-base", "libyang2", "libc6"}, needed)
        run("dpkg-deb", "--extract", package, self.folder / "root")
        found = {}
        for path in (self.folder / "root").rglob("*"):
            if not path.is_dir() or path.is_symlink():
                found.setdefault(str(path.parent.relative_to(self.folder / "root/usr")), set()).add(path.name)
        self.assertEqual(found, {folder: set(names.split()) for folder, names in CONTENTS.items()})
        snippet = (self.folder / "root/usr/share/ymap/sshd-netconf.conf").read_text()
        self.assertIn('ForceCommand "/usr/bin/ymap" netconf\n', snippet)


if __name__ == "__main__":
    unittest.main()
