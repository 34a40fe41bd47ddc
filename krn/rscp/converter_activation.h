// Preparation of converter objects.
#pragma once

#include "krn/rscp/code_pages.h"
#include "krn/rscp/converter.h"

namespace quorvanti {

// Finds the tables that the object's method needs, loading them where necessary. Called without read access.
std::int32_t prepareTables(rscpCObj_t& object);
// Forgets what is prepared when the surroundings answer otherwise than at activation.
void refreshObject(rscpCObj_t& object);

// Records why the pair has no method.
std::int32_t unsupportedPair(const CodePageDescription& source, const CodePageDescription& target);

}  // namespace quorvanti
