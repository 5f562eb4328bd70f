#include "security_matrix.h"

#include <cstdio>
#include <functional>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace {

const char* const policies[]{"None",           "Basic128Rsa15",         "Basic256",
                             "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};
const char* const modes[]{"None", "Sign", "SignAndEncrypt"};
const char* const identities[]{"Anonymous", "UserName", "Certificate"};

std::string outcome(int code, const std::string& whyNotOffered) {
    if (whyNotOffered.empty())
        return code == 0 ? "connected, read and wrote" : "FAILED with " + std::to_string(code);
    return code == 1 ? "refused: " + whyNotOffered : "NOT REFUSED, though " + whyNotOffered;
}

} // namespace

std::string SecurityCell::text() const {
    char line[80];
    std::snprintf(line, sizeof line, "%-22s %-15s %-12s", policies[policy], modes[mode],
                  identities[identity]);
    return line;
}

void walkSecurityMatrix(const std::string& serverFamily,
                        const std::function<std::string(const SecurityCell&)>& whyNotOffered,
                        const std::function<int(const SecurityCell&)>& tryCell) {
    std::printf("%s: policy, mode, identity and outcome\n", serverFamily.c_str());
    for (int policy = 0; policy < static_cast<int>(std::size(policies)); ++policy) {
        for (int mode = 0; mode < static_cast<int>(std::size(modes)); ++mode) {
            for (int identity = 0; identity < static_cast<int>(std::size(identities)); ++identity) {
                const SecurityCell cell{policy, mode, identity};
                const std::string reason =
                    cell.isCombination() ? whyNotOffered(cell) : "policy None goes with mode None alone";
                SCOPED_TRACE(cell.text());
                const int code = tryCell(cell);
                std::printf("  %s %s\n", cell.text().c_str(), outcome(code, reason).c_str());
                EXPECT_EQ(code, reason.empty() ? 0 : 1);
            }
        }
    }
}
