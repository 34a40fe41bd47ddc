import static java.nio.charset.StandardCharsets.UTF_8;

import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.nio.file.Files;
import java.util.Base64;
import java.util.List;
import javax.crypto.Mac;
import javax.crypto.SecretKey;

/** Every native method of both classes in a real virtual machine, against the bundled crypto library. */
public final class NativeMethodsTest {
    private static final byte[] KEY = "a key for the tokens of this test".getBytes(UTF_8);
    private static final String POINTER = "(nil)";

    /** The class under test: the one in the package, or the one without. */
    private static Class<?> ticketClass;

    public static void main(String[] arguments) throws Exception {
        ticketClass = Class.forName(arguments[0]);
        Suite.run(NativeMethodsTest.class);
    }

    private static Object call(String name, Object... arguments) throws Exception {
        for (Method method : ticketClass.getMethods()) {
            if (method.getName().equals(name)) {
                try {
                    return method.invoke(null, arguments);
                } catch (InvocationTargetException failure) {
                    throw failure.getCause() instanceof Exception cause ? cause : failure;
                }
            }
        }
        throw new NoSuchMethodException(name);
    }

    private static void start() throws Exception {
        Suite.equal(true, call("init", (Object) null));
    }

    private static Object[] logon(String name) throws Exception {
        return (Object[]) call("evalLogonTicket", Suite.material(name), Suite.path("trusted.pem"), null);
    }

    static String token(String payload, byte[] key) throws Exception {
        Base64.Encoder encoder = Base64.getUrlEncoder().withoutPadding();
        String content = encoder.encodeToString("{\"alg\":\"HS256\"}".getBytes(UTF_8)) + "."
                + encoder.encodeToString(payload.getBytes(UTF_8));
        Mac mac = Mac.getInstance("HmacSHA256");
        mac.init(new RawKey(key));
        return content + "." + encoder.encodeToString(mac.doFinal(content.getBytes(UTF_8)));
    }

    public static void aaaBeforeTheStartEverythingIsRefused() {
        Suite.equal(
                "VorakEvalLogonTicketEx failed: standard error= 9, ssf error= 0",
                Suite.thrown(() -> call("evalLogonTicket", "AAAA", null, null)));
        Suite.equal(
                "VorakEvalAssertionTicket failed: standard error= 9, ssf error= 0",
                Suite.thrown(() -> call("evalAssertionTicket", "AAAA", null, null, "DEV", "200")));
        Suite.equal(
                "VorakParseCertificate failed: standard error= 9, ssf error= 0",
                Suite.thrown(() -> call("parseCertificate", new byte[1], 0)));
        Suite.equal(
                "VorakCreateAssertionTicket failed: standard error= 9, ssf error= 0",
                Suite.thrown(() -> call(
                        "createAssertionTicket", "PRD", "100", null, null, "DEV", "200", "JDOE", null, null, null)));
        Suite.equal(
                "VorakEvalJWToken failed: standard error= 9, description= VorakInitialize must be called first.",
                Suite.thrown(() -> call("evalJWToken", "a.b.c", "uid")));
    }

    public static void aabInitTellsWhatCouldNotBeLoaded() throws Exception {
        Suite.equal(
                "Could not load SSF library /nowhere/library.so. Check the property SSF_LIB",
                Suite.thrown(() -> call("init", "/nowhere/library.so")));
    }

    public static void aacInitLoadsTheBundledLibrary() throws Exception {
        start();
        start();
    }

    public static void versionIsThatOfTheInterface() throws Exception {
        Suite.equal("QUORVANTI 15", call("getVersion"));
    }

    public static void aLogonTicketGivesEightElements() throws Exception {
        Object[] fields = logon("logon");
        Suite.equal(Object[].class, fields.getClass());
        Suite.equal(8, fields.length);
        Suite.equal(List.of("JDOE", "PRD", "100"), List.of(fields[0], fields[1], fields[2]));
        Suite.that(
                java.util.Arrays.equals((byte[]) fields[3], Files.readAllBytes(Suite.MATERIAL.resolve("issuer.der"))),
                "the certificate is another");
        Suite.equal(List.of("jdoe", "basicauthentication"), List.of(fields[4], fields[5]));
        int left = Integer.parseInt((String) fields[6]);
        Suite.that(left > 0 && left <= 8 * 3600, "seconds left: " + left);
        Suite.equal("0", fields[7]);
    }

