#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "array_operations.h"
#include "uabase/variant.h"

namespace {

std::string textOf(const OpcUa_String& text) {
    return UaString(text).text();
}

UaVariant threeTexts() {
    UaStringArray texts;
    texts.create(3);
    texts.replace(0, UaString("zero").view());
    texts.replace(2, UaString("two").view());
    UaVariant variant;
    setArray(variant, std::move(texts));
    return variant;
}

TEST(VariantView, LooksAtTheValueWhereItLies) {
    const UaVariant owner = threeTexts();
    const UaVariant view = UaVariant::borrow(owner.raw());
    EXPECT_EQ(view.raw().data, owner.raw().data);
    EXPECT_TRUE(view.isArray());
    EXPECT_EQ(view.arraySize(), 3U);
    EXPECT_EQ(view.type(), OpcUaType_String);
}

TEST(VariantView, LooksAtAScalarOfAnyOrigin) {
    OpcUa_Int32 number = 7;
    const UaVariant view = UaVariant::borrow(UA_TYPES[UA_TYPES_INT32], &number);
    EXPECT_EQ(view.type(), OpcUaType_Int32);
    EXPECT_FALSE(view.isArray());
    number = 8;
    OpcUa_Int32 value = 0;
    EXPECT_EQ(view.toInt32(value), OpcUa_Good);
    EXPECT_EQ(value, 8);
}

TEST(VariantView, ForARequestIsNotFreedWithIt) {
    const UaVariant owner = threeTexts();
    OpcUa_Variant lent = owner.view();
    EXPECT_EQ(lent.data, owner.raw().data);
    UA_clear(&lent, &UA_TYPES[UA_TYPES_VARIANT]);
    EXPECT_EQ(textOf(owner.element(2).text()), "two");
}

TEST(VariantView, OfNothingIsEmpty) {
    EXPECT_TRUE(UaVariant::borrow(UaVariant().raw()).isEmpty());
}

TEST(VariantView, ACopyOwnsWhatItHolds) {
    UaVariant copy;
    {
        const UaVariant owner = threeTexts();
        const UaVariant view = UaVariant::borrow(owner.raw());
        copy = view;
        EXPECT_NE(copy.raw().data, owner.raw().data);
    }
    EXPECT_EQ(textOf(copy.element(2).text()), "two");
}

TEST(VariantView, GivesNothingAwayThatIsNotItsOwn) {
    const UaVariant owner = threeTexts();
    UaStringArray texts;
    EXPECT_EQ(toArray(UaVariant::borrow(owner.raw()), texts), OpcUa_Good);
    ASSERT_EQ(texts.length(), 3U);
    EXPECT_NE(texts.rawData(), owner.raw().data);
    OpcUa_Variant moved;
    ASSERT_EQ(UaVariant::borrow(owner.raw()).moveTo(&moved), OpcUa_Good);
    UaVariant taken;
    taken.attach(moved);
    EXPECT_NE(taken.raw().data, owner.raw().data);
    EXPECT_EQ(textOf(owner.element(0).text()), "zero");
}

TEST(VariantView, AnElementIsAScalarOfItsType) {
    UaDoubleArray numbers;
    numbers.create(2);
    numbers[1] = 1.5;
    UaVariant variant;
    setArray(variant, std::move(numbers));
    const UaVariant element = variant.element(1);
    OpcUa_Double value = 0;
    EXPECT_EQ(element.toDouble(value), OpcUa_Good);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(element.type(), OpcUaType_Double);
    EXPECT_FALSE(element.isArray());
    EXPECT_EQ(element.toString().text(), "1.5");
}

TEST(VariantView, TheTextOfAnythingButAStringIsEmpty) {
    UaVariant number;
    number.setInt32(7);
    EXPECT_EQ(number.text().length, 0U);
    EXPECT_EQ(UaVariant().text().length, 0U);
    EXPECT_EQ(threeTexts().text().length, 0U);
    const UaVariant text(UaString("seven"));
    EXPECT_EQ(textOf(text.text()), "seven");
    EXPECT_EQ(text.text().data, static_cast<const OpcUa_String*>(text.raw().data)->data);
}

} // namespace
