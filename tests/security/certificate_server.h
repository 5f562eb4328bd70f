#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include <open62541/server.h>

/// A server on a free loopback port, on a thread of its own, that does with certificates what no real server
/// does.
class StandInServer {
public:
    StandInServer(const StandInServer&) = delete;
    StandInServer& operator=(const StandInServer&) = delete;

    const std::string& url() const { return m_url; }

protected:
    StandInServer() = default;
    ~StandInServer();

    static UA_ServerConfig makeConfig(const std::string& applicationUri);
    void run(UA_ServerConfig& config);
    void stop();

    UA_Server* m_server = nullptr;

private:
    void start();

    std::string m_url;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;

protected:
    /// Runs an action while the server rests.
    void between(const std::function<void()>& action);
};

/// Announces any bytes as its certificate, in an endpoint without security and in one with Basic256Sha256; no
/// channel can be made with the latter.
class CertificateServer : public StandInServer {
public:
    CertificateServer(const std::string& certificate, const std::string& applicationUri);
};

/// Serves Basic256Sha256 with one certificate, until it is told to show another one of the same key:
/// everything fits but the certificate.
class TwoFacedServer : public StandInServer {
public:
    TwoFacedServer(const std::string& certificate, const std::string& privateKey,
                   const std::string& applicationUri);
    void show(const std::string& certificate);
};
