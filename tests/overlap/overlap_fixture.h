#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "hostile/hostile_fixture.h"
#include "overlap/held_requests.h"

enum class Kind { Browse, Read, Add };

/// One that has several requests on their way.
struct Operation {
    std::string name;
    Kind kind;
    const UA_DataType* request;
    int failure; ///< of a request, told by its nodes or by the operation
};
std::vector<Operation> operations();
inline std::ostream& operator<<(std::ostream& stream, const Operation& operation) {
    return stream << operation.name;
}

/// A server that a case tells what to do with requests that are on their way at the same time.
class OverlapTest : public HostileTest {
public:
    static constexpr int requests = 12;
    static constexpr int nodesPerRequest = 20;
    /// Of a child that is linked without a type.
    static constexpr int untyped = -2;

    /// The answer of a good server: each node's value tells which node it is.
    static void answerWell(const scripted::Call& call);
    static void answerAll(HeldRequests::Calls& held);

protected:
    OverlapTest();

    /// Connects and subscribes.
    void prepare(const Operation& operation);
    /// Of each request, in order, what came of its nodes: 0, or the code that tells why not. A browse has
    /// linked the children of the first ones alone, and tells the others' code itself.
    std::vector<int> run(const Operation& operation) { return run(operation, client); }
    static std::vector<int> run(const Operation& operation, COpcUaClientInterface& client);
    /// What run() gives when these requests fail.
    static std::vector<int> expected(const Operation& operation, const std::vector<int>& failed);
    /// Numbers of the requests from this one on.
    static std::vector<int> from(int first);
    std::string message();
    /// Gives the root folder a child for each request.
    static void serveChildren(scripted::Server& server);
    /// Serves the requests one after the other, those with these numbers otherwise than well.
    void serve(const Operation& operation, const std::vector<int>& numbers,
               const std::function<void(const scripted::Call&)>& otherwise);
    void serveWell(const Operation& operation) { serve(operation, {}, nullptr); }
    /// The most requests of an operation that are on their way at a time. It must do well.
    std::size_t mostAhead(const Operation& operation, std::size_t first);
};
