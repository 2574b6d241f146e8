"""The messages byte by byte: what clients were built with is not our .proto."""

import unittest

import gnmi_pb2 as gnmi
import serving
from serving import GnmiTest, path

# Name, type, number, by message; "*" behind a type is repeated. Written out by hand from the interface's description.
FIELDS = {
    "Notification": "timestamp int64 1, prefix Path 2, update Update* 4, delete Path* 5, atomic bool 6",
    "Update": "path Path 1, value Value 2, val TypedValue 3, duplicates uint32 4",
    "TypedValue": "string_val string 1, int_val int64 2, uint_val uint64 3, bool_val bool 4, bytes_val bytes 5, float_val float 6, "
                  "decimal_val Decimal64 7, leaflist_val ScalarArray 8, any_val Any 9, json_val bytes 10, json_ietf_val bytes 11, "
                  "ascii_val string 12, proto_bytes bytes 13, double_val double 14",
    "Path": "element string* 1, origin string 2, elem PathElem* 3, target string 4",
    "PathElem": "name string 1, key KeyEntry* 2",
    "PathElem.KeyEntry": "key string 1, value string 2",
    "Value": "value bytes 1, type Encoding 2",
    "Error": "code uint32 1, message string 2, data Any 3",
    "Decimal64": "digits int64 1, precision uint32 2",
    "ScalarArray": "element TypedValue* 1",
    "SubscribeRequest": "subscribe SubscriptionList 1, poll Poll 3, extension Extension* 5",
    "Poll": "",
    "SubscribeResponse": "update Notification 1, sync_response bool 3, error Error 4, extension Extension* 5",
    "SubscriptionList": "prefix Path 1, subscription Subscription* 2, qos QOSMarking 4, mode Mode 5, allow_aggregation bool 6, "
                        "use_models ModelData* 7, encoding Encoding 8, updates_only bool 9",
    "Subscription": "path Path 1, mode SubscriptionMode 2, sample_interval uint64 3, suppress_redundant bool 4, "
                    "heartbeat_interval uint64 5",
    "QOSMarking": "marking uint32 1",
    "SetRequest": "prefix Path 1, delete Path* 2, replace Update* 3, update Update* 4, extension Extension* 5, "
                  "union_replace Update* 6",
    "SetResponse": "prefix Path 1, response UpdateResult* 2, message Error 3, timestamp int64 4, extension Extension* 5",
    "UpdateResult": "timestamp int64 1, path Path 2, message Error 3, op Operation 4",
    "GetRequest": "prefix Path 1, path Path* 2, type DataType 3, encoding Encoding 5, use_models ModelData* 6, "
                  "extension Extension* 7",
    "GetResponse": "notification Notification* 1, error Error 2, extension Extension* 3",
    "CapabilityRequest": "extension Extension* 1",
    "CapabilityResponse": "supported_models ModelData* 1, supported_encodings Encoding* 2, gNMI_version string 3, "
                          "extension Extension* 4",
    "ModelData": "name string 1, organization string 2, version string 3",
}
ONEOFS = {"TypedValue": 14, "SubscribeRequest": 2, "SubscribeResponse": 3}
VALUES = {
    "Encoding": "JSON 0, BYTES 1, PROTO 2, ASCII 3, JSON_IETF 4",
    "SubscriptionList.Mode": "STREAM 0, ONCE 1, POLL 2",
    "SubscriptionMode": "TARGET_DEFINED 0, ON_CHANGE 1, SAMPLE 2",
    "GetRequest.DataType": "ALL 0, CONFIG 1, STATE 2, OPERATIONAL 3",
    "UpdateResult.Operation": "INVALID 0, DELETE 1, REPLACE 2, UPDATE 3, UNION_REPLACE 4",
}
METHODS = {"Capabilities": ("CapabilityRequest", "CapabilityResponse", False), "Get": ("GetRequest", "GetResponse", False),
           "Set": ("SetRequest", "SetResponse", False), "Subscribe": ("SubscribeRequest", "SubscribeResponse", True)}


