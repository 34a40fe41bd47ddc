#include "tools/sso2ticket/code_catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quorvanti/ssf.h>
#include <quorvanti/voraksso.h>

#include <set>
#include <utility>

using namespace quorvanti;
using testing::HasSubstr;

namespace {

// Whether the text is whole sentences that somebody can read on one line.
bool isSentences(const std::string& text) {
    return !text.empty() && text.back() == '.' && text.find('\n') == std::string::npos && text.size() < 200;
}

TEST(CodeCatalogue, EveryEntryIsThereOnceAndSaysWhatItMeansAndWhatToLookAt) {
    std::set<std::pair<CodeKind, std::int32_t>> seen;
    for (const CodeEntry& entry : codeCatalogue()) {
        SCOPED_TRACE(entry.name);
        EXPECT_TRUE(seen.emplace(entry.kind, entry.code).second) << "twice";
        EXPECT_TRUE(isSentences(entry.meaning));
        // A combined entry is never alone: the crypto library's code says what to look at.
        EXPECT_TRUE(entry.kind == CodeKind::combined ? std::string(entry.next).empty() : isSentences(entry.next));
        EXPECT_EQ(findCode(entry.kind, entry.code), &entry);
        EXPECT_NE(entry.exit, ExitCode::usage);
        EXPECT_EQ(entry.exit == ExitCode::accepted, entry.code == VORAK_OK);
    }
}

TEST(CodeCatalogue, EveryReturnCodeOfThePublicHeaderIsInIt) {
    for (const std::int32_t code :
         {VORAK_OK, VORAK_NO_USER, VORAK_BUFFER_TOO_SMALL, VORAK_TICKET_EXPIRED, VORAK_MALFORMED,
          VORAK_USER_BUFFER_TOO_SMALL, VORAK_INVALID, VORAK_NO_MEMORY, VORAK_CRYPTO_FUNCTION_MISSING,
          VORAK_CRYPTO_FAILED, VORAK_MISSING_ARGUMENT, VORAK_NO_CREATION_TIME, VORAK_NO_CERTIFICATE,
          VORAK_NO_SIGNER_LIST, VORAK_NOT_FOR_US, VORAK_CLAIM_DIFFERS, VORAK_NOT_BASE64, VORAK_ENCODING_FAILED}) {
        EXPECT_NE(findCode(CodeKind::plain, code), nullptr) << code;
    }
}

TEST(CodeCatalogue, EveryCodeOfTheCryptoInterfaceIsInIt) {
    for (std::int32_t code = SSF_API_NOSECTK; code <= SSF_API_REVOCATION_CERT_REVOKED; ++code) {
        if (code != 15) {  // there is no such code
            EXPECT_NE(findCode(CodeKind::crypto, code), nullptr) << code;
        }
    }
    EXPECT_EQ(findCode(CodeKind::crypto, 15), nullptr);
    EXPECT_STREQ(findCode(CodeKind::crypto, SSF_API_UNKNOWN_SIGNER)->name, "SSF_API_UNKNOWN_SIGNER");
}

TEST(CodeCatalogue, APlainCodeExplainsItself) {
    const Explanation explanation = explain(VORAK_TICKET_EXPIRED);
    EXPECT_EQ(explanation.standardError, 4);
    EXPECT_EQ(explanation.ssfError, 0);
    EXPECT_EQ(explanation.name, "VORAK_TICKET_EXPIRED");
    EXPECT_EQ(explanation.exit, ExitCode::rejected);
    EXPECT_THAT(explanation.next, HasSubstr("clocks"));
}

TEST(CodeCatalogue, EveryCombinationIsExplainedByTheCryptoLibrarysCode) {
    for (const CodeEntry& reason : codeCatalogue()) {
        if (reason.kind != CodeKind::crypto) {
            continue;
        }
        for (const CodeEntry& outer : codeCatalogue()) {
            if (outer.kind != CodeKind::combined) {
                continue;
            }
            const Explanation explanation = explain((reason.code << 16) | outer.code);
            EXPECT_EQ(explanation.standardError, outer.code);
            EXPECT_EQ(explanation.ssfError, reason.code);
            EXPECT_EQ(explanation.name, std::string(outer.name) + " / " + reason.name);
            EXPECT_EQ(explanation.meaning, std::string(outer.meaning) + " " + reason.meaning);
            EXPECT_EQ(explanation.next, reason.next);
            EXPECT_EQ(explanation.exit, reason.exit);
        }
    }
}

TEST(CodeCatalogue, ALowHalfThatIsNobodysIsTheCryptoLibrarysAnswerToTheWholeCheck) {
    const Explanation explanation = explain((SSF_API_NOCERTIFICATE << 16) | SSF_API_DECODE_FAILED);
    EXPECT_EQ(explanation.name, "SSF_API_DECODE_FAILED / SSF_API_NOCERTIFICATE");
}

TEST(CodeCatalogue, AnUnknownCodeIsRejectedAndSaidToBeUnknown) {
    for (const std::int32_t code : {4242, -77, (999 << 16) | 5}) {
        const Explanation explanation = explain(code);
        EXPECT_EQ(explanation.exit, ExitCode::rejected) << code;
        EXPECT_THAT(explanation.meaning, HasSubstr("not in the catalogue")) << code;
    }
}

}  // namespace
