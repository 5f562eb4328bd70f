#include <gtest/gtest.h>

#include "uabase/qualified_name.h"

namespace {

TEST(QualifiedName, TextIsNamespaceAndName) {
    EXPECT_EQ(UaQualifiedName("Speed", 2).toString(), UaString("2:Speed"));
    EXPECT_EQ(UaQualifiedName("Objects", 0).toString(), UaString("0:Objects"));
    EXPECT_EQ(UaQualifiedName("a:b", 65535).toString(), UaString("65535:a:b"));
    EXPECT_EQ(UaQualifiedName("", 1).toString(), UaString("1:"));
}

TEST(QualifiedName, TakesTheEngineRecord) {
    const UaString text("温度");
    EXPECT_EQ(UaQualifiedName(OpcUa_QualifiedName{3, text.view()}).toString(), UaString("3:温度"));
    EXPECT_EQ(UaQualifiedName(OpcUa_QualifiedName{0, {0, nullptr}}).toString(), UaString("0:"));
}

} // namespace
