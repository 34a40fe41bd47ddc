package com.vorak.sso;

import java.time.Duration;
import java.util.Arrays;
import java.util.Objects;

/**
 * What an accepted ticket says. What it does not say is empty.
 *
 * @param user the user
 * @param systemId system id of the issuer
 * @param client client of the issuer
 * @param certificate certificate of the signer, DER
 * @param portalUser the user in the issuing portal
 * @param authScheme name of the authentication scheme
 * @param validity the time left
 * @param addressedToUs the ticket names this system as its recipient
 */
public record TicketEvaluation(
        String user,
        String systemId,
        String client,
        byte[] certificate,
        String portalUser,
        String authScheme,
        Duration validity,
        boolean addressedToUs) {

    /** Keeps a copy of the certificate; the rest cannot change. */
    public TicketEvaluation {
        certificate = certificate.clone();
    }

    static TicketEvaluation of(Object[] fields) {
        return new TicketEvaluation(
                (String) fields[0],
                (String) fields[1],
                (String) fields[2],
                (byte[]) fields[3],
                (String) fields[4],
                (String) fields[5],
                Duration.ofSeconds(Long.parseLong((String) fields[6])),
                fields[7].equals("1"));
    }

    /**
     * The certificate of the signer.
     *
     * @return a copy, DER
     */
    @Override
    public byte[] certificate() {
        return certificate.clone();
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof TicketEvaluation that
                && user.equals(that.user)
                && systemId.equals(that.systemId)
                && client.equals(that.client)
                && Arrays.equals(certificate, that.certificate)
                && portalUser.equals(that.portalUser)
                && authScheme.equals(that.authScheme)
                && validity.equals(that.validity)
                && addressedToUs == that.addressedToUs;
    }

    @Override
    public int hashCode() {
        return Objects.hash(
                user, systemId, client, Arrays.hashCode(certificate), portalUser, authScheme, validity, addressedToUs);
    }
}
