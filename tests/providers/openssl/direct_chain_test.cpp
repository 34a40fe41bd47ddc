// The short check of a signer below a trusted authority: it takes the usual certificates, leaves every other one to the
// toolkit, and takes nothing that the toolkit would not. Each certificate here goes both ways.
#include "providers/openssl/direct_chain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <thread>

#include "providers/openssl/certificate_chain.h"
#include "tests/providers/openssl/leaf_builder.h"

namespace quorvanti::test {
namespace {

constexpr const char* basicConstraints = "2.5.29.19";
constexpr const char* keyUsage = "2.5.29.15";
constexpr const char* extendedKeyUsage = "2.5.29.37";
constexpr const char* subjectKeyIdentifier = "2.5.29.14";
constexpr const char* authorityKeyIdentifier = "2.5.29.35";

using Extensions = std::vector<std::pair<const char*, const char*>>;

Octets authority(const Extensions& extensions = {{"basicConstraints", "critical,CA:TRUE"},
                                                 {"subjectKeyIdentifier", "hash"}},
                 const std::string& subject = "authority", const std::string& key = "authority") {
    CertificateParts parts;
    parts.subject = subject;
    parts.serial = 1;
    parts.extensions = extensions;
    return makeCertificate(key, key, parts);
}

Octets usage(std::uint8_t unusedBits, const Octets& bits) {
    return der(0x03, {Octets{unusedBits}, bits});
}

Octets purposes(const std::vector<const char*>& dotted) {
    std::vector<Octets> list;
    for (const char* one : dotted)
        list.push_back(oid(one));
    return der(0x30, list);
}
constexpr const char* emailProtection = "1.3.6.1.5.5.7.3.4";
constexpr const char* serverAuth = "1.3.6.1.5.5.7.3.1";
constexpr const char* anyPurpose = "2.5.29.37.0";

LeafParts withExtensions(const std::vector<Octets>& list) {
    LeafParts parts;
    parts.extensions = extensions(list);
    return parts;
}

// Everything that the short check knows.
LeafParts fullLeaf() {
    const Octets issuerIdentifier = digestOfBytes("SHA1", [] {
        const Octets key = publicKey("authority");
        return Octets(key.end() - 65, key.end());  // the point
    }());
    return withExtensions({
        extension(basicConstraints, der(0x30, Octets{}), true),
        extension(keyUsage, usage(6, {0xc0}), true),
        extension(extendedKeyUsage, purposes({serverAuth, emailProtection})),
        extension(subjectKeyIdentifier, der(0x04, identifierOfKey("ec"))),
        extension(authorityKeyIdentifier, der(0x30, der(0x80, issuerIdentifier))),
    });
}

class DirectChain : public ::testing::Test {
protected:
    void trust(const std::vector<Octets>& certificates) { store_ = storeWith(certificates); }

    bool isDirect(const Octets& leaf, std::int64_t time = testTime) const { return isDirect(leaf, {leaf}, time); }
    bool isDirect(const Octets& leaf, const std::vector<Octets>& carried, std::int64_t time = testTime) const {
        std::string difference;
        const bool direct = chainsDirectly(*store_, leaf, carried, time, difference);
        EXPECT_EQ(difference, "");
        return direct;
    }
    bool toolkitAccepts(const Octets& leaf, std::int64_t time = testTime) const {
        const std::array<provider::Bytes, 1> carried{leaf};
        return provider::chainByToolkit(*store_, leaf, carried, time).signer != nullptr;
    }

