import com.vorak.sso.SSO2Ticket;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.atomic.AtomicLong;
import java.util.concurrent.atomic.AtomicReference;

/** 64 threads use every method for ten seconds. */
public final class ThreadsTest {
    public static void main(String[] arguments) throws Exception {
        SSO2Ticket.init(null);
        SSO2Ticket.setProperty("SSF_HASH", "SHA256");
        Suite.run(ThreadsTest.class);
    }

    public static void allThreadsGetTheirAnswers() throws Exception {
        String logon = Suite.material("logon");
        String expired = Suite.material("expired");
        String assertion = Suite.material("assertion");
        String profile = Suite.path("trusted.pem");
        byte[] certificate = java.nio.file.Files.readAllBytes(Suite.MATERIAL.resolve("issuer.der"));
        String subject = SSO2Ticket.parseCertificate(certificate, 0);
        String signingKeys = Suite.path("keys.p12");
        byte[] tokenKey = "a key for the tokens of this test".getBytes(java.nio.charset.StandardCharsets.UTF_8);
        String token = NativeMethodsTest.token("{\"uid\":\"JDOE\"}", tokenKey);
        Suite.that(SSO2Ticket.loadKey(tokenKey, null, 0, 2), "no key loaded");
        long end = System.nanoTime() + 10_000_000_000L;
        AtomicLong calls = new AtomicLong();
        AtomicReference<Throwable> failure = new AtomicReference<>();
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < 64; i++) {
            int number = i;
            threads.add(new Thread(() -> {
                try {
                    for (long turn = number; System.nanoTime() < end && failure.get() == null; turn++) {
                        switch ((int) (turn % 12)) {
                            case 0 -> Suite.equal("JDOE", SSO2Ticket.evalLogonTicket(logon, profile, null)[0]);
                            case 1 -> Suite.equal(
                                    "VorakEvalLogonTicketEx failed: standard error= 4, ssf error= 0",
                                    Suite.thrown(() -> SSO2Ticket.evalLogonTicket(expired, profile, null)));
                            case 2 -> Suite.equal(
                                    "1", SSO2Ticket.evalAssertionTicket(assertion, profile, null, "DEV", "200")[7]);
                            case 3 -> Suite.equal(subject, SSO2Ticket.parseCertificate(certificate, 0));
                            case 4 -> Suite.that(SSO2Ticket.setProperty("SSF_HASH", "SHA256"), "not set");
                            case 5 -> Suite.equal("No SysId set", Suite.thrown(
                                    () -> SSO2Ticket.evalAssertionTicket(assertion, profile, null, null, null)));
                            case 6 -> Suite.equal("JDOE", SSO2Ticket.evalJWToken(token, "uid")[1]);
                            case 7 -> Suite.that(SSO2Ticket.loadKey(tokenKey, null, 0, 2), "not loaded");
                            case 8 -> Suite.that(
                                    SSO2Ticket.createAssertionTicket("PRD", "100", signingKeys, "opensesame", "DEV",
                                                    "200", "JDOE", null, null, null).length() > 100,
                                    "no ticket");
                            case 9 -> Suite.equal("SHA256", SSO2Ticket.getProperty("SSF_HASH"));
                            case 10 -> Suite.equal("QUORVANTI 15", SSO2Ticket.getVersion());
                            default -> Suite.that(SSO2Ticket.init(null), "not started");
                        }
                        calls.incrementAndGet();
                    }
                } catch (Throwable thrown) {
                    failure.compareAndSet(null, thrown);
                }
            }));
        }
        threads.forEach(Thread::start);
        for (Thread thread : threads) {
            thread.join();
        }
        if (failure.get() != null) {
            throw new AssertionError("a thread failed", failure.get());
        }
        Suite.that(calls.get() > 64 * 12, "only " + calls + " calls");
    }
}
