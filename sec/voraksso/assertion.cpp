// Creates assertion tickets.
#include "base/dptrc/dptrace.h"
#include "krn/time/clock.h"
#include "sec/voraksso/assertion_checks.h"
#include "sec/voraksso/assertion_result.h"
#include "sec/voraksso/code_page_choice.h"
#include "sec/voraksso/content_conversion.h"
#include "sec/voraksso/guarded.h"
#include "sec/voraksso/in_context.h"
#include "sec/voraksso/properties.h"
#include "sec/voraksso/state.h"
#include "sec/voraksso/ticket_codec.h"
#include "sec/voraksso/validity.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";

constexpr std::array<std::uint8_t, 4> kTwoMinutes{0, 0, 0, 2};
constexpr std::array<std::uint8_t, 1> kFlags{kAssertionFlag};
constexpr std::size_t kProfileLimit = 131;
constexpr std::uint8_t kPortalUserLimit = 249;
constexpr std::string_view kPortalPrefix = "portal:";

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

int printedLength(std::string_view text) {
    return static_cast<int>(text.size());
}

// What signs the ticket. The password of a cached key is copied, because the key may be replaced meanwhile.
class SigningContext {
public:
    explicit SigningContext(const AssertionRequest& request) {
        TRACE(3, "Initialize variables...\n");
        TRACE(3, "Preparing InContext...\n");
        context_.cryptoTable = &libraryState().cryptoTable;
        context_.Format.assign(kTicketFormat);
        context_.hashAlgorithm.assign(propertyCopy("SSF_HASH"));
        context_.signerId.assign("<implicit>");
        context_.libraryMarker.assign("KAVSECULIB");
        context_.includeCertificate = includeCertificateProperty() ? 1 : 0;
        const bool given = request.profile != nullptr && *request.profile != '\0';
        TRACE(3, "Profile (path to key) is the following: %s\n", given ? request.profile : "(NULL)");
        TRACE(3, "Password is %s\n", request.password != nullptr ? "set (but not displayed here)" : "null (empty)");
        if (given) {
            context_.signingProfile.assign(std::string_view(request.profile).substr(0, kProfileLimit));
            context_.password = request.password;
        } else {
            useCachedKey();
        }
    }
    ~SigningContext() { wipeMemory(keyPassword_.data(), keyPassword_.size()); }
    SigningContext(const SigningContext&) = delete;
    SigningContext& operator=(const SigningContext&) = delete;

    const InContext& get() const { return context_; }

private:
    // A key that is no key store has no name and cannot sign.
    void useCachedKey() {
        LibraryState& state = libraryState();
        const ThrRecMtxGuard lock(state.cryptoLock);
        const TicketKeyCache& key = state.ticketKey;
        const std::string_view name = cachedProfile(key);
        if (name.empty()) {
            return;
        }
        TRACE(3, "Memory key is used: %.*s\n", static_cast<int>(name.size()), name.data());
        context_.signingProfile.assign(name.substr(0, kProfileLimit));
        if (const char* password = cachedPassword(key)) {
            std::memcpy(keyPassword_.data(), password, keyPassword_.size());
            context_.password = keyPassword_.data();
        }
    }

    InContext context_;
    std::array<char, sizeof TicketKeyCache::keyPassword> keyPassword_{};
};

// Puts the units together; the first failure ends it.
class AssertionContents {
public:
    explicit AssertionContents(std::string_view codePage) : codePage_(codePage) {}

    const ContentList& list() const { return list_; }

    // The contents as they are. The lines are for a node that cannot be made and for one that cannot be inserted; null:
    // no line, and a failed insertion is no failure.
    std::int32_t add(std::uint32_t id, std::span<const std::uint8_t> contents, const char* failure,
                     const char* notInserted) {
        static constexpr std::uint8_t kNothing = 0;
        std::unique_ptr<ContentNode> node;
        std::int32_t code = NewContentNode(contents.empty() ? &kNothing : contents.data(), contents.size(), id, node);
        if (code != VORAK_OK) {
            if (failure != nullptr) {
                TRACE_ERROR("%s", failure);
            }
            return code;
        }
        code = AddContentNode(&list_, node);
        if (code != VORAK_OK && notInserted != nullptr) {
            TRACE_ERROR("%s", notInserted);
            return code;
        }
        return VORAK_OK;
    }
    // The text in UTF-8.
    std::int32_t addConverted(std::uint32_t id, std::string_view text, const char* failure) {
        std::unique_ptr<ContentNode> node;
        std::int32_t code = NewUtf8ContentNode(node, bytesOf(text), id, codePage_);
        if (code == VORAK_OK) {
            code = AddContentNode(&list_, node);
        }
        if (code != VORAK_OK) {
            TRACE_ERROR("%s", failure);
        }
        return code;
    }

private:
    std::string_view codePage_;
    ContentList list_;
};

