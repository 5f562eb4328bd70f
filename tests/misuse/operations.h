#pragma once

#include <functional>
#include <string>
#include <vector>

#include "OpcUaClientInterface.h"

/// One exported operation of a client with arguments that are in order, so that only the moment is wrong.
struct Operation {
    std::string name;
    std::function<int(COpcUaClientInterface&)> call;
    int withoutSession; ///< what it answers before a connect and after a disconnect
};

/// Every operation that needs a session. Each call owns its arguments.
std::vector<Operation> operationsThatNeedASession();

/// Every operation that takes a pointer or a count, each with every way of leaving one out. They answer 29.
std::vector<Operation> operationsWithAnArgumentLeftOut();

/// The client's last message.
std::string errorMessage(COpcUaClientInterface& client);

constexpr const char* notConnectedMessage = "服务器未连接";
constexpr const char* invalidArgumentMessage = "传入的参数为空或者无效";

/// A record for the node that tells the server's service level: a Byte that every server has.
OpcUaNode serviceLevelNode();

/// A configuration for an unsecured, anonymous connection.
_OpcUaClientConfig connectionTo(const std::string& url);