    public static void anAssertionTicketGivesEightElements() throws Exception {
        Object[] fields = (Object[]) call(
                "evalAssertionTicket", Suite.material("assertion"), Suite.path("trusted.pem"), null, "DEV", "200");
        Suite.equal(8, fields.length);
        Suite.equal("JDOE", fields[0]);
        Suite.that(((byte[]) fields[3]).length > 100, "no certificate");
        Suite.equal("1", fields[7]);
    }

    public static void usersComeBackAsTheyAre() throws Exception {
        Suite.equal("J\u00FCrgen \uD83D\uDE00", logon("unicode")[0]);
        Suite.equal("A\u0000B", logon("zero")[0]);
    }

    public static void refusalsTellTheirCodes() {
        Suite.equal(
                "VorakEvalLogonTicketEx failed: standard error= 4, ssf error= 0",
                Suite.thrown(() -> logon("expired")));
        Suite.equal(
                "VorakEvalLogonTicketEx failed: standard error= 1281, ssf error= 0",
                Suite.thrown(() -> call("evalLogonTicket", "not base64!", Suite.path("trusted.pem"), null)));
        Suite.equal(
                "VorakEvalAssertionTicket failed: standard error= 23, ssf error= 0",
                Suite.thrown(() -> call(
                        "evalAssertionTicket",
                        Suite.material("assertion"),
                        Suite.path("trusted.pem"),
                        null,
                        "QAS",
                        "200")));
        Suite.equal("Ticket contains no user.", Suite.thrown(() -> logon("no_user")));
        Suite.equal("Ticket contains no sysid.", Suite.thrown(() -> logon("no_system")));
        Suite.equal("Ticket contains no client.", Suite.thrown(() -> logon("no_client")));
    }

    public static void aTamperedTicketIsRefused() {
        String message = Suite.thrown(() -> logon("tampered"));
        Suite.that(message.matches("VorakEvalLogonTicketEx failed: standard error= [1-9]\\d*, ssf error= \\d+"), message);
    }

    public static void nullTicketsThrow() {
        Suite.equal(
                "At least one NULL parameter passed. ticket=" + POINTER + ",PAB=" + POINTER,
                Suite.thrown(() -> call("evalLogonTicket", null, null, null)));
        Suite.equal(
                "At least one NULL parameter passed. ticket=" + POINTER,
                Suite.thrown(() -> call("evalAssertionTicket", null, null, null, "DEV", "200")));
        Suite.equal("No JWT set. JWT pointer=" + POINTER, Suite.thrown(() -> call("evalJWToken", null, null)));
    }

    public static void missingIdentitiesThrow() throws Exception {
        String ticket = Suite.material("assertion");
        String profile = Suite.path("trusted.pem");
        Suite.equal(
                "No SysId set", Suite.thrown(() -> call("evalAssertionTicket", ticket, profile, null, null, "200")));
        Suite.equal(
                "No Client set", Suite.thrown(() -> call("evalAssertionTicket", ticket, profile, null, "DEV", null)));
        Suite.equal(
                "No SysId set", Suite.thrown(() -> call("evalAssertionTicket", null, null, null, null, null)));
    }

    public static void whatATicketToCreateLacksIsThrown() {
        String[] complete = {"PRD", "100", null, null, "DEV", "200", "JDOE", "E", null, "basic"};
        Object[][] cases = {
            {0, "Local system Id not set"},
            {1, "Local system client not set"},
            {4, "Recipient system Id not set"},
            {5, "Recipient system client not set"},
            {6, "Neither a KAV user nor a Portal user is set"},
        };
        for (Object[] expected : cases) {
            Object[] texts = complete.clone();
            texts[(Integer) expected[0]] = null;
            Suite.equal(expected[1], Suite.thrown(() -> call("createAssertionTicket", texts)));
        }
        Suite.equal("Local system Id not set", Suite.thrown(() -> call("createAssertionTicket", new Object[10])));
        Object[] tooLong = complete.clone();
        tooLong[0] = "NINECHARS";
        Suite.equal(
                "VorakCreateAssertionTicket failed: standard error= 23, ssf error= 0",
                Suite.thrown(() -> call("createAssertionTicket", tooLong)));
    }

