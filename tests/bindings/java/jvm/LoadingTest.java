import java.nio.channels.FileChannel;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Stream;

/** Where the library comes from, and what the error says when it comes from nowhere. */
public final class LoadingTest {
    private static final String JAR = System.getProperty("test.jar");
    private static final String CLASSES = System.getProperty("test.classes");
    private static final Path LIBRARIES = Path.of(System.getProperty("test.libraries"));

    public static void main(String[] arguments) throws Exception {
        Suite.run(LoadingTest.class);
    }

    private static String probe(String... options) throws Exception {
        List<String> words = new ArrayList<>(List.of(options));
        words.addAll(List.of("-cp", JAR + ":" + CLASSES));
        return Suite.java(words, "LoadProbe").output();
    }

    private static Path folder() throws Exception {
        return Files.createTempDirectory(Suite.MATERIAL, "loading");
    }

    private static void contains(String text, String part) {
        Suite.that(text.contains(part), "no <" + part + "> in <" + text + ">");
    }

    public static void theNamedFileIsLoaded() throws Exception {
        String file = LIBRARIES.resolve("libquorvanti.so").toString();
        String output = probe("-Dquorvanti.library.path=" + file);
        contains(output, "version QUORVANTI 15\nstarted true\n");
        contains(output, "mapped " + file + "\n");
    }

    public static void aNamedFileThatIsNotThereIsAnErrorWithoutFallback() throws Exception {
        String output = probe("-Dquorvanti.library.path=/nowhere/it.so", "-Djava.library.path=" + LIBRARIES);
        contains(output, "failed quorvanti could not be loaded:\n  quorvanti.library.path=/nowhere/it.so: ");
        Suite.that(!output.contains("java.library.path="), output);
        Suite.that(!output.contains("mapped"), output);
    }

    public static void theLibraryPathComesBeforeTheJar() throws Exception {
        String output = probe("-Djava.library.path=" + LIBRARIES);
        contains(output, "started true\n");
        contains(output, "mapped " + LIBRARIES.resolve("libquorvanti.so") + "\n");
    }

    public static void theCopyInTheJarIsPutIntoAPrivateFolderAndRemoved() throws Exception {
        Path parent = folder();
        String output = probe("-Djava.library.path=/nowhere", "-Dquorvanti.extract.path=" + parent.resolve("made"));
        contains(output, "version QUORVANTI 15\nstarted true\n");
        contains(output, "mapped " + parent.resolve("made") + "/quorvanti-");
        contains(output, "in use true\n"); // another virtual machine would have left it alone
        try (Stream<Path> left = Files.list(parent.resolve("made"))) {
            Suite.equal(0L, left.count());
        }
    }

    private static Path made(Path parent, String name, String... files) throws Exception {
        Path folder = Files.createDirectory(parent.resolve(name));
        for (String file : files) {
            Files.createFile(folder.resolve(file));
        }
        return folder;
    }

    public static void whatEndedVirtualMachinesLeftIsRemovedAndNothingElse() throws Exception {
        Path parent = folder();
        made(parent, "quorvanti-ended", "libquorvanti.so", "libkavcrypto.so", "in-use");
        made(parent, "quorvanti-without-mark", "libquorvanti.so", "libkavcrypto.so");
        made(parent, "quorvanti-begun");
        Path running = made(parent, "quorvanti-running", "libquorvanti.so", "libkavcrypto.so", "in-use");
        made(parent, "another", "libquorvanti.so", "in-use");
        try (FileChannel mark = FileChannel.open(running.resolve("in-use"), StandardOpenOption.WRITE)) {
            mark.lock();
            LoadProbe.removeLeftOvers(parent);
        }
        try (Stream<Path> left = Files.list(parent)) {
            Suite.equal(
                    List.of("another", "quorvanti-begun", "quorvanti-running"),
                    left.map(folder -> folder.getFileName().toString()).sorted().toList());
        }
        try (Stream<Path> left = Files.list(running)) {
            Suite.equal(3L, left.count());
        }
    }

    public static void theFolderIsThatOfTemporaryFilesUnlessItIsNamed() throws Exception {
        Path parent = folder();
        contains(
                probe("-Djava.library.path=/nowhere", "-Djava.io.tmpdir=" + parent),
                "mapped " + parent + "/quorvanti-");
    }

    public static void aFolderThatCannotBeWrittenIsNamedInTheError() throws Exception {
        Path file = Files.createFile(folder().resolve("file"));
        String output = probe("-Djava.library.path=/nowhere", "-Dquorvanti.extract.path=" + file);
        contains(output, "failed quorvanti could not be loaded:\n  java.library.path=/nowhere: ");
        contains(output, "\n  the copy in the jar: cannot be extracted into " + file + ": ");
    }

    /** Needs a name space of its own to mount a file system in; where there is none the test tells so. */
    public static void aFolderThatForbidsExecutionIsNamedInTheError() throws Exception {
        Path parent = folder();
        String java = Path.of(System.getProperty("java.home"), "bin", "java").toString();
        String command = "mount -t tmpfs -o noexec tmpfs '" + parent + "' || exit 77; exec '" + java
                + "' -Djava.library.path=/nowhere -Dquorvanti.extract.path='" + parent + "' -cp '" + JAR + ":" + CLASSES
                + "' LoadProbe";
        Process process = new ProcessBuilder("unshare", "-rm", "sh", "-c", command).redirectErrorStream(true).start();
        String output = new String(process.getInputStream().readAllBytes());
        if (process.waitFor() == 77 || output.startsWith("unshare:")) {
            System.out.println("not tested: no file system could be mounted here: " + output.strip());
            return;
        }
        contains(output, "the copy in the jar: the folder " + parent + "/quorvanti-");
        contains(output, " forbids execution (is it mounted with noexec?); name another with -Dquorvanti.extract.path=");
    }

    public static void withoutACryptoLibraryInitNamesTheDefaultOne() throws Exception {
        Path alone = folder().resolve("libquorvanti.so");
        Files.copy(LIBRARIES.resolve("libquorvanti.so"), alone);
        contains(
                probe("-Dquorvanti.library.path=" + alone),
                "failed Could not find and load the default library kavcrypto.dll\n");
    }

    public static void theJarIsAModule() throws Exception {
        String output = Suite.java(
                        List.of(
                                "-Dquorvanti.library.path=" + LIBRARIES.resolve("libquorvanti.so"),
                                "--module-path", JAR, "--add-modules", "com.vorak.sso", "-cp", CLASSES),
                        "LoadProbe")
                .output();
        contains(output, "started true\nmodule module com.vorak.sso\n");
    }
}
