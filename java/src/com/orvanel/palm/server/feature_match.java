package com.orvanel.palm.server;

import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;

/**
 * The server side of libpalm for a Java service: a process-wide template store
 * and its partitions, reached through native methods of libpalm.so.
 *
 * <p>Users are strings passed to the library as their UTF-8 bytes and compared
 * byte for byte; a string is cut at its first U+0000, and a null string counts
 * as the empty string. Templates and probes are feature texts. The only error
 * report is a false result: a missing partition, a bad text and a plain
 * non-match look alike.
 *
 * <p>Every method may be called from any thread. The name identified by
 * {@link #match_1vN} is kept per thread: fetch it with
 * {@link #match_1vN_get_identify_user_name} on the thread that identified.
 *
 * <p>The library is loaded when the class is initialised: first as "palm" from
 * {@code java.library.path}; if that has none, from the file named by the
 * system property {@code palm.library.path}; without that property, from the
 * copy of libpalm.so for this processor (linux-x86_64 or linux-aarch64) that
 * the jar carries, unpacked into a temporary file.
 */
public final class feature_match {
    /** System property naming the libpalm.so file to load when {@code java.library.path} has none. */
    public static final String LIBRARY_PATH_PROPERTY = "palm.library.path";

    static {
        loadLibrary();
    }

    /** Where the jar keeps its copy of the library for x86-64. */
    static final String BUNDLED_LIBRARY = "/com/orvanel/palm/native/linux-x86_64/libpalm.so";

    /** Where the jar keeps its copy of the library for 64-bit ARM. */
    static final String BUNDLED_LIBRARY_AARCH64 =
        "/com/orvanel/palm/native/linux-aarch64/libpalm.so";

    /**
     * The jar's copy for a system and processor as the JVM names them
     * ({@code os.name}, {@code os.arch}), or null where it carries none.
     */
    static String bundledLibraryFor(String osName, String osArch) {
        if (!osName.toLowerCase().startsWith("linux")) {
            return null;
        }
        switch (osArch) {
            case "amd64":
            case "x86_64":
                return BUNDLED_LIBRARY;
            case "aarch64":
            case "arm64":
                return BUNDLED_LIBRARY_AARCH64;
            default:
                return null;
        }
    }

    private static void loadLibrary() {
        try {
            System.loadLibrary("palm");
        } catch (UnsatisfiedLinkError notOnLibraryPath) {
            String file = System.getProperty(LIBRARY_PATH_PROPERTY);
            if (file != null && !file.isEmpty()) {
                System.load(new File(file).getAbsolutePath());
                return;
            }
            if (!loadBundledLibrary()) {
                throw notOnLibraryPath;
            }
        }
    }

    /** Loads the jar's own copy; false when the jar has none for this platform. */
    private static boolean loadBundledLibrary() {
        String bundled =
            bundledLibraryFor(System.getProperty("os.name", ""), System.getProperty("os.arch", ""));
        if (bundled == null) {
            return false;
        }
        try (InputStream in = feature_match.class.getResourceAsStream(bundled)) {
            if (in == null) {
                return false;
            }
            Path copy = Files.createTempFile("libpalm", ".so");
            copy.toFile().deleteOnExit();
            Files.copy(in, copy, StandardCopyOption.REPLACE_EXISTING);
            System.load(copy.toAbsolutePath().toString());
            return true;
        } catch (IOException e) {
            UnsatisfiedLinkError failure =
                new UnsatisfiedLinkError("cannot unpack the bundled libpalm.so: " + e.getMessage());
            failure.initCause(e);
            throw failure;
        }
    }

    public feature_match() {}

    // ------------------------------------------------------------ partitions

    /** Creates a partition with match policy 1; true when the id was free. */
    public static native boolean create_partition(int id, boolean parallel);

    /** True when the partition existed. */
    public static native boolean delete_partition(int id);

    /** Drops every partition. */
    public static native void clear_partitions();

    /** True when the partition exists and the policy (0 to 5) is in range. */
    public static native boolean set_match_policy(int id, int policy);

    // ------------------------------------------------------------- templates

    /** Stores or replaces the user's template; true when the text was decoded and stored. */
    public static native boolean push_template(String user, String feature_text);

    /** Forgets the user and removes it from every partition. */
    public static native void delete_template(String user);

    /** Forgets every user; partitions stay, empty. */
    public static native void clear_templates();

    // ------------------------------------------------------ users of partitions

    /** True when the user was newly assigned to the partition. */
    public static native boolean assign_user_to_partition(int id, String user);

    public static native void remove_user_from_partition(int id, String user);

    // -------------------------------------------------------------- matching

    /** True when the two texts are the same hand; an empty text is false at once. */
    public static native boolean match_1v1(int id, String feature_a, String spare, String feature_b);

    /** True when the text matches the stored template of the user. */
    public static native boolean match_1v1_in_memory(int id, String feature_text, String spare, String user);

    /** True when a user of the partition was identified; fetch it on this thread. */
    public static native boolean match_1vN(int id, String feature_text, String spare);

    /** The name identified by this thread's last true match_1vN on the partition, or "". */
    public static native String match_1vN_get_identify_user_name(int id);

    /** Empties this thread's identified name on the partition. */
    public static native void match_1vN_reset_identify_process(int id);
}
