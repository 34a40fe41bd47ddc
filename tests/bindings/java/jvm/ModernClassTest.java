import static java.nio.charset.StandardCharsets.UTF_8;

import com.vorak.sso.AssertionRequest;
import com.vorak.sso.CertificateInfo;
import com.vorak.sso.KeyType;
import com.vorak.sso.Sso;
import com.vorak.sso.SsoException;
import com.vorak.sso.TicketEvaluation;
import java.nio.file.Files;
import java.time.Duration;
import java.util.concurrent.Callable;

/** The class with types. */
public final class ModernClassTest {
    public static void main(String[] arguments) throws Exception {
        Suite.run(ModernClassTest.class);
    }

    private static SsoException refused(Callable<?> call) throws Exception {
        try {
            call.call();
        } catch (SsoException refusal) {
            return refusal;
        }
        throw new AssertionError("it was accepted");
    }

    private static void codes(int standardError, int ssfError, SsoException refusal) {
        Suite.equal(standardError, refusal.standardError());
        Suite.equal(ssfError, refusal.ssfError());
    }

    public static void aaaAStartThatFailsTellsItsCode() throws Exception {
        codes(14, 0, refused(() -> {
            Sso.start("/nowhere/library.so");
            return null;
        }));
    }

    public static void aabStarts() throws Exception {
        Sso.start();
        Suite.equal("QUORVANTI 15", Sso.version());
    }

    public static void aTicketIsAnImmutableObject() throws Exception {
        TicketEvaluation ticket =
                Sso.evaluateLogonTicket(Suite.material("logon"), Suite.path("trusted.pem"), null);
        Suite.equal("JDOE", ticket.user());
        Suite.equal("PRD", ticket.systemId());
        Suite.equal("100", ticket.client());
        Suite.equal("jdoe", ticket.portalUser());
        Suite.equal("basicauthentication", ticket.authScheme());
        Suite.equal(false, ticket.addressedToUs());
        Suite.that(ticket.validity().compareTo(Duration.ofHours(7)) > 0, ticket.validity().toString());
        byte first = ticket.certificate()[0];
        ticket.certificate()[0] = 0;
        Suite.equal(first, ticket.certificate()[0]);
        Suite.equal(ticket, new TicketEvaluation(
                ticket.user(), ticket.systemId(), ticket.client(), ticket.certificate(), ticket.portalUser(),
                ticket.authScheme(), ticket.validity(), ticket.addressedToUs()));
    }

    public static void anAssertionTicketIsAddressedToUs() throws Exception {
        String ticket = Suite.material("assertion").replace('+', '!');
        Suite.equal(
                true,
                Sso.evaluateAssertionTicket(ticket, Suite.path("trusted.pem"), null, "DEV", "200").addressedToUs());
    }

    public static void refusalsCarryBothCodes() throws Exception {
        String profile = Suite.path("trusted.pem");
        codes(4, 0, refused(() -> Sso.evaluateLogonTicket(Suite.material("expired"), profile, null)));
        SsoException tampered = refused(() -> Sso.evaluateLogonTicket(Suite.material("tampered"), profile, null));
        Suite.that(tampered.getMessage().endsWith(
                "standard error= " + tampered.standardError() + ", ssf error= " + tampered.ssfError()), "" + tampered);
        Suite.that(tampered.standardError() > 0, "" + tampered);
        codes(SsoException.UNKNOWN, 0, refused(() -> Sso.evaluateLogonTicket(null, profile, null)));
        codes(5, 0, refused(() -> Sso.evaluateToken("a.b", "uid")));
    }

    public static void keysCertificatesAndProperties() throws Exception {
        Sso.loadKey("key".getBytes(UTF_8), null, KeyType.HMAC);
        codes(SsoException.UNKNOWN, 0, refused(() -> {
            Sso.loadKey(new byte[0], null, KeyType.HMAC);
            return null;
        }));
        byte[] certificate = Files.readAllBytes(Suite.MATERIAL.resolve("issuer.der"));
        Suite.that(Sso.parseCertificate(certificate, CertificateInfo.SUBJECT).contains("issuer"), "another subject");
        codes(17, 0, refused(() -> Sso.parseCertificate(new byte[1], CertificateInfo.ALL)));
        Sso.setProperty("KAV_OWN_SYSID", "DEV");
        Suite.equal("DEV", Sso.property("KAV_OWN_SYSID"));
        Suite.equal("no property NONE", Suite.thrown(IllegalArgumentException.class, () -> {
            Sso.setProperty("NONE", "1");
            return null;
        }));
    }

    public static void whatCannotBeCreatedTellsItsCode() throws Exception {
        AssertionRequest request = AssertionRequest.of("NINECHARS", "100", "DEV", "200").withUser("JDOE");
        codes(23, 0, refused(() -> Sso.createAssertionTicket(request, null, null)));
        codes(SsoException.UNKNOWN, 0, refused(
                () -> Sso.createAssertionTicket(AssertionRequest.of("PRD", "100", "DEV", "200"), null, null)));
    }
}
