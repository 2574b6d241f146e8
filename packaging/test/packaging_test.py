"""What another project, a reader and a package manager get from an installation."""

import gzip
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
    LIBDIR: f"libyfw_map.so libyfw_map.so.1 libyfw_map.so.{VERSION} "
            "libymap_oc_amplifier_kva220.so",
    f"{LIBDIR}/cmake/yfw-map": "yfw-map-config.cmake yfw-map-config-version.cmake yfw-map-targets.cmake "
                               f"yfw-map-targets-{os.environ['BUILD_TYPE'].lower() or 'noconfig'}.cmake",
    f"{LIBDIR}/pkgconfig": "yfw-map.pc ymap-oc-amplifier-kva220.pc",
    "libexec/ymap": "ymap-watch",
    "share/bash-completion/completions": "ymap",
    "share/man/man1": "ymap.1.gz",
    "share/ymap": "alerts.yml dashboard.json sshd-netconf.conf",
    "share/ymap/models": "openconfig-optical-amplifier@2019-12-06.yang Velm-NALTO-controller-ots-cfg.yang "
                         "Velm-NALTO-controller-ots-oper.yang Velm-NALTO-ifmgr-cfg.yang Velm-NALTO-pmengine-oper.yang "
                         "notifications.yang nc-notifications.yang",
}

