"use strict";

// A server of another family than the plant server: every policy, mode and identity, and the twelve types.
//
// Started by start.sh. Keeps its certificates in the folder given, writes one line to descriptor 3 when clients can
// connect, and runs until SIGTERM.

const crypto = require("node:crypto");
const fs = require("node:fs");
const net = require("node:net");
const path = require("node:path");
const { fillAddressSpace } = require("./address_space.js");
const {
  MessageSecurityMode,
  OPCUACertificateManager,
  OPCUAServer,
  SecurityPolicy,
  ServerSecureChannelLayer,
} = require("./node_opcua.js");

/** As many clients at once as a case may have. */
const mostClients = 50;

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

async function main(folder, chain, key) {
  const port = await freePort();
  const server = new OPCUAServer({
    port,
    host: "127.0.0.1",
    hostname: "127.0.0.1",
    serverInfo: { applicationUri: "urn:kestrova:interop-server", applicationName: { text: "Interop server" } },
    serverCertificateManager: certificateManager(path.join(folder, "applications")),
    userCertificateManager: certificateManager(path.join(folder, "users")),
    ...(chain && { certificateFile: chain, privateKeyFile: key }),
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
    maxConnectionsPerEndpoint: mostClients,
    serverCapabilities: { maxSessions: mostClients },
  });
  ServerSecureChannelLayer.g_MinimumSecureTokenLifetime = 1; // no floor under what the tests ask for
  await server.initialize();
  fillAddressSpace(server);
  await server.start();
  process.once("SIGTERM", async () => {
    await server.shutdown();
    process.exit(0);
  });
  fs.writeSync(3, `interop server: ready at opc.tcp://127.0.0.1:${port}\n`);
}

const [folder, chain, key] = process.argv.slice(3);
main(folder, chain, key).catch((error) => {
  console.error(error);
  process.exit(1);
});
