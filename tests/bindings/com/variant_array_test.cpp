// Arrays of other types as arrays of VARIANTs.
#include "bindings/com/variant_array.h"

#include <gtest/gtest.h>

#include <string>

using namespace quorvanti::com;

namespace {

SAFEARRAY* numbersFrom(LONG first, std::initializer_list<LONG> numbers) {
    SAFEARRAY* const array = SafeArrayCreateVector(VT_I4, first, static_cast<ULONG>(numbers.size()));
    LONG index = first;
    for (LONG number : numbers) {
        EXPECT_EQ(SafeArrayPutElement(array, &index, &number), S_OK);
        ++index;
    }
    return array;
}

TEST(VariantArray, NumbersKeepTheirPlacesAndBounds) {
    SAFEARRAY* variants = nullptr;
    ASSERT_EQ(toVariants(numbersFrom(3, {7, -1, 2147483647}), &variants), S_OK);
    LONG first = 0;
    LONG last = 0;
    SafeArrayGetLBound(variants, 1, &first);
    SafeArrayGetUBound(variants, 1, &last);
    EXPECT_EQ(first, 3);
    EXPECT_EQ(last, 5);
    const LONG expected[] = {7, -1, 2147483647};
    for (LONG index = 3; index < 6; ++index) {
        VARIANT element{};
        ASSERT_EQ(SafeArrayGetElement(variants, &index, &element), S_OK);
        EXPECT_EQ(element.vt, VT_I4);
        EXPECT_EQ(element.lVal, expected[index - 3]);
    }
    SafeArrayDestroy(variants);
}

TEST(VariantArray, TextsAreCopiedWithTheirZeros) {
    VARIANT array = variantOf({wide(""), wide(std::string_view("a\0b", 3)), wide("\xC3\xBC")});
    ASSERT_EQ(array.vt, VT_ARRAY | VT_VARIANT);
    const std::wstring expected[] = {L"", std::wstring(L"a\0b", 3), L"\x00FC"};
    for (LONG index = 0; index < 3; ++index) {
        VARIANT element{};
        ASSERT_EQ(SafeArrayGetElement(array.parray, &index, &element), S_OK);
        ASSERT_EQ(element.vt, VT_BSTR);
        EXPECT_EQ(std::wstring(element.bstrVal, SysStringLen(element.bstrVal)), expected[index]);
        VariantClear(&element);
    }
    VariantClear(&array);
}

TEST(VariantArray, OtherArraysAreRefused) {
    SAFEARRAY* variants = nullptr;
    EXPECT_EQ(toVariants(SafeArrayCreateVector(VT_R8, 0, 2), &variants), DISP_E_TYPEMISMATCH);
    SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
    EXPECT_EQ(toVariants(SafeArrayCreate(VT_I4, 2, bounds), &variants), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(variants, nullptr);
    ASSERT_EQ(toVariants(SafeArrayCreateVector(VT_I4, 0, 0), &variants), S_OK);
    SafeArrayDestroy(variants);
}

}  // namespace
