#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "security/password.h"

/// Short ones lie within a string, long ones on the heap: looked at is where the object itself was.
TEST(PasswordOfARecord, LeavesNothingInItsPlace) {
    for (const std::size_t length : {4U, 8U, 15U, 16U, 40U, 64U}) {
        const std::string text = std::string("s3cret-w0rd,").append(64, 'x').substr(0, length);
        _OpcUaClientConfig config{};
        text.copy(config.password, text.size());
        alignas(Password) unsigned char place[sizeof(Password)] = {};
        const auto isThere = [&place, &text] {
            return std::search(std::begin(place), std::end(place), text.begin(), text.end()) !=
                   std::end(place);
        };
        auto* const password = new (place) Password(config);
        EXPECT_EQ(password->text().text(), text);
        EXPECT_TRUE(isThere());
        password->~Password();
        EXPECT_FALSE(isThere()) << length;
    }
}