    std::unique_ptr<provider::KeyStore> store_ = storeWith({authority()});
};

TEST_F(DirectChain, TakesUsualCertificates) {
    EXPECT_TRUE(isDirect(LeafParts().build()));
    EXPECT_TRUE(isDirect(fullLeaf().build()));
    LeafParts rsa = fullLeaf();
    rsa.key = publicKey("rsa");
    EXPECT_TRUE(isDirect(rsa.build()));
    LeafParts dates;
    dates.validity = der(0x30, {generalizedTime("20251203000000Z"), generalizedTime("20510101000000Z")});
    EXPECT_TRUE(isDirect(dates.build()));
    LeafParts names;
    names.subject = name("issuing system \xc3\xa4");
    EXPECT_TRUE(isDirect(names.build()));
    names.subject = name("issuing system", 0x13);
    EXPECT_TRUE(isDirect(names.build()));
}

TEST_F(DirectChain, TakesWhatTheToolkitWrites) {
    CertificateParts parts;
    parts.issuer = "authority";
    parts.extensions = {{"basicConstraints", "CA:FALSE"},
                        {"keyUsage", "critical,digitalSignature,decipherOnly"},
                        {"extendedKeyUsage", "critical,anyExtendedKeyUsage"},
                        {"subjectKeyIdentifier", "hash"}};
    for (const char* digest : {"SHA256", "SHA384", "SHA512"}) {
        parts.digest = digest;
        trust({authority()});
        EXPECT_TRUE(isDirect(makeCertificate("rsa", "authority", parts)));
        EXPECT_TRUE(isDirect(makeCertificate("ec", "authority", parts)));
        trust({authority({{"basicConstraints", "CA:TRUE,pathlen:0"}, {"keyUsage", "keyCertSign"}}, "authority",
                         "foreign")});
        EXPECT_TRUE(isDirect(makeCertificate("rsa", "foreign", parts)));
        EXPECT_TRUE(isDirect(makeCertificate("ec", "foreign", parts)));
        EXPECT_FALSE(isDirect(makeCertificate("rsa", "rsa", parts))) << "signed by another key";
    }
    parts.digest = "SHA1";
    const Octets old = makeCertificate("rsa", "foreign", parts);
    EXPECT_FALSE(isDirect(old));
    EXPECT_TRUE(toolkitAccepts(old));
    parts.digest = "MD5";
    EXPECT_FALSE(isDirect(makeCertificate("rsa", "foreign", parts)));
}

struct Variant {
    const char* what;
    bool accepted;  // by the toolkit
    LeafParts parts;
};

LeafParts changed(const std::function<void(LeafParts&)>& change) {
    LeafParts parts = fullLeaf();
    change(parts);
    return parts;
}

std::vector<Variant> extensionVariants() {
    const auto one = [](const char* dotted, const Octets& value, bool critical = false) {
        return withExtensions({extension(dotted, value, critical)});
    };
    return {
        {"authority", true, one(basicConstraints, der(0x30, Octets{0x01, 0x01, 0xff}), true)},
        {"false written out", true, one(basicConstraints, der(0x30, Octets{0x01, 0x01, 0x00}), true)},
        {"path length", true, one(basicConstraints, der(0x30, number(0)), true)},
        {"no constraints", false, one(basicConstraints, der(0x04, Octets{}), true)},
        {"bytes behind the constraints", true, one(basicConstraints, {0x30, 0x00, 0x00})},
        {"encipherment only", false, one(keyUsage, usage(5, {0x20}))},
        {"no usage", false, one(keyUsage, usage(0, {}))},
        {"usage without bits", false, one(keyUsage, usage(0, {0x00}))},
        {"trailing zero bits", true, one(keyUsage, usage(0, {0x80}))},
        {"set bits that are unused", true, one(keyUsage, usage(7, {0x81}))},
        {"eight unused bits", false, one(keyUsage, usage(8, {0x80}))},
        {"three octets of usage", true, one(keyUsage, usage(0, {0x80, 0x00, 0x01}))},
        {"usage of another kind", false, one(keyUsage, der(0x04, Octets{0x07, 0x80}))},
        {"another purpose", false, one(extendedKeyUsage, purposes({serverAuth}))},
        {"no purpose", false, one(extendedKeyUsage, purposes({}))},
        {"unreadable purpose", false,
         one(extendedKeyUsage, der(0x30, {oid(anyPurpose), Octets{0x06, 0x02, 0x80, 0x01}}))},
        {"purpose without end", false, one(extendedKeyUsage, der(0x30, {oid(anyPurpose), Octets{0x06, 0x01, 0x81}}))},
        {"critical key identifier", false, one(subjectKeyIdentifier, der(0x04, Octets{1}), true)},
        {"empty key identifier", true, one(subjectKeyIdentifier, der(0x04, Octets{}))},
        {"another issuer's identifier", false, one(authorityKeyIdentifier, der(0x30, der(0x80, Octets{1, 2})))},
        {"issuer's number", false, one(authorityKeyIdentifier, der(0x30, der(0x82, Octets{9})))},
        {"empty identifier of the issuer", true, one(authorityKeyIdentifier, der(0x30, Octets{}))},
        {"unknown", true, one("1.2.3.4", {0x05, 0x00})},
        {"unknown and critical", false, one("1.2.3.4", {0x05, 0x00}, true)},
        {"alternative name", true, one("2.5.29.17", der(0x30, der(0x82, Octets{'a'})))},
        {"unreadable alternative name", false, one("2.5.29.17", {0x05, 0x00})},
        {"policies", true, one("2.5.29.32", der(0x30, der(0x30, oid(anyPurpose))))},
        {"name constraints", true, one("2.5.29.30", der(0x30, der(0xa0, der(0x30, der(0x82, Octets{'a'})))), true)},
        {"proxy", false, one("1.3.6.1.5.5.7.1.14", der(0x30, der(0x30, oid("1.3.6.1.5.5.7.21.1"))), true)},
        {"twice", false,
         withExtensions({extension(keyUsage, usage(7, {0x80})), extension(keyUsage, usage(7, {0x80}))})},
        {"none in the list", true, withExtensions({})},
        {"false written out for critical", true,
         withExtensions({der(0x30, {oid(keyUsage), Octets{0x01, 0x01, 0x00}, der(0x04, usage(7, {0x80}))})})},
        {"another true", true,
         withExtensions({der(0x30, {oid(keyUsage), Octets{0x01, 0x01, 0x01}, der(0x04, usage(7, {0x80}))})})},
        {"more in an extension", false,
         withExtensions({der(0x30, {oid(keyUsage), der(0x04, usage(7, {0x80})), number(1)})})},
    };
}

std::vector<Variant> fieldVariants() {
    const Octets rsaAlgorithm = algorithm("1.2.840.113549.1.1.11");
    return {
        {"version 1 with extensions", true, changed([](LeafParts& parts) { parts.version.clear(); })},
        {"version 2", true, changed([](LeafParts& parts) { parts.version = der(0xa0, number(1)); })},
        {"version 4", true, changed([](LeafParts& parts) { parts.version = der(0xa0, number(3)); })},
        {"negative number", true, changed([](LeafParts& parts) {
             parts.serial = {0x02, 0x01, 0x80};
         })},
        {"long number", true, changed([](LeafParts& parts) { parts.serial = der(0x02, Octets(21, 0x11)); })},
        {"padded number", false, changed([](LeafParts& parts) {
             parts.serial = {0x02, 0x02, 0x00, 0x01};
         })},
        {"no number", false, changed([](LeafParts& parts) {
             parts.serial = {0x02, 0x00};
         })},
        {"algorithm of another key", false, changed([&](LeafParts& parts) { parts.algorithm = rsaAlgorithm; })},
        {"algorithm of a key alone", false,
         changed([](LeafParts& parts) { parts.algorithm = algorithm("1.2.840.10045.2.1", false); })},
        {"another issuer", false, changed([](LeafParts& parts) { parts.issuer = name("Somebody"); })},
        {"issuer in other letters", true, changed([](LeafParts& parts) { parts.issuer = name("AUTHORITY"); })},
        {"issuer in another kind of text", true,
         changed([](LeafParts& parts) { parts.issuer = name("authority", 0x13); })},
        {"subject as the issuer, with another identifier", true,
         changed([](LeafParts& parts) { parts.subject = parts.issuer; })},
        {"subject as the issuer in other letters, with another identifier", true,
         changed([](LeafParts& parts) { parts.subject = name(" Authority"); })},
        {"subject as the issuer", false, changed([](LeafParts& parts) {
             parts.subject = parts.issuer;
             parts.extensions.clear();
         })},
        {"subject as the issuer in other letters", false, changed([](LeafParts& parts) {
             parts.subject = name(" Authority");
             parts.extensions.clear();
         })},
        {"subject of wide letters", true,
         changed([](LeafParts& parts) { parts.subject = name(std::string("\0a\0b", 4), 0x1e); })},
        {"subject of broken letters", false, changed([](LeafParts& parts) { parts.subject = name("\xc3"); })},
        {"no subject", true, changed([](LeafParts& parts) { parts.subject = der(0x30, Octets{}); })},
        {"expired", false, changed([](LeafParts& parts) {
             parts.validity = der(0x30, {utcTime("251203000000Z"), utcTime("260531235959Z")});
         })},
        {"not yet valid", false, changed([](LeafParts& parts) {
             parts.validity = der(0x30, {utcTime("260601000001Z"), utcTime("270531235959Z")});
         })},
        {"no seconds", false, changed([](LeafParts& parts) {
             parts.validity = der(0x30, {utcTime("2512030000Z"), utcTime("270531235959Z")});
         })},
        {"another time zone", false, changed([](LeafParts& parts) {
             parts.validity = der(0x30, {utcTime("251203000000+0100"), utcTime("270531235959Z")});
         })},
        {"thirtieth of February", false, changed([](LeafParts& parts) {
             parts.validity = der(0x30, {utcTime("260230000000Z"), utcTime("270531235959Z")});
         })},
        {"letters for a time", false, changed([](LeafParts& parts) {
             parts.validity = der(0x30, {utcTime("25120300000aZ"), utcTime("270531235959Z")});
         })},
        {"unique identifier", true, changed([](LeafParts& parts) {
             parts.extensions = join({der(0x81, Octets{0x00, 0x01}), parts.extensions});
         })},
        {"more behind", false, changed([](LeafParts& parts) { parts.behind = number(1); })},
        {"extensions twice", false, changed([](LeafParts& parts) { parts.behind = parts.extensions; })},
        {"DSA key", true, changed([](LeafParts& parts) { parts.key = publicKey("dsa"); })},
        {"short key", false, changed([](LeafParts& parts) { parts.key = publicKey("rsa512"); })},
    };
}

TEST_F(DirectChain, LeavesEveryUnusualCertificateToTheToolkit) {
    for (const auto& variants : {extensionVariants(), fieldVariants()}) {
        for (const Variant& variant : variants) {
            SCOPED_TRACE(variant.what);
            const Octets certificate = variant.parts.build();
            EXPECT_FALSE(isDirect(certificate));
            EXPECT_EQ(toolkitAccepts(certificate), variant.accepted);
        }
    }
}

TEST_F(DirectChain, LeavesUnusualKeysToTheToolkit) {
    const Octets ecAlgorithm = der(0x30, {oid("1.2.840.10045.2.1"), oid("1.2.840.10045.3.1.7")});
    const Octets rsaAlgorithm = algorithm("1.2.840.113549.1.1.1");
    Octets modulus(256, 0xc5);
    const auto rsaKey = [&](const Octets& algorithm, const Octets& number, const Octets& exponent) {
        return der(0x30, {algorithm, der(0x03, {Octets{0x00}, der(0x30, {der(0x02, number), der(0x02, exponent)})})});
    };
    const auto positive = [](const Octets& number) { return join({Octets{0x00}, number}); };
    const auto takes = [&](const Octets& key) {
        LeafParts parts = fullLeaf();
        parts.key = key;
        return isDirect(parts.build());
    };
    EXPECT_TRUE(takes(rsaKey(rsaAlgorithm, positive(modulus), {1, 0, 1})));
    EXPECT_FALSE(takes(rsaKey(algorithm("1.2.840.113549.1.1.1", false), positive(modulus), {1, 0, 1})));
    EXPECT_FALSE(takes(rsaKey(algorithm("1.2.840.113549.1.1.10"), positive(modulus), {1, 0, 1})));
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, modulus, {1, 0, 1}))) << "negative";
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, positive(positive(modulus)), {1, 0, 1}))) << "padded";
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, positive(modulus), {1}))) << "exponent 1";
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, positive(modulus), {2}))) << "even exponent";
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, positive(modulus), {1, 0, 0, 0, 1}))) << "long exponent";
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, positive(Octets(127, 0xc5)), {1, 0, 1}))) << "short";
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, positive(Octets(1032, 0xc5)), {1, 0, 1}))) << "long";
    modulus.back() = 0xc4;
    EXPECT_FALSE(takes(rsaKey(rsaAlgorithm, positive(modulus), {1, 0, 1}))) << "even";

    const Octets ec = publicKey("ec");
    const Octets point(ec.end() - 65, ec.end());
    EXPECT_TRUE(takes(der(0x30, {ecAlgorithm, der(0x03, {Octets{0x00}, point})})));
    EXPECT_FALSE(takes(der(0x30, {ecAlgorithm, der(0x03, {Octets{0x01}, point})}))) << "an unused bit";
    EXPECT_FALSE(takes(der(0x30, {ecAlgorithm, der(0x03, {Octets{0x00}, Octets(point.begin(), point.end() - 1)})})));
    Octets compressed(point.begin(), point.begin() + 33);
    compressed.front() = static_cast<std::uint8_t>(0x02 | (point.back() & 1));
    EXPECT_FALSE(takes(der(0x30, {ecAlgorithm, der(0x03, {Octets{0x00}, compressed})})));
    Octets beside = point;
    beside.back() ^= 1;
    EXPECT_FALSE(takes(der(0x30, {ecAlgorithm, der(0x03, {Octets{0x00}, beside})}))) << "not on the curve";
    const Octets otherCurve = der(0x30, {oid("1.2.840.10045.2.1"), oid("1.3.132.0.10")});
    EXPECT_FALSE(takes(der(0x30, {otherCurve, der(0x03, {Octets{0x00}, point})})));
}

