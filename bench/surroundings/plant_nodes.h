#pragma once

/// Nodes of the plant server that the operations use.
namespace bench::plant_nodes {

/// A writable Double.
constexpr const char* scalar = "ns=3;s=TestRack.Scalar.Double";
/// A folder of 1,200 variables.
constexpr const char* manyChildren = "ns=3;s=TestRack.Many";
constexpr int childCount = 1200;

/// Counts the changes of tags.
constexpr const char* tagChanges = "ns=3;s=TestRack.Diagnostics.TagChanges";
/// A variable, and the control that gives it a type and shape.
constexpr const char* changingShape = "ns=3;s=TestRack.Changing.Value";
constexpr const char* shapeControl = "ns=3;s=TestRack.Control.Shape";

} // namespace bench::plant_nodes
