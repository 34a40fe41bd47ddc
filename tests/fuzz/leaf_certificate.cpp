// Whatever certificate a trusted authority signs: the short check of it takes nothing that the toolkit refuses, and
// says the same of what both accept. The input is what is signed; the signature is made here, or nothing would come
// through.
#include <cstdio>
#include <cstdlib>

#include "providers/openssl/leaf_certificate.h"
#include "tests/providers/openssl/leaf_builder.h"

namespace {

using namespace quorvanti::test;

std::unique_ptr<quorvanti::provider::KeyStore> prepare() {
    CertificateParts authority;
    authority.subject = "authority";
    authority.extensions = {{"basicConstraints", "critical,CA:TRUE"}, {"subjectKeyIdentifier", "hash"}};
    return storeWith({makeCertificate("authority", "authority", authority)});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t longest = 8192;
    static const auto store = prepare();
    if (size > longest)
        return 0;
    quorvanti::provider::LeafCertificate leaf;
    quorvanti::provider::readLeafCertificate({data, size}, leaf);

    const Octets certificate = certify(Octets(data, data + size));
    std::string difference;
    chainsDirectly(*store, certificate, {certificate}, testTime, difference);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
    return 0;
}
