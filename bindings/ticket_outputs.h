// A record for the evaluation of a ticket and the fields that it fills, as the faces hand them on: texts in UTF-8, 128
// bytes each.
#pragma once

#include <quorvanti/voraksso.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace quorvanti {

struct TicketText {
    char text[128];
    std::uint32_t length = sizeof text;

    std::string_view view() const { return {text, std::min<std::size_t>(length, sizeof text)}; }
};

struct TicketOutputs {
    TicketOutputs() {
        info.struct_size = sizeof info;
        std::memcpy(info.code_page, "4110", sizeof info.code_page);
        info.user = user.text;
        info.user_capacity = &user.length;
        info.system_id = systemId.text;
        info.system_id_capacity = &systemId.length;
        info.client = client.text;
        info.client_capacity = &client.length;
        info.portal_user = portalUser.text;
        info.portal_user_capacity = &portalUser.length;
        info.auth_scheme = authScheme.text;
        info.auth_scheme_capacity = &authScheme.length;
        info.validity = &validity;
    }
    TicketOutputs(const TicketOutputs&) = delete;
    TicketOutputs& operator=(const TicketOutputs&) = delete;

    TICKET_INFO info{};
    TicketText user;
    TicketText systemId;
    TicketText client;
    TicketText portalUser;
    TicketText authScheme;
    std::int32_t validity = 0;
};

}  // namespace quorvanti
