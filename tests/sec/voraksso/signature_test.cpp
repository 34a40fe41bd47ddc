#include "sec/voraksso/signature.h"

#include "tests/sec/voraksso/engine_fixture.h"

#include "sec/kavsecu/crypto_memory.h"
#include "sec/voraksso/state.h"

#include <regex>
#include <utility>

namespace quorvanti {
namespace {

using namespace quorvanti::test;

constexpr std::int32_t combined(std::int32_t ssfCode, std::int32_t code) {
    return ssfCode << 16 | code;
}

class SignatureTest : public EngineTest {
protected:
    using EngineTest::EngineTest;

    ValidateResult validate() {
        const Bytes content = bytesOf("content");
        const Bytes signature = bytesOf("signature");
        certificate = SignerCertificate{};
        const ThrRecMtxGuard lock(libraryState().cryptoLock);
        return ValidateTicket(content, signature, libraryState().cryptoTable, {"PKCS7", "store.pse", "secret"},
                              certificate);
    }
    ValidateResult sign() {
        SigningParameters parameters;
        parameters.format = "PKCS7";
        parameters.profile = "store.pse";
        parameters.password = "secret";
        parameters.hashAlgorithm = "SHA256";
        parameters.signerId = "<implicit>";
        const Bytes content = bytesOf("content");
        std::uint8_t* signature = nullptr;
        std::int32_t length = 0;
        const ThrRecMtxGuard lock(libraryState().cryptoLock);
        const ValidateResult result = SignTicket(content, libraryState().cryptoTable, parameters, &signature, &length);
        made = signature != nullptr ? std::string(reinterpret_cast<char*>(signature), static_cast<std::size_t>(length))
                                    : std::string();
        if (signature != nullptr) {
            libraryState().cryptoTable.find(ssf::SsfDELSsfOctetstring)(&signature, &length);
        }
        return result;
    }

    SignerCertificate certificate;
    std::string made;
};

TEST_F(SignatureTest, AValidSignatureYieldsACopyOfTheSignersCertificate) {
    EXPECT_EQ(validate(), VORAK_OK);
    EXPECT_EQ(std::string(certificate.bytes().begin(), certificate.bytes().end()), "certificate of the double");
    EXPECT_EQ(crypto.argument("SsfVerify", "format"), "PKCS7");
    EXPECT_EQ(crypto.argument("SsfVerify", "detached"), "1");
    EXPECT_EQ(crypto.argument("SsfVerify", "signature"), "signature");
    EXPECT_EQ(crypto.argument("SsfVerify", "profile"), "store.pse");
    EXPECT_EQ(crypto.argument("SsfVerify", "password"), "secret");
}

TEST_F(SignatureTest, WhatIsVerifiedIsWhatTheCryptoLibraryEncoded) {
    crypto->encoded = "wrapped";
    EXPECT_EQ(validate(), VORAK_OK);
    EXPECT_EQ(crypto.argument("SsfEncode", "data"), "content");
    EXPECT_EQ(crypto.argument("SsfVerify", "encoded"), "wrapped");
}

TEST_F(SignatureTest, AValidSignatureWithoutTheSignersCertificateYields17) {
    const TraceCapture trace(1);
    crypto->signers[0].certificate.reset();
    EXPECT_EQ(validate(), VORAK_NO_CERTIFICATE);
    crypto->signers.clear();
    EXPECT_EQ(validate(), VORAK_NO_CERTIFICATE) << "an empty list names no certificate either";
    crypto->signerList = false;
    EXPECT_EQ(validate(), VORAK_NO_CERTIFICATE);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>(3, "*** ERROR => No certificate of the signer available. [ssoxxsgn]"));
}

TEST_F(SignatureTest, ContentThatCannotBeEncodedYields14AtOnce) {
    crypto->functions["SsfEncode"].result = 11;
    EXPECT_EQ(validate(), VORAK_CRYPTO_FAILED);
    EXPECT_EQ(crypto.calls("SsfVerify"), 0);
}

TEST_F(SignatureTest, ARefusalWithoutASignerYields20AndTheLibrarysCode) {
    const TraceCapture trace(1);
    crypto->functions["SsfVerify"].result = 12;
    for (const bool list : {true, false}) {
        crypto->signerList = list;
        crypto->signers.clear();
        EXPECT_EQ(validate(), combined(12, VORAK_NO_SIGNER_LIST));
    }
    const std::vector<std::string> once{
        "*** ERROR => SsfVerify failed (see note 7700101). [ssoxxsgn]",
        "*** ERROR =>  SsfVerify returned 12 :: SSF_API_DECODE_FAILED :: Could not decode input. [secuload]",
        "*** ERROR =>  SsfVerify returned null for SignerList. [ssoxxsgn]"};
    const std::vector<std::string> lines = trace.lines();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 3), once);
    EXPECT_EQ(std::vector<std::string>(lines.begin() + 3, lines.end()), once);
}

