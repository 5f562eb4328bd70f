#pragma once

#include "OpcUaTypes.h"
#include "uabase/arrays.h"
#include "uabase/node_id.h"
#include "uabase/status.h"
#include "uabase/variant.h"
#include "uaclient/request_sequence.h"

namespace UaClientSdk {
class UaSession;
}

// The Read and Write services as every value operation uses them (OPC UA Part 4, 5.11.2 and 5.11.4).

/// What an answer is worth: one that is shorter than its question can't be told apart result by result.
template <typename Answers>
UaStatus complete(UaStatus status, OpcUa_UInt32 questions, const Answers& answers) {
    const bool isShort = answers.length() < questions;
    return isShort && !status.isBad() ? UaStatus(OpcUa_BadUnexpectedError) : status;
}

/// Makes a request element name the Value attribute of a node. The element only borrows the id: its array is
/// one of views, and the id must stay as it is until the request has gone.
template <typename RequestElement>
void nameValue(RequestElement& element, const OpcUa_NodeId& id) {
    element.nodeId = id;
    element.attributeId = OpcUa_Attributes_Value;
}
template <typename RequestElement>
void nameValue(RequestElement& element, const UaNodeId& id) {
    nameValue(element, id.raw());
}

/// Makes a request element carry a value and nothing else: servers refuse a status or a time stamp sent
/// along. The element only borrows it, as it does the node id.
void lendValue(OpcUa_WriteValue& element, const UaVariant& value);

/// Reads current values. Not bad: there is a value for every node asked for.
UaStatus readValues(UaClientSdk::UaSession& session, const UaReadValueIds& nodes, UaDataValues& values);
UaStatus readValue(UaClientSdk::UaSession& session, const UaNodeId& id, UaDataValues& values);
/// The same for requests that need not wait for each other; only a status that is not bad has to be checked
/// with complete().
void readValues(UaClientSdk::UaSession& session, const UaClientSdk::ReadSequence& sequence);
/// False when the service failed or the value's status is Bad or Uncertain.
/// The trace tells which.
bool readGoodValue(UaClientSdk::UaSession& session, const OpcUaNode& node, UaVariant& value);

/// Not bad: there is a status for every value sent.
UaStatus writeValues(UaClientSdk::UaSession& session, const UaWriteValues& values,
                     UaStatusCodeArray& results);
/// False when the service failed or the node's status is Bad or Uncertain.
/// The trace tells which.
bool writeValue(UaClientSdk::UaSession& session, const OpcUaNode& node, const UaVariant& value);

/// For the trace, of a node that is one of many.
void traceNotRead(const OpcUaNode& node, UaStatus status);
void traceNotWritten(const OpcUaNode& node, UaStatus status);
