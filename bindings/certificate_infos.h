// The attributes of a certificate that the faces let a caller ask for by number, from 0 on.
#pragma once

namespace quorvanti {

inline constexpr const char* kCertificateInfos[] = {"SUBJECT",  "ISSUER",      "SERIALNO", "SUMMARY", "SERIAL",
                                                    "VALIDITY", "FINGERPRINT", "ALGID",    "ALL"};

}  // namespace quorvanti
