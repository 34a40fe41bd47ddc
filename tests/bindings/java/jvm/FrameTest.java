import com.vorak.sso.SSO2Ticket;

/** A native frame that calls again and again, where references that are left are not swept away by a return to Java. */
public final class FrameTest {
    private static final int CALLS = 100_000;

    public static void main(String[] arguments) throws Exception {
        SSO2Ticket.init(null);
        System.load(System.getProperty("test.frame"));
        Suite.run(FrameTest.class);
    }

    /** Calls in one frame; every hundredth with the ticket that is accepted. How many were accepted. */
    private static native int callManyTimes(int calls, String accepted, String refused, String profile);

    public static void referencesDoNotGrow() throws Exception {
        int accepted = callManyTimes(CALLS, Suite.material("logon"), "AAAA", Suite.path("trusted.pem"));
        Suite.equal(CALLS / 100, accepted);
    }
}
