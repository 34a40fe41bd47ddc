// A crypto library for tests: it does no cryptography, it answers what a test tells it to and remembers what it was
// asked.
//
// It is built in variants that differ in the names they export and are called after what they lack (CMakeLists.txt of
// this directory lists them); double_full lacks nothing. A test links the library quorvanti_crypto_double and writes
//
//     CryptoDouble crypto("double_no_verify");     // opens the variant, its control is as new
//     crypto->functions["SsfEncode"].result = 11;  // any function's answer: by name
//     VorakInitialize(crypto.path().c_str());
//     ...
//     EXPECT_EQ(crypto.argument("SsfEncode", "format"), "PKCS7");
//     EXPECT_EQ(crypto->outstanding.size(), 0u);   // everything handed out came back
//
// The engine opens the same file, and so the same control. A copy of the file under another name (such as a default
// name of the crypto library) has a control of its own: CryptoDouble(directory.file("libkavcrypto.so")).
//
// Where `new` is made to fail, the double still counts calls and takes back what it handed out, though it may forget
// arguments; it cannot hand anything out then.
#pragma once

#include <quorvanti/ssf.h>

#include "tests/support/shared_library.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvanti::test {

struct DoubleFunction {
    std::int32_t result = 0;                       // what it answers; when not 0 it hands nothing out but signers
    int calls = 0;                                 // how often it was called
    std::map<std::string, std::string> arguments;  // of the last call, by the parameter names of ssf.h; numbers as text
};

// One entry of the list that SsfVerify and SsfSign fill.
struct DoubleSigner {
    std::string id = "CN=Double";
    std::string info = "signer of the double";
    std::int32_t passwordLength = 0;
    std::int32_t result = 0;
    std::optional<std::string> certificate = "certificate of the double";
};

// When one of these is set, it is called in place of the double's own answer.
struct DoubleHooks {
    std::function<void(const char* name)> anyCall;  // at the beginning of every call, beside the function itself
    std::function<decltype(::kavcr_get_version)> kavcr_get_version;
    std::function<decltype(::kavcr_get_property_int)> kavcr_get_property_int;
    std::function<decltype(::SsfVersion)> SsfVersion;
    std::function<decltype(::SsfSecTKLastErrorInfo)> SsfSecTKLastErrorInfo;
    std::function<decltype(::SsfEncode)> SsfEncode;
    std::function<decltype(::SsfSign)> SsfSign;
    std::function<decltype(::SsfVerify)> SsfVerify;
    std::function<decltype(::SsfVerifyEx)> SsfVerifyEx;
    std::function<decltype(::SsfParseCertificate)> SsfParseCertificate;
    std::function<decltype(::kav_create_memory_PSE)> kav_create_memory_PSE;
    std::function<decltype(::crypt_keyedmac_getValue)> crypt_keyedmac_getValue;
};

struct DoubleControl {
    std::map<std::string, DoubleFunction, std::less<>> functions;
    std::vector<std::string> order;  // names as they were called, the first thousand
    DoubleHooks hooks;
    int foreignReleases = 0;  // releases of what is not (or no longer) out

    // What was handed out and has not come back: address and the function that made it.
    std::map<const void*, std::string> outstanding;
    // Makes a terminated copy that the double will take back, for hooks.
    std::function<char*(std::string_view bytes)> handOut;

    // The version record of kavcr_get_version; without a record it answers 0 and null.
    bool versionRecord = true;
    std::int32_t versionLevel = 8;
    std::uint32_t versionRecordSize = 64;
    std::optional<std::string> versionRecordText = "Crypto double 1.0";
    std::optional<std::string> versionText = "Crypto double 1.0 by SsfVersion";  // of SsfVersion

    std::map<std::string, std::int32_t> properties;  // of kavcr_set_property_int and kavcr_get_property_int

    std::int32_t errorHasInfo = 0;  // what SsfSecTKLastErrorInfo hands out
    std::optional<std::string> errorText1;
    std::optional<std::string> errorText2;

    std::optional<std::string> encoded;      // of SsfEncode; when absent: the data itself
    std::string signature = "signature";     // of SsfSign
    std::optional<std::string> verified;     // output of SsfVerify and SsfVerifyEx; when absent: the encoded data
    bool signerList = true;                  // SsfVerify hands out a list
    std::vector<DoubleSigner> signers{{}};   // its entries
    std::optional<DoubleSigner> signResult;  // written into the entry that SsfSign is given

    std::map<std::string, std::string> certificateTexts;  // of SsfParseCertificate by attribute; others: 17

    std::map<std::string, std::int32_t> hashIds{{"SHA1", 1}, {"SHA256", 2}, {"SHA384", 3}, {"SHA512", 4}};
    std::string hashValue = "value of the double";  // of crypt_hash_getValue and crypt_keyedmac_getValue
    std::string hashedData;                         // everything the last hash or MAC was fed with
};

// Opens a variant by its name, or a library file by its path, and resets it.
class CryptoDouble {
public:
    explicit CryptoDouble(std::string_view nameOrPath = "double_full");
    ~CryptoDouble();
    CryptoDouble(const CryptoDouble&) = delete;
    CryptoDouble& operator=(const CryptoDouble&) = delete;

    // The file of a variant, without opening it.
    static std::string pathOf(std::string_view name);

    const std::string& path() const { return path_; }
    DoubleControl* operator->() { return control_; }
    DoubleControl& control() { return *control_; }
    // As new. Call it only when nothing is outstanding.
    void reset();

    int calls(const std::string& function) const;
    // Calls that began while another thread was inside, since the reset.
    int overlappingCalls() const { return *overlappingCalls_; }
    // An argument of the last call, empty when there is none.
    std::string argument(const std::string& function, const std::string& parameter) const;

private:
    std::string path_;
    void* library_ = nullptr;
    DoubleControl* control_ = nullptr;
    std::atomic<int>* overlappingCalls_ = nullptr;
};

}  // namespace quorvanti::test