TEST_F(DirectChain, LeavesOtherShapesToTheToolkit) {
    const Octets good = fullLeaf().build();
    EXPECT_TRUE(isDirect(good));
    EXPECT_FALSE(isDirect({}));
    EXPECT_FALSE(isDirect(join({good, Octets{0x00}})));
    EXPECT_FALSE(isDirect(Octets(good.begin(), good.end() - 1)));
    const Octets body = fullLeaf().toBeSigned();
    const Octets inner = fullLeaf().algorithm;
    EXPECT_FALSE(isDirect(certify(body, algorithm("1.2.840.10045.4.3.3", false)))) << "another algorithm outside";
    EXPECT_FALSE(isDirect(certify(body, algorithm("1.2.840.10045.4.3.2", true)))) << "other parameters outside";
    const Octets signature = signBytes("authority", "SHA256", body);
    EXPECT_TRUE(isDirect(der(0x30, {body, inner, der(0x03, {Octets{0x00}, signature})})));
    EXPECT_FALSE(isDirect(der(0x30, {body, inner, der(0x03, {Octets{0x01}, signature})})));
    EXPECT_FALSE(isDirect(der(0x30, {body, inner, der(0x03, signature), number(1)})));
    // The length of the whole in one octet more than it takes.
    Octets longer = good;
    ASSERT_EQ(longer[1], 0x82);
    longer[1] = 0x83;
    longer.insert(longer.begin() + 2, 0x00);
    EXPECT_FALSE(isDirect(longer));
}

