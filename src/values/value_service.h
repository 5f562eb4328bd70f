#pragma once

#include "OpcUaTypes.h"
#include "client/node_record.h"
#include "uabase/arrays.h"
#include "uabase/node_id.h"
#include "uabase/status.h"
#include "uabase/variant.h"
#include "uaclient/session.h"

// The Read and Write services as the value operations use them (OPC UA Part 4, 5.11.2 and 5.11.4).

/// What an answer is worth. To one question the first result is the answer; several can't be told apart when
/// there is another number of them than there were questions.
template <typename Answers>
UaStatus checked(UaStatus status, const Answers& answers, OpcUa_UInt32 questions) {
    const bool fits = questions == 1 ? answers.length() > 0 : answers.length() == questions;
    return status.isBad() || fits ? status : UaStatus(OpcUa_BadUnexpectedError);
}

/// Makes an element of a request address the Value attribute of a node.
template <typename RequestElement>
void addressValue(RequestElement& element, const UaNodeId& id) {
    id.copyTo(&element.nodeId);
    element.attributeId = OpcUa_Attributes_Value;
}

/// Reads the current value of one node. Not bad: there is one element in `values`.
UaStatus readValue(UaClientSdk::UaSession& session, const UaNodeId& id, UaDataValues& values);
/// Reads the current values that a sequence of requests asks for. How many an answer has is for the sequence
/// to check.
void readValues(UaClientSdk::UaSession& session, const UaClientSdk::ReadSequence& sequence);
/// False when the service failed or the value's status is Bad or Uncertain: the trace tells which.
bool readGoodValue(UaClientSdk::UaSession& session, const OpcUaNode& node, UaVariant& value);

/// A request to write one node's value and nothing else: servers refuse a status or a time stamp sent along.
/// The value itself is still to be put into it.
UaWriteValues writeRequest(const OpcUaNode& node);
/// False when the service failed or the node's status is Bad or Uncertain: the trace tells which.
bool writeValue(UaClientSdk::UaSession& session, const OpcUaNode& node, const UaWriteValues& request);

/// For the trace.
void traceNotRead(const OpcUaNode& node, UaStatus status);
void traceNotWritten(const OpcUaNode& node, UaStatus status);
