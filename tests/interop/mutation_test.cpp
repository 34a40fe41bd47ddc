// Nothing but the ticket that was signed is accepted.
#include "tests/interop/evaluation.h"
#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <random>
#include <set>

using namespace quorvanti::test;

namespace {

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
}

Bytes flipBit(Bytes ticket, std::size_t bit) {
    ticket[bit / 8] = static_cast<std::uint8_t>(ticket[bit / 8] ^ (1U << (bit % 8)));
    return ticket;
}

Bytes flipOneBit(const Bytes& original, Random& random) {
    return flipBit(original, below(random, original.size() * 8));
}

Bytes deleteBytes(const Bytes& original, Random& random) {
    Bytes ticket = original;
    for (std::size_t count = 1 + below(random, 4); count > 0; --count) {
        ticket.erase(ticket.begin() + static_cast<std::ptrdiff_t>(below(random, ticket.size())));
    }
    return ticket;
}

Bytes truncate(const Bytes& original, Random& random) {
    return {original.begin(), original.begin() + static_cast<std::ptrdiff_t>(below(random, original.size()))};
}

// Where each unit begins, and behind the last one the end mark.
std::vector<std::size_t> unitsOf(const Bytes& ticket) {
    std::vector<std::size_t> starts{5};
    while (ticket[starts.back()] != 0xFF) {
        const std::size_t at = starts.back();
        starts.push_back(at + 3 + (static_cast<std::size_t>(ticket[at + 1]) << 8) + ticket[at + 2]);
    }
    return starts;
}

Bytes swapUnits(const Bytes& original, Random& random) {
    const std::vector<std::size_t> starts = unitsOf(original);
    const std::size_t count = starts.size() - 1;
    const std::size_t first = below(random, count - 1);
    const std::size_t second = first + 1 + below(random, count - 1 - first);
    const auto at = [&](std::size_t unit) { return original.begin() + static_cast<std::ptrdiff_t>(starts[unit]); };
    Bytes ticket(original.begin(), at(first));
    ticket.insert(ticket.end(), at(second), at(second + 1));
    ticket.insert(ticket.end(), at(first + 1), at(second));
    ticket.insert(ticket.end(), at(first), at(first + 1));
    ticket.insert(ticket.end(), at(second + 1), original.end());
    return ticket;
}

struct Signed {
    std::string name;
    KeyKind kind;
    std::string profile;
    Bytes ticket;
    std::size_t certificateAt;  // where the carried certificate begins; 0: none is carried
};

// The bytes of a carried certificate in which a flipped bit is harmless: they make it the certificate of somebody else,
// which is then no part of the check. The signer's own certificate, by which the signature is checked, is the key
// store's. Positions count from the certificate's first byte.
struct HarmlessByte {
    KeyKind kind;
    std::size_t first;
    std::size_t last;
    const char* reason;
};

constexpr HarmlessByte harmlessBytes[] = {
    // clang-format off
    {KeyKind::rsa, 15, 16, "serial number"},
    {KeyKind::rsa, 34, 50, "issuer"},
    {KeyKind::ec,  14, 15, "serial number"},
    {KeyKind::ec,  17, 17, "length of the signature algorithm, which moves the place where the issuer is read"},
    {KeyKind::ec,  30, 46, "issuer"},
    {KeyKind::dsa, 15, 16, "serial number"},
    {KeyKind::dsa, 18, 18, "length of the signature algorithm, which moves the place where the issuer is read"},
    {KeyKind::dsa, 32, 48, "issuer"},
    // clang-format on
};

bool isHarmless(const Signed& original, std::size_t byte) {
    return original.certificateAt != 0 &&
           std::any_of(std::begin(harmlessBytes), std::end(harmlessBytes), [&](const HarmlessByte& harmless) {
               return harmless.kind == original.kind && byte >= original.certificateAt + harmless.first &&
                      byte <= original.certificateAt + harmless.last;
           });
}