TEST_F(DirectChain, CountsTheValidityOfBothCertificates) {
    CertificateParts issuer;
    issuer.subject = "authority";
    issuer.extensions = {{"basicConstraints", "critical,CA:TRUE"}};
    issuer.notBefore = testTime - 10;
    issuer.notAfter = testTime + 20;
    CertificateParts leaf;
    leaf.issuer = "authority";
    leaf.notBefore = testTime - 20;
    leaf.notAfter = testTime + 10;
    trust({makeCertificate("authority", "authority", issuer)});
    const Octets certificate = makeCertificate("ec", "authority", leaf);
    for (const std::int64_t seconds : {-21, -20, -11, -10, -9, 0, 9, 10, 11, 19, 20, 21}) {
        SCOPED_TRACE(seconds);
        const std::int64_t time = testTime + seconds;
        EXPECT_EQ(isDirect(certificate, time), seconds >= -10 && seconds < 10);
        EXPECT_EQ(toolkitAccepts(certificate, time), seconds >= -10 && seconds < 10);
    }
    leaf.notAfter = testTime + 30;
    const Octets longer = makeCertificate("ec", "authority", leaf);
    EXPECT_TRUE(isDirect(longer, testTime + 19));
    EXPECT_FALSE(isDirect(longer, testTime + 20));
}

