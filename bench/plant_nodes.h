#pragma once

/// Nodes of the plant server that the operations use.
namespace bench::plant_nodes {

/// A writable Double.
constexpr const char* scalar = "ns=3;s=TestRack.Scalar.Double";
/// A folder of 1,200 variables.
constexpr const char* manyChildren = "ns=3;s=TestRack.Many";
constexpr int childCount = 1200;

} // namespace bench::plant_nodes