// A clock before 1970 counts as 1970, one beyond 32 bits as their end.
std::string creationTime() {
    const std::int64_t now = std::clamp<std::int64_t>(currentSeconds(), 0, std::numeric_limits<std::uint32_t>::max());
    const CalendarTime time = utcTime(now);
    char digits[64];
    std::snprintf(digits, sizeof digits, "%04d%02d%02d%02d%02d", time.year + 1900, time.month + 1, time.dayOfMonth,
                  time.hour, time.minute);
    return digits;
}

std::int32_t addIssuer(AssertionContents& contents, const AssertionRequest& request) {
    std::int32_t code = contents.add(kUnitCreatorClient, bytesOf(request.ownClient),
                                     "Error in HMskiContentNew (Client)", "Error in HMskiInsertContent (Client)");
    if (code != VORAK_OK) {
        return code;
    }
    TRACE(2, "Write KAV client to ticket %s \n", request.ownClient);
    code =
        contents.add(kUnitCreatorSystemId, bytesOf(request.ownSystemId), "Error in HMskiContentNew (SYSID)", nullptr);
    if (code != VORAK_OK) {
        return code;
    }
    TRACE(2, "Write KAV system Id to ticket %s \n", request.ownSystemId);
    return VORAK_OK;
}

std::int32_t addLifetime(AssertionContents& contents) {
    const std::string created = creationTime();
    // A ticket without its creation time is refused by whoever receives it, so nothing is lost by going on.
    if (contents.add(kUnitCreationTime, bytesOf(created), nullptr, nullptr) == VORAK_OK) {
        TRACE(2, "Write ticket creation date %s \n", created.c_str());
    }
    std::int32_t code = contents.add(kUnitValidityMinutes, kTwoMinutes, "Couldn't create content (lifetime)", nullptr);
    if (code != VORAK_OK) {
        return code;
    }
    TRACE(2, "Write assertion ticket validity \n");
    code = contents.add(kUnitFlags, kFlags, "Couldn't create content (flags)", nullptr);
    if (code != VORAK_OK) {
        return code;
    }
    TRACE(2, "Write assertion ticket flag \n");
    return VORAK_OK;
}

std::int32_t addRecipient(AssertionContents& contents, const AssertionContent& content) {
    const std::string_view client = givenText(content.recipientClient, content.recipientClientLength);
    std::int32_t code =
        contents.addConverted(kUnitRecipientClient, client, "Couldn't create content (recipient client)");
    if (code != VORAK_OK) {
        return code;
    }
    TRACE(2, "Write Recipient client to ticket %*.*s \n", printedLength(client), printedLength(client), client.data());
    const std::string_view systemId = givenText(content.recipientSysId, content.recipientSysIdLength);
    code = contents.addConverted(kUnitRecipientSystemId, systemId, "Couldn't create content (recipient sysid)");
    if (code != VORAK_OK) {
        return code;
    }
    TRACE(2, "Write Recipient system Id to ticket %*.*s \n", printedLength(systemId), printedLength(systemId),
          systemId.data());
    return VORAK_OK;
}

std::int32_t addUser(AssertionContents& contents, std::string_view user) {
    const std::int32_t code = contents.add(kUnitUser, bytesOf(user), "Couldn't create content for KAV user", nullptr);
    if (code == VORAK_OK) {
        TRACE(2, "Write user id to ticket %*.*s \n", printedLength(user), printedLength(user), user.data());
    }
    return code;
}

std::int32_t addLanguage(AssertionContents& contents, std::string_view language) {
    if (language.size() > 1) {
        TRACE_ERROR("KAV language too long\n");
        return VORAK_INVALID;
    }
    const std::int32_t code =
        contents.add(kUnitLanguage, bytesOf(language), "Couldn't create content for KAV language", nullptr);
    if (code == VORAK_OK) {
        TRACE(2, "Write KAV language to ticket %*.*s \n", printedLength(language), printedLength(language),
              language.data());
    }
    return code;
}

