// The crypto double's signing and verifying, with its signer lists.
#include "tests/support/crypto_double/double_internals.h"

namespace {

using quorvanti::test::Call;
using quorvanti::test::clear;
using quorvanti::test::DoubleControl;
using quorvanti::test::DoubleSigner;
using quorvanti::test::handOut;
using quorvanti::test::noteBack;
using quorvanti::test::noteOut;
using quorvanti::test::theControl;

char* copyOf(std::string_view text) {
    char* copy = new char[text.size() + 1];
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}

template <typename Byte>
void replace(Byte*& field, std::int32_t& length, std::string_view text) {
    delete[] reinterpret_cast<char*>(field);
    field = reinterpret_cast<Byte*>(copyOf(text));
    length = static_cast<std::int32_t>(text.size());
}

void describe(SsfSigRcpSsfInfo& entry, const DoubleSigner& signer) {
    replace(entry.id, entry.idLength, signer.id);
    replace(entry.info, entry.infoLength, signer.info);
    if (signer.certificate) {
        replace(entry.certificate, entry.certificateLength, *signer.certificate);
    }
    entry.result = signer.result;
}

void destroy(SsfSigRcpSsfInfo* entry) {
    delete[] entry->id;
    delete[] entry->profile;
    delete[] entry->password;
    delete[] entry->info;
    delete[] entry->certificate;
    delete entry;
}

void handOutSigners(const char* maker, SsfSigRcpSsfInfoList** list) {
    *list = nullptr;
    if (!theControl().signerList) {
        return;
    }
    *list = new SsfSigRcpSsfInfoList{};
    noteOut(maker, *list);
    SsfSigRcpSsfInfo** next = &(*list)->first;
    for (const DoubleSigner& signer : theControl().signers) {
        *next = new SsfSigRcpSsfInfo{};
        describe(**next, signer);
        (*next)->passwordLength = signer.passwordLength;
        next = &(*next)->next;
    }
}

void handOutVerified(const char* maker, const Call& call, std::string_view content, std::uint8_t** output,
                     std::int32_t* outputLength) {
    clear(output, outputLength);
    if (call.result() == 0) {
        handOut(maker, theControl().verified ? *theControl().verified : content, output, outputLength);
    }
}

std::string_view view(const std::uint8_t* data, std::int32_t length) {
    return {reinterpret_cast<const char*>(data), data == nullptr ? 0 : static_cast<std::size_t>(length)};
}

}  // namespace

