// Runs the program as its users do, away from settings of whoever runs the tests.
#pragma once

#include "tests/support/command.h"
#include "tests/support/environment.h"
#include "tests/support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace quorvanti::test {

class Tool : public testing::Test {
protected:
    static constexpr int accepted = 0;
    static constexpr int rejected = 1;
    static constexpr int usage = 2;
    static constexpr int inputUnreadable = 3;
    static constexpr int configuration = 4;
    static constexpr int cryptoUnavailable = 5;

    static CommandResult tool(std::vector<std::string> words, const std::string& in = "") {
        words.insert(words.begin(), QUORVANTI_SSO2TICKET);
        return runCommand(words, in);
    }
    static CommandResult openssl(std::vector<std::string> words, const std::string& in = "") {
        words.insert(words.begin(), "openssl");
        return runCommand(words, in);
    }
    static nlohmann::json json(const CommandResult& result) { return nlohmann::json::parse(result.out); }

    // Nothing on standard output, the sentence on standard error.
    static void expectTalk(const CommandResult& result, int exitCode, const std::string& sentence) {
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, testing::HasSubstr(sentence));
    }

    const EnvironmentVariable library_{"SSF_LIB", nullptr};
    const EnvironmentVariable hash_{"SSF_HASH", nullptr};
    const EnvironmentVariable carry_{"SSF_INCLUDE_CERT", nullptr};
    const EnvironmentVariable trace_{"KAV_EXT_TRC", nullptr};
    const EnvironmentVariable converter_{"RSCP_CATCH_INIT", nullptr};
    const EnvironmentVariable system_{"KAVSYSTEMNAME", nullptr};
    const EnvironmentVariable client_{"KAVSYSTEMCLIENT", nullptr};
    const EnvironmentVariable password_{"QUORVANTI_TEST_PASSWORD", "opensesame"};
    const TemporaryDirectory directory_;
};

}  // namespace quorvanti::test
