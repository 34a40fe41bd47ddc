// The tool's own reading of tickets: any text is taken apart and printed, and where it is well-formed the library's
// handle finds the same units.
#include "tools/sso2ticket/ticket_dissection.h"
#include "tools/sso2ticket/inspect_command.h"

#include <quorvanti/voraksso.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

using namespace quorvanti;

namespace {

constexpr std::size_t handleLimit = 100;

void compareWithHandle(const Dissection& dissection, const std::string& text) {
    TICKET* handle = new_TICKET(1);
    if (handle == nullptr || TcktSetTicket(handle, text.c_str()) != 1) {
        std::abort();
    }
    for (const DissectedUnit& unit : dissection.units) {
        // The handle gives the first of several.
        const auto first = std::find_if(dissection.units.begin(), dissection.units.end(),
                                        [&](const DissectedUnit& other) { return other.id == unit.id; });
        const TicketUnit* same = TcktGetInfoUnit(handle, unit.id);
        if (same == nullptr || !std::equal(first->contents.begin(), first->contents.end(), same->block.data,
                                           same->block.data + same->block.length)) {
            std::abort();
        }
    }
    release_TICKET(&handle);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, std::find(data, data + size, std::uint8_t{0}));
    const Dissection dissection = dissect(text);
    if (dissection.problem.empty() && dissection.units.size() <= handleLimit) {
        compareWithHandle(dissection, text);
    }
    if (text.empty() || text[0] == '@' || text.find_first_not_of(" \t\r\n") == std::string::npos) {
        return 0;
    }
    for (const bool json : {false, true}) {
        std::istringstream in(text);
        std::ostringstream out;
        inspect({"-", json}, in, out);
        if (out.str().find("UNVERIFIED") == std::string::npos) {
            std::abort();
        }
    }
    return 0;
}
