#include "sec/voraksso/evaluate.h"

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/code_page_choice.h"
#include "sec/voraksso/content_conversion.h"
#include "sec/voraksso/in_context.h"
#include "sec/voraksso/signature.h"
#include "sec/voraksso/state.h"
#include "sec/voraksso/ticket_codec.h"
#include "sec/voraksso/validity.h"

#include <array>
#include <cstring>
#include <new>

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";
constexpr std::uint32_t kSmallestRecord = 120;  // records must be larger
constexpr int kAnnouncedRecordSize = 128;       // what the message asks for, though 121 to 127 pass: deliberate
constexpr std::size_t kPortalPrefixLength = 7;  // "portal:"; any other prefix of that length is accepted as well

// The ticket on its way through the checks.
struct Evaluation {
    ParsedTicket ticket;
    SignerCertificate certificate;
    std::array<char, 4> codePage{};  // of the texts handed out
    std::int32_t remainingSeconds = 0;
    const std::uint32_t* tooSmall = nullptr;  // the capacity that holds a needed length, for the clearing
};

std::int32_t checkRecord(const TICKET_INFO* info) {
    if (info == nullptr) {
        TRACE_ERROR("Ticket info structure is null\n");
        return VORAK_INVALID;
    }
    if (info->struct_size == 0) {
        TRACE_ERROR(
            "Initialize field struct_size in your structure of TICKET_INFO->struct_size with sizeof(TICKET_INFO)\n");
        return VORAK_INVALID;
    }
    if (info->struct_size <= kSmallestRecord) {
        TRACE_ERROR("Current structure size of TICKET_INFO->struct_size is %d but must be at least %d\n",
                    static_cast<int>(info->struct_size), kAnnouncedRecordSize);
        return VORAK_INVALID;
    }
    return VORAK_OK;
}

// Reads the cached key: the caller holds the crypto lock.
void prepareContext(const EvaluationRequest& request, InContext& context) {
    LibraryState& state = libraryState();
    context.cryptoTable = &state.cryptoTable;
    context.Format.assign(kTicketFormat);
    const bool given = request.profile != nullptr && *request.profile != '\0';
    const std::string_view profile = given ? request.profile : cachedProfile(state.ticketKey);
    const char* password = given ? request.password : cachedPassword(state.ticketKey);
    context.pzcsProName.assign(profile);
    context.password = password != nullptr && *password != '\0' ? password : nullptr;
    TRACE(3, "Profile (path to key) is the following: %.*s\n", profile.empty() ? 6 : static_cast<int>(profile.size()),
          profile.empty() ? "(NULL)" : profile.data());
    TRACE(3, "Password is %s\n", context.password != nullptr ? "set (but not displayed here)" : "null (empty)");
}

std::int32_t decodeAndVerify(const EvaluationRequest& request, std::string_view codePage, Evaluation& evaluation) {
    const ThrRecMtxGuard lock(libraryState().cryptoLock);
    InContext context;
    prepareContext(request, context);
    evaluation.codePage = chooseCodePage(codePage);
    TRACE(3, "Just before Validation...\n");
    DecodedTicket decoded;
    if (const std::int32_t code = decodeTicketText({request.ticket, request.length}, decoded); code != VORAK_OK) {
        return code;
    }
    if (const std::int32_t code = ParseTicket(decoded.bytes(), evaluation.ticket); code != VORAK_OK) {
        return code;
    }
    SignedParts parts;
    if (const std::int32_t code = locateSignature(decoded.bytes(), evaluation.ticket.processed, parts);
        code != VORAK_OK) {
        return code;
    }
    const SignatureParameters parameters{context.Format.view(), context.pzcsProName.view(), context.password};
    const ValidateResult result =
        ValidateTicket(parts.content, parts.signature, *context.cryptoTable, parameters, evaluation.certificate);
    if (result != VORAK_OK) {
        TRACE_ERROR("ValidateTicket failed with rc = %d and ssf_rc = %d.\n", VORAK_STANDARD_ERROR(result),
                    VORAK_SSF_ERROR(result));
        TRACE_ERROR("Validate ticket failed with rc=%d.", result);
    }
    return result;
}

