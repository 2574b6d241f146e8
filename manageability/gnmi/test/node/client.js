// A client on another stack than the server's: it reads the .proto by itself. Arguments: the .proto, the server's address.
"use strict";

const assert = require("node:assert");
const grpc = require("@grpc/grpc-js");
const loader = require("@grpc/proto-loader");

const [proto, target] = process.argv.slice(2);
const { gnmi } = grpc.loadPackageDefinition(
  loader.loadSync(proto, { keepCase: true, longs: String, enums: String, defaults: false, oneofs: true }));
const client = new gnmi.gNMI(target, grpc.credentials.createInsecure());

const entry = ["optical-amplifier", "amplifiers"].map((name) => ({ name }))
  .concat({ name: "amplifier", key: { name: "0/0-AMP-PRE0" } });
const path = (...below) => ({ elem: entry.concat(below.map((name) => ({ name }))) });
const call = (name, request) => new Promise((resolve, reject) =>
  client[name](request, (error, answer) => (error ? reject(error) : resolve(answer))));

// What a stream says until `enough` of it, and its status if it ends before.
function listen(request, enough) {
  return new Promise((resolve, reject) => {
    const told = [];
    const stream = client.Subscribe();
    stream.on("data", (response) => {
      told.push(response);
      if (enough(told)) { stream.cancel(); resolve(told); }
    });
    stream.on("end", () => resolve(told));
    stream.on("error", (error) => (error.code === grpc.status.CANCELLED ? resolve(told) : reject(error)));
    stream.write(request);
  });
}

async function main() {
  const capabilities = await call("Capabilities", {});
  assert.deepEqual(capabilities.supported_encodings, ["JSON", "JSON_IETF", "PROTO"]);
  assert.equal(capabilities.supported_models[0].name, "openconfig-optical-amplifier");

  const gain = path("config", "target-gain");
  const set = await call("Set", { update: [{ path: gain, val: { double_val: 15.5 } }] });
  assert.deepEqual(set.response.map((one) => one.op), ["UPDATE"]);
  const values = async (encoding) => {
    const { notification } = await call("Get", { path: [gain], encoding });
    return notification[0].update[0].val;
  };
  assert.equal((await values("PROTO")).double_val, 15.5);
  assert.equal((await values("JSON_IETF")).json_ietf_val.toString(), '"15.5"');
  assert.equal((await values("JSON")).json_val.toString(), "15.5");
  await assert.rejects(call("Get", { path: [path("nope")] }), (error) => error.code === grpc.status.INVALID_ARGUMENT);
  await assert.rejects(call("Set", { update: [{ path: gain, val: { double_val: 99 } }] }),
    (error) => error.code === grpc.status.INVALID_ARGUMENT && error.details.includes("support range from 80 to 380"));

  const once = await listen({ subscribe: { mode: "ONCE", encoding: "PROTO", subscription: [{ path: gain }] } }, () => false);
  assert.deepEqual(once.map((one) => one.response), ["update", "sync_response"]);
  assert.equal(once[0].update.update[0].val.double_val, 15.5);
  assert.deepEqual(once[0].update.prefix.elem.map((one) => one.name), entry.map((one) => one.name));

  const sampled = await listen({
    subscribe: { encoding: "PROTO", subscription: [{ path: path("state", "actual-gain", "instant"), mode: "SAMPLE",
      sample_interval: "1000000000" }] },
  }, (told) => told.length === 4);
  assert.deepEqual(sampled.map((one) => one.response), ["update", "sync_response", "update", "update"]);
  const [first, second] = sampled.filter((one) => one.update).map((one) => BigInt(one.update.timestamp)).slice(1);
  assert.ok(second - first > 500000000n && second - first < 1500000000n, `${second - first} ns between samples`);
}

main().then(() => client.close(), (error) => { console.error(error); process.exit(1); });
