// The smallest panel: shows what changes in a folder, writes a set point that the operator types, and goes on
// by itself when the server was restarted. Ends with the input.
//
//     panel opc.tcp://localhost:4840 ns=2;s=Line1 ns=2;s=Line1.SpeedSetpoint
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OpcUaClientInterface.h"

namespace {

/// A line of what the panel shows; two threads have something to say.
void show(const std::string& line) {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    std::cout << line << '\n' << std::flush;
}

std::string field(const char* text, std::size_t size) {
    return std::string(text, strnlen(text, size));
}

template <typename Number>
std::string numberText(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number); // the bytes need not be aligned
    return std::to_string(+number);
}

std::string valueText(const _OpcUaDataChangeMsg& change) {
    switch (change.dataType) {
    case OpcUaDataType_Boolean:
        return change.value[0] != 0 ? "true" : "false";
    case OpcUaDataType_SByte:
        return numberText<signed char>(change.value);
    case OpcUaDataType_Byte:
        return numberText<unsigned char>(change.value);
    case OpcUaDataType_Int16:
        return numberText<short>(change.value);
    case OpcUaDataType_UInt16:
        return numberText<unsigned short>(change.value);
    case OpcUaDataType_Int32:
        return numberText<int>(change.value);
    case OpcUaDataType_UInt32:
        return numberText<unsigned int>(change.value);
    case OpcUaDataType_Int64:
        return numberText<long>(change.value);
    case OpcUaDataType_UInt64:
        return numberText<unsigned long>(change.value);
    case OpcUaDataType_Float:
        return numberText<float>(change.value);
    case OpcUaDataType_Double:
        return numberText<double>(change.value);
    case OpcUaDataType_String:
        return field(change.value, static_cast<std::size_t>(change.valueSize));
    default:
        return "";
    }
}

class Panel final : public COpcUaClientInterface::OpcUaCallBack {
public:
    Panel(const std::string& url, std::string folder, const std::string& setPoint)
        : m_server(), m_folder(std::move(folder)), m_setPoint() {
        url.copy(m_server.endpointUrl, sizeof m_server.endpointUrl - 1);
        setPoint.copy(m_setPoint.nodeId, sizeof m_setPoint.nodeId - 1);
        m_setPoint.dataType = OpcUaDataType_Double;
        m_client.OpcUaInit(OpcUaTraceLevel_Warnings);
        m_client.installOpcUaCallBack(this);
        m_keeper = std::thread([this] { keepConnected(); });
    }
    ~Panel() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ended = true;
        }
        m_end.notify_all();
        m_keeper.join();
        m_client.OpcUaDisConnect();
    }

    void write(double value) {
        int size = sizeof value;
        const int code = m_client.OpcUaSetValue(&m_setPoint, &value, size);
        show(code == 0 ? "written" : "not written, result " + std::to_string(code));
    }

    // Called on a thread of the library: it must not wait for long.
    void OpcUaDataChange(_OpcUaDataChangeMsg change) override {
        show(field(change.nodeId, sizeof change.nodeId) + " = " + valueText(change));
    }
    // A panel that trusts nobody unasked: certificates are put into the trust list when it is set up.
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }

private:
    /// The library reports a lost connection and leaves it to the application to connect again. 4 is a server
    /// that says that it will shut down, and serves until then.
    bool isConnected() {
        const int status = m_client.OpcUaGetConnectStatus();
        return status == 1 || status == 4;
    }

    /// The only thread that connects and subscribes. OpcUaConnect() itself gives up what is left of the old
    /// connection; OpcUaDisConnect() would be wrong here, while the operator's thread may be writing.
    void keepConnected() {
        const std::chrono::milliseconds shortest(250);
        const std::chrono::milliseconds longest(10000);
        std::chrono::milliseconds pause = shortest;
        bool watching = false;
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_ended) {
            lock.unlock();
            if (watching && !isConnected()) {
                watching = false;
                show("connection lost");
            }
            if (!watching) {
                watching = watch();
                pause = watching ? shortest : std::min(2 * pause, longest);
            }
            lock.lock();
            m_end.wait_for(lock, pause, [this] { return m_ended; });
        }
    }

    /// Connects, and has the changes of all variables in the folder delivered: after a restart the server
    /// knows nothing of what it was asked for before.
    bool watch() {
        int code = m_client.OpcUaConnect(m_server);
        if (code != 0) {
            show("no connection, result " + std::to_string(code));
            return false;
        }
        std::vector<OpcUaNode> variables;
        code = findVariables(variables);
        if (code == 0)
            code = m_client.OpcUaCreateSubScription(250);
        if (code == 0 && !variables.empty())
            code = m_client.OpcUaAddMultiMonitNode(variables.data(), static_cast<int>(variables.size()));
        if (code != 0 || variables.empty()) {
            show("nothing to watch, result " + std::to_string(code));
            return false;
        }
        for (const OpcUaNode& node : variables) {
            if (node.result != 0)
                show(field(node.nodeId, sizeof node.nodeId) + " is not watched");
        }
        show("connected, " + std::to_string(variables.size()) + " variables");
        return true;
    }

    /// The first browse begins the client's tree with the folder; later ones read the tree's root again.
    int findVariables(std::vector<OpcUaNode>& variables) {
        const int variable = 2;
        OpcUaNode folder{};
        m_folder.copy(folder.nodeId, sizeof folder.nodeId - 1);
        OpcUaNode* const root = m_client.OpcUaReadRootNode();
        const int code = m_client.OpcUaBrowse(root != nullptr ? root : &folder);
        if (code != 0)
            return code;
        for (const OpcUaNode* node = m_client.OpcUaReadRootNode()->child; node != nullptr;
             node = node->next) {
            const bool scalar = node->arrayInfo.kind == 0 && node->dataType != OpcUaDataType_Null;
            if (node->nodeClass == variable && scalar)
                variables.push_back(*node);
        }
        return code;
    }

    _OpcUaClientConfig m_server;
    std::string m_folder;
    OpcUaNode m_setPoint;
    COpcUaClientInterface m_client;
    std::mutex m_mutex;
    std::condition_variable m_end;
    bool m_ended = false;
    std::thread m_keeper;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: panel URL FOLDER SETPOINT\n");
        return 2;
    }
    Panel panel(argv[1], argv[2], argv[3]);
    for (std::string line; std::getline(std::cin, line);) {
        char* end = nullptr;
        const double value = std::strtod(line.c_str(), &end);
        if (end == line.c_str() || *end != '\0')
            show("a number, please");
        else
            panel.write(value);
    }
    return 0;
}
