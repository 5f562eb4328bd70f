"use strict";

// A server of another family than the plant server: every policy, mode and identity, and the twelve types.
//
// Started by start.sh. Keeps its certificates in the folder given, writes one line to descriptor 3 when clients can
// connect, and runs until SIGTERM.

const crypto = require("node:crypto");
// Node 18, which Debian 12 carries, has it in the module alone; node-opcua wants it globally.
globalThis.crypto ??= crypto.webcrypto;

const fs = require("node:fs");
const net = require("node:net");
const path = require("node:path");
const { OPCUACertificateManager } = require("node-opcua-certificate-manager");
const { MessageSecurityMode, SecurityPolicy } = require("node-opcua-secure-channel");
const { OPCUAServer } = require("node-opcua-server");
const { StatusCodes } = require("node-opcua-status-code");
const { DataType, Variant, VariantArrayType } = require("node-opcua-variant");

const matrixDimensions = [2, 3];
const cubeDimensions = [2, 3, 4];
const arrayLength = 5;
const manyCount = 45;

/** By type: what the scalar holds, and what element `k` of arrays and matrices holds. 64 bits are [high, low]. */
const types = {
  Boolean: { scalar: true, element: (k) => k % 2 === 1 },
  SByte: { scalar: -12, element: (k) => k },
  Byte: { scalar: 200, element: (k) => k },
  Int16: { scalar: -1234, element: (k) => k },
  UInt16: { scalar: 54321, element: (k) => k },
  Int32: { scalar: -123456789, element: (k) => k },
  UInt32: { scalar: 4000000000, element: (k) => k },
  Int64: { scalar: [0xffffffff, 0xfffffff4], element: (k) => [0, k] },
  UInt64: { scalar: [0xffffffff, 0xfffffff4], element: (k) => [0, k] },
  Float: { scalar: 3.25, element: (k) => k + 0.5 },
  Double: { scalar: -2.718281828459045, element: (k) => k + 0.5 },
  String: { scalar: "Grüße", element: (k) => `Element ${k}` },
};

function elements(type, count) {
  return Array.from({ length: count }, (_, k) => types[type].element(k));
}

function addFolder(namespace, parent, name) {
  return namespace.addFolder(parent, { browseName: name, nodeId: `s=${name}` });
}

function addTypes(namespace, root) {
  const scalars = addFolder(namespace, root, "Scalar");
  const arrays = addFolder(namespace, root, "Array");
  const matrices = addFolder(namespace, root, "Matrix");
  const cubes = addFolder(namespace, root, "Cube");
  const add = (folder, type, shape) =>
    namespace.addVariable({
      componentOf: folder,
      browseName: type,
      nodeId: `s=${folder.browseName.name}.${type}`,
      dataType: DataType[type],
      ...shape,
      value: new Variant({ dataType: DataType[type], ...shape.value }),
    });
  const addMatrix = (folder, type, dimensions) =>
    add(folder, type, {
      valueRank: dimensions.length,
      arrayDimensions: dimensions,
      value: {
        arrayType: VariantArrayType.Matrix,
        dimensions,
        value: elements(
          type,
          dimensions.reduce((a, b) => a * b),
        ),
      },
    });
  for (const type of Object.keys(types)) {
    add(scalars, type, { value: { arrayType: VariantArrayType.Scalar, value: types[type].scalar } });
    add(arrays, type, {
      valueRank: 1,
      value: { arrayType: VariantArrayType.Array, value: elements(type, arrayLength) },
    });
    addMatrix(matrices, type, matrixDimensions);
    addMatrix(cubes, type, cubeDimensions);
  }
}

/** Doubles, Int32 and Strings in turn. */
function addMany(namespace, root) {
  const folder = addFolder(namespace, root, "Many");
  for (let i = 0; i < manyCount; ++i) {
    const type = ["Double", "Int32", "String"][i % 3];
    namespace.addVariable({
      componentOf: folder,
      browseName: `Variable${i}`,
      nodeId: `s=Many.Variable${i}`,
      dataType: DataType[type],
      value: new Variant({ dataType: DataType[type], value: type === "String" ? `Text ${i}` : i }),
    });
  }
}

/** A number that grows with each reading, alone and in every element. */
function addMovement(namespace, root) {
  const folder = addFolder(namespace, root, "Moving");
  let reads = 0;
  const add = (name, shape, value) =>
    namespace.addVariable({
      componentOf: folder,
      browseName: name,
      nodeId: `s=Moving.${name}`,
      dataType: DataType.UInt32,
      minimumSamplingInterval: 10,
      ...shape,
      value: { get: () => new Variant({ dataType: DataType.UInt32, ...value(++reads) }) },
    });
  const growing = (count, start) => Uint32Array.from({ length: count }, (_, k) => start + k);
  add("Counter", {}, (value) => ({ value }));
  add("Array", { valueRank: 1 }, (start) => ({
    arrayType: VariantArrayType.Array,
    value: growing(arrayLength, start),
  }));
  add("Matrix", { valueRank: 2, arrayDimensions: matrixDimensions }, (start) => ({
    arrayType: VariantArrayType.Matrix,
    dimensions: matrixDimensions,
    value: growing(matrixDimensions[0] * matrixDimensions[1], start),
  }));
}

