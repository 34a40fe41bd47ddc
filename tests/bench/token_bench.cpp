// One JSON Web Token evaluated, as a whole public call, beside what is at its bottom (the bare HMAC with a kept key,
// the bare RSA verification with a prepared context) and beside two libraries that services use. All in one run; only
// ratios mean anything. The others get their keys prepared where they can keep them.
#include <quorvanti/voraksso.h>

#include "tests/support/issuer/in_process_issuer.h"
#include "tests/support/issuer/token_signing.h"

#include <benchmark/benchmark.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cjose/cjose.h>
#include <jansson.h>
#include <jwt.h>

#include <cstdlib>
#include <ctime>
#include <memory>

namespace {

using namespace quorvanti::test;

template <auto release>
struct Releaser {
    template <typename T>
    void operator()(T* thing) const {
        release(thing);
    }
};
using Mac = std::unique_ptr<EVP_MAC, Releaser<EVP_MAC_free>>;
using MacContext = std::unique_ptr<EVP_MAC_CTX, Releaser<EVP_MAC_CTX_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Releaser<EVP_PKEY_CTX_free>>;

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// What a service's token looks like: identity, times and a few claims of its own.
struct Scene {
    Scene() : issuer(KeyKind::rsa) {
        require(VorakInitialize(nullptr) == VORAK_OK, "the library does not start");
        const std::int64_t now = std::time(nullptr);
        const std::string payload = R"({"iss":"https://portal.example.com","sub":"jdoe","aud":"erp-production",)"
                                    R"("jti":"3f0c2b7e-9a51-4b0e-8a51-2f6f0a1d9c55","iat":)" +
                                    std::to_string(now) + R"(,"nbf":)" + std::to_string(now - 60) + R"(,"exp":)" +
                                    std::to_string(now + 86400) + R"(,"name":"John Doe","roles":["buyer","viewer"]})";
        hmacToken = signedWithSecret(payload, secret);
        rsaToken = signedWithKey(payload, issuer.key());
        certificatePem = issuer.certificatePem();
        const Bytes der = issuer.certificateDer();
        certificateDer.assign(der.begin(), der.end());
        unsigned char* spki = nullptr;
        const int length = i2d_PUBKEY(issuer.key(), &spki);
        publicKeyDer.assign(reinterpret_cast<const char*>(spki), static_cast<std::size_t>(length));
        OPENSSL_free(spki);
        const std::unique_ptr<BIO, Releaser<BIO_free>> bio(BIO_new(BIO_s_mem()));
        PEM_write_bio_PUBKEY(bio.get(), issuer.key());
        char* text = nullptr;
        const long textLength = BIO_get_mem_data(bio.get(), &text);
        publicKeyPem.assign(text, static_cast<std::size_t>(textLength));
    }

    InProcessIssuer issuer;
    std::string secret = "0123456789abcdef0123456789abcdef";
    std::string hmacToken, rsaToken, certificatePem, certificateDer, publicKeyDer, publicKeyPem;
};

const Scene& scene() {
    static const Scene made;
    return made;
}

std::string_view signedText(const std::string& token) {
    return std::string_view(token).substr(0, token.rfind('.'));
}

// --- The library ------------------------------------------------------------------------------------------------

void evaluate(benchmark::State& state, const std::string& token, std::string_view key) {
    char payload[1024];
    for (auto _ : state) {
        JwtResult result;
        result.structSize = sizeof result;
        result.payload = payload;
        result.payloadLength = sizeof payload;
        result.subjectLength = result.issuerLength = result.jsonIdLength = result.audienceLength = 0;
        require(VorakEvalJWToken(token.data(), token.size(), key.empty() ? nullptr : bytesOf(key), key.size(), nullptr,
                                 &result) == VORAK_OK,
                "the token is not accepted");
    }
}

void load(std::string_view key, std::uint32_t type) {
    require(VorakLoadTicketKey(bytesOf(key), static_cast<std::int32_t>(key.size()), nullptr, 0, type) == VORAK_OK,
            "the key is not loaded");
}

void hs256Evaluate(benchmark::State& state) {
    evaluate(state, scene().hmacToken, scene().secret);
}

void hs256EvaluateLoadedKey(benchmark::State& state) {
    load(scene().secret, VORAK_KEY_HMAC);
    evaluate(state, scene().hmacToken, {});
}

void rs256Evaluate(benchmark::State& state, const std::string Scene::*key) {
    evaluate(state, scene().rsaToken, scene().*key);
}

void rs256EvaluateLoadedKey(benchmark::State& state) {
    load(scene().certificatePem, VORAK_KEY_CERTIFICATE);
    evaluate(state, scene().rsaToken, {});
}

// --- What is at the bottom --------------------------------------------------------------------------------------

void hs256Bare(benchmark::State& state) {
    const std::string_view text = signedText(scene().hmacToken);
    const Mac method(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
    const MacContext context(EVP_MAC_CTX_new(method.get()));
    char name[] = "SHA256";
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, name, 0),
                                     OSSL_PARAM_construct_end()};
    require(EVP_MAC_init(context.get(), bytesOf(scene().secret), scene().secret.size(), parameters) == 1, "mac");
    unsigned char value[32];
    std::size_t length = 0;
    for (auto _ : state) {
        require(EVP_MAC_init(context.get(), nullptr, 0, nullptr) == 1 &&
                    EVP_MAC_update(context.get(), bytesOf(text), text.size()) == 1 &&
                    EVP_MAC_final(context.get(), value, &length, sizeof value) == 1,
                "mac");
        benchmark::DoNotOptimize(value);
    }
}

