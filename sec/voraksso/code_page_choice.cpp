#include "sec/voraksso/code_page_choice.h"

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/properties.h"

#include <algorithm>

namespace quorvanti {

std::array<char, 4> chooseCodePage(std::string_view given) {
    std::array<char, 4> codePage{};
    if (given[0] != '\0') {
        std::copy_n(given.begin(), codePage.size(), codePage.begin());
        TRACE(3, "Got the codepage %4.4s from input \n", codePage.data());
    } else {
        codePage = codePageProperty();
        TRACE(3, "Got the codepage %4.4s from properties \n", codePage.data());
    }
    const char first = codePage[0];
    const bool allEqual = codePage == std::array<char, 4>{first, first, first, first};
    if (allEqual && (first == ' ' || first == '0' || first == '\0')) {
        TRACE(2, "KAV codepage %4.4s is invalid. Use UTF8 for output.", codePage.data());
        return {'4', '1', '1', '0'};
    }
    return codePage;
}

}  // namespace quorvanti
