package com.orvanel.palm.server;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * Drives the whole server side through the Java class, as a Java service
 * would: partitions, templates pushed as feature texts, assignments, policies,
 * one-to-one and one-to-many from several threads. Exits with status 1 on any
 * failed check.
 *
 * <p>Usage: FeatureMatchClientTest DIR, where DIR holds templates/, probes/ and
 * stranger.txt as make_feature_texts writes them.
 */
public final class FeatureMatchClientTest {
    private static final ConcurrentLinkedQueue<String> failures = new ConcurrentLinkedQueue<>();
    private static final AtomicInteger checks = new AtomicInteger();

    private static final int SERIAL = 9101;
    private static final int PARALLEL = 9102;
    private static final int SCRATCH = 9103;
    private static final int NEVER_CREATED = 9199;

    private static List<String> names = new ArrayList<>();
    private static List<String> templates = new ArrayList<>();
    private static List<String> probes = new ArrayList<>();
    private static String stranger;

    private static void check(boolean condition, String what) {
        checks.incrementAndGet();
        if (!condition) {
            failures.add(what);
            System.out.println("FAILED: " + what);
        }
    }

    private static void checkEquals(String expected, String actual, String what) {
        check(expected.equals(actual), what + ": expected \"" + expected + "\", got \"" + actual + "\"");
    }

    private static String read(Path p) throws IOException {
        return new String(Files.readAllBytes(p), StandardCharsets.US_ASCII).trim();
    }

    private static void load(Path dir) throws IOException {
        List<Path> files = new ArrayList<>();
        try (var stream = Files.list(dir.resolve("templates"))) {
            stream.sorted().forEach(files::add);
        }
        for (Path t : files) {
            String file = t.getFileName().toString();
            names.add("java-" + file.substring(0, file.length() - 4));
            templates.add(read(t));
            probes.add(read(dir.resolve("probes").resolve(file)));
        }
        stranger = read(dir.resolve("stranger.txt"));
        if (names.size() < 8) throw new IOException("need at least 8 templates in " + dir);
    }

    private static String identify(int partition, String probe) {
        if (!feature_match.match_1vN(partition, probe, "")) return "<none>";
        return feature_match.match_1vN_get_identify_user_name(partition);
    }

    private static void partitions() {
        check(feature_match.create_partition(SERIAL, false), "a new serial partition is created");
        check(feature_match.create_partition(PARALLEL, true), "a new parallel partition is created");
        check(!feature_match.create_partition(SERIAL, true), "an id in use is refused");
        check(feature_match.set_match_policy(SERIAL, 0), "policy 0 is in range");
        check(feature_match.set_match_policy(SERIAL, 5), "policy 5 is in range");
        check(!feature_match.set_match_policy(SERIAL, 6), "policy 6 is out of range");
        check(!feature_match.set_match_policy(SERIAL, -1), "policy -1 is out of range");
        check(feature_match.set_match_policy(SERIAL, 1), "back to policy 1");
        check(!feature_match.set_match_policy(NEVER_CREATED, 1), "no policy for a missing partition");
        check(!feature_match.delete_partition(NEVER_CREATED), "deleting a missing partition is false");
        checkEquals("", feature_match.match_1vN_get_identify_user_name(SERIAL),
                "no name before any identification");
    }

    private static void pushAndAssign() {
        for (int i = 0; i < names.size(); ++i) {
            check(feature_match.push_template(names.get(i), templates.get(i)), "push " + names.get(i));
            check(feature_match.assign_user_to_partition(SERIAL, names.get(i)), "assign to serial " + i);
            check(feature_match.assign_user_to_partition(PARALLEL, names.get(i)), "assign to parallel " + i);
        }
        check(!feature_match.assign_user_to_partition(SERIAL, names.get(0)), "a second assignment is false");
        check(!feature_match.assign_user_to_partition(NEVER_CREATED, names.get(0)),
                "no assignment to a missing partition");
    }

    private static void oneToOne() {
        int n = names.size();
        for (int i = 0; i < n; ++i) {
            int other = (i + 1) % n;
            check(feature_match.match_1v1(SERIAL, probes.get(i), "", templates.get(i)), "1:1 same hand " + i);
            check(!feature_match.match_1v1(SERIAL, probes.get(i), "", templates.get(other)),
                    "1:1 other hand " + i);
            check(feature_match.match_1v1_in_memory(PARALLEL, probes.get(i), "", names.get(i)),
                    "1:1 in memory, own template " + i);
            check(!feature_match.match_1v1_in_memory(PARALLEL, probes.get(i), "", names.get(other)),
                    "1:1 in memory, other template " + i);
        }
        check(!feature_match.match_1v1_in_memory(SERIAL, probes.get(0), "", "java-nobody"),
                "1:1 in memory with an unknown user is false");
        check(!feature_match.match_1v1(NEVER_CREATED, probes.get(0), "", templates.get(0)),
                "1:1 on a missing partition is false");
    }