void rs256Bare(benchmark::State& state) {
    const std::string_view text = signedText(scene().rsaToken);
    const std::string signature = signatureOf(text, scene().issuer.key(), "RS256");
    unsigned char digest[32];
    unsigned digestLength = sizeof digest;
    EVP_Digest(text.data(), text.size(), digest, &digestLength, EVP_sha256(), nullptr);
    const KeyContext context(EVP_PKEY_CTX_new_from_pkey(nullptr, scene().issuer.key(), nullptr));
    require(EVP_PKEY_verify_init(context.get()) == 1 && EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256()) == 1,
            "verify");
    for (auto _ : state) {
        require(EVP_PKEY_verify(context.get(), bytesOf(signature), signature.size(), digest, digestLength) == 1,
                "not verified");
    }
}

// --- The others -------------------------------------------------------------------------------------------------

void libjwt(benchmark::State& state, const std::string Scene::*token, const std::string Scene::*key) {
    const std::string& secret = scene().*key;
    for (auto _ : state) {
        jwt_t* jwt = nullptr;
        require(jwt_decode(&jwt, (scene().*token).c_str(), bytesOf(secret), static_cast<int>(secret.size())) == 0,
                "libjwt");
        jwt_free(jwt);
    }
}

// It knows signatures only; what a caller does with its result to know the claims is read with the JSON library that it
// stands on itself.
enum class Read { signature, claims };

bool readClaims(cjose_jws_t* jws) {
    std::uint8_t* text = nullptr;
    std::size_t length = 0;
    cjose_err error;
    if (!cjose_jws_get_plaintext(jws, &text, &length, &error)) {
        return false;
    }
    json_t* const claims = json_loadb(reinterpret_cast<const char*>(text), length, 0, nullptr);
    const std::time_t now = std::time(nullptr);
    const bool good = json_integer_value(json_object_get(claims, "exp")) > now &&
                      json_integer_value(json_object_get(claims, "nbf")) < now &&
                      json_string_value(json_object_get(claims, "sub")) != nullptr;
    json_decref(claims);
    return good;
}

void cjose(benchmark::State& state, const std::string& token, cjose_jwk_t* key, Read read) {
    cjose_err error;
    require(key != nullptr, "cjose key");
    for (auto _ : state) {
        cjose_jws_t* jws = cjose_jws_import(token.data(), token.size(), &error);
        require(jws != nullptr && cjose_jws_verify(jws, key, &error), "cjose");
        require(read == Read::signature || readClaims(jws), "claims");
        cjose_jws_release(jws);
    }
    cjose_jwk_release(key);
}

void hs256Cjose(benchmark::State& state, Read read) {
    cjose_err error;
    cjose(state, scene().hmacToken, cjose_jwk_create_oct_spec(bytesOf(scene().secret), scene().secret.size(), &error),
          read);
}

void rs256Cjose(benchmark::State& state, Read read) {
    BIGNUM *modulus = nullptr, *exponent = nullptr;
    EVP_PKEY_get_bn_param(scene().issuer.key(), OSSL_PKEY_PARAM_RSA_N, &modulus);
    EVP_PKEY_get_bn_param(scene().issuer.key(), OSSL_PKEY_PARAM_RSA_E, &exponent);
    std::vector<unsigned char> n(static_cast<std::size_t>(BN_num_bytes(modulus)));
    std::vector<unsigned char> e(static_cast<std::size_t>(BN_num_bytes(exponent)));
    BN_bn2bin(modulus, n.data());
    BN_bn2bin(exponent, e.data());
    BN_free(modulus);
    BN_free(exponent);
    cjose_jwk_rsa_keyspec spec{};
    spec.n = n.data();
    spec.nlen = n.size();
    spec.e = e.data();
    spec.elen = e.size();
    cjose_err error;
    cjose(state, scene().rsaToken, cjose_jwk_create_RSA_spec(&spec, &error), read);
}

// The part of a name in front of the slash is what is compared: scripts/bench takes the bare operation in it as
// measure.
BENCHMARK(hs256Bare)->Name("hs256/bare_hmac");
BENCHMARK(hs256Evaluate)->Name("hs256/evaluate");
BENCHMARK(hs256EvaluateLoadedKey)->Name("hs256/evaluate_loaded_key");
BENCHMARK_CAPTURE(libjwt, hs256, &Scene::hmacToken, &Scene::secret)->Name("hs256/libjwt");
BENCHMARK_CAPTURE(hs256Cjose, signature, Read::signature)->Name("hs256/cjose_signature");
BENCHMARK_CAPTURE(hs256Cjose, claims, Read::claims)->Name("hs256/cjose_claims");
BENCHMARK(rs256Bare)->Name("rs256/bare_verify");
BENCHMARK_CAPTURE(rs256Evaluate, certificatePem, &Scene::certificatePem)->Name("rs256/evaluate_certificate_pem");
BENCHMARK_CAPTURE(rs256Evaluate, certificateDer, &Scene::certificateDer)->Name("rs256/evaluate_certificate_der");
BENCHMARK_CAPTURE(rs256Evaluate, publicKeyPem, &Scene::publicKeyPem)->Name("rs256/evaluate_public_key_pem");
BENCHMARK_CAPTURE(rs256Evaluate, publicKeyDer, &Scene::publicKeyDer)->Name("rs256/evaluate_public_key_der");
BENCHMARK(rs256EvaluateLoadedKey)->Name("rs256/evaluate_loaded_key");
BENCHMARK_CAPTURE(libjwt, rs256, &Scene::rsaToken, &Scene::publicKeyPem)->Name("rs256/libjwt");
BENCHMARK_CAPTURE(rs256Cjose, signature, Read::signature)->Name("rs256/cjose_signature");
BENCHMARK_CAPTURE(rs256Cjose, claims, Read::claims)->Name("rs256/cjose_claims");

}  // namespace
