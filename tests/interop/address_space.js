"use strict";

// What clients find on a server: the twelve types in every shape, movement, and what the tests watch and turn.

const { DataType, StatusCodes, Variant, VariantArrayType } = require("./node_opcua.js");
const { passwordWatch } = require("./password_watch.js");

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
function writeWatch(server) {
  const counts = { Values: 0, WithMore: 0 };
  server.on("request", (request) => {
    if (request.schema.name !== "WriteRequest") return;
    for (const { value } of request.nodesToWrite) {
      ++counts.Values;
      if (value.sourceTimestamp || value.serverTimestamp || value.statusCode.value !== 0) ++counts.WithMore;
    }
  });
  return counts;
}

function addCounts(namespace, root, name, counts) {
  const folder = addFolder(namespace, root, name);
  for (const kind of Object.keys(counts)) {
    namespace.addVariable({
      componentOf: folder,
      browseName: kind,
      nodeId: `s=${name}.${kind}`,
      dataType: DataType.UInt32,
      minimumSamplingInterval: 10,
      value: { get: () => new Variant({ dataType: DataType.UInt32, value: counts[kind] }) },
    });
  }
}

/** Written true, it ends the subscriptions of all sessions. */
function addEndOfSubscriptions(server, namespace, root) {
  namespace.addVariable({
    componentOf: root,
    browseName: "EndSubscriptions",
    nodeId: "s=EndSubscriptions",
    dataType: DataType.Boolean,
    minimumSamplingInterval: 10,
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

/**
 * The lifetime of security tokens, in ms, for channels that are opened after it was written; and the number of tokens
 * that each of the channels with such a lifetime has had by now: the smallest one.
 */
function addTokens(server, namespace, root) {
  const [endpoint] = server.endpoints;
  const usual = endpoint.defaultSecureTokenLifetime;
  const lifetimes = new Map();
  endpoint.on("newChannel", (channel) => lifetimes.set(channel, endpoint.defaultSecureTokenLifetime));
  endpoint.on("closeChannel", (channel) => lifetimes.delete(channel));
  const issued = () => {
    const counts = [...lifetimes].filter(([, time]) => time !== usual).map(([channel]) => channel.securityTokenCount);
    return counts.length > 0 ? Math.min(...counts) : 0;
  };
  const folder = addFolder(namespace, root, "Tokens");
  const add = (browseName, value) =>
    namespace.addVariable({
      componentOf: folder,
      browseName,
      nodeId: `s=Tokens.${browseName}`,
      dataType: DataType.UInt32,
      minimumSamplingInterval: 10,
      value,
    });
  add("Lifetime", {
    get: () => new Variant({ dataType: DataType.UInt32, value: endpoint.defaultSecureTokenLifetime }),
    set: ({ value }) => {
      endpoint.defaultSecureTokenLifetime = value || usual;
      return StatusCodes.Good;
    },
  });
  add("Issued", { get: () => new Variant({ dataType: DataType.UInt32, value: issued() }) });
}

function addScratch(namespace, root) {
  namespace.addVariable({
    componentOf: root,
    browseName: "Scratch",
    nodeId: "s=Scratch",
    dataType: DataType.Int32,
    value: new Variant({ dataType: DataType.Int32, value: 0 }),
  });
}

function fillAddressSpace(server) {
  const { addressSpace } = server.engine;
  const namespace = addressSpace.registerNamespace("urn:kestrova:interop");
  const root = addFolder(namespace, addressSpace.rootFolder.objects, "Interop");
  addTypes(namespace, root);
  addScratch(namespace, root);
  addMany(namespace, root);
  addMovement(namespace, root);
  addCounts(namespace, root, "Written", writeWatch(server));
  addCounts(namespace, root, "Passwords", passwordWatch(server));
  addEndOfSubscriptions(server, namespace, root);
  addTokens(server, namespace, root);
}

module.exports = { fillAddressSpace };
