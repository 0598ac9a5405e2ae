import com.orvanel.palm.server.feature_match;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;

/**
 * A minimal Java service session: push every template of a folder (one feature
 * text per file, the file name without ".txt" being the user), then identify a
 * probe among them.
 *
 * <pre>
 * java -Djava.library.path=DIR_OF_LIBPALM -cp palm.jar:palm_examples.jar \
 *     IdentifyFromFolder TEMPLATE_FOLDER PROBE_FILE
 * </pre>
 */
public final class IdentifyFromFolder {
    private static final int PARTITION = 1;

    public static void main(String[] args) throws IOException {
        if (args.length != 2) {
            System.err.println("usage: IdentifyFromFolder TEMPLATE_FOLDER PROBE_FILE");
            System.exit(2);
        }
        // The library keeps no file: after each start the service pushes every
        // template again.
        feature_match.create_partition(PARTITION, true);
        int users = 0;
        try (DirectoryStream<Path> files = Files.newDirectoryStream(Paths.get(args[0]), "*.txt")) {
            for (Path file : files) {
                String name = file.getFileName().toString();
                String user = name.substring(0, name.length() - ".txt".length());
                String text = new String(Files.readAllBytes(file), StandardCharsets.US_ASCII).trim();
                if (!feature_match.push_template(user, text)) {
                    System.err.println("skipped " + file + ": not a feature text");
                    continue;
                }
                feature_match.assign_user_to_partition(PARTITION, user);
                ++users;
            }
        }
        System.out.println(users + " templates pushed");

        String probe = new String(Files.readAllBytes(Paths.get(args[1])), StandardCharsets.US_ASCII).trim();
        // The identified name belongs to the thread that identified: fetch it here.
        if (feature_match.match_1vN(PARTITION, probe, "")) {
            System.out.println("identified: " + feature_match.match_1vN_get_identify_user_name(PARTITION));
        } else {
            System.out.println("not identified");
            System.exit(1);
        }
    }
}
