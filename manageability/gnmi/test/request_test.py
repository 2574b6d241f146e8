"""Capabilities, Get and Set."""

import getpass
import json
import subprocess

import grpc

import gnmi_pb2 as gnmi
import serving
from serving import GnmiTest, entry, leaves, path, text_of, value_of
from tool import BST0, BST2, NETCONF, PRE0, YMAP, rpc

Code = grpc.StatusCode
MODEL = "openconfig-optical-amplifier"
TOP = f"/{MODEL}:optical-amplifier"
AT_PRE0 = f"{TOP}/amplifiers/amplifier[name='{PRE0}']"
SETTINGS = {"name": PRE0, "target-gain": 17.2, "target-gain-tilt": -1.2, "gain-range": "MID_GAIN_RANGE", "enabled": True}


def update(where, **value):
    return gnmi.Update(path=path(where), val=gnmi.TypedValue(**value))


def as_json(what):
    return json.dumps(what).encode()


class Capabilities(GnmiTest):
    def test_of_the_model(self):
        answer = self.client().capabilities()
        self.assertEqual([(one.name, one.organization, one.version) for one in answer.supported_models],
                         [(MODEL, "Velm", "2019-12-06")])
        self.assertEqual(list(answer.supported_encodings), [gnmi.JSON, gnmi.JSON_IETF, gnmi.PROTO])
        self.assertEqual(answer.gNMI_version, "0.10.0")


class Get(GnmiTest):
    def test_encodings(self):
        client = self.client()

        def value(**fields):
            [notification] = client.get(entry() + "/config", **fields).notification
            [one] = notification.update
            self.assertEqual(text_of(one.path), entry() + "/config")
            return json.loads(value_of(one.val))
        self.assertEqual(value(), SETTINGS)
        ietf = {f"{MODEL}:{name}": str(value) if isinstance(value, float) else value for name, value in SETTINGS.items()}
        self.assertEqual(value(encoding=gnmi.JSON_IETF), {**ietf, f"{MODEL}:gain-range": f"{MODEL}:MID_GAIN_RANGE"})
        found = leaves(client.get(entry() + "/config", encoding=gnmi.PROTO).notification)
        self.assertEqual({name.split("/")[-1]: value for name, value in found.items()},
                         {**SETTINGS, "gain-range": f"{MODEL}:MID_GAIN_RANGE"})

    def test_whole_tree_and_its_parts(self):
        client = self.client()
        everything = json.loads(value_of(client.get().notification[0].update[0].val))
        entries = everything["amplifiers"]["amplifier"]
        self.assertEqual([one["name"] for one in entries], [PRE0, BST0, BST2])
        self.assertEqual(set(entries[0]), {"name", "config", "state"})
        names = {kind: set(leaves(client.get(entry(), type=kind, encoding=gnmi.PROTO).notification))
                 for kind in (gnmi.GetRequest.ALL, gnmi.GetRequest.CONFIG, gnmi.GetRequest.STATE, gnmi.GetRequest.OPERATIONAL)}
        every, config, state, operational = names.values()
        self.assertEqual(every, config | state)
        self.assertFalse(config & state)
        self.assertEqual(config, {entry() + "/name", *(f"{entry()}/config/{name}" for name in SETTINGS)})
        self.assertIn(entry() + "/state/target-gain", state - operational)
        self.assertIn(entry() + "/state/actual-gain/instant", operational)
        for kind, part in ((gnmi.GetRequest.CONFIG, "config"), (gnmi.GetRequest.OPERATIONAL, "state")):
            found = json.loads(value_of(client.get(entry(), type=kind).notification[0].update[0].val))
            self.assertEqual(set(found), {"name", part})

    def test_paths_as_people_write_them(self):
        client = self.client()
        gains = {entry(name) + "/config/target-gain" for name in (PRE0, BST0, BST2)}
        for text, found in (
                (entry() + "/config/target-gain", {entry() + "/config/target-gain"}),
                (entry(PRE0.replace("/", "\\/")) + "/config/target-gain", {entry() + "/config/target-gain"}),
                (TOP + "/oc-opt-amp:amplifiers" + entry()[29:] + "/config/target-gain", {entry() + "/config/target-gain"}),
                ("/optical-amplifier/amplifiers/amplifier/config/target-gain", gains),
                (entry("*") + "/config/target-gain", gains),
                ("/*/*/amplifier/config/target-gain", gains),
                ("/.../config/target-gain", gains),
                (entry() + "/.../enabled", {entry() + "/config/enabled", entry() + "/state/enabled"})):
            for origin in ("", "openconfig", MODEL):
                with self.subTest(text, origin=origin):
                    answer = client.get(path(text, origin=origin), prefix=gnmi.Path(target="ots-1"), encoding=gnmi.PROTO)
                    [notification] = answer.notification
                    self.assertEqual(set(leaves([notification])), found)
                    self.assertEqual((notification.prefix.target, notification.prefix.origin), ("ots-1", origin))
        answer = client.get("/config", "/state", prefix=path(entry()), encoding=gnmi.PROTO)
        self.assertEqual([text_of(one.prefix) for one in answer.notification], [entry()] * 2)
        self.assertEqual({text_of(one.path) for one in answer.notification[0].update}, {f"/config/{name}" for name in SETTINGS})
        aged = path(entry() + "/config")
        aged.element.append("nonsense")
        self.assertEqual(len(client.get(aged).notification), 1)

    def test_refusals(self):
        client = self.client()
        for code, details, where, fields in (
                (Code.INVALID_ARGUMENT, TOP + "/nope: the model has no element nope there", "/optical-amplifier/nope", {}),
                (Code.INVALID_ARGUMENT, 'origin "cli" is not known; there is "openconfig"', path("", origin="cli"), {}),
                (Code.NOT_FOUND, f"{TOP}/amplifiers/amplifier[name='x']/config: there is no data there", entry("x") + "/config", {}),
                (Code.NOT_FOUND, f"{TOP}/supervisory-channels: there is no data there", "/optical-amplifier/supervisory-channels", {}),
                (Code.UNIMPLEMENTED, "encoding ASCII is not supported; there are JSON, JSON_IETF and PROTO", "", {"encoding": gnmi.ASCII}),
                (Code.UNIMPLEMENTED, f"model other is not served; there is {MODEL}", "",
                 {"use_models": [gnmi.ModelData(name="other")]})):
            with self.subTest(details):
                self.assertEqual(self.refused(code, client.get, where, **fields), details)
        self.refused(Code.RESOURCE_EXHAUSTED, client.get, *[""] * 65)
        self.refused(Code.RESOURCE_EXHAUSTED, client.get, "/" + "x" * (1 << 20))


