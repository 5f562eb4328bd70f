// A program that knows the library by its file name alone, as a plug-in host does.
//   loader_probe LIBRARY WHAT [URL]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <future>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "OpcUaClientInterface.h"

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

// The library while it is loaded, and its facade through exported symbols.
class Library {
public:
    explicit Library(const char* path) : m_handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (m_handle == nullptr)
            fail(dlerror());
    }
    void unload() {
        if (dlclose(m_handle) != 0)
            fail(dlerror());
    }

    COpcUaClientInterface* createClient() const {
        void* const memory = ::operator new(sizeof(COpcUaClientInterface));
        function<void(void*)>("_ZN21COpcUaClientInterfaceC1Ev")(memory);
        return static_cast<COpcUaClientInterface*>(memory);
    }
    void connect(COpcUaClientInterface* client, const char* url) const {
        _OpcUaClientConfig config = {};
        config.timeout = 20000;
        std::strncpy(config.endpointUrl, url, sizeof config.endpointUrl - 1);
        if (function<int(void*, _OpcUaClientConfig&)>(
                "_ZN21COpcUaClientInterface12OpcUaConnectER18_OpcUaClientConfig")(client, config) != 0) {
            fail("connect failed");
        }
    }
    void monitor(COpcUaClientInterface* client, const char* node,
                 COpcUaClientInterface::OpcUaCallBack& callback) const {
        function<int(void*, COpcUaClientInterface::OpcUaCallBack*)>(
            "_ZN21COpcUaClientInterface20installOpcUaCallBackEPNS_13OpcUaCallBackE")(client, &callback);
        auto* const record = function<OpcUaNode*(void*, const char*, _OpcUaDataType)>(
            "_ZN21COpcUaClientInterface14OpcUaGetUaNodeEPKc14_OpcUaDataType")(client, node,
                                                                              OpcUaDataType_Int32);
        if (function<int(void*, double)>("_ZN21COpcUaClientInterface23OpcUaCreateSubScriptionEd")(client,
                                                                                                  50) != 0 ||
            function<int(void*, OpcUaNode*, unsigned long*, int)>(
                "_ZN21COpcUaClientInterface17OpcUaAddMonitNodeEP9OpcUaNodePmi")(client, record, nullptr, 0) !=
                0) {
            fail("monitoring failed");
        }
    }
    int disconnect(COpcUaClientInterface* client) const {
        return function<int(void*)>("_ZN21COpcUaClientInterface15OpcUaDisConnectEv")(client);
    }
    int status(COpcUaClientInterface* client) const {
        return function<int(void*)>("_ZN21COpcUaClientInterface21OpcUaGetConnectStatusEv")(client);
    }

private:
    template <class Signature>
    Signature* function(const char* symbol) const {
        void* const address = dlsym(m_handle, symbol);
        if (!address)
            fail(dlerror());
        return reinterpret_cast<Signature*>(address);
    }

    void* m_handle;
};

// What a process leaves behind when it just ends is reachable, not leaked.
COpcUaClientInterface* leftBehind = nullptr;

int openSockets() {
    int count = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        struct stat status;
        count += fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode) ? 1 : 0;
    }
    return count;
}

void runAnotherProgram(const char* self) {
    const pid_t child = fork();
    if (child == 0) {
        execl(self, self, "-", "holds-no-socket", nullptr);
        std::_Exit(127);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail("the program started from a connected process did not end well, or inherited its connection");
}

/// Its first callback destroys the client once nobody else uses it, and has done with the library.
class Leaver final : public COpcUaClientInterface::OpcUaCallBack {
public:
    Leaver(Library& library, COpcUaClientInterface* client) : m_library(library), m_client(client) {}
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {
        m_othersAreDone.get_future().wait();
        delete m_client;
        m_library.unload();
    }
    void othersAreDone() { m_othersAreDone.set_value(); }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return 0; }

private:
    Library& m_library;
    COpcUaClientInterface* m_client;
    std::promise<void> m_othersAreDone;
};

void waitForOtherThreadsToEnd() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    const auto threads = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                             std::filesystem::directory_iterator());
    };
    while (threads() > 1) {
        if (std::chrono::steady_clock::now() > end)
            fail("threads are left");
        std::this_thread::yield();
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        fail("usage: loader_probe LIBRARY WHAT [URL]");
    const char* const path = argv[1];
    const std::string what = argv[2];
    const char* const url = argc > 3 ? argv[3] : "";

    if (what == "holds-no-socket")
        return openSockets() == 0 ? 0 : 1;
    if (what == "load") {
        const Library library(path);
    } else if (what == "unload") {
        Library(path).unload();
    } else if (what == "leave-client") {
        leftBehind = Library(path).createClient();
    } else if (what == "leave-connected") {
        const Library library(path);
        leftBehind = library.createClient();
        library.connect(leftBehind, url);
    } else if (what == "cycles") {
        for (int cycle = 0; cycle < 20; ++cycle) {
            Library library(path);
            delete library.createClient();
            library.unload();
        }
    } else if (what == "connected-cycles") {
        for (int cycle = 0; cycle < 5; ++cycle) {
            Library library(path);
            COpcUaClientInterface* const client = library.createClient();
            library.connect(client, url);
            delete client;
            library.unload();
        }
    } else if (what == "unload-in-callback") {
        Library library(path);
        COpcUaClientInterface* const client = library.createClient();
        library.connect(client, url);
        Leaver leaver(library, client);
        library.monitor(client, "ns=1;s=Item0", leaver);
        leaver.othersAreDone();
        waitForOtherThreadsToEnd();
    } else if (what == "fork-exec") {
        const Library library(path);
        COpcUaClientInterface* const client = library.createClient();
        library.connect(client, url);
        runAnotherProgram(argv[0]);
        if (library.status(client) != 1 || library.disconnect(client) != 0)
            fail("the connection did not outlive another program's start");
        delete client;
    } else {
        fail("unknown request");
    }
    std::puts("done");
    return 0;
}
