#include "tests/tools/sso2ticket/tool.h"
#include "tools/sso2ticket/code_catalogue.h"
#include "tools/sso2ticket/code_causes.h"

using namespace quorvanti::test;
using quorvanti::CodeEntry;
using quorvanti::CodeKind;
using testing::HasSubstr;
using testing::Not;

namespace {

class Error : public Tool {};

TEST_F(Error, ExplainsAPlainCode) {
    const CommandResult result = tool({"error", "4"});
    EXPECT_EQ(result.exitCode, accepted);
    EXPECT_EQ(result.out,
              "code                   4 (0x00000004)\n"
              "name                   VORAK_TICKET_EXPIRED\n"
              "meaning                The signature is good, but the ticket's validity has passed.\n"
              "likely causes          The ticket was kept longer than it lives; an assertion ticket lives two minutes; "
              "one of "
              "the clocks is wrong.\n"
              "what to do             Log on again. If fresh tickets expire, compare the clocks (UTC) of both systems "
              "and the "
              "validity set at the issuer.\n"
              "as an ssf error        SSF_API_NOMEMORY: The crypto library ran out of memory.\n");
}

TEST_F(Error, ExplainsACombinedCodeInEveryFormItIsWrittenIn) {
    for (const char* code : {"1441797", "0x160005", "0X00160005"}) {
        const CommandResult result = tool({"error", code});
        EXPECT_EQ(result.exitCode, accepted);
        EXPECT_THAT(result.out, HasSubstr("standard error         5\nssf error              22\n"
                                          "name                   SSF_API_SIGNER_ERRORS / SSF_API_UNKNOWN_SIGNER\n"));
        EXPECT_THAT(result.out, HasSubstr("never imported"));
    }
}

TEST_F(Error, ANegativeCodeIsNoCombination) {
    for (const char* code : {"-1", "4294967295", "0xFFFFFFFF"}) {
        const auto answer = json(tool({"error", "--json", code}));
        EXPECT_EQ(answer["code"], -1) << code;
        EXPECT_EQ(answer["name"], "conversion failure") << code;
    }
}

TEST_F(Error, FindsCodesByName) {
    EXPECT_EQ(json(tool({"error", "VORAK_NOT_FOR_US", "--json"}))["code"], 23);
    const auto answer = json(tool({"error", "SSF_API_CERT_EXPIRED", "--json"}));
    EXPECT_EQ(answer["ssfError"], 20);
    EXPECT_EQ(answer["known"], true);
    EXPECT_THAT(std::string(answer["likelyCauses"]), HasSubstr("ran out"));
}

TEST_F(Error, SaysWhenItDoesNotKnow) {
    for (const char* code : {"77", "99999", "0x7FFF0005", "-77"}) {
        const CommandResult result = tool({"error", code, "--json"});
        EXPECT_EQ(result.exitCode, rejected) << code;
        EXPECT_EQ(json(result)["known"], false) << code;
        EXPECT_THAT(result.out, HasSubstr("This code is not in the catalogue.")) << code;
    }
    expectTalk(tool({"error", "seven"}), usage, "seven is neither a number nor the name of a return code");
    expectTalk(tool({"error", "4294967296"}), usage, "neither a number");
    expectTalk(tool({"error", "4x"}), usage, "neither a number");
    expectTalk(tool({"error"}), usage, "code");
}

TEST_F(Error, EveryCodeThatAnOperatorCausesHasLikelyCauses) {
    for (const CodeEntry& entry : quorvanti::codeCatalogue()) {
        const char* causes = quorvanti::likelyCauses(entry.kind, entry.code);
        if (entry.kind == CodeKind::plain && entry.code != 0) {
            ASSERT_NE(causes, nullptr) << entry.name;
        }
        if (causes != nullptr) {
            EXPECT_THAT(causes, testing::EndsWith(".")) << entry.name;
        }
    }
}

}  // namespace