class Set(GnmiTest):
    def config(self, name=PRE0):
        return json.loads(self.ok("get", name, "-f", "json"))[f"{MODEL}:optical-amplifier"]["amplifiers"]["amplifier"][0]["config"]

    def test_operations_are_one_edit(self):
        client = self.client()
        answer = client.set(prefix=path(entry(), target="t"), delete=[path("/config/target-gain-tilt")],
                            replace=[update("/config/enabled", bool_val=False)],
                            update=[update("/config", json_ietf_val=as_json({f"{MODEL}:target-gain": "12.5"}))])
        self.assertEqual([(text_of(one.path), one.op) for one in answer.response],
                         [("/config/target-gain-tilt", gnmi.UpdateResult.DELETE), ("/config/enabled", gnmi.UpdateResult.REPLACE),
                          ("/config", gnmi.UpdateResult.UPDATE)])
        self.assertEqual((text_of(answer.prefix), answer.prefix.target), (entry(), "t"))
        found = self.config()
        self.assertEqual((found["target-gain"], found["enabled"], "target-gain-tilt" in found), ("12.5", False, False))
        [line] = [json.loads(line) for line in self.ok("log", "-f", "json").splitlines()]
        self.assertEqual((line["front"], line["operation"], line["user"], len(line["changes"])),
                         ("gnmi", "edit-config", getpass.getuser(), 3))
        # Deletes come first, whatever is written after them.
        client.set(delete=[path(entry() + "/config")],
                   update=[update(entry(), json_val=as_json({"config": {"target-gain": 9, "enabled": True}}))])
        found = self.config()
        self.assertEqual((found["target-gain"], found["enabled"], "gain-range" in found), ("9.0", True, False))

    def test_values(self):
        client = self.client()
        for leaf, value, stored in (
                ("target-gain", {"float_val": 15.7}, "15.7"), ("target-gain", {"double_val": 15.69999981}, "15.7"),
                ("target-gain", {"int_val": 15}, "15.0"), ("target-gain", {"uint_val": 16}, "16.0"),
                ("target-gain", {"decimal_val": gnmi.Decimal64(digits=151, precision=1)}, "15.1"),
                ("target-gain", {"string_val": "15.2"}, "15.2"), ("target-gain", {"ascii_val": "15.3"}, "15.3"),
                ("target-gain", {"json_val": b"15.4"}, "15.4"), ("target-gain", {"json_ietf_val": b'"15.5"'}, "15.5"),
                ("enabled", {"bool_val": False}, False),
                ("gain-range", {"string_val": "HIGH_GAIN_RANGE"}, "HIGH_GAIN_RANGE")):
            with self.subTest(value):
                client.set(update=[update(f"{entry(BST2)}/config/{leaf}", **value)])
                found = self.config(BST2)[leaf]
                # Whether the tool has the module in front is libyang's to say.
                self.assertEqual(found.removeprefix(MODEL + ":") if isinstance(found, str) else found, stored)

    def test_refusals_store_nothing(self):
        client = self.client()
        before = self.config()
        good = update(entry() + "/config/enabled", bool_val=False)
        gain = f"{AT_PRE0}/config/target-gain"
        for code, details, fields in (
                (Code.INVALID_ARGUMENT, f"{gain}: Invalid argument:NALTO support range from 80 to 380",
                 {"update": [good, update(entry() + "/config/target-gain", double_val=38.01)]}),
                (Code.INVALID_ARGUMENT, f"{gain}: leaf target-gain does not take a boolean",
                 {"replace": [good, update(entry() + "/config/target-gain", bool_val=True)]}),
                (Code.INVALID_ARGUMENT, f"{AT_PRE0}/config: the node holds others, so its value is one object in JSON",
                 {"update": [good, update(entry() + "/config", int_val=1)]}),
                (Code.INVALID_ARGUMENT, f"{TOP}/amplifiers/amplifier: list amplifier needs its key name",
                 {"delete": [path("/optical-amplifier/amplifiers/amplifier")], "update": [good]}),
                (Code.UNIMPLEMENTED, "union_replace is not supported; there are delete, replace and update",
                 {"union_replace": [good]})):
            with self.subTest(details):
                self.assertEqual(self.refused(code, client.set, **fields), details)
                self.assertEqual(self.config(), before)
        details = self.refused(Code.INVALID_ARGUMENT, client.set, update=[update(entry("0/0-AMP-NONE") + "/config/enabled", bool_val=True)])
        self.assertIn("0/0-AMP-NONE", details)

    def test_a_lock_names_its_holder(self):
        client = self.client()
        holder = self.session_with_lock()
        details = self.refused(Code.FAILED_PRECONDITION, client.set, update=[update(entry() + "/config/enabled", bool_val=False)])
        self.assertRegex(details, f"^the running datastore is locked by session \\d+ of user {getpass.getuser()}$")
        holder.stdin.close()
        holder.wait()
        client.set(update=[update(entry() + "/config/enabled", bool_val=False)])

    def session_with_lock(self):
        process = subprocess.Popen([YMAP, "--device", self.folder, "netconf"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(process.stdout.close)
        hello = f'<hello xmlns="{NETCONF}"><capabilities><capability>urn:ietf:params:netconf:base:1.0</capability></capabilities></hello>'
        for message in (hello, rpc("<lock><target><running/></target></lock>")):
            process.stdin.write(message.encode() + b"]]>]]>")
        process.stdin.flush()
        answer = b""
        while b"<ok/>" not in answer:
            answer += process.stdout.read1(65536)
        return process

    def test_rules_bind_others(self):
        self.ok("get", "--config")
        client = self.client(user="nobody")
        self.assertEqual(len(client.get(entry()).notification), 1)
        details = self.refused(Code.PERMISSION_DENIED, client.set, update=[update(entry() + "/config/enabled", bool_val=False)])
        self.assertIn("user nobody may not", details)
        [line] = [json.loads(line) for line in self.ok("log", "-f", "json").splitlines()]
        self.assertEqual((line["user"], line["result"], line["front"]), ("nobody", "access-denied", "gnmi"))


if __name__ == "__main__":
    serving.main()
