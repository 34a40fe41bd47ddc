package com.vorak.sso;

/** What {@link Sso#parseCertificate} can read; in the order of the native codes. */
public enum CertificateInfo {
    /** The subject's name. */
    SUBJECT,
    /** The issuer's name. */
    ISSUER,
    /** The serial number. */
    SERIALNO,
    /** A summary. */
    SUMMARY,
    /** The serial number in its other form. */
    SERIAL,
    /** From when to when it is valid. */
    VALIDITY,
    /** Its fingerprint. */
    FINGERPRINT,
    /** The algorithm. */
    ALGID,
    /** All of it. */
    ALL
}