std::int32_t convertContents(Evaluation& evaluation) {
    const std::int32_t code =
        ConvertContentList({evaluation.ticket.codePage.data(), evaluation.ticket.codePage.size()},
                           {evaluation.codePage.data(), evaluation.codePage.size()}, evaluation.ticket.contents);
    if (code != VORAK_OK) {
        TRACE_ERROR("ConvertCList returns %d. [%s %d]\n", code, kTraceUnit, __LINE__);
    }
    return code;
}

std::int32_t checkValidity(Evaluation& evaluation) {
    const std::int32_t code = ComputeValidity(evaluation.ticket.contents, evaluation.remainingSeconds);
    if (code == VORAK_TICKET_EXPIRED) {
        TRACE_ERROR("Validation succeeded, but ticket expired.\n");
    } else if (code == VORAK_OK) {
        TRACE(3, "Validation succeeded.\n");
    }
    return code;
}

std::int32_t checkAddressee(const EvaluationRequest& request, const Evaluation& evaluation, OutputRecord& record) {
    bool matched = false;
    if (const std::int32_t code = checkRecipient(evaluation.ticket.contents, request.mode, request.own, matched);
        code != VORAK_OK) {
        return code;
    }
    if (matched) {
        record.setAssertionMarker(1);
    }
    const ContentNode* flags = evaluation.ticket.contents.find(kUnitFlags);
    if (const std::int32_t code = checkFlags(flags, request.mode); code != VORAK_OK) {
        return code;
    }
    const std::uint8_t first = flags != nullptr ? flags->contents[0] : 0;
    record.setFlags(first);
    if (request.mode == EvaluationMode::logon && (first & kAssertionFlag) == 0) {
        record.setAssertionMarker(0);
    }
    return VORAK_OK;
}

std::int32_t fillCreationTime(const Evaluation& evaluation, const OutputRecord& record) {
    if (record.creationTime() == nullptr) {
        return VORAK_OK;
    }
    TRACE(3, "Retrieving creation time...\n");
    const ContentNode* unit = evaluation.ticket.contents.find(kUnitCreationTime);
    if (unit == nullptr) {
        TRACE_ERROR("Ticket contains no creation time.\n");
        return VORAK_NO_CREATION_TIME;
    }
    const std::optional<CalendarTime> time = parseCreationTime({unit->contents, unit->convertedLength});
    if (!time) {
        TRACE_ERROR("Invalid ticket format\n");
        return VORAK_MALFORMED;
    }
    *record.creationTime() = SecondsSince1970(*time);
    return VORAK_OK;
}

void fillValidity(const Evaluation& evaluation, const OutputRecord& record) {
    if (record.validity() != nullptr) {
        TRACE(3, "Retrieving validity in seconds...\n");
        *record.validity() = evaluation.remainingSeconds;
    }
}

std::int32_t fillCertificate(Evaluation& evaluation, const CertificateOutput& output) {
    if (!output.wanted()) {
        return VORAK_OK;
    }
    if (evaluation.certificate.length() == 0) {
        TRACE(2, "Ticket contains no certificate!\n");
        output.clear();
        return VORAK_OK;
    }
    if (!output.assign(evaluation.certificate.bytes())) {
        TRACE_ERROR("Buffer for cert not sufficient\n");
        evaluation.tooSmall = output.capacity;
        return VORAK_BUFFER_TOO_SMALL;
    }
    TRACE(2, "Evaluating certificate with length %d\n", static_cast<int>(evaluation.certificate.length()));
    return VORAK_OK;
}