class Numbers(unittest.TestCase):
    FILE = gnmi.DESCRIPTOR

    def shown(self, message):
        scalars = {number: name[5:].lower() for name, number in vars(type(message.fields[0])).items()
                   if name.startswith("TYPE_")} if message.fields else {}
        fields = []
        for field in sorted(message.fields, key=lambda one: one.number):
            kind = field.message_type or field.enum_type
            repeated = "*" if field.label == field.LABEL_REPEATED else ""
            fields.append(f"{field.name} {kind.name if kind else scalars[field.type]}{repeated} {field.number}")
        return ", ".join(fields)

    def all(self, messages, prefix=""):
        for message in messages:
            yield prefix + message.name, message
            yield from self.all(message.nested_types, f"{prefix}{message.name}.")

    def test_fields(self):
        self.assertEqual(self.FILE.package, "gnmi")
        self.assertEqual({name: self.shown(message) for name, message in self.all(self.FILE.message_types_by_name.values())},
                         FIELDS)
        for name, count in ONEOFS.items():
            [oneof] = self.FILE.message_types_by_name[name].oneofs
            self.assertEqual(len(oneof.fields), count, name)

    def test_values_and_methods(self):
        enums = dict(self.FILE.enum_types_by_name)
        for name, message in self.all(self.FILE.message_types_by_name.values()):
            enums.update({f"{name}.{one.name}": one for one in message.enum_types})
        self.assertEqual({name: ", ".join(f"{value.name} {value.number}" for value in one.values) for name, one in enums.items()},
                         VALUES)
        [(name, service)] = self.FILE.services_by_name.items()
        self.assertEqual(name, "gNMI")
        found = {one.name: (one.input_type.name, one.output_type.name) for one in service.methods}
        self.assertEqual(found, {name: row[:2] for name, row in METHODS.items()})


def field(number, content):
    """A length and what is so long, as protobuf has it."""
    return bytes([number << 3 | 2, len(content)]) + content


ELEMS = b"".join(field(3, field(1, name)) for name in (b"optical-amplifier", b"amplifiers"))
ENTRY = ELEMS + field(3, field(1, b"amplifier") + field(2, field(1, b"name") + field(2, b"0/0-AMP-PRE0")))
GAIN = field(3, field(1, b"config")) + field(3, field(1, b"target-gain"))


class Bytes(GnmiTest):
    def call(self, method, request):
        return self.wire.channel.unary_unary("/gnmi.gNMI/" + method)(request, timeout=30)

    def test_messages_as_bytes(self):
        self.wire = self.client()
        # update { path val { double_val: 15.5 } }; the answer has path, op UPDATE.
        done = self.call("Set", field(4, field(1, ENTRY + GAIN) + field(3, b"\x71" + bytes(6) + b"\x2f\x40")))
        self.assertIn(field(2, field(2, ENTRY + GAIN) + b"\x20\x03"), done)
        # encoding PROTO is 2; the answer's val has double_val 15.5.
        answer = self.call("Get", field(2, ENTRY + GAIN) + b"\x28\x02")
        self.assertIn(field(4, field(1, ENTRY + GAIN) + field(3, b"\x71" + bytes(6) + b"\x2f\x40")), answer)
        # encoding JSON_IETF is 4, json_ietf_val is 11.
        self.assertIn(field(3, field(11, b'"15.5"')), self.call("Get", field(2, ENTRY + GAIN) + b"\x28\x04"))
        capabilities = self.call("Capabilities", b"")
        self.assertIn(field(1, field(1, b"openconfig-optical-amplifier") + field(2, b"Velm") + field(3, b"2019-12-06")), capabilities)
        self.assertTrue(capabilities.endswith(field(2, b"\x00\x04\x02") + field(3, b"0.10.0")), capabilities)
        # mode ONCE is 1: a value below the entry as prefix, and sync_response as field 3.
        once = field(1, field(2, field(1, ENTRY + GAIN)) + b"\x28\x01" + b"\x40\x02")
        stream = self.wire.channel.stream_stream("/gnmi.gNMI/Subscribe")(iter([once]), timeout=30)
        update, end = stream
        self.assertIn(field(2, ENTRY), update)
        self.assertIn(field(4, field(1, GAIN) + field(3, b"\x71" + bytes(6) + b"\x2f\x40")), update)
        self.assertEqual(end, b"\x18\x01")

    def test_extensions_and_unknown_fields_are_passed_over(self):
        self.wire = self.client()
        odd = field(7, field(1, b"\x0a\x00")) + b"\x98\x06\x01"
        self.assertTrue(self.call("Get", field(2, ENTRY + GAIN) + odd))


if __name__ == "__main__":
    serving.main()