TEST_F(SignatureTest, ARefusalCombinesTheLibrarysCodeAndTheSigners) {
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 22;
    EXPECT_EQ(validate(), combined(22, 5));
    EXPECT_EQ(VORAK_STANDARD_ERROR(combined(22, 5)), 5);
    EXPECT_EQ(VORAK_SSF_ERROR(combined(22, 5)), 22);
}

TEST_F(SignatureTest, ARefusalWithACertificateDumpsTheCertificate) {
    const TraceCapture trace(2);
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 20;
    crypto->certificateTexts["ALL"] = "everything about it";
    validate();
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{
                  "*** ERROR => SsfVerify failed (see note 7700101). [ssoxxsgn]",
                  "*** ERROR =>  SsfVerify returned 5 :: SSF_API_SIGNER_ERRORS :: Error during verify - signer error. "
                  "[secuload]",
                  "VORAKSSO2 ticket SSF error description: A signing operation could not be performed or failed .",
                  "*** ERROR =>  SSF LIB returned 20 :: unknown SSF error  :: no further, internal error occured in "
                  "SSF. [secuload]",
                  "Certificate in SSO ticket:", "everything about it ", "DumpCertAttribute return with rc=0."}));
}

TEST_F(SignatureTest, ACertificateThatCannotBeDumpedChangesNothing) {
    const TraceCapture trace(2);
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 27;
    EXPECT_EQ(validate(), combined(27, 5));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Couldn't parse the attribute >>ALL<< out of certificate. [ssoxxsgn]"));
    EXPECT_TRUE(hasLine(trace, "DumpCertAttribute return with rc=17."));
    crypto->functions["SsfCertfromASN1"].result = 40;
    EXPECT_EQ(validate(), combined(27, 5));
    EXPECT_TRUE(hasLine(trace, "*** ERROR => Certificate couldn't be converted into internal structure. [ssoxxsgn]"));
}

TEST_F(SignatureTest, NeitherCertificateNorSignerIsDumpedBelowLevel2) {
    const TraceCapture trace(1);
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 27;
    validate();
    EXPECT_EQ(crypto.calls("SsfCertfromASN1"), 0);
    crypto->signers[0].certificate.reset();
    validate();
    EXPECT_FALSE(trace.contains(" Signer "));
}

TEST_F(SignatureTest, ARefusalWithoutACertificateDumpsTheSignerAndOnlyTheLengthOfThePassword) {
    const TraceCapture trace(3);
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0] = {"CN=Somebody", "who it is", 6, 22, std::nullopt};
    validate();
    EXPECT_TRUE(hasLine(trace, " Signer   ID: CN=Somebody "));
    EXPECT_TRUE(hasLine(trace, " Signer  PWD: ****** with len 6 "));
    EXPECT_TRUE(hasLine(trace, " Signer info: who it is "));
    EXPECT_TRUE(hasLine(trace,
                        " Signer res.: Signer is not known or not trusted *OR* Recipient not found (in address "
                        "book/PSE) "));
    EXPECT_FALSE(trace.contains("secret")) << "a password is in no trace, at no level";
}

TEST_F(SignatureTest, ArgumentsAndResultsAreDumpedAtLevel3) {
    const TraceCapture trace(3);
    crypto->encoded = "wrapped";
    crypto->signers[0].certificate = "DER";
    validate();
    std::vector<std::string> lines = trace.lines();
    for (std::string& line : lines) {
        line = std::regex_replace(line, std::regex("^(0{8} .*\\S) +(\\S+) *$"), "$1 $2");
    }
    const std::size_t verified = 7;
    ASSERT_EQ(lines.size(), 10u);
    EXPECT_TRUE(lines[verified].starts_with("Verify returns 0 [sec/voraksso/ssoxxsgn ")) << lines[verified];
    lines.erase(lines.begin() + verified);
    EXPECT_EQ(
        lines,
        (std::vector<std::string>{
            "Argument Dump for ticket verification:", "Content byte stream:", "00000000  63 6f 6e 74 65 6e 74 content",
            "Signature byte stream:", "00000000  73 69 67 6e 61 74 75 72  65 signature", "Encoded content byte stream:",
            "00000000  77 72 61 70 70 65 64 wrapped", "Certificate is: ", "00000000  44 45 52 DER"}));
    EXPECT_TRUE(std::regex_search(trace.text(), std::regex(R"(\] \n\[Thr [0-9]+\] Signature byte stream:\n)")))
        << "an empty line stands before the signature";
}

