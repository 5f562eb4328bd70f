#pragma once

#include <atomic>
#include <string>
#include <thread>

#include <open62541/server.h>

/// A server on a free loopback port that announces any bytes as its certificate, in an endpoint without
/// security and in one with Basic256Sha256: what no real server can be started with.
class CertificateServer {
public:
    CertificateServer(const std::string& certificate, const std::string& applicationUri);
    ~CertificateServer();
    CertificateServer(const CertificateServer&) = delete;
    CertificateServer& operator=(const CertificateServer&) = delete;

    const std::string& url() const { return m_url; }

private:
    UA_Server* m_server = nullptr;
    std::string m_url;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
