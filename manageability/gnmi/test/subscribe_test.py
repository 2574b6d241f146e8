"""Subscriptions: what is told, when, and with which time."""

import statistics
import time

import grpc

import gnmi_pb2 as gnmi
import serving
from serving import SECOND, SPARSE, GnmiTest, entry, leaves, path, subscription, text_of, until_synced, value_of
from tool import AMPLIFIERS, CHAIN, PRE0

Code = grpc.StatusCode
List = gnmi.SubscriptionList
GAIN = entry() + "/config/target-gain"


def changed(stream):
    """The leaves of the next notification, and what it deletes."""
    update = next(stream).update
    prefix = text_of(update.prefix)
    return leaves([update]), [prefix + text_of(one) for one in update.delete]


class Subscribe(GnmiTest):
    def test_once_is_leaf_by_leaf_with_each_value_s_time(self):
        client = self.client()
        before = time.time_ns()
        told = until_synced(client.subscribe(subscription("/optical-amplifier/amplifiers/amplifier/state"), mode=List.ONCE,
                                             encoding=gnmi.PROTO, prefix=gnmi.Path(target="ots-1", origin="openconfig")))
        self.assertEqual({text_of(one.prefix) for one in told}, {entry(name) for name in AMPLIFIERS})
        self.assertEqual({(one.prefix.target, one.prefix.origin) for one in told}, {("ots-1", "openconfig")})
        for one in told:
            names = {text_of(update.path) for update in one.update}
            is_statistic = "/state/actual-gain/avg" in names
            self.assertNotEqual(is_statistic, "/state/actual-gain/instant" in names)
            self.assertTrue(all(update.val.WhichOneof("value")[:4] != "json" for update in one.update))
            self.assertEqual(one.timestamp % (30 * SECOND) == 0, is_statistic)
            self.assertLess(abs(one.timestamp - before), 61 * SECOND if is_statistic else 10 * SECOND)
        self.assertEqual(list(client.subscribe(subscription(entry("x")), mode=List.ONCE))[-1].sync_response, True)
        self.assertEqual([one.sync_response for one in client.subscribe(subscription(GAIN), mode=List.ONCE, updates_only=True)], [True])

    def test_poll(self):
        stream = self.client().subscribe(subscription(GAIN), mode=List.POLL)
        self.assertEqual(leaves(until_synced(stream)), {GAIN: "17.2"})
        self.ok("set", PRE0, "target-gain=12")
        if CHAIN:
            time.sleep(0.2)  # a device elsewhere does not tell, and a reading serves for a while
        stream.requests.put(gnmi.SubscribeRequest(poll=gnmi.Poll()))
        self.assertEqual(leaves(until_synced(stream)), {GAIN: "12.0"})
        stream.requests.put(None)
        self.assertEqual(list(stream), [])
        self.assertEqual(stream.code(), Code.OK)

    def test_samples(self):
        client = self.client()
        started = time.monotonic()
        every = client.subscribe(subscription(GAIN, sample_interval=SECOND))
        shortest = client.subscribe(subscription(GAIN))  # without an interval
        changes = client.subscribe(subscription(GAIN, sample_interval=SECOND, suppress_redundant=True,
                                                heartbeat_interval=3 * SECOND), updates_only=True)
        for stream in (every, shortest):
            stream.requests.put(None)  # who says no more still listens
            self.assertEqual(leaves(until_synced(stream)), {GAIN: "17.2"})
        self.assertEqual(until_synced(changes), [])
        times = []
        for _ in range(3):
            self.assertEqual(changed(every), ({GAIN: "17.2"}, []))
            times.append(time.monotonic())
        self.assertEqual(changed(shortest), ({GAIN: "17.2"}, []))
        self.assertLess(abs(times[2] - times[0] - 2), 0.5)
        self.assertEqual(changed(changes), ({GAIN: "17.2"}, []))  # the heartbeat
        self.assertLess(time.monotonic() - started, 5)

    def test_on_change_tells_of_edits_of_all(self):
        client = self.client()
        stream = client.subscribe(subscription(entry() + "/config", gnmi.ON_CHANGE))
        defined = client.subscribe(subscription(entry() + "/config", gnmi.TARGET_DEFINED), updates_only=True)
        self.assertEqual(len(leaves(until_synced(stream))), 5)
        until_synced(defined)
        times = []
        for gain in range(20):
            started = time.monotonic()
            client.set(update=[gnmi.Update(path=path(GAIN), val=gnmi.TypedValue(int_val=10 + gain))])
            self.assertEqual(changed(stream), ({GAIN: f"{10 + gain}.0"}, []))
            times.append(time.monotonic() - started)
            self.assertEqual(changed(defined), ({GAIN: f"{10 + gain}.0"}, []))
        self.assertLess(statistics.median(times), 0.5 if SPARSE or CHAIN else 0.05)
        self.ok("set", PRE0, "target-gain=31")
        self.assertEqual(changed(stream), ({GAIN: "31.0"}, []))
        self.ok("unset", PRE0, "target-gain-tilt")
        self.assertEqual(changed(stream), ({}, [entry() + "/config/target-gain-tilt"]))

    def test_on_change_repeats_at_the_heartbeat_and_follows_measurements(self):
        client = self.client()
        beating = client.subscribe(subscription(GAIN, gnmi.ON_CHANGE, heartbeat_interval=SECOND), updates_only=True)
        live = client.subscribe(subscription(entry() + "/state/actual-gain/instant", gnmi.ON_CHANGE))
        until_synced(beating)
        [[_, first]] = leaves(until_synced(live)).items()
        self.assertEqual(changed(beating), ({GAIN: "17.2"}, []))
        self.ok("set", PRE0, "target-gain=25")
        found, _ = changed(live)
        self.assertNotEqual(*found.values(), first)

    def test_wildcards_of_a_stream(self):
        told = leaves(until_synced(self.client().subscribe(
            subscription("/.../instant"), subscription(entry("*") + "/config/enabled", gnmi.ON_CHANGE), encoding=gnmi.PROTO)))
        self.assertEqual(set(told), {f"{entry(name)}{leaf}" for name in AMPLIFIERS for leaf in (
            "/config/enabled", "/state/actual-gain/instant", "/state/actual-gain-tilt/instant")})
        self.assertEqual({type(value) for value in told.values()}, {bool, float})

    def test_refusals(self):
        client = self.client("--max-subscriptions", "3")
        for code, details, one, fields in (
                (Code.INVALID_ARGUMENT, "the list holds no subscription", [], {}),
                (Code.INVALID_ARGUMENT, "/openconfig-optical-amplifier:nope: the model has no element nope there",
                 [subscription("/nope")], {}),
                (Code.INVALID_ARGUMENT, "is shorter than the shortest, 1000000000 ns", [subscription(GAIN, sample_interval=1)], {}),
                (Code.INVALID_ARGUMENT, "heartbeat_interval 1 ns", [subscription(GAIN, gnmi.ON_CHANGE, heartbeat_interval=1)], {}),
                (Code.UNIMPLEMENTED, "encoding BYTES is not supported", [subscription(GAIN)], {"encoding": gnmi.BYTES}),
                (Code.RESOURCE_EXHAUSTED, "at most 64 subscriptions", [subscription(GAIN)] * 65, {})):
            with self.subTest(details):
                self.assertIn(details, self.refused(code, client.subscribe, *one, **fields))
        first = gnmi.SubscribeRequest(subscribe=List(subscription=[subscription(GAIN)])).SerializeToString()
        poll = gnmi.SubscribeRequest(poll=gnmi.Poll()).SerializeToString()
        for details, messages in (("a stream begins with a subscription", [poll]), ("a stream begins with a subscription", []),
                                  ("is for mode POLL", [first, poll]), ("has its subscription already", [first, first]),
                                  ("holds neither a subscription nor a poll", [b""]), ("is no SubscribeRequest", [b"\x0a\xff"])):
            with self.subTest(details):
                self.assertIn(details, self.refused(Code.INVALID_ARGUMENT, client.raw(), iter(messages)))
        streams = [client.subscribe(subscription(GAIN)) for _ in range(3)]
        for stream in streams:
            until_synced(stream)
        self.assertIn("there are 3 subscriptions", self.refused(Code.RESOURCE_EXHAUSTED, client.subscribe, subscription(GAIN)))
        streams[0].cancel()
        time.sleep(0.5)
        until_synced(client.subscribe(subscription(GAIN)))


if __name__ == "__main__":
    serving.main()