TEST(CombineCodes, AFailureNeverLooksLikeSuccess) {
    EXPECT_EQ(combineCodes(5, 22), combined(22, 5));
    EXPECT_EQ(combineCodes(5, 0), 5) << "the signer's own code may be none";
    EXPECT_EQ(combineCodes(1, 0xFFFF), combined(-1, 1));
    EXPECT_EQ(combineCodes(0xFFFF, 1), combined(1, 0xFFFF));
    EXPECT_EQ(combineCodes(5, 0x10000), VORAK_CRYPTO_FAILED);
    EXPECT_EQ(combineCodes(0x10000, 22), combined(22, VORAK_CRYPTO_FAILED)) << "the low half would be 0";
    EXPECT_EQ(combineCodes(0x10005, 22), combined(22, VORAK_CRYPTO_FAILED)) << "does not fit";
    EXPECT_EQ(combineCodes(-1, 22), combined(22, VORAK_CRYPTO_FAILED));
    EXPECT_EQ(combineCodes(0, 0), VORAK_CRYPTO_FAILED);
    EXPECT_EQ(combineCodes(5, 0x10016), VORAK_CRYPTO_FAILED);
    EXPECT_EQ(combineCodes(5, -3), VORAK_CRYPTO_FAILED);
}

TEST_F(SignatureTest, ACryptoLibraryCodeThatDoesNotFitIsStillAFailure) {
    crypto->functions["SsfVerify"].result = 0x20000;
    EXPECT_EQ(VORAK_STANDARD_ERROR(validate()), VORAK_CRYPTO_FAILED);
}

TEST_F(SignatureTest, SigningHandsOutTheSignature) {
    EXPECT_EQ(sign(), VORAK_OK);
    EXPECT_EQ(made, "signature");
    EXPECT_EQ(crypto.argument("SsfSign", "includeCertificate"), "0");
}

TEST_F(SignatureTest, EachFailureOfSigningHasItsCodeAndItsLine) {
    struct Row {
        const char* function;
        const char* line;
    };
    for (const Row& row : {Row{"SsfNEWSigRcpSsfInfo", "NEWSignerInfo failed."},
                           Row{"SsfINSSigRcpSsfInfo", "INSSignerInfo failed."}, Row{"SsfEncode", "Encode failed."}}) {
        const TraceCapture trace(1);
        crypto->functions[row.function].result = 17;
        EXPECT_EQ(sign(), combined(17, VORAK_CRYPTO_FAILED)) << row.function;
        EXPECT_EQ(trace.lines(), std::vector<std::string>{std::string("*** ERROR => ") + row.line + " [ssoxxsgn]"});
        crypto->functions[row.function].result = 0;
    }
}

TEST_F(SignatureTest, ASignerThatCouldNotSignIsDescribed) {
    const TraceCapture trace(2);
    crypto->functions["SsfSign"].result = 5;
    crypto->signResult = DoubleSigner{"<implicit>", "cannot", 6, 25, std::nullopt};
    EXPECT_EQ(sign(), combined(25, VORAK_INVALID));
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{
                  "*** ERROR => SsfSign failed (see note 7700101). [ssoxxsgn]",
                  "*** ERROR =>  SsfSign returned 5 :: SSF_API_SIGNER_ERRORS :: Error during verify - signer error. "
                  "[secuload]",
                  "VORAKSSO2 ticket SSF error description: A signing operation could not be performed or failed .",
                  "*** ERROR =>  SSF LIB returned 25 :: SSF_API_INVALID_PASSWORD :: Invalid password for profile. "
                  "Incorrect password or missing credentials. [secuload]",
                  " Signer   ID: <implicit> ", " Signer  PWD: ****** with len 6 ", " Signer info: cannot ",
                  " Signer res.: Wrong or missing password for Profile (PSE) "}));
    EXPECT_FALSE(trace.contains("secret"));
}

