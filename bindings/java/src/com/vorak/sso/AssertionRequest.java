package com.vorak.sso;

import java.util.Objects;

/**
 * What an assertion ticket is to say. The required part comes from {@link #of}; each further method gives a request that
 * says one thing more.
 *
 * @param ownSystemId the issuer's system id, up to eight characters
 * @param ownClient the issuer's client, up to three
 * @param recipientSystemId whom the ticket is for, up to eight characters
 * @param recipientClient up to three
 * @param user the user, or null
 * @param language one character, or null
 * @param portalUser the user in the issuing portal, or null
 * @param authScheme name of the authentication scheme, or null
 */
public record AssertionRequest(
        String ownSystemId,
        String ownClient,
        String recipientSystemId,
        String recipientClient,
        String user,
        String language,
        String portalUser,
        String authScheme) {

    /** Refuses a request without issuer or recipient. */
    public AssertionRequest {
        Objects.requireNonNull(ownSystemId, "own system id");
        Objects.requireNonNull(ownClient, "own client");
        Objects.requireNonNull(recipientSystemId, "recipient system id");
        Objects.requireNonNull(recipientClient, "recipient client");
    }

    /**
     * A request that still needs a user or a portal user.
     *
     * @param ownSystemId the issuer's system id
     * @param ownClient the issuer's client
     * @param recipientSystemId the recipient's system id
     * @param recipientClient the recipient's client
     * @return the request
     */
    public static AssertionRequest of(
            String ownSystemId, String ownClient, String recipientSystemId, String recipientClient) {
        return new AssertionRequest(
                ownSystemId, ownClient, recipientSystemId, recipientClient, null, null, null, null);
    }

    /**
     * The same for a user.
     *
     * @param value the user
     * @return the request
     */
    public AssertionRequest withUser(String value) {
        return new AssertionRequest(
                ownSystemId, ownClient, recipientSystemId, recipientClient, value, language, portalUser, authScheme);
    }

    /**
     * The same with a logon language.
     *
     * @param value one character
     * @return the request
     */
    public AssertionRequest withLanguage(String value) {
        return new AssertionRequest(
                ownSystemId, ownClient, recipientSystemId, recipientClient, user, value, portalUser, authScheme);
    }

    /**
     * The same for a user of the issuing portal.
     *
     * @param value the portal user
     * @return the request
     */
    public AssertionRequest withPortalUser(String value) {
        return new AssertionRequest(
                ownSystemId, ownClient, recipientSystemId, recipientClient, user, language, value, authScheme);
    }

    /**
     * The same with an authentication scheme.
     *
     * @param value name of the scheme
     * @return the request
     */
    public AssertionRequest withAuthScheme(String value) {
        return new AssertionRequest(
                ownSystemId, ownClient, recipientSystemId, recipientClient, user, language, portalUser, value);
    }
}
