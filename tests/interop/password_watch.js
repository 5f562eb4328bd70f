"use strict";

const crypto = require("node:crypto");
const fs = require("node:fs");

const { RSA_PKCS1_PADDING, RSA_PKCS1_OAEP_PADDING } = crypto.constants;

/** OPC UA Part 7: what a user's password is encrypted with, by the name that the token gives it. */
const paddings = {
  "http://www.w3.org/2001/04/xmlenc#rsa-1_5": { padding: RSA_PKCS1_PADDING },
  "http://www.w3.org/2001/04/xmlenc#rsa-oaep": { padding: RSA_PKCS1_OAEP_PADDING, oaepHash: "sha1" },
  "http://opcfoundation.org/UA/security/rsa-oaep-sha2-256": { padding: RSA_PKCS1_OAEP_PADDING, oaepHash: "sha256" },
};

/**
 * Judges the passwords that clients send as a strict server does (OPC UA Part 4, 7.36.2.2): what is encrypted is the
 * length and what it counts, and nothing behind that.
 *
 * @returns what was found so far, by kind
 */
function passwordWatch(server) {
  const counts = { Exact: 0, Padded: 0, Clear: 0 };
  const key = fs.readFileSync(server.privateKeyFile);
  server.on("request", (request) => {
    const token = request.userIdentityToken;
    if (token?.schema?.name !== "UserNameIdentityToken") return;
    if (!token.encryptionAlgorithm) {
      ++counts.Clear;
      return;
    }
    const plain = crypto.privateDecrypt({ key, ...paddings[token.encryptionAlgorithm] }, token.password);
    ++counts[plain.length === 4 + plain.readUInt32LE(0) ? "Exact" : "Padded"];
  });
  return counts;
}

module.exports = { passwordWatch };
