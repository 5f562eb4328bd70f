"use strict";

// What the servers need of node-opcua, from the folder of the version that the command line names.

const { createRequire } = require("node:module");
const path = require("node:path");

const load = createRequire(path.resolve(process.argv[2], "package.json"));

module.exports = {
  ...pick("node-opcua-certificate-manager", "OPCUACertificateManager"),
  ...pick("node-opcua-secure-channel", "MessageSecurityMode", "SecurityPolicy", "ServerSecureChannelLayer"),
  ...pick("node-opcua-server", "OPCUAServer"),
  ...pick("node-opcua-status-code", "StatusCodes"),
  ...pick("node-opcua-variant", "DataType", "Variant", "VariantArrayType"),
};

function pick(name, ...wanted) {
  const all = load(name);
  return Object.fromEntries(wanted.map((key) => [key, all[key]]));
}
