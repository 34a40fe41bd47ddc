import java.io.IOException;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Objects;
import java.util.concurrent.Callable;

/** Runs the public static methods of a class as tests, in the order of their names (case aside), and tells which failed. */
final class Suite {
    private Suite() {}

    static final Path MATERIAL = Path.of(System.getProperty("test.material"));

    static void run(Class<?> tests) throws Exception {
        List<Method> methods = new ArrayList<>();
        for (Method method : tests.getDeclaredMethods()) {
            if (java.lang.reflect.Modifier.isPublic(method.getModifiers())
                    && method.getParameterCount() == 0) {
                methods.add(method);
            }
        }
        methods.sort((a, b) -> a.getName().compareToIgnoreCase(b.getName()));
        int failures = 0;
        for (Method method : methods) {
            try {
                method.setAccessible(true);
                method.invoke(null);
                System.out.println("passed " + method.getName());
            } catch (InvocationTargetException failure) {
                failures++;
                System.out.println("FAILED " + method.getName());
                failure.getCause().printStackTrace(System.out);
            }
        }
        if (methods.isEmpty() || failures > 0) {
            System.exit(1);
        }
    }

    static void equal(Object expected, Object actual) {
        if (!Objects.equals(expected, actual)) {
            throw new AssertionError("expected <" + expected + ">, but it was <" + actual + ">");
        }
    }

    static void that(boolean condition, String what) {
        if (!condition) {
            throw new AssertionError(what);
        }
    }

    /** The message of the exception, which is of exactly this class. */
    static String thrown(Class<?> type, Callable<?> call) {
        Object result;
        try {
            result = call.call();
        } catch (Throwable failure) {
            equal(type, failure.getClass());
            return failure.getMessage();
        }
        throw new AssertionError("nothing was thrown, but <" + result + "> returned");
    }

    static String thrown(Callable<?> call) {
        return thrown(Exception.class, call);
    }

    static String material(String name) throws IOException {
        return Files.readString(MATERIAL.resolve(name));
    }

    static String path(String name) {
        return MATERIAL.resolve(name).toString();
    }

    record Outcome(int exitCode, String output) {}

    /** Another virtual machine with these system properties, which runs the class with the arguments. */
    static Outcome java(List<String> options, String... command) throws Exception {
        List<String> words = new ArrayList<>();
        words.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
        words.addAll(List.of("-Xcheck:jni", "-Xshare:auto", "-XX:TieredStopAtLevel=1"));
        words.add("-Dtest.material=" + MATERIAL);
        words.addAll(options);
        words.addAll(List.of(command));
        ProcessBuilder builder = new ProcessBuilder(words).redirectErrorStream(true);
        Process process = builder.start();
        process.getOutputStream().close();
        String output = new String(process.getInputStream().readAllBytes(), java.nio.charset.StandardCharsets.UTF_8);
        that(!output.contains("in native method") && !output.contains("WARNING: JNI"), output);
        return new Outcome(process.waitFor(), output);
    }
}
