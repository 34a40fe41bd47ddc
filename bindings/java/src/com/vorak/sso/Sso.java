package com.vorak.sso;

/**
 * Single-sign-on tickets with types: results are immutable objects, every failure is an {@link SsoException} with its two
 * codes. Written upon {@link SSO2Ticket} alone.
 *
 * <pre>{@code
 * Sso.start();
 * TicketEvaluation ticket = Sso.evaluateLogonTicket(cookie, "/etc/sso/trusted.pem", null);
 * System.out.println(ticket.user() + " of " + ticket.systemId());
 * }</pre>
 *
 * <p>State is process-wide; any thread may call any method.
 */
public final class Sso {
    private Sso() {}

    private interface NativeCall<T> {
        T run() throws Exception;
    }

    private static <T> T call(NativeCall<T> body) throws SsoException {
        try {
            return body.run();
        } catch (RuntimeException mistake) {
            throw mistake;
        } catch (Exception failure) {
            throw SsoException.of(failure);
        }
    }

    /**
     * Starts the library with the crypto library that the property SSF_LIB names, else with the one that comes with it.
     *
     * @throws SsoException when it cannot be loaded
     */
    public static void start() throws SsoException {
        start(null);
    }

    /**
     * Starts the library.
     *
     * @param cryptoLibrary file name or path of the crypto library
     * @throws SsoException when it cannot be loaded
     */
    public static void start(String cryptoLibrary) throws SsoException {
        call(() -> SSO2Ticket.init(cryptoLibrary));
    }

    /**
     * Names the library and the version of its interface.
     *
     * @return such as "QUORVANTI 15"
     */
    public static String version() {
        return SSO2Ticket.getVersion();
    }

    /**
     * Evaluates a logon ticket.
     *
     * @param ticket the ticket text
     * @param keyStore path of the key store with the trusted issuers; null: the key of {@link #loadKey}
     * @param password of the key store, or null
     * @return what the ticket says
     * @throws SsoException when it is refused
     */
    public static TicketEvaluation evaluateLogonTicket(String ticket, String keyStore, String password)
            throws SsoException {
        return TicketEvaluation.of(call(() -> SSO2Ticket.evalLogonTicket(ticket, keyStore, password)));
    }

    /**
     * Evaluates an assertion ticket, which must be addressed to this system. A "!" in the text is read as "+".
     *
     * @param ticket the ticket text
     * @param keyStore path of the key store with the trusted issuers; null: the key of {@link #loadKey}
     * @param password of the key store, or null
     * @param systemId the own system id
     * @param client the own client
     * @return what the ticket says
     * @throws SsoException when it is refused
     */
    public static TicketEvaluation evaluateAssertionTicket(
            String ticket, String keyStore, String password, String systemId, String client) throws SsoException {
        String text = ticket == null ? null : ticket.replace('!', '+');
        return TicketEvaluation.of(
                call(() -> SSO2Ticket.evalAssertionTicket(text, keyStore, password, systemId, client)));
    }

    /**
     * Evaluates a JSON Web Token with the key of {@link #loadKey}.
     *
     * @param token the token in its compact form
     * @param userIdClaim name of the claim that holds the user id
     * @return what the token says
     * @throws SsoException when it is refused, or has no such claim
     */
    public static TokenEvaluation evaluateToken(String token, String userIdClaim) throws SsoException {
        Object[] fields = call(() -> SSO2Ticket.evalJWToken(token, userIdClaim));
        return new TokenEvaluation((String) fields[0], (String) fields[1]);
    }

    /**
     * Creates an assertion ticket, valid for two minutes.
     *
     * @param request what it is to say
     * @param keyStore path of the key store with the signing key; null: the key of {@link #loadKey}
     * @param password of the key store, or null
     * @return the ticket text, with "!" in place of "+"
     * @throws SsoException when an argument is missing or too long, or the ticket cannot be signed
     */
    public static String createAssertionTicket(AssertionRequest request, String keyStore, String password)
            throws SsoException {
        return call(() -> SSO2Ticket.createAssertionTicket(
                request.ownSystemId(),
                request.ownClient(),
                keyStore,
                password,
                request.recipientSystemId(),
                request.recipientClient(),
                request.user(),
                request.language(),
                request.portalUser(),
                request.authScheme()));
    }

    /**
     * Loads a key for the whole process, in place of the one before. After a failure none is loaded.
     *
     * @param key the key
     * @param password of a key store, or null
     * @param type what the key is
     * @throws SsoException when the key could not be loaded; the trace tells why
     */
    public static void loadKey(byte[] key, String password, KeyType type) throws SsoException {
        if (!SSO2Ticket.loadKey(key, password, 0, type.ordinal())) {
            throw new SsoException("The key could not be loaded.", SsoException.UNKNOWN, 0, null);
        }
    }

    /**
     * Reads a certificate.
     *
     * @param certificate DER
     * @param info what to read
     * @return it as text
     * @throws SsoException when it cannot be read
     */
    public static String parseCertificate(byte[] certificate, CertificateInfo info) throws SsoException {
        return call(() -> SSO2Ticket.parseCertificate(certificate, info.ordinal()));
    }

    /**
     * Reads a property of the library.
     *
     * @param name such as KAV_EXT_TRC
     * @return its value, or null
     */
    public static String property(String name) {
        return SSO2Ticket.getProperty(name);
    }

    /**
     * Sets a property of the library.
     *
     * @param name such as KAV_EXT_TRC
     * @param value null restores the default
     * @throws IllegalArgumentException when there is no such property
     */
    public static void setProperty(String name, String value) {
        if (!SSO2Ticket.setProperty(name, value)) {
            throw new IllegalArgumentException("no property " + name);
        }
    }
}
