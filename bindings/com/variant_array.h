// Arrays as automation clients take them.
#pragma once

#include "bindings/com/com_text.h"

#include <initializer_list>

namespace quorvanti::com {

// An array of VARIANTs with the bounds and the elements of an array of BSTRs or of 32-bit integers. The other array is
// destroyed, also on failure: DISP_E_TYPEMISMATCH for any other type or more than one dimension, or E_OUTOFMEMORY.
HRESULT toVariants(SAFEARRAY* source, SAFEARRAY** variants) noexcept;

// The texts as an array of VARIANTs that begins at 0. Throws std::bad_alloc.
VARIANT variantOf(std::initializer_list<OwnedBstr> texts);

}  // namespace quorvanti::com
