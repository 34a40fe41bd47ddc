#include "bindings/com/variant_array.h"

#include <new>

namespace quorvanti::com {
namespace {

struct ArrayRelease {
    void operator()(SAFEARRAY* array) const { SafeArrayDestroy(array); }
};
using OwnedArray = std::unique_ptr<SAFEARRAY, ArrayRelease>;

// The copy of one element: VariantCopy would make it anyway when the element is put into its array.
HRESULT elementOf(SAFEARRAY* array, VARTYPE type, LONG index, VARIANT& element) {
    VariantInit(&element);
    const HRESULT result = type == VT_BSTR ? SafeArrayGetElement(array, &index, &element.bstrVal)
                                           : SafeArrayGetElement(array, &index, &element.lVal);
    if (SUCCEEDED(result)) {
        element.vt = type;
    }
    return result;
}

HRESULT copyElements(SAFEARRAY* source, VARTYPE type, SAFEARRAY* target) {
    const LONG first = source->rgsabound[0].lLbound;
    const auto count = static_cast<LONG>(source->rgsabound[0].cElements);
    for (LONG index = first; index < first + count; ++index) {
        VARIANT element;
        HRESULT result = elementOf(source, type, index, element);
        if (SUCCEEDED(result)) {
            result = SafeArrayPutElement(target, &index, &element);
        }
        VariantClear(&element);
        if (FAILED(result)) {
            return result;
        }
    }
    return S_OK;
}

}  // namespace

HRESULT toVariants(SAFEARRAY* source, SAFEARRAY** variants) noexcept {
    const OwnedArray owned(source);
    *variants = nullptr;
    VARTYPE type = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(source, &type)) || (type != VT_BSTR && type != VT_I4) ||
        SafeArrayGetDim(source) != 1) {
        return DISP_E_TYPEMISMATCH;
    }
    SAFEARRAYBOUND bounds = source->rgsabound[0];
    OwnedArray target(SafeArrayCreate(VT_VARIANT, 1, &bounds));
    if (target == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = copyElements(source, type, target.get());
    if (SUCCEEDED(result)) {
        *variants = target.release();
    }
    return result;
}

VARIANT variantOf(std::initializer_list<OwnedBstr> texts) {
    OwnedArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(texts.size())));
    if (array == nullptr) {
        throw std::bad_alloc();
    }
    LONG index = 0;
    for (const OwnedBstr& text : texts) {
        if (FAILED(SafeArrayPutElement(array.get(), &index, text.get()))) {
            throw std::bad_alloc();
        }
        ++index;
    }
    VARIANT variant{};
    if (FAILED(toVariants(array.release(), &variant.parray))) {
        throw std::bad_alloc();
    }
    variant.vt = VT_ARRAY | VT_VARIANT;
    return variant;
}

}  // namespace quorvanti::com
