// Key stores that the program makes are read by openssl, and those that openssl makes by the program.
#include "tests/support/file_access.h"
#include "tests/tools/sso2ticket/tool.h"
#include "tools/sso2ticket/openssl_handles.h"

#include <ctime>
#include <filesystem>

using namespace quorvanti::test;
using quorvanti::Openssl;
using testing::HasSubstr;
using testing::Not;

namespace {

class Keystore : public Tool {
protected:
    CommandResult keystore(const std::string& command, std::vector<std::string> words,
                           const std::string& in = "") const {
        words.insert(words.begin(), {"keystore", command});
        words.insert(words.end(), {"--password-env", "QUORVANTI_TEST_PASSWORD"});
        return tool(std::move(words), in);
    }
    CommandResult create(const std::string& file, std::vector<std::string> more = {}) const {
        std::vector<std::string> words = {file, "--subject", "CN=PRD, O=Acme, C=DE", "--key", "ec-p256"};
        words.insert(words.end(), more.begin(), more.end());
        return keystore("create", words);
    }
    // A key store made by openssl, with two certificates: the own one and one that is trusted.
    void opensslStore(const std::vector<std::string>& options) const {
        for (const char* name : {"own", "other"}) {
            ASSERT_EQ(openssl({"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-subj",
                               std::string("/CN=") + name, "-keyout", directory_.file(std::string(name) + ".key"),
                               "-out", directory_.file(std::string(name) + ".pem")})
                          .exitCode,
                      0);
        }
        std::vector<std::string> words = {"pkcs12",    "-export",
                                          "-inkey",    directory_.file("own.key"),
                                          "-in",       directory_.file("own.pem"),
                                          "-certfile", directory_.file("other.pem"),
                                          "-out",      store_,
                                          "-passout",  "pass:opensesame"};
        words.insert(words.end(), options.begin(), options.end());
        const CommandResult result = openssl(words);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    // A key store with two private keys, as other programs keep them.
    void twoKeys() const {
        STACK_OF(PKCS12_SAFEBAG)* bags = nullptr;
        for (int i = 0; i < 2; ++i) {
            const Openssl<EVP_PKEY> key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
            ASSERT_NE(PKCS12_add_key(&bags, key.get(), 0, 1000, NID_aes_256_cbc, "opensesame"), nullptr);
        }
        STACK_OF(PKCS7)* parts = nullptr;
        ASSERT_EQ(PKCS12_add_safe(&parts, bags, NID_aes_256_cbc, 1000, "opensesame"), 1);
        const Openssl<PKCS12> store(PKCS12_add_safes(parts, 0));
        sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
        sk_PKCS7_pop_free(parts, PKCS7_free);
        ASSERT_EQ(PKCS12_set_mac(store.get(), "opensesame", -1, nullptr, 0, 1000, EVP_sha256()), 1);
        unsigned char* bytes = nullptr;
        const int length = i2d_PKCS12(store.get(), &bytes);
        const Openssl<unsigned char> release(bytes);
        writeFile(store_, std::string(bytes, bytes + length));
    }

    const std::string store_ = directory_.file("store.p12");
};

TEST_F(Keystore, WhatCreateMakesIsReadByOpenssl) {
    const CommandResult result = create(store_);
    ASSERT_EQ(result.exitCode, accepted) << result.err;
    EXPECT_THAT(result.out, HasSubstr("1 own\n  subject              CN=PRD,O=Acme,C=DE\n"));
    const CommandResult read = openssl({"pkcs12", "-in", store_, "-passin", "pass:opensesame", "-nodes", "-info"});
    ASSERT_EQ(read.exitCode, 0) << read.err;
    EXPECT_THAT(read.out, HasSubstr("PRIVATE KEY"));
    EXPECT_THAT(read.err, HasSubstr("AES-256-CBC"));
    EXPECT_THAT(read.err, HasSubstr("MAC: sha256"));
    writeFile(directory_.file("pem"), read.out);
    EXPECT_EQ(openssl({"verify", "-CAfile", directory_.file("pem"), "-check_ss_sig", directory_.file("pem")}).exitCode,
              0);
    const std::string text =
        openssl({"x509", "-in", directory_.file("pem"), "-noout", "-text", "-nameopt", "RFC2253"}).out;
    EXPECT_THAT(text, HasSubstr("Subject: CN=PRD,O=Acme,C=DE"));
    EXPECT_THAT(text, HasSubstr("NIST CURVE: P-256"));
    EXPECT_THAT(text, HasSubstr("ecdsa-with-SHA256"));
    EXPECT_THAT(text, HasSubstr("CA:FALSE"));
}

TEST_F(Keystore, CreateMakesAnRsaKeyForTwoYearsUnlessAskedOtherwise) {
    const auto made = json(keystore("create", {store_, "--subject", "CN=PRD", "--json"}));
    EXPECT_EQ(made["privateKey"], true);
    EXPECT_EQ(made["entries"][0]["key"], "RSA 3072");
    EXPECT_EQ(made["entries"][0]["signatureAlgorithm"], "sha256WithRSAEncryption");
    EXPECT_GE(made["entries"][0]["daysLeft"], 729);
    EXPECT_LE(made["entries"][0]["daysLeft"], 730);
    const auto shorter = json(create(directory_.file("other"), {"--days", "10", "--json"}));
    EXPECT_LE(shorter["entries"][0]["daysLeft"], 10);
}

TEST_F(Keystore, AnEscapedCommaBelongsToTheName) {
    const auto made =
        json(keystore("create", {store_, "--subject", "CN=PRD, O=A\\, B \xC3\x84", "--key", "ec-p256", "--json"}));
    EXPECT_EQ(made["entries"][0]["subject"], "CN=PRD,O=A\\, B \xC3\x84");
}

TEST_F(Keystore, OnlyTheOwnerMayReadIt) {
    create(store_);
    const std::optional<bool> kept = onlyForTheOwner(store_);
    if (!kept) {
        GTEST_SKIP() << "who may read a file is its directory's business on this system";
    }
    EXPECT_TRUE(*kept);
}

TEST_F(Keystore, CreateOverwritesNothing) {
    writeFile(store_, "precious");
    expectTalk(create(store_), configuration, "is there already");
    EXPECT_EQ(readFile(store_), "precious");
}

TEST_F(Keystore, CreateRefusesWhatItCannotMake) {
    expectTalk(keystore("create", {store_, "--subject", "PRD"}), configuration, "no distinguished name");
    expectTalk(keystore("create", {store_, "--subject", "XY=PRD"}), configuration, "XY=PRD");
    expectTalk(keystore("create", {store_, "--subject", "CN=PRD", "--key", "rsa-512"}), usage, "--key");
    expectTalk(keystore("create", {store_, "--subject", "CN=PRD", "--days", "0"}), usage, "--days");
    expectTalk(tool({"keystore", "create", store_, "--subject", "CN=PRD"}), configuration, "needs a password");
    expectTalk(create(directory_.file("missing/store.p12")), configuration, "cannot be written");
    EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(Keystore, ListShowsWhatOpensslMade) {
    opensslStore({});
    const auto listed = json(keystore("list", {store_, "--json"}));
    EXPECT_EQ(listed["format"], "PKCS#12");
    ASSERT_EQ(listed["entries"].size(), 2U);
    EXPECT_EQ(listed["entries"][0]["kind"], "own");
    EXPECT_EQ(listed["entries"][0]["subject"], "CN=own");
    EXPECT_EQ(listed["entries"][1]["kind"], "trusted");
    EXPECT_EQ(listed["entries"][1]["subject"], "CN=other");
    const std::string fingerprint =
        openssl({"x509", "-in", directory_.file("own.pem"), "-noout", "-fingerprint", "-sha256"}).out;
    EXPECT_THAT(fingerprint, HasSubstr(std::string(listed["entries"][0]["fingerprint"])));
    EXPECT_THAT(keystore("list", {store_}).out, HasSubstr("days left)"));
}

TEST_F(Keystore, ListReadsOldCiphers) {
    opensslStore({"-legacy", "-certpbe", "PBE-SHA1-RC2-40", "-keypbe", "PBE-SHA1-3DES"});
    EXPECT_EQ(json(keystore("list", {store_, "--json"}))["entries"].size(), 2U);
}

TEST_F(Keystore, ListReadsPemAndDer) {
    opensslStore({});
    const std::string pem = directory_.file("store.pem");
    writeFile(pem, readFile(directory_.file("other.pem")) + readFile(directory_.file("own.pem")) +
                       readFile(directory_.file("own.key")));
    const auto listed = json(tool({"keystore", "list", pem, "--json"}));
    EXPECT_EQ(listed["format"], "PEM");
    EXPECT_EQ(listed["entries"][0]["subject"], "CN=own");
    EXPECT_EQ(listed["entries"][1]["subject"], "CN=other");
    const std::string der = directory_.file("store.der");
    openssl({"x509", "-in", directory_.file("own.pem"), "-outform", "DER", "-out", der});
    EXPECT_EQ(json(tool({"keystore", "list", der, "--json"}))["format"], "DER");
    const std::string locked = directory_.file("locked.pem");
    openssl({"pkey", "-in", directory_.file("own.key"), "-aes256", "-passout", "pass:opensesame", "-out", locked});
    EXPECT_EQ(json(keystore("list", {locked, "--json"}))["privateKey"], true);
    expectTalk(tool({"keystore", "list", locked}), configuration, "needs a password");
}

TEST_F(Keystore, EachWayNotToOpenHasItsSentence) {
    opensslStore({});
    const EnvironmentVariable wrong("QUORVANTI_TEST_WRONG", "swordfish");
    writeFile(directory_.file("garbage"), "no key store");
    expectTalk(keystore("list", {directory_.file("missing")}), configuration, "does not exist");
    expectTalk(keystore("list", {directory_.file("garbage")}), configuration, "is no key store");
    expectTalk(keystore("list", {directory_.path().string()}), configuration, "cannot be read");
    expectTalk(tool({"keystore", "list", store_}), configuration, "needs a password");
    const CommandResult refused = tool({"keystore", "list", store_, "--password-env", "QUORVANTI_TEST_WRONG"});
    expectTalk(refused, configuration, "the password is wrong");
    EXPECT_THAT(refused.err, Not(HasSubstr("swordfish")));
}

TEST_F(Keystore, ACipherThatIsNotThereIsSaid) {
    SKIP_UNLESS_OLD_CIPHERS_CAN_LACK();
    opensslStore({"-legacy", "-certpbe", "PBE-SHA1-RC2-40", "-keypbe", "PBE-SHA1-3DES"});
    const EnvironmentVariable withoutOldCiphers("OPENSSL_MODULES", directory_.path().string().c_str());
    expectTalk(keystore("list", {store_}), configuration, "is encrypted with a cipher that cannot be read here");
}

TEST_F(Keystore, AddTrustedKeepsWhatIsThere) {
    opensslStore({});
    create(directory_.file("new.p12"));
    writeFile(directory_.file("issuer.pem"), keystore("export-certificate", {directory_.file("new.p12")}).out);
    const CommandResult added = keystore("add-trusted", {store_, directory_.file("issuer.pem"), "--json"});
    ASSERT_EQ(added.exitCode, accepted) << added.err;
    ASSERT_EQ(json(added)["entries"].size(), 3U);
    EXPECT_EQ(json(added)["entries"][0]["subject"], "CN=own");
    // A certificate that is there already is not added again.
    EXPECT_EQ(json(keystore("add-trusted", {store_, "-", "--json"}, readFile(directory_.file("issuer.pem"))))["entries"]
                  .size(),
              3U);
    const CommandResult read = openssl({"pkcs12", "-in", store_, "-passin", "pass:opensesame", "-nodes"});
    for (const char* part : {"PRIVATE KEY", "CN = own", "CN = other", "CN = PRD"}) {
        EXPECT_THAT(read.out, HasSubstr(part));
    }
}

TEST_F(Keystore, AddTrustedMakesAKeyStoreWhenAsked) {
    create(directory_.file("new.p12"));
    const std::string certificate = keystore("export-certificate", {directory_.file("new.p12"), "--der"}).out;
    writeFile(directory_.file("issuer.der"), certificate);
    expectTalk(keystore("add-trusted", {store_, directory_.file("issuer.der")}), configuration, "does not exist");
    EXPECT_EQ(keystore("add-trusted", {store_, directory_.file("issuer.der"), "--create"}).exitCode, accepted);
    EXPECT_THAT(openssl({"pkcs12", "-in", store_, "-passin", "pass:opensesame", "-nodes"}).out, HasSubstr("CN = PRD"));
    expectTalk(keystore("add-trusted", {store_, "-"}, "no certificate"), inputUnreadable, "holds no certificate");
}

TEST_F(Keystore, OnlyPkcs12IsChanged) {
    opensslStore({});
    const std::string before = readFile(directory_.file("own.pem"));
    expectTalk(keystore("add-trusted", {directory_.file("own.pem"), directory_.file("other.pem")}), configuration,
               "only PKCS#12 key stores are changed");
    EXPECT_EQ(readFile(directory_.file("own.pem")), before);
}

TEST_F(Keystore, WhatWouldBeLostIsNotChanged) {
    twoKeys();
    create(directory_.file("new.p12"));
    writeFile(directory_.file("issuer.pem"), keystore("export-certificate", {directory_.file("new.p12")}).out);
    const EnvironmentVariable fresh("QUORVANTI_TEST_NEW", "swordfish");
    const std::string before = readFile(store_);
    EXPECT_EQ(json(keystore("list", {store_, "--json"}))["privateKey"], true);
    for (const CommandResult& result :
         {keystore("change-password", {store_, "--new-password-env", "QUORVANTI_TEST_NEW"}),
          keystore("add-trusted", {store_, directory_.file("issuer.pem")})}) {
        expectTalk(result, configuration, "the rest would be lost");
        EXPECT_EQ(readFile(store_), before);
    }
}

TEST_F(Keystore, ExportsTheCertificateAskedFor) {
    opensslStore({});
    EXPECT_EQ(keystore("export-certificate", {store_}).out, readText(directory_.file("own.pem")));
    EXPECT_EQ(keystore("export-certificate", {store_, "--number", "2"}).out, readText(directory_.file("other.pem")));
    openssl({"x509", "-in", directory_.file("own.pem"), "-outform", "DER", "-out", directory_.file("own.der")});
    EXPECT_EQ(keystore("export-certificate", {store_, "--der"}).bytes, readFile(directory_.file("own.der")));
    expectTalk(keystore("export-certificate", {store_, "--number", "3"}), configuration, "has 2 certificates");
}

TEST_F(Keystore, ChangesThePassword) {
    opensslStore({});
    std::filesystem::permissions(store_, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write |
                                             std::filesystem::perms::group_read);
    const EnvironmentVariable fresh("QUORVANTI_TEST_NEW", "swordfish");
    const CommandResult changed = keystore("change-password", {store_, "--new-password-env", "QUORVANTI_TEST_NEW"});
    ASSERT_EQ(changed.exitCode, accepted) << changed.err;
    EXPECT_EQ(changed.out, "the password of " + store_ + " is changed\n");
    EXPECT_NE(openssl({"pkcs12", "-in", store_, "-passin", "pass:opensesame", "-nodes"}).exitCode, 0);
    const CommandResult read = openssl({"pkcs12", "-in", store_, "-passin", "pass:swordfish", "-nodes"});
    EXPECT_THAT(read.out, HasSubstr("CN = own"));
    EXPECT_THAT(read.out, HasSubstr("CN = other"));
    EXPECT_THAT(read.out, HasSubstr("PRIVATE KEY"));
    EXPECT_EQ(std::filesystem::status(store_).permissions() & std::filesystem::perms::group_read,
              std::filesystem::perms::group_read);
}

TEST_F(Keystore, AChangedKeyStoreStaysItsOwners) {
    create(store_);
    if (!giveAway(store_)) {
        GTEST_SKIP() << "only root may give files away";
    }
    const EnvironmentVariable fresh("QUORVANTI_TEST_NEW", "swordfish");
    const CommandResult changed = keystore("change-password", {store_, "--new-password-env", "QUORVANTI_TEST_NEW"});
    ASSERT_EQ(changed.exitCode, accepted) << changed.err;
    EXPECT_TRUE(isGivenAway(store_));
    EXPECT_EQ(onlyForTheOwner(store_), true);
}

TEST_F(Keystore, AFailedChangeLeavesTheKeyStoreAsItWas) {
    opensslStore({});
    const std::string before = readFile(store_);
    const EnvironmentVariable empty("QUORVANTI_TEST_NEW", "");
    expectTalk(keystore("change-password", {store_, "--new-password-env", "QUORVANTI_TEST_NEW"}), configuration,
               std::getenv("QUORVANTI_TEST_NEW") != nullptr ? "needs a password that is not empty"
                                                            : "is not set");  // no system has to know empty variables
    expectTalk(keystore("change-password", {store_}), configuration, "needs a password that is not empty");
    EXPECT_EQ(readFile(store_), before);
}

}  // namespace