TEST_F(DirectChain, AsksForOneIssuerThatMayIssueAnything) {
    const Octets plain = LeafParts().build();
    const Octets full = fullLeaf().build();
    const auto takesBelow = [&](const Extensions& extensions) {
        trust({authority(extensions)});
        return isDirect(plain);
    };
    EXPECT_TRUE(takesBelow({{"basicConstraints", "CA:TRUE"}}));
    EXPECT_FALSE(isDirect(full)) << "names an identifier, which the issuer does not have";
    EXPECT_TRUE(toolkitAccepts(full));
    EXPECT_TRUE(takesBelow({{"basicConstraints", "CA:TRUE"}, {"extendedKeyUsage", "serverAuth"}}));
    EXPECT_FALSE(takesBelow({}));
    EXPECT_FALSE(takesBelow({{"basicConstraints", "CA:FALSE"}}));
    EXPECT_FALSE(takesBelow({{"basicConstraints", "CA:TRUE"}, {"keyUsage", "digitalSignature"}}));
    EXPECT_FALSE(takesBelow({{"basicConstraints", "CA:TRUE"}, {"1.2.3.4", "critical,DER:0500"}}));
    EXPECT_FALSE(takesBelow({{"basicConstraints", "CA:TRUE"}, {"nameConstraints", "permitted;DNS:example.com"}}));
    EXPECT_TRUE(toolkitAccepts(plain));
}

