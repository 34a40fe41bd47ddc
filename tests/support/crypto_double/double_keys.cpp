// The crypto double's certificates, key stores, hashes and keyed MACs.
#include "tests/support/crypto_double/double_internals.h"

#include <algorithm>
#include <cstring>

struct SsfCertificate {
    std::string der;
};
struct SsfProfile {
    std::string name;
};

namespace {

using quorvanti::test::Call;
using quorvanti::test::clear;
using quorvanti::test::DoubleControl;
using quorvanti::test::handOut;
using quorvanti::test::noteBack;
using quorvanti::test::noteOut;
using quorvanti::test::theControl;

// The state of one hash or keyed MAC: what it is fed with counts, its value is scripted.
struct Digest {};

std::int32_t makeCertificate(const Call& call, const char* maker, const std::uint8_t* content, std::int32_t length,
                             SsfCertificate** certificate) {
    *certificate = nullptr;
    if (call.result() == 0) {
        *certificate = new SsfCertificate{{reinterpret_cast<const char*>(content), static_cast<std::size_t>(length)}};
        noteOut(maker, *certificate);
    }
    return call.result();
}

std::int32_t makeDigest(const Call& call, const char* maker, void** digest) {
    *digest = nullptr;
    if (call.result() == 0) {
        theControl().hashedData.clear();
        *digest = new Digest;
        noteOut(maker, *digest);
    }
    return call.result();
}

std::int32_t feedDigest(Call& call, const std::uint8_t* data, std::int32_t length) {
    call.bytes("data", data, length);
    theControl().hashedData.append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(length));
    return call.result();
}

std::int32_t digestValue(const Call& call, std::uint8_t* value, std::int32_t* length) {
    const std::string& bytes = theControl().hashValue;
    if (call.result() != 0 || *length < static_cast<std::int32_t>(bytes.size())) {
        *length = 0;
        return call.result() != 0 ? call.result() : SSF_API_INVALID_FUNCARGS;
    }
    std::copy(bytes.begin(), bytes.end(), value);
    *length = static_cast<std::int32_t>(bytes.size());
    return 0;
}

std::int32_t exportDigest(const Call& call, const char* maker, std::uint8_t** blob, std::int32_t* length) {
    clear(blob, length);
    if (call.result() == 0) {
        handOut(maker, theControl().hashedData, blob, length);
    }
    return call.result();
}

std::int32_t releaseDigest(const Call& call, void** digest) {
    if (*digest != nullptr && noteBack(*digest)) {
        delete static_cast<Digest*>(*digest);
    }
    *digest = nullptr;
    return call.result();
}

// The double's own copy of the name of a memory key store, null when there is no such store.
const char* findMemoryKeyStore(const char* name) {
    for (const auto& [address, maker] : theControl().outstanding) {
        const char* const text = static_cast<const char*>(address);
        if (name != nullptr && maker == "kav_create_memory_PSE" && std::strcmp(text, name) == 0) {
            return text;
        }
    }
    return nullptr;
}

}  // namespace