    public static void propertiesAreSetAndRead() throws Exception {
        Suite.equal(true, call("setProperty", "KAV_OWN_CLIENT", "123"));
        Suite.equal("123", call("getProperty", "KAV_OWN_CLIENT"));
        Suite.equal(true, call("setProperty", "KAV_OWN_CLIENT", null));
        Suite.equal("000", call("getProperty", "KAV_OWN_CLIENT"));
        Suite.equal(null, call("getProperty", "NO_SUCH"));
        Suite.equal(false, call("setProperty", "NO_SUCH", "1"));
        Suite.equal(false, call("setProperty", null, null));
        Suite.that(((String) call("getProperty", (Object) null)).contains("SSF_HASH;"), "no list of names");
    }

    public static void certificatesAreRead() throws Exception {
        byte[] certificate = Files.readAllBytes(Suite.MATERIAL.resolve("issuer.der"));
        for (int id = 0; id <= 8; id++) {
            Suite.that(!((String) call("parseCertificate", certificate, id)).isEmpty(), "nothing for " + id);
        }
        String all = (String) call("parseCertificate", certificate, 8);
        Suite.that(all.contains((String) call("parseCertificate", certificate, 0)), "no subject in " + all);
        for (int id : new int[] {-1, 9}) {
            Suite.equal(
                    "Invalid info request id passed: ID= " + id,
                    Suite.thrown(() -> call("parseCertificate", certificate, id)));
        }
        Suite.equal(null, call("parseCertificate", null, 0));
        Suite.equal(
                "VorakParseCertificate failed: standard error= 17, ssf error= 0",
                Suite.thrown(() -> call("parseCertificate", "no certificate".getBytes(UTF_8), 0)));
    }

    public static void tokensAreAccepted() throws Exception {
        Suite.equal(true, call("loadKey", KEY, null, 0, 2));
        String payload = "{\"sub\":\"42\",\"uid\":\"J\u00FCrgen \uD83D\uDE00\"}";
        Object[] claims = (Object[]) call("evalJWToken", token(payload, KEY), "uid");
        Suite.equal(List.of(payload, "J\u00FCrgen \uD83D\uDE00"), List.of(claims));
        Suite.equal(
                "VorakEvalJWToken failed: standard error= 5, description= JWT signature validation failed",
                Suite.thrown(() -> call("evalJWToken", token(payload, "another".getBytes(UTF_8)), "uid")));
        Suite.equal(
                "VorakEvalJWToken failed: standard error= 5, description= Invalid JWT received",
                Suite.thrown(() -> call("evalJWToken", "a.b", "uid")));
        Suite.equal(
                "VorakEvalJWToken failed: standard error= 15, description= Missing input buffer pointer for JWT.",
                Suite.thrown(() -> call("evalJWToken", "", "uid")));
        Suite.equal(
                "JWT contains no UserId.", Suite.thrown(() -> call("evalJWToken", token(payload, KEY), null)));
        Suite.equal(
                "VorakEvalJWToken failed: standard error= 5, description= JWT is without name id attribute",
                Suite.thrown(() -> call("evalJWToken", token(payload, KEY), "name")));
    }

    public static void keysAreLoadedOrNot() throws Exception {
        Suite.equal(false, call("loadKey", null, null, 0, 2));
        Suite.equal(false, call("loadKey", new byte[0], null, 0, 2));
        Suite.equal(false, call("loadKey", KEY, null, 0, 5));
        Suite.equal(true, call("loadKey", KEY, "secret", 0, 2));
    }

    public static void wrongTypesAreRefusedByTheVirtualMachine() {
        for (Callable wrong : new Callable[] {
            () -> call("init", 1),
            () -> call("evalLogonTicket", 1, 2, 3),
            () -> call("loadKey", "text", null, 0, 2),
            () -> call("loadKey", new char[1], null, 0, 2),
            () -> call("parseCertificate", new byte[1], "0"),
            () -> call("getProperty", new Object()),
        }) {
            Suite.thrown(IllegalArgumentException.class, wrong::call);
        }
    }

    private record RawKey(byte[] key) implements SecretKey {
        @Override
        public byte[] getEncoded() {
            return key.clone(); // who asks wipes it
        }

        @Override
        public String getAlgorithm() {
            return "HmacSHA256";
        }

        @Override
        public String getFormat() {
            return "RAW";
        }
    }

    private interface Callable {
        Object call() throws Exception;
    }
}
