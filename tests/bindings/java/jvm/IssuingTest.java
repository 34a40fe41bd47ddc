import com.vorak.sso.AssertionRequest;
import com.vorak.sso.Sso;
import com.vorak.sso.TicketEvaluation;

/** Tickets that are created here are accepted here and say what went in. */
public final class IssuingTest {
    public static void main(String[] arguments) throws Exception {
        Sso.start();
        Suite.run(IssuingTest.class);
    }

    public static void whatIsCreatedIsAccepted() throws Exception {
        for (String user : new String[] {"JDOE", "J\u00FCrgen", "\uD83D\uDE00", "A\u0000B"}) {
            AssertionRequest request = AssertionRequest.of("PRD", "100", "DEV", "200")
                    .withUser(user)
                    .withLanguage("E")
                    .withPortalUser("portal " + user)
                    .withAuthScheme("basic");
            String text = Sso.createAssertionTicket(request, Suite.path("keys.p12"), "opensesame");
            Suite.equal(-1, text.indexOf('+'));
            TicketEvaluation ticket =
                    Sso.evaluateAssertionTicket(text, Suite.path("trusted.pem"), null, "DEV", "200");
            Suite.equal(user, ticket.user());
            Suite.equal("portal " + user, ticket.portalUser());
            Suite.equal("PRD", ticket.systemId());
            Suite.equal("100", ticket.client());
            Suite.equal("basic", ticket.authScheme());
            Suite.that(ticket.validity().toSeconds() <= 120, "" + ticket.validity());
        }
    }
}