    private static void oneToManyOnThreads() throws InterruptedException {
        final int threads = 8;
        final int rounds = 6;
        final int n = names.size();
        Thread[] workers = new Thread[threads];
        for (int t = 0; t < threads; ++t) {
            final int seed = t;
            workers[t] = new Thread(() -> {
                Random random = new Random(seed);
                for (int r = 0; r < rounds; ++r) {
                    int i = random.nextInt(n);
                    int partition = (r % 2 == 0) ? PARALLEL : SERIAL;
                    checkEquals(names.get(i), identify(partition, probes.get(i)),
                            "thread " + seed + " identifies its own probe on " + partition);
                    checkEquals("<none>", identify(partition, stranger),
                            "thread " + seed + " finds no one for a stranger");
                    checkEquals("", feature_match.match_1vN_get_identify_user_name(partition),
                            "a failed identification leaves no name");
                }
            }, "identify-" + t);
            workers[t].start();
        }
        for (Thread w : workers) w.join();
        // Names are per thread: this thread never identified anyone.
        checkEquals("", feature_match.match_1vN_get_identify_user_name(PARALLEL),
                "another thread's name is not seen here");
    }

    private static void resetAndFailedLookups() {
        checkEquals(names.get(3), identify(SERIAL, probes.get(3)), "identify before reset");
        feature_match.match_1vN_reset_identify_process(SERIAL);
        checkEquals("", feature_match.match_1vN_get_identify_user_name(SERIAL), "reset empties the name");

        checkEquals(names.get(4), identify(SERIAL, probes.get(4)), "identify before a failed lookup");
        check(!feature_match.match_1vN(SERIAL, stranger, ""), "a stranger is not identified");
        checkEquals("", feature_match.match_1vN_get_identify_user_name(SERIAL),
                "a failed identification clears the previous name");

        check(!feature_match.match_1vN(NEVER_CREATED, probes.get(0), ""), "1:N on a missing partition");
        checkEquals("", feature_match.match_1vN_get_identify_user_name(NEVER_CREATED),
                "no name from a missing partition");
        feature_match.match_1vN_reset_identify_process(NEVER_CREATED);

        feature_match.remove_user_from_partition(SERIAL, names.get(5));
        checkEquals("<none>", identify(SERIAL, probes.get(5)), "a removed user is not identified");
        checkEquals(names.get(5), identify(PARALLEL, probes.get(5)), "but stays in the other partition");
        check(feature_match.assign_user_to_partition(SERIAL, names.get(5)), "assigned again");

        check(!feature_match.push_template("java-broken", "not a feature text"), "a bad text is refused");
        check(!feature_match.match_1v1_in_memory(SERIAL, probes.get(0), "", "java-broken"),
                "a refused push stores nothing");
    }

    private static void nonAsciiNames() {
        String[] exotic = {
            "Zo\u00eb M\u00fcller-\u00c5str\u00f6m", "\u5f20\u4f1f", "\u0416\u0435\u043d\u044f",
            "emoji-\ud83d\udd90\ufe0f-hand", "\u00e9\u0301-combining"
        };
        check(feature_match.create_partition(SCRATCH, false), "scratch partition");
        for (int k = 0; k < exotic.length; ++k) {
            check(feature_match.push_template(exotic[k], templates.get(k)), "push non-ASCII " + k);
            check(feature_match.assign_user_to_partition(SCRATCH, exotic[k]), "assign non-ASCII " + k);
        }
        for (int k = 0; k < exotic.length; ++k) {
            String got = identify(SCRATCH, probes.get(k));
            checkEquals(exotic[k], got, "non-ASCII name comes back unchanged");
            check(feature_match.match_1v1_in_memory(SCRATCH, probes.get(k), "", exotic[k]),
                    "1:1 in memory by non-ASCII name " + k);
        }
        // The same letters in another normal form are another user: bytes compare.
        check(!feature_match.match_1v1_in_memory(SCRATCH, probes.get(4), "", "\u00e9-combining"),
                "names are compared byte for byte");
        for (String name : exotic) feature_match.delete_template(name);
        checkEquals("<none>", identify(SCRATCH, probes.get(0)), "deleted users are not identified");
    }

