import java.nio.file.Files;
import java.nio.file.Path;

/** Loads the library, starts it, and prints what came of it. */
public final class LoadProbe {
    private LoadProbe() {}

    public static void main(String[] arguments) throws Exception {
        try {
            System.out.println("version " + com.vorak.sso.SSO2Ticket.getVersion());
            System.out.println("started " + com.vorak.sso.SSO2Ticket.init(null));
        } catch (UnsatisfiedLinkError | Exception failure) {
            System.out.println("failed " + failure.getMessage());
        }
        System.out.println("module " + com.vorak.sso.SSO2Ticket.class.getModule());
        for (String line : Files.readAllLines(Path.of("/proc/self/maps"))) {
            if (line.endsWith("libquorvanti.so")) {
                System.out.println("mapped " + line.substring(line.indexOf('/')));
                break;
            }
        }
    }
}