TEST_F(DirectChain, LeavesIssuersOfOneNameToTheToolkit) {
    const Octets plain = LeafParts().build();
    const Extensions issues{{"basicConstraints", "CA:TRUE"}};
    trust({authority(issues), authority(issues)});  // made anew, with another signature
    EXPECT_FALSE(isDirect(plain));
    trust({authority(issues), authority(issues, "authority", "foreign")});
    EXPECT_FALSE(isDirect(plain));
    trust({authority(issues), authority(issues, "Authority", "foreign")});
    EXPECT_FALSE(isDirect(plain)) << "the same name in other letters";
    trust({authority(issues), authority(issues, "another authority", "foreign")});
    EXPECT_TRUE(isDirect(plain));
    const Octets once = authority(issues);
    trust({once, once});
    EXPECT_TRUE(isDirect(plain)) << "the same certificate twice";
}

TEST_F(DirectChain, AcceptsNoUnknownCertificatesBeside) {
    const Octets issuer = authority();
    trust({issuer});
    const Octets leaf = LeafParts().build();
    EXPECT_TRUE(isDirect(leaf, {leaf, issuer}));
    EXPECT_TRUE(isDirect(leaf, {issuer, leaf, leaf}));
    EXPECT_FALSE(isDirect(leaf, {leaf, makeCertificate("rsa", "rsa")}));
    EXPECT_FALSE(isDirect(leaf, {leaf, Octets{0x30, 0x00}}));
}

// The issuer is judged at its first use, which may come from several threads at once.
TEST_F(DirectChain, ServesManyThreads) {
    constexpr int threadCount = 4;
    constexpr int rounds = 10;
    const Octets direct = fullLeaf().build();
    const Octets indirect = LeafParts(withExtensions({extension("1.2.3.4", {0x05, 0x00})})).build();
    for (int round = 0; round < rounds; ++round) {
        trust({authority()});
        std::array<int, threadCount> accepted{};
        std::vector<std::thread> threads;
        for (int& count : accepted) {
            threads.emplace_back([&] {
                for (const Octets* leaf : {&direct, &indirect}) {
                    const std::array<provider::Bytes, 1> carried{*leaf};
                    count += provider::chainSigner(*store_, *leaf, carried, testTime).signer != nullptr ? 1 : 0;
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_THAT(accepted, ::testing::Each(2));
    }
}

// Each octet changed in turn: in what the authority then signs, and in what it signed before.
TEST_F(DirectChain, AgreesWithTheToolkitOnEveryChangedOctet) {
    for (LeafParts parts : {fullLeaf(), LeafParts()}) {
        const Octets body = parts.toBeSigned();
        int taken = 0;
        int refused = 0;
        for (std::size_t at = 0; at < body.size(); ++at) {
            for (const int change : {0x01, 0x20, 0x80}) {
                SCOPED_TRACE(at);
                Octets other = body;
                other[at] = static_cast<std::uint8_t>(other[at] ^ change);
                ++(isDirect(certify(other)) ? taken : refused);
            }
        }
        EXPECT_GT(taken, 10);
        EXPECT_GT(refused, 100);
        const Octets whole = parts.build();
        for (std::size_t at = 0; at < whole.size(); ++at) {
            Octets other = whole;
            other[at] ^= 0x01;
            EXPECT_FALSE(isDirect(other)) << at;
        }
    }
}

}  // namespace
}  // namespace quorvanti::test
