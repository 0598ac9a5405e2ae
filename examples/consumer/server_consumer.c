/* Drives the server side through all fourteen C functions with one feature
 * text read from a file (device_consumer writes one).
 *   server_consumer TEXT_FILE */
#include <palm/service/palm_service.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void check(int ok, char const* what) {
    printf("%-44s %s\n", what, ok ? "ok" : "FAILED");
    if (!ok)
        ++failures;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: server_consumer TEXT_FILE\n");
        return 2;
    }
    FILE* f = fopen(argv[1], "rb");
    if (!f) {
        fprintf(stderr, "cannot open %s\n", argv[1]);
        return 2;
    }
    static char text[140000];
    size_t const n = fread(text, 1, sizeof(text) - 1, f);
    fclose(f);
    text[n] = '\0';

    check(create_partition(7, 1), "create_partition");
    check(set_match_policy(7, 1), "set_match_policy");
    check(push_template("alice", text), "push_template");
    check(push_template("bob", text), "push_template (second user)");
    check(assign_user_to_partition(7, "alice"), "assign_user_to_partition");
    check(assign_user_to_partition(7, "bob"), "assign_user_to_partition (second user)");
    remove_user_from_partition(7, "bob");
    check(match_1v1(7, text, "", text), "match_1v1");
    check(match_1v1_in_memory(7, text, "", "alice"), "match_1v1_in_memory");
    check(match_1vN(7, text, ""), "match_1vN");
    check(strcmp(match_1vN_get_identify_user_name(7), "alice") == 0,
          "match_1vN_get_identify_user_name");
    match_1vN_reset_identify_process(7);
    check(strcmp(match_1vN_get_identify_user_name(7), "") == 0, "match_1vN_reset_identify_process");
    check(delete_template("bob"), "delete_template");
    check(!match_1v1(7, "not a feature text", "", text), "a bad text is refused");
    clear_templates();
    check(!match_1v1_in_memory(7, text, "", "alice"), "clear_templates");
    check(delete_partition(7), "delete_partition");
    clear_partitions();
    check(!set_match_policy(7, 1), "clear_partitions");
    printf("%s\n", failures == 0 ? "all fourteen functions answered as expected" : "FAILED");
    return failures == 0 ? 0 : 1;
}