extern "C" {

int32_t SsfCertfromASN1(const uint8_t* der, int32_t derLength, SsfCertificate** certificate) {
    Call call("SsfCertfromASN1");
    call.bytes("der", der, derLength);
    return makeCertificate(call, "SsfCertfromASN1", der, derLength, certificate);
}

int32_t kavsecu_decode_cert(const uint8_t* content, int32_t contentLength, SsfCertificate** certificate) {
    Call call("kavsecu_decode_cert");
    call.bytes("content", content, contentLength);
    return makeCertificate(call, "kavsecu_decode_cert", content, contentLength, certificate);
}

int32_t SsfCerttoASN1(SsfCertificate* certificate, uint8_t** der, int32_t* derLength) {
    const Call call("SsfCerttoASN1");
    clear(der, derLength);
    if (call.result() == 0) {
        handOut("SsfCerttoASN1", certificate->der, der, derLength);
    }
    return call.result();
}

int32_t SsfParseCertificate(SsfCertificate* certificate, const char* attribute, int32_t attributeLength, char** text,
                            int32_t* textLength) {
    Call call("SsfParseCertificate");
    call.bytes("attribute", attribute, attributeLength)
        .bytes("certificate", certificate->der.data(), static_cast<std::int32_t>(certificate->der.size()));
    DoubleControl& control = theControl();
    if (control.hooks.SsfParseCertificate) {
        return control.hooks.SsfParseCertificate(certificate, attribute, attributeLength, text, textLength);
    }
    clear(text, textLength);
    const auto found = control.certificateTexts.find({attribute, static_cast<std::size_t>(attributeLength)});
    if (call.result() != 0 || found == control.certificateTexts.end()) {
        return call.result() != 0 ? call.result() : SSF_API_INVALID_FUNCARGS;
    }
    handOut("SsfParseCertificate", found->second, text, textLength);
    return 0;
}

int32_t SsfFreeCertificate(SsfCertificate** certificate) {
    const Call call("SsfFreeCertificate");
    if (certificate != nullptr && *certificate != nullptr && noteBack(*certificate)) {
        delete *certificate;
        *certificate = nullptr;
    }
    return call.result();
}

int32_t SsfCreateProfile(const char* profile, int32_t profileLength, const char* password, int32_t passwordLength) {
    Call call("SsfCreateProfile");
    call.bytes("profile", profile, profileLength).bytes("password", password, passwordLength);
    return call.result();
}

int32_t SsfOpenProfile(const char* profile, int32_t profileLength, const char* password, int32_t passwordLength,
                       SsfProfile** handle) {
    Call call("SsfOpenProfile");
    call.bytes("profile", profile, profileLength).bytes("password", password, passwordLength);
    *handle = nullptr;
    if (call.result() == 0) {
        *handle = new SsfProfile{{profile, static_cast<std::size_t>(profileLength)}};
        noteOut("SsfOpenProfile", *handle);
    }
    return call.result();
}

int32_t SsfPutCertificate(SsfProfile* handle, SsfCertificate* certificate) {
    Call call("SsfPutCertificate");
    call.text("profile", handle->name.c_str()).text("certificate", certificate->der.c_str());
    return call.result();
}

int32_t SsfCloseProfile(SsfProfile** handle) {
    const Call call("SsfCloseProfile");
    if (handle != nullptr && *handle != nullptr && noteBack(*handle)) {
        delete *handle;
        *handle = nullptr;
    }
    return call.result();
}

int32_t kav_create_memory_PSE(char** name) {
    const Call call("kav_create_memory_PSE");
    DoubleControl& control = theControl();
    if (control.hooks.kav_create_memory_PSE) {
        return control.hooks.kav_create_memory_PSE(name);
    }
    *name = nullptr;
    if (call.result() == 0) {
        *name = handOut("kav_create_memory_PSE",
                        "memory " + std::to_string(control.functions["kav_create_memory_PSE"].calls));
    }
    return call.result();
}

int32_t kav_load_memory_PSE(const char* name, const uint8_t* image, int32_t imageLength) {
    Call call("kav_load_memory_PSE");
    call.text("name", name).bytes("image", image, imageLength);
    return call.result();
}

int32_t kav_delete_memory_PSE(const char* name) {
    Call call("kav_delete_memory_PSE");
    call.text("name", name);
    const char* const own = findMemoryKeyStore(name);
    if (noteBack(own)) {
        delete[] own;
    }
    return call.result();
}

int32_t crypt_hashAlgorithm_Name2Id(const char* name, int32_t nameLength, int32_t* id) {
    Call call("crypt_hashAlgorithm_Name2Id");
    call.bytes("name", name, nameLength);
    const auto found = theControl().hashIds.find({name, static_cast<std::size_t>(nameLength)});
    *id = found == theControl().hashIds.end() ? 0 : found->second;
    return call.result() == 0 && *id == 0 ? SSF_API_INVALID_MDALG : call.result();
}

int32_t crypt_hashAlgorithm_Id2Name(int32_t id, const char** name) {
    Call call("crypt_hashAlgorithm_Id2Name");
    call.number("id", id);
    const auto& ids = theControl().hashIds;
    const auto found = std::find_if(ids.begin(), ids.end(), [id](const auto& entry) { return entry.second == id; });
    *name = found == ids.end() ? nullptr : found->first.c_str();
    return call.result() == 0 && *name == nullptr ? SSF_API_INVALID_MDALG : call.result();
}

int32_t crypt_hash_create(int32_t id, void** hash) {
    Call call("crypt_hash_create");
    call.number("id", id);
    return makeDigest(call, "crypt_hash_create", hash);
}

int32_t crypt_hash_more(void*, const uint8_t* data, int32_t length) {
    Call call("crypt_hash_more");
    return feedDigest(call, data, length);
}

int32_t crypt_hash_getValue(void*, uint8_t* value, int32_t* length) {
    return digestValue(Call("crypt_hash_getValue"), value, length);
}

int32_t crypt_hash_release(void** hash) {
    return releaseDigest(Call("crypt_hash_release"), hash);
}

int32_t crypt_hash_import(const uint8_t*, int32_t, void** hash) {
    return makeDigest(Call("crypt_hash_import"), "crypt_hash_import", hash);
}

int32_t crypt_hash_exportToBlob(void*, uint8_t** blob, int32_t* length) {
    return exportDigest(Call("crypt_hash_exportToBlob"), "crypt_hash_exportToBlob", blob, length);
}

int32_t crypt_keyedmac_create(int32_t hashId, const uint8_t* key, int32_t keyLength, void** mac) {
    Call call("crypt_keyedmac_create");
    call.number("hashId", hashId).bytes("key", key, keyLength);
    return makeDigest(call, "crypt_keyedmac_create", mac);
}

int32_t crypt_keyedmac_more(void*, const uint8_t* data, int32_t length) {
    Call call("crypt_keyedmac_more");
    return feedDigest(call, data, length);
}

int32_t crypt_keyedmac_getValue(void* mac, uint8_t* value, int32_t* length) {
    const Call call("crypt_keyedmac_getValue");
    if (theControl().hooks.crypt_keyedmac_getValue) {
        return theControl().hooks.crypt_keyedmac_getValue(mac, value, length);
    }
    return digestValue(call, value, length);
}

int32_t crypt_keyedmac_reset(void*) {
    const Call call("crypt_keyedmac_reset");
    theControl().hashedData.clear();
    return call.result();
}

int32_t crypt_keyedmac_release(void** mac) {
    return releaseDigest(Call("crypt_keyedmac_release"), mac);
}

int32_t crypt_keyedmac_import(const uint8_t*, int32_t, void** mac) {
    return makeDigest(Call("crypt_keyedmac_import"), "crypt_keyedmac_import", mac);
}

int32_t crypt_keyedmac_exportToBlob(void*, uint8_t** blob, int32_t* length) {
    return exportDigest(Call("crypt_keyedmac_exportToBlob"), "crypt_keyedmac_exportToBlob", blob, length);
}

}  // extern "C"
