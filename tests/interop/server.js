"use strict";

// A server of another family than the plant server: every policy, mode and identity, and the twelve types.
//
// Started by start.sh. Keeps its certificates in the folder given, writes one line to descriptor 3 when clients can
// connect, and runs until SIGTERM.

const crypto = require("node:crypto");
const fs = require("node:fs");
const net = require("node:net");
const path = require("node:path");
const { OPCUACertificateManager } = require("node-opcua-certificate-manager");
const { MessageSecurityMode, SecurityPolicy } = require("node-opcua-secure-channel");
const { OPCUAServer } = require("node-opcua-server");
const { DataType, Variant, VariantArrayType } = require("node-opcua-variant");

const matrixDimensions = [2, 3];
const arrayLength = 5;

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
  const add = (folder, type, shape) =>
    namespace.addVariable({
      componentOf: folder,
      browseName: type,
      nodeId: `s=${folder.browseName.name}.${type}`,
      dataType: DataType[type],
      ...shape,
      value: new Variant({ dataType: DataType[type], ...shape.value }),
    });
  for (const type of Object.keys(types)) {
    add(scalars, type, { value: { arrayType: VariantArrayType.Scalar, value: types[type].scalar } });
    add(arrays, type, {
      valueRank: 1,
      value: { arrayType: VariantArrayType.Array, value: elements(type, arrayLength) },
    });
    add(matrices, type, {
      valueRank: matrixDimensions.length,
      arrayDimensions: matrixDimensions,
      value: {
        arrayType: VariantArrayType.Matrix,
        dimensions: matrixDimensions,
        value: elements(
          type,
          matrixDimensions.reduce((a, b) => a * b),
        ),
      },
    });
  }
}

function addMovement(namespace, root) {
  let reads = 0;
  namespace.addVariable({
    componentOf: addFolder(namespace, root, "Moving"),
    browseName: "Counter",
    nodeId: "s=Moving.Counter",
    dataType: DataType.UInt32,
    minimumSamplingInterval: 10,
    value: { get: () => new Variant({ dataType: DataType.UInt32, value: ++reads }) },
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
  addMovement(namespace, root);
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