// The changed bytes of a mutation that kept the length.
bool isHarmless(const Signed& original, const Bytes& mutated) {
    if (mutated.size() != original.ticket.size()) {
        return false;
    }
    for (std::size_t byte = 0; byte < mutated.size(); ++byte) {
        if (mutated[byte] != original.ticket[byte] && !isHarmless(original, byte)) {
            return false;
        }
    }
    return true;
}

class Mutations : public testing::Test {
protected:
    Mutations() {
        for (const KeyKind kind : {KeyKind::rsa, KeyKind::ec, KeyKind::dsa}) {
            const InProcessIssuer issuer(kind);
            const std::string profile = directory_.file(nameOf(kind));
            writeFile(profile, issuer.certificatePem());
            for (const bool withCertificate : {true, false}) {
                for (const bool withAttributes : {true, false}) {
                    add(issuer, kind, profile, {"sha256", withCertificate, withAttributes});
                }
            }
        }
    }

    void add(const InProcessIssuer& issuer, KeyKind kind, const std::string& profile, const SignOptions& options) {
        const Bytes content = TicketBuilder::logon(std::time(nullptr)).signedBytes();
        const Bytes ticket = decodedTicket(content, issuer.sign(content, options));
        const Bytes certificate = issuer.certificateDer();
        const auto found = std::search(ticket.begin(), ticket.end(), certificate.begin(), certificate.end());
        originals_.push_back({std::string(nameOf(kind)) + (options.withCertificate ? " certificate" : "") +
                                  (options.withAttributes ? " attributes" : ""),
                              kind, profile, ticket,
                              found == ticket.end() ? 0 : static_cast<std::size_t>(found - ticket.begin())});
    }

    static bool accepted(const Bytes& ticket, const std::string& profile) {
        return evaluateLogon(base64(ticket), profile).code == VORAK_OK;
    }

    const TemporaryDirectory directory_;
    const Library library_;
    std::vector<Signed> originals_;
};

TEST_F(Mutations, TheOriginalsAreAccepted) {
    for (const Signed& original : originals_) {
        EXPECT_TRUE(accepted(original.ticket, original.profile)) << original.name;
    }
}

TEST_F(Mutations, OfTenThousandNoneIsAccepted) {
    Random random(20240229);  // always the same ones
    int tried = 0;
    while (tried < 10000) {
        const Signed& original = originals_[below(random, originals_.size())];
        const auto mutate = std::array{flipOneBit, deleteBytes, truncate, swapUnits}[below(random, 4)];
        const Bytes mutated = mutate(original.ticket, random);
        if (isHarmless(original, mutated)) {
            continue;  // a listed byte, or no change at all (two equal bytes deleted or swapped make none)
        }
        ++tried;
        EXPECT_FALSE(accepted(mutated, original.profile)) << original.name << ", mutation " << tried;
    }
}

// Every single bit. Without a carried certificate none is harmless; with one, those listed above are and no others.
TEST_F(Mutations, EveryOneBitFlipIsRefusedButThoseListed) {
    for (const Signed& original : originals_) {
        std::set<std::size_t> harmless;
        for (std::size_t bit = 0; bit < original.ticket.size() * 8; ++bit) {
            if (accepted(flipBit(original.ticket, bit), original.profile)) {
                harmless.insert(bit / 8);
            }
        }
        std::set<std::size_t> listed;
        for (std::size_t byte = 0; byte < original.ticket.size(); ++byte) {
            if (isHarmless(original, byte)) {
                listed.insert(byte);
            }
        }
        EXPECT_EQ(harmless, listed) << original.name;
        EXPECT_EQ(harmless.empty(), original.certificateAt == 0) << original.name;
    }
}

// The signature's length says where a ticket ends. What follows is not read, on purpose: the text's length rule counts
// up to three bytes too many when the padding was lost on the way.
TEST_F(Mutations, BytesBehindTheSignatureAreNoPartOfTheTicket) {
    for (const Signed& original : originals_) {
        Bytes longer = original.ticket;
        longer.insert(longer.end(), 3, 0x41);
        const Evaluation result = evaluateLogon(base64(longer), original.profile);
        EXPECT_EQ(result.code, VORAK_OK) << original.name;
        EXPECT_EQ(result.user, "JDOE") << original.name;
    }
}

}  // namespace
