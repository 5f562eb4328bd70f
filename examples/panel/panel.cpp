#include "panel.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OpcUaHelpers.h"

namespace {

constexpr std::chrono::milliseconds shortest(250);
constexpr std::chrono::milliseconds longest(10000);
constexpr int certificateRejected = 23;

/// What comes from a server or a certificate must not steer the terminal, nor begin lines of its own.
std::string harmless(std::string text) {
    char before = 0;
    for (char& byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        const bool isLateControl = before == '\xC2' && code < 0xA0; // U+0080 to U+009F
        before = byte;
        if (code < 0x20 || code == 0x7F || isLateControl)
            byte = '?';
    }
    return text;
}

/// A line of what the panel shows; two threads have something to say.
void show(const std::string& line) {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    std::cout << harmless(line) << '\n' << std::flush;
}

} // namespace

Panel::Panel(const _OpcUaClientConfig& server, const std::string& folder, const std::string& setPoint)
    : m_server(server), m_folder(OpcUaMakeNode(folder, OpcUaDataType_Null)),
      m_setPoint(OpcUaMakeNode(setPoint, OpcUaDataType_Double)) {
    m_client.OpcUaInit(OpcUaTraceLevel_Warnings);
    m_client.installOpcUaCallBack(this);
    m_worker = std::thread([this] { work(); });
}

Panel::~Panel() {
    m_lines.close();
    m_worker.join();
}

void Panel::work() {
    bool watching = false;
    std::chrono::milliseconds pause = shortest;
    while (!m_lines.isClosed()) {
        watching = watching ? lookAfter() : connect() && findVariables() && subscribe();
        pause = watching ? shortest : std::min(2 * pause, longest);
        // All of them: what is not written now must not be written minutes later.
        std::string line;
        for (auto wait = pause; m_lines.next(line, wait); wait = std::chrono::milliseconds(0))
            write(line);
    }
    m_client.OpcUaDisConnect(); // no callback comes any more
}

bool Panel::connect() {
    const int code = m_client.OpcUaConnect(m_server);
    if (code == certificateRejected) {
        show("not connected: press Enter to be asked again");
        std::string line;
        m_lines.next(line);
    } else if (code != 0) {
        show(std::string("no connection: ") + OpcUaResultText(code));
    } else {
        m_status = OpcUaConnectStatus_Connected;
        show("connected");
    }
    return code == 0;
}

int Panel::OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) {
    m_lines.clear();
    show("the server's certificate is not trusted:");
    show("  issued by   " + certificate.commonName + ", " + certificate.organization);
    show("  stands for  " + certificate.applicationUri);
    show("  valid from  " + certificate.validFrom + " to " + certificate.validTo);
    show("  thumbprint  " + certificate.thumbprint);
    show("trust it? once, always, or anything else for no");
    std::string answer;
    m_lines.next(answer);
    if (answer == "always")
        return OpcUaTrust_Always;
    return answer == "once" ? OpcUaTrust_Once : OpcUaTrust_Reject;
}

bool Panel::findVariables() {
    // The first browse begins the client's tree with the folder; later ones read the tree's root again.
    OpcUaNode* const root = m_client.OpcUaReadRootNode();
    const int code = m_client.OpcUaBrowse(root != nullptr ? root : &m_folder);
    m_variables.clear();
    if (code == 0) {
        for (const OpcUaNode* node = m_client.OpcUaReadRootNode()->child; node != nullptr;
             node = node->next) {
            const bool scalar = node->arrayInfo.kind == 0 && node->dataType != OpcUaDataType_Null;
            if (node->nodeClass == OpcUaNodeClass_Variable && scalar)
                m_variables.push_back(*node);
        }
    }
    if (m_variables.empty())
        show(std::string("nothing to watch: ") + OpcUaResultText(code));
    return !m_variables.empty();
}

bool Panel::subscribe() {
    m_failed.clear();
    m_client.OpcUaDeleteSubScription(); // there may be one that has ended
    int code = m_client.OpcUaCreateSubScription(250);
    if (code == 0)
        code = m_client.OpcUaAddMultiMonitNode(m_variables.data(), static_cast<int>(m_variables.size()));
    if (code != 0) {
        show(std::string("not watching: ") + OpcUaResultText(code));
        return false;
    }
    for (const OpcUaNode& node : m_variables)
        if (node.result != 0)
            show(OpcUaFieldText(node.nodeId) + " is not watched");
    return true;
}

void Panel::OpcUaDataChange(_OpcUaDataChangeMsg change) {
    show(OpcUaFieldText(change.nodeId) + " = " + OpcUaChangeText(change));
}

bool Panel::lookAfter() {
    const int status = m_client.OpcUaGetConnectStatus();
    if (status != m_status) {
        show(OpcUaConnectStatusText(status));
        m_status = status;
    }
    switch (status) {
    case OpcUaConnectStatus_Connected:
    case OpcUaConnectStatus_ShuttingDown: // it serves until then
        checkSensors();
        return true;
    case OpcUaConnectStatus_Silent: // an outage: session, subscription and items are kept
        return true;
    case OpcUaConnectStatus_NotPublishing:
        return subscribe();
    default: // the session is gone: connect again
        return false;
    }
}

void Panel::checkSensors() {
    const auto now = std::chrono::steady_clock::now();
    if (now < m_nextCheck)
        return;
    m_nextCheck = now + std::chrono::seconds(1);
    char value[256]; // what is in it does not matter here, only whether there is something
    std::vector<OpcUa_ReadNode> requests;
    for (OpcUaNode& node : m_variables)
        requests.push_back({&node, value, sizeof value});
    const int code = m_client.OpcUaGetMultiValue(requests.data(), static_cast<int>(requests.size()));
    if (code != 0 || m_client.OpcUaGetConnectStatus() != OpcUaConnectStatus_Connected)
        return; // the connection is to blame, no sensor
    for (const OpcUaNode& node : m_variables) {
        const std::string id = OpcUaFieldText(node.nodeId);
        if (node.result != 0 && m_failed.insert(id).second)
            show(id + " has failed");
        else if (node.result == 0 && m_failed.erase(id) != 0)
            show(id + " is good again");
    }
}

void Panel::write(const std::string& line) {
    char* end = nullptr;
    const double value = std::strtod(line.c_str(), &end);
    if (end == line.c_str() || *end != '\0' || !std::isfinite(value)) {
        show("a number, please");
        return;
    }
    // Not a value that waits for the outage's end: nobody knows what is right by then.
    if (m_client.OpcUaGetConnectStatus() == OpcUaConnectStatus_Silent) {
        show(std::string("not written: ") + OpcUaConnectStatusText(OpcUaConnectStatus_Silent));
        return;
    }
    int size = sizeof value;
    const int code = m_client.OpcUaSetValue(&m_setPoint, &value, size);
    show(code == 0 ? "written" : std::string("not written: ") + OpcUaResultText(code));
}