/** How many values clients have sent, and how many of them with time stamps or a status besides. */
function addWatch(server, namespace, root) {
  const counts = { Values: 0, WithMore: 0 };
  server.on("request", (request) => {
    if (request.schema.name !== "WriteRequest") return;
    for (const { value } of request.nodesToWrite) {
      ++counts.Values;
      if (value.sourceTimestamp || value.serverTimestamp || value.statusCode.value !== 0) ++counts.WithMore;
    }
  });
  const folder = addFolder(namespace, root, "Written");
  for (const name of Object.keys(counts)) {
    namespace.addVariable({
      componentOf: folder,
      browseName: name,
      nodeId: `s=Written.${name}`,
      dataType: DataType.UInt32,
      value: { get: () => new Variant({ dataType: DataType.UInt32, value: counts[name] }) },
    });
  }
}

/** Written true, it ends the subscriptions of all sessions. */
function addControl(server, namespace, root) {
  namespace.addVariable({
    componentOf: root,
    browseName: "EndSubscriptions",
    nodeId: "s=EndSubscriptions",
    dataType: DataType.Boolean,
    value: {
      get: () => new Variant({ dataType: DataType.Boolean, value: false }),
      set: () => {
        for (const session of server.engine.getSessions())
          for (const subscription of [...session.publishEngine.subscriptions]) subscription.terminate();
        return StatusCodes.Good;
      },
    },
  });
}

function freePort() {
  return new Promise((resolve, reject) => {
    const probe = net.createServer();
    probe.once("error", reject);
    probe.listen(0, "127.0.0.1", () => {
      const { port } = probe.address();
      probe.close(() => resolve(port));
    });
  });
}

/** The manager would make its key in JavaScript, which takes seconds: Node's own cryptography is quick. */
function makeKey(folder) {
  const { privateKey } = crypto.generateKeyPairSync("rsa", {
    modulusLength: 2048,
    privateKeyEncoding: { type: "pkcs8", format: "pem" },
    publicKeyEncoding: { type: "spki", format: "pem" },
  });
  fs.mkdirSync(path.join(folder, "own", "private"), { recursive: true });
  fs.writeFileSync(path.join(folder, "own", "private", "private_key.pem"), privateKey, { mode: 0o600 });
}

function certificateManager(folder) {
  makeKey(folder);
  return new OPCUACertificateManager({
    rootFolder: folder,
    keySize: 2048,
    automaticallyAcceptUnknownCertificate: true,
  });
}

async function main(folder) {
  const port = await freePort();
  const server = new OPCUAServer({
    port,
    host: "127.0.0.1",
    hostname: "127.0.0.1",
    serverInfo: { applicationUri: "urn:kestrova:interop-server", applicationName: { text: "Interop server" } },
    serverCertificateManager: certificateManager(path.join(folder, "applications")),
    userCertificateManager: certificateManager(path.join(folder, "users")),
    securityModes: [MessageSecurityMode.None, MessageSecurityMode.Sign, MessageSecurityMode.SignAndEncrypt],
    securityPolicies: [
      SecurityPolicy.None,
      SecurityPolicy.Basic128Rsa15,
      SecurityPolicy.Basic256,
      SecurityPolicy.Basic256Sha256,
      SecurityPolicy.Aes128_Sha256_RsaOaep,
      SecurityPolicy.Aes256_Sha256_RsaPss,
    ],
    userManager: { isValidUser: (name, password) => name === "operator" && password === "plant" },
    disableDiscovery: false,
  });
  await server.initialize();
  const { addressSpace } = server.engine;
  const namespace = addressSpace.registerNamespace("urn:kestrova:interop");
  const root = addFolder(namespace, addressSpace.rootFolder.objects, "Interop");
  addTypes(namespace, root);
  namespace.addVariable({
    componentOf: root,
    browseName: "Scratch",
    nodeId: "s=Scratch",
    dataType: DataType.Int32,
    value: new Variant({ dataType: DataType.Int32, value: 0 }),
  });
  addMany(namespace, root);
  addMovement(namespace, root);
  addWatch(server, namespace, root);
  addControl(server, namespace, root);
  await server.start();
  process.once("SIGTERM", async () => {
    await server.shutdown();
    process.exit(0);
  });
  fs.writeSync(3, `interop server: ready at opc.tcp://127.0.0.1:${port}\n`);
}

main(process.argv[2]).catch((error) => {
  console.error(error);
  process.exit(1);
});