extern "C" {

int32_t SsfEncode(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength, uint8_t** encoded,
                  int32_t* encodedLength) {
    Call call("SsfEncode");
    call.bytes("format", format, formatLength).bytes("data", data, dataLength);
    DoubleControl& control = theControl();
    if (control.hooks.SsfEncode) {
        return control.hooks.SsfEncode(format, formatLength, data, dataLength, encoded, encodedLength);
    }
    clear(encoded, encodedLength);
    if (call.result() == 0) {
        handOut("SsfEncode", control.encoded ? *control.encoded : view(data, dataLength), encoded, encodedLength);
    }
    return call.result();
}

int32_t SsfSign(const char* format, int32_t formatLength, const char* hash, int32_t hashLength,
                int32_t includeCertificate, int32_t detached, const uint8_t* encoded, int32_t encodedLength,
                SsfSigRcpSsfInfoList* signers, uint8_t** signature, int32_t* signatureLength) {
    Call call("SsfSign");
    call.bytes("format", format, formatLength).bytes("hash", hash, hashLength);
    call.number("includeCertificate", includeCertificate).number("detached", detached);
    call.bytes("encoded", encoded, encodedLength);
    DoubleControl& control = theControl();
    if (control.hooks.SsfSign) {
        return control.hooks.SsfSign(format, formatLength, hash, hashLength, includeCertificate, detached, encoded,
                                     encodedLength, signers, signature, signatureLength);
    }
    clear(signature, signatureLength);
    if (control.signResult && signers != nullptr && signers->first != nullptr) {
        describe(*signers->first, *control.signResult);
    }
    if (call.result() == 0) {
        handOut("SsfSign", control.signature, signature, signatureLength);
    }
    return call.result();
}

int32_t SsfVerify(const char* format, int32_t formatLength, int32_t detached, const uint8_t* signature,
                  int32_t signatureLength, const uint8_t* encoded, int32_t encodedLength, const char* profile,
                  int32_t profileLength, const char* password, int32_t passwordLength, SsfSigRcpSsfInfoList** signers,
                  uint8_t** output, int32_t* outputLength) {
    Call call("SsfVerify");
    call.bytes("format", format, formatLength).number("detached", detached);
    call.bytes("signature", signature, signatureLength).bytes("encoded", encoded, encodedLength);
    call.bytes("profile", profile, profileLength).bytes("password", password, passwordLength);
    if (theControl().hooks.SsfVerify) {
        return theControl().hooks.SsfVerify(format, formatLength, detached, signature, signatureLength, encoded,
                                            encodedLength, profile, profileLength, password, passwordLength, signers,
                                            output, outputLength);
    }
    handOutSigners("SsfVerify", signers);
    handOutVerified("SsfVerify", call, view(encoded, encodedLength), output, outputLength);
    return call.result();
}

int32_t SsfVerifyEx(const char* format, int32_t formatLength, const uint8_t* data, int32_t dataLength,
                    const char* profile, int32_t profileLength, const char* keyType, int32_t keyTypeLength,
                    const uint8_t* key, int32_t keyLength, const char* hash, int32_t hashLength,
                    const uint8_t* signature, int32_t signatureLength, SsfSigRcpSsfInfoList** signers, uint8_t** output,
                    int32_t* outputLength) {
    Call call("SsfVerifyEx");
    call.bytes("format", format, formatLength).bytes("data", data, dataLength);
    call.bytes("profile", profile, profileLength).bytes("keyType", keyType, keyTypeLength);
    call.bytes("key", key, keyLength).bytes("hash", hash, hashLength).bytes("signature", signature, signatureLength);
    if (theControl().hooks.SsfVerifyEx) {
        return theControl().hooks.SsfVerifyEx(format, formatLength, data, dataLength, profile, profileLength, keyType,
                                              keyTypeLength, key, keyLength, hash, hashLength, signature,
                                              signatureLength, signers, output, outputLength);
    }
    handOutSigners("SsfVerifyEx", signers);
    handOutVerified("SsfVerifyEx", call, view(data, dataLength), output, outputLength);
    return call.result();
}

int32_t SsfNEWSigRcpSsfInfo(const char* id, int32_t idLength, const char* profile, int32_t profileLength,
                            const char* password, int32_t passwordLength, SsfSigRcpSsfInfo** info) {
    Call call("SsfNEWSigRcpSsfInfo");
    call.bytes("id", id, idLength).bytes("profile", profile, profileLength);
    call.bytes("password", password, passwordLength);
    *info = nullptr;
    if (call.result() == 0) {
        *info = new SsfSigRcpSsfInfo{};
        noteOut("SsfNEWSigRcpSsfInfo", *info);
        replace((*info)->id, (*info)->idLength, {id, static_cast<std::size_t>(idLength)});
        replace((*info)->profile, (*info)->profileLength, {profile, static_cast<std::size_t>(profileLength)});
        replace((*info)->password, (*info)->passwordLength, {password, static_cast<std::size_t>(passwordLength)});
    }
    return call.result();
}

int32_t SsfINSSigRcpSsfInfo(SsfSigRcpSsfInfo* info, SsfSigRcpSsfInfoList** list) {
    const Call call("SsfINSSigRcpSsfInfo");
    if (call.result() != 0) {
        return call.result();
    }
    if (info == nullptr || list == nullptr || !noteBack(info)) {
        return SSF_API_INVALID_FUNCARGS;
    }
    if (*list == nullptr) {
        *list = new SsfSigRcpSsfInfoList{};
        noteOut("SsfINSSigRcpSsfInfo", *list);
    }
    info->next = (*list)->first;
    (*list)->first = info;
    return 0;
}

int32_t SsfDELSigRcpSsfInfo(SsfSigRcpSsfInfo** info) {
    const Call call("SsfDELSigRcpSsfInfo");
    if (info != nullptr && *info != nullptr && noteBack(*info)) {
        destroy(*info);
        *info = nullptr;
    }
    return call.result();
}

int32_t SsfDELSigRcpSsfInfoList(SsfSigRcpSsfInfoList** list) {
    const Call call("SsfDELSigRcpSsfInfoList");
    if (list != nullptr && *list != nullptr && noteBack(*list)) {
        for (SsfSigRcpSsfInfo* entry = (*list)->first; entry != nullptr;) {
            SsfSigRcpSsfInfo* const next = entry->next;
            destroy(entry);
            entry = next;
        }
        delete *list;
        *list = nullptr;
    }
    return call.result();
}

}  // extern "C"
