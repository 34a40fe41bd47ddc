import com.vorak.sso.QuorvantiLibrary;

/**
 * The class of {@code com.vorak.sso} once more without a package, for programs that know it so. Such programs run from the
 * class path: a class without a package is invisible to modules.
 *
 * <p>State is process-wide and shared with {@link com.vorak.sso.SSO2Ticket}.
 */
public final class SSO2Ticket {
    static {
        QuorvantiLibrary.load();
    }

    private SSO2Ticket() {}

    /**
     * Starts the library: loads the crypto library. Once for each process; further calls change nothing.
     *
     * @param library file name or path of the crypto library; null: the property SSF_LIB, else the one that comes with
     *     this library
     * @return true
     * @throws Exception when the crypto library cannot be loaded
     */
    public static native boolean init(String library) throws Exception;

    /**
     * Names the library and the version of its interface.
     *
     * @return "QUORVANTI 15"
     */
    public static native String getVersion();

    /**
     * Evaluates a logon ticket: signature, age and, where the ticket names one, recipient.
     *
     * @param ticket the ticket text
     * @param addressBook path of the key store with the trusted issuers; null: the key of {@link #loadKey}
     * @param password of the key store, or null
     * @return eight elements: user, system id of the issuer, client of the issuer (String), certificate of the signer
     *     (byte[], DER), portal user, authentication scheme (String), the seconds left, and "1" when the ticket names us
     *     as its recipient or "0" (decimal numbers as String). What the ticket does not say is empty
     * @throws Exception when the ticket is refused or names no user, system id or client; the message carries the
     *     library's code and the crypto library's
     */
    public static native Object[] evalLogonTicket(String ticket, String addressBook, String password) throws Exception;

    /**
     * Evaluates an assertion ticket, which must be addressed to this system.
     *
     * @param ticket the ticket text, with "+" where its issuer wrote "!"
     * @param addressBook path of the key store with the trusted issuers; null: the key of {@link #loadKey}
     * @param password of the key store, or null
     * @param systemId the own system id
     * @param client the own client
     * @return as {@link #evalLogonTicket}
     * @throws Exception as {@link #evalLogonTicket}, and when the system id or the client is null
     */
    public static native Object[] evalAssertionTicket(
            String ticket, String addressBook, String password, String systemId, String client) throws Exception;

    /**
     * Evaluates a JSON Web Token with the key of {@link #loadKey}.
     *
     * @param token the token in its compact form
     * @param nameIdClaim name of the claim that holds the user id
     * @return two Strings: the payload (JSON) and the user id
     * @throws Exception when the token is refused, or has no such claim
     */
    public static native Object[] evalJWToken(String token, String nameIdClaim) throws Exception;

    /**
     * Reads a property of the library.
     *
     * @param name such as KAV_EXT_TRC; null: the names of all, separated by ";"
     * @return its value, or null
     */
    public static native String getProperty(String name);

    /**
     * Sets a property of the library.
     *
     * @param name such as KAV_EXT_TRC
     * @param value null restores the default
     * @return false when there is no such property
     */
    public static native boolean setProperty(String name, String value);

    /**
     * Creates an assertion ticket, valid for two minutes.
     *
     * @param ownSystemId the issuer's system id, up to eight characters
     * @param ownClient the issuer's client, up to three
     * @param addressBook path of the key store with the signing key; null: the key of {@link #loadKey}
     * @param password of the key store, or null
     * @param recipientSystemId whom the ticket is for, up to eight characters
     * @param recipientClient up to three
     * @param user up to 36 bytes of UTF-8; this or the portal user is required
     * @param language one character, or null
     * @param portalUser up to 249 bytes of UTF-8, or null
     * @param authScheme name of the authentication scheme, or null
     * @return the ticket text, with "!" in place of "+"
     * @throws Exception when an argument is missing or too long, or the ticket cannot be signed
     */
    public static native String createAssertionTicket(
            String ownSystemId,
            String ownClient,
            String addressBook,
            String password,
            String recipientSystemId,
            String recipientClient,
            String user,
            String language,
            String portalUser,
            String authScheme)
            throws Exception;

    /**
     * Loads a key for the whole process, in place of the one before. After a failure none is loaded.
     *
     * @param key the key store's or the certificate's contents, or the key itself
     * @param password of the key store, or null
     * @param reserved not read
     * @param keyType 0 key store (PKCS#12 or PEM), 1 or 4 certificate, 2 HMAC key, 3 HMAC key as base64
     * @return false when the key could not be loaded; the trace tells why
     */
    public static native boolean loadKey(byte[] key, String password, int reserved, int keyType);

    /**
     * Reads a certificate.
     *
     * @param certificate DER; null gives null
     * @param infoId 0 subject, 1 issuer, 2 serial number, 3 summary, 4 serial, 5 validity, 6 fingerprint, 7 algorithm, 8
     *     all of them
     * @return what was asked for, as text
     * @throws Exception for another id, and when the certificate cannot be read
     */
    public static native String parseCertificate(byte[] certificate, int infoId) throws Exception;
}