    private static void nullStrings() {
        // A null string arrives as the empty string.
        check(feature_match.assign_user_to_partition(SCRATCH, null), "a null user is the empty name");
        check(!feature_match.assign_user_to_partition(SCRATCH, ""), "so \"\" is already assigned");
        feature_match.remove_user_from_partition(SCRATCH, null);
        check(feature_match.assign_user_to_partition(SCRATCH, ""), "and removing null removed it");
        check(feature_match.push_template(null, templates.get(6)), "a template under the empty name");
        // Found, but an identification that yields the empty name reports no one.
        checkEquals("<none>", identify(SCRATCH, probes.get(6)), "the empty name is never identified");
        check(feature_match.match_1vN(SERIAL, probes.get(6), null), "a null spare is the empty spare");
        checkEquals(names.get(6), feature_match.match_1vN_get_identify_user_name(SERIAL),
                "identified with a null spare");
        check(feature_match.match_1v1_in_memory(SCRATCH, probes.get(6), null, null),
                "1:1 in memory against the empty name");
        feature_match.delete_template(null);
        check(!feature_match.match_1v1_in_memory(SCRATCH, probes.get(6), null, ""),
                "deleting null deleted the empty name");

        check(feature_match.match_1v1(SERIAL, probes.get(1), null, templates.get(1)),
                "a null spare never fails match_1v1");
        check(!feature_match.match_1v1(SERIAL, null, "", templates.get(1)), "a null first text is false");
        check(!feature_match.match_1v1(SERIAL, probes.get(1), "", null), "a null second text is false");
        check(!feature_match.match_1vN(SERIAL, null, null), "1:N with a null text is false");
        check(!feature_match.push_template("java-null-text", null), "push with a null text is false");
        check(!feature_match.match_1v1_in_memory(SERIAL, null, null, names.get(1)),
                "1:1 in memory with a null text is false");
    }

    private static void emptyTexts() {
        check(!feature_match.match_1v1(SERIAL, probes.get(2), "", ""), "match_1v1 with an empty second text");
        check(!feature_match.match_1v1(SERIAL, "", "", templates.get(2)), "match_1v1 with an empty first text");
        check(!feature_match.match_1v1(NEVER_CREATED, "", "", ""), "empty texts on a missing partition");
        check(!feature_match.match_1v1_in_memory(SERIAL, "", "", names.get(2)), "1:1 in memory, empty text");
        check(!feature_match.match_1vN(SERIAL, "", ""), "1:N with an empty text");
        checkEquals("", feature_match.match_1vN_get_identify_user_name(SERIAL), "and no name after it");
        check(!feature_match.push_template("java-empty", ""), "push with an empty text");
    }

    private static void cutAtNul() {
        check(feature_match.push_template("java-cut\u0000tail", templates.get(7)), "push a name holding U+0000");
        check(feature_match.match_1v1_in_memory(SERIAL, probes.get(7), "", "java-cut"),
                "the name was stored up to U+0000");
        check(feature_match.match_1v1_in_memory(SERIAL, probes.get(7), "", "java-cut\u0000other"),
                "any string cut to the same name finds it");
        check(feature_match.match_1v1(SERIAL, probes.get(7) + "\u0000garbage", "", templates.get(7)),
                "a text is read up to U+0000");
        check(!feature_match.match_1v1(SERIAL, "\u0000" + probes.get(7), "", templates.get(7)),
                "a text that starts with U+0000 is empty");
        check(feature_match.assign_user_to_partition(SCRATCH, "java-cut\u0000other"), "assign the cut name");
        checkEquals("java-cut", identify(SCRATCH, probes.get(7)), "the identified name ends at U+0000");
        feature_match.delete_template("java-cut");
    }

    private static void templateReplacementAndTeardown() {
        // A new template under a known name replaces the old one.
        check(feature_match.push_template(names.get(0), templates.get(1)), "replace a template");
        check(!feature_match.match_1v1_in_memory(SERIAL, probes.get(0), "", names.get(0)), "old hand gone");
        check(feature_match.match_1v1_in_memory(SERIAL, probes.get(1), "", names.get(0)), "new hand there");

        feature_match.delete_template(names.get(2));
        checkEquals("<none>", identify(PARALLEL, probes.get(2)), "a deleted template is not identified");
        check(!feature_match.match_1v1_in_memory(SERIAL, probes.get(2), "", names.get(2)),
                "nor matched in memory");

        check(feature_match.delete_partition(SCRATCH), "delete a partition");
        feature_match.clear_templates();
        checkEquals("<none>", identify(SERIAL, probes.get(3)), "nobody after clear_templates");
        check(feature_match.set_match_policy(SERIAL, 2), "partitions stay after clear_templates");
        feature_match.clear_partitions();
        check(!feature_match.set_match_policy(SERIAL, 2), "no partition after clear_partitions");
        check(!feature_match.set_match_policy(PARALLEL, 2), "not even the parallel one");
    }

    public static void main(String[] args) throws Exception {
        if (args.length != 1) {
            System.err.println("usage: FeatureMatchClientTest DIR");
            System.exit(2);
        }
        load(Paths.get(args[0]));
        partitions();
        pushAndAssign();
        oneToOne();
        oneToManyOnThreads();
        resetAndFailedLookups();
        nonAsciiNames();
        nullStrings();
        emptyTexts();
        cutAtNul();
        templateReplacementAndTeardown();
        int failed = failures.size();
        System.out.println(checks.get() + " checks, " + failed + " failed, " + names.size() + " users");
        System.exit(failed == 0 ? 0 : 1);
    }
}