TEST_F(SignatureTest, ASigningFailureWithoutASignerYields9) {
    static SsfSigRcpSsfInfo* removed = nullptr;
    const TraceCapture trace(1);
    crypto->hooks.SsfSign = [](auto, auto, auto, auto, auto, auto, auto, auto, SsfSigRcpSsfInfoList* signers, auto,
                               auto) -> std::int32_t {
        removed = std::exchange(signers->first, nullptr);
        return 12;
    };
    EXPECT_EQ(sign(), VORAK_INVALID);
    for (const char* text : {removed->id, removed->profile, removed->password}) {
        delete[] text;
    }
    delete removed;
    EXPECT_EQ(trace.lines(),
              (std::vector<std::string>{
                  "*** ERROR => SsfSign failed (see note 7700101). [ssoxxsgn]",
                  "*** ERROR =>  SsfSign returned 12 :: SSF_API_DECODE_FAILED :: Could not decode input. [secuload]",
                  "*** ERROR =>  SsfSign returned null for SignerList. [ssoxxsgn]"}));
}

TEST_F(SignatureTest, ASigningWithoutResultIsNoSuccess) {
    crypto->hooks.SsfSign = [](auto...) -> std::int32_t { return 0; };
    EXPECT_EQ(sign(), VORAK_CRYPTO_FAILED);
    EXPECT_EQ(crypto.calls("SsfDELSsfOctetstring"), 1) << "of the encoded content only: no signature was handed out";
}

TEST_F(SignatureTest, ASignatureWithoutALengthIsNoSuccessAndGoesBack) {
    crypto->hooks.SsfSign = [this](auto, auto, auto, auto, auto, auto, auto, auto, auto, std::uint8_t** signature,
                                   std::int32_t* length) -> std::int32_t {
        *signature = reinterpret_cast<std::uint8_t*>(crypto->handOut("signature"));
        *length = 0;
        return 0;
    };
    EXPECT_EQ(sign(), VORAK_CRYPTO_FAILED);
    EXPECT_EQ(made, "");
    EXPECT_TRUE(crypto->outstanding.empty());
}

class MissingFunction : public SignatureTest, public ::testing::WithParamInterface<std::array<const char*, 2>> {
protected:
    MissingFunction() : SignatureTest(GetParam()[0]) {}
};

class MissingForVerifying : public MissingFunction {};
TEST_P(MissingForVerifying, Yields13AndALineThatNamesIt) {
    const TraceCapture trace(1);
    EXPECT_EQ(validate(), VORAK_CRYPTO_FUNCTION_MISSING);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{std::string("*** ERROR => ") + GetParam()[1] + " is NULL. [ssoxxsgn]"});
}
INSTANTIATE_TEST_SUITE_P(Each, MissingForVerifying,
                         ::testing::Values(std::array{"double_no_encode", "SsfEncode"},
                                           std::array{"double_no_verify", "SsfVerify"},
                                           std::array{"double_no_octet_release", "SsfDELSsfOctetstring"},
                                           std::array{"double_no_list_release", "SsfDELSigRcpSsfInfoList"}));

class MissingForSigning : public MissingFunction {};
TEST_P(MissingForSigning, Yields13AndALineThatNamesIt) {
    const TraceCapture trace(1);
    EXPECT_EQ(sign(), VORAK_CRYPTO_FUNCTION_MISSING);
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{std::string("*** ERROR => ") + GetParam()[1] + " is NULL. [ssoxxsgn]"});
}
INSTANTIATE_TEST_SUITE_P(Each, MissingForSigning,
                         ::testing::Values(std::array{"double_no_encode", "SsfEncode"},
                                           std::array{"double_no_sign", "SsfSign"},
                                           std::array{"double_no_new_signer", "SsfNEWSigRcpSsfInfo"},
                                           std::array{"double_no_insert_signer", "SsfINSSigRcpSsfInfo"},
                                           std::array{"double_no_signer_release", "SsfDELSigRcpSsfInfo"},
                                           std::array{"double_no_octet_release", "SsfDELSsfOctetstring"},
                                           std::array{"double_no_list_release", "SsfDELSigRcpSsfInfoList"}));

class MissingForDump : public MissingFunction {};
TEST_P(MissingForDump, IsNamedAndTheRefusalStays) {
    const TraceCapture trace(2);
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 27;
    EXPECT_EQ(validate(), combined(27, 5));
    EXPECT_TRUE(hasLine(trace, std::string("*** ERROR => ") + GetParam()[1] + " is NULL. [ssoxxsgn]"));
    EXPECT_TRUE(hasLine(trace, "DumpCertAttribute return with rc=13."));
}
INSTANTIATE_TEST_SUITE_P(Each, MissingForDump,
                         ::testing::Values(std::array{"double_no_certificate", "SsfCertfromASN1"},
                                           std::array{"double_no_certificate_text", "SsfParseCertificate"},
                                           std::array{"double_no_certificate_free", "SsfFreeCertificate"}));

}  // namespace
}  // namespace quorvanti
