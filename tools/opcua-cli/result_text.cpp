#include "result_text.h"

#include <algorithm>
#include <array>
#include <string>

#include "OpcUaClientInterface.h"

namespace opcua_cli {
namespace {

struct ResultText {
    int code;
    bool hasMessage; ///< the library stores a message with this code; otherwise an older one would be read
    const char* explanation;
    const char* advice;
};

constexpr const char* placeOfCertificates =
    "look at the folders that \"opcua-cli cert\" shows; -v shows more";

constexpr std::array<ResultText, 23> resultTexts{{
    {1, true, "the server could not be connected", "-v, which shows the library's trace"},
    {2, true, "the connection could not be closed in good order",
     "nothing: the server drops the session by itself after its time-out"},
    {3, true, "the connection to the server is lost", "the same command again, once the server answers"},
    {4, true, "the server did not answer the browse",
     "check that the node exists (browse its parent first) and that this user may browse it"},
    {5, true, "the node id could not be used", "a node id such as ns=2;s=Line1.Speed or i=2261"},
    {6, true, "the node is not in the tree that was browsed", "browse its parent first"},
    {7, true, "the value could not be read", ""},
    {8, true, "the value could not be written", ""},
    {9, true, "the server refused the subscription", "close another client: servers limit subscriptions"},
    {11, true, "there is no subscription", "please report this: the command should have made one"},
    {12, true, "the server does not monitor this node", ""},
    {18, false, "no discovery service answers at that address", "-v, which shows the library's trace"},
    {19, false, "the server answered, but none of its servers or discovery addresses did",
     "the server may announce a host name that this machine cannot resolve: ask it by IP address and look at "
     "its configured host name"},
    {20, true, "the certificate store could not be used", placeOfCertificates},
    {21, true, "this client's own certificate and key could not be loaded",
     "\"opcua-cli cert\" shows where they are; when the key is lost, delete the certificate as well, and a "
     "new pair is made"},
    {22, true, "the server's certificate could not be put into the trust list",
     "the folder that \"opcua-cli cert\" shows must be writable"},
    {23, true, "the server's certificate is not trusted", "--trust once or always"},
    {24, true, "the user certificate could not be used", "a DER file with a certificate that is valid now"},
    {25, true, "the user's private key could not be read", "a PEM file that is not encrypted"},
    {26, true, "the user's private key is no RSA key", "an RSA key in PEM form"},
    {27, true, "the user's certificate store could not be opened", placeOfCertificates},
    {28, true, "a user certificate could not be made",
     "the folders that \"opcua-cli cert\" shows must be writable"},
    {29, true, "an argument was refused", "please report this: the command should have noticed it"},
}};

std::string messageStoredIn(COpcUaClientInterface& client) {
    std::array<char, 256> buffer{};
    client.GetErrorMsg(buffer.data(), static_cast<int>(buffer.size() - 1));
    return buffer.data();
}

} // namespace

Problem problemFor(int resultCode, COpcUaClientInterface& client) {
    const auto text = std::find_if(resultTexts.begin(), resultTexts.end(),
                                   [&](const ResultText& entry) { return entry.code == resultCode; });
    Problem problem;
    problem.resultCode = resultCode;
    if (text == resultTexts.end()) {
        problem.explanation = "the operation failed";
        return problem;
    }
    problem.explanation = text->explanation;
    problem.advice = text->advice;
    if (text->hasMessage)
        problem.storedMessage = messageStoredIn(client);
    return problem;
}

} // namespace opcua_cli
