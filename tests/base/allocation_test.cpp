#include <utility>

#include <gtest/gtest.h>

#include "support/allocation_counter.h"
#include "uabase/node_id.h"
#include "uabase/variant.h"

namespace {

using test_support::allocationsDuring;

TEST(Allocation, TheCounterSeesBothWaysOfAllocating) {
    EXPECT_EQ(allocationsDuring([] { ::operator delete(::operator new(1)); }), 1U);
    OpcUa_Variant variant;
    UaVariant number;
    number.setInt32(1);
    EXPECT_EQ(allocationsDuring([&] { number.copyTo(&variant); }), 1U);
    UaVariant owner;
    owner.attach(variant);
}

TEST(Allocation, ScalarsAreSetCopiedAndMovedWithoutAllocating) {
    EXPECT_EQ(allocationsDuring([] {
                  UaVariant number;
                  number.setDouble(1.5);
                  UaVariant copy(number);
                  copy = number;
                  const UaVariant fromEngine(number.raw());
                  UaVariant moved(std::move(copy));
                  moved = fromEngine;
                  number.setBoolean(true);
                  number.clear();
              }),
              0U);
}

TEST(Allocation, ConversionsBetweenNumbersAndFromTextAllocateNothing) {
    UaVariant number;
    number.setUInt64(200);
    const UaVariant text(UaString("-12.5e1, which is far too long for a short string"));
    const UaVariant numericText(UaString("00000000000000000000000000000000000000000000000125"));
    EXPECT_EQ(allocationsDuring([&] {
                  OpcUa_Boolean truth = false;
                  OpcUa_SByte tooSmall = 0;
                  OpcUa_Int32 integer = 0;
                  OpcUa_Double real = 0;
                  number.toBoolean(truth);
                  number.toSByte(tooSmall);
                  number.toInt32(integer);
                  number.toDouble(real);
                  text.toInt32(integer);
                  numericText.toInt32(integer);
                  numericText.toDouble(real);
              }),
              0U);
}

TEST(Allocation, ATextCostsItsCharactersAlone) {
    const UaString text("long enough to need an allocation of its own");
    UaVariant variant;
    EXPECT_EQ(allocationsDuring([&] { variant.setString(text); }), 1U);
    EXPECT_EQ(allocationsDuring([&] { EXPECT_FALSE(UaVariant(variant).isEmpty()); }), 1U);
    EXPECT_EQ(allocationsDuring([&] { const UaVariant moved(std::move(variant)); }), 0U);
}

TEST(Allocation, AttachTakesTheContentWithoutCopying) {
    OpcUa_Variant array;
    UA_Variant_setArrayCopy(&array, UaUInt32Array().rawData(), 0, &UA_TYPES[UA_TYPES_UINT32]);
    UaVariant variant;
    EXPECT_EQ(allocationsDuring([&] { variant.attach(array); }), 0U);
}

TEST(Allocation, ANodeIdTextCostsItsIdentifierAlone) {
    const UaString numeric("ns=2;i=4294967295");
    const UaString text("ns=2;s=Line1.Boiler.Temperature.SetPoint");
    const UaString opaque("ns=2;b=AQIDBAUGBwgJCgsMDQ4PEBESExQ=");
    const UaString guid("ns=2;g=72962b91-fa75-4ae6-8d28-b404dc7daf63");
    EXPECT_EQ(allocationsDuring([&] { UaNodeId::fromXmlString(numeric); }), 0U);
    EXPECT_EQ(allocationsDuring([&] { UaNodeId::fromXmlString(guid); }), 0U);
    EXPECT_EQ(allocationsDuring([&] { UaNodeId::fromXmlString(text); }), 1U);
    EXPECT_EQ(allocationsDuring([&] { UaNodeId::fromXmlString(opaque); }), 1U);
}

} // namespace
