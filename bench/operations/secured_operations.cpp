#include <optional>
#include <string>

#include "facade/facade_client.h"
#include "measuring/comparison.h"
#include "measuring/placement.h"
#include "operations/blocks.h"
#include "operations/operations.h"
#include "raw/raw_client.h"
#include "surroundings/own_certificates.h"

namespace bench {
namespace {

/// Seconds from nothing to a session over SignAndEncrypt; disconnecting is not counted.
Block libraryConnects(const std::string& url) {
    return [url] {
        std::optional<FacadeClient> client;
        return secondsOf([&] { client.emplace(url, FacadeClient::Security::SignAndEncrypt); });
    };
}

} // namespace

void securedConnect(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.securedServer().pid());
    const std::string url = setting.securedServer().url();
    const OwnCertificates certificates;
    libraryConnects(url)(); // makes the certificate and trusts the server
    const RawIdentity identity = certificates.identity();
    compare(state, {[&] {
                        std::optional<RawClient> client;
                        return secondsOf([&] { client.emplace(url, identity); });
                    },
                    nullptr, libraryConnects(url)});
}

void firstSecuredConnect(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.securedServer().pid());
    const std::string url = setting.securedServer().url();
    const OwnCertificates certificates;
    const Block connects = libraryConnects(url);
    compare(state, {connects, nullptr, [&] {
                        certificates.remove();
                        return connects();
                    }});
}

void securedRead(benchmark::State& state, Setting& setting) {
    const Placed placed(Placement::OneCpu, setting.securedServer().pid());
    const std::string url = setting.securedServer().url();
    const OwnCertificates certificates;
    FacadeClient facade(url, FacadeClient::Security::SignAndEncrypt);
    RawClient raw(url, certificates.identity());
    const int calls = callsPerBlock(setting);
    compare(state, {tightReads(raw, calls), nullptr, tightReads(facade, calls)});
}

} // namespace bench
