#include <clocale>
#include <cstring>
#include <limits>
#include <locale>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "OpcUaHelpers.h"

namespace {

template <typename Value>
_OpcUaDataChangeMsg changeOf(Value value) {
    _OpcUaDataChangeMsg change{};
    change.dataType = OpcUaTypeOf<Value>::value;
    std::memcpy(change.value, &value, sizeof value);
    change.valueSize = sizeof value;
    return change;
}

/// As the library fills it.
_OpcUaDataChangeMsg changeOf(const std::string& text) {
    _OpcUaDataChangeMsg change{};
    change.dataType = OpcUaDataType_String;
    std::memset(change.value, 'x', sizeof change.value);
    text.copy(change.value, sizeof change.value);
    change.valueSize = static_cast<int>(text.size() > 255 ? 255 : text.size());
    if (text.size() < sizeof change.value)
        change.value[text.size()] = '\0';
    return change;
}

template <typename Value>
std::string textOf(const Value& value) {
    return OpcUaChangeText(changeOf(value));
}

/// Three children in a row below a parent.
struct Family {
    Family(const std::string& first, const std::string& second, const std::string& third) {
        OpcUaSetField(children[0].browseName, first);
        OpcUaSetField(children[1].browseName, second);
        OpcUaSetField(children[2].browseName, third);
        parent.child = &children[0];
        children[0].next = &children[1];
        children[1].next = &children[2];
    }
    OpcUaNode parent{};
    OpcUaNode children[3] = {};
};

/// As in a country with a decimal comma.
class CommaPunctuation final : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

TEST(Results, EachHasATextOfItsOwn) {
    std::set<std::string> texts;
    for (int code = 0; code <= 29; ++code)
        if (code != 16)
            texts.insert(OpcUaResultText(code));
    EXPECT_EQ(texts.size(), 29U);
    EXPECT_EQ(texts.count(OpcUaResultText(16)), 0U);
    EXPECT_STREQ(OpcUaResultText(-1), OpcUaResultText(16));
    EXPECT_STREQ(OpcUaResultText(3), "not connected");
}

TEST(Statuses, EachHasATextOfItsOwn) {
    std::set<std::string> texts;
    for (int status = OpcUaConnectStatus_NotConnected; status <= OpcUaConnectStatus_NotPublishing; ++status)
        texts.insert(OpcUaConnectStatusText(status));
    EXPECT_EQ(texts.size(), 6U);
    EXPECT_EQ(texts.count(OpcUaConnectStatusText(6)), 0U);
}

TEST(Fields, MayBeFullWithoutATerminator) {
    OpcUaNode node{};
    std::memset(node.displayName, 'd', sizeof node.displayName);
    std::memset(node.browseName, 'b', sizeof node.browseName);
    EXPECT_EQ(OpcUaFieldText(node.displayName), std::string(256, 'd'));
    node.displayName[255] = '\0';
    EXPECT_EQ(OpcUaFieldText(node.displayName), std::string(255, 'd'));
    EXPECT_EQ(OpcUaFieldText(node.nodeId), "");
}

TEST(Fields, TakeATextAsLongAsTheyAre) {
    _OpcUaClientConfig config{};
    EXPECT_TRUE(OpcUaSetField(config.endpointUrl, std::string(128, 'u')));
    EXPECT_EQ(OpcUaFieldText(config.endpointUrl), std::string(128, 'u'));
    EXPECT_EQ(config.securityPolicy, 0) << "the next field";
    EXPECT_TRUE(OpcUaSetField(config.endpointUrl, "short"));
    EXPECT_EQ(OpcUaFieldText(config.endpointUrl), "short");
    EXPECT_EQ(config.endpointUrl[6], '\0');
}

TEST(Fields, AreEmptyRatherThanHalfFilled) {
    _OpcUaClientConfig config{};
    EXPECT_TRUE(OpcUaSetField(config.userName, "operator"));
    EXPECT_FALSE(OpcUaSetField(config.userName, std::string(65, 'n')));
    EXPECT_EQ(OpcUaFieldText(config.userName), "");
    EXPECT_FALSE(OpcUaSetField(config.userName, std::string("oper\0ator", 9)));
    EXPECT_EQ(OpcUaFieldText(config.userName), "");
}

TEST(Nodes, HaveIdAndTypeAndNothingElse) {
    const OpcUaNode node = OpcUaMakeNode("ns=2;s=Line1.Speed", OpcUaDataType_Double);
    EXPECT_EQ(OpcUaFieldText(node.nodeId), "ns=2;s=Line1.Speed");
    EXPECT_EQ(node.dataType, OpcUaDataType_Double);
    EXPECT_EQ(node.child, nullptr);
    EXPECT_EQ(node.arrayInfo.kind, 0);
    EXPECT_EQ(node.result, 0);
}

TEST(Nodes, AreNoneWhenTheirIdHasNoRoom) {
    EXPECT_EQ(OpcUaFieldText(OpcUaMakeNode(std::string(256, 's'), OpcUaDataType_Int32).nodeId).size(), 256U);
    EXPECT_EQ(OpcUaFieldText(OpcUaMakeNode(std::string(257, 's'), OpcUaDataType_Int32).nodeId), "?");
    EXPECT_EQ(OpcUaFieldText(OpcUaMakeNode(std::string("s=a\0b", 5), OpcUaDataType_Int32).nodeId), "?");
    EXPECT_EQ(OpcUaFieldText(OpcUaMakeNode("", OpcUaDataType_Int32).nodeId), "?");
}

TEST(Children, AreFoundByNameInAnyNamespace) {
    const Family family("2:Speed", "2:SpeedSetpoint", "3:State");
    EXPECT_EQ(OpcUaChildByName(&family.parent, "SpeedSetpoint"), &family.children[1]);
    EXPECT_EQ(OpcUaChildByName(&family.parent, "2:Speed"), &family.children[0]);
    EXPECT_EQ(OpcUaChildByName(&family.parent, "3:Speed"), nullptr);
    EXPECT_EQ(OpcUaChildByName(&family.parent, "Spee"), nullptr);
    EXPECT_EQ(OpcUaChildByName(&family.parent, ""), nullptr);
}

TEST(Children, AreTheFirstOfSeveralButTheWholeNameFirst) {
    Family family("2:State", "3:State", "0:3:State");
    EXPECT_EQ(OpcUaChildByName(&family.parent, "State"), &family.children[0]);
    EXPECT_EQ(OpcUaChildByName(&family.parent, "3:State"), &family.children[1]);
    family.parent.child = &family.children[2];
    EXPECT_EQ(OpcUaChildByName(&family.parent, "3:State"), &family.children[2]);
}

TEST(Children, AreNoneWithoutAParentOrABrowse) {
    const OpcUaNode leaf{};
    EXPECT_EQ(OpcUaChildByName(nullptr, "Speed"), nullptr);
    EXPECT_EQ(OpcUaChildByName(&leaf, "Speed"), nullptr);
}

TEST(Changes, GiveTheirValueAsItsOwnTypeAlone) {
    const _OpcUaDataChangeMsg change = changeOf(static_cast<unsigned short>(54321));
    unsigned short value = 0;
    EXPECT_TRUE(OpcUaChangeValue(change, value));
    EXPECT_EQ(value, 54321);
    short other = -7;
    EXPECT_FALSE(OpcUaChangeValue(change, other));
    EXPECT_EQ(other, -7);
    bool flag = false;
    EXPECT_TRUE(OpcUaChangeValue(changeOf(true), flag));
    EXPECT_TRUE(flag);
}

TEST(Changes, AreNumbersWhateverTheirType) {
    double number = 0;
    EXPECT_TRUE(OpcUaChangeNumber(changeOf(std::numeric_limits<signed char>::min()), number));
    EXPECT_EQ(number, -128);
    EXPECT_TRUE(OpcUaChangeNumber(changeOf(std::numeric_limits<unsigned int>::max()), number));
    EXPECT_EQ(number, 4294967295.0);
    EXPECT_TRUE(OpcUaChangeNumber(changeOf(std::numeric_limits<unsigned long>::max()), number));
    EXPECT_EQ(number, 18446744073709551616.0);
    EXPECT_TRUE(OpcUaChangeNumber(changeOf(0.5F), number));
    EXPECT_EQ(number, 0.5);
    EXPECT_FALSE(OpcUaChangeNumber(changeOf(std::string("12")), number));
    EXPECT_FALSE(OpcUaChangeNumber(_OpcUaDataChangeMsg(), number));
    EXPECT_EQ(number, 0.5);
}

TEST(Changes, HoldTextsOfUpTo256Bytes) {
    std::string text;
    EXPECT_TRUE(OpcUaChangeValue(changeOf(std::string(254, 't')), text));
    EXPECT_EQ(text, std::string(254, 't'));
    EXPECT_TRUE(OpcUaChangeValue(changeOf(std::string(255, 't')), text));
    EXPECT_EQ(text, std::string(255, 't'));
    EXPECT_TRUE(OpcUaChangeValue(changeOf(std::string(300, 't')), text));
    EXPECT_EQ(text, std::string(256, 't'));
    EXPECT_TRUE(OpcUaChangeValue(changeOf(std::string("a\0b", 3)), text));
    EXPECT_EQ(text, std::string("a\0b", 3));
    EXPECT_TRUE(OpcUaChangeValue(changeOf(std::string()), text));
    EXPECT_EQ(text, "");
}

TEST(Changes, AreShownWithTheirOwnDigits) {
    EXPECT_EQ(textOf(0.1), "0.1");
    EXPECT_EQ(textOf(0.1F), "0.1");
    EXPECT_EQ(textOf(1.0 / 3), "0.3333333333333333");
    EXPECT_EQ(textOf(-2.718281828459045), "-2.718281828459045");
    EXPECT_EQ(textOf(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(textOf(-std::numeric_limits<float>::quiet_NaN()), "nan");
    EXPECT_EQ(textOf(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(textOf(std::numeric_limits<long>::min()), "-9223372036854775808");
    EXPECT_EQ(textOf(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
    EXPECT_EQ(textOf(static_cast<signed char>(65)), "65");
    EXPECT_EQ(textOf(false), "false");
    EXPECT_EQ(textOf(std::string("Füllstand")), "Füllstand");
    EXPECT_EQ(OpcUaChangeText(_OpcUaDataChangeMsg()), "");
}

TEST(Changes, AreShownWithAPointInEveryLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPunctuation));
    const std::string text = textOf(1234567.5);
    const std::string whole = textOf(1234567);
    std::locale::global(before);
    EXPECT_EQ(text, "1234567.5");
    EXPECT_EQ(whole, "1234567");
}