// One text of the ticket and what is said when it is missing or does not fit.
struct TextField {
    std::uint8_t firstId;
    std::uint8_t lastId;
    TextOutput (OutputRecord::*output)() const;
    std::size_t skipped;  // characters at the start that are not handed out
    std::int32_t tooSmall;
    const char* missing;
    const char* notSufficient;
};
// clang-format off
constexpr TextField kTextFields[] = {
    {kUnitUser,            kUnitUser,            &OutputRecord::user,       0,                   VORAK_USER_BUFFER_TOO_SMALL, "Ticket contains no user.\n",        "Buffer for User not sufficient."},
    {kUnitCreatorClient,   kUnitCreatorClient,   &OutputRecord::client,     0,                   VORAK_BUFFER_TOO_SMALL,      "Ticket contains no client.\n",      "Buffer for client not sufficient."},
    {kUnitCreatorSystemId, kUnitCreatorSystemId, &OutputRecord::systemId,   0,                   VORAK_BUFFER_TOO_SMALL,      "Ticket contains no sysid.\n",       "Buffer for sysid not sufficient."},
    {kUnitLanguage,        kUnitLanguage,        &OutputRecord::language,   0,                   VORAK_BUFFER_TOO_SMALL,      "Ticket contains no language.\n",    "Buffer for language not sufficient."},
    {kUnitPortalUser,      kUnitPortalUserLast,  &OutputRecord::portalUser, kPortalPrefixLength, VORAK_BUFFER_TOO_SMALL,      "Ticket contains no Portal User.\n", "Buffer for Portal User not sufficient."},
    {kUnitAuthScheme,      kUnitAuthScheme,      &OutputRecord::authScheme, 0,                   VORAK_BUFFER_TOO_SMALL,      "Ticket contains no AuthSchema.\n",  "Buffer for AuthSchema not sufficient."},
};
// clang-format on

const ContentNode* findFirst(const ContentList& contents, std::uint8_t firstId, std::uint8_t lastId) {
    const ContentNode* node = contents.first();
    while (node != nullptr && node->id < firstId) {
        node = node->next;
    }
    return node != nullptr && node->id <= lastId ? node : nullptr;
}

std::int32_t fillText(Evaluation& evaluation, const OutputRecord& record, const TextField& field) {
    const TextOutput output = (record.*field.output)();
    if (!output.wanted()) {
        return VORAK_OK;
    }
    const ContentNode* unit = findFirst(evaluation.ticket.contents, field.firstId, field.lastId);
    if (unit == nullptr) {
        TRACE(3, "%s", field.missing);
        output.clear();
        return VORAK_OK;
    }
    const std::size_t skipped = std::min<std::size_t>(field.skipped, unit->length);
    if (!output.assign(unit->bytes().subspan(skipped))) {
        TRACE_ERROR("%s", field.notSufficient);
        evaluation.tooSmall = output.capacity;
        return field.tooSmall;
    }
    return VORAK_OK;
}

std::int32_t fillRecord(Evaluation& evaluation, const OutputRecord& record) {
    if (const std::int32_t code = fillCreationTime(evaluation, record); code != VORAK_OK) {
        return code;
    }
    fillValidity(evaluation, record);
    for (const CertificateOutput& output : {record.certificate(), record.extraCertificate()}) {
        if (const std::int32_t code = fillCertificate(evaluation, output); code != VORAK_OK) {
            return code;
        }
    }
    for (const TextField& field : kTextFields) {
        if (const std::int32_t code = fillText(evaluation, record, field); code != VORAK_OK) {
            return code;
        }
    }
    return VORAK_OK;
}

std::int32_t evaluateInto(const EvaluationRequest& request, Evaluation& evaluation, OutputRecord& record) {
    if (request.length >= kTicketTextLimit) {
        TRACE_ERROR("Ticket too long: %d, which exceeds 4095", static_cast<int>(request.length));
        return VORAK_INVALID;
    }
    if (!requireInitialized()) {
        return VORAK_INVALID;
    }
    if (const std::int32_t code = decodeAndVerify(request, record.codePage(), evaluation); code != VORAK_OK) {
        return code;
    }
    if (const std::int32_t code = convertContents(evaluation); code != VORAK_OK) {
        return code;
    }
    if (const std::int32_t code = checkValidity(evaluation); code != VORAK_OK) {
        return code;
    }
    if (const std::int32_t code = checkAddressee(request, evaluation, record); code != VORAK_OK) {
        return code;
    }
    return fillRecord(evaluation, record);
}

}  // namespace

std::int32_t evaluateTicket(const EvaluationRequest& request) {
    if (const std::int32_t code = checkRecord(request.info); code != VORAK_OK) {
        return code;
    }
    OutputRecord record(*request.info, request.certificate);
    Evaluation evaluation;
    std::int32_t code = VORAK_NO_MEMORY;
    try {
        code = evaluateInto(request, evaluation, record);
    } catch (const std::bad_alloc&) {
        evaluation.tooSmall = nullptr;
    }
    TRACE(3, "Preparing for cleanup.\n");
    if (code != VORAK_OK) {
        record.clear(evaluation.tooSmall);
    }
    return code;
}

}  // namespace quorvanti
