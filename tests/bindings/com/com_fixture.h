// The COM class on a crypto library that answers what a test tells it.
#pragma once

#include "tests/bindings/com/com_client.h"
#include "tests/support/crypto_double/crypto_double.h"
#include "tests/support/issuer/ticket_builder.h"

#include <ctime>
#include <string>

namespace quorvanti::test {

class ComTest : public testing::Test {
protected:
    ~ComTest() override {
        tickets_.reset();
        EXPECT_EQ(library_.canUnloadNow(), S_OK);
        library_.find<std::int32_t()>("VorakShutdown")();
        EXPECT_TRUE(crypto_->outstanding.empty());
    }

    void start() { ASSERT_EQ(outcomeOf(tickets_->slot3(Bstr(crypto_.path()))), kSuccess); }

    static std::string signedTicket(const TicketBuilder& builder) {
        return ticketText(builder.signedBytes(), bytesOf("signature"));
    }
    static TicketBuilder ticketOf(std::string_view user, std::string_view systemId, std::string_view client) {
        TicketBuilder ticket;
        ticket.creation(std::time(nullptr)).validityHours(8);
        if (!user.empty()) {
            ticket.user(user);
        }
        if (!systemId.empty()) {
            ticket.systemId(systemId);
        }
        if (!client.empty()) {
            ticket.client(client);
        }
        return ticket;
    }
    static std::string logon() { return signedTicket(ticketOf("JDOE", "PRD", "100")); }

    CryptoDouble crypto_;
    const ComLibrary library_;
    Held<TicketSlots> tickets_ = library_.create();
};

}  // namespace quorvanti::test
