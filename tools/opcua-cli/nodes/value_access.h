#pragma once

#include "../connection.h"
#include "shape.h"

#include <string>
#include <vector>

namespace opcua_cli {

struct ReadItem {
    std::string nodeId;
    _OpcUaDataType type = OpcUaDataType_Null; ///< Null for the library's text form of any value
};

struct WriteItem {
    std::string nodeId;
    Value value{};
};

/// Reads single values with as few service calls as the library and the server's limit allow. Results come in
/// the order of the items; why one failed is in Connection::lastProblem(). Throws as
/// Connection::throwIfLost(), and when Ctrl-C was pressed.
std::vector<ReadResult> readMany(Connection& connection, const std::vector<ReadItem>& items);

/// Writes single values likewise and gives the result codes.
std::vector<int> writeMany(Connection& connection, const std::vector<WriteItem>& items);

/// One element of an array or matrix. The library reads the whole array for each, and to write an element it
/// reads the array and writes it back.
ReadResult readElement(Connection& connection, const ReadItem& item, const Index& index);
int writeElement(Connection& connection, const WriteItem& item, const Index& index);

} // namespace opcua_cli
