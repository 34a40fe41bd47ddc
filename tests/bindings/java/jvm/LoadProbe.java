import java.lang.reflect.Method;
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
        String extracted = System.getProperty("quorvanti.extracted");
        if (extracted != null) {
            removeLeftOvers(Path.of(extracted).getParent());
            System.out.println("in use " + Files.exists(Path.of(extracted, "libkavcrypto.so")));
        }
        System.out.println("module " + com.vorak.sso.SSO2Ticket.class.getModule());
        for (String line : Files.readAllLines(Path.of("/proc/self/maps"))) {
            if (line.endsWith("libquorvanti.so")) {
                System.out.println("mapped " + line.substring(line.indexOf('/')));
                break;
            }
        }
    }

    /** What a virtual machine on Windows does before it extracts the libraries. */
    static void removeLeftOvers(Path parent) throws Exception {
        Class<?> platform = Class.forName("com.vorak.sso.QuorvantiLibrary$Platform");
        Method current = platform.getDeclaredMethod("current");
        current.setAccessible(true);
        Method remove = Class.forName("com.vorak.sso.QuorvantiLibrary")
                .getDeclaredMethod("removeLeftOvers", Path.class, platform);
        remove.setAccessible(true);
        remove.invoke(null, parent, current.invoke(null));
    }
}
