// The functions that the engine looks up and never calls.
#include "tests/support/crypto_double/double_internals.h"

using quorvanti::test::Call;

extern "C" {

// clang-format off
int32_t SsfDecode(void)                           { return Call("SsfDecode").result(); }
int32_t SsfEnvelope(void)                         { return Call("SsfEnvelope").result(); }
int32_t SsfDevelope(void)                         { return Call("SsfDevelope").result(); }
int32_t SsfAddSign(void)                          { return Call("SsfAddSign").result(); }
int32_t SsfDigest(void)                           { return Call("SsfDigest").result(); }
int32_t SsfQueryProperties(void)                  { return Call("SsfQueryProperties").result(); }
int32_t SsfRemoveProfile(void)                    { return Call("SsfRemoveProfile").result(); }
int32_t SsfGetOwnCertificate(void)                { return Call("SsfGetOwnCertificate").result(); }
int32_t SsfGetCertificate(void)                   { return Call("SsfGetCertificate").result(); }
int32_t SsfRemoveCertificate(void)                { return Call("SsfRemoveCertificate").result(); }
int32_t SsfGetCertificateList(void)               { return Call("SsfGetCertificateList").result(); }
int32_t SsfEnumCertificateList(void)              { return Call("SsfEnumCertificateList").result(); }
int32_t SsfFreeCertificateList(void)              { return Call("SsfFreeCertificateList").result(); }
int32_t SsfGetCertificateRequest(void)            { return Call("SsfGetCertificateRequest").result(); }
int32_t SsfPutCertificateResponse(void)           { return Call("SsfPutCertificateResponse").result(); }
int32_t kavsecu_parseobject(void)                 { return Call("kavsecu_parseobject").result(); }
int32_t kav_secin(void)                           { return Call("kav_secin").result(); }
int32_t kav_save_memory_PSE(void)                 { return Call("kav_save_memory_PSE").result(); }
int32_t SsfSignEx(void)                           { return Call("SsfSignEx").result(); }
int32_t SsfEnvelopeEx(void)                       { return Call("SsfEnvelopeEx").result(); }
int32_t SsfDevelopeEx(void)                       { return Call("SsfDevelopeEx").result(); }
int32_t SsfDecodeCrlArray(void)                   { return Call("SsfDecodeCrlArray").result(); }
int32_t SsfFreeCrlArray(void)                     { return Call("SsfFreeCrlArray").result(); }
int32_t SsfVerifyCRL(void)                        { return Call("SsfVerifyCRL").result(); }
int32_t SsfParseCRL(void)                         { return Call("SsfParseCRL").result(); }
int32_t SsfFreeCrlList(void)                      { return Call("SsfFreeCrlList").result(); }
int32_t SsfGetCrlDpArrayFromCert(void)            { return Call("SsfGetCrlDpArrayFromCert").result(); }
int32_t SsfFreeCrlDpArray(void)                   { return Call("SsfFreeCrlDpArray").result(); }
int32_t SsfGetTimeStampReq(void)                  { return Call("SsfGetTimeStampReq").result(); }
int32_t SsfAddTimeStampResp(void)                 { return Call("SsfAddTimeStampResp").result(); }
int32_t SsfCheckCertWithCrlArray(void)            { return Call("SsfCheckCertWithCrlArray").result(); }
int32_t SsfSecudeNameToLdapUTF8(void)             { return Call("SsfSecudeNameToLdapUTF8").result(); }
int32_t SsfConvertLargeIntToHex(void)             { return Call("SsfConvertLargeIntToHex").result(); }
int32_t SsfSignProfile(void)                      { return Call("SsfSignProfile").result(); }
int32_t SsfRcName(void)                           { return Call("SsfRcName").result(); }
int32_t SsfRcDesc(void)                           { return Call("SsfRcDesc").result(); }
int32_t SsfReadPse(void)                          { return Call("SsfReadPse").result(); }
int32_t SsfStorePse(void)                         { return Call("SsfStorePse").result(); }
int32_t kavcr_get_property_string(void)           { return Call("kavcr_get_property_string").result(); }
int32_t aux_sprint_DName(void)                    { return Call("aux_sprint_DName").result(); }
int32_t aux_sprint_Validity(void)                 { return Call("aux_sprint_Validity").result(); }
int32_t aux_sprint_Serialnumber(void)             { return Call("aux_sprint_Serialnumber").result(); }
int32_t aux_free_String(void)                     { return Call("aux_free_String").result(); }
int32_t aux_free_Certificate(void)                { return Call("aux_free_Certificate").result(); }
int32_t d_Certificate(void)                       { return Call("d_Certificate").result(); }
int32_t kav_seclogin(void)                        { return Call("kav_seclogin").result(); }
int32_t sec_open(void)                            { return Call("sec_open").result(); }
int32_t sec_close(void)                           { return Call("sec_close").result(); }
int32_t sec_chpin(void)                           { return Call("sec_chpin").result(); }
int32_t aux_Name2DName(void)                      { return Call("aux_Name2DName").result(); }
int32_t aux_free_DName(void)                      { return Call("aux_free_DName").result(); }
int32_t kavsecu_create_CertEntryList(void)        { return Call("kavsecu_create_CertEntryList").result(); }
int32_t kavsecu_sprint_CertEntryList(void)        { return Call("kavsecu_sprint_CertEntryList").result(); }
int32_t kavsecu_free_CertEntryList(void)          { return Call("kavsecu_free_CertEntryList").result(); }
int32_t kavsecu_DName2CertEntryList(void)         { return Call("kavsecu_DName2CertEntryList").result(); }
int32_t kavsecu_SecudeName2CertEntryList(void)    { return Call("kavsecu_SecudeName2CertEntryList").result(); }
int32_t kavsecu_Name2CertEntryList(void)          { return Call("kavsecu_Name2CertEntryList").result(); }
int32_t aux_get_subject_of_Certificate(void)      { return Call("aux_get_subject_of_Certificate").result(); }
int32_t aux_get_issuer_of_Certificate(void)       { return Call("aux_get_issuer_of_Certificate").result(); }
int32_t aux_get_serialnumber_of_Certificate(void) { return Call("aux_get_serialnumber_of_Certificate").result(); }
int32_t aux_get_validity_of_Certificate(void)     { return Call("aux_get_validity_of_Certificate").result(); }
int32_t aux_latin1_to_unicode(void)               { return Call("aux_latin1_to_unicode").result(); }
int32_t pkcs12_generate_key(void)                 { return Call("pkcs12_generate_key").result(); }
int32_t sec_decrypt_all(void)                     { return Call("sec_decrypt_all").result(); }
int32_t aux_free_Key(void)                        { return Call("aux_free_Key").result(); }
int32_t aux_free_OctetString(void)                { return Call("aux_free_OctetString").result(); }
// clang-format on

}  // extern "C"
