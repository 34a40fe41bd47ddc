package com.vorak.sso;

/** What {@link Sso#loadKey} is given; in the order of the native codes. */
public enum KeyType {
    /** The contents of a key store: PKCS#12 or PEM. */
    KEY_STORE,
    /** A certificate to trust: DER, PEM or base64. */
    CERTIFICATE,
    /** A key for token signatures, raw bytes. */
    HMAC,
    /** The same as base64 text. */
    HMAC_BASE64,
    /** A certificate that may turn out not to be one: then the trace stays silent. */
    CERTIFICATE_QUIETLY
}
