#pragma once

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
protected:
    static constexpr int requests = 12;
    static constexpr int nodesPerRequest = 20;

    OverlapTest();

    /// Connects and subscribes.
    void prepare(const Operation& operation);
    /// Of each request, in order, what came of its nodes: 0, or the code that tells why not. A browse has
    /// linked the children of the first ones alone, and tells the others' code itself.
    std::vector<int> run(const Operation& operation);
    /// What run() gives when these requests fail.
    static std::vector<int> expected(const Operation& operation, const std::vector<int>& failed);
    std::string message();
    /// Gives the root folder a child for each request.
    static void serveChildren(scripted::Server& server);
    /// The answer of a good server: each node's value tells which node it is.
    static void answerWell(const scripted::Call& call);

private:
    std::vector<int> browseChildren();
    std::vector<int> readNodes();
    std::vector<int> addNodes();
};
