#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "client_fixture.h"

namespace {

const char* const typeNames[] = {"",       "Boolean", "SByte",  "Byte",  "Int16",  "UInt16", "Int32",
                                 "UInt32", "Int64",   "UInt64", "Float", "Double", "String"};

std::string rack(const std::string& name) {
    return "ns=3;s=TestRack." + name;
}

/// Elements of arrays and matrices, each as text whatever its type: the server's element k holds k.
class Elements : public ClientTest {
protected:
    using Indices = std::vector<unsigned long>;

    void SetUp() override { ASSERT_EQ(connect(), 0); }

    int get(OpcUaNode* node, Indices index, void* buffer, int& size) {
        return client.OpcUaGetArrayValue(node, index.data(), static_cast<int>(index.size()), buffer, size);
    }
    int set(OpcUaNode* node, Indices index, const void* buffer, int& size) {
        return client.OpcUaSetArrayValue(node, index.data(), static_cast<int>(index.size()), buffer, size);
    }
    int getInt(const std::string& name, const Indices& index, int& value) {
        int size = 0;
        return get(node(rack(name), OpcUaDataType_Int32), index, &value, size);
    }
    int setInt(const std::string& name, const Indices& index, int value) {
        int size = sizeof value;
        return set(node(rack(name), OpcUaDataType_Int32), index, &value, size);
    }
    std::string text(const std::string& name, const Indices& index) {
        char buffer[64] = {};
        int size = sizeof buffer;
        EXPECT_EQ(get(node(rack(name), OpcUaDataType_String), index, buffer, size), 0) << name;
        return buffer;
    }
    static std::string expected(int type, int position) {
        switch (type) {
        case OpcUaDataType_Boolean:
            return position % 2 == 1 ? "true" : "false";
        case OpcUaDataType_Float:
        case OpcUaDataType_Double:
            return std::to_string(position) + ".5";
        case OpcUaDataType_String:
            return "Element " + std::to_string(position);
        default:
            return std::to_string(position);
        }
    }
};

TEST_F(Elements, OfEveryTypeAndShapeAreRead) {
    for (int type = 1; type <= 12; ++type) {
        const std::string name = typeNames[type];
        EXPECT_EQ(text("Array." + name, {9}), expected(type, 9));
        EXPECT_EQ(text("Matrix2." + name, {2, 3}), expected(type, 11));
        EXPECT_EQ(text("Matrix3." + name, {1, 2, 3}), expected(type, 23));
        EXPECT_EQ(text("Matrix16." + name, {1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2}),
                  expected(type, 11));
    }
}

TEST_F(Elements, OfEveryTypeAreWrittenAloneInTheirOwnType) {
    for (int type = 1; type <= 12; ++type) {
        for (const char* shape : {"Array.", "Matrix2.", "Matrix3."}) {
            const std::string name = std::string(shape) + typeNames[type];
            const Indices first(shape[0] == 'A' ? 1U : static_cast<std::size_t>(shape[6] - '0'), 0);
            Indices second = first;
            second.back() = 1;
            char buffer[64] = {};
            int size = sizeof buffer;
            OpcUaNode* const record = node(rack(name), static_cast<_OpcUaDataType>(type));
            ASSERT_EQ(get(record, second, buffer, size), 0) << name;
            EXPECT_EQ(set(record, first, buffer, size), 0) << name;
            EXPECT_EQ(text(name, first), expected(type, 1)) << name;
            EXPECT_EQ(text(name, second), expected(type, 1)) << name;
            second.back() = 2;
            EXPECT_EQ(text(name, second), expected(type, 2)) << name;
        }
    }
}

TEST_F(Elements, BeyondTheirDimensionAreFoundAtTheFlatPosition) {
    int value = 0;
    EXPECT_EQ(getInt("Matrix2.Int32", {0, 7}, value), 0);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(setInt("Matrix2.Int32", {0, 11}, 111), 0);
    EXPECT_EQ(getInt("Matrix2.Int32", {2, 3}, value), 0);
    EXPECT_EQ(value, 111);
}

TEST_F(Elements, OutsideTheValueOrOfAnotherShapeFail) {
    const std::pair<const char*, Indices> rows[] = {
        {"Array.Int32", {10}},         {"Array.Int32", {0, 0}},   {"EmptyArray.Int32", {0}},
        {"Matrix2.Int32", {2}},        {"Matrix2.Int32", {3, 0}}, {"Matrix2.Int32", {0, 0, 0}},
        {"Matrix17.Int32", {0, 0, 0}}, {"Scalar.Int32", {0}},     {"Special.Empty", {0}}};
    for (const auto& [name, index] : rows) {
        int value = 77;
        EXPECT_EQ(getInt(name, index, value), 7) << name;
        EXPECT_EQ(value, 77) << name;
        EXPECT_EQ(errorText(), "读节点值出错");
        EXPECT_EQ(setInt(name, index, 1), 8) << name;
        EXPECT_EQ(errorText(), "写节点值出错");
    }
}

TEST_F(Elements, ThatTheServerProtectsFail) {
    int value = 77;
    EXPECT_EQ(getInt("Moving.Array", {0}, value), 0);
    EXPECT_EQ(setInt("Moving.Array", {0}, 1), 8);
    EXPECT_EQ(setInt("Status.Bad", {0}, 1), 8);
}

} // namespace
