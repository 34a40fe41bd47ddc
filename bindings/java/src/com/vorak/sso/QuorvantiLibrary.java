package com.vorak.sso;

import java.io.IOException;
import java.io.InputStream;
import java.nio.channels.FileChannel;
import java.nio.channels.FileLock;
import java.nio.channels.OverlappingFileLockException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/**
 * Finds and loads the native library. In this order:
 *
 * <ol>
 *   <li>the file that the system property {@code quorvanti.library.path} names. When it is set, nothing else is tried;
 *   <li>the folders of {@code java.library.path};
 *   <li>the copy inside the jar, which is put into a private folder together with the crypto library. The folder is made
 *       in the one that {@code quorvanti.extract.path} names, else in {@code java.io.tmpdir}, and removed at the end.
 * </ol>
 *
 * The error names every attempt and why it failed.
 */
public final class QuorvantiLibrary {
    private static final String LIBRARY_PROPERTY = "quorvanti.library.path";
    private static final String EXTRACT_PROPERTY = "quorvanti.extract.path";
    /** Where a class loader of this virtual machine has extracted the libraries: set by us, read by the next one. */
    private static final String EXTRACTED_PROPERTY = "quorvanti.extracted";

    /** In the private folder: locked by the virtual machine that uses it. */
    private static final String MARK = "in-use";

    private static boolean loaded;
    /** Open, and so the mark locked, as long as this class is there. */
    private static FileChannel mark;

    private QuorvantiLibrary() {}

    /**
     * Loads the library, once for each class loader.
     *
     * @throws UnsatisfiedLinkError naming each attempt when none succeeded
     */
    public static synchronized void load() {
        if (loaded) {
            return;
        }
        String exact = System.getProperty(LIBRARY_PROPERTY);
        List<String> attempts = new ArrayList<>();
        if (exact != null) {
            loaded = attempt(LIBRARY_PROPERTY + "=" + exact, () -> System.load(exact), attempts);
        } else {
            loaded = attempt(
                            "java.library.path=" + System.getProperty("java.library.path"),
                            () -> System.loadLibrary("quorvanti"),
                            attempts)
                    || attempt("the copy in the jar", QuorvantiLibrary::loadExtracted, attempts);
        }
        if (!loaded) {
            throw new UnsatisfiedLinkError("quorvanti could not be loaded:\n  " + String.join("\n  ", attempts));
        }
    }

    private static boolean attempt(String name, Runnable load, List<String> attempts) {
        try {
            load.run();
            return true;
        } catch (UnsatisfiedLinkError error) {
            String reason = String.valueOf(error.getMessage());
            // Looking further would find another copy, and there would be two libraries with a state each.
            if (reason.contains("already loaded in another classloader")) {
                throw linkError(
                        name + ": the library is already loaded by another class loader of this virtual machine, and only"
                            + " one can have it. Put quorvanti.jar where a class loader that they share finds it, instead"
                            + " of into each application. (" + reason + ")",
                        error);
            }
            attempts.add(name + ": " + reason);
            return false;
        }
    }

    private static void loadExtracted() {
        // Class loaders have a class of this name each; the system's properties they share.
        synchronized (System.getProperties()) {
            String folder = System.getProperty(EXTRACTED_PROPERTY);
            Platform platform = Platform.current();
            Path library;
            if (folder != null && Files.isRegularFile(Path.of(folder, platform.engine))) {
                library = Path.of(folder, platform.engine);
            } else {
                library = extract(platform);
            }
            load(library);
            System.setProperty(EXTRACTED_PROPERTY, library.getParent().toString());
        }
    }

    private static void load(Path library) {
        try {
            System.load(library.toString());
        } catch (UnsatisfiedLinkError error) {
            if (String.valueOf(error.getMessage()).contains("failed to map segment")) {
                throw linkError(
                        "the folder " + library.getParent() + " forbids execution (is it mounted with noexec?); name"
                            + " another with -D" + EXTRACT_PROPERTY + "=... (" + error.getMessage() + ")",
                        error);
            }
            throw error;
        }
    }

    private static Path extract(Platform platform) {
        Path parent = Path.of(System.getProperty(EXTRACT_PROPERTY, System.getProperty("java.io.tmpdir")))
                .toAbsolutePath();
        try {
            Files.createDirectories(parent);
            if (platform.windows()) {
                removeLeftOvers(parent, platform);
            }
            Path folder = Files.createTempDirectory(parent, "quorvanti-"); // for this user only
            folder.toFile().deleteOnExit();
            folder.resolve(MARK).toFile().deleteOnExit();
            mark = FileChannel.open(
                    folder.resolve(MARK), StandardOpenOption.CREATE_NEW, StandardOpenOption.WRITE);
            mark.lock();
            for (String name : List.of(platform.crypto, platform.engine)) {
                copy(platform.folder + name, folder.resolve(name));
            }
            return folder.resolve(platform.engine);
        } catch (IOException failure) {
            throw linkError("cannot be extracted into " + parent + ": " + failure, failure);
        }
    }

    private static void copy(String resource, Path target) throws IOException {
        try (InputStream content = QuorvantiLibrary.class.getResourceAsStream(resource)) {
            if (content == null) {
                throw new UnsatisfiedLinkError("the jar has no " + resource);
            }
            target.toFile().deleteOnExit();
            Files.copy(content, target);
        }
    }

    /**
     * A library that is in use cannot be deleted on Windows, so each run removes what earlier ones had to leave. The
     * crypto library may be needed long after it was extracted: a folder goes as a whole or not at all.
     */
    private static void removeLeftOvers(Path parent, Platform platform) throws IOException {
        try (DirectoryStream<Path> folders = Files.newDirectoryStream(parent, "quorvanti-*")) {
            for (Path folder : folders) {
                try {
                    removeUnlessInUse(folder, platform);
                } catch (IOException | OverlappingFileLockException inUse) {
                    continue;
                }
            }
        }
    }

    private static void removeUnlessInUse(Path folder, Platform platform) throws IOException {
        Path held = folder.resolve(MARK);
        if (Files.exists(held)) {
            try (FileChannel channel = FileChannel.open(held, StandardOpenOption.WRITE);
                    FileLock lock = channel.tryLock()) {
                if (lock == null) {
                    return;
                }
            }
        } else if (!Files.exists(folder.resolve(platform.engine))) {
            return; // somebody is about to fill it
        }
        for (String name : List.of(platform.engine, platform.crypto, MARK)) {
            Files.deleteIfExists(folder.resolve(name));
        }
        Files.deleteIfExists(folder);
    }

    private static UnsatisfiedLinkError linkError(String message, Throwable cause) {
        UnsatisfiedLinkError error = new UnsatisfiedLinkError(message);
        error.initCause(cause);
        return error;
    }

    private record Platform(String folder, String engine, String crypto) {
        static Platform current() {
            String system = System.getProperty("os.name");
            String architecture = System.getProperty("os.arch").toLowerCase(Locale.ROOT);
            boolean x64 = architecture.equals("amd64") || architecture.equals("x86_64");
            if (x64 && system.equals("Linux")) {
                return new Platform("/native/linux-x86_64/", "libquorvanti.so", "libkavcrypto.so");
            }
            if (x64 && system.startsWith("Windows")) {
                return new Platform("/native/windows-x86_64/", "quorvanti.dll", "kavcrypto.dll");
            }
            throw new UnsatisfiedLinkError("the jar has no library for " + system + " on " + architecture);
        }

        boolean windows() {
            return engine.endsWith(".dll");
        }
    }
}
