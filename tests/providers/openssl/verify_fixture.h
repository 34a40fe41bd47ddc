// Calls SsfVerify against a key store of the test's own, at testTime.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "providers/openssl/clock.h"
#include "providers/openssl/key_store.h"
#include "providers/openssl/last_error.h"
#include "providers/openssl/signer_check.h"
#include "quorvanti/ssf.h"
#include "tests/providers/openssl/signed_data_builder.h"
#include "tests/support/temporary_directory.h"

namespace quorvanti::test {

using ::testing::HasSubstr;

inline std::int64_t testClock() {
    return testTime;
}

struct Answer {
    std::int32_t code = -1;
    std::int32_t signerResult = -1;  // -1: no signer entry
    std::string id;
    Octets certificate;
    std::string sentence;
};

class Verify : public ::testing::Test {
protected:
    Verify() { provider::setClock(testClock); }
    ~Verify() override {
        provider::forgetKeyStores();
        provider::setClock(nullptr);
    }

    void trust(const std::vector<Octets>& certificates) {
        std::string pem;
        for (const Octets& certificate : certificates)
            pem += pemOf(certificate);
        writeFile(store_, pem);
    }

    // Every verification goes all ways: with nothing prepared, with everything kept from the time before, and with
    // chains that the toolkit alone builds. The answers are the same to the last word.
    Answer verify(const Octets& signature, const Octets& content) const {
        provider::forgetKeyStores();
        const Answer unprepared = verifyWith(signature, content, store_);
        const Answer prepared = verifyWith(signature, content, store_);
        EXPECT_EQ(prepared.code, unprepared.code);
        EXPECT_EQ(prepared.signerResult, unprepared.signerResult);
        EXPECT_EQ(prepared.id, unprepared.id);
        EXPECT_EQ(prepared.certificate, unprepared.certificate);
        EXPECT_EQ(prepared.sentence, unprepared.sentence);
        compareWithToolkit(signature, content, prepared);
        return prepared;
    }

    void compareWithToolkit(const Octets& signature, const Octets& content, const Answer& answer) const {
        provider::SignedData signedData;
        provider::SignatureAlgorithms algorithms;
        const bool checked = provider::readSignedData(signature, signedData).empty() &&
                             provider::checkAlgorithms(signedData, algorithms).code == SSF_API_OK;
        ASSERT_EQ(checked, answer.signerResult != -1);
        if (!checked)
            return;
        const std::string file = readFile(store_);
        provider::KeyStore store;
        store.profile = store_;
        ASSERT_EQ(provider::parseKeyStoreImage(Octets(file.begin(), file.end()), {}, store), 0);
        store.directIssuers.clear();
        const provider::SignerVerdict verdict = provider::checkSigner(signedData, algorithms, content, store);
        EXPECT_EQ(verdict.result, answer.signerResult);
        EXPECT_EQ(verdict.signer != nullptr ? verdict.signer->subject : "", answer.id);
        EXPECT_EQ(Octets(verdict.certificate.begin(), verdict.certificate.end()), answer.certificate);
        if (answer.code != 0) {
            EXPECT_EQ(verdict.problem, answer.sentence);
        }
    }

    static Answer verifyWith(const Octets& signature, const Octets& content, const std::string& profile) {
        SsfSigRcpSsfInfoList* signers = nullptr;
        std::uint8_t* output = nullptr;
        std::int32_t outputLength = 0;
        Answer answer;
        answer.code =
            SsfVerify("PKCS7", 5, 1, signature.data(), static_cast<std::int32_t>(signature.size()), content.data(),
                      static_cast<std::int32_t>(content.size()), profile.c_str(),
                      static_cast<std::int32_t>(profile.size()), nullptr, 0, &signers, &output, &outputLength);
        if (signers != nullptr && signers->first != nullptr) {
            const SsfSigRcpSsfInfo& entry = *signers->first;
            answer.signerResult = entry.result;
            answer.id.assign(entry.id, static_cast<std::size_t>(entry.idLength));
            if (entry.certificate != nullptr)
                answer.certificate.assign(entry.certificate, entry.certificate + entry.certificateLength);
        }
        EXPECT_EQ(SsfDELSigRcpSsfInfoList(&signers), 0);
        answer.sentence = provider::lastError().sentence;
        return answer;
    }

    void expectAccepted(const SignatureParts& parts) const {
        const Answer answer = verify(parts.build(content_), content_);
        EXPECT_EQ(answer.code, 0) << answer.sentence;
        EXPECT_EQ(answer.signerResult, 0);
    }

    void expectUndecodable(const Octets& signature, const char* sentence) const {
        const Answer answer = verify(signature, content_);
        EXPECT_EQ(answer.code, SSF_API_DECODE_FAILED);
        EXPECT_EQ(answer.signerResult, -1);
        EXPECT_THAT(answer.sentence, HasSubstr(sentence));
    }

    void expectSignerRefused(const SignatureParts& parts, std::int32_t result, const char* sentence) const {
        const Answer answer = verify(parts.build(content_), content_);
        EXPECT_EQ(answer.code, SSF_API_SIGNER_ERRORS);
        EXPECT_EQ(answer.signerResult, result);
        EXPECT_THAT(answer.sentence, HasSubstr(sentence));
    }

    TemporaryDirectory directory_;
    std::string store_ = directory_.file("trusted.pem");
    Octets content_{'t', 'h', 'e', ' ', 't', 'i', 'c', 'k', 'e', 't'};
    Octets rsa_ = makeCertificate("rsa", "rsa");
    SignatureParts accepted_{"rsa", rsa_};
};

}  // namespace quorvanti::test
