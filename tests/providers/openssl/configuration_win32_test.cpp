// Who can write the configuration file that libcrypto looks for could have a library of his own loaded by it. Where we
// have a libcrypto to ourselves, it reads none.
#include <openssl/conf.h>

#include <filesystem>

#include "tests/providers/openssl/provider_calls.h"
#include "tests/providers/openssl/signed_data_builder.h"
#include "tests/support/environment.h"
#include "tests/support/shared_library.h"
#include "tests/support/temporary_directory.h"

namespace quorvanti::test {
namespace {

class Configuration : public ::testing::Test {
protected:
    Configuration() {
        writeFile(directory_.file("openssl.cnf"),
                  std::string("openssl_conf = start\n[start]\nproviders = providers\n[providers]\nforeign = foreign\n"
                              "[foreign]\nactivate = 1\nmodule = ") +
                      CONFIGURED_LIBRARY + "\n");
    }
    bool wasRead() const { return std::filesystem::exists(mark_); }

    TemporaryDirectory directory_;
    const Octets certificate_ = makeCertificate("rsa", "rsa");
    const std::string mark_ = directory_.file("loaded");
    const EnvironmentVariable configuration_{"OPENSSL_CONF", directory_.file("openssl.cnf").c_str()};
    const EnvironmentVariable markVariable_{"LOADED_MARK", mark_.c_str()};
};

TEST_F(Configuration, WouldHaveTheLibraryLoaded) {
    CONF_modules_load_file(directory_.file("openssl.cnf").c_str(), nullptr, 0);
    EXPECT_TRUE(wasRead());
}

TEST_F(Configuration, IsNotReadByTheCryptoLibrary) {
    void* library = openSharedLibrary(QUORVANTI_PROVIDER);
    ASSERT_NE(library, nullptr);
    const auto decode =
        reinterpret_cast<decltype(&kavsecu_decode_cert)>(findInSharedLibrary(library, "kavsecu_decode_cert"));
    const auto release =
        reinterpret_cast<decltype(&SsfFreeCertificate)>(findInSharedLibrary(library, "SsfFreeCertificate"));
    SsfCertificate* certificate = nullptr;
    EXPECT_EQ(decode(certificate_.data(), size32(certificate_.size()), &certificate), SSF_API_OK);
    release(&certificate);
    EXPECT_TRUE(closeSharedLibrary(library));
    EXPECT_FALSE(wasRead());
}

TEST_F(Configuration, IsNotReadByTheTool) {
    writeFile(directory_.file("certificate"), std::string(certificate_.begin(), certificate_.end()));
    const CommandResult shown = runCommand({QUORVANTI_SSO2TICKET, "cert", directory_.file("certificate")});
    EXPECT_NE(shown.out.find("issuing system"), std::string::npos) << shown.out << shown.err;
    EXPECT_FALSE(wasRead());
}

}  // namespace
}  // namespace quorvanti::test
