#include <climits>
#include <cstdint>
#include <vector>

#include "array_values.h"
#include "client/opcua_client.h"
#include "client_test.h"

namespace {

class ChangeArray : public StandInTest {
protected:
    int position(std::vector<unsigned long> index, std::vector<unsigned long> dimensions) {
        return m_client.ChangeArray(index.data(), dimensions.data(), static_cast<int>(index.size()));
    }

    COpcUaClient m_client;
};

} // namespace

TEST_F(ChangeArray, LastIndexVariesFastest) {
    EXPECT_EQ(position({1, 2}, {3, 4}), 6);
    EXPECT_EQ(position({2, 3, 1}, {4, 5, 6}), 79);
    EXPECT_EQ(position({7}, {9}), 7);
    EXPECT_EQ(position({0, 0, 0}, {4, 5, 6}), 0);
    EXPECT_EQ(position({3, 4, 5}, {4, 5, 6}), 119);
}

TEST_F(ChangeArray, CountsThroughEveryElement) {
    for (const std::vector<OpcUa_UInt32>& dimensions : std::vector<std::vector<OpcUa_UInt32>>{
             {5}, {3, 4}, {2, 3, 4}, {2, 1, 1, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3}}) {
        int expected = 0;
        for (const std::vector<unsigned long>& index : everyIndex(dimensions))
            EXPECT_EQ(position(index, {dimensions.begin(), dimensions.end()}), expected++);
    }
}

TEST_F(ChangeArray, WithoutIndicesIsZeroAndReadsNothing) {
    for (const int count : {0, -1, INT_MIN})
        EXPECT_EQ(m_client.ChangeArray(nullptr, nullptr, count), 0);
}

TEST_F(ChangeArray, FirstDimensionIsNotUsed) {
    for (const unsigned long length : {0UL, 1UL, 3UL, ULONG_MAX}) {
        EXPECT_EQ(position({1, 2}, {length, 4}), 6);
        EXPECT_EQ(position({7}, {length}), 7);
    }
}

TEST_F(ChangeArray, NoIndexIsCheckedAgainstItsDimension) {
    EXPECT_EQ(position({0, 5}, {3, 4}), 5);
    EXPECT_EQ(position({9, 0}, {3, 4}), 36);
}

TEST_F(ChangeArray, UsesTheLow32BitsAndWrapsAround) {
    constexpr unsigned long high = 1UL << 32;
    EXPECT_EQ(position({high + 1, high + 2}, {3, high + 4}), 6);
    EXPECT_EQ(position({0x40000000, 2}, {1, 4}), 2);
    EXPECT_EQ(position({1, 1, 1}, {9, 0x10000, 0x10000}), 0x10001);
    EXPECT_EQ(position({0xFFFFFFFF}, {1}), -1);
    EXPECT_EQ(position({0x80000000}, {1}), INT_MIN);
}
