// The crypto double keeps its promises to the tests that rely on it.
#include "tests/support/crypto_double/crypto_double.h"

#include "tests/support/allocation_failure.h"
#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <regex>
#include <thread>

namespace quorvanti::test {
namespace {

// A function of the double as a crypto library's caller gets it.
template <typename Function>
class Opened {
public:
    Opened(const std::string& path, const char* name) : library_(openSharedLibrary(path.c_str())) {
        function_ = reinterpret_cast<Function*>(findInSharedLibrary(library_, name));
    }
    ~Opened() { closeSharedLibrary(library_); }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    bool exists() const { return function_ != nullptr; }
    template <typename... Arguments>
    std::int32_t operator()(Arguments... arguments) const {
        return function_(arguments...);
    }

private:
    void* library_;
    Function* function_;
};

TEST(CryptoDouble, VariantsLackWhatTheirNamesSay) {
    CryptoDouble full;
    CryptoDouble lacking("double_no_verify");
    CryptoDouble empty("double_empty");
    EXPECT_TRUE(Opened<decltype(::SsfVerify)>(full.path(), "SsfVerify").exists());
    EXPECT_FALSE(Opened<decltype(::SsfVerify)>(lacking.path(), "SsfVerify").exists());
    EXPECT_TRUE(Opened<decltype(::SsfEncode)>(lacking.path(), "SsfEncode").exists());
    EXPECT_FALSE(Opened<decltype(::SsfEncode)>(empty.path(), "SsfEncode").exists());
    EXPECT_TRUE(Opened<decltype(::SsfEncode)>(full.path(), "aux_free_OctetString").exists());
    EXPECT_FALSE(Opened<decltype(::SsfEncode)>(CryptoDouble::pathOf("double_documented"), "SsfDigest").exists());
}

// The names stand once more in CMake; this keeps them with the header.
TEST(CryptoDouble, DocumentedVariantExportsTheWholeHeader) {
    const std::string header = readFile(QUORVANTI_SSF_HEADER);
    const std::regex declaration(R"(QUORVANTI_SSF_API int32_t (\w+)\()");
    void* const library = openSharedLibrary(CryptoDouble::pathOf("double_documented").c_str());
    int count = 0;
    for (auto match = std::sregex_iterator(header.begin(), header.end(), declaration); match != std::sregex_iterator();
         ++match, ++count) {
        EXPECT_NE(findInSharedLibrary(library, (*match)[1].str().c_str()), nullptr) << (*match)[1];
    }
    closeSharedLibrary(library);
    EXPECT_GE(count, 43);
}

TEST(CryptoDouble, AnswersWhatItIsToldAndRemembersWhatItWasAsked) {
    CryptoDouble crypto;
    const Opened<decltype(::SsfCreateProfile)> createProfile(crypto.path(), "SsfCreateProfile");
    EXPECT_EQ(createProfile("store and more", 5, "pw", 2), 0);
    EXPECT_EQ(crypto.argument("SsfCreateProfile", "profile"), "store");
    EXPECT_EQ(crypto.argument("SsfCreateProfile", "password"), "pw");
    crypto->functions["SsfCreateProfile"].result = 21;
    EXPECT_EQ(createProfile("", 0, nullptr, 0), 21);
    EXPECT_EQ(crypto.argument("SsfCreateProfile", "password"), "");
    EXPECT_EQ(crypto.calls("SsfCreateProfile"), 2);
    EXPECT_EQ(crypto.calls("SsfOpenProfile"), 0);
}

TEST(CryptoDouble, CountsWhatIsOutAndWhatComesBackTwice) {
    CryptoDouble crypto;
    const Opened<decltype(::SsfVersion)> version(crypto.path(), "SsfVersion");
    const Opened<decltype(::SsfDELSsfOctetstring)> release(crypto.path(), "SsfDELSsfOctetstring");
    char* text = nullptr;
    std::int32_t length = 0;
    ASSERT_EQ(version(&text, &length), 0);
    EXPECT_STREQ(text, "Crypto double 1.0 by SsfVersion");
    EXPECT_EQ(length, 31);
    ASSERT_EQ(crypto->outstanding.size(), 1u);
    EXPECT_EQ(crypto->outstanding.begin()->second, "SsfVersion");
    char* again = text;
    release(&text, &length);
    EXPECT_EQ(text, nullptr);
    EXPECT_TRUE(crypto->outstanding.empty());
    EXPECT_EQ(crypto->foreignReleases, 0);
    release(&again, &length);
    EXPECT_EQ(crypto->foreignReleases, 1);
}

TEST(CryptoDouble, HandsOutSignersAndHandsInEntriesOnce) {
    CryptoDouble crypto;
    const Opened<decltype(::SsfVerify)> verify(crypto.path(), "SsfVerify");
    const Opened<decltype(::SsfDELSigRcpSsfInfoList)> releaseList(crypto.path(), "SsfDELSigRcpSsfInfoList");
    crypto->functions["SsfVerify"].result = 5;
    crypto->signers[0].result = 22;
    crypto->signers[0].certificate.reset();
    SsfSigRcpSsfInfoList* list = nullptr;
    std::uint8_t* output = nullptr;
    std::int32_t outputLength = 0;
    EXPECT_EQ(verify("PKCS7", 5, 1, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, &list, &output, &outputLength), 5);
    EXPECT_EQ(output, nullptr);
    ASSERT_NE(list, nullptr);
    ASSERT_NE(list->first, nullptr);
    EXPECT_EQ(list->first->result, 22);
    EXPECT_EQ(list->first->certificate, nullptr);
    EXPECT_EQ(crypto->outstanding.size(), 1u);
    releaseList(&list);
    EXPECT_TRUE(crypto->outstanding.empty());
}

TEST(CryptoDouble, TakesBackWhileAllocationsFail) {
    CryptoDouble crypto;
    const Opened<decltype(::SsfVerify)> verify(crypto.path(), "SsfVerify");
    const Opened<decltype(::SsfDELSigRcpSsfInfoList)> releaseList(crypto.path(), "SsfDELSigRcpSsfInfoList");
    const Opened<decltype(::SsfDELSsfOctetstring)> release(crypto.path(), "SsfDELSsfOctetstring");
    SsfSigRcpSsfInfoList* list = nullptr;
    std::uint8_t* output = nullptr;
    std::int32_t outputLength = 0;
    verify("PKCS7", 5, 1, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, &list, &output, &outputLength);
    {
        const AllocationFailure failure;
        releaseList(&list);
        release(&output, &outputLength);
    }
    EXPECT_TRUE(crypto->outstanding.empty());
}

TEST(CryptoDouble, NoticesCallsThatOverlap) {
    CryptoDouble crypto;
    const Opened<decltype(::kavcr_init)> init(crypto.path(), "kavcr_init");
    const Opened<decltype(::kavcr_done)> done(crypto.path(), "kavcr_done");
    init();
    done();
    EXPECT_EQ(crypto.overlappingCalls(), 0);
    std::thread other;
    crypto->hooks.anyCall = [&](std::string_view name) {
        if (name == "kavcr_init") {
            other = std::thread([&] { done(); });
            while (crypto.overlappingCalls() == 0) {
                std::this_thread::yield();
            }
        }
    };
    init();
    other.join();
    EXPECT_EQ(crypto.calls("kavcr_done"), 2);
    EXPECT_EQ(crypto.overlappingCalls(), 1);
}

}  // namespace
}  // namespace quorvanti::test
