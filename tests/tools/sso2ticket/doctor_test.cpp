#include "tests/support/issuer/in_process_issuer.h"
#include "tests/tools/sso2ticket/tool.h"

#include <openssl/x509.h>

#include <filesystem>

using namespace quorvanti::test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

class Doctor : public Tool {
protected:
    std::string store(const std::string& days) const {
        const std::string name = directory_.file("store" + days + ".p12");
        EXPECT_EQ(tool({"keystore", "create", name, "--subject", "CN=PRD", "--key", "ec-p256", "--days", days,
                        "--password-env", "QUORVANTI_TEST_PASSWORD"})
                      .exitCode,
                  accepted);
        return name;
    }
    static CommandResult doctor(std::vector<std::string> words) {
        words.insert(words.begin(), "doctor");
        return tool(std::move(words));
    }
};

TEST_F(Doctor, SaysWhichLibrariesAreLoadedFromWhere) {
    const CommandResult result = doctor({"--json"});
    EXPECT_EQ(result.exitCode, accepted);
    const auto found = json(result);
    EXPECT_EQ(found["library"]["version"], 15);
    EXPECT_THAT(std::string(found["library"]["path"]), EndsWith(QUORVANTI_LIBRARY_NAME));
    EXPECT_EQ(found["cryptoLibrary"]["loaded"], true);
    EXPECT_THAT(std::string(found["cryptoLibrary"]["path"]), EndsWith(QUORVANTI_CRYPTO_NAME));
    EXPECT_THAT(std::string(found["cryptoLibrary"]["version"]), HasSubstr("OpenSSL 3"));
    EXPECT_EQ(found["problems"].size(), 0U);
    EXPECT_THAT(doctor({}).out, EndsWith("no problem was found\n"));
}

TEST_F(Doctor, AMissingCryptoLibraryIsAProblem) {
    const CommandResult result = doctor({"--crypto-library", "libnonexistent.so", "--json"});
    EXPECT_EQ(result.exitCode, cryptoUnavailable);
    EXPECT_EQ(json(result)["cryptoLibrary"]["loaded"], false);
    EXPECT_THAT(doctor({"--crypto-library", "libnonexistent.so"}).out,
                HasSubstr("PROBLEM                the crypto library"));
}

TEST_F(Doctor, ShowsPropertiesAndEnvironmentInForce) {
    const EnvironmentVariable system("KAVSYSTEMNAME", "QAS");
    const EnvironmentVariable hash("SSF_HASH", "SHA512");
    const auto found = json(doctor({"--json"}));
    EXPECT_EQ(found["properties"]["KAV_OWN_SYSID"], "QAS");
    EXPECT_EQ(found["properties"]["KAV_EXT_CLIENT"], "999");
    EXPECT_EQ(found["properties"]["SSF_HASH"], "SHA512");
    EXPECT_EQ(found["properties"].size(), 10U);
    EXPECT_EQ(found["environment"]["KAVSYSTEMNAME"], "QAS");
    EXPECT_EQ(found["environment"]["SSF_LIB"], nullptr);
    EXPECT_EQ(found["environment"]["RSCP_CATCH_INIT"], nullptr) << "what the program sets for itself does not count";
    EXPECT_THAT(std::string(found["clock"]["utc"]), MatchesRegex("20..-..-..T..:..:..Z"));
}

TEST_F(Doctor, CountsTheDaysOfTheKeyStore) {
    const CommandResult good =
        doctor({"--profile", store("100"), "--password-env", "QUORVANTI_TEST_PASSWORD", "--json"});
    EXPECT_EQ(good.exitCode, accepted);
    const auto entries = json(good)["keyStore"]["entries"];
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0]["subject"], "CN=PRD");
    EXPECT_GE(entries[0]["daysLeft"], 99);
    EXPECT_EQ(json(good)["warnings"].size(), 0U);
    const CommandResult soon = doctor({"--profile", store("10"), "--password-env", "QUORVANTI_TEST_PASSWORD"});
    EXPECT_EQ(soon.exitCode, accepted);
    EXPECT_THAT(soon.out, HasSubstr("WARNING                the key store's certificate CN=PRD expires in "));
}

TEST_F(Doctor, AnExpiredCertificateIsAProblem) {
    const InProcessIssuer issuer(KeyKind::ec, "old");
    X509_gmtime_adj(X509_getm_notAfter(issuer.certificate()), -60);
    X509_sign(issuer.certificate(), issuer.key(), EVP_sha256());
    const std::string pem = directory_.file("old.pem");
    writeFile(pem, issuer.certificatePem());
    const CommandResult result = doctor({"--profile", pem});
    EXPECT_EQ(result.exitCode, configuration);
    EXPECT_THAT(result.out, HasSubstr("PROBLEM                the key store's certificate CN=old expired on "));
}

TEST_F(Doctor, AKeyStoreThatDoesNotOpenIsAProblemAndThePasswordStaysSecret) {
    const std::string name = store("100");
    EXPECT_THAT(doctor({"--profile", name}).out, HasSubstr("needs a password"));
    EXPECT_THAT(doctor({"--profile", directory_.file("missing")}).out, HasSubstr("does not exist"));
    const EnvironmentVariable wrong("QUORVANTI_TEST_PASSWORD", "swordfish");
    const CommandResult result = doctor({"--profile", name, "--password-env", "QUORVANTI_TEST_PASSWORD"});
    EXPECT_EQ(result.exitCode, configuration);
    EXPECT_THAT(result.out, HasSubstr("the password is wrong"));
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("swordfish")));
}

TEST_F(Doctor, TriesTheTraceFileWithoutTouchingIt) {
    const std::string trace = directory_.file("trace");
    writeFile(trace, "yesterday");
    const EnvironmentVariable variable("KAV_EXT_TRC", trace.c_str());
    const auto found = json(doctor({"--json"}));
    EXPECT_EQ(found["trace"]["target"], trace);
    EXPECT_EQ(found["trace"]["writable"], true);
    EXPECT_EQ(found["properties"]["KAV_EXT_TRC"], trace);
    EXPECT_EQ(readFile(trace), "yesterday");
    EXPECT_EQ(json(doctor({"--json", "--trace", directory_.file("new")}))["trace"]["writable"], true);
    EXPECT_FALSE(std::filesystem::exists(directory_.file("new")));
}

TEST_F(Doctor, ATraceThatCannotBeWrittenIsAProblem) {
    const CommandResult result = doctor({"--trace", directory_.file("missing/trace")});
    EXPECT_EQ(result.exitCode, configuration);
    EXPECT_THAT(result.out, HasSubstr("trace can be written   no\n"));
    EXPECT_THAT(result.out, HasSubstr("cannot be written\n"));
}

}  // namespace