std::int32_t addPortalUser(AssertionContents& contents, std::string_view user) {
    // Compares a character where a length was meant; the length was checked before. Deliberate: callers know that no
    // such user gets a ticket.
    if (static_cast<std::uint8_t>(user.front()) > kPortalUserLimit) {
        TRACE_ERROR("Portal user size more than allowed.\n");
        return VORAK_BUFFER_TOO_SMALL;
    }
    // A text that is too long is replaced by zero bytes while its length stays: deliberate, it arrives empty.
    std::array<char, kPortalPrefix.size() + kLongestPortalUser> text{};
    kPortalPrefix.copy(text.data(), kPortalPrefix.size());
    if (user.size() <= kPortalUserLimit) {
        user.copy(text.data() + kPortalPrefix.size(), user.size());
    }
    const std::int32_t code = contents.addConverted(kUnitPortalUser, {text.data(), kPortalPrefix.size() + user.size()},
                                                    "Couldn't create content for Portal user");
    if (code == VORAK_OK) {
        TRACE(2, "Write portal user id to ticket %*.*s \n", printedLength(user), printedLength(user), user.data());
    }
    return code;
}

std::int32_t addAuthScheme(AssertionContents& contents, std::string_view scheme) {
    if (scheme.size() > kLongestAuthScheme) {
        TRACE_ERROR("Portal authentication schema size more than allowed.\n");
        return VORAK_BUFFER_TOO_SMALL;
    }
    const std::int32_t code =
        contents.addConverted(kUnitAuthScheme, scheme, "Couldn't create content for Portal authentication schema");
    if (code == VORAK_OK) {
        TRACE(2, "Write authentication schema to ticket %*.*s \n", printedLength(scheme), printedLength(scheme),
              scheme.data());
    }
    return code;
}

std::int32_t addContents(AssertionContents& contents, const AssertionRequest& request) {
    const AssertionContent& content = *request.content;
    if (const std::int32_t code = addIssuer(contents, request); code != VORAK_OK) {
        return code;
    }
    if (const std::int32_t code = addLifetime(contents); code != VORAK_OK) {
        return code;
    }
    if (const std::int32_t code = addRecipient(contents, content); code != VORAK_OK) {
        return code;
    }
    struct Optional {
        std::string_view text;
        std::int32_t (*add)(AssertionContents&, std::string_view);
    };
    for (const Optional& optional :
         {Optional{givenText(content.user, content.userLength), addUser},
          Optional{givenText(content.language, content.languageLength), addLanguage},
          Optional{givenText(content.portalUser, content.portalUserLength), addPortalUser},
          Optional{givenText(content.authScheme, content.authSchemeLength), addAuthScheme}}) {
        if (optional.text.empty()) {
            continue;
        }
        if (const std::int32_t code = optional.add(contents, optional.text); code != VORAK_OK) {
            return code;
        }
    }
    return VORAK_OK;
}

std::int32_t createAssertionTicket(const AssertionRequest& request) {
    const SigningContext context(request);
    const std::array<char, 4> codePage = chooseCodePage({request.content->codePage, sizeof request.content->codePage});
    const std::string_view codePageText(codePage.data(), codePage.size());
    AssertionContents contents(codePageText);
    if (const std::int32_t code = addContents(contents, request); code != VORAK_OK) {
        return code;
    }
    std::uint32_t length = 0;
    const std::int32_t code = WriteTicket(codePageText, contents.list(), context.get(),
                                          std::span<char>(request.ticket, *request.ticketLength), &length);
    return handOutTicket(request, code, length);
}

}  // namespace
}  // namespace quorvanti

using namespace quorvanti;

extern "C" QUORVANTI_API int32_t VorakCreateAssertionTicket(const char* ownSystemId, const char* ownClient,
                                                            const char* profile, const char* password,
                                                            const AssertionContent* content, char* ticket,
                                                            uint32_t* ticketLength) {
    return guarded([&] {
        const AssertionRequest request{ownSystemId, ownClient, profile, password, content, ticket, ticketLength};
        if (const std::int32_t code = checkAssertionRequest(request); code != VORAK_OK) {
            return code;
        }
        // Guarded here already, so that what it returns is traced when memory runs out, too.
        const std::int32_t code = guarded([&] { return createAssertionTicket(request); });
        if (code != VORAK_OK) {
            TRACE_ERROR("VorakCreateAssertionTicket returns %d.\n", code);
        }
        TRACE(3, "End of function VorakCreateAssertionTicket.\n");
        return code;
    });
}