HAS_GNMI = os.environ["GNMI"] == "ON"
if HAS_GNMI:
    CONTENTS["libexec/ymap"] += " ymap-gnmi"
    CONTENTS["share/ymap"] += " gnmi.conf"
    CONTENTS["lib/systemd/system"] = "ymap-gnmi.service"
    CONTENTS["lib/sysusers.d"] = "ymap-gnmi.conf"


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
        for folder, wanted in (("bin", programs), ("libexec/ymap", programs), (LIBDIR, {"NOW"})):
            for name in CONTENTS[folder].split():
                with self.subTest(name):
                    flags = re.findall(r"\(FLAGS_1\)(.*)", self.read("--dynamic", PREFIX / folder / name))
                    self.assertLessEqual(wanted, set(" ".join(flags).split()))
                    self.assertIn("GNU_RELRO", self.read("--program-headers", PREFIX / folder / name))

    def test_no_library_is_sought_in_the_current_folder(self):
        files = [file for folder in (BUILD / "bin", BUILD / LIBDIR, PREFIX / "bin", PREFIX / "libexec/ymap", PREFIX / LIBDIR)
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
        self.assertRegex(text, r"(?m)^NAME\n +ymap \S+ ")
        self.assertIn(f"{PREFIX}/share/ymap/models", text)
        self.assertNotRegex(text, "@[a-z]+@")

    def test_names_what_the_help_shows(self):
        described = {None: set()}
        command = None
        for line in self.MANUAL.read_text().splitlines():
            if line.startswith((".Sh", ".Ss")):
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
        self.assertEqual({name: sorted(words) for name, words in described.items()},
                         {None: sorted(everywhere), **{name: sorted(words) for name, words in shown.items()}})


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
                # Newer versions write keywords as the manual does.
                lines = [line.partition(" ") for line in run("/usr/sbin/sshd", "-T", "-f", main, "-C", place).splitlines()]
                settings = {(keyword.lower(), value) for keyword, _, value in lines}
                found = dict(settings)
                self.assertEqual(found["forcecommand"], command)
                self.assertEqual(found["clientaliveinterval"] != "0", port == 830)
                self.assertEqual({each for each in settings if each[0] in ("port", "subsystem")}, {
                    ("port", "22"), ("port", "830"), ("subsystem", "netconf /bin/false"), ("subsystem", "sftp internal-sftp")})


@unittest.skipUnless(HAS_GNMI, "there is no gNMI front")
class GnmiService(Case):
    UNIT = PREFIX / "lib/systemd/system/ymap-gnmi.service"

    @unittest.skipUnless(shutil.which("systemd-analyze"), "there is no systemd")
    def test_unit_is_right_and_hardened(self):
        run("systemd-analyze", "verify", self.UNIT, env={**os.environ, "MANPATH": f"{PREFIX}/share/man"})
        judged = subprocess.run(["systemd-analyze", "security", "--offline=yes", "--no-pager", self.UNIT],
                                capture_output=True, text=True, timeout=60)
        [exposure] = re.findall(r"Overall exposure level for \S+: ([\d.]+)", judged.stdout)
        self.assertLessEqual(float(exposure), 1.3, judged.stdout)

    def test_sample_configuration_is_taken(self):
        # All of it is read before the first file is missed.
        served = subprocess.run([PREFIX / "bin/ymap", "--device", self.folder, "gnmi", "--config", PREFIX / "share/ymap/gnmi.conf"],
                                capture_output=True, text=True, timeout=60)
        self.assertEqual((served.returncode, served.stderr),
                         (2, "ymap: error: file /etc/ymap/gnmi.crt cannot be opened: No such file or directory\n"))


class DebianPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        # A umask that keeps others out must not show in the package.
        subprocess.run(["cpack", "--config", BUILD / "CPackConfig.cmake", "-B", cls.folder], umask=0o077,
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)
        [cls.package] = cls.folder.glob("*.deb")
        run("dpkg-deb", "--raw-extract", cls.package, cls.folder / "root")
        cls.control = cls.folder / "root/DEBIAN"
        cls.usr = cls.folder / "root/usr"
        cls.field = dict(re.findall(r"(?m)^(\S+): (.*)$", (cls.control / "control").read_text()))

    def test_contents(self):
        found = {}
        for path in self.usr.rglob("*"):
            if not path.is_dir() or path.is_symlink():
                found.setdefault(str(path.parent.relative_to(self.usr)), set()).add(path.name)
        self.assertEqual(found, {folder: set(names.split()) for folder, names in {
            **CONTENTS, "share/doc/ymap": "changelog.gz", "share/lintian/overrides": "ymap"}.items()})
        self.assertEqual({path.name for path in self.control.iterdir()}, set("control md5sums shlibs triggers".split()))
        snippet = (self.usr / "share/ymap/sshd-netconf.conf").read_text()
        self.assertIn('ForceCommand "/usr/bin/ymap" netconf\n', snippet)

    def test_everybody_may_read_it(self):
        for path in [self.usr, *self.usr.rglob("*"), *self.control.iterdir()]:
            if not path.is_symlink():
                mode = 0o755 if path.is_dir() or self.usr / "bin" in path.parents or self.usr / "libexec" in path.parents else 0o644
                self.assertEqual(oct(path.stat().st_mode & 0o7777), oct(mode), path)

    def test_what_it_needs_and_what_needs_it(self):
        self.assertEqual(self.package.name, f"ymap_{VERSION}_{self.field['Architecture']}.deb")
        [libyang] = re.findall(r"libyang\.so\S* => (\S+)", run("ldd", PREFIX / "bin/ymap"))
        owner = run("dpkg-query", "--search", os.path.realpath(libyang)).partition(":")[0]
        needed = {word.split()[0] for word in self.field["Depends"].split(", ")}
        self.assertLess({"libyuma-base", owner, "libc6", "libncursesw6"}, needed)
        dynamic = run(os.environ["READELF"], "--dynamic", self.usr / LIBDIR / "libyfw_map.so")
        [soversion] = re.findall(r"soname: \[libyfw_map\.so\.(\S+)\]", dynamic)
        self.assertEqual((self.control / "shlibs").read_text(), f"libyfw_map {soversion} ymap (>= {VERSION})\n")

    def test_changelog(self):
        changelog = self.folder / "changelog"
        changelog.write_bytes(gzip.decompress((self.usr / "share/doc/ymap/changelog.gz").read_bytes()))
        entry = dict(re.findall(r"(?m)^(\S+): (.*)$", run("dpkg-parsechangelog", "-l", changelog)))
        self.assertEqual([entry[key] for key in ("Source", "Version", "Maintainer")],
                         ["ymap", VERSION, self.field["Maintainer"]])

    @unittest.skipUnless(shutil.which("lintian"), "there is no lintian")
    @unittest.skipIf("-fsanitize" in FLAGS, "sanitizers make other binaries")
    def test_lintian_misses_the_licence_only(self):
        # Which one it is to be has not been said.
        wanted = ["E: ymap: no-copyright-file"]
        if LIBDIR == "lib":  # Debian's own folder is taken only where the prefix is /usr
            wanted += [f"W: ymap: pkg-config-unavailable-for-cross-compilation [usr/lib/pkgconfig/{name}]"
                       for name in CONTENTS["lib/pkgconfig"].split()]
        found = subprocess.run(["lintian", "--allow-root", self.package], capture_output=True, text=True, timeout=120)
        self.assertEqual(found.stdout.splitlines(), wanted)


class DebianChangelog(unittest.TestCase):
    def test_is_made_of_a_markdown_one(self):
        text = run("awk", "-v", "package=it", "-v", "maintainer=Some One <one@example.org>",
                   "-f", "../debian_changelog.awk", input="""# Changelog

- no item
## [Unreleased]
### Added
- not yet
## [1.1.0] - 2024-02-29
### Added
- first,
  which is long
- `second`

### Fixed
- third
## 1.0.0 - 2023-12-31 [YANKED]
### Removed
- fourth
""")
        self.assertEqual(text, """it (1.1.0) unstable; urgency=medium

  [ Added ]
  * first,
    which is long
  * `second`

  [ Fixed ]
  * third

 -- Some One <one@example.org>  Thu, 29 Feb 2024 00:00:00 +0000

it (1.0.0) unstable; urgency=medium

  [ Removed ]
  * fourth

 -- Some One <one@example.org>  Sun, 31 Dec 2023 00:00:00 +0000
""")


if __name__ == "__main__":
    unittest.main()
