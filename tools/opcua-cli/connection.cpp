#include "connection.h"

#include "interrupt.h"
#include "nodes/node_info.h"
#include "security/names.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

namespace opcua_cli {
namespace {

constexpr int connected = 1;
constexpr int connectionLost = 3;
constexpr int firstTextCapacity = 1024;
constexpr int greatestTextCapacity = 16 * 1024 * 1024;

template <std::size_t Index>
ReadResult readScalar(COpcUaClientInterface& client, OpcUaNode& record) {
    using Type = std::variant_alternative_t<Index, Value>;
    static_assert(sizeof(Type) <= 8);
    std::array<unsigned char, 8> buffer{};
    int size = static_cast<int>(buffer.size());
    const int code = client.OpcUaGetValue(&record, buffer.data(), size);
    if (code != 0)
        return {code, {}};
    if constexpr (std::is_same_v<Type, bool>) {
        return {0, buffer[0] != 0};
    } else {
        Type value;
        std::memcpy(&value, buffer.data(), sizeof value);
        return {0, value};
    }
}

using ReadFunction = ReadResult (*)(COpcUaClientInterface&, OpcUaNode&);

/// The functions for the number types, from Boolean to Double.
template <std::size_t... Index>
constexpr std::array<ReadFunction, sizeof...(Index)> scalarReaders(std::index_sequence<Index...>) {
    return {&readScalar<Index + 1>...};
}

struct ValueWriter {
    COpcUaClientInterface& client;
    OpcUaNode& record;

    int operator()(std::monostate) const {
        int size = 0;
        return client.OpcUaSetValue(&record, "", size);
    }
    int operator()(const std::string& text) const {
        int size = 0;
        return client.OpcUaSetValue(&record, text.c_str(), size);
    }
    int operator()(bool value) const { return (*this)(static_cast<std::uint8_t>(value ? 1 : 0)); }
    template <typename Number>
    int operator()(Number value) const {
        int size = sizeof value;
        return client.OpcUaSetValue(&record, &value, size);
    }
};

template <std::size_t Size>
void setField(char (&field)[Size], const std::string& text) {
    text.copy(field, Size - 1);
}

_OpcUaClientConfig configFor(const ConnectOptions& options, const Security& security) {
    _OpcUaClientConfig config{};
    config.timeout = options.timeoutMilliseconds;
    config.securityPolicy = security.policy;
    config.securityMode = security.mode;
    config.userIdentity = security.identity;
    setField(config.endpointUrl, options.url);
    setField(config.userName, security.user);
    if (security.identity == IdentityUserName)
        setField(config.password, passwordFor(options.security));
    return config;
}

} // namespace

LibraryFiles libraryFiles() {
    const std::filesystem::path directory = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return {directory / "OpcUaClient.log", directory / "OpcUaClientConfig.ini", directory / "pkiclient"};
}

Connection::Connection(const ConnectOptions& options, DataChangeHandler onDataChange)
    : m_security(securityFor(options.security)), m_config(configFor(options, m_security)),
      m_trust(options.security.trust, options.url), m_callback(m_trust, std::move(onDataChange)) {
    m_client.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(options.traceLevel));
    m_client.installOpcUaCallBack(&m_callback);
    open();
}

Connection::~Connection() {
    m_client.OpcUaDisConnect();
}

void Connection::open() {
    const int code = m_client.OpcUaConnect(m_config);
    throwIfInterrupted();
    if (code != 0)
        throw Failure(ExitCode::NoConnection, connectProblem(code));
}

Problem Connection::connectProblem(int resultCode) {
    Problem problem = problemOfConnect(resultCode, m_client, m_security.isWanted());
    if (const std::optional<Problem>& refusal = m_trust.refusal()) {
        problem.explanation = refusal->explanation;
        problem.advice = refusal->advice;
    }
    problem.explanation += ": " + std::string(m_config.endpointUrl);
    return problem;
}

void Connection::throwIfLost(int resultCode) {
    if (resultCode == 0)
        return;
    // Taken now: finding out whether the connection stands may replace the library's message.
    m_lastProblem = problemFor(resultCode, m_client);
    if (resultCode != connectionLost && isAlive())
        return;
    Problem problem = problemFor(connectionLost, m_client);
    problem.resultCode = resultCode;
    problem.libraryMessage = m_lastProblem.libraryMessage;
    throw Failure(ExitCode::NoConnection, std::move(problem));
}

/// The status is reported by a thread of the library and may come after the operation that failed; reading
/// the server's state, which every server has, is refused as soon as the connection is gone.
bool Connection::isAlive() {
    constexpr const char* serverStateId = "i=2259";
    OpcUaNode record = recordFor(serverStateId, OpcUaDataType_Int32);
    std::int32_t state = 0;
    int size = sizeof state;
    return m_client.OpcUaGetValue(&record, &state, size) != connectionLost &&
           m_client.OpcUaGetConnectStatus() == connected;
}

ReadResult Connection::read(const std::string& nodeId, _OpcUaDataType type) {
    static constexpr auto readers = scalarReaders(std::make_index_sequence<OpcUaDataType_Double>{});
    const auto index = static_cast<std::size_t>(type) - 1;
    OpcUaNode record = recordFor(nodeId, index < readers.size() ? type : OpcUaDataType_String);
    ReadResult result = index < readers.size() ? readers[index](m_client, record) : readText(record);
    throwIfLost(result.resultCode);
    return result;
}

ReadResult Connection::readText(OpcUaNode& record) {
    for (int capacity = firstTextCapacity;; capacity *= 8) {
        std::string text(static_cast<std::size_t>(capacity), '\0');
        int size = capacity;
        const int code = m_client.OpcUaGetValue(&record, text.data(), size);
        if (code != 0)
            return {code, {}};
        // A text that fills the buffer has no terminating zero and may be longer.
        const bool whole = size < capacity - 1 || text.back() == '\0';
        if (whole || capacity >= greatestTextCapacity) {
            text.resize(static_cast<std::size_t>(std::clamp(size, 0, capacity)));
            return {0, text};
        }
    }
}

int Connection::write(const std::string& nodeId, const Value& value) {
    OpcUaNode record = recordFor(nodeId, static_cast<_OpcUaDataType>(value.index()));
    const int code = std::visit(ValueWriter{m_client, record}, value);
    throwIfLost(code);
    return code;
}

} // namespace opcua_cli
