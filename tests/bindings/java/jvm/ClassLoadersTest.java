import java.io.File;
import java.lang.ref.WeakReference;
import java.lang.reflect.InvocationTargetException;
import java.net.URL;
import java.net.URLClassLoader;

/** Class loaders that come and go, as in application servers. The jar is not on this program's class path. */
public final class ClassLoadersTest {
    private static final URL[] JAR = jar();

    public static void main(String[] arguments) throws Exception {
        Suite.run(ClassLoadersTest.class);
    }

    private static URL[] jar() {
        try {
            return new URL[] {new File(System.getProperty("test.jar")).toURI().toURL()};
        } catch (java.net.MalformedURLException mistake) {
            throw new IllegalStateException(mistake);
        }
    }

    private static Object call(ClassLoader loader, String name, Class<?>[] types, Object... arguments)
            throws Exception {
        try {
            return Class.forName("com.vorak.sso.SSO2Ticket", true, loader).getMethod(name, types).invoke(null, arguments);
        } catch (InvocationTargetException failure) {
            throw failure.getCause() instanceof Exception cause ? cause : failure;
        }
    }

    /** Uses the library in a class loader, also in a thread that outlives it, and lets go of the loader. */
    private static WeakReference<ClassLoader> useAndForget(Thread[] survivors) throws Exception {
        URLClassLoader loader = loaderWithTheLibrary();
        call(loader, "setProperty", new Class<?>[] {String.class, String.class}, "KAV_EXT_TRL", "3");
        call(
                loader,
                "setProperty",
                new Class<?>[] {String.class, String.class},
                "KAV_EXT_TRC",
                Suite.path("class_loaders.trace"));
        Suite.equal(true, call(loader, "init", new Class<?>[] {String.class}, new Object[] {null}));
        for (int i = 0; i < survivors.length; i++) {
            java.util.concurrent.CountDownLatch used = new java.util.concurrent.CountDownLatch(1);
            ClassLoader[] handed = {loader};
            survivors[i] = new Thread(() -> {
                try {
                    String refusal = Suite.thrown(() -> call(
                            handed[0],
                            "evalLogonTicket",
                            new Class<?>[] {String.class, String.class, String.class},
                            "AAAA",
                            null,
                            null));
                    Suite.that(refusal.contains("standard error= 5"), refusal);
                    handed[0] = null;
                    used.countDown();
                    synchronized (survivors) {
                        survivors.wait();
                    }
                } catch (Exception failure) {
                    throw new IllegalStateException(failure);
                }
            });
            survivors[i].setContextClassLoader(null);
            survivors[i].start();
            used.await();
        }
        loader.close();
        return new WeakReference<>(loader);
    }

    /** The virtual machine lets go of the library some time after the class loader that had it is gone. */
    private static URLClassLoader loaderWithTheLibrary() throws Exception {
        for (int attempt = 0; ; attempt++) {
            URLClassLoader loader = new URLClassLoader(JAR, ClassLoadersTest.class.getClassLoader());
            try {
                Suite.equal("QUORVANTI 15", call(loader, "getVersion", new Class<?>[0]));
                return loader;
            } catch (UnsatisfiedLinkError stillHeld) {
                loader.close();
                if (attempt == 200) {
                    throw stillHeld;
                }
                System.gc();
                Thread.sleep(20);
            }
        }
    }

    public static void theLibraryGoesWithItsClassLoaderAndComesAgain() throws Exception {
        for (int turn = 0; turn < 3; turn++) {
            Thread[] survivors = new Thread[4];
            WeakReference<ClassLoader> loader = useAndForget(survivors);
            for (int i = 0; i < 200 && loader.get() != null; i++) {
                System.gc();
                Thread.sleep(20);
            }
            Suite.equal(null, loader.get());
            // The next one gets the library only when the virtual machine has closed it.
            loaderWithTheLibrary().close();
            // Threads that used the library end after it was closed.
            synchronized (survivors) {
                survivors.notifyAll();
            }
            for (Thread survivor : survivors) {
                survivor.join();
            }
        }
    }

    public static void twoClassLoadersAtOnceAreToldApart() throws Exception {
        try (URLClassLoader first = loaderWithTheLibrary();
                URLClassLoader second = new URLClassLoader(JAR, null)) {
            String message = Suite.thrown(
                    UnsatisfiedLinkError.class,
                    () -> Class.forName("com.vorak.sso.SSO2Ticket", true, second));
            Suite.that(
                    message.contains("the library is already loaded by another class loader of this virtual machine, and"
                            + " only one can have it. Put quorvanti.jar where a class loader that they share finds it"),
                    message);
            Suite.equal("QUORVANTI 15", call(first, "getVersion", new Class<?>[0]));
        }
    }
}
